#include "views/web/page_answers.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "views/web/page_files.h"

namespace kestrane::web {
namespace {

constexpr std::string_view kIndex = "index.html";
constexpr std::string_view kFolder = "/page/";
constexpr std::array<std::string_view, 4> kIndexPaths{"/", "/setup", "/setup/v1/telescope/0/setup",
                                                      "/setup/v1/focuser/0/setup"};

constexpr std::array kContentTypes{
    std::pair{std::string_view(".html"), std::string_view("text/html; charset=utf-8")},
    std::pair{std::string_view(".js"), std::string_view("text/javascript; charset=utf-8")},
    std::pair{std::string_view(".css"), std::string_view("text/css; charset=utf-8")},
    std::pair{std::string_view(".json"), std::string_view("application/json")},
    std::pair{std::string_view(".webmanifest"), std::string_view("application/manifest+json")},
    std::pair{std::string_view(".svg"), std::string_view("image/svg+xml")},
    std::pair{std::string_view(".png"), std::string_view("image/png")},
    std::pair{std::string_view(".ico"), std::string_view("image/x-icon")},
    std::pair{std::string_view(".woff2"), std::string_view("font/woff2")},
    std::pair{std::string_view(".txt"), std::string_view("text/plain; charset=utf-8")},
};

/// The page asks each time whether a file has changed: a new driver must not be shown by the page of an old one.
constexpr std::string_view kHeaders =
    "Cache-Control: no-cache\r\n"
    "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; "
    "img-src 'self'; manifest-src 'self'; form-action 'none'; base-uri 'none'; frame-ancestors 'none'\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "Referrer-Policy: no-referrer\r\n";

/// The name of a file below the folder of the page; empty when the path names none.
std::string_view NameOf(std::string_view path) {
    if (std::ranges::find(kIndexPaths, path) != kIndexPaths.end()) {
        return kIndex;
    }
    return path.starts_with(kFolder) ? path.substr(kFolder.size()) : std::string_view();
}

/// The header is "*" or a list of tags; a cache on the way may have marked a tag as weak.
bool Names(std::string_view ifNoneMatch, std::string_view tag) {
    return ifNoneMatch == "*" || ifNoneMatch.find(tag) != std::string_view::npos;
}

}  // namespace

std::string_view ContentTypeOf(std::string_view path) {
    const auto* const row =
        std::ranges::find_if(kContentTypes, [path](const auto& each) { return path.ends_with(each.first); });
    return row == kContentTypes.end() ? "application/octet-stream" : row->second;
}

http::Answer PageAnswerTo(std::string_view path, std::string_view ifNoneMatch) {
    const auto files = PageFiles();
    const auto file = std::ranges::find(files, NameOf(path), &PageFile::path);
    if (file == files.end()) {
        return http::RefusalAnswer(404, "There is no such page.");
    }
    http::Answer answer{200, ContentTypeOf(file->path), {}};
    answer.headers = std::string(kHeaders) + "ETag: " + std::string(file->tag) + "\r\n";
    if (Names(ifNoneMatch, file->tag)) {
        answer.status = 304;
    } else {
        answer.body = file->content;
    }
    return answer;
}

}  // namespace kestrane::web

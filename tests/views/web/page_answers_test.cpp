#include "views/web/page_answers.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <utility>

#include "support/temporary_folder.h"
#include "views/web/page_files.h"

namespace kestrane::web {
namespace {

namespace fs = std::filesystem;

std::string HeaderOf(const http::Answer& answer, const std::string& name) {
    const std::string start = name + ": ";
    std::size_t at = ("\r\n" + answer.headers).find("\r\n" + start);
    if (at == std::string::npos) {
        return "none";
    }
    at += start.size();
    return answer.headers.substr(at, answer.headers.find("\r\n", at) - at);
}

TEST(PageFiles, AreThoseOfThePageAndTheHelp_ByteForByte) {
    std::set<std::string> expected;
    for (const auto& [folder, base] : {std::pair<fs::path, fs::path>(PAGE_FOLDER, PAGE_FOLDER),
                                       std::pair<fs::path, fs::path>(DOCUMENTS "/help", DOCUMENTS)}) {
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
            if (entry.is_regular_file()) {
                const std::string name = entry.path().lexically_relative(base).generic_string();
                expected.insert(name);
                EXPECT_EQ(PageAnswerTo("/page/" + name, "").body, ContentOf(entry.path())) << name;
            }
        }
    }
    std::set<std::string> names;
    for (const PageFile& file : PageFiles()) {
        names.insert(std::string(file.path));
    }
    EXPECT_EQ(names, expected);
    EXPECT_TRUE(names.contains("index.html"));
    EXPECT_TRUE(names.contains("help/help-4-sites.html"));
}

TEST(PageFiles, AreQuicklyLoaded) {
    std::size_t bytes = 0;
    for (const PageFile& file : PageFiles()) {
        bytes += file.content.size();
    }
    EXPECT_LT(bytes, 200'000U);
}

TEST(PageFiles, HaveAKnownType) {
    for (const PageFile& file : PageFiles()) {
        EXPECT_NE(ContentTypeOf(file.path), "application/octet-stream") << file.path;
    }
}

TEST(PageAnswers, TellTheTypeByTheEndOfTheName) {
    struct Row {
        const char* path;
        const char* type;
    };
    for (const Row& row :
         {Row{"index.html", "text/html; charset=utf-8"}, Row{"a/b.js", "text/javascript; charset=utf-8"},
          Row{"a.css", "text/css; charset=utf-8"}, Row{"a.svg", "image/svg+xml"}, Row{"a.png", "image/png"},
          Row{"a.json", "application/json"}, Row{"a.webmanifest", "application/manifest+json"},
          Row{"js", "application/octet-stream"}, Row{"a.js.map", "application/octet-stream"}}) {
        EXPECT_EQ(ContentTypeOf(row.path), row.type) << row.path;
    }
}

TEST(PageAnswers, AreFilesOfThePage_AndTheIndexWhereDevicesAreSetUp) {
    const std::string index = ContentOf(fs::path(PAGE_FOLDER) / "index.html");
    for (const char* path :
         {"/", "/page/index.html", "/setup", "/setup/v1/telescope/0/setup", "/setup/v1/focuser/0/setup"}) {
        SCOPED_TRACE(path);
        const http::Answer answer = PageAnswerTo(path, "");
        EXPECT_EQ(answer.status, 200);
        EXPECT_EQ(answer.body, index);
        EXPECT_EQ(answer.contentType, "text/html; charset=utf-8");
    }
    for (const char* path :
         {"", "//", "/page", "/page/", "/page/index", "/page//index.html", "/page/../index.html", "/pageindex.html",
          "/index.html", "/setup/", "/setup/v1/telescope/1/setup", "/setup/v1/camera/0/setup", "/page/%69ndex.html"}) {
        EXPECT_EQ(PageAnswerTo(path, "").status, 404) << path;
    }
}

TEST(PageAnswers, LetTheBrowserLoadAndRunNothingElse) {
    const http::Answer answer = PageAnswerTo("/", "");
    EXPECT_EQ(HeaderOf(answer, "Content-Security-Policy"),
              "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; img-src 'self'; "
              "manifest-src 'self'; form-action 'none'; base-uri 'none'; frame-ancestors 'none'");
    EXPECT_EQ(HeaderOf(answer, "X-Content-Type-Options"), "nosniff");
    EXPECT_EQ(HeaderOf(answer, "Referrer-Policy"), "no-referrer");
    EXPECT_EQ(HeaderOf(answer, "Cache-Control"), "no-cache");
    EXPECT_TRUE(answer.headers.ends_with("\r\n"));
    EXPECT_FALSE(answer.headers.ends_with("\r\n\r\n"));
}

TEST(PageAnswers, SendAFileOnlyToABrowserThatDoesNotHaveIt) {
    const std::string tag = HeaderOf(PageAnswerTo("/", ""), "ETag");
    EXPECT_EQ(tag.size(), 18U);
    EXPECT_TRUE(tag.starts_with('"') && tag.ends_with('"')) << tag;
    for (const std::string& known : {tag, "\"other\", " + tag, "W/" + tag, std::string("*")}) {
        const http::Answer answer = PageAnswerTo("/", known);
        EXPECT_EQ(answer.status, 304) << known;
        EXPECT_EQ(answer.body, "");
        EXPECT_EQ(HeaderOf(answer, "ETag"), tag);
    }
    for (const std::string& known : {std::string("\"other\""), tag.substr(1), tag.substr(0, 17) + "0\""}) {
        EXPECT_EQ(PageAnswerTo("/", known).status, 200) << known;
    }
    EXPECT_EQ(PageAnswerTo("/page/none", "*").status, 404);
}

}  // namespace
}  // namespace kestrane::web

// A user's old bookmark file: edited by hand, by other programs, in the code page of its time.

#include <algorithm>

#include "settings/bookmarks.h"
#include "settings/legacy_text.h"
#include "support.h"

namespace {

using namespace kestrane;
using fuzz::Require;

bool IsWhite(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}

std::string_view WithoutWhite(std::string_view text) {
    while (!text.empty() && IsWhite(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsWhite(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

struct Expected {
    std::vector<BookmarkLine> lines;
    std::size_t leftOut = 0;
};

/// The bookmarks by a walk over the lines, which fills the fields comma by comma.
Expected NaiveBookmarks(std::string_view content) {
    if (content.starts_with("\xEF\xBB\xBF")) {
        content.remove_prefix(3);
    }
    Expected expected;
    for (std::size_t from = 0; from <= content.size();) {
        const std::size_t end = std::min(content.find_first_of("\r\n", from), content.size());
        const std::string line = Utf8OfLegacyText(WithoutWhite(content.substr(from, end - from)));
        from = end + 1;
        if (line.empty() || line.front() == '#') {
            continue;
        }
        std::vector<std::string> fields(1);
        for (const char c : line) {
            if (c == ',' && fields.size() < 3) {
                fields.emplace_back();
            } else {
                fields.back() += c;
            }
        }
        if (fields.size() < 3 || line.find('\0') != std::string::npos) {
            ++expected.leftOut;
        } else {
            expected.lines.push_back({std::string(WithoutWhite(fields[0])), std::string(WithoutWhite(fields[1])),
                                      std::string(WithoutWhite(fields[2]))});
        }
    }
    return expected;
}

bool Equal(const std::vector<BookmarkLine>& left, const std::vector<BookmarkLine>& right) {
    return std::ranges::equal(left, right, [](const BookmarkLine& a, const BookmarkLine& b) {
        return a.first == b.first && a.second == b.second && a.name == b.name;
    });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::KeptLog kept(LogLevel::Warning);
    kept.messages.clear();
    const std::string_view content = fuzz::TextOf(data, size);
    const std::vector<BookmarkLine> lines = ParseBookmarks(content, kept.log);
    const Expected expected = NaiveBookmarks(content);
    Require(Equal(lines, expected.lines), "each line is split at its first two commas");
    Require(kept.messages.size() == expected.leftOut, "each line left out is logged once");

    std::string again = "# written anew\r\n";
    for (const BookmarkLine& line : lines) {
        Require(line.first.find(',') == std::string::npos && line.second.find(',') == std::string::npos,
                "only a name holds commas");
        const std::string all = line.first + line.second + line.name;
        Require(all.find('\0') == std::string::npos && all.find('\n') == std::string::npos, "no field ends early");
        again.append(line.first).append(" , ").append(line.second).append(",").append(line.name).append("\r\n");
    }
    Require(Equal(ParseBookmarks(again, kept.log), lines), "bookmarks written anew are read as they were");

    const std::string utf8 = Utf8OfLegacyText(content);
    Require(Utf8OfLegacyText(utf8) == utf8, "a text in UTF-8 stays as it is");
    Require(utf8.size() >= content.size(), "no byte is lost");
    return 0;
}

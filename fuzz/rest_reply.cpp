// The body of the companion's REST interface, and what goes out to it and to an adapter.

#include <optional>

#include "link/adapter_reply.h"
#include "support.h"

namespace {

using namespace kestrane;
using fuzz::Require;

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

/// Where the value of a key begins, behind the blanks after its colon, by a look at each position.
std::optional<std::size_t> ValueOf(std::string_view body, std::string_view key) {
    const std::string name = '"' + std::string(key) + '"';
    for (std::size_t start = 0; start + name.size() <= body.size(); ++start) {
        std::size_t at = start + name.size();
        if (body.substr(start, name.size()) != name) {
            continue;
        }
        while (at < body.size() && IsBlank(body[at])) {
            ++at;
        }
        if (at < body.size() && body[at] == ':') {
            for (++at; at < body.size() && IsBlank(body[at]); ++at) {
            }
            return at;
        }
    }
    return std::nullopt;
}

std::string NaiveField(std::string_view body, std::string_view key) {
    const auto start = ValueOf(body, key);
    std::string value;
    int quotes = 0;
    for (std::size_t at = start.value_or(body.size()); at < body.size(); ++at) {
        const char c = body[at];
        if (c == '\\') {
            ++at;
            value += at < body.size() ? std::string(1, body[at]) : "";
        } else if (c == '"') {
            if (++quotes == 2) {
                break;
            }
        } else if (quotes == 0 && (c == ',' || c == '}')) {
            break;
        } else {
            value += c;
        }
    }
    // With quotes only spaces go; without them a line end is layout too.
    const auto goes = [&](char c) { return c == ' ' || (quotes == 0 && IsBlank(c)); };
    while (value.starts_with(' ')) {
        value.erase(0, 1);
    }
    while (!value.empty() && goes(value.back())) {
        value.pop_back();
    }
    return quotes == 0 && value == "null" ? "" : value;
}

/// A JSON text taken back from its form in quotes.
std::string Unescaped(std::string_view text) {
    std::string plain;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '\\') {
            plain += text[at];
        } else if (text[++at] == 'u') {
            plain += static_cast<char>(std::stoi(std::string(text.substr(at + 1, 4)), nullptr, 16));
            at += 4;
        } else {
            plain += text[at];
        }
    }
    return plain;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::KeptLog kept;
    kept.messages.clear();
    const std::string_view text = fuzz::TextOf(data, size);
    const RestReply reply = StripResponse(text, kept.log);
    Require(reply.response == NaiveField(text, "ResponseString"), "the response is that field");
    Require(reply.message == NaiveField(text, "Result"), "the message is that field");
    Require(reply.success == (NaiveField(text, "Success") == "true"), "success is the text true");

    constexpr std::string_view kBodyHead = R"({  "Command": ")";
    constexpr std::string_view kBodyEnd = "\"}";
    const std::string body = RestBody(text);
    Require(body.starts_with(kBodyHead) && body.ends_with(kBodyEnd), "the body has its layout");
    const std::string_view inside =
        std::string_view(body).substr(kBodyHead.size(), body.size() - kBodyHead.size() - kBodyEnd.size());
    Require(Unescaped(inside) == text, "a reader of JSON gets the command back");
    for (const char c : EncodeUrl(text)) {
        Require((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '%',
                "an address holds letters, digits and percent signs");
    }
    return 0;
}

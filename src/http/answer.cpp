#include "http/answer.h"

namespace kestrane::http {
namespace {

std::string_view ReasonOf(int status) {
    switch (status) {
        case 200:
            return "OK";
        case 304:
            return "Not Modified";
        case 400:
            return "Bad Request";
        case 403:
            return "Forbidden";
        case 404:
            return "Not Found";
        case 413:
            return "Payload Too Large";
        case 503:
            return "Service Unavailable";
        default:
            return "Internal Server Error";
    }
}

}  // namespace

Answer RefusalAnswer(int status, std::string_view line) {
    Answer answer{status, "text/plain; charset=utf-8", std::string(line)};
    for (char& c : answer.body) {
        c = c >= ' ' && c <= '~' ? c : '?';
    }
    answer.body += '\n';
    return answer;
}

std::string HttpText(const Answer& answer, const AnswerForm& form) {
    std::string text = "HTTP/1.1 " + std::to_string(answer.status) + " ";
    text += ReasonOf(answer.status);
    const bool hasContent = answer.status != 304;  // its client has the content, and keeps what it knows of it
    if (hasContent) {
        text += "\r\nContent-Type: ";
        text += answer.contentType;
        text += "\r\nContent-Length: " + std::to_string(answer.body.size());
    }
    if (!form.keepAlive) {
        text += "\r\nConnection: close";
    } else if (form.oldProtocol) {
        text += "\r\nConnection: keep-alive";
    }
    text += "\r\n" + answer.headers + "\r\n";
    if (hasContent && !form.headOnly) {
        text += answer.body;
    }
    return text;
}

}  // namespace kestrane::http

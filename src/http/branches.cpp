#include "http/branches.h"

#include <optional>
#include <utility>

#include "http/request_parameters.h"

namespace kestrane::http {
namespace {

std::optional<Verb> VerbOf(const std::string& method, const Branch* branch) {
    if (method == "GET" || (method == "HEAD" && branch != nullptr && branch->takesHead)) {
        return Verb::Get;
    }
    return method == "PUT" ? std::optional(Verb::Put) : std::nullopt;
}

bool Takes(const Branch& branch, std::string_view path) {
    return path.starts_with(branch.path) &&
           (branch.path.empty() || path.size() == branch.path.size() || path[branch.path.size()] == '/');
}

const Branch* BranchOf(const std::vector<Branch>& branches, std::string_view path) {
    const Branch* longest = nullptr;
    for (const Branch& branch : branches) {
        if (Takes(branch, path) && (longest == nullptr || branch.path.size() > longest->path.size())) {
            longest = &branch;
        }
    }
    return longest;
}

bool IsKeptOut(const OwnHosts& own, const ReceivedRequest& received) {
    return !(IsOwnHost(received.host, own) && IsOwnOrigin(received.origin, own) && IsOwnSite(received.fetchSite));
}

}  // namespace

void Dispatch(const std::vector<Branch>& branches, const OwnHosts& own, ReceivedRequest received,
              const AnswerFunction& answer) {
    const RequestTarget target = SplitTarget(received.target);
    const Branch* branch = BranchOf(branches, target.path);
    const std::optional<Verb> verb = VerbOf(received.method, branch);
    if (!verb) {
        answer(RefusalAnswer(400, "Only GET and PUT are understood."));
    } else if (IsKeptOut(own, received)) {
        answer(RefusalAnswer(403, "The request names a host or an origin that is not this machine."));
    } else if (branch == nullptr) {
        answer(RefusalAnswer(400, "There is no such path."));
    } else {
        branch->handle({.verb = *verb,
                        .path = std::string(target.path),
                        .query = std::string(target.query),
                        .body = std::move(received.body),
                        .remoteAddress = std::move(received.remoteAddress),
                        .connection = received.connection,
                        .ifNoneMatch = std::move(received.ifNoneMatch),
                        .wantsWebSocket = received.wantsWebSocket},
                       answer);
    }
}

}  // namespace kestrane::http

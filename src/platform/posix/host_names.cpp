#include "platform/posix/host_names.h"

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <exception>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace kestrane {
namespace {

using SteadyClock = std::chrono::steady_clock;

}  // namespace

/// One lookup, shared with its thread.
class HostNames::Running {
public:
    static std::shared_ptr<Running> Begin(const Lookup& lookup, const std::string& host) {
        auto running = std::make_shared<Running>();
        try {
            std::thread([running, lookup, host] { running->Finish(Ask(lookup, host)); }).detach();
        } catch (const std::system_error& noThread) {
            running->Finish(
                {.addresses = {}, .error = "the name could not be looked up: " + noThread.code().message()});
        }
        return running;
    }

    bool IsDone() {
        const std::lock_guard lock(mutex_);
        return result_.has_value();
    }
    Answer Result() {
        const std::lock_guard lock(mutex_);
        return *result_;
    }

private:
    /// Nothing may leave the thread.
    static Answer Ask(const Lookup& lookup, const std::string& host) {
        try {
            return lookup(host);
        } catch (const std::exception& fault) {
            return {.addresses = {}, .error = fault.what()};
        }
    }
    void Finish(Answer answer) {
        const std::lock_guard lock(mutex_);
        result_ = std::move(answer);
    }

    std::mutex mutex_;
    std::optional<Answer> result_;
};

HostNames::Answer HostNames::Find(const std::string& host, SlicedWait::TimePoint deadline, const SlicedWait& wait) {
    boost::system::error_code isNoAddress;
    const auto address = boost::asio::ip::make_address(host, isNoAddress);
    if (!isNoAddress) {
        return {.addresses = {address}, .error = {}};
    }
    Known& known = hosts_[host];
    TakeResult(known);
    const bool isFresh = !known.answer.addresses.empty() && SteadyClock::now() - known.since < knownFor_;
    if (!isFresh && !known.lookup) {
        known.lookup = Running::Begin(lookup_, host);
    }
    if (!known.answer.addresses.empty()) {
        return known.answer;
    }
    if (!wait.AwaitThat([&] { return known.lookup->IsDone(); }, deadline, SlicedWait::AtTheEnd::WaitsOn)) {
        return known.answer;  // why the last lookup failed
    }
    TakeResult(known);
    return known.answer;
}

/// A failure takes no known address away.
void HostNames::TakeResult(Known& known) {
    if (!known.lookup || !known.lookup->IsDone()) {
        return;
    }
    Answer result = known.lookup->Result();
    known.lookup.reset();
    if (!result.addresses.empty()) {
        known.since = SteadyClock::now();
    }
    if (!result.addresses.empty() || known.answer.addresses.empty()) {
        known.answer = std::move(result);
    }
}

HostNames::Answer HostNames::SystemLookup(const std::string& host) {
    boost::asio::io_context context;
    boost::asio::ip::tcp::resolver resolver(context);
    boost::system::error_code error;
    Answer answer;
    for (const auto& entry : resolver.resolve(host, "", error)) {
        answer.addresses.push_back(entry.endpoint().address());
    }
    if (error) {
        answer.error = error.message();
    }
    return answer;
}

}  // namespace kestrane

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/clock.h"
#include "simulator/mount_simulator.h"
#include "simulator/web_answer.h"

namespace kestrane {

/// The network adapter of a simulated mount: a GET of "/cmd.cgi?CMD=" and a command, percent-encoded, gets what the
/// mount answers. It is healthy until a test gives it a fault. One thread; the mount outlives it.
class HttpAdapter {
public:
    /// Faults that last until another one is set. With all but the last two the mount hears nothing.
    enum class Fault {
        None,
        Unplugged,          ///< takes no connection
        Silent,             ///< takes the request, and never answers
        LosesReplies,       ///< the same, but the mount hears the command
        AnswersForAnother,  ///< gives the reply to the request before; to the first one an empty one
    };

    HttpAdapter(Clock& clock, MountSimulator& mount) : clock_(clock), mount_(mount) {}

    /// Answers a request. The body is all that the mount's line brings until it is quiet; a mount that says nothing
    /// gives an empty one. Sleeps meanwhile, at most `limitMs`, the time that the asker waits.
    WebAnswer Get(std::string_view target, std::int32_t limitMs);

    void SetFault(Fault fault);
    /// Each answer comes so much later than the mount gave it.
    void SetDelay(std::int32_t milliseconds) { delayMs_ = milliseconds; }
    /// From now on it takes no connection for a time, then answers with a page of its own for another time, and then is
    /// as it was.
    void Reboot(std::int32_t withoutConnectionMs, std::int32_t withPageMs);

    /// Each command that came to the mount, as its bytes stood on the line.
    const std::vector<std::string>& Commands() const { return commands_; }

private:
    std::optional<WebAnswer> AnswerOfReboot();
    WebAnswer AnswerOfMount(const std::string& command, std::int32_t limitMs);
    WebAnswer SilenceUntil(Tick start, std::int32_t limitMs);

    Clock& clock_;
    MountSimulator& mount_;
    Fault fault_ = Fault::None;
    std::int32_t delayMs_ = 0;
    std::optional<Tick> rebootsSince_;
    std::int32_t rebootWithoutConnectionMs_ = 0;
    std::int32_t rebootWithPageMs_ = 0;
    std::string replyBefore_;
    std::vector<std::string> commands_;
};

}  // namespace kestrane

#include "link/class_tcp_comm.h"

#include <gtest/gtest.h>

#include "link/link_factory.h"
#include "link/link_fixture.h"

namespace kestrane {
namespace {

/// An adapter at 192.0.2.7 that answers each request with the next of `replies`, and stays silent after the last.
class IpLink : public LinkFixture {
protected:
    IpLink() {
        machine.http.Serve([this](const HttpRequest&) -> std::optional<VirtualHttp::Answer> {
            if (replies.empty()) {
                return std::nullopt;
            }
            VirtualHttp::Answer answer{.afterMs = 0, .reply = replies.front()};
            replies.erase(replies.begin());
            return answer;
        });
    }

    classTCPComm& Ip() {
        if (!ip_) {
            ip_ = LinkFactory{.ports = machine.serialPorts,
                              .http = machine.http,
                              .applicationSettings = machine.applicationSettings,
                              .messageBoxes = machine.messageBoxes,
                              .clock = clock,
                              .log = log,
                              .counters = counters,
                              .alarmFilter = alarmFilter,
                              .ledger = ledger,
                              .persist = persist}
                      .MakeIp();
            ip_->IpAddress("192.0.2.7");
        }
        return *ip_;
    }
    /// The next use makes another link.
    void Renew() { ip_.reset(); }
    void Answer(const std::string& body, unsigned status = 200) {
        replies.push_back({.status = status, .body = body, .error = {}});
    }
    /// What one command adds to the buffer when the other side gives this body.
    std::string Added(const std::string& body, unsigned status = 200) {
        Answer(body, status);
        Ip().Transmit(":GR#");
        return Ip().Receive();
    }
    void Rest() { persist.Write(setting::chkQuayRestApi, "1"); }
    std::vector<std::string> OwnLines() const {
        std::vector<std::string> lines = LogLines();
        std::erase_if(lines, [](const std::string& line) { return !line.starts_with("TCP "); });
        return lines;
    }
    const HttpRequest& LastRequest() const { return machine.http.Requests().back(); }

    std::vector<HttpReply> replies;

private:
    std::unique_ptr<classTCPComm> ip_;
};

TEST_F(IpLink, Creation_LogsTheLimitsOfTheSettings) {
    Ip();
    EXPECT_EQ(OwnLines(), (std::vector<std::string>{
                              "TCP Info Created HTTP object...",
                              "TCP Info Timeouts-> Resolve=100ms, Connect=100ms, Send=100ms, Receive=250ms"}));
}

TEST_F(IpLink, Limits_FollowTheSettingsAndAreGivenToEachRequest) {
    persist.Write(setting::IpResolveTimeoutMSecs, "11");
    persist.Write(setting::IpConnectTimeoutMSecs, "12");
    persist.Write(setting::IpSendTimeoutMSecs, "13");
    persist.Write(setting::IpReceiveTimeoutMSecs, "none");
    Ip().Transmit(":GR#");
    EXPECT_EQ(LastRequest().limits.resolveMs, 11);
    EXPECT_EQ(LastRequest().limits.connectMs, 12);
    EXPECT_EQ(LastRequest().limits.sendMs, 13);
    EXPECT_EQ(LastRequest().limits.receiveMs, 250);
    Ip().ReceiveTimeoutMS(500);
    Ip().Transmit(":GR#");
    EXPECT_EQ(LastRequest().limits.receiveMs, 500);
    EXPECT_EQ(LogLines().back(), "TCP Error Sent: :GR#, ErrorMessage = no whole reply within 500 ms");
}

TEST_F(IpLink, ALimitOfTheSettings_IsAnyNumberFromOneToAMinute) {
    struct Row {
        const char* text;
        std::int32_t limit;
    };
    for (const Row& row : {Row{"0", 100}, Row{"-5", 100}, Row{"0.4", 100}, Row{"", 100}, Row{"100ms", 100}, Row{"1", 1},
                           Row{"60000", 60'000}, Row{"1e9", 100}, Row{"99999999999", 60'000}}) {
        SCOPED_TRACE(row.text);
        persist.Write(setting::IpConnectTimeoutMSecs, row.text);
        Renew();
        Ip().Transmit(":GR#");
        EXPECT_EQ(LastRequest().limits.connectMs, row.limit);
    }
}

TEST_F(IpLink, AnotherReceiveLimit_IsLoggedWithTheOthers) {
    Ip().ReceiveTimeoutMS(500);
    EXPECT_EQ(OwnLines().back(), "TCP Info Timeouts-> Resolve=100ms, Connect=100ms, Send=100ms, Receive=500ms");
    Ip().ReceiveTimeout(2);
    EXPECT_EQ(OwnLines().back(), "TCP Info Timeouts-> Resolve=100ms, Connect=100ms, Send=100ms, Receive=2000ms");
}

TEST_F(IpLink, WhyNothingCame_NamesTheAddressAndTheFault) {
    EXPECT_TRUE(Ip().IsOverIp());
    Ip().IpAddress(" ");
    EXPECT_EQ(Ip().WhyNothingCame(), "no address is set");
    Ip().IpAddress(" mount.local:8080 ");
    EXPECT_EQ(Ip().WhyNothingCame(), "mount.local:8080: nothing answered");
    Answer("not here", 404);
    Ip().Transmit(":GR#");
    EXPECT_EQ(LastRequest().host, "mount.local:8080");
    EXPECT_EQ(Ip().WhyNothingCame(), "mount.local:8080: the reply has the status 404");
    Answer("");
    Ip().Transmit(":GR#");
    EXPECT_EQ(Ip().WhyNothingCame(), "mount.local:8080: nothing answered");
    Ip().UseQuayRestApi(true);
    Ip().QuayIpPort(60007);
    EXPECT_EQ(Ip().WhyNothingCame(), "127.0.0.1:60007: nothing answered");
}

/// A host may have the name of any word of a fault.
TEST_F(IpLink, WhyNothingCame_NamesTheAddressOnce) {
    Ip().IpAddress("reply");
    Answer("not here", 404);
    Ip().Transmit(":GR#");
    EXPECT_EQ(Ip().WhyNothingCame(), "reply: the reply has the status 404");
    machine.http.StopServing();
    Ip().Transmit(":GR#");
    EXPECT_EQ(Ip().WhyNothingCame(), "reply takes no connection: Connection refused");
}

TEST_F(IpLink, APortOfTheCompanionThatIsNone_CountsAsItsDefault) {
    for (const char* text : {"", "abc", "0", "-1", "65536", "60001x"}) {
        machine.applicationSettings.Set("QUAY", "Driver", "RestApiPort", text);
        Renew();
        EXPECT_EQ(Ip().QuayIpPort(), 60001) << text;
    }
}

TEST_F(IpLink, Connected_IsAFlagOnly) {
    EXPECT_FALSE(Ip().Connected());
    Ip().Connected(true);
    EXPECT_TRUE(Ip().Connected());
    Ip().Connected(false);
    EXPECT_FALSE(Ip().Connected());
    EXPECT_TRUE(machine.http.Requests().empty());
}

TEST_F(IpLink, CanSend_SaysWhetherTheLastRequestWentOut) {
    for (const bool rest : {false, true}) {
        Ip().UseQuayRestApi(rest);
        Ip().Connected(true);
        EXPECT_TRUE(Ip().CanSend());
        replies.push_back({.status = 0, .body = {}, .error = "it took no connection", .sent = false});
        Ip().Transmit(":Q#");
        EXPECT_FALSE(Ip().CanSend());
        Ip().Transmit(":Q#");
        EXPECT_TRUE(Ip().CanSend()) << "without a reply the mount may have heard it";
        for (const auto& [body, status] : {std::pair<std::string, unsigned>{"<html>busy</html>", 200},
                                           {"", 503},
                                           {"{}", 404},
                                           {std::string(4097, '<'), 200},
                                           {std::string(4097, ' '), 503}}) {
            Answer(body, status);
            Ip().Transmit(":Q#");
            EXPECT_FALSE(Ip().CanSend()) << "somebody else has answered: " << body.substr(0, 20) << status;
        }
        for (const char* body : {rest ? R"({"Success":false})" : "1#", "", "\r\n"}) {
            Answer("", 503);
            Answer(body);
            Ip().Transmit(":Q#");
            Ip().Transmit(":Q#");
            EXPECT_TRUE(Ip().CanSend()) << body;
        }
        Ip().Connected(false);
        EXPECT_FALSE(Ip().CanSend());
    }
}

TEST_F(IpLink, Transmit_AsksTheAdapterByGet) {
    Answer("12:34:56#\r\n");
    Ip().Transmit(":GR#");
    EXPECT_EQ(LastRequest().method, HttpRequest::Method::Get);
    EXPECT_EQ(LastRequest().host, "192.0.2.7");
    EXPECT_EQ(LastRequest().target, "/cmd.cgi?CMD=%3AGR%23");
    EXPECT_EQ(LastRequest().body, "");
    EXPECT_EQ(Ip().ReceiveTerminated("#"), "12:34:56#");
}

TEST_F(IpLink, Transmit_AsksTheCompanionByPost) {
    Rest();
    machine.applicationSettings.Set("QUAY", "Driver", "RestApiPort", "60007");
    Answer("{\"ResponseString\":\"12:34:56#\",\"Result\":\"ok\",\"Success\":true}\r\n");
    Ip().Transmit(":GR#");
    EXPECT_EQ(LastRequest().method, HttpRequest::Method::Post);
    EXPECT_EQ(LastRequest().host, "127.0.0.1:60007");
    EXPECT_EQ(LastRequest().target, "/api/mount/sendcmd");
    EXPECT_EQ(LastRequest().headers, (std::vector<std::pair<std::string, std::string>>{
                                         {"Content-Type", "application/json"}, {"Accept", "*/*"}}));
    EXPECT_EQ(LastRequest().body, "{  \"Command\": \":GR#\"}");
    EXPECT_EQ(Ip().ReceiveTerminated("#"), "12:34:56#");
    EXPECT_EQ(LogLines().back(),
              "QUAY Info Sent: :GR#, Response = "
              "{\"ResponseString\":\"12:34:56#\",\"Result\":\"ok\",\"Success\":true}, "
              "Raw = 12:34:56#, ReturnMessage = ok");
}

TEST_F(IpLink, OnlyTheTextOneChoosesTheCompanion) {
    persist.Write(setting::chkQuayRestApi, "2");
    EXPECT_FALSE(Ip().UseQuayRestApi());
}

TEST_F(IpLink, AReplyThatCannotBeTheMounts_AddsNothingAndIsLogged) {
    struct Row {
        std::string body;
        unsigned status;
        const char* why;
    };
    for (const Row& row : {Row{"1#", 404, "the reply has the status 404"}, Row{"", 302, "the reply has the status 302"},
                           Row{"<html>", 200, "the reply is a page and not the mount's"},
                           Row{std::string(257, '1'), 200, "the reply is longer than 256 bytes"}}) {
        EXPECT_EQ(Added(row.body, row.status), "") << row.why;
        EXPECT_EQ(LogLines().back(), std::string("TCP Error Sent: :GR#, ErrorMessage = ") + row.why);
    }
    EXPECT_EQ(Added(std::string(256, '1')), std::string(256, '1'));
    EXPECT_EQ(Added(""), "");
}

TEST_F(IpLink, AReplyThatCannotBeTheCompanions_AddsNothingAndIsLogged) {
    Rest();
    struct Row {
        std::string body;
        unsigned status;
        const char* why;
    };
    for (const Row& row :
         {Row{"{}", 500, "the reply has the status 500"}, Row{"1#", 200, "the reply is not the companion's"},
          Row{"{" + std::string(4096, ' '), 200, "the reply is longer than 4096 bytes"}}) {
        EXPECT_EQ(Added(row.body, row.status), "") << row.why;
        EXPECT_EQ(LogLines().back(),
                  std::string("QUAY Error URI: http://127.0.0.1:60001/api/mount/sendcmd, Sent: :GR#, "
                              "Response = , ErrorMessage = ") +
                      row.why);
    }
}

TEST_F(IpLink, AnEmptyReplyOfTheCompanion_AddsNothing) {
    Rest();
    EXPECT_EQ(Added(""), "");
    EXPECT_EQ(LogLines().back(), "QUAY Info Sent: :GR#, Response = , Raw = , ReturnMessage = ");
    EXPECT_EQ(Ip().WhyNothingCame(), "127.0.0.1:60001: nothing answered");
}

TEST_F(IpLink, WithoutSuccessOfTheCompanion_ItsResponseCountsAllTheSame) {
    Rest();
    EXPECT_EQ(Added(" {\"ResponseString\":\"1#\",\"Success\":false}"), "1#");
}

TEST_F(IpLink, AlarmLetters_AreTakenOutAndCounted_ButNotFromTheCompanionsHead) {
    EXPECT_EQ(Added("12:3Y4:56#"), "12:34:56#");
    EXPECT_EQ(counters.Values().g_nLowPower, 1);
    EXPECT_EQ(Added("QUAY,1,1,X5#"), "QUAY,1,1,5#");
    EXPECT_EQ(counters.Values().g_nServoFaults, 1);
    EXPECT_EQ(counters.Values().g_nLowPower, 1);
}

TEST_F(IpLink, TwoCommandsWithoutARead_LeaveBothReplies) {
    Answer("1#");
    Answer("2#");
    Ip().Transmit(":GR#");
    Ip().Transmit(":GD#");
    EXPECT_EQ(Ip().Receive(), "1#2#");
    EXPECT_EQ(Ip().Receive(), "");
}

/// Buffer, count, what is read, what is left, errors counted.
TEST_F(IpLink, ReceiveCounted_LeavesWhatItsPositionsSay) {
    struct Row {
        const char* buffer;
        std::int32_t count;
        const char* read;
        const char* left;
        std::int32_t errors;
    };
    for (const Row& row :
         {Row{"1", 1, "1", "", 0}, Row{"12", 1, "1", "12", 0}, Row{"123", 1, "1", "123", 0},
          Row{"1234", 1, "1", "234", 0}, Row{"123456", 1, "1", "456", 0}, Row{"123456", 3, "123", "23456", 0},
          Row{"1234", 4, "1234", "", 0}, Row{"12", 3, "12", "", 1}, Row{"", 1, "", "", 1}}) {
        counters.Reset();
        Answer(row.buffer);
        Ip().Transmit(":GR#");
        EXPECT_EQ(Ip().ReceiveCounted(row.count), row.read) << row.buffer;
        EXPECT_EQ(counters.Values().g_nReceiveCountedErrors, row.errors) << row.buffer;
        EXPECT_EQ(Ip().Receive(), row.left) << row.buffer;
    }
}

TEST_F(IpLink, ReceiveTerminated_RefillsFromTheAddress) {
    struct Row {
        const char* buffer;
        const char* read;
        const char* left;
        std::int32_t errors;
    };
    for (const Row& row : {Row{"12#", "12#", "", 0}, Row{"12", "", "12", 1}, Row{"", "", "", 1},
                           Row{"12#3", "12#", ".0.2.7", 0}, Row{"123456789#1", "123456789#", "", 0}}) {
        counters.Reset();
        Answer(row.buffer);
        Ip().Transmit(":GR#");
        EXPECT_EQ(Ip().ReceiveTerminated("#"), row.read) << row.buffer;
        EXPECT_EQ(counters.Values().g_nReceiveTerminatedErrors, row.errors) << row.buffer;
        EXPECT_EQ(Ip().Receive(), row.left) << row.buffer;
    }
}

TEST_F(IpLink, DrainOne_EmptiesABufferOfAnyLength) {
    for (std::size_t length = 0; length < 20; ++length) {
        Answer(std::string(length, '1'));
        Ip().Transmit(":GR#");
        int reads = 0;
        while (!Ip().DrainOne().empty()) {
            ASSERT_LT(++reads, 30);
        }
        EXPECT_EQ(Ip().Receive(), "");
    }
}

TEST_F(IpLink, NoRead_TakesTimeOrRaises) {
    EXPECT_EQ(Ip().Receive(), "");
    EXPECT_EQ(Ip().ReceiveCounted(3), "");
    EXPECT_EQ(Ip().ReceiveTerminated("#"), "");
    EXPECT_EQ(Ip().TakeLateBytes(), "");
    EXPECT_EQ(Ip().ReceiveCharacter().reply, "");
    EXPECT_EQ(clock.Elapsed(), 0);
}

TEST_F(IpLink, CharactersBeyondAscii_AreOneByteEach) {
    EXPECT_EQ(Added("+40\xDF"), "+40\xC3\x9F");
    Ip().Transmit("\xC3\x9F");
    EXPECT_EQ(LastRequest().target, "/cmd.cgi?CMD=%DF");
}

TEST_F(IpLink, ItsProperties_KeepWhatTheyAreGiven) {
    EXPECT_EQ(Ip().ReceiveTimeoutMS(), 250);
    EXPECT_EQ(Ip().QuayIpPort(), 60001);
    Ip().Port(80);
    Ip().Speed(9600);
    Ip().ReceiveTimeout(3);
    EXPECT_EQ(Ip().Port(), 80);
    EXPECT_EQ(Ip().Speed(), 9600);
    EXPECT_EQ(Ip().ReceiveTimeoutMS(), 3000);
    EXPECT_EQ(Ip().ReceiveTimeout(), 3);
    Ip().ReceiveTimeout(2147484);
    EXPECT_EQ(Ip().ReceiveTimeoutMS(), 3000);
    std::int32_t total = 1;
    std::int32_t multiplier = 1;
    std::int32_t interval = 1;
    Ip().GetReadTimeouts(total, multiplier, interval);
    EXPECT_EQ(total, 3000);
    EXPECT_EQ(multiplier, 0);
    EXPECT_EQ(interval, 0);
}

TEST_F(IpLink, TestIP_ShowsWhatTheAdapterSays) {
    std::string text;
    Answer("<html>I am an adapter</html>");
    Ip().TestIP("192.0.2.8", "V", text);
    EXPECT_EQ(LastRequest().host, "192.0.2.8");
    EXPECT_EQ(text, "<html>I am an adapter</html>");
    Ip().TestIP("192.0.2.8", "V", text);
    EXPECT_EQ(text, "no whole reply within 250 ms");
    ASSERT_EQ(machine.messageBoxes.shown.size(), 2U);
    EXPECT_EQ(machine.messageBoxes.shown.back().text, text);
}

TEST_F(IpLink, WithTheDebugSetting_EachStepIsLogged) {
    persist.Write(setting::IpDebug, "1");
    Ip().Connected(true);
    Answer("12#");
    Ip().Transmit(":GR#");
    Ip().ReceiveTerminated("#");
    Ip().ReceiveCounted(1);
    Ip().Receive();
    Ip().ClearBuffers();
    const std::vector<std::string> lines = OwnLines();
    EXPECT_EQ(
        std::vector<std::string>(lines.begin() + 2, lines.end()),
        (std::vector<std::string>{"TCP Info Connected = True, Timeout = 250ms", "TCP Info Sent: :GR#, Response = 12#",
                                  "TCP Info Transmit: :GR#, Cumulative response buffer: 12#",
                                  "TCP Info ReceiveTerminated = 3 bytes", "TCP Info ReceiveCounted = , Len = 0 bytes",
                                  "TCP Info Receive = , Len = 0 bytes", "TCP Info CommClearBuffers removed 0 bytes"}));
    Renew();
    EXPECT_EQ(OwnLines()[lines.size()], "TCP Info Terminating and releasing HTTP object...");
}

}  // namespace
}  // namespace kestrane

#include "simulator/http_adapter.h"

#include "mount_fixture.h"
#include "support/serve_simulator.h"

namespace kestrane {
namespace {

constexpr std::int32_t kAskerWaitsMs = 500;

class AdapterTest : public MountTest {
protected:
    HttpAdapter& Adapter() {
        if (!adapter_) {
            adapter_ = std::make_unique<HttpAdapter>(clock, Mount());
        }
        return *adapter_;
    }
    WebAnswer Get(const std::string& encoded) { return Adapter().Get("/cmd.cgi?CMD=" + encoded, kAskerWaitsMs); }
    std::string Body(const std::string& encoded) {
        const WebAnswer answer = Get(encoded);
        EXPECT_EQ(answer.outcome, WebAnswer::Outcome::Reply);
        EXPECT_EQ(answer.status, 200U);
        return answer.body;
    }
    void ExpectNothing(WebAnswer::Outcome outcome, std::int64_t afterMs) {
        const std::int64_t before = clock.Elapsed();
        EXPECT_EQ(Get("%3AV%23").outcome, outcome);
        EXPECT_EQ(clock.Elapsed() - before, afterMs);
    }

private:
    std::unique_ptr<HttpAdapter> adapter_;
};

TEST_F(AdapterTest, Request_GetsAllThatTheMountAnswers) {
    EXPECT_EQ(Body("%3AV%23"), "VKC4-P02-08#");
    EXPECT_EQ(Body("%3AV%23%3apS%23"), "VKC4-P02-08#East#");
    EXPECT_EQ(Body("%3AG%05%23"), "0#");
    EXPECT_EQ(Body("%3ASC03%2F20%2F24%23"), "1Updating planetary data#" + std::string(24, ' ') + "#");
    EXPECT_EQ(Adapter().Commands().at(2), ":G\x05#");
    EXPECT_TRUE(Mount().UnknownCommands().empty());
}

TEST_F(AdapterTest, CommandWithoutAReply_GetsAnEmptyBodyAtOnce) {
    Mount();
    const std::int64_t before = clock.Elapsed();
    EXPECT_EQ(Body("%3AQ%23"), "");
    EXPECT_EQ(clock.Elapsed(), before);
    EXPECT_EQ(Mount().Commands(), std::vector<std::string>{"Q"});
}

TEST_F(AdapterTest, OtherRequests_AreRefused) {
    EXPECT_EQ(Adapter().Get("/", kAskerWaitsMs).status, 404U);
    EXPECT_EQ(Adapter().Get("/cmd.cgi?cmd=%3AV%23", kAskerWaitsMs).status, 404U);
    for (const char* bad : {"%3", "%", "%G0", "%3AV%2"}) {
        EXPECT_EQ(Get(bad).status, 400U) << bad;
    }
    EXPECT_TRUE(Mount().Commands().empty());
}

TEST_F(AdapterTest, ReplyThatTakesTooLong_IsNone_AndComesToTheNextRequest) {
    Mount().Add(std::make_unique<AnswersLate>("V", 600, 1));
    ExpectNothing(WebAnswer::Outcome::NoReply, kAskerWaitsMs);
    EXPECT_EQ(Body("%3ApS%23"), "VKC4-P02-08#East#");
}

TEST_F(AdapterTest, MountThatNeverStopsSending_GetsNoReplyThrough) {
    Mount().Add(std::make_unique<NeverStopsSending>());
    ExpectNothing(WebAnswer::Outcome::NoReply, kAskerWaitsMs);
}

TEST_F(AdapterTest, Delay_IsAddedToTheTimeOfTheMount) {
    Get("%3AV%23");
    const std::int64_t before = clock.Elapsed();
    Get("%3AV%23");
    const std::int64_t healthy = clock.Elapsed() - before;
    Adapter().SetDelay(300);
    EXPECT_EQ(Body("%3AV%23"), "VKC4-P02-08#");
    EXPECT_EQ(clock.Elapsed() - before, 2 * healthy + 300);
    Adapter().SetDelay(kAskerWaitsMs);
    ExpectNothing(WebAnswer::Outcome::NoReply, kAskerWaitsMs);
    Adapter().SetDelay(0);
    EXPECT_EQ(Body("%3ApS%23"), "East#") << "the reply that came too late is lost";
}

TEST_F(AdapterTest, Faults_LastUntilTheyAreTaken) {
    Adapter().SetFault(HttpAdapter::Fault::Unplugged);
    ExpectNothing(WebAnswer::Outcome::NoConnection, 0);
    Adapter().SetFault(HttpAdapter::Fault::Silent);
    ExpectNothing(WebAnswer::Outcome::NoReply, kAskerWaitsMs);
    EXPECT_TRUE(Mount().Commands().empty());
    Adapter().SetFault(HttpAdapter::Fault::LosesReplies);
    ExpectNothing(WebAnswer::Outcome::NoReply, kAskerWaitsMs);
    EXPECT_EQ(Mount().Commands(), std::vector<std::string>{"V"});
    Adapter().SetFault(HttpAdapter::Fault::None);
    EXPECT_EQ(Body("%3ApS%23"), "East#");
}

TEST_F(AdapterTest, AnswersForAnother_GivesTheReplyBefore) {
    Adapter().SetFault(HttpAdapter::Fault::AnswersForAnother);
    EXPECT_EQ(Body("%3AV%23"), "");
    EXPECT_EQ(Body("%3ApS%23"), "VKC4-P02-08#");
    EXPECT_EQ(Body("%3AQ%23"), "East#");
    Adapter().SetFault(HttpAdapter::Fault::None);
    EXPECT_EQ(Body("%3ApS%23"), "East#");
}

TEST_F(AdapterTest, Reboot_TakesNoConnection_ThenGivesAPage_ThenIsOver) {
    Adapter().Reboot(20'000, 5000);
    ExpectNothing(WebAnswer::Outcome::NoConnection, 0);
    clock.Sleep(19'999);
    ExpectNothing(WebAnswer::Outcome::NoConnection, 0);
    clock.Sleep(1);
    EXPECT_EQ(Body("%3AV%23").front(), '<');
    clock.Sleep(4999);
    EXPECT_EQ(Body("%3AV%23").front(), '<');
    EXPECT_TRUE(Mount().Commands().empty());
    clock.Sleep(1);
    EXPECT_EQ(Body("%3AV%23"), "VKC4-P02-08#");
}

TEST_F(AdapterTest, ServedOnVirtualHttp_FailsWithinTheDriversLimits) {
    VirtualHttp http(clock);
    ServeAdapter(http, Adapter());
    HttpRequest request{.host = "mount",
                        .target = "/cmd.cgi?CMD=%3AV%23",
                        .headers = {},
                        .body = {},
                        .limits = {.connectMs = 70, .receiveMs = 400},
                        .mostBodyBytes = 256};
    EXPECT_EQ(http.Send(request).body, "VKC4-P02-08#");
    const auto expectError = [&](HttpAdapter::Fault fault, std::int64_t afterMs, const std::string& error) {
        Adapter().SetFault(fault);
        const std::int64_t before = clock.Elapsed();
        const HttpReply reply = http.Send(request);
        EXPECT_EQ(reply.status, 0U);
        EXPECT_EQ(reply.error, error);
        EXPECT_EQ(clock.Elapsed() - before, afterMs);
    };
    expectError(HttpAdapter::Fault::Unplugged, 70, "mount took no connection within 70 ms");
    expectError(HttpAdapter::Fault::Silent, 400, "no whole reply within 400 ms");
    Adapter().SetFault(HttpAdapter::Fault::None);
    request.method = HttpRequest::Method::Post;
    EXPECT_EQ(http.Send(request).status, 405U);
}

}  // namespace
}  // namespace kestrane

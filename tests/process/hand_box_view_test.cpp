// The page's socket as a browser uses it: what it is shown, what it may do, and what becomes of a held button when the
// browser dies.

#include <chrono>
#include <cmath>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "http/web_socket_client.h"
#include "process/process_fixture.h"

namespace kestrane::process {
namespace {

using SteadyClock = std::chrono::steady_clock;

bool Has(const std::string& text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

/// A page that is open. Reads what comes, and answers each beat.
class OpenPage {
public:
    explicit OpenPage(std::uint16_t port) : socket_(port, "/view") {}

    /// Reads on until a message has `part`; empty when the socket has closed before, or after so long. Beats come four
    /// times a second, so that it never waits long for a message.
    std::string WaitFor(std::string_view part, Seconds limit = kPatience) {
        return ReadUntil([&](const std::string& message) { return Has(message, part); }, limit);
    }
    void LiveFor(Seconds time) {
        ReadUntil([](const std::string&) { return false; }, time);
    }

    void Do(const std::string& members) { socket_.Send("{" + members + R"(,"beat":)" + std::to_string(beat_) + "}"); }
    void Hold(const std::string& control, int number) {
        hold_ = number;
        Do(R"("do":"hold","form":"frmHandBox","id":1,"control":")" + control + R"(","hold":)" + std::to_string(number));
    }

private:
    std::string ReadUntil(const std::function<bool(const std::string&)>& wanted, Seconds limit) {
        const auto end = SteadyClock::now() + limit;
        while (SteadyClock::now() < end) {
            const std::optional<std::string> message = socket_.Read();
            if (!message) {
                return {};
            }
            if (message->starts_with(R"({"type":"beat")")) {
                beat_ = std::stoull(message->substr(message->find_last_of(':') + 1));
                Do(R"("do":"beat","hold":)" + std::to_string(hold_));
            }
            if (wanted(*message)) {
                return *message;
            }
        }
        return {};
    }

    http::WebSocketClient socket_;
    std::uint64_t beat_ = 0;
    int hold_ = 0;
};

class HandBoxViewTest : public ProcessFixture {
protected:
    static double Declination(HttpClient& client) { return Good(client.Get("declination")).value.to_number<double>(); }
    /// Whether the declination changes within a second and a half, for which the poll reads it anew.
    static bool Moves(HttpClient& client) {
        const double before = Declination(client);
        std::this_thread::sleep_for(std::chrono::milliseconds(2500));
        return std::abs(Declination(client) - before) > 0.002;
    }
};

TEST_F(HandBoxViewTest, Page_IsShownTheWindows_AndWhatChanges) {
    StartSystem();
    OpenPage page(port);
    EXPECT_TRUE(Has(page.WaitFor("welcome"), R"("protocol":1)"));
    EXPECT_TRUE(Has(page.WaitFor("snapshot"), R"x("name":"btnMove(0)")x"));
    HttpClient client = Client(1);
    Connect(client);
    EXPECT_FALSE(page.WaitFor(R"(["frmHandBox","lblRA","text",)").empty());
    EXPECT_FALSE(page.WaitFor(R"(["frmSky","lblState","text","Tracking"])").empty());
}

TEST_F(HandBoxViewTest, HeldButton_MovesTheMount_AndABrowserThatIsKilled_LetsGo) {
    StartSystem();
    HttpClient client = Client(1);
    Connect(client);
    auto page = std::make_unique<OpenPage>(port);
    page->LiveFor(Seconds(1));
    page->Hold("btnMove(7)", 1);
    page->LiveFor(Seconds(1));
    const double before = Declination(client);
    page->LiveFor(Seconds(2));
    EXPECT_GT(std::abs(Declination(client) - before), 0.004) << "the mount moves as long as the page holds";
    page.reset();
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    EXPECT_FALSE(Moves(client));
}

TEST_F(HandBoxViewTest, Stop_IsHeard_WhileAClientWaitsForItsSlew) {
    Seed({{"chkAutoCalibrateOnFirstSlew", "0"}});
    StartSystem();
    HttpClient client = Client(1);
    Connect(client);
    const double ra = Good(client.Get("rightascension")).value.to_number<double>();
    const double dec = Declination(client);
    OpenPage page(port);
    page.LiveFor(Seconds(1));
    Good(client.Put("slewtocoordinatesasync", "RightAscension=" + std::to_string(ra) +
                                                  "&Declination=" + std::to_string(dec > 45 ? dec - 25 : dec + 25)));
    EXPECT_FALSE(page.WaitFor(R"(["frmSky","lblState","text","Slewing"])").empty());
    page.Do(R"("do":"stop","id":5)");
    EXPECT_FALSE(page.WaitFor(R"({"type":"heard","id":5})", kPrompt).empty());
    EXPECT_FALSE(page.WaitFor(R"(["frmSky","lblState","text","Tracking"])").empty());
}

TEST_F(HandBoxViewTest, Page_KeepsADriverThatHasNoClient_ButNoLongerThanItIsOpen) {
    Leases(1, 5);
    StartSystem();
    auto page = std::make_unique<OpenPage>(port);
    page->WaitFor("snapshot");
    const pid_t driver = Driver();
    ASSERT_NE(driver, 0);
    page->LiveFor(Seconds(4));
    EXPECT_EQ(Driver(), driver);
    page.reset();
    const auto end = SteadyClock::now() + kPatience;
    while (Driver() != 0 && SteadyClock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    EXPECT_EQ(Driver(), 0);
}

TEST_F(HandBoxViewTest, Page_IsTold_ThatTheLastClientHasGone) {
    Leases(1, 5);
    StartSystem();
    HttpClient client = Client(1);
    Connect(client);
    OpenPage page(port);
    page.WaitFor("snapshot");
    Good(client.Put("connected", "Connected=False"));
    client.Close();
    EXPECT_TRUE(Has(page.WaitFor(R"("type":"end")"), R"("why":"clients")"));
}

TEST_F(HandBoxViewTest, Rubbish_ClosesThePage_AndHarmsNobodyElse) {
    StartSystem();
    OpenPage good(port);
    {
        OpenPage bad(port);
        for (int i = 0; i < 200; ++i) {
            bad.Do(R"("do":)");
        }
        EXPECT_EQ(bad.WaitFor("no such message", Seconds(10)), "");
    }
    EXPECT_FALSE(good.WaitFor("snapshot").empty());
    HttpClient client = Client(1);
    Connect(client);
    EXPECT_FALSE(good.WaitFor(R"(["frmHandBox","lblRA","text",)").empty());
}

}  // namespace
}  // namespace kestrane::process

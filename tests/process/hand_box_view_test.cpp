// The sockets of views as a browser and a program on the desktop use them: what they are shown, what they may do, and
// what becomes of a held button when they die.

#include <chrono>
#include <cmath>
#include <memory>
#include <string>
#include <thread>

#include "http/web_socket_client.h"
#include "process/open_view.h"
#include "process/process_fixture.h"
#include "support/line_client.h"

namespace kestrane::process {
namespace {

bool Has(const std::string& text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

using OpenPage = OpenView<http::WebSocketClient>;
using DesktopProgram = OpenView<LineClient>;

class HandBoxViewTest : public ProcessFixture {
protected:
    static double Declination(HttpClient& client) { return Good(client.Get("declination")).value.to_number<double>(); }
    /// Whether the declination changes within some seconds, in which the poll reads it anew.
    static bool Moves(HttpClient& client) {
        const double before = Declination(client);
        std::this_thread::sleep_for(std::chrono::milliseconds(2500));
        return std::abs(Declination(client) - before) > 0.002;
    }
    void StartSystemThatIsHeard() {
        StartMount({"--verbose"});
        StartActivator();
    }
    /// From `before`, a length of what the mount has heard: it stops in time, whatever the poll tells later.
    void ExpectStandsInTime(HttpClient& client, std::size_t before) {
        EXPECT_TRUE(WaitUntil(Seconds(1.5), [&] { return mount->Errors().find(" > :Q", before) != std::string::npos; }))
            << mount->Errors().substr(before);
        std::this_thread::sleep_for(std::chrono::seconds(2));
        EXPECT_FALSE(Moves(client));
    }
};

TEST_F(HandBoxViewTest, Page_IsShownTheWindows_AndWhatChanges) {
    StartSystem();
    OpenPage page(port, "/view");
    EXPECT_TRUE(Has(page.WaitFor("welcome"), R"("protocol":1)"));
    EXPECT_TRUE(Has(page.WaitFor("snapshot"), R"x("name":"btnMove(0)")x"));
    HttpClient client = Client(1);
    Connect(client);
    EXPECT_FALSE(page.WaitFor(R"(["frmHandBox","lblRA","text",)").empty());
    EXPECT_FALSE(page.WaitFor(R"(["frmSky","lblState","text","Tracking"])").empty());
}

TEST_F(HandBoxViewTest, HeldButton_MovesTheMount_AndABrowserThatIsKilled_LetsGo) {
    StartSystemThatIsHeard();
    HttpClient client = Client(1);
    Connect(client);
    auto page = std::make_unique<OpenPage>(port, "/view");
    page->LiveFor(Seconds(1));
    page->Hold("btnMove(7)", 1);
    page->LiveFor(Seconds(1));
    const double before = Declination(client);
    page->LiveFor(Seconds(2));
    EXPECT_GT(std::abs(Declination(client) - before), 0.004) << "the mount moves as long as the page holds";
    const std::size_t heard = mount->Errors().size();
    page.reset();
    ExpectStandsInTime(client, heard);
}

TEST_F(HandBoxViewTest, DesktopProgram_IsShownTheWindows_AndWhenItIsKilled_LetsGo) {
    StartSystemThatIsHeard();
    HttpClient client = Client(1);
    Connect(client);
    auto program = std::make_unique<DesktopProgram>(folder.Path() / "kestrane" / "handbox");
    EXPECT_TRUE(Has(program->WaitFor("welcome"), R"("may":"all")"));
    EXPECT_FALSE(program->WaitFor(R"(["frmSky","lblState","text","Tracking"])").empty());
    program->Hold("btnMove(7)", 1);
    program->LiveFor(Seconds(1));
    const double before = Declination(client);
    program->LiveFor(Seconds(2));
    EXPECT_GT(std::abs(Declination(client) - before), 0.004) << "the mount moves as long as the program holds";
    const std::size_t heard = mount->Errors().size();
    program.reset();
    ExpectStandsInTime(client, heard);
}

TEST_F(HandBoxViewTest, DesktopProgramAndPage_ShowWhatTheOtherDoes) {
    StartSystem();
    OpenPage page(port, "/view");
    page.WaitFor("snapshot");
    DesktopProgram program(folder.Path() / "kestrane" / "handbox");
    program.WaitFor("snapshot");
    page.LiveFor(Seconds(0.5));
    page.Do(R"("do":"change","form":"frmHandBox","control":"chkSwapEW","value":true,"id":1)");
    EXPECT_FALSE(program.WaitFor(R"(["frmHandBox","chkSwapEW","checked",true])", kPrompt).empty());
    program.Do(R"("do":"change","form":"frmHandBox","control":"chkSwapEW","value":false,"id":1)");
    EXPECT_FALSE(page.WaitFor(R"(["frmHandBox","chkSwapEW","checked",false])", kPrompt).empty());
}

TEST_F(HandBoxViewTest, Stop_IsHeard_WhileAClientWaitsForItsSlew) {
    Seed({{"chkAutoCalibrateOnFirstSlew", "0"}});
    StartSystem();
    HttpClient client = Client(1);
    Connect(client);
    const double ra = Good(client.Get("rightascension")).value.to_number<double>();
    const double dec = Declination(client);
    OpenPage page(port, "/view");
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
    auto page = std::make_unique<OpenPage>(port, "/view");
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

TEST_F(HandBoxViewTest, DesktopProgram_KeepsADriver_OnlyWhereItAsksForIt) {
    Leases(2, 5);
    StartSystem();
    const auto driverAfter = [this](bool keeps) {
        Client(1).GetPath("/management/apiversions");
        const pid_t driver = Driver();
        DesktopProgram program(folder.Path() / "kestrane" / "handbox");
        program.WaitFor("snapshot");
        if (keeps) {
            program.Do(R"("do":"keep","id":1)");
        }
        program.LiveFor(Seconds(5));  // at most: it ends with the driver
        EXPECT_NE(driver, 0);
        return !WaitUntil(Seconds(1), [&] { return Driver() != driver; });
    };
    EXPECT_FALSE(driverAfter(false));
    EXPECT_TRUE(driverAfter(true));
}

TEST_F(HandBoxViewTest, Page_IsTold_ThatTheLastClientHasGone) {
    Leases(1, 5);
    StartSystem();
    HttpClient client = Client(1);
    Connect(client);
    OpenPage page(port, "/view");
    page.WaitFor("snapshot");
    Good(client.Put("connected", "Connected=False"));
    client.Close();
    EXPECT_TRUE(Has(page.WaitFor(R"("type":"end")"), R"("why":"clients")"));
}

TEST_F(HandBoxViewTest, Rubbish_ClosesThePage_AndHarmsNobodyElse) {
    StartSystem();
    OpenPage good(port, "/view");
    {
        OpenPage bad(port, "/view");
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

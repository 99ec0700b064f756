#include <QCheckBox>
#include <QElapsedTimer>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <csignal>

#include "desktop/desktop_fixture.h"
#include "views/desktop/ask_for_driver.h"

namespace kestrane::desktop {
namespace {

constexpr int kAlreadyRuns = 3;

/// The program itself, as a user starts it.
class HandBoxProgram : public DesktopFixture {
protected:
    void StartSystemWithClient() {
        Seed({{"cbxMoveRate", "4"}});
        StartMount({"--verbose"});
        StartActivator();
        client = std::make_unique<process::HttpClient>(Client(1));
        Connect(*client);
    }
    std::unique_ptr<process::Program> Start() {
        return std::make_unique<process::Program>("kestrane-handbox",
                                                  std::vector<std::string>{"--address", Address().toStdString()});
    }
    QString Address() const { return QString("http://127.0.0.1:%1/").arg(port); }
    /// By the window manager: its caption is the name of the program.
    static bool IsShown() {
        return QProcess::execute("sh", {"-c", "xdotool search --onlyvisible --name '^Kestrane V2$' >/dev/null 2>&1"}) ==
               0;
    }
    static void Focus() {
        QProcess::execute("sh", {"-c", "xdotool search --onlyvisible --name '^Kestrane V2$' windowactivate --sync"});
    }
};

TEST_F(HandBoxProgram, Killed_WhileAButtonIsHeld_LetsTheMountStand) {
    StartSystemWithClient();
    auto program = Start();
    ASSERT_TRUE(Until([] { return IsShown(); }));
    Focus();
    LiveFor(500);
    X("keydown Up");
    ASSERT_TRUE(Until([this] { return Moves(); }));
    const std::size_t heard = mount->Errors().size();
    program->Signal(SIGKILL);
    program.reset();
    EXPECT_TRUE(Until([&] { return mount->Errors().find(" > :Q", heard) != std::string::npos; }, 1500));
    LiveFor(1500);
    EXPECT_FALSE(Moves());
    X("keyup Up");
    program = Start();
    EXPECT_TRUE(Until([] { return IsShown(); })) << "it is there again";
}

TEST_F(HandBoxProgram, RunsOnce) {
    StartSystemWithClient();
    const auto program = Start();
    ASSERT_TRUE(Until([] { return IsShown(); }));
    const auto second = Start()->WaitForEnd(process::kPatience);
    ASSERT_TRUE(second.has_value());
    EXPECT_EQ(second->code, kAlreadyRuns);
    EXPECT_TRUE(program->Runs());
}

TEST_F(HandBoxProgram, EndsWhenItIsAsked) {
    StartSystemWithClient();
    const auto program = Start();
    ASSERT_TRUE(Until([] { return IsShown(); }));
    program->Signal(SIGTERM);
    const auto end = program->WaitForEnd(process::Seconds(3));
    ASSERT_TRUE(end.has_value());
    EXPECT_FALSE(end->bySignal);
}

TEST_F(HandBoxProgram, WithoutADriver_ShowsThatThereIsNone) {
    StartSystem();
    const auto program = Start();
    EXPECT_TRUE(Until([] { return IsShown(); }));
    EXPECT_EQ(Driver(), 0);
}

TEST_F(HandBoxProgram, WithoutADriver_SaysSo_AndStartsOne) {
    StartSystem();  // the activator waits, and no driver runs
    StartDesk();
    bool started = false;
    QObject::connect(desk.get(), &Desk::StartPressed, [&started] { started = true; });
    desk->Main().show();
    EXPECT_EQ(State().toStdString(), "No driver");
    Press("frmHandBox", "ownStart");
    EXPECT_TRUE(started);
    EXPECT_EQ(Driver(), 0) << "to look for a driver starts none";
    QNetworkAccessManager network;
    AskForDriver(network, QUrl(Address()));
    EXPECT_TRUE(Until([this] { return mirror->IsOpen() && State() == "Not connected"; }));
}

TEST_F(HandBoxProgram, DriverThatIsKilled_IsTold_AndTheNextOneIsShown) {
    StartAll();
    ::kill(Driver(), SIGKILL);
    EXPECT_TRUE(Until([this] { return State() == "No driver"; }));
    EXPECT_TRUE(Until([] { return Find<QPushButton>("frmHandBox", "ownStart")->isVisible(); }));
    Connect(*(client = std::make_unique<process::HttpClient>(Client(1))));
    EXPECT_TRUE(Until([this] { return State() == "Tracking"; })) << "it attaches by itself";
    EXPECT_FALSE(Find<QPushButton>("frmHandBox", "ownStart")->isVisible());
}

TEST_F(HandBoxProgram, StartedByTheDesktop_IsThereWithTheDriver_AndGoesWithIt) {
    life = Life::Waits;
    StartSystem();
    StartDesk();
    LiveFor(300);
    EXPECT_FALSE(IsOpen("frmHandBox"));
    Connect(*(client = std::make_unique<process::HttpClient>(Client(1))));
    EXPECT_TRUE(Until([] { return IsOpen("frmHandBox"); }));
    ::kill(Driver(), SIGTERM);
    EXPECT_TRUE(Until([] { return !IsOpen("frmHandBox"); }));
    Connect(*(client = std::make_unique<process::HttpClient>(Client(1))));
    EXPECT_TRUE(Until([] { return IsOpen("frmHandBox"); }));
    ::kill(Driver(), SIGKILL);
    EXPECT_TRUE(Until([this] { return State() == "No driver"; }));
    EXPECT_TRUE(IsOpen("frmHandBox")) << "that it has crashed a person has to see";
}

TEST_F(HandBoxProgram, DriverThatAPersonCloses_IsTold) {
    StartAll();
    Choose("mPopExit");
    ASSERT_TRUE(Until([] { return IsOpen("frmAskUserCloseDriver"); }));
    Press("frmAskUserCloseDriver", "btnOK");
    EXPECT_TRUE(Until([this] { return State() == "Driver closed"; }));
    EXPECT_FALSE(IsOpen("frmAskUserCloseDriver"));
}

/// The driver has started the program itself.
class DriversOwnProgram : public HandBoxProgram {
protected:
    void SetUp() override {
        ::setenv("KESTRANE_DESKTOP", "1", 1);
        StartSystemWithClient();
        ASSERT_TRUE(Until([] { return IsShown(); }));
    }
    void TearDown() override { ::unsetenv("KESTRANE_DESKTOP"); }
    pid_t Program() const { return process::ChildOf(Driver()); }
};

TEST_F(DriversOwnProgram, ThatCrashes_IsStartedOnceMore_AndTheDriverGoesOn) {
    const pid_t driver = Driver();
    const pid_t first = Program();
    ::kill(first, SIGKILL);
    EXPECT_TRUE(Until([&] { return Program() != first && Program() != 0 && IsShown(); }));
    ::kill(Program(), SIGKILL);
    EXPECT_TRUE(Until([&] { return Program() == 0; }));
    LiveFor(1000);
    EXPECT_EQ(Program(), 0);
    EXPECT_EQ(Driver(), driver);
    EXPECT_TRUE(Good(client->Get("connected")).value.as_bool());
}

TEST_F(DriversOwnProgram, EndsWithTheDriver) {
    ::kill(Driver(), SIGTERM);
    EXPECT_TRUE(Until([] { return !IsShown(); }));
}

TEST_F(HandBoxProgram, TwoViews_ShowWhatTheOtherDoes_WithinAFifthOfASecond) {
    StartAll();
    QSettings otherKept(QString::fromStdString(folder.Path() / "other.ini"), QSettings::IniFormat);
    Mirror otherMirror;
    Desk other(otherMirror, otherKept, "/nonexistent", Life::ByHand);
    otherMirror.ConnectTo(QString::fromStdString(folder.Path() / "kestrane" / "handbox"));
    for (auto* const box : desk->Main().findChildren<QGroupBox*>()) {
        box->setChecked(true);
    }
    auto* const theirs = other.Main().findChild<QCheckBox*>("chkSwapEW");
    auto* const ours = desk->Main().findChild<QCheckBox*>("chkSwapEW");
    ASSERT_TRUE(Until([&] { return otherMirror.IsOpen() && other.Main().isVisible(); }));
    for (int times = 0; times < 10; ++times) {
        QElapsedTimer since;
        since.start();
        const bool wanted = !ours->isChecked();
        ours->click();
        EXPECT_TRUE(Until([&] { return theirs->isChecked() == wanted; }));
        EXPECT_LT(since.elapsed(), 200);
        LiveFor(60);
    }
}

}  // namespace
}  // namespace kestrane::desktop

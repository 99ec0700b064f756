#include <QComboBox>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <fcntl.h>
#include <linux/joystick.h>
#include <sys/stat.h>
#include <unistd.h>

#include "desktop/desktop_fixture.h"

namespace kestrane::desktop {
namespace {

class HandsTest : public DesktopFixture {
protected:
    QPushButton& Pad(int cell) { return *qobject_cast<QPushButton*>(desk->Main().Binding().PadButton(cell)); }
    bool IsHeld(int cell) { return Pad(cell).property("held").toBool(); }
    void ExpectStands() {
        EXPECT_TRUE(Until([this] { return State() == "Tracking"; }, 3000));
        LiveFor(1200);  // the picture of the mount is as old
        EXPECT_FALSE(Moves());
    }
    /// The pad moves the mount so fast that a second of it can be seen.
    void StartWithPad() {
        Seed({{"cbxMoveRate", "4"}});
        StartAll();
    }
    void SlewFar() {
        const double ra = Good(client->Get("siderealtime")).value.to_number<double>();
        Good(client->Put("slewtocoordinatesasync", "RightAscension=" + std::to_string(ra) + "&Declination=-10"));
        ASSERT_TRUE(Until([this] { return State() == "Slewing"; }));
    }
};

TEST_F(HandsTest, ButtonOfThePad_MovesTheMountWhileItIsHeld) {
    StartWithPad();
    QTest::mousePress(&Pad(1), Qt::LeftButton);
    EXPECT_TRUE(Until([this] { return State() == "Moving"; }));
    EXPECT_TRUE(Moves());
    EXPECT_TRUE(IsHeld(1));
    QTest::mouseRelease(&Pad(1), Qt::LeftButton);
    EXPECT_FALSE(IsHeld(1));
    ExpectStands();
}

TEST_F(HandsTest, Arrows_AreThePad_WhileTheWindowHasTheFocus) {
    StartWithPad();
    X("keydown Up");
    EXPECT_TRUE(Until([this] { return IsHeld(1) && State() == "Moving"; }));
    X("keyup Up");
    EXPECT_TRUE(Until([this] { return !IsHeld(1); }));
    ExpectStands();
}

TEST_F(HandsTest, Arrows_MoveTheCursorInATextThatIsTyped) {
    StartWithPad();
    auto* const line = Find<QLineEdit>("frmHandBox", "txtRaCustom");
    line->setFocus();
    X("key Left");
    LiveFor(300);
    EXPECT_FALSE(IsHeld(3));
    EXPECT_EQ(State(), "Tracking");
}

TEST_F(HandsTest, AnotherWindowOfTheDesktop_TakesTheHandFromTheButton) {
    StartWithPad();
    X("keydown Up");
    ASSERT_TRUE(Until([this] { return IsHeld(1) && State() == "Moving"; }));
    QProcess other;
    other.start("xmessage", {"-center", "another"});
    if (!other.waitForStarted()) {
        desk->Main().showMinimized();
    }
    EXPECT_TRUE(Until([this] { return !IsHeld(1); }));
    X("keyup Up");
    other.kill();
    other.waitForFinished();
    ExpectStands();
}

TEST_F(HandsTest, LockedSession_TakesTheHandFromTheButton) {
    StartWithPad();
    QTest::mousePress(&Pad(7), Qt::LeftButton);
    ASSERT_TRUE(Until([this] { return State() == "Moving"; }));
    QDBusMessage locked = QDBusMessage::createSignal("/org/xfce/ScreenSaver", "org.xfce.ScreenSaver", "ActiveChanged");
    locked << true;
    QDBusConnection::connectToBus(QDBusConnection::SessionBus, "saver").send(locked);
    EXPECT_TRUE(Until([this] { return !IsHeld(7); }));
    ExpectStands();
    QTest::mouseRelease(&Pad(7), Qt::LeftButton);
}

TEST_F(HandsTest, EachEndOfAHold_LetsGo) {
    StartWithPad();
    const std::pair<const char*, std::function<void()>> ends[] = {
        {"the button goes", [this] { Pad(3).hide(); }},
        {"another button of the mouse", [this] { QTest::mousePress(&Pad(3), Qt::RightButton); }},
        {"the focus goes", [this] { Find("frmHandBox", "txtRaCustom")->setFocus(); }},
        {"STOP", [this] { QTest::mouseClick(&desk->Main().Stop(), Qt::LeftButton); }},
        {"the machine goes to sleep",
         [this] { QMetaObject::invokeMethod(desk->findChild<SessionEvents*>(), "OnSleep", Q_ARG(bool, true)); }},
        {"the window is minimized", [this] { desk->Main().showMinimized(); }},
    };
    for (const auto& [name, end] : ends) {
        SCOPED_TRACE(name);
        QTest::mousePress(&Pad(3), Qt::LeftButton);
        ASSERT_TRUE(Until([this] { return State() == "Moving"; }));
        end();
        EXPECT_TRUE(Until([this] { return !IsHeld(3); }));
        EXPECT_TRUE(Until([this] { return State() == "Tracking"; })) << State().toStdString();
        QTest::mouseRelease(&Pad(3), Qt::LeftButton);
        Pad(3).show();
    }
}

TEST_F(HandsTest, SpaceAndEscape_StopWhatMoves_AndNothingElse) {
    Seed({{"chkAutoCalibrateOnFirstSlew", "0"}});
    StartAll({"--slew-speed", "3"});
    for (const char* const key : {"space", "Escape"}) {
        SCOPED_TRACE(key);
        SlewFar();
        Find("frmHandBox", "btnPark")->setFocus();
        X(QString("key ") + key);
        EXPECT_TRUE(Until([this] { return State() == "Tracking"; }));
        EXPECT_TRUE(Until([this] { return desk->Main().Stop().text() == "STOP HEARD"; }));
        LiveFor(300);
        EXPECT_FALSE(IsOpen("frmAskPark")) << "the key was STOP, and no press of the button";
        EXPECT_TRUE(Until([this] { return desk->Main().Stop().text() == "STOP"; })) << "after a while";
    }
}

TEST_F(HandsTest, Stop_IsInEachWindow_AlsoAboveAModalOne) {
    Seed({{"chkAutoCalibrateOnFirstSlew", "0"}});
    StartAll({"--slew-speed", "3"});
    Choose("mPopSetup");
    ASSERT_TRUE(Until([] { return IsOpen("frmInitialSetup"); }));
    SlewFar();
    QTest::mousePress(Find("frmInitialSetup", "ownStop"), Qt::LeftButton);
    EXPECT_TRUE(Until([this] { return State() == "Tracking"; }));
    QTest::mouseRelease(Find("frmInitialSetup", "ownStop"), Qt::LeftButton);
}

TEST_F(HandsTest, Gamepad_IsThePad_AndItsButtonsStop) {
    const std::string device = folder.Path() / "js0";
    ASSERT_EQ(::mkfifo(device.c_str(), 0600), 0);
    const int stick = ::open(device.c_str(), O_RDWR | O_CLOEXEC);
    gamepad = QString::fromStdString(device);
    StartWithPad();
    const auto tell = [stick](__u8 type, __u8 number, __s16 value) {
        const js_event event{.time = 0, .value = value, .type = type, .number = number};
        ASSERT_EQ(::write(stick, &event, sizeof event), static_cast<ssize_t>(sizeof event));
    };
    tell(JS_EVENT_BUTTON | JS_EVENT_INIT, 0, 1);
    tell(JS_EVENT_AXIS, 1, -32767);
    EXPECT_TRUE(Until([this] { return IsHeld(1) && State() == "Moving"; }));
    tell(JS_EVENT_AXIS, 1, 0);
    EXPECT_TRUE(Until([this] { return !IsHeld(1) && State() == "Tracking"; }));
    tell(JS_EVENT_AXIS, 6, 32767);
    EXPECT_TRUE(Until([this] { return IsHeld(5) && State() == "Moving"; }));
    tell(JS_EVENT_BUTTON, 3, 1);
    EXPECT_TRUE(Until([this] { return !IsHeld(5) && State() == "Tracking"; }));
    EXPECT_TRUE(Until([this] { return desk->Main().Stop().text() == "STOP HEARD"; }));
    ::close(stick);
}

TEST_F(HandsTest, ChangeThatTheDriverRefuses_IsTakenBack) {
    StartAll();
    auto* const line = Find<QLineEdit>("frmHandBox", "txtActualLatitude");
    QTest::keyClicks(line, "rubbish");
    auto* const list = Find<QComboBox>("frmHandBox", "cbxMoveRate");
    const int was = list->currentIndex();
    mirror->Send({{"do", "change"}, {"form", "frmHandBox"}, {"opening", 0}, {"control", "cbxMoveRate"}, {"value", 99}});
    LiveFor(300);
    EXPECT_EQ(list->currentIndex(), was);
    list->setCurrentIndex(was == 0 ? 1 : 0);
    Q_EMIT list->activated(list->currentIndex());
    EXPECT_TRUE(Until([] { return !Setting("cbxMoveRate").empty(); })) << "what it takes is kept";
}

}  // namespace
}  // namespace kestrane::desktop

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QTest>
#include <cmath>

#include "desktop/desktop_fixture.h"

namespace kestrane::desktop {
namespace {

class WindowsTest : public DesktopFixture {
protected:
    struct Opening {
        QString form;
        std::function<void()> open;
        QString under;  ///< the window from which it is opened, which is closed too
        std::function<void()> after;
    };

    void Unfold(const QString& form) {
        for (auto* const box : WindowOf(form)->findChildren<QGroupBox*>()) {
            box->setChecked(true);
        }
    }
    std::function<void()> FromMenu(const QString& entry) {
        return [this, entry] { Choose(entry); };
    }
    std::function<void()> FromHandBox(const QString& button) {
        return [this, button] {
            Unfold("frmHandBox");
            Press("frmHandBox", button);
        };
    }
    std::function<void()> FromSetup(const QString& button) {
        return [this, button] {
            Choose("mPopSetup");
            ASSERT_TRUE(Until([] { return IsOpen("frmInitialSetup"); }));
            Unfold("frmInitialSetup");
            LiveFor(50);
            Press("frmInitialSetup", button);
        };
    }
    void ChooseFrom(const QString& list, int index) {
        auto* const box = Find<QComboBox>("frmHandBox", list);
        Q_EMIT box->activated(index);
    }
    void SlewAndAsk() {
        const double ra = Good(client->Get("siderealtime")).value.to_number<double>();
        Good(client->Put("slewtocoordinatesasync",
                         "RightAscension=" + std::to_string(std::fmod(ra + 21, 24)) + "&Declination=5"));
        auto* const label = Find<QLabel>("frmHandBox", "lblRA");
        ASSERT_TRUE(Until([label] { return label->text() == "SLEWING"; }));
        QTest::mouseClick(label, Qt::LeftButton);
    }
    void StopSlew() {
        Good(client->Put("abortslew"));
        EXPECT_TRUE(Until([this] { return State() == "Tracking"; }));
    }
    void ParkAndPress() {
        Good(client->Put("park"));
        ASSERT_TRUE(Until([this] { return State() == "Parked"; }));
        auto* const north = Find<QPushButton>("frmHandBox", "btnMove_1");
        QTest::mousePress(north, Qt::LeftButton);
        EXPECT_TRUE(Until([] { return IsOpen("frmAskAndWarnParked"); }));
        QTest::mouseRelease(north, Qt::LeftButton);
    }
    void Unpark() {
        Good(client->Put("unpark"));
        Good(client->Put("tracking", "Tracking=true"));
        EXPECT_TRUE(Until([this] { return State() == "Tracking"; }));
    }
    void UntickRcal() {
        Unfold("frmHandBox");
        Press("frmHandBox", "chkUseRCAL");
    }

    std::vector<Opening> All() {
        return {
            {"frmInitialSetup", FromMenu("mPopSetup"), {}, {}},
            {"frmQuaySettings", FromSetup("btnQuaySettings"), "frmInitialSetup", {}},
            {"frmAskMessage", FromSetup("btnDeleteSite"), "frmInitialSetup", {}},
            {"frmSetupFocuser", FromMenu("mPopFocuser"), {}, {}},
            {"frmLogWindow", FromMenu("mPopShowLogWindow"), {}, {}},
            {"frmHelp", FromMenu("mPopHelp"), {}, {}},
            {"frmMessage", FromMenu("mPopTimerUtility"), {}, {}},
            {"frmAskUserCloseDriver", FromMenu("mPopExit"), {}, {}},
            {"frmClients", FromHandBox("btnClients"), {}, {}},
            {"frmAskGotoRaDec", FromHandBox("btnSlewRaDec"), {}, {}},
            {"frmAskGtoAltAz", FromHandBox("btnSlewAltAz"), {}, {}},
            {"frmInitMount", FromHandBox("btnInitNow"), {}, {}},
            {"frmAskPark", FromHandBox("btnPark"), {}, {}},
            {"frmAskUnpark", FromHandBox("btnUNPARK"), {}, {}},
            {"frmAskCustomParkOK", FromHandBox("btnSetPark"), {}, {}},
            {"frmAskSwapEWNS", FromHandBox("btnSwapEW"), {}, {}},
            {"frmRcalSyncWarning", [this] { UntickRcal(); }, {}, {}},
            {"frmPark1Warning", [this] { ChooseFrom("cbxParkTo", 1); }, {}, [this] { ChooseFrom("cbxParkTo", 0); }},
            {"frmAskAbortSlew", [this] { SlewAndAsk(); }, {}, [this] { StopSlew(); }},
            {"frmAskAndWarnParked", [this] { ParkAndPress(); }, {}, [this] { Unpark(); }},
        };
    }

    void ExpectOpensAndCloses(const Opening& opening) {
        SCOPED_TRACE(opening.form.toStdString());
        opening.open();
        ASSERT_TRUE(Until([&] { return IsOpen(opening.form); }));
        LiveFor(100);
        const QRect frame = WindowOf(opening.form)->frameGeometry();
        EXPECT_TRUE(desk->Main().screen()->geometry().contains(frame));
        EXPECT_NE(Find<QPushButton>(opening.form, "ownStop"), nullptr);
        for (const QString& each : {opening.form, opening.under}) {
            if (!each.isEmpty()) {
                WindowOf(each)->close();
                EXPECT_TRUE(Until([&] { return !IsOpen(each); })) << "the driver closes it";
            }
        }
        if (opening.after) {
            opening.after();
        }
    }
};

TEST_F(WindowsTest, EachWindow_OpensFromItsControl_AndClosesByItsFrame) {
    Seed({{"ShowInitNowButton", "1"}, {"chkShowAllControls", "1"}, {"cbxParkTo", "0"}, {"chkUseRCAL", "1"},
          {"chkAutoCalibrateOnFirstSlew", "0"}});
    StartAll({"--slew-speed", "4"});
    for (const Opening& opening : All()) {
        ExpectOpensAndCloses(opening);
    }
}

TEST_F(WindowsTest, Dialog_OpensInTheMiddleAboveTheHandBox) {
    StartAll();
    desk->Main().move(300, 60);
    LiveFor(200);
    Choose("mPopFocuser");
    ASSERT_TRUE(Until([] { return IsOpen("frmSetupFocuser"); }));
    LiveFor(200);
    const QPoint off = WindowOf("frmSetupFocuser")->frameGeometry().center() - desk->Main().frameGeometry().center();
    EXPECT_LT(off.manhattanLength(), 60) << off.x() << ", " << off.y();
}

TEST_F(WindowsTest, HandBox_ComesBackWhereItStood_AlsoWithAnotherDriver) {
    Seed({{"chkRememberPosition", "1"}});
    StartAll();
    desk->Main().move(211, 77);
    EXPECT_TRUE(Until([] { return Setting("FormLeft") == "211" && Setting("FormTop") == "77"; }));
    EndDesk();
    activator.reset();
    StartActivator();
    Connect(*(client = std::make_unique<process::HttpClient>(Client(1))));
    StartDesk();
    ASSERT_TRUE(Until([] { return IsOpen("frmHandBox"); }));
    LiveFor(300);
    EXPECT_LE((desk->Main().pos() - QPoint(211, 77)).manhattanLength(), 2);
}

TEST_F(WindowsTest, LogWindow_ComesBackWhereItStood) {
    StartAll();
    Choose("mPopShowLogWindow");
    ASSERT_TRUE(Until([] { return IsOpen("frmLogWindow"); }));
    WindowOf("frmLogWindow")->move(320, 140);
    ASSERT_TRUE(Until([this] { return kept->value("places/frmLogWindow").toPoint() == QPoint(320, 140); }));
    EndDesk();
    StartDesk();
    ASSERT_TRUE(Until([] { return IsOpen("frmLogWindow"); }));
    LiveFor(300);
    EXPECT_LE((WindowOf("frmLogWindow")->pos() - QPoint(320, 140)).manhattanLength(), 2);
}

TEST_F(WindowsTest, HandBox_LiesAboveOthers_AsTheSettingSays) {
    Seed({{"chkAlwaysOnTop", "0"}});
    StartAll();
    EXPECT_FALSE(desk->Main().windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    Choose("mPopSetup");
    ASSERT_TRUE(Until([] { return IsOpen("frmInitialSetup"); }));
    Press("frmInitialSetup", "chkAlwaysOnTop");
    ASSERT_TRUE(Until([] { return Find<QCheckBox>("frmInitialSetup", "chkAlwaysOnTop")->isChecked(); }));
    LiveFor(300);
    Press("frmInitialSetup", "btnOK");
    EXPECT_TRUE(Until([this] { return desk->Main().windowFlags().testFlag(Qt::WindowStaysOnTopHint); }));
    EXPECT_TRUE(IsOpen("frmHandBox"));
}

TEST_F(WindowsTest, EpochAndOtherTime_StandBesideTheCoordinates) {
    StartAll();
    EXPECT_TRUE(Until([] { return !Find<QLabel>("frmHandBox", "ownOtherTime")->text().isEmpty(); }));
    EXPECT_EQ(Find<QLabel>("frmHandBox", "ownOtherTimeWord")->text(), "HA");
    QTest::mouseClick(Find<QLabel>("frmHandBox", "lblLstHA"), Qt::LeftButton);
    EXPECT_TRUE(Until([] { return Find<QLabel>("frmHandBox", "ownOtherTimeWord")->text() == "LST"; }));
}

}  // namespace
}  // namespace kestrane::desktop

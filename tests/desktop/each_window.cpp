#include "desktop/each_window.h"

#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <cmath>

namespace kestrane::desktop {

void EachWindow::StartAllWindows() {
    Seed({{"ShowInitNowButton", "1"},
          {"chkShowAllControls", "1"},
          {"cbxParkTo", "0"},
          {"chkUseRCAL", "1"},
          {"chkAutoCalibrateOnFirstSlew", "0"}});
    StartAll({"--slew-speed", "4"});
}

void EachWindow::Close(const Opening& opening) {
    for (const QString& each : {opening.form, opening.under}) {
        if (!each.isEmpty()) {
            ASSERT_TRUE(IsOpen(each)) << each.toStdString();
            WindowOf(each)->close();
            EXPECT_TRUE(Until([&] { return !IsOpen(each); })) << "the driver closes it";
        }
    }
    if (opening.after) {
        opening.after();
    }
}

void EachWindow::Unfold(const QString& form) {
    for (auto* const box : WindowOf(form)->findChildren<QGroupBox*>()) {
        box->setChecked(true);
    }
}

std::function<void()> EachWindow::FromMenu(const QString& entry) {
    return [this, entry] { Choose(entry); };
}

std::function<void()> EachWindow::FromHandBox(const QString& button) {
    return [this, button] {
        Unfold("frmHandBox");
        Press("frmHandBox", button);
    };
}

std::function<void()> EachWindow::FromSetup(const QString& button) {
    return [this, button] {
        Choose("mPopSetup");
        ASSERT_TRUE(Until([] { return IsOpen("frmInitialSetup"); }));
        Unfold("frmInitialSetup");
        LiveFor(50);
        Press("frmInitialSetup", button);
    };
}

void EachWindow::ChooseFrom(const QString& list, int index) {
    auto* const box = Find<QComboBox>("frmHandBox", list);
    Q_EMIT box->activated(index);
}

void EachWindow::SlewAndAsk() {
    const double ra = Good(client->Get("siderealtime")).value.to_number<double>();
    Good(client->Put("slewtocoordinatesasync",
                     "RightAscension=" + std::to_string(std::fmod(ra + 21, 24)) + "&Declination=5"));
    auto* const label = Find<QLabel>("frmHandBox", "lblRA");
    ASSERT_TRUE(Until([label] { return label->text() == "SLEWING"; }));
    QTest::mouseClick(label, Qt::LeftButton);
}

void EachWindow::StopSlew() {
    Good(client->Put("abortslew"));
    EXPECT_TRUE(Until([this] { return State() == "Tracking"; }));
}

void EachWindow::ParkAndPress() {
    Good(client->Put("park"));
    ASSERT_TRUE(Until([this] { return State() == "Parked"; }));
    auto* const north = Find<QPushButton>("frmHandBox", "btnMove_1");
    QTest::mousePress(north, Qt::LeftButton);
    EXPECT_TRUE(Until([] { return IsOpen("frmAskAndWarnParked"); }));
    QTest::mouseRelease(north, Qt::LeftButton);
}

void EachWindow::Unpark() {
    Good(client->Put("unpark"));
    Good(client->Put("tracking", "Tracking=true"));
    EXPECT_TRUE(Until([this] { return State() == "Tracking"; }));
}

/// As the pointer on the icon does. It goes by itself, unless it is kept.
void EachWindow::ShowStatus() {
    mirror->Act({{"do", "icon"}, {"message", "over"}});
    ASSERT_TRUE(Until([] { return IsOpen("frmStatus"); }));
    Press("frmStatus", "chkKeepOn");
}

std::vector<EachWindow::Opening> EachWindow::All() {
    return {
        {"frmInitialSetup", FromMenu("mPopSetup"), {}, {}},
        {"frmQuaySettings", FromSetup("btnQuaySettings"), "frmInitialSetup", {}},
        {"frmAskMessage", FromSetup("btnDeleteSite"), "frmInitialSetup", {}},
        {"frmSetupFocuser", FromMenu("mPopFocuser"), {}, {}},
        {"frmStatus", [this] { ShowStatus(); }, {}, {}},
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
        {"frmRcalSyncWarning", FromHandBox("chkUseRCAL"), {}, {}},
        {"frmPark1Warning", [this] { ChooseFrom("cbxParkTo", 1); }, {}, [this] { ChooseFrom("cbxParkTo", 0); }},
        {"frmAskAbortSlew", [this] { SlewAndAsk(); }, {}, [this] { StopSlew(); }},
        {"frmAskAndWarnParked", [this] { ParkAndPress(); }, {}, [this] { Unpark(); }},
    };
}

}  // namespace kestrane::desktop

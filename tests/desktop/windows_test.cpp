#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>

#include "desktop/each_window.h"

namespace kestrane::desktop {
namespace {

using WindowsTest = EachWindow;

/// A bar at the side is for windows that are higher than the screen only.
void ExpectNothingIsCut(const QScrollArea& around) {
    EXPECT_GE(around.viewport()->width(), around.widget()->minimumSizeHint().width());
    EXPECT_GE(around.viewport()->width(), around.widget()->width());
    if (around.window()->height() < around.screen()->availableSize().height() - 130) {
        EXPECT_FALSE(around.verticalScrollBar()->isVisible());
    }
}

TEST_F(WindowsTest, EachWindow_OpensFromItsControl_AndClosesByItsFrame) {
    StartAllWindows();
    desk->Main().move(10, 10);
    for (const Opening& opening : All()) {
        SCOPED_TRACE(opening.form.toStdString());
        opening.open();
        ASSERT_TRUE(Until([&] { return IsOpen(opening.form); }));
        LiveFor(200);
        EXPECT_TRUE(desk->Main().screen()->geometry().contains(WindowOf(opening.form)->frameGeometry()));
        EXPECT_NE(Find<QPushButton>(opening.form, "ownStop"), nullptr);
        ExpectNothingIsCut(*WindowOf(opening.form)->findChild<QScrollArea*>());
        Close(opening);
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
    Press("frmInitialSetup", "btnShowAdvancedOptions");
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

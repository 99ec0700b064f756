#include <QAction>
#include <QMenu>
#include <QScreen>
#include <QTest>

#include "desktop/desktop_fixture.h"

namespace kestrane::desktop {
namespace {

class TrayTest : public DesktopFixture {
protected:
    void GoBehindIcon() {
        desk->Main().close();
        ASSERT_TRUE(Until([] { return !IsOpen("frmHandBox"); }));
        ASSERT_TRUE(Until([] { return IconAt().isValid(); }));
        LiveFor(500);  // the tray shows it
    }

    /// The icon is a window of its own in the tray.
    static QRect IconAt() {
        for (const QWidget* const window : QApplication::topLevelWidgets()) {
            if (window->inherits("QSystemTrayIconSys") && window->isVisible()) {
                return {window->mapToGlobal(QPoint()), window->size()};
            }
        }
        return {};
    }
    static void PointAtIcon() {
        const QPoint middle = IconAt().center();
        X(QString("mousemove %1 %2").arg(middle.x() - 2).arg(middle.y()));
        X(QString("mousemove %1 %2").arg(middle.x()).arg(middle.y()));
    }
    static void PointAway() { X("mousemove 300 300"); }
    QMenu& Menu() { return desk->Main().PopupMenu(); }
};

TEST_F(TrayTest, ClosedHandBox_GoesBehindItsIcon_AndALeftClickBringsItBack) {
    StartTray();
    StartAll();
    EXPECT_FALSE(IconAt().isValid()) << "there is none beside the window";
    GoBehindIcon();
    PointAtIcon();
    X("click 1");
    EXPECT_TRUE(Until([] { return IsOpen("frmHandBox"); }));
    EXPECT_TRUE(Until([] { return !IconAt().isValid(); }));
    PointAway();
}

TEST_F(TrayTest, MinimizedHandBox_GoesBehindItsIcon_AndADoubleClickBringsItBack) {
    StartTray();
    StartAll();
    desk->Main().showMinimized();
    ASSERT_TRUE(Until([] { return IconAt().isValid(); }));
    EXPECT_FALSE(desk->Main().isVisible());
    LiveFor(500);
    PointAtIcon();
    X("click --repeat 2 --delay 60 1");
    EXPECT_TRUE(Until([] { return IsOpen("frmHandBox"); }));
    LiveFor(600);
    EXPECT_TRUE(IsOpen("frmHandBox"));
    PointAway();
}

TEST_F(TrayTest, RestingPointer_ShowsTheStatus_BesideTheTray_OnWhicheverEdgeThatLies) {
    StartAll();
    for (const char* const edge : {"bottom", "top", "left", "right"}) {
        SCOPED_TRACE(edge);
        StartTray(edge);
        GoBehindIcon();
        PointAway();
        PointAtIcon();
        ASSERT_TRUE(Until([] { return IsOpen("frmStatus"); }));
        LiveFor(300);
        const QRect frame = WindowOf("frmStatus")->frameGeometry();
        const QRect icon = IconAt();
        EXPECT_FALSE(frame.intersects(icon));
        const QString at = edge;
        const int gap = at == "bottom" ? icon.top() - frame.bottom()
                        : at == "top"  ? frame.top() - icon.bottom()
                        : at == "left" ? frame.left() - icon.right()
                                       : icon.left() - frame.right();
        EXPECT_GE(gap, 0);
        EXPECT_LE(gap, 30);
        PointAway();
        EXPECT_TRUE(Until([] { return !IsOpen("frmStatus"); })) << "it goes by itself";
        Choose("mPopRestore");
        EXPECT_TRUE(Until([] { return IsOpen("frmHandBox"); }));
        EndTray();
    }
}

TEST_F(TrayTest, RestingPointer_ShowsNothing_WhereItIsNotWanted) {
    Seed({{"PopupShowStatus", "0"}});
    StartTray();
    StartAll();
    GoBehindIcon();
    PointAway();
    PointAtIcon();
    LiveFor(2000);
    EXPECT_FALSE(IsOpen("frmStatus"));
    PointAway();
}

TEST_F(TrayTest, RightClick_OpensTheMenu) {
    StartTray();
    StartAll();
    GoBehindIcon();
    PointAtIcon();
    X("click 3");
    EXPECT_TRUE(Until([this] { return Menu().isVisible(); }));
    Menu().close();
    PointAway();
}

TEST_F(TrayTest, EachEntryOfTheMenu_DoesWhatItSays) {
    struct Row {
        const char* entry;
        const char* window;
    };
    StartTray();
    StartAll();
    for (const auto& [entry, window] :
         {Row{"mPopSetup", "frmInitialSetup"}, Row{"mPopFocuser", "frmSetupFocuser"}, Row{"mPopHelp", "frmHelp"},
          Row{"mPopExit", "frmAskUserCloseDriver"}, Row{"mPopInitializeMount", "frmInitMount"},
          Row{"mPopPark", "frmAskPark"}, Row{"mPopUnpark", "frmAskUnpark"}, Row{"mPopupLogZipper", "frmMessage"},
          Row{"mPopTimerUtility", "frmMessage"}, Row{"mPopupJogUtility", "frmMessage"},
          Row{"mPopupPAS", "frmMessage"}}) {
        SCOPED_TRACE(entry);
        Choose(entry);
        EXPECT_TRUE(Until([&] { return IsOpen(window); }));
        WindowOf(window)->close();
        EXPECT_TRUE(Until([&] { return !IsOpen(window); }));
    }
    GoBehindIcon();
    Choose("mPopRestore");
    EXPECT_TRUE(Until([] { return IsOpen("frmHandBox"); }));
    Choose("mPopDisableTracking");
    EXPECT_TRUE(Until([this] { return State() == "Standing"; }));
    Choose("mPopEnableTracking");
    EXPECT_TRUE(Until([this] { return State() == "Tracking"; }));
}

TEST_F(TrayTest, Ticks_AreThoseOfTheSettings) {
    StartAll();
    EXPECT_TRUE(IsTicked("mPopupShowStatusAlways"));
    Choose("mPopupShowStatusNever");
    EXPECT_TRUE(Until([this] { return IsTicked("mPopupShowStatusNever") && !IsTicked("mPopupShowStatusAlways"); }));
    Choose("mPopupShowStatusWhenDriverHidden");
    EXPECT_TRUE(Until([this] { return IsTicked("mPopupShowStatusWhenDriverHidden"); }));
    Choose("mPopupShowStatusWhenDriverHidden");
    LiveFor(400);
    EXPECT_TRUE(IsTicked("mPopupShowStatusWhenDriverHidden")) << "a second choice takes no tick away";
    Choose("mPopTopmost");
    EXPECT_TRUE(Until([this] { return IsTicked("mPopTopmost"); }));
    Choose("mPopShowLogWindow");
    EXPECT_TRUE(Until([this] { return IsTicked("mPopShowLogWindow") && IsOpen("frmLogWindow"); }));
    Choose("mPopShowLogWindow");
    EXPECT_TRUE(Until([this] { return !IsTicked("mPopShowLogWindow") && !IsOpen("frmLogWindow"); }));
    EXPECT_EQ(Setting("PopupShowStatus"), "2");
    EXPECT_EQ(Setting("mPopTopmost"), "1");
}

TEST_F(TrayTest, WithoutATray_StaysInTheTaskBar_UntilThereIsOne) {
    StartAll();
    mirror->Act(desk->Main().Binding().Report("close"));
    EXPECT_TRUE(Until([this] { return desk->Main().isMinimized(); }));
    EXPECT_TRUE(desk->Main().isVisible()) << "the task bar has it";
    StartTray();
    EXPECT_TRUE(Until([this] { return !desk->Main().isVisible() && IconAt().isValid(); }));
    tray.kill();
    EXPECT_TRUE(Until([this] { return desk->Main().isVisible() && desk->Main().isMinimized(); }));
    desk->Main().showNormal();
    EXPECT_TRUE(Until([] { return IsOpen("frmHandBox"); })) << "who takes it out of the task bar wants it back";
    LiveFor(500);
    EXPECT_TRUE(IsOpen("frmHandBox"));
}

TEST_F(TrayTest, WithoutATray_ClosingAsksWhetherToEndTheDriver) {
    StartAll();
    desk->Main().close();
    EXPECT_TRUE(Until([] { return IsOpen("frmAskUserCloseDriver"); }));
    EXPECT_TRUE(IsOpen("frmHandBox"));
    WindowOf("frmAskUserCloseDriver")->close();
    EXPECT_TRUE(Until([] { return !IsOpen("frmAskUserCloseDriver"); }));
}

}  // namespace
}  // namespace kestrane::desktop

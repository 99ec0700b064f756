#include <QDir>
#include <QGuiApplication>
#include <QScreen>

#include "desktop/each_window.h"
#include "views/desktop/theme.h"

namespace kestrane::desktop {
namespace {

/// Takes the pictures of docs/screens where KESTRANE_SCREENS names their folder; see tools/screens.
class Screens : public EachWindow {
protected:
    void SetUp() override {
        folder_ = qEnvironmentVariable("KESTRANE_SCREENS");
        if (folder_.isEmpty()) {
            GTEST_SKIP() << "KESTRANE_SCREENS names no folder";
        }
    }

    /// With its frame, as it lies on the screen.
    void Take(const QString& form) {
        for (const Theme theme : {Theme::Day, Theme::Night, Theme::Dark}) {
            Wear(theme);
            LiveFor(120);
            const QRect frame = WindowOf(form)->frameGeometry();
            const QString size = qGuiApp->devicePixelRatio() > 1.5 ? "200" : "100";
            const QString to = folder_ + "/desktop-" + size + "-" + NameOf(theme).toLower();
            QDir().mkpath(to);
            const QPixmap picture =
                desk->Main().screen()->grabWindow(0, frame.x(), frame.y(), frame.width(), frame.height());
            EXPECT_TRUE(picture.save(to + "/" + form + ".png"));
        }
    }

private:
    QString folder_;
};

TEST_F(Screens, OfEachWindow) {
    StartAllWindows();
    desk->Main().move(10, 10);
    LiveFor(1500);
    Take("frmHandBox");
    for (const Opening& opening : All()) {
        opening.open();
        ASSERT_TRUE(Until([&] { return IsOpen(opening.form); })) << opening.form.toStdString();
        LiveFor(300);
        Take(opening.form);
        Close(opening);
    }
}

}  // namespace
}  // namespace kestrane::desktop

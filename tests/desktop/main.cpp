#include <QApplication>
#include <QSettings>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setApplicationName("kestrane-handbox");
    QApplication::setApplicationDisplayName("Kestrane V2");
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setStyle("Fusion");
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

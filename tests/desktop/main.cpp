#include <QApplication>
#include <QSettings>
#include <gtest/gtest.h>

#include "views/desktop/application.h"

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    kestrane::desktop::SetUpApplication(QSettings());
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

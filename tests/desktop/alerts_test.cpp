#include "views/desktop/alerts.h"

#include <QDBusConnection>
#include <QTest>
#include <gtest/gtest.h>
#include <vector>

#include "views/desktop/notice.h"

namespace kestrane::desktop {

/// What shows notices on a desktop.
class NoticeServer final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    QStringList shown;
    QVariantMap hintsOfLast;

public Q_SLOTS:
    uint Notify(const QString& /*program*/, uint /*replaces*/, const QString& /*icon*/, const QString& /*title*/,
                const QString& words, const QStringList& /*actions*/, const QVariantMap& hints, int /*time*/) {
        shown << words;
        hintsOfLast = hints;
        return 1;
    }
};

namespace {

class AlertsTest : public testing::Test {
protected:
    AlertsTest() {
        QObject::connect(&alerts, &Alerts::Told, [this](const QString& words, bool isGrave) {
            told.push_back((isGrave ? "! " : "") + words.toStdString());
        });
    }
    void ShowState(const QString& state) {
        sky.Note("lblState", state);
        Look();
    }
    void Look() {
        alerts.Look(sky, [this](const QString& control) { return handBox.value(control); });
    }

    SkyNumbers sky;
    QHash<QString, QString> handBox;
    Alerts alerts;
    std::vector<std::string> told;
};

TEST_F(AlertsTest, EachChangeOfState_TellsWhatAPersonWantsToHear) {
    struct Row {
        const char* before;
        const char* after;
        std::vector<std::string> told;
    };
    for (const Row& row : {
             Row{"Slewing", "Tracking", {"The slew has ended."}},
             Row{"Slewing", "Parking", {}},
             Row{"Parking", "Parked", {"The mount is parked."}},
             Row{"Parking", "Standing", {"The park has ended; the mount is not parked."}},
             Row{"Tracking", "No link", {"! The mount does not answer."}},
             Row{"Slewing", "No link", {"! The mount does not answer."}},
             Row{"No link", "Tracking", {"The mount answers again."}},
             Row{"No link", "Not connected", {}},
             Row{"Slewing", "Not connected", {}},
             Row{"Tracking", "Moving", {}},
             Row{"Tracking", "Tracking", {}},
         }) {
        SCOPED_TRACE(std::string(row.before) + " to " + row.after);
        alerts.Forget();
        ShowState(row.before);
        told.clear();
        ShowState(row.after);
        EXPECT_EQ(told, row.told);
    }
}

TEST_F(AlertsTest, Refusal_IsToldWhenItIsNew_AndNotAtTheBeginning) {
    sky.Note("lblRefused", "3 SlewToCoordinates: parked");
    ShowState("Parked");
    EXPECT_TRUE(told.empty());
    sky.Note("lblRefused", "4 SlewToCoordinates: parked");
    Look();
    EXPECT_EQ(told, std::vector<std::string>{"Refused: SlewToCoordinates: parked"});
}

TEST_F(AlertsTest, GrowingCount_IsTold) {
    handBox = {{"lblLowPowerCount", "2"}, {"lblServoFaultCount", ""}, {"lblMotorStallCount", "0"}};
    ShowState("Tracking");
    EXPECT_TRUE(told.empty());
    handBox["lblLowPowerCount"] = "3";
    handBox["lblServoFaultCount"] = "1";
    handBox["lblMotorStallCount"] = "1";
    Look();
    EXPECT_EQ(told, (std::vector<std::string>{"! The mount reports low power.", "! The mount reports a servo fault.",
                                              "! A motor has stalled."}));
    told.clear();
    handBox["lblLowPowerCount"] = "0";
    Look();
    EXPECT_TRUE(told.empty());
}

TEST(Notice, GoesToTheDesktop) {
    NoticeServer server;
    // On a connection of its own: one that calls itself gets no message.
    QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "notices");
    ASSERT_TRUE(bus.registerService("org.freedesktop.Notifications"));
    ASSERT_TRUE(bus.registerObject("/org/freedesktop/Notifications", &server, QDBusConnection::ExportAllContents));
    ShowNotice("The mount is parked.", false);
    EXPECT_TRUE(QTest::qWaitFor([&] { return server.shown == QStringList{"The mount is parked."}; }));
    EXPECT_EQ(server.hintsOfLast["urgency"].toInt(), 1);
    ShowNotice("A motor has stalled.", true);
    EXPECT_TRUE(QTest::qWaitFor([&] { return server.shown.size() == 2; }));
    EXPECT_EQ(server.hintsOfLast["urgency"].toInt(), 2);
    bus.unregisterService("org.freedesktop.Notifications");
}

}  // namespace
}  // namespace kestrane::desktop

#include "alerts_test.moc"

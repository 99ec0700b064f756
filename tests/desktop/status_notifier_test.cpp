#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusReply>
#include <QDBusVariant>
#include <QProcess>

#include "desktop/desktop_fixture.h"

namespace kestrane::desktop {

/// What a desktop like KDE Plasma has in place of a tray.
class StatusNotifierWatcher final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ HasHost)
    Q_PROPERTY(int ProtocolVersion READ Version)
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ Items)

public:
    static bool HasHost() { return true; }
    static int Version() { return 0; }
    QStringList Items() const { return items_; }

public Q_SLOTS:
    void RegisterStatusNotifierItem(const QString& item) {
        items_ << item;
        Q_EMIT StatusNotifierItemRegistered(item);
    }

Q_SIGNALS:
    void StatusNotifierItemRegistered(const QString& item);

private:
    QStringList items_;
};

namespace {

class StatusNotifierTest : public DesktopFixture {
protected:
    void SetUp() override {
        ASSERT_TRUE(bus.registerService("org.kde.StatusNotifierWatcher"));
        ASSERT_TRUE(bus.registerObject("/StatusNotifierWatcher", &watcher, QDBusConnection::ExportAllContents));
        StartMount();
        StartActivator();
        client = std::make_unique<process::HttpClient>(Client(1));
        Connect(*client);
    }
    void TearDown() override {
        bus.unregisterObject("/StatusNotifierWatcher");
        bus.unregisterService("org.kde.StatusNotifierWatcher");
    }

    /// Another view tells what a person does.
    void CloseHandBox() {
        Mirror other;
        other.ConnectTo(QString::fromStdString(folder.Path() / "kestrane" / "handbox"));
        ASSERT_TRUE(Until([&] { return other.IsOpen(); }));
        LiveFor(300);
        bool heard = false;
        other.Act({{"do", "close"}, {"form", "frmHandBox"}, {"opening", 0}}, [&heard](bool was) { heard = was; });
        ASSERT_TRUE(Until([&] { return heard; }));
    }
    QVariant Property(const QString& name) {
        QDBusInterface item(watcher.Items().last(), "/StatusNotifierItem", "org.freedesktop.DBus.Properties", bus);
        const QDBusMessage answer = item.call("Get", "org.kde.StatusNotifierItem", name);
        return answer.arguments().value(0).value<QDBusVariant>().variant();
    }
    // Title and words of the tool tip.
    QString Tip() {
        const auto tip = Property("ToolTip").value<QDBusArgument>();
        QString icon, title, words;
        tip.beginStructure();
        tip >> icon;
        PassPicturesOver(tip);
        tip >> title >> words;
        tip.endStructure();
        return title + words;
    }
    static void PassPicturesOver(const QDBusArgument& tip) {
        QByteArray bits;
        tip.beginArray();
        while (!tip.atEnd()) {
            tip.beginStructure();
            int width = 0, height = 0;
            tip >> width >> height >> bits;
            tip.endStructure();
        }
        tip.endArray();
    }
    static bool IsShown() {
        return QProcess::execute("sh", {"-c", "xdotool search --onlyvisible --name '^Kestrane V2$' >/dev/null 2>&1"}) ==
               0;
    }

    QDBusConnection bus = QDBusConnection::sessionBus();
    StatusNotifierWatcher watcher;
};

TEST_F(StatusNotifierTest, Icon_CarriesTheStatusAsItsTip_AndAPressBringsTheHandBoxBack) {
    process::Program program("kestrane-handbox", {});
    ASSERT_TRUE(Until([] { return IsShown(); }));
    CloseHandBox();
    ASSERT_TRUE(Until([this] { return !watcher.Items().isEmpty(); }));
    EXPECT_TRUE(Until([] { return !IsShown(); }));
    // The icon stands before the driver has told it about the mount.
    QString tip;
    EXPECT_TRUE(Until([this, &tip] { return (tip = Tip()).contains("Tracking"); })) << tip.toStdString();
    QDBusInterface item(watcher.Items().last(), "/StatusNotifierItem", "org.kde.StatusNotifierItem", bus);
    item.asyncCall("Activate", 0, 0);
    EXPECT_TRUE(Until([] { return IsShown(); }));
}

}  // namespace
}  // namespace kestrane::desktop

#include "status_notifier_test.moc"

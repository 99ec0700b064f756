#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QObject>
#include <QSettings>
#include <QString>
#include <map>
#include <memory>

#include "views/desktop/alerts.h"
#include "views/desktop/gamepad.h"
#include "views/desktop/hands.h"
#include "views/desktop/journal.h"
#include "views/desktop/log_view.h"
#include "views/desktop/main_window.h"
#include "views/desktop/mirror.h"
#include "views/desktop/session_events.h"
#include "views/desktop/sky_numbers.h"
#include "views/desktop/tray_icon.h"

namespace kestrane::desktop {

/// How the program came to run, and so what becomes of it without a driver.
enum class Life {
    ByHand,  ///< a person has started it: it shows that there is no driver
    Waits,   ///< the desktop has started it: it shows itself when there is one, and goes with it
    Driver,  ///< the driver has started it: it ends with it
};

/// The windows of the driver on the desktop of a person. The mirror and the settings, which keep what only this program
/// has, outlive it.
class Desk final : public QObject {
    Q_OBJECT

public:
    /// `gamepad` is a path, see `Gamepad`.
    Desk(Mirror& mirror, QSettings& kept, const QString& gamepad, Life life);
    ~Desk() override;

    MainWindow& Main() { return *main_; }
    /// The next driver is to go on for this desk without a client.
    void KeepNextDriver() { keepsNext_ = true; }

Q_SIGNALS:
    /// A person wants a driver to run.
    void StartPressed();

private:
    bool eventFilter(QObject* watched, QEvent* event) override;

    void TakeSnapshot(const QJsonArray& forms);
    void TakeChanges(const QJsonArray& changes);
    void TakeChange(const QString& form, const QString& control, const QString& member, const QJsonValue& value);
    void TakeLines(const QString& stream, int first, const QJsonArray& lines);
    void OpenForm(const QJsonObject& form);
    void CloseForm(const QString& name);
    void ShowMain(bool visible);
    void AskForLines(const QString& stream, int from);
    void ShowSky();
    void LoseDriver(const QString& why);
    void TakeNewDriver();
    void TellOfWayland();
    void Stop();
    void Alert(const QString& words, bool isGrave);
    bool OnKey(QKeyEvent& event, QObject* target);
    bool PressPad(int cell);

    ViewWindow* WindowOf(const QString& form);
    std::unique_ptr<ViewWindow> Make(const QString& form);
    QPoint UsualPlaceOf(const ViewWindow& window) const;
    bool AnyModalIsOpen() const;

    Mirror& mirror_;
    QSettings& kept_;
    Hands hands_;
    SkyNumbers sky_;
    Journal journal_;
    Alerts alerts_;
    SessionEvents session_{this};
    Gamepad gamepad_;
    std::unique_ptr<MainWindow> main_;
    std::map<QString, std::unique_ptr<ViewWindow>> windows_;  ///< all but the hand box, those that were open once
    std::unique_ptr<TrayIcon> tray_;
    LogView* log_ = nullptr;
    QString process_;
    Life life_;
    bool keepsNext_;
    int stopKey_ = 0;  ///< as long as it is down it is STOP, and nothing else once the mount stands
    int padKey_ = 0;
};

}  // namespace kestrane::desktop

#pragma once

#include <QProcess>
#include <QSettings>
#include <QWidget>
#include <functional>
#include <memory>

#include "process/process_fixture.h"
#include "views/desktop/desk.h"

namespace kestrane::desktop {

/// A desk of this process at the real driver and a simulated mount, on a real desktop. What a person does goes through
/// the widgets, or through the X server.
class DesktopFixture : public process::ProcessFixture {
protected:
    DesktopFixture();
    ~DesktopFixture() override;

    /// The driver with a client that is connected, and a desk that shows its hand box.
    void StartAll(std::vector<std::string> mountOptions = {});
    void StartDesk();
    void EndDesk();
    /// `edge` of the screen: "bottom", "top", "left" or "right".
    void StartTray(const char* edge = "bottom");
    void EndTray();

    /// Lets the desk live until it holds, for some seconds at most. Returns whether it did.
    static bool Until(const std::function<bool()>& holds, int mostMs = 8000);
    static void LiveFor(int ms);

    /// A window that is open; null while it is not.
    static QWidget* WindowOf(const QString& form);
    static bool IsOpen(const QString& form) { return WindowOf(form) != nullptr; }
    /// A widget of a window, by the name of its control as in the designs.
    template <class Widget = QWidget>
    static Widget* Find(const QString& form, const QString& objectName) {
        QWidget* const window = AnyWindowOf(form);
        return window == nullptr ? nullptr : window->findChild<Widget*>(objectName);
    }
    /// By the mouse.
    static void Press(const QString& form, const QString& objectName);
    /// An entry of the menu, as a person chooses it.
    void Choose(const QString& entry);
    bool IsTicked(const QString& entry) const;
    QString State() const;
    double Declination();
    bool Moves();

    /// A command of a person at the X server, such as "key Escape".
    static void X(const QString& command);

    std::unique_ptr<QSettings> kept;
    std::unique_ptr<Mirror> mirror;
    std::unique_ptr<Desk> desk;
    std::unique_ptr<process::HttpClient> client;
    QProcess tray;
    QString gamepad = "/nonexistent";
    Life life = Life::ByHand;

private:
    static QWidget* AnyWindowOf(const QString& form);
};

}  // namespace kestrane::desktop

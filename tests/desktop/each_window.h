#pragma once

#include <QString>
#include <functional>
#include <vector>

#include "desktop/desktop_fixture.h"

namespace kestrane::desktop {

/// How a person opens each window of the driver.
class EachWindow : public DesktopFixture {
protected:
    struct Opening {
        QString form;
        std::function<void()> open;
        QString under;                ///< the window from which it is opened, which is closed too
        std::function<void()> after;  ///< what puts the mount back; may be empty
    };

    /// The driver with settings by which each control can be had, and a desk.
    void StartAllWindows();
    std::vector<Opening> All();
    void Close(const Opening& opening);
    static void Unfold(const QString& form);

private:
    std::function<void()> FromMenu(const QString& entry);
    std::function<void()> FromHandBox(const QString& button);
    std::function<void()> FromSetup(const QString& button);
    void ChooseFrom(const QString& list, int index);
    void SlewAndAsk();
    void StopSlew();
    void ParkAndPress();
    void Unpark();
    void ShowStatus();
};

}  // namespace kestrane::desktop

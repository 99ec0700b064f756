#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "kernel/driver.h"
#include "storms/stormy_line.h"
#include "support/onlooker.h"

namespace kestrane {

/// A person at a view of all windows, who presses, types and chooses whatever a shown window offers. What the person
/// does is posted as the view of a real one posts it.
class Person {
public:
    /// `post` posts a call with a name for a log.
    using Post = std::function<void(CallKind kind, const std::string& name, const std::function<void()>& call)>;

    Person(Driver& driver, VirtualClock& clock, Chance& chance, Post post);
    ~Person();
    Person(const Person&) = delete;
    Person& operator=(const Person&) = delete;

    void Arrive();
    /// The view goes away, in the middle of whatever it is.
    void Leave();
    bool IsThere() const { return isThere_; }

    /// Uses one control that can be seen.
    void DoSomething();
    /// Holds a button of the pad that moves the mount, or one of the focuser.
    void Hold(VisibleControl& button);
    /// To be called four times a second at least: shows that the view is alive, unless the person's machine hangs.
    void Tick();
    void LetGo();
    /// Whether the driver has to count with a hold: one that was let go, or has been silent for as long as a view may
    /// be, is none any more.
    bool Holds() const;
    /// Cancels each dialog that is open.
    void CloseDialogs();

private:
    Form& SomeWindow();
    void Use(Control& control);
    void Press(Control& control);
    std::uint32_t Below(std::uint32_t limit) { return chance_.Below(limit); }

    Driver& driver_;
    VirtualClock& clock_;
    Chance& chance_;
    Post post_;
    Onlooker view_;
    bool isThere_ = false;
    VisibleControl* held_ = nullptr;
    std::int64_t letGoAt_ = 0;
    std::int64_t silentFrom_ = 0;
};

/// Whether the window is a dialog that is open.
bool IsOpenDialog(const Driver& driver, const Form& form);

}  // namespace kestrane

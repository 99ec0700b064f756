#include "focuser/focus_motor.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <string>
#include <utility>

#include "catalogue/wire_texts.h"
#include "kernel/base/conversions.h"
#include "kernel/base/errors.h"
#include "kernel/base/text.h"
#include "settings/setting_keys.h"

namespace kestrane {
namespace {

constexpr std::int32_t kBetweenLegsMs = 1000;
constexpr std::int32_t kStopAgainMs = 1000;
constexpr std::int64_t kShortestMs = 1;
constexpr std::int64_t kLongestMs = std::numeric_limits<std::int32_t>::max();
/// Intentional: not the default of the setting, which is 1.
constexpr std::string_view kStepMultiplierWhenEmpty = "10";

/// A run command as the shared values hold it.
std::string TextOf(const BlindCommand& row) {
    return std::string(row.text);
}

std::string TextOr(std::string text, std::string_view whenEmpty) {
    return text.empty() ? std::string(whenEmpty) : text;
}

}  // namespace

void FocusMotor::RunTimer::Interval(std::int64_t milliseconds) {
    timer_->SetEnabled(false);
    timer_->SetInterval(static_cast<std::int32_t>(std::clamp(milliseconds, kShortestMs, kLongestMs)));
    timer_->SetEnabled(enabled_);
}

void FocusMotor::RunTimer::Enabled(bool enabled) {
    enabled_ = enabled;
    timer_->SetEnabled(enabled);
}

FocusMotor::FocusMotor(FocusMotorNeeds needs)
    : needs_(std::move(needs)),
      driver_(needs_.driver),
      state_(driver_.state),
      pulse_(needs_.pump, [this] { OnPulseTick(); }),
      delay_(needs_.pump, [this] { OnDelayTick(); }),
      stopAgain_(needs_.pump, [this] { SendStop(); }) {
    stopAgain_.Interval(kStopAgainMs);
}

void FocusMotor::UpdateValues() {
    ResumeNext errors{driver_.ledger, "UpdateValues"};
    const auto text = [&](const SettingKey& key) { return TextOr(driver_.persist.Read(key), key.fallback); };
    const auto number = [&](const std::string& value) { return RoundHalfEven(Val_Global(value, driver_.log)); };
    errors.Step([&] {
        const bool reversed = driver_.persist.ReadFlag(setting::Focus_chkReverseFocusDirection);
        state_.g_sFocusInCommand = TextOf(reversed ? wire::FocusPlus : wire::FocusMinus);
        state_.g_sFocusOutCommand = TextOf(reversed ? wire::FocusMinus : wire::FocusPlus);
    });
    errors.Assign(state_.g_sFocusBacklash,
                  [&] { return std::to_string(number(text(setting::Focus_txtBacklashMSecs))); });
    errors.Assign(state_.g_bFocusFinalOut, [&] { return text(setting::Focus_radFocusFinalDirectionIn) != "True"; });
    errors.Assign(state_.g_bFocusFast, [&] { return text(setting::Focus_radFocusFast) == "True"; });
    errors.Assign(state_.g_nFocusMaxIncrement, [&] { return number(text(setting::Focus_txtMaxIncrementMSecs)); });
    errors.Assign(state_.g_nFocusStepMultiplier, [&] {
        return number(TextOr(driver_.persist.Read(setting::Focus_txtStepMultiplierMSecs), kStepMultiplierWhenEmpty));
    });
}

void FocusMotor::Move(std::int32_t steps) {
    if (steps == 0) {
        SendStop();
        return;
    }
    const bool inward = steps < 1;
    const bool comesBack = inward == state_.g_bFocusFinalOut && Backlash() != 0;
    const std::int64_t milliseconds =
        std::abs(std::int64_t{steps}) * state_.g_nFocusStepMultiplier + (comesBack ? Backlash() : 0);
    if (milliseconds > kLongestMs) {
        Note(LogLevel::Exception, "Move: " + std::to_string(milliseconds) + " ms are too long, the motor does not run");
        return;
    }
    SendSpeed(state_.g_bFocusFast ? FocusSpeed::Fast : FocusSpeed::Slow);
    if (comesBack) {
        BeginBacklashMove(inward, milliseconds);
        return;
    }
    pulse_.Enabled(false);
    pulse_.Interval(milliseconds);
    SendRun(CommandOf(inward ? FocusDirection::In : FocusDirection::Out));
    pulse_.Enabled(true);
}

void FocusMotor::BeginBacklashMove(bool inward, std::int64_t milliseconds) {
    state_.g_bFocusFirstLegOut = inward ? state_.g_sFocusInCommand != TextOf(wire::FocusMinus)
                                        : state_.g_sFocusOutCommand == TextOf(wire::FocusPlus);
    pulse_.Interval(milliseconds);
    delay_.Interval(kBetweenLegsMs);
    state_.g_bFocusBacklashReturn = true;
    SendRun(state_.g_bFocusFirstLegOut ? wire::FocusPlus : wire::FocusMinus);
    pulse_.Enabled(true);
}

void FocusMotor::OnPulseTick() {
    SendStop();
    if (state_.g_bFocusBacklashReturn) {
        delay_.Enabled(true);
    }
    state_.g_bFocusBacklashReturn = false;
    pulse_.Enabled(false);
}

void FocusMotor::OnDelayTick() {
    pulse_.Interval(Backlash());
    SendRun(state_.g_bFocusFirstLegOut ? wire::FocusMinus : wire::FocusPlus);
    pulse_.Enabled(true);
    delay_.Enabled(false);
}

void FocusMotor::Halt() {
    pulse_.Enabled(false);
    delay_.Enabled(false);
    state_.g_bFocusBacklashReturn = false;
    SendStop();
}

void FocusMotor::Hold(FocusDirection direction, FocusSpeed speed) {
    if (!needs_.link || !needs_.link->Connected()) {
        return;
    }
    UpdateValues();  // there may be no focuser object that has read them
    held_ = true;
    SendSpeed(speed);
    SendRun(CommandOf(direction));
}

void FocusMotor::Release() {
    if (std::exchange(held_, false)) {
        SendStop();
    }
}

void FocusMotor::NoteSent(std::string_view onTheWire) {
    const wire::EndlessMove run = wire::FocuserRunAfter(onTheWire);
    runs_ = run == wire::EndlessMove::Untouched ? runs_ : run == wire::EndlessMove::Begins;
}

void FocusMotor::StopRun() {
    if (MayRun() || held_) {
        held_ = false;
        Halt();
    }
}

void FocusMotor::EndRun() {
    if (!MayRun()) {
        return;
    }
    Note(LogLevel::Warning, "The driver ends: the focuser is stopped");
    StopRun();
    stopAgain_.Enabled(false);  // a stop that is owed is left to the next driver
}

std::int32_t FocusMotor::Backlash() const {
    return RoundHalfEven(Val_Global(state_.g_sFocusBacklash, driver_.log));
}

const BlindCommand& FocusMotor::CommandOf(FocusDirection direction) const {
    const std::string& text = direction == FocusDirection::In ? state_.g_sFocusInCommand : state_.g_sFocusOutCommand;
    return text == TextOf(wire::FocusPlus) ? wire::FocusPlus : wire::FocusMinus;
}

void FocusMotor::SendSpeed(FocusSpeed speed) {
    Send(procedure::FocuserRun, speed == FocusSpeed::Fast ? wire::FocusFast : wire::FocusSlow);
}

/// A run that the mount has got has a stop of its own to come; the one that is owed would cut it short.
void FocusMotor::SendRun(const BlindCommand& row) {
    Send(procedure::FocuserRun, row);
    if (LineTakesBytes()) {
        stopOwed_ = false;
        stopAgain_.Enabled(false);
    }
}

void FocusMotor::SendStop() {
    Send(procedure::FocuserStop, wire::FocusStop);
    const bool written = LineTakesBytes();
    if (!written && !stopOwed_) {
        Note(LogLevel::Warning, "The stop could not be written: it goes out when the line is back");
    }
    stopOwed_ = !written;
    stopAgain_.Enabled(stopOwed_);
}

void FocusMotor::Send(const CompletingProcedure& procedure, const BlindCommand& row) {
    Note(LogLevel::Info, "TX: " + row.With("").OnTheWire());
    Sequence(needs_.commands(), needs_.door, procedure).CommandBlindLight(row);
}

/// Whether what was written last went out.
bool FocusMotor::LineTakesBytes() const {
    return needs_.link && needs_.link->CanSend();
}

void FocusMotor::Note(LogLevel level, std::string_view text) {
    driver_.log.LogMessage(kFocuserOrigin, level, text);
}

}  // namespace kestrane

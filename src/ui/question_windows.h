#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "forms/modal.h"
#include "forms/questions.h"
#include "forms/windows.h"
#include "settings/persist.h"
#include "state/driver_state.h"

namespace kestrane {

struct QuestionWindowsNeeds {
    const DriverState& state;
    Modal& modal;
    Persist& persist;
    Log& log;
    Windows& windows;
    /// Hours by which a park that began now would go east first; nothing when it would not.
    std::function<std::optional<double>()> eastSlewHours;
    std::function<void()> abortSlew;    ///< stops a slew or a park, ahead of all calls that wait
    std::function<void()> warnOfPark1;  ///< a person has accepted "Park 1"
};

/// The questions of the driver, each in its window. Logic thread only.
class QuestionWindows final : public Questions {
public:
    explicit QuestionWindows(QuestionWindowsNeeds needs);

    std::optional<std::int16_t> AskUnpark(std::optional<std::int16_t> proposed, Unasked unasked) override;
    void AskUnpark(std::function<void(std::int16_t index)> accepted) override;
    bool CanAskUnpark() const override { return needs_.windows.askUnpark.HasPerson(); }
    void OfferUnpark(std::int16_t proposed, std::function<void(std::optional<std::int16_t> index)> answered) override;
    bool OfferIsOpen() const override;
    void WithdrawUnpark() override;
    void AskPark(std::function<void(std::int16_t index)> accepted) override;
    bool AskSwap(SwappedAxes axes) override;
    void AskAbort(bool parking) override;
    bool AskSetPark(const ParkPlace& place) override;
    bool AskCloseDriver() override;
    void WarnParked() override;

private:
    void WirePositions();
    void AcceptPark();
    void WireAbort();
    std::int16_t FillUnpark(std::optional<std::int16_t> proposed);
    void AcceptUnpark();
    void EndOffer();
    bool AskYesOrNo(Form& form, const bool& accepted);
    bool IsOpenAlready(const Form& form);
    bool NobodyCanSee(const Form& form);
    void ShowEastSlewWarning();
    std::string UserPlace();

    QuestionWindowsNeeds needs_;
    std::function<void(std::optional<std::int16_t> index)> offered_;  ///< gets the answer to an open offer
    std::function<void(std::int16_t index)> parkAccepted_;            ///< gets the position to park at
    std::function<void(std::int16_t index)> unparkAccepted_;          ///< gets the position to unpark from
};

}  // namespace kestrane

#include "telescope/telescope_core.h"

#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "telescope/telescope.h"

namespace kestrane {

TelescopeCore::TelescopeCore(TelescopeNeeds needs, std::function<std::string(std::string_view)> executeDriverCommand)
    : needs_(std::move(needs)),
      driver_(needs_.driver),
      state_(driver_.state),
      exchange_(ExchangeNeeds{
          .driver = driver_,
          .link = needs_.link,
          .executeDriverCommand = std::move(executeDriverCommand),
          .noteQuerySuccess = [this] { needs_.queries.NoteQuerySuccess(); },
      }) {}

MountCommands& TelescopeCore::OwnCommands() {
    Telescope* const internal = needs_.internalInstance();
    return internal != nullptr ? internal->Commands() : exchange_;
}

void TelescopeCore::LogGetText(std::string_view name, std::string_view value) {
    driver_.log.LogMessage("ASCOM", LogLevel::Info, "GET " + std::string(name) + " = " + std::string(value));
}

void TelescopeCore::LogSet(std::string_view name, std::string_view value) {
    driver_.log.LogMessage("ASCOM", LogLevel::Info, "SET " + std::string(name) + " = " + std::string(value));
}

bool TelescopeCore::LogGet(std::string_view name, bool value) {
    LogGetText(name, TrueFalse(value));
    return value;
}

double TelescopeCore::LogGet(std::string_view name, double value) {
    LogGetText(name, PlainNumber(value));
    return value;
}

int TelescopeCore::LogGet(std::string_view name, int value) {
    LogGetText(name, std::to_string(value));
    return value;
}

void TelescopeCore::RefuseOutOfRange(std::string_view name, double value, bool inRange) {
    if (!inRange) {
        driver_.log.LogMessage("ASCOM", LogLevel::Exception,
                               "SET " + std::string(name) + " (out of range) = " + PlainNumber(value));
        throw DriverError(ErrorNumber::OutOfRange);
    }
}

TelescopeSteps::TelescopeSteps(Telescope& telescope)
    : telescope_(telescope),
      core_(telescope),
      driver_(core_.driver_),
      needs_(core_.needs_),
      state_(core_.state_),
      axes_(core_.axes_) {}

}  // namespace kestrane

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <sstream>

#include "driver/companion/companion_fixture.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"

/// Each member of a telescope, over each road to the mount.
namespace kestrane {
namespace {

struct Outcome {
    std::string member;
    std::string result;  ///< number, words, or error
    std::string told;    ///< commands but for questions, each without its value
};

class MembersTest : public CompanionRoadTest, public testing::WithParamInterface<Road> {
protected:
    std::vector<Outcome> Play(Road road) {
        Connect(road, {{"Controller", "3"}, {"cbxParkTo", "2"}, {"chkAsyncPark", "1"}, {"txtScopeAperture", "200"}});
        driver->state.g_dMeridianDelay = 0.0;
        outcomes_.clear();
        ReadEach();
        WriteEach();
        MoveEach();
        SlewEach();
        ParkEach();
        SendEach();
        return std::move(outcomes_);
    }
    static bool GoesToCompanion(Road road) { return road == Road::CompanionPort || road == Road::CompanionRest; }

private:
    void Note(const std::string& member, const std::function<std::string()>& call) {
        const std::size_t before = Heard().size();
        std::string result;
        try {
            result = call();
        } catch (const DriverError& error) {
            std::ostringstream number;
            number << "0x" << std::hex << error.Number();
            result = number.str();
        }
        std::string told;
        const std::vector<std::string> heard = Heard();
        for (std::size_t i = before; i < heard.size(); ++i) {
            const std::string name = NameOf(heard[i]);
            if (!IsAsked(name)) {
                told += (told.empty() ? "" : " ") + name;
            }
        }
        outcomes_.push_back({member, result, told});
    }
    template <typename Value>
    void Number(const std::string& member, Value (Telescope::*read)()) {
        Note(member, [&] { return PlainNumber(static_cast<double>(((*telescope).*read)())); });
    }
    void Words(const std::string& member, std::string (Telescope::*read)()) {
        Note(member, [&] { return ((*telescope).*read)(); });
    }
    template <typename Call>
    void Done(const std::string& member, Call call) {
        Note(member, [&] {
            call(*telescope);
            return std::string("done");
        });
    }
    /// The same for a slew or park that is awaited: its result is where the mount stands at the end.
    template <typename Call>
    void Motion(const std::string& member, Call call) {
        Note(member, [&] {
            call(*telescope);
            EXPECT_TRUE(WaitForSlewEnd()) << member;
            machine.AdvanceTime(5'000);
            return PlainNumber(std::round(mount->Picture().declination * 10.0) / 10.0);
        });
    }
    /// What reached the first one on the road.
    std::vector<std::string> Heard() {
        if (!driver->state.g_bQuayLink) {
            return mount->Commands();
        }
        std::vector<std::string> heard;
        for (const std::string& command : companion.Commands()) {
            constexpr std::string_view kHead = "QUAY,";
            heard.push_back(command.starts_with(kHead) ? command.substr(command.find(',', kHead.size()) + 1) : command);
        }
        return heard;
    }
    static std::string NameOf(const std::string& command) {
        return command.substr(0, std::min(command.find_first_of("0123456789+-", 1), command.size()));
    }
    static bool IsAsked(const std::string& name) {
        constexpr std::array<std::string_view, 15> kQuestions{"GR",  "GD", "GA", "GZ", "GS", "GL", "GM",        "GG",
                                                              "GOS", "pS", "Gt", "Gg", "#",  "",   "*TIMESYNC,"};
        return std::ranges::find(kQuestions, name) != kQuestions.end();
    }

    void ReadEach();
    void WriteEach();
    void MoveEach();
    void SlewEach();
    void ParkEach();
    void SendEach();

    std::vector<Outcome> outcomes_;
};

void MembersTest::ReadEach() {
    Number("AlignmentMode", &Telescope::AlignmentMode);
    Number("AtHome", &Telescope::AtHome);
    Number("AtPark", &Telescope::AtPark);
    Number("EquatorialSystem", &Telescope::EquatorialSystem);
    Number("InterfaceVersion", &Telescope::InterfaceVersion);
    Words("Name", &Telescope::Name);
    Words("Description", &Telescope::Description);
    Words("DriverInfo", &Telescope::DriverInfo);
    Words("DriverVersion", &Telescope::DriverVersion);
    Number("CanFindHome", &Telescope::CanFindHome);
    Number("CanPark", &Telescope::CanPark);
    Number("CanPulseGuide", &Telescope::CanPulseGuide);
    Number("CanSetDeclinationRate", &Telescope::CanSetDeclinationRate);
    Number("CanSetGuideRates", &Telescope::CanSetGuideRates);
    Number("CanSetPark", &Telescope::CanSetPark);
    Number("CanSetPierSide", &Telescope::CanSetPierSide);
    Number("CanSetRightAscensionRate", &Telescope::CanSetRightAscensionRate);
    Number("CanSetTracking", &Telescope::CanSetTracking);
    Number("CanSlew", &Telescope::CanSlew);
    Number("CanSlewAltAz", &Telescope::CanSlewAltAz);
    Number("CanSlewAltAzAsync", &Telescope::CanSlewAltAzAsync);
    Number("CanSlewAsync", &Telescope::CanSlewAsync);
    Number("CanSync", &Telescope::CanSync);
    Number("CanSyncAltAz", &Telescope::CanSyncAltAz);
    Number("CanUnpark", &Telescope::CanUnpark);
    Done("FindHome", [](Telescope& scope) { scope.FindHome(); });
    Note("Connected", [&] { return std::string(TrueFalse(telescope->Connected())); });
    Note("ClientCount", [&] { return std::to_string(telescope->ClientCount()); });
    Note("ReceiveTimeoutMS", [&] { return std::to_string(telescope->ReceiveTimeoutMS()); });
    Note("RightAscension", [&] { return PlainNumber(telescope->RightAscension()); });
    Note("Declination", [&] { return PlainNumber(telescope->Declination()); });
    Number("Altitude", &Telescope::Altitude);
    Number("Azimuth", &Telescope::Azimuth);
    Number("SiderealTime", &Telescope::SiderealTime);
    Note("SideOfPier", [&] { return std::to_string(telescope->SideOfPier()); });
    Number("ApertureDiameter", &Telescope::ApertureDiameter);
    Number("ApertureArea", &Telescope::ApertureArea);
    Number("FocalLength", &Telescope::FocalLength);
    Note("SiteLatitude", [&] { return PlainNumber(telescope->SiteLatitude()); });
    Note("SiteLongitude", [&] { return PlainNumber(telescope->SiteLongitude()); });
    Note("SiteElevation", [&] { return PlainNumber(telescope->SiteElevation()); });
    Note("UTCDate", [&] {
        const DateTime utc = telescope->utcDate();
        return std::to_string(utc.day) + "." + std::to_string(utc.month) + " " + std::to_string(utc.hour);
    });
    Number("Slewing", &Telescope::Slewing);
    Number("IsPulseGuiding", &Telescope::IsPulseGuiding);
    Note("Tracking", [&] { return std::string(TrueFalse(telescope->Tracking())); });
    Note("TrackingRate", [&] { return std::to_string(telescope->TrackingRate()); });
    Note("RightAscensionRate", [&] { return PlainNumber(telescope->RightAscensionRate()); });
    Note("DeclinationRate", [&] { return PlainNumber(telescope->DeclinationRate()); });
    Note("GuideRateRightAscension", [&] { return PlainNumber(telescope->GuideRateRightAscension()); });
    Note("GuideRateDeclination", [&] { return PlainNumber(telescope->GuideRateDeclination()); });
    Note("TrackingRates", [&] { return std::to_string(telescope->TrackingRates()->Count()); });
    Note("AxisRates", [&] { return std::to_string(telescope->AxisRates(0)->Count()); });
    Note("CanMoveAxis", [&] { return std::string(TrueFalse(telescope->CanMoveAxis(1))); });
    Note("SlewSettleTime", [&] { return std::to_string(telescope->SlewSettleTime()); });
    Note("DestinationSideOfPier", [&] { return std::to_string(telescope->DestinationSideOfPier(1.0, 20.0)); });
    Note("TargetRightAscension", [&] { return PlainNumber(telescope->TargetRightAscension()); });
    Note("TargetDeclination", [&] { return PlainNumber(telescope->TargetDeclination()); });
}

void MembersTest::WriteEach() {
    Done("set SideOfPier", [](Telescope& scope) { scope.SideOfPier(0); });
    Done("set DoesRefraction", [](Telescope& scope) { scope.DoesRefraction(true); });
    Done("set SiteElevation", [](Telescope& scope) { scope.SiteElevation(120.0); });
    Done("set SiteLatitude", [](Telescope& scope) { scope.SiteLatitude(47.0); });
    Done("set SiteLongitude", [](Telescope& scope) { scope.SiteLongitude(10.0); });
    Done("set UTCDate",
         [&](Telescope& scope) { scope.utcDate(machine.clock.DateLocalToUTC(machine.clock.GetLocalTime())); });
    Done("set ReceiveTimeoutMS", [](Telescope& scope) { scope.ReceiveTimeoutMS(400); });
    Done("set MaxSerialRetries", [](Telescope& scope) { scope.MaxSerialRetries(2); });
    Done("set SlewSettleTime", [](Telescope& scope) { scope.SlewSettleTime(1); });
    Done("set TargetRightAscension", [](Telescope& scope) { scope.TargetRightAscension(3.0); });
    Done("set TargetDeclination", [](Telescope& scope) { scope.TargetDeclination(35.0); });
    Done("set TrackingRate", [](Telescope& scope) { scope.TrackingRate(1); });
    Done("set TrackingRate back", [](Telescope& scope) { scope.TrackingRate(0); });
    Done("set RightAscensionRate", [](Telescope& scope) { scope.RightAscensionRate(0.1); });
    Done("set RightAscensionRate back", [](Telescope& scope) { scope.RightAscensionRate(0.0); });
    Done("set DeclinationRate", [](Telescope& scope) { scope.DeclinationRate(1.0); });
    Done("set DeclinationRate back", [](Telescope& scope) { scope.DeclinationRate(0.0); });
    Done("set GuideRateRightAscension", [](Telescope& scope) { scope.GuideRateRightAscension(0.0020890375); });
    Done("set GuideRateDeclination", [](Telescope& scope) { scope.GuideRateDeclination(0.0020890375); });
    Done("set Tracking off", [](Telescope& scope) { scope.Tracking(false); });
    Done("set Tracking on", [](Telescope& scope) { scope.Tracking(true); });
}

void MembersTest::MoveEach() {
    for (int axis = 0; axis < 2; ++axis) {
        Done("MoveAxis", [&](Telescope& scope) {
            scope.MoveAxis(axis, 0.5);
            machine.AdvanceTime(1'000);
            scope.MoveAxis(axis, 0.0);
            machine.AdvanceTime(5'000);
        });
    }
    for (int direction = 0; direction < 4; ++direction) {
        Done("PulseGuide", [&](Telescope& scope) {
            scope.PulseGuide(direction, 700);
            machine.AdvanceTime(2'000);
            EXPECT_FALSE(scope.IsPulseGuiding());
        });
    }
    Done("CommandString RAW", [](Telescope& scope) { scope.CommandString("RAW,SetGuideRate,1", true); });
}

void MembersTest::SlewEach() {
    const double ra = std::round(driver->state.g_dRa * 10.0) / 10.0;
    Motion("SlewToCoordinates", [&](Telescope& scope) { scope.SlewToCoordinates(ra, 40.0); });
    Motion("SlewToCoordinatesAsync", [&](Telescope& scope) { scope.SlewToCoordinatesAsync(ra, 41.0); });
    Motion("SlewToTarget", [&](Telescope& scope) {
        scope.TargetDeclination(42.0);
        scope.SlewToTarget();
    });
    Motion("SlewToTargetAsync", [&](Telescope& scope) {
        scope.TargetDeclination(43.0);
        scope.SlewToTargetAsync();
    });
    Motion("AbortSlew", [&](Telescope& scope) {
        scope.SlewToCoordinatesAsync(ra, 43.5);
        scope.AbortSlew();
    });
    Done("SyncToCoordinates",
         [&](Telescope& scope) { scope.SyncToCoordinates(scope.RightAscension(), scope.Declination() + 0.25); });
    Done("SyncToTarget", [&](Telescope& scope) {
        scope.TargetRightAscension(scope.RightAscension());
        scope.TargetDeclination(scope.Declination());
        scope.SyncToTarget();
    });
    telescope->Tracking(false);
    machine.AdvanceTime(5'000);
    Motion("SlewToAltAz", [](Telescope& scope) { scope.SlewToAltAz(230.0, 50.0); });
    Motion("SlewToAltAzAsync", [](Telescope& scope) { scope.SlewToAltAzAsync(228.0, 52.0); });
    Done("SyncToAltAz", [](Telescope& scope) { scope.SyncToAltAz(scope.Azimuth(), scope.Altitude()); });
    telescope->Tracking(true);
    machine.AdvanceTime(5'000);
}

void MembersTest::ParkEach() {
    Done("SetPark", [](Telescope& scope) { scope.SetPark(); });
    driver->persist.Write(setting::cbxParkTo, "2");
    Note("Park", [&] {
        telescope->Park();
        EXPECT_TRUE(WaitForParkEnd());
        machine.AdvanceTime(5'000);
        EXPECT_TRUE(mount->Picture().parked);
        return std::string(TrueFalse(telescope->AtPark()));
    });
    Note("Unpark", [&] {
        telescope->Unpark();
        machine.AdvanceTime(10'000);
        EXPECT_FALSE(mount->Picture().parked);
        return std::string(TrueFalse(telescope->AtPark()));
    });
}

void MembersTest::SendEach() {
    Done("CommandBlind", [](Telescope& scope) { scope.CommandBlind("RG2", false); });
    Done("CommandBlind raw", [](Telescope& scope) { scope.CommandBlind(":RG1#", true); });
    Note("CommandBool", [&] { return std::string(TrueFalse(telescope->CommandBool("Sd+30*00:00", false))); });
    Note("CommandString", [&] { return telescope->CommandString("V", false); });
    Done("CommandClear", [](Telescope& scope) { scope.CommandClear(); });
    Done("set Connected", [](Telescope& scope) {
        scope.Connected(true);
        scope.Connected(false);
    });
}

/// What each member gives on every road, and what the mount hears of it; what the companion hears in its place. Numbers
/// may differ a little, since time passes.
struct MemberRow {
    std::string member;
    std::string result{};
    std::string told{};
    std::string toldToCompanion{};  ///< empty for the same
};

// clang-format off
const MemberRow kMembers[] = {
    {"AlignmentMode", "2"},
    {"AtHome", "0"},
    {"AtPark", "0"},
    {"EquatorialSystem", "1"},
    {"InterfaceVersion", "2"},
    {"Name", "KestraneV2"},
    {"Description", "Kestrane Alder VTR Mount"},
    {"DriverInfo", "5.50.3 Kestrane V2\r\nKestrane V2 telescope-mount driver"},
    {"DriverVersion", "5.50.03"},
    {"CanFindHome", "0"},
    {"CanPark", "1"},
    {"CanPulseGuide", "1"},
    {"CanSetDeclinationRate", "1"},
    {"CanSetGuideRates", "1"},
    {"CanSetPark", "1"},
    {"CanSetPierSide", "0"},
    {"CanSetRightAscensionRate", "1"},
    {"CanSetTracking", "1"},
    {"CanSlew", "1"},
    {"CanSlewAltAz", "1"},
    {"CanSlewAltAzAsync", "1"},
    {"CanSlewAsync", "1"},
    {"CanSync", "1"},
    {"CanSyncAltAz", "1"},
    {"CanUnpark", "1"},
    {"FindHome", "0x80040400"},
    {"Connected", "True"},
    {"ClientCount", "1"},
    {"ReceiveTimeoutMS", "500"},
    {"RightAscension", "3.6009"},
    {"Declination", "45"},
    {"Altitude", "59.0812"},
    {"Azimuth", "283.1434"},
    {"SiderealTime", "6.6039"},
    {"SideOfPier", "0"},
    {"ApertureDiameter", "0.2"},
    {"ApertureArea", "0.0314159265"},
    {"FocalLength", "0"},
    {"SiteLatitude", "47"},
    {"SiteLongitude", "10"},
    {"SiteElevation", "0"},
    {"UTCDate", "5.3 19"},
    {"Slewing", "0"},
    {"IsPulseGuiding", "0"},
    {"Tracking", "True"},
    {"TrackingRate", "0"},
    {"RightAscensionRate", "0"},
    {"DeclinationRate", "0"},
    {"GuideRateRightAscension", "0.0042"},
    {"GuideRateDeclination", "0.0042"},
    {"TrackingRates", "4"},
    {"AxisRates", "1"},
    {"CanMoveAxis", "True"},
    {"SlewSettleTime", "1"},
    {"DestinationSideOfPier", "0"},
    {"TargetRightAscension", "0x80040403"},
    {"TargetDeclination", "0x80040403"},
    {"set SideOfPier", "0x80040400"},
    {"set DoesRefraction", "done"},
    {"set SiteElevation", "done"},
    {"set SiteLatitude", "done"},
    {"set SiteLongitude", "done"},
    {"set UTCDate", "done", "SL SC"},
    {"set ReceiveTimeoutMS", "done"},
    {"set MaxSerialRetries", "done"},
    {"set SlewSettleTime", "done"},
    {"set TargetRightAscension", "done"},
    {"set TargetDeclination", "done"},
    {"set TrackingRate", "done", "Q RT"},
    {"set TrackingRate back", "done", "Q RT RT"},
    {"set RightAscensionRate", "done", "RR"},
    {"set RightAscensionRate back", "done", "RR"},
    {"set DeclinationRate", "done", "RD"},
    {"set DeclinationRate back", "done", "RD"},
    {"set GuideRateRightAscension", "done"},
    {"set GuideRateDeclination", "done"},
    {"set Tracking off", "done", "Q RT"},
    {"set Tracking on", "done", "Q RT RT"},
    {"MoveAxis", "done", "RR Q RT RT"},
    {"MoveAxis", "done", "RD RD"},
    {"PulseGuide", "done", "RG Mn"},
    {"PulseGuide", "done", "RG Ms"},
    {"PulseGuide", "done", "RG Me"},
    {"PulseGuide", "done", "RG Mw"},
    {"CommandString RAW", "done", "RG"},
    {"SlewToCoordinates", "40", "RT Sr Sd MS RT Q RT RT", "*SLEW, RT Q RT RT"},
    {"SlewToCoordinatesAsync", "41", "RT Sr Sd MS RT Q RT RT", "*SLEW, RT Q RT RT"},
    {"SlewToTarget", "42", "RT Sr Sd MS RT Q RT RT", "*SLEW, RT Q RT RT"},
    {"SlewToTargetAsync", "43", "RT Sr Sd MS RT Q RT RT", "*SLEW, RT Q RT RT"},
    {"AbortSlew", "43", "RT Sr Sd MS Q Q RT Q RT RT", "*SLEW, Q Q RT Q RT RT"},
    {"SyncToCoordinates", "done", "Sd Sr CMR"},
    {"SyncToTarget", "done", "Sd Sr CMR"},
    {"SlewToAltAz", "16.2", "Q RT Sa Sz MS Q RT", "Q RT *SLEWALTAZ, Q RT"},
    {"SlewToAltAzAsync", "17.2", "Q RT Sa Sz MS Q RT", "Q RT *SLEWALTAZ, Q RT"},
    {"SyncToAltAz", "done", "Sa Sz CMR"},
    {"SetPark", "done"},
    {"Park", "True", "SL SC Q Q RT Sa Sz MS KA", "SL SC Q Q RT *PARK, *DISABLESAFESLEW,"},
    {"Unpark", "False", "RT U SM SL SC Q RT U"},
    {"CommandBlind", "done", "RG"},
    {"CommandBlind raw", "done", "RG"},
    {"CommandBool", "True", "Sd"},
    {"CommandString", "VKC4-P02-08", "V"},
    {"CommandClear", "done"},
    {"set Connected", "done"},
};
// clang-format on

bool IsNumber(const std::string& text, double& number) {
    char* end = nullptr;
    number = std::strtod(text.c_str(), &end);
    return !text.empty() && *end == '\0' && !text.starts_with("0x");
}

bool Agree(const std::string& result, const std::string& expected) {
    constexpr double kTolerance = 0.1;
    double first = 0.0;
    double second = 0.0;
    const bool areNumbers = IsNumber(result, first) && IsNumber(expected, second);
    return areNumbers ? std::abs(first - second) < kTolerance : result == expected;
}

TEST_P(MembersTest, EachDoesItsPart) {
    const std::vector<Outcome> outcomes = Play(GetParam());
    ASSERT_EQ(outcomes.size(), std::size(kMembers));
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
        const Outcome& outcome = outcomes[i];
        const MemberRow& row = kMembers[i];
        const bool differs = GoesToCompanion(GetParam()) && !row.toldToCompanion.empty();
        EXPECT_EQ(outcome.member, row.member);
        EXPECT_TRUE(Agree(outcome.result, row.result)) << row.member << " gave " << outcome.result;
        EXPECT_EQ(outcome.told, differs ? row.toldToCompanion : row.told) << row.member;
    }
}

std::string RoadName(Road road) {
    constexpr std::array<const char*, 4> kNames{"Serial", "Adapter", "CompanionPort", "CompanionRest"};
    return kNames[static_cast<std::size_t>(road)];
}

INSTANTIATE_TEST_SUITE_P(Roads, MembersTest,
                         testing::Values(Road::Serial, Road::Adapter, Road::CompanionPort, Road::CompanionRest),
                         [](const auto& road) { return RoadName(road.param); });

}  // namespace
}  // namespace kestrane

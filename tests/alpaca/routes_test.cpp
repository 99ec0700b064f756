#include "alpaca/routes.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <string>

#include "kernel/base/text.h"

namespace kestrane::alpaca {
namespace {

using Names = std::set<std::string>;

const Names kCommonReads{"connected",        "description", "driverinfo",      "driverversion",
                         "interfaceversion", "name",        "supportedactions"};
const Names kCommonWrites{"action", "commandblind", "commandbool", "commandstring", "connected"};

/// Everything that the telescope interface reads by GET, and by PUT.
const Names kTelescopeReads{"alignmentmode",
                            "altitude",
                            "aperturearea",
                            "aperturediameter",
                            "athome",
                            "atpark",
                            "axisrates",
                            "azimuth",
                            "canfindhome",
                            "canmoveaxis",
                            "canpark",
                            "canpulseguide",
                            "cansetdeclinationrate",
                            "cansetguiderates",
                            "cansetpark",
                            "cansetpierside",
                            "cansetrightascensionrate",
                            "cansettracking",
                            "canslew",
                            "canslewaltaz",
                            "canslewaltazasync",
                            "canslewasync",
                            "cansync",
                            "cansyncaltaz",
                            "canunpark",
                            "declination",
                            "declinationrate",
                            "destinationsideofpier",
                            "doesrefraction",
                            "equatorialsystem",
                            "focallength",
                            "guideratedeclination",
                            "guideraterightascension",
                            "ispulseguiding",
                            "rightascension",
                            "rightascensionrate",
                            "sideofpier",
                            "siderealtime",
                            "siteelevation",
                            "sitelatitude",
                            "sitelongitude",
                            "slewing",
                            "slewsettletime",
                            "targetdeclination",
                            "targetrightascension",
                            "tracking",
                            "trackingrate",
                            "trackingrates",
                            "utcdate"};
const Names kTelescopeWrites{"abortslew",
                             "declinationrate",
                             "doesrefraction",
                             "findhome",
                             "guideratedeclination",
                             "guideraterightascension",
                             "moveaxis",
                             "park",
                             "pulseguide",
                             "rightascensionrate",
                             "setpark",
                             "sideofpier",
                             "siteelevation",
                             "sitelatitude",
                             "sitelongitude",
                             "slewsettletime",
                             "slewtoaltaz",
                             "slewtoaltazasync",
                             "slewtocoordinates",
                             "slewtocoordinatesasync",
                             "slewtotarget",
                             "slewtotargetasync",
                             "synctoaltaz",
                             "synctocoordinates",
                             "synctotarget",
                             "targetdeclination",
                             "targetrightascension",
                             "tracking",
                             "trackingrate",
                             "unpark",
                             "utcdate"};
const Names kFocuserReads{"absolute", "ismoving", "maxincrement",      "maxstep",    "position",
                          "stepsize", "tempcomp", "tempcompavailable", "temperature"};
const Names kFocuserWrites{"halt", "move", "tempcomp"};

Names MembersOf(const std::vector<Route>& routes, Verb verb) {
    Names names;
    for (const Route& route : routes) {
        if (route.verb == verb) {
            names.insert(ToLower(route.name));
        }
    }
    return names;
}

Names Joined(Names left, const Names& right) {
    left.insert(right.begin(), right.end());
    return left;
}

TEST(RouteTable, HoldsEveryMemberOfTheInterfacesAndNoOther) {
    EXPECT_EQ(MembersOf(TelescopeRoutes(), Verb::Get), Joined(kTelescopeReads, kCommonReads));
    EXPECT_EQ(MembersOf(TelescopeRoutes(), Verb::Put), Joined(kTelescopeWrites, kCommonWrites));
    EXPECT_EQ(MembersOf(FocuserRoutes(), Verb::Get), Joined(kFocuserReads, kCommonReads));
    EXPECT_EQ(MembersOf(FocuserRoutes(), Verb::Put), Joined(kFocuserWrites, kCommonWrites));
}

TEST(RouteTable, OffersNoMemberOfLaterInterfaces) {
    const RouteTable table(TelescopeRoutes(), FocuserRoutes());
    for (const char* member : {"connect", "disconnect", "connecting", "devicestate"}) {
        for (const Verb verb : {Verb::Get, Verb::Put}) {
            EXPECT_EQ(table.Find(DeviceKind::Telescope, verb, member), nullptr) << member;
            EXPECT_EQ(table.Find(DeviceKind::Focuser, verb, member), nullptr) << member;
        }
    }
}

TEST(RouteTable, FindsLowerCasePathsOfTheRightDeviceAndVerbOnly) {
    const RouteTable table(TelescopeRoutes(), FocuserRoutes());
    ASSERT_NE(table.Find(DeviceKind::Telescope, Verb::Get, "rightascension"), nullptr);
    EXPECT_EQ(table.Find(DeviceKind::Telescope, Verb::Get, "rightascension")->name, "RightAscension");
    EXPECT_EQ(table.Find(DeviceKind::Telescope, Verb::Get, "RightAscension"), nullptr);
    EXPECT_EQ(table.Find(DeviceKind::Telescope, Verb::Put, "rightascension"), nullptr);
    EXPECT_EQ(table.Find(DeviceKind::Focuser, Verb::Get, "rightascension"), nullptr);
    EXPECT_EQ(table.Find(DeviceKind::Telescope, Verb::Get, ""), nullptr);
}

TEST(RouteTable, LetsExactlyTheMembersThatPumpWaitLong) {
    const Names telescope{"commandblind", "commandbool", "commandstring",     "connected",    "park",
                          "pulseguide",   "slewtoaltaz", "slewtocoordinates", "slewtotarget", "unpark"};
    const Names focuser{"commandblind", "commandbool", "commandstring", "connected"};
    const auto waitingLong = [](std::vector<Route> routes) {
        std::erase_if(routes, [](const Route& route) { return route.kind != CallKind::WaitsLong; });
        EXPECT_TRUE(MembersOf(routes, Verb::Get).empty());
        return MembersOf(routes, Verb::Put);
    };
    EXPECT_EQ(waitingLong(TelescopeRoutes()), telescope);
    EXPECT_EQ(waitingLong(FocuserRoutes()), focuser);
}

TEST(RouteTable, LetsExactlyTheReadsThatAskNobodyRunDuringAnExchange) {
    const Names asking{"altitude", "atpark",       "doesrefraction", "ispulseguiding",
                       "slewing",  "sitelatitude", "sitelongitude",  "utcdate"};
    const auto reads = [](std::vector<Route> routes, Verb verb) {
        std::erase_if(routes, [](const Route& route) { return route.kind != CallKind::Read; });
        return MembersOf(routes, verb);
    };
    Names telescope = Joined(kTelescopeReads, kCommonReads);
    for (const std::string& name : asking) {
        telescope.erase(name);
    }
    Names focuser = Joined(kFocuserReads, kCommonReads);
    EXPECT_EQ(reads(TelescopeRoutes(), Verb::Get), telescope);
    EXPECT_EQ(reads(FocuserRoutes(), Verb::Get), focuser);
    EXPECT_EQ(reads(TelescopeRoutes(), Verb::Put), Names{});
    EXPECT_EQ(reads(FocuserRoutes(), Verb::Put), Names{});
}

TEST(RouteTable, AsksForTheParametersOfTheInterfaces) {
    struct Expected {
        std::string_view first, second;
    };
    const std::map<std::string_view, Expected> kOthers{
        {"Action", {"Action", "Parameters"}},
        {"CommandBlind", {"Command", "Raw"}},
        {"CommandBool", {"Command", "Raw"}},
        {"CommandString", {"Command", "Raw"}},
        {"AxisRates", {"Axis", ""}},
        {"CanMoveAxis", {"Axis", ""}},
        {"DestinationSideOfPier", {"RightAscension", "Declination"}},
        {"MoveAxis", {"Axis", "Rate"}},
        {"PulseGuide", {"Direction", "Duration"}},
        {"SlewToAltAz", {"Azimuth", "Altitude"}},
        {"SlewToAltAzAsync", {"Azimuth", "Altitude"}},
        {"SyncToAltAz", {"Azimuth", "Altitude"}},
        {"SlewToCoordinates", {"RightAscension", "Declination"}},
        {"SlewToCoordinatesAsync", {"RightAscension", "Declination"}},
        {"SyncToCoordinates", {"RightAscension", "Declination"}},
        {"Move", {"Position", ""}},
    };
    std::vector<Route> all = TelescopeRoutes();
    std::ranges::copy(FocuserRoutes(), std::back_inserter(all));
    for (const Route& route : all) {
        SCOPED_TRACE(route.name);
        const auto row = kOthers.find(route.name);
        const bool isProperty =
            row == kOthers.end() && route.verb == Verb::Put && std::ranges::any_of(all, [&route](const Route& other) {
                return other.verb == Verb::Get && other.name == route.name;
            });
        const Expected expected = row != kOthers.end() ? row->second : Expected{isProperty ? route.name : "", ""};
        const std::size_t count = expected.first.empty() ? 0U : expected.second.empty() ? 1U : 2U;
        ASSERT_EQ(route.parameters.size(), count);
        EXPECT_TRUE(count < 1 || route.parameters[0].name == expected.first);
        EXPECT_TRUE(count < 2 || route.parameters[1].name == expected.second);
        for (const Parameter& parameter : route.parameters) {
            EXPECT_EQ(parameter.mayBeMissing, parameter.name == "Parameters") << parameter.name;  // of both devices
        }
    }
}

}  // namespace
}  // namespace kestrane::alpaca

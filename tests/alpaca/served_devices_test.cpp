#include "alpaca/served_devices.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <vector>

#include "alpaca/client_objects.h"
#include "alpaca/routes.h"
#include "kernel/base/errors.h"
#include "kernel/base/text.h"
#include "support/driver_fixture.h"

namespace kestrane::alpaca {
namespace {

/// The routes of the real devices, on the driver with a simulated mount.
class ServedDevicesTest : public DriverFixture {
protected:
    ServedDevicesTest() : routes(TelescopeRoutes(), FocuserRoutes()) { Start(); }

    ClientObject Make(DeviceKind kind) { return ClientObject(DriverDevices(*driver).Create(kind)); }

    /// The JSON value that a member answers, or its error number in words.
    std::string Answer(ClientObject& object, DeviceKind kind, Verb verb, std::string_view member,
                       std::vector<Argument> arguments = {}) {
        const Route* route = routes.Find(kind, verb, member);
        EXPECT_NE(route, nullptr) << member;
        if (route == nullptr || route->handler == nullptr) {
            return "not offered";
        }
        try {
            return route->handler(object, Arguments(std::move(arguments)));
        } catch (const DriverError& error) {
            return "error " + std::to_string(error.Number() - 0x80040000) + " " + error.Message();
        }
    }
    std::string Get(ClientObject& object, DeviceKind kind, std::string_view member) {
        return Answer(object, kind, Verb::Get, member);
    }

    /// What a row answers with plain arguments, where a driver of its own has just been connected, and what the member
    /// needs has been done: targets are set, and horizontal positions find the tracking off.
    std::string FirstAnswer(DeviceKind kind, const Route& route);
    /// The rows of a device that answer with an error, each with its number: "findhome 1024".
    std::set<std::string> Refusals(DeviceKind kind);

    RouteTable routes;
};

Argument PlainArgument(ValueType type) {
    switch (type) {
        case ValueType::Boolean:
            return true;
        case ValueType::Integer:
            return std::int32_t{1};
        case ValueType::Number:
            return 0.25;
        case ValueType::Text:
            return std::string("RAW,Version");
        case ValueType::UtcDate:
            return DateTime{2026, 3, 1, 0, 0, 0, 0};
    }
    return {};
}

std::string ServedDevicesTest::FirstAnswer(DeviceKind kind, const Route& route) {
    BuildMount("VKC4-P02-08");
    Restart();
    ClientObject object = Make(kind);
    Answer(object, kind, Verb::Put, "connected", {true});
    EXPECT_TRUE(object.IsConnected());
    if (kind == DeviceKind::Telescope) {
        Answer(object, kind, Verb::Put, "targetrightascension", {0.25});
        Answer(object, kind, Verb::Put, "targetdeclination", {0.25});
        Answer(object, kind, Verb::Put, "tracking", {route.name.find("AltAz") == std::string_view::npos});
    }
    std::vector<Argument> arguments;
    for (const Parameter& parameter : route.parameters) {
        arguments.push_back(PlainArgument(parameter.type));
    }
    return Answer(object, kind, route.verb, ToLower(route.name), std::move(arguments));
}

std::set<std::string> ServedDevicesTest::Refusals(DeviceKind kind) {
    constexpr std::string_view kError = "error ";
    std::set<std::string> refusals;
    for (const Route& route : routes.Routes(kind)) {
        const std::string answer = FirstAnswer(kind, route);
        const std::string member = (route.verb == Verb::Get ? "GET " : "PUT ") + std::string(route.name);
        if (route.handler == nullptr) {
            refusals.insert(member + " is not offered");
        } else if (answer.starts_with(kError)) {
            refusals.insert(member + " " +
                            answer.substr(kError.size(), answer.find(' ', kError.size()) - kError.size()));
        }
    }
    return refusals;
}

TEST_F(ServedDevicesTest, ATelescopeThatIsNotConnected_AnswersWhatNeedsNoMount) {
    ClientObject telescope = Make(DeviceKind::Telescope);
    struct Row {
        const char* member;
        const char* answer;
    };
    for (const Row& row : {Row{"name", "\"KestraneV2\""}, Row{"interfaceversion", "2"}, Row{"supportedactions", "[]"},
                           Row{"driverversion", "\"5.50.03\""}, Row{"connected", "false"}, Row{"alignmentmode", "2"},
                           Row{"equatorialsystem", "1"}, Row{"canpark", "true"}, Row{"cansetpierside", "false"},
                           Row{"slewsettletime", "1"}, Row{"athome", "false"},
                           Row{"rightascension", "error 1028 The scope is not connected"}}) {
        EXPECT_EQ(Get(telescope, DeviceKind::Telescope, row.member), row.answer) << row.member;
    }
}

TEST_F(ServedDevicesTest, AConnectedTelescope_ReadsTheMountAndTakesATarget) {
    ClientObject telescope = Make(DeviceKind::Telescope);
    const auto put = [&](std::string_view member, std::vector<Argument> arguments) {
        return Answer(telescope, DeviceKind::Telescope, Verb::Put, member, std::move(arguments));
    };
    EXPECT_EQ(put("connected", {true}), "");
    EXPECT_TRUE(telescope.IsConnected());
    EXPECT_EQ(Get(telescope, DeviceKind::Telescope, "connected"), "true");
    EXPECT_EQ(put("targetdeclination", {-12.5}), "");
    EXPECT_EQ(Get(telescope, DeviceKind::Telescope, "targetdeclination"), "-12.5");
    EXPECT_TRUE(put("targetdeclination", {90.5}).starts_with("error 1029"));
    EXPECT_EQ(put("slewsettletime", {std::int32_t{100'000}}).substr(0, 10), "error 1029");
    EXPECT_EQ(put("slewsettletime", {std::int32_t{65'536 + 5}}).substr(0, 10), "error 1029");
    EXPECT_EQ(put("slewsettletime", {std::int32_t{5}}), "");
    EXPECT_EQ(put("slewtocoordinatesasync", {24.0, 0.0}).substr(0, 10), "error 1029");
    telescope.Disconnect();
    EXPECT_FALSE(telescope.IsConnected());
}

TEST_F(ServedDevicesTest, TheListsOfRates_AreArraysOfTheInterfacesTypes) {
    ClientObject telescope = Make(DeviceKind::Telescope);
    const auto ofAxis = [&](std::string_view member, std::int32_t axis) {
        return Answer(telescope, DeviceKind::Telescope, Verb::Get, member, {axis});
    };
    EXPECT_EQ(ofAxis("axisrates", 0), "error 1028 The scope is not connected");
    EXPECT_EQ(Get(telescope, DeviceKind::Telescope, "trackingrates"), "error 1028 The scope is not connected");
    EXPECT_EQ(ofAxis("canmoveaxis", 0), "true");
    EXPECT_EQ(ofAxis("canmoveaxis", 1), "true");
    EXPECT_EQ(ofAxis("canmoveaxis", 2), "false");

    Answer(telescope, DeviceKind::Telescope, Verb::Put, "connected", {true});
    EXPECT_EQ(ofAxis("axisrates", 0), R"([{"Maximum":5,"Minimum":0}])");
    EXPECT_EQ(ofAxis("axisrates", 1), R"([{"Maximum":5,"Minimum":0}])");
    EXPECT_EQ(ofAxis("axisrates", 2), "[]");
    EXPECT_EQ(ofAxis("axisrates", 7), "[]");
    driver->controller.Apply(Controller_Type::VTRKC3, 0, 0);
    EXPECT_EQ(Get(telescope, DeviceKind::Telescope, "trackingrates"), "[0,1,2]");
    driver->controller.Apply(Controller_Type::VTRKC4, 0, 0);
    EXPECT_EQ(Get(telescope, DeviceKind::Telescope, "trackingrates"), "[0,1,2,3]");
}

TEST_F(ServedDevicesTest, AnAxisRunsForAClient_UntilItEndsTheMotionOrGoes) {
    auto telescope = std::make_unique<ClientObject>(Make(DeviceKind::Telescope));
    const ClientObject other = Make(DeviceKind::Telescope);
    const auto move = [&](std::int32_t axis, double rate) {
        return Answer(*telescope, DeviceKind::Telescope, Verb::Put, "moveaxis", {axis, rate});
    };
    EXPECT_EQ(move(1, 0.25), "error 1028 The scope is not connected");
    Answer(*telescope, DeviceKind::Telescope, Verb::Put, "connected", {true});
    EXPECT_EQ(move(1, 5.25), "error 1029 Method MoveAxis 1 The rate is out of range.");
    EXPECT_EQ(move(2, 0.25), "error 1024 Method MoveAxis 2 is not implemented in this driver.");
    EXPECT_EQ(move(1, 0.25), "");
    EXPECT_EQ(Get(*telescope, DeviceKind::Telescope, "slewing"), "true");
    EXPECT_NEAR(std::abs(mount->Picture().polarSpeed), 0.25, 1e-4);
    EXPECT_EQ(move(1, 0.0), "");
    EXPECT_EQ(Get(*telescope, DeviceKind::Telescope, "slewing"), "false");
    EXPECT_EQ(move(1, -0.25), "");
    telescope->Disconnect();
    telescope.reset();
    EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
}

TEST_F(ServedDevicesTest, AxisWhoseStopTheMountDoesNotHear_MovesOn_UntilAStopIsHeard) {
    for (const char* procedure : {"CommandString", "CommandBool", "CommandBlind", "CommandClear"}) {
        ExpectSwallow(procedure);
    }
    const ClientObject other = Make(DeviceKind::Telescope);
    for (const auto& [axis, computed] : {std::pair{0, false}, {1, false}, {0, true}, {1, true}}) {
        SCOPED_TRACE(std::to_string(axis) + (computed ? ", computed" : ", asked for"));
        driver->handBox.chkCalcAzAlt.Checked(computed);
        ClientObject telescope = Make(DeviceKind::Telescope);
        Answer(telescope, DeviceKind::Telescope, Verb::Put, "connected", {true});
        machine.AdvanceTime(10'000);
        EXPECT_EQ(Answer(telescope, DeviceKind::Telescope, Verb::Put, "moveaxis", {axis, 0.25}), "");
        mount->SetLineDead(true);
        machine.AdvanceTime(30'000);
        for (int i = 0; i < 2; ++i) {
            telescope.Device().EndMotions();
            EXPECT_TRUE(telescope.Device().MovesOn());
        }
        mount->SetLineDead(false);
        machine.AdvanceTime(10'000);
        telescope.Device().EndMotions();
        EXPECT_FALSE(telescope.Device().MovesOn());
        EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
        EXPECT_LT(std::abs(mount->Picture().hourSpeed), 0.005);
        EXPECT_TRUE(driver->state.g_bTracking) << "as before the motion";
    }
}

TEST_F(ServedDevicesTest, AxisOfAClientThatVanished_IsStoppedAMinuteAfterItsLastSign) {
    DriverDevices devices(*driver);
    const ClientObject other = Make(DeviceKind::Telescope);
    ClientObjects objects(ClientObjectsNeeds{
        machine.pump, machine.clock, devices, {[](const std::function<void(bool)>&) {}, [] {}}, [] {}, LeaseTimes{}});
    const ClientKey key{{"10.0.0.1", 1}, DeviceKind::Telescope};
    const auto call = [&](std::string_view member, std::vector<Argument> arguments) {
        machine.pump.Run(CallKind::WaitsLong, [&] {
            objects.Call(key, 1, member, [&](ClientObject& object) {
                return Answer(object, DeviceKind::Telescope, Verb::Put, member, std::move(arguments));
            });
        });
    };
    call("connected", {true});
    machine.AdvanceTime(10'000);
    call("moveaxis", {1, 0.25});
    machine.AdvanceTime(59'800);
    EXPECT_NEAR(std::abs(mount->Picture().polarSpeed), 0.25, 1e-4);
    machine.AdvanceTime(1'000);
    EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
    EXPECT_TRUE(LoggedAs("MoveAxis", 1, "The client has gone: its axes are stopped"));
}

TEST_F(ServedDevicesTest, AxisOfAClientThatDisconnectedOnADeadLine_IsStoppedWhenTheMountHearsAgain) {
    ExpectSwallow("*");
    DriverDevices devices(*driver);
    const ClientObject other = Make(DeviceKind::Telescope);
    ClientObjects objects(ClientObjectsNeeds{
        machine.pump, machine.clock, devices, {[](const std::function<void(bool)>&) {}, [] {}}, [] {}, LeaseTimes{}});
    const auto call = [&](std::uint32_t client, std::string_view member, std::vector<Argument> arguments) {
        machine.pump.Run(CallKind::WaitsLong, [&] {
            objects.Call({{"10.0.0.1", client}, DeviceKind::Telescope}, 1, member, [&](ClientObject& object) {
                return Answer(object, DeviceKind::Telescope, Verb::Put, member, std::move(arguments));
            });
        });
    };
    call(2, "connected", {true});
    call(1, "connected", {true});
    machine.AdvanceTime(10'000);
    call(1, "moveaxis", {1, 0.25});
    mount->SetLineDead(true);
    call(1, "connected", {false});
    machine.AdvanceTime(60'000);
    EXPECT_EQ(objects.Count(), 2U);
    EXPECT_TRUE(driver->axisMotions.AnyRuns());
    mount->SetLineDead(false);
    machine.AdvanceTime(20'000);
    EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
    EXPECT_FALSE(driver->axisMotions.AnyRuns());
    EXPECT_EQ(objects.Count(), 1U);
}

TEST_F(ServedDevicesTest, StopOnADeadLine_KeepsTheProcessUntilTheMountHearsAgain) {
    ExpectSwallow("*");
    DriverDevices devices(*driver);
    int ends = 0;
    ClientObjects objects(ClientObjectsNeeds{
        machine.pump,
        machine.clock,
        devices,
        {[](const std::function<void(bool)>& report) { report(true); }, [] {}},
        [&] { ++ends; },
        LeaseTimes{},
        [&](std::int32_t withoutClientsMs) { return driver->MayEnd(withoutClientsMs); },
    });
    const auto call = [&](std::string_view member, std::vector<Argument> arguments) {
        machine.pump.Run(CallKind::WaitsLong, [&] {
            objects.Call({{"10.0.0.1", 1}, DeviceKind::Telescope}, 1, member, [&](ClientObject& object) {
                return Answer(object, DeviceKind::Telescope, Verb::Put, member, std::move(arguments));
            });
        });
    };
    call("connected", {true});
    machine.AdvanceTime(10'000);
    call("commandblind", {std::string("Me"), false});
    machine.AdvanceTime(1'000);
    mount->SetLineDead(true);
    call("abortslew", {});
    call("connected", {false});
    machine.AdvanceTime(120'000);
    EXPECT_GT(std::abs(mount->Picture().hourSpeed), 0.01) << "it has not heard the stop";
    EXPECT_EQ(ends, 0);
    mount->SetLineDead(false);
    machine.AdvanceTime(20'000);
    EXPECT_LT(std::abs(mount->Picture().hourSpeed), 0.006);
    EXPECT_EQ(ends, 1);
}

TEST_F(ServedDevicesTest, ActionsAreNotImplemented) {
    for (const DeviceKind kind : {DeviceKind::Telescope, DeviceKind::Focuser}) {
        ClientObject object = Make(kind);
        EXPECT_EQ(Answer(object, kind, Verb::Put, "action", {std::string("Dance"), std::string()}),
                  "error 1036 Action Dance is not implemented in this driver.");
    }
}

TEST_F(ServedDevicesTest, AFocuserAnswersItsFixedMembers_AndConnectedIsItsLink) {
    ClientObject focuser = Make(DeviceKind::Focuser);
    struct Row {
        const char* member;
        const char* answer;
    };
    for (const Row& row : {Row{"name", "\"KestraneV2\""}, Row{"description", "\"Kestrane VTR V2 Focuser\""},
                           Row{"interfaceversion", "2"}, Row{"supportedactions", "[]"}, Row{"absolute", "false"},
                           Row{"maxstep", "5000"}, Row{"maxincrement", "5000"}, Row{"tempcomp", "false"},
                           Row{"tempcompavailable", "false"}, Row{"connected", "false"}}) {
        EXPECT_EQ(Get(focuser, DeviceKind::Focuser, row.member), row.answer) << row.member;
    }
    Answer(focuser, DeviceKind::Focuser, Verb::Put, "connected", {true});
    EXPECT_EQ(Get(focuser, DeviceKind::Focuser, "connected"), "true");
    focuser.Disconnect();
    EXPECT_EQ(Get(focuser, DeviceKind::Focuser, "connected"), "false");
}

TEST_F(ServedDevicesTest, AFocuserAlone_MovesItsMotorForAClient_UntilItIsHalted) {
    ClientObject focuser = Make(DeviceKind::Focuser);
    const auto put = [&](std::string_view member, std::vector<Argument> arguments) {
        return Answer(focuser, DeviceKind::Focuser, Verb::Put, member, std::move(arguments));
    };
    EXPECT_EQ(put("move", {std::int32_t{100}}), "") << "nothing happens before the connect";
    EXPECT_EQ(Get(focuser, DeviceKind::Focuser, "ismoving"), "false");
    EXPECT_EQ(put("connected", {true}), "");
    EXPECT_EQ(put("move", {std::int32_t{5001}}),
              "error 1026 No mount on IP Address or COM port, or initialization failed.");
    EXPECT_EQ(put("move", {std::int32_t{4000}}), "");
    EXPECT_EQ(Get(focuser, DeviceKind::Focuser, "ismoving"), "true");
    machine.AdvanceTime(1'000);
    EXPECT_EQ(put("halt", {}), "");
    EXPECT_EQ(Get(focuser, DeviceKind::Focuser, "ismoving"), "false");
    EXPECT_EQ(mount->Picture().focuserRuns, 0);
    EXPECT_NEAR(mount->Picture().focuserPosition, 1000.0, 200.0);
    EXPECT_EQ(put("move", {std::int32_t{-50}}), "");
    machine.AdvanceTime(5'000);
    EXPECT_EQ(Get(focuser, DeviceKind::Focuser, "ismoving"), "false");
    EXPECT_NEAR(mount->Picture().focuserPosition, 950.0, 400.0);
    EXPECT_EQ(put("tempcomp", {true}), "error 1024 Property TempComp is not implemented in this driver.");
    EXPECT_EQ(Get(focuser, DeviceKind::Focuser, "position"),
              "error 1024 Property Position is not implemented in this driver.");
    EXPECT_EQ(Get(focuser, DeviceKind::Focuser, "stepsize"),
              "error 1024 Property StepSize  is not implemented in this driver.");
    EXPECT_EQ(Get(focuser, DeviceKind::Focuser, "temperature"),
              "error 1024 Property Temperature is not implemented in this driver.");
    focuser.Device().DoesNotBegin("Move");
    EXPECT_TRUE(LoggedAs("FOCUSER", 1, "Move() does not begin: it was stopped before it could"));
}

/// 1024 is "not implemented". `MoveAxis` of axis 2 is refused with it too; the other axes run.
TEST_F(ServedDevicesTest, EveryMemberOfAConnectedDevice_IsImplemented_ButForTheNamedOnes) {
    using Names = std::set<std::string>;
    EXPECT_EQ(Refusals(DeviceKind::Telescope), (Names{"PUT Action 1036", "PUT FindHome 1024", "PUT SideOfPier 1024"}));
    EXPECT_EQ(Refusals(DeviceKind::Focuser),
              (Names{"PUT Action 1036", "PUT CommandBlind is not offered", "PUT CommandBool is not offered",
                     "PUT CommandString is not offered", "GET Position 1024", "GET StepSize 1024", "PUT TempComp 1024",
                     "GET Temperature 1024"}));
}

TEST_F(ServedDevicesTest, TheProcessEndsWithTheLastObjectOnly_AlsoWhenNoneWasEverConnected) {
    auto first = std::make_unique<ClientObject>(Make(DeviceKind::Telescope));
    auto second = std::make_unique<ClientObject>(Make(DeviceKind::Telescope));
    auto focuser = std::make_unique<ClientObject>(Make(DeviceKind::Focuser));
    first.reset();
    focuser.reset();
    EXPECT_EQ(machine.processes.ends, 0);
    second.reset();
    EXPECT_GE(machine.processes.ends, 1);
}

}  // namespace
}  // namespace kestrane::alpaca

#include "alpaca/client_objects.h"

#include <gtest/gtest.h>
#include <optional>
#include <stdexcept>

#include "fake_devices.h"
#include "kernel/base/errors.h"
#include "support/virtual_clock.h"
#include "support/virtual_pump.h"

namespace kestrane::alpaca {
namespace {

using Diary = std::vector<std::string>;

constexpr std::int32_t kIdle = 10'000;
constexpr std::int32_t kConnected = 3'600'000;

const ClientKey kAnna{{"10.0.0.1", 1}, DeviceKind::Telescope};
const ClientKey kAnnasFocuser{{"10.0.0.1", 1}, DeviceKind::Focuser};
const ClientKey kBert{{"10.0.0.1", 2}, DeviceKind::Telescope};
const ClientKey kCleo{{"10.0.0.2", 1}, DeviceKind::Telescope};

/// A gate that shuts when nothing is said against it, and counts.
struct FakeGate {
    bool quiet = true;
    bool shut = false;
    int asked = 0;
    int opened = 0;
};

class ClientObjectsTest : public testing::TestWithParam<Tick> {
protected:
    ClientObjectsTest() : clock(GetParam()), pump(clock), devices(world) { Begin({kIdle, kConnected}); }

    void Begin(LeaseTimes leases) {
        RequestGate requestGate;
        requestGate.close = [this](std::function<void(bool)> done) {
            ++gate.asked;
            gate.shut = gate.quiet;
            pump.Post(CallKind::Brief, [done = std::move(done), quiet = gate.quiet] { done(quiet); });
        };
        requestGate.open = [this] {
            ++gate.opened;
            gate.shut = false;
        };
        objects.emplace(ClientObjectsNeeds{pump, clock, devices, std::move(requestGate), [this] { ++ended; }, leases,
                                           [this](std::int32_t withoutClientsMs) {
                                               withoutClients = withoutClientsMs;
                                               return mayEnd;
                                           }});
    }

    void Call(const ClientKey& key, http::ConnectionId connection, const std::function<void(ClientObject&)>& call = {},
              CallKind kind = CallKind::Brief) {
        pump.Run(kind, [&] {
            objects->Call(key, connection, "Slewing", [&](ClientObject& object) -> std::string {
                if (call) {
                    call(object);
                }
                return {};
            });
        });
    }

    void Connect(const ClientKey& key, http::ConnectionId connection) {
        Call(
            key, connection, [](ClientObject& object) { object.Connected(true); }, CallKind::WaitsLong);
    }

    VirtualClock clock;
    VirtualPump pump;
    FakeWorld world;
    FakeDevices devices;
    FakeGate gate;
    int ended = 0;
    bool mayEnd = true;
    std::int32_t withoutClients = -1;  ///< what was asked last with that
    std::optional<ClientObjects> objects;
};

INSTANTIATE_TEST_SUITE_P(FromEachFirstTick, ClientObjectsTest,
                         testing::Values(VirtualClock::kZero, VirtualClock::kBeforeSignChange,
                                         VirtualClock::kBeforeWrap));

TEST_P(ClientObjectsTest, AreListed_WithWhatTheyDo) {
    const ListedClientName anna{kAnna.client.address, kAnna.client.clientId, "Telescope"};
    const DateTime first = clock.GetLocalTime();
    Call(kAnna, 1, [&](ClientObject&) {
        const std::vector<ListedClient> now = objects->Clients();
        ASSERT_EQ(now.size(), 1U);
        EXPECT_EQ(now[0].name, anna);
        EXPECT_EQ(now[0].runs, "Slewing");
        EXPECT_EQ(now[0].lastRequest, first);
    });
    EXPECT_EQ(objects->Clients()[0].runs, "");
    EXPECT_FALSE(objects->Clients()[0].connectedSince);
    pump.AdvanceTime(5'000);
    const DateTime connected = clock.GetLocalTime();
    Connect(kAnna, 1);
    pump.AdvanceTime(5'000);
    Connect(kAnna, 1);
    EXPECT_EQ(objects->Clients()[0].connectedSince, connected) << "not since the last write";
    EXPECT_EQ(objects->Clients()[0].lastRequest, clock.GetLocalTime());
    Call(kAnna, 1, [](ClientObject& object) { object.Disconnect(); });
    EXPECT_FALSE(objects->Clients()[0].connectedSince);
}

TEST_P(ClientObjectsTest, Release_DisconnectsAClient_AndItsNextRequestBeginsAnew) {
    Connect(kAnna, 1);
    Connect(kBert, 2);
    objects->ReleaseClient({kAnna.client.address, kAnna.client.clientId, "Telescope"});
    pump.PumpMessages();
    EXPECT_EQ(objects->Count(), 1U);
    EXPECT_FALSE(objects->HasObject(kAnna));
    Call(kAnna, 1, [](ClientObject& object) { EXPECT_FALSE(object.IsConnected()); });
    EXPECT_EQ(world.diary.Count("+telescope"), 3);
}

TEST_P(ClientObjectsTest, Release_OfTheLastClient_LeavesItsObjectToItsLease) {
    Connect(kAnna, 1);
    objects->ReleaseClient({kAnna.client.address, kAnna.client.clientId, "Telescope"});
    pump.PumpMessages();
    ASSERT_EQ(objects->Count(), 1U);
    EXPECT_FALSE(objects->Clients()[0].connectedSince);
    EXPECT_EQ(ended, 0);
}

TEST_P(ClientObjectsTest, Release_OfAClientInACall_DisconnectsItAtOnce_AndLetsTheCallEnd) {
    Connect(kBert, 2);
    Connect(kAnna, 1);
    Call(
        kAnna, 1,
        [&](ClientObject& object) {
            objects->ReleaseClient({kAnna.client.address, kAnna.client.clientId, "Telescope"});
            pump.PumpMessages();
            EXPECT_FALSE(object.IsConnected());
            EXPECT_TRUE(objects->HasObject(kAnna));
        },
        CallKind::WaitsLong);
    EXPECT_TRUE(objects->HasObject(kAnna));
}

TEST_P(ClientObjectsTest, Release_OfAClientThatHasGone_IsPassedOver) {
    Connect(kAnna, 1);
    objects->ReleaseClient({"192.0.2.99", 4, "Focuser"});
    pump.PumpMessages();
    EXPECT_EQ(objects->Count(), 1U);
    EXPECT_TRUE(objects->Clients()[0].connectedSince);
}

TEST_P(ClientObjectsTest, AreMadeByTheFirstRequestOfEachAddressIdAndDevice) {
    for (const ClientKey& key : {kAnna, kAnna, kAnnasFocuser, kBert, kCleo, kBert}) {
        Call(key, 1);
    }
    EXPECT_EQ(objects->Count(), 4U);
    EXPECT_EQ(world.diary.Count("+telescope"), 3);
    EXPECT_EQ(world.diary.Count("+focuser"), 1);
}

TEST_P(ClientObjectsTest, NotConnected_AreReleasedTheIdleLeaseAfterTheLastRequest) {
    Call(kAnna, 1);
    Call(kBert, 1);
    pump.AdvanceTime(kIdle - 1);
    Call(kBert, 1);
    EXPECT_EQ(objects->Count(), 2U);
    pump.AdvanceTime(1);
    EXPECT_EQ(world.diary.Entries(), (Diary{"+telescope", "+telescope", "-telescope"}));
    EXPECT_EQ(objects->Count(), 1U);
    EXPECT_EQ(ended, 0);
}

TEST_P(ClientObjectsTest, ProcessThatStillOwesAStop_GoesOn_AlsoWithoutAClient) {
    for (const bool withAnObject : {false, true}) {
        Begin({kIdle, kConnected});
        ended = 0;
        mayEnd = false;
        if (withAnObject) {
            Call(kAnna, 1);
        }
        pump.AdvanceTime(10 * kIdle);
        EXPECT_EQ(ended, 0);
        EXPECT_EQ(objects->Count(), withAnObject ? 1U : 0U);
        mayEnd = true;
        pump.AdvanceTime(1'100);
        EXPECT_EQ(ended, 1);
    }
}

TEST_P(ClientObjectsTest, ProcessThatMayNotEnd_IsAskedHowLongItHadNoClient_FromItsLastOneOn) {
    for (const bool withAnObject : {false, true}) {
        Begin({kIdle, kConnected});
        mayEnd = false;
        if (withAnObject) {
            Call(kAnna, 1);
        }
        pump.AdvanceTime(kIdle + 5'000);
        EXPECT_EQ(withoutClients, 5'000);
        Call(kAnna, 1);
        withoutClients = -1;
        pump.AdvanceTime(kIdle - 1);
        EXPECT_EQ(withoutClients, -1) << "a client is there";
        pump.AdvanceTime(60'001);
        EXPECT_GE(withoutClients, 59'000);
        EXPECT_LE(withoutClients, 60'000);
        mayEnd = true;
        pump.AdvanceTime(1'100);
    }
}

TEST_P(ClientObjectsTest, NotConnected_AreReleasedThoughTheirTcpConnectionIsOpen) {
    objects->ConnectionOpened(1);
    Call(kAnna, 1);
    pump.AdvanceTime(kIdle);
    EXPECT_EQ(objects->Count(), 0U);
    EXPECT_EQ(ended, 1);
}

TEST_P(ClientObjectsTest, Connected_LiveWhileATcpConnectionOfTheClientIsOpen) {
    objects->ConnectionOpened(1);
    Connect(kAnna, 1);
    pump.AdvanceTime(std::int64_t{7} * kConnected);
    EXPECT_EQ(objects->Count(), 1U);
    EXPECT_EQ(gate.asked, 0);
}

TEST_P(ClientObjectsTest, Connected_AreReleasedTheLongLeaseAfterTheLastConnectionClosed) {
    objects->ConnectionOpened(1);
    objects->ConnectionOpened(2);
    Connect(kAnna, 1);
    Call(kAnna, 2);
    objects->ConnectionClosed(1);
    pump.AdvanceTime(2 * kConnected);
    objects->ConnectionClosed(2);
    pump.AdvanceTime(kConnected - 1);
    EXPECT_EQ(objects->Count(), 1U);
    pump.AdvanceTime(1);
    EXPECT_EQ(world.diary.Entries(), (Diary{"+telescope", "telescope true", "telescope false", "-telescope"}));
    EXPECT_EQ(ended, 1);
}

TEST_P(ClientObjectsTest, MotionOfAClientWithoutAConnection_IsEndedAMinuteAfterItsLastSign) {
    objects->ConnectionOpened(1);
    Connect(kAnna, 1);
    Call(kAnna, 1, [&](ClientObject&) { world.movesOn = true; });
    pump.AdvanceTime(600'000);
    EXPECT_EQ(world.diary.Count("telescope stops"), 0) << "its connection is open";
    objects->ConnectionClosed(1);
    pump.AdvanceTime(50'000);
    Call(kAnna, 2);  // over a connection that has closed again
    pump.AdvanceTime(59'900);
    EXPECT_EQ(world.diary.Count("telescope stops"), 0);
    pump.AdvanceTime(200);
    EXPECT_EQ(world.diary.Count("telescope stops"), 1);
    EXPECT_EQ(objects->Count(), 1U) << "the client may come back to its object";
    pump.AdvanceTime(200'000);
    EXPECT_EQ(world.diary.Count("telescope stops"), 1);
}

TEST_P(ClientObjectsTest, MotionThatCouldNotBeEnded_IsEndedAgainEachTenSeconds_UntilItIs) {
    Connect(kAnna, 1);
    Call(kAnna, 1, [&](ClientObject&) { world.movesOn = world.stopsFail = true; });
    pump.AdvanceTime(60'100);
    EXPECT_EQ(world.diary.Count("telescope stops"), 1);
    pump.AdvanceTime(9'800);
    EXPECT_EQ(world.diary.Count("telescope stops"), 1);
    pump.AdvanceTime(10'300);
    EXPECT_EQ(world.diary.Count("telescope stops"), 3);
    world.stopsFail = false;
    pump.AdvanceTime(10'000);
    EXPECT_EQ(world.diary.Count("telescope stops"), 4);
    pump.AdvanceTime(100'000);
    EXPECT_EQ(world.diary.Count("telescope stops"), 4);
    Call(kAnna, 1, [&](ClientObject&) { world.movesOn = true; });
    pump.AdvanceTime(59'900);
    EXPECT_EQ(world.diary.Count("telescope stops"), 4) << "a later motion has its full minute";
    pump.AdvanceTime(200);
    EXPECT_EQ(world.diary.Count("telescope stops"), 5);
}

TEST_P(ClientObjectsTest, NotConnected_WithAMotion_AreReleasedOnceItHasEnded) {
    objects->ConnectionOpened(1);
    Call(kBert, 1);
    for (const bool heard : {true, false}) {
        SCOPED_TRACE(heard);
        const int stops = world.diary.Count("telescope stops");
        const int released = world.diary.Count("-telescope");
        Call(kAnna, 1, [&](ClientObject&) {
            world.movesOn = true;
            world.stopsFail = !heard;
        });
        Connect(kBert, 1);
        pump.AdvanceTime(kIdle - 1);
        EXPECT_EQ(world.diary.Count("telescope stops"), stops);
        pump.AdvanceTime(1);
        EXPECT_EQ(world.diary.Count("telescope stops"), stops + 1);
        EXPECT_EQ(world.diary.Count("-telescope"), released + (heard ? 1 : 0));
        pump.AdvanceTime(30'000);
        EXPECT_EQ(world.diary.Count("telescope stops"), stops + (heard ? 1 : 4)) << "again each ten seconds";
        EXPECT_EQ(world.diary.Count("-telescope"), released + (heard ? 1 : 0));
        world.stopsFail = false;
        pump.AdvanceTime(10'000);
        EXPECT_EQ(world.diary.Count("-telescope"), released + 1);
    }
}

TEST_P(ClientObjectsTest, NotConnected_WithAMotionThatNeverEnds_AreReleasedAfterTheLongLease) {
    Call(kAnna, 1, [&](ClientObject&) { world.movesOn = world.stopsFail = true; });
    pump.AdvanceTime(kConnected - 1);
    EXPECT_EQ(objects->Count(), 1U);
    EXPECT_EQ(ended, 0);
    pump.AdvanceTime(kIdle);
    EXPECT_EQ(ended, 1);
}

TEST_P(ClientObjectsTest, Connected_ANewConnectionOfTheClientEndsTheLease) {
    objects->ConnectionOpened(1);
    Connect(kAnna, 1);
    objects->ConnectionClosed(1);
    pump.AdvanceTime(kConnected - 1);
    objects->ConnectionOpened(2);
    Call(kAnna, 2);
    pump.AdvanceTime(kConnected * 3);
    EXPECT_EQ(objects->Count(), 1U);
}

TEST_P(ClientObjectsTest, Connected_AConnectionOfAnotherClientKeepsNobodyAlive) {
    objects->ConnectionOpened(1);
    objects->ConnectionOpened(2);
    Connect(kAnna, 1);
    Connect(kBert, 2);
    objects->ConnectionClosed(1);
    pump.AdvanceTime(kConnected);
    EXPECT_EQ(objects->Count(), 1U);
    EXPECT_EQ(world.diary.Count("telescope false"), 1);
    EXPECT_EQ(ended, 0);
}

TEST_P(ClientObjectsTest, Connected_AnyConnectionOfTheClientKeepsItsOtherDeviceToo) {
    objects->ConnectionOpened(1);
    objects->ConnectionOpened(2);
    Connect(kAnna, 1);
    Connect(kAnnasFocuser, 2);
    objects->ConnectionClosed(1);
    pump.AdvanceTime(kConnected * 2);
    EXPECT_EQ(objects->Count(), 2U);
}

TEST_P(ClientObjectsTest, Connected_WithoutAnyOpenConnectionTheLongLeaseRunsFromTheLastRequest) {
    Connect(kAnna, 1);  // the connection had closed before the call ran
    pump.AdvanceTime(kConnected - 1);
    Call(kAnna, 2);
    pump.AdvanceTime(kConnected - 1);
    EXPECT_EQ(objects->Count(), 1U);
    pump.AdvanceTime(1);
    EXPECT_EQ(objects->Count(), 0U);
}

TEST_P(ClientObjectsTest, AreDisconnectedAsOftenAsTheyWereConnected) {
    Connect(kAnna, 1);
    Connect(kAnna, 1);
    Connect(kAnna, 1);
    Call(kAnna, 1, [](ClientObject& object) { object.Connected(false); });
    pump.AdvanceTime(kConnected);
    EXPECT_EQ(world.diary.Count("telescope true"), 3);
    EXPECT_EQ(world.diary.Count("telescope false"), 3);
}

TEST_P(ClientObjectsTest, DisconnectedMoreOftenThanConnected_AreNotConnectedBelowZero) {
    Call(kAnna, 1, [](ClientObject& object) {
        object.Connected(false);
        object.Connected(false);
    });
    Connect(kAnna, 1);
    pump.AdvanceTime(kIdle);
    EXPECT_EQ(objects->Count(), 1U);
    pump.AdvanceTime(kConnected);
    EXPECT_EQ(world.diary.Count("telescope false"), 3);
}

TEST_P(ClientObjectsTest, AFailedConnectDoesNotCount) {
    world.onConnected = [](bool) { throw DriverError(ErrorNumber::NoMount); };
    Call(kAnna, 1, [](ClientObject& object) { EXPECT_THROW(object.Connected(true), DriverError); });
    world.onConnected = nullptr;
    pump.AdvanceTime(kIdle);
    EXPECT_EQ(world.diary.Entries(), (Diary{"+telescope", "-telescope"}));
}

TEST_P(ClientObjectsTest, AFailingDisconnectKeepsNoObjectAlive) {
    Connect(kAnna, 1);
    world.onConnected = [](bool) { throw DriverError(ErrorNumber::LostCommunications); };
    pump.AdvanceTime(kConnected);
    EXPECT_EQ(world.diary.Count("-telescope"), 1);
    EXPECT_EQ(ended, 1);
}

TEST_P(ClientObjectsTest, ARunningCallKeepsItsObject_AndTheLeaseRunsFromItsEnd) {
    Call(kBert, 1);
    Call(
        kAnna, 1,
        [this](ClientObject&) {
            for (int second = 0; second < 60; ++second) {
                clock.Sleep(1000);
                pump.PumpMessages();
            }
            EXPECT_EQ(objects->Count(), 1U);
        },
        CallKind::WaitsLong);
    pump.AdvanceTime(kIdle - 1);
    EXPECT_EQ(objects->Count(), 1U);
    pump.AdvanceTime(1);
    EXPECT_EQ(objects->Count(), 0U);
    EXPECT_EQ(ended, 1);
}

TEST_P(ClientObjectsTest, AReleaseDoesNotStartInsideABriefCall) {
    Call(kBert, 1);
    Call(kAnna, 1, [this](ClientObject&) {
        clock.Sleep(kIdle * 2);
        pump.PumpMessages();
        EXPECT_EQ(objects->Count(), 2U);
    });
    pump.AdvanceTime(1);
    EXPECT_EQ(objects->Count(), 1U);
}

TEST_P(ClientObjectsTest, TheLastRelease_HappensBehindTheShutGateAndEndsTheProcess) {
    Call(kAnna, 1);
    Call(kBert, 1);
    pump.AdvanceTime(kIdle);
    EXPECT_EQ(gate.asked, 1);
    EXPECT_TRUE(gate.shut);
    EXPECT_EQ(objects->Count(), 0U);
    EXPECT_EQ(ended, 1);
}

TEST_P(ClientObjectsTest, TheLastRelease_WaitsWhileTheGateCannotBeShut) {
    gate.quiet = false;
    Call(kAnna, 1);
    pump.AdvanceTime(kIdle + 10 * ClientObjects::kGateRetry);
    EXPECT_EQ(objects->Count(), 1U);
    EXPECT_EQ(ended, 0);
    EXPECT_GE(gate.asked, 10);
    gate.quiet = true;
    pump.AdvanceTime(ClientObjects::kGateRetry);
    EXPECT_EQ(ended, 1);
}

TEST_P(ClientObjectsTest, TheLastRelease_IsCalledOffWhenARequestCameBeforeTheGateShut) {
    Call(kAnna, 1);
    // The request runs after the gate was asked and before it has said that it is shut.
    pump.PostAt(clock.Elapsed() + kIdle, CallKind::Brief, [this] {
        pump.Post(CallKind::WaitsLong,
                  [this] { objects->Call(kAnna, 1, "", [](ClientObject&) { return std::string(); }); });
    });
    pump.AdvanceTime(kIdle + 1);
    EXPECT_EQ(objects->Count(), 1U);
    EXPECT_EQ(ended, 0);
    EXPECT_FALSE(gate.shut);
    pump.AdvanceTime(kIdle);
    EXPECT_EQ(ended, 1);
}

TEST_P(ClientObjectsTest, AProcessWithoutObjectsEndsAfterTheIdleLease) {
    pump.AdvanceTime(kIdle - 1);
    EXPECT_EQ(ended, 0);
    pump.AdvanceTime(1);
    EXPECT_EQ(ended, 1);
    EXPECT_TRUE(gate.shut);
}

TEST_P(ClientObjectsTest, RequestsWithoutAnObjectKeepAProcessWithoutObjectsAlive) {
    pump.AdvanceTime(kIdle - 1);
    objects->NoteActivity();
    pump.AdvanceTime(kIdle - 1);
    EXPECT_EQ(ended, 0);
    pump.AdvanceTime(1);
    EXPECT_EQ(ended, 1);
}

TEST_P(ClientObjectsTest, ARequestDuringAReleaseThatPumps_GetsANewObject) {
    Connect(kAnna, 1);
    Call(kBert, 1);
    Connect(kBert, 1);
    world.onConnected = [this](bool connect) {
        if (!connect && objects->Count() == 1) {
            world.onConnected = nullptr;
            pump.Post(CallKind::Brief, [this] {
                objects->Call(kAnna, 1, "", [](ClientObject& object) {
                    EXPECT_FALSE(object.IsConnected());
                    return std::string();
                });
            });
            pump.PumpMessages();
        }
    };
    pump.AdvanceTime(kConnected);
    EXPECT_EQ(world.diary.Count("+telescope"), 3);
    EXPECT_EQ(world.diary.Count("-telescope"), 2);
    EXPECT_EQ(ended, 0);
    pump.AdvanceTime(kIdle);
    EXPECT_EQ(world.diary.Count("-telescope"), 3);
    EXPECT_EQ(ended, 1);
}

TEST_P(ClientObjectsTest, AreKnownAsBeingCreatedWhileTheirCreationPumps) {
    world.onCreate = [this](DeviceKind) {
        EXPECT_TRUE(objects->BeingCreated(kAnna));
        EXPECT_FALSE(objects->BeingCreated(kBert));
    };
    Call(kAnna, 1);
    EXPECT_FALSE(objects->BeingCreated(kAnna));
}

TEST_P(ClientObjectsTest, AFailedCreationLeavesNothingBehind) {
    world.onCreate = [](DeviceKind) { throw std::runtime_error("no memory"); };
    EXPECT_THROW(Call(kAnna, 1), std::runtime_error);
    EXPECT_EQ(objects->Count(), 0U);
    world.onCreate = nullptr;
    Call(kAnna, 1);
    EXPECT_EQ(objects->Count(), 1U);
}

TEST_P(ClientObjectsTest, AtTheirLimit_TheOneThatIsNotConnectedAndSilentLongestMakesRoom) {
    const auto key = [](std::uint32_t id) { return ClientKey{{"10.0.0.1", id}, DeviceKind::Telescope}; };
    for (std::uint32_t id = 0; id < ClientObjects::kMostObjects; ++id) {
        Call(key(id), 1);
        pump.AdvanceTime(1);
    }
    Connect(key(0), 1);
    Call(key(1), 1);
    Call(kCleo, 1);
    EXPECT_EQ(objects->Count(), ClientObjects::kMostObjects);
    const auto made = world.diary.Count("+telescope");
    Call(key(0), 1);
    Call(key(1), 1);
    EXPECT_EQ(world.diary.Count("+telescope"), made);
    Call(key(2), 1);  // this one had to go
    EXPECT_EQ(world.diary.Count("+telescope"), made + 1);
}

TEST_P(ClientObjectsTest, AtTheirLimit_OneWhoseMotionGoesOnMakesNoRoom) {
    objects->ConnectionOpened(1);
    for (std::uint32_t id = 0; id + 1 < ClientObjects::kMostObjects; ++id) {
        Connect({{"10.0.0.3", id}, DeviceKind::Telescope}, 1);
    }
    Call(kAnna, 1, [&](ClientObject&) { world.movesOn = true; });
    EXPECT_THROW(Call(kCleo, 1), std::runtime_error);
    EXPECT_EQ(world.diary.Count("-telescope"), 0);
    world.movesOn = false;
    Call(kCleo, 1);
    EXPECT_EQ(world.diary.Count("-telescope"), 1);
}

TEST_P(ClientObjectsTest, AtTheirLimitWithAllConnected_TakeInWhoWantsToStopOnly) {
    for (std::uint32_t id = 0; id < ClientObjects::kMostObjects; ++id) {
        Connect({{"10.0.0.1", id}, DeviceKind::Telescope}, 1);
    }
    EXPECT_THROW(Call(kCleo, 1), std::runtime_error);
    bool stopped = false;
    objects->Call(
        kCleo, 1, "",
        [&](ClientObject&) {
            stopped = true;
            return std::string();
        },
        CallKind::Stop);
    EXPECT_TRUE(stopped);
}

TEST_P(ClientObjectsTest, AtTheirLimit_AStopThatGetsInWhileAMotionIsEnded_LeavesTheMovingObjectAlone) {
    Begin({100'000, kConnected});
    objects->ConnectionOpened(1);
    for (std::uint32_t id = 0; id + 1 < ClientObjects::kMostObjects; ++id) {
        Connect({{"10.0.0.3", id}, DeviceKind::Telescope}, 1);
    }
    Call(kAnna, 2);  // not connected, over a connection that has closed
    world.movesOn = true;
    objects->ConnectionClosed(2);
    int stops = 0;
    world.onEndMotions = [&] {
        objects->Call(
            kBert, 1, "",
            [&](ClientObject&) {
                ++stops;
                return std::string();
            },
            CallKind::Stop);
        EXPECT_EQ(world.diary.Count("-telescope"), 0);
    };
    pump.AdvanceTime(99'000);
    EXPECT_EQ(stops, 1);
    EXPECT_EQ(world.diary.Count("-telescope"), 0);
}

TEST(LeaseTimes, ComeFromTheEnvironmentInSecondsAndKeepTheirDefaultsOtherwise) {
    struct Row {
        const char* text;
        std::int32_t idle;
    };
    for (const Row& row :
         {Row{nullptr, 10'000}, Row{"", 10'000}, Row{"2", 2000}, Row{"0.25", 250}, Row{"0", 0}, Row{"-1", 10'000},
          Row{"soon", 10'000}, Row{"2000000", 2'000'000'000}, Row{"2000001", 10'000}, Row{"1,5", 10'000}}) {
        EXPECT_EQ(LeaseTimesFrom(row.text, nullptr).idle, row.idle) << (row.text == nullptr ? "unset" : row.text);
        EXPECT_EQ(LeaseTimesFrom(row.text, nullptr).connected, 3'600'000);
    }
    EXPECT_EQ(LeaseTimesFrom(nullptr, "1.5").connected, 1500);
}

}  // namespace
}  // namespace kestrane::alpaca

#include "simulator/companion.h"

#include "mount_fixture.h"
#include "support/serve_simulator.h"

namespace kestrane {
namespace {

constexpr std::int32_t kRestWaitsMs = 500;

class SimulatedCompanionTest : public MountTest {
protected:
    SimulatedCompanion& Companion() {
        if (!companion_) {
            companion_ = std::make_unique<SimulatedCompanion>(clock, Mount());
        }
        return *companion_;
    }
    /// What the port has said within a time after these bytes.
    std::string Port(std::string_view bytes, std::int32_t withinMs = 200) {
        Companion().Write(bytes);
        return Later(withinMs);
    }
    std::string Later(std::int32_t milliseconds) {
        const std::int64_t end = clock.Elapsed() + milliseconds;
        std::string said = Companion().Read(1000);
        for (auto next = Companion().NextByteIn(); next && clock.Elapsed() + *next <= end;
             next = Companion().NextByteIn()) {
            clock.Sleep(*next);
            said += Companion().Read(1000);
        }
        clock.MoveTo(end);
        return said + Companion().Read(1000);
    }
    /// The result of a wrapped command.
    std::string Wrapped(const std::string& command) {
        ++number_;
        const std::string head = "QUAY," + command.substr(0, command.find(',')) + "," + std::to_string(number_) + ",";
        const std::string said = Port(":QUAY," + std::to_string(number_) + "," + command + "#");
        if (!said.starts_with(head) || !said.ends_with('#')) {
            ADD_FAILURE() << said;
            return said;
        }
        return said.substr(head.size(), said.size() - head.size() - 1);
    }
    void UnparkedMount() { options.parkedAtPowerOn = false; }
    /// Until the mount has come to its end, and one look of the companion after it.
    void WaitForPark() {
        for (int seconds = 0; Companion().Parking() && seconds < 300; ++seconds) {
            clock.Sleep(1000);
            Companion().Advance();
        }
        EXPECT_FALSE(Companion().Parking());
    }
    /// While somebody looks often.
    void Watch(std::int32_t milliseconds) {
        for (std::int32_t passed = 0; passed < milliseconds; passed += 50) {
            clock.Sleep(50);
            Companion().Advance();
        }
    }
    int Told(const std::string& command) {
        const auto& commands = Mount().Commands();
        return static_cast<int>(std::count(commands.begin(), commands.end(), command));
    }
    std::string Rest(const std::string& command) {
        const WebAnswer answer =
            Companion().Post("/api/mount/sendcmd", R"({  "Command": ")" + command + "\"}", kRestWaitsMs);
        EXPECT_EQ(answer.outcome, WebAnswer::Outcome::Reply);
        EXPECT_EQ(answer.status, 200U);
        return answer.body;
    }
    static std::string Body(const std::string& response) {
        return "{\"ResponseString\": \"" + response + R"(", "Result": "OK", "Success": true})";
    }

private:
    int number_ = 0;
    std::unique_ptr<SimulatedCompanion> companion_;
};

TEST_F(SimulatedCompanionTest, PlainCommands_GoThroughAndBack) {
    EXPECT_EQ(Port(":V#"), "VKC4-P02-08#");
    EXPECT_EQ(Port(":Sr01:02:03#"), "1");
    EXPECT_EQ(Port("#:Q#"), "");
    EXPECT_EQ(Mount().Commands(), (std::vector<std::string>{"V", "Sr01:02:03", "#", "Q"}));
}

TEST_F(SimulatedCompanionTest, PlainReply_ComesByteByByteAsTheMountSendsIt) {
    Companion().Write(":V#");
    EXPECT_EQ(Companion().NextByteIn(), 5);
    clock.Sleep(5);
    EXPECT_EQ(Companion().NextByteIn(), 0);
    EXPECT_EQ(Companion().Read(10), "V");
}

TEST_F(SimulatedCompanionTest, QuestionForTheCompanion_IsAnswered) {
    EXPECT_EQ(Port(":QUAY#"), "1");
    EXPECT_EQ(Port(":QUAY,9,QUAY#"), "QUAY,QUAY,9,1#");
    EXPECT_TRUE(Mount().Commands().empty());
}

TEST_F(SimulatedCompanionTest, WrappedCommands_GetTheirNumberAndResult) {
    EXPECT_EQ(Port(":QUAY,7,V#"), "QUAY,V,7,VKC4-P02-08#");
    EXPECT_EQ(Port(":QUAY,8,G\x05##"), "QUAY,G\x05,8,0#");
    EXPECT_EQ(Port(":QUAY,9,Q#"), "QUAY,Q,9,#");
    EXPECT_EQ(Port(":QUAY,10,#"), "QUAY,,10,#");
    EXPECT_EQ(Port(":QUAY,11,Sr01:02:03#"), "QUAY,Sr01:02:03,11,1#");
    EXPECT_EQ(Companion().Commands().front(), "QUAY,7,V");
    EXPECT_EQ(Mount().Commands().at(2), "#");
}

TEST_F(SimulatedCompanionTest, CommandsInARow_AreAnsweredInTurn) {
    EXPECT_EQ(Port(":V#:QUAY,7,pS#:QUAY,8,V#:pS#"), "VKC4-P02-08#QUAY,pS,7,East#QUAY,V,8,VKC4-P02-08#East#");
}

TEST_F(SimulatedCompanionTest, Stop_OvertakesAReplyThatIsLate) {
    Mount().Add(std::make_unique<AnswersLate>("V", 1000, 1));
    Companion().Write(":QUAY,7,V#:QUAY,8,pS#:Q#:Qe#");
    EXPECT_EQ(Mount().Commands(), (std::vector<std::string>{"V", "Q", "Qe"}));
    EXPECT_EQ(Later(1200), "QUAY,V,7,VKC4-P02-08#QUAY,pS,8,East#");
}

TEST_F(SimulatedCompanionTest, MountThatNeverStopsSending_IsTakenAsItIs) {
    Mount().Add(std::make_unique<NeverStopsSending>());
    Companion();
    clock.Sleep(1);
    EXPECT_FALSE(Port(":V#", 100).empty());
    Mount().ClearMisbehaviours();
    Later(100);
    Companion().Write(":QUAY,7,pS#");
    Mount().Add(std::make_unique<NeverStopsSending>());
    EXPECT_EQ(Later(1900), "");
    EXPECT_TRUE(Later(300).starts_with("QUAY,pS,7,"));
}

TEST_F(SimulatedCompanionTest, Slew_IsAGotoOfTheMount) {
    UnparkedMount();
    const double ra = std::fmod(Mount().Picture().siderealTime + 22, 24);
    EXPECT_EQ(Wrapped("*SLEW," + std::to_string(ra) + ",20.5"), "1");
    EXPECT_EQ(Told("MS"), 1);
    WaitForSlew();
    EXPECT_NEAR(Mount().Picture().rightAscension, ra, 1e-4);
    EXPECT_NEAR(Mount().Picture().declination, 20.5, 1e-3);
    EXPECT_EQ(Told("KA"), 0);
}

TEST_F(SimulatedCompanionTest, Slew_ThatTheMountRefuses_OrThatCannotBeRead_IsZero) {
    UnparkedMount();
    const double below = std::fmod(Mount().Picture().siderealTime + 12, 24);
    EXPECT_EQ(Wrapped("*SLEW," + std::to_string(below) + ",-60"), "0");
    EXPECT_EQ(Told("MS"), 1);
    for (const char* wrong : {"*SLEW,", "*SLEW,1", "*SLEW,a,b", "*SLEW,1,95", "*SLEWALTAZ,10", "*PARKALTAZ,", "*PARK,6",
                              "*PARK,", "*UNKNOWN"}) {
        EXPECT_EQ(Wrapped(wrong), "0") << wrong;
    }
    EXPECT_EQ(Told("MS"), 1);
    EXPECT_FALSE(Companion().Parking());
}

TEST_F(SimulatedCompanionTest, SlewAltAz_TakesTheAltitudeFirst) {
    UnparkedMount();
    EXPECT_EQ(Wrapped("*SLEWALTAZ,40,120.25"), "1");
    WaitForSlew();
    EXPECT_NEAR(Mount().Picture().altitude, 40, 0.01);
    EXPECT_NEAR(Mount().Picture().azimuth, 120.25, 0.01);
    EXPECT_FALSE(Mount().Picture().parked);
}

TEST_F(SimulatedCompanionTest, ParkWhereItStands_ParksAtOnce) {
    UnparkedMount();
    EXPECT_EQ(Wrapped("*PARK,0"), "1");
    EXPECT_TRUE(Mount().Picture().parked);
    EXPECT_EQ(Told("MS"), 0);
}

struct ParkRow {
    double latitude;
    std::string command;
    double altitude;
    double azimuth;
};

class CompanionPark : public SimulatedCompanionTest, public testing::WithParamInterface<ParkRow> {};

TEST_P(CompanionPark, GoesToItsPlaceAndParksThere) {
    UnparkedMount();
    options.latitude = GetParam().latitude;
    EXPECT_EQ(Wrapped(GetParam().command), "1");
    EXPECT_TRUE(Companion().Parking());
    EXPECT_FALSE(Mount().Picture().parked);
    EXPECT_EQ(Told("KA"), 0);
    WaitForSlew();
    EXPECT_NEAR(Mount().Picture().altitude, GetParam().altitude, 0.02);
    EXPECT_NEAR(std::remainder(Mount().Picture().azimuth - GetParam().azimuth, 360), 0, 0.02);
    WaitForPark();
    EXPECT_TRUE(Mount().Picture().parked);
    EXPECT_EQ(Told("KA"), 1);
}

INSTANTIATE_TEST_SUITE_P(Places, CompanionPark,
                         testing::Values(ParkRow{47, "*PARK,1", 0, 0}, ParkRow{47, "*PARK,2", 0, 90},
                                         ParkRow{47, "*PARK,3", 47, 0}, ParkRow{47, "*PARK,4", 0, 180},
                                         ParkRow{47, "*PARK,5", 0, 0}, ParkRow{-33, "*PARK,1", 0, 180},
                                         ParkRow{-33, "*PARK,2", 0, 90}, ParkRow{-33, "*PARK,3", 33, 180},
                                         ParkRow{-33, "*PARK,4", 0, 0}, ParkRow{-33, "*PARK,5", 0, 180},
                                         ParkRow{47, "*PARKALTAZ,40,160", 40, 160}));

TEST_F(SimulatedCompanionTest, Park_EndsWithAStopOrAGoto) {
    UnparkedMount();
    for (const char* end : {":Q#", ":MS#", ":QUAY,99,MS#"}) {
        EXPECT_EQ(Wrapped("*PARKALTAZ,40,160"), "1");
        EXPECT_TRUE(Companion().Parking());
        Port(end);
        EXPECT_FALSE(Companion().Parking()) << end;
        WaitForSlew();
        Companion().Advance();
        EXPECT_FALSE(Mount().Picture().parked) << end;
        EXPECT_EQ(Wrapped("*SLEWALTAZ,50,100"), "1");
        WaitForSlew();
    }
    EXPECT_EQ(Wrapped("*PARKALTAZ,40,160"), "1");
    EXPECT_EQ(Wrapped("*SLEWALTAZ,60,200"), "1");
    EXPECT_FALSE(Companion().Parking());
}

TEST_F(SimulatedCompanionTest, ASlewThatItPlans_IsAnsweredAtOnce_AndBeginsLater) {
    UnparkedMount();
    for (const std::string command : {"*SLEWALTAZ,40,120", "*PARKALTAZ,41,121", "*PARK,3"}) {
        Companion().beforeGotoMs = 2'500;
        const int gotos = Told("MS");
        EXPECT_EQ(Wrapped(command), "1");
        Watch(2'100);
        EXPECT_EQ(Told("MS"), gotos) << command;
        Watch(500);
        EXPECT_EQ(Told("MS"), gotos + 1) << command;
        EXPECT_EQ(Companion().Parking(), command.starts_with("*PARK"));
        EXPECT_EQ(Wrapped("pS"), "East") << "nothing else was said";
    }
    WaitForSlew();
    WaitForPark();
    EXPECT_TRUE(Mount().Picture().parked);
}

TEST_F(SimulatedCompanionTest, ASlewThatItPlans_EndsWithAStopOrAGoto) {
    UnparkedMount();
    Companion().beforeGotoMs = 2'500;
    for (const char* end : {":Q#", ":MS#", ":QUAY,99,MS#"}) {
        EXPECT_EQ(Wrapped("*PARKALTAZ,40,160"), "1");
        Port(end);
        const int gotos = Told("MS");
        Watch(5'000);
        EXPECT_EQ(Told("MS"), gotos) << end;
    }
    EXPECT_EQ(Wrapped("*PARKALTAZ,40,160"), "1");
    EXPECT_EQ(Wrapped("*SLEWALTAZ,60,200"), "1");
    const int gotos = Told("MS");
    Watch(5'000);
    EXPECT_EQ(Told("MS"), gotos + 1);
    EXPECT_FALSE(Companion().Parking());
}

TEST_F(SimulatedCompanionTest, ATimeSync_EndsNoPark) {
    UnparkedMount();
    EXPECT_EQ(Wrapped("*PARKALTAZ,40,160"), "1");
    EXPECT_EQ(Wrapped("*TIMESYNC,1"), "11");
    EXPECT_TRUE(Companion().Parking());
}

TEST_F(SimulatedCompanionTest, OtherCommandsOfItsOwn_AreAnswered) {
    EXPECT_EQ(Wrapped("*DISABLESAFESLEW,1"), "1");
    EXPECT_TRUE(Companion().safeSlewDisabled);
    EXPECT_EQ(Wrapped("*DISABLESAFESLEW,0"), "1");
    EXPECT_FALSE(Companion().safeSlewDisabled);
    EXPECT_EQ(Wrapped("*DOESREFRACTION"), "1,0");
    Companion().doesRefraction = true;
    EXPECT_EQ(Wrapped("*DOESREFRACTION"), "1,1");
    EXPECT_EQ(Port(":*DOESREFRACTION#"), "1,1#");
    EXPECT_TRUE(Mount().Commands().empty());
}

TEST_F(SimulatedCompanionTest, Corrections_AreSetAndRead) {
    EXPECT_EQ(Wrapped("ZZ01"), "0");
    EXPECT_EQ(Wrapped("ZZ01,1"), "1");
    EXPECT_EQ(Wrapped("ZZ02"), "0");
    EXPECT_EQ(Wrapped("ZZ02,1"), "1");
    EXPECT_EQ(Wrapped("ZZ01,0"), "0");
    EXPECT_TRUE(Companion().trackingCorrection);
    EXPECT_FALSE(Companion().pointingCorrection);
    EXPECT_EQ(Port(":ZZ00,1.5#"), "");
    EXPECT_EQ(Companion().pointingText, "1.5");
    EXPECT_TRUE(Mount().Commands().empty());
}

TEST_F(SimulatedCompanionTest, TimeSync_SetsTheMountToTheClock) {
    Port(":SL05:00:00#:SC01/02/20#:SG-03:00:00#");
    for (const char* command : {"*TIMESYNC,", "*TIMESYNC,1"}) {
        clock.Sleep(1000 - clock.GetLocalTime().millisecond);
        const DateTime now = clock.GetLocalTime();
        EXPECT_EQ(Wrapped(command), "11");
        const DateTime set = Mount().Picture().localTime;
        EXPECT_EQ(std::tie(set.year, set.month, set.day, set.hour, set.minute),
                  std::tie(now.year, now.month, now.day, now.hour, now.minute));
        EXPECT_EQ(Mount().Picture().zone, clock.TimeZoneOffset());
        Port(":SL05:00:00#");
    }
    EXPECT_EQ(Wrapped("*TIMESYNC,0"), "11");
    EXPECT_EQ(Mount().Picture().localTime.hour, 5);
    EXPECT_EQ(Companion().TimeSyncs(), 2);
    Mount().SetLineDead(true);
    EXPECT_EQ(Wrapped("*TIMESYNC,1"), "00");
}

TEST_F(SimulatedCompanionTest, Lag_GivesTheReplyBeforeWithAnEarlierNumber) {
    EXPECT_EQ(Port(":QUAY,7,V#"), "QUAY,V,7,VKC4-P02-08#");
    Companion().SetLag(1, 1);
    EXPECT_EQ(Port(":QUAY,8,pS#"), "QUAY,V,7,VKC4-P02-08#");
    EXPECT_EQ(Port(":QUAY,9,pS#"), "QUAY,pS,9,East#");
    Companion().SetLag(2, 1, true);
    EXPECT_EQ(Port(":QUAY,10,Q#"), "QUAY,pS,8,East#QUAY,Q,10,#");
    Companion().SetLag(3);
    EXPECT_EQ(Port(":QUAY,11,V#"), "QUAY,Q,8,#");
    EXPECT_EQ(Port(":QUAY,12,V#"), "QUAY,V,9,VKC4-P02-08#");
    Companion().SetLag(-1);
    EXPECT_EQ(Port(":QUAY,13,pS#"), "QUAY,pS,14,East#");
    EXPECT_EQ(Port(":pS#"), "East#") << "without a number there is no lag";
    Companion().SetLag(0);
    EXPECT_EQ(Port(":QUAY,14,pS#"), "QUAY,pS,14,East#");
}

TEST_F(SimulatedCompanionTest, Faults_LastUntilItIsBack) {
    Companion().SetFault(SimulatedCompanion::Fault::Foreign);
    EXPECT_EQ(Port(":QUAY,7,pS#"), "East#");
    Companion().SetFault(SimulatedCompanion::Fault::Silent);
    EXPECT_EQ(Port(":QUAY,8,V#:QUAY#:pS#"), "");
    EXPECT_EQ(Mount().Commands(), (std::vector<std::string>{"pS", "V", "pS"})) << "silent, it does what it is told";
    Companion().SetFault(SimulatedCompanion::Fault::Gone);
    EXPECT_EQ(Port(":QUAY,9,V#:QUAY#:V#"), "");
    EXPECT_EQ(Companion().NextByteIn(), std::nullopt);
    EXPECT_EQ(Mount().Commands().size(), 3U);
    Companion().SetFault(SimulatedCompanion::Fault::None);
    EXPECT_EQ(Port(":QUAY,10,pS#"), "QUAY,pS,10,East#");
}

TEST_F(SimulatedCompanionTest, CompanionThatEnds_ForgetsWhatItWasDoing) {
    UnparkedMount();
    EXPECT_EQ(Wrapped("*PARKALTAZ,40,160"), "1");
    Mount().Add(std::make_unique<AnswersLate>("V", 1000, 1));
    Companion().Write(":QUAY,7,V#:QUAY,8,pS#");
    Companion().SetFault(SimulatedCompanion::Fault::Gone);
    EXPECT_EQ(Later(2000), "");
    Companion().SetFault(SimulatedCompanion::Fault::None);
    WaitForSlew();
    EXPECT_EQ(Later(2000), "");
    EXPECT_FALSE(Mount().Picture().parked);
}

TEST_F(SimulatedCompanionTest, Rest_AnswersWithWhatThePortWouldSay) {
    EXPECT_EQ(Rest(":QUAY,7,V#"), Body("QUAY,V,7,VKC4-P02-08#"));
    EXPECT_EQ(Rest(":QUAY#"), Body("1"));
    EXPECT_EQ(Rest(":V#:pS#"), Body("VKC4-P02-08#East#"));
    EXPECT_EQ(Rest(":Q#"), Body(""));
    EXPECT_EQ(Rest(R"(:QUAY,8,G\u0005##)"), Body("QUAY,G\\u0005,8,0#"));
    EXPECT_EQ(Rest(R"(:QUAY,9,\\\"#)"), Body(R"(QUAY,\\\",9,#)"));
}

TEST_F(SimulatedCompanionTest, Rest_RefusesWhatIsNoCommand) {
    EXPECT_EQ(Companion().Post("/api", R"({"Command": ":V#"})", kRestWaitsMs).status, 404U);
    for (const char* body : {"", "{}", R"({"Command"})", R"({"Command": 1})", R"({"Command": ":V#)",
                             R"({"Command": "\u00"})", R"({"Command": "\u0100"})"}) {
        const WebAnswer answer = Companion().Post("/api/mount/sendcmd", body, kRestWaitsMs);
        EXPECT_EQ(answer.status, 400U) << body;
        EXPECT_NE(answer.body.find("\"Success\": false"), std::string::npos) << answer.body;
    }
    EXPECT_TRUE(Mount().Commands().empty());
}

TEST_F(SimulatedCompanionTest, Rest_ThatTakesTooLong_AnswersTheNextTime) {
    Mount().Add(std::make_unique<AnswersLate>("V", 600, 1));
    const std::int64_t before = clock.Elapsed();
    const std::string ask = R"({"Command": ":QUAY,7,V#"})";
    EXPECT_EQ(Companion().Post("/api/mount/sendcmd", ask, kRestWaitsMs).outcome, WebAnswer::Outcome::NoReply);
    EXPECT_EQ(clock.Elapsed() - before, kRestWaitsMs);
    EXPECT_EQ(Rest(":QUAY,8,pS#"), Body("QUAY,V,7,VKC4-P02-08#QUAY,pS,8,East#"));
}

TEST_F(SimulatedCompanionTest, Rest_OfACompanionThatIsSilentOrGone) {
    const std::string ask = R"({"Command": ":V#"})";
    Companion().SetFault(SimulatedCompanion::Fault::Gone);
    EXPECT_EQ(Companion().Post("/api/mount/sendcmd", ask, kRestWaitsMs).outcome, WebAnswer::Outcome::NoConnection);
    Companion().SetFault(SimulatedCompanion::Fault::Silent);
    const std::int64_t before = clock.Elapsed();
    EXPECT_EQ(Companion().Post("/api/mount/sendcmd", ask, kRestWaitsMs).outcome, WebAnswer::Outcome::NoReply);
    EXPECT_EQ(clock.Elapsed() - before, kRestWaitsMs);
    Companion().SetFault(SimulatedCompanion::Fault::None);
    EXPECT_EQ(Rest(":QUAY#"), Body("1"));
}

TEST_F(SimulatedCompanionTest, ServedOnVirtualHttpAndOnAPort) {
    VirtualHttp http(clock);
    ServeRest(http, Companion());
    HttpRequest request{.method = HttpRequest::Method::Post,
                        .host = "127.0.0.1:60001",
                        .target = "/api/mount/sendcmd",
                        .headers = {},
                        .body = R"({  "Command": ":QUAY#"})",
                        .limits = {},
                        .mostBodyBytes = 4096};
    EXPECT_EQ(http.Send(request).body, Body("1"));
    request.method = HttpRequest::Method::Get;
    EXPECT_EQ(http.Send(request).status, 405U);

    VirtualSerialPorts ports(clock);
    Companion().Write(":QUAY#");
    ports.Connect(7, std::make_unique<CompanionLine>(Companion()));
    const auto port = ports.CreatePort();
    ASSERT_EQ(port->Open(7, 9600), 0);
    EXPECT_EQ(port->Read(100, 100), "") << "what was said to nobody is lost";
    port->Write(":QUAY,7,V#");
    EXPECT_EQ(port->Read(100, 100), "QUAY,V,7,VKC4-P02-08#");
}

}  // namespace
}  // namespace kestrane

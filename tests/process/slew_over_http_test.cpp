// Slews as clients command them: answers that are held, clients that abort, hang up, or ask twice.

#include <cmath>
#include <future>
#include <vector>

#include "process/process_fixture.h"

namespace kestrane::process {
namespace {

constexpr double kArrivedDegrees = 0.05;
constexpr int kLongSlewDegrees = 25;
constexpr int kWrongTracking = 0x411;
/// What a read may take on a busy machine. Well below the time of a held slew, which it would take if it had to wait.
constexpr Seconds kReadsAtOnce{4.0};

/// One client that slews and one that looks on, and what the mount is told. No calibration, so that each "MS" and "Q"
/// on the wire is one of the slews.
class SlewOverHttp : public ProcessFixture {
protected:
    struct Place {
        double ra = 0;
        double dec = 0;
    };

    void Start(std::vector<std::string> mountOptions) {
        Seed({{"chkAutoCalibrateOnFirstSlew", "0"}});
        mountOptions.emplace_back("--verbose");
        StartMount(mountOptions);
        StartActivator();
        slewer = Client(1);
        observer = Client(2);
        Connect(slewer);
        Connect(observer);
        const Place start = Now();
        target = {start.ra, start.dec > 45 ? start.dec - kLongSlewDegrees : start.dec + kLongSlewDegrees};
    }

    static double Number(HttpClient& client, std::string_view member) {
        return Good(client.Get(member)).value.to_number<double>();
    }
    Place Now() { return {Number(observer, "rightascension"), Number(observer, "declination")}; }

    static std::string Form(const Place& place) {
        return "RightAscension=" + std::to_string(place.ra) + "&Declination=" + std::to_string(place.dec);
    }

    bool Slewing() { return Good(observer.Get("slewing")).value == true; }

    /// How often the mount was told a command since it was started.
    int Told(const std::string& command) const {
        const std::string line = mount->Errors();
        const std::string framed = " > :" + command + "#";
        int times = 0;
        for (std::size_t at = line.find(framed); at != std::string::npos; at = line.find(framed, at + 1)) {
            ++times;
        }
        return times;
    }

    std::future<Answer> SlewInBackground() {
        auto slew = std::async(std::launch::async, [this] { return slewer.Put("slewtocoordinates", Form(target)); });
        EXPECT_TRUE(WaitUntil(kPatience, [this] { return Told("MS") == 1; }));
        return slew;
    }

    /// The bytes of a slew as a client library sends it, with a transaction of its choice.
    std::string SlewRequest(int transaction) const {
        const std::string body = Form(target) + "&ClientID=1&ClientTransactionID=" + std::to_string(transaction);
        return "PUT /api/v1/telescope/0/slewtocoordinates HTTP/1.1\r\nHost: localhost\r\nContent-Type: "
               "application/x-www-form-urlencoded\r\nContent-Length: " +
               std::to_string(body.size()) + "\r\n\r\n" + body;
    }

    void ExpectAtTarget() {
        // The picture is a second old.
        EXPECT_TRUE(WaitUntil(Seconds(5),
                              [this] {
                                  const Place now = Now();
                                  return std::abs(now.dec - target.dec) < kArrivedDegrees &&
                                         std::abs(now.ra - target.ra) * 15 < kArrivedDegrees;
                              }))
            << "RA " << Now().ra << ", Dec " << Now().dec << "; wanted " << target.ra << ", " << target.dec;
    }

    HttpClient slewer{0, 0};
    HttpClient observer{0, 0};
    Place target;
};

/// A slew of some eight seconds.
class HeldSlew : public SlewOverHttp {
protected:
    void SetUp() override { Start({"--slew-speed", "3.5"}); }
};

TEST_F(HeldSlew, Answer_ComesWhenTheTelescopeIsThere_AndOthersReadMeanwhile) {
    auto slew = SlewInBackground();
    double lastDec = Now().dec;
    int moves = 0;
    while (slew.wait_for(Seconds(0.2)) == std::future_status::timeout) {
        const Answer slewing = Good(observer.Get("slewing"));
        const Answer dec = Good(observer.Get("declination"));
        EXPECT_LE(slewing.took.count(), kReadsAtOnce.count());
        EXPECT_LE(dec.took.count(), kReadsAtOnce.count());
        moves += std::abs(dec.value.to_number<double>() - lastDec) > 0.5 ? 1 : 0;
        lastDec = dec.value.to_number<double>();
    }
    const Answer answer = Good(slew.get());
    EXPECT_GT(answer.took.count(), kReadsAtOnce.count());
    EXPECT_FALSE(Slewing());
    EXPECT_GE(moves, 3) << "the reads tell where the telescope is on its way";
    ExpectAtTarget();
    EXPECT_EQ(Told("MS"), 1);
}

TEST_F(HeldSlew, AbortByAnotherClient_IsAnsweredAtOnce_AndEndsTheHeldCall) {
    auto slew = SlewInBackground();
    EXPECT_EQ(slew.wait_for(Seconds(2)), std::future_status::timeout);
    const int stops = Told("Q");
    const Answer abort = Good(observer.Put("abortslew"));
    EXPECT_LE(abort.took.count(), kPrompt.count());
    EXPECT_TRUE(WaitUntil(kPrompt, [&] { return Told("Q") >= stops + 2; }));
    ASSERT_EQ(slew.wait_for(Seconds(4)), std::future_status::ready);
    Good(slew.get());
    EXPECT_TRUE(WaitUntil(kPatience, [this] { return !Slewing(); }));
    EXPECT_EQ(Told("MS"), 1) << "nothing follows an abort";
    EXPECT_GT(std::abs(Now().dec - target.dec), 3.0);
}

TEST_F(HeldSlew, ClientThatHangsUp_ChangesNothingForTheMount) {
    {
        Socket client(port);
        ASSERT_TRUE(client.Send(SlewRequest(900)));
        ASSERT_TRUE(WaitUntil(kPatience, [this] { return Told("MS") == 1; }));
    }
    EXPECT_TRUE(Slewing());
    EXPECT_TRUE(WaitUntil(kPatience, [this] { return !Slewing(); }));
    ExpectAtTarget();
    EXPECT_EQ(Told("MS"), 1);
}

struct Repeat {
    int transaction;
    int slews;  ///< that the mount is told of
};

/// The library of many clients gives up a request after its limit, and sends it once more.
class RepeatedSlew : public HeldSlew, public testing::WithParamInterface<Repeat> {};

TEST_P(RepeatedSlew, IsTheSameSlew_WhenItHasTheSameTransaction) {
    {
        Socket client(port);
        ASSERT_TRUE(client.Send(SlewRequest(900)));
        ASSERT_TRUE(WaitUntil(kPatience, [this] { return Told("MS") == 1; }));
    }
    Socket client(port);
    ASSERT_TRUE(client.Send(SlewRequest(GetParam().transaction)));
    const std::string answer = client.Receive();
    EXPECT_TRUE(answer.starts_with("HTTP/1.1 200")) << answer;
    EXPECT_NE(answer.find("\"ErrorNumber\":0,"), std::string::npos) << answer;
    EXPECT_NE(answer.find("\"ClientTransactionID\":" + std::to_string(GetParam().transaction)), std::string::npos)
        << answer;
    EXPECT_FALSE(Slewing());
    ExpectAtTarget();
    EXPECT_EQ(Told("MS"), GetParam().slews);
}

INSTANTIATE_TEST_SUITE_P(Transactions, RepeatedSlew, testing::Values(Repeat{900, 1}, Repeat{901, 2}));

TEST_F(SlewOverHttp, AcrossTheMeridian_OfAMountThatNeedsTwoLegs_SlewingIsTrueThroughoutBoth) {
    Start({"--slew-speed", "20", "--firmware", "VKC4-P01-01", "--hour-angle", "1.5", "--declination", "20", "--side",
           "west"});
    ASSERT_EQ(Good(observer.Get("sideofpier")).value.to_number<int>(), 1);
    const double siderealTime = Number(observer, "siderealtime");
    target = {std::fmod(siderealTime - 3.0 + 24.0, 24.0), 30.0};
    EXPECT_EQ(Good(observer.Get("destinationsideofpier", Form(target))).value.to_number<int>(), 0);
    Good(slewer.Put("slewtocoordinatesasync", Form(target)));
    EXPECT_EQ(Told("MS"), 1);
    bool stoodBetween = false;
    ASSERT_TRUE(WaitUntil(2 * kPatience, [&] {
        const bool slewing = Slewing();
        stoodBetween = stoodBetween || (!slewing && Told("MS") < 2);
        return !slewing;
    }));
    EXPECT_FALSE(stoodBetween);
    EXPECT_EQ(Told("MS"), 2);
    ExpectAtTarget();
    EXPECT_EQ(Good(observer.Get("sideofpier")).value.to_number<int>(), 0);
}

/// Members that take a value, on a quick mount.
class ValuesOverHttp : public SlewOverHttp {
protected:
    void SetUp() override { Start({"--slew-speed", "60"}); }
};

TEST_F(ValuesOverHttp, AltAzSlews_WantTrackingOff_AndGoThere) {
    const Answer refused = slewer.Put("slewtoaltazasync", "Azimuth=200&Altitude=40");
    EXPECT_EQ(refused.errorNumber, kWrongTracking);
    EXPECT_EQ(refused.errorMessage, "Wrong tracking state");
    Good(slewer.Put("tracking", "Tracking=False"));
    Good(slewer.Put("slewtoaltazasync", "Azimuth=200&Altitude=40"));
    EXPECT_TRUE(WaitUntil(kPatience, [this] { return !Slewing(); }));
    const auto isAt = [this](double azimuth, double altitude) {
        return WaitUntil(Seconds(5), [&] {
            return std::abs(Number(observer, "azimuth") - azimuth) < kArrivedDegrees &&
                   std::abs(Number(observer, "altitude") - altitude) < kArrivedDegrees;
        });
    };
    EXPECT_TRUE(isAt(200, 40));
    Good(slewer.Put("slewtoaltaz", "Azimuth=140&Altitude=55"));
    EXPECT_FALSE(Slewing());
    EXPECT_TRUE(isAt(140, 55));
    EXPECT_EQ(Told("MS"), 2);
}

TEST_F(ValuesOverHttp, DestinationSideOfPier_IsWestUpToTheMeridian_AndEastBehindIt) {
    const double siderealTime = Number(observer, "siderealtime");
    for (const auto& [hourAngle, side] : std::vector<std::pair<double, int>>{{-1, 1}, {-11, 1}, {1, 0}, {11, 0}}) {
        const Place place{std::fmod(siderealTime - hourAngle + 24.0, 24.0), 10.0};
        EXPECT_EQ(Good(observer.Get("destinationsideofpier", Form(place))).value.to_number<int>(), side) << hourAngle;
    }
}

TEST_F(ValuesOverHttp, Rates_AreToldToTheMount_AndReadBack) {
    Good(slewer.Put("rightascensionrate", "RightAscensionRate=0.5"));
    EXPECT_EQ(Number(observer, "rightascensionrate"), 0.5);
    EXPECT_EQ(Told("RR-0.50000"), 1);
    Good(slewer.Put("declinationrate", "DeclinationRate=15.04107"));
    EXPECT_EQ(Number(observer, "declinationrate"), 15.04107);
    EXPECT_EQ(Told("RD1.00000"), 1) << "the tube is on the east side";
    Good(slewer.Put("guideraterightascension", "GuideRateRightAscension=0.0020890375"));
    EXPECT_NEAR(Number(observer, "guideratedeclination"), 0.0020890375, 1e-9);
    Good(slewer.Put("guideratedeclination", "GuideRateDeclination=0.004"));
    EXPECT_NEAR(Number(observer, "guideraterightascension"), 0.0020890375, 1e-9) << "none of the mount's rates";
}

TEST_F(ValuesOverHttp, SitePosition_IsTaken_AndTheMountKeepsItsOwn) {
    Good(slewer.Put("siteelevation", "SiteElevation=850.5"));
    EXPECT_EQ(Number(observer, "siteelevation"), 850.5);
    Good(slewer.Put("sitelatitude", "SiteLatitude=41.5"));
    Good(slewer.Put("sitelongitude", "SiteLongitude=-70.25"));
    EXPECT_NEAR(Number(observer, "sitelatitude"), 47, 1e-6) << "a read asks the mount";
    EXPECT_NEAR(Number(observer, "sitelongitude"), 10, 1e-6);
}

struct BadValue {
    std::string member;
    std::string form;
    int errorNumber;
    std::string words;
};

TEST_F(ValuesOverHttp, BadValues_AreRefusedWithANumberAndWords) {
    const std::string range = "The property value is out of range";
    const std::vector<BadValue> cases{
        {"slewtocoordinates", "RightAscension=24&Declination=10", 0x405, range},
        {"slewtocoordinatesasync", "RightAscension=1&Declination=-90.001", 0x405, range},
        {"sitelatitude", "SiteLatitude=90.5", 0x405, range},
        {"sitelongitude", "SiteLongitude=-180.5", 0x405, range},
        {"siteelevation", "SiteElevation=10000.1", 0x405, "Property SiteElevation " + range},
        {"slewsettletime", "SlewSettleTime=101", 0x405, range},
        {"trackingrate", "TrackingRate=4", 0x405, "Invalid Tracking Rate Value: 4"},
    };
    for (const BadValue& bad : cases) {
        const Answer answer = slewer.Put(bad.member, bad.form);
        EXPECT_EQ(answer.status, 200) << bad.member;
        EXPECT_EQ(answer.errorNumber, bad.errorNumber) << bad.member;
        EXPECT_EQ(answer.errorMessage, bad.words) << bad.member;
    }
    Good(slewer.Put("tracking", "Tracking=False"));
    for (const char* form : {"Azimuth=360.1&Altitude=10", "Azimuth=10&Altitude=90.1"}) {
        EXPECT_EQ(slewer.Put("slewtoaltaz", form).errorNumber, 0x405) << form;
        EXPECT_FALSE(Slewing());
    }
    const Answer below = slewer.Put("slewtoaltazasync", "Azimuth=110&Altitude=-5");
    EXPECT_EQ(below.errorNumber, 0x412);
    EXPECT_EQ(below.errorMessage, "The selected coordinates are below the horizon.");
    EXPECT_FALSE(Slewing());
    EXPECT_EQ(Told("MS"), 1) << "only the last one came as far as the mount";
}

TEST_F(ValuesOverHttp, WordsThatAreNoNumbers_AreNoRequests) {
    for (const auto& [member, form] : std::vector<std::pair<std::string, std::string>>{
             {"rightascensionrate", "RightAscensionRate=fast"},
             {"declinationrate", ""},
             {"guideratedeclination", "GuideRateDeclination=0,5"},
             {"sitelatitude", "sitelatitude=10"},
             {"slewtoaltaz", "Azimuth=10"},
         }) {
        const Answer answer = slewer.Put(member, form);
        EXPECT_EQ(answer.status, 400) << member;
        EXPECT_NE(answer.errorMessage, "") << member;
    }
}

TEST_F(ProcessFixture, Motion_WithNobodyConnected_IsRefused) {
    StartActivator();
    HttpClient stranger = Client(9);
    for (const auto& [member, form] : std::vector<std::pair<std::string, std::string>>{
             {"slewtocoordinates", "RightAscension=1&Declination=10"},
             {"slewtocoordinatesasync", "RightAscension=1&Declination=10"},
             {"slewtotarget", ""},
             {"slewtoaltaz", "Azimuth=10&Altitude=20"},
             {"slewtoaltazasync", "Azimuth=10&Altitude=20"},
             {"sitelongitude", "SiteLongitude=10"},
             {"abortslew", ""},
             {"park", ""},
             {"setpark", ""},
         }) {
        const Answer answer = stranger.Put(member, form);
        EXPECT_EQ(answer.errorNumber, 0x404) << member;
        EXPECT_EQ(answer.errorMessage, "The scope is not connected") << member;
    }
}

}  // namespace
}  // namespace kestrane::process

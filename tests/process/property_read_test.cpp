// Every member of the telescope that can be read, as a client gets it: its type in JSON, and a value that can be true
// of the simulated mount, which stands unparked and tracks.

#include <algorithm>
#include <boost/json.hpp>
#include <chrono>
#include <cmath>
#include <functional>
#include <numbers>
#include <regex>
#include <set>

#include "alpaca/parameter_values.h"
#include "alpaca/routes.h"
#include "kernel/base/application_info.h"
#include "kernel/base/text.h"
#include "process/process_fixture.h"

namespace kestrane::process {
namespace {

namespace json = boost::json;

constexpr int kValueNotSet = 0x403;
constexpr double kLatitude = 47.0;  // of the simulated mount
constexpr double kLongitude = 10.0;
constexpr double kUnixEpochJulianDay = 2440587.5;

enum class Type { Boolean, Integer, Number, Text, UtcDate, Integers, Texts, Rates };

bool IsRate(const json::value& value) {
    const json::object* rate = value.if_object();
    return rate != nullptr && rate->size() == 2 && rate->contains("Maximum") && rate->at("Maximum").is_number() &&
           rate->contains("Minimum") && rate->at("Minimum").is_number();
}

template <typename Predicate>
bool IsListOf(const json::value& value, Predicate&& predicate) {
    return value.is_array() && std::ranges::all_of(value.get_array(), std::forward<Predicate>(predicate));
}

bool IsUtcDate(const json::value& value) {
    static const std::regex form(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{7}Z)");
    return value.is_string() && std::regex_match(value.get_string().c_str(), form);
}

bool IsInteger(const json::value& value) {
    return value.is_int64();
}

bool IsText(const json::value& value) {
    return value.is_string();
}

bool HasType(const json::value& value, Type type) {
    switch (type) {
        case Type::Boolean:
            return value.is_bool();
        case Type::Integer:
            return IsInteger(value);
        case Type::Number:
            return value.is_number();  // a whole number carries no point
        case Type::Text:
            return IsText(value);
        case Type::UtcDate:
            return IsUtcDate(value);
        case Type::Integers:
            return IsListOf(value, IsInteger);
        case Type::Texts:
            return IsListOf(value, IsText);
        case Type::Rates:
            return IsListOf(value, IsRate);
    }
    return false;
}

using Check = std::function<bool(const json::value&)>;

Check Is(const std::string& text) {
    return [wanted = json::parse(text)](const json::value& value) { return value == wanted; };
}

Check Between(double lowest, double highest) {
    return [=](const json::value& value) {
        const double number = value.to_number<double>();
        return number >= lowest && number <= highest;
    };
}

Check Near(double wanted, double tolerance) {
    return Between(wanted - tolerance, wanted + tolerance);
}

Check StartsWith(const std::string& beginning) {
    return [=](const json::value& value) { return value.get_string().starts_with(beginning); };
}

double SecondsSince1970() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

double SecondsSince1970(const json::value& utcDate) {
    using namespace std::chrono;
    const auto date = alpaca::ParseUtcDate(utcDate.get_string());
    const sys_days day = year_month_day(year(date->year), month(static_cast<unsigned>(date->month)),
                                        std::chrono::day(static_cast<unsigned>(date->day)));
    return static_cast<double>(duration_cast<seconds>(day.time_since_epoch()).count()) + date->hour * 3600.0 +
           date->minute * 60.0 + date->second + date->millisecond / 1000.0;
}

/// The mount was started with the computer's time, and counts whole seconds. Its time of day stands on the computer's
/// date, so that around midnight it can be a day off.
bool IsNow(const json::value& utcDate) {
    const double off = std::abs(SecondsSince1970(utcDate) - SecondsSince1970());
    return off < 5.0 || std::abs(off - 86400.0) < 5.0;
}

double Wrapped(double value, double period) {
    return value - period * std::round(value / period);
}

/// Hours, of the mount's place; good to a second.
double SiderealTimeNow() {
    const double days = SecondsSince1970() / 86400.0 + kUnixEpochJulianDay - 2451545.0;
    return 18.697374558 + 24.06570982441908 * days + kLongitude / 15.0;
}

bool IsSiderealTimeNow(const json::value& value) {
    const double hours = value.to_number<double>();
    return hours >= 0 && hours < 24 && std::abs(Wrapped(hours - SiderealTimeNow(), 24)) < 10.0 / 3600.0;
}

const std::string kVersion{application::kDriverVersion};

struct Row {
    std::string member;  ///< as it stands in the path
    Type type;
    Check check;
    std::string form = "";
};

// clang-format off
const std::vector<Row>& Rows() {
    static const std::vector<Row> rows{
        {"connected",                Type::Boolean,  Is("true")},
        {"description",              Type::Text,     Is("\"Kestrane Alder VTR Mount\"")},
        {"driverinfo",               Type::Text,     StartsWith("5.50.3 Kestrane V2")},
        {"driverversion",            Type::Text,     Is("\"" + kVersion + "\"")},
        {"interfaceversion",         Type::Integer,  Is("2")},
        {"name",                     Type::Text,     Is("\"KestraneV2\"")},
        {"supportedactions",         Type::Texts,    Is("[]")},
        {"alignmentmode",            Type::Integer,  Is("2")},
        {"altitude",                 Type::Number,   Between(1, 89)},
        {"aperturearea",             Type::Number,   Near(0.0314159265, 1e-9)},
        {"aperturediameter",         Type::Number,   Is("0.2")},
        {"athome",                   Type::Boolean,  Is("false")},
        {"atpark",                   Type::Boolean,  Is("false")},
        {"azimuth",                  Type::Number,   Between(180, 360)},
        {"canfindhome",              Type::Boolean,  Is("false")},
        {"canpark",                  Type::Boolean,  Is("true")},
        {"canpulseguide",            Type::Boolean,  Is("true")},
        {"cansetdeclinationrate",    Type::Boolean,  Is("true")},
        {"cansetguiderates",         Type::Boolean,  Is("true")},
        {"cansetpark",               Type::Boolean,  Is("true")},
        {"cansetpierside",           Type::Boolean,  Is("false")},
        {"cansetrightascensionrate", Type::Boolean,  Is("true")},
        {"cansettracking",           Type::Boolean,  Is("true")},
        {"canslew",                  Type::Boolean,  Is("true")},
        {"canslewaltaz",             Type::Boolean,  Is("true")},
        {"canslewaltazasync",        Type::Boolean,  Is("true")},
        {"canslewasync",             Type::Boolean,  Is("true")},
        {"cansync",                  Type::Boolean,  Is("true")},
        {"cansyncaltaz",             Type::Boolean,  Is("true")},
        {"canunpark",                Type::Boolean,  Is("true")},
        {"declination",              Type::Number,   Between(-90, 90)},
        {"declinationrate",          Type::Number,   Is("0")},
        {"doesrefraction",           Type::Boolean,  Is("false")},
        {"equatorialsystem",         Type::Integer,  Is("1")},
        {"focallength",              Type::Number,   Is("1.5")},
        {"guideratedeclination",     Type::Number,   Near(15.04107 / 3600, 1e-6)},
        {"guideraterightascension",  Type::Number,   Near(15.04107 / 3600, 1e-6)},
        {"ispulseguiding",           Type::Boolean,  Is("false")},
        {"rightascension",           Type::Number,   Between(0, 23.99999)},
        {"rightascensionrate",       Type::Number,   Is("0")},
        {"sideofpier",               Type::Integer,  Is("0")},
        {"siderealtime",             Type::Number,   IsSiderealTimeNow},
        {"siteelevation",            Type::Number,   Is("650")},
        {"sitelatitude",             Type::Number,   Near(kLatitude, 0.001)},
        {"sitelongitude",            Type::Number,   Near(kLongitude, 0.001)},
        {"slewing",                  Type::Boolean,  Is("false")},
        {"slewsettletime",           Type::Integer,  Is("1")},
        {"tracking",                 Type::Boolean,  Is("true")},
        {"trackingrate",             Type::Integer,  Is("0")},
        {"trackingrates",            Type::Integers, Is("[0,1,2,3]")},
        {"utcdate",                  Type::UtcDate,  IsNow},
        {"axisrates",                Type::Rates,    Is(R"([{"Maximum":5,"Minimum":0}])"), "Axis=0"},
        {"axisrates",                Type::Rates,    Is(R"([{"Maximum":5,"Minimum":0}])"), "Axis=1"},
        {"axisrates",                Type::Rates,    Is("[]"),                             "Axis=2"},
        {"canmoveaxis",              Type::Boolean,  Is("true"),                           "Axis=0"},
        {"canmoveaxis",              Type::Boolean,  Is("true"),                           "Axis=1"},
        {"canmoveaxis",              Type::Boolean,  Is("false"),                          "Axis=2"},
        {"destinationsideofpier",    Type::Integer,  Between(0, 1),                        "RightAscension=5&Declination=20"},
    };
    return rows;
}

/// Members that cannot be read as things stand, with the error and a part of its text.
struct Refusal {
    std::string member;
    int errorNumber;
    std::string message;
};

const std::vector<Refusal>& Refusals() {
    static const std::vector<Refusal> refusals{
        {"targetdeclination",     kValueNotSet,    "TargetDeclination"},
        {"targetrightascension",  kValueNotSet,    "TargetRightAscension"},
    };
    return refusals;
}
// clang-format on

class PropertyReadTest : public ProcessFixture {
protected:
    void SetUp() override {
        Seed({{"txtScopeAperture", "200"},
              {"txtScopeFocalLength", "1500"},
              {"Elevation", "650"},
              {"Timeout", "10000"}});  // a machine that is busy elsewhere is no silent mount
        StartSystem();
        client_ = std::make_unique<HttpClient>(Client(1));
        Connect(*client_);
    }

    double Number(const std::string& member) { return Good(client_->Get(member)).value.to_number<double>(); }
    std::string Send(const std::string& encodedCommand, bool raw) {
        const Answer answer =
            Good(client_->Put("commandstring", "Command=" + encodedCommand + "&Raw=" + (raw ? "True" : "False")));
        return IsText(answer.value) ? std::string(answer.value.get_string()) : "no text";
    }

    std::unique_ptr<HttpClient> client_;
};

TEST(PropertyTableTest, EveryReadableMember_StandsInIt) {
    std::set<std::string> read;
    for (const Row& row : Rows()) {
        read.insert(row.member);
    }
    for (const Refusal& row : Refusals()) {
        read.insert(row.member);
    }
    std::set<std::string> served;
    for (const alpaca::Route& route : alpaca::TelescopeRoutes()) {
        if (route.verb == alpaca::Verb::Get) {
            served.insert(ToLower(route.name));
        }
    }
    EXPECT_EQ(read, served);
}

TEST_F(PropertyReadTest, EveryMember_HasItsTypeAndATrueValue) {
    for (const Row& row : Rows()) {
        SCOPED_TRACE(row.member + " " + row.form);
        const Answer answer = Good(client_->Get(row.member, row.form));
        EXPECT_EQ(answer.errorMessage, "");
        const std::string text = json::serialize(answer.value);
        ASSERT_TRUE(HasType(answer.value, row.type)) << text;
        EXPECT_TRUE(row.check(answer.value)) << text;
    }
}

TEST_F(PropertyReadTest, MembersWithoutAValueYet_TellWhy) {
    for (const Refusal& row : Refusals()) {
        const Answer answer = client_->Get(row.member);
        EXPECT_EQ(answer.status, 200);
        EXPECT_EQ(answer.errorNumber, row.errorNumber) << row.member;
        EXPECT_NE(answer.errorMessage.find(row.message), std::string::npos) << answer.errorMessage;
    }
}

TEST_F(PropertyReadTest, PositionMembers_TellOnePlaceOfTheSky) {
    constexpr double kRadian = std::numbers::pi / 180;
    const double ra = Number("rightascension");
    const double dec = Number("declination") * kRadian;
    const double altitude = Number("altitude") * kRadian;
    const double azimuth = Number("azimuth") * kRadian;
    const double hourAngle = (Number("siderealtime") - ra) * 15 * kRadian;
    const double latitude = kLatitude * kRadian;
    constexpr double kTolerance = 0.001;  // some minutes of arc: alt and az are up to a second older than the time
    EXPECT_NEAR(std::sin(altitude),
                std::sin(latitude) * std::sin(dec) + std::cos(latitude) * std::cos(dec) * std::cos(hourAngle),
                kTolerance);
    EXPECT_NEAR(std::cos(altitude) * std::sin(azimuth), -std::cos(dec) * std::sin(hourAngle), kTolerance);
    EXPECT_NEAR(Wrapped(Number("siderealtime") - ra, 24), 3.0, 0.01) << "it starts three hours west of the meridian";
}

TEST_F(PropertyReadTest, DestinationSideOfPier_GoesByTheHourAngle) {
    for (const auto& [hoursWest, side] : {std::pair{3.0, 0}, {-3.0, 1}, {11.0, 0}, {-11.0, 1}}) {
        const double ra = Number("siderealtime") - hoursWest;
        const std::string form = "RightAscension=" + std::to_string(ra - 24 * std::floor(ra / 24)) + "&Declination=20";
        EXPECT_EQ(Good(client_->Get("destinationsideofpier", form)).value, json::value(side)) << hoursWest;
    }
}

TEST_F(PropertyReadTest, WrittenValues_ReadBack) {
    struct Written {
        std::string member;
        std::string form;
        json::value value;
    };
    for (const Written& row :
         {Written{"siteelevation", "SiteElevation=1234.5", 1234.5},
          Written{"rightascensionrate", "RightAscensionRate=-0.125", -0.125},
          Written{"declinationrate", "DeclinationRate=2.5", 2.5}, Written{"trackingrate", "TrackingRate=2", 2},
          Written{"trackingrate", "TrackingRate=0", 0}, Written{"tracking", "Tracking=False", false},
          Written{"tracking", "Tracking=True", true}}) {
        Good(client_->Put(row.member, row.form));
        EXPECT_EQ(Good(client_->Get(row.member)).value, row.value) << row.form;
    }
    Good(client_->Put("guideratedeclination", "GuideRateDeclination=0.0020890375"));
    EXPECT_NEAR(Number("guideraterightascension"), 0.5 * 15.04107 / 3600, 1e-9);
    EXPECT_EQ(client_->Put("trackingrate", "TrackingRate=4").errorNumber, 0x405);
    EXPECT_EQ(client_->Put("siteelevation", "SiteElevation=10000.1").errorNumber, 0x405);
    EXPECT_EQ(client_->Put("sideofpier", "SideOfPier=1").errorNumber, 0x400);
}

TEST_F(PropertyReadTest, Targets_ReadBackOnceTheyAreSet) {
    Good(client_->Put("targetrightascension", "TargetRightAscension=5.5"));
    Good(client_->Put("targetdeclination", "TargetDeclination=-12.25"));
    EXPECT_EQ(Good(client_->Get("targetrightascension")).value, json::value(5.5));
    EXPECT_EQ(Good(client_->Get("targetdeclination")).value, json::value(-12.25));
}

TEST_F(PropertyReadTest, CommandString_RawVerbs_AreAnsweredByTheDriver) {
    EXPECT_EQ(Send("RAW,Version", true), "1," + kVersion);
    EXPECT_EQ(Send("RAW,GetCommunicationErrors", true), "1,0,0,0,0,0");
    EXPECT_EQ(Send("RAW,SetIniValue,MyTool%3D7", true), "1");
    EXPECT_EQ(Send("RAW,GetIniValue,MyTool", true), "1,7");
    EXPECT_EQ(Send("RAW,Nonsense", true), "0,Unknown Command: Nonsense");
    const std::string position = Send("RAW,GetRaDecEvents,0", true);
    EXPECT_TRUE(std::regex_match(position, std::regex(R"(1,0,4,\d+(,\d+,[0-9.]+,-?[0-9.]+)+,\d+)"))) << position;
}

TEST_F(PropertyReadTest, CommandString_Others_AreAnsweredByTheMount) {
    const std::regex hours(R"(\d\d:\d\d:\d\d(\.\d+)?)");
    for (const std::string& reply : {Send("GR", false), Send("%3AGR%23", true)}) {
        EXPECT_TRUE(std::regex_match(reply, hours)) << reply;
    }
}

/// The mount takes time and date, and reports the time; the date of an answer is the computer's.
TEST_F(ProcessFixture, UtcDate_Put_GoesToTheMount) {
    ::setenv("TZ", "UTC0", 1);
    Seed({{"chkKeepMountTimeSyncedToPcTime", "0"}});
    StartMount({"--verbose"});
    StartActivator();
    HttpClient client = Client(1);
    Connect(client);
    Good(client.Put("utcdate", "UTCDate=2031-03-04T12:34:50.0000000Z"));
    const Answer read = Good(client.Get("utcdate"));
    EXPECT_TRUE(IsUtcDate(read.value));
    EXPECT_NE(json::serialize(read.value).find("T12:34:5"), std::string::npos) << json::serialize(read.value);
    for (const std::string command : {":SL12:34:50#", ":SC03/04/31#"}) {
        EXPECT_NE(mount->Errors().find(command), std::string::npos) << command;
    }

    EXPECT_EQ(client.Put("utcdate", "UTCDate=yesterday").status, 400);
}

}  // namespace
}  // namespace kestrane::process

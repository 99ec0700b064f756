// A night as imaging programs make it, on the real programs: a planetarium that draws the telescope all night, a
// guider, and a sequencer with its focuser. Then the log of it is read line by line.

#include <algorithm>
#include <arpa/inet.h>
#include <atomic>
#include <boost/json.hpp>
#include <cmath>
#include <future>
#include <netinet/in.h>
#include <sstream>
#include <sys/socket.h>
#include <tuple>
#include <unistd.h>

#include "catalogue/wire_commands.h"
#include "client/discovery.h"
#include "process/heard_by_mount.h"
#include "process/night_log.h"
#include "process/night_sky.h"
#include "process/process_fixture.h"

namespace kestrane::process {
namespace {

constexpr double kReadToArcSeconds = 0.5;  ///< the mount tells its place in steps of 0.15 and 0.1
constexpr Seconds kMotionLimit{60};        ///< for whatever the mount has to do first

constexpr int kEastSide = 0;
constexpr int kWestSide = 1;

/// What a planetarium saw at one look.
struct Look {
    SkyPlace place;
    bool slewing = false;
    bool tracking = false;
};

/// Each change from false to true, or back.
int ChangesTo(bool value, const std::vector<Look>& looks, bool Look::*member) {
    int changes = 0;
    for (std::size_t i = 1; i < looks.size(); ++i) {
        changes += looks[i].*member == value && looks[i - 1].*member != value ? 1 : 0;
    }
    return changes;
}

/// A port that nobody has just now.
std::uint16_t FreeDatagramPort() {
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    socklen_t size = sizeof address;
    ::bind(socket, reinterpret_cast<const sockaddr*>(&address), size);
    ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size);
    ::close(socket);
    return ntohs(address.sin_port);
}

bool IsOfTheCatalogue(const std::string& command) {
    return std::any_of(wire::kAll.begin(), wire::kAll.end(),
                       [&](const WireCommand& row) { return wire::MeetsText(row, command); });
}

class ImagingNight : public ProcessFixture {
protected:
    void SetUp() override {
        Leases(1, 600);
        Seed({{"cbxUnparkFrom", "7"},  // a client unparks the mount, not its connect
              {"cbxParkTo", "6"},
              {"txtUserParkAlt", "35"},
              {"txtUserParkAz", "160"},
              {"Timeout", "10000"}});  // a machine that is busy elsewhere is no silent mount
        StartParkedMount({"--slew-speed", "80", "--acceleration", "160", "--verbose"});
        discoveryPort_ = FreeDatagramPort();
        StartActivator({"--discovery-port", std::to_string(discoveryPort_)});
    }

    void TearDown() override { sunrise_ = true; }  // also of a night that was broken off

    void Discover();
    void ConnectAll();
    void Unpark();
    void SlewToTargetEastOfMeridian();
    void SyncBesideTarget();
    void GuideWithDithers();
    void FlipAndFocusMeanwhile();
    void StopTheFocuser();
    void AbortASlew();
    void Park();
    void ReadJournal();
    void DisconnectAll();
    void StartAgain();
    void ReadLog() const;
    static void ReadComplaints(const NightLog& log);
    static void ReadMilestones(const NightLog& log);

    template <typename Condition>
    static void Await(const std::string& what, Condition&& condition) {
        if (!WaitUntil(kMotionLimit, std::forward<Condition>(condition))) {
            throw std::runtime_error("this never came: " + what);
        }
    }
    static double Number(HttpClient& client, std::string_view member, const std::string& form = "") {
        return Good(client.Get(member, form)).value.to_number<double>();
    }
    static bool Is(HttpClient& client, std::string_view member) { return Good(client.Get(member)).value == true; }
    static SkyPlace PlaceSeenBy(HttpClient& client) {
        return {Number(client, "rightascension"), Number(client, "declination")};
    }
    std::string Verb(const std::string& verb) {
        const Answer answer = Good(sequencer_.Put("commandstring", "Command=RAW," + verb + "&Raw=True"));
        return std::string(answer.value.as_string());
    }
    /// The picture that clients get is up to a second old.
    static void AwaitPlace(HttpClient& client, const SkyPlace& place, double arcSeconds) {
        SkyPlace seen;
        const bool there = WaitUntil(kPatience, [&] {
            seen = PlaceSeenBy(client);
            return ArcSecondsBetween(seen, place) <= arcSeconds;
        });
        EXPECT_TRUE(there) << "RA " << seen.ra << ", Dec " << seen.dec << "; wanted " << place.ra << ", " << place.dec
                           << ", " << ArcSecondsBetween(seen, place) << " arc-seconds off";
    }

    int TimesHeard(const std::string& command) const {
        const std::vector<std::string> commands = CommandsIn(HeardBy(*mount));
        return static_cast<int>(std::count(commands.begin(), commands.end(), ":" + command + "#"));
    }
    void AwaitFreshPlaces(int count) const {
        const int before = TimesHeard("GR");
        const int beforeDec = TimesHeard("GD");
        Await("fresh readings of the position",
              [&] { return TimesHeard("GR") >= before + count && TimesHeard("GD") >= beforeDec + count; });
    }

    /// Sends these pulses, no two of a night alike, at once, and waits until all of them have ended.
    void Pulse(const std::vector<GuidePulse>& pulses);
    /// A pulse of a second and more as it ran: the driver sends a stop at its end, and a mount on a busy machine may
    /// have heard of its beginning late.
    GuidePulse CutByItsStop(const GuidePulse& pulse) const;
    /// The place to which pulses move the telescope from `start`.
    static SkyPlace After(const std::vector<GuidePulse>& pulses, const SkyPlace& start, double degreesPerSecond,
                          int side);

    std::vector<Look> Watch(HttpClient client);

    HttpClient planetarium_{0, 0};
    HttpClient guider_{0, 0};
    HttpClient sequencer_{0, 0};
    HttpClient focuser_{0, 0};
    std::uint16_t discoveryPort_ = 0;
    std::filesystem::path logFile_;
    SkyPlace target_;
    std::vector<GuidePulse> pulses_;  ///< of the whole night
    bool guidingSeen_ = false;
    std::string heardTonight_;  ///< by the mount, from the first driver
    std::atomic<bool> hasLooked_ = false;
    std::atomic<bool> sunrise_ = false;
    std::future<std::vector<Look>> looks_;
};

void ImagingNight::Pulse(const std::vector<GuidePulse>& pulses) {
    Seconds longest{0};
    for (const GuidePulse& pulse : pulses) {
        Good(guider_.Put("pulseguide", "Direction=" + std::to_string(pulse.direction.number) +
                                           "&Duration=" + std::to_string(pulse.milliseconds)));
        pulses_.push_back(pulse);
        longest = std::max(longest, Seconds(pulse.milliseconds / 1000.0));
    }
    const std::string last =
        ":M" + std::string(1, pulses.back().direction.letter) + std::to_string(pulses.back().milliseconds) + "#";
    Await("the pulses at the mount", [&] { return WhenHeard(*mount, last) >= 0; });
    const auto heard = SteadyClock::now();
    Await("the end of the pulses", [&] {
        const bool guiding = Is(guider_, "ispulseguiding");
        guidingSeen_ = guidingSeen_ || guiding;
        return !guiding && Since(heard) >= longest;  // the mount ends them by its own time
    });
}

GuidePulse ImagingNight::CutByItsStop(const GuidePulse& pulse) const {
    const std::string letter(1, pulse.direction.letter);
    const std::string begin = ":M" + letter + std::to_string(pulse.milliseconds) + "#";
    const std::string end = ":Q" + letter + "#";
    Await("the stop " + end, [&] { return WhenHeard(*mount, end) >= 0; });
    return {pulse.direction, std::min(pulse.milliseconds, WhenHeard(*mount, end) - WhenHeard(*mount, begin))};
}

SkyPlace ImagingNight::After(const std::vector<GuidePulse>& pulses, const SkyPlace& start, double degreesPerSecond,
                             int side) {
    SkyPlace place = start;
    for (const auto& [direction, milliseconds] : pulses) {
        const double arcSeconds = degreesPerSecond * milliseconds / 1000 * kArcSecondsPerDegree;
        const double dec = side == kWestSide ? direction.decWest : -direction.decWest;
        place = place.PlusArcSeconds(direction.ra * arcSeconds, dec * arcSeconds);
    }
    return place;
}

/// Looks ten times a second until the night is over.
std::vector<Look> ImagingNight::Watch(HttpClient client) {
    std::vector<Look> looks;
    try {
        while (!sunrise_) {
            EveryFor(Seconds(0.1), Seconds(0.1), [&] {
                looks.push_back({PlaceSeenBy(client), Is(client, "slewing"), Is(client, "tracking")});
                hasLooked_ = true;
            });
        }
    } catch (const NoAnswer& error) {
        ADD_FAILURE() << "the planetarium got no answer: " << error.what();
    }
    return looks;
}

void ImagingNight::Discover() {
    std::vector<client::FoundServer> servers;
    Await("an answer to the discovery", [&] {
        servers = client::Discover("127.0.0.1", discoveryPort_, std::chrono::milliseconds(200));
        return !servers.empty();
    });
    ASSERT_EQ(servers.front().port, port);
    planetarium_ = HttpClient(servers.front().port, 1);
    guider_ = HttpClient(servers.front().port, 2);
    sequencer_ = HttpClient(servers.front().port, 3);
    focuser_ = HttpClient(servers.front().port, 3, Seconds(30), "focuser");
    std::vector<std::string> devices;
    const Answer configured = Good(sequencer_.GetPath("/management/v1/configureddevices"));
    for (const boost::json::value& device : configured.value.as_array()) {
        devices.emplace_back(device.at("DeviceType").as_string());
    }
    EXPECT_EQ(devices, (std::vector<std::string>{"Telescope", "Focuser"}));
}

void ImagingNight::ConnectAll() {
    EXPECT_EQ(Verb("SetEnableDebugLog,1"), "1");
    for (HttpClient* client : {&planetarium_, &guider_, &sequencer_, &focuser_}) {
        Connect(*client);
    }
    logFile_ = Verb("GetLogFilename").substr(2);
    looks_ = std::async(std::launch::async, [this] { return Watch(std::move(planetarium_)); });
    Await("the planetarium's first look", [&] { return hasLooked_.load(); });
}

void ImagingNight::Unpark() {
    EXPECT_TRUE(Is(sequencer_, "atpark"));
    EXPECT_EQ(sequencer_.Put("slewtocoordinatesasync", "RightAscension=1&Declination=10").errorNumber, 0x409);
    EXPECT_EQ(TimesHeard("PO"), 0);
    Good(sequencer_.Put("unpark"));
    EXPECT_FALSE(Is(guider_, "atpark"));
    EXPECT_EQ(TimesHeard("PO"), 1);
    Good(sequencer_.Put("tracking", "Tracking=True"));
    EXPECT_TRUE(Is(guider_, "tracking"));
}

/// A place that passes the meridian soon: the tube goes to the west side of the pier for it.
void ImagingNight::SlewToTargetEastOfMeridian() {
    constexpr double kHoursToMeridian = 0.0024;
    target_ = {std::fmod(Number(sequencer_, "siderealtime") + kHoursToMeridian, 24.0), 30.0};
    EXPECT_EQ(Number(sequencer_, "destinationsideofpier", CoordinatesForm(target_)), kWestSide);
    Good(sequencer_.Put("slewtocoordinates", CoordinatesForm(target_)));  // answered when it is there
    EXPECT_FALSE(Is(sequencer_, "slewing"));
    EXPECT_EQ(TimesHeard("MS"), 1);
    AwaitPlace(sequencer_, target_, kReadToArcSeconds);
    EXPECT_EQ(Number(sequencer_, "sideofpier"), kWestSide);
}

/// What an image of the sky showed.
void ImagingNight::SyncBesideTarget() {
    const SkyPlace solved = target_.PlusArcSeconds(90, -120);
    Good(sequencer_.Put("synctocoordinates", CoordinatesForm(solved)));
    EXPECT_LE(ArcSecondsBetween(PlaceSeenBy(guider_), solved), kReadToArcSeconds);  // at once, for everybody
    EXPECT_EQ(TimesHeard("CMR"), 1);
    EXPECT_EQ(Number(sequencer_, "sideofpier"), kWestSide);
}

void ImagingNight::GuideWithDithers() {
    const double rate = Number(guider_, "guideratedeclination");
    EXPECT_EQ(Number(guider_, "guideraterightascension"), rate);
    EXPECT_GT(rate, 0.001);
    const SkyPlace start = PlaceSeenBy(guider_);
    const std::vector<std::vector<GuidePulse>> corrections{
        {{kNorth, 420}, {kWest, 350}}, {{kEast, 80}, {kSouth, 120}}, {{kNorth, 60}, {kWest, 90}}, {{kEast, 400}},
        {{kNorth, 310}, {kEast, 45}},
    };
    std::vector<GuidePulse> sent;
    for (const std::vector<GuidePulse>& correction : corrections) {
        Pulse(correction);
        sent.insert(sent.end(), correction.begin(), correction.end());
    }
    AwaitPlace(guider_, After(sent, start, rate, kWestSide), kReadToArcSeconds);

    const std::vector<GuidePulse> dither{{kSouth, 1400}, {kEast, 1200}};
    const SkyPlace before = PlaceSeenBy(guider_);
    Pulse(dither);
    AwaitPlace(guider_, After({CutByItsStop(dither[0]), CutByItsStop(dither[1])}, before, rate, kWestSide),
               kReadToArcSeconds);
    EXPECT_TRUE(guidingSeen_);
}

/// The target has passed the meridian: a goto to the same place turns the tube to the other side.
void ImagingNight::FlipAndFocusMeanwhile() {
    Await("the meridian",
          [&] { return std::remainder(Number(sequencer_, "siderealtime") - target_.ra, 24.0) > 0.0002; });
    EXPECT_EQ(Number(sequencer_, "destinationsideofpier", CoordinatesForm(target_)), kEastSide);
    EXPECT_EQ(Number(sequencer_, "sideofpier"), kWestSide);
    Good(sequencer_.Put("slewtocoordinatesasync", CoordinatesForm(target_)));
    EXPECT_TRUE(Is(guider_, "slewing"));

    EXPECT_FALSE(Is(focuser_, "ismoving"));
    Good(focuser_.Put("move", "Position=-200"));  // beyond it, and back after a pause of a second
    Await("the end of the focuser's move", [&] { return !Is(focuser_, "ismoving"); });
    Await("the end of the flip", [&] { return !Is(sequencer_, "slewing"); });
    AwaitPlace(sequencer_, target_, kReadToArcSeconds);
    EXPECT_EQ(Number(sequencer_, "sideofpier"), kEastSide);
    EXPECT_EQ(TimesHeard("MS"), 2);

    const double rate = Number(guider_, "guideratedeclination");
    const std::vector<GuidePulse> north{{kNorth, 500}};
    const SkyPlace start = PlaceSeenBy(guider_);
    Pulse(north);
    AwaitPlace(guider_, After(north, start, rate, kEastSide), kReadToArcSeconds);
}

void ImagingNight::StopTheFocuser() {
    Good(focuser_.Put("move", "Position=150"));
    Await("the end of the focuser's move", [&] { return !Is(focuser_, "ismoving"); });
    Good(focuser_.Put("move", "Position=5000"));
    EXPECT_TRUE(Is(focuser_, "ismoving"));
    Good(focuser_.Put("halt"));
    EXPECT_FALSE(Is(focuser_, "ismoving"));
    Await("the stop", [&] { return TimesHeard("FQ") == 4; });
    std::vector<std::string> commands = CommandsIn(HeardBy(*mount));
    std::erase_if(commands, [](const std::string& command) { return !command.starts_with(":F"); });
    EXPECT_EQ(commands, (std::vector<std::string>{":FF#", ":F-#", ":FQ#", ":F+#", ":FQ#",  //
                                                  ":FF#", ":F+#", ":FQ#",                  //
                                                  ":FF#", ":F+#", ":FQ#"}));
}

/// Back to the other side of the pier, slowly, and stopped on the way.
void ImagingNight::AbortASlew() {
    constexpr double kFarArcSeconds = 2 * kArcSecondsPerDegree;
    const SkyPlace start = PlaceSeenBy(sequencer_);
    const SkyPlace other{std::fmod(Number(sequencer_, "siderealtime") + 0.3, 24.0), -15};
    EXPECT_EQ(Verb("SetSlewRate,300"), "1");  // a quarter of the speed
    const int stops = TimesHeard("Q");
    Good(sequencer_.Put("slewtocoordinatesasync", CoordinatesForm(other)));
    Await("motion", [&] { return ArcSecondsBetween(PlaceSeenBy(sequencer_), start) > kFarArcSeconds; });
    EXPECT_TRUE(Is(sequencer_, "slewing"));
    Good(sequencer_.Put("abortslew"));
    const auto aborted = SteadyClock::now();
    Await("the end of the motion", [&] { return !Is(sequencer_, "slewing"); });
    EXPECT_LE(Since(aborted).count(), 10.0);
    EXPECT_GE(TimesHeard("Q"), stops + 2);

    const SkyPlace stands = PlaceSeenBy(guider_);
    AwaitFreshPlaces(1);
    EXPECT_LE(ArcSecondsBetween(PlaceSeenBy(guider_), stands), kReadToArcSeconds);
    EXPECT_GT(ArcSecondsBetween(stands, other), kFarArcSeconds);
    EXPECT_TRUE(Is(sequencer_, "tracking"));
    EXPECT_EQ(TimesHeard("MS"), 3);
}

void ImagingNight::Park() {
    EXPECT_EQ(Verb("SetSlewRate,2"), "1");
    Good(sequencer_.Put("park"));
    Await("the park", [&] { return Is(guider_, "atpark"); });
    EXPECT_FALSE(Is(sequencer_, "slewing"));
    EXPECT_FALSE(Is(sequencer_, "tracking"));
    EXPECT_NEAR(Number(sequencer_, "altitude"), 35, 0.1);
    EXPECT_NEAR(Number(sequencer_, "azimuth"), 160, 0.1);
    EXPECT_EQ(TimesHeard("KA"), 1);
    EXPECT_EQ(sequencer_.Put("slewtocoordinatesasync", CoordinatesForm(target_)).errorNumber, 0x409);
    EXPECT_EQ(TimesHeard("MS"), 4);
}

/// As tools read the pulses of a night.
void ImagingNight::ReadJournal() {
    const std::string count = std::to_string(pulses_.size());
    EXPECT_EQ(Verb("GetPulseGuideEventInfo"), "1," + count + "," + count);
    std::istringstream fields(Verb("GetPulseGuideEvents,0"));
    std::vector<std::string> words;
    for (std::string word; std::getline(fields, word, ',');) {
        words.push_back(word);
    }
    ASSERT_EQ(words.size(), 4 + pulses_.size() * 4 + 1);
    EXPECT_EQ(words[3], count);
    int lastTime = 0;
    for (std::size_t i = 0; i < pulses_.size(); ++i) {
        const std::string* entry = &words[4 + i * 4];
        EXPECT_GT(std::stoi(entry[0]), lastTime) << i;
        lastTime = std::stoi(entry[0]);
        EXPECT_EQ(entry[1], "2") << "the index of the greatest guide rate";
        EXPECT_EQ(entry[2], std::to_string(pulses_[i].milliseconds)) << i;
        EXPECT_EQ(entry[3], std::to_string(pulses_[i].direction.ofJournal)) << i;
    }
}

void ImagingNight::DisconnectAll() {
    EXPECT_EQ(Verb("GetCommunicationErrors"), "1,0,0,0,0,0");
    sunrise_ = true;
    const std::vector<Look> looks = looks_.get();
    EXPECT_EQ(ChangesTo(true, looks, &Look::slewing), 4) << "to the target, the flip, the aborted one, the park";
    EXPECT_EQ(ChangesTo(false, looks, &Look::slewing), 4);
    EXPECT_EQ(ChangesTo(true, looks, &Look::tracking), 1) << "from the unpark on";
    EXPECT_EQ(ChangesTo(false, looks, &Look::tracking), 1) << "from the park on";
    const pid_t driver = Driver();
    planetarium_ = HttpClient(port, 1);
    for (HttpClient* client : {&guider_, &focuser_, &planetarium_, &sequencer_}) {
        Good(client->Put("connected", "Connected=False"));
        client->Close();
    }
    EXPECT_TRUE(WaitUntil(kPatience, [&] { return !Exists(driver); }));
    EXPECT_EQ(Setting("ParkStatus"), "Parked");
    EXPECT_EQ(activator->Errors(), "");
    const std::string sent = AsTheMountShows(NightLog(logFile_).SentToMount());
    WaitUntil(kPatience, [&] { return HeardBy(*mount).size() >= sent.size(); });
    heardTonight_ = HeardBy(*mount);
}

void ImagingNight::StartAgain() {
    HttpClient client(port, 3);
    Connect(client);
    EXPECT_TRUE(Is(client, "atpark"));
    EXPECT_FALSE(Is(client, "tracking"));
    AwaitFreshPlaces(1);
    EXPECT_TRUE(Is(client, "atpark"));
    const std::string heard = HeardBy(*mount).substr(heardTonight_.size());
    for (const std::string& command : CommandsIn(heard)) {
        EXPECT_FALSE(command.starts_with(":M") || command.starts_with(":RT") || command.starts_with(":P")) << command;
    }
}

void ImagingNight::ReadLog() const {
    const NightLog log(logFile_);
    for (const std::string& line : log.Malformed()) {
        ADD_FAILURE() << "no line of a log: " << line;
    }
    ReadComplaints(log);
    EXPECT_EQ(log.Unanswered(), std::vector<std::string>());
    for (const std::string& command : CommandsIn(log.SentToMount())) {
        EXPECT_TRUE(IsOfTheCatalogue(command)) << command;
    }
    EXPECT_EQ(CommandsIn(AsTheMountShows(log.SentToMount())), CommandsIn(heardTonight_));

    std::vector<std::string> asked;
    std::vector<std::string> sent;
    for (const auto& [direction, milliseconds] : pulses_) {
        const std::string duration = std::to_string(milliseconds);
        asked.push_back("PulseGuide(" + std::to_string(direction.number) + ", " + duration + ") -- Synchronous: False");
        sent.push_back("TX: :M" + std::string(1, direction.letter) + duration + "#");
    }
    EXPECT_EQ(log.Messages({"ASCOM", "PulseGuide("}), asked);
    EXPECT_EQ(log.Messages({"ASCOM", "TX: :M"}), sent);
    for (const auto& [begin, end, duration] : std::vector<std::tuple<std::string, std::string, int>>{
             {"TX: :Ms1400#", "CommandBlind TX=':Qs#'", 1400}, {"TX: :Me1200#", "CommandBlind TX=':Qe#'", 1200}}) {
        EXPECT_GE(log.TimeOf({"Driver", end}) - log.TimeOf({"ASCOM", begin}), duration - 5) << "too early: " << end;
    }
    std::size_t ends = 0;
    for (const std::string_view end :
         {"North Move Complete", "South Move Complete", "East Move Complete", "West Move Complete"}) {
        ends += log.Messages({"PulseGuide", end}).size();
    }
    EXPECT_EQ(ends, pulses_.size());
    ReadMilestones(log);
}

/// All that is not plain information.
void ImagingNight::ReadComplaints(const NightLog& log) {
    struct Complaint {
        std::string_view level;
        LogMark mark;
    };
    const std::vector<Complaint> expected{
        // Nobody has entered a site in this night: the mount's own is used.
        {"Warning", {"GetLongLatFromMount", "Latitude does not match site setting"}},
        {"Warning", {"GetLongLatFromMount", "Longitude does not match site setting"}},
        {"Warning", {"UI_INIT", "Nobody has set the site yet: the mount keeps its own"}},
        // The slew before the unpark.
        {"Exception", {"check_connected", "SlewToCoordinatesAsync : bMustNotBeParked and g_bParked: True, True"}},
        // An unpark toggles the form of the replies; the first reading after it puts that right.
        {"Error", {"ParseProtocolHours", "Conversion error: Incorrect number of ':' in string"}},
        {"Error", {"RA Query", "Detected corrupted or short format response... sending long format command..."}},
        // The slew after the park.
        {"Exception", {"check_connected", "SlewToCoordinatesAsync : bMustNotBeParked and g_bParked: True, True"}},
    };
    auto next = expected.begin();
    for (const LogLine& line : log.Lines()) {
        if (line.isHead || line.level == "Info") {
            continue;
        }
        const bool isExpected = next != expected.end() && next->level == line.level && next->mark.Fits(line);
        EXPECT_TRUE(isExpected) << line.origin << ": " << line.level << ": " << line.message;
        next += isExpected ? 1 : 0;
    }
    EXPECT_TRUE(next == expected.end()) << "not complained of: " << next->mark.message;
}

void ImagingNight::ReadMilestones(const NightLog& log) {
    EXPECT_EQ(log.FirstMissing({
                  {"ASCOM", "SET Connected = True"},
                  {"Telescope", "CommandString Reply Received (TX=':V#'), RX='VKC4-P02-08#'"},
                  {"ASCOM", "SET Connected = True"},
                  {"ASCOM", "SET Connected = True"},
                  {"FOCUSER", "SET Link = True"},
                  {"ASCOM", "Unpark"},
                  {"Telescope", "Unpark Mount, 0"},
                  {"Driver", "CommandBlind TX=':PO#'"},
                  {"Telescope", "Unpark Complete, 0"},
                  {"ASCOM", "SET Tracking = True"},
                  {"ASCOM", "SlewToCoordinates() RA="},
                  {"AutoCalibrateNSEW", "Autocalibration Successful!"},
                  {"Slew RA/Dec", "Sent 'MS', Response: 0"},
                  {"Inititialization", "Side of mount initilization complete!"},  // the end of a driver's first slew
                  {"ASCOM", "SyncToCoordinates() RA="},
                  {"Driver", "CommandString TX=':CMR#'"},
                  {"ASCOM", "PulseGuide(0, 420)"},
                  {"ASCOM", "PulseGuide(3, 350)"},
                  {"PulseGuide", "West Move Complete"},
                  {"ASCOM", "PulseGuide(1, 1400)"},
                  {"ASCOM", "PulseGuide(2, 1200)"},
                  {"PulseGuide", "South Move Complete"},  // the one of 1.4 s: both axes were guided at once
                  {"ASCOM", "SlewToCoordinatesAsync() RA="},
                  {"Slew RA/Dec", "Sent 'MS', Response: 0"},
                  {"FOCUSER", "SET Move = -200"},
                  {"SLEW COMPLETE", "Slew complete: Setting tracking rates"},
                  {"ASCOM", "PulseGuide(0, 500)"},
                  {"FOCUSER", "SET Move = 150"},
                  {"FOCUSER", "SET Move = 5000"},
                  {"FOCUSER", "Halt()"},
                  {"Driver", "CommandBlind TX=':Rs300#'"},
                  {"ASCOM", "SlewToCoordinatesAsync() RA="},
                  {"Slew RA/Dec", "Sent 'MS', Response: 0"},
                  {"ASCOM", "AbortSlew()"},
                  {"ASCOM", "CommandBlind TX=':Q#'"},
                  {"ASCOM", "CommandBlind TX=':Q#'"},
                  {"SLEW COMPLETE", "Slew complete: Setting tracking rates"},
                  {"Driver", "CommandBlind TX=':RS2#'"},
                  {"ASCOM", "Park()"},
                  {"Telescope", "Park started..."},
                  {"PARK**", "HandleParkComplete"},
                  {"Driver", "CommandBlind TX=':KA#'"},
                  {"PARK**", "Park completed..."},
                  {"ASCOM", "SET Connected = False"},
                  {"FOCUSER", "SET Link = False"},
                  {"ASCOM", "SET Connected = False"},
                  {"ASCOM", "SET Connected = False"},
                  {"Serial", "Terminating and releasing serial object..."},
              }),
              "");
}

TEST_F(ImagingNight, GoesAsTheProgramsSeeIt_AndAsTheLogSays) {
    Discover();
    ConnectAll();
    Unpark();
    SlewToTargetEastOfMeridian();
    SyncBesideTarget();
    GuideWithDithers();
    FlipAndFocusMeanwhile();
    StopTheFocuser();
    AbortASlew();
    Park();
    ReadJournal();
    DisconnectAll();
    StartAgain();
    ReadLog();
}

}  // namespace
}  // namespace kestrane::process

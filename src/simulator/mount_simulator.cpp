#include "simulator/mount_simulator.h"

#include <algorithm>
#include <utility>

#include "simulator/commands.h"
#include "simulator/firmware.h"
#include "simulator/mount_model.h"
#include "simulator/serial_line.h"

namespace kestrane {

using simulator::Answer;
using simulator::Outcome;

void Misbehaviour::Change(SimulatedReply&) {}
double Misbehaviour::StallsShortBy() const {
    return 0;
}
bool Misbehaviour::StalledStillSlews() const {
    return false;
}
std::string_view Misbehaviour::Babble() const {
    return {};
}

class MountSimulator::Implementation {
public:
    Implementation(Clock& clock, MountSimulatorOptions options)
        : clock_(clock),
          options_(std::move(options)),
          lastTick_(clock.GetTickCount()),
          mount_(options_, simulator::FirmwareFor(options_.firmware), clock.GetLocalTime(), clock.TimeZoneOffset()),
          line_(options_.byteTimeUs) {}

    void Advance();
    void Receive(std::string_view bytes);
    std::string Read(std::size_t maxCount);
    std::optional<std::int32_t> NextByteIn() const;
    void Send(std::string_view bytes);
    void SetLineDead(bool dead);
    void FollowMisbehaviours();
    MountPicture Picture() const;

    simulator::MountModel& Mount() { return mount_; }

    std::vector<std::unique_ptr<Misbehaviour>> misbehaviours;
    std::vector<std::string> commands;
    std::vector<std::string> unknown;
    std::vector<std::string> unsupported;
    simulator::CommandParser parser;

private:
    std::int64_t NowUs() const { return nowMs_ * 1000; }
    void Carry(const std::string& command);
    void Reply(const std::string& command, Answer answer);
    void BabbleUntilNow();

    Clock& clock_;
    MountSimulatorOptions options_;
    Tick lastTick_;
    std::int64_t nowMs_ = 0;  // running time of the mount
    simulator::MountModel mount_;
    simulator::OutgoingLine line_;
    bool dead_ = false;
};

// Called at every entry: the mount goes through the time since the last one. The difference of the ticks is right
// across their wrap as long as there is an entry within 24 days.
void MountSimulator::Implementation::Advance() {
    const Tick now = clock_.GetTickCount();
    const std::int32_t elapsed = std::max(now - lastTick_, 0);
    lastTick_ = now;
    nowMs_ += elapsed;
    mount_.Advance(elapsed);
    BabbleUntilNow();
}

void MountSimulator::Implementation::BabbleUntilNow() {
    for (const auto& misbehaviour : misbehaviours) {
        const std::string_view babble = misbehaviour->Babble();
        // One byte is always on its way, so that a reader can see that more is coming.
        while (!dead_ && !babble.empty() && !line_.BusyAfter(NowUs())) {
            line_.Send(babble, std::max(line_.FreeAtUs(), NowUs() - line_.CapacityUs()));
        }
    }
}

void MountSimulator::Implementation::Receive(std::string_view bytes) {
    if (dead_) {
        return;
    }
    for (const char byte : bytes) {
        if (const auto command = parser.Feed(byte)) {
            Carry(*command);
        }
    }
}

void MountSimulator::Implementation::Carry(const std::string& command) {
    commands.push_back(command);
    Answer answer = simulator::Execute(mount_, options_.firmware, options_.mountForm, command);
    switch (answer.outcome) {
        case Outcome::Unknown:
            unknown.push_back(command);
            break;
        case Outcome::Unsupported:
            unsupported.push_back(command);
            break;
        case Outcome::Done:
            if (!answer.parts.empty()) {
                Reply(command, std::move(answer));
            }
            break;
    }
}

void MountSimulator::Implementation::Reply(const std::string& command, Answer answer) {
    SimulatedReply reply;
    reply.command = command;
    reply.name = answer.name;
    for (std::string& part : answer.parts) {
        reply.parts.push_back({0, std::move(part)});
    }
    for (const auto& misbehaviour : misbehaviours) {
        misbehaviour->Change(reply);
    }
    std::int64_t at = NowUs() + std::int64_t{options_.replyLatencyMs} * 1000;
    for (const SimulatedReply::Part& part : reply.parts) {
        at += std::int64_t{part.delayMs} * 1000;
        line_.Send(part.bytes, at);
        at = std::max(at, line_.FreeAtUs());
    }
}

std::string MountSimulator::Implementation::Read(std::size_t maxCount) {
    return line_.Take(maxCount, NowUs());
}

std::optional<std::int32_t> MountSimulator::Implementation::NextByteIn() const {
    const auto at = line_.NextAtUs();
    if (!at) {
        return std::nullopt;
    }
    const std::int64_t waitUs = std::max<std::int64_t>(*at - NowUs(), 0);
    return static_cast<std::int32_t>((waitUs + 999) / 1000);
}

void MountSimulator::Implementation::Send(std::string_view bytes) {
    if (!dead_) {
        line_.Send(bytes, NowUs());
    }
}

void MountSimulator::Implementation::SetLineDead(bool dead) {
    dead_ = dead;
    line_.Clear(NowUs());
    parser.Reset();
}

void MountSimulator::Implementation::FollowMisbehaviours() {
    double stall = 0;
    bool stillSlews = false;
    for (const auto& misbehaviour : misbehaviours) {
        stall = std::max(stall, misbehaviour->StallsShortBy());
        stillSlews = stillSlews || misbehaviour->StalledStillSlews();
    }
    mount_.axes.StallShortBy(stall);
    mount_.stallStillSlews = stillSlews;
}

MountPicture MountSimulator::Implementation::Picture() const {
    const simulator::Horizontal altAz = mount_.AltAz();
    const simulator::AxisAngles angles = mount_.axes.Angles();
    const simulator::AxisAngles speeds = mount_.axes.Speeds();
    MountPicture picture;
    picture.rightAscension = mount_.RightAscension();
    picture.declination = mount_.Declination();
    picture.altitude = altAz.altitude;
    picture.azimuth = altAz.azimuth;
    picture.hourAngle = mount_.HourAngle();
    picture.siderealTime = mount_.SiderealTime();
    picture.hourAxis = angles.hour;
    picture.polarAxis = angles.polar;
    picture.hourSpeed = speeds.hour;
    picture.polarSpeed = speeds.polar;
    picture.westSide = mount_.axes.Side() == simulator::PierSide::West;
    picture.initialised = mount_.Initialised();
    picture.parked = mount_.Parked();
    picture.slewing = mount_.Slewing();
    picture.tracking = static_cast<char>(mount_.ShownTracking());
    picture.longFormat = mount_.longFormat;
    picture.latitude = mount_.Latitude();
    picture.longitudeWest = mount_.longitudeWest;
    picture.localTime = mount_.clock.Local();
    picture.zone = mount_.clock.Zone();
    picture.clockSetByMs = mount_.clock.SetByMs();
    picture.meridianDelay = mount_.meridianDelay;
    picture.raBacklash = mount_.raBacklash;
    picture.decBacklash = mount_.decBacklash;
    picture.guideRate = mount_.rates.guide;
    picture.centeringRate = mount_.rates.centering;
    picture.slewRate = mount_.rates.slew;
    picture.pem = static_cast<char>(mount_.pem);
    picture.reticle = mount_.reticle;
    picture.swappedEastWest = mount_.swappedEastWest;
    picture.swappedNorthSouth = mount_.swappedNorthSouth;
    picture.held = mount_.held;
    picture.focuserPosition = mount_.focuser.Position();
    picture.focuserRuns = mount_.focuser.RunsTo();
    picture.focuserFast = mount_.focuser.IsFast();
    return picture;
}

MountSimulator::MountSimulator(Clock& clock, MountSimulatorOptions options)
    : implementation_(std::make_unique<Implementation>(clock, std::move(options))) {}

MountSimulator::~MountSimulator() = default;

void MountSimulator::Write(std::string_view bytes) {
    implementation_->Advance();
    implementation_->Receive(bytes);
}

std::string MountSimulator::Read(std::size_t maxCount) {
    implementation_->Advance();
    return implementation_->Read(maxCount);
}

std::optional<std::int32_t> MountSimulator::NextByteIn() {
    implementation_->Advance();
    return implementation_->NextByteIn();
}

void MountSimulator::Add(std::unique_ptr<Misbehaviour> misbehaviour) {
    implementation_->Advance();
    implementation_->misbehaviours.push_back(std::move(misbehaviour));
    implementation_->FollowMisbehaviours();
    implementation_->Advance();
}

void MountSimulator::ClearMisbehaviours() {
    implementation_->Advance();
    implementation_->misbehaviours.clear();
    implementation_->FollowMisbehaviours();
}

void MountSimulator::SetLineDead(bool dead) {
    implementation_->Advance();
    implementation_->SetLineDead(dead);
}

void MountSimulator::Send(std::string_view bytes) {
    implementation_->Advance();
    implementation_->Send(bytes);
}

const std::vector<std::string>& MountSimulator::Commands() const {
    return implementation_->commands;
}

const std::vector<std::string>& MountSimulator::UnknownCommands() const {
    return implementation_->unknown;
}

const std::vector<std::string>& MountSimulator::UnsupportedCommands() const {
    return implementation_->unsupported;
}

std::size_t MountSimulator::GarbageBytes() const {
    return implementation_->parser.GarbageBytes();
}

MountPicture MountSimulator::Picture() {
    implementation_->Advance();
    return implementation_->Picture();
}

void MountSimulator::SetFault(char fault) {
    implementation_->Mount().fault = fault;
}

void MountSimulator::SetAutoPark(bool on) {
    implementation_->Mount().autoPark = on;
}

void MountSimulator::Place(const MountPointing& pointing) {
    implementation_->Advance();
    implementation_->Mount().Place(pointing);
}

void MountSimulator::WatchAxes(std::function<void(double hourAxis, double polarAxis)> observer) {
    implementation_->Advance();
    implementation_->Mount().axes.Watch(std::move(observer));
}

}  // namespace kestrane

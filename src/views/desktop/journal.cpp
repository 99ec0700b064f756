#include "views/desktop/journal.h"

#include <QStringList>
#include <cmath>
#include <map>
#include <numbers>

namespace kestrane::desktop {
namespace {

constexpr double kGap = 5;  // seconds without a position: what comes then is another run
constexpr double kArcSecondsPerHour = 15.0 * 3600;

template <class Entry>
void Forget(std::deque<Entry>& entries, double before) {
    while (!entries.empty() && entries.front().time < before) {
        entries.pop_front();
    }
}

QString RowOf(const Journal::Position& position) {
    const QString drift = position.tracks
                              ? QString("%1,%2").arg(position.raDrift, 0, 'f', 2).arg(position.decDrift, 0, 'f', 2)
                              : QString(",");
    return QString("%1,%2,%3,position,%4,%5,%6,%7,,")
        .arg(position.time)
        .arg(position.date, position.clock)
        .arg(position.ra, 0, 'f', 6)
        .arg(position.dec, 0, 'f', 5)
        .arg(position.tracks ? 1 : 0)
        .arg(drift);
}

QString RowOf(const Journal::Pulse& pulse) {
    return QString("%1,%2,%3,pulse,,,,,,%4,%5")
        .arg(pulse.time)
        .arg(pulse.date, pulse.clock, pulse.direction)
        .arg(pulse.duration);
}

}  // namespace

void Journal::Clear() {
    *this = Journal();
}

void Journal::Append(int first, const QJsonArray& lines) {
    next_ = first + static_cast<int>(lines.size());
    for (const QJsonValue& line : lines) {
        Take(line.toArray()[0].toString().split(' '));
    }
    Forget(positions_, Newest() - kKept);
    Forget(pulses_, Newest() - kKept);
}

void Journal::Take(const QStringList& words) {
    if (words.size() >= 6 && words[3] == "G") {
        pulses_.push_back({words[0].toDouble(), words[1], words[2], words[4], words[5].toInt()});
    } else if (words.size() >= 7 && words[3] == "P") {
        TakePosition({.time = words[0].toDouble(),
                      .date = words[1],
                      .clock = words[2],
                      .ra = words[4].toDouble(),
                      .dec = words[5].toDouble(),
                      .tracks = words[6] == "T"});
    }
}

void Journal::TakePosition(Position position) {
    const bool goesOn = !positions_.empty() && positions_.back().tracks && position.tracks &&
                        position.time - positions_.back().time <= kGap;
    if (!goesOn) {
        ++run_;
        zero_ = position;
    }
    position.run = run_;
    const double hours = std::remainder(position.ra - zero_.ra, 24);
    position.raDrift = hours * kArcSecondsPerHour * std::cos(zero_.dec * std::numbers::pi / 180);
    position.decDrift = (position.dec - zero_.dec) * 3600;
    positions_.push_back(position);
}

QString Journal::Csv() const {
    std::multimap<double, QString> rows;
    for (const Position& position : positions_) {
        rows.emplace(position.time, RowOf(position));
    }
    for (const Pulse& pulse : pulses_) {
        rows.emplace(pulse.time, RowOf(pulse));
    }
    QString text =
        "seconds,date,time,kind,ra_hours,dec_degrees,tracks,ra_drift_arcsec,dec_drift_arcsec,direction,pulse_ms\r\n";
    for (const auto& [time, row] : rows) {
        text += row + "\r\n";
    }
    return text;
}

}  // namespace kestrane::desktop

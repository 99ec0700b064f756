#pragma once

#include <QJsonArray>
#include <QString>
#include <deque>
#include <optional>

namespace kestrane::desktop {

/// The journal of the night: positions with their drift, and guide pulses, of the last six hours. Times are seconds of
/// a clock that never jumps.
class Journal final {
public:
    static constexpr double kKept = 6 * 3600;

    struct Position {
        double time = 0;
        QString date, clock;
        double ra = 0;   ///< hours
        double dec = 0;  ///< degrees
        bool tracks = false;
        int run = 0;          ///< positions that are drawn as one line
        double raDrift = 0;   ///< arc-seconds since the run began
        double decDrift = 0;  ///< the same
    };
    struct Pulse {
        double time = 0;
        QString date, clock, direction;
        int duration = 0;  ///< milliseconds
    };

    void Clear();
    void Append(int first, const QJsonArray& lines);
    /// The number of the line that it wants next.
    int Next() const { return next_; }
    double Newest() const { return positions_.empty() ? 0 : positions_.back().time; }
    const std::deque<Position>& Positions() const { return positions_; }
    const std::deque<Pulse>& Pulses() const { return pulses_; }

    /// All that is kept, as a table.
    QString Csv() const;

private:
    void Take(const QStringList& words);
    void TakePosition(Position position);

    std::deque<Position> positions_;
    std::deque<Pulse> pulses_;
    Position zero_;
    int run_ = 0;
    int next_ = 1;
};

}  // namespace kestrane::desktop

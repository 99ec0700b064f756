#pragma once

#include <QGroupBox>
#include <QLabel>
#include <QWidget>
#include <optional>

#include "views/desktop/journal.h"

class QPainter;

namespace kestrane::desktop {

/// The drift of RA and Dec in arc-seconds, and the guide pulses, on one time axis. It follows the newest position
/// unless a person has gone back.
class JournalChart final : public QWidget {
    Q_OBJECT

public:
    JournalChart(const Journal& journal, QWidget* parent);

    void ZoomBy(int steps);
    void MoveBy(double seconds);
    void GoLive();
    double Span() const;
    /// "5 min", and whether it is an earlier time.
    QString SpanWords() const;
    /// How far the last run lies from its mean, and how many pulses there are.
    QString Words() const;

Q_SIGNALS:
    void Shown();

private:
    struct Field;

    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    QSize sizeHint() const override { return {340, 260}; }

    double End() const { return end_.value_or(journal_.Newest()); }
    bool IsShown(double time) const { return time >= End() - Span() && time <= End(); }
    void PaintGrid(QPainter& painter, const Field& field) const;
    void PaintTimes(QPainter& painter, const Field& field) const;
    void PaintDrift(QPainter& painter, const Field& field, double Journal::Position::*drift) const;
    void PaintPulses(QPainter& painter, const Field& field) const;
    void PaintLegend(QPainter& painter, const Field& field) const;

    const Journal& journal_;
    std::size_t zoom_ = 1;
    std::optional<double> end_;  ///< the time at the right edge; none: the newest
    double draggedFrom_ = 0;
};

/// The chart with its buttons, in a box that folds. A chart that nobody looks at costs nothing: `Wanted` comes when it
/// is opened.
class JournalBox final : public QGroupBox {
    Q_OBJECT

public:
    JournalBox(const Journal& journal, QWidget* parent);
    /// After the journal has changed.
    void Draw();

Q_SIGNALS:
    void Wanted();

private:
    void Tell();
    void SaveCsv();
    void SavePng();

    const Journal& journal_;
    JournalChart* chart_;
    QLabel* words_;
    QLabel* span_;
};

}  // namespace kestrane::desktop

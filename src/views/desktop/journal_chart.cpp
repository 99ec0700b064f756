#include "views/desktop/journal_chart.h"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QSaveFile>
#include <QTime>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "views/desktop/foldable_box.h"
#include "views/desktop/save_file.h"
#include "views/desktop/theme.h"

namespace kestrane::desktop {
namespace {

constexpr std::array<double, 6> kSpans{60, 300, 900, 3600, 3 * 3600, Journal::kKept};
constexpr std::array<const char*, 6> kSpanNames{"1 min", "5 min", "15 min", "1 h", "3 h", "6 h"};
constexpr std::array<double, 9> kTicks{10, 20, 60, 120, 300, 600, 1200, 3600, 7200};
constexpr double kLabel = 70;        // pixels that the time of a tick takes
constexpr double kPulseBand = 0.24;  // of the height

/// The smallest of 1, 2, 5, 10, 20, ... that is not below `most`.
double RoundUp(double most) {
    const double power = std::pow(10, std::floor(std::log10(std::max(most, 1.0))));
    for (const double step : {1.0, 2.0, 5.0}) {
        if (step * power >= most) {
            return step * power;
        }
    }
    return 10 * power;
}

/// How far the values lie from their mean.
double RootMeanSquare(const std::vector<double>& values) {
    double sum = 0;
    for (const double value : values) {
        sum += value;
    }
    const double mean = sum / static_cast<double>(values.size());
    double squares = 0;
    for (const double value : values) {
        squares += (value - mean) * (value - mean);
    }
    return std::sqrt(squares / static_cast<double>(values.size()));
}

const Colours& ChartInks() {
    return ColoursOf(WornTheme());
}

}  // namespace

/// Where what is drawn goes, in pixels.
struct JournalChart::Field {
    double left, right, top, bottom, height;
    double start, span;  ///< seconds
    double most;         ///< arc-seconds at the upper edge

    double X(double time) const { return left + (time - start) / span * (right - left); }
    double Y(double drift) const { return (top + bottom) / 2 - drift / most * ((bottom - top) / 2); }
};

JournalChart::JournalChart(const Journal& journal, QWidget* parent) : QWidget(parent), journal_(journal) {
    setMinimumHeight(220);
    setCursor(Qt::SizeHorCursor);
}

double JournalChart::Span() const {
    return kSpans[zoom_];
}

QString JournalChart::SpanWords() const {
    return end_ ? QString("%1, earlier").arg(kSpanNames[zoom_]) : QString(kSpanNames[zoom_]);
}

void JournalChart::ZoomBy(int steps) {
    const int wanted = static_cast<int>(zoom_) + steps;
    zoom_ = static_cast<std::size_t>(std::clamp(wanted, 0, static_cast<int>(kSpans.size()) - 1));
    update();
    Q_EMIT Shown();
}

void JournalChart::MoveBy(double seconds) {
    const double end = End() + seconds;
    end_ = end >= journal_.Newest() ? std::nullopt
                                    : std::optional(std::max(end, journal_.Newest() - Journal::kKept + Span()));
    update();
    Q_EMIT Shown();
}

void JournalChart::GoLive() {
    end_.reset();
    update();
    Q_EMIT Shown();
}

QString JournalChart::Words() const {
    std::vector<double> ra, dec;
    int run = 0;
    for (const Journal::Position& position : journal_.Positions()) {
        if (position.tracks && IsShown(position.time)) {
            if (position.run != run) {
                run = position.run;
                ra.clear();
                dec.clear();
            }
            ra.push_back(position.raDrift);
            dec.push_back(position.decDrift);
        }
    }
    if (ra.empty()) {
        return tr("The mount does not track.");
    }
    const auto pulses =
        std::ranges::count_if(journal_.Pulses(), [this](const auto& pulse) { return IsShown(pulse.time); });
    return QString("RMS: RA %1″, Dec %2″. Pulses: %3.")
        .arg(RootMeanSquare(ra), 0, 'f', 2)
        .arg(RootMeanSquare(dec), 0, 'f', 2)
        .arg(pulses);
}

void JournalChart::paintEvent(QPaintEvent* /*event*/) {
    double most = 1;
    for (const Journal::Position& position : journal_.Positions()) {
        if (position.tracks && IsShown(position.time)) {
            most = std::max({most, std::abs(position.raDrift), std::abs(position.decDrift)});
        }
    }
    const Field field{.left = 46,
                      .right = width() - 8.0,
                      .top = 26,
                      .bottom = (height() - 24) * (1 - kPulseBand),
                      .height = static_cast<double>(height()),
                      .start = End() - Span(),
                      .span = Span(),
                      .most = RoundUp(most)};
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), ChartInks().back);
    QFont font = painter.font();
    font.setPixelSize(12);
    painter.setFont(font);
    PaintGrid(painter, field);
    PaintTimes(painter, field);
    painter.setPen(QPen(ChartInks().text, 2));
    PaintDrift(painter, field, &Journal::Position::raDrift);
    QPen dashed(ChartInks().accent, 2);
    dashed.setDashPattern({3, 2});
    painter.setPen(dashed);
    PaintDrift(painter, field, &Journal::Position::decDrift);
    PaintPulses(painter, field);
    PaintLegend(painter, field);
}

void JournalChart::PaintGrid(QPainter& painter, const Field& field) const {
    for (const double part : {-1.0, -0.5, 0.0, 0.5, 1.0}) {
        const double level = field.Y(part * field.most);
        painter.setPen(QPen(ChartInks().edge, 1));
        painter.drawLine(QPointF(field.left, level), QPointF(field.right, level));
        painter.setPen(ChartInks().quiet);
        painter.drawText(QRectF(0, level - 10, field.left - 6, 20), Qt::AlignRight | Qt::AlignVCenter,
                         QString("%1″").arg(part * field.most, 0, 'g', 3));
    }
}

void JournalChart::PaintTimes(QPainter& painter, const Field& field) const {
    if (journal_.Positions().empty()) {
        return;
    }
    const auto fits = [&](double each) { return each / field.span * (field.right - field.left) >= kLabel; };
    const auto* const found = std::ranges::find_if(kTicks, fits);
    const double step = found == kTicks.end() ? kTicks.back() : *found;
    const Journal::Position& last = journal_.Positions().back();
    const double now = QTime(0, 0).secsTo(QTime::fromString(last.clock, "hh:mm:ss")) - (last.time - End());
    for (double tick = std::ceil((now - field.span) / step) * step; tick <= now; tick += step) {
        const double at = field.X(End() - (now - tick));
        painter.setPen(QPen(ChartInks().edge, 1));
        painter.drawLine(QPointF(at, field.top), QPointF(at, field.height - 24));
        if (at > field.left + 10 && at < field.right - 22) {
            const auto day = static_cast<int>(std::fmod(std::fmod(tick, 86400) + 86400, 86400));
            painter.setPen(ChartInks().quiet);
            painter.drawText(QRectF(at - 40, field.height - 20, 80, 20), Qt::AlignCenter,
                             QTime(0, 0).addSecs(day).toString(step < 60 ? "hh:mm:ss" : "hh:mm"));
        }
    }
}

void JournalChart::PaintDrift(QPainter& painter, const Field& field, double Journal::Position::*drift) const {
    QPainterPath line;
    int run = 0;
    for (const Journal::Position& position : journal_.Positions()) {
        if (!position.tracks || !IsShown(position.time)) {
            continue;
        }
        const QPointF at(field.X(position.time), field.Y(position.*drift));
        if (position.run == run) {
            line.lineTo(at);
        } else {
            line.moveTo(at);
        }
        run = position.run;
    }
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(line);
}

/// RA is filled and goes up for east; Dec is an outline and goes up for north.
void JournalChart::PaintPulses(QPainter& painter, const Field& field) const {
    const double top = field.bottom + 10;
    const double half = (field.height - 26 - top) / 2;
    const double middle = top + half;
    int longest = 1;
    for (const Journal::Pulse& pulse : journal_.Pulses()) {
        longest = IsShown(pulse.time) ? std::max(longest, pulse.duration) : longest;
    }
    painter.setPen(QPen(ChartInks().edge, 1));
    painter.drawLine(QPointF(field.left, middle), QPointF(field.right, middle));
    for (const Journal::Pulse& pulse : journal_.Pulses()) {
        if (!IsShown(pulse.time)) {
            continue;
        }
        const double tall = std::max(half * pulse.duration / longest, 2.0);
        const bool up = pulse.direction == "E" || pulse.direction == "N";
        const QRectF bar(field.X(pulse.time) - 1.5, up ? middle - tall : middle, 4, tall);
        if (pulse.direction == "E" || pulse.direction == "W") {
            painter.fillRect(bar, ChartInks().text);
        } else {
            painter.setPen(QPen(ChartInks().accent, 1.5));
            painter.setBrush(Qt::NoBrush);
            painter.drawRect(bar);
        }
    }
}

void JournalChart::PaintLegend(QPainter& painter, const Field& field) const {
    QPen dashed(ChartInks().accent, 2);
    dashed.setDashPattern({3, 2});
    const std::tuple<double, const char*, QPen> entries[] = {{field.left, "RA, east up", QPen(ChartInks().text, 2)},
                                                             {field.left + 130, "Dec, north up", dashed}};
    for (const auto& [at, text, pen] : entries) {
        painter.setPen(pen);
        painter.drawLine(QPointF(at, 12), QPointF(at + 24, 12));
        painter.setPen(ChartInks().text);
        painter.drawText(QRectF(at + 30, 2, 110, 20), Qt::AlignLeft | Qt::AlignVCenter, text);
    }
}

void JournalChart::wheelEvent(QWheelEvent* event) {
    ZoomBy(event->angleDelta().y() < 0 ? 1 : -1);
    event->accept();
}

void JournalChart::mousePressEvent(QMouseEvent* event) {
    draggedFrom_ = event->position().x();
}

void JournalChart::mouseMoveEvent(QMouseEvent* event) {
    const double x = event->position().x();
    MoveBy((draggedFrom_ - x) * Span() / width());
    draggedFrom_ = x;
}

// --- the box

JournalBox::JournalBox(const Journal& journal, QWidget* parent)
    : QGroupBox(tr("Drift and guiding"), parent), journal_(journal) {
    setCheckable(true);
    setChecked(false);
    auto* const body = new QWidget(this);
    (new QVBoxLayout(this))->addWidget(body);
    auto* const inside = new QVBoxLayout(body);
    inside->setContentsMargins(0, 0, 0, 0);
    chart_ = new JournalChart(journal, body);
    words_ = new QLabel(body);
    span_ = new QLabel(body);
    inside->addWidget(chart_);
    inside->addWidget(words_);
    auto* const row = new QHBoxLayout;
    inside->addLayout(row);
    const auto add = [&](const QString& text, const QString& words, auto does) {
        auto* const button = new QPushButton(text, body);
        button->setToolTip(words);
        button->setAccessibleName(words);
        button->setProperty("role", "small");
        connect(button, &QPushButton::clicked, this, does);
        row->addWidget(button);
    };
    add("◀", tr("Earlier"), [this] { chart_->MoveBy(-chart_->Span() / 2); });
    add("▶", tr("Later"), [this] { chart_->MoveBy(chart_->Span() / 2); });
    add(tr("Live"), tr("Follow the newest position"), [this] { chart_->GoLive(); });
    add("+", tr("Zoom in"), [this] { chart_->ZoomBy(-1); });
    add("−", tr("Zoom out"), [this] { chart_->ZoomBy(1); });
    row->addWidget(span_);
    row->addStretch();
    add("CSV", tr("Save all that is kept as a table"), [this] { SaveCsv(); });
    add("PNG", tr("Save the picture"), [this] { SavePng(); });
    connect(chart_, &JournalChart::Shown, this, &JournalBox::Tell);
    MakeFoldable(*this);
    connect(this, &QGroupBox::toggled, this, [this](bool isOpen) {
        if (isOpen) {
            Q_EMIT Wanted();
        }
    });
    Tell();
}

void JournalBox::Draw() {
    if (isChecked()) {
        chart_->update();
        Tell();
    }
}

void JournalBox::Tell() {
    span_->setText(chart_->SpanWords());
    words_->setText(chart_->Words());
    chart_->setAccessibleName(QString("Drift and guide pulses of the last %1. %2").arg(span_->text(), words_->text()));
}

void JournalBox::SaveCsv() {
    SaveFile(this, "mount-journal.csv", journal_.Csv().toUtf8());
}

void JournalBox::SavePng() {
    SaveFile(this, "mount-journal.png", PngOf(chart_->grab()));
}

}  // namespace kestrane::desktop

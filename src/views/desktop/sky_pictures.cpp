#include "views/desktop/sky_pictures.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <numbers>

#include "views/desktop/theme.h"

namespace kestrane::desktop {
namespace {

constexpr double kField = 110;
constexpr double kLowest = -10;  // degrees of altitude, of what is shown below the horizon

double Radians(double degrees) {
    return degrees * std::numbers::pi / 180;
}

const Colours& SkyInks() {
    return ColoursOf(WornTheme());
}

/// The zenith is in the middle, the horizon at 90.
QPointF At(double alt, double az) {
    const double radius = 90 - alt;
    return {-radius * std::sin(Radians(az)), -radius * std::cos(Radians(az))};
}

void Write(QPainter& painter, QPointF middle, const QString& text) {
    painter.setPen(SkyInks().quiet);
    painter.drawText(QRectF(middle.x() - 80, middle.y() - 10, 160, 20), Qt::AlignCenter, text);
}

/// A picture is drawn in its own field, whatever the size of the widget.
void Frame(QPainter& painter, const QSize& size) {
    painter.setRenderHint(QPainter::Antialiasing);
    const double scale = std::min(size.width(), size.height()) / (2 * kField);
    painter.translate(size.width() / 2.0, size.height() / 2.0);
    painter.scale(scale, scale);
    QFont font = painter.font();
    font.setPixelSize(11);
    painter.setFont(font);
}

}  // namespace

SkyPicture::SkyPicture(const SkyNumbers& sky, QWidget* parent) : QWidget(parent), sky_(sky) {
    setMinimumSize(180, 180);
}

void SkyPicture::Draw() {
    setAccessibleName(Words());
    setToolTip(Words());
    update();
}

void SkyPicture::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    Frame(painter, size());
    Paint(painter);
}

// --- the sky

QString SkyDial::Words() const {
    const auto alt = Sky().Number("lblAlt");
    const auto az = Sky().Number("lblAz");
    return alt && az
               ? QString("The tube points to altitude %1, azimuth %2 degrees").arg(*alt, 0, 'f', 1).arg(*az, 0, 'f', 1)
               : QString("Where the tube points is not known");
}

void SkyDial::Paint(QPainter& painter) {
    PaintGrid(painter);
    PaintPark(painter);
    PaintSun(painter);
    const auto alt = Sky().Number("lblAlt");
    const auto az = Sky().Number("lblAz");
    if (!alt || !az) {
        return;
    }
    const QPointF tube = At(std::max(*alt, kLowest), *az);
    PaintTarget(painter, tube);
    painter.setPen(QPen(SkyInks().text, 3));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(tube, 6, 6);
    painter.setPen(Qt::NoPen);
    painter.setBrush(SkyInks().text);
    painter.drawEllipse(tube, 1.5, 1.5);
}

void SkyDial::PaintGrid(QPainter& painter) const {
    painter.setPen(QPen(SkyInks().edge, 1));
    for (const double radius : {30.0, 60.0}) {
        painter.drawEllipse(QPointF(), radius, radius);
    }
    painter.drawLine(QPointF(-90, 0), QPointF(90, 0));
    painter.setPen(QPen(SkyInks().quiet, 1));
    painter.drawLine(QPointF(0, -90), QPointF(0, 90));
    painter.setPen(QPen(SkyInks().text, 1.5));
    painter.drawEllipse(QPointF(), 90, 90);
    const std::pair<const char*, QPointF> points[] = {
        {"N", {0, -100}}, {"S", {0, 101}}, {"E", {-101, 0}}, {"W", {101, 0}}};
    for (const auto& [name, place] : points) {
        Write(painter, place, name);
    }
    if (const auto latitude = Sky().Number("lblLatitude")) {
        const QPointF pole = At(std::abs(*latitude), *latitude < 0 ? 180 : 0);
        painter.setPen(QPen(SkyInks().quiet, 1.5));
        painter.drawLine(pole - QPointF(4, 0), pole + QPointF(4, 0));
        painter.drawLine(pole - QPointF(0, 4), pole + QPointF(0, 4));
    }
}

void SkyDial::PaintPark(QPainter& painter) const {
    const auto alt = Sky().Number("lblParkAlt");
    if (!alt) {
        return;
    }
    const QPointF place = At(std::max(*alt, 0.0), Sky().Number("lblParkAz").value_or(0));
    painter.setPen(QPen(SkyInks().quiet, 1.5));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(place.x() - 6, place.y() - 6, 12, 12), 2, 2);
    Write(painter, place, "P");
}

void SkyDial::PaintSun(QPainter& painter) const {
    const double alt = Sky().Number("lblSunAlt").value_or(0);
    if (alt <= 0) {
        return;
    }
    const QPointF place = At(alt, Sky().Number("lblSunAz").value_or(0));
    painter.setPen(QPen(SkyInks().quiet, 1.5));
    painter.setBrush(SkyInks().quiet);
    painter.drawEllipse(place, 3.5, 3.5);
    for (int turn = 0; turn < 360; turn += 45) {
        const QPointF way(std::cos(Radians(turn)), std::sin(Radians(turn)));
        painter.drawLine(place + 6 * way, place + 9 * way);
    }
}

void SkyDial::PaintTarget(QPainter& painter, QPointF tube) const {
    const auto alt = Sky().Number("lblTargetAlt");
    const auto az = Sky().Number("lblTargetAz");
    if (!alt || !az) {
        return;
    }
    const QPointF target = At(std::max(*alt, kLowest), *az);
    QPen way(SkyInks().accent, 2);
    way.setDashPattern({2.5, 2});
    painter.setPen(way);
    painter.drawLine(tube, target);
    painter.setPen(QPen(SkyInks().accent, 2.5));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(QRectF(target.x() - 5, target.y() - 5, 10, 10));
}

// --- the pier

QString PierPicture::Words() const {
    const QString side = Sky().Text("lblPierSide");
    return side.isEmpty() ? QString("The side of the pier is not known")
                          : QString("The tube is %1 of the pier, the counterweight %2")
                                .arg(side.toLower(), Sky().Number("lblCounterweight").value_or(0) > 0 ? "up" : "down");
}

void PierPicture::Paint(QPainter& painter) {
    const bool isSouth = Sky().Number("lblLatitude").value_or(0) < 0;
    painter.setPen(QPen(SkyInks().quiet, 1));
    painter.setBrush(SkyInks().raised);
    painter.drawRect(QRectF(-12, 30, 24, 60));
    painter.setPen(QPen(SkyInks().text, 1.5));
    painter.drawLine(QPointF(-60, 90), QPointF(60, 90));
    Write(painter, {-74, 90}, isSouth ? "E" : "W");
    Write(painter, {74, 90}, isSouth ? "W" : "E");
    const QString side = Sky().Text("lblPierSide");
    const auto weight = Sky().Number("lblCounterweight");
    if (!side.isEmpty() && weight) {
        PaintMount(painter, side, *weight, isSouth);
    }
}

void PierPicture::PaintMount(QPainter& painter, const QString& side, double weight, bool isSouth) const {
    const double away = (side == "East") == isSouth ? 1 : -1;  // to which side the counterweight is
    const QPointF shaft(away * std::cos(Radians(weight)), -std::sin(Radians(weight)));
    painter.setPen(QPen(SkyInks().text, 5));
    painter.drawLine(58 * shaft, -52 * shaft);
    painter.setPen(QPen(SkyInks().text, 3));
    painter.setBrush(weight > 0 ? SkyInks().accent : SkyInks().raised);
    painter.drawEllipse(58 * shaft, 12, 12);
    const double turn = std::min(90 - Sky().Number("lblDec").value_or(0), 90.0);
    painter.save();
    painter.translate(-60 * shaft);
    painter.rotate(away * turn * 0.6);
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(-9, -32, 18, 64), 3, 3);
    painter.restore();
    Write(painter, {0, 101}, QString("Tube %1, weight %2").arg(side.toLower(), weight > 0 ? "UP" : "down"));
}

}  // namespace kestrane::desktop

#pragma once

#include <QWidget>

#include "views/desktop/sky_numbers.h"

class QPainter;

namespace kestrane::desktop {

/// A square picture that is drawn from the numbers of the sky, on a field from -110 to 110 both ways.
class SkyPicture : public QWidget {
public:
    SkyPicture(const SkyNumbers& sky, QWidget* parent);
    /// After the numbers have changed.
    void Draw();

protected:
    virtual void Paint(QPainter& painter) = 0;
    /// What it shows, in words.
    virtual QString Words() const = 0;
    const SkyNumbers& Sky() const { return sky_; }

private:
    void paintEvent(QPaintEvent* event) override;
    QSize sizeHint() const override { return {220, 220}; }

    const SkyNumbers& sky_;
};

/// The sky with the tube in it: zenith in the middle, north up and east left, as one sees the sky.
class SkyDial final : public SkyPicture {
public:
    using SkyPicture::SkyPicture;

private:
    void Paint(QPainter& painter) override;
    QString Words() const override;
    void PaintGrid(QPainter& painter) const;
    void PaintPark(QPainter& painter) const;
    void PaintSun(QPainter& painter) const;
    void PaintTarget(QPainter& painter, QPointF tube) const;
};

/// The pier from behind, against the pole: east is right in the north, and left in the south.
class PierPicture final : public SkyPicture {
public:
    using SkyPicture::SkyPicture;

private:
    void Paint(QPainter& painter) override;
    QString Words() const override;
    void PaintMount(QPainter& painter, const QString& side, double weight, bool isSouth) const;
};

}  // namespace kestrane::desktop

#pragma once

#include <QJsonObject>
#include <QTimer>
#include <QWidget>
#include <optional>

#include "views/desktop/form_binding.h"

namespace kestrane::desktop {

/// A window of the driver as a window of the desktop: its content, and STOP below it. It closes when the driver says
/// so: who closes it here asks for that. Where it stands is reported, and kept by the driver or by `KeepsPlace`.
class ViewWindow : public QWidget {
    Q_OBJECT

public:
    /// `kind` is `Qt::Window` or `Qt::Dialog`.
    ViewWindow(const QString& form, Qt::WindowType kind, Mirror& mirror, Hands& hands, QWidget* parent);

    FormBinding& Binding() { return *binding_; }
    const QString& Form() const { return binding_->Name(); }

    /// Takes what the driver tells of the window itself: caption, place, whether it lies above others.
    void ChangeWindow(const QString& member, const QJsonValue& value);
    /// Takes the size that its content wants.
    void Measure();
    /// Comes up, in front, with the frame's upper left corner there unless the driver has said where.
    void OpenAt(const QPoint& usual, bool isModal);
    void CloseHere();
    bool HasPlace() const { return place_.has_value(); }

    /// Where a dialog is to open: in the middle above the window it belongs to, within its screen.
    static QPoint CentredOver(const QWidget& parent, const QSize& size);
    /// Where the log opens: at the upper right of it.
    static QPoint TopRightOf(const QWidget& parent, const QSize& size);

Q_SIGNALS:
    void StopPressed();
    /// A person has moved it, or it has opened.
    void Placed();

protected:
    void closeEvent(QCloseEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    /// A person wants the window to go.
    virtual void AskToClose();
    QWidget* Content() { return content_; }

private:
    void TellPlace();
    void StandOnTop(bool onTop);

    Mirror& mirror_;
    FormBinding* binding_ = nullptr;
    QWidget* content_ = nullptr;
    QTimer settled_;
    std::optional<QPoint> place_;
    bool mayClose_ = false;
};

}  // namespace kestrane::desktop

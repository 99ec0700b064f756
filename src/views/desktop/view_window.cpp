#include "views/desktop/view_window.h"

#include <QCloseEvent>
#include <QJsonArray>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>
#include <algorithm>

#include "views/desktop/designs.h"
#include "views/desktop/stop_button.h"

namespace kestrane::desktop {
namespace {

constexpr int kNarrowest = 420;  // so that a caption can be read
constexpr int kSettledMs = 150;  // a window that is dragged tells where it is now and then

QPoint Within(const QRect& screen, QPoint at, const QSize& size) {
    at.setX(std::max(screen.left(), std::min(at.x(), screen.right() + 1 - size.width())));
    at.setY(std::max(screen.top(), std::min(at.y(), screen.bottom() + 1 - size.height())));
    return at;
}

/// As large as what is in it, and smaller where the screen is.
class Scrolled final : public QScrollArea {
public:
    Scrolled(QWidget& content, QWidget* parent) : QScrollArea(parent) {
        setWidgetResizable(true);
        setFrameShape(QFrame::NoFrame);
        setFocusPolicy(Qt::NoFocus);
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setWidget(&content);
    }

private:
    static constexpr int kAround = 120;  // for the frame, STOP and the panels of the desktop

    QSize sizeHint() const override {
        const QSize wanted = widget()->sizeHint() + QSize(verticalScrollBar()->sizeHint().width(), 0);
        return wanted.boundedTo(screen()->availableSize() - QSize(0, kAround));
    }
    QSize minimumSizeHint() const override { return {sizeHint().width(), 60}; }
};

QRect AreaOf(const QWidget& window) {
    return window.isVisible() ? window.frameGeometry() : window.screen()->availableGeometry();
}

}  // namespace

ViewWindow::ViewWindow(const QString& form, Qt::WindowType kind, Mirror& mirror, Hands& hands, QWidget* parent)
    : QWidget(parent, kind), mirror_(mirror), content_(MakeContent(form, this)) {
    setObjectName("own" + form);
    binding_ = new FormBinding(form, *content_, mirror, hands);
    binding_->setParent(this);
    settled_.setSingleShot(true);
    settled_.setInterval(kSettledMs);
    connect(&settled_, &QTimer::timeout, this, &ViewWindow::TellPlace);
    if (kind == Qt::Dialog) {
        setMinimumWidth(kNarrowest);
        auto* const layout = new QVBoxLayout(this);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSpacing(0);
        layout->addWidget(new Scrolled(*content_, this));
        auto* const stop = new StopButton(this);
        connect(stop, &StopButton::StopPressed, this, &ViewWindow::StopPressed);
        layout->addWidget(stop);
    }
}

void ViewWindow::ChangeWindow(const QString& member, const QJsonValue& value) {
    if (member == "caption") {
        setWindowTitle(value.toString());
    } else if (member == "onTop") {
        StandOnTop(value.toBool());
    } else if (member == "place") {
        const QJsonArray corner = value.toArray();
        place_ = QPoint(corner[0].toInt(), corner[1].toInt());
        move(*place_);
    } else if (member == "front" && isVisible()) {
        raise();
        activateWindow();
    }
}

void ViewWindow::StandOnTop(bool onTop) {
    if (windowFlags().testFlag(Qt::WindowStaysOnTopHint) == onTop) {
        return;
    }
    const bool wasVisible = isVisible();
    const QPoint at = pos();
    setWindowFlag(Qt::WindowStaysOnTopHint, onTop);  // takes the window away
    if (wasVisible) {
        move(at);
        show();
    }
}

void ViewWindow::OpenAt(const QPoint& usual, bool isModal) {
    if (isVisible()) {
        raise();
        return;
    }
    setWindowModality(isModal ? Qt::ApplicationModal : Qt::NonModal);
    move(Within(screen()->availableGeometry(), place_.value_or(usual), size()));
    show();
    raise();
    activateWindow();
}

/// What a window takes is known when its parts have been dressed, which the toolkit does when it shows them.
void ViewWindow::Measure() {
    const QList<QWidget*> parts = findChildren<QWidget*>();
    for (QWidget* const part : parts) {
        part->ensurePolished();
    }
    // What is around a part remembers what that took before: from the innermost outwards.
    for (auto part = parts.rbegin(); part != parts.rend(); ++part) {
        if (QLayout* const inside = (*part)->layout()) {
            inside->invalidate();
            inside->activate();
        }
        (*part)->updateGeometry();
    }
    layout()->invalidate();
    layout()->activate();
    resize(sizeHint());
}

void ViewWindow::CloseHere() {
    mayClose_ = true;
    close();
    mayClose_ = false;
}

QPoint ViewWindow::CentredOver(const QWidget& parent, const QSize& size) {
    const QRect area = AreaOf(parent);
    return area.center() - QPoint(size.width() / 2, size.height() / 2);
}

QPoint ViewWindow::TopRightOf(const QWidget& parent, const QSize& size) {
    const QRect area = AreaOf(parent);
    return {area.right() + 1 - (parent.isVisible() ? 0 : size.width()), area.top()};
}

void ViewWindow::closeEvent(QCloseEvent* event) {
    if (mayClose_) {
        event->accept();
    } else {
        event->ignore();
        AskToClose();
    }
}

void ViewWindow::AskToClose() {
    binding_->Close();
}

void ViewWindow::moveEvent(QMoveEvent* event) {
    QWidget::moveEvent(event);
    settled_.start();
}

void ViewWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    settled_.start();
}

void ViewWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    settled_.start();
}

void ViewWindow::TellPlace() {
    if (!isVisible() || isMinimized()) {
        return;
    }
    const QRect frame = frameGeometry();
    QJsonObject report = binding_->Report("place");
    report["at"] = QJsonArray{frame.left(), frame.top(), frame.right() + 1, frame.bottom() + 1};
    mirror_.Send(report);
    Q_EMIT Placed();
}

}  // namespace kestrane::desktop

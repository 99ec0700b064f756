#include "views/desktop/main_window.h"

#include <QCheckBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QTime>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>
#include <utility>

#include "views/desktop/foldable_box.h"
#include "views/desktop/theme.h"
#include "views/desktop/tray_icon.h"

namespace kestrane::desktop {
namespace {

constexpr int kRefusalMs = 6000;
constexpr int kBannerMs = 60000;
constexpr int kMostBanners = 4;
constexpr int kSideWidth = 270;
constexpr QSize kUsualSize{1240, 860};

struct WayWords {
    const char* key;
    const char* words;
    bool usually;
};
constexpr WayWords kWays[] = {{"alerts/banner", "Banner", true},
                              {"alerts/sound", "Sound", true},
                              {"alerts/notice", "Notice of the desktop", false}};

QString ShapeOf(const QString& state) {
    static const QHash<QString, QString> shapes{{"Slewing", "▶"}, {"Parking", "▶"},      {"Moving", "▶"},
                                                {"Parked", "■"},  {"Tracking", "●"},     {"Standing", "○"},
                                                {"No link", "✕"}, {"Not connected", "–"}};
    return shapes.value(state);
}

QLabel* MakeLabel(const char* role, QWidget* parent) {
    auto* const label = new QLabel(parent);
    label->setProperty("role", role);
    return label;
}

QWidget* MakePlane(QWidget* picture, const QString& words) {
    auto* const plane = new QFrame(picture->parentWidget());
    plane->setProperty("role", "plane");
    auto* const layout = new QVBoxLayout(plane);
    layout->addWidget(picture, 1);
    auto* const caption = MakeLabel("caption", plane);
    caption->setText(words);
    caption->setAlignment(Qt::AlignHCenter);
    layout->addWidget(caption);
    return plane;
}

}  // namespace

MainWindow::MainWindow(Mirror& mirror, Hands& hands, const SkyNumbers& sky, const Journal& journal, QSettings& kept)
    : ViewWindow("frmHandBox", Qt::Window, mirror, hands, nullptr),
      sky_(sky),
      kept_(kept),
      menu_(Content()->findChild<QMenu*>("mPopupSys")) {
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(MakeHeader());
    banners_ = new QVBoxLayout;
    layout->addLayout(banners_);
    MakeMiddle(*layout, sky, journal);
    refusal_ = MakeLabel("refusal", this);
    refusal_->hide();
    layout->addWidget(refusal_);
    stop_ = new StopButton(this);
    connect(stop_, &StopButton::StopPressed, this, &MainWindow::StopPressed);
    layout->addWidget(stop_);
    stop_->setFocus();  // a key that is pressed unawares does no harm there
    refusalGoes_.setSingleShot(true);
    refusalGoes_.setInterval(kRefusalMs);
    connect(&refusalGoes_, &QTimer::timeout, refusal_, &QWidget::hide);
    resize(kUsualSize.boundedTo(screen()->availableSize() - QSize(20, 40)));
}

QPushButton* MainWindow::MakeTool(const QString& words, QBoxLayout& row) {
    auto* const button = new QPushButton(words, this);
    button->setAutoDefault(false);
    row.addWidget(button);
    return button;
}

QWidget* MainWindow::MakeHeader() {
    auto* const header = new QFrame(this);
    header->setObjectName("ownHeader");
    auto* const row = new QHBoxLayout(header);
    shape_ = MakeLabel("shape", header);
    state_ = MakeLabel("state", header);
    state_->setObjectName("ownState");
    way_ = new QProgressBar(header);
    way_->setTextVisible(false);
    way_->setFixedWidth(160);
    way_->setAccessibleName(tr("Way of the slew"));
    left_ = MakeLabel("value", header);
    for (QWidget* const widget : {static_cast<QWidget*>(shape_), static_cast<QWidget*>(state_),
                                  static_cast<QWidget*>(way_), static_cast<QWidget*>(left_)}) {
        row->addWidget(widget);
    }
    start_ = MakeTool(tr("Start"), *row);
    start_->setObjectName("ownStart");
    connect(start_, &QPushButton::clicked, this, &MainWindow::StartPressed);
    row->addStretch();
    theme_ = MakeTool(NameOf(WornTheme()), *row);
    theme_->setObjectName("ownTheme");
    theme_->setToolTip(tr("Theme"));
    connect(theme_, &QPushButton::clicked, this, &MainWindow::NextThemeOn);
    auto* const menuButton = MakeTool(tr("Menu"), *row);
    menuButton->setObjectName("ownMenu");
    connect(menuButton, &QPushButton::clicked, this,
            [this, menuButton] { menu_->popup(menuButton->mapToGlobal(QPoint(0, menuButton->height()))); });
    return header;
}

void MainWindow::MakeMiddle(QBoxLayout& layout, const SkyNumbers& sky, const Journal& journal) {
    auto* const scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setFocusPolicy(Qt::NoFocus);
    middle_ = new QWidget(scroll);
    middle_->setObjectName("ownMiddle");
    auto* const row = new QHBoxLayout(middle_);
    row->addWidget(Content(), 1);
    row->addWidget(MakeSide(sky, journal));
    scroll->setWidget(middle_);
    layout.addWidget(scroll, 1);
}

QWidget* MainWindow::MakeSide(const SkyNumbers& sky, const Journal& journal) {
    auto* const side = new QWidget(this);
    side->setFixedWidth(kSideWidth);
    auto* const column = new QVBoxLayout(side);
    column->setContentsMargins(0, 0, 0, 0);
    dial_ = new SkyDial(sky, side);
    pier_ = new PierPicture(sky, side);
    chart_ = new JournalBox(journal, side);
    times_ = MakeLabel("plane", side);
    column->addWidget(MakePlane(dial_, tr("Sky")));
    column->addWidget(MakePlane(pier_, tr("Pier")));
    column->addWidget(times_);
    column->addWidget(chart_);
    column->addWidget(MakeAlerts());
    column->addStretch();
    return side;
}

QWidget* MainWindow::MakeAlerts() {
    auto* const box = new QGroupBox(tr("Alerts"), this);
    box->setCheckable(true);
    box->setChecked(false);
    auto* const body = new QWidget(box);
    (new QVBoxLayout(box))->addWidget(body);
    auto* const row = new QVBoxLayout(body);
    row->setContentsMargins(0, 0, 0, 0);
    for (std::size_t i = 0; i < std::size(kWays); ++i) {
        const WayWords& way = kWays[i];
        ways_[i] = new QCheckBox(tr(way.words), body);
        ways_[i]->setChecked(kept_.value(way.key, way.usually).toBool());
        connect(ways_[i], &QCheckBox::toggled, this, [this, &way](bool on) { kept_.setValue(way.key, on); });
        row->addWidget(ways_[i]);
    }
    MakeFoldable(*box);
    return box;
}

bool MainWindow::IsOn(Way way) const {
    return ways_[static_cast<std::size_t>(way)]->isChecked();
}

void MainWindow::NextThemeOn() {
    Wear(NextTheme(WornTheme()));
    theme_->setText(NameOf(WornTheme()));
    kept_.setValue("theme", NameOf(WornTheme()));
    ShowSky();
}

void MainWindow::ShowSky() {
    const QString state = sky_.State();
    shape_->setText(ShapeOf(state));
    state_->setText(state);
    const auto progress = sky_.Number("lblProgress");
    way_->setVisible(progress.has_value());
    way_->setValue(static_cast<int>(std::lround(progress.value_or(0))));
    const QString distance = sky_.Text("lblDistance");
    left_->setText(distance.isEmpty() ? QString() : tr("%1° left").arg(distance));
    dial_->Draw();
    pier_->Draw();
    ShowTimes();
    ShowOtherTime();
    for (QLabel* const label : Content()->findChildren<QLabel*>()) {
        if (label->objectName().startsWith("ownEpoch")) {
            label->setText(sky_.Text("lblEpoch"));
        }
    }
}

void MainWindow::ShowTimes() {
    times_->setText(tr("To the meridian: %1\nTo the horizon: %2")
                        .arg(TimeText(sky_.Number("lblMeridianMinutes")), TimeText(sky_.Number("lblHorizonMinutes"))));
}

/// The hand box shows sidereal time or hour angle; this is the other one.
void MainWindow::ShowOtherTime() {
    const bool showsAngle = Binding().Text("lblLstHA") == "HA";
    const auto hours = sky_.Number(showsAngle ? "lblSiderealHours" : "lblHourAngleHours");
    Content()->findChild<QLabel*>("ownOtherTimeWord")->setText(showsAngle ? "LST" : "HA");
    const double shown = hours && !showsAngle && *hours > 12 ? *hours - 24 : hours.value_or(0);
    Content()->findChild<QLabel*>("ownOtherTime")->setText(hours ? ClockText(shown, !showsAngle) : QString());
}

void MainWindow::ShowNoDriver(const QString& why, bool offersStart) {
    shape_->setText("✕");
    state_->setText(why);
    way_->hide();
    left_->clear();
    middle_->setEnabled(false);
    start_->setVisible(offersStart);
}

void MainWindow::ShowDriver() {
    middle_->setEnabled(true);
    start_->hide();
}

void MainWindow::ShowRefusal(const QString& why) {
    refusal_->setText(why);
    refusal_->show();
    refusalGoes_.start();
}

/// What is grave stays until it is dismissed.
void MainWindow::ShowBanner(const QString& words, bool isGrave) {
    auto* const banner = new QFrame(this);
    banner->setProperty("role", isGrave ? "grave" : "banner");
    auto* const row = new QHBoxLayout(banner);
    row->addWidget(new QLabel(QTime::currentTime().toString("hh:mm:ss") + "  " + words, banner), 1);
    auto* const dismiss = new QPushButton(tr("Dismiss"), banner);
    row->addWidget(dismiss);
    connect(dismiss, &QPushButton::clicked, banner, &QObject::deleteLater);
    banners_->addWidget(banner);
    if (banners_->count() > kMostBanners) {
        delete banners_->itemAt(0)->widget();
    }
    if (!isGrave) {
        QTimer::singleShot(kBannerMs, banner, &QObject::deleteLater);
    }
}

void MainWindow::GoBehindIcon(bool thereIsOne) {
    isBehindIcon_ = true;
    if (thereIsOne) {
        hide();
        setWindowState(windowState() & ~Qt::WindowMinimized);  // else it comes back as it went
    } else {
        showMinimized();
    }
}

void MainWindow::ComeBack() {
    if (!std::exchange(isBehindIcon_, false) && isVisible()) {
        return;
    }
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
}

/// With a tray, a window that a person minimizes goes behind its icon; a person who takes it out of the task bar wants
/// it back.
void MainWindow::changeEvent(QEvent* event) {
    ViewWindow::changeEvent(event);
    if (event->type() != QEvent::WindowStateChange) {
        return;
    }
    if (isMinimized() && !isBehindIcon_ && TrayIcon::Exists()) {
        Binding().Close();
    } else if (!isMinimized() && isVisible() && isBehindIcon_) {
        Binding().Click("mPopRestore");
    }
}

/// Without a tray nothing of the driver would be left to see: then a person is asked whether it is to end.
void MainWindow::AskToClose() {
    if (TrayIcon::Exists()) {
        Binding().Close();
    } else {
        Binding().Click("mPopExit");
    }
}

}  // namespace kestrane::desktop

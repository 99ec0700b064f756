#pragma once

#include <QSettings>

#include "views/desktop/journal.h"
#include "views/desktop/journal_chart.h"
#include "views/desktop/sky_numbers.h"
#include "views/desktop/sky_pictures.h"
#include "views/desktop/stop_button.h"
#include "views/desktop/view_window.h"

class QBoxLayout;
class QCheckBox;
class QLabel;
class QMenu;
class QProgressBar;
class QPushButton;

namespace kestrane::desktop {

/// The hand box: its controls, what the mount does, the sky, the pier, the journal, and STOP.
class MainWindow final : public ViewWindow {
    Q_OBJECT

public:
    /// What an alert may do; each can be switched off.
    enum class Way { Banner, Sound, Notice };

    MainWindow(Mirror& mirror, Hands& hands, const SkyNumbers& sky, const Journal& journal, QSettings& kept);

    QMenu& PopupMenu() { return *menu_; }
    JournalBox& Chart() { return *chart_; }
    StopButton& Stop() { return *stop_; }

    void ShowSky();
    /// In place of the state of the mount; "Start" is offered where it helps.
    void ShowNoDriver(const QString& why, bool offersStart);
    void ShowDriver();
    /// A line that goes by itself.
    void ShowRefusal(const QString& why);
    void ShowBanner(const QString& words, bool isGrave);
    bool IsOn(Way way) const;

    /// Behind its icon; or, without one, in the task bar.
    void GoBehindIcon(bool thereIsOne);
    void ComeBack();
    bool IsBehindIcon() const { return isBehindIcon_; }

Q_SIGNALS:
    void ThemeChanged();
    void StartPressed();

private:
    QWidget* MakeHeader();
    QWidget* MakeSide(const SkyNumbers& sky, const Journal& journal);
    QWidget* MakeAlerts();
    void MakeMiddle(QBoxLayout& layout, const SkyNumbers& sky, const Journal& journal);
    QPushButton* MakeTool(const QString& words, QBoxLayout& row);
    void NextThemeOn();
    void ShowTimes();
    void ShowOtherTime();

    void changeEvent(QEvent* event) override;
    void AskToClose() override;

    const SkyNumbers& sky_;
    QSettings& kept_;
    QMenu* menu_;
    QLabel *shape_, *state_, *left_, *times_, *refusal_;
    QProgressBar* way_;
    QPushButton *theme_, *start_;
    QBoxLayout* banners_;
    QWidget* middle_;
    SkyDial* dial_;
    PierPicture* pier_;
    JournalBox* chart_;
    StopButton* stop_;
    QTimer refusalGoes_;
    QCheckBox* ways_[3] = {};
    bool isBehindIcon_ = false;
};

}  // namespace kestrane::desktop

#include "ui/help_window.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace kestrane {
namespace {

struct TopicRow {
    HelpTopic topic;
    std::string_view title;  ///< of the page too
    std::string_view page;
};

/// In the order of the list.
constexpr std::array kTopics{
    TopicRow{HelpTopic::ParkAndUnpark, "Park and unpark", "help-1-park-and-unpark.html"},
    TopicRow{HelpTopic::Setup, "Setup", "help-2-setup.html"},
    TopicRow{HelpTopic::Focuser, "Focuser", "help-3-focuser.html"},
    TopicRow{HelpTopic::Sites, "Sites", "help-4-sites.html"},
    TopicRow{HelpTopic::MountInitialization, "Initialization of the mount", "help-5-mount-initialization.html"},
    TopicRow{HelpTopic::Goto, "Goto", "help-6-goto.html"},
    TopicRow{HelpTopic::Status, "Tray icon and status window", "help-7-status.html"},
};

const TopicRow& RowOf(HelpTopic topic) {
    return *std::ranges::find(kTopics, topic, &TopicRow::topic);
}

}  // namespace

std::string_view HelpPage(HelpTopic topic) {
    return RowOf(topic).page;
}

HelpWindow::HelpWindow(HelpWindowNeeds needs) : needs_(needs) {
    needs_.handBox.btnHelpParkUnpark.OnClick([this] { Open(HelpTopic::ParkAndUnpark); });
    needs_.form.OnLoad([this] { Load(); });
    needs_.form.cbxTopic.OnClick([this] { ShowPage(); });
}

void HelpWindow::Load() {
    std::vector<std::string> titles;
    for (const TopicRow& row : kTopics) {
        titles.emplace_back(row.title);
    }
    needs_.form.cbxTopic.ListItems(std::move(titles));
}

void HelpWindow::Open(HelpTopic topic) {
    frmHelp& form = needs_.form;
    form.EnsureLoaded();
    form.cbxTopic.ListIndex(static_cast<std::int32_t>(&RowOf(topic) - kTopics.data()));
    form.Show();
}

void HelpWindow::ShowPage() {
    const std::int32_t index = needs_.form.cbxTopic.ListIndex();
    if (index >= 0) {
        needs_.form.lblPage.Text(std::string(kTopics.at(static_cast<std::size_t>(index)).page));
    }
}

}  // namespace kestrane

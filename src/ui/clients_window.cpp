#include "ui/clients_window.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "kernel/base/application_info.h"

namespace kestrane {
namespace {

std::string TimeOfDay(const DateTime& time) {
    char text[16];
    std::snprintf(text, sizeof(text), "%02d:%02d:%02d", time.hour, time.minute, time.second);
    return text;
}

std::string DateAndTime(const DateTime& time) {
    char text[32];
    std::snprintf(text, sizeof(text), "%04d-%02d-%02d ", time.year, time.month, time.day);
    return text + TimeOfDay(time);
}

std::string RowOf(const ListedClient& client) {
    return client.name.address + "\t" + std::to_string(client.name.number) + "\t" + client.name.device + "\t" +
           (client.connectedSince ? DateAndTime(*client.connectedSince) : "not connected") + "\t" +
           TimeOfDay(client.lastRequest) + "\t" + client.runs;
}

std::string QuestionAbout(const ListedClientName& name) {
    return "Release the " + name.device + " of client " + std::to_string(name.number) + " at " + name.address +
           "?\r\nIt is disconnected, and what it has left moving ends.";
}

}  // namespace

ClientsWindow::ClientsWindow(ClientsWindowNeeds needs) : needs_(needs) {
    needs_.handBox.btnClients.OnClick([this] { Open(); });
    needs_.form.tmrClients.OnTick([this] {
        if (needs_.form.Visible()) {
            Show();
        }
    });
    needs_.form.lvwClients.OnClick([this] { needs_.form.btnRelease.Enabled(Selected() != nullptr); });
    needs_.form.btnRelease.OnClick([this] { Release(); });
}

void ClientsWindow::SetList(ClientList* list) {
    list_ = list;
}

bool ClientsWindow::HoldsTelescope(std::string_view address, std::uint32_t number) const {
    const std::vector<ListedClient> clients = list_ == nullptr ? std::vector<ListedClient>() : list_->Clients();
    return std::ranges::any_of(clients, [&](const ListedClient& client) {
        return client.connectedSince && client.name == ListedClientName{std::string(address), number, "Telescope"};
    });
}

void ClientsWindow::Open() {
    Show();
    needs_.form.Show();
}

const ListedClient* ClientsWindow::Selected() const {
    const std::int32_t index = needs_.form.lvwClients.ListIndex();
    return index < 0 ? nullptr : &shown_[static_cast<std::size_t>(index)];
}

/// What was selected stays selected, wherever it stands now.
void ClientsWindow::Show() {
    const std::optional<ListedClientName> selected = Selected() ? std::optional(Selected()->name) : std::nullopt;
    shown_ = list_ == nullptr ? std::vector<ListedClient>() : list_->Clients();
    std::vector<std::string> rows;
    std::ranges::transform(shown_, std::back_inserter(rows), RowOf);
    frmClients& form = needs_.form;
    form.lvwClients.ListItems(std::move(rows));
    const auto row = std::ranges::find_if(shown_, [&](const auto& client) { return client.name == selected; });
    form.lvwClients.ListIndex(row == shown_.end() ? -1 : static_cast<std::int32_t>(row - shown_.begin()));
    form.lblNone.Visible(shown_.empty());
    form.btnRelease.Enabled(row != shown_.end());
}

void ClientsWindow::Release() {
    const ListedClient* const selected = Selected();
    if (selected == nullptr || list_ == nullptr) {
        return;
    }
    const ListedClientName name = selected->name;  // the list is read anew while the question is open
    const MessageAnswer answer = needs_.messageBoxes.Ask(QuestionAbout(name), application::kTitle, {});
    if (answer == MessageAnswer::Ok && list_ != nullptr) {
        list_->ReleaseClient(name);
    }
}

}  // namespace kestrane

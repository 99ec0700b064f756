#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "forms/frm_clients.h"
#include "forms/frm_hand_box.h"
#include "platform/system_services.h"
#include "ui/client_list.h"

namespace kestrane {

struct ClientsWindowNeeds {
    frmHandBox& handBox;
    frmClients& form;
    MessageBoxes& messageBoxes;
};

/// The logic of the window that shows who holds the mount, and of the button that opens it. Logic thread only.
class ClientsWindow final {
public:
    explicit ClientsWindow(ClientsWindowNeeds needs);

    /// Who serves the clients; null: nobody does. It must outlive its place here.
    void SetList(ClientList* list);
    /// Whether a program at that address, with that number, holds the telescope connected.
    bool HoldsTelescope(std::string_view address, std::uint32_t number) const;

private:
    void Open();
    void Show();
    void Release();
    const ListedClient* Selected() const;

    ClientsWindowNeeds needs_;
    ClientList* list_ = nullptr;
    std::vector<ListedClient> shown_;
};

}  // namespace kestrane

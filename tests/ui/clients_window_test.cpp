#include "ui/clients_window.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "support/virtual_clock.h"
#include "support/virtual_pump.h"

namespace kestrane {
namespace {

const ListedClientName kAnna{"192.0.2.7", 1, "Telescope"};
const ListedClientName kBert{"192.0.2.8", 2, "Focuser"};

class FakeClients final : public ClientList {
public:
    std::vector<ListedClient> Clients() const override { return clients; }
    void ReleaseClient(const ListedClientName& name) override { released.push_back(name); }

    std::vector<ListedClient> clients{{kAnna, DateTime{2026, 11, 22, 23, 5, 9}, DateTime{2026, 11, 23, 1, 2, 3}, ""},
                                      {kBert, {}, DateTime{2026, 11, 23, 0, 0, 0}, "move"}};
    std::vector<ListedClientName> released;
};

class AskedBoxes final : public MessageBoxes {
public:
    MessageAnswer Show(std::string_view, std::string_view, MessageIcon) override { return MessageAnswer::Ok; }
    MessageAnswer Ask(std::string_view text, std::string_view, const std::function<void()>& /*accepted*/) override {
        asked.emplace_back(text);
        return answer;
    }
    MessageAnswer answer = MessageAnswer::Ok;
    std::vector<std::string> asked;
};

class ClientsWindowTest : public testing::Test {
protected:
    ClientsWindowTest() {
        handBox.EnsureLoaded();
        window.SetList(&list);
    }
    void Open() {
        handBox.btnClients.FireClick();
        ASSERT_TRUE(form.Visible());
    }
    void Select(std::int32_t row) {
        form.lvwClients.ListIndex(row);
        form.lvwClients.FireClick();
    }

    VirtualClock clock;
    VirtualPump pump{clock};
    frmHandBox handBox{pump};
    frmClients form{pump};
    AskedBoxes boxes;
    FakeClients list;
    ClientsWindow window{ClientsWindowNeeds{handBox, form, boxes}};
};

TEST_F(ClientsWindowTest, ShowsARowForEachObject) {
    Open();
    EXPECT_EQ(form.lvwClients.ListItems(),
              (std::vector<std::string>{"192.0.2.7\t1\tTelescope\t2026-11-22 23:05:09\t01:02:03\t",
                                        "192.0.2.8\t2\tFocuser\tnot connected\t00:00:00\tmove"}));
    EXPECT_FALSE(form.lblNone.Visible());
    EXPECT_FALSE(form.btnRelease.Enabled()) << "none is selected";
}

TEST_F(ClientsWindowTest, KnowsWhoHoldsTheTelescopeConnected) {
    list.clients.push_back({{"192.0.2.9", 3, "Telescope"}, {}, DateTime{2026, 11, 23, 0, 0, 0}, ""});
    EXPECT_TRUE(window.HoldsTelescope("192.0.2.7", 1));
    EXPECT_FALSE(window.HoldsTelescope("192.0.2.7", 2));
    EXPECT_FALSE(window.HoldsTelescope("192.0.2.8", 2)) << "a focuser";
    EXPECT_FALSE(window.HoldsTelescope("192.0.2.9", 3)) << "not connected";
    window.SetList(nullptr);
    EXPECT_FALSE(window.HoldsTelescope("192.0.2.7", 1));
}

TEST_F(ClientsWindowTest, WithoutClients_SaysSo) {
    list.clients.clear();
    Open();
    EXPECT_TRUE(form.lblNone.Visible());
    window.SetList(nullptr);
    form.tmrClients.FireTick();
    EXPECT_TRUE(form.lblNone.Visible());
}

TEST_F(ClientsWindowTest, ReadsThemAnew_WhileItIsVisible_AndKeepsTheSelection) {
    Open();
    Select(1);
    list.clients.erase(list.clients.begin());
    form.tmrClients.FireTick();
    EXPECT_EQ(form.lvwClients.ListItems().size(), 1U);
    EXPECT_EQ(form.lvwClients.ListIndex(), 0);
    list.clients.clear();
    form.tmrClients.FireTick();
    EXPECT_EQ(form.lvwClients.ListIndex(), -1);
    EXPECT_FALSE(form.btnRelease.Enabled());
    form.Hide();
    list.clients.push_back({kAnna, {}, {}, ""});
    form.tmrClients.FireTick();
    EXPECT_TRUE(form.lvwClients.ListItems().empty());
}

TEST_F(ClientsWindowTest, Release_AsksAboutTheSelectedOne_AndReleasesIt) {
    Open();
    Select(0);
    EXPECT_TRUE(form.btnRelease.Enabled());
    form.btnRelease.FireClick();
    ASSERT_EQ(boxes.asked.size(), 1U);
    EXPECT_NE(boxes.asked[0].find("the Telescope of client 1 at 192.0.2.7"), std::string::npos) << boxes.asked[0];
    EXPECT_EQ(list.released, std::vector{kAnna});
}

TEST_F(ClientsWindowTest, Release_ThatIsNotConfirmed_ReleasesNobody) {
    boxes.answer = MessageAnswer::Cancel;
    Open();
    Select(1);
    form.btnRelease.FireClick();
    EXPECT_EQ(boxes.asked.size(), 1U);
    EXPECT_TRUE(list.released.empty());
}

}  // namespace
}  // namespace kestrane

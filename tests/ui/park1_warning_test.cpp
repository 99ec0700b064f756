#include "ui/park1_warning.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/driver_fixture.h"
#include "support/onlooker.h"

namespace kestrane {
namespace {

/// The warning about "Park 1", and who sees it.
class Park1WarningTest : public DriverFixture {
protected:
    void TearDown() override {
        timer_.reset();
        telescope_ = {};
        for (Form* const form : watched_) {
            form->Detach(view_);
        }
        DriverFixture::TearDown();
    }
    frmPark1Warning& Warning() { return driver->windows.park1Warning; }
    std::string Setting() { return driver->persist.ReadIniValue("DisablePark1Warning", "no such setting"); }
    /// A connected driver, and a person who looks at its windows and closes this one 300 ms after it opens.
    void ConnectWithPerson() {
        telescope_ = ConnectedTelescope();
        machine.AdvanceTime(3'000);
        Windows& windows = driver->windows;
        watched_ = {&windows.park1Warning, &windows.askPark, &windows.askUnpark};
        for (Form* const form : watched_) {
            form->Attach(view_);
        }
        timer_ = machine.pump.CreateTimer([this] {
            if (Warning().Visible()) {
                ++opened_;
                EXPECT_FALSE(Warning().chkDontShowAgain.Checked());
                Warning().chkDontShowAgain.Checked(ticks_);
                Warning().btnOK.FireClick();
            }
        });
        timer_->SetInterval(300);
        timer_->SetEnabled(true);
    }
    /// How often it opens.
    int Opened(const std::function<void()>& does) {
        opened_ = 0;
        does();
        machine.AdvanceTime(2'000);
        EXPECT_FALSE(Warning().Loaded());
        return opened_;
    }
    TelescopeObject telescope_;
    bool ticks_ = false;

private:
    Onlooker view_;
    std::unique_ptr<PumpTimer> timer_;
    std::vector<Form*> watched_;
    int opened_ = 0;
};

TEST_F(Park1WarningTest, OpensOnlyWhileItIsNotDisabled) {
    for (const auto& [stored, opens] :
         {std::pair{"False", 1}, std::pair{"FALSE", 1}, std::pair{"false", 1}, std::pair{"True", 0},
          std::pair{"TRUE", 0}, std::pair{"1", 0}, std::pair{"no", 0}}) {
        if (!driver) {
            ConnectWithPerson();
        }
        driver->persist.Write(setting::DisablePark1Warning, stored);
        EXPECT_EQ(Opened([&] { driver->park1Warning.Show(); }), opens) << stored;
        EXPECT_EQ(Setting(), opens == 1 ? "False" : stored);
    }
}

TEST_F(Park1WarningTest, KeepsWhetherItIsToBeShownAgain) {
    ConnectWithPerson();
    ticks_ = true;
    EXPECT_EQ(Opened([&] { driver->park1Warning.Show(); }), 1);
    EXPECT_EQ(Setting(), "True");
    EXPECT_EQ(Opened([&] { driver->park1Warning.Show(); }), 0);
}

TEST_F(Park1WarningTest, WithoutAView_IsNotShownAndNotDisabled) {
    Start();
    driver->park1Warning.Show();
    EXPECT_EQ(Setting(), "False");
}

TEST_F(Park1WarningTest, OpensWhereAPersonChoosesIt_InAListOfTheHandBox) {
    ConnectWithPerson();
    for (ComboBox frmHandBox::*const list : {&frmHandBox::cbxParkTo, &frmHandBox::cbxUnparkFrom}) {
        ComboBox& box = driver->handBox.*list;
        EXPECT_EQ(Opened([&] { box.ListIndex(2); }), 0);
        EXPECT_EQ(Opened([&] { box.ListIndex(1); }), 1) << box.Name();
        EXPECT_EQ(Opened([&] { driver->panel.UpdateControls(); }), 0) << "the driver fills it";
    }
}

TEST_F(Park1WarningTest, IsNotForVerbs) {
    ConnectWithPerson();
    for (const char* const verb : {"SetParkPosition,1", "SetUnparkPosition,Park 1", "SetParkPosition,Park 1"}) {
        EXPECT_EQ(Opened([&] { telescope_->CommandString(std::string("RAW,") + verb, true); }), 0) << verb;
    }
    EXPECT_EQ(driver->handBox.cbxParkTo.Text(), "Park 1");
    EXPECT_EQ(Opened([&] { driver->handBox.cbxParkTo.FireClick(); }), 1) << "the person again";
}

TEST_F(Park1WarningTest, OpensWhereAPersonAcceptsIt_InAQuestion) {
    ConnectWithPerson();
    const auto answer = [&](ComboBox& list, Button& ok, std::int32_t index) {
        machine.pump.PostAt(machine.clock.Elapsed() + 500, CallKind::Brief, [&list, &ok, index] {
            list.ListIndex(index);
            ok.FireClick();
        });
    };
    frmAskUnpark& unpark = driver->windows.askUnpark;
    frmAskPark& park = driver->windows.askPark;
    for (const std::int32_t index : {1, 2}) {
        EXPECT_EQ(Opened([&] {
                      answer(unpark.cbxAskUnparkFrom, unpark.btnOK, index);
                      driver->questions.AskUnpark(std::int16_t{3}, Unasked::IsCancelled);
                  }),
                  index == 1);
        EXPECT_EQ(Opened([&] {
                      answer(park.cbxAskParkTo, park.btnOK, index);
                      driver->questions.AskPark([](std::int16_t) {});
                  }),
                  index == 1);
    }
}

TEST_F(Park1WarningTest, IsNotForAnAnswerThatNobodyGave) {
    ConnectWithPerson();
    EXPECT_EQ(Opened([&] { telescope_->CommandString("RAW,ParkMount,1", true); }), 0);
}

}  // namespace
}  // namespace kestrane

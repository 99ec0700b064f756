#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "settings/database.h"
#include "support/driver_fixture.h"
#include "support/onlooker.h"

namespace kestrane {

/// The setup dialog as a person uses it: opened, and pressed a second later. Its driver has telescope and sites; no
/// client is connected unless a test connects one.
class SetupFixture : public DriverFixture {
protected:
    void TearDown() override {
        timer_.reset();
        DriverFixture::TearDown();
    }
    frmInitialSetup& Form() { return driver->initialSetup; }
    std::string Setting(std::string_view key) { return driver->persist.ReadIniValue(key, "no such setting"); }
    std::string Shown() { return machine.messageBoxes.shown.empty() ? "" : machine.messageBoxes.shown.back().text; }

    void StartOnce() {
        if (!driver) {
            Start();
            driver->InternalInstance();
        }
    }
    /// Adds a site by its texts; gives its id.
    std::int16_t AddSite(const std::string& name, const std::string& latitude, const std::string& longitude,
                         double elevation = 0.0) {
        StartOnce();
        Site site;
        site.Name = name;
        site.Latitude = latitude;
        site.Longitude = longitude;
        site.ElevationMeters = elevation;
        bool isNew = false;
        driver->sites.GetAllSites();
        EXPECT_TRUE(driver->persist.database()->SetSite(site, isNew));
        driver->sites.GetAllSites();
        return driver->sites.g_Sites().back()->id;
    }
    /// Opens the dialog; a person does this in it, and cancels it where it is still open then. Gives whether it was
    /// left by OK.
    bool Open(const std::function<void()>& does) {
        StartOnce();
        Form().Attach(view_);
        AfterASecond([this, does] {
            does();
            Form().btnCancel.FireClick();
        });
        const bool accepted = driver->setupDialog.ShowModal();
        Form().Detach(view_);
        EXPECT_FALSE(Form().Loaded());
        return accepted;
    }
    /// The same; at the end the person presses OK.
    bool OpenAndAccept(const std::function<void()>& does) {
        return Open([this, does] {
            does();
            Form().btnOK.FireClick();
        });
    }
    /// A person answers the next warning about plain syncs.
    void AnswerWarning(bool accepts) {
        Warning().Attach(warningView_);
        warningTimer_ = machine.pump.CreateTimer([this, accepts] {
            if (Warning().Visible()) {
                warningTimer_->SetEnabled(false);
                captions_ = {Warning().btnOK.Text(), Warning().btnCancel.Text()};
                (accepts ? Warning().btnOK : Warning().btnCancel).FireClick();
                Warning().Detach(warningView_);
            }
        });
        warningTimer_->SetInterval(100);
        warningTimer_->SetEnabled(true);
    }
    /// For a part of the dialog alone, without the functions.
    SetupNeeds Needs() {
        return {.driver = driver->essentials,
                .modal = driver->modal,
                .messageBoxes = machine.messageBoxes,
                .serialPorts = machine.serialPorts,
                .applicationSettings = machine.applicationSettings,
                .processes = machine.processes,
                .links = driver->links,
                .link = driver->link,
                .sites = driver->sites,
                .mount = driver->mount,
                .rates = driver->rates,
                .controller = driver->controller,
                .panel = driver->panel,
                .handBox = driver->handBox,
                .form = driver->initialSetup,
                .rcalSyncWarning = driver->rcalSyncWarning,
                .portCheck = driver->portCheck};
    }
    frmRcalSyncWarning& Warning() { return driver->rcalSyncWarningForm; }
    /// Of the buttons of the last warning.
    const std::vector<std::string>& Captions() const { return captions_; }

    /// Every setting, as it is in the file.
    std::vector<std::string> AllSettings() {
        RecordArray<PropValue> rows;
        driver->persist.database()->GetAllDriverSettings(rows);
        std::vector<std::string> texts;
        for (const auto& row : rows) {
            if (row) {
                texts.push_back(row->Name + "=" + row->Value);
            }
        }
        return texts;
    }

private:
    void AfterASecond(std::function<void()> run) {
        timer_ = machine.pump.CreateTimer([this, run = std::move(run)] {
            timer_->SetEnabled(false);
            run();
        });
        timer_->SetInterval(1'000);
        timer_->SetEnabled(true);
    }

    Onlooker view_;
    Onlooker warningView_;
    std::vector<std::string> captions_;
    std::unique_ptr<PumpTimer> timer_;
    std::unique_ptr<PumpTimer> warningTimer_;
};

}  // namespace kestrane

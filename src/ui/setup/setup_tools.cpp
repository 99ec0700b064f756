#include "ui/setup/setup_tools.h"

#include <string>

#include "kernel/base/application_info.h"
#include "ui/colours.h"
#include "ui/log_folder.h"

namespace kestrane {
namespace {

struct HelpRow {
    Button frmInitialSetup::*button;
    HelpTopic topic;
};

constexpr HelpRow kHelp[] = {
    {&frmInitialSetup::btnHelpLink, HelpTopic::Setup},
    {&frmInitialSetup::btnHelpMount, HelpTopic::Setup},
    {&frmInitialSetup::btnHelpSite, HelpTopic::Sites},
    {&frmInitialSetup::btnHelpInitialization, HelpTopic::MountInitialization},
    {&frmInitialSetup::btnHelpPark, HelpTopic::ParkAndUnpark},
    {&frmInitialSetup::btnHelpOptions, HelpTopic::Setup},
};

}  // namespace

SetupTools::SetupTools(SetupNeeds& needs) : needs_(needs), form_(needs.form) {
    for (const HelpRow& row : kHelp) {
        (form_.*row.button).OnClick([this, topic = row.topic] { needs_.openHelp(topic); });
    }
    form_.btnShowAdvancedOptions.OnClick([this] { ShowAdvanced(!form_.frameOptions.Visible()); });
    form_.btnLogZipper.OnClick([this] { needs_.startLogZipper(); });
    form_.picASCOM.OnClick([this] { needs_.openAscomSite(); });
    form_.btnOpenLogDirectory.OnClick(
        [this] { OpenLogFolder(needs_.driver.state.g_sLogDir, needs_.processes, needs_.driver.log); });
    form_.lblVersion.OnClick([this] {
        if (!needs_.newerVersion().empty()) {
            needs_.openDownloadPage();
        }
    });
}

void SetupTools::Fill() {
    lit_ = false;
    Paint(form_.lblVersion, kNormalColours);
    form_.lblVersion.Text(std::string(application::kTitle) + " - v" + std::string(application::kDriverVersion));
    ShowAdvanced(false);
    ShowVersion();
}

void SetupTools::ShowVersion() {
    const std::string newer = needs_.newerVersion();
    if (!newer.empty()) {
        form_.lblVersion.Text("Click Here for New Driver: v" + newer);
        Paint(form_.lblVersion, lit_ ? kNormalColours : kWarningColours);
        lit_ = !lit_;
    }
}

/// The short window has no options.
void SetupTools::ShowAdvanced(bool advanced) {
    form_.frameOptions.Visible(advanced);
    form_.btnShowAdvancedOptions.Text(advanced ? "SHRINK <<<<<<" : "Advanced >>>>>>");
}

}  // namespace kestrane

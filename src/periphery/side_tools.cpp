#include "periphery/side_tools.h"

#include <algorithm>
#include <utility>

#include "kernel/base/application_info.h"

namespace kestrane {
namespace {

struct ToolRow {
    SideTool tool;
    std::string_view file;
    std::string_view arguments;
};

constexpr ToolRow kTools[] = {
    {SideTool::LogZipper, "KsLogZipper.exe", ""},
    {SideTool::Jog, "KsJog.exe", "-connect"},
    {SideTool::Timer, "KsTimer.exe", "-connect"},
    {SideTool::PolarAlignment, "KsRaPAS.exe", "-connect"},
};

constexpr std::string_view kStandardsSite = "https://ascom-standards.org/";
constexpr std::string_view kNoBrowser = "It doesn't appear that you have a web browser installed on your system.";
constexpr std::string_view kGetItHere = "You can get the new KS V2 ASCOM driver from here: ";
constexpr std::string_view kNoPage = "(no address: the setting DownloadPage is empty)";
constexpr std::string_view kDownloadTitle = "ASCOM V2 Kestrane VTR Driver";

}  // namespace

SideTools::SideTools(SideToolsNeeds needs) : needs_(std::move(needs)) {
    frmHandBox& handBox = needs_.handBox;
    handBox.btnLogZipper.OnClick([this] { Start(SideTool::LogZipper); });
    handBox.btnPolarAlignmentTool.OnClick([this] { Start(SideTool::PolarAlignment); });
    handBox.picASCOM.OnClick([this] { OpenStandardsSite(); });
    handBox.lblFirmware.OnClick([this] { OpenDownloadPage(); });
}

void SideTools::Start(SideTool tool) {
    const ToolRow& row = *std::ranges::find(kTools, tool, &ToolRow::tool);
    const std::string path = (needs_.folders.OfProgram() / row.file).string();
    if (!needs_.processes.Start(path, row.arguments)) {
        needs_.messageBoxes.Show("The tool could not be started: " + path, application::kTitle,
                                 MessageIcon::Information);
    }
}

void SideTools::OpenDownloadPage() {
    const std::string page = DownloadPage();
    const auto tell = [this, page] {
        needs_.messageBoxes.Show(std::string(kGetItHere) + (page.empty() ? std::string(kNoPage) : page), kDownloadTitle,
                                 MessageIcon::Information);
    };
    if (page.empty()) {
        tell();
    } else {
        needs_.processes.OpenWithDesktop(page, tell);
    }
}

void SideTools::OpenStandardsSite() {
    needs_.processes.OpenWithDesktop(kStandardsSite, [this] {
        needs_.messageBoxes.Show(kNoBrowser, application::kTitle, MessageIcon::Information);
    });
}

/// Without one in the settings, the place of the update service.
std::string SideTools::DownloadPage() {
    const std::string page = needs_.persist.Read(setting::DownloadPage);
    const std::string host = needs_.persist.Read(setting::UpdateHost);
    return !page.empty() || host.empty() ? page : "https://" + host + "/ksdriver/";
}

}  // namespace kestrane

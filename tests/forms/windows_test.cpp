#include "forms/windows.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include "support/virtual_clock.h"
#include "support/virtual_pump.h"

namespace kestrane {
namespace {

std::string ContentOf(const std::filesystem::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// The windows that the headers of the folder declare, by class; a window bears the name of its class.
std::vector<std::string> DeclaredWindows() {
    std::vector<std::string> names;
    for (const auto& file : std::filesystem::directory_iterator(KESTRANE_FORMS)) {
        if (file.path().extension() != ".h") {
            continue;
        }
        const std::string text = ContentOf(file.path());
        const std::regex declaration(R"((?:class|struct) (\w+)(?: final)? : (?:public )?Form\b)");
        for (std::sregex_iterator each(text.begin(), text.end(), declaration), end; each != end; ++each) {
            names.push_back((*each)[1]);
        }
    }
    std::ranges::sort(names);
    return names;
}

/// The parts of a document, each with its heading.
std::vector<std::string> SectionsOf(const std::string& document) {
    std::vector<std::string> sections;
    std::size_t begin = document.find("\n## ");
    while (begin != std::string::npos) {
        const std::size_t end = document.find("\n## ", begin + 1);
        sections.push_back(document.substr(begin, end - begin));
        begin = end;
    }
    return sections;
}

bool Names(const std::string& section, const std::string& name) {
    return section.find("`" + name + "`") != std::string::npos;
}

class WindowsTest : public testing::Test {
protected:
    std::vector<std::string> NamesOf(bool (*chosen)(const Form&)) {
        std::vector<std::string> names;
        for (const Form* form : windows.All()) {
            if (chosen(*form)) {
                names.push_back(form->Name());
            }
        }
        std::ranges::sort(names);
        return names;
    }
    void Load(Form& form) {
        form.EnsureLoaded();
        form.OnUnload([this, &form] { unloaded.push_back(form.Name()); });
    }
    void LoadAll() {
        for (Form* form : windows.All()) {
            Load(*form);
        }
    }

    VirtualClock clock;
    VirtualPump pump{clock};
    Windows windows{pump};
    std::vector<std::string> unloaded;
};

const std::vector<std::string> kInOrder{"frmHandBox", "frmInitialSetup", "frmSetupFocuser", "frmRcalSyncWarning",
                                        "frmLogWindow"};

const std::vector<std::string> kOthers{"frmInitMount",
                                       "frmQuaySettings",
                                       "frmAskUnpark",
                                       "frmAskPark",
                                       "frmAskSwapEWNS",
                                       "frmAskCustomParkOK",
                                       "frmAskAndWarnParked",
                                       "frmAskUserCloseDriver",
                                       "frmPark1Warning",
                                       "frmAskGotoRaDec",
                                       "frmAskGtoAltAz",
                                       "frmMessage",
                                       "frmAskMessage",
                                       "frmClients",
                                       "frmHelp",
                                       "frmSky"};

TEST_F(WindowsTest, EveryWindowOfTheFolder_IsOwned) {
    const std::vector<std::string> declared = DeclaredWindows();
    EXPECT_GE(declared.size(), 8U);
    EXPECT_EQ(NamesOf([](const Form&) { return true; }), declared);
}

TEST_F(WindowsTest, EachControl_IsToldInTheDocument_WhereItsWindowIs) {
    const std::vector<std::string> sections = SectionsOf(ContentOf(KESTRANE_WINDOWS_DOCUMENT));
    for (const Form* const form : windows.All()) {
        std::string told;
        for (const std::string& section : sections) {
            told += Names(section, form->Name()) ? section : "";
        }
        for (const Control* const control : form->Controls()) {
            EXPECT_TRUE(Names(told, control->Name())) << form->Name() << " " << control->Name();
        }
    }
}

TEST_F(WindowsTest, NoWindowIsLoadedAtFirst) {
    EXPECT_EQ(NamesOf([](const Form& form) { return form.Loaded(); }), std::vector<std::string>{});
}

TEST_F(WindowsTest, Shutdown_UnloadsFiveWindowsInTheirOrder_AndThenTheOthers) {
    LoadAll();
    windows.UnloadAtShutdown();
    ASSERT_EQ(unloaded.size(), kInOrder.size() + kOthers.size());
    const auto others = unloaded.begin() + static_cast<std::ptrdiff_t>(kInOrder.size());
    EXPECT_EQ(std::vector(unloaded.begin(), others), kInOrder);
    EXPECT_EQ(std::vector(others, unloaded.end()), kOthers);
    EXPECT_EQ(NamesOf([](const Form& form) { return form.Loaded(); }),
              (std::vector<std::string>{"frmAskAbortSlew", "frmStatus"}));
}

TEST_F(WindowsTest, Shutdown_PassesOverWindowsThatAreNotLoaded) {
    for (Form* form : std::array<Form*, 5>{&windows.handBox, &windows.initialSetup, &windows.setupFocuser,
                                           &windows.rcalSyncWarning, &windows.logWindow}) {
        Load(*form);
    }
    windows.initialSetup.Unload();
    windows.logWindow.Unload();
    unloaded.clear();
    windows.UnloadAtShutdown();
    EXPECT_EQ(unloaded, (std::vector<std::string>{"frmHandBox", "frmSetupFocuser", "frmRcalSyncWarning"}));
    windows.UnloadAtShutdown();
    EXPECT_EQ(unloaded.size(), 3U);
}

}  // namespace
}  // namespace kestrane

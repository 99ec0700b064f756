#pragma once

#include "forms/controls.h"
#include "kernel/base/log.h"

namespace kestrane {

/// The window that shows the log as it grows.
class frmLogWindow : public Form {
public:
    frmLogWindow() : Form("frmLogWindow", "Kestrane V2 Log"), forLog_(*this) {}

    /// Set when the window is shown: the view puts it at the top right corner of the hand box, and clears this.
    bool placeAtTopRight = false;

    RichTextBox rtbLog{*this, "rtbLog"};

    // --- which lines it shows
    CheckBox chkShowASCOMCommands{*this, "chkShowASCOMCommands", "Show ASCOM Commands"};
    CheckBox chkShowFocuserCommands{*this, "chkShowFocuserCommands", "Show Focuser Commands"};
    CheckBox chkShowTelescopeCommands{*this, "chkShowTelescopeCommands", "Show Telescope Commands"};
    CheckBox chkShowNoRaDecAltAz{*this, "chkShowNoRaDecAltAz", "Hide RA, Dec, Alt and Az Queries"};

    /// The window as the log sees it; lives as long as the window.
    LogWindow& ForLog() { return forLog_; }

private:
    class LogSide final : public LogWindow {
    public:
        explicit LogSide(frmLogWindow& form) : form_(form) {}
        bool Visible() override { return form_.Visible(); }
        std::size_t TextLength() override { return form_.rtbLog.TextLength(); }
        void KeepLast(std::size_t bytes) override { form_.rtbLog.KeepLast(bytes); }
        void Append(std::string_view line, std::int32_t colour) override {
            form_.rtbLog.Append("\r\n" + std::string(line), colour);
        }
        void Show(bool visible) override {
            if (visible != form_.Visible()) {  // a window that was never used must not be loaded only to be hidden
                form_.placeAtTopRight = visible;
                form_.Visible(visible);
            }
        }

    private:
        frmLogWindow& form_;
    };

    LogSide forLog_;
};

}  // namespace kestrane

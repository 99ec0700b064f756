#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/clock.h"

namespace kestrane {

enum class LogLevel : int { Info = 0, Warning = 1, Error = 2, Fatal = 3, Exception = 4 };

/// The logging members of the shared state record.
struct LogState {
    bool g_bDebugLog = false;           ///< logging on (setting `chkEnableDebugLog`)
    bool g_bLogPaused = false;          ///< writing to the file pauses during a long park
    std::int32_t g_nLogLine = 0;        ///< number of the last line; negative: lines carry no number
    std::string g_sLogDir;              ///< folder of the log files; empty until the first log was opened
    bool g_bShowAscom = true;           ///< window filter, setting `chkShowASCOMCommands`
    bool g_bShowFocuser = true;         ///< window filter, setting `chkShowFocuserCommands`
    bool g_bShowTelescope = true;       ///< window filter, setting `chkShowTelescopeCommands`
    bool g_bShowNoRaDec = false;        ///< window filter, setting `chkShowNoRaDecAltAz`
    bool g_bSuppressNextReply = false;  ///< the last sent line was a position query and was hidden
};

/// The log window as the log sees it: a text box that takes coloured lines.
class LogWindow {
public:
    virtual ~LogWindow() = default;
    virtual bool Visible() = 0;
    /// Bytes now in the text box.
    virtual std::size_t TextLength() = 0;
    /// Cuts the text to its last `bytes`, or up to three less when a cut there would split the bytes of one character,
    /// and moves the caret to the end.
    virtual void KeepLast(std::size_t bytes) = 0;
    /// Appends CR LF and the line in a red-green-blue colour at the end.
    virtual void Append(std::string_view line, std::int32_t colour) = 0;
    virtual void Show(bool visible) = 0;
};

/// How many old log files are kept in the driver's own folder.
struct LogLimits {
    std::uintmax_t keptBytes = 500'000'000;  ///< of all together, the open one included
    int keptDays = 30;                       ///< since the last line
};

/// What the head of a log file contains and where the file goes; read at each `OpenLog`, in this order, even when no
/// file can be opened. One that is not set, or that fails, counts as its harmless value (an empty text, "unknown",
/// false).
struct LogFileFacts {
    std::function<std::string()> logFileDir;     ///< setting `LogFileDir`; empty for the common folder
    std::function<std::string()> controller;     ///< setting `Controller`, "0" to "4" or another text
    std::function<std::string()> mountTypeName;  ///< display name for the setting `MountType`
    std::function<std::string()> osName;
    std::function<bool()> isAdmin;
    std::function<std::filesystem::path()> commonAppData;
    std::function<LogLimits()> limits = {};
    /// Called, once in a process, when no file can be opened in the folder of the settings. The next `OpenLog` reads
    /// the setting again.
    std::function<void(const std::string& folder)> reportMissingFolder = {};
};

/// Takes every log line of the driver: writes it to the log file, with number and time, and passes a filtered, coloured
/// part to the log window. Nothing here ever raises, blocks on a full disk or fails its caller: a `DriverError` of the
/// window, of a fact or of the listener ends here. Logic thread only. Does not pump.
class Log {
public:
    Log(LogState& state, Clock& clock) : state_(state), clock_(clock) {}

    /// To be called before the first `OpenLog`.
    void SetFacts(LogFileFacts facts) { facts_ = std::move(facts); }
    /// `window` may be null; it must outlive the log or be taken away first.
    void SetWindow(LogWindow* window) { window_ = window; }

    /// Logs one message: nothing happens while `g_bDebugLog` is false. Every CR LF pair is removed from it; a CR, LF,
    /// ESC or NUL that is left shows as "\r", "\n", "\e", "\0".
    void LogMessage(std::string_view origin, LogLevel level, std::string_view message);
    /// For levels outside the enumeration, which print as their number.
    void LogMessage(std::string_view origin, int level, std::string_view message);
    /// For what must be found later too: logs the message, also during a pause. While logging is off, and when the file
    /// does not take it whole, it is kept (the newest `kKeptTroubles`) with its time: the next log has it after its
    /// head, the same file before the next line that it takes.
    void LogTrouble(std::string_view origin, LogLevel level, std::string_view message);
    static constexpr std::size_t kKeptTroubles = 20;

    static constexpr std::uintmax_t kPartBytes = 50'000'000;  ///< of a file; the log goes on in the next one

    /// Opens a file with its header if none is open; one of the same name is continued. Failures leave the log without
    /// a file. Removes files "KS_ASCOM_*.log" beyond the limits, oldest first, from the driver's own folder only: never
    /// from one that a person chose, and never the open one.
    void OpenLog();
    /// Also ends a pause.
    void CloseLog();
    bool IsOpen() const { return stream_.is_open(); }
    /// By `g_bDebugLog`, opens the log and shows or hides the window as asked, or closes both.
    void ToggleLog(bool showWindow);
    /// One line to the file, with its number and a line feed. A line that a full disk refuses is lost and leaves a gap
    /// in the numbers; one that the disk took in part is ended before the next.
    void WriteLogLine(std::string_view line);

    /// Local time as YYYY-MM-DD HH:MM:SS.mmm.
    std::string GetTimestamp();
    /// Local time as YYYY-MM-DD_HH-MM-SS.
    std::string GetFileTimestamp() const;

    /// Of the open log, or of the last one. Empty before the first, and while logging has no file.
    std::filesystem::path FileName() const { return partIsLost_ ? std::filesystem::path() : fileName_; }

    /// Gets the origin, level and message of every logged line, also without a file; for tests and for views.
    using Listener = std::function<void(std::string_view origin, int level, std::string_view message)>;
    void SetListener(Listener listener) { listener_ = std::move(listener); }

private:
    void ChooseFolder();
    void OpenFile();
    std::filesystem::path FreeName() const;
    void OpenPart(const std::filesystem::path& file);
    void NextPart();
    /// Whether a file is open, after the change to the next part where that is due.
    bool FileIsReady();
    /// Into the file that is open, however long it is; false when the file did not take the whole line.
    bool PutLine(std::string_view line);
    void WriteHeader();
    void WriteHeaderLine(const std::string& line);
    void RemoveOldFiles();
    void ReportMissingFolder();
    std::string LineOf(std::string_view origin, int level, std::string_view text);
    /// Into the file, as many as it takes.
    void WriteKeptTroubles();
    void LogKeptTroubles();
    void Announce(std::string_view line, std::string_view origin, int level, std::string_view text);
    void FeedWindow(std::string_view line);
    void ShowWindow(bool visible);

    LogState& state_;
    Clock& clock_;
    LogFileFacts facts_;
    LogWindow* window_ = nullptr;
    std::ofstream stream_;
    bool lineIsBroken_ = false;  ///< the disk took a part of the last line only
    std::uintmax_t fileBytes_ = 0;
    std::vector<std::string> header_;  ///< repeated in each part
    LogLimits limits_;
    bool missingFolderReported_ = false;
    bool headIsBeingWritten_ = false;  ///< its facts may log; troubles wait until it is whole
    bool chooseFolderAgain_ = false;   ///< no file could be opened in the last one
    bool partIsLost_ = false;  ///< neither the next part nor the file before could be opened; each line tries again
    std::filesystem::path fileName_;
    std::string commonFolder_;  ///< the folder used when none is set; made again at each open
    Listener listener_;

    struct Trouble {
        std::string line, origin, text;
        int level = 0;
        bool announced = false;  ///< the window and the listener had it
    };
    std::deque<Trouble> troubles_;  ///< those that no file has
};

}  // namespace kestrane

#include "kernel/base/log.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <limits>
#include <system_error>
#include <tuple>
#include <utility>

#include "kernel/base/application_info.h"
#include "kernel/base/date_time.h"
#include "kernel/base/errors.h"
#include "kernel/base/text.h"

namespace kestrane {
namespace {

constexpr std::string_view kFilePrefix = "KS_ASCOM_";
constexpr std::string_view kFileSuffix = ".log";
constexpr std::size_t kOriginWidth = 16;
constexpr std::size_t kLineNumberWidth = 6;
constexpr std::size_t kDateWidth = 10;
constexpr std::size_t kWindowLimit = 20000;
constexpr std::size_t kWindowKept = 10000;

constexpr std::int32_t kFocuserColour = 11823615;
constexpr std::int32_t kSentColour = 0xE0E0E0;
constexpr std::int32_t kReplyColour = 0x1FFFF;
constexpr std::int32_t kAscomColour = 91903;
constexpr std::int32_t kOtherColour = 255;

constexpr std::array<std::string_view, 5> kLevels{"Info     ", "Warning  ", "Error    ", "Fatal    ", "Exception"};
constexpr std::array<std::string_view, 5> kControllers{"VTRKC1", "VTRKC2", "VTRKC3", "VTRKC4", "VTRKC5"};
constexpr std::array<std::string_view, 4> kPositionQueries{":GD#", ":GR#", ":GZ#", ":GA#"};

void AppendPadded(std::string& text, int value, std::size_t width) {
    const std::string digits = std::to_string(value);
    text.append(width > digits.size() ? width - digits.size() : 0, '0').append(digits);
}

/// Year to second, with one sign between date and time and one inside the time.
std::string DateAndTime(const DateTime& time, char between, char inTime) {
    std::string text = std::to_string(time.year);
    AppendPadded(text += '-', time.month, 2);
    AppendPadded(text += '-', time.day, 2);
    AppendPadded(text += between, time.hour, 2);
    AppendPadded(text += inTime, time.minute, 2);
    AppendPadded(text += inTime, time.second, 2);
    return text;
}

std::string LevelText(int level) {
    const auto index = static_cast<std::size_t>(level);
    return level >= 0 && index < kLevels.size() ? std::string(kLevels[index]) : std::to_string(level);
}

std::string ControllerText(std::string setting) {
    if (setting.size() == 1 && setting[0] >= '0' && setting[0] <= '4') {
        return std::string(kControllers[static_cast<std::size_t>(setting[0] - '0')]);
    }
    return setting;
}

bool Contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

bool IsPositionQuery(std::string_view line) {
    for (std::string_view query : kPositionQueries) {
        if (Contains(line, query)) {
            return true;
        }
    }
    return false;
}

struct WindowChoice {
    bool show = true;
    std::int32_t colour = kOtherColour;
};

WindowChoice ChooseTelescopeLine(std::string_view line, LogState& state) {
    if (!state.g_bShowTelescope) {
        return {false, kOtherColour};
    }
    if (Contains(line, " TX=")) {
        if (state.g_bShowNoRaDec && IsPositionQuery(line)) {
            state.g_bSuppressNextReply = true;
            return {false, kSentColour};
        }
        return {true, kSentColour};
    }
    if (state.g_bShowNoRaDec && state.g_bSuppressNextReply) {
        state.g_bSuppressNextReply = false;
        return {false, kReplyColour};
    }
    return {true, kReplyColour};
}

// The order of the tests matters: one line may hold several of the words.
WindowChoice ChooseForWindow(std::string_view line, LogState& state) {
    if (Contains(line, "FOCUSER")) {
        return {state.g_bShowFocuser, kFocuserColour};
    }
    if (Contains(line, "Driver") || Contains(line, "Counterweight")) {
        return ChooseTelescopeLine(line, state);
    }
    if (Contains(line, "ASCOM")) {
        return {state.g_bShowAscom, kAscomColour};
    }
    return {};
}

/// A text on one line, whatever it holds.
std::string OnOneLine(std::string_view text) {
    std::string line;
    line.reserve(text.size());
    for (const char c : text) {
        switch (c) {
            case '\r':
                line += "\\r";
                break;
            case '\n':
                line += "\\n";
                break;
            case '\x1B':
                line += "\\e";
                break;
            case '\0':
                line += "\\0";
                break;
            default:
                line += c;
        }
    }
    return line;
}

/// A message as all lines show it.
std::string TextOf(std::string_view message) {
    return OnOneLine(ReplaceAll(message, "\r\n", ""));
}

bool IsLogName(const std::string& name) {
    return name.starts_with(kFilePrefix) && name.ends_with(kFileSuffix);
}

/// A log file that is not written any more.
struct OldFile {
    std::filesystem::path path;
    std::filesystem::file_time_type lastLine;
    std::uintmax_t bytes = 0;
};

/// The log files of a folder but one, oldest first.
std::vector<OldFile> OldFiles(const std::filesystem::path& folder, const std::filesystem::path& open) {
    std::vector<OldFile> files;
    std::error_code failure;
    for (std::filesystem::directory_iterator entry(folder, failure), end; !failure && entry != end;
         entry.increment(failure)) {
        std::error_code ignored;
        const std::filesystem::path& path = entry->path();
        if (IsLogName(path.filename().string()) && path != open &&
            std::filesystem::is_regular_file(entry->symlink_status(ignored))) {
            files.push_back({path, entry->last_write_time(ignored), entry->file_size(ignored)});
        }
    }
    std::ranges::sort(files, [](const OldFile& left, const OldFile& right) {
        return std::tie(left.lastLine, left.path) < std::tie(right.lastLine, right.path);
    });
    return files;
}

std::int64_t SecondsOf(std::filesystem::file_time_type time) {
    using Clock = std::filesystem::file_time_type::clock;
    return std::chrono::duration_cast<std::chrono::seconds>(Clock::to_sys(time).time_since_epoch()).count();
}

/// Runs one statement and drops its failure: a log never fails its caller.
template <typename Statement>
void Quietly(Statement&& statement) {
    try {
        std::forward<Statement>(statement)();
    } catch (const DriverError&) {
        // Not logged either: the next line would fail in the same way.
    }
}

/// The value of one fact; `fallback` when it is not set or its function fails.
template <typename Answer>
Answer Ask(const std::function<Answer()>& fact, Answer fallback) {
    if (fact) {
        Quietly([&] { fallback = fact(); });
    }
    return fallback;
}

}  // namespace

void Log::LogMessage(std::string_view origin, LogLevel level, std::string_view message) {
    LogMessage(origin, static_cast<int>(level), message);
}

void Log::LogMessage(std::string_view origin, int level, std::string_view message) {
    if (!state_.g_bDebugLog) {
        return;
    }
    const std::string text = TextOf(message);
    const std::string line = LineOf(origin, level, text);
    if (!state_.g_bLogPaused) {
        WriteLogLine(line);
    }
    Announce(line, origin, level, text);
}

void Log::LogTrouble(std::string_view origin, LogLevel level, std::string_view message) {
    const std::string text = TextOf(message);
    const std::string line = LineOf(origin, static_cast<int>(level), text);
    if (troubles_.size() == kKeptTroubles) {
        troubles_.pop_front();
    }
    troubles_.push_back({line, std::string(origin), text, static_cast<int>(level), state_.g_bDebugLog});
    if (state_.g_bDebugLog) {
        WriteKeptTroubles();
        Announce(line, origin, static_cast<int>(level), text);
    }
}

void Log::WriteKeptTroubles() {
    while (!headIsBeingWritten_ && !troubles_.empty() && FileIsReady()) {
        const std::int32_t number = state_.g_nLogLine;
        if (!PutLine(troubles_.front().line)) {
            state_.g_nLogLine = number;  // it will have its number when the file takes it
            return;
        }
        troubles_.pop_front();
    }
}

void Log::LogKeptTroubles() {
    std::vector<Trouble> unknown;
    for (Trouble& trouble : troubles_) {
        if (!std::exchange(trouble.announced, true)) {
            unknown.push_back(trouble);
        }
    }
    WriteKeptTroubles();
    for (const Trouble& trouble : unknown) {
        Announce(trouble.line, trouble.origin, trouble.level, trouble.text);
    }
}

std::string Log::LineOf(std::string_view origin, int level, std::string_view text) {
    std::string line = GetTimestamp();
    const std::string shownOrigin = OnOneLine(origin);
    line.append(": ").append(shownOrigin);
    line.append(shownOrigin.size() < kOriginWidth ? kOriginWidth - shownOrigin.size() : 0, ' ');
    line.append(": ").append(LevelText(level)).append(" : ").append(text);
    return line;
}

/// To the window and the listener.
void Log::Announce(std::string_view line, std::string_view origin, int level, std::string_view text) {
    FeedWindow(line.substr(kDateWidth));
    if (listener_) {
        Quietly([&] { listener_(origin, level, text); });
    }
}

void Log::FeedWindow(std::string_view line) {
    const WindowChoice choice = ChooseForWindow(line, state_);
    if (window_ == nullptr || !choice.show) {
        return;
    }
    bool visible = false;
    Quietly([&] { visible = window_->Visible(); });
    if (!visible) {
        return;
    }
    Quietly([&] {
        if (window_->TextLength() > kWindowLimit) {
            window_->KeepLast(kWindowKept);
        }
    });
    Quietly([&] { window_->Append(line, choice.colour); });
}

void Log::OpenLog() {
    if (IsOpen()) {
        return;
    }
    partIsLost_ = false;
    headIsBeingWritten_ = true;
    ChooseFolder();
    if (!state_.g_sLogDir.empty()) {
        OpenFile();
    }
    chooseFolderAgain_ = !IsOpen();
    if (!IsOpen()) {
        fileName_.clear();
    }
    state_.g_nLogLine = 0;
    limits_ = Ask<LogLimits>(facts_.limits, {});
    WriteHeader();
    headIsBeingWritten_ = false;
    if (state_.g_bDebugLog) {
        LogKeptTroubles();
    }
    if (IsOpen()) {
        RemoveOldFiles();
    } else {
        ReportMissingFolder();
    }
}

void Log::ReportMissingFolder() {
    if (!missingFolderReported_ && !state_.g_sLogDir.empty() && state_.g_sLogDir != commonFolder_) {
        missingFolderReported_ = true;
        if (facts_.reportMissingFolder) {
            Quietly([&] { facts_.reportMissingFolder(state_.g_sLogDir); });
        }
    }
}

void Log::OpenFile() {
    OpenPart(FreeName());
}

/// The name of the present second, unless that file is full already.
std::filesystem::path Log::FreeName() const {
    constexpr int kMostParts = 1000;  // of one second
    const std::filesystem::path folder = state_.g_sLogDir;
    const std::string name = std::string(kFilePrefix) + GetFileTimestamp();
    std::filesystem::path file = folder / (name + std::string(kFileSuffix));
    std::error_code failure;
    for (int part = 2; part < kMostParts; ++part) {
        const std::uintmax_t bytes = std::filesystem::file_size(file, failure);
        if (failure || bytes < kPartBytes) {
            break;
        }
        file = folder / (name + "_" + std::to_string(part) + std::string(kFileSuffix));
    }
    return file;
}

void Log::OpenPart(const std::filesystem::path& file) {
    fileName_ = file;
    std::error_code failure;
    fileBytes_ = std::filesystem::file_size(file, failure);
    if (failure) {
        fileBytes_ = 0;
    }
    lineIsBroken_ = false;
    if (fileBytes_ > 0) {
        std::ifstream written(file, std::ios::binary);
        lineIsBroken_ = written.seekg(-1, std::ios::end) && written.get() != '\n';
    }
    // Without a buffer each line goes to the system in one write: a killed process loses no line, and a line that a
    // full disk refused is not kept and written later.
    stream_ = std::ofstream();
    stream_.rdbuf()->pubsetbuf(nullptr, 0);
    stream_.open(file, std::ios::binary | std::ios::app);
}

void Log::NextPart() {
    const std::filesystem::path before = fileName_;
    stream_.close();
    OpenFile();
    if (!IsOpen()) {
        OpenPart(before);
        fileBytes_ = 0;  // the next part is tried again after as many bytes
        partIsLost_ = !IsOpen();
        return;
    }
    partIsLost_ = false;
    for (const std::string& line : header_) {
        PutLine(line);
    }
    PutLine("# Continues: " + before.filename().string());
    RemoveOldFiles();
}

void Log::RemoveOldFiles() {
    if (commonFolder_.empty() || state_.g_sLogDir != commonFolder_) {
        return;
    }
    constexpr std::int64_t kSecondsOfADay = 24 * 60 * 60;
    const std::int64_t now = SecondsSince1970(clock_.DateLocalToUTC(clock_.GetLocalTime()));
    const std::vector<OldFile> files = OldFiles(commonFolder_, fileName_);
    std::uintmax_t bytes = fileBytes_;
    for (const OldFile& file : files) {
        bytes += file.bytes;
    }
    for (const OldFile& file : files) {
        const bool old = now - SecondsOf(file.lastLine) > limits_.keptDays * kSecondsOfADay;
        std::error_code failure;
        if ((old || bytes > limits_.keptBytes) && std::filesystem::remove(file.path, failure)) {
            bytes -= file.bytes;
        }
    }
}

void Log::ChooseFolder() {
    if (state_.g_sLogDir.empty() || chooseFolderAgain_) {
        state_.g_sLogDir = Ask<std::string>(facts_.logFileDir, "");
    }
    if (state_.g_sLogDir.empty()) {
        const auto common = Ask<std::filesystem::path>(facts_.commonAppData, {});
        commonFolder_ = common.empty() ? std::string{} : (common / "Kestrane" / "ASCOM" / "Logs").string();
        state_.g_sLogDir = commonFolder_;
    }
    if (!commonFolder_.empty() && state_.g_sLogDir == commonFolder_) {
        std::error_code ignored;
        std::filesystem::create_directories(commonFolder_, ignored);
    }
}

void Log::WriteHeader() {
    // The facts are read line by line: reading one may itself log, and that line must come before the line of the fact.
    header_.clear();
    WriteHeaderLine("# KS ASCOM Driver - " + std::string(application::kDriverVersion));
    WriteHeaderLine("# Controller: " + ControllerText(Ask<std::string>(facts_.controller, "")));
    WriteHeaderLine("# Mount Type: " + Ask<std::string>(facts_.mountTypeName, ""));
    WriteHeaderLine("# O/S: " + Ask<std::string>(facts_.osName, "unknown"));
    WriteHeaderLine("# Admin: " + std::string(TrueFalse(Ask<bool>(facts_.isAdmin, false))));
}

void Log::WriteHeaderLine(const std::string& line) {
    header_.push_back(OnOneLine(line));
    PutLine(header_.back());
}

void Log::CloseLog() {
    state_.g_bLogPaused = partIsLost_ = false;
    if (IsOpen()) {
        stream_.close();
    }
}

void Log::ToggleLog(bool showWindow) {
    if (state_.g_bDebugLog) {
        OpenLog();
        ShowWindow(showWindow);
    } else {
        ShowWindow(false);
        CloseLog();
    }
}

void Log::ShowWindow(bool visible) {
    if (window_ != nullptr) {
        Quietly([&] { window_->Show(visible); });
    }
}

void Log::WriteLogLine(std::string_view line) {
    if (FileIsReady()) {
        WriteKeptTroubles();
        PutLine(line);
    }
}

bool Log::FileIsReady() {
    if (partIsLost_ || (IsOpen() && fileBytes_ >= kPartBytes)) {
        NextPart();
    }
    return IsOpen();
}

bool Log::PutLine(std::string_view line) {
    if (!IsOpen()) {
        return false;
    }
    std::string text;
    text.reserve(line.size() + kLineNumberWidth + 3);
    if (lineIsBroken_) {
        text += '\n';  // the disk took a part of the line before; this one still begins a new line
    }
    if (state_.g_nLogLine >= 0) {
        if (state_.g_nLogLine < std::numeric_limits<std::int32_t>::max()) {
            ++state_.g_nLogLine;
        }
        AppendPadded(text, state_.g_nLogLine, kLineNumberWidth);
        text += ' ';
    }
    text.append(line) += '\n';
    // Writes to the buffer itself: it reports how much the disk took, and a failure does not block the next line.
    const std::streamsize taken = stream_.rdbuf()->sputn(text.data(), std::ssize(text));
    if (taken > 0) {
        fileBytes_ += static_cast<std::uintmax_t>(taken);
        lineIsBroken_ = text[static_cast<std::size_t>(taken) - 1] != '\n';
    }
    return taken == std::ssize(text);
}

std::string Log::GetTimestamp() {
    const DateTime now = clock_.GetLocalTime();
    std::string text = DateAndTime(now, ' ', ':');
    AppendPadded(text += '.', now.millisecond, 3);
    return text;
}

std::string Log::GetFileTimestamp() const {
    return DateAndTime(clock_.GetLocalTime(), '_', '-');
}

}  // namespace kestrane

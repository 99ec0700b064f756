#include "settings/bookmarks.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <optional>
#include <system_error>

#include "settings/database.h"
#include "settings/legacy_text.h"

namespace kestrane {
namespace {

constexpr std::string_view kOrigin = "Bookmarks";
constexpr std::string_view kNotTransferred = "False";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// What differs between the two kinds of bookmarks.
template <typename Record>
struct BookmarkKind {
    const SettingKey& transferred;
    std::string_view fileName;
    bool (Database::*getAll)(RecordArray<Record>&);
    bool (Database::*set)(const Record&, bool&);
    Record (*make)(const BookmarkLine&);
    bool (*equal)(const Record&, const Record&);
};

constexpr BookmarkKind<GotoRaDec> kRaDec{
    .transferred = setting::TransferedRABookmarksToDB,
    .fileName = "RaDecBookmarks.txt",
    .getAll = &Database::GetAllGotoRaDec,
    .set = &Database::SetGotoRaDec,
    .make = [](const BookmarkLine& line) { return GotoRaDec{0, line.name, line.name, "", line.first, line.second}; },
    .equal =
        [](const GotoRaDec& left, const GotoRaDec& right) {
            return left.Name == right.Name && left.RightAscension == right.RightAscension &&
                   left.Declination == right.Declination;
        },
};

constexpr BookmarkKind<GotoAltAz> kAltAz{
    .transferred = setting::TransferedAltBookmarksToDB,
    .fileName = "AltAzBookmarks.txt",
    .getAll = &Database::GetAllGotoAltAz,
    .set = &Database::SetGotoAltAz,
    .make =
        [](const BookmarkLine& line) {
            return GotoAltAz{0, line.name, line.name, line.first, line.second};
        },
    .equal =
        [](const GotoAltAz& left, const GotoAltAz& right) {
            return left.Name == right.Name && left.Altitude == right.Altitude && left.Azimuth == right.Azimuth;
        },
};

std::string TrimmedOfWhiteSpace(std::string_view text) {
    constexpr std::string_view kWhiteSpace = " \t\r\v\f";
    const std::size_t first = text.find_first_not_of(kWhiteSpace);
    if (first == std::string_view::npos) {
        return {};
    }
    return std::string(text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1));
}

std::optional<BookmarkLine> ParseLine(std::string_view line) {
    const std::size_t firstComma = line.find(',');
    const std::size_t secondComma = firstComma == std::string_view::npos ? firstComma : line.find(',', firstComma + 1);
    if (secondComma == std::string_view::npos || line.find('\0') != std::string_view::npos) {
        return std::nullopt;
    }
    return BookmarkLine{TrimmedOfWhiteSpace(line.substr(0, firstComma)),
                        TrimmedOfWhiteSpace(line.substr(firstComma + 1, secondComma - firstComma - 1)),
                        TrimmedOfWhiteSpace(line.substr(secondComma + 1))};
}

/// The file's content; nothing when there is no such file. A file that cannot be read is a run-time error (75).
std::optional<std::string> ReadBookmarkFile(const std::filesystem::path& file) {
    std::error_code failure;
    const std::filesystem::file_status status = std::filesystem::status(file, failure);
    if (status.type() == std::filesystem::file_type::not_found) {
        return std::nullopt;
    }
    if (!std::filesystem::is_regular_file(status)) {
        RaiseFileAccess();
    }
    std::ifstream stream(file, std::ios::binary);
    if (!stream.is_open()) {
        RaiseFileAccess();
    }
    std::string content;
    std::array<char, 4096> piece;
    do {
        stream.read(piece.data(), piece.size());
        content.append(piece.data(), static_cast<std::size_t>(stream.gcount()));
    } while (stream);
    if (stream.bad()) {
        RaiseFileAccess();
    }
    return content;
}

/// Refuses two bytes for each character, as an editor may have saved the file: none of its lines could be read.
void RequireBytes(std::string_view content) {
    if (content.starts_with("\xFF\xFE") || content.starts_with("\xFE\xFF")) {
        throw RunTimeError(RunTimeError::kFileAccess, "The file is UTF-16, it has to be saved as UTF-8");
    }
}

std::filesystem::path MakeBookmarkFolder(Folders& folders) {
    const std::filesystem::path folder = folders.Documents() / "Kestrane" / "QUAY";
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    return folder;
}

/// False when the bookmark could not be stored for now.
template <typename Record>
bool StoreBookmark(Database& database, const BookmarkKind<Record>& kind, const BookmarkLine& line) {
    bool isNew = true;
    return (database.*kind.set)(kind.make(line), isNew) || database.Answered();
}

template <typename Record>
void Transfer(const BookmarksNeeds& needs, Database& database, const BookmarkKind<Record>& kind,
              const RecordArray<Record>& present) {
    const std::filesystem::path file = MakeBookmarkFolder(needs.folders) / kind.fileName;
    if (const std::optional<std::string> content = ReadBookmarkFile(file)) {
        RequireBytes(*content);
        bool allStand = true;
        for (const BookmarkLine& line : ParseBookmarks(*content, needs.log)) {
            // Rows that are there before the first transfer come from a transfer that did not reach its end.
            const bool stored = std::ranges::any_of(
                present, [&](const auto& record) { return record && kind.equal(*record, kind.make(line)); });
            allStand = (stored || StoreBookmark(database, kind, line)) && allStand;
        }
        if (!allStand) {
            throw RunTimeError(RunTimeError::kFileAccess, "Not every bookmark could be stored");
        }
    }
    needs.persist.Write(kind.transferred, "True");
}

template <typename Record>
RecordArray<Record> Start(const BookmarksNeeds& needs, const BookmarkKind<Record>& kind) {
    RecordArray<Record> bookmarks(1);
    Database* database = needs.persist.database();
    if (database == nullptr) {
        return bookmarks;
    }
    (database->*kind.getAll)(bookmarks);
    if (!database->Answered()) {
        return bookmarks;
    }
    ResumeNext errors{needs.ledger, "Bookmarks.Start"};
    const bool transferred = errors.Step([&] {
        if (needs.persist.ReadIfAnswered(kind.transferred) == kNotTransferred) {
            Transfer(needs, *database, kind, bookmarks);
        }
    });
    if (!transferred) {
        needs.log.LogMessage(
            kOrigin, LogLevel::Warning,
            std::string(kind.fileName) + " is not taken over for now: " + needs.ledger.Entries().back().message);
    }
    (database->*kind.getAll)(bookmarks);
    return bookmarks;
}

}  // namespace

std::vector<BookmarkLine> ParseBookmarks(std::string_view content, Log& log) {
    if (content.starts_with(kByteOrderMark)) {
        content.remove_prefix(kByteOrderMark.size());
    }
    std::vector<BookmarkLine> bookmarks;
    while (!content.empty()) {
        const std::size_t end = content.find_first_of("\r\n");
        const std::string line = Utf8OfLegacyText(TrimmedOfWhiteSpace(content.substr(0, end)));
        content.remove_prefix(end == std::string_view::npos ? content.size() : end + 1);
        if (line.empty() || line.starts_with('#')) {
            continue;
        }
        if (std::optional<BookmarkLine> bookmark = ParseLine(line)) {
            bookmarks.push_back(*std::move(bookmark));
        } else {
            log.LogMessage(kOrigin, LogLevel::Warning, "A line without three fields is left out: '" + line + "'");
        }
    }
    return bookmarks;
}

RecordArray<GotoRaDec> StartRaDecBookmarks(const BookmarksNeeds& needs) {
    return Start(needs, kRaDec);
}

RecordArray<GotoAltAz> StartAltAzBookmarks(const BookmarksNeeds& needs) {
    return Start(needs, kAltAz);
}

}  // namespace kestrane

#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "platform/system_services.h"
#include "settings/persist.h"
#include "settings/records.h"

/// The bookmarks of the two goto windows, and the two text files that held them before the settings file existed.
namespace kestrane {

struct BookmarksNeeds {
    Persist& persist;
    Folders& folders;
    Log& log;
    SwallowLedger& ledger;
};

/// A line of a bookmark file: right ascension and declination, or altitude and azimuth, as written.
struct BookmarkLine {
    std::string first;
    std::string second;
    std::string name;  ///< may hold commas
};

/// The bookmarks in the content of a file: one per line, with any line ending, split at the first two commas, each
/// field trimmed. Lines that begin with "#" and empty lines are skipped. A line with fewer commas, or with a zero byte,
/// is logged and left out.
std::vector<BookmarkLine> ParseBookmarks(std::string_view content, Log& log);

/// For a goto window that opens: copies the bookmarks of the old file if that has not been done yet, and returns all
/// that are in the settings file. The old file stays, and is not read again after it has been copied. A failure to read
/// or store it is logged, and the next opening tries again; bookmarks that were copied already are not stored twice,
/// unless they were changed or deleted in the meantime. While the settings file does not answer, there are no bookmarks
/// and nothing is copied. Raises nothing. Logic thread only.
RecordArray<GotoRaDec> StartRaDecBookmarks(const BookmarksNeeds& needs);
RecordArray<GotoAltAz> StartAltAzBookmarks(const BookmarksNeeds& needs);

}  // namespace kestrane

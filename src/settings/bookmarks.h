#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "platform/system_services.h"
#include "settings/persist.h"
#include "settings/records.h"

/// The bookmarks of the two goto windows, and the two text files that held them before the settings file did.
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

/// The bookmarks in the content of a file: one a line of any ending, split at the first two commas, each field trimmed.
/// Lines that begin with "#" and empty ones are none. A line with fewer commas, or with a zero byte, is logged and left
/// out.
std::vector<BookmarkLine> ParseBookmarks(std::string_view content, Log& log);

/// For a goto window that opens: takes the old file's bookmarks over if that has not been done yet, and gives all that
/// stand in the settings file. The old file stays, and is not read again once it has been taken over. What keeps it
/// from being read or stored is logged, and the next opening tries again; bookmarks that had come through already are
/// not stored twice, unless they were changed or deleted meanwhile. While the settings file does not answer there are
/// none, and nothing is taken over. Raises nothing. Logic thread only.
RecordArray<GotoRaDec> StartRaDecBookmarks(const BookmarksNeeds& needs);
RecordArray<GotoAltAz> StartAltAzBookmarks(const BookmarksNeeds& needs);

}  // namespace kestrane

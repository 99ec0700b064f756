#pragma once

#include <span>
#include <string_view>

namespace kestrane::web {

/// A file of the page, as a part of this program. Everything is of static storage.
struct PageFile {
    std::string_view path;  ///< below src/views/web/page, or docs: "index.html", "help/help-4-sites.html"
    std::string_view content;
    std::string_view tag;  ///< as an `ETag` header has it; differs for different contents
};

/// All of them. The build writes this function.
std::span<const PageFile> PageFiles();

}  // namespace kestrane::web

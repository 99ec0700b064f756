// What a view sends: whatever it is, it is a report with all that its deed needs, or none.

#include <string_view>

#include "support.h"
#include "views/mirror/report.h"

namespace {

using namespace kestrane::mirror;
using kestrane::fuzz::Require;

void Check(const Report& report) {
    const bool onControl = report.deed == Deed::Click || report.deed == Deed::DblClick || report.deed == Deed::Change ||
                           report.deed == Deed::Hold;
    Require(!onControl || (!report.form.empty() && !report.control.empty()), "a press names a control");
    Require(report.deed != Deed::Change || report.value.index() != 0, "a change has a value");
    Require((report.deed != Deed::Hold && report.deed != Deed::Release) || report.hold > 0, "a hold has a number");
    Require(report.deed != Deed::Close || !report.form.empty(), "a close names a window");
    Require(report.deed != Deed::Icon || !report.message.empty(), "the icon has a message");
    Require(report.deed != Deed::Lines || !report.stream.empty(), "lines have a stream");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (const auto report = ParseReport({reinterpret_cast<const char*>(data), size})) {
        Check(*report);
    }
    return 0;
}

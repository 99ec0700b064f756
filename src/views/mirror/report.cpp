#include "views/mirror/report.h"

#include <array>
#include <boost/json/src.hpp>
#include <utility>

namespace kestrane::mirror {
namespace {

namespace json = boost::json;

constexpr std::uint64_t kLargest = (std::uint64_t{1} << 53U) - 1;  // what a page's numbers can count to

constexpr std::int64_t kLargestPixel = 100'000;  // beyond all screens, and far from an overflow

/// What a deed must have, beside what it may.
constexpr unsigned kNothing = 0;
constexpr unsigned kControl = 1;
constexpr unsigned kForm = 2;
constexpr unsigned kValue = 4;
constexpr unsigned kHold = 8;
constexpr unsigned kStream = 16;
constexpr unsigned kMessage = 32;
constexpr unsigned kAt = 64;
constexpr unsigned kScreen = 128;

struct DeedRow {
    std::string_view name;
    Deed deed;
    unsigned needs;
};

constexpr std::array kDeeds{
    DeedRow{"click", Deed::Click, kForm | kControl},
    DeedRow{"dblclick", Deed::DblClick, kForm | kControl},
    DeedRow{"change", Deed::Change, kForm | kControl | kValue},
    DeedRow{"hold", Deed::Hold, kForm | kControl | kHold},
    DeedRow{"beat", Deed::Beat, kNothing},
    DeedRow{"release", Deed::Release, kHold},
    DeedRow{"stop", Deed::Stop, kNothing},
    DeedRow{"close", Deed::Close, kForm},
    DeedRow{"icon", Deed::Icon, kMessage},
    DeedRow{"lines", Deed::Lines, kStream},
    DeedRow{"snapshot", Deed::Snapshot, kNothing},
    DeedRow{"place", Deed::Place, kForm | kAt},
    DeedRow{"tray", Deed::Tray, kAt | kScreen},
    DeedRow{"keep", Deed::Keep, kNothing},
};

const DeedRow* FindDeed(std::string_view name) {
    for (const DeedRow& row : kDeeds) {
        if (row.name == name) {
            return &row;
        }
    }
    return nullptr;
}

/// The members of an object, each read once; `good` becomes false at the first of the wrong kind.
class Members {
public:
    explicit Members(const json::object& object) : object_(object) {}

    void Read(std::string_view name, std::string& text) {
        if (const json::value* value = object_.if_contains(name)) {
            const json::string* string = value->if_string();
            good = good && string != nullptr;
            text = string ? std::string(string->data(), string->size()) : std::string();
        }
    }
    void Read(std::string_view name, std::uint64_t& number) {
        if (const json::value* value = object_.if_contains(name)) {
            const std::optional<std::uint64_t> read = WholeNumber(*value);
            good = good && read.has_value();
            number = read.value_or(0);
        }
    }
    void Read(std::string_view name, std::optional<std::uint64_t>& number) {
        if (object_.contains(name)) {
            Read(name, number.emplace());
        }
    }
    void Read(std::string_view name, ReportedValue& reported) {
        const json::value* value = object_.if_contains(name);
        if (!value) {
            return;
        }
        if (const json::string* text = value->if_string()) {
            reported = std::string(text->data(), text->size());
        } else if (const bool* flag = value->if_bool()) {
            reported = *flag;
        } else if (const std::int64_t* number = value->if_int64(); number && std::in_range<std::int32_t>(*number)) {
            reported = static_cast<std::int32_t>(*number);
        } else {
            good = false;
        }
    }

    void Read(std::string_view name, std::optional<ScreenArea>& area) {
        if (const json::value* value = object_.if_contains(name)) {
            area = AreaOf(*value);
            good = good && area.has_value();
        }
    }

    bool good = true;

private:
    static std::optional<std::uint64_t> WholeNumber(const json::value& value) {
        const std::int64_t* number = value.if_int64();
        if (!number || *number < 0 || std::cmp_greater(*number, kLargest)) {
            return std::nullopt;
        }
        return static_cast<std::uint64_t>(*number);
    }

    /// Left, top, right and bottom of a place on a screen; nothing for anything else.
    static std::optional<ScreenArea> AreaOf(const json::value& value) {
        const json::array* numbers = value.if_array();
        if (!numbers || numbers->size() != 4) {
            return std::nullopt;
        }
        std::array<std::int32_t, 4> at{};
        for (std::size_t i = 0; i < at.size(); ++i) {
            const std::int64_t* number = (*numbers)[i].if_int64();
            if (!number || *number < -kLargestPixel || *number > kLargestPixel) {
                return std::nullopt;
            }
            at[i] = static_cast<std::int32_t>(*number);
        }
        const bool isArea = at[0] < at[2] && at[1] < at[3];
        return isArea ? std::optional(ScreenArea{at[0], at[1], at[2], at[3]}) : std::nullopt;
    }

    const json::object& object_;
};

bool HasWhatItNeeds(const Report& report, unsigned needs) {
    const auto has = [needs](unsigned what, bool isThere) { return (needs & what) == 0 || isThere; };
    return has(kForm, !report.form.empty()) && has(kControl, !report.control.empty()) &&
           has(kValue, report.value.index() != 0) && has(kHold, report.hold > 0) &&
           has(kStream, !report.stream.empty()) && has(kMessage, !report.message.empty()) &&
           has(kAt, report.at.has_value()) && has(kScreen, report.screen.has_value());
}

}  // namespace

std::optional<Report> ParseReport(std::string_view text) {
    boost::system::error_code error;
    const json::value parsed = json::parse({text.data(), text.size()}, error);
    const json::object* object = error ? nullptr : parsed.if_object();
    if (!object) {
        return std::nullopt;
    }
    Report report;
    std::string name;
    Members members(*object);
    members.Read("do", name);
    members.Read("form", report.form);
    members.Read("control", report.control);
    members.Read("stream", report.stream);
    members.Read("message", report.message);
    members.Read("value", report.value);
    members.Read("opening", report.opening);
    members.Read("beat", report.beat);
    members.Read("hold", report.hold);
    members.Read("from", report.from);
    members.Read("at", report.at);
    members.Read("screen", report.screen);
    members.Read("id", report.id);
    const DeedRow* deed = FindDeed(name);
    if (!deed || !members.good || !HasWhatItNeeds(report, deed->needs)) {
        return std::nullopt;
    }
    report.deed = deed->deed;
    return report;
}

}  // namespace kestrane::mirror

#include "catalogue/ks_mount.h"

#include <algorithm>
#include <array>
#include <cassert>

namespace kestrane {
namespace {

constexpr std::array<std::string_view, 12> kDisplayNames{
    "Alder VTR", "Birch VTR", "Cedar VTR", "Dogwood VTR", "Elm VTR",   "Fir VTR",
    "GINKGO",    "Hazel",     "Iroko",     "Juniper VTR", "Kauri VTR", "Larch VTR",
};

constexpr std::array<std::string_view, 12> kListOrder{
    "Alder VTR", "Birch VTR",   "Cedar VTR", "Larch VTR", "Dogwood VTR", "Kauri VTR",
    "Elm VTR",   "Juniper VTR", "Fir VTR",   "GINKGO",    "Hazel",       "Iroko",
};

/// Index of the name, or 0.
std::int16_t IndexOf(const std::array<std::string_view, 12>& names, std::string_view name) {
    const auto found = std::ranges::find(names, name);
    return found == names.end() ? std::int16_t{0} : static_cast<std::int16_t>(found - names.begin());
}

bool InRange(std::int16_t index) {
    return index >= 0 && index < static_cast<std::int16_t>(kDisplayNames.size());
}

}  // namespace

std::string_view KsMount::GetMountType(std::int16_t& nMountType) const {
    if (nMountType == -1) {
        nMountType = static_cast<std::int16_t>(mountType);
    }
    return InRange(nMountType) ? kDisplayNames[static_cast<std::size_t>(nMountType)] : "Unknown";
}

std::string_view KsMount::Name() const {
    std::int16_t own = -1;
    return GetMountType(own);
}

Mount_Type KsMount::FindMountType(std::string_view sType) {
    return static_cast<Mount_Type>(IndexOf(kDisplayNames, sType));
}

std::string_view KsMount::GetMountListEntry(std::int16_t nIndex) {
    return InRange(nIndex) ? kListOrder[static_cast<std::size_t>(nIndex)] : "";
}

std::int16_t KsMount::FindMountListEntry(std::string_view sMountName) {
    return IndexOf(kListOrder, sMountName);
}

std::int16_t KsMount::GetNewMountIndex(std::int16_t nMountType) const {
    return FindMountListEntry(GetMountType(nMountType));
}

bool KsMount::SendNoResponse(std::string_view KsCommand) const {
    assert(send_ && "nobody sends for the catalogue");
    send_(KsCommand, true);
    return true;
}

bool KsMount::WaitResponse(std::string_view /*sResponse*/, std::int32_t /*nTimoutInMSecs*/) const {
    return true;
}

bool KsMount::SetGMTOffset(std::int16_t /*nHours*/, std::int16_t /*nMin*/, std::int16_t /*nSec*/) const {
    return true;
}

}  // namespace kestrane

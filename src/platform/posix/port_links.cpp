#include "platform/posix/port_links.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

#include "platform/port_names.h"

namespace kestrane {
namespace {

namespace fs = std::filesystem;

constexpr int kMostSteps = 40;  // of links that lead to links; the system follows no more either

std::optional<std::int32_t> NumberOf(std::string_view name) {
    if (!name.starts_with(kPortLetters)) {
        return std::nullopt;
    }
    name.remove_prefix(kPortLetters.size());
    std::int32_t number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    const bool whole = error == std::errc() && end == name.data() + name.size();
    if (!whole || name.starts_with('0') || number < 1 || number > PortLinks::kLastNumber) {
        return std::nullopt;
    }
    return number;
}

bool IsThere(const fs::path& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    return fs::exists(status) && !fs::is_directory(status);
}

fs::path WithoutDetours(const fs::path& path) {
    std::error_code error;
    const fs::path absolute = fs::absolute(path, error);
    return (error ? path : absolute).lexically_normal();
}

void AddTrouble(SerialPortList& list, const std::string& what, const std::error_code& error) {
    list.troubles.push_back(what + ": " + error.message());
}

/// The entries of a folder in the order of their names; a missing folder is an empty one.
std::vector<fs::path> EntriesOf(const fs::path& folder, SerialPortList& list) {
    std::vector<fs::path> entries;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        entries.push_back(entry->path());
    }
    if (error && error != std::errc::no_such_file_or_directory) {
        AddTrouble(list, "The folder " + folder.string() + " cannot be read", error);
    }
    std::sort(entries.begin(), entries.end());
    return entries;
}

}  // namespace

PortLinks::PortLinks(fs::path linkFolder, fs::path deviceFolder)
    : linkFolder_(std::move(linkFolder)), deviceFolder_(std::move(deviceFolder)) {}

SerialPortList PortLinks::List() {
    SerialPortList list;
    std::vector<Link> links = ReadLinks(list);
    std::set<std::int32_t> known;
    for (const Link& link : links) {
        known.insert(link.entry.number);
    }
    if (list.troubles.empty()) {  // who cannot see the links cannot know which devices have none
        for (const fs::path& device : Devices(list)) {
            const bool named =
                std::any_of(links.begin(), links.end(), [&](const Link& link) { return Names(link, device); });
            if (!named) {
                GiveNumber(device, list);
                SerialPortList again;
                links = ReadLinks(again);
            }
        }
    }
    for (Link& link : links) {
        if (!known.contains(link.entry.number)) {
            list.numberedNow.push_back(link.entry);
        }
        list.ports.push_back(std::move(link.entry));
    }
    return list;
}

std::vector<PortLinks::Link> PortLinks::ReadLinks(SerialPortList& list) const {
    std::vector<Link> links;
    for (const fs::path& path : EntriesOf(linkFolder_, list)) {
        const std::optional<std::int32_t> number = NumberOf(path.filename().string());
        std::error_code error;
        if (number && fs::is_symlink(fs::symlink_status(path, error))) {
            links.push_back(ReadLink(path, *number));
        }
    }
    std::sort(links.begin(), links.end(),
              [](const Link& one, const Link& other) { return one.entry.number < other.entry.number; });
    return links;
}

PortLinks::Link PortLinks::ReadLink(const fs::path& path, std::int32_t number) {
    Link link;
    fs::path at = path;
    for (int step = 0; step < kMostSteps; ++step) {
        std::error_code error;
        const fs::path target = fs::read_symlink(at, error);
        if (error) {
            break;
        }
        if (step == 0) {
            link.entry.device = target.string();
        }
        at = WithoutDetours(at.parent_path() / target);
        link.names.push_back(at);
    }
    std::error_code error;
    const fs::path device = fs::canonical(path, error);
    if (!error) {
        link.names.push_back(device);
    }
    link.entry.number = number;
    link.entry.name = path.filename().string();
    link.entry.present = IsThere(path);
    return link;
}

bool PortLinks::Names(const Link& link, const fs::path& device) {
    const auto leadsThrough = [&link](const fs::path& path) {
        return std::find(link.names.begin(), link.names.end(), path) != link.names.end();
    };
    std::error_code error;
    const fs::path resolved = fs::canonical(device, error);
    return leadsThrough(WithoutDetours(device)) || (!error && leadsThrough(resolved));
}

std::vector<fs::path> PortLinks::Devices(SerialPortList& list) const {
    std::vector<fs::path> devices = EntriesOf(deviceFolder_, list);
    std::erase_if(devices, [](const fs::path& device) { return !IsThere(device); });
    return devices;
}

void PortLinks::GiveNumber(const fs::path& device, SerialPortList& list) const {
    const std::string trouble = "The serial device " + device.string() + " was given no number";
    std::error_code error;
    fs::create_directories(linkFolder_, error);
    if (error) {
        AddTrouble(list, trouble, error);
        return;
    }
    // Always from 1 up, and not from the numbers seen free: any other process that numbers this device now tries the
    // same names in the same order, so its link is found here.
    for (std::int32_t number = 1; number <= kLastNumber; ++number) {
        const fs::path path = linkFolder_ / PortName(number);
        fs::create_symlink(WithoutDetours(device), path, error);
        if (!error || (error == std::errc::file_exists && Names(ReadLink(path, number), device))) {
            return;
        }
        if (error != std::errc::file_exists) {
            AddTrouble(list, trouble, error);
            return;
        }
    }
    AddTrouble(list, trouble, std::make_error_code(std::errc::no_space_on_device));
}

}  // namespace kestrane

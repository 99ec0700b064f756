#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "catalogue/wire_commands.h"

namespace kestrane {
namespace {

std::string Printable(std::string_view text) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string printable;
    for (const char character : text) {
        const auto code = static_cast<unsigned char>(character);
        if (code >= 0x20) {
            printable += character;
        } else {
            printable += std::string("<") + kDigits[code / 16] + kDigits[code % 16] + ">";
        }
    }
    return printable;
}

std::string_view NameOf(ReplyForm form) {
    switch (form) {
        case ReplyForm::None:
            return "none";
        case ReplyForm::Character:
            return "character";
        case ReplyForm::Text:
            return "text";
    }
    return "";
}

/// The command as a row of the document's tables.
std::string RowOf(const WireCommand& command) {
    const std::string argument = command.argument.empty() ? "" : "`" + std::string(command.argument) + "`";
    return "| `" + Printable(command.text) + "` | " + (command.Raw() ? "raw" : "framed") + " | " + argument + " | " +
           std::string(NameOf(command.reply)) + " | " + std::string(command.meaning) + " |";
}

std::vector<std::string> RowsOfDocument() {
    std::ifstream document(KESTRANE_WIRE_PROTOCOL);
    std::vector<std::string> rows;
    bool inCommands = false;
    for (std::string text; std::getline(document, text);) {
        inCommands = inCommands || text == "## Commands";
        if (inCommands && text.starts_with("| `")) {
            rows.push_back(text);
        }
    }
    return rows;
}

TEST(WireProtocolDocument, HoldsTheCatalogueRowByRow) {
    std::vector<std::string> rows;
    std::transform(wire::kAll.begin(), wire::kAll.end(), std::back_inserter(rows), RowOf);
    EXPECT_EQ(RowsOfDocument(), rows) << "docs/wire-protocol.md and src/catalogue/wire_commands.h differ";
}

/// The names that the header defines, in its order.
std::vector<std::string> NamesOfRows(const std::string& header) {
    const std::regex row(R"(^inline constexpr (Blind|Character|Text)Command +(\w+) *\{)");
    std::vector<std::string> names;
    std::istringstream lines(header);
    for (std::string line; std::getline(lines, line);) {
        std::smatch match;
        if (std::regex_search(line, match, row) && match[2] != "ClientSetting") {
            names.push_back(match[2]);
        }
    }
    return names;
}

/// The names in the list of the whole catalogue.
std::vector<std::string> NamesOfList(const std::string& header) {
    const std::size_t begin = header.find('{', header.find("kAll"));
    const std::string list = header.substr(begin, header.find('}', begin) - begin);
    const std::regex word(R"(\w+)");
    return {std::sregex_token_iterator(list.begin(), list.end(), word), std::sregex_token_iterator()};
}

TEST(WireCatalogue, ListsEveryRow) {
    std::ifstream file(KESTRANE_WIRE_COMMANDS);
    const std::string header{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    ASSERT_EQ(NamesOfRows(header).size(), wire::kAll.size());
    EXPECT_EQ(NamesOfRows(header), NamesOfList(header)) << "a row of the header is not in its list kAll, or elsewhere";
}

TEST(WireCatalogue, ListsEveryRow_CanFail) {
    const std::string header =
        "inline constexpr TextCommand A {\ninline constexpr BlindCommand B {\nkAll = ({\n A,\n});";
    EXPECT_NE(NamesOfRows(header), NamesOfList(header));
}

struct CareRow {
    std::string_view onTheWire;
    Care care;
};

TEST(WireCatalogue, CareIsMetByTheRowsAndByAClientsOwnText) {
    const std::string row = wire::Slew.With("").OnTheWire();
    const std::string rawRow = wire::SlewRaw.With("").OnTheWire();
    const CareRow rows[] = {
        {row, {.zeroIsGood = true}},
        {rawRow, {.zeroIsGood = true}},
        {":MS#", {.zeroIsGood = true}},
        {":MS", {}},
        {"MS#", {}},
        {":MSx#", {}},
        {":Sm#", {.pauseMs = 20}},
        {":Sm1#", {.pauseMs = 20}},
        {":Sm", {.pauseMs = 20}},
        {"Sm1", {}},
        {":SM00:00:00#", {}},
        {":GR#", {}},
        {"#:Q#", {}},
        {"", {}},
    };
    for (const CareRow& expected : rows) {
        EXPECT_EQ(wire::CareOf(expected.onTheWire), expected.care) << expected.onTheWire;
    }
}

TEST(WireCatalogue, ARawRowWithAnArgumentClosesItself) {
    EXPECT_EQ(wire::TrackingRateRaw.With("9").OnTheWire(), ":RT9#");
    EXPECT_EQ(wire::TrackingRate.With("9").OnTheWire(), ":RT9#");
    EXPECT_EQ(wire::SetParkSlot.With("3").OnTheWire(), "$K3#");
    EXPECT_EQ(wire::StopRaw.With("").OnTheWire(), ":Q#");
}

TEST(WireCatalogue, DefinesEachCommandOnce) {
    std::set<std::tuple<std::string_view, bool, bool>> seen;
    for (const WireCommand& command : wire::kAll) {
        EXPECT_TRUE(seen.emplace(command.text, command.Raw(), command.argument.empty()).second) << command.text;
    }
}

TEST(WireCatalogue, FramedCommandsAreWithoutAFrameAndRawOnesBringWhatTheyNeed) {
    for (const WireCommand& command : wire::kAll) {
        EXPECT_FALSE(command.text.empty());
        EXPECT_NE(command.meaning, "");
        const bool closed = command.text.ends_with('#') || command.argument.ends_with('#');
        EXPECT_EQ(closed, command.Raw()) << command.text;
        if (!command.Raw()) {
            EXPECT_FALSE(command.text.starts_with(':')) << command.text;
        }
    }
}

struct ReplyRow {
    WireCommand command;
    std::string_view text;
    bool raw;
    ReplyForm reply;
};

/// What callers rely on, told a second time and apart from the table.
TEST(WireCatalogue, KnowsTextsAndReplies) {
    const ReplyRow rows[] = {
        {wire::EndInput, "#", true, ReplyForm::None},
        {wire::Version, "V", false, ReplyForm::Text},
        {wire::VersionRaw, "#:V#", true, ReplyForm::Text},
        {wire::ToggleFormat, "U", false, ReplyForm::None},
        {wire::ToggleFormatRaw, "#:U#", true, ReplyForm::None},
        {wire::MountForm, ":G\x05#", true, ReplyForm::Text},
        {wire::FirmwareRevision, "G_S", false, ReplyForm::Text},
        {wire::Status, "GOS", false, ReplyForm::Text},
        {wire::Quay, "QUAY", false, ReplyForm::Character},
        {wire::GetRa, "GR", false, ReplyForm::Text},
        {wire::GetDec, "GD", false, ReplyForm::Text},
        {wire::GetAltitude, "GA", false, ReplyForm::Text},
        {wire::GetAzimuth, "GZ", false, ReplyForm::Text},
        {wire::GetSiderealTime, "GS", false, ReplyForm::Text},
        {wire::GetLocalTime, "GL", false, ReplyForm::Text},
        {wire::GetTimeZone, "GG", false, ReplyForm::Text},
        {wire::GetMeridianDelay, "GM", false, ReplyForm::Text},
        {wire::GetPierSide, "pS", false, ReplyForm::Text},
        {wire::GetLongitude, "Gg", false, ReplyForm::Text},
        {wire::GetLatitude, "Gt", false, ReplyForm::Text},
        {wire::GetCenteringRate, "Rc", false, ReplyForm::Text},
        {wire::GetSlewRate, "Rs", false, ReplyForm::Text},
        {wire::SetTargetRa, "Sr", false, ReplyForm::Character},
        {wire::SetTargetDec, "Sd", false, ReplyForm::Character},
        {wire::SetTargetAlt, "Sa", false, ReplyForm::Character},
        {wire::SetTargetAz, "Sz", false, ReplyForm::Character},
        {wire::SetLatitude, "St", false, ReplyForm::Character},
        {wire::SetLatitudeRaw, ":St", true, ReplyForm::Character},
        {wire::SetLongitude, "Sg", false, ReplyForm::Character},
        {wire::SetLongitudeRaw, ":Sg", true, ReplyForm::Character},
        {wire::SetLocalTime, "SL", false, ReplyForm::Character},
        {wire::SetDate, "SC", false, ReplyForm::Text},
        {wire::SetTimeZone, "SG", false, ReplyForm::Character},
        {wire::SetMeridianDelay, "SM", false, ReplyForm::Character},
        {wire::SetDecBacklash, "Bd0*00:", false, ReplyForm::Character},
        {wire::SetRaBacklash, "Br0*00:", false, ReplyForm::Character},
        {wire::Slew, "MS", false, ReplyForm::Character},
        {wire::SlewRaw, ":MS#", true, ReplyForm::Character},
        {wire::Sync, "CM", false, ReplyForm::Text},
        {wire::Recal, "CMR", false, ReplyForm::Text},
        {wire::Stop, "Q", false, ReplyForm::None},
        {wire::StopRaw, ":Q#", true, ReplyForm::None},
        {wire::StopClean, "#:Q#", true, ReplyForm::None},
        {wire::MoveNorth, "Mn", false, ReplyForm::None},
        {wire::MoveSouth, "Ms", false, ReplyForm::None},
        {wire::MoveEast, "Me", false, ReplyForm::None},
        {wire::MoveWest, "Mw", false, ReplyForm::None},
        {wire::StopNorth, "Qn", false, ReplyForm::None},
        {wire::StopSouth, "Qs", false, ReplyForm::None},
        {wire::StopEast, "Qe", false, ReplyForm::None},
        {wire::StopWest, "Qw", false, ReplyForm::None},
        {wire::SwapEastWest, "EW", false, ReplyForm::None},
        {wire::SwapNorthSouth, "NS", false, ReplyForm::None},
        {wire::SwapEastWestRaw, "#:EW#", true, ReplyForm::None},
        {wire::SwapNorthSouthRaw, "#:NS#", true, ReplyForm::None},
        {wire::Park, "KA", false, ReplyForm::None},
        {wire::Unpark, "PO", false, ReplyForm::None},
        {wire::SetParkSlot, "$K", true, ReplyForm::None},
        {wire::SlewRate, "RS", false, ReplyForm::None},
        {wire::CustomSlewRate, "Rs", false, ReplyForm::None},
        {wire::CenteringRate, "RC", false, ReplyForm::None},
        {wire::GuideRate, "RG", false, ReplyForm::None},
        {wire::TrackingRate, "RT", false, ReplyForm::None},
        {wire::TrackingRateRaw, ":RT", true, ReplyForm::None},
        {wire::CustomRaRate, "RR", false, ReplyForm::Character},
        {wire::CustomDecRate, "RD", false, ReplyForm::Character},
        {wire::PemOn, "pP", false, ReplyForm::None},
        {wire::PemOff, "p", false, ReplyForm::None},
        {wire::PemRecord, "pR", false, ReplyForm::None},
        {wire::ReticleBrighter, "B+", false, ReplyForm::None},
        {wire::ReticleDimmer, "B-", false, ReplyForm::None},
        {wire::ReticleLevel, "B", false, ReplyForm::None},
        {wire::HoldOn, "ho", false, ReplyForm::None},
        {wire::HoldOff, "hq", false, ReplyForm::None},
        {wire::FocusPlus, "F+", false, ReplyForm::None},
        {wire::FocusMinus, "F-", false, ReplyForm::None},
        {wire::FocusStop, "FQ", false, ReplyForm::None},
        {wire::FocusFast, "FF", false, ReplyForm::None},
        {wire::FocusSlow, "FS", false, ReplyForm::None},
        {wire::PointingCorrection, "ZZ00,", false, ReplyForm::None},
        {wire::PointingCorrectionOn, "ZZ01", false, ReplyForm::Text},
        {wire::TrackingCorrectionOn, "ZZ02", false, ReplyForm::Text},
        {wire::CompanionSlew, "*SLEW,", false, ReplyForm::Text},
        {wire::CompanionSlewAltAz, "*SLEWALTAZ,", false, ReplyForm::Text},
        {wire::CompanionPark, "*PARK,", false, ReplyForm::Text},
        {wire::CompanionParkAltAz, "*PARKALTAZ,", false, ReplyForm::Text},
        {wire::CompanionSafeSlewOff, "*DISABLESAFESLEW,", false, ReplyForm::Text},
        {wire::CompanionRefraction, "*DOESREFRACTION", false, ReplyForm::Text},
        {wire::CompanionTimeSync, "*TIMESYNC,", false, ReplyForm::Text},
    };
    EXPECT_EQ(std::size(rows), wire::kAll.size());
    for (const ReplyRow& row : rows) {
        EXPECT_EQ(row.command.text, row.text);
        EXPECT_EQ(row.command.Raw(), row.raw) << row.text;
        EXPECT_EQ(row.command.reply, row.reply) << row.text;
    }
}

}  // namespace
}  // namespace kestrane

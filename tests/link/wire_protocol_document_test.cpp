#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <set>
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
    const WireCommand& command;
    std::string_view text;
    bool raw;
    ReplyForm reply;
};

/// What callers rely on most, told a second time and apart from the table.
TEST(WireCatalogue, KnowsTextsAndReplies) {
    const ReplyRow rows[] = {
        {wire::EndInput, "#", true, ReplyForm::None},
        {wire::Version, "V", false, ReplyForm::Text},
        {wire::VersionRaw, "#:V#", true, ReplyForm::Text},
        {wire::ToggleFormatRaw, "#:U#", true, ReplyForm::None},
        {wire::MountForm, ":G\x05#", true, ReplyForm::Text},
        {wire::FirmwareRevision, "G_S", false, ReplyForm::Text},
        {wire::Status, "GOS", false, ReplyForm::Text},
        {wire::Quay, "QUAY", false, ReplyForm::Character},
        {wire::GetPierSide, "pS", false, ReplyForm::Text},
        {wire::GetSlewRate, "Rs", false, ReplyForm::Text},
        {wire::SetTargetRa, "Sr", false, ReplyForm::Character},
        {wire::SetLatitudeRaw, ":St", true, ReplyForm::Character},
        {wire::SetLongitudeRaw, ":Sg", true, ReplyForm::Character},
        {wire::SetDate, "SC", false, ReplyForm::Text},
        {wire::SetMeridianDelay, "SM", false, ReplyForm::Character},
        {wire::Slew, "MS", false, ReplyForm::Character},
        {wire::SlewRaw, ":MS#", true, ReplyForm::Character},
        {wire::Sync, "CM", false, ReplyForm::Text},
        {wire::Recal, "CMR", false, ReplyForm::Text},
        {wire::StopClean, "#:Q#", true, ReplyForm::None},
        {wire::Park, "KA", false, ReplyForm::None},
        {wire::Unpark, "PO", false, ReplyForm::None},
        {wire::SetParkSlot, "$K", true, ReplyForm::None},
        {wire::CustomSlewRate, "Rs", false, ReplyForm::None},
        {wire::TrackingRate, "RT", false, ReplyForm::None},
        {wire::TrackingRateRaw, ":RT", true, ReplyForm::None},
        {wire::CustomRaRate, "RR", false, ReplyForm::Character},
        {wire::CustomDecRate, "RD", false, ReplyForm::Character},
        {wire::PemOff, "p", false, ReplyForm::None},
        {wire::FocusStop, "FQ", false, ReplyForm::None},
        {wire::PointingCorrectionOn, "ZZ01", false, ReplyForm::Text},
    };
    for (const ReplyRow& row : rows) {
        EXPECT_EQ(row.command.text, row.text);
        EXPECT_EQ(row.command.Raw(), row.raw) << row.text;
        EXPECT_EQ(row.command.reply, row.reply) << row.text;
    }
}

}  // namespace
}  // namespace kestrane

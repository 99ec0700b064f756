#include "catalogue/ks_mount.h"

#include <gtest/gtest.h>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "catalogue/wire_commands.h"

namespace kestrane {
namespace {

TEST(KsMountTest, MountType_OfAFreshObject_IsTheFirstModel) {
    KsMount mount;
    std::int16_t type = -1;
    EXPECT_EQ(mount.GetMountType(type), "Alder VTR");
    EXPECT_EQ(type, 0);
}

TEST(KsMountTest, MountType_OutsideTheCatalogue_IsUnknownAndListsFirst) {
    KsMount mount;
    std::int16_t type = 12;
    EXPECT_EQ(mount.GetMountType(type), "Unknown");
    EXPECT_EQ(mount.GetNewMountIndex(12), 0);
    EXPECT_EQ(mount.GetNewMountIndex(-2), 0);
}

TEST(KsMountTest, ListOrder_DiffersFromTheEnumeration) {
    KsMount mount;
    EXPECT_EQ(KsMount::FindMountType("Fir VTR"), Mount_Type::FIR);
    EXPECT_EQ(KsMount::FindMountType("fir vtr"), Mount_Type::ALDER);
    EXPECT_EQ(KsMount::FindMountListEntry("Fir VTR"), 8);
    EXPECT_EQ(mount.GetNewMountIndex(5), 8);
    EXPECT_EQ(KsMount::GetMountListEntry(3), "Larch VTR");
    EXPECT_EQ(KsMount::GetMountListEntry(12), "");
}

TEST(KsMountTest, EachModel_HasItsNumberNameAndPlaceInTheList) {
    struct Row {
        Mount_Type type;
        std::int16_t number;
        std::string_view name;
        std::int16_t listIndex;
    };
    constexpr Row kRows[] = {
        {Mount_Type::ALDER, 0, "Alder VTR", 0},  {Mount_Type::BIRCH, 1, "Birch VTR", 1},
        {Mount_Type::CEDAR, 2, "Cedar VTR", 2},  {Mount_Type::DOGWOOD, 3, "Dogwood VTR", 4},
        {Mount_Type::ELM, 4, "Elm VTR", 6},      {Mount_Type::FIR, 5, "Fir VTR", 8},
        {Mount_Type::GINKGO, 6, "GINKGO", 9},    {Mount_Type::HAZEL, 7, "Hazel", 10},
        {Mount_Type::IROKO, 8, "Iroko", 11},     {Mount_Type::JUNIPER, 9, "Juniper VTR", 7},
        {Mount_Type::KAURI, 10, "Kauri VTR", 5}, {Mount_Type::LARCH, 11, "Larch VTR", 3},
    };
    KsMount mount;
    for (const Row& row : kRows) {
        std::int16_t number = row.number;
        EXPECT_EQ(static_cast<std::int16_t>(row.type), row.number);
        EXPECT_EQ(mount.GetMountType(number), row.name);
        EXPECT_EQ(number, row.number) << "only -1 is replaced";
        EXPECT_EQ(KsMount::FindMountType(row.name), row.type);
        EXPECT_EQ(KsMount::GetMountListEntry(row.listIndex), row.name);
        EXPECT_EQ(KsMount::FindMountListEntry(row.name), row.listIndex);
        EXPECT_EQ(mount.GetNewMountIndex(row.number), row.listIndex);
        mount.mountType = row.type;
        EXPECT_EQ(mount.Name(), row.name);
        EXPECT_EQ(mount.GetNewMountIndex(-1), row.listIndex);
        EXPECT_EQ(mount.MaxCustomSlewRate(), row.type == Mount_Type::FIR ? 900 : 1200);
    }
}

TEST(KsMountTest, UnknownNamesAndPlaces_HaveTheirAnswers) {
    KsMount mount;
    for (const std::string_view name : {"", "Unknown", "Fir", "FIR VTR", "Fir VTR "}) {
        EXPECT_EQ(KsMount::FindMountType(name), Mount_Type::ALDER) << name;
        EXPECT_EQ(KsMount::FindMountListEntry(name), 0) << name;
    }
    EXPECT_EQ(KsMount::GetMountListEntry(-1), "");
    EXPECT_EQ(KsMount::GetMountListEntry(32'767), "");
    std::int16_t type = -2;
    EXPECT_EQ(mount.GetMountType(type), "Unknown");
    EXPECT_EQ(type, -2);
}

TEST(KsMountTest, SendNoResponse_SendsTheCommandAsItIs) {
    KsMount mount;
    std::vector<std::pair<std::string, bool>> sent;
    mount.SetSendCommand([&](std::string_view command, bool raw) { sent.emplace_back(command, raw); });
    EXPECT_TRUE(mount.SendNoResponse(":RS1#"));
    EXPECT_EQ(sent, (std::vector<std::pair<std::string, bool>>{{":RS1#", true}}));
    EXPECT_TRUE(mount.WaitResponse("1", 500));
    EXPECT_TRUE(mount.SetGMTOffset(5, 30, 0));
    EXPECT_EQ(sent.size(), 1U) << "the two others send nothing";
}

TEST(WireCommandsTest, EachCommand_StandsInTheCatalogueOnce) {
    std::set<std::string> seen;
    for (const WireCommand& command : wire::kAll) {
        const std::string key =
            std::string(command.text) + (command.Raw() ? " raw" : "") + std::string(command.argument);
        EXPECT_TRUE(seen.insert(key).second) << command.text;
        EXPECT_FALSE(command.meaning.empty()) << command.text;
    }
}

}  // namespace
}  // namespace kestrane

#include "catalogue/ks_mount.h"

#include <gtest/gtest.h>
#include <set>

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

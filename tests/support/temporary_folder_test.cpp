#include "support/temporary_folder.h"

#include <gtest/gtest.h>

namespace kestrane {
namespace {

TEST(TemporaryFolder, GoesWithItsOwner_WithAllThatItHolds) {
    std::filesystem::path path;
    for (const auto place : {TemporaryFolder::Place::Memory, TemporaryFolder::Place::Disk}) {
        {
            const TemporaryFolder folder(place);
            const TemporaryFolder other(place);
            path = folder.Path();
            EXPECT_NE(path, other.Path());
            EXPECT_TRUE(std::filesystem::is_empty(path));
            EXPECT_EQ(folder.Write("a/b.txt", "x\r\ny"), path / "a" / "b.txt");
            EXPECT_EQ(folder.Read("a/b.txt"), "x\r\ny");
            EXPECT_EQ(folder.Read("none"), "");
        }
        EXPECT_FALSE(std::filesystem::exists(path));
    }
}

}  // namespace
}  // namespace kestrane

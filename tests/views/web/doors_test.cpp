#include "views/web/doors.h"

#include <gtest/gtest.h>

namespace kestrane::web {
namespace {

TEST(Doors, HaveTheirWords) {
    EXPECT_EQ(DoorsOf("local"), Doors::Local);
    EXPECT_EQ(DoorsOf("look"), Doors::Look);
    EXPECT_EQ(DoorsOf("lan"), Doors::Lan);
    EXPECT_EQ(DoorsOf("off"), Doors::Off);
    for (const char* other : {"", "Lan", "LAN", " lan", "lan ", "all", "none", "on", "0"}) {
        EXPECT_EQ(DoorsOf(other), std::nullopt) << other;
    }
}

TEST(Doors, LetInByTheAddressOfTheClient) {
    struct Row {
        const char* address;
        May local;
        May look;
        May lan;
    };
    const auto inside = [](const char* address) { return Row{address, May::All, May::All, May::All}; };
    const auto outside = [](const char* address) { return Row{address, May::Nothing, May::Stop, May::All}; };
    for (const Row& row : {inside("127.0.0.1"), inside("127.8.9.10"), inside("::1"), outside("192.168.1.20"),
                           outside("10.0.0.1"), outside("128.0.0.1"), outside("0.0.0.0"), outside("::"),
                           outside("fe80::1%eth0"), outside("2001:db8::1"), outside("::ffff:192.168.1.20"),
                           outside("::2"), outside("127.0.0.1.example"), outside("localhost"), outside("")}) {
        SCOPED_TRACE(row.address);
        EXPECT_EQ(MayOf(Doors::Local, row.address), row.local);
        EXPECT_EQ(MayOf(Doors::Look, row.address), row.look);
        EXPECT_EQ(MayOf(Doors::Lan, row.address), row.lan);
        EXPECT_EQ(MayOf(Doors::Off, row.address), May::Nothing);
    }
}

}  // namespace
}  // namespace kestrane::web

#include "http/own_hosts.h"

#include <array>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

#include "kernel/base/text.h"

namespace kestrane::http {
namespace {

const OwnHosts kLoopback{"127.0.0.1", 11111, {"hut", "hut.local"}};
const OwnHosts kNetwork{"192.168.1.10", 11111, {"hut", "hut.local"}};

TEST(IsOwnHost, KnowsTheNamesOfThisMachine) {
    struct Row {
        std::string_view host;
        bool onLoopback, onNetwork;
    };
    for (const Row& row : {Row{"", true, true},
                           Row{"localhost", true, true},
                           Row{"LocalHost:11111", true, true},
                           Row{"localhost.", true, true},
                           Row{"localhost:8080", true, true},
                           Row{"127.0.0.1:11111", true, true},
                           Row{"127.1.2.3", true, true},
                           Row{"[::1]:11111", true, true},
                           Row{"192.168.1.10:11111", false, true},
                           Row{"hut", true, true},
                           Row{"HUT.local:11111", true, true},
                           Row{"192.168.1.11", false, false},
                           Row{"evil.example", false, false},
                           Row{"localhost.evil.example", false, false},
                           Row{"127.0.0.1.evil.example", false, false},
                           Row{"127.0.0.256", false, false},
                           Row{"127.0.0", false, false},
                           Row{"127.0.0.", false, false},
                           Row{"127.0.0.0001", false, false},
                           Row{"127.0.0.-1", false, false},
                           Row{"0x7f000001", false, false},
                           Row{"[", false, false},
                           Row{":", false, false},
                           Row{"localhost:", true, true},
                           Row{"localhost:11111.evil.example", false, false},
                           Row{"127.0.0.1:80@evil.example", false, false},
                           Row{"localhost:80x", false, false},
                           Row{"localhost:123456", false, false},
                           Row{"[::1]:80 ", false, false},
                           Row{"evil.example:127.0.0.1", false, false}}) {
        EXPECT_EQ(IsOwnHost(row.host, kLoopback), row.onLoopback) << row.host;
        EXPECT_EQ(IsOwnHost(row.host, kNetwork), row.onNetwork) << row.host;
    }
}

TEST(MachineNames, AreTheHostNameInFullAndInShort_WithAndWithoutLocal) {
    std::array<char, 256> name{};
    ASSERT_EQ(::gethostname(name.data(), name.size() - 1), 0);
    const std::string full = ToLower(name.data());
    const std::string brief = full.substr(0, full.find('.'));
    const OwnHosts own{"127.0.0.1", 11111, MachineNames()};
    for (const std::string& host : {full, brief, full + ".local", brief + ".local", brief + ".local:11111"}) {
        EXPECT_TRUE(IsOwnHost(host, own)) << host;
    }
    EXPECT_FALSE(IsOwnHost(brief + ".local.example", own));
    EXPECT_FALSE(IsOwnHost("x" + brief, own));
}

TEST(IsOwnOrigin, TakesPagesOfThisServerOnly) {
    struct Row {
        std::string_view origin;
        bool own;
    };
    for (const Row& row : {Row{"", true}, Row{"http://localhost:11111", true}, Row{"HTTP://127.0.0.1:11111", true},
                           Row{"http://[::1]:11111", true}, Row{"http://localhost:8080", false},
                           Row{"http://localhost", false}, Row{"https://localhost:11111", false},
                           Row{"http://evil.example:11111", false}, Row{"http://evil.example", false},
                           Row{"null", false}, Row{"http://", false}, Row{"localhost:11111", false}}) {
        EXPECT_EQ(IsOwnOrigin(row.origin, kLoopback), row.own) << row.origin;
    }
    EXPECT_TRUE(IsOwnOrigin("http://hut.local:11111", kNetwork));
    EXPECT_TRUE(IsOwnOrigin("http://localhost", OwnHosts{"127.0.0.1", 80, {}}));
}

TEST(IsOwnSite, IsEverythingButWhatABrowserMarksAsForeign) {
    for (const std::string_view own : {"", "none", "same-origin", "same-site"}) {
        EXPECT_TRUE(IsOwnSite(own)) << own;
    }
    EXPECT_FALSE(IsOwnSite("cross-site"));
    EXPECT_FALSE(IsOwnSite("Cross-Site"));
}

TEST(HostNames, AreTakenFromAListInLowerCase) {
    EXPECT_EQ(HostNames(""), std::vector<std::string>{});
    EXPECT_EQ(HostNames("Dome.example.org,,pi."), (std::vector<std::string>{"dome.example.org", "pi"}));
}

}  // namespace
}  // namespace kestrane::http

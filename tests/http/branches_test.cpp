#include "http/branches.h"

#include <gtest/gtest.h>
#include <optional>

namespace kestrane::http {
namespace {

/// A site with a page, an interface, and a corner within it of somebody else's.
class BranchesTest : public testing::Test {
protected:
    BranchesTest() : branches{{"/page", Names("page")}, {"/api", Names("api")}, {"/api/corner", Names("corner")}} {}

    /// The name of the branch that answered, or status and line of a refusal.
    std::string Ask(const char* method, const char* target, const std::string& host = "",
                    const std::string& origin = "", const std::string& fetchSite = "") {
        std::optional<Answer> got;
        Dispatch(branches, own, {method, target, host, origin, fetchSite, "y=2", "127.0.0.2", 7},
                 [&got](const Answer& answer) { got = answer; });
        if (!got) {
            return "nothing";
        }
        return got->status == 200 ? got->body : std::to_string(got->status) + " " + got->body;
    }

    RequestFunction Names(std::string name) {
        return [this, name](const Request& request, const AnswerFunction& answer) {
            seen = request;
            answer({200, "text/plain", name});
        };
    }

    OwnHosts own{"127.0.0.1", 11111, {}};
    std::vector<Branch> branches;
    Request seen;
};

TEST_F(BranchesTest, TakeTheirPathAndAllBelowIt_TheLongestFirst) {
    struct Row {
        const char* target;
        const char* answer;
    };
    const char* const none = "400 There is no such path.\n";
    for (const Row& row :
         {Row{"/page", "page"}, Row{"/page/", "page"}, Row{"/page/a/b", "page"}, Row{"/page?a=b", "page"},
          Row{"/pages", none}, Row{"/pag", none}, Row{"/", none}, Row{"*", none}, Row{"", none}, Row{"/Page", none},
          Row{"http://127.0.0.1/page", none}, Row{"/api/a", "api"}, Row{"/api/corner", "corner"},
          Row{"/api/corner/a", "corner"}, Row{"/api/corners", "api"}}) {
        EXPECT_EQ(Ask("GET", row.target), row.answer) << row.target;
    }
}

TEST_F(BranchesTest, OfNoPath_TakeWhatNobodyElseTakes) {
    branches.push_back({"", Names("rest")});
    for (const char* target : {"/", "*", "", "/pages", "http://127.0.0.1/page"}) {
        EXPECT_EQ(Ask("GET", target), "rest") << target;
    }
    EXPECT_EQ(Ask("GET", "/page"), "page");
}

TEST_F(BranchesTest, GetTheWholeRequest) {
    EXPECT_EQ(Ask("PUT", "/api/a%20b??x=1"), "api");
    EXPECT_EQ(seen.verb, Verb::Put);
    EXPECT_EQ(seen.path, "/api/a%20b");
    EXPECT_EQ(seen.query, "x=1");
    EXPECT_EQ(seen.body, "y=2");
    EXPECT_EQ(seen.remoteAddress, "127.0.0.2");
    EXPECT_EQ(seen.connection, 7U);
}

TEST_F(BranchesTest, SeeGetAndPutOnly) {
    for (const char* method : {"POST", "DELETE", "OPTIONS", "HEAD", "BREW", "get", ""}) {
        for (const char* target : {"/page", "/api", "/nowhere"}) {
            EXPECT_EQ(Ask(method, target, "evil.example"), "400 Only GET and PUT are understood.\n") << method;
        }
    }
}

TEST_F(BranchesTest, GetAHeadAsAGet_WhereTheyTakeIt) {
    branches[0].takesHead = true;
    EXPECT_EQ(Ask("HEAD", "/page/a"), "page");
    EXPECT_EQ(seen.verb, Verb::Get);
    EXPECT_EQ(Ask("HEAD", "/page", "evil.example").substr(0, 3), "403");
    EXPECT_EQ(Ask("HEAD", "/api"), "400 Only GET and PUT are understood.\n");
}

TEST_F(BranchesTest, AreGuardedAgainstForeignHostsOriginsAndSites) {
    struct Row {
        std::string host;
        std::string origin;
        std::string fetchSite;
    };
    const std::string foreign = "403 The request names a host or an origin that is not this machine.\n";
    for (const Row& row :
         {Row{"evil.example", "", ""}, Row{"localhost", "http://evil.example", ""}, Row{"localhost", "null", ""},
          Row{"localhost", "http://localhost:1", ""}, Row{"localhost", "", "cross-site"}}) {
        const auto ask = [&](const char* method, const char* target) {
            return Ask(method, target, row.host, row.origin, row.fetchSite);
        };
        EXPECT_EQ(ask("GET", "/page"), foreign);
        EXPECT_EQ(ask("PUT", "/page"), foreign);
        EXPECT_EQ(ask("GET", "/api"), foreign);
        EXPECT_EQ(ask("PUT", "/api"), foreign);
        EXPECT_EQ(ask("GET", "/nowhere"), foreign);
    }
    EXPECT_EQ(Ask("PUT", "/page", "localhost", "http://localhost:11111"), "page");
    EXPECT_EQ(Ask("PUT", "/page"), "page");
}

}  // namespace
}  // namespace kestrane::http

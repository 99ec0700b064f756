#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "server_fixture.h"

/// The rules of HTTP, each through a real server.
namespace kestrane::alpaca {
namespace {

const std::string kTelescope = "/api/v1/telescope/0/";

struct GetRow {
    std::string target;
    int status;
    std::string body;  ///< what the answer must contain
};

void ExpectGets(TestServer& server, const std::vector<GetRow>& rows) {
    RawClient client = server.Connect();
    for (const GetRow& row : rows) {
        SCOPED_TRACE("GET " + row.target);
        const auto answer = client.Get(row.target);
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->status, row.status);
        EXPECT_NE(answer->body.find(row.body), std::string::npos) << answer->body;
    }
}

struct PutRow {
    std::string member;
    std::string body;
    int status;
    std::string answer;  ///< what the answer must contain
};

void ExpectPuts(TestServer& server, const std::vector<PutRow>& rows) {
    RawClient client = server.Connect();
    for (const PutRow& row : rows) {
        SCOPED_TRACE("PUT " + row.member + " " + row.body);
        const auto answer = client.Put(kTelescope + row.member, row.body);
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->status, row.status);
        EXPECT_NE(answer->body.find(row.answer), std::string::npos) << answer->body;
    }
}

TEST(HttpRules, UnknownPathsGetStatus400WithOneLineOfText) {
    TestServer server;
    RawClient client = server.Connect();
    for (const std::string target : {"/api",
                                     "/api/v1",
                                     "/api/v1/",
                                     "/api/v1/telescope",
                                     "/api/v1/telescope/0",
                                     "/api/v1/telescope/0/",
                                     "/api/v1/telescope/0/nosuchmember",
                                     "/api/v1/telescope/1/name",
                                     "/api/v1/telescope/00/name",
                                     "/api/v1/telescope/-1/name",
                                     "/api/v1/telescope/x/name",
                                     "/api/v1/camera/0/name",
                                     "/api/v2/telescope/0/name",
                                     "/api/v1/telescope/0/name/",
                                     "/api/v1//telescope/0/name",
                                     "/api/v1/telescope/0/abortslew",
                                     "/api/v1/telescope/0/connecting",
                                     "/api/v1/telescope/0/devicestate",
                                     "/api/v1/telescope/0/%6Eame",
                                     "/management",
                                     "/management/v1",
                                     "/management/v2/description",
                                     "/management/v1/Description",
                                     "/",
                                     "/setup",
                                     "/index.html",
                                     "*",
                                     "http://127.0.0.1/management/apiversions"}) {
        SCOPED_TRACE(target);
        const auto answer = client.Get(target);
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->status, 400);
        EXPECT_NE(answer->head.find("Content-Type: text/plain"), std::string::npos);
        EXPECT_GT(answer->body.size(), 1U);
        EXPECT_EQ(answer->body.find('\n'), answer->body.size() - 1);
    }
    EXPECT_EQ(server.ObjectCount(), 0U);
}

TEST(HttpRules, PathsAreLowerCaseOnly) {
    TestServer server;
    ExpectGets(server, {{"/api/v1/telescope/0/rightascension", 200, "\"Value\":12.5"},
                        {"/api/v1/telescope/0/RightAscension", 400, ""},
                        {"/api/v1/Telescope/0/rightascension", 400, ""},
                        {"/API/v1/telescope/0/rightascension", 400, ""},
                        {"/api/V1/telescope/0/rightascension", 400, ""},
                        {"/Management/apiversions", 400, ""}});
}

TEST(HttpRules, OtherVerbsGetStatus400) {
    TestServer server;
    RawClient client = server.Connect();
    for (const std::string verb : {"POST", "DELETE", "OPTIONS", "PATCH", "BREW", "get"}) {
        SCOPED_TRACE(verb);
        ASSERT_TRUE(client.Send(verb + " " + kTelescope + "name HTTP/1.1\r\nHost: localhost\r\n\r\n"));
        const auto answer = client.Read();
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->status, 400);
    }
}

TEST(HttpRules, HeadGetsStatus400WithoutABody) {
    TestServer server;
    RawClient client = server.Connect();
    ASSERT_TRUE(client.Send("HEAD " + kTelescope + "name HTTP/1.1\r\nHost: localhost\r\n\r\n"));
    EXPECT_EQ(client.Read(false)->status, 400);
    EXPECT_EQ(client.Get(kTelescope + "rightascension")->status, 200);
}

TEST(HttpRules, GetNamesMatchInAnyCase) {
    TestServer server;
    ExpectGets(server, {{kTelescope + "axisrates?Axis=0", 200, "42"},
                        {kTelescope + "axisrates?AXIS=0", 200, "42"},
                        {kTelescope + "axisrates?axis=0&clienttransactionid=5", 200, "\"ClientTransactionID\":5,"},
                        {kTelescope + "name?CLIENTTRANSACTIONID=6", 200, "\"ClientTransactionID\":6,"},
                        {kTelescope + "name??ClientTransactionID=7", 200, "\"ClientTransactionID\":7,"}});
}

TEST(HttpRules, PutNamesMatchExactly_AMiscasedRequiredOneIs400_AMiscasedIdCountsAsMissing) {
    TestServer server;
    ExpectPuts(server, {{"connected", "Connected=True&ClientTransactionID=5", 200, "\"ClientTransactionID\":5,"},
                        {"connected", "Connected=True&clienttransactionid=5", 200, "\"ClientTransactionID\":0,"},
                        {"connected", "connected=True&ClientTransactionID=5", 400, "Connected"},
                        {"connected", "CONNECTED=True", 400, "Connected"},
                        {"connected", "", 400, "Connected"}});
}

TEST(HttpRules, PutParametersInTheQueryDoNotCount) {
    TestServer server;
    RawClient client = server.Connect();
    EXPECT_EQ(client.Put(kTelescope + "connected?Connected=True", "ClientID=1")->status, 400);
}

TEST(HttpRules, BadValuesAreRefusedBeforeTheDriverIsCalled) {
    TestServer server;
    ExpectPuts(server, {{"connected", "Connected=1", 400, "Connected"},
                        {"connected", "Connected=", 400, "Connected"},
                        {"connected", "Connected=yes", 400, "Connected"},
                        {"targetdeclination", "TargetDeclination=abc", 400, "TargetDeclination"},
                        {"targetdeclination", "TargetDeclination=1,5", 400, "TargetDeclination"},
                        {"targetdeclination", "TargetDeclination=NaN", 400, "TargetDeclination"},
                        {"targetdeclination", "TargetDeclination=1e999", 400, "TargetDeclination"},
                        {"slewsettletime", "SlewSettleTime=1.5", 400, "SlewSettleTime"},
                        {"slewsettletime", "SlewSettleTime=99999999999", 400, "SlewSettleTime"},
                        {"utcdate", "UTCDate=yesterday", 400, "UTCDate"},
                        {"commandstring", "Command=GR", 400, "Raw"},
                        {"commandstring", "Raw=True", 400, "Command"},
                        {"slewtocoordinates", "RightAscension=1", 400, "Declination"},
                        {"axisrates", "Axis=0", 400, ""}});
    ExpectGets(server, {{kTelescope + "axisrates", 400, "Axis"},
                        {kTelescope + "axisrates?Axis=", 400, "Axis"},
                        {kTelescope + "axisrates?Axis=primary", 400, "Axis"},
                        {kTelescope + "destinationsideofpier?RightAscension=1", 400, "Declination"}});
    EXPECT_EQ(server.ObjectCount(), 0U);
    EXPECT_TRUE(server.World().diary.Entries().empty());
}

TEST(HttpRules, GoodValuesReachTheDriver) {
    TestServer server;
    ExpectPuts(server, {{"targetdeclination", "TargetDeclination=-12.25", 200, "\"Value\":-12.25"},
                        {"targetdeclination", "TargetDeclination=%2B3e1", 200, "\"Value\":30"},
                        {"slewsettletime", "SlewSettleTime=-7", 200, "\"Value\":-7"},
                        {"commandstring", "Command=%3AGR%23&Raw=true", 200, "\"Value\":\":GR#!\""},
                        {"commandstring", "Command=a+b%05&Raw=False", 200, "\"Value\":\"a b\\u0005\""},
                        {"commandstring", "Raw=False&Command=", 200, "\"Value\":\"\""},
                        {"utcdate", "UTCDate=2024-03-05T20:01:02.5Z", 200, "\"2024-03-05T20:01:02.5000000Z\""},
                        {"utcdate", "UTCDate=2024-03-05T20:01:02.5%2B00:00", 200, "\"2024-03-05T20:01:02.5000000Z\""},
                        {"action", "Action=Dance", 200, "\"ErrorNumber\":0"},
                        {"utcdate", "UTCDate=2024-03-05T20:01:02", 200, "\"2024-03-05T20:01:02.0000000Z\""}});
}

TEST(HttpRules, IdsThatAreNoNumbersCountAsZero_AndNothingNegativeStandsInAReply) {
    TestServer server;
    std::vector<GetRow> rows{{kTelescope + "name", 200, "\"ClientTransactionID\":0,"},
                             {kTelescope + "name?ClientTransactionID=4294967295", 200, ":4294967295,"}};
    for (const char* id : {"", "-1", "-4294967295", "abc", "1.5", "4294967296", "%00", "1%20", "0x10"}) {
        rows.push_back(
            {kTelescope + "name?ClientID=" + id + "&ClientTransactionID=" + id, 200, "\"ClientTransactionID\":0,"});
    }
    ExpectGets(server, rows);
    EXPECT_EQ(server.ObjectCount(), 1U);
}

TEST(HttpRules, ServerTransactionsCountFromOneUp) {
    TestServer server;
    ExpectGets(server, {{kTelescope + "name", 200, "\"ServerTransactionID\":1,"},
                        {"/management/apiversions", 200, "\"ServerTransactionID\":2,"},
                        {kTelescope + "nosuchmember", 400, ""},
                        {kTelescope + "atpark", 200, "\"ServerTransactionID\":3,"}});
}

TEST(HttpRules, SuccessCarriesAnEmptyMessageAsJson) {
    TestServer server;
    const auto answer = server.Connect().Get(kTelescope + "name?ClientTransactionID=9");
    EXPECT_EQ(answer->head, "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: " +
                                std::to_string(answer->body.size()) + "\r\n\r\n");
    EXPECT_EQ(answer->body, R"({"Value":"Q\"\\\u0005","ClientTransactionID":9,"ServerTransactionID":1,"ErrorNumber":0,)"
                            R"("ErrorMessage":""})");
}

TEST(HttpRules, ErrorsOfTheDriverAreStatus200WithNumberAndMessage) {
    TestServer server;
    ExpectGets(server, {{kTelescope + "atpark", 200, "\"ErrorNumber\":1028,\"ErrorMessage\":\"no scope\"}"}});
}

TEST(HttpRules, AMemberThatIsNotBuiltSaysSo) {
    TestServer server;
    ExpectPuts(server, {{"findhome", "", 200,
                         "\"ErrorNumber\":1024,\"ErrorMessage\":\"FindHome is not implemented in this driver.\"}"}});
}

TEST(HttpRules, AnyOtherFailureIsStatus500InOneLine) {
    TestServer server;
    RawClient client = server.Connect();
    const auto answer = client.Get(kTelescope + "athome");
    EXPECT_EQ(answer->status, 500);
    EXPECT_EQ(answer->body, "The driver failed: a bug?in two lines\n");
    EXPECT_EQ(client.Get(kTelescope + "rightascension")->status, 200);
}

TEST(HttpRules, AForeignHostOriginOrSiteReachesNothing) {
    TestServer server;
    const std::string ownOrigin = "Origin: http://localhost:" + std::to_string(server.Port()) + "\r\n";
    const auto text = [](const std::string& verb, const std::string& target, const std::string& headers) {
        const std::string body = "Connected=True";
        return verb + " " + target + " HTTP/1.1\r\n" + headers + "Content-Length: " + std::to_string(body.size()) +
               "\r\n\r\n" + body;
    };
    struct Row {
        std::string headers;
        int status;
    };
    RawClient client = server.Connect();
    for (const Row& row :
         {Row{"Host: evil.example\r\n", 403}, Row{"Host: localhost\r\nOrigin: http://evil.example\r\n", 403},
          Row{"Host: localhost\r\nOrigin: null\r\n", 403},
          Row{"Host: localhost\r\nOrigin: http://localhost:1\r\n", 403},
          Row{"Host: localhost\r\nSec-Fetch-Site: cross-site\r\n", 403}, Row{"Host: localhost\r\n", 200},
          Row{"Host: 127.0.0.1:11111\r\n" + ownOrigin, 200}, Row{"", 200},
          Row{"Host: dome.example.org\r\nSec-Fetch-Site: none\r\n", 200}}) {
        SCOPED_TRACE(row.headers);
        if (row.status == 200 && server.World().diary.Entries().empty()) {
            EXPECT_EQ(server.ObjectCount(), 0U);  // no foreign request has made one
        }
        for (const std::string& request : {text("PUT", kTelescope + "connected", row.headers),
                                           text("GET", "/management/v1/description", row.headers),
                                           text("GET", "/management/apiversions", row.headers),
                                           text("GET", kTelescope + "sitelatitude", row.headers)}) {
            ASSERT_TRUE(client.Send(request));
            EXPECT_EQ(client.Read()->status, row.status) << request;
        }
    }
    EXPECT_EQ(server.World().diary.Count("telescope true"), 4);
}

TEST(HttpRules, ManagementCreatesNoObject) {
    TestServer server;
    ExpectGets(server,
               {{"/management/apiversions?ClientTransactionID=8", 200, R"({"Value":[1],"ClientTransactionID":8,)"},
                {"/management/v1/description", 200, R"("ServerName":"Kestrane V2")"},
                {"/management/v1/configureddevices", 200, R"("DeviceType":"Telescope","DeviceNumber":0,)"},
                {"/management/v1/configureddevices", 200, R"("DeviceType":"Focuser","DeviceNumber":0,)"}});
    EXPECT_EQ(server.Connect().Put("/management/apiversions", "")->status, 400);
    EXPECT_EQ(server.ObjectCount(), 0U);
}

TEST(HttpRules, TooManyParametersAreRefused) {
    TestServer server;
    std::string many;
    for (int i = 0; i < 65; ++i) {
        many += "a=1&";
    }
    ExpectGets(server,
               {{kTelescope + "name?" + many, 400, "too many"}, {"/management/apiversions?" + many, 400, "too many"}});
    ExpectPuts(server, {{"connected", many + "Connected=True", 400, "too many"}});
}

TEST(HttpRules, TheFocuserHasItsOwnMembers) {
    TestServer server;
    ExpectGets(server, {{"/api/v1/focuser/0/maxstep", 200, "\"Value\":42"},
                        {"/api/v1/focuser/0/connected", 200, "\"Value\":false"},
                        {"/api/v1/focuser/0/rightascension", 400, ""}});
    EXPECT_EQ(server.World().diary.Count("+focuser"), 1);
    EXPECT_EQ(server.World().diary.Count("+telescope"), 0);
}

TEST(HttpRules, EachConnectedWriteCounts) {
    TestServer server;
    RawClient client = server.Connect();
    for (const char* body : {"Connected=True&ClientID=1", "Connected=true&ClientID=1", "Connected=False&ClientID=1"}) {
        EXPECT_EQ(client.Put(kTelescope + "connected", body)->status, 200);
    }
    EXPECT_EQ(server.World().diary.Count("+telescope"), 1);
    EXPECT_EQ(server.World().diary.Count("telescope true"), 2);
    EXPECT_EQ(server.World().diary.Count("telescope false"), 1);
}

}  // namespace
}  // namespace kestrane::alpaca

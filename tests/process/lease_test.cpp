#include <csignal>
#include <future>
#include <utility>
#include <vector>

#include "process/process_fixture.h"

namespace kestrane::process {
namespace {

TEST_F(ProcessFixture, Lease_OneOfTwoClientsLeaves_TheOtherKeepsReading) {
    Leases(0.3, 600);
    StartSystem();
    HttpClient first = Client(1);
    HttpClient second = Client(2);
    Connect(first);
    Connect(second);
    const pid_t driver = Driver();

    Good(first.Put("connected", "Connected=False"));
    first.Close();
    // Well beyond the lease of the one that left.
    EveryFor(Seconds(0.02), Seconds(1.0), [&] {
        const Answer answer = Good(second.Get("rightascension"));
        EXPECT_TRUE(answer.value.is_number());
    });
    EXPECT_EQ(Driver(), driver);
}

TEST_F(ProcessFixture, Lease_TheLastClientLeaves_TheProcessEndsAndTheNextRequestStartsAnother) {
    Leases(0.5, 600);
    StartSystem();
    HttpClient first = Client(1);
    HttpClient second = Client(2);
    Connect(first);
    Connect(second);
    const pid_t driver = Driver();
    Good(first.Put("connected", "Connected=False"));
    Good(second.Put("connected", "Connected=False"));

    const auto left = SteadyClock::now();
    ASSERT_TRUE(WaitUntil(kPatience, [&] { return !Exists(driver); }));
    EXPECT_GE(Since(left).count(), 0.4);
    EXPECT_LE(Since(left).count(), 3.0);
    EXPECT_TRUE(WaitUntil(kPatience, [this] { return Driver() == 0; }));

    Good(second.Get("interfaceversion"));
    EXPECT_NE(Driver(), 0);
    EXPECT_NE(Driver(), driver);
    EXPECT_EQ(activator->Errors(), "");
}

TEST_F(ProcessFixture, Lease_AConnectedClientVanishes_TheProcessEndsAfterTheConnectedLease) {
    Leases(600, 0.3);
    StartSystem();
    HttpClient client = Client(1);
    Connect(client);
    const pid_t driver = Driver();
    client.Close();
    EXPECT_TRUE(WaitUntil(kPatience, [&] { return !Exists(driver); }));
}

/// A client that opens the mount's line, leaves it again, and asks once more.
Answer ConnectAndLeave(HttpClient client) {
    for (const char* form : {"Connected=True", "Connected=False"}) {
        const Answer answer = client.Put("connected", form);
        if (answer.errorNumber != 0) {
            return answer;
        }
    }
    return client.Get("interfaceversion");
}

// The lease is shorter than the pause between two requests: the process ends again and again, and each request meets
// it in another moment of its end. Now and then it has the mount's line to close.
TEST_F(ProcessFixture, Lease_RequestsOnFreshConnectionsAcrossManyEnds_EachGetsItsAnswer) {
    Leases(0.01, 600);
    StartSystem();
    constexpr std::size_t kClients = 4;
    constexpr std::size_t kRequestsPerConnect = 60;
    std::vector<std::future<Answer>> asked;
    EveryFor(Seconds(0.02), Seconds(5.0), [&] {
        const int id = static_cast<int>(asked.size() % kClients) + 1;
        const bool connects = asked.size() % kRequestsPerConnect == kRequestsPerConnect - 1;
        asked.push_back(std::async(std::launch::async, [this, id, connects] {
            return connects ? ConnectAndLeave(Client(id)) : Client(id).Get("interfaceversion");
        }));
    });
    int processes = 0;
    int lost = 0;
    for (std::future<Answer>& pending : asked) {
        try {
            const Answer answer = Good(pending.get());
            EXPECT_EQ(answer.value, 2);
            processes += answer.serverTransaction == 1 ? 1 : 0;  // each process counts anew
        } catch (const NoAnswer& error) {
            ADD_FAILURE() << error.what();
            ++lost;
        }
    }
    EXPECT_EQ(lost, 0) << "of " << asked.size() << " over " << processes << " processes";
    EXPECT_GE(asked.size(), 150U);
    EXPECT_GE(processes, 3);
    EXPECT_EQ(activator->Errors(), "");
}

TEST_F(ProcessFixture, Activation_TheDriverIsKilled_TheNextRequestGetsAFreshOne) {
    StartSystem();
    HttpClient client = Client(1);
    Connect(client);
    const pid_t driver = Driver();
    ASSERT_NE(driver, 0);
    ::kill(driver, SIGKILL);
    ASSERT_TRUE(WaitUntil(kPatience, [&] { return Driver() != driver; }));

    const Answer answer = Good(client.Get("interfaceversion"));
    EXPECT_EQ(answer.serverTransaction, 1);
    EXPECT_NE(Driver(), 0);
    EXPECT_NE(Driver(), driver);
    Connect(client);
    Good(client.Get("rightascension"));
}

}  // namespace
}  // namespace kestrane::process

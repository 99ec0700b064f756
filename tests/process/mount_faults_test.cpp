#include <csignal>
#include <filesystem>

#include "kernel/base/errors.h"
#include "process/process_fixture.h"
#include "process/silent_port.h"

namespace kestrane::process {
namespace {

constexpr int kNoMount = 0x402;
constexpr int kLostCommunications = 0x429;

void ExpectNoMount(const Answer& answer) {
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.errorNumber, kNoMount);
    EXPECT_EQ(answer.errorMessage, MessageOf(ErrorNumber::NoMount));
    EXPECT_LE(answer.took.count(), 5.0);
}

TEST_F(ProcessFixture, Connect_ThereIsNoPort_TellsThatNoMountAnswers) {
    StartActivator();
    ExpectNoMount(Client(1).Put("connected", "Connected=True"));
}

TEST_F(ProcessFixture, Connect_NobodyAnswersOnThePort_TellsThatNoMountAnswers) {
    const SilentPort line(portLink);
    StartActivator();
    ExpectNoMount(Client(1).Put("connected", "Connected=True"));
    EXPECT_TRUE(line.HearsSomething(Seconds(0)));
}

TEST_F(ProcessFixture, Connect_TheMountCameAfterTheFirstTry_Succeeds) {
    StartActivator();
    HttpClient client = Client(1);
    ExpectNoMount(client.Put("connected", "Connected=True"));
    StartMount();
    Connect(client);
    Good(client.Get("rightascension"));
}

TEST_F(ProcessFixture, Polling_TheLineGoesAndComesBack_TheClientIsToldAndThenReadsAgain) {
    StartSystem();
    HttpClient client = Client(1);
    Connect(client);
    Good(client.Get("rightascension"));
    const pid_t driver = Driver();

    // As a device goes. A link that stayed would lead to the next terminal of that number: another test's mount.
    std::filesystem::remove(portLink);
    mount->Signal(SIGKILL);
    ASSERT_TRUE(mount->WaitForEnd(kPatience));
    Answer answer;
    const auto reads = [&](int errorNumber) {
        answer = client.Get("rightascension");
        EXPECT_LE(answer.took.count(), 2.0);  // such a read waits for no exchange; the rest is for a busy machine
        return answer.errorNumber == errorNumber;
    };
    ASSERT_TRUE(WaitUntil(Seconds(20), [&] { return reads(kLostCommunications); })) << answer.errorNumber;
    EXPECT_EQ(answer.errorMessage, MessageOf(ErrorNumber::LostCommunications));

    StartMount();
    EXPECT_TRUE(WaitUntil(Seconds(15), [&] { return reads(0); })) << answer.errorNumber;
    EXPECT_EQ(Driver(), driver);
}

}  // namespace
}  // namespace kestrane::process

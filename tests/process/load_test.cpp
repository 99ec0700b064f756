#include <array>
#include <atomic>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <future>
#include <memory>
#include <random>
#include <vector>

#include "process/process_fixture.h"

namespace kestrane::process {
namespace {

constexpr Seconds kPollPeriod{0.05};

/// What one poller saw.
struct Polling {
    int answers = 0;
    int errors = 0;
    Seconds slowest{0};
    std::string firstError;

    void Note(const Answer& answer) {
        ++answers;
        slowest = std::max(slowest, answer.took);
        if (answer.status != 200 || answer.errorNumber != 0) {
            Note(answer.errorMessage);
        }
    }
    void Note(const std::string& error) { firstError = errors++ == 0 ? error : firstError; }
};

void ExpectPrompt(const Polling& polling, int fewestAnswers) {
    EXPECT_GE(polling.answers, fewestAnswers);
    EXPECT_EQ(polling.errors, 0) << polling.firstError;
    EXPECT_LE(polling.slowest.count(), kPrompt.count());
}

/// Reads the members in turn, 20 a second, until `stop` is set.
Polling PollInTurn(HttpClient client, const std::atomic<bool>& stop) {
    constexpr std::array<std::string_view, 4> kMembers{"slewing", "ispulseguiding", "atpark", "rightascension"};
    Polling polling;
    try {
        for (std::size_t i = 0; !stop; ++i) {
            EveryFor(kPollPeriod, kPollPeriod, [&] { polling.Note(client.Get(kMembers.at(i % kMembers.size()))); });
        }
    } catch (const NoAnswer& error) {
        polling.Note(error.what());
    }
    return polling;
}

TEST_F(ProcessFixture, FewDescriptorsPermitted_IdleConnectionsMakeRoomForANewOne) {
    const TemporaryFolder scripts{TemporaryFolder::Place::Disk};
    const std::filesystem::path limited = scripts.Path() / "limited";
    std::ofstream(limited) << "#!/bin/sh\nulimit -n 320\nexec " << KESTRANE_PROGRAMS << "/kestrane-activate \"$@\"\n";
    std::filesystem::permissions(limited, std::filesystem::perms::owner_all);
    activator =
        std::make_unique<Program>(limited.string(), std::vector<std::string>{"--port", "0", "--discovery-port", "0"});
    const std::string address = activator->FirstLine(kPatience);
    ASSERT_NE(address, "") << activator->Errors();
    port = static_cast<std::uint16_t>(std::stoi(address.substr(address.rfind(':') + 1)));
    Good(Client(1).Get("interfaceversion"));
    std::vector<Socket> idle;
    for (int i = 0; i < 400; ++i) {
        idle.emplace_back(port);
    }
    Good(HttpClient(port, 2, Seconds(5)).Get("interfaceversion"));  // after all those before it
    EXPECT_LE(OpenFilesOf(Driver()), 100U);
}

TEST_F(ProcessFixture, Slew_WaitedForByOneClient_OthersReadAndAbortAtOnce) {
    StartMount({"--slew-speed", "1"});
    StartActivator();
    HttpClient slewer = Client(1);
    Connect(slewer);
    const double ra = Good(slewer.Get("rightascension")).value.to_number<double>();
    const double dec = Good(slewer.Get("declination")).value.to_number<double>();
    constexpr int kPollers = 8;
    std::vector<HttpClient> clients;
    for (int i = 0; i < kPollers; ++i) {
        clients.push_back(Client(10 + i));
        Connect(clients.back());
    }

    auto slew = std::async(std::launch::async, [&] {
        return slewer.Put("slewtocoordinates", "RightAscension=" + std::to_string(ra) +
                                                   "&Declination=" + std::to_string(dec > 45 ? dec - 20 : dec + 20));
    });
    HttpClient observer = Client(2);
    Connect(observer);
    ASSERT_TRUE(WaitUntil(kPatience, [&] { return observer.Get("slewing").value == true; }));
    std::atomic<bool> stop = false;
    std::vector<std::future<Polling>> pollers;
    for (HttpClient& client : clients) {
        pollers.push_back(std::async(std::launch::async, PollInTurn, std::move(client), std::cref(stop)));
    }
    EXPECT_EQ(slew.wait_for(Seconds(6)), std::future_status::timeout);
    EXPECT_EQ(Good(observer.Get("slewing")).value, true);
    const double moved = std::abs(Good(observer.Get("declination")).value.to_number<double>() - dec);
    EXPECT_GT(moved, 2.0);

    const Answer abort = Good(observer.Put("abortslew"));
    EXPECT_LE(abort.took.count(), kPrompt.count());
    EXPECT_EQ(slew.wait_for(Seconds(4)), std::future_status::ready);
    stop = true;
    for (std::future<Polling>& poller : pollers) {
        ExpectPrompt(poller.get(), 40);
    }
    slew.wait();
    EXPECT_TRUE(WaitUntil(kPatience, [&] { return observer.Get("slewing").value == false; }));
    EXPECT_LT(std::abs(Good(observer.Get("declination")).value.to_number<double>() - dec), 18.0);
}

class GarbageTest : public ProcessFixture {
protected:
    void SetUp() override {
        StartSystem();
        client_ = std::make_unique<HttpClient>(Client(1));
        Connect(*client_);
        rightAscension_ = Good(client_->Get("rightascension")).value.to_number<double>();
        driver_ = Driver();
        files_ = OpenFilesOf(driver_);
    }

    /// A client polls while `trouble` is done; then the driver must be as before.
    template <typename Trouble>
    void PollDuring(Trouble&& trouble) {
        std::atomic<bool> stop = false;
        auto poller = std::async(std::launch::async, [&] { return Poll(stop); });
        std::forward<Trouble>(trouble)();
        stop = true;
        ExpectPrompt(poller.get(), 5);
        EXPECT_EQ(Driver(), driver_);
        EXPECT_TRUE(WaitUntil(Seconds(10), [this] { return OpenFilesOf(driver_) <= files_; }))
            << OpenFilesOf(driver_) << " files open, " << files_ << " before";
    }

    /// Keeps what was troubled for long enough that several polls meet it.
    static void LetPoll() {
        EveryFor(Seconds(0.1), Seconds(1.0), [] {});
    }

    std::vector<Socket> Connections(int count) const {
        std::vector<Socket> sockets;
        for (int i = 0; i < count; ++i) {
            sockets.emplace_back(port);
        }
        return sockets;
    }

private:
    Polling Poll(const std::atomic<bool>& stop) {
        Polling polling;
        try {
            while (!stop) {
                EveryFor(kPollPeriod, kPollPeriod, [&] {
                    const Answer answer = client_->Get("rightascension");
                    polling.Note(answer);
                    // The mount tracks, so its place among the stars stays.
                    if (answer.errorNumber == 0 &&
                        std::abs(answer.value.to_number<double>() - rightAscension_) > 0.01) {
                        polling.Note("a wrong right ascension");
                    }
                });
            }
        } catch (const std::exception& error) {
            polling.Note(error.what());
        }
        return polling;
    }

    std::unique_ptr<HttpClient> client_;
    double rightAscension_ = 0;
    pid_t driver_ = 0;
    std::size_t files_ = 0;
};

TEST_F(GarbageTest, RandomBytes_ThePollingClientNoticesNothing) {
    PollDuring([this] {
        std::mt19937 random(20240229);  // NOLINT: the same bytes in each run
        std::uniform_int_distribution<int> byte(0, 255);
        for (Socket& socket : Connections(100)) {
            std::string bytes(2000, '\0');
            for (char& value : bytes) {
                value = static_cast<char>(byte(random));
            }
            socket.Send(bytes);
            socket.Send("\r\n\r\n");
            const std::string answer = socket.Receive();
            EXPECT_TRUE(answer.empty() || answer.starts_with("HTTP/1.1 400")) << answer;
        }
        LetPoll();
    });
}

TEST_F(GarbageTest, HalfRequests_ThePollingClientNoticesNothing) {
    PollDuring([this] {
        std::vector<Socket> sockets = Connections(100);
        for (std::size_t i = 0; i < sockets.size(); ++i) {
            const std::string whole =
                "PUT /api/v1/telescope/0/tracking HTTP/1.1\r\nHost: localhost\r\nContent-Length: "
                "14\r\n\r\nTracking=Fals";
            EXPECT_TRUE(sockets[i].Send(whole.substr(0, 1 + i * (whole.size() - 1) / 99)));
        }
        LetPoll();
    });
    EXPECT_EQ(Good(Client(2).Get("tracking")).value, true);
}

TEST_F(GarbageTest, HugeHeaders_AreRefusedAndThePollingClientNoticesNothing) {
    PollDuring([this] {
        for (Socket& socket : Connections(30)) {
            socket.Send("GET /api/v1/telescope/0/name HTTP/1.1\r\nHost: localhost\r\nX-Filler: " +
                        std::string(std::size_t{64} * 1024, 'x') + "\r\n\r\n");
            EXPECT_TRUE(socket.Receive().starts_with("HTTP/1.1 400"));
        }
        LetPoll();
    });
}

TEST_F(GarbageTest, IdleConnections_ThePollingClientNoticesNothing) {
    PollDuring([this] {
        std::vector<Socket> sockets = Connections(200);
        LetPoll();
        // Each of them still is a good connection.
        for (Socket& socket : sockets) {
            EXPECT_TRUE(socket.Send("GET /management/apiversions HTTP/1.1\r\nHost: localhost\r\n\r\n"));
            EXPECT_TRUE(socket.Receive().starts_with("HTTP/1.1 200"));
        }
    });
}

}  // namespace
}  // namespace kestrane::process

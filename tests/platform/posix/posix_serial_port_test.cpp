#include "platform/posix/posix_serial_port.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

#include "platform/posix/posix_clock.h"
#include "platform/posix/posix_serial_ports.h"
#include "platform/posix/test_world.h"
#include "support/temporary_folder.h"

namespace kestrane {
namespace {

using std::chrono::milliseconds;

/// Long enough for any I/O that does come; a test that waits it out has failed.
constexpr int kLimitMs = 5000;

/// The far end of a pseudo-terminal: what a mount would be.
class FarEnd {
public:
    FarEnd() : master_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        grantpt(master_);
        unlockpt(master_);
        name_ = ptsname(master_);
    }
    ~FarEnd() { Close(); }
    FarEnd(const FarEnd&) = delete;
    FarEnd& operator=(const FarEnd&) = delete;

    const std::string& Name() const { return name_; }

    void Send(std::string_view bytes) const {
        ASSERT_EQ(::write(master_, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }
    std::string Receive(std::size_t count) const {
        std::string bytes;
        while (bytes.size() < count && Readable(kLimitMs)) {
            char buffer[4096];
            const ssize_t got = ::read(master_, buffer, std::min(sizeof buffer, count - bytes.size()));
            if (got <= 0) {
                break;
            }
            bytes.append(buffer, static_cast<std::size_t>(got));
        }
        return bytes;
    }
    bool Readable(int limitMs) const {
        pollfd descriptor{master_, POLLIN, 0};
        return poll(&descriptor, 1, limitMs) > 0 && (descriptor.revents & POLLIN) != 0;
    }
    void Close() {
        if (master_ >= 0) {
            ::close(std::exchange(master_, -1));
        }
    }

private:
    int master_;
    std::string name_;
};

milliseconds ProcessorTime() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return milliseconds(usage.ru_utime.tv_sec * 1000 + usage.ru_utime.tv_usec / 1000 + usage.ru_stime.tv_sec * 1000 +
                        usage.ru_stime.tv_usec / 1000);
}

class SerialTest : public testing::Test {
protected:
    void Link(int number, const std::filesystem::path& device) {
        const auto link = folder_.Path() / ("COM" + std::to_string(number));
        std::filesystem::remove(link);
        std::filesystem::create_symlink(device, link);
    }
    void OpenFirst() {
        Link(1, farEnd_.Name());
        ASSERT_EQ(port_.Open(1, 9600), 0);
    }
    std::string ReadAll(std::size_t count) {
        std::string bytes;
        while (bytes.size() < count) {
            const std::string more = port_.Read(count - bytes.size(), kLimitMs);
            if (more.empty()) {
                break;
            }
            bytes += more;
        }
        return bytes;
    }
    /// A read that no limit ends, but the loss of the device.
    void ExpectGone() {
        EXPECT_EQ(port_.Read(10, 3'600'000), "");
        EXPECT_TRUE(port_.DeviceIsGone());
        EXPECT_TRUE(port_.IsOpen());
    }
    /// Reads what must be silence, and checks that it lasted the time limit without spinning.
    void ExpectSilence(int limitMs) {
        const Tick start = clock_.GetTickCount();
        const auto processorTime = ProcessorTime();
        EXPECT_EQ(port_.Read(10, limitMs), "");
        EXPECT_GE(clock_.GetTickCount() - start, limitMs);
        EXPECT_LT(ProcessorTime() - processorTime, milliseconds(limitMs / 2));
    }

    TemporaryFolder folder_;
    PosixClock clock_;
    FarEnd farEnd_;
    PosixSerialPort port_{folder_.Path(), milliseconds(20)};
};

TEST_F(SerialTest, NewPort_IsClosedReadsNothingAndSwallowsWrites) {
    EXPECT_FALSE(port_.IsOpen());
    port_.Write("x");
    EXPECT_EQ(port_.Read(10, 0), "");
    port_.Close();
    EXPECT_FALSE(port_.IsOpen());
}

TEST_F(SerialTest, Open_OfANumberWithoutLink_GivesNoEntry) {
    EXPECT_EQ(port_.Open(7, 9600), ENOENT);
    EXPECT_EQ(port_.Open(0, 9600), ENOENT);
    EXPECT_EQ(port_.Open(-1, 9600), ENOENT);
    EXPECT_FALSE(port_.IsOpen());
}

TEST_F(SerialTest, Open_OfALinkToNothing_GivesNoEntry) {
    Link(1, folder_.Path() / "gone");
    EXPECT_EQ(port_.Open(1, 9600), ENOENT);
}

TEST_F(SerialTest, Open_OfSomethingElseThanATerminal_IsRefused) {
    Link(1, folder_.Write("file", "text"));
    EXPECT_EQ(port_.Open(1, 9600), ENOTTY);
    EXPECT_FALSE(port_.IsOpen());
}

TEST_F(SerialTest, Open_AtASpeedThatNoDeviceKnows_IsRefused) {
    Link(1, farEnd_.Name());
    for (const int speed : {0, -1, 12345}) {
        EXPECT_EQ(port_.Open(1, speed), EINVAL) << speed;
        EXPECT_FALSE(port_.IsOpen()) << speed;
    }
    EXPECT_EQ(port_.Open(1, 9600), 0) << "the refusals left no lock behind";
}

TEST_F(SerialTest, Open_SetsARawLineOfEightBitsWithoutParityOrFlowControl) {
    const std::pair<int, speed_t> speeds[] = {{9600, B9600}, {19200, B19200}, {115200, B115200}};
    Link(1, farEnd_.Name());
    const int look = ::open(farEnd_.Name().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    for (const auto& [speed, code] : speeds) {
        ASSERT_EQ(port_.Open(1, speed), 0);
        termios line{};
        ASSERT_EQ(tcgetattr(look, &line), 0);
        EXPECT_EQ(cfgetospeed(&line), code);
        EXPECT_EQ(cfgetispeed(&line), code);
        EXPECT_EQ(line.c_cflag & CSIZE, static_cast<tcflag_t>(CS8));
        EXPECT_EQ(line.c_cflag & (PARENB | CSTOPB | CRTSCTS), 0U);
        EXPECT_EQ(line.c_iflag & (IXON | IXOFF | ICRNL | INLCR | ISTRIP), 0U);
        EXPECT_EQ(line.c_lflag & (ICANON | ECHO | ISIG), 0U);
        EXPECT_EQ(line.c_oflag & OPOST, 0U);
    }
    ::close(look);
}

TEST_F(SerialTest, EveryByte_PassesBothWaysUnchanged) {
    OpenFirst();
    std::string all;
    for (int value = 0; value < 256; ++value) {
        all += static_cast<char>(value);
    }
    port_.Write(all);
    EXPECT_EQ(farEnd_.Receive(all.size()), all);
    farEnd_.Send(all);
    EXPECT_EQ(ReadAll(all.size()), all);
}

TEST_F(SerialTest, Read_GivesAtMostTheCountAndLeavesTheRest) {
    OpenFirst();
    farEnd_.Send("123456");
    EXPECT_EQ(port_.Read(2, kLimitMs), "12");
    EXPECT_EQ(port_.Read(0, kLimitMs), "");
    EXPECT_EQ(ReadAll(4), "3456");
}

TEST_F(SerialTest, Read_ReturnsAsSoonAsBytesAreThere) {
    OpenFirst();
    std::thread mount([&] { farEnd_.Send("1"); });
    EXPECT_EQ(port_.Read(100, kLimitMs), "1");
    mount.join();
}

TEST_F(SerialTest, Read_OfASilentLine_LastsTheTimeLimit) {
    OpenFirst();
    ExpectSilence(20);
}

TEST_F(SerialTest, Read_WithoutTime_OnlyLooks) {
    OpenFirst();
    const Tick start = clock_.GetTickCount();
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(port_.Read(10, 0), "");
    }
    EXPECT_LT(clock_.GetTickCount() - start, 1000);
}

TEST_F(SerialTest, Open_PurgesNothing) {
    const int holder = ::open(farEnd_.Name().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    OpenFirst();
    farEnd_.Send("waiting");
    ASSERT_EQ(port_.Read(1, kLimitMs), "w");
    ASSERT_EQ(port_.Open(1, 9600), 0);
    EXPECT_EQ(ReadAll(6), "aiting");
    ::close(holder);
}

TEST_F(SerialTest, SecondPortOnTheSameLine_IsRefusedUntilTheFirstCloses) {
    OpenFirst();
    Link(2, farEnd_.Name());
    PosixSerialPort second(folder_.Path());
    EXPECT_EQ(second.Open(2, 9600), EWOULDBLOCK);
    EXPECT_FALSE(second.IsOpen());
    port_.Close();
    EXPECT_EQ(second.Open(2, 9600), 0);
    EXPECT_EQ(port_.Open(1, 9600), EWOULDBLOCK);
}

TEST_F(SerialTest, Open_OfAnOpenPort_OpensItAnew) {
    OpenFirst();
    EXPECT_EQ(port_.Open(1, 19200), 0);
    EXPECT_TRUE(port_.IsOpen());
    farEnd_.Send("ok");
    EXPECT_EQ(ReadAll(2), "ok");
}

TEST_F(SerialTest, Write_ToALineThatTakesNothing_GivesUpAtItsLimit) {
    OpenFirst();
    const std::string flood(1024 * 1024, 'x');
    port_.Write(flood);
    EXPECT_TRUE(port_.IsOpen());
    EXPECT_EQ(farEnd_.Receive(1000), std::string(1000, 'x'));
}

TEST_F(SerialTest, Write_ToALineThatNobodyReads_WaitsOnceAndNotAgainUntilItTakesBytes) {
    PosixSerialPort patient{folder_.Path(), milliseconds(100)};
    Link(1, farEnd_.Name());
    ASSERT_EQ(patient.Open(1, 9600), 0);
    Tick start = clock_.GetTickCount();
    patient.Write(std::string(1024 * 1024, 'x'));
    EXPECT_GE(clock_.GetTickCount() - start, 100);

    start = clock_.GetTickCount();
    for (int i = 0; i < 50; ++i) {
        patient.Write("lost");
    }
    EXPECT_LT(clock_.GetTickCount() - start, 50 * 100 / 2);

    std::string taken;
    start = clock_.GetTickCount();
    while (!taken.ends_with("back") && clock_.GetTickCount() - start < kLimitMs) {
        while (farEnd_.Readable(1)) {
            taken += farEnd_.Receive(1);
        }
        patient.Write("back");
        taken += farEnd_.Readable(10) ? farEnd_.Receive(4) : "";
    }
    EXPECT_TRUE(taken.ends_with("back"));
    EXPECT_EQ(taken.find("lost"), std::string::npos);
}

TEST_F(SerialTest, Write_ToALineThatKeepsTakingALittle_EndsAtItsLimitToo) {
    OpenFirst();
    const std::size_t flood = 64 * 1024 * 1024;
    std::size_t taken = 0;
    std::thread slowMount([&] {
        while (farEnd_.Receive(1) == "x") {  // ends when the port is closed and its last byte is read
            ++taken;
        }
    });
    port_.Write(std::string(flood, 'x'));
    port_.Close();
    slowMount.join();
    EXPECT_GT(taken, 0U);
    EXPECT_LT(taken, flood);
}

TEST_F(SerialTest, Open_AfterAStuckWrite_WaitsForTheLineAnew) {
    OpenFirst();
    port_.Write(std::string(1024 * 1024, 'x'));
    FarEnd other;
    Link(1, other.Name());
    ASSERT_EQ(port_.Open(1, 9600), 0);
    port_.Write("ok");
    EXPECT_EQ(other.Receive(2), "ok");
}

TEST_F(SerialTest, LineClosedInMidRead_EndsTheReadAtOnce) {
    OpenFirst();
    std::thread unplug([&] { farEnd_.Close(); });
    ExpectGone();
    unplug.join();
}

TEST_F(SerialTest, WaitForBytes_LetsReadsInAgainAndAgain) {
    int reads = 0;
    PosixSerialPort port{folder_.Path(), milliseconds(20), [&] {
                             if (++reads == 3) {
                                 farEnd_.Send("x");
                             }
                             return true;
                         }};
    Link(1, farEnd_.Name());
    ASSERT_EQ(port.Open(1, 9600), 0);
    EXPECT_EQ(port.Read(10, 3'600'000), "x");
    EXPECT_GE(reads, 3);
}

TEST_F(SerialTest, WaitForBytes_LetsReadsInFirst_SoThatAReplyByteByByteHoldsThemUpForOneByte) {
    constexpr int kBytes = 200;
    PosixSerialPort port{folder_.Path(), milliseconds(20), [&] {
                             farEnd_.Send("x");
                             return true;
                         }};
    Link(1, farEnd_.Name());
    ASSERT_EQ(port.Open(1, 9600), 0);
    const Tick start = clock_.GetTickCount();
    for (int i = 0; i < kBytes; ++i) {
        ASSERT_EQ(port.Read(1, 3'600'000), "x");
    }
    EXPECT_LT(clock_.GetTickCount() - start, kBytes * PosixClock::kReadSliceMs);
}

TEST_F(SerialTest, WaitForBytes_EndsWhenThoseLetInSaySo) {
    bool goesOn = false;
    PosixSerialPort port{folder_.Path(), milliseconds(20), [&] { return goesOn; }};
    Link(1, farEnd_.Name());
    ASSERT_EQ(port.Open(1, 9600), 0);
    EXPECT_EQ(port.Read(10, 3'600'000), "");
    EXPECT_TRUE(port.IsOpen());
    EXPECT_FALSE(port.DeviceIsGone());
    farEnd_.Send("x");
    EXPECT_EQ(port.Read(10, 3'600'000), "x");  // what is there is read all the same
    port.Write("y");
    EXPECT_EQ(farEnd_.Receive(1), "y");
}

TEST_F(SerialTest, LineThatIsGone_StaysOpenSilentAndSwallowsWrites) {
    OpenFirst();
    farEnd_.Close();
    ExpectGone();
    const Tick start = clock_.GetTickCount();
    port_.Write("lost");
    EXPECT_LT(clock_.GetTickCount() - start, 1000);
    EXPECT_TRUE(port_.IsOpen());
    EXPECT_EQ(port_.Read(10, 0), "");
    port_.Close();
    EXPECT_FALSE(port_.IsOpen());
}

TEST_F(SerialTest, LineThatIsGone_CannotBeOpenedUntilItIsBack) {
    OpenFirst();
    farEnd_.Close();
    EXPECT_NE(port_.Open(1, 9600), 0);
    EXPECT_FALSE(port_.IsOpen());

    FarEnd back;
    Link(1, back.Name());
    ASSERT_EQ(port_.Open(1, 9600), 0);
    back.Send("hello");
    EXPECT_EQ(ReadAll(5), "hello");
    port_.Write("there");
    EXPECT_EQ(back.Receive(5), "there");
}

TEST_F(SerialTest, LineThatComesBackWhileOpen_IsTakenUpAgainByItself) {
    OpenFirst();
    farEnd_.Close();
    ExpectGone();
    FarEnd back;
    Link(1, back.Name());
    port_.Write("there");
    EXPECT_EQ(back.Receive(5), "there");
    back.Send("hello");
    EXPECT_EQ(ReadAll(5), "hello");
    EXPECT_TRUE(port_.IsOpen());
}

TEST(PosixSerialPorts, CreatePort_GivesAClosedPortOfTheDataFolder) {
    const TemporaryFolder data;
    test::FixedFolders folders(data.Path());
    PosixSerialPorts ports(folders);
    const FarEnd farEnd;
    std::filesystem::create_directories(data.Path() / "Kestrane" / "Ports");
    std::filesystem::create_symlink(farEnd.Name(), data.Path() / "Kestrane" / "Ports" / "COM12");

    const auto port = ports.CreatePort();
    EXPECT_FALSE(port->IsOpen());
    EXPECT_EQ(port->Open(11, 9600), ENOENT);
    EXPECT_EQ(port->Open(12, 9600), 0);
    port->Write("ok");
    EXPECT_EQ(farEnd.Receive(2), "ok");
}

TEST(PosixSerialPorts, SayWhyAPortDidNotOpen) {
    const TemporaryFolders folders;
    const std::filesystem::path ports = folders.Root() / "Kestrane" / "Ports";
    std::filesystem::create_directories(ports);
    std::filesystem::create_symlink("/dev/null", ports / "COM2");
    test::FixedFolders data(folders.Root());
    PosixSerialPorts serialPorts(data);
    EXPECT_EQ(serialPorts.Describe(1), "COM1");
    EXPECT_EQ(serialPorts.Describe(2), "COM2 (/dev/null)");
    EXPECT_EQ(serialPorts.WhyNotOpened(1, ENOENT), "no device has this number");
    EXPECT_EQ(serialPorts.WhyNotOpened(2, ENOENT), "there is no such device; is it plugged in?");
    EXPECT_EQ(serialPorts.WhyNotOpened(2, EWOULDBLOCK), "it is in use by another program");
    EXPECT_EQ(serialPorts.WhyNotOpened(2, EBUSY), "it is in use by another program");
    EXPECT_EQ(serialPorts.WhyNotOpened(2, ENOTTY), "it is no serial line");
    EXPECT_EQ(serialPorts.WhyNotOpened(2, EIO), "Input/output error");
    const std::string refused = serialPorts.WhyNotOpened(2, EACCES);
    EXPECT_TRUE(refused.starts_with("this user may not use it; join the group root (sudo adduser ")) << refused;
}

}  // namespace
}  // namespace kestrane

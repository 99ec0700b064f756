#include <array>
#include <charconv>
#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

#include "settings_fakes.h"

/// The settings file under the two things that happen to it: a process that dies, and a second program.
namespace kestrane {
namespace {

/// A one-way line of bytes between this process and a child.
class Pipe {
public:
    Pipe() {
        if (::pipe(ends_.data()) != 0) {
            std::abort();
        }
    }
    ~Pipe() {
        ::close(ends_[0]);
        ::close(ends_[1]);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    void Tell() const {
        if (::write(ends_[1], "x", 1) != 1) {
            std::abort();
        }
    }
    /// False when nobody can tell any more.
    bool Hear() const {
        char byte = 0;
        return ::read(ends_[0], &byte, 1) == 1;
    }
    /// Every further telling byte, after the last one who can tell has gone.
    int HearRest() {
        ::close(ends_[1]);
        ends_[1] = -1;
        int count = 0;
        while (Hear()) {
            ++count;
        }
        return count;
    }

private:
    std::array<int, 2> ends_{};
};

pid_t InChild(const std::function<void()>& work) {
    const pid_t child = ::fork();
    if (child == 0) {
        work();
        ::_exit(0);
    }
    return child;
}

int ToInt(const std::string& text) {
    int number = -1;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

struct DurabilityTest : testing::Test, SettingsWorld {
    void ExpectIntact() { EXPECT_EQ(Foreign().Cell("PRAGMA integrity_check"), "ok"); }
};

TEST_F(DurabilityTest, AKillAtAnyMoment_LosesAtMostTheWriteUnderWay) {
    constexpr int kKeys = 5;
    std::mt19937 random(20240307);
    int stored = 0;
    for (int round = 0; round < 3; ++round) {
        Pipe told;
        const pid_t child = InChild([&] {
            Persist persist(NeedsOfPersist());
            for (int i = stored + 1;; ++i) {
                persist.WriteIniValue("Key" + std::to_string(i % kKeys), std::to_string(i));
                told.Tell();
            }
        });
        ASSERT_GT(child, 0);
        const int wanted = std::uniform_int_distribution<int>(1, 150)(random);
        for (int i = 0; i < wanted; ++i) {
            ASSERT_TRUE(told.Hear());
        }
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status));
        const int last = stored + wanted + told.HearRest();

        ExpectIntact();
        Persist persist(NeedsOfPersist());
        int highest = 0;
        for (int key = 0; key < kKeys; ++key) {
            const int value = ToInt(persist.ReadIniValue("Key" + std::to_string(key), "0"));
            const int expected = last - (last - key + kKeys) % kKeys;  // the last told write of this key
            EXPECT_TRUE(value == expected || value == expected + kKeys || last < kKeys)
                << "key " << key << " holds " << value << " after write " << last;
            highest = std::max(highest, value);
        }
        EXPECT_TRUE(highest == last || highest == last + 1) << highest << " after write " << last;
        stored = highest;
    }
    EXPECT_TRUE(boxes.texts.empty());
    EXPECT_TRUE(ledger.Entries().empty());
}

TEST_F(DurabilityTest, TwoProcessesWritingAtOnce_LoseNoRow) {
    constexpr int kRows = 150;
    const auto writeAll = [this](const std::string& name) {
        Persist persist(NeedsOfPersist());
        for (int i = 0; i < kRows; ++i) {
            persist.WriteIniValue(name + std::to_string(i), std::to_string(i));
            persist.WriteIniValue("Shared", name + std::to_string(i));
        }
        for (const SwallowedError& error : ledger.Entries()) {
            ADD_FAILURE() << name << ": " << error.procedure << " line " << error.line << ": " << error.message;
        }
        return ledger.Entries().empty() && boxes.texts.empty();
    };
    // Both start on a machine without a settings file: they also race for its tables.
    const pid_t child = InChild([&] { ::_exit(writeAll("child") ? 0 : 1); });
    ASSERT_GT(child, 0);
    EXPECT_TRUE(writeAll("parent"));
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    ExpectIntact();
    EXPECT_EQ(Foreign().Cell("select count(*) from Driver where Property like 'child%'"), std::to_string(kRows));
    EXPECT_EQ(Foreign().Cell("select count(*) from Driver where Property like 'parent%'"), std::to_string(kRows));
    EXPECT_EQ(Foreign().Cell("select count(*) from Driver where Property = 'shared'"), "1");
}

TEST_F(DurabilityTest, AWriteWhileAnotherProgramHoldsTheFile_Waits) {
    Persist persist(NeedsOfPersist());
    persist.WriteIniValue("Port", "COM1");
    Pipe told;
    const pid_t child = InChild([&] {
        ForeignProgram foreign(folders.SettingsFile());
        foreign.Run("BEGIN IMMEDIATE");
        told.Tell();
        foreign.Run(
            "with recursive n(i) as (select 1 union all select i + 1 from n where i < 20000) "
            "insert into Driver (Property, Value) select 'foreign' || i, i from n");
        ::_exit(foreign.Run("COMMIT") ? 0 : 1);
    });
    ASSERT_GT(child, 0);
    ASSERT_TRUE(told.Hear());
    EXPECT_EQ(persist.ReadIniValue("Port", "none"), "COM1");
    persist.WriteIniValue("Port", "COM2");
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(persist.ReadIniValue("Port", "none"), "COM2");
    EXPECT_EQ(Foreign().Cell("select count(*) from Driver"), "20001");
    EXPECT_TRUE(ledger.Entries().empty());
}

TEST_F(DurabilityTest, AFileOfARollbackJournalProgram_IsTakenOver) {
    std::filesystem::create_directories(folders.SettingsFile().parent_path());
    {
        ForeignProgram older(folders.SettingsFile());
        older.Run("PRAGMA journal_mode = DELETE");
        older.Run(
            "CREATE TABLE `Driver` (`DriverIndex`  INTEGER PRIMARY KEY AUTOINCREMENT,"
            "`Property` TEXT NOT NULL UNIQUE,`Value`    TEXT)");
        older.Run("insert into Driver (Property, Value) values ('port', 'COM5')");
    }
    Persist persist(NeedsOfPersist());
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM5");
    EXPECT_TRUE(boxes.texts.empty());
}

}  // namespace
}  // namespace kestrane

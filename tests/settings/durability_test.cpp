#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <iostream>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

#include "settings/setting_keys.h"
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

// --- a process that dies ---------------------------------------------------------------------------------------------

/// A number from the environment, for runs on demand.
unsigned FromEnvironment(const char* name, unsigned otherwise) {
    const char* text = std::getenv(name);
    unsigned number = otherwise;
    if (text != nullptr) {
        std::from_chars(text, text + std::strlen(text), number);
    }
    return number;
}

/// Lets the time pass in which a child runs on; too short to sleep.
void Spin(std::chrono::microseconds time) {
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end) {
    }
}

void Kill(pid_t child) {
    ::kill(child, SIGKILL);
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
}

/// A settings file that lives through killed writers. Write number i stores i under key i modulo `kKeys`; the numbers
/// go on from one writer to the next.
class KilledWriters {
public:
    static constexpr int kWrites = 10000;
    static constexpr int kKeys = 50;

    explicit KilledWriters(std::mt19937& random) : random_(random) {}

    /// One writer that is killed at a random moment of its writes; what the file then holds.
    void Round() {
        Pipe told;
        const pid_t child = InChild([&] { WriteAll(told); });
        ASSERT_GT(child, 0);
        const int wanted = std::uniform_int_distribution<int>(1, kWrites)(random_);
        for (int i = 0; i < wanted; ++i) {
            ASSERT_TRUE(told.Hear());
        }
        Spin(std::chrono::microseconds(std::uniform_int_distribution<int>(0, 200)(random_)));
        ASSERT_NO_FATAL_FAILURE(Kill(child));
        ASSERT_NO_FATAL_FAILURE(Check(stored_ + wanted + told.HearRest()));
    }

    int Stored() const { return stored_; }
    int KeptInFlight() const { return keptInFlight_; }

private:
    void WriteAll(const Pipe& told) {
        Persist persist(world_.NeedsOfPersist());
        for (int i = stored_ + 1; i <= stored_ + kWrites; ++i) {
            persist.WriteIniValue(Key(i % kKeys), std::to_string(i));
            told.Tell();
        }
        for (;;) {
            ::pause();
        }
    }

    /// `last`: the last write that ended. The one after it may have come through or not.
    void Check(int last) {
        ASSERT_EQ(world_.Foreign().Cell("PRAGMA integrity_check"), "ok");
        std::vector<int> values;
        {
            Persist persist(world_.NeedsOfPersist());
            for (int key = 0; key < kKeys; ++key) {
                values.push_back(ToInt(persist.ReadIniValue(Key(key), "0")));
            }
        }
        const int highest = *std::ranges::max_element(values);
        ASSERT_TRUE(highest == last || highest == last + 1) << highest << " after write " << last;
        for (int key = 0; key < kKeys; ++key) {
            const int expected = highest - (highest - key + kKeys) % kKeys;
            ASSERT_EQ(values[static_cast<std::size_t>(key)], std::max(expected, 0)) << "key " << key;
        }
        const int audits =
            ToInt(world_.Foreign().Cell("select count(*) from PropertyChangedEvent where NewValue <> '0'"));
        EXPECT_GE(audits - audits_, last - stored_) << "a write that ended has its audit row";
        EXPECT_LE(audits - audits_, highest - stored_);
        EXPECT_TRUE(world_.boxes.Texts().empty());
        EXPECT_TRUE(world_.ledger.Entries().empty());
        audits_ = audits;
        keptInFlight_ += highest - last;
        stored_ = highest;
    }

    static std::string Key(int number) { return "Key" + std::to_string(number); }

    std::mt19937& random_;
    SettingsWorld world_;
    int stored_ = 0;
    int audits_ = 0;
    int keptInFlight_ = 0;
};

// KESTRANE_KILL_ROUNDS: how many writers are killed (10). KESTRANE_KILL_SEED: repeats a run.
TEST(KilledWritersTest, AKillAtAnyMoment_LosesAtMostTheWriteUnderWay) {
    constexpr unsigned kRoundsOfOneFile = 10;
    const unsigned rounds = FromEnvironment("KESTRANE_KILL_ROUNDS", 10);
    const unsigned seed = FromEnvironment("KESTRANE_KILL_SEED", std::random_device{}());
    std::cout << "KESTRANE_KILL_SEED=" << seed << '\n';
    std::mt19937 random(seed);
    std::int64_t writes = 0;
    int keptInFlight = 0;
    for (unsigned round = 0; round < rounds;) {
        KilledWriters writers(random);
        for (unsigned i = 0; i < kRoundsOfOneFile && round < rounds; ++i, ++round) {
            SCOPED_TRACE("round " + std::to_string(round));
            ASSERT_NO_FATAL_FAILURE(writers.Round());
        }
        writes += writers.Stored();
        keptInFlight += writers.KeptInFlight();
    }
    std::cout << rounds << " kills in " << writes << " writes; the write under way came through " << keptInFlight
              << " times\n";
}

TEST_F(DurabilityTest, AKillWhileTheFileIsMade_LeavesOneThatTheNextProcessCompletes) {
    const unsigned seed = FromEnvironment("KESTRANE_KILL_SEED", std::random_device{}());
    std::cout << "KESTRANE_KILL_SEED=" << seed << '\n';
    std::mt19937 random(seed);
    for (int round = 0; round < 20; ++round) {
        SettingsWorld world;
        Pipe told;
        const pid_t child = InChild([&] {
            told.Tell();
            Persist persist(world.NeedsOfPersist());
            persist.WriteIniValue("Port", "COM3");
            for (;;) {
                ::pause();
            }
        });
        ASSERT_GT(child, 0);
        ASSERT_TRUE(told.Hear());
        Spin(std::chrono::microseconds(std::uniform_int_distribution<int>(0, 6000)(random)));
        ASSERT_NO_FATAL_FAILURE(Kill(child));

        Persist persist(world.NeedsOfPersist());
        const std::string port = persist.ReadIniValue("Port", "COM1");
        EXPECT_TRUE(port == "COM1" || port == "COM3") << port;
        persist.WriteIniValue("Port", "COM7");
        EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM7");
        EXPECT_EQ(world.Foreign().Cell("PRAGMA integrity_check"), "ok");
        EXPECT_EQ(world.Foreign().Cell("select count(*) from sqlite_master where type = 'table' "
                                       "and name not like 'sqlite%'"),
                  "7");
        EXPECT_TRUE(world.boxes.Texts().empty());
        EXPECT_TRUE(world.ledger.Entries().empty());
    }
}

// --- one process after another ---------------------------------------------------------------------------------------

TEST_F(DurabilityTest, EverySetting_IsReadByTheNextProcessAsItWasWritten) {
    const auto valueOf = [](const SettingKey& key) {
        return "<" + std::string(key.name) + "> it's 45\xC2\xB0; \"x\"\r\n -- ";
    };
    const pid_t child = InChild([&] {
        Persist persist(NeedsOfPersist());
        for (const SettingKey& key : kAllSettings) {
            persist.Write(key, valueOf(key));
        }
        ::_exit(ledger.Entries().empty() ? 0 : 1);  // without an orderly end of its own
    });
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_EQ(status, 0);
    WriteLegacyFile("[default]\nport=COM9\n");
    Persist persist(NeedsOfPersist());
    for (const SettingKey& key : kAllSettings) {
        EXPECT_EQ(persist.Read(key), valueOf(key));
    }
}

/// A file as an earlier version left it: every table by its own text, which must go on to be readable whatever tables
/// this version makes, a row of each kind, and a column and a table that this version does not know.
TEST_F(DurabilityTest, AFileOfAnEarlierVersion_IsReadWithAllItsValuesAndKept) {
    std::filesystem::create_directories(folders.SettingsFile().parent_path());
    {
        ForeignProgram earlier = Foreign();
        for (const char* sql : {
                 "CREATE TABLE `CommonSettings` (`CommonSettingsIndex`  INTEGER PRIMARY KEY AUTOINCREMENT,"
                 "`Property` TEXT NOT NULL UNIQUE,`Value`    TEXT NOT NULL)",
                 "CREATE TABLE `Driver` (`DriverIndex`  INTEGER PRIMARY KEY AUTOINCREMENT,"
                 "`Property` TEXT NOT NULL UNIQUE,`Value`    TEXT)",
                 "CREATE TABLE `GotoAltAz` (`GotoAltAzIndex`   INTEGER PRIMARY KEY AUTOINCREMENT,"
                 "`Name` TEXT NOT NULL,`Description`  TEXT,`Altitude` TEXT NOT NULL,`Azimuth`  TEXT NOT NULL)",
                 "CREATE TABLE `GotoRaDec` (`GotoRaDecIndex`   INTEGER PRIMARY KEY AUTOINCREMENT,"
                 "`Name` TEXT NOT NULL,`Description`  TEXT,`HourAngle`    TEXT,`RightAscension`   TEXT,"
                 "`Declination`  TEXT NOT NULL)",
                 "CREATE TABLE `ParkPositions` (`ParkPositionsIndex`   INTEGER PRIMARY KEY AUTOINCREMENT,"
                 "`Name` TEXT NOT NULL,`Description`  TEXT,`IsAltAz`  INTEGER NOT NULL,"
                 "`ParkCounterweightUp`  INTEGER NOT NULL,`Altitude` TEXT,`Azimuth`  TEXT,`HourAngle`    TEXT,"
                 "`Declination`  TEXT)",
                 "CREATE TABLE `PropertyChangedEvent` (`PropertyChangedEventIndex`    INTEGER PRIMARY KEY "
                 "AUTOINCREMENT,`DateTime` TEXT NOT NULL,`ChangedBy`    TEXT,`Table`    TEXT NOT NULL,"
                 "`Property` TEXT NOT NULL,`OldValue` TEXT,`NewValue` TEXT)",
                 "CREATE TABLE `Sites` (`SitesIndex`   INTEGER PRIMARY KEY AUTOINCREMENT,"
                 "`Name` TEXT UNIQUE NOT NULL,`Description`  TEXT,`Longitude`    TEXT,`Latitude` TEXT,"
                 "`ElevationMeters`    REAL,`TimeZone` REAL,`TemperatureC`  REAL,`PressureMb` REAL,"
                 "`HumidityPercent` REAL)",
                 "insert into Driver (Property, Value) values ('port', 'COM5'), ('chkqueryx', 'kept'), "
                 "('chkusercal', 'true')",
                 "insert into CommonSettings (Property, Value) values ('sitedbindex', '2')",
                 "insert into Sites (Name, Description, Latitude, Longitude, ElevationMeters) values "
                 "('Default', '', 'N 0 0 0', 'W 0 0 0', 0), ('Hill', '', 'S 33 51 35.9', 'E 151 12 40.0', 12.5)",
                 "insert into ParkPositions (Name, IsAltAz, ParkCounterweightUp, Altitude, Azimuth) values "
                 "('Roof', -1, 0, '45.5', '180')",
                 "insert into PropertyChangedEvent (DateTime, \"Table\", Property) values ('then', 'Driver', 'port')",
                 "insert into GotoRaDec (Name, Declination, RightAscension, Description, HourAngle) values "
                 "('M42', '-05:23:28', '05:35:17', 'M42', '')",
                 "insert into GotoAltAz (Name, Altitude, Azimuth, Description) values ('Roof', '45', '180', 'Roof')",
                 "alter table Driver add column Later TEXT",
                 "create table Later (Anything TEXT)",
                 "insert into Later values ('kept')",
             }) {
            ASSERT_TRUE(earlier.Run(sql)) << sql;
        }
    }
    Persist persist(NeedsOfPersist());
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM5");
    EXPECT_EQ(persist.ReadIniValue("chkUseRCAL", "0"), "True");
    EXPECT_EQ(persist.ReadIniValue("SiteDbIndex", "0"), "2");
    RecordArray<Site> sites;
    ASSERT_TRUE(persist.database()->GetAllSites(sites));
    ASSERT_EQ(sites.size(), 3U);
    EXPECT_EQ(sites[2]->Name, "Hill");
    EXPECT_EQ(sites[2]->Latitude, "S 33 51 35.9");
    EXPECT_EQ(sites[2]->ElevationMeters, 12.5);
    RecordArray<GotoRaDec> stars;
    ASSERT_TRUE(persist.database()->GetAllGotoRaDec(stars));
    EXPECT_EQ(stars.at(1)->Declination, "-05:23:28");
    RecordArray<GotoAltAz> places;
    ASSERT_TRUE(persist.database()->GetAllGotoAltAz(places));
    EXPECT_EQ(places.at(1)->Azimuth, "180");
    RecordArray<ParkPosition> parks;
    ASSERT_TRUE(persist.database()->GetAllParkPositions(parks));
    EXPECT_TRUE(parks.at(1)->IsAltAz);
    EXPECT_EQ(parks.at(1)->Altitude, 45.5);
    persist.WriteIniValue("Port", "COM6");
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM6");
    EXPECT_EQ(*Foreign().Run("select DateTime = 'then' from PropertyChangedEvent"),
              (std::vector<std::string>{"1", "0"}));
    EXPECT_EQ(Foreign().Cell("select Anything from Later"), "kept");
    EXPECT_EQ(Foreign().Cell("select Value from Driver where Property = 'chkqueryx'"), "kept");
    EXPECT_TRUE(boxes.Texts().empty());
    EXPECT_TRUE(ledger.Entries().empty());
}

// --- a second program ------------------------------------------------------------------------------------------------

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
        return ledger.Entries().empty() && boxes.Texts().empty();
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

TEST_F(DurabilityTest, AReaderInTheMiddleOfTheFile_HoldsNoWriteUp) {
    Persist persist(NeedsOfPersist());
    persist.WriteIniValue("Port", "COM1");
    ForeignProgram reader = Foreign();
    ASSERT_TRUE(reader.Run("BEGIN"));
    EXPECT_EQ(reader.Cell("select Value from Driver where Property = 'port'"), "COM1");
    persist.WriteIniValue("Port", "COM2");
    EXPECT_EQ(persist.ReadIniValue("Port", "none"), "COM2");
    EXPECT_EQ(reader.Cell("select Value from Driver where Property = 'port'"), "COM1") << "its own picture";
    ASSERT_TRUE(reader.Run("COMMIT"));
    EXPECT_EQ(reader.Cell("select Value from Driver where Property = 'port'"), "COM2");
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
    EXPECT_EQ(Foreign().Cell("PRAGMA journal_mode"), "wal");
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM5");
    persist.WriteIniValue("Port", "COM6");
    EXPECT_EQ(Foreign().Cell("select Value from Driver where Property = 'port'"), "COM6");
    EXPECT_TRUE(boxes.Texts().empty());
    EXPECT_TRUE(ledger.Entries().empty());
}

}  // namespace
}  // namespace kestrane

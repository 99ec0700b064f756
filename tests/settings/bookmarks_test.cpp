#include "settings/bookmarks.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "settings_fakes.h"

namespace kestrane {
namespace {

using namespace std::string_literals;
using std::filesystem::path;

struct BookmarksTest : testing::Test, SettingsWorld {
    BookmarksTest() { logState.g_bDebugLog = true; }

    path Folder() { return folders.Documents() / "Kestrane" / "QUAY"; }
    void WriteBookmarks(const std::string& fileName, std::string_view content) {
        std::filesystem::create_directories(Folder());
        std::ofstream(Folder() / fileName, std::ios::binary) << content;
    }
    BookmarksNeeds Needs() { return {*persist, folders, log, ledger}; }
    /// As the process finds the machine when it starts again.
    void Restart() {
        persist.reset();
        persist.emplace(NeedsOfPersist());
    }
    std::string Stored(const std::string& key) {
        return Foreign().Cell("select Value from Driver where Property = '" + key + "'");
    }
    std::vector<std::string> RaDecRows() {
        return Foreign()
            .Run(
                "select Name || '|' || Description || '|' || HourAngle || '|' || RightAscension || '|' || Declination "
                "from GotoRaDec order by GotoRaDecIndex")
            .value();
    }
    std::vector<std::string> AltAzRows() {
        return Foreign()
            .Run(
                "select Name || '|' || Description || '|' || Altitude || '|' || Azimuth from GotoAltAz "
                "order by GotoAltAzIndex")
            .value();
    }
    std::vector<std::string> Warnings() const {
        std::vector<std::string> warnings;
        std::ranges::copy_if(logged, std::back_inserter(warnings),
                             [](const std::string& line) { return line.starts_with("Bookmarks|1|"); });
        return warnings;
    }

    std::optional<Persist> persist{std::in_place, NeedsOfPersist()};
};

// --- the file --------------------------------------------------------------------------------------------------------

TEST_F(BookmarksTest, ParseBookmarks_OfEachContent_GivesItsLines) {
    struct Row {
        std::string content;
        std::vector<std::string> lines;
        std::size_t leftOut = 0;
    };
    const std::vector<Row> rows{
        {"", {}},
        {"1,2,M31", {"1|2|M31"}},
        {"1,2,M31\n", {"1|2|M31"}},
        {"1,2,a\r\n3,4,b\r\n", {"1|2|a", "3|4|b"}},
        {"1,2,a\n\n  \n\r\n3,4,b", {"1|2|a", "3|4|b"}},
        {"1,2,a\r3,4,b\r\r5,6,c", {"1|2|a", "3|4|b", "5|6|c"}},
        {"  00:42:44 ,  +41*16:09 ,  M 31  ", {"00:42:44|+41*16:09|M 31"}},
        {"1,2,Andromeda, the galaxy, M31", {"1|2|Andromeda, the galaxy, M31"}},
        {"1,2,a,b,c", {"1|2|a,b,c"}},
        {"1,2, a , b ", {"1|2|a , b"}},
        {"1,2,", {"1|2|"}},
        {",,", {"||"}},
        {"# comment, with, commas\n1,2,a", {"1|2|a"}},
        {"   # comment, with, commas\n1,2,a", {"1|2|a"}},
        {"1,2,#1", {"1|2|#1"}},
        {"#", {}},
        {"1,2\n3,4,b", {"3|4|b"}, 1},
        {"nothing\n3,4,b\n5\n", {"3|4|b"}, 2},
        {"1;2;a", {}, 1},
        {"\t1,\t2,\ta\t", {"1|2|a"}},
        {"\xEF\xBB\xBF# comment, with, commas\r\n1,2,a", {"1|2|a"}},
        {"1,+41\xB0 16',Ch\xE2teau", {"1|+41\xC2\xB0 16'|Ch\xC3\xA2teau"}},
        {"1,2,Ch\xC3\xA2teau\n3,4,Ch\xE2teau", {"1|2|Ch\xC3\xA2teau", "3|4|Ch\xC3\xA2teau"}},
        {"1,2,a\0b\n3,4,c"s, {"3|4|c"}, 1},
    };
    for (const Row& row : rows) {
        logged.clear();
        std::vector<std::string> lines;
        for (const BookmarkLine& line : ParseBookmarks(row.content, log)) {
            lines.push_back(line.first + "|" + line.second + "|" + line.name);
        }
        EXPECT_EQ(lines, row.lines) << row.content;
        EXPECT_EQ(Warnings().size(), row.leftOut) << row.content;
    }
}

TEST_F(BookmarksTest, ALineThatIsLeftOut_StandsInTheLog) {
    ParseBookmarks("1,2\r\n", log);
    EXPECT_EQ(Warnings(), std::vector<std::string>{"Bookmarks|1|A line without three fields is left out: '1,2'"});
}

// --- the start-up of the two windows ---------------------------------------------------------------------------------

TEST_F(BookmarksTest, EquatorialBookmarks_AreTakenOverInTheirOrder) {
    WriteBookmarks("RaDecBookmarks.txt", "# mine\r\n00:42:44,+41*16:09,M31\r\n05:35:17,-05*23:28,It's M42, Orion\r\n");
    const RecordArray<GotoRaDec> bookmarks = StartRaDecBookmarks(Needs());
    ASSERT_EQ(bookmarks.size(), 3U);
    EXPECT_FALSE(bookmarks[0].has_value());
    EXPECT_EQ(bookmarks[1]->id, 1);
    EXPECT_EQ(bookmarks[1]->Name, "M31");
    EXPECT_EQ(bookmarks[2]->Declination, "-05*23:28");
    EXPECT_EQ(RaDecRows(), (std::vector<std::string>{"M31|M31||00:42:44|+41*16:09",
                                                     "It's M42, Orion|It's M42, Orion||05:35:17|-05*23:28"}));
    EXPECT_TRUE(AltAzRows().empty());
    EXPECT_EQ(Stored("transferedrabookmarkstodb"), "True");
    EXPECT_EQ(Stored("transferedaltbookmarkstodb"), "(no row)");
    EXPECT_TRUE(std::filesystem::exists(Folder() / "RaDecBookmarks.txt"));
    EXPECT_TRUE(Warnings().empty());
    EXPECT_TRUE(ledger.Entries().empty());
}

TEST_F(BookmarksTest, HorizontalBookmarks_AreTakenOverInTheirOrder) {
    WriteBookmarks("AltAzBookmarks.txt", "45,180,South\n10*30:00, 90, East, low, trees\n");
    const RecordArray<GotoAltAz> bookmarks = StartAltAzBookmarks(Needs());
    ASSERT_EQ(bookmarks.size(), 3U);
    EXPECT_EQ(bookmarks[2]->Azimuth, "90");
    EXPECT_EQ(AltAzRows(),
              (std::vector<std::string>{"South|South|45|180", "East, low, trees|East, low, trees|10*30:00|90"}));
    EXPECT_TRUE(RaDecRows().empty());
    EXPECT_EQ(Stored("transferedaltbookmarkstodb"), "True");
    EXPECT_EQ(Stored("transferedrabookmarkstodb"), "(no row)");
    EXPECT_TRUE(ledger.Entries().empty());
}

TEST_F(BookmarksTest, WithoutAFile_TheTransferCountsAsDoneAndTheFolderStands) {
    EXPECT_EQ(StartRaDecBookmarks(Needs()).size(), 1U);
    EXPECT_EQ(StartAltAzBookmarks(Needs()).size(), 1U);
    EXPECT_TRUE(std::filesystem::is_directory(Folder()));
    EXPECT_TRUE(std::filesystem::is_empty(Folder()));
    EXPECT_EQ(Stored("transferedrabookmarkstodb"), "True");
    EXPECT_EQ(Stored("transferedaltbookmarkstodb"), "True");
    EXPECT_TRUE(Warnings().empty());
    EXPECT_TRUE(ledger.Entries().empty());
}

TEST_F(BookmarksTest, AFolderThatCannotBeMade_CountsAsNoFile) {
    std::filesystem::remove(folders.Documents());
    std::ofstream(folders.Documents()) << "in the way";
    EXPECT_EQ(StartRaDecBookmarks(Needs()).size(), 1U);
    EXPECT_EQ(Stored("transferedrabookmarkstodb"), "True");
}

TEST_F(BookmarksTest, OnceTakenOver_TheFileIsNotReadAgain) {
    WriteBookmarks("RaDecBookmarks.txt", "1,2,a\n");
    StartRaDecBookmarks(Needs());
    WriteBookmarks("RaDecBookmarks.txt", "3,4,b\n");
    EXPECT_EQ(StartRaDecBookmarks(Needs()).size(), 2U);
    Restart();
    EXPECT_EQ(StartRaDecBookmarks(Needs()).size(), 2U);
    EXPECT_EQ(RaDecRows(), std::vector<std::string>{"a|a||1|2"});
}

TEST_F(BookmarksTest, AFileThatComesAfterTheTransfer_IsNotRead) {
    StartAltAzBookmarks(Needs());
    WriteBookmarks("AltAzBookmarks.txt", "3,4,b\n");
    EXPECT_EQ(StartAltAzBookmarks(Needs()).size(), 1U);
}

TEST_F(BookmarksTest, AnyOtherValueOfTheKey_CountsAsDone) {
    for (const char* value : {"True", "TRUE", "", "0"}) {
        WriteBookmarks("RaDecBookmarks.txt", "1,2,a\n");
        persist->Write(setting::TransferedRABookmarksToDB, value);
        EXPECT_EQ(StartRaDecBookmarks(Needs()).size(), 1U) << value;
        EXPECT_EQ(Stored("transferedrabookmarkstodb"), value);
    }
}

TEST_F(BookmarksTest, TheSameLineTwice_GivesTwoBookmarks) {
    WriteBookmarks("AltAzBookmarks.txt", "1,2,a\n1,2,a\n");
    EXPECT_EQ(StartAltAzBookmarks(Needs()).size(), 3U);
}

TEST_F(BookmarksTest, ATransferThatWasKilled_GoesOnWithoutDoubles) {
    WriteBookmarks("RaDecBookmarks.txt", "1,2,a\n3,4,b\n");
    bool isNew = true;
    persist->database()->SetGotoRaDec(GotoRaDec{0, "a", "a", "", "1", "2"}, isNew);
    EXPECT_EQ(StartRaDecBookmarks(Needs()).size(), 3U);
    EXPECT_EQ(RaDecRows(), (std::vector<std::string>{"a|a||1|2", "b|b||3|4"}));
}

TEST_F(BookmarksTest, MalformedLines_AreLeftOutAndTheRestIsTaken) {
    WriteBookmarks("RaDecBookmarks.txt", "1,2\nrubbish \xFF\xFE\n3,4,b\n"s + "5,6,\0\n"s);
    EXPECT_EQ(StartRaDecBookmarks(Needs()).size(), 2U);
    EXPECT_EQ(RaDecRows(), std::vector<std::string>{"b|b||3|4"});
    EXPECT_EQ(Stored("transferedrabookmarkstodb"), "True");
    EXPECT_EQ(Warnings().size(), 3U);
}

TEST_F(BookmarksTest, AFileThatCannotBeRead_IsTriedAgainAtTheNextOpening) {
    const path file = Folder() / "RaDecBookmarks.txt";
    std::filesystem::create_directories(file);
    EXPECT_EQ(StartRaDecBookmarks(Needs()).size(), 1U);
    EXPECT_EQ(Stored("transferedrabookmarkstodb"), "False");
    EXPECT_EQ(Warnings(), std::vector<std::string>{
                              "Bookmarks|1|RaDecBookmarks.txt is not taken over for now: Path/File access error"});
    EXPECT_EQ(ledger.Entries().size(), 1U);
    std::filesystem::remove(file);
    WriteBookmarks("RaDecBookmarks.txt", "1,2,a\n");
    EXPECT_EQ(StartRaDecBookmarks(Needs()).size(), 2U);
    EXPECT_EQ(Stored("transferedrabookmarkstodb"), "True");
}

TEST_F(BookmarksTest, AFileThatBreaksWhileItIsRead_IsTriedAgainAtTheNextOpening) {
    std::filesystem::create_directories(Folder());
    const path file = Folder() / "AltAzBookmarks.txt";
    std::filesystem::create_symlink("/proc/self/mem", file);  // opens as a file does, and fails at the first read
    EXPECT_EQ(StartAltAzBookmarks(Needs()).size(), 1U);
    EXPECT_EQ(Stored("transferedaltbookmarkstodb"), "False");
    EXPECT_EQ(Warnings().size(), 1U);
    std::filesystem::remove(file);
    WriteBookmarks("AltAzBookmarks.txt", std::string(5000, '#') + "\n1,2,a\n");
    EXPECT_EQ(StartAltAzBookmarks(Needs()).size(), 2U);
}

TEST_F(BookmarksTest, AFileThatCannotBeOpened_IsTriedAgainAtTheNextOpening) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizers need file descriptors of their own for their checks";
#endif
    WriteBookmarks("AltAzBookmarks.txt", "1,2,a\n");
    persist->Write(setting::TransferedAltBookmarksToDB, "False");
    rlimit allowed;
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &allowed), 0);
    const rlimit none{0, allowed.rlim_max};  // holds for everybody, as a permission does not
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    const std::size_t size = StartAltAzBookmarks(Needs()).size();
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &allowed), 0);
    EXPECT_EQ(size, 1U);
    EXPECT_EQ(Stored("transferedaltbookmarkstodb"), "False");
    EXPECT_EQ(Warnings().size(), 1U);
    EXPECT_EQ(StartAltAzBookmarks(Needs()).size(), 2U);
}

TEST_F(BookmarksTest, APipeInPlaceOfTheFile_IsNotWaitedFor) {
    std::filesystem::create_directories(Folder());
    ASSERT_EQ(::mkfifo((Folder() / "AltAzBookmarks.txt").c_str(), 0600), 0);
    EXPECT_EQ(StartAltAzBookmarks(Needs()).size(), 1U);
    EXPECT_EQ(Stored("transferedaltbookmarkstodb"), "False");
}

TEST_F(BookmarksTest, AFileOfTwoByteCharacters_IsTriedAgainAtTheNextOpening) {
    for (const std::string& content : {"\xFF\xFE"
                                       "1\0,\0002\0,\0a\0\n\0"s,
                                       "\xFE\xFF\0001\0,\0002\0,\0a\0\n"s}) {
        logged.clear();
        WriteBookmarks("AltAzBookmarks.txt", content);
        EXPECT_EQ(StartAltAzBookmarks(Needs()).size(), 1U);
        EXPECT_EQ(Stored("transferedaltbookmarkstodb"), "False");
        EXPECT_EQ(Warnings(), std::vector<std::string>{"Bookmarks|1|AltAzBookmarks.txt is not taken over for now: The "
                                                       "file is UTF-16, it has to be saved as UTF-8"});
    }
    WriteBookmarks("AltAzBookmarks.txt", "1,2,a\n");
    EXPECT_EQ(StartAltAzBookmarks(Needs()).size(), 2U);
}

TEST_F(BookmarksTest, AfterATransferThatWasKilled_OnlyTheSameBookmarkCountsAsStored) {
    WriteBookmarks("RaDecBookmarks.txt", "1,2,a\n");
    WriteBookmarks("AltAzBookmarks.txt", "1,2,a\n");
    bool isNew = true;
    for (const auto& [first, second, name] :
         std::vector<std::array<const char*, 3>>{{"1", "2", "b"}, {"1", "3", "a"}, {"3", "2", "a"}}) {
        persist->database()->SetGotoRaDec(GotoRaDec{0, name, name, "", first, second}, isNew);
        persist->database()->SetGotoAltAz(GotoAltAz{0, name, name, first, second}, isNew);
    }
    EXPECT_EQ(StartRaDecBookmarks(Needs()).size(), 5U);
    EXPECT_EQ(StartAltAzBookmarks(Needs()).size(), 5U);
    EXPECT_EQ(RaDecRows().back(), "a|a||1|2");
    EXPECT_EQ(AltAzRows().back(), "a|a|1|2");
}

TEST_F(BookmarksTest, ABookmarkThatARuleOfAnotherProgramForbids_IsNotTriedAgain) {
    WriteBookmarks("AltAzBookmarks.txt", "1,2,a\n3,4,b\n");
    Foreign().Run("create trigger rule before insert on GotoAltAz when new.Name = 'a' begin select raise(ignore); end");
    EXPECT_EQ(StartAltAzBookmarks(Needs()).size(), 2U);
    EXPECT_EQ(Stored("transferedaltbookmarkstodb"), "True");
}

TEST_F(BookmarksTest, ARowWithANull_HidesNoOtherAndIsNotDoubled) {
    WriteBookmarks("RaDecBookmarks.txt", ",2,a\n3,4,b\n");
    Foreign().Run("insert into GotoRaDec (Name, Declination) values ('a', '2')");
    const RecordArray<GotoRaDec> bookmarks = StartRaDecBookmarks(Needs());
    ASSERT_EQ(bookmarks.size(), 3U);
    EXPECT_EQ(bookmarks[1]->Name, "a");
    EXPECT_EQ(bookmarks[2]->Name, "b");
}

TEST_F(BookmarksTest, WithoutTheListOfStoredOnes_NothingIsTakenOver) {
    WriteBookmarks("AltAzBookmarks.txt", "1,2,a\n");
    Foreign().Run("alter table GotoAltAz rename to Aside");
    EXPECT_EQ(StartAltAzBookmarks(Needs()).size(), 1U);
    EXPECT_EQ(Stored("transferedaltbookmarkstodb"), "(no row)");
}

TEST_F(BookmarksTest, WithoutTheKey_NothingIsTakenOver) {
    WriteBookmarks("AltAzBookmarks.txt", "1,2,a\n");
    Foreign().Run("alter table Driver rename to Aside");
    EXPECT_EQ(StartAltAzBookmarks(Needs()).size(), 1U);
    EXPECT_TRUE(AltAzRows().empty());
}

/// A second program holds the file from the start up to the first read of the key.
TEST_F(BookmarksTest, AKeyThatIsNotAnswered_StartsNoSecondTransfer) {
    WriteBookmarks("AltAzBookmarks.txt", "1,2,a\n");
    StartAltAzBookmarks(Needs());
    persist->database()->DeleteGotoAltAz(1);
    persist.reset();
    onSleep = [] {};
    ForeignProgram other = Foreign();
    ASSERT_EQ(other.Cell("PRAGMA journal_mode = delete"), "delete");
    for (const bool heldFromTheStart : {true, false}) {
        ASSERT_TRUE(other.Run(heldFromTheStart ? "BEGIN EXCLUSIVE" : "BEGIN; select count(*) from Driver"));
        Restart();
        if (!heldFromTheStart) {
            ASSERT_TRUE(other.Run("COMMIT; BEGIN EXCLUSIVE"));
        }
        log.SetListener([&](std::string_view, int, std::string_view message) {
            if (message == "TransferedAltBookmarksToDB=>'False'") {
                other.Run("COMMIT");
            }
        });
        EXPECT_EQ(StartAltAzBookmarks(Needs()).size(), 1U);
        other.Run("COMMIT");
        EXPECT_EQ(StartAltAzBookmarks(Needs()).size(), 1U);
        EXPECT_TRUE(AltAzRows().empty());
        persist.reset();
        ASSERT_EQ(other.Cell("PRAGMA journal_mode = delete"), "delete");
    }
}

TEST_F(BookmarksTest, ABookmarkThatCannotBeStored_LeavesTheTransferToTheNextOpening) {
    WriteBookmarks("AltAzBookmarks.txt", "1,2,a\n3,4,b\n5,6,c\n");
    Foreign().Run(
        "create trigger full before insert on GotoAltAz when new.Name = 'b' begin select raise(abort, 'full'); end");
    EXPECT_EQ(StartAltAzBookmarks(Needs()).size(), 3U) << "the lines after it are taken";
    EXPECT_EQ(Stored("transferedaltbookmarkstodb"), "False");
    EXPECT_EQ(Warnings(),
              std::vector<std::string>{
                  "Bookmarks|1|AltAzBookmarks.txt is not taken over for now: Not every bookmark could be stored"});
    EXPECT_EQ(StartAltAzBookmarks(Needs()).size(), 3U);
    Foreign().Run("drop trigger full");
    EXPECT_EQ(StartAltAzBookmarks(Needs()).size(), 4U);
    EXPECT_EQ(AltAzRows(), (std::vector<std::string>{"a|a|1|2", "c|c|5|6", "b|b|3|4"}));
    EXPECT_EQ(Stored("transferedaltbookmarkstodb"), "True");
}

TEST_F(BookmarksTest, AnOldIniFileThatCannotBeRead_IsSwallowed) {
    WriteBookmarks("AltAzBookmarks.txt", "1,2,a\n");
    std::filesystem::create_directories(folders.LegacyFile());
    EXPECT_EQ(StartAltAzBookmarks(Needs()).size(), 1U);
    EXPECT_EQ(Stored("transferedaltbookmarkstodb"), "(no row)");
    std::filesystem::remove(folders.LegacyFile());
    EXPECT_EQ(StartAltAzBookmarks(Needs()).size(), 2U);
}

TEST_F(BookmarksTest, WithoutADatabase_ThereAreNoBookmarksAndTheFileIsNotTouched) {
    PersistNeeds needs = NeedsOfPersist();
    needs.createDatabase = [] { return std::unique_ptr<Database>(); };
    Persist bare(needs);
    WriteBookmarks("RaDecBookmarks.txt", "1,2,a\n");
    EXPECT_EQ(StartRaDecBookmarks({bare, folders, log, ledger}).size(), 1U);
}

}  // namespace
}  // namespace kestrane

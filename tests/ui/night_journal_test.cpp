#include "ui/night_journal.h"

#include <sstream>
#include <string>
#include <vector>

#include "support/driver_fixture.h"

namespace kestrane {
namespace {

using Words = std::vector<std::string>;

class NightJournalTest : public DriverFixture {
protected:
    const RichTextBox& Box() { return driver->windows.sky.rtbJournal; }
    static Words WordsOf(const std::string& text) {
        std::istringstream stream(text);
        Words words;
        for (std::string word; stream >> word;) {
            words.push_back(word);
        }
        return words;
    }
    /// The words after the time of all pieces of this kind.
    std::vector<Words> Entries(const std::string& kind) {
        std::vector<Words> entries;
        for (const RichTextBox::Piece& piece : Box().Pieces()) {
            const Words words = WordsOf(piece.text);
            if (words.at(3) == kind) {
                entries.emplace_back(words.begin() + 4, words.end());
            }
        }
        return entries;
    }
    double SecondsOf(std::size_t piece) { return std::stod(WordsOf(Box().Pieces().at(piece).text).front()); }
};

TEST_F(NightJournalTest, WithoutALink_HasNoPosition) {
    Start();
    machine.AdvanceTime(10'000);
    EXPECT_TRUE(Box().Pieces().empty());
}

TEST_F(NightJournalTest, ConnectedMount_HasAPositionEachSecond_AlsoWhenNobodyLooks) {
    const TelescopeObject telescope = ConnectedTelescope();
    machine.AdvanceTime(5'000);
    const std::size_t before = Box().Pieces().size();
    machine.AdvanceTime(10'000);
    ASSERT_EQ(Box().Pieces().size(), before + 10);
    EXPECT_NEAR(SecondsOf(before + 9) - SecondsOf(before), 9.0, 0.001);
    const Words last = Entries("P").back();
    const MountPicture picture = mount->Picture();
    EXPECT_NEAR(std::stod(last.at(0)), picture.rightAscension, 0.001);
    EXPECT_NEAR(std::stod(last.at(1)), picture.declination, 0.02);
    EXPECT_EQ(last.at(2), "T");
    const DateTime now = machine.clock.GetLocalTime();
    char time[16];
    std::snprintf(time, sizeof(time), "%02d:%02d:%02d", now.hour, now.minute, now.second);
    EXPECT_EQ(WordsOf(Box().Pieces().back().text).at(2), time);
}

TEST_F(NightJournalTest, PositionsOfASlew_AreMarkedAsSuch) {
    const TelescopeObject telescope = ConnectedTelescope();
    machine.AdvanceTime(3'000);
    telescope->SlewToCoordinatesAsync(telescope->RightAscension() - 2.0, telescope->Declination());
    machine.AdvanceTime(3'000);
    EXPECT_EQ(Entries("P").back().at(2), "-");
}

TEST_F(NightJournalTest, GuidePulse_HasItsDirectionAndItsTime) {
    const TelescopeObject telescope = ConnectedTelescope();
    machine.AdvanceTime(3'000);
    telescope->PulseGuide(3, 350);
    machine.AdvanceTime(2'000);
    telescope->PulseGuide(0, 120);
    machine.AdvanceTime(2'000);
    EXPECT_EQ(Entries("G"), (std::vector{Words{"W", "350"}, Words{"N", "120"}}));
}

TEST_F(NightJournalTest, WhatIsOlderThanSixHours_Goes) {
    const TelescopeObject telescope = ConnectedTelescope();
    machine.AdvanceTime(3'000);
    driver->poll.SetPolling(false);
    for (int minutes = 0; minutes < 6 * 60 + 10; ++minutes) {
        machine.AdvanceTime(60'000);
    }
    EXPECT_EQ(Box().Pieces().size(), 6U * 60 * 60 + 1);
    EXPECT_NEAR(SecondsOf(Box().Pieces().size() - 1) - SecondsOf(0), 6.0 * 60 * 60, 0.001);
    EXPECT_GT(Box().LastNumber(), Box().Pieces().size());
}

}  // namespace
}  // namespace kestrane

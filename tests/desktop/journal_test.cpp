#include "views/desktop/journal.h"

#include <QStringList>
#include <gtest/gtest.h>

#include "views/desktop/journal_chart.h"
#include "views/desktop/sky_numbers.h"

namespace kestrane::desktop {
namespace {

QJsonArray Lines(const QStringList& texts) {
    QJsonArray lines;
    for (const QString& text : texts) {
        lines << QJsonArray{text, "#000000"};
    }
    return lines;
}

QString At(double time, double raHours, double dec, const char* tracks = "T") {
    return QString("%1 2026-11-24 21:00:00 P %2 %3 %4")
        .arg(time)
        .arg(raHours, 0, 'f', 6)
        .arg(dec, 0, 'f', 5)
        .arg(tracks);
}

TEST(Journal, Drift_CountsFromTheBeginningOfARun_InArcSeconds) {
    Journal journal;
    journal.Append(1, Lines({At(10, 5, 60), At(11, 5 + 1.0 / 54000, 60), At(12, 5, 60 - 2.0 / 3600)}));
    ASSERT_EQ(journal.Positions().size(), 3U);
    EXPECT_NEAR(journal.Positions()[1].raDrift, 0.5, 0.02) << "an arc-second of the axis at 60 degrees";
    EXPECT_NEAR(journal.Positions()[2].decDrift, -2, 0.02);
    EXPECT_EQ(journal.Next(), 4);
}

TEST(Journal, Drift_GoesThroughMidnightOfRa) {
    Journal journal;
    journal.Append(1, Lines({At(10, 23.999990, 0), At(11, 0.000010, 0)}));
    EXPECT_NEAR(journal.Positions()[1].raDrift, 1.08, 0.02);
}

TEST(Journal, Run_EndsWhereTheMountDoesNotTrack_OrAfterAGap) {
    Journal journal;
    journal.Append(1,
                   Lines({At(10, 5, 0), At(11, 5, 0), At(12, 6, 0, "-"), At(13, 7, 0), At(14, 7, 0), At(30, 7.1, 0)}));
    std::vector<int> runs;
    for (const Journal::Position& position : journal.Positions()) {
        runs.push_back(position.run);
    }
    EXPECT_EQ(runs, (std::vector<int>{1, 1, 2, 3, 3, 4}));
    EXPECT_EQ(journal.Positions().back().raDrift, 0);
}

TEST(Journal, KeepsSixHours) {
    Journal journal;
    journal.Append(1, Lines({At(0, 5, 0), "1 2026-11-24 21:00:00 G W 350", At(5, 5, 0)}));
    EXPECT_EQ(journal.Pulses().size(), 1U);
    journal.Append(4, Lines({At(Journal::kKept + 3, 5, 0)}));
    EXPECT_EQ(journal.Positions().size(), 2U);
    EXPECT_TRUE(journal.Pulses().empty());
}

TEST(Journal, Csv_HasARowForEachEntry_InTheirOrder) {
    Journal journal;
    journal.Append(1, Lines({At(10, 5, 45), "10.5 2026-11-24 21:00:00 G W 350", At(11, 5, 45, "-")}));
    const QStringList rows = journal.Csv().split("\r\n");
    ASSERT_EQ(rows.size(), 5);
    EXPECT_EQ(rows[1].toStdString(), "10,2026-11-24,21:00:00,position,5.000000,45.00000,1,0.00,0.00,,");
    EXPECT_EQ(rows[2].toStdString(), "10.5,2026-11-24,21:00:00,pulse,,,,,,W,350");
    EXPECT_EQ(rows[3].toStdString(), "11,2026-11-24,21:00:00,position,5.000000,45.00000,0,,,,");
}

TEST(Journal, RubbishIsPassedOver) {
    Journal journal;
    journal.Append(1, Lines({"", "P", "1 2 3 X 4 5", "1 2 3 G"}));
    EXPECT_TRUE(journal.Positions().empty());
    EXPECT_TRUE(journal.Pulses().empty());
    EXPECT_EQ(journal.Next(), 5);
}

TEST(JournalChart, Words_MeasureTheLastRunThatIsShown) {
    Journal journal;
    JournalChart chart(journal, nullptr);
    EXPECT_EQ(chart.Words().toStdString(), "The mount does not track.");
    journal.Append(1, Lines({At(10, 1, 0), At(11, 1.1, 0), At(12, 2, 0, "-"), At(13, 3, 0), At(14, 3 + 2.0 / 54000, 0),
                             "14 2026-11-24 21:00:00 G W 350"}));
    EXPECT_EQ(chart.Words().toStdString(), "RMS: RA 1.00″, Dec 0.00″. Pulses: 1.");
    EXPECT_EQ(chart.SpanWords().toStdString(), "5 min");
    chart.ZoomBy(-9);
    EXPECT_EQ(chart.SpanWords().toStdString(), "1 min");
    chart.ZoomBy(9);
    EXPECT_EQ(chart.SpanWords().toStdString(), "6 h");
}

TEST(SkyNumbers, Times_AreWrittenAsOnThePage) {
    EXPECT_EQ(TimeText(std::nullopt).toStdString(), "–");
    EXPECT_EQ(TimeText(125.4).toStdString(), "2 h 05 min");
    EXPECT_EQ(ClockText(1.5, false).toStdString(), "01:30:00.0");
    EXPECT_EQ(ClockText(-0.25, true).toStdString(), "-00:15:00.0");
    EXPECT_EQ(ClockText(23.99999999, true).toStdString(), "+24:00:00.0");
}

}  // namespace
}  // namespace kestrane::desktop

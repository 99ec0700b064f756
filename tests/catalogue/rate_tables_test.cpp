#include "catalogue/rate_tables.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "kernel/base/errors.h"

namespace kestrane {
namespace {

using Texts = std::vector<std::string>;

// --- a row ------------------------------------------------------------------------------------------------------

TEST(MountRateInstanceTest, EachValueOfARowThatWasNotInitialized_RaisesErrorOne) {
    const MountRateInstance row;
    const auto expectError = [](auto read) {
        try {
            read();
            ADD_FAILURE() << "nothing was raised";
        } catch (const DriverError& error) {
            EXPECT_EQ(error.Number(), 1U);
            EXPECT_EQ(error.Message(), "MountRaiseInstance Has not been Initialized");
        }
    };
    expectError([&] { return row.RateValue(); });
    expectError([&] { return row.RateString(); });
    expectError([&] { return row.MountCommand(); });
}

TEST(MountRateInstanceTest, Init_SetsAllThree_AlsoAgain) {
    MountRateInstance row;
    row.Init(12.0, "12x", ":RC0#");
    EXPECT_EQ(row.RateValue(), 12.0);
    EXPECT_EQ(row.RateString(), "12x");
    EXPECT_EQ(row.MountCommand(), ":RC0#");
    row.Init(0.0, "", "");
    EXPECT_EQ(row.RateValue(), 0.0);
    EXPECT_EQ(row.RateString(), "");
    EXPECT_EQ(row.MountCommand(), "");
}

// --- a collection -----------------------------------------------------------------------------------------------

class MountRateCollectionTest : public testing::Test {
protected:
    MountRateCollectionTest() {
        rates.AddRate(600.0, "600x", ":RS0#");
        rates.AddRate(1200.0, "1200x", ":RS1#");
        rates.AddRate(600.0, "600x", ":RS2#");
        rates.AddRate(0.25, "0.25x", ":RS1#");
    }
    static std::string CommandOf(const std::optional<MountRateInstance>& row) {
        return row ? row->MountCommand() : "none";
    }

    MountRateCollection rates;
};

TEST_F(MountRateCollectionTest, EveryArray_HasAnEmptySlotZero_AndTheRowsInTheirOrder) {
    EXPECT_EQ(rates.GetRateStrings(), (Texts{"", "600x", "1200x", "600x", "0.25x"}));
    EXPECT_EQ(rates.GetRateCommands(), (Texts{"", ":RS0#", ":RS1#", ":RS2#", ":RS1#"}));
    EXPECT_EQ(rates.GetRateValues(), (std::vector<double>{0.0, 600.0, 1200.0, 600.0, 0.25}));
    const std::vector<MountRateInstance> rows = rates.GetRateCollection();
    ASSERT_EQ(rows.size(), 5U);
    EXPECT_THROW(rows[0].RateValue(), RunTimeError);
    EXPECT_EQ(rows[2].RateString(), "1200x");
    EXPECT_EQ(rows[4].RateValue(), 0.25);
}

TEST_F(MountRateCollectionTest, AnEmptyCollection_HasSlotZeroOnly_AndFindsNothing) {
    const MountRateCollection empty;
    EXPECT_EQ(empty.GetRateCollection().size(), 1U);
    EXPECT_EQ(empty.GetRateStrings().size(), 1U);
    EXPECT_EQ(empty.GetRateCommands().size(), 1U);
    EXPECT_EQ(empty.GetRateValues().size(), 1U);
    EXPECT_EQ(empty.GetMaxRate(), 0.0);
    EXPECT_FALSE(empty.GetRateByIndex(1));
    EXPECT_FALSE(empty.GetRateByString(""));
    EXPECT_FALSE(empty.GetRateByValue(0.0));
    EXPECT_FALSE(empty.GetRateByCommand(""));
}

TEST_F(MountRateCollectionTest, Texts_AreFoundExactly_TheFirstOfEquals) {
    EXPECT_EQ(CommandOf(rates.GetRateByString("600x")), ":RS0#");
    EXPECT_EQ(CommandOf(rates.GetRateByString("600X")), "none");
    EXPECT_EQ(CommandOf(rates.GetRateByString("600")), "none");
    EXPECT_EQ(CommandOf(rates.GetRateByString("")), "none");
    EXPECT_EQ(rates.GetRateByCommand(":RS1#")->RateString(), "1200x");
    EXPECT_FALSE(rates.GetRateByCommand("RS1"));
    EXPECT_FALSE(rates.GetRateByCommand(":rs1#"));
}

TEST_F(MountRateCollectionTest, AValue_MayBeOffByLessThanAThousandth) {
    struct Row {
        double value;
        const char* command;
    };
    for (const Row& row :
         {Row{1200.0, ":RS1#"}, Row{1200.0005, ":RS1#"}, Row{1199.9995, ":RS1#"}, Row{1200.001, "none"},
          Row{1199.999, "none"}, Row{600.0009, ":RS0#"}, Row{600.001, "none"}, Row{599.999, "none"},
          Row{0.2509, ":RS1#"}, Row{0.251, "none"}, Row{0.249, "none"}, Row{-1200.0, "none"}, Row{0.0, "none"}}) {
        EXPECT_EQ(CommandOf(rates.GetRateByValue(row.value)), row.command) << row.value;
    }
}

TEST_F(MountRateCollectionTest, Indices_CountFromOne_AndGiveNothingOutside) {
    EXPECT_EQ(CommandOf(rates.GetRateByIndex(1)), ":RS0#");
    EXPECT_EQ(rates.GetRateByIndex(4)->RateString(), "0.25x");
    EXPECT_EQ(CommandOf(rates.GetRateByIndex(0)), "none");
    EXPECT_EQ(CommandOf(rates.GetRateByIndex(5)), "none");
    EXPECT_EQ(CommandOf(rates.GetRateByIndex(-1)), "none");
}

TEST_F(MountRateCollectionTest, MaxRate_IsTheHighestWhereverItStands) {
    EXPECT_EQ(rates.GetMaxRate(), 1200.0);
}

TEST_F(MountRateCollectionTest, ARowHandedOut_OutlivesTheCollection) {
    const std::optional<MountRateInstance> row = rates.GetRateByIndex(2);
    rates = MountRateCollection{};
    EXPECT_EQ(row->RateString(), "1200x");
}

// --- the tables -------------------------------------------------------------------------------------------------

/// What a rate type gives: texts and commands side by side, in their order.
struct TableRow {
    const char* type;
    Mount_Type mount;
    bool known;
    Texts centering;
    Texts slew;
};

const Texts kCommands[] = {
    {":RC0#", ":RC1#", ":RC2#", ":RC3#"},
    {":RC5#", ":RC6#", ":RC7#", ":RC0#", ":RC1#", ":RC2#", ":RC3#", ":RC4#"},
};

// clang-format off
const TableRow kTables[] = {
    {"",   Mount_Type::ALDER, true,  {"12x", "64x", "600x", "1200x"},                                       {"600x", "900x", "1200x"}},
    {"",   Mount_Type::LARCH, true,  {"12x", "64x", "600x", "1200x"},                                       {"600x", "900x", "1200x"}},
    {"",   Mount_Type::FIR,   true,  {"12x", "64x", "300x", "600x"},                                        {"300x", "450x", "600x"}},
    {"0",  Mount_Type::ALDER, true,  {"0.25x", "0.50x", "1.00x", "12x", "64x", "200x", "600x", "1200x"},    {"600x", "900x", "1200x"}},
    {"0",  Mount_Type::FIR,   true,  {"0.25x", "0.50x", "1.00x", "12x", "64x", "200x", "600x", "1200x"},    {"600x", "900x", "1200x"}},
    {"1",  Mount_Type::ALDER, true,  {"0.25x", "0.50x", "1.00x", "12x", "64x", "200x", "500x", "900x"},     {"400x", "650x", "900x"}},
    {"1",  Mount_Type::FIR,   true,  {"0.25x", "0.50x", "1.00x", "12x", "64x", "200x", "500x", "900x"},     {"400x", "650x", "900x"}},
    {"2",  Mount_Type::ALDER, true,  {"0.25x", "0.50x", "1.00x", "12x", "64x", "200x", "400x", "600x"},     {"300x", "450x", "600x"}},
    {"2",  Mount_Type::FIR,   true,  {"0.25x", "0.50x", "1.00x", "12x", "64x", "200x", "400x", "600x"},     {"300x", "450x", "600x"}},
    {"3",  Mount_Type::ALDER, true,  {"0.25x", "0.50x", "1.00x", "12x", "64x", "200x", "600x", "1200x"},    {"600x", "1000x", "1800x"}},
    {"3",  Mount_Type::FIR,   true,  {"0.25x", "0.50x", "1.00x", "12x", "64x", "200x", "600x", "1200x"},    {"600x", "1000x", "1800x"}},
    {"4",  Mount_Type::ALDER, false, {"12x", "64x", "600x", "1200x"},                                       {"600x", "900x", "1200x"}},
    {"4",  Mount_Type::FIR,   false, {"12x", "64x", "300x", "600x"},                                        {"300x", "450x", "600x"}},
    {"00", Mount_Type::ALDER, false, {"12x", "64x", "600x", "1200x"},                                       {"600x", "900x", "1200x"}},
    {"1 ", Mount_Type::ALDER, false, {"12x", "64x", "600x", "1200x"},                                       {"600x", "900x", "1200x"}},
    {"unknown", Mount_Type::ALDER, false, {"12x", "64x", "600x", "1200x"},                                  {"600x", "900x", "1200x"}},
};
// clang-format on

class RateTablesTest : public testing::TestWithParam<TableRow> {
protected:
    /// Each value is the number in its text.
    static void ExpectRows(const MountRateCollection& rates, const Texts& texts, const Texts& commands) {
        ASSERT_EQ(rates.Count(), texts.size());
        ASSERT_EQ(commands.size(), texts.size());
        for (std::size_t i = 0; i < texts.size(); ++i) {
            const std::optional<MountRateInstance> row = rates.GetRateByIndex(static_cast<std::int32_t>(i) + 1);
            EXPECT_EQ(row->RateString(), texts[i]) << i;
            EXPECT_EQ(row->MountCommand(), commands[i]) << texts[i];
            EXPECT_EQ(row->RateValue(), std::stod(texts[i])) << texts[i];
            EXPECT_EQ(texts[i].back(), 'x');
        }
    }
};

TEST_P(RateTablesTest, ARateType_GivesItsRows) {
    KsMount mount;
    mount.mountType = GetParam().mount;
    const MountRatesFactory factory(mount);
    MountRateCollection guide, centering, slew;
    guide.AddRate(1.0, "of before", "");  // all three are replaced
    centering.AddRate(1.0, "of before", "");
    slew.AddRate(1.0, "of before", "");
    EXPECT_EQ(factory.CreateRateCollections(GetParam().type, guide, centering, slew), GetParam().known);
    ExpectRows(guide, {"0.25x", "0.50x", "1.00x"}, {":RG0#", ":RG1#", ":RG2#"});
    ExpectRows(centering, GetParam().centering, kCommands[GetParam().centering.size() == 8 ? 1 : 0]);
    ExpectRows(slew, GetParam().slew, {":RS0#", ":RS1#", ":RS2#"});
}

INSTANTIATE_TEST_SUITE_P(Tables, RateTablesTest, testing::ValuesIn(kTables));

TEST(MountRatesFactoryTest, TheModel_IsThatOfTheMomentOfBuilding) {
    KsMount mount;
    const MountRatesFactory factory(mount);
    MountRateCollection guide, centering, slew;
    factory.CreateRateCollections("", guide, centering, slew);
    EXPECT_EQ(slew.GetMaxRate(), 1200.0);
    mount.mountType = Mount_Type::FIR;
    factory.CreateRateCollections("", guide, centering, slew);
    EXPECT_EQ(slew.GetMaxRate(), 600.0);
}

}  // namespace
}  // namespace kestrane

#include "catalogue/client_rates.h"

#include <gtest/gtest.h>
#include <string>

namespace kestrane {
namespace {

template <typename Call>
std::string ErrorOf(Call&& call) {
    try {
        call();
        return "none";
    } catch (const DriverError& error) {
        return std::to_string(error.Number()) + " " + error.Message();
    }
}

TEST(RateTest, Bounds_AreReadAndWritten_UnderBothInterfaces) {
    rate range(0.0, 5.0);
    EXPECT_EQ(range.Minimum(), 0.0);
    EXPECT_EQ(range.Maximum(), 5.0);
    IRate& same = range;
    same.IRate_Minimum(1.5);
    same.IRate_Maximum(2.5);
    EXPECT_EQ(range.Minimum(), 1.5);
    EXPECT_EQ(range.Maximum(), 2.5);
    range.Minimum(0.25);
    range.Maximum(0.5);
    EXPECT_EQ(same.IRate_Minimum(), 0.25);
    EXPECT_EQ(same.IRate_Maximum(), 0.5);
}

TEST(AxisRatesTest, Item_CountsFromOne_AndRaisesTheInvalidIndexOutside) {
    AxisRates rates;
    EXPECT_EQ(rates.Count(), 0);
    EXPECT_EQ(ErrorOf([&] { rates.Item(1); }), "9 Subscript out of range");
    rates.Add(0.0, 5.0);
    rates.Add(1.0, 2.0);
    const IAxisRates& same = rates;
    EXPECT_EQ(rates.Count(), 2);
    EXPECT_EQ(same.IAxisRates_Count(), 2);
    EXPECT_EQ(rates.Item(1)->Maximum(), 5.0);
    EXPECT_EQ(same.IAxisRates_Item(2)->Minimum(), 1.0);
    for (const std::int32_t index : {0, 3, -1, 2'147'483'647}) {
        EXPECT_EQ(ErrorOf([&] { rates.Item(index); }), "9 Subscript out of range") << index;
        EXPECT_EQ(ErrorOf([&] { same.IAxisRates_Item(index); }), "9 Subscript out of range") << index;
        EXPECT_EQ(ErrorOf([&] { rates.Remove(index); }), "9 Subscript out of range") << index;
    }
}

TEST(AxisRatesTest, AnItem_IsTheRangeItself_AndOutlivesItsRemoval) {
    AxisRates rates;
    rates.Add(0.0, 5.0);
    rates.Add(0.0, 2.5);
    const std::shared_ptr<rate> held = rates.Item(1);
    held->Maximum(4.0);
    EXPECT_EQ(rates.Item(1)->Maximum(), 4.0);
    rates.Remove(1);
    EXPECT_EQ(rates.Count(), 1);
    EXPECT_EQ(rates.Item(1)->Maximum(), 2.5);
    EXPECT_EQ(held->Maximum(), 4.0);
}

TEST(TrackingRatesTest, Item_CountsFromOne_AndRaisesTheInvalidIndexOutside) {
    TrackingRates rates;
    rates.Add(0);
    rates.Add(1);
    rates.Add(2);
    const ITrackingRates& same = rates;
    EXPECT_EQ(same.ITrackingRates_Count(), 3);
    EXPECT_EQ(rates.Item(1), 0);
    EXPECT_EQ(same.ITrackingRates_Item(3), 2);
    for (const std::int32_t index : {0, 4, -1}) {
        EXPECT_EQ(ErrorOf([&] { rates.Item(index); }), "9 Subscript out of range") << index;
        EXPECT_EQ(ErrorOf([&] { same.ITrackingRates_Item(index); }), "9 Subscript out of range") << index;
    }
}

TEST(TrackingRatesTest, NewEnum_WalksInTheOrderOfAdding) {
    TrackingRates rates;
    rates.Add(2);
    rates.Add(0);
    rates.Add(3);
    rates.Remove(2);
    const ITrackingRates& same = rates;
    EXPECT_EQ(rates.NewEnum(), (std::vector<std::int32_t>{2, 3}));
    EXPECT_EQ(same.ITrackingRates_NewEnum(), rates.NewEnum());
    AxisRates ranges;
    ranges.Add(0.0, 5.0);
    const IAxisRates& sameRanges = ranges;
    ASSERT_EQ(sameRanges.IAxisRates_NewEnum().size(), 1U);
    EXPECT_EQ(sameRanges.IAxisRates_NewEnum()[0], ranges.Item(1));
}

}  // namespace
}  // namespace kestrane

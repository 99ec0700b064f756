#include "alpaca/responses.h"

#include <gtest/gtest.h>

namespace kestrane::alpaca {
namespace {

TEST(Answers, CarryTheIdsAndAnEmptyMessageOnSuccess) {
    const TransactionIds ids{.client = 4294967295U, .server = 8};
    EXPECT_EQ(
        ValueAnswer(ids, "true").body,
        R"({"Value":true,"ClientTransactionID":4294967295,"ServerTransactionID":8,"ErrorNumber":0,"ErrorMessage":""})");
    EXPECT_EQ(ValueAnswer(ids, "").body,
              R"({"ClientTransactionID":4294967295,"ServerTransactionID":8,"ErrorNumber":0,"ErrorMessage":""})");
    EXPECT_EQ(
        ErrorAnswer(ids, 1028, "no \"mount\"").body,
        R"({"ClientTransactionID":4294967295,"ServerTransactionID":8,"ErrorNumber":1028,"ErrorMessage":"no \"mount\""})");
}

TEST(AlpacaErrorNumber, IsTheDriversLessTheBaseAndNeverAnotherOnesMeaning) {
    struct Row {
        std::uint32_t driver;
        std::int32_t alpaca;
    };
    for (const Row& row :
         {Row{0x80040400, 0x400}, Row{0x8004040C, 0x40C}, Row{0x80040430, 0x430}, Row{0x80040FFF, 0xFFF},
          Row{0x80041000, 0x4FF}, Row{0x800403FF, 0x4FF}, Row{13, 0x4FF}, Row{0, 0x4FF}, Row{0xFFFFFFFF, 0x4FF}}) {
        EXPECT_EQ(AlpacaErrorNumber(row.driver), row.alpaca) << row.driver;
    }
}

}  // namespace
}  // namespace kestrane::alpaca

#include "catalogue/wire_texts.h"

#include <gtest/gtest.h>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// What texts of several commands do.
namespace kestrane {
namespace {

TEST(WireTexts, LastOf_FindsWhatASearchForTheFramedTextFinds) {
    constexpr std::string_view kLetters = ":#KAQ";
    std::mt19937 random(1);
    std::uniform_int_distribution<std::size_t> letter(0, kLetters.size() - 1);
    std::uniform_int_distribution<int> length(0, 20);
    int found = 0;
    for (int i = 0; i < 20'000; ++i) {
        std::string text;
        for (int left = length(random); left > 0; --left) {
            text += kLetters[letter(random)];
        }
        EXPECT_EQ(wire::LastOf(text, wire::Park), text.rfind(":KA#")) << text;
        EXPECT_EQ(wire::LastOf(text, wire::Stop), text.rfind(":Q#")) << text;
        found += wire::Holds(text, wire::Park) ? 1 : 0;
    }
    EXPECT_GT(found, 100);
}

struct Row {
    std::string text;
    bool parks, unparks, givesPlace, customRate, moves;
};

TEST(WireTexts, EachCommandInAText_IsNoticed_AndNothingElseIsTakenForOne) {
    const std::vector<Row> rows{
        {":KA#", true, false, false, false, true},           {":GR#:KA#:GD#", true, false, false, false, true},
        {"KA", false, false, false, false, false},           {":KA", false, false, false, false, false},
        {":KAB#", false, false, false, false, false},        {":PO#", false, true, true, false, false},
        {":CM#", false, false, true, false, false},          {":CMR#", false, false, true, false, false},
        {":CMX#", false, false, false, false, false},        {":RR0.00000#", false, false, false, false, false},
        {":RR0.50000#", false, false, false, true, false},   {":RR0.0#:RR0.1#", false, false, false, true, false},
        {":RD-3#", false, false, false, true, false},        {":RD0#:GR1#", false, false, false, false, false},
        {"RR1#", false, false, false, false, false},         {":MS#", false, false, false, false, true},
        {":Mn#", false, false, false, false, true},          {":Mn500#", false, false, false, false, false},
        {":Mn#:Q#", false, false, false, false, false},      {":Q#:Mn#", false, false, false, false, true},
        {":$K1#", false, false, false, false, true},         {":*SLEW,5,30#", false, false, false, false, true},
        {":*PARK,2#:Q#", false, false, false, false, false}, {"", false, false, false, false, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(wire::Parks(row.text), row.parks);
        EXPECT_EQ(wire::Unparks(row.text), row.unparks);
        EXPECT_EQ(wire::GivesPlace(row.text), row.givesPlace);
        EXPECT_EQ(wire::ChoosesCustomRate(row.text), row.customRate);
        EXPECT_EQ(wire::MovesInTheEnd(row.text), row.moves);
    }
}

TEST(WireTexts, TheLastOfAMoveAndItsEnd_Counts) {
    using wire::EndlessMove;
    const std::vector<std::pair<std::string, EndlessMove>> rows{
        {":Me#", EndlessMove::Begins},     {":Me#:Q#", EndlessMove::Ends},       {":Q#:Me#", EndlessMove::Begins},
        {":Me#:Qe#", EndlessMove::Begins}, {":Ms#:KA#", EndlessMove::Ends},      {":Me300#", EndlessMove::Untouched},
        {":GR#", EndlessMove::Untouched},  {":Q#:Mw#:Mn#", EndlessMove::Begins}, {":Mw#:Q#:GR#", EndlessMove::Ends},
    };
    for (const auto& [text, after] : rows) {
        EXPECT_EQ(wire::EndlessMoveAfter(text), after) << text;
    }
    EXPECT_EQ(wire::FocuserRunAfter(":F+#"), EndlessMove::Begins);
    EXPECT_EQ(wire::FocuserRunAfter(":F-#:FQ#"), EndlessMove::Ends);
    EXPECT_EQ(wire::FocuserRunAfter(":FF#"), EndlessMove::Untouched);
}

}  // namespace
}  // namespace kestrane

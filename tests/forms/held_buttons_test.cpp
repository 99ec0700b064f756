#include "forms/held_buttons.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "support/virtual_platform.h"

namespace kestrane {
namespace {

struct SilentView : FormView {
    void Changed(Form& /*form*/, std::string_view /*control*/, Property /*property*/) override {}
};

class HeldButtonsTest : public testing::Test {
protected:
    HeldButtonsTest() {
        for (Button* button : {&a_, &b_}) {
            button->OnMouseDown([this, button] { events_.push_back(button->Name() + " down"); });
            button->OnMouseUp([this, button] { events_.push_back(button->Name() + " up"); });
        }
    }
    std::vector<std::string> Events() { return std::exchange(events_, {}); }

    using Names = std::vector<std::string>;
    VirtualPlatform machine_;
    Form form_{"form", ""};
    Button a_{form_, "a", ""};
    Button b_{form_, "b", ""};
    SilentView one_, other_;
    HeldButtons held_{machine_.clock, machine_.pump};
    Names events_;
};

TEST_F(HeldButtonsTest, AButton_IsHeldFromThePressToTheRelease) {
    held_.Press(a_, one_);
    EXPECT_EQ(Events(), Names{"a down"});
    held_.Release(one_);
    EXPECT_EQ(Events(), Names{"a up"});
    held_.Release(one_);
    EXPECT_EQ(Events(), Names{});
}

TEST_F(HeldButtonsTest, ASecondPressFromAnyView_ReleasesTheFirst) {
    held_.Press(a_, one_);
    held_.Press(b_, other_);
    EXPECT_EQ(Events(), (Names{"a down", "a up", "b down"}));
    held_.Release(one_);
    EXPECT_EQ(Events(), Names{}) << "another view holds the button";
    held_.Press(b_, other_);
    EXPECT_EQ(Events(), (Names{"b up", "b down"}));
}

TEST_F(HeldButtonsTest, AViewThatIsSilentForASecond_ReleasesWhatItHolds) {
    held_.Press(a_, one_);
    for (int i = 0; i < 20; ++i) {
        machine_.AdvanceTime(250);
        held_.StillHolds(one_);
        held_.StillHolds(other_);
    }
    EXPECT_EQ(Events(), Names{"a down"});
    machine_.AdvanceTime(900);
    held_.StillHolds(other_);
    EXPECT_EQ(Events(), Names{});
    machine_.AdvanceTime(200);
    EXPECT_EQ(Events(), Names{"a up"});
    machine_.AdvanceTime(5000);
    EXPECT_EQ(Events(), Names{});
}

TEST_F(HeldButtonsTest, AButtonThatIsNotEnabled_IsNotHeld) {
    a_.Enabled(false);
    held_.Press(a_, one_);
    held_.Release(one_);
    EXPECT_EQ(Events(), Names{});
}

TEST_F(HeldButtonsTest, AButtonDisabledWhileItIsHeld_IsReleasedAllTheSame) {
    held_.Press(a_, one_);
    a_.Enabled(false);
    held_.Release(one_);
    EXPECT_EQ(Events(), (Names{"a down", "a up"}));
}

/// A release is a stop, and goes ahead of a press that waits for its turn.
TEST_F(HeldButtonsTest, APressWhoseReleaseWentAhead_IsNeverPerformed) {
    machine_.pump.Post(CallKind::Press, [this] { held_.Press(a_, one_); });
    machine_.pump.Post(CallKind::Stop, [this] { held_.Release(one_); });
    machine_.pump.Post(CallKind::Press, [this] { held_.Press(b_, one_); });
    machine_.AdvanceTime(100);
    EXPECT_EQ(Events(), (Names{"a up", "b down"})) << "the next one is held";
}

TEST_F(HeldButtonsTest, ReleaseAll_ReleasesWhoeverHolds) {
    held_.Press(a_, one_);
    held_.ReleaseAll();
    EXPECT_EQ(Events(), (Names{"a down", "a up"}));
}

}  // namespace
}  // namespace kestrane

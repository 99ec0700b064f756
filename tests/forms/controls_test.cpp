#include "forms/controls.h"

#include <gtest/gtest.h>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/virtual_clock.h"
#include "support/virtual_pump.h"

namespace kestrane {
namespace {

class SampleForm : public Form {
public:
    explicit SampleForm(MessagePump& pump) : Form("frmSample", "Sample"), tmrTick(*this, "tmrTick", pump, 100, true) {}

    Label lblName{*this, "lblName", "first", Shown::No};
    Button btnGo{*this, "btnGo", "Go"};
    TextBox txtName{*this, "txtName"};
    CheckBox chkFlag{*this, "chkFlag", "Flag"};
    OptionButton radOne{*this, "radOne", "One", "numbers"};
    OptionButton radTwo{*this, "radTwo", "Two", "numbers"};
    OptionButton radRed{*this, "radRed", "Red", "colours"};
    ComboBox cbxList{*this, "cbxList"};
    ListView lvwTable{*this, "lvwTable"};
    ScrollBar hscrValue{*this, "hscrValue", 1, 9};
    Frame frameAll{*this, "frameAll", "All"};
    PictureBox pbField{*this, "pbField"};
    Menu mPopThing{*this, "mPopThing", "&Thing"};
    RichTextBox rtbText{*this, "rtbText"};
    Timer tmrTick;
};

/// Writes down what is announced: "lblName.Text", ".Visible" for the window itself.
class RecordingView final : public FormView {
public:
    std::vector<std::string> seen;
    std::function<void()> onChange;
    void Changed(Form&, std::string_view control, Property property) override {
        seen.push_back(std::string(control) + "." + std::string(PropertyName(property)));
        if (onChange) {
            onChange();
        }
    }
};

class Controls : public testing::Test {
protected:
    VirtualClock clock;
    VirtualPump pump{clock};
    SampleForm form{pump};
    RecordingView view;
    int fired = 0;
    std::function<void()> count = [this] { ++fired; };

    /// A loaded form with the view on it.
    void LoadAndWatch() {
        form.EnsureLoaded();
        form.Attach(view);
    }
};

using Seen = std::vector<std::string>;

TEST_F(Controls, EachProperty_Written_IsAnnouncedOnce) {
    struct Row {
        std::string announced;
        std::function<void(SampleForm&)> write;
    };
    const std::vector<Row> rows{
        {"lblName.Text", [](SampleForm& f) { f.lblName.Text("x"); }},
        {"lblName.Enabled", [](SampleForm& f) { f.lblName.Enabled(false); }},
        {"lblName.Visible", [](SampleForm& f) { f.lblName.Visible(true); }},
        {"lblName.BackColour", [](SampleForm& f) { f.lblName.BackColour(65535); }},
        {"lblName.ForeColour", [](SampleForm& f) { f.lblName.ForeColour(0xFF0000); }},
        {"lblName.ToolTip", [](SampleForm& f) { f.lblName.ToolTip("tip"); }},
        {"btnGo.Text", [](SampleForm& f) { f.btnGo.Text("Stop"); }},
        {"txtName.Text", [](SampleForm& f) { f.txtName.Text("x"); }},
        {"chkFlag.Checked", [](SampleForm& f) { f.chkFlag.Checked(true); }},
        {"radOne.Checked", [](SampleForm& f) { f.radOne.Checked(true); }},
        {"cbxList.ListItems",
         [](SampleForm& f) {
             f.cbxList.ListItems({"a", "b"});
         }},
        {"cbxList.ListIndex", [](SampleForm& f) { f.cbxList.ListIndex(1); }},
        {"lvwTable.ListItems", [](SampleForm& f) { f.lvwTable.ListItems({"Vega\t18:37"}); }},
        {"hscrValue.Value", [](SampleForm& f) { f.hscrValue.Value(5); }},
        {"hscrValue.Minimum", [](SampleForm& f) { f.hscrValue.Minimum(2); }},
        {"hscrValue.Maximum", [](SampleForm& f) { f.hscrValue.Maximum(8); }},
        {"frameAll.Text", [](SampleForm& f) { f.frameAll.Caption("Some"); }},
        {"pbField.BackColour", [](SampleForm& f) { f.pbField.BackColour(255); }},
        {"mPopThing.Checked", [](SampleForm& f) { f.mPopThing.Checked(true); }},
        {"tmrTick.Value", [](SampleForm& f) { f.tmrTick.Interval(150); }},
        {"tmrTick.Enabled", [](SampleForm& f) { f.tmrTick.Enabled(false); }},
        {".Text", [](SampleForm& f) { f.Caption("New"); }},
        {".Visible", [](SampleForm& f) { f.Show(); }},
    };
    LoadAndWatch();
    for (const Row& row : rows) {
        view.seen.clear();
        row.write(form);
        EXPECT_EQ(view.seen, Seen{row.announced});
        view.seen.clear();
        row.write(form);
        EXPECT_EQ(view.seen, Seen{}) << row.announced << ": the same value again announces nothing";
    }
}

TEST_F(Controls, EachProperty_Written_ReadsBack) {
    form.lblName.Text("12:34:56.7");
    form.lblName.Visible(true);
    form.lblName.Enabled(false);
    form.lblName.BackColour(65535);
    form.lblName.ForeColour(128);
    form.lblName.ToolTip("tip");
    form.cbxList.ListItems({"0.25x", "0.50x"});
    form.cbxList.ListIndex(1);
    form.tmrTick.Interval(150);
    EXPECT_EQ(form.lblName.Text(), "12:34:56.7");
    EXPECT_TRUE(form.lblName.Visible());
    EXPECT_FALSE(form.lblName.Enabled());
    EXPECT_EQ(form.lblName.BackColour(), 65535);
    EXPECT_EQ(form.lblName.ForeColour(), 128);
    EXPECT_EQ(form.lblName.ToolTip(), "tip");
    EXPECT_EQ(form.cbxList.ListItems(), (Seen{"0.25x", "0.50x"}));
    EXPECT_EQ(form.cbxList.ListIndex(), 1);
    EXPECT_EQ(form.cbxList.Text(), "0.50x");
    EXPECT_EQ(form.tmrTick.Interval(), 150);
    EXPECT_TRUE(form.tmrTick.Enabled());
}

TEST_F(Controls, Find_KnowsEachControlByNameAndKind) {
    EXPECT_EQ(form.Find("lblName"), &form.lblName);
    EXPECT_EQ(form.Find<Label>("lblName"), &form.lblName);
    EXPECT_EQ(form.Find<Button>("lblName"), nullptr);
    EXPECT_EQ(form.Find("lblNobody"), nullptr);
    std::set<std::string> names;
    for (const Control* control : form.Controls()) {
        EXPECT_TRUE(names.insert(control->Name()).second) << control->Name();
    }
    EXPECT_EQ(names.size(), 15U);
}

TEST_F(Controls, Values_OfANewControl_AreThoseItWasMadeWith) {
    EXPECT_EQ(form.lblName.Values().text, "first");
    EXPECT_FALSE(form.lblName.Values().visible);
    EXPECT_EQ(form.lblName.Values().backColour, kNormalBackColour);
    EXPECT_EQ(form.lblName.Values().foreColour, kNormalForeColour);
    EXPECT_EQ(form.cbxList.Values().listIndex, -1);
    EXPECT_EQ(form.hscrValue.Values().value, 1);
    EXPECT_FALSE(form.Loaded()) << "making a window does not load it";
}

TEST_F(Controls, Events_RunTheOneHandler) {
    form.btnGo.OnClick([&] { fired += 1; });
    form.btnGo.OnMouseDown([&] { fired += 10; });
    form.btnGo.OnMouseUp([&] { fired += 100; });
    form.lblName.OnDblClick([&] { fired += 1000; });
    form.btnGo.FireClick();
    form.btnGo.FireMouseDown();
    form.btnGo.FireMouseUp();
    form.lblName.FireDblClick();
    EXPECT_EQ(fired, 1111);
    form.btnGo.OnClick([&] { fired = 7; });
    form.btnGo.FireClick();
    EXPECT_EQ(fired, 7);
}

TEST_F(Controls, Event_WithoutHandler_DoesNothing) {
    form.btnGo.FireClick();
    form.txtName.Text("x");
    EXPECT_EQ(form.txtName.Text(), "x");
}

TEST_F(Controls, Event_OfADisabledControl_IsDropped) {
    form.btnGo.OnClick(count);
    form.btnGo.Enabled(false);
    form.btnGo.FireClick();
    EXPECT_EQ(fired, 0);
    form.btnGo.Enabled(true);
    form.btnGo.FireClick();
    EXPECT_EQ(fired, 1);
}

TEST_F(Controls, Handler_MayReplaceItself) {
    form.btnGo.OnClick([this] {
        form.btnGo.OnClick(count);
        ++fired;
    });
    form.btnGo.FireClick();
    form.btnGo.FireClick();
    EXPECT_EQ(fired, 2);
}

TEST_F(Controls, TextBox_NewText_FiresChangeEvenWhenDisabled) {
    form.txtName.OnChange(count);
    form.txtName.Text("a");
    form.txtName.Text("a");
    EXPECT_EQ(fired, 1);
    form.txtName.Enabled(false);
    form.txtName.Text("b");
    EXPECT_EQ(fired, 2);
}

TEST_F(Controls, CheckBox_NewState_FiresClick) {
    form.chkFlag.OnClick(count);
    form.chkFlag.Checked(false);
    EXPECT_EQ(fired, 0);
    form.chkFlag.Checked(true);
    form.chkFlag.Checked(true);
    form.chkFlag.Checked(false);
    EXPECT_EQ(fired, 2);
}

TEST_F(Controls, OptionButton_Checked_UnchecksOnlyItsGroup) {
    form.radRed.Checked(true);
    form.radOne.Checked(true);
    form.radOne.OnClick(count);
    form.radTwo.OnClick(count);
    form.radTwo.Checked(true);
    EXPECT_FALSE(form.radOne.Checked());
    EXPECT_TRUE(form.radTwo.Checked());
    EXPECT_TRUE(form.radRed.Checked());
    EXPECT_EQ(fired, 1) << "becoming unchecked is no click";
}

TEST_F(Controls, ComboBox_NewIndex_FiresClickAndGivesItsText) {
    form.cbxList.ListItems({"a", "b"});
    form.cbxList.OnClick(count);
    EXPECT_EQ(form.cbxList.Text(), "");
    form.cbxList.ListIndex(0);
    EXPECT_EQ(form.cbxList.Text(), "a");
    form.cbxList.ListIndex(0);
    EXPECT_EQ(fired, 1);
}

TEST_F(Controls, ComboBox_IndexOutsideTheList_SelectsNothing) {
    for (const std::int32_t index : {2, 99, -1, -7}) {
        form.cbxList.ListItems({"a", "b"});
        form.cbxList.ListIndex(1);
        form.cbxList.ListIndex(index);
        EXPECT_EQ(form.cbxList.ListIndex(), -1) << index;
        EXPECT_EQ(form.cbxList.Text(), "") << index;
    }
}

TEST_F(Controls, ComboBox_NewList_SelectsNothingAndFiresNothing) {
    form.cbxList.ListItems({"a", "b"});
    form.cbxList.ListIndex(1);
    form.cbxList.OnClick(count);
    form.cbxList.ListItems({"c"});
    EXPECT_EQ(form.cbxList.ListIndex(), -1);
    EXPECT_EQ(form.cbxList.Text(), "");
    EXPECT_EQ(fired, 0);
}

TEST_F(Controls, ScrollBar_KeepsItsValueInside) {
    const std::vector<std::pair<std::int32_t, std::int32_t>> rows{{0, 1}, {1, 1}, {5, 5}, {9, 9}, {10, 9}, {-5, 1}};
    for (const auto& [written, read] : rows) {
        form.hscrValue.Value(written);
        EXPECT_EQ(form.hscrValue.Value(), read) << written;
    }
    form.hscrValue.Value(9);
    form.hscrValue.OnChange(count);
    form.hscrValue.Maximum(6);
    EXPECT_EQ(form.hscrValue.Value(), 6);
    EXPECT_EQ(fired, 1);
}

TEST_F(Controls, RichTextBox_Append_AnnouncesTheGrowth) {
    LoadAndWatch();
    form.rtbText.Append("one", 255);
    form.rtbText.Append("", 255);
    form.rtbText.Append("two", 128);
    EXPECT_EQ(form.rtbText.Text(), "onetwo");
    EXPECT_EQ(form.rtbText.TextLength(), 6U);
    ASSERT_EQ(form.rtbText.Pieces().size(), 2U);
    EXPECT_EQ(form.rtbText.Pieces()[1].colour, 128);
    EXPECT_EQ(view.seen, (Seen{"rtbText.Appended", "rtbText.Appended"}));
}

TEST_F(Controls, RichTextBox_KeepLast_CutsTheFront) {
    struct Row {
        std::size_t kept;
        std::string text;
        std::size_t pieces;
    };
    const std::vector<Row> rows{{9, "onetwosix", 3}, {8, "netwosix", 3}, {6, "twosix", 2},
                                {4, "osix", 2},      {1, "x", 1},        {0, "", 0}};
    for (const Row& row : rows) {
        SampleForm fresh{pump};
        fresh.rtbText.Append("one", 1);
        fresh.rtbText.Append("two", 2);
        fresh.rtbText.Append("six", 3);
        fresh.rtbText.KeepLast(row.kept);
        EXPECT_EQ(fresh.rtbText.Text(), row.text);
        EXPECT_EQ(fresh.rtbText.TextLength(), row.text.size());
        EXPECT_EQ(fresh.rtbText.Pieces().size(), row.pieces) << row.kept;
    }
}

TEST_F(Controls, RichTextBox_DropFirst_TakesWholePieces_AndTheNumbersGoOn) {
    form.rtbText.Append("one", 1);
    form.rtbText.Append("two", 2);
    form.rtbText.DropFirst(1);
    EXPECT_EQ(form.rtbText.Text(), "two");
    EXPECT_EQ(form.rtbText.TextLength(), 3U);
    EXPECT_EQ(form.rtbText.LastNumber(), 2U);
}

TEST_F(Controls, RichTextBox_KeepLast_CutsNoCharacterInTwo) {
    struct Row {
        std::string first;
        std::size_t kept;
        std::string text;
        std::size_t pieces;
    };
    const std::vector<Row> rows{
        {"a\xc2\xb0z", 6, "\xc2\xb0zend", 2},  // a degree sign, before it
        {"a\xc2\xb0z", 5, "zend", 2},          // within it
        {"a\xc2\xb0z", 4, "zend", 2},          // after it
        {"\xf0\x9f\x94\xadz", 7, "zend", 2},   // four bytes, after the first of them
        {"\xf0\x9f\x94\xadz", 5, "zend", 2},   // before the last of them
        {"\xf0\x9f\x94\xadz", 8, "\xf0\x9f\x94\xadzend", 2},
        {"a\xe2\x82\xac", 4, "end", 1},  // the piece ends within the cut
        {"\x80\x80\x80\x80\x80\x80", 8,
         "\x80\x80"
         "end",
         2},  // no text: three bytes more at most
    };
    for (const Row& row : rows) {
        SampleForm fresh{pump};
        fresh.rtbText.Append(row.first, 1);
        fresh.rtbText.Append("end", 2);
        fresh.rtbText.KeepLast(row.kept);
        EXPECT_EQ(fresh.rtbText.Text(), row.text) << row.kept;
        EXPECT_EQ(fresh.rtbText.TextLength(), row.text.size()) << row.kept;
        EXPECT_EQ(fresh.rtbText.Pieces().size(), row.pieces) << row.kept;
    }
}

TEST_F(Controls, View_Detached_HearsNothing) {
    LoadAndWatch();
    form.Detach(view);
    form.lblName.Text("x");
    EXPECT_EQ(view.seen, Seen{});
}

TEST_F(Controls, View_MayDetachAnotherWhileItIsTold) {
    RecordingView second;
    LoadAndWatch();
    form.Attach(second);
    view.onChange = [&] { form.Detach(second); };
    form.lblName.Text("x");
    EXPECT_EQ(view.seen, Seen{"lblName.Text"});
    EXPECT_EQ(second.seen, Seen{});
}

TEST_F(Controls, PropertyName_NamesEachPropertyDifferently) {
    std::set<std::string_view> names;
    for (int property = 0; property <= static_cast<int>(Property::Placed); ++property) {
        EXPECT_TRUE(names.insert(PropertyName(static_cast<Property>(property))).second) << property;
    }
    EXPECT_EQ(PropertyName(Property::Text), "Text");
    EXPECT_EQ(PropertyName(Property::Loaded), "Loaded");
}

}  // namespace
}  // namespace kestrane

#include "ui/kept_controls.h"

#include <gtest/gtest.h>

#include "support/driver_fixture.h"

namespace kestrane {
namespace {

struct KeptForm : Form {
    KeptForm() : Form("KeptForm", "") {}
    ComboBox list{*this, "list"};
    ComboBox park{*this, "park"};
    CheckBox check{*this, "check", ""};
    TextBox text{*this, "text", "in the box"};
    TextBox number{*this, "number"};
    OptionButton yes{*this, "yes", "", "group"};
    OptionButton no{*this, "no", "", "group"};
    ScrollBar scroll{*this, "scroll", 0, 10};
};

constexpr SettingKey kList{"TestList", "1"};
constexpr SettingKey kPark{"TestPark", "0"};
constexpr SettingKey kParkText{"TestParkText", ""};
constexpr SettingKey kCheck{"TestCheck", "1"};
constexpr SettingKey kText{"TestText", ""};
constexpr SettingKey kNumber{"TestNumber", "5"};
constexpr SettingKey kOption{"TestOption", "False"};
constexpr SettingKey kScroll{"TestScroll", "3"};

class KeptControlsTest : public DriverFixture {
protected:
    void Begin(Keeps keeps) {
        Start();
        kept_ = std::make_unique<KeptControls>(form_, driver->persist, keeps);
        kept_->Add(KeptScroll{form_.scroll, kScroll, [this] { ++changes_; }});
        kept_->Add(KeptOption{form_.yes, form_.no, kOption, [this] { ++changes_; }});
        kept_->Add(KeptText{.control = form_.text, .key = kText, .changed = [this] { ++changes_; }});
        kept_->Add(KeptText{.control = form_.number,
                            .key = kNumber,
                            .good = [](std::string_view text) { return text != "bad"; },
                            .whenEmpty = "7"});
        kept_->Add(KeptCheck{form_.check, kCheck, [this] { ++changes_; }, [this] { return mayClear_; }});
        kept_->Add(KeptList{.control = form_.list, .key = kList, .items = [] {
                                return std::vector<std::string>{"a", "b"};
                            }});
        kept_->Add(KeptList{.control = form_.park,
                            .key = kPark,
                            .items =
                                [] {
                                    return std::vector<std::string>{"Last Parked", "Park 1", "Park 2", "Park 3",
                                                                    "Park 4",      "Park 5", "Alt/Az"};
                                },
                            .text = kParkText});
    }
    std::string Stored(const SettingKey& key) { return driver->persist.ReadIniValue(key.name, "nothing"); }

    KeptForm form_;
    std::unique_ptr<KeptControls> kept_;
    int changes_ = 0;
    bool mayClear_ = true;
};

TEST_F(KeptControlsTest, Fill_ShowsDefaultsWhereNothingIsStored) {
    Begin(Keeps::AtOnce);
    kept_->Fill();
    EXPECT_EQ(form_.list.Text(), "b");
    EXPECT_TRUE(form_.check.Checked());
    EXPECT_EQ(form_.text.Text(), "in the box");
    EXPECT_EQ(form_.number.Text(), "5");
    EXPECT_TRUE(form_.no.Checked());
    EXPECT_EQ(form_.scroll.Value(), 3);
    EXPECT_FALSE(form_.IsFilling());
}

TEST_F(KeptControlsTest, Fill_ShowsWhatIsStoredAndWritesNothing) {
    Seed({{"TestList", "9"},
          {"TestCheck", "0"},
          {"TestText", ""},
          {"TestNumber", ""},
          {"TestOption", "True"},
          {"TestScroll", "99"}});
    Begin(Keeps::AtOnce);
    const std::size_t mark = log.size();
    kept_->Fill();
    EXPECT_EQ(form_.list.Text(), "b");  // the last entry for an index beyond the list
    EXPECT_FALSE(form_.check.Checked());
    EXPECT_EQ(form_.text.Text(), "");
    EXPECT_EQ(form_.number.Text(), "7");
    EXPECT_TRUE(form_.yes.Checked());
    EXPECT_EQ(form_.scroll.Value(), 10);
    for (std::size_t i = mark; i < log.size(); ++i) {
        EXPECT_NE(log[i].origin, "WriteIniValue") << log[i].message;
    }
}

TEST_F(KeptControlsTest, AtOnce_EachChangeIsKept) {
    Begin(Keeps::AtOnce);
    kept_->Fill();
    changes_ = 0;
    form_.list.ListIndex(0);
    form_.park.ListIndex(2);
    form_.check.Checked(false);
    form_.text.Text("new");
    form_.number.Text("bad");
    form_.yes.Checked(true);
    form_.scroll.Value(4);
    EXPECT_EQ(Stored(kList), "0");
    EXPECT_EQ(Stored(kPark), "2");
    EXPECT_EQ(Stored(kParkText), "Park 2");
    EXPECT_EQ(Stored(kCheck), "0");
    EXPECT_EQ(Stored(kText), "new");
    EXPECT_EQ(Stored(kNumber), "5");  // a bad text is shown and not kept
    EXPECT_EQ(Stored(kOption), "True");
    EXPECT_EQ(Stored(kScroll), "4");
    EXPECT_EQ(changes_, 4);
    form_.list.ListIndex(-1);
    EXPECT_EQ(Stored(kList), "0");
}

TEST_F(KeptControlsTest, WhileTheWindowIsFilled_NothingIsKept) {
    Begin(Keeps::AtOnce);
    kept_->Fill();
    {
        const FillsForm filling(form_);
        form_.text.Text("new");
        form_.check.Checked(false);
    }
    EXPECT_EQ(Stored(kText), "in the box");
    EXPECT_EQ(Stored(kCheck), "1");
}

TEST_F(KeptControlsTest, ABoxThatMayNotBeCleared_IsTickedAgain) {
    Begin(Keeps::AtOnce);
    kept_->Fill();
    mayClear_ = false;
    form_.check.Checked(false);
    EXPECT_TRUE(form_.check.Checked());
    EXPECT_EQ(Stored(kCheck), "1");
}

TEST_F(KeptControlsTest, WhenStored_AllIsKeptAtOnceAndNothingBefore) {
    Begin(Keeps::WhenStored);
    kept_->Fill();
    form_.list.ListIndex(0);
    form_.park.ListIndex(3);
    form_.check.Checked(false);
    form_.text.Text("new");
    form_.yes.Checked(true);
    form_.scroll.Value(4);
    EXPECT_EQ(Stored(kText), "in the box");
    EXPECT_EQ(Stored(kCheck), "1");
    kept_->Store();
    EXPECT_EQ(Stored(kList), "0");
    EXPECT_EQ(Stored(kPark), "3");
    EXPECT_EQ(Stored(kParkText), "Park 3");
    EXPECT_EQ(Stored(kCheck), "0");
    EXPECT_EQ(Stored(kText), "new");
    EXPECT_EQ(Stored(kOption), "True");
    EXPECT_EQ(Stored(kScroll), "4");
}

TEST_F(KeptControlsTest, AParkPosition_IsNamedByItsTextThenByItsIndex) {
    struct Row {
        std::string index, text, selected;
    };
    const Row rows[] = {
        {"2", "", "Park 2"},         {"2", "Park 4", "Park 4"}, {"2", "Alt/Az  ( 1.00 | 2.00 )", "Alt/Az"},
        {"2", "Altitude", "Alt/Az"}, {"2", "Parc 4", "Park 2"}, {"5", "", "Alt/Az"},
        {"5", "Park 5", "Park 5"},   {"5", "Parc 5", "Park 5"}, {"6", "", "Alt/Az"},
    };
    Begin(Keeps::AtOnce);
    for (const Row& row : rows) {
        driver->persist.Write(kPark, row.index);
        driver->persist.Write(kParkText, row.text);
        kept_->Fill();
        EXPECT_EQ(form_.park.Text(), row.selected) << row.index << " " << row.text;
    }
}

}  // namespace
}  // namespace kestrane

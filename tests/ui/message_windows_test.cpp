#include "ui/message_windows.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/driver_fixture.h"
#include "support/onlooker.h"

namespace kestrane {
namespace {

class MessageWindowsTest : public DriverFixture {
protected:
    void SetUp() override { Start(); }
    void TearDown() override {
        Message().Detach(view);
        Question().Detach(view);
        DriverFixture::TearDown();
    }
    frmMessage& Message() { return driver->windows.message; }
    frmAskMessage& Question() { return driver->windows.askMessage; }
    void Show(const std::string& text) { driver->messageBoxes.Show(text, "Title of " + text, MessageIcon::Critical); }
    /// What a person does while the question is open.
    MessageAnswer AskWhile(const std::function<void()>& does) {
        machine.pump.Post(CallKind::Press, does);
        return driver->messageBoxes.Ask("Sure?", "Title", {});
    }
    using Texts = std::vector<std::string>;
    /// What a person reads who closes each message.
    Texts Read() {
        Texts texts;
        while (Message().Visible()) {
            texts.push_back(Message().Caption() + ": " + Message().lblMessage.Text());
            Message().btnOK.FireClick();
        }
        return texts;
    }
    Onlooker view;
};

TEST_F(MessageWindowsTest, MessageBox_IsShownToViews_AndHoldsNobodyUp) {
    Message().Attach(view);
    Show("one");
    EXPECT_TRUE(Message().Visible());
    EXPECT_EQ(Read(), Texts{"Title of one: one"});
    EXPECT_EQ(machine.messageBoxes.Texts(), Texts{"one"}) << "whoever runs the process reads it too";
    EXPECT_TRUE(LoggedAs("MessageBox", 2, "one"));
}

TEST_F(MessageWindowsTest, Messages_ComeOneAfterTheOther_AndTheSameOnlyOnce) {
    Message().Attach(view);
    for (const char* text : {"one", "two", "one", "three", "two"}) {
        Show(text);
    }
    EXPECT_EQ(Read(), (Texts{"Title of one: one", "Title of two: two", "Title of three: three"}));
    Show("one");
    EXPECT_EQ(Read(), Texts{"Title of one: one"});
}

TEST_F(MessageWindowsTest, MessageThatAViewCloses_CountsAsRead) {
    Message().Attach(view);
    Show("one");
    Show("two");
    Message().Hide();
    EXPECT_EQ(Read(), Texts{"Title of two: two"});
}

TEST_F(MessageWindowsTest, Messages_AreKeptUpToALimit) {
    Message().Attach(view);
    for (int i = 0; i < 100; ++i) {
        Show(std::to_string(i));
    }
    const Texts texts = Read();
    EXPECT_EQ(texts.size(), 1 + MessageWindows::kMostWaiting);
    EXPECT_EQ(texts.back(), "Title of 20: 20");
}

TEST_F(MessageWindowsTest, WithoutAView_NothingIsShown_AndAQuestionIsCancelled) {
    machine.messageBoxes.answers = {MessageAnswer::Ok, MessageAnswer::Cancel};
    Show("one");
    EXPECT_FALSE(Message().Visible());
    EXPECT_EQ(driver->messageBoxes.Ask("Sure?", "Title", {}), MessageAnswer::Cancel);
    EXPECT_FALSE(Question().Visible());
}

TEST_F(MessageWindowsTest, Question_WaitsForItsAnswer) {
    Question().Attach(view);
    const auto ok = [&] {
        EXPECT_EQ(Question().Caption(), "Title");
        EXPECT_EQ(Question().lblMessage.Text(), "Sure?");
        Question().btnOK.FireClick();
    };
    EXPECT_EQ(AskWhile(ok), MessageAnswer::Ok);
    EXPECT_EQ(AskWhile([&] { Question().btnCancel.FireClick(); }), MessageAnswer::Cancel);
    EXPECT_EQ(AskWhile([&] { Question().Hide(); }), MessageAnswer::Cancel);
    EXPECT_EQ(AskWhile([&] { Question().Detach(view); }), MessageAnswer::Cancel);
    EXPECT_TRUE(machine.messageBoxes.shown.empty()) << "a person has seen it already";
}

TEST_F(MessageWindowsTest, OkThatComesAfterCancel_AnswersNothing) {
    Question().Attach(view);
    const auto both = [&] {
        Question().btnCancel.FireClick();
        Question().btnOK.FireClick();
    };
    EXPECT_EQ(AskWhile(both), MessageAnswer::Cancel);
}

TEST_F(MessageWindowsTest, QuestionWhileAnotherIsOpen_IsCancelled) {
    Question().Attach(view);
    const auto another = [&] {
        EXPECT_EQ(driver->messageBoxes.Ask("Another?", "Title", {}), MessageAnswer::Cancel);
        EXPECT_EQ(Question().lblMessage.Text(), "Sure?");
        Question().btnOK.FireClick();
    };
    EXPECT_EQ(AskWhile(another), MessageAnswer::Ok);
}

TEST_F(MessageWindowsTest, EndOfTheDriver_ClosesBoth) {
    Message().Attach(view);
    Question().Attach(view);
    Show("one");
    Show("two");
    EXPECT_EQ(AskWhile([&] { driver->windows.UnloadAtShutdown(); }), MessageAnswer::Cancel);
    EXPECT_FALSE(Message().Visible());
}

}  // namespace
}  // namespace kestrane

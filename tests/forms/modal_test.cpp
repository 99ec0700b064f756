#include "forms/modal.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "forms/controls.h"
#include "kernel/base/log.h"
#include "support/kept_log.h"
#include "support/onlooker.h"
#include "support/virtual_clock.h"
#include "support/virtual_pump.h"

namespace kestrane {
namespace {

class Question : public Form {
public:
    Question() : Form("frmQuestion", "Question") {}
    Button btnOK{*this, "btnOK", "OK"};
    bool accepted = false;
};

class ModalTest : public testing::Test {
protected:
    void SetUp() override {
        form.btnOK.OnClick([this] {
            form.accepted = true;
            form.Hide();
        });
    }
    /// Something that happens while the window is open.
    void After(std::int32_t milliseconds, std::function<void()> action) {
        timer = pump.CreateTimer([this, action = std::move(action)] {
            timer->SetEnabled(false);
            happenedAt = clock.Elapsed();
            action();
        });
        timer->SetInterval(milliseconds);
        timer->SetEnabled(true);
    }

    int TimesLogged(std::string_view message) const {
        return static_cast<int>(std::ranges::count(log.messages, LogLine{"frmQuestion", 1, std::string(message)}));
    }

    KeptLog log;
    VirtualClock& clock = log.clock;
    VirtualPump pump{clock};
    Waits waits{clock, pump};
    bool heldUp = false;
    Modal modal{waits, log.log, [this] { return heldUp; }};
    Question form;
    Onlooker view;
    std::unique_ptr<PumpTimer> timer;
    std::int64_t happenedAt = -1;
};

TEST_F(ModalTest, CallerWaits_WhileOthersRun_UntilThePersonAnswers) {
    form.Attach(view);
    After(5'000, [&] { form.btnOK.FireClick(); });
    modal.ShowModal(form);
    EXPECT_TRUE(form.accepted);
    EXPECT_FALSE(form.Visible());
    EXPECT_EQ(happenedAt, 5'000);
    EXPECT_LT(clock.Elapsed(), 5'050);
    EXPECT_TRUE(log.messages.empty());
    form.Detach(view);
}

/// The person may never answer, and the mount would go on moving.
TEST_F(ModalTest, AboveACallThatHasToLookAtTheMount_NothingOpens) {
    form.Attach(view);
    heldUp = true;
    modal.ShowModal(form);
    EXPECT_FALSE(form.accepted);
    const std::string why = "The mount moves ahead of a park, and nothing may wait meanwhile: the question ";
    EXPECT_EQ(TimesLogged(why + "counts as cancelled"), 1);
    modal.ShowModal(form, [&] { form.btnOK.FireClick(); });
    EXPECT_TRUE(form.accepted);
    EXPECT_EQ(TimesLogged(why + "gets the answer that came with the command"), 1);
    EXPECT_FALSE(form.Visible());
    EXPECT_EQ(clock.Elapsed(), 0);
    form.Detach(view);
}

TEST_F(ModalTest, CallsThatWaitLong_StartUnderAQuestionOfABriefCall) {
    form.Attach(view);
    After(60'000, [&] { form.btnOK.FireClick(); });
    std::int64_t startedAt = -1;
    pump.PostAt(1'000, CallKind::WaitsLong, [&] { startedAt = clock.Elapsed(); });
    pump.Post(CallKind::Brief, [&] { modal.ShowModal(form); });
    pump.AdvanceTime(90'000);
    EXPECT_GE(startedAt, 1'000);
    EXPECT_LT(startedAt, 1'100);
    EXPECT_TRUE(form.accepted);
    form.Detach(view);
}

TEST_F(ModalTest, WindowThatIsUnloaded_IsClosed) {
    form.Attach(view);
    After(100, [&] { form.Unload(); });
    modal.ShowModal(form);
    EXPECT_FALSE(form.accepted);
    form.Detach(view);
}

TEST_F(ModalTest, WithoutAView_NobodyIsAsked_AndThatMeansCancel) {
    modal.ShowModal(form);
    EXPECT_EQ(clock.Elapsed(), 0);
    EXPECT_FALSE(form.accepted);
    EXPECT_FALSE(form.Visible());
    EXPECT_EQ(TimesLogged("No window can be shown: the question counts as cancelled"), 1);
}

TEST_F(ModalTest, WithoutAView_TheOpenersAnswerHolds) {
    modal.ShowModal(form, [&] { form.btnOK.FireClick(); });
    EXPECT_TRUE(form.accepted);
    EXPECT_FALSE(form.Visible());
    EXPECT_EQ(TimesLogged("No window can be shown: the question gets the answer that came with the command"), 1);
}

TEST_F(ModalTest, LastViewThatGoes_LeavesNobodyToAsk) {
    form.Attach(view);
    After(3'000, [&] { form.Detach(view); });
    modal.ShowModal(form);
    EXPECT_FALSE(form.accepted);
    EXPECT_FALSE(form.Visible());
    EXPECT_LT(clock.Elapsed(), 3'050);
    EXPECT_EQ(TimesLogged("No window can be shown: the question counts as cancelled"), 1);
}

}  // namespace
}  // namespace kestrane

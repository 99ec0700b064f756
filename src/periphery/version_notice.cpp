#include "periphery/version_notice.h"

#include <utility>

namespace kestrane {
namespace {

constexpr std::int32_t kBlinkMs = 1000;
constexpr std::string_view kNotice = "Click Here for New Driver: v";

}  // namespace

VersionNotice::VersionNotice(VersionNoticeNeeds needs) : needs_(std::move(needs)) {
    needs_.timer.OnTick([this] { OnTick(); });
}

void VersionNotice::Begin() {
    if (!needs_.state.g_bNewVersion || std::exchange(shown_, true)) {
        return;
    }
    ownText_ = needs_.label.Text();
    noticePhase_ = false;
    OnTick();
    needs_.timer.Interval(kBlinkMs);
    needs_.timer.Enabled(true);
}

bool VersionNotice::TakesClick() {
    if (shown_) {
        needs_.openPage();
    }
    return shown_;
}

void VersionNotice::OnTick() {
    if (shown_) {
        noticePhase_ = !noticePhase_;
        needs_.label.Text(noticePhase_ ? std::string(kNotice) + needs_.state.g_sLatestVersion : ownText_);
    }
}

}  // namespace kestrane

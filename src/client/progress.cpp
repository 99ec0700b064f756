#include "client/progress.h"

#include <algorithm>
#include <cmath>

namespace kestrane::client {

void Progress::Show(double fraction, const std::string& words, double now) {
    const bool isKnown = fraction >= 0.0;
    farthest_ = std::max(farthest_, std::clamp(fraction, 0.0, 1.0));
    const double bounded = farthest_;
    const std::string percent = isKnown ? std::to_string(std::lround(bounded * 100.0)) + "%" : "";
    if (!isTerminal_) {
        if (!anyShown_ || now >= nextLine_) {
            out_ << (isKnown ? percent + "  " : "") << words << std::endl;
            nextLine_ = now + lineEvery_;
        }
        anyShown_ = true;
        return;
    }
    constexpr std::size_t kWidth = 30;
    std::string bar(kWidth, ' ');
    if (isKnown) {
        std::fill_n(bar.begin(), std::lround(bounded * static_cast<double>(kWidth)), '=');
    } else {
        bar[static_cast<std::size_t>(std::llround(now * 5.0)) % kWidth] = '=';
    }
    out_ << "\r\x1b[K[" << bar << "] " << (isKnown ? percent + "  " : "") << words << std::flush;
    isLineOpen_ = true;
}

void Progress::Finish() {
    if (isLineOpen_) {
        out_ << std::endl;
    }
    isLineOpen_ = false;
    anyShown_ = false;
    farthest_ = 0.0;
}

}  // namespace kestrane::client

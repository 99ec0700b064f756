#include "storms/stormy_line.h"

#include <algorithm>
#include <limits>
#include <memory>

namespace kestrane {
namespace {

constexpr std::uint32_t kLongestDelayMs = 3'000;
constexpr std::size_t kTailLines = 2000;

/// Makes another digit of one of the text's digits; a text without digits stays as it is.
void ChangeADigit(std::string& text, Chance& chance) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const auto digits = static_cast<std::uint32_t>(std::ranges::count_if(text, isDigit));
    if (digits == 0) {
        return;
    }
    std::uint32_t left = chance.Below(digits);
    for (char& c : text) {
        if (isDigit(c) && left-- == 0) {
            c = static_cast<char>('0' + (c - '0' + 1 + static_cast<int>(chance.Below(9))) % 10);
            return;
        }
    }
}

void HitWithNoise(std::string& text, Chance& chance) {
    text[chance.Below(static_cast<std::uint32_t>(text.size()))] = static_cast<char>(chance.Below(256));
}

}  // namespace

bool Chance::Strikes() {
    const bool strikes = static_cast<double>(random_()) < probability_ * 4294967296.0;
    strikes_ += strikes ? 1 : 0;
    return strikes;
}

class StormyLine::ReplyStorm final : public Misbehaviour {
public:
    explicit ReplyStorm(Chance& chance) : chance_(chance) {}

    void Change(SimulatedReply& reply) override {
        if (reply.parts.empty()) {
            return;
        }
        if (chance_.Strikes()) {
            Strike(reply);
        } else {
            // The short forms, with one part less, are refused.
            const auto colons = std::ranges::count(reply.parts.front().bytes, ':');
            goodRa += reply.name == "GR" && colons == 2 ? 1 : 0;
            goodDec += reply.name == "GD" && colons == 1 ? 1 : 0;
        }
    }

    int goodRa = 0;
    int goodDec = 0;

private:
    void Strike(SimulatedReply& reply) {
        std::string& bytes = reply.parts.front().bytes;
        switch (chance_.Below(7)) {
            case 0:
                reply.parts.clear();
                break;
            case 1:
                reply.parts.front().delayMs += static_cast<std::int32_t>(chance_.Below(kLongestDelayMs)) + 1;
                break;
            case 2:
                reply.parts.resize(1);
                bytes.resize(chance_.Below(static_cast<std::uint32_t>(bytes.size() + 1)));
                break;
            case 3:
                reply.parts.push_back(reply.parts.front());
                break;
            case 4:
                if (!bytes.empty()) {
                    HitWithNoise(bytes, chance_);
                }
                break;
            case 5:
                ChangeADigit(bytes, chance_);
                break;
            default:
                bytes.insert(bytes.begin(), static_cast<char>('X' + static_cast<int>(chance_.Below(3))));
                break;
        }
    }

    Chance& chance_;
};

StormyLine::StormyLine(MountSimulator& mount, Chance& chance) : mount_(mount), chance_(chance) {
    auto replies = std::make_unique<ReplyStorm>(chance);
    replies_ = replies.get();
    mount.Add(std::move(replies));
}

int StormyLine::GoodRaReplies() const {
    return replies_->goodRa;
}

int StormyLine::GoodDecReplies() const {
    return replies_->goodDec;
}

void StormyLine::Write(std::string_view bytes) {
    if (onWrite) {
        onWrite(bytes);
    }
    Mark("> " + std::string(bytes));
    std::string text(bytes);
    const bool isStop = bytes.find(":Q") != std::string_view::npos;
    lostStop_ = lostStop_ || (isStop && cut_);
    if (!text.empty() && chance_.Strikes()) {
        switch (chance_.Below(forges ? 5 : 3)) {
            case 0:
                Mark("  lost");
                lostStop_ = lostStop_ || isStop;
                return;
            case 1:
                text.resize(chance_.Below(static_cast<std::uint32_t>(text.size())));
                break;
            case 2:
                text += text;
                break;
            case 3:
                HitWithNoise(text, chance_);
                forged_ = true;
                break;
            default:
                ChangeADigit(text, chance_);
                forged_ = true;
                break;
        }
    }
    if (text != bytes) {
        Mark("  arrives as " + text);
        lostStop_ = lostStop_ || isStop;
    }
    cut_ = text.empty() ? cut_ : text.back() != '#';
    mount_.Write(text);
}

std::string StormyLine::Read(std::size_t maxCount) {
    std::string text = mount_.Read(maxCount);
    MarkRead(text);
    return text;
}

void StormyRoad::MarkRead(std::string_view text) {
    if (!clock_ || text.empty()) {
        return;
    }
    if (reading_) {
        tail_.back() += text;
    } else {
        Mark("< " + std::string(text));
        reading_ = true;
    }
}

void StormyRoad::Mark(std::string_view text) {
    if (!clock_) {
        return;
    }
    reading_ = false;
    tail_.push_back(std::to_string(clock_->Elapsed()) + " " + std::string(text));
    if (tail_.size() > kTailLines) {
        tail_.pop_front();
    }
}

void StormyLine::Opened() {
    mount_.Read(std::numeric_limits<std::size_t>::max());
}

}  // namespace kestrane

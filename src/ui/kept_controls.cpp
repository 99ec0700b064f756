#include "ui/kept_controls.h"

#include <algorithm>
#include <utility>

#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "ui/colours.h"

namespace kestrane {
namespace {

constexpr std::string_view kUserPlace = "Alt";
constexpr std::int32_t kUserPlaceIndex = 6;
constexpr std::int32_t kOldUserPlaceIndex = 5;  ///< its index in settings that keep no text beside it

std::int32_t Rounded(double number) {
    constexpr double kLimit = 1e6;
    return RoundHalfEven(std::clamp(number, -kLimit, kLimit));
}

void RunIfSet(const std::function<void()>& run) {
    if (run) {
        run();
    }
}

}  // namespace

std::int32_t NumberOf(std::string_view text, Log& log) {
    return Rounded(Val_Global(text, log));
}

std::int32_t StoredNumber(Persist& persist, const SettingKey& key) {
    return Rounded(persist.ReadNumber(key));
}

void SelectParkPosition(ComboBox& list, std::string_view text, std::int32_t index) {
    const std::vector<std::string>& items = list.ListItems();
    const auto named = std::ranges::find_if(items, [&](const std::string& item) {
        return !text.empty() && (item == text || (text.starts_with(kUserPlace) && item.starts_with(kUserPlace)));
    });
    const bool isOldUserPlace = text.empty() && index == kOldUserPlaceIndex;
    list.ListIndex(named != items.end() ? static_cast<std::int32_t>(named - items.begin())
                   : isOldUserPlace     ? kUserPlaceIndex
                                        : index);
}

void KeptControls::Add(KeptList row) {
    lists_.push_back(std::move(row));
    lists_.back().control.OnClick([this, &kept = lists_.back()] {
        if (kept.control.ListIndex() >= 0) {
            OnChange(kept);
        } else {
            RunIfSet(kept.changed);
        }
    });
}

void KeptControls::Add(KeptCheck row) {
    checks_.push_back(std::move(row));
    checks_.back().control.OnClick([this, &kept = checks_.back()] { OnCheck(kept); });
}

void KeptControls::Add(KeptText row) {
    texts_.push_back(std::move(row));
    texts_.back().control.OnChange([this, &kept = texts_.back()] {
        const bool good = !kept.good || kept.good(kept.control.Text());
        if (kept.good) {
            Paint(kept.control, good ? kNormalColours : kWarningColours);
        }
        if (good) {
            OnChange(kept);
        }
    });
}

void KeptControls::Add(KeptOption row) {
    options_.push_back(std::move(row));
    const auto onClick = [this, &kept = options_.back()] { OnChange(kept); };
    options_.back().whenTrue.OnClick(onClick);
    options_.back().whenFalse.OnClick(onClick);
}

void KeptControls::Add(KeptScroll row) {
    scrolls_.push_back(std::move(row));
    scrolls_.back().control.OnChange([this, &kept = scrolls_.back()] { OnChange(kept); });
}

template <class Row>
void KeptControls::OnChange(const Row& row) {
    if (keeps_ == Keeps::AtOnce && !form_.IsFilling()) {
        Write(row);
    }
    RunIfSet(row.changed);
}

/// The answer of the person counts, also where the box was filled anew meanwhile.
void KeptControls::OnCheck(const KeptCheck& row) {
    if (row.mayClear && !form_.IsFilling() && !row.control.Checked()) {
        const bool clears = row.mayClear();
        const FillsForm filling(form_);
        row.control.Checked(!clears);
    }
    OnChange(row);
}

void KeptControls::Fill() {
    const FillsForm filling(form_);
    const auto showAll = [this](const auto& rows) {
        for (const auto& row : rows) {
            Show(row);
        }
    };
    showAll(lists_);
    showAll(checks_);
    showAll(texts_);
    showAll(options_);
    showAll(scrolls_);
}

void KeptControls::Store() {
    const auto writeAll = [this](const auto& rows) {
        for (const auto& row : rows) {
            Write(row);
        }
    };
    writeAll(lists_);
    writeAll(checks_);
    writeAll(texts_);
    writeAll(options_);
    writeAll(scrolls_);
}

void KeptControls::Show(const KeptList& row) {
    if (row.items) {
        row.control.ListItems(row.items());
    }
    const auto last = static_cast<std::int32_t>(row.control.ListItems().size()) - 1;
    const std::int32_t index = std::min(StoredNumber(persist_, row.key), last);
    if (row.text) {
        SelectParkPosition(row.control, persist_.Read(*row.text), index);
    } else {
        row.control.ListIndex(index);
    }
    RunIfSet(row.changed);
}

void KeptControls::Show(const KeptCheck& row) {
    row.control.Checked(persist_.ReadFlag(row.key));
}

void KeptControls::Show(const KeptText& row) {
    const std::string fallback = row.key.fallback.empty() ? row.control.Text() : std::string(row.key.fallback);
    const std::string stored = persist_.ReadIniValue(row.key.name, fallback);
    row.control.Text(stored.empty() ? row.whenEmpty : stored);
}

void KeptControls::Show(const KeptOption& row) {
    const std::string stored = persist_.Read(row.key);
    const bool value = (stored.empty() ? row.key.fallback : stored) == "True";
    (value ? row.whenTrue : row.whenFalse).Checked(true);
}

void KeptControls::Show(const KeptScroll& row) {
    row.control.Value(StoredNumber(persist_, row.key));
}

void KeptControls::Write(const KeptList& row) {
    if (row.control.ListIndex() < 0) {
        return;
    }
    persist_.Write(row.key, std::to_string(row.control.ListIndex()));
    if (row.text) {
        persist_.Write(*row.text, row.control.Text());
    }
}

void KeptControls::Write(const KeptCheck& row) {
    persist_.Write(row.key, ZeroOrOne(row.control.Checked()));
}

void KeptControls::Write(const KeptText& row) {
    persist_.Write(row.key, row.control.Text());
}

void KeptControls::Write(const KeptOption& row) {
    persist_.Write(row.key, TrueFalse(row.whenTrue.Checked()));
}

void KeptControls::Write(const KeptScroll& row) {
    persist_.Write(row.key, std::to_string(row.control.Value()));
}

}  // namespace kestrane

#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "forms/controls.h"
#include "settings/persist.h"

namespace kestrane {

/// A check box whose state is kept as "0" or "1".
struct KeptCheck {
    CheckBox& control;
    SettingKey key;
    std::function<void()> changed = {};  ///< what else happens at a change, the driver's own included
    std::function<bool()> mayClear =
        {};  ///< asked when a person clears the box, which is ticked again where it is false
};

/// A text box whose text is kept as it is.
struct KeptText {
    TextBox& control;
    SettingKey key;
    std::function<bool(std::string_view text)> good = {};  ///< a text for which it is false is marked, not kept
    std::function<void()> changed = {};                    ///< what else happens at a change to a good text
    std::string_view whenEmpty = {};                       ///< shown where the stored text is empty
};

/// A list of which the index of the selected entry is kept.
struct KeptList {
    ComboBox& control;
    SettingKey key;
    std::function<std::vector<std::string>()> items = {};  ///< the entries; empty: somebody else fills the list
    std::optional<SettingKey> text = {};                   ///< where the selected text is kept beside its index
    std::function<void()> changed = {};                    ///< what else happens at a change, and at each filling
};

/// Two option buttons of which one is checked, kept as "True" or "False".
struct KeptOption {
    OptionButton& whenTrue;
    OptionButton& whenFalse;
    SettingKey key;
    std::function<void()> changed = {};  ///< what else happens at a change, the driver's own included
};

/// A scroll bar whose value is kept.
struct KeptScroll {
    ScrollBar& control;
    SettingKey key;
    std::function<void()> changed = {};  ///< what else happens at a change, the driver's own included
};

/// When the value of a control becomes a setting: as soon as a person has changed it, or when `Store` is called, as a
/// dialog does that has an OK.
enum class Keeps { AtOnce, WhenStored };

/// Ties the controls of one window to their settings. It takes the event of each control that fires at a change. While
/// somebody fills the window (`FillsForm`) nothing is kept. It must not outlive the window. Logic thread only.
class KeptControls {
public:
    KeptControls(Form& form, Persist& persist, Keeps keeps) : form_(form), persist_(persist), keeps_(keeps) {}
    KeptControls(const KeptControls&) = delete;
    KeptControls& operator=(const KeptControls&) = delete;

    void Add(KeptList row);
    void Add(KeptCheck row);
    void Add(KeptText row);
    void Add(KeptOption row);
    void Add(KeptScroll row);

    /// Shows every setting in its control and keeps nothing: first the lists, then check boxes, texts, options and
    /// scroll bars. A control that has no setting yet gets the default of its key, or keeps its text where the key says
    /// so. An index beyond the list selects its last entry.
    void Fill();
    /// Writes what every control shows, good or not.
    void Store();

private:
    void Show(const KeptList& row);
    void Show(const KeptCheck& row);
    void Show(const KeptText& row);
    void Show(const KeptOption& row);
    void Show(const KeptScroll& row);
    void Write(const KeptList& row);
    void Write(const KeptCheck& row);
    void Write(const KeptText& row);
    void Write(const KeptOption& row);
    void Write(const KeptScroll& row);
    void OnCheck(const KeptCheck& row);
    template <class Row>
    void OnChange(const Row& row);

    Form& form_;
    Persist& persist_;
    Keeps keeps_;
    // A deque, since the handlers of the controls point to their rows.
    std::deque<KeptList> lists_;
    std::deque<KeptCheck> checks_;
    std::deque<KeptText> texts_;
    std::deque<KeptOption> options_;
    std::deque<KeptScroll> scrolls_;
};

/// A text as a number, rounded; one that is no number counts as 0. The result is within plus and minus 1e6.
std::int32_t NumberOf(std::string_view text, Log& log);
/// The same of the text under a key.
std::int32_t StoredNumber(Persist& persist, const SettingKey& key);

/// Selects the entry of a list of park positions that the settings name by its text, else the one with the index, else
/// none. The text of the user's own place begins with "Alt" and goes on with its angles, so only its beginning counts.
void SelectParkPosition(ComboBox& list, std::string_view text, std::int32_t index);

}  // namespace kestrane

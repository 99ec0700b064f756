#include "ui/goto_dialog.h"

#include <algorithm>
#include <utility>

#include "kernel/base/application_info.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"

namespace kestrane {
namespace {

constexpr std::string_view kUnparkFirst = "Please Unpark mount first!";
constexpr std::string_view kBetweenFields = " \t:*hmsd'\"\xC2\xB0";  // the last two bytes are the sign of degrees
constexpr std::string_view kDigits = "0123456789.,";
constexpr double kSixty = 60.0;
constexpr double kPerUnit = 3600.0;

std::vector<std::string> FieldsOf(std::string_view text) {
    std::vector<std::string> fields;
    std::size_t begin = text.find_first_not_of(kBetweenFields);
    while (begin != std::string_view::npos) {
        const std::size_t end = text.find_first_of(kBetweenFields, begin);
        fields.emplace_back(text.substr(begin, end - begin));
        begin = text.find_first_not_of(kBetweenFields, end);
    }
    return fields;
}

std::optional<double> Unsigned(const std::string& field, Log& log) {
    return field.find_first_not_of(kDigits) == std::string::npos ? PlainDecimal(field, log) : std::nullopt;
}

}  // namespace

std::optional<double> AngleOfFields(std::string_view text, Log& log) {
    const std::string trimmed = Trim(text);
    const bool negative = trimmed.starts_with('-');
    const bool hasSign = negative || trimmed.starts_with('+');
    const std::vector<std::string> fields = FieldsOf(std::string_view(trimmed).substr(hasSign ? 1 : 0));
    if (fields.size() != 3) {
        return std::nullopt;
    }
    const std::optional<double> whole = Unsigned(fields[0], log);
    const std::optional<double> minutes = Unsigned(fields[1], log);
    const std::optional<double> seconds = Unsigned(fields[2], log);
    if (!whole || !minutes || !seconds || *minutes >= kSixty || *seconds >= kSixty) {
        return std::nullopt;
    }
    const double angle = *whole + (*minutes * kSixty + *seconds) / kPerUnit;
    return negative ? -angle : angle;
}

GotoDialog::GotoDialog(GotoDialogNeeds needs, GotoControls controls, const GotoWords& words)
    : needs_(std::move(needs)), driver_(needs_.driver), state_(driver_.state), controls_(controls), words_(words) {
    controls_.list.OnClick([this] { OnSelect(); });
    for (TextBox* box : {&controls_.first, &controls_.second}) {
        box->OnChange([this, box] { TakePair(*box); });
    }
    controls_.add.OnClick([this] { Add(); });
    controls_.save.OnClick([this] { Save(); });
    controls_.remove.OnClick([this] { Delete(); });
    controls_.refresh.OnClick([this] { Reload(); });
    controls_.fromMount.OnClick([this] { FillFromMount(); });
    controls_.slew.OnClick([this] { needs_.panel.Press(words_.slews); });
    needs_.panel.OnAction(words_.opens, [this] { Open(); });
    needs_.panel.OnAction(words_.slews, [this] { AskAndSlew(); });
}

void GotoDialog::Open() {
    std::vector<Bookmark> rows = StartUp();
    if (const Database* const database = OpenDatabase(); database && database->Answered()) {
        ShowRows(std::move(rows));
    }
    OnOpen();
    controls_.form.Show();
}

Database* GotoDialog::OpenDatabase() {
    Database* const database = driver_.persist.database();
    if (database == nullptr) {
        Tell("There is no settings file to keep bookmarks in.", MessageIcon::Critical);
    }
    return database;
}

const Bookmark* GotoDialog::Selected() const {
    const std::int32_t index = controls_.list.ListIndex();
    return index < 0 ? nullptr : &rows_[static_cast<std::size_t>(index)];
}

/// What was selected stays selected, and what a person has written in the boxes stays too.
void GotoDialog::ShowRows(std::vector<Bookmark> rows) {
    const FillsForm filling(controls_.form);
    const std::int16_t selected = Selected() ? Selected()->id : std::int16_t{0};
    rows_ = std::move(rows);
    std::vector<std::string> items;
    for (const Bookmark& row : rows_) {
        items.push_back(ReplaceAll(row.name, "\t", " ") + "\t" + row.first + "\t" + row.second);
    }
    controls_.list.ListItems(std::move(items));
    const auto row = std::ranges::find(rows_, selected, &Bookmark::id);
    controls_.list.ListIndex(row == rows_.end() ? -1 : static_cast<std::int32_t>(row - rows_.begin()));
}

void GotoDialog::OnSelect() {
    if (const Bookmark* const row = Selected(); row && !controls_.form.IsFilling()) {
        const FillsForm filling(controls_.form);
        controls_.name.Text(row->name);
        controls_.first.Text(row->first);
        controls_.second.Text(row->second);
    }
}

/// While the settings file does not answer, what is shown stays.
void GotoDialog::Reload() {
    if (Database* const database = OpenDatabase()) {
        std::vector<Bookmark> rows = ReadAll(*database);
        if (database->Answered()) {
            ShowRows(std::move(rows));
        }
    }
}

void GotoDialog::Add() {
    if (IsGood(controls_.first.Text(), controls_.second.Text())) {
        StoreAndReload(
            {.name = controls_.name.Text(), .first = controls_.first.Text(), .second = controls_.second.Text()}, true);
    }
}

/// A row that another window has deleted meanwhile is inserted anew.
void GotoDialog::Save() {
    const Bookmark* const selected = Selected();
    if (selected == nullptr) {
        Add();
        return;
    }
    Database* const database = OpenDatabase();
    if (!database || !IsGood(controls_.first.Text(), controls_.second.Text())) {
        return;
    }
    Bookmark changed = *selected;
    const std::vector<Bookmark> all = ReadAll(*database);
    if (const auto stored = std::ranges::find(all, changed.id, &Bookmark::id); stored != all.end()) {
        changed = *stored;
    }
    changed.name = controls_.name.Text();
    changed.first = controls_.first.Text();
    changed.second = controls_.second.Text();
    StoreAndReload(changed, false);
}

void GotoDialog::StoreAndReload(const Bookmark& bookmark, bool isNew) {
    Database* const database = OpenDatabase();
    if (database && !Store(*database, bookmark, isNew)) {
        Tell("The bookmark could not be stored.", MessageIcon::Critical);
    } else if (database) {
        Reload();
    }
}

void GotoDialog::Delete() {
    const Bookmark* const selected = Selected();
    Database* const database = selected ? OpenDatabase() : nullptr;
    if (database && !Remove(*database, selected->id)) {
        Tell("The bookmark could not be deleted.", MessageIcon::Critical);
    } else if (database) {
        Reload();
    }
}

/// Who copies both coordinates from elsewhere into one of the boxes gets each into its own.
void GotoDialog::TakePair(const TextBox& box) {
    if (const auto pair = PairOfText(box.Text(), words_.unit); pair && !controls_.form.IsFilling()) {
        ShowAngles(*pair);
    }
}

void GotoDialog::ShowAngles(const CoordinatePair& angles) {
    const Bookmark texts = TextsOf(angles);
    controls_.first.Text(texts.first);
    controls_.second.Text(texts.second);
}

void GotoDialog::FillFromMount() {
    try {
        Telescope* const telescope = needs_.telescope();
        if (telescope == nullptr) {
            throw DriverError(ErrorNumber::NotConnected);
        }
        telescope->CheckConnected();
        ShowAngles(Present());
    } catch (const DriverError& error) {
        Tell(error.Message(), MessageIcon::Critical);
    }
}

/// The slew is a call of its own, posted by the press of OK: a stop before that was not meant for it, one after it is.
void GotoDialog::AskAndSlew() {
    if (state_.g_bParked) {
        Tell(std::string(kUnparkFirst));
        return;
    }
    const Bookmark* const selected = Selected();
    if (selected == nullptr || !IsGood(selected->first, selected->second)) {
        return;
    }
    const Bookmark target = *selected;  // the list may change under the question
    const std::string question =
        "OK to slew to " + std::string(words_.coordinates) + " = (" + target.first + ", " + target.second + ") ?";
    needs_.messageBoxes.Ask(question, application::kTitle, [this, target] {
        driver_.log.LogMessage(words_.origin, LogLevel::Info,
                               target.name + ", " + std::string(words_.first.name) + "=" + target.first + ", " +
                                   std::string(words_.second.name) + "=" + target.second);
        needs_.panel.RunAsLongCall([this, target] { SlewTo(target); });
    });
}

/// The mount may have been parked, or stopped, since the question was answered.
void GotoDialog::SlewTo(const Bookmark& target) {
    try {
        Telescope* const telescope = needs_.telescope();
        if (telescope == nullptr) {
            throw DriverError(ErrorNumber::NotConnected);
        }
        if (driver_.waits.OvertakenByStop()) {
            telescope->DoesNotBegin(words_.origin);
            return;
        }
        telescope->CheckConnected();
        if (state_.g_bParked) {
            Tell(std::string(kUnparkFirst));
            return;
        }
        Slew(*telescope, AngleOfFields(target.first, driver_.log).value(),
             AngleOfFields(target.second, driver_.log).value());
    } catch (const DriverError& error) {
        Tell(error.Message(), MessageIcon::Critical);
    }
}

void GotoDialog::SlewToRaDec(Telescope& telescope, double rightAscension, double declination) {
    if (!state_.g_bTracking) {
        telescope.Tracking(true);
    }
    LogStart("RA", rightAscension, "Dec", declination);
    telescope.SlewToCoordinatesAsync(rightAscension, declination);
}

void GotoDialog::LogStart(std::string_view firstName, double first, std::string_view secondName, double second) {
    driver_.log.LogMessage(words_.origin, LogLevel::Info,
                           "Starting Slew to " + std::string(firstName) + "=" + PlainNumber(first) + ", " +
                               std::string(secondName) + "=" + PlainNumber(second));
}

bool GotoDialog::IsGood(const std::string& first, const std::string& second) {
    return IsGood(words_.first, first) && IsGood(words_.second, second);
}

bool GotoDialog::IsGood(const AngleForm& form, const std::string& text) {
    const std::optional<double> angle = AngleOfFields(text, driver_.log);
    if (angle && *angle >= form.least && (*angle < form.most || (form.mostBelongs && *angle == form.most))) {
        return true;
    }
    Tell(std::string(form.name) + " must be three numbers, as in \"12 30 00\", " + std::string(form.range) +
         ". It is \"" + text + "\".");
    return false;
}

void GotoDialog::Tell(const std::string& text, MessageIcon icon) {
    needs_.messageBoxes.Show(text, application::kTitle, icon);
}

}  // namespace kestrane

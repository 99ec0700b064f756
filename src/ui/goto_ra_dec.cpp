#include "ui/goto_ra_dec.h"

#include <cmath>
#include <utility>

#include "kernel/base/conversions.h"

namespace kestrane {
namespace {

constexpr double kTenthsOfSecond = 36000.0;  // in an hour
constexpr double kFullTurn = 24.0;           // hours

constexpr GotoWords kRaDecWords{.coordinates = "Ra/Dec",
                                .origin = "Goto RA/Dec",
                                .first = {"RA", "from 0 up to below 24 hours", 0.0, 24.0, false},
                                .second = {"Dec", "from -90 to 90 degrees", -90.0, 90.0, true},
                                .unit = FirstAngle::Hours,
                                .opens = ButtonAction::SlewRaDec,
                                .slews = ButtonAction::GotoRaDec};

std::vector<Bookmark> BookmarksOf(const RecordArray<GotoRaDec>& records) {
    std::vector<Bookmark> bookmarks;
    for (const std::optional<GotoRaDec>& record : records) {
        if (record) {
            bookmarks.push_back(
                {record->id, record->Name, record->RightAscension, record->Declination, record->HourAngle});
        }
    }
    return bookmarks;
}

}  // namespace

GotoRaDecDialog::GotoRaDecDialog(GotoDialogNeeds needs, frmAskGotoRaDec& form)
    : GotoDialog(std::move(needs),
                 {form, form.lvwRaDec, form.txtDescription, form.txtRA, form.txtDec, form.btnAdd, form.btnDelete,
                  form.btnSave, form.btnRefresh, form.btnGoto, form.btnGetRaDec},
                 kRaDecWords),
      form_(form) {
    form_.tmrPosition.OnTick([this] { OnTick(); });
}

void GotoRaDecDialog::OnOpen() {
    ShowPosition();
}

/// Nobody looks at a window that a person has closed.
void GotoRaDecDialog::OnTick() {
    if (form_.Visible()) {
        ShowPosition();
    } else {
        form_.Unload();
    }
}

void GotoRaDecDialog::ShowPosition() {
    form_.lblLST.Text(state_.g_bConnected ? HoursToHMS(needs_.queries.GetLst(), ":", ":", "", 0) : "");
    form_.lblDEC.Text(state_.g_bConnected ? needs_.queries.LastDecText() : "");
}

std::vector<Bookmark> GotoRaDecDialog::StartUp() {
    return BookmarksOf(StartRaDecBookmarks(OfBookmarks()));
}

std::vector<Bookmark> GotoRaDecDialog::ReadAll(Database& database) {
    RecordArray<GotoRaDec> records(1);
    database.GetAllGotoRaDec(records);
    return BookmarksOf(records);
}

bool GotoRaDecDialog::Store(Database& database, const Bookmark& bookmark, bool isNew) {
    return database.SetGotoRaDec({.id = bookmark.id,
                                  .Name = bookmark.name,
                                  .Description = bookmark.name,
                                  .HourAngle = bookmark.hourAngle,
                                  .RightAscension = bookmark.first,
                                  .Declination = bookmark.second},
                                 isNew);
}

bool GotoRaDecDialog::Remove(Database& database, std::int16_t id) {
    return database.DeleteGotoRaDec(id);
}

CoordinatePair GotoRaDecDialog::Present() const {
    return {state_.g_dRa, state_.g_dDec};
}

/// Rounded first, so that the text is never that of a full turn.
Bookmark GotoRaDecDialog::TextsOf(const CoordinatePair& angles) const {
    const double hours = std::round(angles.first * kTenthsOfSecond) / kTenthsOfSecond;
    return {.first = HoursToHMS(hours == kFullTurn ? 0.0 : hours, " ", " ", "", 1),
            .second = DegreesToDMS(angles.second, " ", " ", "", 1)};
}

void GotoRaDecDialog::Slew(Telescope& telescope, double first, double second) {
    SlewToRaDec(telescope, first, second);
}

}  // namespace kestrane

#include "ui/goto_alt_az.h"

#include <utility>

#include "kernel/base/conversions.h"

namespace kestrane {
namespace {

constexpr GotoWords kAltAzWords{.coordinates = "Alt/Az",
                                .origin = "Goto Alt/Az",
                                .first = {"Alt", "from -90 to 90 degrees", -90.0, 90.0, true},
                                .second = {"Az", "from 0 to 360 degrees", 0.0, 360.0, true},
                                .unit = FirstAngle::Degrees,
                                .opens = ButtonAction::SlewAltAz,
                                .slews = ButtonAction::GotoAltAz};

std::vector<Bookmark> BookmarksOf(const RecordArray<GotoAltAz>& records) {
    std::vector<Bookmark> bookmarks;
    for (const std::optional<GotoAltAz>& record : records) {
        if (record) {
            bookmarks.push_back({record->id, record->Name, record->Altitude, record->Azimuth, ""});
        }
    }
    return bookmarks;
}

}  // namespace

GotoAltAzDialog::GotoAltAzDialog(GotoDialogNeeds needs, frmAskGtoAltAz& form)
    : GotoDialog(std::move(needs),
                 {form, form.lvwAltAz, form.txtDescription, form.txtAlt, form.txtAz, form.btnAdd, form.btnDelete,
                  form.btnSave, form.btnRefresh, form.btnGoto, form.btnGetAltAz},
                 kAltAzWords),
      form_(form),
      kept_(form, driver_.persist, Keeps::AtOnce) {
    kept_.Add(KeptCheck{form_.chkConvertAltAzRaDec, setting::chkConvertAltAzRaDec});
}

void GotoAltAzDialog::OnOpen() {
    kept_.Fill();
}

std::vector<Bookmark> GotoAltAzDialog::StartUp() {
    return BookmarksOf(StartAltAzBookmarks(OfBookmarks()));
}

std::vector<Bookmark> GotoAltAzDialog::ReadAll(Database& database) {
    RecordArray<GotoAltAz> records(1);
    database.GetAllGotoAltAz(records);
    return BookmarksOf(records);
}

bool GotoAltAzDialog::Store(Database& database, const Bookmark& bookmark, bool isNew) {
    return database.SetGotoAltAz({.id = bookmark.id,
                                  .Name = bookmark.name,
                                  .Description = bookmark.name,
                                  .Altitude = bookmark.first,
                                  .Azimuth = bookmark.second},
                                 isNew);
}

bool GotoAltAzDialog::Remove(Database& database, std::int16_t id) {
    return database.DeleteGotoAltAz(id);
}

CoordinatePair GotoAltAzDialog::Present() const {
    return {state_.g_dAlt, state_.g_dAz};
}

Bookmark GotoAltAzDialog::TextsOf(const CoordinatePair& angles) const {
    return {.first = DegreesToDMS(angles.first, " ", " ", "", 1),
            .second = DegreesToDMS(angles.second, " ", " ", "", 1)};
}

/// Without the conversion the mount must not track; a slew of a mount that tracks is refused as a client's is.
void GotoAltAzDialog::Slew(Telescope& telescope, double first, double second) {
    if (form_.chkConvertAltAzRaDec.Checked()) {
        SlewConverted(telescope, first, second);
    } else {
        LogStart("Alt", first, "Az", second);
        telescope.SlewToAltAzAsync(second, first);
    }
}

void GotoAltAzDialog::SlewConverted(Telescope& telescope, double altitude, double azimuth) {
    double hourAngle = 0.0;
    double declination = 0.0;
    if (!AltAzToHaDec(telescope.SiteLatitude(), altitude, azimuth, hourAngle, declination)) {
        throw DriverError(ErrorNumber::OutOfRange);
    }
    SlewToRaDec(telescope, NormalizeHours(needs_.queries.GetLst() - hourAngle), declination);
}

}  // namespace kestrane

#pragma once

#include "forms/frm_ask_gto_alt_az.h"
#include "ui/goto_dialog.h"
#include "ui/kept_controls.h"

namespace kestrane {

/// The window with the bookmarks of horizontal coordinates. Logic thread only.
class GotoAltAzDialog final : public GotoDialog {
public:
    GotoAltAzDialog(GotoDialogNeeds needs, frmAskGtoAltAz& form);

private:
    void OnOpen() override;
    std::vector<Bookmark> StartUp() override;
    std::vector<Bookmark> ReadAll(Database& database) override;
    bool Store(Database& database, const Bookmark& bookmark, bool isNew) override;
    bool Remove(Database& database, std::int16_t id) override;
    CoordinatePair Present() const override;
    Bookmark TextsOf(const CoordinatePair& angles) const override;
    void Slew(Telescope& telescope, double first, double second) override;
    void SlewConverted(Telescope& telescope, double altitude, double azimuth);

    frmAskGtoAltAz& form_;
    KeptControls kept_;
};

}  // namespace kestrane

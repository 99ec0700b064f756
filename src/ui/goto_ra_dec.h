#pragma once

#include "forms/frm_ask_goto_ra_dec.h"
#include "ui/goto_dialog.h"

namespace kestrane {

/// The window with the bookmarks of equatorial coordinates. Logic thread only.
class GotoRaDecDialog final : public GotoDialog {
public:
    GotoRaDecDialog(GotoDialogNeeds needs, frmAskGotoRaDec& form);

private:
    void OnOpen() override;
    std::vector<Bookmark> StartUp() override;
    std::vector<Bookmark> ReadAll(Database& database) override;
    bool Store(Database& database, const Bookmark& bookmark, bool isNew) override;
    bool Remove(Database& database, std::int16_t id) override;
    CoordinatePair Present() const override;
    Bookmark TextsOf(const CoordinatePair& angles) const override;
    void Slew(Telescope& telescope, double first, double second) override;
    void OnTick();
    void ShowPosition();

    frmAskGotoRaDec& form_;
};

}  // namespace kestrane

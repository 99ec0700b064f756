#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "forms/controls.h"
#include "platform/system_services.h"
#include "settings/bookmarks.h"
#include "settings/database.h"
#include "state/essentials.h"
#include "state/mount_queries.h"
#include "telescope/telescope.h"
#include "ui/hand_box/hand_box_panel.h"
#include "ui/pasted_coordinates.h"

namespace kestrane {

struct GotoDialogNeeds {
    Essentials driver;
    MessageBoxes& messageBoxes;
    Folders& folders;
    MountQueries& queries;
    HandBoxPanel& panel;
    std::function<Telescope*()> telescope;  ///< the driver's own object; null while there is none
};

/// A bookmark as both windows show it, with its two angles as a person wrote them.
struct Bookmark {
    std::int16_t id = 0;  ///< 0: it has no row yet
    std::string name = {};
    std::string first = {};      ///< right ascension, or altitude
    std::string second = {};     ///< declination, or azimuth
    std::string hourAngle = {};  ///< of an equatorial one, as it was stored
};

/// What an angle may be, and how it is called where it may not.
struct AngleForm {
    std::string_view name;
    std::string_view range;  ///< for people
    double least;
    double most;
    bool mostBelongs;  ///< `most` itself is allowed
};

/// What differs in words between the two windows.
struct GotoWords {
    std::string_view coordinates;  ///< "Ra/Dec"
    std::string_view origin;       ///< of log lines
    AngleForm first;
    AngleForm second;
    FirstAngle unit;     ///< of the first angle
    ButtonAction opens;  ///< the button of the hand box that opens the window
    ButtonAction slews;  ///< its own button that asks and slews
};

/// The controls that both windows have.
struct GotoControls {
    Form& form;
    ListView& list;
    TextBox& name;
    TextBox& first;
    TextBox& second;
    Button& add;
    Button& remove;
    Button& save;
    Button& refresh;
    Button& slew;
    Button& fromMount;
};

/// Hours or degrees of a text with three number fields: whole ones, minutes and seconds below 60, with a point or a
/// comma. Between them stand blanks, or the signs and letters of angles and times: "12 30 00", "+45*30:15.5",
/// "12h30m00s". A leading "-" makes all of it negative, also "-0 30 0". Nothing for any other text.
std::optional<double> AngleOfFields(std::string_view text, Log& log);

/// What the two windows of bookmarks have in common. The windows are not modal. Logic thread only.
class GotoDialog {
public:
    virtual ~GotoDialog() = default;
    GotoDialog(const GotoDialog&) = delete;
    GotoDialog& operator=(const GotoDialog&) = delete;

    /// Shows the window with all bookmarks.
    void Open();

protected:
    /// Takes the events of the controls and the two actions of the panel, which must not run once this object has gone.
    GotoDialog(GotoDialogNeeds needs, GotoControls controls, const GotoWords& words);

    virtual void OnOpen() {}
    /// Runs the start-up of the bookmarks and gives all of them.
    virtual std::vector<Bookmark> StartUp() = 0;
    virtual std::vector<Bookmark> ReadAll(Database& database) = 0;
    /// False when it is not stored, now or later.
    virtual bool Store(Database& database, const Bookmark& bookmark, bool isNew) = 0;
    virtual bool Remove(Database& database, std::int16_t id) = 0;
    /// Where the mount points now.
    virtual CoordinatePair Present() const = 0;
    /// Two angles as the boxes show them.
    virtual Bookmark TextsOf(const CoordinatePair& angles) const = 0;
    /// Starts the slew to two angles that are in their range.
    virtual void Slew(Telescope& telescope, double first, double second) = 0;

    BookmarksNeeds OfBookmarks() const { return {driver_.persist, needs_.folders, driver_.log, driver_.ledger}; }
    /// Turns the tracking on where it is off, and logs and starts the slew. Hours and degrees.
    void SlewToRaDec(Telescope& telescope, double rightAscension, double declination);
    void LogStart(std::string_view firstName, double first, std::string_view secondName, double second);

    GotoDialogNeeds needs_;
    Essentials driver_;
    DriverState& state_;

private:
    Database* OpenDatabase();
    const Bookmark* Selected() const;
    void ShowRows(std::vector<Bookmark> rows);
    void OnSelect();
    void Reload();
    void Add();
    void Save();
    void Delete();
    void StoreAndReload(const Bookmark& bookmark, bool isNew);
    void TakePair(const TextBox& box);
    void ShowAngles(const CoordinatePair& angles);
    void FillFromMount();
    void AskAndSlew();
    void SlewTo(const Bookmark& target);
    bool IsGood(const std::string& first, const std::string& second);
    bool IsGood(const AngleForm& form, const std::string& text);
    void Tell(const std::string& text, MessageIcon icon = MessageIcon::Information);

    GotoControls controls_;
    const GotoWords words_;
    std::vector<Bookmark> rows_;  ///< in the order of the list
};

}  // namespace kestrane

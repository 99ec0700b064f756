#pragma once

#include "forms/controls.h"

namespace kestrane {

/// What the drawings of the sky and of the pier show; never visible as a window. Numbers are plain, with a decimal
/// point, in degrees unless the name says otherwise, and empty where they are not known. Azimuth counts from north by
/// east. The coordinates are those of the displays.
class frmSky : public Form {
public:
    explicit frmSky(MessagePump& pump)
        : Form("frmSky", ""),
          tmrSky(*this, "tmrSky", pump, 500, true),
          tmrJournal(*this, "tmrJournal", pump, 1000, true) {}

    Label lblLatitude{*this, "lblLatitude"};
    Label lblSiderealHours{*this, "lblSiderealHours"};
    Label lblRaHours{*this, "lblRaHours"};
    Label lblDec{*this, "lblDec"};
    Label lblHourAngleHours{*this, "lblHourAngleHours"};
    Label lblAlt{*this, "lblAlt"};
    Label lblAz{*this, "lblAz"};

    Label lblTargetRaHours{*this, "lblTargetRaHours"};  ///< of a slew or park under way, like the next three
    Label lblTargetDec{*this, "lblTargetDec"};
    Label lblTargetAlt{*this, "lblTargetAlt"};
    Label lblTargetAz{*this, "lblTargetAz"};
    Label lblParkAlt{*this, "lblParkAlt"};  ///< where "Park" would take the tube
    Label lblParkAz{*this, "lblParkAz"};
    Label lblSunAlt{*this, "lblSunAlt"};
    Label lblSunAz{*this, "lblSunAz"};

    Label lblPierSide{*this, "lblPierSide"};                ///< "East" or "West"
    Label lblCounterweight{*this, "lblCounterweight"};      ///< altitude of the end of its shaft; below 0: down
    Label lblState{*this, "lblState"};                      ///< one word for what the mount does
    Label lblProgress{*this, "lblProgress"};                ///< percent of the way
    Label lblDistance{*this, "lblDistance"};                ///< what is left of it
    Label lblMeridianMinutes{*this, "lblMeridianMinutes"};  ///< until the tube's place in the sky crosses the meridian
    Label lblHorizonMinutes{*this, "lblHorizonMinutes"};    ///< until it sets
    Label lblEpoch{*this, "lblEpoch"};
    Label lblRefused{*this, "lblRefused"};  ///< the last slew or park that was refused, its number before it

    RichTextBox rtbJournal{*this, "rtbJournal"};  ///< where the tube pointed and what guided it; see `NightJournal`

    Timer tmrSky;      ///< computes what is drawn
    Timer tmrJournal;  ///< adds a position
};

}  // namespace kestrane

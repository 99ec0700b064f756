#include "settings/records.h"

#include <span>

#include "kernel/base/errors.h"
#include "kernel/base/text.h"

namespace kestrane {
namespace {

template <typename Record>
struct Field {
    std::string_view name;
    PropertyValue (*value)(const Record&);
};

template <typename Record, auto member>
constexpr Field<Record> FieldOf(std::string_view name) {
    return {name, [](const Record& record) { return PropertyValue(record.*member); }};
}

constexpr Field<GotoRaDec> kGotoRaDecFields[] = {
    FieldOf<GotoRaDec, &GotoRaDec::id>("id"),
    FieldOf<GotoRaDec, &GotoRaDec::Name>("name"),
    FieldOf<GotoRaDec, &GotoRaDec::Description>("description"),
    FieldOf<GotoRaDec, &GotoRaDec::HourAngle>("hourangle"),
    FieldOf<GotoRaDec, &GotoRaDec::RightAscension>("rightascension"),
    FieldOf<GotoRaDec, &GotoRaDec::Declination>("declination"),
};

constexpr Field<GotoAltAz> kGotoAltAzFields[] = {
    FieldOf<GotoAltAz, &GotoAltAz::id>("id"),
    FieldOf<GotoAltAz, &GotoAltAz::Name>("name"),
    FieldOf<GotoAltAz, &GotoAltAz::Description>("description"),
    FieldOf<GotoAltAz, &GotoAltAz::Altitude>("altitude"),
    FieldOf<GotoAltAz, &GotoAltAz::Azimuth>("azimuth"),
};

constexpr Field<Site> kSiteFields[] = {
    FieldOf<Site, &Site::id>("id"),
    FieldOf<Site, &Site::Name>("name"),
    FieldOf<Site, &Site::Description>("description"),
    FieldOf<Site, &Site::Longitude>("longitude"),
    FieldOf<Site, &Site::Latitude>("latitude"),
    FieldOf<Site, &Site::ElevationMeters>("elevationmeters"),
    FieldOf<Site, &Site::TimeZone>("timezone"),
    FieldOf<Site, &Site::TemperatureC>("temperaturec"),
    FieldOf<Site, &Site::PressureMb>("pressuremb"),
    FieldOf<Site, &Site::HumidityPercent>("humiditypercent"),
};

constexpr Field<ParkPosition> kParkPositionFields[] = {
    FieldOf<ParkPosition, &ParkPosition::id>("id"),
    FieldOf<ParkPosition, &ParkPosition::Name>("name"),
    FieldOf<ParkPosition, &ParkPosition::Description>("description"),
    FieldOf<ParkPosition, &ParkPosition::IsAltAz>("isaltaz"),
    FieldOf<ParkPosition, &ParkPosition::ParkCounterweightUp>("parkcounterweightup"),
    FieldOf<ParkPosition, &ParkPosition::Altitude>("altitude"),
    FieldOf<ParkPosition, &ParkPosition::Azimuth>("azimuth"),
    FieldOf<ParkPosition, &ParkPosition::HourAngle>("hourangle"),
    FieldOf<ParkPosition, &ParkPosition::Declination>("declination"),
};

template <typename Record>
PropertyValue FieldValue(const Record& record, std::string_view name,
                         std::type_identity_t<std::span<const Field<Record>>> fields) {
    constexpr auto kNoSuchProperty = static_cast<std::uint32_t>(-1);
    const std::string lowerName = ToLower(name);
    for (const Field<Record>& field : fields) {
        if (field.name == lowerName) {
            return field.value(record);
        }
    }
    throw DriverError(kNoSuchProperty, std::string(kErrorSource), "Unknown property: " + std::string(name));
}

}  // namespace

PropertyValue GotoRaDec::GetProperty(std::string_view propertyName) const {
    return FieldValue(*this, propertyName, kGotoRaDecFields);
}

PropertyValue GotoAltAz::GetProperty(std::string_view propertyName) const {
    return FieldValue(*this, propertyName, kGotoAltAzFields);
}

PropertyValue Site::GetProperty(std::string_view propertyName) const {
    return FieldValue(*this, propertyName, kSiteFields);
}

PropertyValue ParkPosition::GetProperty(std::string_view propertyName) const {
    return FieldValue(*this, propertyName, kParkPositionFields);
}

}  // namespace kestrane

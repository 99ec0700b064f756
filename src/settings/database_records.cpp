#include <array>
#include <cmath>
#include <utility>

#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "settings/database.h"
#include "settings/site_text.h"

namespace kestrane {
namespace {

using Columns = std::span<const std::string_view>;

constexpr std::array<std::string_view, 4> kGotoAltAzColumns{"Name", "Description", "Altitude", "Azimuth"};
constexpr std::array<std::string_view, 5> kGotoRaDecColumns{"Name", "Description", "HourAngle", "RightAscension",
                                                            "Declination"};
constexpr std::array<std::string_view, 9> kSiteColumns{"Name",         "Description",     "Longitude",
                                                       "Latitude",     "ElevationMeters", "TimeZone",
                                                       "TemperatureC", "PressureMb",      "HumidityPercent"};
constexpr std::array<std::string_view, 8> kParkPositionColumns{
    "Name", "Description", "IsAltAz", "ParkCounterweightUp", "Altitude", "Azimuth", "HourAngle", "Declination"};

struct TextOfValue {
    std::string operator()(std::int16_t value) const { return std::to_string(value); }
    std::string operator()(const std::string& value) const { return value; }
    std::string operator()(double value) const {
        if (!std::isfinite(value)) {  // its text would be stored, and read as 0
            throw RunTimeError(RunTimeError::kOverflow, "Overflow");
        }
        return PlainNumber(value);
    }
    std::string operator()(bool value) const { return value ? "1" : "0"; }  // flags have columns of integers
};

/// The value in the form that it needs between two apostrophes.
std::string SqlText(const PropertyValue& value) {
    return EscapedForSql(std::visit(TextOfValue{}, value));
}

PropValue ReadPropValue(const RowSet& row) {
    return {row.Id(), row.Text(1), row.Text(2)};
}

GotoAltAz ReadGotoAltAz(const RowSet& row) {
    return {row.Id(), row.TextOrEmpty(1), row.TextOrEmpty(2), row.TextOrEmpty(3), row.TextOrEmpty(4)};
}

GotoRaDec ReadGotoRaDec(const RowSet& row) {
    return {row.Id(),           row.TextOrEmpty(1), row.TextOrEmpty(2),
            row.TextOrEmpty(3), row.TextOrEmpty(4), row.TextOrEmpty(5)};
}

ParkPosition ReadParkPosition(const RowSet& row) {
    return {row.Id(),      row.TextOrEmpty(1), row.TextOrEmpty(2), row.Number(3) != 0.0, row.Number(4) != 0.0,
            row.Number(5), row.Number(6),      row.Number(7),      row.Number(8)};
}

/// A site as it is in its row; the elevation still as text.
struct SiteRow {
    Site site;
    std::string elevation;
};

/// In a form that the parser of numbers knows: SQLite writes small ones with an exponent.
std::string ElevationText(const RowSet& row) {
    constexpr int kElevation = 5;
    std::string text = row.TextOrEmpty(kElevation);
    const bool hasExponent = row.IsReal(kElevation) && text.find('e') != std::string::npos;
    return hasExponent ? PlainNumber(row.Number(kElevation)) : text;
}

SiteRow ReadSiteRow(const RowSet& row) {
    return {Site{row.Id(), row.TextOrEmpty(1), row.TextOrEmpty(2), row.TextOrEmpty(3), row.TextOrEmpty(4), 0.0,
                 row.Number(6), row.Number(7), row.Number(8), row.Number(9)},
            ElevationText(row)};
}

/// A position that has no normal form stays as it is, and is noted in `errors`.
Site ParseSite(const SiteRow& row, std::size_t slot, Log& log, ResumeNext& errors) {
    const auto say = [&log](const std::string& text) { log.LogMessage("GetAllSites", LogLevel::Info, text); };
    Site site = row.site;
    say("Site " + std::to_string(slot));
    say("  Site Name, Lat/Long: '" + site.Name + "' - '" + site.Longitude + "' / '" + site.Latitude + "'");
    const auto normalize = [&](std::string& position) {
        if (!errors.Assign(position, [&] { return NormalizeSiteText(position, log); })) {
            log.LogMessage("GetAllSites", LogLevel::Warning,
                           "Site '" + site.Name + "' has no position, since its text has not four fields with single " +
                               "blanks between them: '" + position + "'");
        }
    };
    normalize(site.Longitude);
    say("  Parsed Longitude: '" + site.Longitude + "'");
    normalize(site.Latitude);
    say("  Parsed Latitude: '" + site.Latitude + "'");
    site.ElevationMeters = Val_Global(row.elevation, log);
    say("  Elevation: '" + row.elevation + "' (" + PlainNumber(site.ElevationMeters) + ")");
    return site;
}

std::string UpdateStatement(const std::function<PropertyValue(std::string_view)>& getProperty, std::string_view table,
                            Columns columns) {
    std::string sql = "update or ignore ";
    sql.append(table).append(" SET");
    std::string_view separator;
    for (std::string_view column : columns) {
        sql.append(separator).append(" ").append(column).append(" = '").append(SqlText(getProperty(column)));
        sql.append("'");
        separator = ", ";
    }
    sql.append(" WHERE ").append(table).append("Index = '").append(SqlText(getProperty("id")));
    return sql.append("'");
}

std::string InsertStatement(const std::function<PropertyValue(std::string_view)>& getProperty, std::string_view table,
                            Columns columns) {
    std::string names;
    std::string values;
    std::string_view separator;
    for (std::string_view column : columns) {
        names.append(separator).append(column);
        values.append(separator).append("'").append(SqlText(getProperty(column))).append("'");
        separator = ", ";
    }
    return "insert or ignore into " + std::string(table) + "(" + names + ") VALUES (" + values + ")";
}

template <typename Record>
auto PropertiesOf(const Record& record) {
    return [&record](std::string_view name) { return record.GetProperty(name); };
}

}  // namespace

bool Database::SaveRecord(std::string_view procedure, const std::function<PropertyValue(std::string_view)>& getProperty,
                          bool& isNew, std::string_view table, Columns columns) {
    bool changed = false;
    ResumeNext errors{needs_.ledger, procedure};
    errors.Step([&] {
        if (std::get<std::int16_t>(getProperty("id")) == 0) {
            isNew = true;
        }
        KeptWrite write;
        write.sqlWithoutRow = InsertStatement(getProperty, table, columns);
        write.sql = isNew ? std::exchange(write.sqlWithoutRow, {}) : UpdateStatement(getProperty, table, columns);
        Settle();
        const bool ran = WriteOrKeep(write, [&] {
            isNew = RunRecord(write) || isNew;
            changed = Changes() >= 1;
            answered_ = true;
        });
        changed = changed || !ran;
    });
    return changed;
}

bool Database::RunRecord(const KeptWrite& write) {
    ChooseSyncOfWrites(Sync::Now);
    Run(write.sql);
    const bool noRow = Changes() == 0 && !write.sqlWithoutRow.empty();
    if (noRow) {
        Run(write.sqlWithoutRow);
    }
    if (Changes() > 0) {
        NoteWritten();
    }
    return noRow;
}

bool Database::DeleteRecord(std::string_view procedure, std::string_view table, std::int16_t id) {
    ResumeNext errors{needs_.ledger, procedure};
    return errors.Step([&] {
        KeptWrite write;
        write.sql = "Delete from " + std::string(table) + " WHERE " + std::string(table) + "Index = '" +
                    std::to_string(id) + "'";
        Settle();
        WriteOrKeep(write, [&] { RunRecord(write); });
    });
}

template <typename Record>
bool Database::ReadAll(std::string_view procedure, std::string_view table, RecordArray<Record>& array,
                       Record (*read)(const RowSet&)) {
    array.assign(1, std::nullopt);
    ResumeNext errors{needs_.ledger, procedure};
    errors.Step([&] {
        Settle();
        try {
            for (RowSet rows = Run("Select * from " + std::string(table)); !rows.AtEnd(); rows.MoveNext()) {
                errors.Assign(array.emplace_back(), [&] { return read(rows); });
            }
        } catch (const DiskFault& fault) {
            NoteUnread(fault.Message());
            throw;
        }
        answered_ = true;
    });
    return array.size() > 1 && !errors.Failed();
}

bool Database::GetAllDriverSettings(RecordArray<PropValue>& propValList) {
    return ReadAll("Database.GetAllDriverSettings", "Driver", propValList, &ReadPropValue);
}

bool Database::GetAllCommonSettings(RecordArray<PropValue>& propValList) {
    return ReadAll("Database.GetAllCommonSettings", "CommonSettings", propValList, &ReadPropValue);
}

bool Database::SetGotoAltAz(const GotoAltAz& obj, bool& isNew) {
    return SaveRecord("Database.SetGotoAltAz", PropertiesOf(obj), isNew, "GotoAltAz", kGotoAltAzColumns);
}

bool Database::SetGotoRaDec(const GotoRaDec& obj, bool& isNew) {
    return SaveRecord("Database.SetGotoRaDec", PropertiesOf(obj), isNew, "GotoRaDec", kGotoRaDecColumns);
}

bool Database::SetSite(const Site& obj, bool& isNew, SiteNames names) {
    if (names == SiteNames::MustBeGood && !IsGoodSiteName(obj.Name)) {
        answered_ = true;
        needs_.log.LogMessage("SetSite", LogLevel::Warning,
                              "The name of a site must not hold \",\" or \"=\", it is not stored: '" + obj.Name + "'");
        return false;
    }
    return SaveRecord("Database.SetSite", PropertiesOf(obj), isNew, "Sites", kSiteColumns);
}

bool Database::SetParkPosition(const ParkPosition& obj, bool& isNew) {
    return SaveRecord("Database.SetParkPosition", PropertiesOf(obj), isNew, "ParkPositions", kParkPositionColumns);
}

bool Database::DeleteGotoAltAz(std::int16_t id) {
    return DeleteRecord("Database.DeleteGotoAltAz", "GotoAltAz", id);
}

bool Database::DeleteGotoRaDec(std::int16_t id) {
    return DeleteRecord("Database.DeleteGotoRaDec", "GotoRaDec", id);
}

bool Database::DeleteSite(std::int16_t id) {
    return DeleteRecord("Database.DeleteSite", "Sites", id);
}

bool Database::GetAllGotoAltAz(RecordArray<GotoAltAz>& altazArray) {
    return ReadAll("Database.GetAllGotoAltAz", "GotoAltAz", altazArray, &ReadGotoAltAz);
}

bool Database::GetAllGotoRaDec(RecordArray<GotoRaDec>& radecArray) {
    return ReadAll("Database.GetAllGotoRaDec", "GotoRaDec", radecArray, &ReadGotoRaDec);
}

bool Database::GetAllParkPositions(RecordArray<ParkPosition>& parkArray) {
    return ReadAll("Database.GetAllParkPositions", "ParkPositions", parkArray, &ReadParkPosition);
}

bool Database::GetAllSites(RecordArray<Site>& sitesArray) {
    RecordArray<SiteRow> rows;
    const bool read = ReadAll("Database.GetAllSites", "Sites", rows, &ReadSiteRow);
    sitesArray.assign(rows.size(), std::nullopt);
    if (rows.size() == 1) {
        if (answered_) {
            needs_.log.LogMessage("GetAllSites", LogLevel::Error, "Failed to get sites");
        }
        return false;
    }
    needs_.log.LogMessage("GetAllSites", LogLevel::Info, "Site Count = " + std::to_string(rows.size() - 1));
    ResumeNext errors{needs_.ledger, "Database.GetAllSites"};
    for (std::size_t slot = 1; slot < rows.size(); ++slot) {
        if (rows[slot]) {
            sitesArray[slot] = ParseSite(*rows[slot], slot, needs_.log, errors);
        }
    }
    return read && !errors.Failed();
}

}  // namespace kestrane

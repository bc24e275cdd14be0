#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/Export.h"
#include "pellium/util/DateType.h"
#include "pellium/util/SavingRule.h"
#include "pellium/util/StringUtilities.h"
#include "pellium/util/TimeRule.h"
#include "pellium/util/ZoneOffsetRule.h"
#include "pellium/util/vector_map.h"

namespace pellium {

/// Reads the two time-zone rule files and answers the periods of one zone with their saving
/// rows attached; `TimeZone` is built from what it answers. "vek_historictimezone.txt" holds
/// every zone's periods (11 fields a row: tzid, format, offset, save, and the end as mode,
/// year, month, day, weekday, seconds and clock), newest period first; "vek_saving.txt" holds
/// the named daylight-saving rule sets (18 fields a row: name, first and last year, the start
/// as mode, month, day, weekday, seconds, clock, saving and letter, and the end as mode, month,
/// day, weekday, seconds, clock and letter), latest years first. Lines starting with "#" are
/// comments; fields are separated by ";".
///
/// The default reader reads the files compiled into the library; `create` reads texts given at
/// run time, such as another tz release converted by the library's converter. Every row is read
/// field by field when the reader is created. A row with the wrong number of fields, a field
/// that does not read as its type, or a value out of range (an offset beyond 48 hours, rule
/// seconds beyond a week, a month outside 1 to 12, a weekday outside 1 to 7, a clock that is no
/// `DateType`) is skipped and logged as a WARNING; a zone period naming a rule set that does
/// not exist is kept without daylight saving, and logged. A reader never changes after creation
/// and may be used from any thread.
class PELLIUM_EXPORT ZoneDataReader {
public:
    /// The paths of the compiled-in files among the library's assets.
    static constexpr std::string_view ZONE_ASSET = "timezones/vek_historictimezone.txt";
    static constexpr std::string_view SAVING_ASSET = "timezones/vek_saving.txt";

    /// The largest offset or saving a row may state, in seconds (48 hours).
    static constexpr double MAXIMUM_OFFSET = 172800.0;
    /// The largest distance of a rule's time from midnight, in seconds (a week).
    static constexpr int MAXIMUM_RULE_SECONDS = 604800;

    /// The reader of the compiled-in files, read once on first use; safe from any thread.
    static std::shared_ptr<const ZoneDataReader> getDefault();

    /// A reader of the given texts of the zone file and the saving file (copied).
    static std::shared_ptr<const ZoneDataReader> create(std::string_view zoneText, std::string_view savingText);

    /// Whether `id` names a zone of the files (case matters, as in "Europe/Paris").
    bool isValidID(std::string_view id) const;

    /// Every zone identifier, in byte order.
    std::vector<std::string> getAllIDs() const;

    /// The periods of zone `id`, newest first, each with its saving rows attached (new objects on
    /// every call, sharing the saving rows); empty for an unknown identifier.
    std::vector<std::shared_ptr<ZoneOffsetRule>> getAllRules(std::string_view id) const;

    /// The period in force now (the newest) of zone `id`, with its raw offset in `rawOffset` and
    /// in `saving` the amount its daylight time saves this year: the saving of the latest row of
    /// its rule set that contains this year and starts daylight time, its fixed saving, or 0.
    /// Null for an unknown identifier, leaving the outputs unchanged.
    std::shared_ptr<ZoneOffsetRule> getLatestRule(std::string_view id, double& rawOffset, double& saving) const;

    /// The rows of the rule set `name`, latest years first; empty for an unknown name.
    const std::vector<std::shared_ptr<const SavingRule>>& getSavingRules(std::string_view name) const;

    /// How many rows of the two texts were skipped as malformed.
    std::size_t getSkippedRowCount() const { return skippedRowCount_; }

private:
    struct ZonePeriod {
        SharedString format;
        double rawOffset = 0.0;
        TimeRule untilRule;
        DateType::type untilType = DateType::Wall;
        /// The rule set named by the save field, or null.
        SharedString ruleSetName;
        /// The numeric row of a fixed saving, or null.
        std::shared_ptr<const SavingRule> fixedSaving;
    };
    struct Zone {
        SharedString id;
        std::vector<ZonePeriod> periods;
    };
    class RowReader;

    ZoneDataReader() = default;

    std::shared_ptr<ZoneOffsetRule> createRule(const Zone& zone, const ZonePeriod& period) const;

    vector_map<std::string, Zone> zones_;
    vector_map<std::string, std::vector<std::shared_ptr<const SavingRule>>> ruleSets_;
    std::size_t skippedRowCount_ = 0;
};

}  // namespace pellium

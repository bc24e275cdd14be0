#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/Wrappable.h"
#include "pellium/util/DateType.h"
#include "pellium/util/SavingRule.h"
#include "pellium/util/StringUtilities.h"
#include "pellium/util/TimeZoneInfo.h"
#include "pellium/util/ZoneDataReader.h"
#include "pellium/util/ZoneOffsetRule.h"

namespace pellium {

class TimeZoneTransitions;

/// One time zone of the tz database ("Europe/Berlin", "America/Sao_Paulo", "Etc/GMT+5" or a link
/// such as "US/Eastern"): for any date-time, given in wall-clock, universal or standard time,
/// the offset from UTC, the raw (standard) offset, the daylight saving in force and the
/// abbreviation. Formatters use it to show date-times in the user's zone; parsers and
/// expressions use it to turn wall-clock times into UTC.
///
/// Times are seconds since 1 January 1960, 00:00, in the clock that the `DateType` argument
/// names; offsets are seconds east of UTC. A zone's periods and saving rules are read, and every
/// transition of its history worked out, once per process for the compiled-in files (and once per
/// zone object for files read at run time), so that a query is a search in a table that never
/// allocates; times after 2100 (or after the zone's last change of rules, if later) evaluate the
/// final rules. A zone never changes after creation and may be queried from any number of threads.
///
/// Wall-clock times that happen twice or not at all resolve to the offset in force before the
/// change of clocks: a wall time in the hour skipped at the start of daylight time reads as
/// standard time (02:30 on the day New York moves to daylight time is 02:30 EST, which is 03:30
/// EDT), and a wall time in the hour repeated at its end reads as the earlier instant, still in
/// daylight time (01:30 on the day New York returns to standard time is 01:30 EDT). Standard
/// times resolve the same way when the raw offset changes.
///
/// Queries with a NaN time or a number that is no `DateType` answer NaN, false or null.
class PELLIUM_EXPORT TimeZone : public Wrappable {
public:
    /// The zone `id` of the compiled-in rule files, or null when they have no such zone.
    static std::shared_ptr<TimeZone> create(std::string_view id);
    /// The zone `id` of the files that `reader` read, or null.
    static std::shared_ptr<TimeZone> create(std::string_view id, const std::shared_ptr<const ZoneDataReader>& reader);

    /// Whether the compiled-in files have a zone `id`.
    static bool isValidID(std::string_view id);
    /// Every zone identifier of the compiled-in files, links included, in byte order.
    static std::vector<std::string> getAvailableIDs();
    /// The "Etc/GMT" zone with the fixed offset `offset` (seconds east of UTC): "Etc/GMT" for 0,
    /// "Etc/GMT-1" for 3600, "Etc/GMT+5" for -18000 (the tz database's names invert the sign).
    /// Empty for an offset that is not a whole number of hours from -12 to +14.
    static std::string getIDFromOffset(double offset);

    int getWrapperTypeId() const override;

    // --- The state at the moment of creation ---------------------------------------------------

    const SharedString& getID() const { return id_; }
    /// The abbreviation in force ("CET").
    const SharedString& getName() const { return current_->getName(); }
    /// Raw offset plus the saving in force.
    double getOffset() const { return current_->getOffset(); }
    double getRawOffset() const { return current_->getRawOffset(); }
    double getDaylightSavings() const { return current_->getDaylightSavings(); }
    bool inDaylightTime() const { return current_->inDaylightTime(); }

    // --- The state at a given time ----------------------------------------------------------------

    /// The offset from UTC (raw offset plus saving) at `time`, given in clock `type`.
    double getOffset(double time, DateType::type type) const noexcept;
    double getRawOffset(double time, DateType::type type) const noexcept;
    /// The saving in force, 0 outside daylight time.
    double getDaylightSavings(double time, DateType::type type) const noexcept;
    bool inDaylightTime(double time, DateType::type type) const noexcept;
    /// The abbreviation ("CEST", "-03", "LMT" before standard time), held by the zone: taking a
    /// reference costs no shared count, so threads that format with one zone do not contend.
    const SharedString& getName(double time, DateType::type type) const noexcept;
    /// All of the above at once.
    std::shared_ptr<TimeZoneInfo> getInfo(double time, DateType::type type) const;

    /// `time` moved from clock `from` to clock `to`, with the offsets in force at it.
    double convertTime(double time, DateType::type from, DateType::type to) const noexcept;

    /// The first instant (UTC) after `time` (UTC) at which the offset, the saving or the
    /// abbreviation changes; NaN when they never change again.
    double getNextTransition(double time) const noexcept;

    // --- The zone's periods and the rules behind the answers -----------------------------------

    /// The zone's periods, newest first, with their saving rows.
    const std::vector<std::shared_ptr<const ZoneOffsetRule>>& getRules() const;

    /// The state that the period `row` (one of getRules()) gives at `time` in clock `type`: the
    /// zone's state at that time when it falls into the period, otherwise at the period's first
    /// or last second. Null for a row of another zone, a NaN time or an invalid clock.
    std::shared_ptr<TimeZoneInfo> getRuleInfo(const ZoneOffsetRule& row, double time, DateType::type type) const;

    /// The end of the period `row` in clock `type`: its end rule evaluated one second early and
    /// converted with the offsets of the period that ends, then the second added back. NaN for a
    /// row of another zone or an end that is no date.
    double getUntilTime(const ZoneOffsetRule& row, DateType::type type) const;

    /// When daylight time starts in `year` under `savingRow` (one of the rows of `row`), as
    /// seconds after midnight in clock `type`: the start rule's seconds converted from its own
    /// clock with the period's raw offset and the saving in force just before the start (in the
    /// row's last year when `year` is later). NaN when the row has no start or is not one of
    /// the period's rows.
    double getDSTStartSeconds(const ZoneOffsetRule& row, const SavingRule& savingRow, DateType::type type,
                              int year) const;

    /// The saving row that governs the start (or the end) of daylight time in `year`: `savingRow`
    /// itself when it contains the year and has a start (an end), otherwise the next row of the
    /// period's list (the one with earlier years), otherwise the previous one. The shared empty
    /// rule (SavingRule::getEmptyRule) when none of them does.
    std::shared_ptr<const SavingRule> searchDSTStartRule(const ZoneOffsetRule& row, const SavingRule& savingRow,
                                                         int year) const;
    std::shared_ptr<const SavingRule> searchDSTEndRule(const ZoneOffsetRule& row, const SavingRule& savingRow,
                                                       int year) const;

    ~TimeZone() override;
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

protected:
    TimeZone();

    /// Reads zone `id` from `reader` and works out its transitions; false for an unknown zone.
    bool initialize(std::string_view id, const std::shared_ptr<const ZoneDataReader>& reader);

private:
    // The periods of a zone and the transitions worked out from them, shared by the zone objects
    // of one identifier.
    struct Definition;

    static std::shared_ptr<const Definition> define(std::string_view id, const ZoneDataReader& reader);
    std::size_t indexOfRow(const ZoneOffsetRule& row) const;
    std::shared_ptr<TimeZoneInfo> createInfo(double time, DateType::type type) const;

    SharedString id_;
    std::shared_ptr<const Definition> definition_;
    // The transitions of the definition, for the queries.
    const TimeZoneTransitions* transitions_ = nullptr;
    std::shared_ptr<const TimeZoneInfo> current_;
};

}  // namespace pellium

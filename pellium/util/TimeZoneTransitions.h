#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "pellium/util/DateType.h"
#include "pellium/util/StringUtilities.h"
#include "pellium/util/TimeRule.h"
#include "pellium/util/ZoneOffsetRule.h"

namespace pellium {

/// The precomputed history of one zone, built once from its periods when a `TimeZone` is created
/// and read by it from any thread: every instant at which the zone's offset, daylight saving or
/// abbreviation changes, with the local time that follows, so that a query is a search instead of
/// an evaluation of rules. Internal to the library.
///
/// The transitions are those that the tz database's compiler, zic, derives from the same rules:
/// periods and rule rows are evaluated year by year in the order in which they take effect, each
/// rule time converted with the saving in force just before it; a period starts with the state
/// that the latest rule before its start left (or, when no rule came before, with standard time
/// and the letter of the first rule that returns to it); and a transition whose local time falls
/// back onto the one before it replaces it. Far-future years repeat the final rules, evaluated on
/// demand from the year after the table ends.
///
/// A wall-clock or standard time in the hour skipped when clocks go forward reads with the offset
/// in force before the change (standard time at the start of daylight time), and one in the hour
/// repeated when clocks go back reads as the earlier of its two instants (daylight time). So in
/// both cases the local time belongs to the period before the change until the clock reaches the
/// later of the two readings of the change.
class TimeZoneTransitions {
public:
    struct LocalTime {
        double offset = 0.0;
        double rawOffset = 0.0;
        double saving = 0.0;
        bool inDaylightTime = false;
        SharedString name;
    };

    /// The span of one period in UTC: from its start (minus infinity for the first) to its end
    /// (infinity for the newest). Both are NaN for a period whose end cannot be evaluated.
    struct PeriodSpan {
        double start;
        double end;
    };

    /// The transitions of a zone with `periods`, newest first. A period whose end does not exist
    /// in the calendar is left out, and logged.
    static std::shared_ptr<const TimeZoneTransitions> build(
        const std::vector<std::shared_ptr<const ZoneOffsetRule>>& periods);

    /// The local time in force at `time`, given in `clock`. `time` must not be NaN and `clock`
    /// must be a DateType.
    const LocalTime& find(double time, DateType::type clock) const noexcept {
        if (time >= recurringStart_) [[unlikely]] {
            return findRecurring(time, clock);
        }
        return types_[typeUpTo_[boundaries_[clock].countUpTo(time)]];
    }

    /// The first instant (UTC) after `time` at which anything about the local time changes; NaN
    /// when nothing ever changes again.
    double findNextTransition(double time) const noexcept;

    /// The span of the period at `index` among the periods the table was built from (newest
    /// first); NaN bounds for an index out of range.
    PeriodSpan getPeriodSpan(std::size_t index) const noexcept;

    /// How many transitions the table holds (those of the far future are not counted).
    std::size_t getTransitionCount() const noexcept { return typeUpTo_.size() - 1; }

private:
    class Builder;

    // The final period's rules, which repeat every year after the table ends.
    struct RecurringEvent {
        TimeRule rule;
        // Subtracted from the rule's local time to give UTC: the offset of its clock, with the
        // saving in force before it.
        double universalShift;
        // Added to the UTC instant to give where the change stands on the wall and standard
        // clocks (the later of the readings before and after it).
        double wallShift;
        double standardShift;
        std::uint32_t type;
    };

    // Where the transitions stand on one clock, ascending, with an index that makes finding them
    // a constant-time step: the span of the boundaries is cut into buckets of a power-of-two
    // width, about two for each boundary, and each bucket knows the first boundary at or after its
    // start. A search then looks only at the few boundaries of one bucket.
    class Boundaries {
    public:
        void append(double boundary);
        void buildIndex();
        /// How many boundaries are at or before `time`.
        std::size_t countUpTo(double time) const noexcept {
            if (values_.empty() || !(time >= values_.front())) {
                return 0;
            }
            if (time >= values_.back()) {
                return values_.size();
            }
            // Every boundary before the time's bucket is at or before the time, every one after
            // it after. A bucket mostly holds one boundary or none, which one comparison settles
            // without a branch; the first boundary at or after an empty bucket lies beyond it.
            const auto bucket = static_cast<std::size_t>((time - base_) * inverseWidth_);
            const std::size_t first = firstOfBucket_[bucket];
            const std::size_t last = firstOfBucket_[bucket + 1];
            if (last - first > 1) [[unlikely]] {
                return static_cast<std::size_t>(std::upper_bound(values_.begin() + static_cast<std::ptrdiff_t>(first),
                                                                 values_.begin() + static_cast<std::ptrdiff_t>(last),
                                                                 time) -
                                                values_.begin());
            }
            return first + static_cast<std::size_t>(values_[first] <= time);
        }
        const std::vector<double>& values() const noexcept { return values_; }

    private:
        std::vector<double> values_;
        double base_ = 0.0;
        double inverseWidth_ = 0.0;
        std::vector<std::uint32_t> firstOfBucket_;
    };

    const LocalTime& findRecurring(double time, DateType::type clock) const noexcept;
    double boundaryOf(const RecurringEvent& event, int year, DateType::type clock) const noexcept;

    std::vector<LocalTime> types_;
    // For each clock (indexed by DateType), where each transition stands on that clock.
    std::array<Boundaries, DateType::NUMBER_OF_VALUES> boundaries_;
    // The type in force once the first n transitions have passed: the initial type, then the
    // type after each transition.
    std::vector<std::uint32_t> typeUpTo_;
    // From this date-time on (in any clock), the recurring events answer.
    double recurringStart_ = 0.0;
    std::vector<RecurringEvent> recurring_;
    std::vector<PeriodSpan> periodSpans_;
};

}  // namespace pellium

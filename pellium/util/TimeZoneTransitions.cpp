#include "pellium/util/TimeZoneTransitions.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

#include "pellium/resources/logging/Logger.h"
#include "pellium/util/SavingRule.h"
#include "pellium/util/TimeUtilities.h"
#include "pellium/util/TimeZoneUtilities.h"

namespace pellium {

namespace {

constexpr double INFINITE = std::numeric_limits<double>::infinity();
constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

// The table holds every transition up to at least this year; later ones are evaluated on demand.
constexpr int MINIMUM_TABLE_YEAR = 2100;

// Bounds on the work that damaged rule files can cause: far more than any real zone needs (a few
// hundred transitions from some ten thousand rule evaluations).
constexpr std::size_t MAXIMUM_TRANSITIONS = 20000;
constexpr std::size_t MAXIMUM_RULE_EVALUATIONS = 500000;

// What to subtract from a time in `clock` to give UTC.
double universalShift(DateType::type clock, double rawOffset, double saving) {
    return -TimeZoneUtilities::getConversionOffset(clock, DateType::Universal, rawOffset, saving);
}

double dayStart(int year) {
    return TimeUtilities::mdy(1, 1, year) * TimeUtilities::SECONDS_PER_DAY;
}

// The zone's identifier for messages.
std::string zoneName(const std::vector<std::shared_ptr<const ZoneOffsetRule>>& periods) {
    return periods.empty() || periods.front()->getID() == nullptr ? std::string() : *periods.front()->getID();
}

// The year of a date-time; the calendar's last year for one beyond it.
int yearOf(double time) {
    const int year = TimeUtilities::year(std::floor(time / TimeUtilities::SECONDS_PER_DAY));
    return year < 0 ? (time > 0 ? TimeUtilities::LAST_YEAR : TimeUtilities::FIRST_YEAR) : year;
}

}  // namespace

// Derives the transitions of a zone the way zic derives them from the tz source.
class TimeZoneTransitions::Builder {
public:
    explicit Builder(const std::vector<std::shared_ptr<const ZoneOffsetRule>>& periods)
        : periods_(periods), table_(new TimeZoneTransitions()) {}

    std::shared_ptr<const TimeZoneTransitions> build();

private:
    // One rule of a saving row: a start (saving > 0 or < 0) or an end (saving 0) of daylight time.
    struct Event {
        TimeRule rule;
        DateType::type clock;
        double saving;
        std::string_view letter;
        int firstYear;
        int lastYear;
    };
    struct Candidate {
        double localTime;
        const Event* event;
    };
    struct Transition {
        double time;
        std::uint32_t type;
    };

    int findLastTableYear(const std::vector<std::size_t>& periodOrder) const;
    void buildFixedPeriod(const ZoneOffsetRule& period, bool isFirst, double saving);
    void buildRulePeriod(const ZoneOffsetRule& period, bool isFirst, bool isNewest, double untilLocalTime);
    void fillCandidates(const std::vector<const Event*>& active, int year,
                        std::array<std::vector<Candidate>, DateType::NUMBER_OF_VALUES>& candidates);
    std::uint32_t typeOf(double rawOffset, double saving, bool inDaylightTime, const std::string& name);
    std::uint32_t typeOf(const ZoneOffsetRule& period, const Event& event);
    static std::string abbreviationOf(const ZoneOffsetRule& period, const Event& event);
    static std::string abbreviationOf(const ZoneOffsetRule& period, std::string_view letter, double saving);
    void addTransition(double time, std::uint32_t type);
    bool isOverLimit();
    void finish();

    const std::vector<std::shared_ptr<const ZoneOffsetRule>>& periods_;
    std::shared_ptr<TimeZoneTransitions> table_;
    std::map<std::tuple<double, double, bool, std::string>, std::uint32_t> typeIndex_;
    std::vector<Transition> transitions_;
    // The type for times before the first transition: the first period's, or the first standard
    // time that a rule sets.
    std::optional<std::uint32_t> defaultType_;
    // The start (UTC) of the period being built, and the saving in force as its rules unfold.
    double startTime_ = -INFINITE;
    double saving_ = 0.0;
    // The year whose events of the newest period repeat in every later year.
    int recurringYear_ = 0;
    std::vector<RecurringEvent> recurring_;
    std::size_t ruleEvaluations_ = 0;
    bool overLimit_ = false;
};

std::shared_ptr<const TimeZoneTransitions> TimeZoneTransitions::build(
    const std::vector<std::shared_ptr<const ZoneOffsetRule>>& periods) {
    return Builder(periods).build();
}

std::shared_ptr<const TimeZoneTransitions> TimeZoneTransitions::Builder::build() {
    table_->periodSpans_.assign(periods_.size(), PeriodSpan{NOT_A_NUMBER, NOT_A_NUMBER});
    // The periods in the order they happened, without those whose end is no date.
    std::vector<std::size_t> periodOrder;
    for (std::size_t index = periods_.size(); index-- > 0;) {
        if (index > 0 && std::isnan(periods_[index]->getUntilRule().getTime())) {
            Logger::logLazily(LogLevel::WARNING, [&] {
                return "Time zone " + zoneName(periods_) +
                       ": a period ends on a day that does not exist; "
                       "the period is left out";
            });
            continue;
        }
        periodOrder.push_back(index);
    }
    recurringYear_ = findLastTableYear(periodOrder) + 1;

    for (std::size_t position = 0; position < periodOrder.size(); ++position) {
        const std::size_t index = periodOrder[position];
        const ZoneOffsetRule& period = *periods_[index];
        const bool isFirst = position == 0;
        const bool isNewest = index == 0;
        const double untilLocalTime = isNewest ? INFINITE : period.getUntilRule().getTime();
        const double start = startTime_;
        const auto fixedSaving =
            std::find_if(period.getSavingRules().begin(), period.getSavingRules().end(),
                         [](const std::shared_ptr<const SavingRule>& rule) { return rule->isNumeric(); });
        if (!period.hasSavingRules() || fixedSaving != period.getSavingRules().end()) {
            buildFixedPeriod(period, isFirst, period.hasSavingRules() ? (*fixedSaving)->getSaving() : 0.0);
        } else {
            buildRulePeriod(period, isFirst, isNewest, untilLocalTime);
        }
        // The next period starts where this one ends, read with the offsets of this one.
        startTime_ = untilLocalTime - universalShift(period.getUntilType(), period.getRawOffset(), saving_);
        table_->periodSpans_[index] = PeriodSpan{start, startTime_};
    }
    finish();
    return table_;
}

// The last year in which the rules of the zone change: after it, the newest period's rule rows
// that have no end are the only ones left, and the same events repeat every year.
int TimeZoneTransitions::Builder::findLastTableYear(const std::vector<std::size_t>& periodOrder) const {
    int lastYear = MINIMUM_TABLE_YEAR;
    for (const std::size_t index : periodOrder) {
        if (index > 0) {
            lastYear = std::max(lastYear, periods_[index]->getUntilRule().getYear());
            continue;
        }
        for (const std::shared_ptr<const SavingRule>& rule : periods_[index]->getSavingRules()) {
            lastYear = std::max(lastYear, std::min(rule->getFirstYear(), TimeUtilities::LAST_YEAR));
            if (rule->getLastYear() < SavingRule::NO_END_YEAR) {
                lastYear = std::max(lastYear, rule->getLastYear());
            }
        }
    }
    return std::min(lastYear + 1, TimeUtilities::LAST_YEAR);
}

void TimeZoneTransitions::Builder::buildFixedPeriod(const ZoneOffsetRule& period, bool isFirst, double saving) {
    saving_ = saving;
    const bool inDaylightTime = saving != 0.0;
    const std::uint32_t type =
        typeOf(period.getRawOffset(), saving, inDaylightTime, abbreviationOf(period, "", saving));
    if (isFirst) {
        defaultType_ = type;
    } else {
        addTransition(startTime_, type);
    }
}

// Evaluates the period's rules year by year, each year's rules in the order in which they take
// effect, from the first year of any of them: the rules before the period's start decide the
// state in which it starts.
void TimeZoneTransitions::Builder::buildRulePeriod(const ZoneOffsetRule& period, bool isFirst, bool isNewest,
                                                   double untilLocalTime) {
    std::vector<Event> events;
    for (const std::shared_ptr<const SavingRule>& row : period.getSavingRules()) {
        const int lastYear = row->getLastYear() >= SavingRule::NO_END_YEAR ? INT_MAX : row->getLastYear();
        const auto letterOf = [](const SharedString& letter) {
            return letter == nullptr ? std::string_view() : std::string_view(*letter);
        };
        if (row->getStartRule().isValid()) {
            events.push_back({row->getStartRule(), row->getStartType(), row->getSaving(),
                              letterOf(row->getStartLetter()), row->getFirstYear(), lastYear});
        }
        if (row->getEndRule().isValid()) {
            events.push_back({row->getEndRule(), row->getEndType(), 0.0, letterOf(row->getEndLetter()),
                              row->getFirstYear(), lastYear});
        }
    }
    if (events.empty()) {
        buildFixedPeriod(period, isFirst, 0.0);
        return;
    }
    std::stable_sort(events.begin(), events.end(),
                     [](const Event& left, const Event& right) { return left.firstYear < right.firstYear; });

    const double rawOffset = period.getRawOffset();
    const bool hasEnd = !isNewest;
    bool beforeStart = !isFirst;
    double startOffset = rawOffset;
    std::optional<std::string> startName;
    saving_ = 0.0;

    std::array<std::vector<Candidate>, DateType::NUMBER_OF_VALUES> candidates;
    std::vector<const Event*> active;
    std::size_t nextEvent = 0;
    const int lastYear = std::min(hasEnd ? period.getUntilRule().getYear() : recurringYear_, TimeUtilities::LAST_YEAR);
    for (int year = std::max(events.front().firstYear, TimeUtilities::FIRST_YEAR); year <= lastYear; ++year) {
        while (nextEvent < events.size() && events[nextEvent].firstYear <= year) {
            active.push_back(&events[nextEvent++]);
        }
        std::erase_if(active, [year](const Event* event) { return event->lastYear < year; });
        if (active.empty()) {
            if (nextEvent == events.size()) {
                break;
            }
            year = events[nextEvent].firstYear - 1;
            continue;
        }
        ruleEvaluations_ += active.size();
        if (isOverLimit()) {
            break;
        }
        fillCandidates(active, year, candidates);
        std::array<std::size_t, DateType::NUMBER_OF_VALUES> next = {0, 0, 0};
        for (;;) {
            // The rule that takes effect first, each converted to UTC with the saving in force
            // until then; the end of the period is converted the same way.
            const Candidate* earliest = nullptr;
            double earliestTime = 0.0;
            for (const DateType::type clock : DateType::allValues()) {
                if (next[clock] < candidates[clock].size()) {
                    const Candidate& candidate = candidates[clock][next[clock]];
                    const double time = candidate.localTime - universalShift(clock, rawOffset, saving_);
                    if (earliest == nullptr || time < earliestTime) {
                        earliest = &candidate;
                        earliestTime = time;
                    }
                }
            }
            if (earliest == nullptr) {
                break;
            }
            const Event& event = *earliest->event;
            ++next[event.clock];
            if (hasEnd && earliestTime >= untilLocalTime - universalShift(period.getUntilType(), rawOffset, saving_)) {
                if (!startName && rawOffset + event.saving == startOffset) {
                    startName = abbreviationOf(period, event);
                }
                break;
            }
            const double savingBefore = saving_;
            saving_ = event.saving;
            if (beforeStart && earliestTime == startTime_) {
                beforeStart = false;
            }
            if (beforeStart) {
                if (earliestTime < startTime_) {
                    startOffset = rawOffset + saving_;
                    startName = abbreviationOf(period, event);
                    continue;
                }
                if (!startName && startOffset == rawOffset + saving_) {
                    startName = abbreviationOf(period, event);
                }
            }
            const std::uint32_t type = typeOf(period, event);
            addTransition(earliestTime, type);
            if (!defaultType_ && event.saving == 0.0) {
                defaultType_ = type;
            }
            if (year == recurringYear_ && isNewest) {
                recurring_.push_back(
                    RecurringEvent{event.rule, universalShift(event.clock, rawOffset, savingBefore), 0.0, 0.0, type});
            }
        }
    }
    if (beforeStart) {
        // No rule took effect at the very start: the period starts in the state that the latest
        // earlier rule left, named after it or after the first later rule to the same offset.
        const bool inDaylightTime = startOffset != rawOffset;
        if (!startName) {
            startName = abbreviationOf(period, "", startOffset - rawOffset);
        }
        const std::uint32_t type = typeOf(rawOffset, startOffset - rawOffset, inDaylightTime, *startName);
        if (!defaultType_ && !inDaylightTime) {
            defaultType_ = type;
        }
        addTransition(startTime_, type);
    }
}

void TimeZoneTransitions::Builder::fillCandidates(
    const std::vector<const Event*>& active, int year,
    std::array<std::vector<Candidate>, DateType::NUMBER_OF_VALUES>& candidates) {
    for (std::vector<Candidate>& clockCandidates : candidates) {
        clockCandidates.clear();
    }
    for (const Event* event : active) {
        const double localTime = event->rule.getTime(year);
        if (!std::isnan(localTime) && DateType::isValid(event->clock)) {
            candidates[event->clock].push_back({localTime, event});
        }
    }
    // Within one clock the order of the rules does not depend on the saving in force.
    for (std::vector<Candidate>& clockCandidates : candidates) {
        std::stable_sort(
            clockCandidates.begin(), clockCandidates.end(),
            [](const Candidate& left, const Candidate& right) { return left.localTime < right.localTime; });
    }
}

std::uint32_t TimeZoneTransitions::Builder::typeOf(double rawOffset, double saving, bool inDaylightTime,
                                                   const std::string& name) {
    const auto [entry, isNew] = typeIndex_.try_emplace(std::make_tuple(rawOffset, saving, inDaylightTime, name),
                                                       static_cast<std::uint32_t>(table_->types_.size()));
    if (isNew) {
        table_->types_.push_back(
            LocalTime{rawOffset + saving, rawOffset, saving, inDaylightTime, StringUtilities::internString(name)});
    }
    return entry->second;
}

std::uint32_t TimeZoneTransitions::Builder::typeOf(const ZoneOffsetRule& period, const Event& event) {
    return typeOf(period.getRawOffset(), event.saving, event.saving != 0.0, abbreviationOf(period, event));
}

std::string TimeZoneTransitions::Builder::abbreviationOf(const ZoneOffsetRule& period, const Event& event) {
    return abbreviationOf(period, event.letter, event.saving);
}

// Daylight time is in force whenever the saving is not zero, also when it is negative.
std::string TimeZoneTransitions::Builder::abbreviationOf(const ZoneOffsetRule& period, std::string_view letter,
                                                         double saving) {
    const std::string_view format = period.getFormat() == nullptr ? std::string_view() : *period.getFormat();
    return TimeZoneUtilities::formatAbbreviation(format, letter, saving != 0.0, period.getRawOffset() + saving);
}

void TimeZoneTransitions::Builder::addTransition(double time, std::uint32_t type) {
    if (!std::isnan(time) && !isOverLimit()) {
        transitions_.push_back({time, type});
    }
}

bool TimeZoneTransitions::Builder::isOverLimit() {
    if (!overLimit_ && (transitions_.size() >= MAXIMUM_TRANSITIONS || ruleEvaluations_ >= MAXIMUM_RULE_EVALUATIONS)) {
        overLimit_ = true;
        Logger::logLazily(LogLevel::WARNING, [&] {
            return "Time zone " + zoneName(periods_) +
                   ": the rules give more transitions than a zone can have; the later ones are left out";
        });
    }
    return overLimit_;
}

void TimeZoneTransitions::Builder::finish() {
    if (table_->types_.empty()) {
        typeOf(0.0, 0.0, false, "UTC");
    }
    const std::vector<LocalTime>& types = table_->types_;

    // In time order, dropping transitions that change nothing, and letting a transition whose
    // local time falls back onto the one before it take that one's place, as zic does.
    std::stable_sort(transitions_.begin(), transitions_.end(),
                     [](const Transition& left, const Transition& right) { return left.time < right.time; });
    std::vector<Transition> kept;
    kept.reserve(transitions_.size());
    for (const Transition& transition : transitions_) {
        if (!kept.empty()) {
            const std::uint32_t typeBeforeLast = kept.size() == 1 ? 0 : kept[kept.size() - 2].type;
            if (transition.time + types[kept.back().type].offset <= kept.back().time + types[typeBeforeLast].offset) {
                kept.back().type = transition.type;
                continue;
            }
            if (kept.back().type == transition.type) {
                continue;
            }
        }
        kept.push_back(transition);
    }

    // Where each transition stands on each clock: on the local clocks, at the later of its two
    // readings, which puts skipped and repeated local times in the period before it.
    table_->typeUpTo_.reserve(kept.size() + 1);
    table_->typeUpTo_.push_back(defaultType_.value_or(0));
    for (const Transition& transition : kept) {
        const LocalTime& before = types[table_->typeUpTo_.back()];
        const LocalTime& after = types[transition.type];
        table_->boundaries_[DateType::Universal].append(transition.time);
        table_->boundaries_[DateType::Wall].append(transition.time + std::max(before.offset, after.offset));
        table_->boundaries_[DateType::Standard].append(transition.time + std::max(before.rawOffset, after.rawOffset));
        table_->typeUpTo_.push_back(transition.type);
    }
    for (Boundaries& boundaries : table_->boundaries_) {
        boundaries.buildIndex();
    }

    // The newest period's events of one year, each knowing the type in force before it (the
    // type of the event before, or of the year's last event for the first).
    for (std::size_t index = 0; index < recurring_.size(); ++index) {
        RecurringEvent& event = recurring_[index];
        const LocalTime& before = types[recurring_[(index + recurring_.size() - 1) % recurring_.size()].type];
        const LocalTime& after = types[event.type];
        event.wallShift = std::max(before.offset, after.offset);
        event.standardShift = std::max(before.rawOffset, after.rawOffset);
    }
    table_->recurring_ = std::move(recurring_);
    table_->recurringStart_ = table_->recurring_.empty() || overLimit_ ? INFINITE : dayStart(recurringYear_);
    if (std::isnan(table_->recurringStart_)) {
        table_->recurringStart_ = INFINITE;
    }
    if (overLimit_) {
        table_->recurring_.clear();
    }
}

void TimeZoneTransitions::Boundaries::append(double boundary) {
    // A boundary never stands before the one before it: when two transitions come closer than
    // their change of offset, the local times between belong to the later one.
    values_.push_back(values_.empty() ? boundary : std::max(boundary, values_.back()));
}

void TimeZoneTransitions::Boundaries::buildIndex() {
    if (values_.empty()) {
        return;
    }
    base_ = std::floor(values_.front());
    const double span = values_.back() - base_;
    int exponent = 10;
    while (std::ldexp(1.0, exponent) * 2.0 * static_cast<double>(values_.size()) < span) {
        ++exponent;
    }
    const double width = std::ldexp(1.0, exponent);
    inverseWidth_ = std::ldexp(1.0, -exponent);
    const auto bucketCount = static_cast<std::size_t>(span * inverseWidth_) + 1;
    firstOfBucket_.resize(bucketCount + 1);
    std::size_t first = 0;
    for (std::size_t bucket = 0; bucket <= bucketCount; ++bucket) {
        const double bucketStart = base_ + static_cast<double>(bucket) * width;
        while (first < values_.size() && values_[first] < bucketStart) {
            ++first;
        }
        firstOfBucket_[bucket] = static_cast<std::uint32_t>(first);
    }
}

// Evaluates the repeating events of the year before, of and after the time's year, and answers
// the type that the last of them before the time set.
const TimeZoneTransitions::LocalTime& TimeZoneTransitions::findRecurring(double time,
                                                                         DateType::type clock) const noexcept {
    const int year = yearOf(time);
    const RecurringEvent* latest = nullptr;
    double latestBoundary = -INFINITE;
    for (int eventYear = year - 1; eventYear <= year + 1; ++eventYear) {
        for (const RecurringEvent& event : recurring_) {
            const double boundary = boundaryOf(event, eventYear, clock);
            if (boundary <= time && boundary >= latestBoundary) {
                latest = &event;
                latestBoundary = boundary;
            }
        }
    }
    return types_[(latest != nullptr ? *latest : recurring_.back()).type];
}

double TimeZoneTransitions::boundaryOf(const RecurringEvent& event, int year, DateType::type clock) const noexcept {
    const double universal = event.rule.getTime(year) - event.universalShift;
    switch (clock) {
        case DateType::Wall:
            return universal + event.wallShift;
        case DateType::Standard:
            return universal + event.standardShift;
        default:
            return universal;
    }
}

double TimeZoneTransitions::findNextTransition(double time) const noexcept {
    if (std::isnan(time)) {
        return NOT_A_NUMBER;
    }
    const std::vector<double>& universal = boundaries_[DateType::Universal].values();
    const std::size_t passed = boundaries_[DateType::Universal].countUpTo(time);
    if (passed < universal.size()) {
        return universal[passed];
    }
    if (recurring_.empty()) {
        return NOT_A_NUMBER;
    }
    const int year = yearOf(time);
    double earliest = INFINITE;
    for (int eventYear = year - 1; eventYear <= year + 2; ++eventYear) {
        for (std::size_t index = 0; index < recurring_.size(); ++index) {
            const RecurringEvent& event = recurring_[index];
            const RecurringEvent& before = recurring_[(index + recurring_.size() - 1) % recurring_.size()];
            const double boundary = boundaryOf(event, eventYear, DateType::Universal);
            if (event.type != before.type && boundary > time && boundary < earliest) {
                earliest = boundary;
            }
        }
    }
    return std::isinf(earliest) ? NOT_A_NUMBER : earliest;
}

TimeZoneTransitions::PeriodSpan TimeZoneTransitions::getPeriodSpan(std::size_t index) const noexcept {
    return index < periodSpans_.size() ? periodSpans_[index] : PeriodSpan{NOT_A_NUMBER, NOT_A_NUMBER};
}

}  // namespace pellium

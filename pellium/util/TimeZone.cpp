#include "pellium/util/TimeZone.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <mutex>

#include "pellium/util/TimeUtilities.h"
#include "pellium/util/TimeZoneTransitions.h"
#include "pellium/util/TimeZoneUtilities.h"
#include "pellium/util/vector_map.h"

namespace pellium {

namespace {

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

bool isQueryable(double time, DateType::type type) {
    return !std::isnan(time) && DateType::isValid(type);
}

// The first of the rows at `index`, after it and before it in `rows` that contains `year` and
// has the rule that `hasRule` looks for.
template <class HasRule>
std::shared_ptr<const SavingRule> searchNeighbours(const std::vector<std::shared_ptr<const SavingRule>>& rows,
                                                   const SavingRule& savingRow, int year, HasRule hasRule) {
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const std::shared_ptr<const SavingRule>& row) {
        return row.get() == &savingRow;
    });
    if (found == rows.end()) {
        return SavingRule::getEmptyRule();
    }
    const auto index = static_cast<std::size_t>(found - rows.begin());
    for (const std::size_t candidate : {index, index + 1, index - 1}) {
        if (candidate < rows.size() && rows[candidate]->contains(year) && hasRule(*rows[candidate])) {
            return rows[candidate];
        }
    }
    return SavingRule::getEmptyRule();
}

}  // namespace

TimeZone::TimeZone() = default;

TimeZone::~TimeZone() = default;

std::shared_ptr<TimeZone> TimeZone::create(std::string_view id) {
    return create(id, ZoneDataReader::getDefault());
}

std::shared_ptr<TimeZone> TimeZone::create(std::string_view id, const std::shared_ptr<const ZoneDataReader>& reader) {
    std::shared_ptr<TimeZone> zone(new TimeZone());
    return zone->initialize(id, reader) ? zone : nullptr;
}

struct TimeZone::Definition {
    std::vector<std::shared_ptr<const ZoneOffsetRule>> rules;
    std::shared_ptr<const TimeZoneTransitions> transitions;
};

std::shared_ptr<const TimeZone::Definition> TimeZone::define(std::string_view id, const ZoneDataReader& reader) {
    auto definition = std::make_shared<Definition>();
    std::vector<std::shared_ptr<ZoneOffsetRule>> rules = reader.getAllRules(id);
    definition->rules.assign(rules.begin(), rules.end());
    definition->transitions = TimeZoneTransitions::build(definition->rules);
    return definition;
}

bool TimeZone::initialize(std::string_view id, const std::shared_ptr<const ZoneDataReader>& reader) {
    if (reader == nullptr || !reader->isValidID(id)) {
        return false;
    }
    id_ = StringUtilities::internString(id);
    if (reader == ZoneDataReader::getDefault()) {
        // The compiled-in zones are defined once per process. Definitions are built outside the
        // lock; when two threads define the same zone at once, the first one stored is kept.
        static std::mutex cacheMutex;
        static vector_map<std::string, std::shared_ptr<const Definition>> cache;
        {
            const std::lock_guard<std::mutex> lock(cacheMutex);
            const auto cached = cache.find(id);
            if (cached != cache.end()) {
                definition_ = cached->second;
            }
        }
        if (definition_ == nullptr) {
            std::shared_ptr<const Definition> built = define(id, *reader);
            const std::lock_guard<std::mutex> lock(cacheMutex);
            definition_ = cache.try_emplace(std::string(id), std::move(built)).first->second;
        }
    } else {
        definition_ = define(id, *reader);
    }
    transitions_ = definition_->transitions.get();
    current_ = createInfo(TimeUtilities::now(), DateType::Universal);
    return true;
}

const std::vector<std::shared_ptr<const ZoneOffsetRule>>& TimeZone::getRules() const {
    return definition_->rules;
}

bool TimeZone::isValidID(std::string_view id) {
    return ZoneDataReader::getDefault()->isValidID(id);
}

std::vector<std::string> TimeZone::getAvailableIDs() {
    return ZoneDataReader::getDefault()->getAllIDs();
}

std::string TimeZone::getIDFromOffset(double offset) {
    const double hours = offset / 3600.0;
    if (!(hours >= -12.0 && hours <= 14.0) || hours != std::floor(hours)) {
        return {};
    }
    const int wholeHours = static_cast<int>(hours);
    std::string id = "Etc/GMT";
    if (wholeHours != 0) {
        // The names follow POSIX, where the sign tells the offset west of UTC.
        id += wholeHours > 0 ? '-' : '+';
        id += std::to_string(std::abs(wholeHours));
    }
    return isValidID(id) ? id : std::string();
}

int TimeZone::getWrapperTypeId() const {
    return WrapperTypeIds::TIME_ZONE;
}

double TimeZone::getOffset(double time, DateType::type type) const noexcept {
    return isQueryable(time, type) ? transitions_->find(time, type).offset : NOT_A_NUMBER;
}

double TimeZone::getRawOffset(double time, DateType::type type) const noexcept {
    return isQueryable(time, type) ? transitions_->find(time, type).rawOffset : NOT_A_NUMBER;
}

double TimeZone::getDaylightSavings(double time, DateType::type type) const noexcept {
    return isQueryable(time, type) ? transitions_->find(time, type).saving : NOT_A_NUMBER;
}

bool TimeZone::inDaylightTime(double time, DateType::type type) const noexcept {
    return isQueryable(time, type) && transitions_->find(time, type).inDaylightTime;
}

const SharedString& TimeZone::getName(double time, DateType::type type) const noexcept {
    return isQueryable(time, type) ? transitions_->find(time, type).name : StringUtilities::getNullString();
}

std::shared_ptr<TimeZoneInfo> TimeZone::getInfo(double time, DateType::type type) const {
    if (!isQueryable(time, type)) {
        return nullptr;
    }
    return createInfo(time, type);
}

double TimeZone::convertTime(double time, DateType::type from, DateType::type to) const noexcept {
    if (!isQueryable(time, from) || !DateType::isValid(to)) {
        return NOT_A_NUMBER;
    }
    const TimeZoneTransitions::LocalTime& local = transitions_->find(time, from);
    return TimeZoneUtilities::convertTime(time, from, to, local.rawOffset, local.saving);
}

double TimeZone::getNextTransition(double time) const noexcept {
    return transitions_->findNextTransition(time);
}

std::shared_ptr<TimeZoneInfo> TimeZone::getRuleInfo(const ZoneOffsetRule& row, double time, DateType::type type) const {
    const TimeZoneTransitions::PeriodSpan span = transitions_->getPeriodSpan(indexOfRow(row));
    if (!isQueryable(time, type) || std::isnan(span.start)) {
        return nullptr;
    }
    const double universalTime = convertTime(time, type, DateType::Universal);
    return createInfo(std::max(span.start, std::min(universalTime, span.end - 1.0)), DateType::Universal);
}

double TimeZone::getUntilTime(const ZoneOffsetRule& row, DateType::type type) const {
    if (indexOfRow(row) == getRules().size() || !DateType::isValid(type)) {
        return NOT_A_NUMBER;
    }
    // One second early, so that the offsets are those of the period that ends.
    double time = row.getUntilRule().getTime() - 1.0;
    DateType::type clock = row.getUntilType();
    if (clock == DateType::Universal) {
        time += row.getRawOffset();
        clock = DateType::Standard;
    }
    if (clock != type) {
        const std::shared_ptr<TimeZoneInfo> info = getRuleInfo(row, time, clock);
        if (info == nullptr) {
            return NOT_A_NUMBER;
        }
        time = TimeZoneUtilities::convertTime(time, clock, type, info->getRawOffset(),
                                              info->inDaylightTime() ? info->getDaylightSavings() : 0.0);
    }
    return time + 1.0;
}

double TimeZone::getDSTStartSeconds(const ZoneOffsetRule& row, const SavingRule& savingRow, DateType::type type,
                                    int year) const {
    const auto& rows = row.getSavingRules();
    const bool isRowOfPeriod =
        std::any_of(rows.begin(), rows.end(),
                    [&](const std::shared_ptr<const SavingRule>& rule) { return rule.get() == &savingRow; });
    if (!isRowOfPeriod || !savingRow.getStartRule().isValid() || !DateType::isValid(type)) {
        return NOT_A_NUMBER;
    }
    const int ruleYear =
        savingRow.getLastYear() >= SavingRule::NO_END_YEAR ? year : std::min(year, savingRow.getLastYear());
    const double start = savingRow.getStartRule().getTime(ruleYear);
    const std::shared_ptr<TimeZoneInfo> before = getRuleInfo(row, start - 1.0, savingRow.getStartType());
    if (before == nullptr) {
        return NOT_A_NUMBER;
    }
    return savingRow.getStartRule().getSeconds() +
           TimeZoneUtilities::getConversionOffset(savingRow.getStartType(), type, row.getRawOffset(),
                                                  before->inDaylightTime() ? before->getDaylightSavings() : 0.0);
}

std::shared_ptr<const SavingRule> TimeZone::searchDSTStartRule(const ZoneOffsetRule& row, const SavingRule& savingRow,
                                                               int year) const {
    return searchNeighbours(row.getSavingRules(), savingRow, year,
                            [](const SavingRule& rule) { return rule.getStartRule().isValid(); });
}

std::shared_ptr<const SavingRule> TimeZone::searchDSTEndRule(const ZoneOffsetRule& row, const SavingRule& savingRow,
                                                             int year) const {
    return searchNeighbours(row.getSavingRules(), savingRow, year,
                            [](const SavingRule& rule) { return rule.getEndRule().isValid(); });
}

std::size_t TimeZone::indexOfRow(const ZoneOffsetRule& row) const {
    const std::vector<std::shared_ptr<const ZoneOffsetRule>>& rules = getRules();
    const auto found = std::find_if(rules.begin(), rules.end(), [&](const std::shared_ptr<const ZoneOffsetRule>& rule) {
        return rule.get() == &row;
    });
    return static_cast<std::size_t>(found - rules.begin());
}

std::shared_ptr<TimeZoneInfo> TimeZone::createInfo(double time, DateType::type type) const {
    const TimeZoneTransitions::LocalTime& local = transitions_->find(time, type);
    return TimeZoneInfo::create(id_, local.name, local.offset, local.rawOffset, local.saving, local.inDaylightTime);
}

}  // namespace pellium

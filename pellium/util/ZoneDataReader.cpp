#include "pellium/util/ZoneDataReader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "pellium/resources/files/CompiledAssets.h"
#include "pellium/resources/logging/Logger.h"
#include "pellium/util/TimeUtilities.h"

namespace pellium {

namespace {

constexpr std::size_t ZONE_FIELD_COUNT = 11;
constexpr std::size_t SAVING_FIELD_COUNT = 18;

// The column names of the two files' headers, for messages about a field.
constexpr std::array<std::string_view, ZONE_FIELD_COUNT> zoneFieldNames = {
    "tzid",       "format",   "offset",   "save",      "mode",    "untilYear",
    "untilMonth", "untilDay", "untilDOW", "untilTime", "timeType"};
constexpr std::array<std::string_view, SAVING_FIELD_COUNT> savingFieldNames = {
    "saving",    "from",      "to",   "dstmode", "dstmonth", "dstday", "dstDOW",  "dstseconds", "dsttimeType",
    "dstoffset", "dstletter", "mode", "month",   "day",      "DOW",    "seconds", "timeType",   "letter"};

// Warnings name the first malformed rows one by one and sum up the rest, so that a damaged file
// cannot flood the log.
constexpr std::size_t MAXIMUM_ROW_WARNINGS = 10;

// Where the fields of a rule stand in a row; the rules of the saving file have no year field.
struct RuleColumns {
    std::size_t mode;
    std::optional<std::size_t> year;
    std::size_t month;
    std::size_t day;
    std::size_t weekday;
    std::size_t seconds;
    std::size_t type;
};

constexpr RuleColumns zoneEndColumns = {4, 5, 6, 7, 8, 9, 10};
constexpr RuleColumns savingStartColumns = {3, std::nullopt, 4, 5, 6, 7, 8};
constexpr RuleColumns savingEndColumns = {11, std::nullopt, 12, 13, 14, 15, 16};

// The lines of a text, without their line ends, numbered from 1.
template <class Visit>
void forEachLine(std::string_view text, Visit&& visit) {
    std::size_t lineNumber = 0;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        visit(++lineNumber, line);
    }
}

void logUnknownRuleSet(std::string_view zoneId, std::string_view ruleSetName) {
    Logger::logLazily(LogLevel::WARNING, [&] {
        return "vek_historictimezone.txt: zone " + std::string(zoneId) + " names the rule set " +
               std::string(ruleSetName) + ", which does not exist; the period has no daylight saving";
    });
}

bool isCommentOrBlank(std::string_view line) {
    const std::string_view content = StringUtilities::trimLeft(line);
    return content.empty() || content.front() == '#';
}

}  // namespace

// Reads the rows of one file and reports why a row is skipped.
class ZoneDataReader::RowReader {
public:
    RowReader(std::string_view fileName, std::span<const std::string_view> fieldNames)
        : fileName_(fileName), fieldNames_(fieldNames) {}

    ~RowReader() {
        if (skippedCount_ > MAXIMUM_ROW_WARNINGS) {
            Logger::logLazily(LogLevel::WARNING, [this] {
                return std::string(fileName_) + ": " + std::to_string(skippedCount_ - MAXIMUM_ROW_WARNINGS) +
                       " more malformed rows skipped";
            });
        }
    }
    RowReader(const RowReader&) = delete;
    RowReader& operator=(const RowReader&) = delete;

    std::size_t getSkippedCount() const { return skippedCount_; }

    /// Splits `line` into its fields; false (and the row skipped) unless there are exactly as
    /// many as the file has columns.
    bool split(std::size_t lineNumber, std::string_view line, std::vector<std::string_view>& fields) {
        lineNumber_ = lineNumber;
        fields = StringUtilities::tokenizeViews(line, ";");
        for (std::string_view& field : fields) {
            field = StringUtilities::trim(field);
        }
        if (fields.size() != fieldNames_.size()) {
            return skip("expected " + std::to_string(fieldNames_.size()) + " fields, found " +
                        std::to_string(fields.size()));
        }
        return true;
    }

    bool readText(std::string_view field, std::size_t column, SharedString& value) {
        if (field.empty()) {
            return skipField(column, "is empty");
        }
        value = StringUtilities::internString(field);
        return true;
    }

    bool readInteger(std::string_view field, std::size_t column, int minimum, int maximum, int& value) {
        if (!StringUtilities::tryParseInt(field, value) || value < minimum || value > maximum) {
            return skipField(column,
                             "is not an integer from " + std::to_string(minimum) + " to " + std::to_string(maximum));
        }
        return true;
    }

    bool readOffset(std::string_view field, std::size_t column, double& value) {
        value = StringUtilities::createDoubleFromString(field);
        if (!(std::fabs(value) <= MAXIMUM_OFFSET)) {
            return skipField(column, "is not a number of seconds within 48 hours");
        }
        return true;
    }

    /// Reads a rule and its clock. With `mayBeAbsent`, mode 0 gives an absent rule and the other
    /// fields of the rule are not looked at. `year` stands in for a rule without a year column.
    bool readRule(const std::vector<std::string_view>& fields, const RuleColumns& columns, bool mayBeAbsent, int year,
                  TimeRule& rule, DateType::type& clock) {
        int mode = 0;
        if (!readInteger(fields[columns.mode], columns.mode, mayBeAbsent ? 0 : 1, 3, mode)) {
            return false;
        }
        if (mode == DateMode::None) {
            rule = TimeRule();
            clock = DateType::Wall;
            return true;
        }
        const bool namesWeekday = mode != DateMode::DayOfMonth;
        int month = 0;
        int day = 0;
        int weekday = 0;
        int seconds = 0;
        int type = 0;
        if ((columns.year && !readInteger(fields[*columns.year], *columns.year, TimeUtilities::FIRST_YEAR,
                                          TimeUtilities::LAST_YEAR, year)) ||
            !readInteger(fields[columns.month], columns.month, 1, 12, month) ||
            !readInteger(fields[columns.day], columns.day, mode == DateMode::LastWeekday ? -31 : 1, 31, day) ||
            !readInteger(fields[columns.weekday], columns.weekday, namesWeekday ? 1 : -1, 7, weekday) ||
            !readInteger(fields[columns.seconds], columns.seconds, -MAXIMUM_RULE_SECONDS, MAXIMUM_RULE_SECONDS,
                         seconds) ||
            !readInteger(fields[columns.type], columns.type, DateType::Wall, DateType::Standard, type)) {
            return false;
        }
        if (!namesWeekday && weekday == 0) {
            return skipField(columns.weekday, "is 0; a day of the month names no weekday (-1)");
        }
        rule = TimeRule(static_cast<DateMode::type>(mode), year, month, day, weekday, seconds);
        clock = static_cast<DateType::type>(type);
        return true;
    }

    bool skip(const std::string& reason) {
        ++skippedCount_;
        if (skippedCount_ <= MAXIMUM_ROW_WARNINGS) {
            Logger::logLazily(LogLevel::WARNING, [&] {
                return std::string(fileName_) + " line " + std::to_string(lineNumber_) + ": " + reason +
                       "; row skipped";
            });
        }
        return false;
    }

private:
    bool skipField(std::size_t column, const std::string& problem) {
        return skip("field " + std::to_string(column + 1) + " (" + std::string(fieldNames_[column]) + ") " + problem);
    }

    std::string_view fileName_;
    std::span<const std::string_view> fieldNames_;
    std::size_t lineNumber_ = 0;
    std::size_t skippedCount_ = 0;
};

std::shared_ptr<const ZoneDataReader> ZoneDataReader::getDefault() {
    static const std::shared_ptr<const ZoneDataReader> defaultReader = [] {
        const std::optional<std::string_view> zoneText = CompiledAssets::find(ZONE_ASSET);
        const std::optional<std::string_view> savingText = CompiledAssets::find(SAVING_ASSET);
        if (!zoneText || !savingText) {
            Logger::warning("The time-zone rule files are not compiled into the library; only UTC is known");
        }
        return create(zoneText.value_or(std::string_view()), savingText.value_or(std::string_view()));
    }();
    return defaultReader;
}

std::shared_ptr<const ZoneDataReader> ZoneDataReader::create(std::string_view zoneText, std::string_view savingText) {
    std::shared_ptr<ZoneDataReader> reader(new ZoneDataReader());

    // Rows are gathered in file order and grouped by a stable sort, so that the rows of a zone or
    // a rule set keep their order wherever in the file they stand, and building the maps in key
    // order costs no moves.
    std::vector<std::pair<std::string_view, std::shared_ptr<const SavingRule>>> savingRows;
    {
        RowReader rows("vek_saving.txt", savingFieldNames);
        std::vector<std::string_view> fields;
        forEachLine(savingText, [&](std::size_t lineNumber, std::string_view line) {
            if (isCommentOrBlank(line) || !rows.split(lineNumber, line, fields)) {
                return;
            }
            SavingRule::Fields rule;
            if (!rows.readText(fields[0], 0, rule.name) ||
                !rows.readInteger(fields[1], 1, TimeUtilities::FIRST_YEAR, TimeUtilities::LAST_YEAR, rule.firstYear) ||
                !rows.readInteger(fields[2], 2, rule.firstYear, TimeUtilities::LAST_YEAR, rule.lastYear) ||
                !rows.readRule(fields, savingStartColumns, true, rule.firstYear, rule.startRule, rule.startType) ||
                !rows.readOffset(fields[9], 9, rule.saving) || !rows.readText(fields[10], 10, rule.startLetter) ||
                !rows.readRule(fields, savingEndColumns, true, rule.firstYear, rule.endRule, rule.endType) ||
                !rows.readText(fields[17], 17, rule.endLetter)) {
                return;
            }
            if (!rule.startRule.isValid() && !rule.endRule.isValid()) {
                rows.skip("the row neither starts nor ends daylight time");
                return;
            }
            savingRows.emplace_back(fields[0], SavingRule::create(std::move(rule)));
        });
        reader->skippedRowCount_ += rows.getSkippedCount();
    }
    std::stable_sort(savingRows.begin(), savingRows.end(),
                     [](const auto& left, const auto& right) { return left.first < right.first; });
    for (auto& [name, rule] : savingRows) {
        reader->ruleSets_.try_emplace(std::string(name)).first->second.push_back(std::move(rule));
    }

    std::vector<std::pair<std::string_view, ZonePeriod>> zoneRows;
    {
        RowReader rows("vek_historictimezone.txt", zoneFieldNames);
        std::vector<std::string_view> fields;
        forEachLine(zoneText, [&](std::size_t lineNumber, std::string_view line) {
            if (isCommentOrBlank(line) || !rows.split(lineNumber, line, fields)) {
                return;
            }
            ZonePeriod period;
            SharedString id;
            SharedString save;
            if (!rows.readText(fields[0], 0, id) || !rows.readText(fields[1], 1, period.format) ||
                !rows.readOffset(fields[2], 2, period.rawOffset) || !rows.readText(fields[3], 3, save) ||
                !rows.readRule(fields, zoneEndColumns, false, 0, period.untilRule, period.untilType)) {
                return;
            }
            if (SavingRule::isNumericName(*save)) {
                double saving = 0.0;
                if (!rows.readOffset(fields[3], 3, saving)) {
                    return;
                }
                if (saving != 0.0) {
                    period.fixedSaving = SavingRule::createFixed(save, saving);
                }
            } else {
                period.ruleSetName = save;
            }
            zoneRows.emplace_back(fields[0], std::move(period));
        });
        reader->skippedRowCount_ += rows.getSkippedCount();
    }
    std::stable_sort(zoneRows.begin(), zoneRows.end(),
                     [](const auto& left, const auto& right) { return left.first < right.first; });
    for (auto& [id, period] : zoneRows) {
        if (period.ruleSetName != nullptr && !reader->ruleSets_.contains(*period.ruleSetName)) {
            logUnknownRuleSet(id, *period.ruleSetName);
            period.ruleSetName = nullptr;
        }
        Zone& zone = reader->zones_.try_emplace(std::string(id)).first->second;
        if (zone.id == nullptr) {
            zone.id = StringUtilities::internString(id);
        }
        zone.periods.push_back(std::move(period));
    }
    return reader;
}

bool ZoneDataReader::isValidID(std::string_view id) const {
    return zones_.contains(id);
}

std::vector<std::string> ZoneDataReader::getAllIDs() const {
    std::vector<std::string> ids;
    ids.reserve(zones_.size());
    for (const auto& [id, zone] : zones_) {
        ids.push_back(id);
    }
    return ids;
}

std::vector<std::shared_ptr<ZoneOffsetRule>> ZoneDataReader::getAllRules(std::string_view id) const {
    std::vector<std::shared_ptr<ZoneOffsetRule>> rules;
    const auto found = zones_.find(id);
    if (found == zones_.end()) {
        return rules;
    }
    rules.reserve(found->second.periods.size());
    for (const ZonePeriod& period : found->second.periods) {
        rules.push_back(createRule(found->second, period));
    }
    return rules;
}

std::shared_ptr<ZoneOffsetRule> ZoneDataReader::getLatestRule(std::string_view id, double& rawOffset,
                                                              double& saving) const {
    const auto found = zones_.find(id);
    if (found == zones_.end() || found->second.periods.empty()) {
        return nullptr;
    }
    std::shared_ptr<ZoneOffsetRule> latest = createRule(found->second, found->second.periods.front());
    rawOffset = latest->getRawOffset();
    saving = 0.0;
    const int thisYear = TimeUtilities::year(TimeUtilities::datepart(TimeUtilities::now()));
    for (const std::shared_ptr<const SavingRule>& row : latest->getSavingRules()) {
        if (row->isNumeric() || (row->getStartRule().isValid() && row->contains(thisYear))) {
            saving = row->getSaving();
            break;
        }
    }
    return latest;
}

const std::vector<std::shared_ptr<const SavingRule>>& ZoneDataReader::getSavingRules(std::string_view name) const {
    static const std::vector<std::shared_ptr<const SavingRule>> noRows;
    const auto found = ruleSets_.find(name);
    return found == ruleSets_.end() ? noRows : found->second;
}

std::shared_ptr<ZoneOffsetRule> ZoneDataReader::createRule(const Zone& zone, const ZonePeriod& period) const {
    std::shared_ptr<ZoneOffsetRule> rule =
        ZoneOffsetRule::create(zone.id, period.format, period.rawOffset, period.untilRule, period.untilType);
    if (period.fixedSaving != nullptr) {
        rule->addSavingRule(period.fixedSaving);
    } else if (period.ruleSetName != nullptr) {
        rule->setSavingRules(getSavingRules(*period.ruleSetName));
    }
    return rule;
}

}  // namespace pellium

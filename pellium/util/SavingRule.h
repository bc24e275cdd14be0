#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>

#include "pellium/Export.h"
#include "pellium/util/DateType.h"
#include "pellium/util/StringUtilities.h"
#include "pellium/util/TimeRule.h"

namespace pellium {

/// One row of a daylight-saving rule set ("vek_saving.txt"): over a range of years, when
/// daylight time starts, how much it saves and which letter the zone's abbreviation takes while
/// it lasts, and when it ends and which letter follows. Zone periods refer to a rule set by
/// name; `ZoneDataReader` attaches its rows to them and `TimeZone` evaluates them.
///
/// A row may carry only a start or only an end (the other rule's mode is `None`): each rule
/// takes effect every year of the range on its own. A zone period that saves a fixed amount
/// instead of following a rule set carries one numeric row, named by the amount ("3600"), with
/// no start or end. Rows never change after creation and are shared between zones.
class PELLIUM_EXPORT SavingRule {
public:
    /// The last year that stands for "no end": a row ending in it applies to every later year.
    static constexpr std::int32_t NO_END_YEAR = 3999;

    struct Fields {
        SharedString name;
        std::int32_t firstYear = 0;
        std::int32_t lastYear = 0;
        TimeRule startRule;
        DateType::type startType = DateType::Wall;
        TimeRule endRule;
        DateType::type endType = DateType::Wall;
        /// The letter for "%s" while daylight time is in force, and after it ends ("-" for none).
        SharedString startLetter;
        SharedString endLetter;
        /// The saving while daylight time is in force, in seconds.
        double saving = 0.0;
    };

    static std::shared_ptr<SavingRule> create(Fields fields);
    /// The numeric row of a period that saves `saving` seconds throughout, named `name`.
    static std::shared_ptr<SavingRule> createFixed(SharedString name, double saving);
    /// The one shared row with no name and both rules absent, answered where no row applies.
    static const std::shared_ptr<const SavingRule>& getEmptyRule();

    const SharedString& getName() const { return fields_.name; }
    std::int32_t getFirstYear() const { return fields_.firstYear; }
    std::int32_t getLastYear() const { return fields_.lastYear; }
    const TimeRule& getStartRule() const { return fields_.startRule; }
    DateType::type getStartType() const { return fields_.startType; }
    const TimeRule& getEndRule() const { return fields_.endRule; }
    DateType::type getEndType() const { return fields_.endType; }
    const SharedString& getStartLetter() const { return fields_.startLetter; }
    const SharedString& getEndLetter() const { return fields_.endLetter; }
    double getSaving() const { return fields_.saving; }

    /// first year <= year <= last year, where a last year of NO_END_YEAR has no bound.
    bool contains(std::int32_t year) const {
        return fields_.firstYear <= year && (year <= fields_.lastYear || fields_.lastYear >= NO_END_YEAR);
    }
    /// True when the row has a name.
    bool isValid() const { return !StringUtilities::isStringMissing(fields_.name); }
    /// True when the name is a plain decimal number, the fixed saving of a zone period.
    bool isNumeric() const { return fields_.name != nullptr && isNumericName(*fields_.name); }
    /// True for an optional sign followed by decimal digits with at most one decimal point
    /// ("3600", "-1800", "1200.5").
    static bool isNumericName(std::string_view name);

private:
    explicit SavingRule(Fields fields) : fields_(std::move(fields)) {}

    Fields fields_;
};

}  // namespace pellium

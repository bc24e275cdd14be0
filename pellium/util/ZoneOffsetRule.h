#pragma once

#include <memory>
#include <vector>

#include "pellium/Export.h"
#include "pellium/util/DateType.h"
#include "pellium/util/SavingRule.h"
#include "pellium/util/StringUtilities.h"
#include "pellium/util/TimeRule.h"

namespace pellium {

/// One period of a zone's history ("vek_historictimezone.txt"): from the end of the period
/// before it until its own end, the zone's raw offset from UTC, the format of its abbreviation,
/// and the daylight-saving rows that apply. `ZoneDataReader` builds them with their saving rows
/// attached; `TimeZone` keeps its zone's periods, newest first.
class PELLIUM_EXPORT ZoneOffsetRule {
public:
    /// A period of zone `id` ending at `untilRule`, a time in clock `untilType`. The newest
    /// period of a zone has no end; the files give it the year SavingRule::NO_END_YEAR.
    static std::shared_ptr<ZoneOffsetRule> create(SharedString id, SharedString format, double rawOffset,
                                                  const TimeRule& untilRule, DateType::type untilType);

    const SharedString& getID() const { return id_; }
    /// The abbreviation format: fixed ("CET"), with "%s" for the saving row's letter ("CE%sT"),
    /// a standard/daylight pair ("GMT/BST") or with "%z" for the numeric offset.
    const SharedString& getFormat() const { return format_; }
    /// Seconds east of UTC.
    double getRawOffset() const { return rawOffset_; }
    const TimeRule& getUntilRule() const { return untilRule_; }
    DateType::type getUntilType() const { return untilType_; }

    /// The saving rows of the period: the rows of its rule set, latest years first, one numeric
    /// row for a fixed saving, or none when the period has no daylight time.
    const std::vector<std::shared_ptr<const SavingRule>>& getSavingRules() const { return savingRules_; }
    void addSavingRule(std::shared_ptr<const SavingRule> rule);
    void setSavingRules(std::vector<std::shared_ptr<const SavingRule>> rules);
    bool hasSavingRules() const { return !savingRules_.empty(); }

    /// True when the zone identifier is present and not empty.
    bool isValid() const { return id_ != nullptr && !id_->empty(); }

private:
    ZoneOffsetRule() = default;

    SharedString id_;
    SharedString format_;
    double rawOffset_ = 0.0;
    TimeRule untilRule_;
    DateType::type untilType_ = DateType::Wall;
    std::vector<std::shared_ptr<const SavingRule>> savingRules_;
};

}  // namespace pellium

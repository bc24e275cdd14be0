#include "pellium/util/ZoneOffsetRule.h"

#include <utility>

namespace pellium {

std::shared_ptr<ZoneOffsetRule> ZoneOffsetRule::create(SharedString id, SharedString format, double rawOffset,
                                                       const TimeRule& untilRule, DateType::type untilType) {
    std::shared_ptr<ZoneOffsetRule> rule(new ZoneOffsetRule());
    rule->id_ = std::move(id);
    rule->format_ = std::move(format);
    rule->rawOffset_ = rawOffset;
    rule->untilRule_ = untilRule;
    rule->untilType_ = untilType;
    return rule;
}

void ZoneOffsetRule::addSavingRule(std::shared_ptr<const SavingRule> rule) {
    if (rule != nullptr) {
        savingRules_.push_back(std::move(rule));
    }
}

void ZoneOffsetRule::setSavingRules(std::vector<std::shared_ptr<const SavingRule>> rules) {
    std::erase(rules, nullptr);
    savingRules_ = std::move(rules);
}

}  // namespace pellium

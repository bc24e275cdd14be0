#include "pellium/util/SavingRule.h"

#include <limits>
#include <string_view>
#include <utility>

namespace pellium {

bool SavingRule::isNumericName(std::string_view text) {
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
        text.remove_prefix(1);
    }
    bool hasDigits = false;
    bool hasPoint = false;
    for (const char character : text) {
        if (character >= '0' && character <= '9') {
            hasDigits = true;
        } else if (character == '.' && !hasPoint) {
            hasPoint = true;
        } else {
            return false;
        }
    }
    return hasDigits;
}

std::shared_ptr<SavingRule> SavingRule::create(Fields fields) {
    return std::shared_ptr<SavingRule>(new SavingRule(std::move(fields)));
}

std::shared_ptr<SavingRule> SavingRule::createFixed(SharedString name, double saving) {
    Fields fields;
    fields.name = std::move(name);
    fields.firstYear = std::numeric_limits<std::int32_t>::min();
    fields.lastYear = NO_END_YEAR;
    fields.saving = saving;
    return create(std::move(fields));
}

const std::shared_ptr<const SavingRule>& SavingRule::getEmptyRule() {
    static const std::shared_ptr<const SavingRule> emptyRule = create(Fields());
    return emptyRule;
}

}  // namespace pellium

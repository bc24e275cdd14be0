#include "pellium/models/data/sorting/SortContext.h"

#include "pellium/resources/localization/LocalizationContext.h"

namespace pellium {

namespace {

SortDirection::type validDirection(SortDirection::type direction) {
    return SortDirection::isValid(direction) ? direction : SortDirection::DATA;
}

}  // namespace

std::shared_ptr<SortContext> SortContext::create(SortDirection::type direction, std::string_view collationLocale) {
    return std::make_shared<SortContext>(Token{}, direction, collationLocale);
}

std::shared_ptr<SortContext> SortContext::create(SortDirection::type direction,
                                                 const LocalizationContext& localization) {
    return create(direction, localization.getLocale());
}

SortContext::SortContext(Token, SortDirection::type direction, std::string_view collationLocale)
    : SortContext(direction, collationLocale) {}

SortContext::SortContext(SortDirection::type direction, std::string_view collationLocale)
    : direction_(validDirection(direction)), collationLocale_(collationLocale) {}

SortContext::~SortContext() = default;

void SortContext::setDirection(SortDirection::type direction) {
    direction_ = validDirection(direction);
}

}  // namespace pellium

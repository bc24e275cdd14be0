#include "pellium/resources/localization/LocalizationContext.h"

#include <algorithm>
#include <cstddef>

#include "pellium/resources/localization/LocaleNames.h"
#include "pellium/resources/localization/ResourceManager.h"

namespace pellium {

namespace {

constexpr std::size_t MAXIMUM_TIME_ZONE_LENGTH = 64;

bool isTimeZoneCharacter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '/' || character == '_' || character == '+' ||
           character == '-';
}

bool isWellFormedTimeZoneId(std::string_view timeZoneId) {
    return !timeZoneId.empty() && timeZoneId.size() <= MAXIMUM_TIME_ZONE_LENGTH &&
           std::all_of(timeZoneId.begin(), timeZoneId.end(), isTimeZoneCharacter);
}

/// The number written at `position` as digits followed by "}", advancing past the brace;
/// false, with `position` unchanged, for anything else.
bool readPlaceholderNumber(std::string_view pattern, std::size_t& position, std::size_t& number) {
    std::size_t at = position;
    std::size_t value = 0;
    constexpr std::size_t LIMIT = 1000000;  // no real template has that many arguments
    while (at < pattern.size() && pattern[at] >= '0' && pattern[at] <= '9' && value < LIMIT) {
        value = value * 10 + static_cast<std::size_t>(pattern[at] - '0');
        ++at;
    }
    if (at == position || at >= pattern.size() || pattern[at] != '}') {
        return false;
    }
    number = value;
    position = at + 1;
    return true;
}

}  // namespace

LocalizationContext::LocalizationContext(Token) : locale_(LocaleNames::DEFAULT_LOCALE), timeZoneId_(DEFAULT_TIME_ZONE) {
    update();
}

std::shared_ptr<LocalizationContext> LocalizationContext::create() {
    return std::make_shared<LocalizationContext>(Token{});
}

std::shared_ptr<LocalizationContext> LocalizationContext::create(std::string_view locale) {
    auto context = create();
    return context->setLocale(locale) ? context : nullptr;
}

std::shared_ptr<LocalizationContext> LocalizationContext::create(const SharedString& locale) {
    return locale ? create(std::string_view(*locale)) : nullptr;
}

std::shared_ptr<LocalizationContext> LocalizationContext::create(const LocalizationContext& other) {
    auto copy = std::make_shared<LocalizationContext>(other);
    copy->frozen_ = false;
    return copy;
}

std::shared_ptr<LocalizationContext> LocalizationContext::getMutableCopy() const {
    return create(*this);
}

bool LocalizationContext::setLocale(std::string_view locale) {
    auto normal = LocaleNames::normalize(locale);
    if (frozen_ || !normal) {
        return false;
    }
    locale_ = std::move(*normal);
    update();
    return true;
}

bool LocalizationContext::setFollowingLocale(std::string& field, std::string_view locale) {
    if (frozen_) {
        return false;
    }
    if (StringUtilities::trim(locale).empty()) {
        field.clear();
    } else if (auto normal = LocaleNames::normalize(locale)) {
        field = std::move(*normal);
    } else {
        return false;
    }
    update();
    return true;
}

bool LocalizationContext::setFormatLocale(std::string_view locale) {
    return setFollowingLocale(formatLocale_, locale);
}

bool LocalizationContext::setDataLocale(std::string_view locale) {
    return setFollowingLocale(dataLocale_, locale);
}

bool LocalizationContext::setTimeZoneId(std::string_view timeZoneId) {
    if (frozen_ || !isWellFormedTimeZoneId(timeZoneId)) {
        return false;
    }
    timeZoneId_.assign(timeZoneId);
    update();
    return true;
}

void LocalizationContext::update() {
    formatLocaleRTL_ = LocaleNames::isRightToLeft(getFormatLocale());
    localeRTL_ = LocaleNames::isRightToLeft(locale_);
    formatterCacheKey_.clear();
    formatterCacheKey_.append(getFormatLocale()).append("|").append(getDataLocale()).append("|");
    formatterCacheKey_.append(locale_).append("|").append(timeZoneId_);
}

SharedString LocalizationContext::getString(std::string_view bundleName, std::string_view key) const {
    return ResourceManager::instance().getString(bundleName, key, locale_);
}

SharedString LocalizationContext::getFormatString(std::string_view bundleName, std::string_view key) const {
    return ResourceManager::instance().getString(bundleName, key, getFormatLocale());
}

SharedString LocalizationContext::getDataString(std::string_view bundleName, std::string_view key) const {
    return ResourceManager::instance().getString(bundleName, key, getDataLocale());
}

SharedString LocalizationContext::getFormattedString(std::string_view bundleName, std::string_view key,
                                                     std::initializer_list<std::string_view> arguments) const {
    const auto pattern = getString(bundleName, key);
    if (!pattern) {
        return nullptr;
    }
    return std::make_shared<const std::string>(substituteArguments(*pattern, std::vector<std::string_view>(arguments)));
}

SharedString LocalizationContext::getFormattedString(std::string_view bundleName, std::string_view key,
                                                     const std::vector<std::string>& arguments) const {
    const auto pattern = getString(bundleName, key);
    if (!pattern) {
        return nullptr;
    }
    const std::vector<std::string_view> views(arguments.begin(), arguments.end());
    return std::make_shared<const std::string>(substituteArguments(*pattern, views));
}

std::string LocalizationContext::substituteArguments(std::string_view pattern,
                                                     const std::vector<std::string_view>& arguments) {
    std::string result;
    result.reserve(pattern.size());
    std::size_t position = 0;
    while (position < pattern.size()) {
        const std::size_t start = position;
        const char character = pattern[position++];
        std::size_t number = 0;
        if (character == '{' && readPlaceholderNumber(pattern, position, number)) {
            if (number < arguments.size()) {
                result.append(arguments[number]);
            } else {
                result.append(pattern.substr(start, position - start));
            }
            continue;
        }
        result.push_back(character);
    }
    return result;
}

}  // namespace pellium

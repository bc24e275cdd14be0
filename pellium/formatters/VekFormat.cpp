#include "pellium/formatters/VekFormat.h"

#include "pellium/formatters/DateFormatter.h"
#include "pellium/formatters/FormatInfo.h"
#include "pellium/formatters/FormatNameParts.h"
#include "pellium/formatters/FormatType.h"
#include "pellium/resources/localization/LocalizationContext.h"
#include "pellium/resources/localization/ResourceManager.h"

namespace pellium {

namespace {

constexpr std::string_view patternBundle = "vek_portable_formatters";
constexpr std::string_view currencyBundle = "AllCurrencySymbols";

}  // namespace

VekFormat::VekFormat(const std::shared_ptr<FormatInfo>& info) : Formatter(info) {}

VekFormat::~VekFormat() = default;

SharedString VekFormat::getLocalizedPattern(const SharedString& key) const {
    return key ? getLocalizationContext()->getFormatString(patternBundle, *key) : nullptr;
}

std::shared_ptr<FormatInfo> VekFormat::getFormatInfoForFormatName(const std::shared_ptr<LocalizationContext>& context,
                                                                  std::string_view name) {
    auto info = FormatInfo::create();
    info->setCanonicalName(StringUtilities::internString(name));

    const auto parts = FormatNameParts::extractFormatParts(name);
    info->setWidth(parts.width);
    if (parts.decimalWidth != -1) {
        info->setDecimalWidth(parts.decimalWidth);
        info->setDecimalWidthGiven(true);
    }
    if (context) {
        info->setLocalizationContext(context->getMutableCopy());
        info->setNegativeSign(*info->getLocalizationContext());
    }
    if (!parts.localeSuffix.empty()) {
        info->setLocaleGiven(true);
        info->getLocalizationContext()->setDataLocale(parts.localeSuffix);
    }
    info->getLocalizationContext()->freeze();
    info->setName(StringUtilities::internString(parts.name));
    return info;
}

std::string_view VekFormat::cleanFormatName(std::string_view name) {
    return name.ends_with('.') ? name.substr(0, name.size() - 1) : name;
}

bool VekFormat::isValidFormat(std::string_view name) {
    const auto trimmed = StringUtilities::trim(name);
    return !trimmed.empty() && FormatType::getFormatTypeForFormatName(
                                   FormatNameParts::extractFormatParts(trimmed).name) != FormatType::NotImplemented;
}

bool VekFormat::isValidFormat(const SharedString& name) {
    return name && isValidFormat(std::string_view(*name));
}

SharedString VekFormat::getLocaleCurrencyFormat(std::string_view locale) {
    const auto trimmed = StringUtilities::trim(locale);
    std::string key("currencyCode.");
    key.append(trimmed);
    const auto code = ResourceManager::instance().getString(currencyBundle, key, "en_US");
    if (!code) {
        return nullptr;
    }
    std::string name("NLMNL");
    name.append(*code);
    return isValidFormat(name) ? StringUtilities::internString(name) : nullptr;
}

SharedString VekFormat::getLocaleCurrencyFormat(const SharedString& locale) {
    return locale ? getLocaleCurrencyFormat(std::string_view(*locale)) : nullptr;
}

int VekFormat::getMaxFormattedStringLength(const SharedString& pattern,
                                           const std::shared_ptr<LocalizationContext>& context) {
    if (!pattern) {
        return 0;
    }
    const auto& effective = context ? context : ResourceManager::instance().getCurrentContext();
    return DateFormatter::getMaxFormattedStringLength(*pattern, *effective);
}

}  // namespace pellium

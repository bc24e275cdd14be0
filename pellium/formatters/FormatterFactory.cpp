#include "pellium/formatters/FormatterFactory.h"

#include "pellium/formatters/BaseNumericFormatter.h"
#include "pellium/formatters/BestNumericFormatter.h"
#include "pellium/formatters/CompactNumericFormatter.h"
#include "pellium/formatters/ExponentialNumericFormatter.h"
#include "pellium/formatters/FormatInfo.h"
#include "pellium/formatters/FormatType.h"
#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/HebrewDateFormat.h"
#include "pellium/formatters/MappedFormats.h"
#include "pellium/formatters/NLSDTLookupFormat.h"
#include "pellium/formatters/PvalueNumericFormatter.h"
#include "pellium/formatters/SizeKMGFormatter.h"
#include "pellium/formatters/VekDateFormat.h"
#include "pellium/formatters/VekDateTimeFormat.h"
#include "pellium/formatters/VekFormat.h"
#include "pellium/formatters/VekTimeFormat.h"
#include "pellium/resources/localization/LocalizationContext.h"
#include "pellium/resources/localization/ResourceManager.h"
#include "pellium/resources/logging/Logger.h"

namespace pellium {

namespace {

constexpr std::string_view defaultNumericFormatName = "BEST6";
constexpr std::string_view currencyPrefix = "CURRENCY";
constexpr std::string_view currencyBundle = "AllCurrencySymbols";
constexpr std::size_t currencyLocaleLength = 5;

std::string_view chooseNumericClass(std::string_view name) {
    if (name == "BEST") {
        return "BestNumericFormatter";
    }
    if (name == "E") {
        return "ExponentialNumericFormatter";
    }
    if (name == "PVALUE" || name == "NILPVALUE") {
        return "PvalueNumericFormatter";
    }
    if (name.starts_with("CB")) {
        return "CompactNumericFormatter";
    }
    if (name.starts_with("NLSTR")) {
        return "NLSDTLookupFormat";
    }
    if (name.starts_with("SIZE")) {
        return "SizeKMGFormatter";
    }
    return "BaseNumericFormatter";
}

// Each formatter class is wired in here as it is written; a family without a class yields no
// formatter of its own and the factory serves the base Formatter.
std::shared_ptr<Formatter> createFormatterOfClass(std::string_view className, const std::shared_ptr<FormatInfo>& info) {
    using Create = std::shared_ptr<Formatter> (*)(const std::shared_ptr<FormatInfo>&);
    struct ClassEntry {
        std::string_view name;
        Create create;
    };
    static constexpr ClassEntry classes[] = {
        {"BaseNumericFormatter", &BaseNumericFormatter::create},
        {"BestNumericFormatter", &BestNumericFormatter::create},
        {"CompactNumericFormatter", &CompactNumericFormatter::create},
        {"ExponentialNumericFormatter", &ExponentialNumericFormatter::create},
        {"HebrewDateFormat", &HebrewDateFormat::create},
        {"NLSDTLookupFormat", &NLSDTLookupFormat::create},
        {"PvalueNumericFormatter", &PvalueNumericFormatter::create},
        {"SizeKMGFormatter", &SizeKMGFormatter::create},
        {"VekDateFormat", &VekDateFormat::create},
        {"VekDateTimeFormat", &VekDateTimeFormat::create},
        {"VekTimeFormat", &VekTimeFormat::create},
    };
    for (const auto& entry : classes) {
        if (entry.name == className) {
            return entry.create(info);
        }
    }
    return nullptr;
}

std::string upperCasedKey(std::string_view name) {
    return StringUtilities::toUpperAscii(name);
}

}  // namespace

FormatterFactory::FormatterFactory(Token) {}

FormatterFactory::~FormatterFactory() = default;

const std::shared_ptr<FormatterFactory>& FormatterFactory::instance() {
    static const auto factory = std::make_shared<FormatterFactory>(Token{});
    return factory;
}

std::shared_ptr<FormatterFactory> FormatterFactory::getSharedInstance() {
    if (Logger::isEnabled(LogLevel::WARNING)) {
        Logger::log(LogLevel::WARNING, "Deprecated.  Please use instance() method instead");
    }
    return instance();
}

int FormatterFactory::getWrapperTypeId() const {
    return WrapperTypeIds::FORMATTER_FACTORY;
}

std::shared_ptr<Formatter> FormatterFactory::getFormatter(const std::shared_ptr<LocalizationContext>& context,
                                                          std::string_view name) {
    if (name.empty()) {
        return nullptr;
    }
    const auto effective = context ? context : ResourceManager::instance().getCurrentContext();
    std::lock_guard lock(mutex_);
    const std::string& key = effective->getFormatterCacheKey();
    auto contextEntry = cache_.find(key);
    if (contextEntry == cache_.end()) {
        contextEntry = cache_.try_emplace(key).first;
    }
    NameCache& names = contextEntry->second;
    if (const auto cached = names.find(name); cached != names.end()) {
        return cached->second;
    }
    auto formatter = getUserDefinedFormatterForName(name);
    if (!formatter) {
        formatter = resolveUncached(effective, name);
    }
    names.try_emplace(std::string(name), formatter);
    return formatter;
}

std::shared_ptr<Formatter> FormatterFactory::resolveUncached(const std::shared_ptr<LocalizationContext>& context,
                                                             std::string_view name) {
    const auto info = VekFormat::getFormatInfoForFormatName(context, name);
    info->setType(FormatType::getFormatTypeForFormatName(*info->getName()));
    std::shared_ptr<Formatter> formatter;
    if (info->getType() != FormatType::NotImplemented || MappedFormats::applyFormatMapping(*info)) {
        formatter = getFormatterForFormatInfo(info);
    }
    return formatter ? formatter : Formatter::create(info);
}

std::shared_ptr<Formatter> FormatterFactory::getFormatter(const std::shared_ptr<LocalizationContext>& context,
                                                          const SharedString& name) {
    return context && name ? getFormatter(context, std::string_view(*name)) : nullptr;
}

std::shared_ptr<Formatter> FormatterFactory::getFormatter(const SharedString& locale, const SharedString& name) {
    if (!locale || !name) {
        return nullptr;
    }
    const auto context = LocalizationContext::create(*locale);
    return context ? getFormatter(context, std::string_view(*name)) : nullptr;
}

std::shared_ptr<Formatter> FormatterFactory::getFormatterForFormatName(const SharedString& name) {
    return name ? getFormatterForFormatName(std::string_view(*name)) : nullptr;
}

std::shared_ptr<Formatter> FormatterFactory::getFormatterForFormatName(std::string_view name) {
    return name.empty() ? nullptr : getFormatter(ResourceManager::instance().getCurrentContext(), name);
}

std::shared_ptr<Formatter> FormatterFactory::getDefaultNumericFormatter() {
    return getFormatterForFormatName(defaultNumericFormatName);
}

std::string_view FormatterFactory::getFormatterClassName(const FormatInfo& info) {
    const std::string_view name = info.getName() ? std::string_view(*info.getName()) : std::string_view();
    switch (info.getType()) {
        case FormatType::Date:
            return name == "HEBDATE" || name == "HDATE" ? "HebrewDateFormat" : "VekDateFormat";
        case FormatType::DateTime:
            return "VekDateTimeFormat";
        case FormatType::Time:
            return "VekTimeFormat";
        case FormatType::Numeric:
            return chooseNumericClass(name);
        default:
            return {};
    }
}

std::shared_ptr<Formatter> FormatterFactory::getFormatterForFormatInfo(const std::shared_ptr<FormatInfo>& info) {
    if (!info) {
        return nullptr;
    }
    const auto className = getFormatterClassName(*info);
    return className.empty() ? nullptr : createFormatterOfClass(className, info);
}

void FormatterFactory::addUserDefinedFormatter(const std::shared_ptr<Formatter>& formatter) {
    if (!formatter) {
        return;
    }
    const auto canonicalName = formatter->getCanonicalName();
    std::lock_guard lock(mutex_);
    userDefinedFormats_.insert_or_assign(upperCasedKey(canonicalName ? *canonicalName : std::string()), formatter);
    userDefinedNames_.reset();
}

std::shared_ptr<Formatter> FormatterFactory::getUserDefinedFormatterForName(std::string_view name) const {
    if (userDefinedFormats_.empty()) {
        return nullptr;
    }
    const auto found = userDefinedFormats_.find(upperCasedKey(VekFormat::cleanFormatName(name)));
    return found != userDefinedFormats_.end() ? found->second : nullptr;
}

FormatterFactory::NameList FormatterFactory::getUserDefinedFormatNames() {
    std::lock_guard lock(mutex_);
    if (!userDefinedNames_ && !userDefinedFormats_.empty()) {
        userDefinedNames_ = std::make_shared<std::vector<SharedString>>();
        userDefinedNames_->reserve(userDefinedFormats_.size());
        for (const auto& [name, formatter] : userDefinedFormats_) {
            userDefinedNames_->push_back(StringUtilities::internString(name));
        }
    }
    return userDefinedNames_;
}

std::size_t FormatterFactory::getNumberOfCachedFormatters() const {
    std::lock_guard lock(mutex_);
    std::size_t count = 0;
    for (const auto& [key, names] : cache_) {
        count += names.size();
    }
    return count;
}

void FormatterFactory::clearFormatterCache() {
    std::lock_guard lock(mutex_);
    cache_.clear();
}

void FormatterFactory::clearUserDefinedFormatters() {
    std::lock_guard lock(mutex_);
    userDefinedFormats_.clear();
    userDefinedNames_.reset();
}

bool FormatterFactory::isAmbiguousCurrencyFormatName(std::string_view name) {
    return name.starts_with(currencyPrefix) &&
           (name.size() == currencyPrefix.size() || name[currencyPrefix.size()] != '_');
}

bool FormatterFactory::disambiguateCurrencyFormatName(std::string& name, std::string_view locale) {
    if (locale.size() != currencyLocaleLength || !isAmbiguousCurrencyFormatName(name)) {
        return false;
    }
    std::string key("currencyCode.");
    key.append(locale);
    if (!ResourceManager::instance().getString(currencyBundle, key, "en_US")) {
        return false;
    }
    std::string rewritten(currencyPrefix);
    rewritten.append("_").append(locale).append(std::string_view(name).substr(currencyPrefix.size()));
    name = std::move(rewritten);
    return true;
}

void FormatterFactory::setImplementation(const std::shared_ptr<FormatterFactoryImplementation>& /*implementation*/) {}

}  // namespace pellium

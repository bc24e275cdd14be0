#include "pellium/formatters/Formatter.h"

#include <limits>

#include "pellium/formatters/FormatInfo.h"
#include "pellium/resources/localization/LocalizationContext.h"
#include "pellium/resources/localization/ResourceManager.h"

namespace pellium {

namespace {

constexpr std::string_view rightToLeftEmbedding = "\xE2\x80\xAB";      // U+202B
constexpr std::string_view popDirectionalFormatting = "\xE2\x80\xAC";  // U+202C

// Tested without copying the context's handle: this runs once per formatted value.
bool isRightToLeft(const std::shared_ptr<LocalizationContext>& context) {
    return context ? context->isFormatLocaleRTL() : ResourceManager::instance().getCurrentContext()->isFormatLocaleRTL();
}

std::string embedRightToLeft(std::string_view text) {
    std::string embedded;
    embedded.reserve(rightToLeftEmbedding.size() + text.size() + popDirectionalFormatting.size());
    embedded.append(rightToLeftEmbedding).append(text).append(popDirectionalFormatting);
    return embedded;
}

}  // namespace

Formatter::Formatter(const std::shared_ptr<FormatInfo>& info)
    : formatName_(info->getName()),
      width_(info->getWidth()),
      decimalWidth_(info->getDecimalWidth()),
      formatInfo_(info) {}

Formatter::~Formatter() = default;

std::shared_ptr<Formatter> Formatter::create(const std::shared_ptr<FormatInfo>& info) {
    if (!info) {
        return nullptr;
    }
    return std::shared_ptr<Formatter>(new Formatter(info));
}

int Formatter::getWrapperTypeId() const {
    return WrapperTypeIds::FORMATTER;
}
SharedString Formatter::getFormatName() const {
    return formatName_;
}
int Formatter::getWidth() const {
    return width_;
}
int Formatter::getDecimalWidth() const {
    return decimalWidth_;
}
bool Formatter::isDateFormat() const {
    return false;
}
bool Formatter::isTimeFormat() const {
    return false;
}
bool Formatter::isDateTimeFormat() const {
    return false;
}
bool Formatter::isNumericFormat() const {
    return false;
}
bool Formatter::isCharacterFormat() const {
    return false;
}
bool Formatter::isUDF() const {
    return false;
}
bool Formatter::isDecimalWidthSupported() const {
    return false;
}

SharedString Formatter::format(const double& value) const {
    return std::make_shared<const std::string>(StringUtilities::createStringFromDouble(value));
}

SharedString Formatter::formatWithoutBidi(const double& value) const {
    const auto text = format(value);
    return text ? std::make_shared<const std::string>(StringUtilities::removeBidiControls(*text)) : text;
}

SharedString Formatter::format(const std::string& text) const {
    return std::make_shared<const std::string>(text);
}

SharedString Formatter::format(const SharedString& text) const {
    return text ? format(*text) : text;
}

double Formatter::parse(const SharedString& text) const {
    return text ? parse(*text) : std::numeric_limits<double>::quiet_NaN();
}

double Formatter::parse(const std::string& /*text*/) const {
    return std::numeric_limits<double>::quiet_NaN();
}

Formatter::FormattedVector Formatter::format(const std::shared_ptr<std::vector<double>>& values) const {
    if (!values) {
        return nullptr;
    }
    auto texts = std::make_shared<std::vector<SharedString>>();
    texts->reserve(values->size());
    for (const double& value : *values) {
        texts->push_back(format(value));
    }
    return texts;
}

SharedString Formatter::getFormatPattern() const {
    return nullptr;
}
int Formatter::getMaxFormattedStringLength() const {
    return 0;
}
SharedString Formatter::getMaxFormattedString() const {
    return nullptr;
}
double Formatter::getDateTimeIncrementPeriod() const {
    return 0;
}
double Formatter::getDateTimeCyclePeriod() const {
    return 0;
}
SharedString Formatter::getCanonicalName() const {
    return formatInfo_->getCanonicalName();
}
void Formatter::setFormatName(SharedString name) {
    formatName_ = std::move(name);
}
void Formatter::setWidth(int width) {
    width_ = width;
}
void Formatter::setDecimalWidth(int decimalWidth) {
    decimalWidth_ = decimalWidth;
}

const std::shared_ptr<LocalizationContext>& Formatter::getLocalizationContext() const {
    return formatInfo_->getLocalizationContext();
}

const SharedString& Formatter::getNegativeSign() const {
    return formatInfo_->getNegativeSign();
}

SharedString Formatter::finalizeFormattedString(const SharedString& text) const {
    return finalizeFormattedString(text, getLocalizationContext());
}

SharedString Formatter::finalizeFormattedString(const SharedString& text,
                                                const std::shared_ptr<LocalizationContext>& context) {
    if (!text || text->empty() || !isRightToLeft(context)) {
        return text;
    }
    return std::make_shared<const std::string>(embedRightToLeft(*text));
}

SharedString Formatter::finishFormattedText(std::string text) const {
    if (!text.empty() && isRightToLeft(getLocalizationContext())) {
        text = embedRightToLeft(text);
    }
    return std::make_shared<const std::string>(std::move(text));
}

SharedString Formatter::finalizeString(const SharedString& text) {
    return finalizeFormattedString(text, nullptr);
}

SharedString Formatter::unfinalizeString(const SharedString& text) {
    return text ? std::make_shared<const std::string>(StringUtilities::removeBidiControlEmbedded(*text)) : text;
}

}  // namespace pellium

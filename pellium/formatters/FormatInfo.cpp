#include "pellium/formatters/FormatInfo.h"

#include <cstdio>

#include "pellium/resources/localization/LocalizationContext.h"
#include "pellium/resources/localization/ResourceManager.h"

namespace pellium {

namespace {

// U+200E LEFT-TO-RIGHT MARK keeps the minus sign in front of the digits in right-to-left text.
constexpr std::string_view rightToLeftNegativeSign = "\xE2\x80\x8E-";

}  // namespace

FormatInfo::FormatInfo(Token)
    : context_(ResourceManager::instance().getCurrentContext()->getMutableCopy()),
      negativeSign_(StringUtilities::internString("-")) {}

std::shared_ptr<FormatInfo> FormatInfo::create() {
    return std::make_shared<FormatInfo>(Token{});
}

void FormatInfo::setNegativeSign(const LocalizationContext& context) {
    if (context.isFormatLocaleRTL()) {
        negativeSign_ = StringUtilities::internString(rightToLeftNegativeSign);
    } else if (auto sign = context.getFormatString("vek_portable_formatters", "negativeSign")) {
        negativeSign_ = std::move(sign);
    }
}

void FormatInfo::print() const {
    std::printf("<FormatInfo name=\"%s\" width=\"%i\" decimalWidth=\"%i\" />\n", name_ ? name_->c_str() : "", width_,
                decimalWidth_);
}

}  // namespace pellium

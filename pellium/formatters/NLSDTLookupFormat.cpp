#include "pellium/formatters/NLSDTLookupFormat.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "pellium/formatters/FormatInfo.h"
#include "pellium/resources/localization/LocalizationContext.h"

namespace pellium {

namespace {

constexpr std::string_view formatterBundle = "vek_portable_formatters";
constexpr std::string_view rightToLeftEmbedding = "\xE2\x80\xAB";
constexpr std::string_view popDirectionalFormatting = "\xE2\x80\xAC";
constexpr std::string_view formNames[] = {"wide", "abbreviated", "narrow"};

struct KindKeys {
    std::string_view family;  // "month", "quarter", "day"
    int count;
    int firstKeyIndex;  // the key number of value 1: months and quarters 1, weekdays 0 (Sunday)
};

// The stand-alone name when the locale has one, else the name used inside dates.
std::string lookupName(const LocalizationContext& context, const KindKeys& keys, std::string_view form, int index) {
    const auto suffix = std::string(form) + "." + std::to_string(index);
    if (const auto standalone =
            context.getFormatString(formatterBundle, std::string(keys.family) + ".standalone." + suffix)) {
        return *standalone;
    }
    const auto name = context.getFormatString(formatterBundle, std::string(keys.family) + "." + suffix);
    return name ? *name : std::to_string(index);
}

}  // namespace

NLSDTLookupFormat::NLSDTLookupFormat(const std::shared_ptr<FormatInfo>& info, Kind kind)
    : VekFormat(info), rightToLeft_(info->getLocalizationContext()->isFormatLocaleRTL()) {
    const KindKeys keys = kind == Kind::Month     ? KindKeys{"month", 12, 1}
                          : kind == Kind::Quarter ? KindKeys{"quarter", 4, 1}
                                                  : KindKeys{"day", 7, 0};
    const auto& context = *info->getLocalizationContext();
    names_.resize(static_cast<std::size_t>(keys.count));
    for (int number = 0; number < keys.count; ++number) {
        for (int form = 0; form < FORM_COUNT; ++form) {
            names_[static_cast<std::size_t>(number)][static_cast<std::size_t>(form)] =
                NumericSymbol::of(lookupName(context, keys, formNames[form], number + keys.firstKeyIndex));
        }
        defaultWidth_ = std::max(defaultWidth_, names_[static_cast<std::size_t>(number)][0].width);
    }
    defaultWidth_ = std::min(defaultWidth_, MAXIMUM_WIDTH);
    setWidth(info->getWidth());
}

NLSDTLookupFormat::~NLSDTLookupFormat() = default;

std::shared_ptr<Formatter> NLSDTLookupFormat::create(const std::shared_ptr<FormatInfo>& info) {
    if (!info || !info->getName()) {
        return nullptr;
    }
    const std::string_view name = *info->getName();
    Kind kind;
    if (name == "NLSTRMON") {
        kind = Kind::Month;
    } else if (name == "NLSTRQTR") {
        kind = Kind::Quarter;
    } else if (name == "NLSTRWK") {
        kind = Kind::Weekday;
    } else {
        return nullptr;
    }
    return std::shared_ptr<NLSDTLookupFormat>(new NLSDTLookupFormat(info, kind));
}

int NLSDTLookupFormat::getWidth() const {
    return width_;
}
bool NLSDTLookupFormat::isNumericFormat() const {
    return true;
}
int NLSDTLookupFormat::getMaxFormattedStringLength() const {
    return width_;
}

void NLSDTLookupFormat::setWidth(int width) {
    Formatter::setWidth(width);
    width_ = width <= 0 ? defaultWidth_ : std::min(width, MAXIMUM_WIDTH);
}

SharedString NLSDTLookupFormat::format(const double& value) const {
    const NumericSymbol* chosen = nullptr;
    if (std::isfinite(value) && value == std::floor(value) && value >= firstNumber() && value <= lastNumber()) {
        for (const auto& name : names_[static_cast<std::size_t>(value) - 1]) {
            if (name.width <= width_) {
                chosen = &name;
                break;
            }
        }
    }
    std::string text;
    text.reserve(static_cast<std::size_t>(width_) + 16);
    if (rightToLeft_) {
        text.append(rightToLeftEmbedding);
    }
    if (chosen) {
        text.append(static_cast<std::size_t>(width_ - chosen->width), ' ');
        text.append(chosen->text);
    } else {
        text.append(static_cast<std::size_t>(width_), '*');
    }
    if (rightToLeft_) {
        text.append(popDirectionalFormatting);
    }
    return std::make_shared<const std::string>(std::move(text));
}

double NLSDTLookupFormat::parse(const std::string& text) const {
    const auto clean = StringUtilities::removeBidiControls(text);
    const auto trimmed = StringUtilities::trim(clean);
    if (trimmed.empty()) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    // Wide and abbreviated names first; a narrow name counts only when no other number has it
    // ("T" is Tuesday and Thursday).
    double found = std::numeric_limits<double>::quiet_NaN();
    for (int form = 0; form < FORM_COUNT && std::isnan(found); ++form) {
        int matches = 0;
        for (std::size_t index = 0; index < names_.size(); ++index) {
            const auto& name = names_[index][static_cast<std::size_t>(form)];
            if (StringUtilities::equalsIgnoreCase(StringUtilities::removeBidiControls(name.text), trimmed)) {
                found = static_cast<double>(index + 1);
                ++matches;
            }
        }
        if (matches > 1) {
            return std::numeric_limits<double>::quiet_NaN();
        }
    }
    if (!std::isnan(found)) {
        return found;
    }
    int number = 0;
    if (StringUtilities::tryParseInt(trimmed, number) && number >= firstNumber() && number <= lastNumber()) {
        return number;
    }
    return std::numeric_limits<double>::quiet_NaN();
}

}  // namespace pellium

#include "pellium/formatters/VekCalendarFormat.h"

#include <array>
#include <cmath>
#include <limits>

#include "pellium/formatters/FormatInfo.h"
#include "pellium/resources/localization/LocalizationContext.h"

namespace pellium {

namespace {

using Calendar = DateFormatter::Calendar;

constexpr int OPEN = std::numeric_limits<int>::max();
constexpr int MAXIMUM_BANDS = 5;

// One family of formats. Band i shows widths up to bandEnds[i] (the last band is open) with the
// key "<keySeries>.<i>", or with patterns[i] when the family has fixed patterns. A width below
// the valid range becomes widthWhenBelow, one above it widthWhenAbove.
struct Family {
    std::string_view name;
    std::string_view keySeries;
    std::array<std::string_view, MAXIMUM_BANDS> patterns;
    std::array<int, MAXIMUM_BANDS> bandEnds;
    int minimumWidth;
    int maximumWidth;
    int widthWhenBelow;
    int widthWhenAbove;
    Calendar calendar = Calendar::Gregorian;
    bool elapsed = false;  // a duration, whose leading field is not wrapped

    int bandCount() const {
        int count = 1;
        while (count < MAXIMUM_BANDS && bandEnds[static_cast<std::size_t>(count - 1)] != OPEN) {
            ++count;
        }
        return count;
    }
    int bandOf(int width) const {
        int band = 0;
        while (bandEnds[static_cast<std::size_t>(band)] < width) {
            ++band;
        }
        return band;
    }
};

constexpr std::array<int, MAXIMUM_BANDS> bands(int first = OPEN, int second = OPEN, int third = OPEN,
                                               int fourth = OPEN) {
    return {first, second, third, fourth, OPEN};
}

// Sorted by name. Widths and bands of the localised families are those of the format language;
// JULIAN, JULDAY, QTR, DATEYW, WEEKV and the elapsed-time families (TIME, HHMM, HOUR, MMSS) follow
// what their users know: Julian dates yyddd and yyyyddd, ISO 8601 week dates, hours that run past
// a day.
constexpr Family families[] = {
    {"DATE", "date", {}, bands(6, 8, 10), 5, 11, 7, 11},
    {"DATEN", "mmddyy", {}, bands(8), 2, 10, 8, 8},
    {"DATETIME", "datetime", {}, bands(9, 14, 18), 7, 40, 16, 16},
    {"DATEYW", {}, {"yy'W'ww", "yyyy'W'ww"}, bands(6), 5, 32, 7, 32, Calendar::IsoWeek},
    {"DAY", "day", {}, bands(), 2, 32, 2, 2},
    {"DDMMYY", {}, {"dd/MM/yy", "dd/MM/yyyy"}, bands(7), 2, 10, 8, 8},
    {"DOWNAME", "downame", {}, bands(10), 1, 32, 12, 12},
    {"DTDATE", "date", {}, bands(6, 8, 10), 5, 11, 7, 7},
    {"DTMONYY", "monyy", {}, bands(6), 5, 7, 5, 5},
    {"DTWKDATX", "weekdate", {}, bands(8, 16, 27), 3, 37, 29, 29},
    {"DTYEAR", "year", {}, bands(3), 2, 4, 4, 4},
    {"DTYYQC", "quarteryear", {}, bands(4), 4, 6, 4, 4},
    {"HDATE", "hdate", {}, bands(10, 14, 16), 9, 17, 17, 17, Calendar::Hebrew},
    {"HEBDATE", "hebdate", {}, bands(13, 16), 7, 24, 16, 16, Calendar::Hebrew},
    {"HHMM", {}, {"H", "H:mm"}, bands(4), 2, 20, 5, 5, Calendar::Gregorian, true},
    {"HOUR", {}, {"H"}, bands(), 2, 20, 2, 2, Calendar::Gregorian, true},
    {"JULDAY", {}, {"D"}, bands(), 3, 32, 3, 3},
    {"JULIAN", {}, {"yyDDD", "yyyyDDD"}, bands(6), 5, 7, 5, 7},
    {"MMDDYY", {}, {"MM/dd/yy", "MM/dd/yyyy"}, bands(7), 2, 10, 8, 8},
    {"MMSS", {}, {"m", "m:ss"}, bands(4), 2, 20, 5, 5, Calendar::Gregorian, true},
    {"MMYY", {}, {"MM/yy", "MM/yyyy"}, bands(7), 5, 32, 7, 7},
    {"MONNAME", "monname", {}, bands(2, 6), 1, 21, 9, 9},
    {"MONYY", "monyy", {}, bands(6, 7), 5, 32, 5, 32},
    {"QTR", {}, {"q"}, bands(), 1, 32, 1, 1},
    {"TIME", {}, {"H", "H:mm", "H:mm:ss"}, bands(4, 7), 2, 20, 8, 8, Calendar::Gregorian, true},
    {"TIMEAMPM", "time", {}, bands(4, 7, 18), 2, 20, 11, 11},
    {"TOD", "time", {}, bands(4, 7, 18), 2, 20, 8, 8},
    {"WEEKDATE", "weekdate", {}, bands(8, 16, 27), 3, 37, 29, 29},
    {"WEEKV",
     {},
     {"'W'ww", "yy'W'ww", "yy'W'wwdd", "yyyy'W'wwdd", "yyyy'-W'ww-dd"},
     bands(4, 6, 8, 10),
     2,
     200,
     11,
     200,
     Calendar::IsoWeek},
    {"WORDDATE", "worddate", {}, bands(8, 16, 27), 3, 37, 28, 28},
    {"YEAR", "year", {}, bands(3), 2, 4, 4, 4},
    {"YYMM", {}, {"yy/MM", "yyyy/MM"}, bands(7), 5, 32, 7, 7},
    {"YYMMDD", {}, {"yy/MM/dd", "yyyy/MM/dd"}, bands(7), 2, 10, 8, 8},
    {"YYQC", "quarteryear", {}, bands(4), 4, 32, 4, 32},
};

const Family* findFamily(std::string_view name) {
    for (const auto& family : families) {
        if (family.name == name) {
            return &family;
        }
    }
    return nullptr;
}

std::string keyOf(std::string_view series, int number) {
    std::string key(series);
    key.push_back('.');
    key.append(std::to_string(number));
    return key;
}

// The fallback keys of a band: the other keys in ascending order, except MONYY, which keeps its
// own short lists (monyy.0 and monyy.1 fall back on each other only; monyy.2 on monyy.1, then
// monyy.0).
std::vector<int> fallbackBands(const Family& family, int display) {
    if (family.name == "MONYY") {
        if (display == 2) {
            return {1, 0};
        }
        return {1 - display};
    }
    std::vector<int> others;
    for (int band = 0; band < family.bandCount(); ++band) {
        if (band != display) {
            others.push_back(band);
        }
    }
    return others;
}

constexpr int MAXIMUM_TIME_DECIMALS = 9;

}  // namespace

VekCalendarFormat::VekCalendarFormat(const std::shared_ptr<FormatInfo>& info, DateFormatter::ValueKind kind,
                                     DateFormatter::Calendar calendar)
    : VekFormat(info), kind_(kind), calendar_(calendar) {
    const auto nan = getLocalizationContext()->getFormatString(PATTERN_BUNDLE, "nan");
    nanText_ = nan ? *nan : std::string("NaN");
}

VekCalendarFormat::~VekCalendarFormat() = default;

bool VekCalendarFormat::isCalendarFamily(std::string_view name) {
    return findFamily(name) != nullptr;
}

bool VekCalendarFormat::initFormatFamily() {
    const auto& name = getFormatName();
    const Family* family = name ? findFamily(*name) : nullptr;
    if (!family || (calendar_ == Calendar::Hebrew) != (family->calendar == Calendar::Hebrew)) {
        return false;
    }
    calendar_ = family->calendar;
    if (family->elapsed) {
        kind_ = DateFormatter::ValueKind::ElapsedTime;
    }
    int width = getWidth();
    if (width < family->minimumWidth) {
        width = family->widthWhenBelow;
    } else if (width > family->maximumWidth) {
        width = family->widthWhenAbove;
    }
    setWidth(width);
    const int display = family->bandOf(width);
    if (family->keySeries.empty()) {
        std::string pattern(family->patterns[static_cast<std::size_t>(display)]);
        // Elapsed times that show seconds show the requested decimals of them, as far as the width
        // leaves room ("TIME12.3" writes 1:02:03.456).
        const int decimals = std::min(getDecimalWidth(), MAXIMUM_TIME_DECIMALS);
        if (family->elapsed && pattern.ends_with("ss") && decimals > 0 && width >= 9 + decimals) {
            pattern.append(".").append(static_cast<std::size_t>(decimals), 'S');
            decimalsShown_ = true;
        }
        initWithPattern(pattern);
        for (const int band : fallbackBands(*family, display)) {
            addFallbackParserWithPattern(family->patterns[static_cast<std::size_t>(band)]);
        }
        return true;
    }
    if (!initWithResourceName(keyOf(family->keySeries, display), PATTERN_BUNDLE)) {
        return false;
    }
    for (const int band : fallbackBands(*family, display)) {
        addFallbackParserWithResourceName(keyOf(family->keySeries, band), PATTERN_BUNDLE);
    }
    return true;
}

std::shared_ptr<const DateFormatter> VekCalendarFormat::makeFormatter(std::string_view pattern) const {
    return DateFormatter::create(pattern, *getLocalizationContext(), calendar_);
}

bool VekCalendarFormat::initWithResourceName(std::string_view key, std::string_view bundle) {
    const auto pattern = getLocalizationContext()->getFormatString(bundle, key);
    if (!pattern) {
        return false;
    }
    initWithPattern(*pattern);
    return true;
}

bool VekCalendarFormat::addFallbackParserWithResourceName(std::string_view key, std::string_view bundle) {
    const auto pattern = getLocalizationContext()->getFormatString(bundle, key);
    if (!pattern) {
        return false;
    }
    addFallbackParserWithPattern(*pattern);
    return true;
}

void VekCalendarFormat::initWithPattern(std::string_view pattern) {
    display_ = makeFormatter(pattern);
    pattern_ = StringUtilities::internString(pattern);
}

void VekCalendarFormat::addFallbackParserWithPattern(std::string_view pattern) {
    fallbacks_.push_back(makeFormatter(pattern));
}

bool VekCalendarFormat::formatTo(double value, std::string& out) const {
    return display_ && display_->format(value, kind_, out);
}

SharedString VekCalendarFormat::format(const double& value) const {
    std::string text;
    // DateFormatter sizes the string once for the longest text.
    if (!formatTo(value, text)) {
        text.clear();
        if (std::isnan(value)) {
            text.append(nanText_);
        } else {
            text.append(static_cast<std::size_t>(std::max(getWidth(), 1)), '*');
        }
    }
    return finishFormattedText(std::move(text));
}

double VekCalendarFormat::parse(const std::string& text) const {
    const std::string clean = StringUtilities::removeBidiControls(text);
    const std::string_view trimmed = StringUtilities::trim(clean);
    double value = std::numeric_limits<double>::quiet_NaN();
    if (trimmed.empty() || !display_) {
        return value;
    }
    if (display_->parse(trimmed, kind_, value)) {
        return value;
    }
    for (const auto& fallback : fallbacks_) {
        if (fallback->parse(trimmed, kind_, value)) {
            return value;
        }
    }
    return std::numeric_limits<double>::quiet_NaN();
}

SharedString VekCalendarFormat::getFormatPattern() const {
    return pattern_;
}

int VekCalendarFormat::getMaxFormattedStringLength() const {
    return display_ ? display_->getMaxFormattedStringLength() : 0;
}

double VekCalendarFormat::getDateTimeIncrementPeriod() const {
    return display_ ? display_->getIncrementPeriod() : 0.0;
}

double VekCalendarFormat::getDateTimeCyclePeriod() const {
    return display_ ? display_->getCyclePeriod() : 0.0;
}

bool VekCalendarFormat::isDecimalWidthSupported() const {
    return decimalsShown_;
}

}  // namespace pellium

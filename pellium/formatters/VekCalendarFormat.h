#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/Export.h"
#include "pellium/formatters/DateFormatter.h"
#include "pellium/formatters/VekFormat.h"

namespace pellium {

/// The base of the date, time and date-time formats: one display pattern, chosen by the format's
/// family and width, and an ordered list of fallback patterns that reading text back also tries,
/// so that text in any form of the family parses.
///
/// Each family owns a series of pattern keys in the "vek_portable_formatters" bundle (DATE owns
/// "date.0" to "date.3"); the width picks the display key by band and the other keys become the
/// fallbacks, in ascending order. A width outside the family's range is replaced first (DATE4.
/// displays as DATE7.). Some families have fixed patterns instead of keys (MMDDYY, WEEKV,
/// JULIAN, TIME, ...). The table of families and their bands lives in VekCalendarFormat.cpp.
///
/// Texts: a value the calendar cannot show (before 1582 or after 20000) is written as asterisks,
/// as wide as the format; NaN as the locale's "nan" text. Texts are not padded to the width.
/// Parsing answers NaN when neither the display pattern nor any fallback reads the text.
class PELLIUM_EXPORT VekCalendarFormat : public VekFormat {
public:
    static constexpr std::string_view PATTERN_BUNDLE = "vek_portable_formatters";

    ~VekCalendarFormat() override;

    using Formatter::format;
    using Formatter::parse;
    SharedString format(const double& value) const override;
    double parse(const std::string& text) const override;

    /// The display pattern ("ddMMMyyyy" for DATE9. in en_US).
    SharedString getFormatPattern() const override;
    int getMaxFormattedStringLength() const override;
    double getDateTimeIncrementPeriod() const override;
    double getDateTimeCyclePeriod() const override;
    bool isDecimalWidthSupported() const override;

    /// Appends the text of `value` to `out` without finishing it for right-to-left readers: the
    /// allocation-free core of format() for callers that write many values into one buffer.
    /// False, appending nothing, when the value cannot be shown.
    bool formatTo(double value, std::string& out) const;

    /// Makes the localised text of `key` in `bundle` the display pattern; false, changing
    /// nothing, when the key is absent.
    bool initWithResourceName(std::string_view key, std::string_view bundle);
    /// Appends the localised text of `key` in `bundle` to the fallback patterns; false, changing
    /// nothing, when the key is absent.
    bool addFallbackParserWithResourceName(std::string_view key, std::string_view bundle);
    void initWithPattern(std::string_view pattern);
    void addFallbackParserWithPattern(std::string_view pattern);

    /// What the values of this format count (a day, a time, a date-time or a duration).
    DateFormatter::ValueKind getValueKind() const { return kind_; }
    const std::shared_ptr<const DateFormatter>& getDisplayFormatter() const { return display_; }
    const std::vector<std::shared_ptr<const DateFormatter>>& getFallbackParsers() const { return fallbacks_; }

    /// Whether `name` (a bare, upper-cased name) is one of the calendar families.
    static bool isCalendarFamily(std::string_view name);

protected:
    VekCalendarFormat(const std::shared_ptr<FormatInfo>& info, DateFormatter::ValueKind kind,
                      DateFormatter::Calendar calendar);

    /// Sets the width and the patterns from the family of the format's bare name. False when the
    /// name is no calendar family or its calendar is not this object's.
    bool initFormatFamily();

private:
    std::shared_ptr<const DateFormatter> makeFormatter(std::string_view pattern) const;

    DateFormatter::ValueKind kind_;
    DateFormatter::Calendar calendar_;
    std::shared_ptr<const DateFormatter> display_;
    std::vector<std::shared_ptr<const DateFormatter>> fallbacks_;
    SharedString pattern_;
    std::string nanText_;
    bool decimalsShown_ = false;
};

}  // namespace pellium

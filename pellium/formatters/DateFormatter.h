#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/Export.h"

namespace pellium {

class LocalizationContext;
class TimeZone;

/// Renders the library's date and time values through a date pattern and reads text back. The
/// date, time and date-time formats hold one for their display pattern and one per fallback form;
/// the pattern is compiled and the locale's names are read once, so formatting looks nothing up.
///
/// Pattern letters have their Unicode LDML meanings; a run of one letter is one field, and its
/// length chooses the form: G era; y year ("yy" the last two digits, longer runs pad with zeros);
/// Q and q quarter (1-2 digits, 3 abbreviated, 4 wide, 5 narrow); M and L month (likewise);
/// w week of year (by the locale's first weekday and minimal days); D day of year; d day of month;
/// E weekday (1-3 abbreviated, 4 wide, 5 narrow, 6 short); c and e weekday (1-2 its number from
/// the locale's first weekday, then as E); a am/pm; H hour 0-23; h hour 1-12; K hour 0-11; k hour
/// 1-24; m minute; s second; S fraction of the second, truncated. The letters q, L and c take the
/// stand-alone names. Text in single quotes is literal ("''" is one quote); any other character,
/// letters without a meaning included, is literal too.
///
/// A run of "z" writes the abbreviation of the context's time zone as the zone's rules name it
/// ("EST", "CEST", "UTC"): for a date-time, the abbreviation in force at that wall-clock time; for
/// a time of day or a date, the one in force now. A zone the library does not know writes its
/// identifier.
///
/// Digits are always European. Values are day counts (dates) or second counts (times, date-times)
/// since 1 January 1960, in the wall clock of the context's zone.
class PELLIUM_EXPORT DateFormatter {
public:
    /// The calendar whose fields the letters show. In `IsoWeek` the letters y, w and d show the
    /// ISO 8601 week-year, week and weekday number (01 Monday to 07 Sunday), as week dates need.
    enum class Calendar { Gregorian, Hebrew, IsoWeek };

    /// What a value counts. An elapsed time is a signed duration: its leading hour or minute
    /// field is not wrapped at a day or an hour, and a negative one is written with "-".
    enum class ValueKind { Date, Time, DateTime, ElapsedTime };

    /// The compiled pattern with the names of the context's format locale. Never null.
    static std::shared_ptr<const DateFormatter> create(std::string_view pattern, const LocalizationContext& context,
                                                       Calendar calendar = Calendar::Gregorian);

    const std::string& getPattern() const { return pattern_; }

    /// Appends the text of `value` to `out`. Answers false, and appends nothing, for NaN, an
    /// infinity, a value outside the calendar (1582 to 20000) or a time beyond 10^15 seconds.
    bool format(double value, ValueKind kind, std::string& out) const;

    /// Reads `text` as this pattern writes it, into `value`. Letters match in any case, names
    /// match in any of their forms (wide, abbreviated, narrow, stand-alone; a trailing "." may be
    /// left out), months and quarters may also be typed as numbers, and separators (blanks, "/",
    /// "-", ".", ",", ":") may be typed as any others or left out between fields. A missing "a"
    /// leaves the hour as typed; a missing "z" is fine. Fields the pattern lacks default to the
    /// current year, January, the first day, midnight. False, leaving `value` unchanged, when
    /// the text does not fit the pattern or names a date or time that does not exist.
    bool parse(std::string_view text, ValueKind kind, double& value) const;

    /// The number of characters (code points) of the longest text the pattern writes: the
    /// longest name of each named field, four digits for a year (years from 10000 take five).
    int getMaxFormattedStringLength() const { return maxLength_; }
    /// The same for a pattern in a context, without keeping the compiled pattern.
    static int getMaxFormattedStringLength(std::string_view pattern, const LocalizationContext& context);

    /// The step of the smallest unit the pattern shows, in seconds (86400 for a day), and the
    /// period after which its texts repeat (0 when they never do, as when it shows the year).
    double getIncrementPeriod() const;
    double getCyclePeriod() const;

    bool hasDateFields() const { return hasDateFields_; }

    DateFormatter(const DateFormatter&) = delete;
    DateFormatter& operator=(const DateFormatter&) = delete;
    ~DateFormatter();

private:
    // Literals and names live in one text pool followed by this many spare bytes, so that a short
    // one is copied as one fixed-size block; render's buffer has the same room past the text.
    static constexpr std::size_t TEXT_PADDING = 16;

    // One field of the pattern, or a literal (letter 0) whose text is in texts_.
    struct Item {
        char letter = 0;
        int count = 0;
        std::uint32_t literalStart = 0;
        std::uint32_t literalLength = 0;
        int series = -1;            // the names a text field writes; -1 for numbers and literals
        bool numeric = false;       // written and read as digits
        bool inNumericRun = false;  // numeric, next to another numeric field: read by its exact digits
    };

    // The names a field letter can write, each series indexed from its first value.
    enum NameSeries : int {
        MonthWide,
        MonthAbbreviated,
        MonthNarrow,
        StandaloneMonthWide,
        StandaloneMonthAbbreviated,
        StandaloneMonthNarrow,
        DayWide,
        DayAbbreviated,
        DayShort,
        DayNarrow,
        StandaloneDayWide,
        StandaloneDayAbbreviated,
        StandaloneDayShort,
        StandaloneDayNarrow,
        QuarterWide,
        QuarterAbbreviated,
        QuarterNarrow,
        StandaloneQuarterWide,
        StandaloneQuarterAbbreviated,
        StandaloneQuarterNarrow,
        EraWide,
        EraAbbreviated,
        EraNarrow,
        DayPeriod,
        NAME_SERIES_COUNT
    };

    struct Fields;
    struct ParsedFields;

    DateFormatter(std::string_view pattern, const LocalizationContext& context, Calendar calendar);
    void compile(std::string_view pattern);
    void loadNames(const LocalizationContext& context);
    // Appends the names to the text pool, pads it and points names_ into it.
    void storeNames(const std::array<std::vector<std::string>, NAME_SERIES_COUNT>& names);
    int computeMaxLength() const;

    bool computeFields(double value, ValueKind kind, Fields& fields) const;
    int computeWeekOfYear(const Fields& fields) const;
    void writeField(const Item& item, const Fields& fields, char*& out) const;
    // Writes the text of the fields from `position`, which has room for maxBytes_; answers its end.
    char* render(double value, ValueKind kind, const Fields& fields, char* position) const;
    int computeMaxBytes() const;
    std::string_view zoneName(double value, ValueKind kind) const;
    // The name series a text field of `letter` and `count` writes; -1 for a numeric field.
    static int seriesOf(char letter, int count);
    // Whether a field of `letter` and `count` is written and read as digits.
    static bool isNumericField(char letter, int count);

    // Texts that write each field of an all-numeric pattern by its exact digits, with one ASCII
    // separator where the pattern has one ("2015-06-09" for "yyyy/MM/dd"), are read without the
    // general matching, into the same fields parseItems would find.
    void compileFixedLayout();
    bool fitsFixedLayout(std::string_view text) const;
    bool readFixedLayout(std::string_view text, ParsedFields& parsed) const;
    bool parseItems(std::string_view text, ParsedFields& parsed) const;
    bool parseField(const Item& item, std::string_view text, std::size_t& position, ParsedFields& parsed) const;
    bool matchName(char letter, std::string_view text, std::size_t& position, int& index) const;
    // Stores the number a numeric field of `letter` read in `digits` digits; false for a letter
    // that reads no number.
    bool storeNumber(char letter, std::int64_t number, int digits, ParsedFields& parsed) const;
    bool resolve(const ParsedFields& parsed, ValueKind kind, double& value) const;
    bool resolveDay(const ParsedFields& parsed, double& dayNumber) const;
    bool resolveSeconds(const ParsedFields& parsed, ValueKind kind, double& seconds) const;

    std::string pattern_;
    Calendar calendar_;
    std::vector<Item> items_;
    // The fixed layout: per byte 'd' for a digit or 's' for a separator, empty when the pattern
    // has names, other literals or wide fields; and where each field's digits are.
    struct FixedField {
        char letter;
        std::uint8_t offset;
        std::uint8_t width;
    };
    std::string fixedLayout_;
    std::vector<FixedField> fixedFields_;
    std::string texts_;  // the literals, then the names, then TEXT_PADDING bytes
    std::array<std::vector<std::string_view>, NAME_SERIES_COUNT> names_;
    std::shared_ptr<const TimeZone> zone_;
    std::string zoneId_;
    int firstDayOfWeek_ = 0;  // 0 Sunday
    int minimalDaysInFirstWeek_ = 1;
    int maxLength_ = 0;
    int maxBytes_ = 0;  // the room render needs: the bytes of the longest text, and TEXT_PADDING
    bool hasDateFields_ = false;
    bool hasTimeFields_ = false;
    // Which fields the pattern shows, so that formatting computes no others.
    bool showsHours_ = false;
    bool needsDayOfYear_ = false;
    bool needsWeekOfYear_ = false;
    bool needsWeekday_ = false;
    bool showsFraction_ = false;
};

}  // namespace pellium

// The rows every engine of the comparison reads: a deterministic sales table that any program can
// regenerate row by row from the row's position alone, so the CSV file, the first rows that the
// formatting workloads take and a smaller prefix for a slower peer all hold the same values.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace compare {

/// One row of the sales table.
struct SalesRow {
    std::string_view region;
    /// 1 to 50; the text is "Product 01" to "Product 50".
    int product = 0;
    int year = 0;
    /// Days since 1 January 1970 of a day in `year`.
    std::int64_t unixDay = 0;
    /// Sales in cents, 0 to 100,000; negative for a missing value (1% of the rows).
    std::int64_t salesCents = 0;
};

/// The rows of the sales table and their CSV text.
class SalesData {
public:
    static constexpr std::array<std::string_view, 8> REGIONS = {"East",    "West",      "North",     "South",
                                                                "Central", "Northeast", "Northwest", "Southwest"};
    static constexpr int PRODUCT_COUNT = 50;
    static constexpr int FIRST_YEAR = 2015;
    static constexpr int YEAR_COUNT = 10;
    static constexpr std::string_view CSV_HEADER = "region,product,year,sales,date\n";

    /// Row `row` (from 0) of the table; the same on every machine.
    static SalesRow row(std::uint64_t row);

    /// Appends the CSV line of `row` (with its line feed) to `line`: sales with two decimals and
    /// an empty field when missing, the date as YYYY-MM-DD.
    static void appendCsvLine(const SalesRow& row, std::string& line);

    /// Writes the header and rows [0, rowCount) to `path`; false when the file cannot be written.
    static bool writeCsvFile(const std::string& path, std::uint64_t rowCount);

    /// The date-time that the formatting workloads give row `row`: its day at a time of day
    /// spread over the whole day, in seconds since 1 January 1970.
    static std::int64_t unixDateTime(std::uint64_t row);

    /// The zones of the time-zone workload; value i of n falls in zone i * 20 / n.
    static constexpr std::array<std::string_view, 20> TIME_ZONES = {
        "America/New_York",  "Europe/Berlin",   "Asia/Tokyo",          "Australia/Sydney",    "America/Sao_Paulo",
        "Asia/Kolkata",      "Africa/Cairo",    "Europe/London",       "America/Los_Angeles", "Asia/Shanghai",
        "Europe/Moscow",     "America/Chicago", "Pacific/Auckland",    "Asia/Tehran",         "America/Santiago",
        "Africa/Casablanca", "Europe/Dublin",   "Australia/Lord_Howe", "America/St_Johns",    "Asia/Jerusalem"};

    /// The inputs of the formatting and time-zone workloads: the days and date-times of the
    /// first `count` rows.
    static std::vector<std::int64_t> firstUnixDays(std::uint64_t count);
    static std::vector<std::int64_t> firstUnixDateTimes(std::uint64_t count);
    /// The zone of value `index` of `count`.
    static std::size_t zoneOfValue(std::uint64_t index, std::uint64_t count) {
        return static_cast<std::size_t>(index * TIME_ZONES.size() / count);
    }

    /// Days since 1 January 1970 of a civil date, and back (Howard Hinnant's algorithms).
    static std::int64_t daysFromCivil(int year, int month, int day);
    static void civilFromDays(std::int64_t days, int& year, int& month, int& day);
};

}  // namespace compare

// The formatting and time-zone workloads done by the libraries a C++ developer would otherwise
// use: ICU's SimpleDateFormat, the C library's strftime and localtime_r, and Howard Hinnant's
// date library. They write what DATE9. writes, day, month abbreviation and year ("05Jan2020"),
// and for date-times add the time ("05Jan2020:13:45:12"); they answer the offsets in seconds.
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Report.h"
#include "SalesData.h"

#ifdef COMPARE_WITH_ICU
#include <unicode/gregocal.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>
#endif

#ifdef COMPARE_WITH_DATE_TZ
#include <date/date.h>
#include <date/tz.h>
#endif

namespace compare {

namespace {

constexpr const char* DATE9_PATTERN = "%d%b%Y";
// The text libPellium's DATETIME20. writes in en_US ("Sunday, January 5, 2020 01:45:12 PM"), so
// that every engine writes the same characters.
constexpr const char* DATETIME20_PATTERN = "%A, %B %-d, %Y %I:%M:%S %p";

double formatWithStrftime(const std::vector<std::int64_t>& unixSeconds, const char* pattern) {
    double length = 0;
    char text[64];
    for (const std::int64_t seconds : unixSeconds) {
        const auto time = static_cast<std::time_t>(seconds);
        std::tm fields{};
        gmtime_r(&time, &fields);
        length += static_cast<double>(std::strftime(text, sizeof(text), pattern, &fields));
    }
    return length;
}

void setZoneOfCLibrary(std::string_view id) {
    std::string setting(1, ':');
    setting.append(id);
    ::setenv("TZ", setting.c_str(), 1);
    ::tzset();
}

std::vector<std::int64_t> secondsOfDays(const std::vector<std::int64_t>& days) {
    std::vector<std::int64_t> seconds;
    seconds.reserve(days.size());
    for (const std::int64_t day : days) {
        seconds.push_back(day * 86400);
    }
    return seconds;
}

void addCLibraryWorkloads(Report& report, const std::vector<std::int64_t>& dates,
                          const std::vector<std::int64_t>& dateTimes) {
    const std::uint64_t count = dates.size();
    ::setenv("LC_ALL", "C", 1);
    report.measure("format_date", "glibc", std::string("gmtime_r + strftime ") + DATE9_PATTERN, count,
                   [&] { return formatWithStrftime(dates, DATE9_PATTERN); });
    report.measure("format_datetime", "glibc", std::string("gmtime_r + strftime ") + DATETIME20_PATTERN, count,
                   [&] { return formatWithStrftime(dateTimes, DATETIME20_PATTERN); });
    report.measure("tz_offsets", "glibc", "localtime_r, TZ set per zone", count, [&] {
        double sum = 0;
        std::size_t zone = SalesData::TIME_ZONES.size();
        for (std::uint64_t index = 0; index < count; ++index) {
            const std::size_t zoneOfValue = SalesData::zoneOfValue(index, count);
            if (zoneOfValue != zone) {
                zone = zoneOfValue;
                setZoneOfCLibrary(SalesData::TIME_ZONES[zone]);
            }
            const auto time = static_cast<std::time_t>(dateTimes[index]);
            std::tm fields{};
            localtime_r(&time, &fields);
            sum += static_cast<double>(fields.tm_gmtoff);
        }
        return sum;
    });
}

#ifdef COMPARE_WITH_ICU
double formatWithIcu(const std::vector<std::int64_t>& unixSeconds, const char* pattern) {
    UErrorCode status = U_ZERO_ERROR;
    icu::SimpleDateFormat format(icu::UnicodeString(pattern), icu::Locale::getUS(), status);
    if (U_FAILURE(status)) {
        throw std::runtime_error(u_errorName(status));
    }
    format.adoptTimeZone(icu::TimeZone::createTimeZone("GMT"));
    double length = 0;
    icu::UnicodeString text;
    for (const std::int64_t seconds : unixSeconds) {
        text.remove();
        format.format(static_cast<UDate>(seconds) * 1000.0, text);
        std::string utf8;
        text.toUTF8String(utf8);
        length += static_cast<double>(utf8.size());
    }
    return length;
}

void addIcuWorkloads(Report& report, const std::vector<std::int64_t>& dates,
                     const std::vector<std::int64_t>& dateTimes) {
    report.measure("format_date", "ICU " U_ICU_VERSION, "SimpleDateFormat ddMMMyyyy, to UTF-8", dates.size(),
                   [&] { return formatWithIcu(dates, "ddMMMyyyy"); });
    report.measure("format_datetime", "ICU " U_ICU_VERSION, "SimpleDateFormat EEEE, MMMM d, yyyy hh:mm:ss a, to UTF-8",
                   dateTimes.size(), [&] { return formatWithIcu(dateTimes, "EEEE, MMMM d, yyyy hh:mm:ss a"); });
}
#endif

#ifdef COMPARE_WITH_DATE_TZ
// date::format has no unpadded day ("%-d"): days below 10 take one more character.
constexpr const char* HINNANT_DATETIME20_PATTERN = "%A, %B %d, %Y %I:%M:%S %p";

void addDateWorkloads(Report& report, const std::vector<std::int64_t>& dates,
                      const std::vector<std::int64_t>& dateTimes) {
    const std::uint64_t count = dates.size();
    report.measure("format_date", "Hinnant date", std::string("date::format ") + DATE9_PATTERN, count, [&] {
        double length = 0;
        for (const std::int64_t seconds : dates) {
            length +=
                static_cast<double>(date::format(DATE9_PATTERN, date::sys_days(date::days(seconds / 86400))).size());
        }
        return length;
    });
    report.measure("format_datetime", "Hinnant date", std::string("date::format ") + HINNANT_DATETIME20_PATTERN, count, [&] {
        double length = 0;
        for (const std::int64_t seconds : dateTimes) {
            length += static_cast<double>(
                date::format(HINNANT_DATETIME20_PATTERN, date::sys_seconds(std::chrono::seconds(seconds))).size());
        }
        return length;
    });
    std::vector<const date::time_zone*> zones;
    for (const std::string_view id : SalesData::TIME_ZONES) {
        zones.push_back(date::locate_zone(id));
    }
    report.measure("tz_offsets", "Hinnant date", "time_zone::get_info(sys_seconds)", count, [&] {
        double sum = 0;
        for (std::uint64_t index = 0; index < count; ++index) {
            const date::time_zone& zone = *zones[SalesData::zoneOfValue(index, count)];
            sum += static_cast<double>(
                zone.get_info(date::sys_seconds(std::chrono::seconds(dateTimes[index]))).offset.count());
        }
        return sum;
    });
}
#endif

}  // namespace

void addLibraryWorkloads(Report& report) {
    const std::uint64_t count = report.context().valueCount;
    const std::vector<std::int64_t> dates = secondsOfDays(SalesData::firstUnixDays(count));
    const std::vector<std::int64_t> dateTimes = SalesData::firstUnixDateTimes(count);
    addCLibraryWorkloads(report, dates, dateTimes);
#ifdef COMPARE_WITH_ICU
    addIcuWorkloads(report, dates, dateTimes);
#else
    report.unavailable("format_date", "ICU", "built without ICU (libicu-dev)");
    report.unavailable("format_datetime", "ICU", "built without ICU (libicu-dev)");
#endif
#ifdef COMPARE_WITH_DATE_TZ
    addDateWorkloads(report, dates, dateTimes);
#else
    for (const char* workload : {"format_date", "format_datetime", "tz_offsets"}) {
        report.unavailable(workload, "Hinnant date", "built without libhowardhinnant-date-dev");
    }
#endif
}

}  // namespace compare

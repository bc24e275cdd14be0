#include "SalesData.h"

#include <cstdio>
#include <memory>

namespace compare {

namespace {

// SplitMix64: a well-mixed 64-bit value from any 64-bit input, so each row is drawn from its
// position alone and no generator state is carried from row to row.
std::uint64_t mix(std::uint64_t value) {
    value += 0x9E3779B97F4A7C15ULL;
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9ULL;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EBULL;
    return value ^ (value >> 31);
}

constexpr std::uint64_t SEED = 0x5A1E5DA7A2015ULL;

bool isLeapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

void appendPadded(std::string& text, std::int64_t value, int width) {
    char digits[24];
    int count = 0;
    do {
        digits[count++] = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value > 0);
    for (int pad = count; pad < width; ++pad) {
        text += '0';
    }
    while (count > 0) {
        text += digits[--count];
    }
}

}  // namespace

SalesRow SalesData::row(std::uint64_t row) {
    const std::uint64_t first = mix(row ^ SEED);
    const std::uint64_t second = mix(first);
    SalesRow result;
    result.region = REGIONS[first % REGIONS.size()];
    result.product = static_cast<int>((first >> 8) % PRODUCT_COUNT) + 1;
    result.year = FIRST_YEAR + static_cast<int>((first >> 16) % YEAR_COUNT);
    const int dayOfYear = static_cast<int>((first >> 24) % (isLeapYear(result.year) ? 366 : 365));
    result.unixDay = daysFromCivil(result.year, 1, 1) + dayOfYear;
    const bool missing = (first >> 40) % 100 == 0;
    result.salesCents = missing ? -1 : static_cast<std::int64_t>(second % 100001);
    return result;
}

void SalesData::appendCsvLine(const SalesRow& row, std::string& line) {
    line += row.region;
    line += ",Product ";
    appendPadded(line, row.product, 2);
    line += ',';
    appendPadded(line, row.year, 4);
    line += ',';
    if (row.salesCents >= 0) {
        appendPadded(line, row.salesCents / 100, 1);
        line += '.';
        appendPadded(line, row.salesCents % 100, 2);
    }
    line += ',';
    int year = 0;
    int month = 0;
    int day = 0;
    civilFromDays(row.unixDay, year, month, day);
    appendPadded(line, year, 4);
    line += '-';
    appendPadded(line, month, 2);
    line += '-';
    appendPadded(line, day, 2);
    line += '\n';
}

bool SalesData::writeCsvFile(const std::string& path, std::uint64_t rowCount) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "wb"), &std::fclose);
    if (!file) {
        return false;
    }
    std::string buffer(CSV_HEADER);
    constexpr std::size_t FLUSH_AT = std::size_t{1} << 20;
    for (std::uint64_t index = 0; index < rowCount; ++index) {
        appendCsvLine(row(index), buffer);
        if (buffer.size() >= FLUSH_AT) {
            if (std::fwrite(buffer.data(), 1, buffer.size(), file.get()) != buffer.size()) {
                return false;
            }
            buffer.clear();
        }
    }
    return std::fwrite(buffer.data(), 1, buffer.size(), file.get()) == buffer.size() && std::fflush(file.get()) == 0;
}

std::int64_t SalesData::unixDateTime(std::uint64_t row) {
    return SalesData::row(row).unixDay * 86400 + static_cast<std::int64_t>(row * 7919 % 86400);
}

std::vector<std::int64_t> SalesData::firstUnixDays(std::uint64_t count) {
    std::vector<std::int64_t> days;
    days.reserve(count);
    for (std::uint64_t index = 0; index < count; ++index) {
        days.push_back(row(index).unixDay);
    }
    return days;
}

std::vector<std::int64_t> SalesData::firstUnixDateTimes(std::uint64_t count) {
    std::vector<std::int64_t> times;
    times.reserve(count);
    for (std::uint64_t index = 0; index < count; ++index) {
        times.push_back(unixDateTime(index));
    }
    return times;
}

// Days are counted in eras of 400 years (146,097 days), in which the calendar repeats; the year is
// shifted to start in March so that the leap day falls at its end.
std::int64_t SalesData::daysFromCivil(int year, int month, int day) {
    const std::int64_t shiftedYear = month <= 2 ? year - 1 : year;
    const std::int64_t era = (shiftedYear >= 0 ? shiftedYear : shiftedYear - 399) / 400;
    const std::int64_t yearOfEra = shiftedYear - era * 400;
    const std::int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

void SalesData::civilFromDays(std::int64_t days, int& year, int& month, int& day) {
    days += 719468;
    const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const std::int64_t dayOfEra = days - era * 146097;
    const std::int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t shiftedMonth = (5 * dayOfYear + 2) / 153;
    day = static_cast<int>(dayOfYear - (153 * shiftedMonth + 2) / 5 + 1);
    month = static_cast<int>(shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9);
    year = static_cast<int>(yearOfEra + era * 400 + (month <= 2 ? 1 : 0));
}

}  // namespace compare

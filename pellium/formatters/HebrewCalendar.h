#pragma once

#include "pellium/Export.h"

namespace pellium {

/// The Hebrew (Jewish) calendar: conversion between the library's day numbers (days since
/// 1 January 1960) and Hebrew dates. The Hebrew date formats render and read dates through it.
///
/// Months are numbered from the start of the civil year, as most software does: 1 Tishri,
/// 2 Heshvan, 3 Kislev, 4 Tevet, 5 Shevat, 6 Adar I, 7 Adar (Adar II in a leap year), 8 Nisan,
/// 9 Iyar, 10 Sivan, 11 Tamuz, 12 Av, 13 Elul. Month 6 exists only in leap years, the 7 years of
/// every 19-year cycle with (7 * year + 1) mod 19 below 7.
///
/// The arithmetic is the classical one of the fixed calendar (the molad of Tishri and the four
/// postponements), in constant time: a year's first day is computed from the months elapsed
/// since the epoch, not counted. Conversions cover the day numbers of `TimeUtilities`
/// (FIRST_DAY_NUMBER to LAST_DAY_NUMBER); outside them they answer false or NaN.
class PELLIUM_EXPORT HebrewCalendar {
public:
    HebrewCalendar() = delete;

    static constexpr int TISHRI = 1;
    static constexpr int ADAR_I = 6;
    static constexpr int ADAR = 7;
    static constexpr int ELUL = 13;

    static constexpr bool isLeapYear(int year) noexcept { return ((7LL * year + 1) % 19 + 19) % 19 < 7; }
    /// 353 to 355 days, or 383 to 385 in a leap year.
    static int getDaysInYear(int year) noexcept;
    /// 29 or 30; 0 for month 6 in a year that is not a leap year, or a month outside 1 to 13.
    static int getDaysInMonth(int month, int year) noexcept;

    /// The day number of 1 Tishri of `year`.
    static double getNewYear(int year) noexcept;

    /// The Hebrew date of a day number (its floor); false, leaving the outputs unchanged, outside
    /// the range of `TimeUtilities`.
    static bool getDate(double dayNumber, int& year, int& month, int& day) noexcept;

    /// The day number of a Hebrew date; NaN for a month or day that the year does not have, or
    /// a date outside the range of `TimeUtilities`.
    static double toDayNumber(int year, int month, int day) noexcept;

    /// The month's position in its year, 1 to 12 (13 in a leap year): Adar is the 6th month of a
    /// common year and Adar II the 7th of a leap year. 0 for a month the year lacks.
    static int getOrdinalMonth(int month, int year) noexcept;
    /// The month at a position of its year; 0 for a position the year lacks.
    static int getMonthFromOrdinal(int ordinal, int year) noexcept;
};

}  // namespace pellium

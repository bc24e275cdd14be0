#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "pellium/parsers/CSVNumberReader.h"

namespace pellium {

namespace {

double viaFromChars(const std::string& text) {
    double value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    EXPECT_EQ(result.ptr, text.data() + text.size()) << text;
    return value;
}

}  // namespace

TEST(CSVNumberReader, DecimalsReadExactlyAsFromCharsReadsThem) {
    // Random digit strings with a point anywhere, around the limits of the exact fast path:
    // nineteen digits, 2^53, twenty-two decimals.
    std::mt19937_64 random(2024);
    for (int trial = 0; trial < 300000; ++trial) {
        const std::size_t digits = 1 + random() % 24;
        std::string text = random() % 4 == 0 ? "-" : "";
        const std::size_t point = random() % (digits + 2);
        for (std::size_t position = 0; position < digits; ++position) {
            if (position == point) {
                text += '.';
            }
            text += static_cast<char>('0' + (trial % 3 == 0 ? 9 : random() % 10));
        }
        if (point == digits) {
            text += '.';
        }
        double value = 0;
        ASSERT_TRUE(CSVNumberReader::read(text, value)) << text;
        ASSERT_EQ(std::bit_cast<std::uint64_t>(value), std::bit_cast<std::uint64_t>(viaFromChars(text))) << text;
    }
}

TEST(CSVNumberReader, ExponentsAndSignsReadAsFromChars) {
    for (const std::string text : {"1e3", "-2.5E-3", "1e308", "4.9e-324", "9007199254740993", "0.1", "-0", "+7", ".5",
                                   "5.", "00012", "123456789012345678901234567890"}) {
        double value = 0;
        ASSERT_TRUE(CSVNumberReader::read(text, value)) << text;
        const std::string unsigned_ = text.front() == '+' ? text.substr(1) : text;
        EXPECT_EQ(std::bit_cast<std::uint64_t>(value), std::bit_cast<std::uint64_t>(viaFromChars(unsigned_))) << text;
    }
    constexpr double INFINITE = std::numeric_limits<double>::infinity();
    for (const auto& [text, expected] : std::vector<std::pair<std::string, double>>{
             {"-Infinity", -INFINITE}, {"+Infinity", INFINITE}, {"-1e999", -INFINITE}, {"1e-999", 0.0}}) {
        double value = 0;
        ASSERT_TRUE(CSVNumberReader::read(text, value)) << text;
        EXPECT_EQ(value, expected) << text;
    }
}

TEST(CSVNumberReader, WordsAndMalformedNumbersAreRefused) {
    for (const std::string_view text :
         {"",           "-",    "+",   ".",          "-.",       "+-1",    "--1",
          "inf",        "-inf", "nan", "NaN",        "infinity", "0x1p3",  "INFINITY",
          "+-Infinity", "1e",   "1e+", "2015-06-09", "12:30",    "1.5e3x", "12345678901234567890x",
          "1.2.3",      "1,5",  " 1",  "1 ",         "1a",       "e5",     "١٢"}) {
        double value = 0;
        EXPECT_FALSE(CSVNumberReader::read(text, value)) << text;
    }
}

}  // namespace pellium

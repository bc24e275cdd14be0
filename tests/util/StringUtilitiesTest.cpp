#include <bit>
#include <cctype>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <latch>
#include <limits>
#include <random>
#include <string>
#include <strings.h>
#include <thread>
#include <vector>

#include "pellium/util/StringUtilities.h"

namespace pellium {

using namespace std::string_literals;

namespace {

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr double INFINITE = std::numeric_limits<double>::infinity();

bool isSameDouble(double left, double right) {
    return std::bit_cast<std::uint64_t>(left) == std::bit_cast<std::uint64_t>(right);
}

// The number of significant digits of a plain or exponent text written by createStringFromDouble.
int countSignificantDigits(const std::string& text) {
    const std::string mantissa = text.substr(0, text.find('e'));
    std::string digits;
    for (const char character : mantissa) {
        if (character >= '0' && character <= '9') {
            digits.push_back(character);
        }
    }
    const auto first = digits.find_first_not_of('0');
    const auto last = digits.find_last_not_of('0');
    return first == std::string::npos ? 0 : static_cast<int>(last - first + 1);
}

// Independent oracle for the shortest length: the fewest significant digits with which the C
// library's printf and strtod reproduce the same double.
int shortestDigitsByPrintf(double value) {
    for (int precision = 1; precision <= 17; ++precision) {
        char text[64];
        std::snprintf(text, sizeof text, "%.*e", precision - 1, value);
        if (isSameDouble(std::strtod(text, nullptr), value)) {
            return precision;
        }
    }
    return 17;
}

void expectRoundTrip(double value) {
    const std::string text = StringUtilities::createStringFromDouble(value);
    EXPECT_TRUE(isSameDouble(StringUtilities::createDoubleFromString(text), value))
        << text << " does not read back as " << value;
    const double magnitude = std::fabs(value);
    const bool expectPlain = magnitude == 0 || (magnitude >= 1e-6 && magnitude < 1e21);
    EXPECT_EQ(text.find('e') == std::string::npos, expectPlain) << text;
}

}  // namespace

// --- Numbers -------------------------------------------------------------------------------------

TEST(StringUtilities, DoubleTextsAreLaidOutPlainBetweenOneMillionthAndOneE21) {
    const std::vector<std::pair<double, std::string>> cases = {
        {0.0, "0"},
        {-0.0, "-0"},
        {NOT_A_NUMBER, "NaN"},
        {-NOT_A_NUMBER, "NaN"},
        {INFINITE, "Infinity"},
        {-INFINITE, "-Infinity"},
        {1.0, "1"},
        {-0.5, "-0.5"},
        {0.1, "0.1"},
        {123.45, "123.45"},
        {1.0 / 3.0, "0.3333333333333333"},
        {100000.0, "100000"},
        {9007199254740992.0, "9007199254740992"},
        {1e20, "100000000000000000000"},
        {123456789012345680000.0, "123456789012345680000"},
        {1e21, "1e+21"},
        {-1.5e300, "-1.5e+300"},
        {0.000001, "0.000001"},
        {0.0000012345, "0.0000012345"},
        {1e-7, "1e-7"},
        {1.5e-7, "1.5e-7"},
        {DBL_MAX, "1.7976931348623157e+308"},
        {DBL_MIN, "2.2250738585072014e-308"},
        {-DBL_TRUE_MIN, "-5e-324"},
    };
    for (const auto& [value, expected] : cases) {
        EXPECT_EQ(StringUtilities::createStringFromDouble(value), expected);
    }
}

TEST(StringUtilities, EdgeDoublesRoundTrip) {
    std::vector<double> values = {
        0.0,          -0.0,          DBL_MIN,     -DBL_MIN,           DBL_MAX,           -DBL_MAX,
        DBL_TRUE_MIN, -DBL_TRUE_MIN, DBL_EPSILON, 9007199254740993.0, 4503599627370495.5};
    values.insert(values.end(), {DBL_MIN - DBL_TRUE_MIN, 1.0 + DBL_EPSILON, 0.1 + 0.2});
    for (int exponent = -323; exponent <= 308; ++exponent) {
        const double power = std::strtod(("1e" + std::to_string(exponent)).c_str(), nullptr);
        values.insert(values.end(), {power, std::nextafter(power, 0.0), std::nextafter(power, INFINITE), -power});
    }
    for (const double value : values) {
        expectRoundTrip(value);
    }
}

TEST(StringUtilities, RandomBitPatternsRoundTripWithTheShortestDigits) {
    std::mt19937_64 random(20240611);
    for (int iteration = 0; iteration < 2'000'000; ++iteration) {
        const double value = std::bit_cast<double>(random());
        if (std::isnan(value)) {
            EXPECT_EQ(StringUtilities::createStringFromDouble(value), "NaN");
            continue;
        }
        expectRoundTrip(value);
        // The printf oracle is slow, so it checks every 40th value.
        if (iteration % 40 == 0 && value != 0 && !std::isinf(value)) {
            EXPECT_EQ(countSignificantDigits(StringUtilities::createStringFromDouble(value)),
                      shortestDigitsByPrintf(value))
                << StringUtilities::createStringFromDouble(value);
        }
    }
}

TEST(StringUtilities, DoubleTextsReadStrictlyAndLocaleIndependently) {
    const std::vector<std::pair<double, std::vector<std::string>>> accepted = {
        {0.0, {"0", "1e-400", "0." + std::string(400, '0') + "1", "0e999999999999"}},
        {-0.0, {"-0", "-1e-400"}},
        {42.0, {"42", "+42"}},
        {-1500.0, {"  -1.5e+3 \n"}},
        {0.5, {".5"}},
        {7.0, {"7."}},
        {1000.0, {"1E3"}},
        {INFINITE, {"Infinity", "+Infinity", "1e400", "1" + std::string(400, '0')}},
        {-INFINITE, {" -Infinity\t", "-1e400"}},
        {DBL_TRUE_MIN, {"4.9e-324"}},
    };
    for (const auto& [expected, texts] : accepted) {
        for (const std::string& text : texts) {
            EXPECT_TRUE(isSameDouble(StringUtilities::createDoubleFromString(text), expected)) << '"' << text << '"';
        }
    }
    // "\u22125" is a minus sign (U+2212) and 5.
    const std::vector<std::string> rejected = {"",    "   ",      "NaN",      "-NaN",      "1.5x", "1.5 x", "1e",
                                               "1e+", "--1",      "+-1",      "- 1",       "0x10", "inf",   "-inf",
                                               "nan", "infinity", "INFINITY", "Infinityx", "1,5",  "1.5.2", ".",
                                               "e5",  "1e5.5",    "1_000",    "\u22125",   "1\0"s};
    for (const auto& text : rejected) {
        EXPECT_TRUE(std::isnan(StringUtilities::createDoubleFromString(text))) << '"' << text << '"';
    }
}

TEST(StringUtilities, IntegerTextsReadTheLeadingNumberAndSaturate) {
    const std::vector<std::pair<int, std::vector<std::string>>> cases = {
        {0, {"", "   ", "abc", "-", "+-3", "- 3"}},
        {42, {"42"}},
        {-17, {" \t\n-17"}},
        {8, {"+8"}},
        {7, {"0007"}},
        {12, {"12abc", "000000000000000000000000012"}},
        {1, {"1 2"}},
        {3, {"3.9"}},
        {INT_MAX, {"2147483647", "2147483648", "99999999999999999999999999"}},
        {INT_MIN, {"-2147483648", "-2147483649", "-99999999999999999999999999"}},
    };
    for (const auto& [expected, texts] : cases) {
        for (const std::string& text : texts) {
            EXPECT_EQ(StringUtilities::createIntFromString(text), expected) << '"' << text << '"';
        }
    }
}

TEST(StringUtilities, StrictIntegerParsingRefusesJunkAndOverflow) {
    const std::vector<std::pair<std::string, int>> accepted = {
        {"0", 0},
        {" 42 ", 42},
        {"-17", -17},
        {"+8", 8},
        {"2147483647", INT_MAX},
        {"-2147483648", INT_MIN},
        {"-0", 0},
        {"00000000000000000000000001", 1},
    };
    for (const auto& [text, expected] : accepted) {
        int value = -1;
        EXPECT_TRUE(StringUtilities::tryParseInt(text, value)) << text;
        EXPECT_EQ(value, expected) << text;
    }
    for (const std::string text : {"", " ", "-", "+", "12a", "1 2", "3.0", "2147483648", "-2147483649", "0x1", "--1"}) {
        int value = 99;
        EXPECT_FALSE(StringUtilities::tryParseInt(text, value)) << text;
        EXPECT_EQ(value, 99) << "a refused text leaves the value alone: " << text;
    }
}

// --- Splitting and trimming ----------------------------------------------------------------------

TEST(StringUtilities, TokenizeKeepsEveryFieldUnlessAskedToDropEmptyOnes) {
    struct Case {
        std::string text;
        std::string delimiters;
        std::vector<std::string> kept;
        std::vector<std::string> dropped;
    };
    const std::vector<Case> cases = {
        {"a;b;c", ";", {"a", "b", "c"}, {"a", "b", "c"}},
        {"a;;b", ";", {"a", "", "b"}, {"a", "b"}},
        {"", ";", {""}, {}},
        {";", ";", {"", ""}, {}},
        {"a;b;", ";", {"a", "b", ""}, {"a", "b"}},
        {";a", ";", {"", "a"}, {"a"}},
        {"a, b,c", ", ", {"a", "", "b", "c"}, {"a", "b", "c"}},
        {"abc", "", {"abc"}, {"abc"}},
        {"\xC3\xA9;\xE2\x82\xAC", ";", {"\xC3\xA9", "\xE2\x82\xAC"}, {"\xC3\xA9", "\xE2\x82\xAC"}},
    };
    for (const auto& testCase : cases) {
        EXPECT_EQ(StringUtilities::tokenize(testCase.text, testCase.delimiters), testCase.kept) << testCase.text;
        EXPECT_EQ(StringUtilities::tokenize(testCase.text, testCase.delimiters, false), testCase.dropped)
            << testCase.text;
        const auto views = StringUtilities::tokenizeViews(testCase.text, testCase.delimiters);
        EXPECT_EQ(std::vector<std::string>(views.begin(), views.end()), testCase.kept) << testCase.text;
    }
}

TEST(StringUtilities, TrimmingRemovesTheStandardWhiteSpaceOnly) {
    const std::string allWhiteSpace = " \t\n\v\f\r";
    EXPECT_EQ(StringUtilities::trim(allWhiteSpace + "a b" + allWhiteSpace), "a b");
    EXPECT_EQ(StringUtilities::trimLeft(allWhiteSpace + "a "), "a ");
    EXPECT_EQ(StringUtilities::trimRight(" a" + allWhiteSpace), " a");
    EXPECT_EQ(StringUtilities::trim(allWhiteSpace), "");
    EXPECT_EQ(StringUtilities::trim("\xC2\xA0x\xC2\xA0"), "\xC2\xA0x\xC2\xA0") << "a no-break space is not trimmed";
    EXPECT_EQ(StringUtilities::trim(std::string("\0x", 2)), std::string("\0x", 2)) << "NUL is not white space";
    for (int character = 0; character < 256; ++character) {
        EXPECT_EQ(StringUtilities::isWhiteSpace(static_cast<char>(character)),
                  character < 128 && std::isspace(character) != 0)
            << character;
    }
}

TEST(StringUtilities, MissingTextsAreNullEmptyOrWhiteSpace) {
    EXPECT_TRUE(StringUtilities::isStringMissing(SharedString()));
    EXPECT_TRUE(StringUtilities::isStringMissing(StringUtilities::getNullString()));
    EXPECT_TRUE(StringUtilities::isStringMissing(std::make_shared<const std::string>(" \t")));
    EXPECT_TRUE(StringUtilities::isStringMissing(""));
    EXPECT_FALSE(StringUtilities::isStringMissing(std::make_shared<const std::string>(" x ")));
    EXPECT_FALSE(StringUtilities::isStringMissing("\xC2\xA0"));
}

// --- ASCII case folding --------------------------------------------------------------------------

TEST(StringUtilities, CaseInsensitiveComparisonAgreesWithStrcasecmpInTheCLocale) {
    // The C library's strcasecmp in the C locale folds exactly A-Z and compares unsigned bytes.
    const std::string alphabet = "aAbBzZ[_`{@\x7F\x80\xC3\xA9\xFF";
    std::mt19937 random(7);
    std::uniform_int_distribution<std::size_t> pick(0, alphabet.size() - 1);
    std::uniform_int_distribution<int> length(0, 4);
    const auto randomText = [&] {
        std::string text(static_cast<std::size_t>(length(random)), ' ');
        for (char& character : text) {
            character = alphabet[pick(random)];
        }
        return text;
    };
    const auto sign = [](int value) { return (value > 0) - (value < 0); };
    for (int iteration = 0; iteration < 100'000; ++iteration) {
        const std::string left = randomText();
        const std::string right = randomText();
        const int expected = sign(strcasecmp(left.c_str(), right.c_str()));
        EXPECT_EQ(sign(StringUtilities::compareIgnoreCase(left, right)), expected) << left << " / " << right;
        EXPECT_EQ(StringUtilities::equalsIgnoreCase(left, right), expected == 0) << left << " / " << right;
    }
}

TEST(StringUtilities, CaseFoldingTouchesAsciiLettersOnly) {
    EXPECT_EQ(StringUtilities::toUpperAscii("abc-xyz \xC3\xA9"), "ABC-XYZ \xC3\xA9");
    EXPECT_EQ(StringUtilities::toLowerAscii("ABC-XYZ \xC3\x89"), "abc-xyz \xC3\x89");
    EXPECT_FALSE(StringUtilities::equalsIgnoreCase("\xC3\xA9", "\xC3\x89")) << "non-ASCII letters do not fold";
    EXPECT_FALSE(StringUtilities::equalsIgnoreCase("Stra\u00DFe", "STRASSE"));
}

// --- Bidirectional controls ----------------------------------------------------------------------

TEST(StringUtilities, BidiControlsAreRemovedAndMarksKeptWhenOnlyEmbeddingsGo) {
    const std::vector<char32_t> marks = {0x200E, 0x200F, 0x061C};
    const std::vector<char32_t> embeddings = {0x202A, 0x202B, 0x202C, 0x202D, 0x202E, 0x2066, 0x2067, 0x2068, 0x2069};
    // Neighbours of the controls in the code charts, which must survive.
    const std::vector<char32_t> neighbours = {0x200D, 0x2010, 0x2029, 0x202F, 0x2065, 0x206A, 0x061B, 0x061D, 0x05D0};

    std::string text = "a";
    std::string withoutAny = "a";
    std::string withMarksOnly = "a";
    const auto appendAll = [](std::string& out, const std::vector<char32_t>& codePoints) {
        for (const char32_t codePoint : codePoints) {
            StringUtilities::appendUtf8(out, codePoint);
            out.push_back('.');
        }
    };
    appendAll(text, marks);
    appendAll(text, embeddings);
    appendAll(text, neighbours);
    withoutAny.append(marks.size() + embeddings.size(), '.');
    appendAll(withoutAny, neighbours);
    appendAll(withMarksOnly, marks);
    withMarksOnly.append(embeddings.size(), '.');
    appendAll(withMarksOnly, neighbours);

    EXPECT_EQ(StringUtilities::removeBidiControls(text), withoutAny);
    EXPECT_EQ(StringUtilities::removeBidiControlEmbedded(text), withMarksOnly);
    // Truncated sequences at the end are not controls and stay as they are.
    EXPECT_EQ(StringUtilities::removeBidiControls("x\xE2\x80"), "x\xE2\x80");
    EXPECT_EQ(StringUtilities::removeBidiControls("\xD8"), "\xD8");
    EXPECT_EQ(StringUtilities::removeBidiControls(""), "");
}

// --- Interning -----------------------------------------------------------------------------------

TEST(StringUtilities, EqualTextsInternToOneInstanceAndNullStaysNull) {
    const SharedString first = StringUtilities::internString("intern-test-alpha");
    ASSERT_TRUE(first);
    EXPECT_EQ(*first, "intern-test-alpha");
    EXPECT_EQ(StringUtilities::internString(std::string("intern-test-alpha")), first);
    EXPECT_EQ(StringUtilities::internString(std::make_shared<const std::string>("intern-test-alpha")), first);
    EXPECT_NE(StringUtilities::internString("intern-test-beta"), first);
    EXPECT_NE(StringUtilities::internString(std::string("intern-test-alpha\0", 18)), first);
    EXPECT_EQ(*StringUtilities::internString(""), "");
    EXPECT_EQ(StringUtilities::internString(""), StringUtilities::internString(std::string()));
    const auto fresh = std::make_shared<const std::string>("intern-test-adopted");
    EXPECT_EQ(StringUtilities::internString(fresh), fresh) << "a text not yet interned is adopted without a copy";
    EXPECT_EQ(StringUtilities::internString("intern-test-adopted"), fresh);
    EXPECT_EQ(StringUtilities::internString(SharedString()), nullptr);
    EXPECT_EQ(StringUtilities::getNullString(), nullptr);
}

TEST(StringUtilities, ConcurrentInterningGivesEveryThreadTheSameInstance) {
    constexpr int THREAD_COUNT = 8;
    constexpr int TEXT_COUNT = 3000;
    std::vector<std::string> texts;
    for (int index = 0; index < TEXT_COUNT; ++index) {
        texts.push_back("concurrent-intern-" + std::to_string(index));
    }
    std::vector<std::vector<SharedString>> results(THREAD_COUNT, std::vector<SharedString>(TEXT_COUNT));
    std::latch start(THREAD_COUNT);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < THREAD_COUNT; ++thread) {
        threads.emplace_back([&, thread] {
            // Each thread walks the texts from its own starting point, twice, so that first
            // insertions race and later look-ups hit.
            start.arrive_and_wait();
            for (int round = 0; round < 2; ++round) {
                for (int step = 0; step < TEXT_COUNT; ++step) {
                    const int index = (step * 7 + thread * (TEXT_COUNT / THREAD_COUNT)) % TEXT_COUNT;
                    SharedString interned =
                        (index + thread) % 2 == 0
                            ? StringUtilities::internString(texts[index])
                            : StringUtilities::internString(std::make_shared<const std::string>(texts[index]));
                    if (round == 1) {
                        EXPECT_EQ(interned, results[thread][index]);
                    }
                    results[thread][index] = std::move(interned);
                }
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    for (int index = 0; index < TEXT_COUNT; ++index) {
        ASSERT_TRUE(results[0][index]);
        EXPECT_EQ(*results[0][index], texts[index]);
        for (int thread = 1; thread < THREAD_COUNT; ++thread) {
            EXPECT_EQ(results[thread][index], results[0][index]) << texts[index];
        }
        EXPECT_EQ(StringUtilities::internString(texts[index]), results[0][index]);
    }
}

}  // namespace pellium

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/serializers/MemoryInputStream.h"

namespace pellium {

namespace {

using namespace std::string_literals;
using Value = std::shared_ptr<DataValue>;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double LARGEST = std::numeric_limits<double>::max();

SharedString text(std::string_view value) {
    return StringUtilities::internString(value);
}

Value number(double value) {
    return DataValue::create(value);
}

Value string(std::string_view value, std::int32_t index) {
    return DataValue::create(text(value), index);
}

Value nullString(std::int32_t index) {
    return DataValue::create(nullptr, index);
}

std::string hex(std::string_view bytes) {
    std::string out;
    for (const char byte : bytes) {
        constexpr char digits[] = "0123456789ABCDEF";
        const auto value = static_cast<unsigned char>(byte);
        out += {digits[value >> 4], digits[value & 15], ' '};
    }
    return out;
}

std::string serialized(const Value& value) {
    std::ostringstream stream;
    EXPECT_TRUE(DataValue::serialize(stream, value));
    return stream.str();
}

std::string trimmedFormat(std::string_view formatName, double value) {
    const auto formatter = FormatterFactory::instance()->getFormatterForFormatName(formatName);
    return std::string(StringUtilities::trim(*formatter->format(value)));
}

}  // namespace

// --- Construction and states -------------------------------------------------------------------------

TEST(DataValue, TheSentinelsHaveTheirExactBitPatterns) {
    struct Case {
        std::int32_t code;
        std::uint64_t bits;
    };
    for (const Case& c :
         {Case{DataTokens::TOKEN_MATCHES_ALL, 0x7FEFFFFFFFFFFFFF},
          Case{DataTokens::TOKEN_ALL_OTHERS, 0x0010000000000000},
          Case{DataTokens::TOKEN_SUPPRESSED, 0x7FEFFFFFFFFFFFFE}, Case{DataTokens::TOKEN_SPARSE, 0xFFEFFFFFFFFFFFFF},
          Case{DataTokens::TOKEN_MISSING, 0x7FF8000000000000}}) {
        EXPECT_EQ(std::bit_cast<std::uint64_t>(DataTokens::getNumericConstant(c.code)), c.bits) << c.code;
    }
    EXPECT_EQ(DataTokens::getNumericConstant(12345), DataTokens::SPARSE_NUMERIC);
    EXPECT_EQ(std::nextafter(DataTokens::MATCHES_ALL_NUMERIC, 0.0), DataTokens::SUPPRESSED_NUMERIC);
}

TEST(DataValue, ADefaultValueIsAMissingStringShownAsTheLocalizedMissingText) {
    const auto value = DataValue::create();
    EXPECT_TRUE(value->isString());
    EXPECT_EQ(value->getStringValue(), nullptr);
    EXPECT_EQ(value->getStringIndex(), DataTokens::UNRESOLVABLE_DATA_VALUE);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(value->getNumericValue()), 0x7FF8000000000000U);
    EXPECT_TRUE(value->isMissing());
    EXPECT_EQ(*value->getDisplayString(), "(missing)");
}

TEST(DataValue, StatesAreDecidedFromTheFieldsOfTheValuesKind) {
    struct Case {
        const char* name;
        Value value;
        bool missing, sparse, suppressed, allOthers, matchesAll, noValue;
    };
    const std::vector<Case> cases{
        {"NaN", number(NaN), true, false, false, false, false, true},
        {"sparse number", number(DataTokens::SPARSE_NUMERIC), false, true, false, false, false, true},
        {"suppressed number", number(DataTokens::SUPPRESSED_NUMERIC), false, false, true, false, false, true},
        {"all-others number", number(DataTokens::ALL_OTHERS_NUMERIC), false, false, false, true, false, false},
        {"matches-all number", number(LARGEST), false, false, false, false, true, false},
        {"ordinary number", number(-3.5), false, false, false, false, false, false},
        {"null text", nullString(4), true, false, false, false, false, true},
        {"empty text", string("", 4), true, false, false, false, false, true},
        {"blank text", string(" \t\n", 4), true, false, false, false, false, true},
        {"index -1 with a text", string("x", -1), false, false, false, false, false, false},
        {"sparse text", string("~N", -2), false, true, false, false, false, true},
        {"suppressed text", string("~S", -98), false, false, true, false, false, true},
        {"all-others text", string("~O", -99), false, false, false, true, false, false},
        {"text ~O at an ordinary index", string("~O", 3), false, false, false, false, false, false},
        {"matches-all text", string("MATCHES_ALL", -100), false, false, false, false, true, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.value->isMissing(), c.missing);
        EXPECT_EQ(c.value->isSparse(), c.sparse);
        EXPECT_EQ(c.value->isSuppressed(), c.suppressed);
        EXPECT_EQ(c.value->isAllOthers(), c.allOthers);
        EXPECT_EQ(c.value->isMatchesAll(), c.matchesAll);
        EXPECT_EQ(c.value->hasNoValue(), c.noValue);
    }
}

TEST(DataValue, TheStringValueOfANumberIsItsShortestExactText) {
    EXPECT_EQ(*number(0.1)->getStringValue(), "0.1");
    EXPECT_EQ(*number(NaN)->getStringValue(), "NaN");
    EXPECT_EQ(*number(-0.0)->getStringValue(), "-0");
    EXPECT_EQ(*number(DataTokens::SPARSE_NUMERIC)->getStringValue(), "-1.7976931348623157e+308");
    const auto withText = number(2);
    withText->setStringValue(text("two"), 7);
    EXPECT_EQ(*withText->getStringValue(), "two");
}

TEST(DataValue, TheDisplayTextFollowsItsRulesInOrder) {
    const auto explicitText = number(NaN);
    explicitText->setDisplayString(text("shown"));
    EXPECT_EQ(*explicitText->getDisplayString(), "shown");

    const auto sparse = number(DataTokens::SPARSE_NUMERIC);
    sparse->setFormattedValue(text("-"));
    EXPECT_EQ(*sparse->getDisplayString(), "(missing)");
    EXPECT_EQ(*string("~N", -2)->getDisplayString(), "(missing)");
    EXPECT_EQ(*string("~S", -98)->getDisplayString(), "(suppressed)");
    EXPECT_EQ(*number(DataTokens::SUPPRESSED_NUMERIC)->getDisplayString(), "(suppressed)");

    const auto formatted = number(1234.5);
    formatted->setFormattedValue(text("$1,234.50"));
    EXPECT_EQ(*formatted->getDisplayString(), "$1,234.50");
    EXPECT_EQ(*number(1234.5)->getDisplayString(), "1234.5");
    // All-others and matches-all show their formatted text.
    EXPECT_EQ(*DataTokens::makeDataValue(DataType::NUMERIC, DataTokens::TOKEN_ALL_OTHERS)->getDisplayString(),
              "All Other");
    EXPECT_EQ(*DataTokens::makeDataValue(DataType::STRING, DataTokens::TOKEN_MATCHES_ALL)->getDisplayString(),
              "MATCHES_ALL");
}

// --- Formatting ----------------------------------------------------------------------------------------

TEST(DataValue, FormatStringValueMapsTokenIndicesAndTheAllOthersText) {
    EXPECT_EQ(*DataValue::formatStringValue(text("x"), -100), "MATCHES_ALL");
    EXPECT_EQ(*DataValue::formatStringValue(text("x"), -2), "");
    EXPECT_EQ(*DataValue::formatStringValue(text("x"), -99), "All Other");
    EXPECT_EQ(*DataValue::formatStringValue(text("~O"), 5), "All Other");
    EXPECT_EQ(*DataValue::formatStringValue(text("~O "), 5), "~O ");
    const auto plain = text("Berlin");
    EXPECT_EQ(DataValue::formatStringValue(plain, 5), plain);
    EXPECT_EQ(DataValue::formatStringValue(nullptr, 5), nullptr);
}

TEST(DataValue, FormatNumericValueMapsSentinelsAndAsksTheFactoryForEverythingElse) {
    const auto format = text("BEST12.");
    EXPECT_EQ(*DataValue::formatNumericValue(DataTokens::ALL_OTHERS_NUMERIC, format), "All Other");
    EXPECT_EQ(*DataValue::formatNumericValue(LARGEST, format), " ");
    EXPECT_EQ(*DataValue::formatNumericValue(DataTokens::SPARSE_NUMERIC, format), ".");
    EXPECT_EQ(*DataValue::formatNumericValue(DataTokens::SUPPRESSED_NUMERIC, format), "*");
    for (const double value : {0.0, -1.5, 1234567.891, 1e-7, NaN}) {
        EXPECT_EQ(*DataValue::formatNumericValue(value, format), trimmedFormat("BEST12.", value)) << value;
        EXPECT_EQ(*DataValue::formatNumericValue(value, nullptr), trimmedFormat("BEST6", value)) << value;
    }
}

TEST(DataValue, ReFormatLeavesMissingAndSpecialValuesAlone) {
    const auto formatter = FormatterFactory::instance()->getFormatterForFormatName("BEST12.");
    const auto ordinary = number(2.5);
    ordinary->reFormat(formatter);
    EXPECT_EQ(*ordinary->getFormattedValue(), trimmedFormat("BEST12.", 2.5));

    for (const std::int32_t code : {-100, -99, -98, -2, -1}) {
        for (const DataType::type type : {DataType::NUMERIC, DataType::STRING}) {
            const auto special = DataTokens::makeDataValue(type, code);
            const auto before = special->getFormattedValue();
            special->reFormat(formatter);
            EXPECT_EQ(special->getFormattedValue(), before) << code << " " << type;
        }
    }
    const auto plainText = string("Paris", 0);
    plainText->setFormattedValue(nullptr);
    plainText->reFormat(formatter);
    EXPECT_EQ(*plainText->getFormattedValue(), "Paris");
    plainText->setFormattedValue(text("kept"));
    plainText->reFormat(nullptr);
    EXPECT_EQ(*plainText->getFormattedValue(), "kept");
}

// --- Equality and ordering -------------------------------------------------------------------------------

TEST(DataValue, EqualityComparesNumbersOrTextsAndNothingElse) {
    EXPECT_EQ(*number(NaN), *number(NaN));
    EXPECT_EQ(*number(0.0), *number(-0.0));
    EXPECT_NE(*number(1), *string("1", 0));
    EXPECT_EQ(*string("a", 1), *DataValue::create(std::make_shared<const std::string>("a"), 9));
    EXPECT_EQ(*nullString(1), *nullString(2));
    EXPECT_NE(*nullString(1), *string("", 1));
    EXPECT_NE(*string(" ", 1), *nullString(1));
    const auto formatted = number(3);
    formatted->setFormattedValue(text("three"));
    EXPECT_EQ(*formatted, *number(3));
}

TEST(DataValue, OrderingPutsMissingFirstSuppressedNextAndAllOthersLast) {
    const auto allOthers = string("~O", -99);
    const auto missing = number(NaN);
    EXPECT_FALSE(*allOthers < *missing);
    EXPECT_FALSE(*allOthers < *allOthers);
    EXPECT_TRUE(*missing < *allOthers);
    EXPECT_TRUE(*missing < *number(DataTokens::SPARSE_NUMERIC));
    EXPECT_TRUE(*missing < *string("a", 0));
    EXPECT_FALSE(*missing < *nullString(0));
    EXPECT_FALSE(*nullString(0) < *missing);
    EXPECT_TRUE(*number(DataTokens::SUPPRESSED_NUMERIC) < *number(DataTokens::SPARSE_NUMERIC));
    EXPECT_FALSE(*string("~S", -98) < *number(DataTokens::SUPPRESSED_NUMERIC));
    EXPECT_TRUE(*number(LARGEST) < *string("a", 0));
    EXPECT_FALSE(*string("a", 0) < *number(-1));
    EXPECT_TRUE(*number(DataTokens::SPARSE_NUMERIC) < *number(-1e300));
}

TEST(DataValue, TextsOrderByIndexWhenBothHaveOneElseByTheirBytes) {
    EXPECT_TRUE(*string("zebra", 3) < *string("apple", 5));
    EXPECT_FALSE(*string("apple", 5) < *string("zebra", 3));
    EXPECT_TRUE(*string("apple", -1000) < *string("zebra", 3));
    EXPECT_FALSE(*string("zebra", 3) < *string("apple", -1000));
    EXPECT_TRUE(*string("ab", -1000) < *string("abc", -1000));
    EXPECT_TRUE(*string("Z", -1000) < *string("a", -1000));
    EXPECT_TRUE(*string("a", -1000) < *string("\xC3\xA9", -1000));  // bytes compare unsigned
    // Equality and ordering are independent: same index, different texts.
    const auto first = string("x", 2);
    const auto second = string("y", 2);
    EXPECT_NE(*first, *second);
    EXPECT_FALSE(*first < *second);
    EXPECT_FALSE(*second < *first);
    EXPECT_TRUE(*first <= *second && *first >= *second);
}

TEST(DataValue, OrderingIsAStrictWeakOrderOverConsistentlyIndexedValues) {
    // Texts of a sorted table at their indices, texts outside the table, tokens and numbers.
    const std::vector<std::string> table{"", "A", "B", "a", "ab", "b", "\xC3\xA9"};
    std::mt19937_64 random(12345);
    std::vector<Value> values;
    for (int i = 0; i < 120; ++i) {
        switch (const auto kind = random() % 6) {
            case 0: {
                const auto index = static_cast<std::int32_t>(random() % table.size());
                values.push_back(string(table[static_cast<std::size_t>(index)], index));
                break;
            }
            case 1:
                values.push_back(string(table[random() % table.size()], -1000));
                break;
            case 2:
            case 3: {
                const std::int32_t code = std::array{-100, -99, -98, -2, -1}[random() % 5];
                values.push_back(DataTokens::makeDataValue(kind == 2 ? DataType::STRING : DataType::NUMERIC, code));
                break;
            }
            default:
                values.push_back(number(static_cast<double>(static_cast<int>(random() % 7) - 3)));
        }
    }
    const auto less = [](const Value& a, const Value& b) { return *a < *b; };
    const auto equivalent = [&](const Value& a, const Value& b) { return !less(a, b) && !less(b, a); };
    for (const auto& a : values) {
        ASSERT_FALSE(less(a, a)) << a->getDescription();
        for (const auto& b : values) {
            for (const auto& c : values) {
                if (less(a, b) && less(b, c)) {
                    ASSERT_TRUE(less(a, c)) << a->getDescription() << b->getDescription() << c->getDescription();
                }
                if (equivalent(a, b) && equivalent(b, c)) {
                    ASSERT_TRUE(equivalent(a, c));
                }
            }
        }
    }
    std::ranges::sort(values, less);
    EXPECT_TRUE(values.front()->isMissing());
    EXPECT_TRUE(values.back()->isAllOthers());
}

// --- Accumulation ------------------------------------------------------------------------------------------

TEST(DataValue, AccumulationAddsNumbersAndFillsOnlyAnEmptyText) {
    const auto sum = number(1.5);
    *sum += *number(2);
    EXPECT_EQ(sum->getNumericValue(), 3.5);
    *sum += *number(NaN);
    EXPECT_TRUE(std::isnan(sum->getNumericValue()));

    const auto target = nullString(-1000);
    *target += *string("first", 4);
    *target += *string("second", 5);
    EXPECT_EQ(*target->getStringValue(), "first");
    EXPECT_EQ(target->getStringIndex(), 4);

    const auto mixed = number(1);
    *mixed += *string("2", 0);
    EXPECT_EQ(mixed->getNumericValue(), 1);
}

TEST(DataValue, AggregateAccumulatesCommonElementsAndCopiesTheRest) {
    auto target = std::make_shared<DataValue::ValueList>(DataValue::ValueList{number(1), number(2), number(3)});
    const auto source = std::make_shared<const DataValue::ValueList>(DataValue::ValueList{number(10), number(20)});
    DataValue::aggregate(target, source);
    EXPECT_EQ((*target)[0]->getNumericValue(), 11);
    EXPECT_EQ((*target)[1]->getNumericValue(), 22);
    EXPECT_EQ((*target)[2]->getNumericValue(), 3);

    auto empty = std::make_shared<DataValue::ValueList>();
    DataValue::aggregate(empty, source);
    ASSERT_EQ(empty->size(), 2U);
    EXPECT_NE((*empty)[0], (*source)[0]) << "copies, not the source's objects";
    (*empty)[0]->setNumericValue(99);
    EXPECT_EQ((*source)[0]->getNumericValue(), 10);

    DataValue::aggregate(nullptr, source);
    DataValue::aggregate(target, nullptr);
}

// --- Stream form ----------------------------------------------------------------------------------------------

TEST(DataValue, ANullValueIsThreeBytesAndAFullValueWritesEveryFieldButTheDisplayText) {
    EXPECT_EQ(hex(serialized(nullptr)), "56 01 61 ");
    const auto value = string("ab", 3);
    value->setFormattedValue(text("AB!"));
    value->setDisplayString(text("never written"));
    const std::string expected = "V\x01g"s + "c\x01"s + "dU\x02\x00\x00\x00"s + "ab"s + "c\x03\x00\x00\x00"s +
                                 "b\x00\x00\x00\x00\x00\x00\xF8\x7F"s + "dU\x03\x00\x00\x00"s + "AB!"s;
    EXPECT_EQ(hex(serialized(value)), hex(expected));

    const auto numeric = number(1.0);
    const std::string expectedNumber =
        "V\x01g"s + "c\x00"s + "a"s + "c\x18\xFC\xFF\xFF"s + "b\x00\x00\x00\x00\x00\x00\xF0\x3F"s + "a"s;
    EXPECT_EQ(hex(serialized(numeric)), hex(expectedNumber));
}

TEST(DataValue, ReadingGivesBackEveryWrittenFieldAndInternsTheText) {
    const auto original = string("Zürich", 7);
    original->setFormattedValue(text("ZÜRICH"));
    const std::string bytes = serialized(original) + serialized(string("Zürich", 8));
    MemoryInputStream stream(bytes);
    Value first;
    Value second;
    ASSERT_TRUE(DataValue::unserialize(stream, first));
    ASSERT_TRUE(DataValue::unserialize(stream, second));
    EXPECT_EQ(first->getDescription(), original->getDescription());
    EXPECT_EQ(first->getStringValue(), second->getStringValue()) << "equal texts share one string";
    EXPECT_EQ(first->getStringValue(), text("Zürich"));

    MemoryInputStream nullStream(std::string_view("V\001a"));
    Value null = number(1);
    EXPECT_TRUE(DataValue::unserialize(nullStream, null));
    EXPECT_EQ(null, nullptr);
}

TEST(DataValue, EveryTruncationAndAWrongVersionOrMarkerFails) {
    const auto value = number(-2.25);
    value->setFormattedValue(text("-2.25"));
    const std::string bytes = serialized(value);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        MemoryInputStream stream(std::string_view(bytes).substr(0, length));
        Value read;
        EXPECT_FALSE(DataValue::unserialize(stream, read)) << length;
    }
    // The version, the presence mark, the tags and the string markers.
    for (const std::size_t position : {1U, 2U, 3U, 5U, 6U, 11U, 20U}) {
        std::string damaged = bytes;
        damaged[position] = position == 1 ? '\x02' : 'x';
        MemoryInputStream stream(damaged);
        Value read;
        EXPECT_FALSE(DataValue::unserialize(stream, read)) << position;
    }
}

TEST(DataValue, TheBodyAloneRoundTripsThroughTheVirtualForm) {
    const auto value = string("x", 1);
    std::ostringstream out;
    ASSERT_TRUE(value->serialize(out));
    EXPECT_EQ(out.str().substr(0, 2), std::string("c\x01", 2));
    DataValue read(0.0);
    const std::string bytes = out.str();
    MemoryInputStream in(bytes);
    ASSERT_TRUE(read.unserialize(in));
    EXPECT_EQ(read.getDescription(), value->getDescription());
}

TEST(DataValue, TheDescriptionListsTheFieldsInQuotes) {
    EXPECT_EQ(string("abc", 3)->getDescription(),
              "DataValue{ isString=\"true\" stringValue=\"abc\" stringIndex=\"3\" numericValue=\"nan\" "
              "formattedValue=\"abc\" }");
    EXPECT_EQ(number(1234567.0)->getDescription(),
              "DataValue{ isString=\"false\" stringValue=\"NULL\" stringIndex=\"-1000\" numericValue=\"1.23457e+06\" "
              "formattedValue=\"NULL\" }");
}

}  // namespace pellium

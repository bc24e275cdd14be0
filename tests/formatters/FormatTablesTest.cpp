#include <algorithm>
#include <gtest/gtest.h>
#include <string>

#include "pellium/formatters/FormatType.h"
#include "pellium/formatters/MappedFormats.h"

namespace pellium {
namespace {

std::size_t countNamesStartingWith(std::string_view prefix) {
    const auto table = FormatType::getImplementedFormatTypeInfo();
    return static_cast<std::size_t>(
        std::count_if(table.begin(), table.end(), [prefix](const auto& row) { return row.name.starts_with(prefix); }));
}

TEST(FormatTables, ImplementedTableHasEveryFamilyAndIsStrictlySorted) {
    const auto table = FormatType::getImplementedFormatTypeInfo();
    ASSERT_EQ(table.size(), 385U);
    EXPECT_TRUE(std::adjacent_find(table.begin(), table.end(),
                                   [](const auto& a, const auto& b) { return !(a.name < b.name); }) == table.end());
    const auto countOf = [&](FormatType::type family) {
        return std::count_if(table.begin(), table.end(),
                             [family](const auto& row) { return row.formatType == family; });
    };
    EXPECT_EQ(countOf(FormatType::Date), 22);
    EXPECT_EQ(countOf(FormatType::DateTime), 7);
    EXPECT_EQ(countOf(FormatType::Time), 5);
    EXPECT_EQ(countOf(FormatType::Numeric), 27 + 324);
    EXPECT_EQ(countNamesStartingWith("NLMNI"), 82U);
    EXPECT_EQ(countNamesStartingWith("NLMNL"), 82U);
    EXPECT_EQ(countNamesStartingWith("CBNLMNI"), 80U);
    EXPECT_EQ(countNamesStartingWith("CBNLMNL"), 80U);
}

TEST(FormatTables, EveryRowIsFoundByItsNameAndNothingElseIs) {
    for (const auto& row : FormatType::getImplementedFormatTypeInfo()) {
        EXPECT_EQ(FormatType::getFormatTypeForFormatName(row.name), row.formatType) << row.name;
    }
    for (const std::string_view name :
         {"", "date", "DATE9.", "DATEX", "NLMNLXXX", "CBNLMNLBYN", "CBNLMNIVES", "A", "ZZ"}) {
        EXPECT_EQ(FormatType::getFormatTypeForFormatName(name), FormatType::NotImplemented) << name;
    }
    EXPECT_EQ(FormatType::getFormatTypeForFormatName("NLMNLBYN"), FormatType::Numeric);
    EXPECT_EQ(FormatType::getFormatTypeForFormatName("NLMNIVES"), FormatType::Numeric);
}

TEST(FormatTables, MappedTableTargetsAreImplementedWithTheirOwnFamily) {
    const auto map = MappedFormats::getFormatMap();
    ASSERT_EQ(map.size(), 232U);
    EXPECT_TRUE(std::adjacent_find(map.begin(), map.end(),
                                   [](const auto& a, const auto& b) { return !(a.name < b.name); }) == map.end());
    for (const auto& row : map) {
        EXPECT_EQ(FormatType::getFormatTypeForFormatName(row.target.name), row.target.formatType) << row.name;
        const auto* target = MappedFormats::getMappedFormat(row.name);
        ASSERT_NE(target, nullptr) << row.name;
        EXPECT_EQ(target->name, row.target.name);
    }
    EXPECT_EQ(MappedFormats::getMappedFormat("MMDDYY"), nullptr);
    EXPECT_EQ(MappedFormats::getMappedFormat("mmddyys"), nullptr);
}

TEST(FormatTables, OnlyTheThreeNationalCurrencyRowsAreBothMappedAndImplemented) {
    std::vector<std::string_view> both;
    for (const auto& row : MappedFormats::getFormatMap()) {
        if (FormatType::getFormatTypeForFormatName(row.name) != FormatType::NotImplemented) {
            both.push_back(row.name);
        }
    }
    EXPECT_EQ(both, (std::vector<std::string_view>{"NLMNLGBP", "NLMNLJPY", "NLMNLKRW"}));
    EXPECT_EQ(MappedFormats::getMappedFormat("NLMNLGBP")->name, "POUND");
    EXPECT_EQ(MappedFormats::getMappedFormat("NLMNLJPY")->name, "YEN");
    EXPECT_EQ(MappedFormats::getMappedFormat("NLMNLKRW")->name, "WON");
}

TEST(FormatTables, TypeNamesRoundTrip) {
    for (const auto value :
         {FormatType::Date, FormatType::DateTime, FormatType::Time, FormatType::Numeric, FormatType::NotImplemented}) {
        FormatType::type back = FormatType::Date;
        ASSERT_TRUE(FormatType::getValueFromString(FormatType::getStringFromValue(value), back));
        EXPECT_EQ(back, value);
    }
    EXPECT_TRUE(FormatType::getStringFromValue(static_cast<FormatType::type>(4)).empty());
    EXPECT_FALSE(FormatType::hasBuiltInClass(4));
    EXPECT_FALSE(FormatType::hasBuiltInClass(FormatType::NotImplemented));
    EXPECT_TRUE(FormatType::hasBuiltInClass(FormatType::Numeric));
}

}  // namespace
}  // namespace pellium

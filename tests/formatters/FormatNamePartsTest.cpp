#include <gtest/gtest.h>
#include <string>

#include "pellium/formatters/FormatNameParts.h"

namespace pellium {
namespace {

struct NameCase {
    std::string formatName;
    std::string name;
    std::string localeSuffix;
    int width;
    int decimalWidth;
};

TEST(FormatNameParts, SplitsNamesFromTheRight) {
    const NameCase cases[] = {
        {"dollar12.2", "DOLLAR", "", 12, 2},
        {"DATE9.", "DATE", "", 9, -1},
        {"BEST", "BEST", "", 0, -1},
        {"BEST12.", "BEST", "", 12, -1},
        {"F8.123456", "F", "", 8, 10},
        {"F8.1234", "F", "", 8, 1234},
        {"F8.x", "F", "", 8, 0},
        {"BEST123456.", "BEST", "", 500, -1},
        {"BEST1234.", "BEST", "", 1234, -1},
        {"CURRENCY_en_US12.2", "CURRENCY", "en_US", 12, 2},
        {"currency_de_DE", "CURRENCY", "de_DE", 0, -1},
        {"CURRENCY_12.2", "CURRENCY", "", 12, 2},
        {"DOLLAR_en_US12.2", "DOLLAR", "", 12, 2},
        {"5.", "5", "", 0, -1},
        {"12", "1", "", 2, -1},
        {".", ".", "", 0, -1},
        {".5", ".", "", 0, 5},
        {"MMDDYYS10.", "MMDDYYS", "", 10, -1},
        {"E8601DA10.", "E8601DA", "", 10, -1},
        {"X_", "X_", "", 0, -1},
        {"", "", "", -1, -1},
        {"NLMNLUSD12.2", "NLMNLUSD", "", 12, 2},
        {"DATE9.2.3", "DATE", "", 9, 2},
    };
    for (const auto& expected : cases) {
        const auto parts = FormatNameParts::extractFormatParts(expected.formatName);
        EXPECT_EQ(parts.name, expected.name) << expected.formatName;
        EXPECT_EQ(parts.localeSuffix, expected.localeSuffix) << expected.formatName;
        EXPECT_EQ(parts.width, expected.width) << expected.formatName;
        EXPECT_EQ(parts.decimalWidth, expected.decimalWidth) << expected.formatName;
    }
}

TEST(FormatNameParts, HostileNamesNeverFail) {
    const std::string hostile[] = {
        std::string(10000, 'A'),
        std::string(10000, '9'),
        std::string(10000, '.'),
        std::string(10000, '_'),
        "\xff\xfe\x80",
        "\xc3\xa9t\xc3\xa9"
        "12.2",
        std::string("BE\0ST", 5),
        "_",
        "__1.1",
        "9999999999999.9999999",
    };
    for (const auto& name : hostile) {
        const auto parts = FormatNameParts::extractFormatParts(name);
        EXPECT_LE(parts.width, 500);
        EXPECT_LE(parts.name.size(), name.size());
    }
    EXPECT_EQ(FormatNameParts::extractFormatParts(std::string(10000, '9')).width, 500);
    EXPECT_EQ(FormatNameParts::extractFormatParts(std::string(10000, '9')).name, "9");
}

}  // namespace
}  // namespace pellium

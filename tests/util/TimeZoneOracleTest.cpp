// Compares every zone of the system's tz release with the C library. The converter turns the
// release's compact source (/usr/share/zoneinfo/tzdata.zi) into the library's rule files, and
// localtime_r, with TZ set to the zone, reads the files that zic compiled from the same source.
// So the two must agree on the offset, the daylight flag and the abbreviation at every instant,
// in every zone: none is exempt.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "tests/support/TestSupport.h"

#include "pellium/util/DateType.h"
#include "pellium/util/TimeUtilities.h"
#include "pellium/util/TimeZone.h"
#include "pellium/util/ZoneDataReader.h"

namespace pellium {
namespace {

const std::filesystem::path ZONEINFO = "/usr/share/zoneinfo";

constexpr std::int64_t FIRST_SAMPLE = -2208988800;  // 1900-01-01T00:00:00Z
constexpr std::int64_t LAST_SAMPLE = 2145916800;    // 2038-01-01T00:00:00Z
constexpr std::int64_t SAMPLE_STEP = 97 * 3600;
// Far-future samples check the rules that the library evaluates beyond its table against the
// rule string that the C library evaluates beyond the compiled transitions.
constexpr std::int64_t FIRST_FUTURE_SAMPLE = 4102444800;  // 2100-01-01T00:00:00Z
constexpr std::int64_t LAST_FUTURE_SAMPLE = 4733510400;   // 2120-01-01T00:00:00Z

std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::int64_t readBigEndian(const std::string& bytes, std::size_t position, std::size_t size) {
    std::uint64_t value = 0;
    for (std::size_t index = 0; index < size; ++index) {
        value = (value << 8) | static_cast<unsigned char>(bytes[position + index]);
    }
    if (size == 4) {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
    }
    return static_cast<std::int64_t>(value);
}

// The transition times of a compiled zone file, from its 64-bit block (TZif version 2 or later).
std::vector<std::int64_t> readCompiledTransitions(const std::filesystem::path& path) {
    const std::string bytes = readFile(path);
    constexpr std::size_t HEADER_SIZE = 44;
    if (bytes.size() < HEADER_SIZE || bytes.compare(0, 4, "TZif") != 0 || bytes[4] < '2') {
        return {};
    }
    const auto count = [&](std::size_t header, std::size_t field) {
        return static_cast<std::size_t>(readBigEndian(bytes, header + 20 + 4 * field, 4));
    };
    // Counts: UT indicators, standard indicators, leap seconds, transitions, types, characters.
    const std::size_t firstBlockSize =
        count(0, 3) * 5 + count(0, 4) * 6 + count(0, 5) + count(0, 2) * 8 + count(0, 1) + count(0, 0);
    const std::size_t secondHeader = HEADER_SIZE + firstBlockSize;
    if (bytes.size() < secondHeader + HEADER_SIZE) {
        return {};
    }
    const std::size_t transitionCount = count(secondHeader, 3);
    std::vector<std::int64_t> transitions;
    for (std::size_t index = 0; index < transitionCount; ++index) {
        transitions.push_back(readBigEndian(bytes, secondHeader + HEADER_SIZE + 8 * index, 8));
    }
    return transitions;
}

struct Answer {
    double offset;
    bool inDaylightTime;
    std::string name;

    bool operator==(const Answer&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Answer& answer) {
    return stream << answer.offset << (answer.inDaylightTime ? " daylight " : " standard ") << answer.name;
}

// The C library's answer for a Unix time, in the zone that TZ names.
Answer askCLibrary(std::int64_t unixTime) {
    const auto time = static_cast<std::time_t>(unixTime);
    std::tm local{};
    localtime_r(&time, &local);
    return {static_cast<double>(local.tm_gmtoff), local.tm_isdst > 0, local.tm_zone};
}

Answer askLibrary(const TimeZone& zone, std::int64_t unixTime) {
    const double time = TimeUtilities::fromUnixTime(static_cast<double>(unixTime));
    const SharedString name = zone.getName(time, DateType::Universal);
    return {zone.getOffset(time, DateType::Universal), zone.inDaylightTime(time, DateType::Universal),
            name == nullptr ? std::string("(null)") : *name};
}

// The offset that a wall-clock reading should resolve to: the C library's offset at the earliest
// instant that shows this reading. `nearbyOffsets` are the offsets in force around it.
double expectedWallOffset(double wallTime, const std::set<double>& nearbyOffsets) {
    double earliest = 0.0;
    double offset = 0.0;
    bool found = false;
    for (const double candidateOffset : nearbyOffsets) {
        const double instant = wallTime - candidateOffset;
        if (askCLibrary(static_cast<std::int64_t>(instant)).offset == candidateOffset &&
            (!found || instant < earliest)) {
            earliest = instant;
            offset = candidateOffset;
            found = true;
        }
    }
    return offset;
}

class TimeZoneOracleTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        const std::filesystem::path source = ZONEINFO / "tzdata.zi";
        if (!std::filesystem::exists(source)) {
            return;
        }
        const std::filesystem::path folder =
            std::filesystem::temp_directory_path() / ("pellium-tz-oracle-" + std::to_string(::getpid()));
        const std::string command = "\"" + std::string(PELLIUM_BINARY_DIR) + "/tools/tzconvert/pellium-tzconvert\"" +
                                    " --output-dir \"" + folder.string() + "\" \"" + source.string() + "\" > /dev/null";
        conversionStatus = std::system(command.c_str());
        reader =
            ZoneDataReader::create(readFile(folder / "vek_historictimezone.txt"), readFile(folder / "vek_saving.txt"));
        std::filesystem::remove_all(folder);
        if (const char* zone = std::getenv("TZ")) {
            savedZone = zone;
        }
    }

    static void TearDownTestSuite() {
        if (savedZone) {
            ::setenv("TZ", savedZone->c_str(), 1);
        } else {
            ::unsetenv("TZ");
        }
        ::tzset();
        reader = nullptr;
    }

    void SetUp() override {
        if (!std::filesystem::exists(ZONEINFO / "tzdata.zi")) {
            GTEST_SKIP() << "the system has no /usr/share/zoneinfo/tzdata.zi (Debian's tzdata package)";
        }
        ASSERT_EQ(conversionStatus, 0) << "the converter failed on " << (ZONEINFO / "tzdata.zi");
        ASSERT_EQ(reader->getSkippedRowCount(), 0U);
    }

    static inline int conversionStatus = -1;
    static inline std::shared_ptr<const ZoneDataReader> reader;
    static inline std::optional<std::string> savedZone;
};

TEST_F(TimeZoneOracleTest, EveryZoneAgreesWithTheCLibraryAtEveryTransitionAndEvery97Hours) {
    const std::vector<std::string> ids = reader->getAllIDs();
    ASSERT_GT(ids.size(), 500U);
    std::size_t comparedZones = 0;
    std::size_t comparedInstants = 0;
    std::size_t compiledTransitionCount = 0;
    for (const std::string& id : ids) {
        const std::filesystem::path compiled = ZONEINFO / id;
        ASSERT_TRUE(std::filesystem::exists(compiled)) << id << " is not installed";
        const std::shared_ptr<TimeZone> zone = TimeZone::create(id, reader);
        ASSERT_NE(zone, nullptr) << id;
        ::setenv("TZ", (":" + id).c_str(), 1);
        ::tzset();

        // Both sides' transitions, a second before, at and after each; then the regular samples.
        std::vector<std::int64_t> instants;
        std::vector<std::int64_t> transitions = readCompiledTransitions(compiled);
        compiledTransitionCount += transitions.size();
        for (double next = zone->getNextTransition(-std::numeric_limits<double>::infinity());
             !std::isnan(next) && next < TimeUtilities::fromUnixTime(static_cast<double>(LAST_FUTURE_SAMPLE));
             next = zone->getNextTransition(next)) {
            transitions.push_back(static_cast<std::int64_t>(TimeUtilities::toUnixTime(next)));
        }
        for (const std::int64_t transition : transitions) {
            instants.insert(instants.end(), {transition - 1, transition, transition + 1});
        }
        for (std::int64_t instant = FIRST_SAMPLE; instant < LAST_SAMPLE; instant += SAMPLE_STEP) {
            instants.push_back(instant);
        }
        for (std::int64_t instant = FIRST_FUTURE_SAMPLE; instant < LAST_FUTURE_SAMPLE; instant += SAMPLE_STEP) {
            instants.push_back(instant);
        }

        std::sort(transitions.begin(), transitions.end());
        transitions.erase(std::unique(transitions.begin(), transitions.end()), transitions.end());

        int mismatches = 0;
        const auto report = [&](const std::string& what) {
            if (++mismatches <= 3) {
                ADD_FAILURE() << id << ": " << what;
            }
        };
        for (const std::int64_t instant : instants) {
            const Answer expected = askCLibrary(instant);
            const Answer actual = askLibrary(*zone, instant);
            if (actual != expected) {
                std::ostringstream message;
                message << "at Unix time " << instant << " the C library answers " << expected << ", the library "
                        << actual;
                report(message.str());
            }
            // The wall-clock reading of the instant must resolve to the offset of the earliest
            // instant that shows it.
            std::set<double> nearbyOffsets = {expected.offset};
            constexpr std::int64_t TWO_DAYS = 2 * 86400;
            for (auto transition = std::lower_bound(transitions.begin(), transitions.end(), instant - TWO_DAYS);
                 transition != transitions.end() && *transition <= instant + TWO_DAYS; ++transition) {
                nearbyOffsets.insert(askCLibrary(*transition - 1).offset);
                nearbyOffsets.insert(askCLibrary(*transition).offset);
            }
            const double wallTime = static_cast<double>(instant) + expected.offset;
            const double expectedOffset =
                nearbyOffsets.size() == 1 ? expected.offset : expectedWallOffset(wallTime, nearbyOffsets);
            const double actualOffset = zone->getOffset(TimeUtilities::fromUnixTime(wallTime), DateType::Wall);
            if (actualOffset != expectedOffset) {
                std::ostringstream message;
                message << "the wall-clock time of Unix time " << instant << " reads with offset " << actualOffset
                        << " instead of " << expectedOffset;
                report(message.str());
            }
        }
        EXPECT_EQ(mismatches, 0) << id;
        comparedInstants += instants.size();
        ++comparedZones;
    }
    EXPECT_GT(compiledTransitionCount, 10000U) << "the compiled zone files were not read";
    std::printf("Compared %zu zones at %zu instants around %zu compiled transitions\n", comparedZones, comparedInstants,
                compiledTransitionCount);
}

}  // namespace
}  // namespace pellium

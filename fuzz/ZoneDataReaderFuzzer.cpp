// Feeds arbitrary bytes to the two time-zone rule file readers, the text of the zone file and,
// after the first NUL byte, the text of the saving file, then builds and queries a few of the
// zones they describe. Nothing may crash, hang or grow memory beyond bounds, and the answers must
// keep their invariants: every listed zone exists, a known time has an offset, transitions only
// move forward.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "pellium/resources/logging/Logger.h"
#include "pellium/util/TimeZone.h"
#include "pellium/util/ZoneDataReader.h"

namespace {

constexpr std::size_t MAXIMUM_ZONES_BUILT = 3;
constexpr int MAXIMUM_TRANSITIONS_WALKED = 300;
constexpr double SAMPLE_TIMES[] = {-1e13, -1e10, -3e9, 0.0, 1.5e9, 4.4e9, 6e9, 5e11, 1e13};

void check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

void checkZone(const pellium::TimeZone& zone) {
    for (const double time : SAMPLE_TIMES) {
        for (const pellium::DateType::type type : pellium::DateType::allValues()) {
            const double offset = zone.getOffset(time, type);
            check(std::isfinite(offset));
            check(offset == zone.getRawOffset(time, type) + zone.getDaylightSavings(time, type));
            check(zone.getName(time, type) != nullptr);
            const double universal = zone.convertTime(time, type, pellium::DateType::Universal);
            check(std::isfinite(universal));
        }
    }
    double time = -1e13;
    for (int step = 0; step < MAXIMUM_TRANSITIONS_WALKED; ++step) {
        const double next = zone.getNextTransition(time);
        if (std::isnan(next)) {
            break;
        }
        check(next > time);
        time = next;
    }
    for (const auto& row : zone.getRules()) {
        for (const pellium::DateType::type type : pellium::DateType::allValues()) {
            zone.getUntilTime(*row, type);
        }
        for (const auto& saving : row->getSavingRules()) {
            zone.getDSTStartSeconds(*row, *saving, pellium::DateType::Wall, 2000);
            check(zone.searchDSTStartRule(*row, *saving, 2000) != nullptr);
            check(zone.searchDSTEndRule(*row, *saving, 2000) != nullptr);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Malformed rows are logged; the log is not what is under test.
    static const bool silenced = [] {
        pellium::Logger::setSink([](pellium::LogLevel::type, std::string_view, std::string_view) {});
        return true;
    }();
    (void)silenced;

    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t separator = input.find('\0');
    const std::string_view zoneText = input.substr(0, separator);
    const std::string_view savingText =
        separator == std::string_view::npos ? std::string_view() : input.substr(separator + 1);
    const auto reader = pellium::ZoneDataReader::create(zoneText, savingText);

    std::size_t built = 0;
    for (const std::string& id : reader->getAllIDs()) {
        check(reader->isValidID(id));
        check(!reader->getAllRules(id).empty());
        if (built++ < MAXIMUM_ZONES_BUILT) {
            const auto zone = pellium::TimeZone::create(id, reader);
            check(zone != nullptr);
            checkZone(*zone);
        }
    }
    check(reader->getSkippedRowCount() <= size + 2);
    return 0;
}

#include "pellium/util/TimeRule.h"

#include "pellium/util/TimeZoneUtilities.h"

namespace pellium {

double TimeRule::getTime(std::int32_t year, std::int32_t seconds) const {
    return TimeZoneUtilities::calcTime(mode_, year, month_, day_, weekday_, seconds);
}

}  // namespace pellium

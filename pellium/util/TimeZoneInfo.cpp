#include "pellium/util/TimeZoneInfo.h"

#include <utility>

namespace pellium {

std::shared_ptr<TimeZoneInfo> TimeZoneInfo::create() {
    return std::shared_ptr<TimeZoneInfo>(new TimeZoneInfo());
}

std::shared_ptr<TimeZoneInfo> TimeZoneInfo::create(SharedString id, SharedString name, double offset, double rawOffset,
                                                   double daylightSavings, bool inDaylightTime) {
    std::shared_ptr<TimeZoneInfo> info = create();
    info->id_ = std::move(id);
    info->name_ = std::move(name);
    info->offset_ = offset;
    info->rawOffset_ = rawOffset;
    info->daylightSavings_ = daylightSavings;
    info->inDaylightTime_ = inDaylightTime;
    return info;
}

}  // namespace pellium

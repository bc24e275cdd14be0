#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

/// What a time zone answers for one instant: the zone's identifier, its abbreviation, the total
/// and the raw (standard) offset from UTC, the daylight saving in force (all in seconds), and
/// whether daylight time is in force. `TimeZone::getInfo` creates them; they never change.
class PELLIUM_EXPORT TimeZoneInfo {
public:
    /// An answer with no identifier or name and all offsets 0.
    static std::shared_ptr<TimeZoneInfo> create();
    static std::shared_ptr<TimeZoneInfo> create(SharedString id, SharedString name, double offset, double rawOffset,
                                                double daylightSavings, bool inDaylightTime);

    const SharedString& getID() const { return id_; }
    /// The abbreviation ("CEST", "-03").
    const SharedString& getName() const { return name_; }
    /// Raw offset plus the daylight saving in force.
    double getOffset() const { return offset_; }
    double getRawOffset() const { return rawOffset_; }
    /// The saving in force, 0 outside daylight time. May be negative: a zone can save "back"
    /// in winter, as Ireland's rules describe their winter time.
    double getDaylightSavings() const { return daylightSavings_; }
    bool inDaylightTime() const { return inDaylightTime_; }

private:
    TimeZoneInfo() = default;

    SharedString id_;
    SharedString name_;
    double offset_ = 0.0;
    double rawOffset_ = 0.0;
    double daylightSavings_ = 0.0;
    bool inDaylightTime_ = false;
};

}  // namespace pellium

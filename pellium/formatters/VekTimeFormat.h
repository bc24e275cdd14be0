#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/formatters/VekCalendarFormat.h"

namespace pellium {

/// The time formats. TIMEAMPM shows a time of day through the locale's "time" patterns (a value
/// of a day or more shows its time within the day); TIME, HHMM, HOUR and MMSS show durations,
/// whose hours (minutes for MMSS) run past a day (an hour) and may be negative. Values are
/// second counts.
class PELLIUM_EXPORT VekTimeFormat : public VekCalendarFormat {
public:
    /// Null for a null `info` or a name that is not one of these families.
    static std::shared_ptr<Formatter> create(const std::shared_ptr<FormatInfo>& info);
    ~VekTimeFormat() override;

    bool isTimeFormat() const override;

private:
    explicit VekTimeFormat(const std::shared_ptr<FormatInfo>& info);
};

}  // namespace pellium

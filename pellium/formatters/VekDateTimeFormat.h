#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/formatters/VekCalendarFormat.h"

namespace pellium {

/// The date-time formats (DATETIME, DTDATE, DTMONYY, DTWKDATX, DTYEAR, DTYYQC and TOD): values are
/// second counts since 1 January 1960, 00:00, in the wall clock of the context's time zone; the
/// DT families show the date part, TOD the time of day.
class PELLIUM_EXPORT VekDateTimeFormat : public VekCalendarFormat {
public:
    /// Null for a null `info` or a name that is not one of these families.
    static std::shared_ptr<Formatter> create(const std::shared_ptr<FormatInfo>& info);
    ~VekDateTimeFormat() override;

    bool isDateTimeFormat() const override;

private:
    explicit VekDateTimeFormat(const std::shared_ptr<FormatInfo>& info);
};

}  // namespace pellium

#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/formatters/VekCalendarFormat.h"

namespace pellium {

/// The date formats (DATE, MMDDYY, WEEKDATE, MONYY, QTR, WEEKV, JULIAN and the others of the
/// Date family, HDATE and HEBDATE excepted): values are day counts since 1 January 1960.
class PELLIUM_EXPORT VekDateFormat : public VekCalendarFormat {
public:
    /// Null for a null `info` or a name that is not one of these families.
    static std::shared_ptr<Formatter> create(const std::shared_ptr<FormatInfo>& info);
    ~VekDateFormat() override;

    bool isDateFormat() const override;

private:
    explicit VekDateFormat(const std::shared_ptr<FormatInfo>& info);
};

}  // namespace pellium

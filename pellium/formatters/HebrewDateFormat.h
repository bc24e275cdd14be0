#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/formatters/VekCalendarFormat.h"

namespace pellium {

/// HDATE and HEBDATE: day counts since 1 January 1960 shown as dates of the Hebrew calendar
/// (HebrewCalendar), with the Hebrew month names of the locale ("hebrewMonth." keys of the
/// "vek_portable_formatters" bundle).
class PELLIUM_EXPORT HebrewDateFormat : public VekCalendarFormat {
public:
    /// Null for a null `info` or a name that is not one of these families.
    static std::shared_ptr<Formatter> create(const std::shared_ptr<FormatInfo>& info);
    ~HebrewDateFormat() override;

    bool isDateFormat() const override;

private:
    explicit HebrewDateFormat(const std::shared_ptr<FormatInfo>& info);
};

}  // namespace pellium

#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "pellium/Export.h"

namespace pellium {

/// The family of a format name: what kind of value its formatter expects. The table of
/// implemented names decides the family; a name absent from it is `NotImplemented` (it may
/// still be served through the mapped names, see MappedFormats).
class PELLIUM_EXPORT FormatType {
public:
    enum type : std::int32_t {
        Date = 0,            ///< the value is a day count
        DateTime = 1,        ///< the value is a second count with a date
        Time = 2,            ///< the value is a second count within or across days
        Numeric = 3,         ///< a plain number
        NotImplemented = 6,  ///< the name has no implementation of its own
    };

    /// One row of the implemented table: a bare format name and its family.
    struct Entry {
        std::string_view name;
        type formatType;
    };

    /// The 385 implemented names, sorted by name in byte order.
    static std::span<const Entry> getImplementedFormatTypeInfo();

    /// The family of a bare, upper-case format name ("DATE", "NLMNLUSD"); `NotImplemented`
    /// when the name is not in the table. Binary search, no allocation.
    static type getFormatTypeForFormatName(std::string_view name);

    /// Only 0 to 3 have a formatter class of their own; every other value has none.
    static bool hasBuiltInClass(std::int32_t value) { return value >= Date && value <= Numeric; }

    /// "Date", "DateTime", "Time", "Numeric" or "NotImplemented"; empty for any other value.
    static std::string_view getStringFromValue(type value);

    /// The value whose name is `name` (exact case); false and `value` untouched when none is.
    static bool getValueFromString(std::string_view name, type& value);
};

}  // namespace pellium

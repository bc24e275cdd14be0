#pragma once

#include <span>
#include <string_view>

#include "pellium/Export.h"
#include "pellium/formatters/FormatType.h"

namespace pellium {

class FormatInfo;

/// Format names that have no implementation of their own and are rendered exactly as another,
/// implemented name would be ("MMDDYYS" as "MMDDYY", "NLNUM" as "BEST"). Only the name is
/// replaced; the width and decimals of the request stay. The separator and language variants
/// that such names stand for are rendered in the target's own style.
class PELLIUM_EXPORT MappedFormats {
public:
    /// The implemented name a mapped name is served by, with that name's family.
    struct Target {
        std::string_view name;
        FormatType::type formatType;
    };

    struct Entry {
        std::string_view name;
        Target target;
    };

    /// The 232 mapped names, sorted by name in byte order. "NLMNLGBP", "NLMNLJPY" and
    /// "NLMNLKRW" are implemented names as well; since the implemented table is consulted
    /// first, their rows here are never used, but they stay so the table is complete.
    static std::span<const Entry> getFormatMap();

    /// The target of a bare, upper-case name; null when the name is not mapped.
    static const Target* getMappedFormat(std::string_view name);

    /// When the bare name of `info` is mapped, replaces its name and type with the target's and
    /// answers true; otherwise answers false and changes nothing.
    static bool applyFormatMapping(FormatInfo& info);
};

}  // namespace pellium

#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

#include "pellium/util/StringUtilities.h"

namespace pellium {

/// The position of `name` in a name table of an enumeration, compared without regard to ASCII case;
/// empty when no entry matches. The enumerations of this folder convert their names with it.
inline std::optional<std::size_t> findNameIgnoringCase(std::span<const std::string_view> names, std::string_view name) {
    for (std::size_t index = 0; index < names.size(); ++index) {
        if (StringUtilities::equalsIgnoreCase(name, names[index])) {
            return index;
        }
    }
    return std::nullopt;
}

}  // namespace pellium

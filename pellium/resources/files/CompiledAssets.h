#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "pellium/Export.h"

namespace pellium {

namespace detail {
struct CompiledAssetEntry {
    const char* path;
    const char* begin;
    const char* end;
};
}  // namespace detail

/// The text assets compiled into the library (locale bundles, time-zone rules, configuration).
/// Paths are relative to the source tree's assets/ folder, with "/" separators, for example
/// "localization/vek_pellium_en_US.properties". The bytes live in the library's read-only data
/// for its whole lifetime, so the returned views never dangle.
class PELLIUM_EXPORT CompiledAssets {
public:
    /// The bytes of the asset at `path`, or an empty optional when there is none.
    static std::optional<std::string_view> find(std::string_view path);

    /// The paths of every asset that starts with `prefix`, in byte order.
    static std::vector<std::string_view> listPaths(std::string_view prefix = {});
};

}  // namespace pellium

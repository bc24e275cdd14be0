#include "pellium/resources/files/CompiledAssets.h"

#include <algorithm>
#include <span>

namespace pellium {

namespace detail {
extern const CompiledAssetEntry compiledAssetTable[];
extern const std::size_t compiledAssetCount;
}  // namespace detail

namespace {

std::span<const detail::CompiledAssetEntry> allAssets() {
    if (detail::compiledAssetCount == 0) {
        return {};
    }
    return {detail::compiledAssetTable, detail::compiledAssetCount};
}

std::span<const detail::CompiledAssetEntry>::iterator firstNotBefore(std::string_view path) {
    const auto assets = allAssets();
    return std::lower_bound(assets.begin(), assets.end(), path,
                            [](const detail::CompiledAssetEntry& entry, std::string_view key) {
                                return std::string_view(entry.path) < key;
                            });
}

}  // namespace

std::optional<std::string_view> CompiledAssets::find(std::string_view path) {
    const auto it = firstNotBefore(path);
    if (it == allAssets().end() || std::string_view(it->path) != path) {
        return std::nullopt;
    }
    return std::string_view(it->begin, static_cast<std::size_t>(it->end - it->begin));
}

std::vector<std::string_view> CompiledAssets::listPaths(std::string_view prefix) {
    std::vector<std::string_view> paths;
    for (auto it = firstNotBefore(prefix); it != allAssets().end(); ++it) {
        const std::string_view path(it->path);
        if (!path.starts_with(prefix)) {
            break;
        }
        paths.push_back(path);
    }
    return paths;
}

}  // namespace pellium

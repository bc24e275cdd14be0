#include <algorithm>
#include <gtest/gtest.h>

#include "pellium/resources/files/CompiledAssets.h"

namespace pellium {

TEST(CompiledAssets, EveryListedPathIsFoundAndPathsAreInByteOrder) {
    const auto paths = CompiledAssets::listPaths();
    EXPECT_TRUE(std::is_sorted(paths.begin(), paths.end()));
    for (const auto path : paths) {
        EXPECT_TRUE(CompiledAssets::find(path).has_value()) << path;
    }
}

TEST(CompiledAssets, AssetBytesAreTheFileBytesWithNothingAppended) {
    const auto ini = CompiledAssets::find("logging/pellium.ini");
    ASSERT_TRUE(ini.has_value());
    EXPECT_TRUE(ini->starts_with("; Logging configuration"));
    EXPECT_TRUE(ini->ends_with("output=console\n"));
    EXPECT_EQ(CompiledAssets::listPaths("logging/").size(), 1U);
}

TEST(CompiledAssets, UnknownPathsAndPrefixesFindNothing) {
    EXPECT_FALSE(CompiledAssets::find("no/such/asset.txt").has_value());
    EXPECT_FALSE(CompiledAssets::find("").has_value());
    EXPECT_TRUE(CompiledAssets::listPaths("no/such/").empty());
}

}  // namespace pellium

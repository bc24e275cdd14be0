#include "pellium/resources/localization/ResourceBundle.h"

#include <algorithm>

#include "pellium/resources/files/CompiledAssets.h"
#include "pellium/resources/localization/PropertiesReader.h"

namespace pellium {

namespace {

constexpr std::size_t MAXIMUM_BUNDLE_NAME_LENGTH = 128;

bool keyLess(const std::pair<std::string, SharedString>& left, const std::pair<std::string, SharedString>& right) {
    return left.first < right.first;
}

}  // namespace

ResourceBundle::ResourceBundle(Token, std::string bundleName, std::string locale, EntryList sortedEntries)
    : bundleName_(std::move(bundleName)), locale_(std::move(locale)), entries_(std::move(sortedEntries)) {}

std::shared_ptr<ResourceBundle> ResourceBundle::createFromEntries(std::string_view bundleName, std::string_view locale,
                                                                  EntryList entries) {
    // A stable sort keeps equal keys in file order, so keeping the last of each run lets the
    // later definition win.
    std::stable_sort(entries.begin(), entries.end(), keyLess);
    EntryList unique;
    unique.reserve(entries.size());
    for (auto& entry : entries) {
        if (!unique.empty() && unique.back().first == entry.first) {
            unique.back().second = std::move(entry.second);
        } else {
            unique.push_back(std::move(entry));
        }
    }
    return std::make_shared<ResourceBundle>(Token{}, std::string(bundleName), std::string(locale), std::move(unique));
}

std::shared_ptr<ResourceBundle> ResourceBundle::create(std::string_view bundleName, std::string_view locale,
                                                       std::string_view propertiesText) {
    auto read = PropertiesReader::read(propertiesText);
    EntryList entries;
    entries.reserve(read.size());
    for (auto& entry : read) {
        entries.emplace_back(std::move(entry.key), StringUtilities::internString(entry.value));
    }
    return createFromEntries(bundleName, locale, std::move(entries));
}

std::shared_ptr<ResourceBundle> ResourceBundle::createFromCompiledAssets(std::string_view bundleName,
                                                                         std::string_view locale) {
    if (!isValidBundleName(bundleName)) {
        return nullptr;
    }
    const auto text = CompiledAssets::find(getAssetPath(bundleName, locale));
    if (!text) {
        return nullptr;
    }
    return create(bundleName, locale, *text);
}

std::shared_ptr<ResourceBundle> ResourceBundle::createMerged(const ResourceBundle& base,
                                                             const ResourceBundle& overrides) {
    // Base first, overrides second: the stable sort in createFromEntries lets the second win.
    EntryList entries = base.entries_;
    entries.insert(entries.end(), overrides.entries_.begin(), overrides.entries_.end());
    return createFromEntries(base.bundleName_, base.locale_, std::move(entries));
}

std::string ResourceBundle::getAssetPath(std::string_view bundleName, std::string_view locale) {
    std::string path = "localization/";
    path.append(bundleName).append("_").append(locale).append(".properties");
    return path;
}

bool ResourceBundle::isValidBundleName(std::string_view bundleName) {
    if (bundleName.empty() || bundleName.size() > MAXIMUM_BUNDLE_NAME_LENGTH) {
        return false;
    }
    return std::all_of(bundleName.begin(), bundleName.end(), [](char character) {
        return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
               (character >= '0' && character <= '9') || character == '_';
    });
}

ResourceBundle::EntryList::const_iterator ResourceBundle::findEntry(std::string_view key) const {
    const auto found =
        std::lower_bound(entries_.begin(), entries_.end(), key,
                         [](const auto& entry, std::string_view wanted) { return entry.first < wanted; });
    return (found != entries_.end() && found->first == key) ? found : entries_.end();
}

SharedString ResourceBundle::getString(std::string_view key) const {
    const auto found = findEntry(key);
    return found == entries_.end() ? nullptr : found->second;
}

bool ResourceBundle::containsKey(std::string_view key) const {
    return findEntry(key) != entries_.end();
}

std::vector<std::string_view> ResourceBundle::getKeys() const {
    std::vector<std::string_view> keys;
    keys.reserve(entries_.size());
    for (const auto& entry : entries_) {
        keys.emplace_back(entry.first);
    }
    return keys;
}

}  // namespace pellium

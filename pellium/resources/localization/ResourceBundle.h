#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "pellium/Export.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

/// The texts of one bundle in one locale: the key/value table of a file
/// "localization/<bundle>_<locale>.properties" among the compiled assets (for example
/// "vek_pellium_en_US.properties"), or of a properties text a host registers. A bundle holds only
/// its own locale's entries; the search through less specific locales (ar_SA, ar, en_US) is done
/// by the resource manager and the localisation context, key by key.
///
/// A bundle never changes after it is made, so it may be read from any number of threads. Its
/// values are interned texts, so the same text from different bundles is one shared string.
class PELLIUM_EXPORT ResourceBundle {
    struct Token {};  // keeps the constructor for create() only, while make_shared can reach it

public:
    /// A bundle holding the entries of a properties text (PropertiesReader syntax; when a key
    /// occurs twice the later value wins). The names are stored as given.
    static std::shared_ptr<ResourceBundle> create(std::string_view bundleName, std::string_view locale,
                                                  std::string_view propertiesText);

    /// The bundle compiled into the library for exactly this name and locale (no fallback), read
    /// from its asset; null when the library has no such asset. Never touches the file system.
    static std::shared_ptr<ResourceBundle> createFromCompiledAssets(std::string_view bundleName,
                                                                    std::string_view locale);

    /// A bundle with the name and locale of `base` holding every entry of `base` and of
    /// `overrides`, the value of `overrides` winning where both have a key.
    static std::shared_ptr<ResourceBundle> createMerged(const ResourceBundle& base, const ResourceBundle& overrides);

    /// The asset path of a bundle: "localization/" + name + "_" + locale + ".properties".
    static std::string getAssetPath(std::string_view bundleName, std::string_view locale);

    /// True for a bundle name the library can look up: 1 to 128 ASCII letters, digits and "_".
    static bool isValidBundleName(std::string_view bundleName);

    ResourceBundle(Token, std::string bundleName, std::string locale,
                   std::vector<std::pair<std::string, SharedString>> sortedEntries);

    const std::string& getBundleName() const { return bundleName_; }
    const std::string& getLocale() const { return locale_; }

    /// The text of `key`, or null when this bundle has no such key. An empty value is an empty
    /// text, not null.
    SharedString getString(std::string_view key) const;
    bool containsKey(std::string_view key) const;

    std::size_t size() const { return entries_.size(); }
    /// Every key, in byte order; the views live as long as the bundle.
    std::vector<std::string_view> getKeys() const;

private:
    using EntryList = std::vector<std::pair<std::string, SharedString>>;

    static std::shared_ptr<ResourceBundle> createFromEntries(std::string_view bundleName, std::string_view locale,
                                                             EntryList entries);
    EntryList::const_iterator findEntry(std::string_view key) const;

    std::string bundleName_;
    std::string locale_;
    EntryList entries_;  // sorted by key, keys unique
};

}  // namespace pellium

#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/Export.h"
#include "pellium/resources/localization/LocalizationContext.h"
#include "pellium/resources/localization/ResourceBundle.h"
#include "pellium/resources/localization/WriterPreferringSharedMutex.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

/// The process-wide keeper of localisation state: the current localisation context (set by the
/// host when the user's language or time zone changes, read by everything that shows text) and
/// the cache of resource bundles loaded from the compiled assets. A host can also register a
/// bundle text at run time, to add a locale the library lacks or to replace some of its texts.
///
/// Threads: every operation may be called from any thread. The current context is handed out as
/// a shared snapshot of a frozen context, so a reader keeps a consistent context while the host
/// sets a new one. A look-up in a bundle that is already loaded takes only a shared lock and does
/// not allocate; loading a bundle the first time takes the exclusive lock briefly, and a waiting
/// writer goes before new readers, so a steady stream of look-ups cannot hold a load back.
class PELLIUM_EXPORT ResourceManager {
public:
    /// The one instance, made on first use. It is never destroyed, so that texts can still be
    /// looked up while other static objects are torn down at process exit.
    static ResourceManager& instance();

    ResourceManager(const ResourceManager&) = delete;
    ResourceManager& operator=(const ResourceManager&) = delete;

    // --- Current context -----------------------------------------------------------------------

    /// The current context: frozen, never null; en_US in UTC until the host sets another.
    std::shared_ptr<LocalizationContext> getCurrentContext() const;
    /// Makes a frozen copy of `context` the current context (later changes to the caller's object
    /// do not reach it). False, and nothing changes, for a null context.
    bool setCurrentContext(const std::shared_ptr<LocalizationContext>& context);

    // --- Bundles -------------------------------------------------------------------------------

    /// The bundle for exactly this name and locale (the locale normalised first): the compiled
    /// one with any registered texts laid over it, or the registered texts alone. Null when
    /// neither exists or a name is malformed. No fallback to other locales.
    std::shared_ptr<const ResourceBundle> getBundle(std::string_view bundleName, std::string_view locale);

    /// The text of `key`, searched key by key through the fallback chain of `locale` (ar_SA, ar,
    /// en_US); null when no bundle of the chain has it. The chain of each (bundle, locale) is
    /// merged into one table on first use, so a later look-up with a locale in normal spelling (as
    /// contexts hold them) is one shared lock, one cache search and one table search, without
    /// allocating. A locale text that is not a locale name reads en_US.
    SharedString getString(std::string_view bundleName, std::string_view key, std::string_view locale);

    /// Lays the entries of `propertiesText` over the bundle of this name and locale: its keys
    /// replace or add texts, the other keys of the compiled bundle stay. Registering twice for
    /// the same bundle and locale accumulates. A locale the library does not ship becomes
    /// available this way. False, and nothing changes, when the bundle name or locale is
    /// malformed.
    bool registerBundle(std::string_view bundleName, std::string_view locale, std::string_view propertiesText);

    /// Forgets every registered text and every loaded or merged bundle; the next look-ups load the
    /// compiled bundles again.
    void resetBundles();

    /// The locales in which a bundle exists (compiled or registered), normalised, in byte order.
    std::vector<std::string> getAvailableLocales(std::string_view bundleName);

    /// How many single-locale bundles are cached, those found absent included (merged fallback
    /// chains are not counted).
    std::size_t getNumberOfCachedBundles() const;

private:
    ResourceManager();

    struct BundleKey {
        std::string bundleName;
        std::string locale;
    };
    struct BundleKeyView {
        std::string_view bundleName;
        std::string_view locale;
    };
    struct BundleKeyLess {
        using is_transparent = void;
        template <typename Left, typename Right>
        bool operator()(const Left& left, const Right& right) const {
            const int byName = std::string_view(left.bundleName).compare(right.bundleName);
            return byName != 0 ? byName < 0 : std::string_view(left.locale) < std::string_view(right.locale);
        }
    };
    using BundleMap = std::map<BundleKey, std::shared_ptr<const ResourceBundle>, BundleKeyLess>;

    std::shared_ptr<const ResourceBundle> findOrLoadBundle(std::string_view bundleName,
                                                           std::string_view normalizedLocale);
    std::shared_ptr<const ResourceBundle> findOrMergeChain(std::string_view bundleName,
                                                           std::string_view normalizedLocale);
    template <typename Make>
    std::shared_ptr<const ResourceBundle> findOrStore(BundleMap& cache, std::string_view bundleName,
                                                      std::string_view normalizedLocale, Make make);

    mutable std::mutex contextMutex_;
    std::shared_ptr<LocalizationContext> currentContext_;

    mutable WriterPreferringSharedMutex bundlesMutex_;
    BundleMap loadedBundles_;              // exactly one locale each; a null bundle records that none exists
    BundleMap chainBundles_;               // a locale's whole fallback chain merged into one table, never null
    BundleMap registeredBundles_;          // the texts hosts registered, by bundle and locale
    std::uint64_t bundlesGeneration_ = 0;  // counts registrations and resets, to spot stale loads
};

}  // namespace pellium

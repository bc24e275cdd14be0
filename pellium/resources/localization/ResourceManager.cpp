#include "pellium/resources/localization/ResourceManager.h"

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <shared_mutex>

#include "pellium/resources/files/CompiledAssets.h"
#include "pellium/resources/localization/LocaleNames.h"

namespace pellium {

namespace {

// Beyond this many entries a cache stops growing (look-ups still answer, they are just not
// remembered), so that a host asking for endless invented locales cannot exhaust memory.
constexpr std::size_t MAXIMUM_CACHED_BUNDLES = 4096;

constexpr std::string_view PROPERTIES_SUFFIX = ".properties";

std::shared_ptr<LocalizationContext> makeDefaultContext() {
    auto context = LocalizationContext::create();
    context->freeze();
    return context;
}

}  // namespace

ResourceManager::ResourceManager() : currentContext_(makeDefaultContext()) {}

ResourceManager& ResourceManager::instance() {
    static ResourceManager* const manager = new ResourceManager();  // never destroyed, see header
    return *manager;
}

std::shared_ptr<LocalizationContext> ResourceManager::getCurrentContext() const {
    std::lock_guard lock(contextMutex_);
    return currentContext_;
}

bool ResourceManager::setCurrentContext(const std::shared_ptr<LocalizationContext>& context) {
    if (!context) {
        return false;
    }
    auto frozen = context->getMutableCopy();
    frozen->freeze();
    std::shared_ptr<LocalizationContext> previous;
    {
        std::lock_guard lock(contextMutex_);
        previous.swap(currentContext_);
        currentContext_ = std::move(frozen);
    }
    return true;  // `previous` is released outside the lock
}

std::shared_ptr<const ResourceBundle> ResourceManager::getBundle(std::string_view bundleName, std::string_view locale) {
    const auto normal = LocaleNames::normalize(locale);
    if (!normal || !ResourceBundle::isValidBundleName(bundleName)) {
        return nullptr;
    }
    return findOrLoadBundle(bundleName, *normal);
}

SharedString ResourceManager::getString(std::string_view bundleName, std::string_view key, std::string_view locale) {
    {
        // Fast path: the chain of this locale, spelled as given, is already merged.
        std::shared_lock lock(bundlesMutex_);
        const auto found = chainBundles_.find(BundleKeyView{bundleName, locale});
        if (found != chainBundles_.end()) {
            return found->second->getString(key);
        }
    }
    if (!ResourceBundle::isValidBundleName(bundleName)) {
        return nullptr;
    }
    const auto normal = LocaleNames::normalize(locale);
    const auto chain = findOrMergeChain(bundleName, normal ? std::string_view(*normal) : LocaleNames::DEFAULT_LOCALE);
    return chain->getString(key);
}

template <typename Make>
std::shared_ptr<const ResourceBundle> ResourceManager::findOrStore(BundleMap& cache, std::string_view bundleName,
                                                                   std::string_view normalizedLocale, Make make) {
    const BundleKeyView key{bundleName, normalizedLocale};
    std::uint64_t generation = 0;
    {
        std::shared_lock lock(bundlesMutex_);
        const auto found = cache.find(key);
        if (found != cache.end()) {
            return found->second;
        }
        generation = bundlesGeneration_;
    }
    // Build outside the lock. Store only if no registration or reset came in between (the
    // result would be stale) and no other thread stored the same entry first (its copy is kept,
    // so that everybody shares one).
    std::shared_ptr<const ResourceBundle> made = make();
    std::unique_lock lock(bundlesMutex_);
    if (generation != bundlesGeneration_) {
        return made;
    }
    const auto found = cache.find(key);
    if (found != cache.end()) {
        return found->second;
    }
    if (cache.size() < MAXIMUM_CACHED_BUNDLES) {
        cache.emplace(BundleKey{std::string(bundleName), std::string(normalizedLocale)}, made);
    }
    return made;
}

std::shared_ptr<const ResourceBundle> ResourceManager::findOrLoadBundle(std::string_view bundleName,
                                                                        std::string_view normalizedLocale) {
    return findOrStore(loadedBundles_, bundleName, normalizedLocale, [&]() -> std::shared_ptr<const ResourceBundle> {
        auto compiled = ResourceBundle::createFromCompiledAssets(bundleName, normalizedLocale);
        std::shared_ptr<const ResourceBundle> registered;
        {
            std::shared_lock lock(bundlesMutex_);
            const auto found = registeredBundles_.find(BundleKeyView{bundleName, normalizedLocale});
            if (found != registeredBundles_.end()) {
                registered = found->second;
            }
        }
        if (compiled && registered) {
            return ResourceBundle::createMerged(*compiled, *registered);
        }
        return compiled ? compiled : registered;
    });
}

std::shared_ptr<const ResourceBundle> ResourceManager::findOrMergeChain(std::string_view bundleName,
                                                                        std::string_view normalizedLocale) {
    return findOrStore(chainBundles_, bundleName, normalizedLocale, [&] {
        // Merge from the least specific locale to the most specific one, so that the most
        // specific text of each key wins.
        const auto chain = LocaleNames::getFallbackChain(normalizedLocale);
        auto merged = ResourceBundle::create(bundleName, normalizedLocale, "");
        for (auto locale = chain.rbegin(); locale != chain.rend(); ++locale) {
            if (const auto bundle = findOrLoadBundle(bundleName, *locale)) {
                merged = ResourceBundle::createMerged(*merged, *bundle);
            }
        }
        return merged;
    });
}

bool ResourceManager::registerBundle(std::string_view bundleName, std::string_view locale,
                                     std::string_view propertiesText) {
    const auto normal = LocaleNames::normalize(locale);
    if (!normal || !ResourceBundle::isValidBundleName(bundleName)) {
        return false;
    }
    std::shared_ptr<const ResourceBundle> added = ResourceBundle::create(bundleName, *normal, propertiesText);
    const BundleKeyView key{bundleName, *normal};

    std::unique_lock lock(bundlesMutex_);
    const auto registered = registeredBundles_.find(key);
    if (registered != registeredBundles_.end()) {
        registered->second = ResourceBundle::createMerged(*registered->second, *added);
    } else {
        registeredBundles_.emplace(BundleKey{std::string(bundleName), *normal}, std::move(added));
    }
    // The bundle and every chain of the same bundle name are made again, with the new texts, on
    // their next look-up; the old tables are released outside the lock.
    std::vector<std::shared_ptr<const ResourceBundle>> released;
    auto chain = chainBundles_.lower_bound(BundleKeyView{bundleName, {}});
    while (chain != chainBundles_.end() && chain->first.bundleName == bundleName) {
        released.push_back(std::move(chain->second));
        chain = chainBundles_.erase(chain);
    }
    const auto loaded = loadedBundles_.find(key);
    if (loaded != loadedBundles_.end()) {
        released.push_back(std::move(loaded->second));
        loadedBundles_.erase(loaded);
    }
    ++bundlesGeneration_;
    lock.unlock();
    return true;
}

void ResourceManager::resetBundles() {
    BundleMap released;
    BundleMap releasedChains;
    BundleMap releasedRegistrations;
    std::unique_lock lock(bundlesMutex_);
    released.swap(loadedBundles_);
    releasedChains.swap(chainBundles_);
    releasedRegistrations.swap(registeredBundles_);
    ++bundlesGeneration_;
    lock.unlock();
}

std::vector<std::string> ResourceManager::getAvailableLocales(std::string_view bundleName) {
    std::vector<std::string> locales;
    if (!ResourceBundle::isValidBundleName(bundleName)) {
        return locales;
    }
    const std::string assetPath = ResourceBundle::getAssetPath(bundleName, "");
    const std::string prefix = assetPath.substr(0, assetPath.size() - PROPERTIES_SUFFIX.size());
    for (const auto path : CompiledAssets::listPaths(prefix)) {
        if (!path.ends_with(PROPERTIES_SUFFIX)) {
            continue;
        }
        const auto locale = path.substr(prefix.size(), path.size() - prefix.size() - PROPERTIES_SUFFIX.size());
        // "vek_pellium_" also prefixes the assets of a bundle named, say, "vek_pellium_extra";
        // only a remainder that is a locale name in normal spelling belongs to this bundle.
        if (LocaleNames::isNormalized(locale)) {
            locales.emplace_back(locale);
        }
    }
    {
        std::shared_lock lock(bundlesMutex_);
        for (const auto& [key, bundle] : registeredBundles_) {
            if (key.bundleName == bundleName) {
                locales.push_back(key.locale);
            }
        }
    }
    std::sort(locales.begin(), locales.end());
    locales.erase(std::unique(locales.begin(), locales.end()), locales.end());
    return locales;
}

std::size_t ResourceManager::getNumberOfCachedBundles() const {
    std::shared_lock lock(bundlesMutex_);
    return loadedBundles_.size();
}

}  // namespace pellium

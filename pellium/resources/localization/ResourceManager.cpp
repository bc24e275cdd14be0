#include "pellium/resources/localization/ResourceManager.h"

#include <algorithm>

#include "pellium/resources/files/CompiledAssets.h"
#include "pellium/resources/localization/LocaleNames.h"

namespace pellium {

namespace {

// Beyond this many cached pairs, a bundle found absent is no longer remembered, so that a host
// asking for endless invented locales cannot grow the cache without bound.
constexpr std::size_t MAXIMUM_REMEMBERED_ABSENT_BUNDLES = 4096;

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
    const auto chain = LocaleNames::getFallbackChain(locale);
    return getString(bundleName, key, chain);
}

SharedString ResourceManager::getString(std::string_view bundleName, std::string_view key,
                                        std::span<const std::string> normalizedLocaleChain) {
    {
        // Fast path: every bundle of the chain is already in the cache.
        std::shared_lock lock(bundlesMutex_);
        bool allLoaded = true;
        for (const auto& locale : normalizedLocaleChain) {
            const auto found = loadedBundles_.find(BundleKeyView{bundleName, locale});
            if (found == loadedBundles_.end()) {
                allLoaded = false;
                break;
            }
            if (found->second) {
                if (auto text = found->second->getString(key)) {
                    return text;
                }
            }
        }
        if (allLoaded) {
            return nullptr;
        }
    }
    if (!ResourceBundle::isValidBundleName(bundleName)) {
        return nullptr;
    }
    for (const auto& locale : normalizedLocaleChain) {
        if (const auto bundle = findOrLoadBundle(bundleName, locale)) {
            if (auto text = bundle->getString(key)) {
                return text;
            }
        }
    }
    return nullptr;
}

std::shared_ptr<const ResourceBundle> ResourceManager::findOrLoadBundle(std::string_view bundleName,
                                                                        std::string_view normalizedLocale) {
    const BundleKeyView key{bundleName, normalizedLocale};
    {
        std::shared_lock lock(bundlesMutex_);
        const auto found = loadedBundles_.find(key);
        if (found != loadedBundles_.end()) {
            return found->second;
        }
    }
    // Parse outside the lock; if another thread stores the same bundle first, its copy is kept.
    std::shared_ptr<const ResourceBundle> compiled =
        ResourceBundle::createFromCompiledAssets(bundleName, normalizedLocale);

    std::unique_lock lock(bundlesMutex_);
    const auto found = loadedBundles_.find(key);
    if (found != loadedBundles_.end()) {
        return found->second;
    }
    std::shared_ptr<const ResourceBundle> bundle = compiled;
    const auto registered = registeredBundles_.find(key);
    if (registered != registeredBundles_.end()) {
        bundle = compiled ? ResourceBundle::createMerged(*compiled, *registered->second) : registered->second;
    }
    if (bundle || loadedBundles_.size() < MAXIMUM_REMEMBERED_ABSENT_BUNDLES) {
        loadedBundles_.emplace(BundleKey{std::string(bundleName), std::string(normalizedLocale)}, bundle);
    }
    return bundle;
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
    // The merged bundle is made again, with the new texts, on its next look-up.
    const auto loaded = loadedBundles_.find(key);
    if (loaded != loadedBundles_.end()) {
        loadedBundles_.erase(loaded);
    }
    return true;
}

void ResourceManager::resetBundles() {
    BundleMap released;
    BundleMap releasedRegistrations;
    {
        std::unique_lock lock(bundlesMutex_);
        released.swap(loadedBundles_);
        releasedRegistrations.swap(registeredBundles_);
    }
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

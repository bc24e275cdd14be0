#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/Wrappable.h"
#include "pellium/util/StringUtilities.h"
#include "pellium/util/vector_map.h"

namespace pellium {

class FormatInfo;
class Formatter;
class FormatterFactoryImplementation;
class LocalizationContext;

/// The process-wide source of formatters. A format name such as "DOLLAR12.2" or "date9." is
/// resolved once per localisation context (by its formatter cache key) and the formatter is
/// shared by every later caller of the same (context, name) pair. Names are served, in order,
/// from the cache, from the user-defined formats, from the implemented names, through the mapped
/// names, and finally by a base Formatter, so an unknown name never fails.
///
/// Threads: one mutex guards the cache, the user-defined registry and its name list; a formatter
/// is built while it is held, so no pair is ever built twice. Formatters themselves are used
/// without locks.
///
/// The cache is keyed by the name exactly as given ("date9." and "DATE9." are two entries) and
/// is never cleared implicitly: a name resolved before a user-defined format of that name was
/// added or removed keeps its cached formatter until clearFormatterCache() is called.
class PELLIUM_EXPORT FormatterFactory : public virtual Wrappable {
    struct Token {};

public:
    using NameList = std::shared_ptr<std::vector<SharedString>>;

    /// The singleton, made on first use and destroyed at process exit.
    static const std::shared_ptr<FormatterFactory>& instance();
    /// The same object; logs a deprecation warning when warnings are enabled.
    static std::shared_ptr<FormatterFactory> getSharedInstance();

    explicit FormatterFactory(Token);
    ~FormatterFactory() override;

    int getWrapperTypeId() const override;

    /// The formatter for `name` in `context` (the current context when it is null); null only for
    /// an empty name.
    std::shared_ptr<Formatter> getFormatter(const std::shared_ptr<LocalizationContext>& context, std::string_view name);
    /// Null when the context or the name is null; otherwise as above.
    std::shared_ptr<Formatter> getFormatter(const std::shared_ptr<LocalizationContext>& context,
                                            const SharedString& name);
    /// In a fresh context for `locale`; null when either is null or the locale is malformed.
    std::shared_ptr<Formatter> getFormatter(const SharedString& locale, const SharedString& name);
    /// In the resource manager's current context; null for a null or empty name.
    std::shared_ptr<Formatter> getFormatterForFormatName(const SharedString& name);
    std::shared_ptr<Formatter> getFormatterForFormatName(std::string_view name);
    /// BEST6 in the current context.
    std::shared_ptr<Formatter> getDefaultNumericFormatter();

    /// The formatter class that serves `info`'s family and bare name, built from `info`; null when
    /// no class serves it. Not cached.
    std::shared_ptr<Formatter> getFormatterForFormatInfo(const std::shared_ptr<FormatInfo>& info);
    /// The name of the class getFormatterForFormatInfo chooses ("BestNumericFormatter",
    /// "VekDateFormat", ...); empty when the family has no class.
    static std::string_view getFormatterClassName(const FormatInfo& info);

    /// Registers `formatter` under its upper-cased canonical name, replacing an earlier one of
    /// that name. Ignores null. Does not touch the cache.
    void addUserDefinedFormatter(const std::shared_ptr<Formatter>& formatter);
    /// The user-defined formatter for `name` (one trailing "." stripped, upper-cased), or null.
    /// Takes no lock: callers hold the factory's lock (or own the only thread).
    std::shared_ptr<Formatter> getUserDefinedFormatterForName(std::string_view name) const;
    /// The user-defined names in sorted order; null when there are none.
    NameList getUserDefinedFormatNames();
    std::size_t getNumberOfCachedFormatters() const;
    void clearFormatterCache();
    void clearUserDefinedFormatters();

    /// True for a name of at least 8 characters that starts with "CURRENCY" and, when longer,
    /// does not continue with "_" ("CURRENCY12.2", not "CURRENCY_en_US12.2").
    static bool isAmbiguousCurrencyFormatName(std::string_view name);
    /// For an ambiguous name and a 5-character locale known to the currency bundle, inserts
    /// "_" + locale after "CURRENCY" in place ("CURRENCY12.2", "de_DE" -> "CURRENCY_de_DE12.2")
    /// and answers true; otherwise leaves the name as it is and answers false.
    static bool disambiguateCurrencyFormatName(std::string& name, std::string_view locale);

    /// Always true: the factory has its one implementation compiled in.
    bool hasValidImplementation() const { return true; }
    /// Accepted for compatibility; has no effect.
    void setImplementation(const std::shared_ptr<FormatterFactoryImplementation>& implementation);

private:
    using NameCache = vector_map<std::string, std::shared_ptr<Formatter>, std::less<>>;
    using ContextCache = vector_map<std::string, NameCache, std::less<>>;
    using UserDefinedFormats = vector_map<std::string, std::shared_ptr<Formatter>, std::less<>>;

    std::shared_ptr<Formatter> resolveUncached(const std::shared_ptr<LocalizationContext>& context,
                                               std::string_view name);

    mutable std::mutex mutex_;
    ContextCache cache_;
    UserDefinedFormats userDefinedFormats_;
    NameList userDefinedNames_;
};

}  // namespace pellium

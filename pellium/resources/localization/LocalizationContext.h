#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/Export.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

/// Who the user is, as far as display text is concerned: the locale of messages, the locale
/// whose conventions format numbers and dates, the locale whose data (currency) a value belongs
/// to, and the user's time zone. Every formatter works in one context (the formatter factory
/// caches formatters per getFormatterCacheKey()), and every localised text is looked up through
/// one (bundle "vek_pellium", key "missingValue.txt" -> "(missing)" in en_US).
///
/// - The format locale and the data locale follow the locale until they are set themselves:
///   create("ar_SA") formats and reads data in ar_SA; after setFormatLocale("en_US"), changing
///   the locale no longer moves the format locale.
/// - Locale texts are normalised on the way in ("ar-sa" -> "ar_SA"); a text that is not a locale
///   name (see LocaleNames) is refused.
/// - The time zone is an identifier of the library's zone rules ("UTC", "Europe/Berlin",
///   "Etc/GMT+5"); only its spelling is checked here (letters, digits and "/_+-", at most 64
///   bytes), whether the zone exists is the time-zone subsystem's business. It defaults to "UTC".
///   Date and time formatting reads it from here.
///
/// Threads: a context is built and changed on one thread. freeze() makes it read-only for good:
/// every setter of a frozen context refuses and answers false, so a frozen context may be read
/// from any number of threads. Contexts handed out by the resource manager are frozen; take
/// getMutableCopy() to change one.
class PELLIUM_EXPORT LocalizationContext {
    struct Token {};  // keeps the constructor for create() only, while make_shared can reach it

public:
    static constexpr std::string_view DEFAULT_TIME_ZONE = "UTC";

    /// A context for en_US in UTC.
    static std::shared_ptr<LocalizationContext> create();
    /// A context whose locale, format locale and data locale are `locale`, in UTC; null when
    /// `locale` is not a locale name.
    static std::shared_ptr<LocalizationContext> create(std::string_view locale);
    /// As above; null also for a null text.
    static std::shared_ptr<LocalizationContext> create(const SharedString& locale);
    /// A mutable (never frozen) copy of `other`.
    static std::shared_ptr<LocalizationContext> create(const LocalizationContext& other);

    explicit LocalizationContext(Token);

    /// A copy that is not frozen, whatever the state of this one; the copy shares nothing
    /// mutable with this context.
    std::shared_ptr<LocalizationContext> getMutableCopy() const;

    // --- Locales and time zone ---------------------------------------------------------------
    // The references stay valid until the next successful setter call on this context.

    const std::string& getLocale() const { return locale_; }
    const std::string& getFormatLocale() const { return formatLocale_.empty() ? locale_ : formatLocale_; }
    const std::string& getDataLocale() const { return dataLocale_.empty() ? locale_ : dataLocale_; }
    const std::string& getTimeZoneId() const { return timeZoneId_; }

    /// Each setter answers false, and changes nothing, when the context is frozen or the text is
    /// malformed. An empty text given to setFormatLocale or setDataLocale makes that locale
    /// follow the locale again.
    bool setLocale(std::string_view locale);
    bool setFormatLocale(std::string_view locale);
    bool setDataLocale(std::string_view locale);
    bool setTimeZoneId(std::string_view timeZoneId);

    /// True when numbers and dates are written for a right-to-left reader (LocaleNames::isRightToLeft
    /// of the format locale): formatters then wrap their text in a right-to-left embedding and
    /// write negative numbers with a left-to-right mark before the minus sign.
    bool isFormatLocaleRTL() const { return formatLocaleRTL_; }
    /// True when messages are shown to a right-to-left reader (the locale, not the format locale).
    bool isLocaleRTL() const { return localeRTL_; }

    // --- Freezing ----------------------------------------------------------------------------

    /// Makes the context read-only for good; freezing twice is harmless.
    void freeze() { frozen_ = true; }
    bool isFrozen() const { return frozen_; }

    /// A text that differs between two contexts exactly when something that can change a
    /// formatted text differs: the format locale, the data locale, the locale and the time zone,
    /// written as "format|data|locale|zone" ("en_US|en_US|en_US|UTC"). None of the parts can
    /// contain "|", so the key is unambiguous. Kept up to date by the setters, so reading it
    /// neither allocates nor locks.
    const std::string& getFormatterCacheKey() const { return formatterCacheKey_; }

    // --- Localised texts ---------------------------------------------------------------------
    // Each search runs through the locale's fallback chain (ar_SA, ar, en_US) key by key, so a
    // key missing in a specific bundle is found in a less specific one. Null when no bundle of
    // the chain has the key (or the bundle name is invalid).

    /// A message text, in the locale.
    SharedString getString(std::string_view bundleName, std::string_view key) const;
    /// A text of formatting vocabulary (month names, patterns, symbols), in the format locale.
    SharedString getFormatString(std::string_view bundleName, std::string_view key) const;
    /// A text about the data itself (currency), in the data locale.
    SharedString getDataString(std::string_view bundleName, std::string_view key) const;

    /// The message text of `key` (in the locale) with each placeholder {0}, {1}, ... replaced by
    /// the argument of that number. A placeholder without an argument, and any other brace, is
    /// kept as written; quotes have no special meaning ("Duplicate column with name: '{0}'"
    /// keeps its quotes). Null when the key is found nowhere.
    SharedString getFormattedString(std::string_view bundleName, std::string_view key,
                                    std::initializer_list<std::string_view> arguments) const;
    SharedString getFormattedString(std::string_view bundleName, std::string_view key,
                                    const std::vector<std::string>& arguments) const;

    /// `pattern` with {0}, {1}, ... replaced as described above.
    static std::string substituteArguments(std::string_view pattern, const std::vector<std::string_view>& arguments);

private:
    /// Sets the format or data locale; an empty text makes it follow the locale again.
    bool setFollowingLocale(std::string& field, std::string_view locale);
    void update();

    std::string locale_;
    std::string formatLocale_;  // empty: follows locale_
    std::string dataLocale_;    // empty: follows locale_
    std::string timeZoneId_;
    bool frozen_ = false;

    // Derived from the fields above by update().
    bool formatLocaleRTL_ = false;
    bool localeRTL_ = false;
    std::string formatterCacheKey_;
};

}  // namespace pellium

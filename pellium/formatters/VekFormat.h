#pragma once

#include <memory>
#include <string_view>

#include "pellium/Export.h"
#include "pellium/formatters/Formatter.h"

namespace pellium {

class FormatInfo;
class LocalizationContext;

/// The base of the numeric and calendar formatter families, and the home of the static helpers
/// that deal with format names: parsing a name into a FormatInfo, validating it, and choosing the
/// currency format of a locale.
class PELLIUM_EXPORT VekFormat : public Formatter {
public:
    ~VekFormat() override;

    using Formatter::getMaxFormattedStringLength;

    /// The text of the pattern key `key` (for example "date.2") in the "vek_portable_formatters"
    /// bundle of this formatter's format locale; null when the key is absent or null.
    virtual SharedString getLocalizedPattern(const SharedString& key) const;

    /// Parses `name` in `context`: the canonical name is `name` as given; width and decimals
    /// come from the name; the record holds a frozen private copy of `context` (of the current
    /// context when `context` is null) whose data locale is the name's locale suffix, if any, and
    /// whose negative sign follows the context. The family is left for the factory to set.
    static std::shared_ptr<FormatInfo> getFormatInfoForFormatName(const std::shared_ptr<LocalizationContext>& context,
                                                                  std::string_view name);

    /// `name` without one trailing ".", if it ends in one.
    static std::string_view cleanFormatName(std::string_view name);

    /// Whether the bare name of `name` (trimmed) is an implemented format. Mapped names such as
    /// MMDDYYS are not valid by this test, although the factory serves them. False for null.
    static bool isValidFormat(std::string_view name);
    static bool isValidFormat(const SharedString& name);

    /// "NLMNL" + the currency code of `locale` ("NLMNLUSD" for en_US) when the currency bundle
    /// knows the locale and the name is valid; null otherwise.
    static SharedString getLocaleCurrencyFormat(std::string_view locale);
    static SharedString getLocaleCurrencyFormat(const SharedString& locale);

    /// The number of characters of the longest text that the date pattern `pattern` writes in
    /// `context` (the current context when null), as DateFormatter counts it; 0 for a null
    /// pattern.
    static int getMaxFormattedStringLength(const SharedString& pattern,
                                           const std::shared_ptr<LocalizationContext>& context);

protected:
    explicit VekFormat(const std::shared_ptr<FormatInfo>& info);
};

}  // namespace pellium

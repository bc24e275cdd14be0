#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/formatters/FormatType.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

class LocalizationContext;

/// One format name parsed in one localisation context: the family, the bare name, the width and
/// decimals, and a private frozen copy of the context that every formatter made from it formats
/// in. Built by VekFormat::getFormatInfoForFormatName; later changes to the caller's context do
/// not reach it.
class PELLIUM_EXPORT FormatInfo {
    struct Token {};

public:
    /// A fresh record holding a mutable copy of the resource manager's current context, width and
    /// decimals -1, negative sign "-".
    static std::shared_ptr<FormatInfo> create();

    explicit FormatInfo(Token);

    FormatType::type getType() const { return type_; }
    void setType(FormatType::type type) { type_ = type; }

    /// The bare name, upper-cased, without width, decimals or locale ("DOLLAR" for dollar12.2).
    const SharedString& getName() const { return name_; }
    void setName(SharedString name) { name_ = std::move(name); }

    /// The format text exactly as the caller gave it ("dollar12.2").
    const SharedString& getCanonicalName() const { return canonicalName_; }
    void setCanonicalName(SharedString name) { canonicalName_ = std::move(name); }

    int getWidth() const { return width_; }
    void setWidth(int width) { width_ = width; }
    int getDecimalWidth() const { return decimalWidth_; }
    void setDecimalWidth(int decimalWidth) { decimalWidth_ = decimalWidth; }
    bool isDecimalWidthGiven() const { return decimalWidthGiven_; }
    void setDecimalWidthGiven(bool given) { decimalWidthGiven_ = given; }

    const std::shared_ptr<LocalizationContext>& getLocalizationContext() const { return context_; }
    void setLocalizationContext(std::shared_ptr<LocalizationContext> context) { context_ = std::move(context); }

    /// True when the name carried a locale suffix (CURRENCY_de_DE12.2).
    bool isLocaleGiven() const { return localeGiven_; }
    void setLocaleGiven(bool given) { localeGiven_ = given; }

    const SharedString& getNegativeSign() const { return negativeSign_; }
    /// The sign for negative numbers in `context`: a left-to-right mark and "-" when its format
    /// locale is right-to-left, so the sign stays in front of the digits; otherwise the
    /// "negativeSign" text of "vek_portable_formatters" when there is one; otherwise unchanged.
    void setNegativeSign(const LocalizationContext& context);

    /// Writes <FormatInfo name="..." width="..." decimalWidth="..." /> and a line break to
    /// standard output, for debugging.
    void print() const;

private:
    FormatType::type type_ = FormatType::NotImplemented;
    SharedString name_;
    SharedString canonicalName_;
    int width_ = -1;
    int decimalWidth_ = -1;
    bool decimalWidthGiven_ = false;
    std::shared_ptr<LocalizationContext> context_;
    bool localeGiven_ = false;
    SharedString negativeSign_;
};

}  // namespace pellium

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/Wrappable.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

class FormatInfo;
class LocalizationContext;

/// The base of every formatter: turns numbers and texts into display text under one format name
/// in one localisation context, and reads text back. Formatters come from the FormatterFactory,
/// which shares one object per (context, name) among all callers, so `format` and `parse` are
/// const and safe to call from many threads at once.
///
/// The base itself serves names that have no implementation: numbers print in the shortest form
/// that reads back to the same double, texts print unchanged, and every parse answers NaN.
/// A derived class that overrides one `format` overload should bring the others into scope
/// (`using Formatter::format;`), since an override hides the base's other overloads.
class PELLIUM_EXPORT Formatter : public virtual Wrappable {
public:
    using FormattedVector = std::shared_ptr<std::vector<SharedString>>;

    /// A base formatter for `info`; null for a null `info`.
    static std::shared_ptr<Formatter> create(const std::shared_ptr<FormatInfo>& info);

    ~Formatter() override;

    int getWrapperTypeId() const override;
    /// The bare name ("DOLLAR" for dollar12.2).
    virtual SharedString getFormatName() const;
    virtual int getWidth() const;
    virtual int getDecimalWidth() const;
    virtual bool isDateFormat() const;
    virtual bool isTimeFormat() const;
    virtual bool isDateTimeFormat() const;
    virtual bool isNumericFormat() const;
    virtual bool isCharacterFormat() const;
    /// True for user-defined formats.
    virtual bool isUDF() const;
    virtual bool isDecimalWidthSupported() const;
    /// The base writes the shortest text that reads back to the same double: "NaN",
    /// "Infinity", "-Infinity", "0" and "-0" for the special values.
    virtual SharedString format(const double& value) const;
    /// `format(value)` without any bidirectional control characters, for plain-text exports.
    virtual SharedString formatWithoutBidi(const double& value) const;
    virtual SharedString format(const std::string& text) const;
    /// Null in, null out.
    virtual SharedString format(const SharedString& text) const;
    /// NaN for a null text; otherwise parse(*text).
    virtual double parse(const SharedString& text) const;
    /// The number the text shows, or NaN when it shows none (the base always answers NaN).
    virtual double parse(const std::string& text) const;
    /// One text per value, in order; null for a null vector.
    virtual FormattedVector format(const std::shared_ptr<std::vector<double>>& values) const;
    /// The display pattern of date and time formats; null for the others.
    virtual SharedString getFormatPattern() const;
    /// The length of the longest text this format can produce; 0 when unknown.
    virtual int getMaxFormattedStringLength() const;
    virtual SharedString getMaxFormattedString() const;
    /// For date and time formats, the step and the cycle of the shown unit in seconds; 0 here.
    virtual double getDateTimeIncrementPeriod() const;
    virtual double getDateTimeCyclePeriod() const;
    /// The format text exactly as requested ("dollar12.2").
    virtual SharedString getCanonicalName() const;
    virtual void setFormatName(SharedString name);
    virtual void setWidth(int width);
    virtual void setDecimalWidth(int decimalWidth);

    const std::shared_ptr<FormatInfo>& getFormatInfo() const { return formatInfo_; }
    /// The frozen context this formatter formats in.
    const std::shared_ptr<LocalizationContext>& getLocalizationContext() const;
    const SharedString& getNegativeSign() const;

    /// `text` made ready for display in this formatter's context: wrapped in a right-to-left
    /// embedding (U+202B ... U+202C) when the format locale is right-to-left, else unchanged.
    /// A null or empty text is returned as it is.
    SharedString finalizeFormattedString(const SharedString& text) const;
    /// The same in `context`, or in the resource manager's current context when it is null.
    static SharedString finalizeFormattedString(const SharedString& text,
                                                const std::shared_ptr<LocalizationContext>& context);
    /// finalizeFormattedString in the current context; null for null.
    static SharedString finalizeString(const SharedString& text);
    /// `text` without the embedding controls that finalizing added; null for null.
    static SharedString unfinalizeString(const SharedString& text);

protected:
    explicit Formatter(const std::shared_ptr<FormatInfo>& info);

    /// `text` finalized as finalizeFormattedString does, made shared once: the way for a
    /// formatter that builds its text in a string to hand it out.
    SharedString finishFormattedText(std::string text) const;

private:
    SharedString formatName_;
    int width_;
    int decimalWidth_;
    std::shared_ptr<FormatInfo> formatInfo_;
};

}  // namespace pellium

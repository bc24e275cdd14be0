#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/formatters/BaseNumericFormatter.h"

namespace pellium {

/// Ew.d: scientific notation with a signed exponent of at least two digits (E10. of 1234567 is
/// " 1.235E+06"), for values of very different magnitudes in one column.
///
/// | Width: default, range | Decimals                                                   |
/// |-----------------------|------------------------------------------------------------|
/// | 12, 7-32              | the mantissa's; without d, as many as fit beside a sign    |
///
/// Without d, the mantissa gets the decimals that fit when a place is kept for a sign, so that
/// the decimal points of positive and negative values line up. When the decimals do not fit (a
/// three-digit exponent, a d too large) fewer are written; when no mantissa fits, the text is w
/// asterisks. Rounding is half away from zero on the shortest decimal form; symbols follow the
/// format locale (the exponent separator, "E" in most locales).
class PELLIUM_EXPORT ExponentialNumericFormatter : public BaseNumericFormatter {
public:
    /// Null for a null `info`.
    static std::shared_ptr<Formatter> create(const std::shared_ptr<FormatInfo>& info);
    ~ExponentialNumericFormatter() override;

protected:
    explicit ExponentialNumericFormatter(const std::shared_ptr<FormatInfo>& info);
    bool writeFinite(double value, NumericTextBuilder& out) const override;
};

}  // namespace pellium

#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/formatters/BaseNumericFormatter.h"

namespace pellium {

/// BESTw.: the most precise text of a number that fits in w characters, the default format of
/// numbers without a format of their own (BEST6 is the factory's default numeric format). Mapped
/// names such as BESTD, D, NLBEST and NLNUM write in this style too.
///
/// | Width: default, range | Decimals                      |
/// |-----------------------|-------------------------------|
/// | 12, 1-32              | ignored: as many as fit       |
///
/// Whole numbers are written as they are when they fit (no grouping). Otherwise the number is
/// written with as many decimals as fit, trailing zeros dropped (BEST12. of 1/3 is 0.3333333333),
/// or in scientific notation with as many mantissa digits as fit (BEST6. of 1234567 is 1.23E6),
/// whichever shows more significant digits; on a tie the plain form wins. A value below one drops
/// its leading zero only when nothing else would show a digit (BEST2. of 0.5 is .5). When not
/// even one digit fits, the text is w asterisks. Symbols follow the format locale.
class PELLIUM_EXPORT BestNumericFormatter : public BaseNumericFormatter {
public:
    /// Null for a null `info`.
    static std::shared_ptr<Formatter> create(const std::shared_ptr<FormatInfo>& info);
    ~BestNumericFormatter() override;

    bool isDecimalWidthSupported() const override;

protected:
    explicit BestNumericFormatter(const std::shared_ptr<FormatInfo>& info);
    bool writeFinite(double value, NumericTextBuilder& out) const override;

private:
    /// Writes the plain form with as many decimals as fit; the number of the value's significant
    /// digits that survive the rounding, -1 when no plain form fits.
    int writePlainToFit(const DecimalDigits& digits, bool leadingZero, NumericTextBuilder& out) const;
};

}  // namespace pellium

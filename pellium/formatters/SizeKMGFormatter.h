#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/formatters/BaseNumericFormatter.h"

namespace pellium {

/// SIZEKMGw.d: byte counts in the largest binary unit that keeps the number at or above one:
/// 512B, 1.5KB, 2.25MB, 3.0GB, and TB, PB, EB beyond (1 KB is 1024 bytes). Whole bytes are
/// written without decimals; the larger units with exactly d decimals. Rounding is half away from
/// zero and may move to the next unit (1023.99KB with one decimal is 1.0MB). Separators follow
/// the locale; the unit letters are the same everywhere.
///
/// | Width: default, range | Decimals: default, range |
/// |-----------------------|--------------------------|
/// | 9, 2-32               | 0, 0-31                  |
///
/// When the text does not fit, decimals go first, then the count is written in scientific
/// notation in bytes, then asterisks. `parse` reads "1.5KB" as 1536.
class PELLIUM_EXPORT SizeKMGFormatter : public BaseNumericFormatter {
public:
    /// Null for a null `info`.
    static std::shared_ptr<Formatter> create(const std::shared_ptr<FormatInfo>& info);
    ~SizeKMGFormatter() override;

protected:
    explicit SizeKMGFormatter(const std::shared_ptr<FormatInfo>& info);
    DecimalDigits roundForDisplay(double value, const DecimalDigits& digits, int& decimals,
                                  const NumericSymbol*& unit) const override;

private:
    static constexpr int UNIT_COUNT = 7;
    NumericSymbol units_[UNIT_COUNT];
};

}  // namespace pellium

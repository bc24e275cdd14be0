#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/formatters/BaseNumericFormatter.h"

namespace pellium {

/// The compact family (names starting with "CB"): numbers abbreviated by their magnitude, for
/// dashboards and chart labels: 1.2K, 3.4M, 5.6B, 7.8T (thousand, million, billion, trillion;
/// larger values stay in trillions, 1234T). The rest of the name chooses the style of the
/// digits, as the name without "CB" would: CBF and CBBEST plain, CBCOMMA grouped, CBDOLLAR,
/// CBEURO, CBPOUND, CBYEN, CBWON with their symbol ($1.2K), CBCURRENCY, CBNLMNL<code> and
/// CBNLMNI<code> in the currency's local or international form.
///
/// | Width: default, range | Decimals: default, range                      |
/// |-----------------------|-----------------------------------------------|
/// | 8, 1-32               | 1, 0-31; CBBEST as many as fit                |
///
/// d is the most decimals shown: trailing zeros are dropped (3000 is 3K, 1250 with one decimal is
/// 1.3K). Rounding is half away from zero and may move to the next magnitude (999,960 is 1M).
/// The magnitude letters are the same in every locale; separators follow the locale. When the
/// text does not fit, the currency symbol goes first, then decimals, then asterisks.
class PELLIUM_EXPORT CompactNumericFormatter : public BaseNumericFormatter {
public:
    /// Null for a null `info`.
    static std::shared_ptr<Formatter> create(const std::shared_ptr<FormatInfo>& info);
    ~CompactNumericFormatter() override;

protected:
    explicit CompactNumericFormatter(const std::shared_ptr<FormatInfo>& info);
    DecimalDigits roundForDisplay(double value, const DecimalDigits& digits, int& decimals,
                                  const NumericSymbol*& unit) const override;

private:
    static Limits compactLimitsOf(const FormatInfo& info);

    NumericSymbol magnitudes_[4];
};

}  // namespace pellium

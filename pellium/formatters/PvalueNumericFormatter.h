#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/formatters/BaseNumericFormatter.h"

namespace pellium {

/// PVALUEw.d and NILPVALUEw.d: probabilities from statistical tests. A value below the smallest
/// that d decimals can show is written as "<" and that smallest value without its leading zero
/// (PVALUE6.4 of 0.00001 is "<.0001", of 0 and of -0.00001 too); every other value is written
/// like F with d decimals (0.0123). Mapped NLPVALUE writes the same; NILPVALUE is the same format under the
/// name that keeps a probability of exactly zero from looking like a missing one.
///
/// | Width: default, range | Decimals: default, range |
/// |-----------------------|--------------------------|
/// | 6, 3-32               | 4, 0-31                  |
///
/// `parse` reads "<.0001" as 0.0001, the bound the text names (the value itself is not in the
/// text), besides the texts and plain numbers F reads.
class PELLIUM_EXPORT PvalueNumericFormatter : public BaseNumericFormatter {
public:
    /// Null for a null `info`.
    static std::shared_ptr<Formatter> create(const std::shared_ptr<FormatInfo>& info);
    ~PvalueNumericFormatter() override;

protected:
    explicit PvalueNumericFormatter(const std::shared_ptr<FormatInfo>& info);
    bool writeFinite(double value, NumericTextBuilder& out) const override;
};

}  // namespace pellium

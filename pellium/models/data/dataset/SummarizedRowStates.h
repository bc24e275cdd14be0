#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/data/dataset/RowStates.h"

namespace pellium {

/// Row states for rows that each stand for many underlying rows (the rows of an aggregated
/// table), which can be partly selected: besides the selected flag, each row keeps the fraction of
/// it that is selected, from 0 to 1.
///
/// The fractions and the flags stay in step: a row is selected exactly when its fraction is above
/// 0. Selecting a row through the plain operations gives it the fraction 1 unless it already had
/// a fraction above 0; deselecting it sets 0. Fractions outside [0, 1] and NaN are clamped (NaN
/// to 0).
class PELLIUM_EXPORT SummarizedRowStates : public RowStates {
public:
    using Fractions = std::vector<float>;

    static std::shared_ptr<SummarizedRowStates> create(std::int32_t numberOfRows);

    SummarizedRowStates(Token, std::int32_t numberOfRows);
    ~SummarizedRowStates() override;

    /// WrapperTypeIds::SUMMARIZED_ROW_STATES (44).
    int getWrapperTypeId() const override;

    std::shared_ptr<RowStates> createCopy() const override;
    void truncate(std::int32_t numberOfRows) override;

    /// The fraction of each row, made on first use from the selected flags.
    const std::shared_ptr<Fractions>& getPercentSelected();
    /// Throws std::out_of_range for a row outside the row states.
    float getPercentSelectedAtIndex(std::int32_t row);

    /// Gives `row` the fraction; false, changing nothing, for a row outside the row states.
    bool setPercentSelectedAtIndex(float fraction, std::int32_t row);
    /// Gives every row of `rows` the fraction.
    bool setPercentSelectedAtSpecifiedIndices(float fraction, const RowIndexSet& rows);
    /// Gives every row of `rows` its own fraction from `fractions`, which holds one fraction per row
    /// of the row states (rows the vector lacks are left as they are).
    bool setPercentSelectedAtSpecifiedIndices(const Fractions& fractions, const RowIndexSet& rows);
    /// As the previous one, and every row outside `rows` gets 0.
    bool setPercentSelectedOnlyAtSpecifiedIndices(const Fractions& fractions, const RowIndexSet& rows);

    /// The selected fraction of each row, widened to double.
    std::shared_ptr<Column> makeNumericSelectedColumn() override;

protected:
    SummarizedRowStates(const SummarizedRowStates& other);

    /// The fractions follow as a shared vector of 32-bit floats (null when never made).
    bool writeBodyExtension(SerialWriter& writer) const override;
    /// False when the fractions do not fit the row count or disagree with the selected flags.
    bool readBodyExtension(SerialReader& reader) override;
    std::uint8_t getClassByte() const override;
    void selectedFlagsChanged() override;

private:
    Fractions& fractions();
    bool assignFractions(const RowIndexSet& rows, bool exclusive, const auto& fractionOfRow);

    std::shared_ptr<Fractions> percentSelected_;
};

}  // namespace pellium

#include "pellium/models/data/dataset/SummarizedRowStates.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <stdexcept>
#include <string>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/serializers/SerialReader.h"
#include "pellium/serializers/SerialWriter.h"

namespace pellium {

namespace {

float clampFraction(float fraction) {
    return std::isnan(fraction) ? 0.0f : std::clamp(fraction, 0.0f, 1.0f);
}

}  // namespace

SummarizedRowStates::SummarizedRowStates(Token token, std::int32_t numberOfRows) : RowStates(token, numberOfRows) {}

SummarizedRowStates::SummarizedRowStates(const SummarizedRowStates& other)
    : Wrappable(other),
      RowStates(other),
      percentSelected_(other.percentSelected_ ? std::make_shared<Fractions>(*other.percentSelected_) : nullptr) {}

SummarizedRowStates::~SummarizedRowStates() = default;

std::shared_ptr<SummarizedRowStates> SummarizedRowStates::create(std::int32_t numberOfRows) {
    return std::make_shared<SummarizedRowStates>(Token{}, numberOfRows);
}

int SummarizedRowStates::getWrapperTypeId() const {
    return WrapperTypeIds::SUMMARIZED_ROW_STATES;
}

std::shared_ptr<RowStates> SummarizedRowStates::createCopy() const {
    return std::shared_ptr<RowStates>(new SummarizedRowStates(*this));
}

void SummarizedRowStates::truncate(std::int32_t numberOfRows) {
    RowStates::truncate(numberOfRows);
    if (percentSelected_ && percentSelected_->size() > static_cast<std::size_t>(getNumberOfRows())) {
        percentSelected_->resize(static_cast<std::size_t>(getNumberOfRows()));
    }
}

SummarizedRowStates::Fractions& SummarizedRowStates::fractions() {
    if (!percentSelected_) {
        const Flags& flags = selectedFlags();
        percentSelected_ = std::make_shared<Fractions>(flags.size(), 0.0f);
        for (std::size_t row = 0; row < flags.size(); ++row) {
            (*percentSelected_)[row] = flags[row] ? 1.0f : 0.0f;
        }
    }
    return *percentSelected_;
}

const std::shared_ptr<SummarizedRowStates::Fractions>& SummarizedRowStates::getPercentSelected() {
    fractions();
    return percentSelected_;
}

float SummarizedRowStates::getPercentSelectedAtIndex(std::int32_t row) {
    const Fractions& all = fractions();
    if (row < 0 || static_cast<std::size_t>(row) >= all.size()) {
        throw std::out_of_range("SummarizedRowStates: row " + std::to_string(row) + " is outside the " +
                                std::to_string(all.size()) + " rows");
    }
    return all[static_cast<std::size_t>(row)];
}

bool SummarizedRowStates::setPercentSelectedAtIndex(float fraction, std::int32_t row) {
    return row >= 0 && setPercentSelectedAtSpecifiedIndices(fraction, RowIndexSet{static_cast<std::uint32_t>(row)});
}

bool SummarizedRowStates::setPercentSelectedAtSpecifiedIndices(float fraction, const RowIndexSet& rows) {
    return assignFractions(rows, false, [&](std::uint32_t) { return std::optional<float>(fraction); });
}

bool SummarizedRowStates::setPercentSelectedAtSpecifiedIndices(const Fractions& fractions, const RowIndexSet& rows) {
    return assignFractions(rows, false, [&](std::uint32_t row) {
        return row < fractions.size() ? std::optional<float>(fractions[row]) : std::nullopt;
    });
}

bool SummarizedRowStates::setPercentSelectedOnlyAtSpecifiedIndices(const Fractions& fractions,
                                                                   const RowIndexSet& rows) {
    return assignFractions(rows, true, [&](std::uint32_t row) {
        return row < fractions.size() ? std::optional<float>(fractions[row]) : std::nullopt;
    });
}

// Sets the fractions of `rows` (a row for which `fractionOfRow` has none keeps its own), and with
// `exclusive` clears every other row; then the selected flags follow the fractions.
bool SummarizedRowStates::assignFractions(const RowIndexSet& rows, bool exclusive, const auto& fractionOfRow) {
    Fractions& all = fractions();
    bool changed = false;
    const auto assign = [&](std::size_t row, float fraction) {
        if (all[row] != fraction) {
            all[row] = fraction;
            changed = true;
        }
    };
    auto member = rows.begin();
    for (std::size_t row = 0; row < all.size(); ++row) {
        const bool isMember = member != rows.end() && *member == row;
        if (isMember) {
            ++member;
            if (const std::optional<float> fraction = fractionOfRow(static_cast<std::uint32_t>(row))) {
                assign(row, clampFraction(*fraction));
            }
        } else if (exclusive) {
            assign(row, 0.0f);
        } else if (member == rows.end()) {
            break;  // no member left to assign
        }
    }
    if (!changed) {
        return false;
    }
    RowIndexSet partlySelected;
    for (std::size_t row = 0; row < all.size(); ++row) {
        if (all[row] > 0.0f) {
            partlySelected.emplace_hint(partlySelected.end(), static_cast<std::uint32_t>(row));
        }
    }
    assignValueExclusivelyAtSpecifiedIndices(true, false, selectedFlags(), selectedSet(), partlySelected);
    return announceSelectionChange(true);
}

void SummarizedRowStates::selectedFlagsChanged() {
    if (!percentSelected_) {
        return;  // made from the flags on first use
    }
    const Flags& flags = selectedFlags();
    Fractions& all = *percentSelected_;
    for (std::size_t row = 0; row < all.size() && row < flags.size(); ++row) {
        if (!flags[row]) {
            all[row] = 0.0f;
        } else if (all[row] <= 0.0f) {
            all[row] = 1.0f;
        }
    }
}

std::shared_ptr<Column> SummarizedRowStates::makeNumericSelectedColumn() {
    auto column = RowStates::makeNumericSelectedColumn();
    const Fractions& all = fractions();
    auto numbers = std::make_shared<std::vector<double>>(all.begin(), all.end());
    column->setNumbers(std::move(numbers));
    return column;
}

bool SummarizedRowStates::writeBodyExtension(SerialWriter& writer) const {
    return writer.writeSharedPrimitiveVector(percentSelected_);
}

bool SummarizedRowStates::readBodyExtension(SerialReader& reader) {
    if (!reader.readSharedPrimitiveVector(percentSelected_)) {
        return false;
    }
    if (!percentSelected_) {
        return true;
    }
    const Fractions& all = *percentSelected_;
    if (all.size() != static_cast<std::size_t>(getNumberOfRows())) {
        return false;
    }
    const Flags& flags = selectedFlags();  // as many as the fractions read, so the input paid for them
    for (std::size_t row = 0; row < all.size(); ++row) {
        if (!(all[row] >= 0.0f && all[row] <= 1.0f) || (all[row] > 0.0f) != flags[row]) {
            return false;
        }
    }
    return true;
}

std::uint8_t SummarizedRowStates::getClassByte() const {
    return static_cast<std::uint8_t>(SUMMARIZED_SERIALIZATION_MARKER);
}

}  // namespace pellium

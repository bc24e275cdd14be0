#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/data/dataset/DataValue.h"

namespace pellium {

/// The row store of a mutable data set: one observation (one value per column) per row, in row
/// order. Rows live in a double-ended queue of small vectors, so appending a row is amortised
/// O(1), and inserting or deleting a row moves only the observations on the shorter side of it
/// (each move is a pointer swap, not a copy of the values).
///
/// The store keeps the values it is given; copying values that enter is the data set's job.
/// Operations answer false, changing nothing, for a row or column outside the store or an
/// observation that does not have one value per column.
class PELLIUM_EXPORT ObservationDeque {
public:
    using Observation = std::vector<std::shared_ptr<DataValue>>;

    /// `numberOfRows` observations of `numberOfColumns` null values (0 for negative counts).
    static std::shared_ptr<ObservationDeque> create(std::int32_t numberOfRows, std::int32_t numberOfColumns);

    ObservationDeque(std::int32_t numberOfRows, std::int32_t numberOfColumns);

    std::int32_t getNumberOfRows() const { return static_cast<std::int32_t>(observations_.size()); }
    std::int32_t getNumberOfColumns() const { return numberOfColumns_; }
    bool isValidRowIndex(std::int32_t row) const { return row >= 0 && row < getNumberOfRows(); }
    bool isValidColumnIndex(std::int32_t column) const { return column >= 0 && column < numberOfColumns_; }

    /// Null for a cell outside the store.
    std::shared_ptr<DataValue> getDataValue(std::int32_t row, std::int32_t column) const;
    bool setDataValue(std::int32_t row, std::int32_t column, std::shared_ptr<DataValue> value);
    /// Null for a row outside the store.
    const Observation* getObservation(std::int32_t row) const;

    bool appendObservation(Observation observation);
    /// `row` may be the row count, which appends.
    bool insertObservation(Observation observation, std::int32_t row);
    bool setObservation(Observation observation, std::int32_t row);
    bool deleteObservation(std::int32_t row);

    /// Adds a column holding `values[row]` in each row; `values` must have one value per row.
    bool appendColumn(const std::vector<std::shared_ptr<DataValue>>& values);
    /// Replaces the values of `column`; `values` must have one value per row.
    bool setColumn(std::int32_t column, const std::vector<std::shared_ptr<DataValue>>& values);

private:
    std::deque<Observation> observations_;
    std::int32_t numberOfColumns_;
};

}  // namespace pellium

#include "pellium/models/data/dataset/ObservationDeque.h"

#include <algorithm>

namespace pellium {

ObservationDeque::ObservationDeque(std::int32_t numberOfRows, std::int32_t numberOfColumns)
    : observations_(static_cast<std::size_t>(std::max(numberOfRows, 0)),
                    Observation(static_cast<std::size_t>(std::max(numberOfColumns, 0)))),
      numberOfColumns_(std::max(numberOfColumns, 0)) {}

std::shared_ptr<ObservationDeque> ObservationDeque::create(std::int32_t numberOfRows, std::int32_t numberOfColumns) {
    return std::make_shared<ObservationDeque>(numberOfRows, numberOfColumns);
}

std::shared_ptr<DataValue> ObservationDeque::getDataValue(std::int32_t row, std::int32_t column) const {
    if (!isValidRowIndex(row) || !isValidColumnIndex(column)) {
        return nullptr;
    }
    return observations_[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)];
}

bool ObservationDeque::setDataValue(std::int32_t row, std::int32_t column, std::shared_ptr<DataValue> value) {
    if (!isValidRowIndex(row) || !isValidColumnIndex(column)) {
        return false;
    }
    observations_[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)] = std::move(value);
    return true;
}

const ObservationDeque::Observation* ObservationDeque::getObservation(std::int32_t row) const {
    return isValidRowIndex(row) ? &observations_[static_cast<std::size_t>(row)] : nullptr;
}

bool ObservationDeque::appendObservation(Observation observation) {
    return insertObservation(std::move(observation), getNumberOfRows());
}

bool ObservationDeque::insertObservation(Observation observation, std::int32_t row) {
    if (row < 0 || row > getNumberOfRows() || observation.size() != static_cast<std::size_t>(numberOfColumns_) ||
        getNumberOfRows() == INT32_MAX) {
        return false;
    }
    observations_.insert(observations_.begin() + row, std::move(observation));
    return true;
}

bool ObservationDeque::setObservation(Observation observation, std::int32_t row) {
    if (!isValidRowIndex(row) || observation.size() != static_cast<std::size_t>(numberOfColumns_)) {
        return false;
    }
    observations_[static_cast<std::size_t>(row)] = std::move(observation);
    return true;
}

bool ObservationDeque::deleteObservation(std::int32_t row) {
    if (!isValidRowIndex(row)) {
        return false;
    }
    observations_.erase(observations_.begin() + row);
    return true;
}

bool ObservationDeque::appendColumn(const std::vector<std::shared_ptr<DataValue>>& values) {
    if (values.size() != observations_.size() || numberOfColumns_ == INT32_MAX) {
        return false;
    }
    for (std::size_t row = 0; row < values.size(); ++row) {
        observations_[row].push_back(values[row]);
    }
    ++numberOfColumns_;
    return true;
}

bool ObservationDeque::setColumn(std::int32_t column, const std::vector<std::shared_ptr<DataValue>>& values) {
    if (!isValidColumnIndex(column) || values.size() != observations_.size()) {
        return false;
    }
    for (std::size_t row = 0; row < values.size(); ++row) {
        observations_[row][static_cast<std::size_t>(column)] = values[row];
    }
    return true;
}

}  // namespace pellium

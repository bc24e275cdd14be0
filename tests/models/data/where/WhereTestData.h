#pragma once

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/where/CompoundWhereClauseExpression.h"
#include "pellium/models/data/where/WhereClauseExpression.h"

// Small builders shared by the where-clause tests.
namespace pellium::test {

inline constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

inline SharedString text(std::string_view value) {
    return StringUtilities::internString(value);
}

inline std::shared_ptr<DataValue> number(double value) {
    return DataValue::create(value);
}

inline std::shared_ptr<DataValue> string(std::string_view value) {
    return DataValue::create(text(value), -1000);
}

inline std::shared_ptr<WhereClauseExpression> leaf(std::string_view column, WhereClauseOperators::type op,
                                                   std::shared_ptr<DataValue> value) {
    return WhereClauseExpression::create(text(column), op, std::move(value));
}

inline std::shared_ptr<CompoundWhereClauseExpression> compound(
    WhereClauseOperators::type op, const CompoundWhereClauseExpression::Children& children) {
    return CompoundWhereClauseExpression::create(op, children);
}

inline std::shared_ptr<Column> numberColumn(std::string_view name, std::vector<double> values,
                                            std::string_view format = "BEST12.") {
    auto column = Column::create(text(name), DataType::NUMERIC, nullptr, text(format));
    column->setNumbers(std::make_shared<Column::NumberVector>(std::move(values)));
    return column;
}

inline std::shared_ptr<Column> indexColumn(std::string_view name, std::vector<std::int32_t> indices) {
    auto column = Column::create(text(name), DataType::STRING);
    column->setStringIndices(std::make_shared<Column::IndexVector>(std::move(indices)));
    return column;
}

/// A data set over `columns` whose string columns read `table` through their indices.
inline std::shared_ptr<DataSet> dataSetOf(const std::vector<std::shared_ptr<Column>>& columns,
                                          const std::vector<std::string>& table = {}) {
    auto dataSet = DataSet::create(std::make_shared<DataSet::ColumnList>(columns.begin(), columns.end()));
    auto strings = std::make_shared<DataSet::StringTable>();
    for (const auto& entry : table) {
        strings->push_back(text(entry));
    }
    dataSet->setStringTable(strings);
    dataSet->assignStringValuesFromIndices();
    return dataSet;
}

/// The row map of one row: every column's value at `row`.
inline std::shared_ptr<const AbstractWhereClauseExpression::RowMap> rowOf(const DataSet& dataSet, std::int32_t row) {
    auto map = std::make_shared<AbstractWhereClauseExpression::RowMap>();
    for (const auto& column : *dataSet.getColumns()) {
        map->insert_or_assign(*column->getName(), column->getDataValueAtIndex(row));
    }
    return map;
}

/// The machine form of a clause without labels and formats, "<null>" for none.
inline std::string textOf(const std::shared_ptr<const AbstractWhereClauseExpression>& clause) {
    return clause ? *clause->getDescription(false, false) : "<null>";
}

/// The stream form of a clause.
inline std::string bytesOf(const std::shared_ptr<const AbstractWhereClauseExpression>& clause) {
    std::ostringstream stream;
    EXPECT_TRUE(AbstractWhereClauseExpression::serialize(stream, clause));
    return stream.str();
}

}  // namespace pellium::test

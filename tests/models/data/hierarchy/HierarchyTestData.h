#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/hierarchy/Hierarchy.h"
#include "pellium/models/data/hierarchy/HierarchyDataSet.h"
#include "pellium/models/data/hierarchy/Level.h"
#include "pellium/models/data/hierarchy/StatisticType.h"

// Data sets for the hierarchy tests: small hand-made ones and random ones with every special
// state a report delivers.
namespace pellium::test {

inline constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

inline SharedString text(std::string_view value) {
    return StringUtilities::internString(value);
}

/// Equal numbers, or both missing.
inline bool sameNumber(double left, double right) {
    return (std::isnan(left) && std::isnan(right)) || left == right;
}

/// Builds a data set column by column; string columns share one table.
class DataSetMaker {
public:
    DataSetMaker& numbers(std::string_view name, std::vector<double> values,
                          StatisticType::type aggregation = StatisticType::SUM) {
        auto column = Column::create(text(name), DataType::NUMERIC);
        column->setNumbers(std::make_shared<Column::NumberVector>(std::move(values)));
        column->setAggregation(aggregation);
        columns_->push_back(column);
        return *this;
    }

    /// Texts become table entries; "~O", " ", "~N" and "~S" become the all-others, missing, sparse
    /// and suppressed tokens.
    DataSetMaker& strings(std::string_view name, const std::vector<std::string>& values,
                          StatisticType::type aggregation = StatisticType::SUM) {
        auto indices = std::make_shared<Column::IndexVector>();
        for (const auto& value : values) {
            indices->push_back(indexOf(value));
        }
        auto column = Column::create(text(name), DataType::STRING);
        column->setStringIndices(indices);
        column->setAggregation(aggregation);
        columns_->push_back(column);
        return *this;
    }

    std::shared_ptr<DataSet> make(std::string_view name = "data") {
        auto dataSet = DataSet::create(columns_);
        dataSet->setName(text(name));
        dataSet->setStringTable(table_);
        dataSet->assignStringValuesFromIndices();
        return dataSet;
    }

private:
    std::int32_t indexOf(const std::string& value) {
        if (value == "~O")
            return DataTokens::TOKEN_ALL_OTHERS;
        if (value == " ")
            return DataTokens::TOKEN_MISSING;
        if (value == "~N")
            return DataTokens::TOKEN_SPARSE;
        if (value == "~S")
            return DataTokens::TOKEN_SUPPRESSED;
        for (std::size_t index = 0; index < table_->size(); ++index) {
            if (*(*table_)[index] == value) {
                return static_cast<std::int32_t>(index);
            }
        }
        table_->push_back(text(value));
        return static_cast<std::int32_t>(table_->size() - 1);
    }

    std::shared_ptr<DataSet::ColumnList> columns_ = std::make_shared<DataSet::ColumnList>();
    std::shared_ptr<DataSet::StringTable> table_ = std::make_shared<DataSet::StringTable>();
};

/// The rows of a random sales data set: Region > Product by Year, a numeric measure with missing,
/// sparse and suppressed cells, a text measure, and frequency weights.
struct RandomSales {
    std::vector<std::string> region;
    std::vector<std::string> product;
    std::vector<double> year;
    std::vector<double> value;
    std::vector<std::string> label;
    std::vector<double> frequency;
    std::vector<double> frequencyWithMissing;

    static RandomSales generate(std::uint32_t seed, std::size_t rows) {
        std::mt19937 random(seed);
        const auto pick = [&random](std::size_t count) {
            return static_cast<std::size_t>(std::uniform_int_distribution<std::size_t>(0, count - 1)(random));
        };
        static const std::vector<std::string> regions{"North", "South", "East", "West", "~O", " "};
        static const std::vector<std::string> products{"Apples", "Pears", "Plums", "Kiwis", "Figs", "Dates", "Limes"};
        static const std::vector<std::string> labels{"a", "b", "c", "d", " ", "~N"};
        RandomSales sales;
        const std::size_t regionCount = 1 + pick(regions.size());
        const std::size_t productCount = 1 + pick(products.size());
        for (std::size_t row = 0; row < rows; ++row) {
            sales.region.push_back(regions[pick(regionCount)]);
            sales.product.push_back(products[pick(productCount)]);
            sales.year.push_back(pick(12) == 0 ? NaN : 2018.0 + static_cast<double>(pick(5)));
            // Quarters add exactly in any order, so every summation order gives the same sum.
            double value = static_cast<double>(static_cast<int>(pick(81)) - 40) / 4.0;
            switch (pick(10)) {
                case 0:
                    value = NaN;
                    break;
                case 1:
                    value = DataTokens::SPARSE_NUMERIC;
                    break;
                case 2:
                    value = DataTokens::SUPPRESSED_NUMERIC;
                    break;
                default:
                    break;
            }
            sales.value.push_back(value);
            sales.label.push_back(labels[pick(labels.size())]);
            const double weight = 1.0 + static_cast<double>(pick(3));
            sales.frequency.push_back(weight);
            sales.frequencyWithMissing.push_back(weight + static_cast<double>(pick(2)));
        }
        return sales;
    }

    std::shared_ptr<DataSet> makeDataSet() const {
        return DataSetMaker()
            .strings("Region", region)
            .strings("Product", product)
            .numbers("Year", year)
            .numbers("Value", value, StatisticType::SUM)
            .numbers("ValueDistinct", value, StatisticType::COUNT_DISTINCT)
            .strings("Label", label, StatisticType::COUNT_DISTINCT)
            .numbers("Frequency", frequency)
            .numbers("FrequencyWithMissing", frequencyWithMissing)
            .make("sales");
    }
};

/// The crosstab of a RandomSales data set: Region > Product by Year over Value, ValueDistinct and Label.
inline std::shared_ptr<HierarchyDataSet> salesCrosstab(const std::shared_ptr<DataSet>& dataSet, bool isCrosstab = false,
                                                       bool weighted = false) {
    const auto level = [&](std::string_view name) { return Level::createForColumn(*dataSet->getColumnWithName(name)); };
    auto rows = Hierarchy::create(text("Rows"), text("Rows"), {level("Region"), level("Product")});
    auto columns = Hierarchy::create(text("Years"), text("Years"), {level("Year")});
    auto crosstab = HierarchyDataSet::create({rows, columns}, {text("Value"), text("ValueDistinct"), text("Label")});
    if (weighted) {
        crosstab->setFrequencyColumnNames(text("Frequency"), text("FrequencyWithMissing"));
    }
    crosstab->setCrosstabDataSet(isCrosstab);
    crosstab->setDataSet(dataSet);
    return crosstab;
}

}  // namespace pellium::test

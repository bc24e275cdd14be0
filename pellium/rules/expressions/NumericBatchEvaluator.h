#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "pellium/Export.h"

namespace pellium {

class Column;
class DataSet;
class Expression;

/// Evaluates a calculated item over many rows of a data set at once, for hosts that fill a whole
/// column of a table (Margin = (Sales - Cost) / Sales * 100) rather than asking row by row.
///
/// The tree is compiled once: arithmetic of two operands (+ - * /), negation, number constants
/// and number columns become loops over blocks of rows reading the columns' arrays directly; any
/// other part (functions, texts, conditions) is evaluated row by row through a
/// DataSetExpressionContext and joins the loops as a block of values. Every value equals
/// Expression::evaluateAsNumber on that row, missing and suppressed values included.
///
/// The expression and data set must not change after create. evaluate may be called from several
/// threads at once; each call allocates its working blocks once.
class PELLIUM_EXPORT NumericBatchEvaluator {
public:
    /// Null for a null expression or data set.
    static std::shared_ptr<NumericBatchEvaluator> create(std::shared_ptr<const Expression> expression,
                                                         std::shared_ptr<const DataSet> dataSet);

    /// Writes the values of rows [begin, end) to `values` (end - begin of them). False, writing
    /// nothing, when the range is empty or not within the data set's rows.
    bool evaluate(std::int32_t begin, std::int32_t end, double* values) const;
    /// The values of rows [begin, end); empty when evaluate would answer false.
    std::vector<double> evaluate(std::int32_t begin, std::int32_t end) const;

    /// Whether every part of the tree runs as loops over blocks (no part row by row).
    bool isFullyVectorized() const;

    ~NumericBatchEvaluator();

private:
    struct Step;
    class Run;

    NumericBatchEvaluator(std::shared_ptr<const Expression> expression, std::shared_ptr<const DataSet> dataSet);
    /// Appends the steps of `node` and answers the position of its own.
    std::size_t compile(const Expression& node);
    /// The first column named `name`, as the row context finds it; null when none is.
    std::shared_ptr<Column> findColumn(std::string_view name) const;

    std::shared_ptr<const Expression> expression_;
    std::shared_ptr<const DataSet> dataSet_;
    std::vector<Step> steps_;  // operands before the steps that use them; the last is the root
};

}  // namespace pellium

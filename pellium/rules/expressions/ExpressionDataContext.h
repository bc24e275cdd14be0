#pragma once

#include <cstdint>
#include <string_view>

#include "pellium/Export.h"
#include "pellium/rules/expressions/DataTypeExt.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

/// What an expression is evaluated against: the values of the data items in the current row or
/// cell, and the tolerance of numeric comparisons (0 compares exactly). Subclasses hold a data set
/// row, a map of values or a crosstab cell.
///
/// Data items are found by name once and then read by position, so that evaluating a tree over
/// many rows does no name look-up per row: a subclass fixes the position of every item for its
/// whole lifetime, and each context has a serial number of its own under which nodes remember
/// the positions they found. Reads at a position the context does not have answer NaN or null.
class PELLIUM_EXPORT ExpressionDataContext {
public:
    static constexpr int NO_ITEM = -1;

    virtual ~ExpressionDataContext();

    /// The position of the data item named `name` (compared exactly); NO_ITEM when there is none.
    virtual int findDataItem(std::string_view name) const = 0;
    /// NUMERIC or CHARACTER for an item; UNKNOWN for NO_ITEM or a position out of range.
    virtual DataTypeExt::type getDataItemType(int item) const = 0;
    /// The item's number in the current row; NaN for a text item or a position out of range.
    virtual double getNumber(int item) const = 0;
    /// The item's text in the current row (a number's shortest decimal text); null for a
    /// position out of range.
    virtual SharedString getString(int item) const = 0;

    double getTolerance() const { return tolerance_; }
    void setTolerance(double tolerance) { tolerance_ = tolerance; }

    /// Unique among all contexts made in this process (copies get new numbers).
    std::uint64_t getSerialNumber() const { return serialNumber_; }

protected:
    ExpressionDataContext();
    ExpressionDataContext(const ExpressionDataContext& other);
    ExpressionDataContext& operator=(const ExpressionDataContext& other);

private:
    std::uint64_t serialNumber_;
    double tolerance_ = 0;
};

}  // namespace pellium

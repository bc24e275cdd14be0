#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/rules/expressions/Expression.h"
#include "pellium/rules/expressions/FunctionExpressionType.h"

namespace pellium {

/// A call of one of the 119 functions: UpCase(Region), Round(Sales / 3, 0.01), MDY(1, 31, 2024).
/// Plus, Minus, Times and Divide of two operands are written infix (a + b, a - b, a * b, a / b)
/// and Negate prefix (-a); every other call is written Word(operand, ...).
///
/// Each function has an arity and operand kinds (number, text, boolean, keyword), checked by the
/// validity tests. Arithmetic with a missing operand gives NaN, with a suppressed operand the
/// suppressed value; division by zero, a logarithm of a non-positive number and any other result
/// that is not a finite number give NaN. Text positions count characters from 1 (TextFunctions).
/// Dates are day counts and times second counts since 1 January 1960.
///
/// Functions that need an aggregation, period, hierarchy or table context (Aggregate, the Period
/// family, Drill, Expand, the sorts, GroupBy, Table...) are read, checked and printed, but
/// evaluated against a row they answer false, NaN or a null text.
class PELLIUM_EXPORT FunctionExpression final : public Expression {
public:
    /// Null for a value that is no function.
    static std::shared_ptr<FunctionExpression> create(FunctionExpressionType::type function,
                                                      ExpressionList operands = {});

    FunctionExpressionType::type getFunctionType() const { return function_; }

    /// The fewest and most operands `function` takes (most is -1 when unbounded).
    static int getMinimumNumberOfOperands(FunctionExpressionType::type function);
    static int getMaximumNumberOfOperands(FunctionExpressionType::type function);
    /// Whether `function` needs an aggregation or table context and so answers missing per row.
    static bool needsAggregationContext(FunctionExpressionType::type function);

    int getWrapperTypeId() const override;
    /// The function's result type (BOOLEAN, NUMERIC, CHARACTER, DATE, TIME, DATETIME, TABLE);
    /// for Cast, the type its keyword names.
    DataTypeExt::type getDataType() const override;
    /// Whether every operand is constant and the function gives the same answer every time.
    bool isConstant() const override;
    bool isLeaf() const override;
    bool isValidForContext(const ExpressionDataContext& context) const override;
    std::shared_ptr<Expression> clone() const override;
    bool isBooleanExpression() const override;
    bool isNumericExpression() const override;
    bool isCharacterExpression() const override;
    bool evaluateAsBoolean(const ExpressionDataContext& context) const override;
    double evaluateAsNumber(const ExpressionDataContext& context) const override;
    /// A text function's text; a number function's shortest decimal text (null when missing).
    SharedString evaluateAsString(const ExpressionDataContext& context) const override;
    /// The where clause of a comparison, range, membership, missing test, AND, OR or NOT (see
    /// WhereClauseConversion); null for every other function.
    std::shared_ptr<AbstractWhereClauseExpression> asWhereExpression(
        const std::shared_ptr<const DataSet>& dataSet, const std::shared_ptr<const Hierarchies>& hierarchies,
        const std::shared_ptr<const MetadataProvider>& provider) const override;
    void resolveParameters(const ParameterValues& dataItemMap, ExpressionList& expressions) override;
    void printToStream(std::ostream& stream, const ExpressionDescriptionContext& context) const override;
    std::string_view getTokenName() const override;
    void printTemplateArgumentWithIndex(std::ostream& stream, const ExpressionDescriptionContext& context,
                                        int index) const override;
    int getPrintPrecedence() const override;

protected:
    bool validateStructure() const override;
    bool validateTypeAgreement() const override;
    bool hasEqualAttributes(const Expression& other) const override;

private:
    explicit FunctionExpression(FunctionExpressionType::type function) : function_(function) {}
    FunctionExpression(const FunctionExpression&) = default;

    bool isInfix() const;
    bool isPrefix() const;
    double evaluateArithmetic(const ExpressionDataContext& context) const;
    double evaluateDateAndTime(const ExpressionDataContext& context) const;
    double evaluateNumberOfText(const ExpressionDataContext& context) const;
    std::string evaluateText(const ExpressionDataContext& context, bool& isMissing) const;
    bool evaluateTextTest(const ExpressionDataContext& context) const;
    double number(std::size_t index, const ExpressionDataContext& context) const;
    std::string text(std::size_t index, const ExpressionDataContext& context) const;
    bool isOperandKeyword(std::size_t index, int keyword) const;

    FunctionExpressionType::type function_;
};

}  // namespace pellium

#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "pellium/Export.h"

namespace pellium {

class Expression;

/// Where and why a text is not an expression: the byte offset, line and column (both from 1) at
/// which reading stopped, and a message for people ("a closing parenthesis ')' is expected").
struct PELLIUM_EXPORT ExpressionParseError {
    std::size_t offset = 0;
    std::size_t line = 1;
    std::size_t column = 1;
    std::string message;

    /// "line 1, column 7: " and the message.
    std::string describe() const;
};

/// Reads expression text, the form in which report definitions and hosts write calculated items,
/// display rules and filters, into expression trees (Expression::printToStream writes the same
/// form back). The syntax:
///
/// - numbers 12, -3.5, 1e+21, Infinity; "." is the missing number; texts in single quotes with a
///   quote doubled ('O''Brien');
/// - data items by bare name (Sales, Unit_Price, non-ASCII letters allowed) or in braces when the
///   name is not a plain word, starts with a digit or is reserved ({Unit Price}, {a}}b} for "a}b");
///   condition variables with a dollar sign ($HighSales, ${High Sales});
/// - arithmetic + - * / and a leading -; comparisons = ≠ <> != > ≥ >= < ≤ <=; NOT, AND, OR, in
///   this order of decreasing precedence, with parentheses to group;
/// - function calls by word, lower-camel name or F_ name, in any letter case: UpCase(Region),
///   upper(Region), Substring(Name, 1, 3); Select(When(c, v), ..., Otherwise(v));
///   In(x, [1, 2]); BetweenInclusive(x, 1, 9); Missing(x); Equal(a, b, LeadingAndTrailing)
///   compares trimmed texts;
/// - keywords by word or KW_ name (True, False, Sum, ByYear, NUMBER...); lists in square brackets
///   hold constants ([1, 2.5, .]) or data items ([Region, {Product Line}]).
///
/// Nesting is limited (MAXIMUM_NESTING_DEPTH parentheses, calls, lists and prefix operators, and
/// MAXIMUM_TREE_DEPTH levels in the tree built), so that hostile text cannot exhaust the stack;
/// exceeding a limit is reported as an error like any other. Nothing throws.
class PELLIUM_EXPORT ExpressionUtil {
public:
    static constexpr std::size_t MAXIMUM_NESTING_DEPTH = 100;
    static constexpr std::size_t MAXIMUM_TREE_DEPTH = 1000;

    ExpressionUtil() = delete;

    /// The tree `text` describes; null, with `error` set, when the text is not an expression.
    static std::shared_ptr<Expression> createExpressionTree(std::string_view text, ExpressionParseError& error);
    /// The tree `text` describes; null when the text is not an expression.
    static std::shared_ptr<Expression> createExpression(std::string_view text);
};

}  // namespace pellium

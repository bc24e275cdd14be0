#include "pellium/util/expressions/ExpressionUtil.h"

#include <limits>
#include <optional>
#include <tao/pegtl.hpp>
#include <tao/pegtl/contrib/parse_tree.hpp>

#include "pellium/rules/expressions/BetweenExpression.h"
#include "pellium/rules/expressions/BinaryRelationalExpression.h"
#include "pellium/rules/expressions/CompoundBooleanExpression.h"
#include "pellium/rules/expressions/CompoundConstantExpression.h"
#include "pellium/rules/expressions/ConstantNumberExpression.h"
#include "pellium/rules/expressions/ConstantTextExpression.h"
#include "pellium/rules/expressions/DataItemExpression.h"
#include "pellium/rules/expressions/ExpressionConditionVariable.h"
#include "pellium/rules/expressions/ExpressionTokens.h"
#include "pellium/rules/expressions/FunctionExpression.h"
#include "pellium/rules/expressions/InExpression.h"
#include "pellium/rules/expressions/IsMissingExpression.h"
#include "pellium/rules/expressions/KeywordExpression.h"
#include "pellium/rules/expressions/NegatedExpression.h"
#include "pellium/rules/expressions/SelectWhenExpression.h"
#include "pellium/rules/expressions/VariableListExpression.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

namespace {

namespace pegtl = tao::pegtl;

// The nesting depth of the text being read, checked by `nested`. Parsing is synchronous, so a
// per-thread counter serves every parse on a thread.
thread_local std::size_t nestingDepth = 0;

constexpr const char* NESTING_MESSAGE = "the expression is nested too deeply";

namespace grammar {

using namespace tao::pegtl;

// Matches Rule one nesting level deeper; reading stops with an error beyond the limit, before
// the recursion of the grammar can exhaust the stack.
template <typename Rule>
struct nested {
    using rule_t = nested;
    using subs_t = type_list<Rule>;

    template <apply_mode A, rewind_mode M, template <typename...> class Action, template <typename...> class Control,
              typename ParseInput, typename... States>
    static bool match(ParseInput& in, States&&... states) {
        if (nestingDepth >= ExpressionUtil::MAXIMUM_NESTING_DEPTH) {
            throw parse_error(NESTING_MESSAGE, in);
        }
        ++nestingDepth;
        struct Leave {
            ~Leave() { --nestingDepth; }
        } leave;
        return Control<Rule>::template match<A, M, Action, Control>(in, states...);
    }
};

// Matches the steps of a left-associative chain (an operator and its operand) as star does. Each
// step puts the tree one level deeper, so a chain longer than the tree depth limit is refused when
// its next operator is met, before the parse tree grows with the rest of the text.
template <typename Operator, typename... Operand>
struct chain {
    using rule_t = chain;
    using subs_t = type_list<seq<Operator, Operand...>>;

    template <apply_mode A, rewind_mode M, template <typename...> class Action, template <typename...> class Control,
              typename ParseInput, typename... States>
    static bool match(ParseInput& in, States&&... states) {
        using Step = seq<Operator, Operand...>;
        for (std::size_t steps = 0;; ++steps) {
            if (steps == ExpressionUtil::MAXIMUM_TREE_DEPTH &&
                Control<at<Operator>>::template match<A, rewind_mode::required, Action, Control>(in, states...)) {
                throw parse_error(NESTING_MESSAGE, in);
            }
            if (!Control<Step>::template match<A, rewind_mode::required, Action, Control>(in, states...)) {
                return true;
            }
        }
    }
};

struct blank : star<space> {};
struct non_ascii_letter : utf8::range<0x80, 0x10FFFF> {};
struct identifier_first : sor<ranges<'a', 'z', 'A', 'Z', '_'>, non_ascii_letter> {};
struct identifier_other : sor<ranges<'a', 'z', 'A', 'Z', '0', '9', '_'>, non_ascii_letter> {};
struct identifier : seq<identifier_first, star<identifier_other>> {};
template <char... Letters>
struct word : seq<istring<Letters...>, not_at<identifier_other>> {};
struct and_word : word<'a', 'n', 'd'> {};
struct or_word : word<'o', 'r'> {};
struct not_word : word<'n', 'o', 't'> {};

struct expression;
struct unary;
struct not_expression;

struct digits : plus<digit> {};
struct exponent : seq<one<'e', 'E'>, opt<one<'+', '-'>>, digits> {};
struct unsigned_number : seq<sor<seq<digits, opt<one<'.'>, star<digit>>>, seq<one<'.'>, digits>>, opt<exponent>> {};
struct number : seq<opt<one<'+', '-'>>, sor<unsigned_number, word<'i', 'n', 'f', 'i', 'n', 'i', 't', 'y'>>> {};
struct missing_number : seq<one<'.'>, not_at<digit>> {};

struct quote : one<'\''> {};
struct text_content : star<sor<two<'\''>, not_one<'\''>>> {};
struct text_literal : seq<quote, text_content, must<quote>> {};

struct closing_brace : one<'}'> {};
struct braced_content : star<sor<two<'}'>, not_one<'}'>>> {};
struct braced_name : seq<one<'{'>, braced_content, must<closing_brace>> {};
struct bare_name : seq<not_at<sor<and_word, or_word, not_word>>, identifier> {};
struct condition_variable : seq<one<'$'>, sor<braced_name, bare_name>> {};

struct closing_parenthesis : one<')'> {};
struct closing_bracket : one<']'> {};
struct arguments : list<expression, seq<one<','>, blank>> {};
struct function_name : identifier {};
struct call : seq<function_name, blank, one<'('>, blank, opt<arguments>, must<closing_parenthesis>> {};
struct list_literal : seq<one<'['>, blank, opt<arguments>, must<closing_bracket>> {};
struct parenthesized : seq<one<'('>, blank, expression, must<closing_parenthesis>> {};
struct primary : seq<sor<missing_number, text_literal, parenthesized, list_literal, call, condition_variable,
                         braced_name, bare_name>,
                     blank> {};

struct negation : seq<one<'-'>, blank, nested<unary>> {};
struct unary : sor<seq<number, blank>, negation, primary> {};
struct operand : unary {};
struct multiplicative_operator : one<'*', '/'> {};
struct multiplicative : seq<unary, chain<multiplicative_operator, blank, must<operand>>> {};
struct additive_operand : multiplicative {};
struct additive_operator : one<'+', '-'> {};
struct additive : seq<multiplicative, chain<additive_operator, blank, must<additive_operand>>> {};
struct relational_operator : sor<string<'<', '='>, string<'>', '='>, string<'<', '>'>, string<'!', '='>,
                                 string<'=', '='>, utf8::one<0x2260, 0x2264, 0x2265>, one<'=', '<', '>', '?'>> {};
struct comparison_operand : additive {};
struct comparison : seq<additive, opt<relational_operator, blank, must<comparison_operand>>> {};
struct negated : seq<not_word, blank, nested<not_expression>> {};
struct not_expression : sor<negated, comparison> {};
struct logical_operand : not_expression {};
struct and_expression : seq<not_expression, star<and_word, blank, must<logical_operand>>> {};
struct or_operand : and_expression {};
struct or_expression : seq<and_expression, star<or_word, blank, must<or_operand>>> {};
struct expression : nested<or_expression> {};
struct end_of_text : eof {};
struct whole_text : seq<blank, must<expression>, must<end_of_text>> {};

template <typename Rule>
struct selector
    : parse_tree::selector<
          Rule,
          parse_tree::store_content::on<number, missing_number, text_content, braced_content, bare_name,
                                        condition_variable, function_name, call, list_literal, negation, negated,
                                        multiplicative_operator, additive_operator, relational_operator>,
          // The operand rules after an operator match as the rule they derive from, under a name of
          // their own for the error message; they are kept as nodes, else their children would
          // join the operator's list ("a OR b AND c" would read as three alternatives).
          parse_tree::fold_one::on<or_expression, and_expression, or_operand, comparison, comparison_operand, additive,
                                   additive_operand, multiplicative>> {};

// The message of each point at which reading cannot go on.
template <typename Rule>
constexpr const char* errorMessage = "the text is not an expression";
template <>
constexpr const char* errorMessage<quote> = "the text has no closing quote '";
template <>
constexpr const char* errorMessage<closing_brace> = "the name has no closing brace }";
template <>
constexpr const char* errorMessage<closing_parenthesis> = "a closing parenthesis ) is expected";
template <>
constexpr const char* errorMessage<closing_bracket> = "a closing bracket ] is expected";
template <>
constexpr const char* errorMessage<operand> = "an operand is expected after the operator";
template <>
constexpr const char* errorMessage<additive_operand> = "an operand is expected after the operator";
template <>
constexpr const char* errorMessage<comparison_operand> = "an operand is expected after the comparison";
template <>
constexpr const char* errorMessage<logical_operand> = "an operand is expected after AND";
template <>
constexpr const char* errorMessage<or_operand> = "an operand is expected after OR";
template <>
constexpr const char* errorMessage<expression> = "an expression is expected";
template <>
constexpr const char* errorMessage<end_of_text> = "unexpected text after the expression";

template <typename Rule>
struct control : normal<Rule> {
    template <typename ParseInput, typename... States>
    [[noreturn]] static void raise(const ParseInput& in, States&&...) {
        throw parse_error(errorMessage<Rule>, in);
    }
};

}  // namespace grammar

using Node = pegtl::parse_tree::node;

// Raised while building a tree from the parse tree; turned into an ExpressionParseError.
struct BuildError {
    pegtl::position position;
    std::string message;
};

std::string unescape(std::string_view content, char doubled) {
    std::string text;
    text.reserve(content.size());
    for (std::size_t index = 0; index < content.size(); ++index) {
        text += content[index];
        if (content[index] == doubled && index + 1 < content.size() && content[index + 1] == doubled) {
            ++index;
        }
    }
    return text;
}

// The number of a number token; the word Infinity is read in any letter case.
double readNumber(std::string_view text) {
    const bool isNegative = !text.empty() && text.front() == '-';
    const bool isSigned = !text.empty() && (text.front() == '-' || text.front() == '+');
    const std::string_view magnitude = text.substr(isSigned ? 1 : 0);
    if (!magnitude.empty() && StringUtilities::equalsIgnoreCase(magnitude, "infinity")) {
        return isNegative ? -std::numeric_limits<double>::infinity() : std::numeric_limits<double>::infinity();
    }
    return StringUtilities::createDoubleFromString(text);
}

// Turns the parse tree into an expression tree, checking function names, arities and lists.
class TreeBuilder {
public:
    std::shared_ptr<Expression> build(const Node& node) {
        if (++depth_ > ExpressionUtil::MAXIMUM_TREE_DEPTH) {
            fail(node, NESTING_MESSAGE);
        }
        auto expression = buildNode(node);
        --depth_;
        return expression;
    }

private:
    [[noreturn]] static void fail(const Node& node, std::string message) {
        throw BuildError{node.begin(), std::move(message)};
    }

    Expression::ExpressionList buildAll(const Node::children_t& children, std::size_t first = 0) {
        Expression::ExpressionList expressions;
        expressions.reserve(children.size());
        for (std::size_t index = first; index < children.size(); ++index) {
            expressions.push_back(build(*children[index]));
        }
        return expressions;
    }

    std::shared_ptr<Expression> buildNode(const Node& node) {
        using namespace grammar;
        if (node.is_type<number>()) {
            return ConstantNumberExpression::create(readNumber(node.string_view()));
        }
        if (node.is_type<missing_number>()) {
            return ConstantNumberExpression::create(std::numeric_limits<double>::quiet_NaN());
        }
        if (node.is_type<text_content>()) {
            return ConstantTextExpression::create(unescape(node.string_view(), '\''));
        }
        if (node.is_type<braced_content>()) {
            return DataItemExpression::create(StringUtilities::internString(unescape(node.string_view(), '}')));
        }
        if (node.is_type<bare_name>()) {
            if (const auto keyword = ExpressionTokens::findKeyword(node.string_view())) {
                return KeywordExpression::create(*keyword);
            }
            return DataItemExpression::create(StringUtilities::internString(node.string_view()));
        }
        if (node.is_type<condition_variable>()) {
            const Node& name = *node.children.front();
            const std::string text =
                name.is_type<braced_content>() ? unescape(name.string_view(), '}') : std::string(name.string_view());
            return ExpressionConditionVariable::create(StringUtilities::internString(text));
        }
        if (node.is_type<negation>()) {
            return FunctionExpression::create(FunctionExpressionType::F_NEG, buildAll(node.children));
        }
        if (node.is_type<negated>()) {
            return NegatedExpression::create(build(*node.children.front()));
        }
        if (node.is_type<or_expression>() || node.is_type<and_expression>() || node.is_type<or_operand>()) {
            const int op = node.is_type<or_expression>() ? CompoundBooleanExpression::OR_OPERATOR
                                                         : CompoundBooleanExpression::AND_OPERATOR;
            return CompoundBooleanExpression::create(op, buildAll(node.children));
        }
        if (node.is_type<comparison>()) {
            const auto op = BinaryRelationalOperator::getValueFromSymbol(node.children[1]->string_view());
            return BinaryRelationalExpression::create(op.value_or(BinaryRelationalOperator::NONE),
                                                      build(*node.children[0]), build(*node.children[2]));
        }
        if (node.is_type<additive>() || node.is_type<multiplicative>() || node.is_type<comparison_operand>() ||
            node.is_type<additive_operand>()) {
            return buildLeftAssociative(node);
        }
        if (node.is_type<list_literal>()) {
            return buildList(node);
        }
        if (node.is_type<call>()) {
            return buildCall(node);
        }
        fail(node, "the text is not an expression");
    }

    // a - b + c is (a - b) + c.
    std::shared_ptr<Expression> buildLeftAssociative(const Node& node) {
        std::shared_ptr<Expression> result = build(*node.children[0]);
        const std::size_t depthBefore = depth_;
        for (std::size_t index = 1; index + 1 < node.children.size(); index += 2) {
            FunctionExpressionType::type function = FunctionExpressionType::F_PLUS;
            switch (node.children[index]->string_view().front()) {
                case '-':
                    function = FunctionExpressionType::F_MINUS;
                    break;
                case '*':
                    function = FunctionExpressionType::F_TIMES;
                    break;
                case '/':
                    function = FunctionExpressionType::F_DIV;
                    break;
                default:
                    break;
            }
            // Each step puts the tree built so far one level deeper.
            if (++depth_ > ExpressionUtil::MAXIMUM_TREE_DEPTH) {
                fail(*node.children[index], NESTING_MESSAGE);
            }
            result = FunctionExpression::create(function, {std::move(result), build(*node.children[index + 1])});
        }
        depth_ = depthBefore;
        return result;
    }

    std::shared_ptr<Expression> buildList(const Node& node) {
        Expression::ExpressionList elements = buildAll(node.children);
        bool allConstants = true;
        bool allDataItems = true;
        for (const auto& element : elements) {
            const int type = element->getWrapperTypeId();
            allConstants = allConstants && (type == WrapperTypeIds::CONSTANT_NUMBER_EXPRESSION ||
                                            type == WrapperTypeIds::CONSTANT_TEXT_EXPRESSION);
            allDataItems = allDataItems && type == WrapperTypeIds::DATA_ITEM_EXPRESSION;
        }
        if (allConstants) {
            return CompoundConstantExpression::create(std::move(elements));
        }
        if (allDataItems) {
            return VariableListExpression::create(std::move(elements));
        }
        fail(node, "a list holds either numbers and texts or data items");
    }

    std::shared_ptr<Expression> buildCall(const Node& node) {
        using F = FunctionExpressionType;
        const Node& name = *node.children.front();
        const auto function = ExpressionTokens::findFunction(name.string_view());
        if (!function) {
            fail(name, "unknown function " + std::string(name.string_view()));
        }
        const std::size_t count = node.children.size() - 1;
        checkArity(name, *function, count);
        if (*function == F::F_SELECT) {
            return buildSelect(node);
        }
        Expression::ExpressionList arguments = buildAll(node.children, 1);
        if (F::isComparison(*function)) {
            return buildComparison(name, *function, arguments);
        }
        if (F::isRange(*function)) {
            return BetweenExpression::create(std::move(arguments[0]), std::move(arguments[1]), std::move(arguments[2]),
                                             BetweenExpression::includesBoundariesOf(*function),
                                             BetweenExpression::matchesOutsideOf(*function));
        }
        switch (*function) {
            case F::F_IS_MISSING:
            case F::F_NOT_MISSING:
                return IsMissingExpression::create(std::move(arguments[0]), *function == F::F_NOT_MISSING);
            case F::F_IN:
            case F::F_NOT_IN:
                return buildIn(std::move(arguments), *function == F::F_NOT_IN);
            case F::F_AND:
            case F::F_OR:
                return CompoundBooleanExpression::create(*function == F::F_AND ? CompoundBooleanExpression::AND_OPERATOR
                                                                               : CompoundBooleanExpression::OR_OPERATOR,
                                                         std::move(arguments));
            case F::F_NOT:
                return NegatedExpression::create(std::move(arguments[0]));
            default:
                return FunctionExpression::create(*function, std::move(arguments));
        }
    }

    static void checkArity(const Node& name, FunctionExpressionType::type function, std::size_t count) {
        const int minimum = FunctionExpression::getMinimumNumberOfOperands(function);
        const int maximum = FunctionExpression::getMaximumNumberOfOperands(function);
        if (count >= static_cast<std::size_t>(minimum) && (maximum < 0 || count <= static_cast<std::size_t>(maximum))) {
            return;
        }
        std::string message(ExpressionTokens::getWord(function));
        if (maximum < 0) {
            message += " takes at least " + std::to_string(minimum);
        } else if (minimum == maximum) {
            message += " takes " + std::to_string(minimum);
        } else {
            message += " takes " + std::to_string(minimum) + " to " + std::to_string(maximum);
        }
        fail(name, message + (maximum == 1 ? " operand" : " operands"));
    }

    static std::shared_ptr<Expression> buildComparison(const Node& name, FunctionExpressionType::type function,
                                                       Expression::ExpressionList& arguments) {
        bool trims = false;
        if (arguments.size() == 3) {
            const auto* keyword = dynamic_cast<const KeywordExpression*>(arguments[2].get());
            if (!keyword || keyword->getKeyword() != ExpressionKeywords::KW_LEADING_AND_TRAILING) {
                fail(name, "the third operand of a comparison can only be " +
                               std::string(ExpressionTokens::getWord(ExpressionKeywords::KW_LEADING_AND_TRAILING)));
            }
            trims = true;
        }
        // The comparison functions are numbered as the operators.
        return BinaryRelationalExpression::create(static_cast<BinaryRelationalOperator::type>(function),
                                                  std::move(arguments[0]), std::move(arguments[1]), trims);
    }

    static std::shared_ptr<Expression> buildIn(Expression::ExpressionList arguments, bool isInverted) {
        Expression::ExpressionList members;
        for (std::size_t index = 1; index < arguments.size(); ++index) {
            const int type = arguments[index]->getWrapperTypeId();
            if (type == WrapperTypeIds::COMPOUND_CONSTANT_EXPRESSION ||
                type == WrapperTypeIds::VARIABLE_LIST_EXPRESSION) {
                const auto& listed = arguments[index]->getOperands();
                members.insert(members.end(), listed.begin(), listed.end());
            } else {
                members.push_back(std::move(arguments[index]));
            }
        }
        return InExpression::create(std::move(arguments[0]), std::move(members), isInverted);
    }

    std::shared_ptr<Expression> buildSelect(const Node& node) {
        using F = FunctionExpressionType;
        Expression::ExpressionList branches;
        std::shared_ptr<Expression> otherwise;
        for (std::size_t index = 1; index < node.children.size(); ++index) {
            const Node& argument = *node.children[index];
            const auto function = argument.is_type<grammar::call>()
                                      ? ExpressionTokens::findFunction(argument.children.front()->string_view())
                                      : std::nullopt;
            const bool isLast = index + 1 == node.children.size();
            if (function == F::F_WHEN && argument.children.size() == 3) {
                branches.push_back(build(*argument.children[1]));
                branches.push_back(build(*argument.children[2]));
            } else if (function == F::F_OTHERWISE && argument.children.size() == 2 && isLast) {
                otherwise = build(*argument.children[1]);
            } else {
                fail(argument, "Select takes When(condition, value) operands and an Otherwise(value) last");
            }
        }
        if (branches.empty()) {
            fail(node, "Select takes at least one When(condition, value)");
        }
        return SelectWhenExpression::create(std::move(branches), std::move(otherwise));
    }

    std::size_t depth_ = 0;
};

}  // namespace

std::string ExpressionParseError::describe() const {
    return "line " + std::to_string(line) + ", column " + std::to_string(column) + ": " + message;
}

std::shared_ptr<Expression> ExpressionUtil::createExpressionTree(std::string_view text, ExpressionParseError& error) {
    const auto setError = [&](const pegtl::position& position, std::string_view message) {
        error.offset = position.byte;
        error.line = position.line;
        error.column = position.column;
        error.message = std::string(message);
    };
    nestingDepth = 0;
    try {
        pegtl::memory_input input(text.data(), text.size(), "expression");
        const auto root =
            pegtl::parse_tree::parse<grammar::whole_text, grammar::selector, pegtl::nothing, grammar::control>(input);
        if (!root || root->children.empty()) {
            setError(input.position(), "an expression is expected");
            return nullptr;
        }
        return TreeBuilder().build(*root->children.front());
    } catch (const pegtl::parse_error& failure) {
        setError(failure.positions().front(), failure.message());
    } catch (const BuildError& failure) {
        setError(failure.position, failure.message);
    } catch (const std::bad_alloc&) {
        error = ExpressionParseError{0, 1, 1, "the expression is too large"};
    }
    return nullptr;
}

std::shared_ptr<Expression> ExpressionUtil::createExpression(std::string_view text) {
    ExpressionParseError error;
    return createExpressionTree(text, error);
}

}  // namespace pellium

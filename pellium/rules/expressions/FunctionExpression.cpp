#include "pellium/rules/expressions/FunctionExpression.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <ostream>

#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/rules/expressions/BetweenExpression.h"
#include "pellium/rules/expressions/BinaryRelationalExpression.h"
#include "pellium/rules/expressions/CompoundBooleanExpression.h"
#include "pellium/rules/expressions/ExpressionComparisons.h"
#include "pellium/rules/expressions/ExpressionDataContext.h"
#include "pellium/rules/expressions/ExpressionKeywords.h"
#include "pellium/rules/expressions/ExpressionTokens.h"
#include "pellium/rules/expressions/InExpression.h"
#include "pellium/rules/expressions/IsMissingExpression.h"
#include "pellium/rules/expressions/KeywordExpression.h"
#include "pellium/rules/expressions/TextFunctions.h"
#include "pellium/rules/expressions/WhereClauseConversion.h"
#include "pellium/util/TimeUtilities.h"

namespace pellium {

namespace {

using F = FunctionExpressionType;
using Type = DataTypeExt;

constexpr double MISSING = std::numeric_limits<double>::quiet_NaN();
constexpr int UNBOUNDED = -1;

// What a function takes and gives. `operandKinds` has one letter per operand position, the last
// one repeating for further operands: N number, T text, B boolean, K keyword, A anything.
struct Signature {
    int minimum;
    int maximum;
    DataTypeExt::type result;
    std::string_view operandKinds;
    bool needsAggregationContext;
};

constexpr Signature boolean(int minimum, int maximum, std::string_view kinds, bool needsContext = false) {
    return {minimum, maximum, Type::BOOLEAN, kinds, needsContext};
}
constexpr Signature numeric(int minimum, int maximum, std::string_view kinds, Type::type result = Type::NUMERIC) {
    return {minimum, maximum, result, kinds, false};
}
constexpr Signature text(int minimum, int maximum, std::string_view kinds) {
    return {minimum, maximum, Type::CHARACTER, kinds, false};
}
constexpr Signature contextual(Type::type result) {
    return {0, UNBOUNDED, result, "A", true};
}

// Position i describes the function numbered i; position 0 is unused.
constexpr std::array<Signature, F::NUMBER_OF_FUNCTIONS + 1> SIGNATURES = {{
    {0, 0, Type::UNKNOWN, "", false},
    boolean(2, 3, "AAK"),
    boolean(2, 3, "AAK"),
    boolean(2, 3, "AAK"),  // eq ne gt
    boolean(2, 3, "AAK"),
    boolean(2, 3, "AAK"),
    boolean(2, 3, "AAK"),        // ge lt le
    boolean(1, 1, "A"),          // isMissing
    boolean(1, UNBOUNDED, "A"),  // in
    boolean(2, 2, "TT"),
    boolean(2, 2, "TT"),
    boolean(2, 2, "TT"),  // beginswith endswith contains
    boolean(0, UNBOUNDED, "A", true),
    boolean(0, UNBOUNDED, "A", true),
    boolean(0, UNBOUNDED, "A", true),  // paths
    boolean(0, UNBOUNDED, "A", true),
    boolean(0, UNBOUNDED, "A", true),
    boolean(0, UNBOUNDED, "A", true),
    boolean(0, UNBOUNDED, "A", true),
    boolean(0, UNBOUNDED, "A", true),  // inShortestPath inLongestPath
    boolean(3, 3, "AAA"),              // between
    boolean(0, UNBOUNDED, "B"),
    boolean(0, UNBOUNDED, "B"),  // and or
    boolean(1, 1, "B"),          // not
    text(1, 2, "TK"),
    text(1, 1, "T"),
    text(1, 1, "T"),            // trim upper lower
    contextual(Type::NUMERIC),  // aggregate
    contextual(Type::UNKNOWN),
    contextual(Type::UNKNOWN),
    contextual(Type::UNKNOWN),  // drill expand expandAll
    contextual(Type::UNKNOWN),
    contextual(Type::UNKNOWN),
    contextual(Type::UNKNOWN),  // collapse sortItem sortLevel
    contextual(Type::UNKNOWN),
    contextual(Type::UNKNOWN),  // sortMember measureSortItem
    boolean(1, 1, "A"),
    boolean(1, UNBOUNDED, "A"),
    boolean(2, 2, "TT"),  // notMissing notIn notContains
    boolean(3, 3, "AAA"),
    boolean(3, 3, "AAA"),
    boolean(3, 3, "AAA"),  // the other ranges
    numeric(1, UNBOUNDED, "N"),
    numeric(2, 2, "NN"),
    numeric(1, UNBOUNDED, "N"),  // plus minus times
    numeric(2, 2, "NN"),
    numeric(1, 1, "N"),
    numeric(2, 2, "NN"),  // div neg pow
    numeric(1, 2, "NN"),
    numeric(1, 1, "N"),
    numeric(1, 1, "N"),  // root abs int
    numeric(2, 2, "NN"),
    numeric(1, 1, "N"),
    numeric(1, 1, "N"),  // mod floor ceil
    numeric(1, 2, "NN"),
    numeric(1, 1, "N"),
    numeric(1, 1, "N"),                 // round exp ln
    numeric(1, 2, "NN"),                // log
    numeric(0, 0, "", Type::DATETIME),  // now
    numeric(1, 1, "N", Type::TIME),
    numeric(1, 1, "N", Type::DATE),  // timepart datepart
    numeric(4, 4, "N", Type::DATETIME),
    numeric(3, 3, "N", Type::DATETIME),  // dhms tmdy
    numeric(3, 3, "N", Type::DATE),
    numeric(2, 2, "N", Type::DATE),  // mdy yyq
    numeric(3, 3, "N", Type::TIME),  // hms
    numeric(1, 1, "N"),
    numeric(1, 1, "N"),
    numeric(1, 1, "N"),
    numeric(1, 1, "N"),
    numeric(1, 1, "N"),  // dom..year
    numeric(1, 1, "N"),
    numeric(1, 1, "N"),
    numeric(1, 1, "N"),
    numeric(1, 1, "N"),
    numeric(1, 1, "N"),  // qtr..second
    numeric(3, 3, "BNN"),
    text(3, 3, "BTT"),  // cond condstr
    contextual(Type::NUMERIC),
    contextual(Type::NUMERIC),
    contextual(Type::NUMERIC),  // the periods
    contextual(Type::NUMERIC),
    contextual(Type::NUMERIC),
    contextual(Type::NUMERIC),
    numeric(2, 2, "AK"),  // typecast
    contextual(Type::NUMERIC),
    contextual(Type::NUMERIC),
    contextual(Type::NUMERIC),  // firstValue..percentile
    contextual(Type::NUMERIC),
    contextual(Type::NUMERIC),
    contextual(Type::NUMERIC),  // the percentages
    text(2, 2, "AT"),
    numeric(2, 2, "TT"),  // applyVekFormat applyVekInformat
    text(1, 1, "T"),
    text(1, 1, "T"),          // urlEncode urlDecode
    text(0, UNBOUNDED, "A"),  // concatenate
    numeric(2, 3, "TTN"),
    text(3, 3, "TTT"),
    numeric(2, 3, "TTN"),  // find findAndReplace findCharacter
    text(2, 3, "TNT"),
    numeric(1, 1, "T"),
    text(2, 2, "TT"),  // getWord length removeCharacters
    text(1, 1, "T"),
    text(2, 3, "TNT"),
    text(4, 4, "TNNT"),  // removeWhitespace removeWord replaceAt
    text(3, 4, "TNTT"),
    text(1, 1, "T"),
    text(2, 3, "TNN"),  // replaceWord reverse substring
    contextual(Type::UNKNOWN),
    contextual(Type::NUMERIC),
    contextual(Type::NUMERIC),  // suppress cellIndex aggr.
    contextual(Type::TABLE),
    contextual(Type::TABLE),
    contextual(Type::TABLE),  // addGroups removeGroups groupBy
    contextual(Type::NUMERIC),
    contextual(Type::TABLE),
    contextual(Type::NUMERIC),  // nested table innerTable
    contextual(Type::UNKNOWN),
    contextual(Type::UNKNOWN),
    contextual(Type::UNKNOWN),  // select when otherwise
}};

// Spot checks that the table has one entry per function in order, as a short initializer list
// would otherwise fill the tail silently.
static_assert(SIGNATURES[F::F_BETWEEN].operandKinds == "AAA" && SIGNATURES[F::F_NOT].maximum == 1);
static_assert(SIGNATURES[F::F_PLUS].operandKinds == "N" && SIGNATURES[F::F_NOW].result == Type::DATETIME);
static_assert(SIGNATURES[F::F_COND].operandKinds == "BNN" && SIGNATURES[F::F_TYPECAST].operandKinds == "AK");
static_assert(SIGNATURES[F::F_APPLY_VEK_FORMAT].operandKinds == "AT" && SIGNATURES[F::F_LENGTH].operandKinds == "T");
static_assert(SIGNATURES[F::F_SUBSTRING].operandKinds == "TNN" && SIGNATURES[F::F_OTHERWISE].needsAggregationContext);

const Signature& signatureOf(F::type function) {
    return SIGNATURES[F::isValid(function) ? static_cast<std::size_t>(function) : 0];
}

bool operandHasKind(const Expression& operand, char kind) {
    switch (kind) {
        case 'N':
            return !operand.isKeyword() && (operand.isNumericExpression() || operand.getDataType() == Type::UNKNOWN);
        case 'T':
            return !operand.isKeyword() && (operand.isCharacterExpression() || operand.getDataType() == Type::UNKNOWN);
        case 'B':
            return operand.isBooleanExpression();
        case 'K':
            return operand.isKeyword();
        default:
            return true;
    }
}

// Integers read from numbers: truncated and clamped far inside the 64-bit range, so that the
// sums the text functions form cannot overflow. False for a missing number.
constexpr double LARGEST_EXACT_INTEGER = 9007199254740992.0;

bool toInteger(double number, std::int64_t& integer) {
    if (!std::isfinite(number) || number == ExpressionComparisons::LOWEST) {
        return false;
    }
    integer = static_cast<std::int64_t>(std::clamp(std::trunc(number), -LARGEST_EXACT_INTEGER, LARGEST_EXACT_INTEGER));
    return true;
}

bool toInt(double number, int& integer) {
    std::int64_t wide = 0;
    if (!toInteger(number, wide) || wide < std::numeric_limits<int>::min() || wide > std::numeric_limits<int>::max()) {
        return false;
    }
    integer = static_cast<int>(wide);
    return true;
}

// A result that is not a finite number is missing.
double finite(double number) {
    return std::isfinite(number) ? number : MISSING;
}

// A calendar field where -1 means that the day number has no date.
double field(int value) {
    return value < 0 ? MISSING : value;
}

SharedString textOf(std::string&& text) {
    return std::make_shared<const std::string>(std::move(text));
}

}  // namespace

std::shared_ptr<FunctionExpression> FunctionExpression::create(FunctionExpressionType::type function,
                                                               ExpressionList operands) {
    if (!F::isValid(function)) {
        return nullptr;
    }
    auto node = std::shared_ptr<FunctionExpression>(new FunctionExpression(function));
    node->operands_ = std::move(operands);
    return node;
}

int FunctionExpression::getMinimumNumberOfOperands(FunctionExpressionType::type function) {
    return signatureOf(function).minimum;
}

int FunctionExpression::getMaximumNumberOfOperands(FunctionExpressionType::type function) {
    return signatureOf(function).maximum;
}

bool FunctionExpression::needsAggregationContext(FunctionExpressionType::type function) {
    return signatureOf(function).needsAggregationContext;
}

int FunctionExpression::getWrapperTypeId() const {
    return WrapperTypeIds::FUNCTION_EXPRESSION;
}

DataTypeExt::type FunctionExpression::getDataType() const {
    if (function_ == F::F_TYPECAST && operands_.size() == 2 && operands_[1] && operands_[1]->isKeyword()) {
        switch (static_cast<const KeywordExpression&>(*operands_[1]).getKeyword()) {
            case ExpressionKeywords::KW_DATE:
                return Type::DATE;
            case ExpressionKeywords::KW_TIME:
                return Type::TIME;
            case ExpressionKeywords::KW_DATETIME:
                return Type::DATETIME;
            default:
                return Type::NUMERIC;
        }
    }
    return signatureOf(function_).result;
}

bool FunctionExpression::isConstant() const {
    if (function_ == F::F_NOW || needsAggregationContext(function_)) {
        return false;
    }
    for (const auto& operand : operands_) {
        if (!operand || !operand->isConstant()) {
            return false;
        }
    }
    return true;
}

bool FunctionExpression::isLeaf() const {
    return false;
}

bool FunctionExpression::isValidForContext(const ExpressionDataContext& context) const {
    return Expression::isValidForContext(context);
}

std::shared_ptr<Expression> FunctionExpression::clone() const {
    return std::shared_ptr<FunctionExpression>(new FunctionExpression(*this));
}

bool FunctionExpression::isBooleanExpression() const {
    return getDataType() == Type::BOOLEAN;
}

bool FunctionExpression::isNumericExpression() const {
    return Type::isNumber(getDataType());
}

bool FunctionExpression::isCharacterExpression() const {
    return getDataType() == Type::CHARACTER;
}

double FunctionExpression::number(std::size_t index, const ExpressionDataContext& context) const {
    return operands_[index]->evaluateAsNumber(context);
}

std::string FunctionExpression::text(std::size_t index, const ExpressionDataContext& context) const {
    const Expression& operand = *operands_[index];
    const Type::type type = operand.getDataTypeInContext(context);
    if (type == Type::CHARACTER ||
        (type == Type::UNKNOWN && operand.isCharacterExpression() && !operand.isNumericExpression())) {
        const SharedString value = operand.evaluateAsString(context);
        return value ? *value : std::string();
    }
    const double value = operand.evaluateAsNumber(context);
    return ExpressionComparisons::isMissing(value) ? std::string() : StringUtilities::createStringFromDouble(value);
}

bool FunctionExpression::isOperandKeyword(std::size_t index, int keyword) const {
    return index < operands_.size() && operands_[index] && operands_[index]->isKeyword() &&
           static_cast<const KeywordExpression&>(*operands_[index]).getKeyword() == keyword;
}

bool FunctionExpression::evaluateAsBoolean(const ExpressionDataContext& context) const {
    if (!hasValidTypeAgreement()) {
        return false;
    }
    if (F::isComparison(function_)) {
        // The comparison functions are numbered as the operators.
        return BinaryRelationalExpression::compare(static_cast<BinaryRelationalOperator::type>(function_),
                                                   operands_[0].get(), operands_[1].get(), context,
                                                   isOperandKeyword(2, ExpressionKeywords::KW_LEADING_AND_TRAILING));
    }
    if (F::isRange(function_)) {
        return BetweenExpression::test(operands_[0].get(), operands_[1].get(), operands_[2].get(), context,
                                       BetweenExpression::includesBoundariesOf(function_),
                                       BetweenExpression::matchesOutsideOf(function_));
    }
    switch (function_) {
        case F::F_IS_MISSING:
            return IsMissingExpression::test(operands_[0].get(), context, false);
        case F::F_NOT_MISSING:
            return IsMissingExpression::test(operands_[0].get(), context, true);
        case F::F_IN:
            return InExpression::test(operands_, context, false);
        case F::F_NOT_IN:
            return InExpression::test(operands_, context, true);
        case F::F_AND:
            return CompoundBooleanExpression::combine(true, operands_, context);
        case F::F_OR:
            return CompoundBooleanExpression::combine(false, operands_, context);
        case F::F_NOT:
            return !operands_[0]->evaluateAsBoolean(context);
        case F::F_BEGINSWITH:
        case F::F_ENDSWITH:
        case F::F_CONTAINS:
        case F::F_NOT_CONTAINS:
            return evaluateTextTest(context);
        default:
            return false;
    }
}

bool FunctionExpression::evaluateTextTest(const ExpressionDataContext& context) const {
    const SharedString haystack = operands_[0]->evaluateAsString(context);
    const std::string needle = text(1, context);
    const bool isMissing = StringUtilities::isStringMissing(haystack);
    switch (function_) {
        case F::F_BEGINSWITH:
            return !isMissing && haystack->starts_with(needle);
        case F::F_ENDSWITH:
            return !isMissing && haystack->ends_with(needle);
        case F::F_CONTAINS:
            return !isMissing && haystack->find(needle) != std::string::npos;
        default:
            return isMissing || haystack->find(needle) == std::string::npos;
    }
}

double FunctionExpression::evaluateAsNumber(const ExpressionDataContext& context) const {
    if (!hasValidTypeAgreement()) {
        return MISSING;
    }
    switch (function_) {
        case F::F_PLUS:
        case F::F_MINUS:
        case F::F_TIMES:
        case F::F_DIV:
        case F::F_NEG:
        case F::F_POW:
        case F::F_ROOT:
        case F::F_ABS:
        case F::F_INT:
        case F::F_MOD:
        case F::F_FLOOR:
        case F::F_CEIL:
        case F::F_ROUND:
        case F::F_EXP:
        case F::F_LN:
        case F::F_LOG:
            return evaluateArithmetic(context);
        case F::F_NOW:
        case F::F_TIMEPART:
        case F::F_DATEPART:
        case F::F_DHMS:
        case F::F_TMDY:
        case F::F_MDY:
        case F::F_YYQ:
        case F::F_HMS:
        case F::F_DOM:
        case F::F_DOW:
        case F::F_DOY:
        case F::F_MONTH:
        case F::F_YEAR:
        case F::F_QTR:
        case F::F_WEEK:
        case F::F_HOUR:
        case F::F_MINUTE:
        case F::F_SECOND:
            return evaluateDateAndTime(context);
        case F::F_COND:
            return operands_[0]->evaluateAsBoolean(context) ? number(1, context) : number(2, context);
        case F::F_TYPECAST:
            if (operands_[0]->getDataTypeInContext(context) == Type::CHARACTER) {
                const SharedString value = operands_[0]->evaluateAsString(context);
                return value ? StringUtilities::createDoubleFromString(*value) : MISSING;
            }
            return number(0, context);
        case F::F_APPLY_VEK_INFORMAT:
        case F::F_FIND:
        case F::F_FIND_CHARACTER:
        case F::F_LENGTH:
            return evaluateNumberOfText(context);
        default:
            return MISSING;
    }
}

double FunctionExpression::evaluateArithmetic(const ExpressionDataContext& context) const {
    // The operands first: a suppressed one makes the result suppressed, a missing one missing.
    std::array<double, 2> values{MISSING, MISSING};
    bool isMissing = false;
    double accumulated = function_ == F::F_TIMES ? 1.0 : 0.0;
    for (std::size_t index = 0; index < operands_.size(); ++index) {
        const double value = number(index, context);
        if (ExpressionComparisons::isSuppressed(value)) {
            return ExpressionComparisons::SUPPRESSED;
        }
        isMissing = isMissing || ExpressionComparisons::isMissing(value);
        if (index < values.size()) {
            values[index] = value;
        }
        accumulated = function_ == F::F_TIMES ? accumulated * value : accumulated + value;
    }
    if (isMissing) {
        return MISSING;
    }
    const double first = values[0];
    const double second = values[1];
    const bool hasSecond = operands_.size() > 1;
    switch (function_) {
        case F::F_PLUS:
        case F::F_TIMES:
            return finite(accumulated);
        case F::F_MINUS:
            return finite(first - second);
        case F::F_DIV:
            return second == 0 ? MISSING : finite(first / second);
        case F::F_NEG:
            return -first;
        case F::F_POW:
            return finite(std::pow(first, second));
        case F::F_ROOT: {
            const double degree = hasSecond ? second : 2.0;
            if (degree == 0) {
                return MISSING;
            }
            // An odd root of a negative number is the negative root of its magnitude.
            std::int64_t whole = 0;
            if (first < 0 && toInteger(degree, whole) && static_cast<double>(whole) == degree && whole % 2 != 0) {
                return finite(-std::pow(-first, 1.0 / degree));
            }
            return finite(std::pow(first, 1.0 / degree));
        }
        case F::F_ABS:
            return std::fabs(first);
        case F::F_INT:
            return std::trunc(first);
        case F::F_MOD:
            return second == 0 ? MISSING : finite(std::fmod(first, second));
        case F::F_FLOOR:
            return std::floor(first);
        case F::F_CEIL:
            return std::ceil(first);
        case F::F_ROUND:
            if (!hasSecond) {
                return std::round(first);
            }
            return second <= 0 ? MISSING : finite(std::round(first / second) * second);
        case F::F_EXP:
            return finite(std::exp(first));
        case F::F_LN:
            return first <= 0 ? MISSING : std::log(first);
        case F::F_LOG:
            if (first <= 0 || (hasSecond && (second <= 0 || second == 1))) {
                return MISSING;
            }
            return hasSecond ? finite(std::log(first) / std::log(second)) : std::log10(first);
        default:
            return MISSING;
    }
}

double FunctionExpression::evaluateDateAndTime(const ExpressionDataContext& context) const {
    if (function_ == F::F_NOW) {
        return TimeUtilities::now();
    }
    std::array<double, 4> values{};
    for (std::size_t index = 0; index < operands_.size() && index < values.size(); ++index) {
        values[index] = number(index, context);
        if (ExpressionComparisons::isMissing(values[index]) || ExpressionComparisons::isSuppressed(values[index])) {
            return MISSING;
        }
    }
    std::array<int, 3> integers{};
    const auto readIntegers = [&](std::size_t count) {
        for (std::size_t index = 0; index < count; ++index) {
            if (!toInt(values[index], integers[index])) {
                return false;
            }
        }
        return true;
    };
    switch (function_) {
        case F::F_TIMEPART:
            return TimeUtilities::timepart(values[0]);
        case F::F_DATEPART:
            return TimeUtilities::datepart(values[0]);
        case F::F_DHMS:
            return finite(TimeUtilities::dhms(values[0], values[1], values[2], values[3]));
        case F::F_MDY:
        case F::F_TMDY: {
            if (!readIntegers(3)) {
                return MISSING;
            }
            const double day = TimeUtilities::mdy(integers[0], integers[1], integers[2]);
            return function_ == F::F_MDY ? day : day * TimeUtilities::SECONDS_PER_DAY;
        }
        case F::F_YYQ:
            return readIntegers(2) ? TimeUtilities::yyq(integers[0], integers[1]) : MISSING;
        case F::F_HMS:
            return finite(TimeUtilities::hms(values[0], values[1], values[2]));
        case F::F_DOM:
            return field(TimeUtilities::dom(values[0]));
        case F::F_DOW:
            return field(TimeUtilities::dow(values[0]));
        case F::F_DOY:
            return field(TimeUtilities::doy(values[0]));
        case F::F_MONTH:
            return field(TimeUtilities::month(values[0]));
        case F::F_YEAR:
            return field(TimeUtilities::year(values[0]));
        case F::F_QTR:
            return field(TimeUtilities::qtr(values[0]));
        case F::F_WEEK:
            return field(TimeUtilities::isoWeek(values[0]));
        case F::F_HOUR:
            return std::isfinite(values[0]) ? TimeUtilities::hour(values[0]) : MISSING;
        case F::F_MINUTE:
            return std::isfinite(values[0]) ? TimeUtilities::minute(values[0]) : MISSING;
        case F::F_SECOND:
            return std::isfinite(values[0]) ? TimeUtilities::second(values[0]) : MISSING;
        default:
            return MISSING;
    }
}

double FunctionExpression::evaluateNumberOfText(const ExpressionDataContext& context) const {
    const std::string subject = text(0, context);
    std::int64_t start = 1;
    if (operands_.size() > 2 && !toInteger(number(2, context), start)) {
        return MISSING;
    }
    switch (function_) {
        case F::F_LENGTH:
            return static_cast<double>(StringUtilities::countUtf8CodePoints(subject));
        case F::F_FIND:
            return static_cast<double>(TextFunctions::find(subject, text(1, context), start));
        case F::F_FIND_CHARACTER:
            return static_cast<double>(TextFunctions::findCharacter(subject, text(1, context), start));
        case F::F_APPLY_VEK_INFORMAT: {
            const auto formatter = FormatterFactory::instance()->getFormatterForFormatName(text(1, context));
            return formatter ? formatter->parse(subject) : StringUtilities::createDoubleFromString(subject);
        }
        default:
            return MISSING;
    }
}

SharedString FunctionExpression::evaluateAsString(const ExpressionDataContext& context) const {
    if (!hasValidTypeAgreement()) {
        return nullptr;
    }
    if (getDataType() != Type::CHARACTER) {
        const double value = evaluateAsNumber(context);
        return ExpressionComparisons::isMissing(value) ? nullptr
                                                       : textOf(StringUtilities::createStringFromDouble(value));
    }
    bool isMissing = false;
    std::string result = evaluateText(context, isMissing);
    return isMissing ? nullptr : textOf(std::move(result));
}

std::string FunctionExpression::evaluateText(const ExpressionDataContext& context, bool& isMissing) const {
    static constexpr std::string_view BLANK = " ";
    const auto integerAt = [&](std::size_t index, std::int64_t& integer) {
        return index < operands_.size() && toInteger(number(index, context), integer);
    };
    const auto textOrDefault = [&](std::size_t index, std::string_view fallback) {
        return index < operands_.size() ? text(index, context) : std::string(fallback);
    };
    std::int64_t first = 0;
    std::int64_t second = 0;
    switch (function_) {
        case F::F_TRIM: {
            const std::string subject = text(0, context);
            if (isOperandKeyword(1, ExpressionKeywords::KW_LEADING)) {
                return std::string(StringUtilities::trimLeft(subject));
            }
            if (isOperandKeyword(1, ExpressionKeywords::KW_TRAILING)) {
                return std::string(StringUtilities::trimRight(subject));
            }
            return std::string(StringUtilities::trim(subject));
        }
        case F::F_UPPER:
            return StringUtilities::toUpperAscii(text(0, context));
        case F::F_LOWER:
            return StringUtilities::toLowerAscii(text(0, context));
        case F::F_CONDSTR:
            return operands_[0]->evaluateAsBoolean(context) ? text(1, context) : text(2, context);
        case F::F_APPLY_VEK_FORMAT: {
            const auto formatter = FormatterFactory::instance()->getFormatterForFormatName(text(1, context));
            SharedString formatted;
            if (formatter && operands_[0]->getDataTypeInContext(context) == Type::CHARACTER) {
                formatted = formatter->format(operands_[0]->evaluateAsString(context));
            } else if (formatter) {
                formatted = formatter->format(number(0, context));
            }
            isMissing = !formatted;
            return formatted ? std::string(StringUtilities::trim(*formatted)) : std::string();
        }
        case F::F_URL_ENCODE:
            return TextFunctions::urlEncode(text(0, context));
        case F::F_URL_DECODE:
            return TextFunctions::urlDecode(text(0, context));
        case F::F_CONCATENATE: {
            std::string result;
            for (std::size_t index = 0; index < operands_.size(); ++index) {
                result += text(index, context);
            }
            return result;
        }
        case F::F_FIND_AND_REPLACE_STRING:
            return TextFunctions::replaceAll(text(0, context), text(1, context), text(2, context));
        case F::F_GET_WORD_AT_TOKEN_INDEX:
            isMissing = !integerAt(1, first);
            return TextFunctions::getWord(text(0, context), first, textOrDefault(2, BLANK));
        case F::F_REMOVE_CHARACTERS:
            return TextFunctions::removeCharacters(text(0, context), text(1, context));
        case F::F_REMOVE_WHITESPACE:
            return TextFunctions::removeWhitespace(text(0, context));
        case F::F_REMOVE_WORD_AT_TOKEN_INDEX:
            isMissing = !integerAt(1, first);
            return TextFunctions::removeWord(text(0, context), first, textOrDefault(2, BLANK));
        case F::F_REPLACE_SUBSTRING_AT_INDEX:
            isMissing = !integerAt(1, first) || !integerAt(2, second);
            return TextFunctions::replaceAt(text(0, context), first, second, text(3, context));
        case F::F_REPLACE_WORD_AT_TOKEN_INDEX:
            isMissing = !integerAt(1, first);
            return TextFunctions::replaceWord(text(0, context), first, text(2, context), textOrDefault(3, BLANK));
        case F::F_REVERSE:
            return TextFunctions::reverse(text(0, context));
        case F::F_SUBSTRING:
            second = -1;
            isMissing = !integerAt(1, first) || (operands_.size() > 2 && !integerAt(2, second));
            return TextFunctions::substring(text(0, context), first, second);
        default:
            isMissing = true;
            return {};
    }
}

std::shared_ptr<AbstractWhereClauseExpression> FunctionExpression::asWhereExpression(
    const std::shared_ptr<const DataSet>& dataSet, const std::shared_ptr<const Hierarchies>& hierarchies,
    const std::shared_ptr<const MetadataProvider>& provider) const {
    return WhereClauseConversion::convert(*this, dataSet, hierarchies, provider);
}

void FunctionExpression::resolveParameters(const ParameterValues& dataItemMap, ExpressionList& expressions) {
    Expression::resolveParameters(dataItemMap, expressions);
}

bool FunctionExpression::isInfix() const {
    return operands_.size() == 2 &&
           (function_ == F::F_PLUS || function_ == F::F_MINUS || function_ == F::F_TIMES || function_ == F::F_DIV);
}

bool FunctionExpression::isPrefix() const {
    return operands_.size() == 1 && function_ == F::F_NEG;
}

void FunctionExpression::printToStream(std::ostream& stream, const ExpressionDescriptionContext& context) const {
    if (isInfix()) {
        const int precedence = getPrintPrecedence();
        static constexpr std::array<std::string_view, 4> SYMBOLS = {" + ", " - ", " * ", " / "};
        printOperand(stream, operands_[0].get(), context, precedence);
        stream << SYMBOLS[static_cast<std::size_t>(function_ - F::F_PLUS)];
        // Left-associative: a right operand of the same precedence needs parentheses.
        printOperand(stream, operands_[1].get(), context, precedence + 1);
        return;
    }
    if (isPrefix()) {
        stream << '-';
        // A number right after the sign would read back as a negative constant.
        const bool isNumber =
            operands_[0] && operands_[0]->getWrapperTypeId() == WrapperTypeIds::CONSTANT_NUMBER_EXPRESSION;
        printOperand(stream, operands_[0].get(), context, isNumber ? PRIMARY_PRECEDENCE + 1 : UNARY_PRECEDENCE);
        return;
    }
    printAsFunctionCall(stream, context, getTokenName());
}

std::string_view FunctionExpression::getTokenName() const {
    return FunctionExpressionType::getName(function_);
}

void FunctionExpression::printTemplateArgumentWithIndex(std::ostream& stream,
                                                        const ExpressionDescriptionContext& context, int index) const {
    Expression::printTemplateArgumentWithIndex(stream, context, index);
}

int FunctionExpression::getPrintPrecedence() const {
    if (isInfix()) {
        return function_ == F::F_PLUS || function_ == F::F_MINUS ? ADDITIVE_PRECEDENCE : MULTIPLICATIVE_PRECEDENCE;
    }
    return isPrefix() ? UNARY_PRECEDENCE : PRIMARY_PRECEDENCE;
}

bool FunctionExpression::validateStructure() const {
    const Signature& signature = signatureOf(function_);
    const auto count = static_cast<int>(operands_.size());
    return F::isValid(function_) && count >= signature.minimum &&
           (signature.maximum == UNBOUNDED || count <= signature.maximum) && operandsHaveValidStructure();
}

bool FunctionExpression::validateTypeAgreement() const {
    if (!operandsHaveValidTypeAgreement()) {
        return false;
    }
    const std::string_view kinds = signatureOf(function_).operandKinds;
    for (std::size_t index = 0; index < operands_.size() && !kinds.empty(); ++index) {
        if (!operandHasKind(*operands_[index], kinds[std::min(index, kinds.size() - 1)])) {
            return false;
        }
    }
    return true;
}

bool FunctionExpression::hasEqualAttributes(const Expression& other) const {
    return function_ == static_cast<const FunctionExpression&>(other).function_;
}

}  // namespace pellium

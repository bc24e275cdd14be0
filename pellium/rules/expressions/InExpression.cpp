#include "pellium/rules/expressions/InExpression.h"

#include <algorithm>
#include <ostream>

#include "pellium/rules/expressions/CompoundConstantExpression.h"
#include "pellium/rules/expressions/ExpressionComparisons.h"
#include "pellium/rules/expressions/ExpressionDataContext.h"
#include "pellium/rules/expressions/ExpressionTokens.h"
#include "pellium/rules/expressions/FunctionExpressionType.h"
#include "pellium/rules/expressions/WhereClauseConversion.h"

namespace pellium {

namespace {

// Calls `visit` on every member, opening literal lists; stops when it answers true.
template <typename Visit>
bool anyMember(std::span<const std::shared_ptr<Expression>> members, Visit&& visit) {
    for (const auto& member : members) {
        if (!member) {
            continue;
        }
        if (member->getWrapperTypeId() == WrapperTypeIds::COMPOUND_CONSTANT_EXPRESSION) {
            if (anyMember(member->getOperands(), visit)) {
                return true;
            }
        } else if (visit(*member)) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::shared_ptr<InExpression> InExpression::create(std::shared_ptr<Expression> testOperand,
                                                   ExpressionList membershipOperands, bool hasInvertedMeaning) {
    auto node = std::shared_ptr<InExpression>(new InExpression(hasInvertedMeaning));
    node->operands_.reserve(membershipOperands.size() + 1);
    node->operands_.push_back(std::move(testOperand));
    for (auto& member : membershipOperands) {
        node->operands_.push_back(std::move(member));
    }
    return node;
}

std::span<const std::shared_ptr<Expression>> InExpression::getMembershipOperands() const {
    return operands_.empty() ? std::span<const std::shared_ptr<Expression>>()
                             : std::span<const std::shared_ptr<Expression>>(operands_).subspan(1);
}

bool InExpression::isMember(std::span<const std::shared_ptr<Expression>> operands,
                            const ExpressionDataContext& context) {
    if (operands.empty() || !operands[0]) {
        return false;
    }
    const Expression& tested = *operands[0];
    const auto members = operands.subspan(1);
    if (tested.getDataTypeInContext(context) == DataTypeExt::CHARACTER) {
        const SharedString text = tested.evaluateAsString(context);
        return anyMember(members, [&](const Expression& member) {
            const SharedString memberText = member.evaluateAsString(context);
            return ExpressionComparisons::compareTexts(BinaryRelationalOperator::EQ, text.get(), memberText.get());
        });
    }
    const double number = tested.evaluateAsNumber(context);
    if (ExpressionComparisons::isSuppressed(number)) {
        return false;
    }
    return anyMember(members, [&](const Expression& member) {
        return ExpressionComparisons::compareNumbers(BinaryRelationalOperator::EQ, number,
                                                     member.evaluateAsNumber(context), context.getTolerance());
    });
}

int InExpression::getWrapperTypeId() const {
    return WrapperTypeIds::IN_EXPRESSION;
}

DataTypeExt::type InExpression::getDataType() const {
    return DataTypeExt::BOOLEAN;
}

bool InExpression::isLeaf() const {
    return false;
}

bool InExpression::isValidForContext(const ExpressionDataContext& context) const {
    return Expression::isValidForContext(context);
}

std::shared_ptr<Expression> InExpression::clone() const {
    return std::shared_ptr<InExpression>(new InExpression(*this));
}

bool InExpression::isBooleanExpression() const {
    return true;
}

bool InExpression::evaluateAsBoolean(const ExpressionDataContext& context) const {
    return hasValidTypeAgreement() && test(operands_, context, hasInvertedMeaning_);
}

bool InExpression::test(std::span<const std::shared_ptr<Expression>> operands, const ExpressionDataContext& context,
                        bool isInverted) {
    if (operands.empty() || !operands[0]) {
        return false;
    }
    if (operands[0]->getDataTypeInContext(context) != DataTypeExt::CHARACTER &&
        ExpressionComparisons::isSuppressed(operands[0]->evaluateAsNumber(context))) {
        return false;
    }
    return isMember(operands, context) != isInverted;
}

std::shared_ptr<AbstractWhereClauseExpression> InExpression::asWhereExpression(
    const std::shared_ptr<const DataSet>& dataSet, const std::shared_ptr<const Hierarchies>& hierarchies,
    const std::shared_ptr<const MetadataProvider>& provider) const {
    return WhereClauseConversion::convert(*this, dataSet, hierarchies, provider);
}

void InExpression::resolveParameters(const ParameterValues& dataItemMap, ExpressionList& expressions) {
    Expression::resolveParameters(dataItemMap, expressions);
}

void InExpression::printToStream(std::ostream& stream, const ExpressionDescriptionContext& context) const {
    const std::string_view word = ExpressionTokens::getWordForTokenName(getTokenName());
    stream << (context.writesFunctionNames ? getTokenName() : word) << '(';
    printTemplateArgumentWithIndex(stream, context, 0);
    if (membersFormALiteralList()) {
        stream << ", ";
        printTemplateArgumentWithIndex(stream, context, 1);
    } else {
        // Members a list cannot hold are written as further arguments.
        for (const auto& member : getMembershipOperands()) {
            stream << ", ";
            printOperand(stream, member.get(), context, OR_PRECEDENCE);
        }
    }
    stream << ')';
}

bool InExpression::membersFormALiteralList() const {
    const auto members = getMembershipOperands();
    const auto allOf = [&](auto&& test) {
        return std::all_of(members.begin(), members.end(), [&](const auto& member) { return member && test(*member); });
    };
    return allOf([](const Expression& member) {
               const int type = member.getWrapperTypeId();
               return type == WrapperTypeIds::CONSTANT_NUMBER_EXPRESSION ||
                      type == WrapperTypeIds::CONSTANT_TEXT_EXPRESSION;
           }) ||
           allOf([](const Expression& member) {
               return member.getWrapperTypeId() == WrapperTypeIds::DATA_ITEM_EXPRESSION;
           });
}

std::string_view InExpression::getTokenName() const {
    return FunctionExpressionType::getName(hasInvertedMeaning_ ? FunctionExpressionType::F_NOT_IN
                                                               : FunctionExpressionType::F_IN);
}

void InExpression::synchronizeSpecializedOperands() {
    if (operands_.empty()) {
        operands_.resize(1);
    }
}

void InExpression::printTemplateArgumentWithIndex(std::ostream& stream, const ExpressionDescriptionContext& context,
                                                  int index) const {
    if (index == 0) {
        printOperand(stream, getTestOperand().get(), context, OR_PRECEDENCE);
    } else if (index == 1) {
        const auto members = getMembershipOperands();
        CompoundConstantExpression::printList(stream, ExpressionList(members.begin(), members.end()), context);
    }
}

bool InExpression::validateStructure() const {
    return !operands_.empty() && operandsHaveValidStructure();
}

bool InExpression::validateTypeAgreement() const {
    if (!operandsHaveValidTypeAgreement()) {
        return false;
    }
    const DataTypeExt::type testType = operands_[0]->getDataType();
    return !anyMember(getMembershipOperands(),
                      [&](const Expression& member) { return !DataTypeExt::agree(testType, member.getDataType()); });
}

bool InExpression::hasEqualAttributes(const Expression& other) const {
    return hasInvertedMeaning_ == static_cast<const InExpression&>(other).hasInvertedMeaning_;
}

}  // namespace pellium

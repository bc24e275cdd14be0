#include "pellium/rules/expressions/DataItemExpression.h"

#include <ostream>

#include "pellium/rules/expressions/ExpressionDataContext.h"
#include "pellium/rules/expressions/ExpressionTokens.h"

namespace pellium {

namespace {

constexpr int ITEM_BITS = 24;
constexpr std::uint64_t ITEM_MASK = (std::uint64_t{1} << ITEM_BITS) - 1;

constexpr bool isAsciiLetter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') || character == '_';
}

constexpr bool isAsciiDigit(char character) {
    return character >= '0' && character <= '9';
}

}  // namespace

std::shared_ptr<DataItemExpression> DataItemExpression::create(SharedString name, DataTypeExt::type dataType) {
    if (!name) {
        return nullptr;
    }
    return std::shared_ptr<DataItemExpression>(new DataItemExpression(std::move(name), dataType));
}

bool DataItemExpression::canBeWrittenBare(std::string_view name) {
    if (name.empty() || isAsciiDigit(name.front()) || !StringUtilities::isValidUtf8(name) ||
        ExpressionTokens::isReservedWord(name)) {
        return false;
    }
    for (const char character : name) {
        const bool isNonAscii = static_cast<unsigned char>(character) >= 0x80;
        if (!isNonAscii && !isAsciiLetter(character) && !isAsciiDigit(character)) {
            return false;
        }
    }
    return true;
}

void DataItemExpression::printName(std::ostream& stream, std::string_view name) {
    if (canBeWrittenBare(name)) {
        stream << name;
        return;
    }
    stream << '{';
    for (const char character : name) {
        stream << character;
        if (character == '}') {
            stream << '}';
        }
    }
    stream << '}';
}

int DataItemExpression::findItem(const ExpressionDataContext& context) const {
    const std::uint64_t serial = context.getSerialNumber() << ITEM_BITS;
    const std::uint64_t cached = cachedItem_.load(std::memory_order_relaxed);
    if ((cached & ~ITEM_MASK) == serial && (cached & ITEM_MASK) != 0) {
        return static_cast<int>(cached & ITEM_MASK) - 1;
    }
    const int item = context.findDataItem(*name_);
    if (item >= 0 && static_cast<std::uint64_t>(item) + 1 < ITEM_MASK) {
        cachedItem_.store(serial | (static_cast<std::uint64_t>(item) + 1), std::memory_order_relaxed);
    }
    return item;
}

int DataItemExpression::getWrapperTypeId() const {
    return WrapperTypeIds::DATA_ITEM_EXPRESSION;
}

DataTypeExt::type DataItemExpression::getDataType() const {
    return dataType_;
}

bool DataItemExpression::isLeaf() const {
    return true;
}

bool DataItemExpression::isVariable() const {
    return true;
}

bool DataItemExpression::hasContextualDataType() const {
    return true;
}

bool DataItemExpression::isValidForContext(const ExpressionDataContext& context) const {
    return hasValidStructure() && findItem(context) != ExpressionDataContext::NO_ITEM;
}

std::shared_ptr<Expression> DataItemExpression::clone() const {
    return std::shared_ptr<DataItemExpression>(new DataItemExpression(*this));
}

bool DataItemExpression::isNumericExpression() const {
    return dataType_ == DataTypeExt::UNKNOWN || DataTypeExt::isNumber(dataType_);
}

bool DataItemExpression::isCharacterExpression() const {
    return dataType_ == DataTypeExt::UNKNOWN || dataType_ == DataTypeExt::CHARACTER;
}

double DataItemExpression::evaluateAsNumber(const ExpressionDataContext& context) const {
    return context.getNumber(findItem(context));
}

std::vector<double> DataItemExpression::evaluateAsNumberList(const ExpressionDataContext& context) const {
    return {evaluateAsNumber(context)};
}

SharedString DataItemExpression::evaluateAsString(const ExpressionDataContext& context) const {
    return context.getString(findItem(context));
}

std::vector<SharedString> DataItemExpression::evaluateAsStringList(const ExpressionDataContext& context) const {
    return {evaluateAsString(context)};
}

void DataItemExpression::printToStream(std::ostream& stream, const ExpressionDescriptionContext&) const {
    printName(stream, *name_);
}

DataTypeExt::type DataItemExpression::getDataTypeInContext(const ExpressionDataContext& context) const {
    const DataTypeExt::type type = context.getDataItemType(findItem(context));
    return type == DataTypeExt::UNKNOWN ? dataType_ : type;
}

bool DataItemExpression::validateStructure() const {
    return !name_->empty();
}

bool DataItemExpression::validateTypeAgreement() const {
    return true;
}

bool DataItemExpression::hasEqualAttributes(const Expression& other) const {
    return *name_ == *static_cast<const DataItemExpression&>(other).name_;
}

}  // namespace pellium

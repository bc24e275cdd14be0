#include "pellium/models/data/dataset/DataValueUtils.h"

#include <cmath>
#include <ostream>
#include <set>
#include <sstream>
#include <string_view>

#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/rules/expressions/ConstantNumberExpression.h"
#include "pellium/rules/expressions/ConstantTextExpression.h"
#include "pellium/util/expressions/ExpressionUtil.h"

namespace pellium {

namespace {

void printQuotedText(std::ostream& stream, std::string_view text) {
    text = text.substr(0, text.find('\0'));
    stream << '\'';
    for (const char character : text) {
        if (character == '\'') {
            stream << '\'';
        }
        stream << character;
    }
    stream << '\'';
}

std::string literalOf(const std::shared_ptr<const DataValue>& value) {
    std::ostringstream stream;
    DataValueUtils::printValueToStream(stream, value);
    return stream.str();
}

SharedString literalOfValueOrNoSelection(const std::shared_ptr<const DataValue>& value, DataType::type type) {
    if (DataValueUtils::impliesNoSelection(value)) {
        return type == DataType::STRING ? StringUtilities::internString(std::string_view("''")) : nullptr;
    }
    return std::make_shared<const std::string>(literalOf(value));
}

// The distinct values of a list, in the sense of value equality.
struct DistinctValues {
    bool hasNullEntry = false;
    bool hasNullText = false;
    bool hasMissingNumber = false;  // NaN equals NaN here, so it is kept apart from the set
    std::set<double> numbers;       // -0 and 0 are one element, as they are equal
    std::set<std::string_view> texts;

    explicit DistinctValues(const std::shared_ptr<const DataValueUtils::ValueList>& values) {
        if (!values) {
            return;
        }
        for (const auto& value : *values) {
            if (!value) {
                hasNullEntry = true;
            } else if (!value->isString()) {
                if (std::isnan(value->getNumericValue())) {
                    hasMissingNumber = true;
                } else {
                    numbers.insert(value->getNumericValue());
                }
            } else if (const SharedString text = value->getStringValue()) {
                // The view stays valid: the value in the list owns the text.
                texts.insert(*text);
            } else {
                hasNullText = true;
            }
        }
    }

    bool operator==(const DistinctValues& other) const = default;
};

}  // namespace

bool DataValueUtils::impliesNoSelection(const std::shared_ptr<const DataValue>& value) {
    if (!value) {
        return true;
    }
    if (!value->isString()) {
        return false;
    }
    const SharedString text = value->getStringValue();
    return !text || text->empty();
}

void DataValueUtils::printValueToStream(std::ostream& stream, const std::shared_ptr<const DataValue>& value) {
    if (!value) {
        return;
    }
    if (impliesNoSelection(value)) {
        stream << "''";
    } else if (value->isMissing()) {
        stream << (value->isString() ? "' '" : ".");
    } else if (value->isString()) {
        printQuotedText(stream, *value->getStringValue());
    } else {
        stream << StringUtilities::createStringFromDouble(value->getNumericValue());
    }
}

SharedString DataValueUtils::getSerializationTextForValue(const std::shared_ptr<const DataValue>& value,
                                                          DataType::type type) {
    return literalOfValueOrNoSelection(value, type);
}

SharedString DataValueUtils::getSerializationTextForValues(const std::shared_ptr<const ValueList>& values,
                                                           DataType::type type) {
    if (!values || values->empty()) {
        return literalOfValueOrNoSelection(nullptr, type);
    }
    if (values->size() == 1) {
        return literalOfValueOrNoSelection(values->front(), type);
    }
    std::ostringstream stream;
    stream << '[';
    bool isFirst = true;
    for (const auto& value : *values) {
        if (!value) {
            continue;
        }
        if (!isFirst) {
            stream << ',';
        }
        printValueToStream(stream, value);
        isFirst = false;
    }
    stream << ']';
    return std::make_shared<const std::string>(stream.str());
}

namespace {

// The value of a number or text constant; null for any other node.
std::shared_ptr<DataValue> valueOfConstant(const Expression& constant) {
    switch (constant.getWrapperTypeId()) {
        case WrapperTypeIds::CONSTANT_NUMBER_EXPRESSION:
            return DataValue::create(static_cast<const ConstantNumberExpression&>(constant).getValue());
        case WrapperTypeIds::CONSTANT_TEXT_EXPRESSION: {
            const SharedString& text = static_cast<const ConstantTextExpression&>(constant).getText();
            return DataValue::create(StringUtilities::internString(text ? std::string_view(*text) : std::string_view()),
                                     DataTokens::UNRESOLVABLE_DATA_VALUE);
        }
        default:
            return nullptr;
    }
}

}  // namespace

std::shared_ptr<DataValueUtils::ValueList> DataValueUtils::getValuesForSerializationText(const SharedString& text) {
    if (!text) {
        return nullptr;
    }
    const auto literal = ExpressionUtil::createExpression(*text);
    if (!literal) {
        return nullptr;
    }
    auto values = std::make_shared<ValueList>();
    if (literal->getWrapperTypeId() != WrapperTypeIds::COMPOUND_CONSTANT_EXPRESSION) {
        auto value = valueOfConstant(*literal);
        if (!value) {
            return nullptr;
        }
        values->push_back(std::move(value));
        return values;
    }
    for (const auto& element : literal->getOperands()) {
        values->push_back(valueOfConstant(*element));
    }
    return values;
}

std::shared_ptr<DataValue> DataValueUtils::getValueForText(const SharedString& text, DataType::type type,
                                                           const SharedString& formatName) {
    if (!text) {
        return nullptr;
    }
    if (type == DataType::STRING) {
        auto value = DataValue::create(StringUtilities::internString(text), DataTokens::UNRESOLVABLE_DATA_VALUE);
        if (formatName && !formatName->empty()) {
            if (const auto formatter = FormatterFactory::instance()->getFormatterForFormatName(formatName)) {
                value->setFormattedValue(formatter->format(value->getStringValue()));
            }
        }
        return value;
    }
    if (type == DataType::NUMERIC) {
        const double number = StringUtilities::createDoubleFromString(*text);
        auto value = DataValue::create(number);
        value->setFormattedValue(DataValue::formatNumericValue(number, formatName));
        return value;
    }
    return nullptr;
}

bool DataValueUtils::valueSetsAreEqual(const std::shared_ptr<const ValueList>& first,
                                       const std::shared_ptr<const ValueList>& second) {
    return DistinctValues(first) == DistinctValues(second);
}

}  // namespace pellium

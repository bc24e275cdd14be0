#include "pellium/models/data/where/WhereClauseExpression.h"

#include <locale>
#include <sstream>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataValueUtils.h"
#include "pellium/serializers/SerialReader.h"
#include "pellium/serializers/SerialWriter.h"

namespace pellium {

namespace {

constexpr std::string_view invalidLeafText = "__ERROR_INVALID_WHERE_CLAUSE_EXPRESSION__";

SharedString makeText(std::string text) {
    return std::make_shared<const std::string>(std::move(text));
}

// A string value bare ("NULL" without a text); a number as a C-locale stream prints it by default.
void appendValue(std::string& text, const DataValue& value) {
    if (value.isString()) {
        const SharedString string = value.getStringValue();
        text += string ? *string : std::string("NULL");
        return;
    }
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << value.getNumericValue();
    text += stream.str();
}

const DataValue* lookUp(const std::shared_ptr<const AbstractWhereClauseExpression::RowMap>& row,
                        const SharedString& name) {
    if (!row || !name) {
        return nullptr;
    }
    const auto entry = row->find(std::string_view(*name));
    return entry == row->end() ? nullptr : entry->second.get();
}

}  // namespace

// --- Creation ---------------------------------------------------------------------------------------

WhereClauseExpression::WhereClauseExpression(Token) : AbstractWhereClauseExpression(false) {}

WhereClauseExpression::WhereClauseExpression(Token, SharedString columnName, SharedString label,
                                             SharedString formatName, std::shared_ptr<DataValue> value,
                                             WhereClauseOperators::type op)
    : AbstractWhereClauseExpression(false),
      columnName_(std::move(columnName)),
      label_(std::move(label)),
      formatName_(std::move(formatName)),
      value_(std::move(value)),
      operator_(op) {}

std::shared_ptr<WhereClauseExpression> WhereClauseExpression::createWithAttributes(SharedString name,
                                                                                   SharedString label,
                                                                                   SharedString formatName,
                                                                                   WhereClauseOperators::type op,
                                                                                   std::shared_ptr<DataValue> value) {
    if (!name || !value || !WhereClauseOperators::isValid(op)) {
        return nullptr;
    }
    return std::make_shared<WhereClauseExpression>(Token{}, StringUtilities::internString(name), std::move(label),
                                                   std::move(formatName), std::move(value), op);
}

std::shared_ptr<WhereClauseExpression> WhereClauseExpression::create(const std::shared_ptr<const Column>& column,
                                                                     WhereClauseOperators::type op,
                                                                     std::shared_ptr<DataValue> value) {
    if (!column) {
        return nullptr;
    }
    return createWithAttributes(column->getName(), column->getLabel(), column->getFormatName(), op, std::move(value));
}

std::shared_ptr<WhereClauseExpression> WhereClauseExpression::create(
    const SharedString& name, WhereClauseOperators::type op, std::shared_ptr<DataValue> value,
    const std::shared_ptr<const MetadataProvider>& provider) {
    if (!name) {
        return nullptr;
    }
    SharedString label = provider ? provider->getLabel(name) : nullptr;
    SharedString formatName = provider ? provider->getFormatName(name, 0) : nullptr;
    return createWithAttributes(name, std::move(label), std::move(formatName), op, std::move(value));
}

std::shared_ptr<WhereClauseExpression> WhereClauseExpression::create(bool result) {
    return std::make_shared<WhereClauseExpression>(Token{}, nullptr, nullptr, nullptr, DataValue::create(1.0),
                                                   result ? WhereClauseOperators::TRUE : WhereClauseOperators::FALSE);
}

std::shared_ptr<WhereClauseExpression> WhereClauseExpression::create() {
    return std::make_shared<WhereClauseExpression>(Token{});
}

// --- Evaluation -------------------------------------------------------------------------------------

bool WhereClauseExpression::evaluateComparison(const DataValue& cell) const {
    const DataValue& constant = *value_;
    switch (operator_) {
        case WhereClauseOperators::EQ:
            return cell == constant;
        case WhereClauseOperators::NE:
            return cell != constant;
        case WhereClauseOperators::LT:
            return cell < constant;
        case WhereClauseOperators::LE:
            return cell <= constant;
        case WhereClauseOperators::GT:
            return cell > constant;
        case WhereClauseOperators::GE:
            return cell >= constant;
        default:
            return false;
    }
}

bool WhereClauseExpression::evaluate(const std::shared_ptr<const RowMap>& row) const {
    switch (operator_) {
        case WhereClauseOperators::TRUE:
            return true;
        case WhereClauseOperators::IS:
        case WhereClauseOperators::IS_NOT: {
            const DataValue* cell = lookUp(row, columnName_);
            bool is = false;
            if (cell && value_) {
                is = value_->isMissing() ? cell->isMissing() : *cell == *value_;
            }
            return operator_ == WhereClauseOperators::IS ? is : !is;
        }
        default: {
            if (!WhereClauseOperators::isComparison(operator_) || !value_) {
                return false;  // LIKE, FALSE, the compound codes and unknown codes match no row
            }
            const DataValue* cell = lookUp(row, columnName_);
            return cell && evaluateComparison(*cell);
        }
    }
}

AbstractWhereClauseExpression::ColumnNames WhereClauseExpression::getReferencedColumnNames() const {
    return columnName_ ? ColumnNames{*columnName_} : ColumnNames{};
}

// --- Text -------------------------------------------------------------------------------------------

std::string WhereClauseExpression::openRepresentation() const {
    std::string text = "(";
    text += *columnName_;
    text += ' ';
    text += WhereClauseOperators::getStringFromValue(operator_);
    text += ' ';
    appendValue(text, *value_);
    return text;
}

SharedString WhereClauseExpression::getStringRepresentation() const {
    if (operator_ == WhereClauseOperators::TRUE || operator_ == WhereClauseOperators::FALSE) {
        return makeText(std::string(WhereClauseOperators::getStringFromValue(operator_)));
    }
    if (!columnName_ || !value_) {
        return makeText(std::string(invalidLeafText));
    }
    return makeText(openRepresentation() + ")");
}

SharedString WhereClauseExpression::getDescription(bool withLabel, bool withFormat) const {
    if (operator_ == WhereClauseOperators::TRUE || operator_ == WhereClauseOperators::FALSE || !columnName_ ||
        !value_) {
        return getStringRepresentation();
    }
    std::string text = openRepresentation();
    if (withLabel && label_) {
        text += ", label=" + *label_;
    }
    if (withFormat && formatName_) {
        text += ", format=" + *formatName_;
    }
    text += ')';
    return makeText(std::move(text));
}

SharedString WhereClauseExpression::getFormattedValue() const {
    if (!value_) {
        return nullptr;
    }
    if (!value_->isString()) {
        return DataValue::formatNumericValue(value_->getNumericValue(), formatName_);
    }
    const auto formatted = DataValueUtils::getValueForText(value_->getStringValue(), DataType::STRING, formatName_);
    return formatted ? formatted->getFormattedValue() : nullptr;
}

// --- Copies -----------------------------------------------------------------------------------------

std::shared_ptr<AbstractWhereClauseExpression> WhereClauseExpression::getCopyAppliedToNewColumn(
    const SharedString& name) const {
    if (!columnName_ || !value_) {
        return nullptr;
    }
    return createWithAttributes(name, label_, formatName_, operator_, value_);
}

std::shared_ptr<AbstractWhereClauseExpression> WhereClauseExpression::clone() const {
    return std::make_shared<WhereClauseExpression>(Token{}, columnName_, label_, formatName_, value_, operator_);
}

void WhereClauseExpression::replaceLabel(const std::shared_ptr<const LabelMap>& labels) {
    if (!labels || !columnName_) {
        return;
    }
    if (const auto entry = labels->find(std::string_view(*columnName_)); entry != labels->end()) {
        label_ = entry->second;
    }
}

// --- Stream form ------------------------------------------------------------------------------------

bool WhereClauseExpression::serialize(std::ostream& stream) const {
    SerialWriter writer(stream);
    return writeNode(writer);
}

bool WhereClauseExpression::unserialize(std::istream& stream) {
    SerialReader reader(stream);
    return readBody(reader);
}

bool WhereClauseExpression::writeBody(SerialWriter& writer) const {
    return writer.writeString(columnName_) && writer.writeString(label_) && writer.writeString(formatName_) &&
           DataValue::serialize(writer, value_) &&
           writer.writePrimitive(SerialMarks::TAG_C, static_cast<std::uint32_t>(operator_));
}

bool WhereClauseExpression::readBody(SerialReader& reader) {
    if (!reader.readString(columnName_)) {
        return false;
    }
    // Names read from a stream are interned, like the names of columns, so that they compare by pointer.
    columnName_ = StringUtilities::internString(columnName_);
    if (!reader.readString(label_)) {
        return false;
    }
    if (!reader.readString(formatName_)) {
        return false;
    }
    if (!DataValue::unserialize(reader, value_)) {
        return false;
    }
    std::uint32_t op = WhereClauseOperators::UNKNOWN;
    if (!reader.readPrimitive(SerialMarks::TAG_C, op)) {
        return false;
    }
    operator_ = static_cast<WhereClauseOperators::type>(op);
    return true;
}

}  // namespace pellium

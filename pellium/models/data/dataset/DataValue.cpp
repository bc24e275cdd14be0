#include "pellium/models/data/dataset/DataValue.h"

#include <algorithm>
#include <cmath>
#include <locale>
#include <sstream>
#include <string_view>

#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/serializers/SerialMarks.h"
#include "pellium/serializers/SerialReader.h"
#include "pellium/serializers/SerialWriter.h"

namespace pellium {

namespace {

// `text` less surrounding white space; the same shared text when there is none to remove.
SharedString trimmed(const SharedString& text) {
    if (!text) {
        return text;
    }
    const std::string_view kept = StringUtilities::trim(*text);
    return kept.size() == text->size() ? text : std::make_shared<const std::string>(kept);
}

bool isSpecialStringIndex(std::int32_t index) {
    return index == DataTokens::TOKEN_MATCHES_ALL || index == DataTokens::TOKEN_ALL_OTHERS ||
           index == DataTokens::TOKEN_SUPPRESSED || index == DataTokens::TOKEN_SPARSE;
}

bool isSpecialNumber(double number) {
    return number == DataTokens::SPARSE_NUMERIC || number == DataTokens::ALL_OTHERS_NUMERIC ||
           number == DataTokens::MATCHES_ALL_NUMERIC || number == DataTokens::SUPPRESSED_NUMERIC;
}

}  // namespace

DataValue::DataValue()
    : isString_(true), stringIndex_(DataTokens::UNRESOLVABLE_DATA_VALUE), numericValue_(DataTokens::MISSING_NUMERIC) {}

DataValue::DataValue(double number)
    : isString_(false), stringIndex_(DataTokens::UNRESOLVABLE_DATA_VALUE), numericValue_(number) {}

DataValue::DataValue(SharedString text, std::int32_t index)
    : isString_(true),
      stringValue_(std::move(text)),
      stringIndex_(index),
      numericValue_(DataTokens::MISSING_NUMERIC),
      formattedValue_(stringValue_) {}

DataValue::DataValue(const DataValue& other) = default;
DataValue& DataValue::operator=(const DataValue& other) = default;
DataValue::~DataValue() = default;

std::shared_ptr<DataValue> DataValue::create() {
    return std::make_shared<DataValue>();
}

std::shared_ptr<DataValue> DataValue::create(double number) {
    return std::make_shared<DataValue>(number);
}

std::shared_ptr<DataValue> DataValue::create(SharedString text, std::int32_t index) {
    return std::make_shared<DataValue>(std::move(text), index);
}

std::shared_ptr<DataValue> DataValue::create(const DataValue& other) {
    return std::make_shared<DataValue>(other);
}

int DataValue::getWrapperTypeId() const {
    return WrapperTypeIds::DATA_VALUE;
}

SharedString DataValue::getStringValue() const {
    if (isString_ || stringValue_) {
        return stringValue_;
    }
    return std::make_shared<const std::string>(StringUtilities::createStringFromDouble(numericValue_));
}

void DataValue::setStringValue(SharedString text, std::int32_t index) {
    stringValue_ = std::move(text);
    stringIndex_ = index;
}

SharedString DataValue::getDisplayString() const {
    if (displayString_) {
        return displayString_;
    }
    if (isMissing() || isSparse()) {
        return DataTokens::getLocalizedDisplayString(DataTokens::TOKEN_MISSING);
    }
    if (isSuppressed()) {
        return DataTokens::getLocalizedDisplayString(DataTokens::TOKEN_SUPPRESSED);
    }
    if (formattedValue_) {
        return formattedValue_;
    }
    return getStringValue();
}

bool DataValue::isMissing() const {
    return isString_ ? StringUtilities::isStringMissing(stringValue_) : std::isnan(numericValue_);
}

bool DataValue::isSparse() const {
    return isString_ ? stringIndex_ == DataTokens::TOKEN_SPARSE : numericValue_ == DataTokens::SPARSE_NUMERIC;
}

bool DataValue::isSuppressed() const {
    return isString_ ? stringIndex_ == DataTokens::TOKEN_SUPPRESSED : numericValue_ == DataTokens::SUPPRESSED_NUMERIC;
}

bool DataValue::isAllOthers() const {
    return isString_ ? stringIndex_ == DataTokens::TOKEN_ALL_OTHERS : numericValue_ == DataTokens::ALL_OTHERS_NUMERIC;
}

bool DataValue::isMatchesAll() const {
    return isString_ ? stringIndex_ == DataTokens::TOKEN_MATCHES_ALL : numericValue_ == DataTokens::MATCHES_ALL_NUMERIC;
}

bool DataValue::hasNoValue() const {
    return isMissing() || isSparse() || isSuppressed();
}

SharedString DataValue::formatStringValue(const SharedString& text, std::int32_t index) {
    switch (index) {
        case DataTokens::TOKEN_MATCHES_ALL:
            return DataTokens::getStringConstant(DataTokens::TOKEN_MATCHES_ALL);
        case DataTokens::TOKEN_SPARSE: {
            static const SharedString empty = StringUtilities::internString(std::string_view());
            return empty;
        }
        case DataTokens::TOKEN_ALL_OTHERS:
            return DataTokens::getLocalizedDisplayString(DataTokens::TOKEN_ALL_OTHERS);
        default:
            if (text && *text == "~O") {
                return DataTokens::getLocalizedDisplayString(DataTokens::TOKEN_ALL_OTHERS);
            }
            return text;
    }
}

SharedString DataValue::formatNumericValue(double number, const SharedString& formatName) {
    auto& factory = *FormatterFactory::instance();
    auto formatter = formatName ? factory.getFormatterForFormatName(formatName) : nullptr;
    if (!formatter) {
        formatter = factory.getDefaultNumericFormatter();
    }
    if (!formatter) {
        return std::make_shared<const std::string>(StringUtilities::createStringFromDouble(number));
    }
    return formatNumericValue(number, *formatter);
}

SharedString DataValue::formatNumericValue(double number, const Formatter& formatter) {
    if (number == DataTokens::ALL_OTHERS_NUMERIC) {
        return DataTokens::getLocalizedDisplayString(DataTokens::TOKEN_ALL_OTHERS);
    }
    if (number == DataTokens::MATCHES_ALL_NUMERIC) {
        return DataTokens::getStringConstant(DataTokens::TOKEN_MISSING);
    }
    if (number == DataTokens::SPARSE_NUMERIC) {
        return DataTokens::getMissingNumericDisplayString();
    }
    if (number == DataTokens::SUPPRESSED_NUMERIC) {
        return DataTokens::getSuppressedNumericDisplayString();
    }
    return trimmed(formatter.format(number));
}

void DataValue::reFormat(const std::shared_ptr<Formatter>& formatter) {
    if (!formatter || isMissing()) {
        return;
    }
    if (isString_) {
        if (!isSpecialStringIndex(stringIndex_)) {
            formattedValue_ = formatter->format(stringValue_);
        }
    } else if (!isSpecialNumber(numericValue_)) {
        formattedValue_ = trimmed(formatter->format(numericValue_));
    }
}

bool DataValue::operator==(const DataValue& other) const {
    if (isString_ != other.isString_) {
        return false;
    }
    if (!isString_) {
        return numericValue_ == other.numericValue_ || (std::isnan(numericValue_) && std::isnan(other.numericValue_));
    }
    if (stringValue_ == other.stringValue_) {
        return true;
    }
    if (!stringValue_ || !other.stringValue_) {
        return false;
    }
    return *stringValue_ == *other.stringValue_;
}

bool DataValue::operator<(const DataValue& other) const {
    if (isAllOthers()) {
        return false;
    }
    if (other.isAllOthers()) {
        return true;
    }
    const bool thisIsMissing = isMissing();
    const bool otherIsMissing = other.isMissing();
    if (thisIsMissing || otherIsMissing) {
        return thisIsMissing && !otherIsMissing;
    }
    if (isSuppressed()) {
        return !other.isSuppressed();
    }
    if (other.isSuppressed()) {
        return false;
    }
    if (isString_ != other.isString_) {
        return !isString_;
    }
    if (!isString_) {
        return numericValue_ < other.numericValue_;
    }
    if (stringIndex_ >= 0 && other.stringIndex_ >= 0) {
        return stringIndex_ < other.stringIndex_;
    }
    // Not missing, so both texts are set (a null text counts as missing). std::string compares
    // bytes as unsigned characters, a proper prefix first.
    return *stringValue_ < *other.stringValue_;
}

DataValue& DataValue::operator+=(const DataValue& other) {
    if (isString_ != other.isString_) {
        return *this;
    }
    if (!isString_) {
        numericValue_ += other.numericValue_;
    } else if (!stringValue_) {
        stringValue_ = other.stringValue_;
        stringIndex_ = other.stringIndex_;
    }
    return *this;
}

void DataValue::aggregate(const std::shared_ptr<ValueList>& target, const std::shared_ptr<const ValueList>& source) {
    if (!target || !source) {
        return;
    }
    const std::size_t common = std::min(target->size(), source->size());
    for (std::size_t index = 0; index < common; ++index) {
        const auto& targetValue = (*target)[index];
        const auto& sourceValue = (*source)[index];
        if (targetValue && sourceValue) {
            *targetValue += *sourceValue;
        }
    }
    for (std::size_t index = common; index < source->size(); ++index) {
        const auto& sourceValue = (*source)[index];
        target->push_back(sourceValue ? create(*sourceValue) : nullptr);
    }
}

bool DataValue::serialize(std::ostream& stream, const std::shared_ptr<const DataValue>& value) {
    SerialWriter writer(stream);
    return serialize(writer, value);
}

bool DataValue::serialize(SerialWriter& writer, const std::shared_ptr<const DataValue>& value) {
    if (!writer.writeVersionMark() || !writer.writePresence(value != nullptr)) {
        return false;
    }
    return !value || value->writeBody(writer);
}

bool DataValue::unserialize(std::istream& stream, std::shared_ptr<DataValue>& value) {
    SerialReader reader(stream);
    return unserialize(reader, value);
}

bool DataValue::unserialize(SerialReader& reader, std::shared_ptr<DataValue>& value) {
    bool isPresent = false;
    if (!reader.readVersionMark() || !reader.readPresence(isPresent)) {
        return false;
    }
    value = isPresent ? create(DataTokens::MISSING_NUMERIC) : nullptr;
    return !isPresent || value->readBody(reader);
}

bool DataValue::serialize(std::ostream& stream) const {
    SerialWriter writer(stream);
    return writeBody(writer);
}

bool DataValue::writeBody(SerialWriter& writer) const {
    return writer.writePrimitive(SerialMarks::TAG_C, isString_) && writer.writeString(stringValue_) &&
           writer.writePrimitive(SerialMarks::TAG_C, stringIndex_) &&
           writer.writePrimitive(SerialMarks::TAG_B, numericValue_) && writer.writeString(formattedValue_);
}

bool DataValue::unserialize(std::istream& stream) {
    SerialReader reader(stream);
    return readBody(reader);
}

bool DataValue::readBody(SerialReader& reader) {
    if (!reader.readPrimitive(SerialMarks::TAG_C, isString_)) {
        return false;
    }
    if (!reader.readString(stringValue_)) {
        return false;
    }
    if (!reader.readPrimitive(SerialMarks::TAG_C, stringIndex_)) {
        return false;
    }
    if (!reader.readPrimitive(SerialMarks::TAG_B, numericValue_)) {
        return false;
    }
    if (!reader.readString(formattedValue_)) {
        return false;
    }
    stringValue_ = StringUtilities::internString(stringValue_);
    return true;
}

std::string DataValue::getDescription() const {
    const auto textOrNull = [](const SharedString& text) { return text ? *text : std::string("NULL"); };
    std::ostringstream description;
    description.imbue(std::locale::classic());
    description << "DataValue{ isString=\"" << (isString_ ? "true" : "false") << "\" stringValue=\""
                << textOrNull(stringValue_) << "\" stringIndex=\"" << stringIndex_ << "\" numericValue=\""
                << numericValue_ << "\" formattedValue=\"" << textOrNull(formattedValue_) << "\" }";
    return description.str();
}

}  // namespace pellium

#include "pellium/models/data/hierarchy/Level.h"

#include <istream>
#include <ostream>

#include "pellium/formatters/FormatInfo.h"
#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/serializers/SerialReader.h"
#include "pellium/serializers/SerialWriter.h"

namespace pellium {

std::shared_ptr<Level> Level::create(SharedString name, SharedString label, SharedString formatName,
                                     DataType::type dataType, bool drillable, std::shared_ptr<DataValue> currentValue) {
    return std::make_shared<Level>(Token{}, std::move(name), std::move(label), std::move(formatName), dataType,
                                   drillable, std::move(currentValue));
}

std::shared_ptr<Level> Level::create(const std::shared_ptr<const Level>& level) {
    if (!level) {
        return nullptr;
    }
    auto copy = create(level->name_, level->label_, level->formatName_, level->dataType_, level->drillable_,
                       level->currentValue_ ? DataValue::create(*level->currentValue_) : nullptr);
    copy->ranked_ = level->ranked_;
    copy->sortOnRawColumnName_ = level->sortOnRawColumnName_;
    return copy;
}

std::shared_ptr<Level> Level::createForColumn(const Column& column) {
    return create(column.getName(), column.getLabel(), column.getFormatName(), column.getDataType(), true, nullptr);
}

Level::Level(Token, SharedString name, SharedString label, SharedString formatName, DataType::type dataType,
             bool drillable, std::shared_ptr<DataValue> currentValue)
    : name_(std::move(name)),
      label_(std::move(label)),
      formatName_(std::move(formatName)),
      dataType_(dataType),
      drillable_(drillable),
      currentValue_(std::move(currentValue)) {}

Level::~Level() = default;

int Level::getWrapperTypeId() const {
    return WrapperTypeIds::LEVEL;
}

bool Level::isDateTime() const {
    if (dataType_ != DataType::NUMERIC || !formatName_ || formatName_->empty()) {
        return false;
    }
    const auto formatter = FormatterFactory::instance()->getFormatterForFormatName(formatName_);
    if (!formatter || !formatter->getFormatInfo()) {
        return false;
    }
    const FormatType::type family = formatter->getFormatInfo()->getType();
    return family == FormatType::Date || family == FormatType::DateTime || family == FormatType::Time;
}

SharedString Level::getFormattedCurrentValue() const {
    if (!currentValue_) {
        return nullptr;
    }
    if (currentValue_->getFormattedValue()) {
        return currentValue_->getFormattedValue();
    }
    if (currentValue_->isString()) {
        return DataValue::formatStringValue(currentValue_->getStringValue(), currentValue_->getStringIndex());
    }
    return DataValue::formatNumericValue(currentValue_->getNumericValue(), formatName_);
}

SharedString Level::getCurrentDisplayString() const {
    return currentValue_ ? currentValue_->getDisplayString() : nullptr;
}

bool Level::writeBody(SerialWriter& writer) const {
    return writer.writeString(name_) && writer.writeString(label_) && writer.writeString(formatName_) &&
           writer.writePrimitive(SerialMarks::TAG_C, static_cast<std::int32_t>(dataType_)) &&
           writer.writePrimitive(SerialMarks::TAG_B, drillable_) &&
           writer.writePrimitive(SerialMarks::TAG_B, ranked_) && DataValue::serialize(writer, currentValue_) &&
           writer.writeString(sortOnRawColumnName_);
}

bool Level::readBody(SerialReader& reader) {
    std::int32_t dataType = 0;
    if (!reader.readString(name_) || !reader.readString(label_) || !reader.readString(formatName_)) {
        return false;
    }
    if (!reader.readPrimitive(SerialMarks::TAG_C, dataType)) {
        return false;
    }
    dataType_ = static_cast<DataType::type>(dataType);
    if (!reader.readPrimitive(SerialMarks::TAG_B, drillable_) || !reader.readPrimitive(SerialMarks::TAG_B, ranked_)) {
        return false;
    }
    if (!DataValue::unserialize(reader, currentValue_)) {
        return false;
    }
    if (!reader.readString(sortOnRawColumnName_)) {
        return false;
    }
    name_ = StringUtilities::internString(name_);
    return true;
}

bool Level::serialize(SerialWriter& writer, const std::shared_ptr<const Level>& level) {
    return writer.writeVersionMark() && writer.writePresence(level != nullptr) && (!level || level->writeBody(writer));
}

bool Level::unserialize(SerialReader& reader, std::shared_ptr<Level>& level) {
    bool isPresent = false;
    if (!reader.readVersionMark() || !reader.readPresence(isPresent)) {
        return false;
    }
    level = isPresent ? create(nullptr, nullptr, nullptr, DataType::STRING) : nullptr;
    return !isPresent || level->readBody(reader);
}

bool Level::serialize(std::ostream& stream) const {
    SerialWriter writer(stream);
    return writeBody(writer);
}

bool Level::unserialize(std::istream& stream) {
    SerialReader reader(stream);
    return readBody(reader);
}

}  // namespace pellium

#include "pellium/models/data/dataset/Variable.h"

#include "pellium/formatters/FormatInfo.h"
#include "pellium/formatters/FormatType.h"
#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"

namespace pellium {

Variable::Variable(DataType::type dataType, SharedString name, SharedString label, SharedString formatName,
                   StatisticType::type aggregation)
    : dataType_(dataType),
      name_(StringUtilities::internString(name)),
      label_(std::move(label)),
      formatName_(std::move(formatName)),
      aggregation_(aggregation) {}

Variable::~Variable() = default;

void Variable::setDataType(DataType::type dataType) {
    dataType_ = dataType;
    announceChange();
}

void Variable::setName(SharedString name) {
    name_ = StringUtilities::internString(name);
    announceChange();
}

void Variable::setLabel(SharedString label) {
    label_ = std::move(label);
    announceChange();
}

void Variable::setFormatName(SharedString formatName) {
    formatName_ = std::move(formatName);
    announceChange();
}

void Variable::setAggregation(StatisticType::type aggregation) {
    aggregation_ = aggregation;
    announceChange();
}

bool Variable::isDateTime() const {
    if (!formatName_ || formatName_->empty()) {
        return false;
    }
    const auto formatter = FormatterFactory::instance()->getFormatterForFormatName(formatName_);
    if (!formatter || !formatter->getFormatInfo()) {
        return false;
    }
    const FormatType::type family = formatter->getFormatInfo()->getType();
    return family == FormatType::Date || family == FormatType::DateTime || family == FormatType::Time;
}

void Variable::attributesChanged() {}

void Variable::announceChange() {
    attributesChanged();
    dispatchEvent(VARIABLE_CHANGED);
}

}  // namespace pellium

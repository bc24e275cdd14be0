#include "pellium/formatters/HebrewDateFormat.h"

#include "pellium/formatters/FormatInfo.h"
#include "pellium/formatters/FormatType.h"

namespace pellium {

HebrewDateFormat::HebrewDateFormat(const std::shared_ptr<FormatInfo>& info)
    : VekCalendarFormat(info, DateFormatter::ValueKind::Date, DateFormatter::Calendar::Hebrew) {}

HebrewDateFormat::~HebrewDateFormat() = default;

std::shared_ptr<Formatter> HebrewDateFormat::create(const std::shared_ptr<FormatInfo>& info) {
    if (!info || !info->getName() || FormatType::getFormatTypeForFormatName(*info->getName()) != FormatType::Date) {
        return nullptr;
    }
    auto formatter = std::shared_ptr<HebrewDateFormat>(new HebrewDateFormat(info));
    return formatter->initFormatFamily() ? formatter : nullptr;
}

bool HebrewDateFormat::isDateFormat() const {
    return true;
}

}  // namespace pellium

#include "pellium/formatters/VekDateFormat.h"

#include "pellium/formatters/FormatInfo.h"
#include "pellium/formatters/FormatType.h"

namespace pellium {

VekDateFormat::VekDateFormat(const std::shared_ptr<FormatInfo>& info)
    : VekCalendarFormat(info, DateFormatter::ValueKind::Date, DateFormatter::Calendar::Gregorian) {}

VekDateFormat::~VekDateFormat() = default;

std::shared_ptr<Formatter> VekDateFormat::create(const std::shared_ptr<FormatInfo>& info) {
    if (!info || !info->getName() || FormatType::getFormatTypeForFormatName(*info->getName()) != FormatType::Date) {
        return nullptr;
    }
    auto formatter = std::shared_ptr<VekDateFormat>(new VekDateFormat(info));
    return formatter->initFormatFamily() ? formatter : nullptr;
}

bool VekDateFormat::isDateFormat() const {
    return true;
}

}  // namespace pellium

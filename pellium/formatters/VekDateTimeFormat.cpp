#include "pellium/formatters/VekDateTimeFormat.h"

#include "pellium/formatters/FormatInfo.h"
#include "pellium/formatters/FormatType.h"

namespace pellium {

VekDateTimeFormat::VekDateTimeFormat(const std::shared_ptr<FormatInfo>& info)
    : VekCalendarFormat(info, DateFormatter::ValueKind::DateTime, DateFormatter::Calendar::Gregorian) {}

VekDateTimeFormat::~VekDateTimeFormat() = default;

std::shared_ptr<Formatter> VekDateTimeFormat::create(const std::shared_ptr<FormatInfo>& info) {
    if (!info || !info->getName() || FormatType::getFormatTypeForFormatName(*info->getName()) != FormatType::DateTime) {
        return nullptr;
    }
    auto formatter = std::shared_ptr<VekDateTimeFormat>(new VekDateTimeFormat(info));
    return formatter->initFormatFamily() ? formatter : nullptr;
}

bool VekDateTimeFormat::isDateTimeFormat() const {
    return true;
}

}  // namespace pellium

#include "pellium/formatters/VekTimeFormat.h"

#include "pellium/formatters/FormatInfo.h"
#include "pellium/formatters/FormatType.h"

namespace pellium {

VekTimeFormat::VekTimeFormat(const std::shared_ptr<FormatInfo>& info)
    : VekCalendarFormat(info, DateFormatter::ValueKind::Time, DateFormatter::Calendar::Gregorian) {}

VekTimeFormat::~VekTimeFormat() = default;

std::shared_ptr<Formatter> VekTimeFormat::create(const std::shared_ptr<FormatInfo>& info) {
    if (!info || !info->getName() || FormatType::getFormatTypeForFormatName(*info->getName()) != FormatType::Time) {
        return nullptr;
    }
    auto formatter = std::shared_ptr<VekTimeFormat>(new VekTimeFormat(info));
    return formatter->initFormatFamily() ? formatter : nullptr;
}

bool VekTimeFormat::isTimeFormat() const {
    return true;
}

}  // namespace pellium

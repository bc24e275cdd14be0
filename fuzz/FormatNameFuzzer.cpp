// Feeds arbitrary text to the format-name grammar and to the factory's resolution of a name.
#include <cstddef>
#include <cstdint>
#include <string>

#include "pellium/formatters/FormatNameParts.h"
#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/formatters/VekFormat.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string name(reinterpret_cast<const char*>(data), size);
    const auto parts = pellium::FormatNameParts::extractFormatParts(name);
    // Four width digits are read as they stand; only longer width texts clamp to 500.
    if (parts.width > 9999 || parts.name.size() > name.size()) {
        __builtin_trap();
    }
    pellium::VekFormat::isValidFormat(name);
    auto& factory = *pellium::FormatterFactory::instance();
    if (const auto formatter = factory.getFormatterForFormatName(name)) {
        formatter->format(1234.5);
        formatter->parse(name);
    }
    if (factory.getNumberOfCachedFormatters() > 10000) {
        factory.clearFormatterCache();
    }
    return 0;
}

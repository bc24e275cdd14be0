// Feeds arbitrary bytes to the logging configuration reader: it must never crash, hang or grow
// memory beyond the input, and what it answers must keep its invariants.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "pellium/resources/logging/LoggingConfiguration.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto configuration = pellium::LoggingConfiguration::createFromText(text);

    const auto threshold = configuration->getLogLevel();
    if (pellium::LogLevel::isSpecialSection(threshold) || !pellium::LogLevel::isValid(threshold)) {
        std::abort();
    }
    if (configuration->getLogFile().size() > size || configuration->getLogFile().find('\0') != std::string_view::npos) {
        std::abort();
    }
    // A text of n bytes has at most n + 1 lines.
    const std::size_t linesNotUnderstood = configuration->getNumberOfLinesNotUnderstood();
    const std::size_t firstLineNotUnderstood = configuration->getFirstLineNotUnderstood();
    if (linesNotUnderstood > size + 1 || firstLineNotUnderstood > size + 1 ||
        (linesNotUnderstood == 0) != (firstLineNotUnderstood == 0)) {
        std::abort();
    }
    for (const auto level : pellium::LogLevel::allValues()) {
        const bool beyondThreshold = !pellium::LogLevel::isSpecialSection(level) && level > threshold;
        if (beyondThreshold && configuration->isEnabled(level)) {
            std::abort();
        }
        if (configuration->isEnabled(level) && !configuration->writesToConsole(level) &&
            !configuration->writesToLogFile(level)) {
            std::abort();
        }
    }
    return 0;
}

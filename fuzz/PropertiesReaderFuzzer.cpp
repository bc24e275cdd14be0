// Feeds arbitrary bytes to the properties reader and to a bundle built from them: neither may
// crash, hang or answer text that is not UTF-8, and a bundle must find every key it was given.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "pellium/resources/localization/PropertiesReader.h"
#include "pellium/resources/localization/ResourceBundle.h"
#include "pellium/util/StringUtilities.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto entries = pellium::PropertiesReader::read(text);
    for (const auto& entry : entries) {
        if (!pellium::StringUtilities::isValidUtf8(entry.key) || !pellium::StringUtilities::isValidUtf8(entry.value)) {
            std::abort();
        }
    }
    const auto bundle = pellium::ResourceBundle::create("fuzz", "en_US", text);
    if (bundle->size() > entries.size()) {
        std::abort();
    }
    for (const auto& entry : entries) {
        if (!bundle->getString(entry.key)) {
            std::abort();
        }
    }
    return 0;
}

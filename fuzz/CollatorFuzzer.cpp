// Collates arbitrary bytes in several languages. The input is split at its first 0 byte into two
// texts; whatever the bytes (malformed UTF-8, runs of combining marks, contractions cut short),
// the collator must not crash or hang, must order the two texts antisymmetrically and must find
// each text equal to itself.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "pellium/models/data/sorting/Collator.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t split = input.find('\0');
    const std::string_view left = input.substr(0, split);
    const std::string_view right = split == std::string_view::npos ? std::string_view() : input.substr(split + 1);
    for (const char* locale : {"en", "cs", "da", "sv", "tr", "hu", "fr_CA", "uk"}) {
        const auto collator = pellium::Collator::create(locale);
        if (collator->compare(left, right) != -collator->compare(right, left) || collator->compare(left, left) != 0) {
            std::abort();
        }
    }
    return 0;
}

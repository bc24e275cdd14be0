// Decodes arbitrary text as base64. A text that is accepted must be the canonical encoding of the
// decoded bytes once its line breaks are removed, and both output types must agree.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/util/TranscodingUtilities.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    std::vector<std::byte> bytes;
    std::string bytesAsText;
    const bool accepted = pellium::TranscodingUtilities::decodeBase64(text, bytes);
    if (accepted != pellium::TranscodingUtilities::decodeBase64(text, bytesAsText)) {
        std::abort();
    }
    if (!accepted) {
        if (!bytes.empty() || !bytesAsText.empty()) {
            std::abort();
        }
        return 0;
    }
    std::string canonical;
    for (const char character : text) {
        if (character != '\r' && character != '\n') {
            canonical.push_back(character);
        }
    }
    if (pellium::TranscodingUtilities::encodeBase64(std::span<const std::byte>(bytes)) != canonical ||
        bytesAsText.size() != bytes.size()) {
        std::abort();
    }
    return 0;
}

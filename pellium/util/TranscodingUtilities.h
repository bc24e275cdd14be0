#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/Export.h"

namespace pellium {

/// Conversions between bytes and transfer texts. Base64 uses the standard alphabet (A-Z, a-z,
/// 0-9, "+", "/") with "=" padding, as data set streams arrive from servers. Decoding is strict
/// so that a damaged stream is refused rather than misread, and fast enough for streams of
/// hundreds of megabytes (table-driven, four characters to three bytes per step).
class PELLIUM_EXPORT TranscodingUtilities {
public:
    TranscodingUtilities() = delete;

    /// The padded base64 text of `bytes`, without line breaks: 4 characters per 3 bytes, the
    /// last group padded with "=" or "==".
    static std::string encodeBase64(std::span<const std::byte> bytes);
    static std::string encodeBase64(std::string_view bytes);

    /// The length of the base64 text of `byteCount` bytes.
    static constexpr std::size_t getBase64EncodedLength(std::size_t byteCount) noexcept {
        return (byteCount + 2) / 3 * 4;
    }

    /// Decodes padded base64 `text` into `out` (replacing its content). Carriage returns and line
    /// feeds are ignored wherever they stand, since servers break long texts into lines; every
    /// other character outside the alphabet fails, and so do a length that is not a multiple of
    /// four, "=" anywhere but in the last one or two places, a last group with pad bits that are
    /// not zero (so each byte sequence has exactly one accepted text) and "===". On failure
    /// answers false and leaves `out` empty. The empty text decodes to no bytes.
    static bool decodeBase64(std::string_view text, std::vector<std::byte>& out);
    /// As above, with the bytes in a std::string.
    static bool decodeBase64(std::string_view text, std::string& out);
};

}  // namespace pellium

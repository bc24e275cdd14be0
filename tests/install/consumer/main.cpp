// A host program that sees only the installed headers and library: it resolves a format, reads
// a localised text and round-trips base64, the way an embedding application first touches it.
#include <cstdio>
#include <string>

#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/resources/localization/LocalizationContext.h"
#include "pellium/resources/localization/ResourceManager.h"
#include "pellium/util/TranscodingUtilities.h"

int main() {
    const auto formatter = pellium::FormatterFactory::instance()->getFormatterForFormatName("BEST12.");
    const auto missing =
        pellium::ResourceManager::instance().getCurrentContext()->getString("vek_pellium", "missingValue.txt");
    std::string decoded;
    const bool base64 = pellium::TranscodingUtilities::decodeBase64(
        pellium::TranscodingUtilities::encodeBase64(std::string("report")), decoded);
    if (!formatter || !formatter->format(0.5) || !missing || *missing != "(missing)" || !base64 ||
        decoded != "report") {
        std::fprintf(stderr, "libPellium did not answer as expected\n");
        return 1;
    }
    std::printf("libPellium answers: %s, %s\n", formatter->format(0.5)->c_str(), missing->c_str());
    return 0;
}

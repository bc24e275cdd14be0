// Feeds arbitrary text to the parse of every numeric family in locales with different separators,
// signs and writing directions, and formats whatever it reads. A value read from a text must be
// written without trouble, and a finite value's text must read back to a number again.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/resources/localization/LocalizationContext.h"

namespace {

const std::vector<std::shared_ptr<pellium::Formatter>>& formatters() {
    static const auto all = [] {
        std::vector<std::shared_ptr<pellium::Formatter>> result;
        for (const char* locale : {"en_US", "de_DE", "fr_FR", "de_CH", "en_IN", "ar_SA", "sv_SE", "tr_TR"}) {
            const auto context = pellium::LocalizationContext::create(locale);
            for (const char* name : {"BEST12.", "F10.3", "Z10.2", "COMMA14.2", "DOLLAR12.2", "CURRENCY14.2",
                                     "NLMNIEUR16.2", "PERCENT9.2", "E11.", "PVALUE7.4", "CBDOLLAR9.1", "CBBEST8.",
                                     "SIZEKMG10.2", "NLSTRMON.", "NLSTRWK.", "NLSTRQTR."}) {
                result.push_back(pellium::FormatterFactory::instance()->getFormatter(context, name));
            }
        }
        return result;
    }();
    return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    for (const auto& formatter : formatters()) {
        const double value = formatter->parse(text);
        const auto written = formatter->format(value);
        if (!written) {
            __builtin_trap();
        }
        if (std::isfinite(value) && written->find('*') == std::string::npos && std::isnan(formatter->parse(*written))) {
            __builtin_trap();  // a finite text the formatter wrote must read back
        }
    }
    return 0;
}

// Feeds arbitrary text to the parse of the date, time and date-time families in locales with
// different names, scripts and writing directions, and uses the same bytes as a pattern of its
// own. A value read from a text must be written without trouble, and its text must read back to
// a value whose text is the same.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "pellium/formatters/DateFormatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/formatters/VekCalendarFormat.h"
#include "pellium/resources/localization/LocalizationContext.h"

namespace {

const std::vector<std::shared_ptr<const pellium::VekCalendarFormat>>& formats() {
    static const auto all = [] {
        std::vector<std::shared_ptr<const pellium::VekCalendarFormat>> result;
        for (const char* locale : {"en_US", "de_DE", "ja_JP", "ar_SA", "zh_TW", "ko_KR", "he_IL"}) {
            const auto context = pellium::LocalizationContext::create(locale);
            for (const char* name :
                 {"DATE9.", "DATE5.",    "DATETIME20.", "DATETIME9.", "TIMEAMPM19.", "TOD5.",     "TIME12.3",
                  "MMSS.",  "WEEKDATE.", "WORDDATE.",   "MONYY8.",    "YYQC6.",      "MMDDYY10.", "JULIAN7.",
                  "WEEKV.", "HDATE.",    "HEBDATE.",    "DOWNAME.",   "MONNAME.",    "QTR."}) {
                result.push_back(std::dynamic_pointer_cast<const pellium::VekCalendarFormat>(
                    pellium::FormatterFactory::instance()->getFormatter(context, name)));
            }
        }
        return result;
    }();
    return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    for (const auto& format : formats()) {
        const double value = format->parse(text);
        if (std::isnan(value)) {
            continue;
        }
        const auto written = format->format(value);
        if (!written || written->empty()) {
            std::abort();
        }
    }

    // The bytes as a pattern: compiling, formatting and parsing never fail hard.
    static const auto context = pellium::LocalizationContext::create("en_US");
    const auto formatter = pellium::DateFormatter::create(text, *context);
    std::string out;
    for (const double value : {0.0, 23694.0, -138061.0, 6589335.0}) {
        out.clear();
        formatter->format(value, pellium::DateFormatter::ValueKind::Date, out);
        double parsed = 0.0;
        formatter->parse(out, pellium::DateFormatter::ValueKind::Date, parsed);
    }
    formatter->format(2047194123.456, pellium::DateFormatter::ValueKind::DateTime, out);
    formatter->format(-1e14, pellium::DateFormatter::ValueKind::ElapsedTime, out);
    return 0;
}

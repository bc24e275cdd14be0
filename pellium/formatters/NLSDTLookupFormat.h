#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "pellium/Export.h"
#include "pellium/formatters/NumericSymbols.h"
#include "pellium/formatters/VekFormat.h"

namespace pellium {

/// NLSTRMON, NLSTRQTR and NLSTRWK: a month (1-12), quarter (1-4) or weekday (1 Sunday to
/// 7 Saturday) number written as its name in the format locale, as a report shows a column of
/// month numbers. The names are the stand-alone ones where the locale has them ("Januar", not a
/// form used inside a date).
///
/// | Width: default, range                       | Decimals |
/// |---------------------------------------------|----------|
/// | the longest wide name of the locale, 1-64   | ignored  |
///
/// The wide name is written when it fits the width, else the abbreviated one, else the narrow
/// one, right-aligned; a value that is not a whole number in the range, or whose narrow name
/// does not fit, is written as asterisks. `parse` reads any of the names (ASCII letters in any
/// case) and plain numbers in the range, and answers NaN for anything else, a narrow name that
/// several numbers share ("T") included.
class PELLIUM_EXPORT NLSDTLookupFormat : public VekFormat {
public:
    static constexpr int MAXIMUM_WIDTH = 64;

    /// Null for a null `info` or a name that is none of the three.
    static std::shared_ptr<Formatter> create(const std::shared_ptr<FormatInfo>& info);
    ~NLSDTLookupFormat() override;

    using Formatter::format;
    using Formatter::parse;
    SharedString format(const double& value) const override;
    double parse(const std::string& text) const override;

    int getWidth() const override;
    bool isNumericFormat() const override;
    int getMaxFormattedStringLength() const override;
    void setWidth(int width) override;

private:
    enum class Kind { Month, Quarter, Weekday };
    static constexpr int FORM_COUNT = 3;  // wide, abbreviated, narrow

    NLSDTLookupFormat(const std::shared_ptr<FormatInfo>& info, Kind kind);
    int firstNumber() const { return 1; }
    int lastNumber() const { return static_cast<int>(names_.size()); }

    std::vector<std::array<NumericSymbol, FORM_COUNT>> names_;  // by number - 1
    int defaultWidth_ = 1;
    int width_ = 1;
    bool rightToLeft_ = false;
};

}  // namespace pellium

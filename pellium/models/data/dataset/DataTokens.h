#pragma once

#include <bit>
#include <cstdint>
#include <iosfwd>
#include <limits>
#include <memory>
#include <string>

#include "pellium/Export.h"
#include "pellium/models/data/dataset/DataType.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

class DataValue;

/// The special states of report data and how cells encode them. A cell has no kind field: a
/// numeric cell marks a state with a reserved finite double (a sentinel), a string cell with a
/// reserved negative index into the string table (a token code) and a reserved internal text.
/// Besides the constants this class owns the internal texts, the localized display texts, the
/// sort planes that put special values in bands before or after the ordinary ones, and the text
/// form of numbers in the CSV outputs of a data set.
///
/// | state        | code | numeric sentinel                  | internal text |
/// |--------------|------|-----------------------------------|---------------|
/// | matches-all  | -100 | largest finite double             | "MATCHES_ALL" |
/// | all-others   |  -99 | smallest positive normal double   | "~O"          |
/// | suppressed   |  -98 | the double just below the largest | "~S"          |
/// | sparse       |   -2 | most negative finite double       | "~N"          |
/// | missing      |   -1 | quiet NaN                         | " "           |
///
/// The sentinels are ordinary finite doubles, compared exactly; matches-all and suppressed lie one
/// unit in the last place apart. Everything here is static, allocation-free on the hot paths and
/// safe from any thread; the localized texts are read from the current localization context on
/// every call, so they follow a change of language.
class PELLIUM_EXPORT DataTokens {
public:
    DataTokens() = delete;

    // --- Token codes (string indices of special cells) -------------------------------------------

    static constexpr std::int32_t TOKEN_MATCHES_ALL = -100;
    static constexpr std::int32_t TOKEN_ALL_OTHERS = -99;
    static constexpr std::int32_t TOKEN_SUPPRESSED = -98;
    static constexpr std::int32_t TOKEN_SPARSE = -2;
    static constexpr std::int32_t TOKEN_MISSING = -1;
    /// The index of a text whose position in the string table is not known.
    static constexpr std::int32_t UNRESOLVABLE_DATA_VALUE = -1000;

    // --- Numeric sentinels -----------------------------------------------------------------------

    static constexpr double MATCHES_ALL_NUMERIC = std::numeric_limits<double>::max();
    static constexpr double ALL_OTHERS_NUMERIC = std::numeric_limits<double>::min();
    static constexpr double SUPPRESSED_NUMERIC = std::bit_cast<double>(std::uint64_t{0x7FEFFFFFFFFFFFFE});
    static constexpr double SPARSE_NUMERIC = std::numeric_limits<double>::lowest();
    static constexpr double MISSING_NUMERIC = std::numeric_limits<double>::quiet_NaN();

    // --- Sort planes -----------------------------------------------------------------------------
    // Comparators order values by plane first, so that special values form bands.

    static constexpr int SORT_PLANE_ALL_OTHERS = -1;
    static constexpr int SORT_PLANE_MATCHES_ALL = 0;
    static constexpr int SORT_PLANE_SPARSE = 1;
    static constexpr int SORT_PLANE_MISSING = 2;
    static constexpr int SORT_PLANE_SUPPRESSED = 3;
    static constexpr int SORT_PLANE_ORDINARY = 4;

    /// The sentinel of a token code: -100, -99, -98 and -1 give theirs; every other code, -2
    /// included, gives SPARSE_NUMERIC.
    static double getNumericConstant(std::int32_t code);

    /// The interned internal text of -100, -99, -98, -2 or -1; the shared null text for any other
    /// code.
    static const SharedString& getStringConstant(std::int32_t code);

    /// The localized display text of -99 ("All Other"), -98 ("(suppressed)") or -1 ("(missing)")
    /// in the current localization context; null for any other code.
    static SharedString getLocalizedDisplayString(std::int32_t code);

    /// "." , the text of a missing number in formatted and CSV output.
    static const SharedString& getMissingNumericDisplayString();
    /// "*", the formatted text of a suppressed number.
    static const SharedString& getSuppressedNumericDisplayString();
    /// "-".
    static const SharedString& getSparseInternalDisplayString();
    /// "UNRESOLVED".
    static const SharedString& getUnresolvableString();

    /// A new value of `type` in the state of `code` (-100, -99, -98, -2 or -1), with its formatted
    /// text; null for any other code or type.
    static std::shared_ptr<DataValue> makeDataValue(DataType::type type, std::int32_t code);

    /// The sort plane of a number, tested in the order all-others, sparse, NaN, suppressed,
    /// matches-all; SORT_PLANE_ORDINARY for every other number.
    static int getSortPlaneForValue(double number);
    /// The sort plane of a value: all-others and sparse by index (string) or sentinel (number),
    /// then missing, suppressed and matches-all. A null value is in the missing plane.
    static int getSortPlaneForValue(const DataValue& value);
    static int getSortPlaneForValue(const std::shared_ptr<const DataValue>& value);
    /// The sort plane of a token code; SORT_PLANE_ORDINARY for an index of the string table.
    static int getSortPlaneForIndex(std::int32_t code);

    /// Writes `number` as the CSV outputs of a data set do: NaN as ".", all-others "~O",
    /// suppressed "~S", sparse "~N", matches-all as nothing at all (the field stays empty), and
    /// every other number in the shortest text that reads back to the same double.
    static void writeCSVNumber(std::ostream& stream, double number);
    /// The same, appended to `text`.
    static void appendCSVNumber(std::string& text, double number);
};

}  // namespace pellium

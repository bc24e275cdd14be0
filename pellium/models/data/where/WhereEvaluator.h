#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string_view>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/data/where/WhereClauseOperators.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

class AbstractWhereClauseExpression;
class Column;
class DataSet;

/// A where clause compiled once against one data set, so that rows are tested by index without
/// looking columns up by name or building values. Each node holds its resolved column, its
/// constant in the column's own representation and one specialised routine; DataSet::filter,
/// DataSet::filterDataset and DataSet::getRowIndicesThatEvaluateToState use it.
///
/// Two ways to evaluate, always with the same answer: evaluate(row) tests one row, and
/// selectRows(begin, end) tests a range of rows in batches with one tight loop per routine,
/// writing the selected rows into a selection vector (AND narrows the selection child by child,
/// OR tests each child only on the rows still unselected, NOT takes the difference).
///
/// Row semantics, which differ from a clause's own evaluate on a row map where noted:
/// - Numbers: a missing cell (NaN) sorts below every number: it satisfies LT and LE against any
///   number and fails GT and GE. Exact NE excludes missing cells while the tolerant NE (the data
///   set's comparison epsilon not 0) includes them; this asymmetry is deliberate. IS_NOT with a
///   value is NE. The special sentinels compare as the plain doubles they are.
/// - A missing constant: EQ and LE select missing cells, NE and GT the others, LT none, GE all.
/// - Texts compare bytewise, case-sensitively; a cell without a text (an index the string table
///   lacks) satisfies no comparison. With a missing constant EQ and IS select every missing text
///   (null, empty or blank), NE and IS_NOT every other. On a string column the cell's texts are
///   decided once per distinct string-table index, so per row only the index is compared.
/// - A string constant on a numeric column compares the cells' formatted texts; there "." also
///   counts as missing. A missing numeric constant on a string column is treated as a missing text.
/// - NOT compounds negate their first child (a clause's own evaluate never matches a NOT).
/// - What cannot be compiled, the caller's fallback: a leaf on a column the data set lacks, a
///   leaf without a value, a non-missing number against a string column, LIKE and unknown
///   operators, and compounds without children. (A clause's own evaluate gives true for an empty
///   AND and for IS_NOT on an absent column.)
///
/// A compiled evaluator is read-only and may be used from several threads at once while the data
/// set is not changed; it must not be used after the data set's columns change. Reading a row at
/// or beyond a column's end throws std::out_of_range, from both paths.
class PELLIUM_EXPORT WhereEvaluator {
    struct Token {};

public:
    /// The routine of a node; each prints as the name getRoutineName gives.
    enum class Routine : std::uint8_t {
        TRUE_RESULT,
        FALSE_RESULT,
        NUMERIC_EQ,
        NUMERIC_NE,
        NUMERIC_LT,
        NUMERIC_LE,
        NUMERIC_GT,
        NUMERIC_GE,
        NUMERIC_MISSING,
        NUMERIC_NOT_MISSING,
        EPSILON_EQ,
        EPSILON_NE,
        EPSILON_LT,
        EPSILON_LE,
        EPSILON_GT,
        EPSILON_GE,
        STRING_EQ,
        STRING_NE,
        INTERN_EQ,
        INTERN_NE,
        STRING_LT,
        STRING_LE,
        STRING_GT,
        STRING_GE,
        STRING_MISSING,
        STRING_NOT_MISSING,
        AND,
        OR,
        NOT,
    };

    /// The routine's name, such as "_eval_numeric_eq" or "_eval_and".
    static std::string_view getRoutineName(Routine routine);

    /// Compiles `where` against `dataSet`. What cannot be compiled (see above), and a null clause
    /// or data set, becomes a node that answers `resultWhenUnresolved` for every row. With
    /// `internStrings`, string constants are interned and EQ and NE compare texts by identity
    /// first. Never null.
    static std::shared_ptr<WhereEvaluator> create(const std::shared_ptr<const AbstractWhereClauseExpression>& where,
                                                  const std::shared_ptr<const DataSet>& dataSet, bool internStrings,
                                                  bool resultWhenUnresolved);

    explicit WhereEvaluator(Token);
    ~WhereEvaluator();
    WhereEvaluator(const WhereEvaluator&) = delete;
    WhereEvaluator& operator=(const WhereEvaluator&) = delete;

    /// Whether row `row` satisfies the clause. Throws std::out_of_range for a row beyond a column
    /// that the routine reads.
    bool evaluate(std::uint32_t row) const;

    /// Writes the rows of [begin, end) that satisfy the clause, ascending, to `selection`, which
    /// must have room for end - begin rows, and answers their count: exactly the rows for which
    /// evaluate is true. Throws std::out_of_range as evaluate would for the same rows.
    std::size_t selectRows(std::uint32_t begin, std::uint32_t end, std::uint32_t* selection) const;
    /// The same into a new vector.
    std::vector<std::uint32_t> selectRows(std::uint32_t begin, std::uint32_t end) const;

    /// A diagnostic text of the compiled tree: "TRUE", "FALSE", "NOT(child)", "(a AND b)",
    /// "(Sales GT 500)".
    SharedString getStringRepresentation() const;
    void printToStream(std::ostream& stream) const;

    Routine getRoutine() const { return routine_; }
    /// The column of a leaf; null for compound and constant nodes.
    const std::shared_ptr<const Column>& getColumn() const { return column_; }
    const std::vector<std::shared_ptr<WhereEvaluator>>& getChildren() const { return children_; }
    /// Whether texts are compared through the formatted numbers of a numeric column.
    bool comparesFormattedValues() const { return compareFormatted_; }
    /// Whether a string leaf decides its cells once per distinct string-table index.
    bool comparesStringIndices() const { return !verdicts_.empty(); }

private:
    friend struct WhereEvaluatorCompiler;
    friend struct WhereEvaluatorKernels;

    /// The kernel behind a routine: the per-row test and the two batch loops over one routine.
    struct Kernel;
    /// Buffers of the batch loops, one set per nesting level, made once per selectRows call.
    class Scratch;

    void setRoutine(Routine routine, const Kernel& kernel);

    std::shared_ptr<const Column> column_;
    Routine routine_ = Routine::FALSE_RESULT;
    const Kernel* kernel_ = nullptr;
    std::vector<std::shared_ptr<WhereEvaluator>> children_;
    SharedString stringConstant_;
    double numericConstant_;
    bool valueIsMissing_ = false;
    bool compareFormatted_ = false;
    double epsilon_ = 0;

    // Resolved once at compilation, so that the loops touch only raw vectors.
    WhereClauseOperators::type operator_ = WhereClauseOperators::UNKNOWN;
    std::shared_ptr<const std::vector<double>> numbers_;
    std::shared_ptr<const std::vector<std::int32_t>> stringIndices_;
    // The verdict of each string-table index, offset so that the token codes -100 to -1 come
    // first; indices outside it have no text and get nullTextVerdict_.
    std::vector<std::uint8_t> verdicts_;
    bool nullTextVerdict_ = false;
    std::int32_t onlyMatchingIndex_ = 0;
};

}  // namespace pellium

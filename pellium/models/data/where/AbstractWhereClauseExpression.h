#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <set>
#include <string>

#include "pellium/Export.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/util/StringUtilities.h"
#include "pellium/util/vector_map.h"

namespace pellium {

class SerialReader;
class SerialWriter;

/// A filter predicate: a tree whose leaves (WhereClauseExpression) compare one named column with
/// one constant value and whose inner nodes (CompoundWhereClauseExpression) join their children
/// with AND, OR or NOT. Where clauses are evaluated against one row given as a map from column
/// name to value, compiled against whole data sets by WhereEvaluator, simplified by
/// WhereClauseSimplification, printed for machines and for people, and written to the tagged byte
/// stream. Nodes are held by shared pointer; their texts and values are shared and immutable, so
/// copies share them.
///
/// Evaluation never fails: missing data makes a comparison false. A tree is not locked; read it
/// from several threads only while nobody changes it.
class PELLIUM_EXPORT AbstractWhereClauseExpression {
public:
    /// One row: column name to value. A column that is absent, or whose value is null, is missing.
    using RowMap = vector_map<std::string, std::shared_ptr<DataValue>>;
    /// Column name to label, for replaceLabel.
    using LabelMap = vector_map<std::string, SharedString>;
    using ColumnNames = std::set<std::string>;

    /// The class bytes of the stream form.
    static constexpr std::uint8_t LEAF_MARK = 0x98;
    static constexpr std::uint8_t COMPOUND_MARK = 0x99;
    /// Compounds nested deeper than this are refused by the stream reader, so that hostile bytes
    /// cannot exhaust the stack. Trees built in code may nest deeper.
    static constexpr int MAXIMUM_STREAM_NESTING = 256;

    virtual ~AbstractWhereClauseExpression();

    /// Whether `row` satisfies the clause. A null map, an absent column or a null value is missing.
    virtual bool evaluate(const std::shared_ptr<const RowMap>& row) const = 0;
    /// The names of the columns the clause compares, each once.
    virtual ColumnNames getReferencedColumnNames() const = 0;
    /// The machine form, such as "((Region EQ East) AND (Sales GT 500))"; null for an empty
    /// compound.
    virtual SharedString getStringRepresentation() const = 0;
    /// The diagnostic form, which can add each leaf's label and format name and shows the name and
    /// hierarchy flag of compounds.
    virtual SharedString getDescription(bool withLabel, bool withFormat) const = 0;
    /// A leaf is never empty; a compound is empty when it has no child that is not empty.
    virtual bool isEmpty() const = 0;
    /// The same clause applied to the column `name` instead; null for a leaf without a column or
    /// value.
    virtual std::shared_ptr<AbstractWhereClauseExpression> getCopyAppliedToNewColumn(
        const SharedString& name) const = 0;
    /// A deep copy of the tree; texts and values are shared.
    virtual std::shared_ptr<AbstractWhereClauseExpression> clone() const = 0;
    /// Writes the node's class byte and its body. False when the stream fails.
    virtual bool serialize(std::ostream& stream) const = 0;
    /// Reads the node's body (the class byte was read by the caller) into this node. False for
    /// short or malformed bytes; the node is then left as far as it was read.
    virtual bool unserialize(std::istream& stream) = 0;
    /// Leaves whose column name is a key of `labels` take the mapped label. Nothing for null.
    virtual void replaceLabel(const std::shared_ptr<const LabelMap>& labels) = 0;

    bool isCompound() const { return isCompound_; }

    // --- Stream form of a possibly null tree ------------------------------------------------------
    // The version mark "V" 1, then "a" for a null tree, else "g" and the node's class byte and
    // body (0x98 leaf, 0x99 compound). A leaf's body is its column name, label and format name
    // (string blocks), its value (the data value's own static form) and its operator ("c" + 4
    // bytes). A compound's body is "a" for a null child vector, else "f", "U" and the count, "S",
    // each child in this static form, "T"; then its operator ("c" + 4 bytes), name (string block)
    // and hierarchical flag ("c" + 1 byte).

    static bool serialize(std::ostream& stream, const std::shared_ptr<const AbstractWhereClauseExpression>& tree);
    static bool serialize(SerialWriter& writer, const std::shared_ptr<const AbstractWhereClauseExpression>& tree);
    /// Reads a tree into `tree`: null for "a", a new leaf or compound for their class bytes. Any
    /// other class byte makes the node already held in `tree` read its body (false when it holds
    /// none). False for short or malformed bytes, a version other than 1, or nesting deeper than
    /// MAXIMUM_STREAM_NESTING; `tree` then holds what was read so far and must be discarded.
    static bool unserialize(std::istream& stream, std::shared_ptr<AbstractWhereClauseExpression>& tree);
    static bool unserialize(SerialReader& reader, std::shared_ptr<AbstractWhereClauseExpression>& tree);

protected:
    explicit AbstractWhereClauseExpression(bool isCompound) : isCompound_(isCompound) {}
    AbstractWhereClauseExpression(const AbstractWhereClauseExpression&) = default;
    AbstractWhereClauseExpression& operator=(const AbstractWhereClauseExpression&) = default;

    /// The class byte and body, through `writer`.
    bool writeNode(SerialWriter& writer) const;
    /// The body of this node, `nesting` compounds deep.
    bool readBody(SerialReader& reader, int nesting);
    static bool unserialize(SerialReader& reader, std::shared_ptr<AbstractWhereClauseExpression>& tree, int nesting);

private:
    bool isCompound_;
};

/// A strict weak ordering of clauses, so that they can be keys of sorted containers and
/// duplicates can be found: leaves before compounds; leaves by operator, column name (bytes) and
/// value (numbers before texts, numbers by value with all NaN equivalent and last, texts by their
/// bytes, a null value or text first); compounds by operator, then their children
/// lexicographically (a null child first), then name and hierarchical flag. Labels and format
/// names play no part.
PELLIUM_EXPORT bool operator<(const AbstractWhereClauseExpression& left, const AbstractWhereClauseExpression& right);
/// Three-way form of the ordering: negative, zero or positive. Null sorts before any tree.
PELLIUM_EXPORT int compareWhereClauses(const AbstractWhereClauseExpression* left,
                                       const AbstractWhereClauseExpression* right);

/// A text for logs: the diagnostic form with labels and format names; "NULL" for null.
PELLIUM_EXPORT std::string describe(const std::shared_ptr<const AbstractWhereClauseExpression>& clause);

}  // namespace pellium

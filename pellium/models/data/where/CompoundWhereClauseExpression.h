#pragma once

#include <memory>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/data/where/AbstractWhereClauseExpression.h"
#include "pellium/models/data/where/WhereClauseOperators.h"

namespace pellium {

class WhereClauseExpression;

/// The inner node of a where clause: children joined by one uniform operator, AND or OR in
/// practice. It may carry a name and be flagged hierarchical when it selects a path in a
/// hierarchy (the flag keeps a one-child compound alive through simplification).
///
/// Against a row map (evaluate), children are walked in order:
/// - no children: true exactly for AND (an empty AND matches everything, an empty OR nothing);
/// - OR: true at the first child that is true; AND: false at the first child that is false;
/// - any other operator, NOT included, matches no row. (The compiled evaluator gives NOT its
///   logical meaning; see WhereEvaluator.)
///
/// The child vector may be null (as read from a stream that said so) and may hold null children,
/// which every operation skips.
class PELLIUM_EXPORT CompoundWhereClauseExpression final : public AbstractWhereClauseExpression {
    struct Token {};

public:
    using Children = std::vector<std::shared_ptr<AbstractWhereClauseExpression>>;

    /// An OR compound with an empty child vector.
    static std::shared_ptr<CompoundWhereClauseExpression> create();
    /// An empty compound with the given operator.
    static std::shared_ptr<CompoundWhereClauseExpression> create(WhereClauseOperators::type op);
    /// A compound with the given operator whose children are those of `children`, in order (none
    /// for null).
    static std::shared_ptr<CompoundWhereClauseExpression> create(WhereClauseOperators::type op,
                                                                 const Children& children);
    /// A compound whose child vector is null, for the stream reader.
    static std::shared_ptr<CompoundWhereClauseExpression> createWithoutChildren();

    CompoundWhereClauseExpression(Token, WhereClauseOperators::type op, std::shared_ptr<Children> children);

    bool evaluate(const std::shared_ptr<const RowMap>& row) const override;
    ColumnNames getReferencedColumnNames() const override;
    /// Null when empty; a one-child compound prints as its child; otherwise the children's forms
    /// joined by " AND " (or the operator's short name) in parentheses.
    SharedString getStringRepresentation() const override;
    /// "(" + "[H] " when hierarchical + "name: " when named + the children's descriptions joined
    /// by the operator + ")".
    SharedString getDescription(bool withLabel, bool withFormat) const override;
    bool isEmpty() const override;
    /// A compound with the same operator, name and flag whose children are the children's copies
    /// onto `name` (children whose copy is null are left out).
    std::shared_ptr<AbstractWhereClauseExpression> getCopyAppliedToNewColumn(const SharedString& name) const override;
    std::shared_ptr<AbstractWhereClauseExpression> clone() const override;
    bool serialize(std::ostream& stream) const override;
    bool unserialize(std::istream& stream) override;
    void replaceLabel(const std::shared_ptr<const LabelMap>& labels) override;

    /// The first leaf, depth first in child order, whose column name is `name`; null when none is.
    virtual std::shared_ptr<WhereClauseExpression> getExpressionforColumn(const SharedString& name) const;

    /// Appends `child` (a null vector becomes an empty one first).
    void addExpression(std::shared_ptr<AbstractWhereClauseExpression> child);
    /// The children; null when the vector is null.
    const std::shared_ptr<Children>& getExpressions() const { return children_; }
    std::size_t getNumberOfExpressions() const { return children_ ? children_->size() : 0; }
    WhereClauseOperators::type getUniformOperator() const { return operator_; }
    void setUniformOperator(WhereClauseOperators::type op) { operator_ = op; }
    const SharedString& getName() const { return name_; }
    void setName(SharedString name) { name_ = std::move(name); }
    bool isHierarchical() const { return isHierarchical_; }
    void setIsHierarchical(bool isHierarchical) { isHierarchical_ = isHierarchical; }

    /// Appends every leaf of the tree to `leaves`, depth first in child order; nothing when the
    /// compound is empty.
    void collectSimpleSubExpressions(std::vector<std::shared_ptr<WhereClauseExpression>>& leaves) const;
    /// Removes every leaf child on the column `name` and every compound child named `name`, and
    /// does the same inside the remaining compound children. Nothing for a null name.
    void removeSubExpressionsWithName(const SharedString& name);
    /// Cleans the compound children first, then removes null and empty children.
    void cleanSubExpressions();

    /// The body alone (see AbstractWhereClauseExpression for the bytes).
    bool writeBody(SerialWriter& writer) const;
    bool readBody(SerialReader& reader, int nesting);

private:
    template <typename Visit>
    void forEachChild(Visit&& visit) const;

    std::shared_ptr<Children> children_;
    WhereClauseOperators::type operator_;
    SharedString name_;
    bool isHierarchical_ = false;
};

}  // namespace pellium

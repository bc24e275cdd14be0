#include "pellium/models/data/where/CompoundWhereClauseExpression.h"

#include <algorithm>

#include "pellium/models/data/where/WhereClauseExpression.h"
#include "pellium/serializers/SerialReader.h"
#include "pellium/serializers/SerialWriter.h"

namespace pellium {

namespace {

// Writes nothing the first time and its separator every later time, for joined lists.
class Delimiter {
public:
    explicit Delimiter(std::string separator) : separator_(std::move(separator)) {}

    void appendTo(std::string& text) {
        if (!isFirst_) {
            text += separator_;
        }
        isFirst_ = false;
    }

private:
    std::string separator_;
    bool isFirst_ = true;
};

std::string joiningSeparator(WhereClauseOperators::type op) {
    std::string separator(1, ' ');
    separator.append(WhereClauseOperators::getStringFromValue(op)).push_back(' ');
    return separator;
}

bool sameName(const SharedString& left, const SharedString& right) {
    return left && right && (left == right || *left == *right);
}

}  // namespace

// --- Creation ---------------------------------------------------------------------------------------

CompoundWhereClauseExpression::CompoundWhereClauseExpression(Token, WhereClauseOperators::type op,
                                                             std::shared_ptr<Children> children)
    : AbstractWhereClauseExpression(true), children_(std::move(children)), operator_(op) {}

std::shared_ptr<CompoundWhereClauseExpression> CompoundWhereClauseExpression::create() {
    return create(WhereClauseOperators::OR);
}

std::shared_ptr<CompoundWhereClauseExpression> CompoundWhereClauseExpression::create(WhereClauseOperators::type op) {
    return std::make_shared<CompoundWhereClauseExpression>(Token{}, op, std::make_shared<Children>());
}

std::shared_ptr<CompoundWhereClauseExpression> CompoundWhereClauseExpression::create(WhereClauseOperators::type op,
                                                                                     const Children& children) {
    return std::make_shared<CompoundWhereClauseExpression>(Token{}, op, std::make_shared<Children>(children));
}

std::shared_ptr<CompoundWhereClauseExpression> CompoundWhereClauseExpression::createWithoutChildren() {
    return std::make_shared<CompoundWhereClauseExpression>(Token{}, WhereClauseOperators::OR, nullptr);
}

template <typename Visit>
void CompoundWhereClauseExpression::forEachChild(Visit&& visit) const {
    if (!children_) {
        return;
    }
    for (const auto& child : *children_) {
        if (child) {
            visit(*child);
        }
    }
}

// --- Evaluation -------------------------------------------------------------------------------------

bool CompoundWhereClauseExpression::evaluate(const std::shared_ptr<const RowMap>& row) const {
    if (!children_ || children_->empty()) {
        return operator_ == WhereClauseOperators::AND;
    }
    if (operator_ != WhereClauseOperators::AND && operator_ != WhereClauseOperators::OR) {
        return false;
    }
    const bool decisive = operator_ == WhereClauseOperators::OR;  // the child result that ends the walk
    for (const auto& child : *children_) {
        const bool result = child && child->evaluate(row);
        if (result == decisive) {
            return decisive;
        }
    }
    return !decisive;
}

AbstractWhereClauseExpression::ColumnNames CompoundWhereClauseExpression::getReferencedColumnNames() const {
    ColumnNames names;
    forEachChild([&](const AbstractWhereClauseExpression& child) { names.merge(child.getReferencedColumnNames()); });
    return names;
}

bool CompoundWhereClauseExpression::isEmpty() const {
    bool empty = true;
    forEachChild([&](const AbstractWhereClauseExpression& child) { empty = empty && child.isEmpty(); });
    return empty;
}

// --- Text -------------------------------------------------------------------------------------------

SharedString CompoundWhereClauseExpression::getStringRepresentation() const {
    if (isEmpty()) {
        return nullptr;
    }
    std::string text;
    Delimiter delimiter(joiningSeparator(operator_));
    forEachChild([&](const AbstractWhereClauseExpression& child) {
        if (const SharedString childText = child.getStringRepresentation()) {
            delimiter.appendTo(text);
            text += *childText;
        }
    });
    if (children_->size() < 2) {
        return std::make_shared<const std::string>(std::move(text));
    }
    std::string wrapped;
    wrapped.reserve(text.size() + 2);
    wrapped.push_back('(');
    wrapped.append(text);
    wrapped.push_back(')');
    return std::make_shared<const std::string>(std::move(wrapped));
}

SharedString CompoundWhereClauseExpression::getDescription(bool withLabel, bool withFormat) const {
    std::string text = "(";
    if (isHierarchical_) {
        text += "[H] ";
    }
    if (name_) {
        text.append(*name_).append(": ");
    }
    Delimiter delimiter(joiningSeparator(operator_));
    forEachChild([&](const AbstractWhereClauseExpression& child) {
        if (const SharedString childText = child.getDescription(withLabel, withFormat)) {
            delimiter.appendTo(text);
            text += *childText;
        }
    });
    text += ')';
    return std::make_shared<const std::string>(std::move(text));
}

// --- Copies and rewrites ----------------------------------------------------------------------------

std::shared_ptr<AbstractWhereClauseExpression> CompoundWhereClauseExpression::getCopyAppliedToNewColumn(
    const SharedString& name) const {
    auto copy = create(operator_);
    copy->name_ = name_;
    copy->isHierarchical_ = isHierarchical_;
    forEachChild([&](const AbstractWhereClauseExpression& child) {
        if (auto childCopy = child.getCopyAppliedToNewColumn(name)) {
            copy->children_->push_back(std::move(childCopy));
        }
    });
    return copy;
}

std::shared_ptr<AbstractWhereClauseExpression> CompoundWhereClauseExpression::clone() const {
    auto copy = children_ ? create(operator_) : createWithoutChildren();
    copy->operator_ = operator_;
    copy->name_ = name_;
    copy->isHierarchical_ = isHierarchical_;
    if (children_) {
        copy->children_->reserve(children_->size());
        for (const auto& child : *children_) {
            copy->children_->push_back(child ? child->clone() : nullptr);
        }
    }
    return copy;
}

void CompoundWhereClauseExpression::replaceLabel(const std::shared_ptr<const LabelMap>& labels) {
    if (!labels || !children_) {
        return;
    }
    for (const auto& child : *children_) {
        if (child) {
            child->replaceLabel(labels);
        }
    }
}

std::shared_ptr<WhereClauseExpression> CompoundWhereClauseExpression::getExpressionforColumn(
    const SharedString& name) const {
    if (!name || !children_) {
        return nullptr;
    }
    for (const auto& child : *children_) {
        if (!child) {
            continue;
        }
        if (child->isCompound()) {
            if (auto found = static_cast<const CompoundWhereClauseExpression&>(*child).getExpressionforColumn(name)) {
                return found;
            }
        } else if (sameName(static_cast<const WhereClauseExpression&>(*child).getColumnName(), name)) {
            return std::static_pointer_cast<WhereClauseExpression>(child);
        }
    }
    return nullptr;
}

void CompoundWhereClauseExpression::addExpression(std::shared_ptr<AbstractWhereClauseExpression> child) {
    if (!children_) {
        children_ = std::make_shared<Children>();
    }
    children_->push_back(std::move(child));
}

void CompoundWhereClauseExpression::collectSimpleSubExpressions(
    std::vector<std::shared_ptr<WhereClauseExpression>>& leaves) const {
    if (isEmpty()) {
        return;
    }
    for (const auto& child : *children_) {
        if (!child) {
            continue;
        }
        if (child->isCompound()) {
            static_cast<const CompoundWhereClauseExpression&>(*child).collectSimpleSubExpressions(leaves);
        } else {
            leaves.push_back(std::static_pointer_cast<WhereClauseExpression>(child));
        }
    }
}

void CompoundWhereClauseExpression::removeSubExpressionsWithName(const SharedString& name) {
    if (!children_ || !name) {
        return;
    }
    std::erase_if(*children_, [&](const std::shared_ptr<AbstractWhereClauseExpression>& child) {
        if (!child) {
            return false;
        }
        if (!child->isCompound()) {
            return sameName(static_cast<const WhereClauseExpression&>(*child).getColumnName(), name);
        }
        auto& compound = static_cast<CompoundWhereClauseExpression&>(*child);
        if (sameName(compound.getName(), name)) {
            return true;
        }
        compound.removeSubExpressionsWithName(name);
        return false;
    });
}

void CompoundWhereClauseExpression::cleanSubExpressions() {
    if (!children_) {
        return;
    }
    for (const auto& child : *children_) {
        if (child && child->isCompound()) {
            static_cast<CompoundWhereClauseExpression&>(*child).cleanSubExpressions();
        }
    }
    std::erase_if(*children_, [](const auto& child) { return !child || child->isEmpty(); });
}

// --- Stream form ------------------------------------------------------------------------------------

bool CompoundWhereClauseExpression::serialize(std::ostream& stream) const {
    SerialWriter writer(stream);
    return writeNode(writer);
}

bool CompoundWhereClauseExpression::unserialize(std::istream& stream) {
    SerialReader reader(stream);
    return readBody(reader, 0);
}

bool CompoundWhereClauseExpression::writeBody(SerialWriter& writer) const {
    if (!writer.writePresence(children_ != nullptr, SerialMarks::VECTOR)) {
        return false;
    }
    if (children_) {
        if (!writer.writeCount(children_->size()) || !writer.writeMark(SerialMarks::START)) {
            return false;
        }
        for (const auto& child : *children_) {
            if (!AbstractWhereClauseExpression::serialize(writer, child)) {
                return false;
            }
        }
        if (!writer.writeMark(SerialMarks::END)) {
            return false;
        }
    }
    return writer.writePrimitive(SerialMarks::TAG_C, static_cast<std::uint32_t>(operator_)) &&
           writer.writeString(name_) && writer.writePrimitive(SerialMarks::TAG_C, isHierarchical_);
}

bool CompoundWhereClauseExpression::readBody(SerialReader& reader, int nesting) {
    if (nesting >= MAXIMUM_STREAM_NESTING) {
        return false;
    }
    bool hasChildren = false;
    if (!reader.readPresence(hasChildren, SerialMarks::VECTOR)) {
        return false;
    }
    children_ = hasChildren ? std::make_shared<Children>() : nullptr;
    if (hasChildren) {
        // The smallest child is a null one: "V", 1, "a".
        std::size_t count = 0;
        if (!reader.readCount(3, count) || !reader.expectMark(SerialMarks::START)) {
            return false;
        }
        for (std::size_t index = 0; index < count; ++index) {
            std::shared_ptr<AbstractWhereClauseExpression> child;
            const bool ok = AbstractWhereClauseExpression::unserialize(reader, child, nesting + 1);
            children_->push_back(std::move(child));
            if (!ok) {
                return false;
            }
        }
        if (!reader.expectMark(SerialMarks::END)) {
            return false;
        }
    }
    std::uint32_t op = WhereClauseOperators::UNKNOWN;
    if (!reader.readPrimitive(SerialMarks::TAG_C, op)) {
        return false;
    }
    operator_ = static_cast<WhereClauseOperators::type>(op);
    if (!reader.readString(name_)) {
        return false;
    }
    return reader.readPrimitive(SerialMarks::TAG_C, isHierarchical_);
}

}  // namespace pellium

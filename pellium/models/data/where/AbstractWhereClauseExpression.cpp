#include "pellium/models/data/where/AbstractWhereClauseExpression.h"

#include <cmath>
#include <istream>
#include <ostream>

#include "pellium/models/data/where/CompoundWhereClauseExpression.h"
#include "pellium/models/data/where/WhereClauseExpression.h"
#include "pellium/serializers/SerialReader.h"
#include "pellium/serializers/SerialWriter.h"

namespace pellium {

namespace {

template <typename T>
int compareOrdered(const T& left, const T& right) {
    return left < right ? -1 : (right < left ? 1 : 0);
}

int compareTexts(const SharedString& left, const SharedString& right) {
    if (!left || !right) {
        return compareOrdered(left != nullptr, right != nullptr);
    }
    // char_traits<char> compares bytes as unsigned characters, a proper prefix first.
    const int result = left->compare(*right);
    return compareOrdered(result, 0);
}

// NaN is equivalent to NaN and after every number, so that the order stays strict and weak.
int compareNumbers(double left, double right) {
    const bool leftIsNaN = std::isnan(left);
    const bool rightIsNaN = std::isnan(right);
    if (leftIsNaN || rightIsNaN) {
        return compareOrdered(leftIsNaN, rightIsNaN);
    }
    return compareOrdered(left, right);
}

int compareValues(const DataValue* left, const DataValue* right) {
    if (!left || !right) {
        return compareOrdered(left != nullptr, right != nullptr);
    }
    if (left->isString() != right->isString()) {
        return compareOrdered(left->isString(), right->isString());
    }
    if (!left->isString()) {
        return compareNumbers(left->getNumericValue(), right->getNumericValue());
    }
    return compareTexts(left->getStringValue(), right->getStringValue());
}

int compareLeaves(const WhereClauseExpression& left, const WhereClauseExpression& right) {
    if (const int byOperator = compareOrdered(left.getOperatorType(), right.getOperatorType())) {
        return byOperator;
    }
    if (const int byName = compareTexts(left.getColumnName(), right.getColumnName())) {
        return byName;
    }
    return compareValues(left.getValue().get(), right.getValue().get());
}

int compareCompounds(const CompoundWhereClauseExpression& left, const CompoundWhereClauseExpression& right) {
    if (const int byOperator = compareOrdered(left.getUniformOperator(), right.getUniformOperator())) {
        return byOperator;
    }
    const std::size_t leftCount = left.getNumberOfExpressions();
    const std::size_t rightCount = right.getNumberOfExpressions();
    for (std::size_t index = 0; index < leftCount && index < rightCount; ++index) {
        const int byChild =
            compareWhereClauses((*left.getExpressions())[index].get(), (*right.getExpressions())[index].get());
        if (byChild != 0) {
            return byChild;
        }
    }
    if (const int byCount = compareOrdered(leftCount, rightCount)) {
        return byCount;
    }
    if (const int byName = compareTexts(left.getName(), right.getName())) {
        return byName;
    }
    return compareOrdered(left.isHierarchical(), right.isHierarchical());
}

}  // namespace

AbstractWhereClauseExpression::~AbstractWhereClauseExpression() = default;

// --- Stream form ------------------------------------------------------------------------------------

bool AbstractWhereClauseExpression::serialize(std::ostream& stream,
                                              const std::shared_ptr<const AbstractWhereClauseExpression>& tree) {
    SerialWriter writer(stream);
    return serialize(writer, tree);
}

bool AbstractWhereClauseExpression::serialize(SerialWriter& writer,
                                              const std::shared_ptr<const AbstractWhereClauseExpression>& tree) {
    if (!writer.writeVersionMark() || !writer.writePresence(tree != nullptr)) {
        return false;
    }
    return !tree || tree->writeNode(writer);
}

bool AbstractWhereClauseExpression::unserialize(std::istream& stream,
                                                std::shared_ptr<AbstractWhereClauseExpression>& tree) {
    SerialReader reader(stream);
    return unserialize(reader, tree);
}

bool AbstractWhereClauseExpression::unserialize(SerialReader& reader,
                                                std::shared_ptr<AbstractWhereClauseExpression>& tree) {
    return unserialize(reader, tree, 0);
}

bool AbstractWhereClauseExpression::unserialize(SerialReader& reader,
                                                std::shared_ptr<AbstractWhereClauseExpression>& tree, int nesting) {
    bool isPresent = false;
    if (!reader.readVersionMark() || !reader.readPresence(isPresent)) {
        return false;
    }
    if (!isPresent) {
        tree = nullptr;
        return true;
    }
    std::uint8_t mark = 0;
    if (!reader.readMark(mark)) {
        return false;
    }
    if (mark == COMPOUND_MARK) {
        tree = CompoundWhereClauseExpression::create();
    } else if (mark == LEAF_MARK) {
        tree = WhereClauseExpression::create();
    } else if (!tree) {
        return false;
    }
    return tree->readBody(reader, nesting);
}

bool AbstractWhereClauseExpression::writeNode(SerialWriter& writer) const {
    if (isCompound_) {
        return writer.writeMark(COMPOUND_MARK) &&
               static_cast<const CompoundWhereClauseExpression*>(this)->writeBody(writer);
    }
    return writer.writeMark(LEAF_MARK) && static_cast<const WhereClauseExpression*>(this)->writeBody(writer);
}

bool AbstractWhereClauseExpression::readBody(SerialReader& reader, int nesting) {
    if (isCompound_) {
        return static_cast<CompoundWhereClauseExpression*>(this)->readBody(reader, nesting);
    }
    return static_cast<WhereClauseExpression*>(this)->readBody(reader);
}

// --- Ordering and description -----------------------------------------------------------------------

int compareWhereClauses(const AbstractWhereClauseExpression* left, const AbstractWhereClauseExpression* right) {
    if (left == right) {
        return 0;
    }
    if (!left || !right) {
        return compareOrdered(left != nullptr, right != nullptr);
    }
    if (left->isCompound() != right->isCompound()) {
        return compareOrdered(left->isCompound(), right->isCompound());
    }
    if (left->isCompound()) {
        return compareCompounds(static_cast<const CompoundWhereClauseExpression&>(*left),
                                static_cast<const CompoundWhereClauseExpression&>(*right));
    }
    return compareLeaves(static_cast<const WhereClauseExpression&>(*left),
                         static_cast<const WhereClauseExpression&>(*right));
}

bool operator<(const AbstractWhereClauseExpression& left, const AbstractWhereClauseExpression& right) {
    return compareWhereClauses(&left, &right) < 0;
}

std::string describe(const std::shared_ptr<const AbstractWhereClauseExpression>& clause) {
    if (!clause) {
        return "NULL";
    }
    const SharedString description = clause->getDescription(true, true);
    return description ? *description : std::string("NULL");
}

}  // namespace pellium

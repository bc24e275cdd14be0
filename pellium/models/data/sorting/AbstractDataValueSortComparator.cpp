#include "pellium/models/data/sorting/AbstractDataValueSortComparator.h"

#include <array>

#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/EnumerationNames.h"
#include "pellium/models/data/sorting/Collator.h"

namespace pellium {

namespace {

constexpr std::array<std::string_view, AbstractDataValueSortComparator::Mode::NUMBER_OF_VALUES> modeNames = {
    "NUMERIC", "STRING_BYTE_ORDER", "STRING_COLLATED"};

std::string_view viewOf(const SharedString& text) {
    return text ? std::string_view(*text) : std::string_view();
}

}  // namespace

std::string_view AbstractDataValueSortComparator::Mode::getStringFromValue(type value) {
    return isValid(value) ? modeNames[static_cast<std::size_t>(value)] : std::string_view();
}

std::optional<AbstractDataValueSortComparator::Mode::type> AbstractDataValueSortComparator::Mode::getValueFromString(
    std::string_view name) {
    const auto index = findNameIgnoringCase(modeNames, name);
    return index ? std::optional<type>(static_cast<type>(*index)) : std::nullopt;
}

AbstractDataValueSortComparator::AbstractDataValueSortComparator(std::shared_ptr<SortContext> sortContext,
                                                                 DataType::type dataType,
                                                                 std::shared_ptr<const DataSet> dataSet)
    : sortContext_(std::move(sortContext)),
      dataType_(dataType),
      dataSet_(std::move(dataSet)),
      mode_(dataType == DataType::NUMERIC ? Mode::NUMERIC : Mode::STRING_BYTE_ORDER) {}

AbstractDataValueSortComparator::~AbstractDataValueSortComparator() = default;

void AbstractDataValueSortComparator::setMode(Mode::type mode) {
    if (Mode::isValid(mode)) {
        mode_ = mode;
    }
}

void AbstractDataValueSortComparator::sortIndices(std::vector<std::uint32_t>& indices) const {
    if (!sortContext_) {
        return;
    }
    if (collationKeys_ && keysSettleTies_) {
        getKeyOrder(sortContext_->getDirection()).sortIndices(*collationKeys_, indices);
        return;
    }
    SortComparator::sortIndices(indices);
}

// --- Collation keys ------------------------------------------------------------------------------

void AbstractDataValueSortComparator::computeCollationKeys() {
    if (dataType_ == DataType::NUMERIC) {
        computeCollationKeysForNumericData();
    } else {
        computeCollationKeysForStringData();
    }
}

void AbstractDataValueSortComparator::computeCollationKeysForNumericData() {
    adoptKeys(buildNumericKeys(), true);
}

void AbstractDataValueSortComparator::computeCollationKeysForStringData() {
    std::shared_ptr<const Collator> collator;
    if (mode_ == Mode::STRING_COLLATED) {
        collator = Collator::create(sortContext_ ? std::string_view(sortContext_->getCollationLocale()) : "");
    }
    adoptKeys(buildStringKeys(collator.get()), true);
}

void AbstractDataValueSortComparator::setCollationKeys(std::vector<std::int32_t> keys) {
    adoptKeys(std::move(keys), false);
}

void AbstractDataValueSortComparator::clearCollationKeys() {
    collationKeys_.reset();
    keysSettleTies_ = false;
}

void AbstractDataValueSortComparator::adoptKeys(std::vector<std::int32_t> keys, bool keysSettleTies) {
    collationKeys_ = std::make_shared<const std::vector<std::int32_t>>(std::move(keys));
    keysSettleTies_ = keysSettleTies;
}

std::vector<std::int32_t> AbstractDataValueSortComparator::buildNumericKeys() const {
    DataValue::ValueList values(getDataValueCount());
    for (std::size_t index = 0; index < values.size(); ++index) {
        values[index] = getDataValue(static_cast<std::uint32_t>(index));
    }
    return CollationKeys::forValues(values, DataType::NUMERIC, nullptr);
}

std::vector<std::int32_t> AbstractDataValueSortComparator::buildStringKeys(const Collator* collator) const {
    DataValue::ValueList values(getDataValueCount());
    for (std::size_t index = 0; index < values.size(); ++index) {
        values[index] = getDataValue(static_cast<std::uint32_t>(index));
    }
    return CollationKeys::forValues(values, DataType::STRING, collator);
}

// --- Value by value ------------------------------------------------------------------------------

bool AbstractDataValueSortComparator::isBeforeByValues(std::uint32_t i, std::uint32_t j,
                                                       SortDirection::type direction) const {
    const std::shared_ptr<DataValue> left = getDataValue(i);
    const std::shared_ptr<DataValue> right = getDataValue(j);
    if (left && left->isAllOthers()) {
        return false;
    }
    if (right && right->isAllOthers()) {
        return true;
    }
    if (direction == SortDirection::DATA || !valueOrderingEnabled_) {
        return false;
    }
    const bool ascending = direction == SortDirection::ASCENDING;
    const int leftPlane = DataTokens::getSortPlaneForValue(std::shared_ptr<const DataValue>(left));
    const int rightPlane = DataTokens::getSortPlaneForValue(std::shared_ptr<const DataValue>(right));
    if (leftPlane != rightPlane) {
        return (leftPlane < rightPlane) == ascending;
    }
    if (leftPlane < DataTokens::SORT_PLANE_ORDINARY) {
        return false;
    }
    return isBeforeAsOrdinaryValues(*left, *right, ascending);
}

bool AbstractDataValueSortComparator::isBeforeAsOrdinaryValues(const DataValue& left, const DataValue& right,
                                                               bool ascending) const {
    if (getEffectiveMode() == Mode::NUMERIC) {
        return ascending ? left.getNumericValue() < right.getNumericValue()
                         : left.getNumericValue() > right.getNumericValue();
    }
    if (left.getStringIndex() >= 0 && right.getStringIndex() >= 0) {
        return ascending ? left.getStringIndex() < right.getStringIndex()
                         : left.getStringIndex() > right.getStringIndex();
    }
    // A number compares by its decimal text here. std::string_view compares bytes as unsigned
    // characters, a proper prefix first.
    const SharedString leftText = left.getStringValue();
    const SharedString rightText = right.getStringValue();
    return ascending ? viewOf(leftText) < viewOf(rightText) : viewOf(rightText) < viewOf(leftText);
}

}  // namespace pellium

#include "pellium/models/data/tree/DataTreeSortContext.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/hierarchy/Hierarchy.h"
#include "pellium/models/data/hierarchy/HierarchyCrossings.h"
#include "pellium/models/data/hierarchy/HierarchyDataSet.h"
#include "pellium/models/data/hierarchy/Level.h"
#include "pellium/models/data/sorting/CollationKeys.h"
#include "pellium/models/data/sorting/Collator.h"
#include "pellium/models/data/sorting/SortKeyOrder.h"
#include "pellium/resources/localization/LocalizationContext.h"

namespace pellium {

// Where the children being sorted sit: the hierarchy and level they are members of, and whether
// they are members of that hierarchy's display tree (whose measure values come from crossings).
struct DataTreeSortContext::LevelOfChildren {
    const Hierarchy* hierarchy = nullptr;
    std::size_t hierarchyIndex = 0;
    std::uint32_t levelIndex = 0;
    bool inDisplayTree = false;
};

namespace {

constexpr std::int32_t LAST_KEY = CollationKeys::LAST_KEY;

// The band key of a member value that is special (missing, sparse...), else NOT_SPECIAL.
std::int32_t specialKeyOf(const DataValue* value) {
    if (value == nullptr) {
        return CollationKeys::NOT_SPECIAL;
    }
    if (value->isString()) {
        return CollationKeys::getSpecialKeyForStringCell(value->getStringIndex(), value->getStringValue().get(),
                                                         LAST_KEY);
    }
    return CollationKeys::getSpecialKeyForNumber(value->getNumericValue(), LAST_KEY);
}

// The all-others member is last whatever its key says (a measure at it may be any number).
void putAllOthersLast(const DataTreeSortContext::NodeList& children, std::vector<std::int32_t>& keys) {
    for (std::size_t index = 0; index < children.size(); ++index) {
        if (children[index]->isAllOthers()) {
            keys[index] = LAST_KEY;
        }
    }
}

std::string textOf(const SharedString& text) {
    return text ? *text : std::string();
}

}  // namespace

std::shared_ptr<DataTreeSortContext> DataTreeSortContext::create(
    std::shared_ptr<const HierarchyDataSet> hierarchyDataSet, std::string_view collationLocale) {
    return std::make_shared<DataTreeSortContext>(Token{}, std::move(hierarchyDataSet), collationLocale);
}

std::shared_ptr<DataTreeSortContext> DataTreeSortContext::create(
    std::shared_ptr<const HierarchyDataSet> hierarchyDataSet, const LocalizationContext& localization) {
    return create(std::move(hierarchyDataSet), localization.getLocale());
}

DataTreeSortContext::DataTreeSortContext(Token, std::shared_ptr<const HierarchyDataSet> hierarchyDataSet,
                                         std::string_view collationLocale)
    : hierarchyDataSet_(std::move(hierarchyDataSet)) {
    setCollationLocale(collationLocale);
}

DataTreeSortContext::~DataTreeSortContext() = default;

void DataTreeSortContext::setCollationLocale(std::string_view collationLocale) {
    collationLocale_ = collationLocale;
    collator_ = Collator::create(collationLocale);
}

// --- Sort states -----------------------------------------------------------------------------------

void DataTreeSortContext::setSortStateForLevel(std::string_view levelName, std::shared_ptr<MemberSortState> state) {
    if (!state) {
        if (const auto found = statesByName_.find(levelName); found != statesByName_.end()) {
            statesByName_.erase(found);
        }
        return;
    }
    statesByName_.insert_or_assign(std::string(levelName), std::move(state));
}

void DataTreeSortContext::setSortStateForLevelIndex(std::uint32_t levelIndex, std::shared_ptr<MemberSortState> state,
                                                    std::string_view hierarchyName) {
    auto key = std::make_pair(std::string(hierarchyName), levelIndex);
    if (!state) {
        statesByIndex_.erase(key);
        return;
    }
    statesByIndex_.insert_or_assign(std::move(key), std::move(state));
}

void DataTreeSortContext::clearSortStates() {
    statesByName_.clear();
    statesByIndex_.clear();
}

std::shared_ptr<MemberSortState> DataTreeSortContext::getSortState(const Hierarchy* hierarchy,
                                                                   std::uint32_t levelIndex) const {
    if (hierarchy != nullptr) {
        if (const auto level = hierarchy->getLevelFromIndex(levelIndex); level && level->getName()) {
            if (const auto found = statesByName_.find(std::string_view(*level->getName()));
                found != statesByName_.end()) {
                return found->second;
            }
        }
        if (const auto found = statesByIndex_.find(std::make_pair(textOf(hierarchy->getName()), levelIndex));
            found != statesByIndex_.end() && hierarchy->getName()) {
            return found->second;
        }
    }
    const auto found = statesByIndex_.find(std::make_pair(std::string(), levelIndex));
    return found == statesByIndex_.end() ? nullptr : found->second;
}

// --- Sorting ---------------------------------------------------------------------------------------

DataTreeSortContext::LevelOfChildren DataTreeSortContext::findLevelOfChildren(const DataTreeNode& parent) const {
    LevelOfChildren level;
    level.levelIndex = parent.getLevel();
    if (!hierarchyDataSet_) {
        return level;
    }
    // The tree is recognised by its root; a walk up costs one step per level of depth.
    std::shared_ptr<const DataTreeNode> top;
    for (auto ancestor = parent.getParent(); ancestor; ancestor = ancestor->getParent()) {
        top = ancestor;
    }
    const DataTreeNode* root = top ? top.get() : &parent;
    const auto& hierarchies = hierarchyDataSet_->getHierarchies();
    for (std::size_t index = 0; index < hierarchies.size(); ++index) {
        if (hierarchies[index]->getDisplay().get() == root) {
            level.hierarchy = hierarchies[index].get();
            level.hierarchyIndex = index;
            level.levelIndex = hierarchies[index]->getCurrentLevelIndex() + parent.getLevel();
            level.inDisplayTree = true;
            return level;
        }
    }
    if (hierarchyDataSet_->getDataTreeRoot().get() == root) {
        const auto ranges = hierarchyDataSet_->getAxisRanges();
        const auto treeLevel = static_cast<std::int64_t>(parent.getLevel());
        for (std::size_t index = 0; index < ranges.size() && index < hierarchies.size(); ++index) {
            const auto [first, count] = ranges[index];
            if (treeLevel >= first && treeLevel < std::int64_t{first} + count) {
                level.hierarchy = hierarchies[index].get();
                level.hierarchyIndex = index;
                level.levelIndex = static_cast<std::uint32_t>(treeLevel - first);
                return level;
            }
        }
    }
    return level;
}

bool DataTreeSortContext::sortChildren(const DataTreeNode& parent, NodeList& out) const {
    out.clear();
    const NodeList& children = parent.getChildren();
    if (children.size() < 2 || !hasSortStates()) {
        return false;
    }
    const LevelOfChildren level = findLevelOfChildren(parent);
    const auto state = getSortState(level.hierarchy, level.levelIndex);
    if (!state) {
        return false;
    }
    const SortDirection::type direction = state->getDirection();
    std::vector<std::int32_t> keys;
    if (direction == SortDirection::DATA) {
        keys.assign(children.size(), 0);
        putAllOthersLast(children, keys);
    } else {
        keys = computeKeys(level, *state, children);
    }
    std::vector<std::uint32_t> order(children.size());
    std::iota(order.begin(), order.end(), 0U);
    SortKeyOrder(LAST_KEY, direction != SortDirection::DATA, direction == SortDirection::ASCENDING)
        .sortIndices(keys, order);
    out.reserve(children.size());
    for (const std::uint32_t index : order) {
        out.push_back(children[index]);
    }
    return true;
}

DataTreeSortContext::NodeList DataTreeSortContext::getSortedChildren(const DataTreeNode& parent) const {
    NodeList sorted;
    return sortChildren(parent, sorted) ? sorted : parent.getChildren();
}

std::vector<std::int32_t> DataTreeSortContext::computeKeys(const LevelOfChildren& level, const MemberSortState& state,
                                                           const NodeList& children) const {
    std::vector<std::int32_t> keys;
    switch (state.getKey()) {
        case MemberSortState::Key::LABEL:
            keys = computeLabelKeys(state, children);
            break;
        case MemberSortState::Key::RAW_VALUE:
            keys = computeRawValueKeys(state, children);
            break;
        case MemberSortState::Key::MEASURE:
            keys = computeMeasureKeys(level, state, children);
            break;
    }
    keys.resize(children.size(), CollationKeys::NOT_SPECIAL);
    putAllOthersLast(children, keys);
    return keys;
}

const Collator* DataTreeSortContext::collatorFor(const MemberSortState& state) const {
    return state.isCollated() ? collator_.get() : nullptr;
}

std::vector<std::int32_t> DataTreeSortContext::computeLabelKeys(const MemberSortState& state,
                                                                const NodeList& children) const {
    // Special members keep their band; the others rank by their formatted text.
    std::vector<std::int32_t> keys(children.size(), CollationKeys::NOT_SPECIAL);
    std::vector<std::string_view> labels;
    std::vector<std::size_t> labelled;
    for (std::size_t index = 0; index < children.size(); ++index) {
        keys[index] = specialKeyOf(children[index]->getValue().get());
        if (keys[index] == CollationKeys::NOT_SPECIAL) {
            const SharedString& label = children[index]->getFormattedValue();
            labels.emplace_back(label ? std::string_view(*label) : std::string_view());
            labelled.push_back(index);
        }
    }
    const std::vector<std::int32_t> ranks = CollationKeys::rankTexts(labels, collatorFor(state));
    for (std::size_t position = 0; position < labelled.size(); ++position) {
        keys[labelled[position]] = ranks[position];
    }
    return keys;
}

std::vector<std::int32_t> DataTreeSortContext::computeRawValueKeys(const MemberSortState& state,
                                                                   const NodeList& children) const {
    DataValue::ValueList values;
    values.reserve(children.size());
    for (const auto& child : children) {
        values.push_back(child->getSortOnRawValue() ? child->getSortOnRawValue() : child->getValue());
    }
    // A level's members share one type; the first value tells which.
    const auto typed = std::find_if(values.begin(), values.end(), [](const auto& value) { return value != nullptr; });
    const DataType::type type = typed != values.end() && (*typed)->isString() ? DataType::STRING : DataType::NUMERIC;
    return CollationKeys::forValues(values, type, collatorFor(state), LAST_KEY);
}

std::vector<std::int32_t> DataTreeSortContext::computeMeasureKeys(const LevelOfChildren& level,
                                                                  const MemberSortState& state,
                                                                  const NodeList& children) const {
    std::vector<double> numbers(children.size(), DataTokens::MISSING_NUMERIC);
    const SharedString& measureName = state.getMeasureName();
    const auto findIn = [&measureName](const auto& names) -> std::ptrdiff_t {
        const auto found = std::find_if(names.begin(), names.end(), [&measureName](const SharedString& name) {
            return name && measureName && *name == *measureName;
        });
        return found == names.end() ? -1 : found - names.begin();
    };
    const std::ptrdiff_t measureIndex = hierarchyDataSet_ ? findIn(hierarchyDataSet_->getMeasureNames()) : -1;
    if (level.inDisplayTree && measureIndex >= 0) {
        numbers = measureValuesAtCrossings(level, state, static_cast<std::size_t>(measureIndex), children);
        return CollationKeys::forNumbers(numbers, LAST_KEY);
    }
    // A member's own value: explicit, or its aggregators under the measure's statistic.
    const auto statistics = hierarchyDataSet_ ? getMeasureStatistics(hierarchyDataSet_->getMeasureColumns(), true)
                                              : std::vector<StatisticType::type>{};
    for (std::size_t index = 0; index < children.size(); ++index) {
        const DataTreeNode& child = *children[index];
        if (const auto& explicitValues = child.getMeasureValues()) {
            const std::ptrdiff_t position = child.getMeasureNames() ? findIn(*child.getMeasureNames()) : measureIndex;
            if (position >= 0 && static_cast<std::size_t>(position) < explicitValues->size() &&
                (*explicitValues)[static_cast<std::size_t>(position)]) {
                numbers[index] = (*explicitValues)[static_cast<std::size_t>(position)]->getNumericValue();
            }
        } else if (const auto aggregators = child.getMeasureAggregators();
                   aggregators && measureIndex >= 0 && static_cast<std::size_t>(measureIndex) < aggregators->size()) {
            const auto position = static_cast<std::size_t>(measureIndex);
            const StatisticType::type statistic =
                position < statistics.size() ? statistics[position] : StatisticType::SUM;
            if (const auto& aggregator = (*aggregators)[position]) {
                numbers[index] = aggregator->getNumericValue(statistic);
            }
        }
    }
    return CollationKeys::forNumbers(numbers, LAST_KEY);
}

std::vector<double> DataTreeSortContext::measureValuesAtCrossings(const LevelOfChildren& level,
                                                                  const MemberSortState& state,
                                                                  std::size_t measureIndex,
                                                                  const NodeList& children) const {
    const auto& hierarchies = hierarchyDataSet_->getHierarchies();
    std::vector<CrossingPath> paths(hierarchies.size());
    const std::size_t other = level.hierarchyIndex == 0 ? 1 : 0;
    if (other < hierarchies.size()) {
        // The other axis's member: its drill path, then the state's texts below it.
        CrossingPath& crossing = paths[other];
        crossing = HierarchyDataSet::getQueryPathForMember(*hierarchies[other], nullptr);
        for (const auto& text : state.getCrossingPath()) {
            crossing.push_back(DataTreeNode::create(text));
        }
    }
    std::vector<double> numbers(children.size(), DataTokens::MISSING_NUMERIC);
    for (std::size_t index = 0; index < children.size(); ++index) {
        paths[level.hierarchyIndex] = HierarchyDataSet::getQueryPathForMember(*level.hierarchy, children[index]);
        const CrossingValues values = hierarchyDataSet_->getMeasureValuesAtCrossing(paths);
        if (measureIndex < values.size() && values[measureIndex]) {
            numbers[index] = values[measureIndex]->getNumericValue();
        }
    }
    return numbers;
}

}  // namespace pellium

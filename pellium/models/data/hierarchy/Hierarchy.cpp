#include "pellium/models/data/hierarchy/Hierarchy.h"

#include <algorithm>
#include <istream>
#include <ostream>

#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/hierarchy/HierarchyTreeBuilder.h"
#include "pellium/models/data/hierarchy/Level.h"
#include "pellium/models/data/tree/DataTreeNode.h"
#include "pellium/resources/logging/Logger.h"
#include "pellium/serializers/SerialReader.h"
#include "pellium/serializers/SerialWriter.h"

namespace pellium {

std::shared_ptr<Hierarchy> Hierarchy::create(SharedString name, SharedString label, LevelList levels) {
    return std::make_shared<Hierarchy>(Token{}, std::move(name), std::move(label), std::move(levels));
}

std::shared_ptr<Hierarchy> Hierarchy::create() {
    return create(nullptr, nullptr, {});
}

std::shared_ptr<Hierarchy> Hierarchy::create(const std::shared_ptr<const Hierarchy>& hierarchy) {
    if (!hierarchy) {
        return nullptr;
    }
    LevelList levels;
    for (const auto& level : hierarchy->levels_) {
        levels.push_back(Level::create(level));
    }
    auto copy = create(hierarchy->name_, hierarchy->label_, std::move(levels));
    copy->currentLevelIndex_ = hierarchy->currentLevelIndex_;
    copy->fromRelational_ = hierarchy->fromRelational_;
    copy->displayDataSet_ = hierarchy->displayDataSet_;
    copy->expandedState_ = hierarchy->expandedState_;
    copy->setDisplay(DataTreeNode::create(hierarchy->display_), hierarchy->displayRootLevelIndex_);
    return copy;
}

Hierarchy::Hierarchy(Token, SharedString name, SharedString label, LevelList levels)
    : name_(std::move(name)), label_(std::move(label)), levels_(std::move(levels)) {
    std::erase(levels_, nullptr);
}

Hierarchy::~Hierarchy() = default;

int Hierarchy::getWrapperTypeId() const {
    return WrapperTypeIds::HIERARCHY;
}

bool Hierarchy::isDegenerate() const {
    return levels_.size() == 1 && name_ && levels_.front()->getName() && *name_ == *levels_.front()->getName();
}

// --- Levels and drilling ---------------------------------------------------------------------------

std::shared_ptr<Level> Hierarchy::getCurrentLevel() const {
    return getLevelFromIndex(currentLevelIndex_);
}

std::shared_ptr<Level> Hierarchy::getLevelFromIndex(std::size_t index) const {
    return index < levels_.size() ? levels_[index] : nullptr;
}

std::shared_ptr<Level> Hierarchy::getLevelWithName(std::string_view name) const {
    if (name.empty()) {
        return nullptr;
    }
    const auto found = std::find_if(levels_.begin(), levels_.end(),
                                    [&](const auto& level) { return level->getName() && *level->getName() == name; });
    return found == levels_.end() ? nullptr : *found;
}

std::int32_t Hierarchy::getIndexOfLevel(const std::shared_ptr<const Level>& level) const {
    const auto found = std::find(levels_.begin(), levels_.end(), level);
    return found == levels_.end() ? -1 : static_cast<std::int32_t>(found - levels_.begin());
}

bool Hierarchy::canDrillUp() const {
    const std::size_t current = std::min<std::size_t>(currentLevelIndex_, levels_.size());
    return std::any_of(levels_.begin(), levels_.begin() + static_cast<std::ptrdiff_t>(current),
                       [](const auto& level) { return level->isDrillable(); });
}

std::shared_ptr<Level> Hierarchy::getOneLevelUp() const {
    return canDrillUp() ? getLevelFromIndex(currentLevelIndex_ - 1) : nullptr;
}

bool Hierarchy::canDrillDown() const {
    return std::size_t{currentLevelIndex_} + 1 < levels_.size();
}

std::shared_ptr<Level> Hierarchy::getOneLevelDown() const {
    return getLevelFromIndex(std::size_t{currentLevelIndex_} + 1);
}

Hierarchy::LevelList Hierarchy::getLevelsDown() const {
    if (currentLevelIndex_ >= levels_.size()) {
        return {};
    }
    return LevelList(levels_.begin() + currentLevelIndex_, levels_.end());
}

void Hierarchy::drillOneLevel(const std::shared_ptr<DataValue>& value) {
    levels_[currentLevelIndex_]->setCurrentValue(value);
    ++currentLevelIndex_;
    // Expanded members below the drilled one keep their state, one level shorter.
    const SharedString drilled = levels_[currentLevelIndex_ - 1]->getFormattedCurrentValue();
    std::vector<Path> kept;
    for (const Path& path : expandedState_) {
        if (path.size() > 1 && path.front() && drilled && *path.front() == *drilled) {
            kept.emplace_back(path.begin() + 1, path.end());
        }
    }
    expandedState_ = std::move(kept);
}

void Hierarchy::drillDown(const std::shared_ptr<DataValue>& value) {
    if (!canDrillDown()) {
        return;
    }
    drillOneLevel(value);
    rebuildDisplay();
}

void Hierarchy::drillDown(const std::shared_ptr<DataValue>& value, std::string_view /*levelName*/) {
    drillDown(value);
}

void Hierarchy::drillDown(const std::shared_ptr<DataTreeNode>& node) {
    if (!node || !display_ || node->getRoot() != display_) {
        return;
    }
    const NodeList path = node->getUniqueNodePath(1);
    if (path.empty() || std::size_t{currentLevelIndex_} + path.size() >= levels_.size()) {
        return;
    }
    for (const auto& step : path) {
        drillOneLevel(step->getValue());
    }
    rebuildDisplay();
}

void Hierarchy::drillDownFromLevel(std::uint32_t levelIndex, const std::shared_ptr<DataValue>& value) {
    drillUp(levelIndex);
    drillDown(value);
}

bool Hierarchy::canDrillToPath(const ValueList& values) const {
    return !values.empty() && std::size_t{currentLevelIndex_} + values.size() < levels_.size();
}

void Hierarchy::drillToPath(const ValueList& values) {
    if (!canDrillToPath(values)) {
        return;
    }
    for (const auto& value : values) {
        drillOneLevel(value);
    }
    rebuildDisplay();
}

void Hierarchy::drillUp(std::uint32_t levelIndex) {
    if (!canDrillUp() || levelIndex >= currentLevelIndex_) {
        return;
    }
    const std::uint32_t oldIndex =
        std::min<std::uint32_t>(currentLevelIndex_, static_cast<std::uint32_t>(levels_.size() - 1));
    for (std::uint32_t index = levelIndex; index <= oldIndex; ++index) {
        levels_[index]->setCurrentValue(nullptr);
    }
    currentLevelIndex_ = levelIndex;
    if (display_) {
        display_->collapseAll();
    }
    forgetExpandedNodes();
    rebuildDisplay();
}

Hierarchy::ValueList Hierarchy::getCurrentDrillPath() const {
    ValueList path;
    for (std::size_t index = 0; index < currentLevelIndex_ && index < levels_.size(); ++index) {
        path.push_back(levels_[index]->getCurrentValue());
    }
    return path;
}

bool Hierarchy::canDrillDown(const std::shared_ptr<const DataTreeNode>& node) const {
    if (!node || node->isAllOthers()) {
        return false;
    }
    return std::size_t{node->getLevel()} + currentLevelIndex_ < levels_.size();
}

// --- Display and expand state ----------------------------------------------------------------------

void Hierarchy::setDisplay(std::shared_ptr<DataTreeNode> tree, std::int32_t levelIndex) {
    display_ = std::move(tree);
    displayRootLevelIndex_ = levelIndex;
    expandedNodes_.clear();
    if (!display_) {
        return;
    }
    for (const Path& path : expandedState_) {
        if (auto node = DataTreeNode::getNodeForPath(display_, path)) {
            node->expand();
            expandedNodes_.push_back(std::move(node));
        }
    }
}

bool Hierarchy::updateDisplay(const std::shared_ptr<const DataSet>& dataSet) {
    displayDataSet_ = dataSet;
    if (!dataSet) {
        setDisplay(nullptr, -1);
        return true;
    }
    std::vector<std::shared_ptr<Column>> columns;
    for (const auto& level : levels_) {
        auto column = level->getName() ? dataSet->getColumnWithName(*level->getName()) : nullptr;
        if (!column) {
            Logger::warning("DataSet " + (dataSet->getName() ? *dataSet->getName() : std::string()) +
                            " is missing a column for hierarchy level " +
                            (level->getName() ? *level->getName() : std::string()) + ".");
            return false;
        }
        columns.push_back(std::move(column));
    }
    // The rows under the drill path, then their classification by the levels from the current one.
    std::vector<std::int32_t> rows;
    const std::vector<std::int32_t>* selected = nullptr;
    const std::size_t current = std::min<std::size_t>(currentLevelIndex_, levels_.size());
    for (std::size_t index = 0; index < current; ++index) {
        if (const SharedString drilled = levels_[index]->getFormattedCurrentValue()) {
            rows = HierarchyTreeBuilder::selectRowsWithFormattedValue(*columns[index], *drilled, selected,
                                                                      dataSet->getNumberOfRows());
            selected = &rows;
        }
    }
    HierarchyTreeBuilder::Request request;
    for (std::size_t index = current; index < columns.size(); ++index) {
        request.levelColumns.push_back(columns[index]);
        // The member sorting reads the sort-on-raw values from the display tree's members.
        const SharedString& sortOnRaw = levels_[index]->getSortOnRawColumnName();
        request.sortOnRawColumns.push_back(sortOnRaw ? dataSet->getColumnWithName(*sortOnRaw) : nullptr);
    }
    request.rows = selected;
    request.numberOfRows = dataSet->getNumberOfRows();
    request.keepRowIndices = false;
    setDisplay(HierarchyTreeBuilder::build(request).root, static_cast<std::int32_t>(currentLevelIndex_));
    return true;
}

void Hierarchy::installDisplay(const std::shared_ptr<const DataSet>& dataSet, std::shared_ptr<DataTreeNode> tree) {
    displayDataSet_ = dataSet;
    setDisplay(std::move(tree), static_cast<std::int32_t>(currentLevelIndex_));
}

void Hierarchy::rebuildDisplay() {
    if (const auto dataSet = displayDataSet_.lock()) {
        updateDisplay(dataSet);
    } else {
        setDisplay(display_, static_cast<std::int32_t>(currentLevelIndex_));
    }
}

void Hierarchy::updateExpandState() {
    expandedState_.clear();
    for (const auto& node : expandedNodes_) {
        expandedState_.push_back(DataTreeNode::getPathForNode(node));
    }
}

void Hierarchy::forgetExpandedNodes() {
    expandedNodes_.clear();
    expandedState_.clear();
}

void Hierarchy::rememberExpanded(const std::shared_ptr<DataTreeNode>& node) {
    node->expand();
    if (std::find(expandedNodes_.begin(), expandedNodes_.end(), node) == expandedNodes_.end()) {
        expandedNodes_.push_back(node);
    }
}

void Hierarchy::forgetExpanded(const std::shared_ptr<DataTreeNode>& node) {
    node->collapse();
    std::erase(expandedNodes_, node);
}

bool Hierarchy::isExpandable(const std::shared_ptr<const DataTreeNode>& node) const {
    return !fromRelational_ && node && !node->isAllOthers();
}

bool Hierarchy::canExpand(const std::shared_ptr<const DataTreeNode>& node) const {
    return isExpandable(node) && std::size_t{node->getLevel()} + currentLevelIndex_ < levels_.size() &&
           node->isCollapsed();
}

bool Hierarchy::canCollapse(const std::shared_ptr<const DataTreeNode>& node) const {
    return isExpandable(node) && !node->isCollapsed();
}

void Hierarchy::expand(const std::shared_ptr<DataTreeNode>& node) {
    if (!node) {
        return;
    }
    rememberExpanded(node);
    updateExpandState();
}

void Hierarchy::collapse(const std::shared_ptr<DataTreeNode>& node) {
    if (!node) {
        return;
    }
    forgetExpanded(node);
    updateExpandState();
}

bool Hierarchy::expandToPath(const Path& formattedValues) {
    if (!display_) {
        return false;
    }
    std::shared_ptr<DataTreeNode> node = display_;
    rememberExpanded(node);
    for (const auto& text : formattedValues) {
        node = node->getChildForFormattedValue(text ? std::string_view(*text) : std::string_view());
        if (!node) {
            updateExpandState();
            return false;
        }
        rememberExpanded(node);
    }
    updateExpandState();
    return true;
}

bool Hierarchy::collapseAtPath(const Path& formattedValues) {
    const auto node = DataTreeNode::getNodeForPath(display_, formattedValues);
    if (!node) {
        return false;
    }
    collapse(node);
    return true;
}

Hierarchy::NodeList Hierarchy::getNodesAtLevel(std::uint32_t depth) const {
    if (!display_) {
        return {};
    }
    if (depth == 0) {
        return {display_};
    }
    return display_->getChildNodesAtLevel(depth);
}

bool Hierarchy::hasLevelBelowDepth(std::uint32_t depth) const {
    return std::size_t{currentLevelIndex_} + depth < levels_.size();
}

// The display root's children are always shown; deeper nodes only below an expanded parent.
bool Hierarchy::isShown(const std::shared_ptr<DataTreeNode>& node) {
    const auto parent = node->getParent();
    return !parent || parent->isRoot() || !parent->isCollapsed();
}

bool Hierarchy::canExpandAll(std::uint32_t depth) const {
    if (fromRelational_ || !hasLevelBelowDepth(depth)) {
        return false;
    }
    const NodeList nodes = getNodesAtLevel(depth);
    return std::any_of(nodes.begin(), nodes.end(),
                       [](const auto& node) { return isShown(node) && node->isCollapsed() && !node->isAllOthers(); });
}

void Hierarchy::expandAll(std::uint32_t depth) {
    if (!canExpandAll(depth)) {
        return;
    }
    for (const auto& node : getNodesAtLevel(depth)) {
        if (!node->isAllOthers()) {
            rememberExpanded(node);
        }
    }
    updateExpandState();
}

bool Hierarchy::canCollapseAll(std::uint32_t depth) const {
    if (fromRelational_ || !hasLevelBelowDepth(depth)) {
        return false;
    }
    const NodeList nodes = getNodesAtLevel(depth);
    return std::any_of(nodes.begin(), nodes.end(),
                       [](const auto& node) { return isShown(node) && !node->isCollapsed(); });
}

void Hierarchy::collapseAll(std::uint32_t depth) {
    if (!canCollapseAll(depth)) {
        return;
    }
    for (const auto& node : getNodesAtLevel(depth)) {
        forgetExpanded(node);
    }
    updateExpandState();
}

Hierarchy::NodeList Hierarchy::getPathToTreeNode(const std::shared_ptr<DataTreeNode>& node) const {
    return node ? node->getUniqueNodePath(1) : NodeList{};
}

// --- Stream form -----------------------------------------------------------------------------------

bool Hierarchy::writeBody(SerialWriter& writer) const {
    return writer.writeString(name_) && writer.writeString(label_) &&
           writer.writeSharedObjectVector(
               std::optional<std::size_t>(levels_.size()),
               [&](std::size_t index) { return Level::serialize(writer, levels_[index]); }) &&
           DataTreeNode::serialize(writer, display_) && writer.writePrimitive(SerialMarks::TAG_C, currentLevelIndex_) &&
           writer.writePrimitive(SerialMarks::TAG_C, displayRootLevelIndex_) &&
           writer.writePrimitive(SerialMarks::TAG_B, fromRelational_);
}

bool Hierarchy::readBody(SerialReader& reader) {
    if (!reader.readString(name_) || !reader.readString(label_)) {
        return false;
    }
    levels_.clear();
    bool hasLevels = false;
    const bool levelsRead = reader.readSharedObjectVector(hasLevels, [&](std::size_t) {
        std::shared_ptr<Level> level;
        if (!Level::unserialize(reader, level) || !level) {
            return false;
        }
        levels_.push_back(std::move(level));
        return true;
    });
    if (!levelsRead) {
        return false;
    }
    std::shared_ptr<DataTreeNode> display;
    if (!DataTreeNode::unserialize(reader, display)) {
        return false;
    }
    if (!reader.readPrimitive(SerialMarks::TAG_C, currentLevelIndex_)) {
        return false;
    }
    if (!reader.readPrimitive(SerialMarks::TAG_C, displayRootLevelIndex_) ||
        !reader.readPrimitive(SerialMarks::TAG_B, fromRelational_)) {
        return false;
    }
    if (currentLevelIndex_ >= levels_.size() && currentLevelIndex_ != 0) {
        Logger::warning("CurrentLevelIndex was invalid.");
        currentLevelIndex_ = 0;
    }
    display_ = std::move(display);
    expandedNodes_.clear();
    if (display_) {
        for (const auto& node : display_->getDepthFirstListOfAllNodesUnderThisNode(true, true, nullptr)) {
            if (!node->isCollapsed()) {
                expandedNodes_.push_back(node);
            }
        }
    }
    updateExpandState();
    return true;
}

bool Hierarchy::serialize(SerialWriter& writer, const std::shared_ptr<const Hierarchy>& hierarchy) {
    return writer.writeVersionMark() && writer.writePresence(hierarchy != nullptr) &&
           (!hierarchy || hierarchy->writeBody(writer));
}

bool Hierarchy::unserialize(SerialReader& reader, std::shared_ptr<Hierarchy>& hierarchy) {
    bool isPresent = false;
    if (!reader.readVersionMark() || !reader.readPresence(isPresent)) {
        return false;
    }
    hierarchy = isPresent ? create() : nullptr;
    return !isPresent || hierarchy->readBody(reader);
}

bool Hierarchy::serialize(std::ostream& stream) const {
    SerialWriter writer(stream);
    return writeBody(writer);
}

bool Hierarchy::unserialize(std::istream& stream) {
    SerialReader reader(stream);
    return readBody(reader);
}

}  // namespace pellium

#include "pellium/models/data/tree/DataTreeNode.h"

#include <algorithm>
#include <iostream>
#include <istream>
#include <ostream>

#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/tree/DataTreeSortContext.h"
#include "pellium/models/data/tree/PendingRowIndices.h"
#include "pellium/serializers/SerialReader.h"
#include "pellium/serializers/SerialWriter.h"

namespace pellium {

namespace {

std::string_view keyOf(const SharedString& text) {
    return text ? std::string_view(*text) : std::string_view();
}

}  // namespace

// What a listing collects; see the listing functions in the header.
struct DataTreeNode::ListingOptions {
    enum class Kind { ALL_NODES, LEAVES, AT_LEVEL, ALL_AT_LEVEL };
    Kind kind = Kind::ALL_NODES;
    bool includeStart = false;
    bool alwaysListChildrenOfStart = false;
    bool includeCollapsedSubtrees = false;
    bool collapsedNodesAreLeaves = false;
    std::int64_t level = 0;
    const DataTreeSortContext* sortContext = nullptr;
};

const SharedString& DataTreeNode::getRootFormattedValue() {
    static const SharedString root = StringUtilities::internString("root");
    return root;
}

std::shared_ptr<DataTreeNode> DataTreeNode::create(SharedString formattedValue, std::shared_ptr<DataValue> value) {
    return std::make_shared<DataTreeNode>(Token{}, std::move(formattedValue), std::move(value));
}

std::shared_ptr<DataTreeNode> DataTreeNode::createRoot() {
    return create(getRootFormattedValue(), nullptr);
}

std::shared_ptr<DataTreeNode> DataTreeNode::create(const std::shared_ptr<const DataTreeNode>& node) {
    if (!node) {
        return nullptr;
    }
    auto copy = create(node->formattedValue_, node->value_ ? DataValue::create(*node->value_) : nullptr);
    copy->sortOnRawValue_ = node->sortOnRawValue_ ? DataValue::create(*node->sortOnRawValue_) : nullptr;
    copy->level_ = node->level_;
    copy->collapsed_ = node->collapsed_;
    if (const auto& rows = node->getRowIndexVector()) {
        copy->rowIndexVector_ = std::make_shared<RowIndexVector>(*rows);
    }
    if (node->measureAggregators_) {
        copy->measureAggregators_ = std::make_shared<AggregatorList>();
        for (const auto& aggregator : *node->measureAggregators_) {
            copy->measureAggregators_->push_back(aggregator ? Aggregator::create(*aggregator) : nullptr);
        }
    }
    if (node->measureValues_) {
        copy->measureValues_ = std::make_shared<ValueList>();
        for (const auto& value : *node->measureValues_) {
            copy->measureValues_->push_back(value ? DataValue::create(*value) : nullptr);
        }
    }
    if (node->measureNames_) {
        copy->measureNames_ = std::make_shared<SharedStringVector>(*node->measureNames_);
    }
    for (const auto& child : node->children_) {
        copy->addChild(create(child));
    }
    return copy;
}

DataTreeNode::DataTreeNode(Token, SharedString formattedValue, std::shared_ptr<DataValue> value)
    : formattedValue_(std::move(formattedValue)), value_(std::move(value)) {}

DataTreeNode::~DataTreeNode() = default;

int DataTreeNode::getWrapperTypeId() const {
    return WrapperTypeIds::DATA_TREE_NODE;
}

// --- Member ----------------------------------------------------------------------------------------

std::shared_ptr<DataValue> DataTreeNode::getPresentableValue() const {
    return value_ ? value_ : DataValue::create(formattedValue_, DataTokens::UNRESOLVABLE_DATA_VALUE);
}

bool DataTreeNode::isAllOthers() const {
    return value_ && value_->isAllOthers();
}

bool DataTreeNode::isMatchesAll() const {
    return value_ && value_->isMatchesAll();
}

// --- Structure -------------------------------------------------------------------------------------

std::shared_ptr<DataTreeNode> DataTreeNode::getRoot() {
    std::shared_ptr<DataTreeNode> node = shared_from_this();
    while (auto parent = node->getParent()) {
        node = std::move(parent);
    }
    return node;
}

void DataTreeNode::makeRoot() {
    if (auto parent = getParent()) {
        parent->removeChild(shared_from_this());
    }
    parent_.reset();
}

void DataTreeNode::setChildren(const NodeList& children) {
    for (const auto& child : children_) {
        child->parent_.reset();
    }
    children_.clear();
    childIndexByFormattedValue_.reset();
    for (const auto& child : children) {
        addChild(child);
    }
    dropMergedAggregatorsUpwards();
}

std::shared_ptr<DataTreeNode> DataTreeNode::getChildForFormattedValue(std::string_view formattedValue) const {
    if (!childIndexByFormattedValue_) {
        return nullptr;
    }
    const auto found = childIndexByFormattedValue_->find(formattedValue);
    return found == childIndexByFormattedValue_->end() ? nullptr : children_[found->second];
}

void DataTreeNode::refreshFormattedValueToChildMap() {
    if (children_.empty()) {
        childIndexByFormattedValue_.reset();
        return;
    }
    childIndexByFormattedValue_ = std::make_unique<std::unordered_map<std::string_view, std::size_t>>();
    childIndexByFormattedValue_->max_load_factor(1.0F);
    childIndexByFormattedValue_->reserve(children_.size());
    for (std::size_t index = 0; index < children_.size(); ++index) {
        childIndexByFormattedValue_->emplace(keyOf(children_[index]->formattedValue_), index);
    }
}

void DataTreeNode::mergeInto(const std::shared_ptr<DataTreeNode>& existing) {
    if (!children_.empty()) {
        const NodeList grandchildren = children_;
        for (const auto& grandchild : grandchildren) {
            existing->addChild(grandchild);
        }
        return;
    }
    if (measureAggregators_) {
        if (!existing->measureAggregators_) {
            existing->measureAggregators_ = std::make_shared<AggregatorList>();
        }
        Aggregator::aggregate(existing->measureAggregators_, measureAggregators_);
    }
    if (const auto& rows = getRowIndexVector()) {
        const auto& existingRows = existing->getRowIndexVector();
        auto merged =
            existingRows ? std::make_shared<RowIndexVector>(*existingRows) : std::make_shared<RowIndexVector>();
        merged->insert(merged->end(), rows->begin(), rows->end());
        existing->rowIndexVector_ = std::move(merged);
    }
    existing->dropMergedAggregatorsUpwards();
}

void DataTreeNode::addChild(const std::shared_ptr<DataTreeNode>& child) {
    if (!child || child.get() == this) {
        return;
    }
    if (auto existing = getChildForFormattedValue(keyOf(child->formattedValue_))) {
        if (existing != child) {
            child->mergeInto(existing);
        }
        return;
    }
    if (auto formerParent = child->getParent()) {
        formerParent->removeChild(child);
    }
    child->parent_ = weak_from_this();
    if (!childIndexByFormattedValue_) {
        childIndexByFormattedValue_ = std::make_unique<std::unordered_map<std::string_view, std::size_t>>();
        childIndexByFormattedValue_->max_load_factor(1.0F);
    }
    childIndexByFormattedValue_->emplace(keyOf(child->formattedValue_), children_.size());
    children_.push_back(child);
    child->setLevel(level_ + 1);
    dropMergedAggregatorsUpwards();
}

bool DataTreeNode::removeChild(const std::shared_ptr<DataTreeNode>& child) {
    const auto found = std::find(children_.begin(), children_.end(), child);
    if (!child || found == children_.end()) {
        return false;
    }
    children_.erase(found);
    child->parent_.reset();
    refreshFormattedValueToChildMap();
    dropMergedAggregatorsUpwards();
    return true;
}

void DataTreeNode::setLevel(std::uint32_t level) {
    if (level == level_) {
        return;
    }
    level_ = level;
    for (const auto& child : children_) {
        child->setLevel(level + 1);
    }
}

void DataTreeNode::attachParents() {
    for (const auto& child : children_) {
        child->parent_ = weak_from_this();
        child->attachParents();
    }
}

std::shared_ptr<DataTreeNode> DataTreeNode::getParentNodeAtLevel(std::uint32_t level) {
    std::shared_ptr<DataTreeNode> node = shared_from_this();
    while (node && node->level_ > level) {
        node = node->getParent();
    }
    return node && node->level_ == level ? node : nullptr;
}

bool DataTreeNode::isFirstChild() const {
    const auto parent = getParent();
    return !parent || parent->children_.front().get() == this;
}

bool DataTreeNode::isLastChild() const {
    const auto parent = getParent();
    return !parent || parent->children_.back().get() == this;
}

// --- Expand state ----------------------------------------------------------------------------------

void DataTreeNode::expandAll() {
    collapsed_ = false;
    for (const auto& child : children_) {
        child->expandAll();
    }
}

void DataTreeNode::collapseAll() {
    collapsed_ = true;
    for (const auto& child : children_) {
        child->collapseAll();
    }
}

void DataTreeNode::expandAllToLevel(std::uint32_t level) {
    if (level_ > level || children_.empty()) {
        return;
    }
    collapsed_ = false;
    for (const auto& child : children_) {
        child->expandAllToLevel(level);
    }
}

const std::shared_ptr<DataTreeNode::RowIndexVector>& DataTreeNode::getRowIndexVector() const {
    if (pendingRowIndices_) {
        pendingRowIndices_->materialize();
    }
    return rowIndexVector_;
}

// --- Measures --------------------------------------------------------------------------------------

std::shared_ptr<const DataTreeNode::AggregatorList> DataTreeNode::getMeasureAggregators() const {
    if (measureValues_) {
        return nullptr;
    }
    if (children_.empty()) {
        return measureAggregators_;
    }
    const std::lock_guard lock(mergedAggregatorsMutex_);
    if (!mergedAggregatorsAreCurrent_) {
        auto merged = std::make_shared<AggregatorList>();
        for (const auto& child : children_) {
            Aggregator::aggregate(merged, child->getMeasureAggregators());
        }
        mergedAggregators_ = merged->empty() ? nullptr : std::move(merged);
        mergedAggregatorsAreCurrent_ = true;
    }
    return mergedAggregators_;
}

void DataTreeNode::setMeasureAggregators(std::shared_ptr<AggregatorList> aggregators) {
    measureAggregators_ = std::move(aggregators);
    dropMergedAggregatorsUpwards();
}

void DataTreeNode::dropMergedAggregatorsUpwards() const {
    for (const DataTreeNode* node = this; node != nullptr;) {
        {
            const std::lock_guard lock(node->mergedAggregatorsMutex_);
            node->mergedAggregators_.reset();
            node->mergedAggregatorsAreCurrent_ = false;
        }
        const auto parent = node->parent_.lock();
        node = parent.get();  // the parent outlives this step: it owns `node`
    }
}

std::size_t DataTreeNode::getNumberOfMeasures() const {
    if (measureValues_) {
        return measureValues_->size();
    }
    const auto aggregators = getMeasureAggregators();
    return aggregators ? aggregators->size() : 0;
}

void DataTreeNode::convertAggregatorsToValuesAccordingToTheseStatistics(
    const std::shared_ptr<DataTreeNode>& node, const std::shared_ptr<const AggregatorList>& aggregators,
    const std::vector<StatisticType::type>& statistics) {
    if (!node) {
        return;
    }
    // The children are converted first, since an inner node's aggregators come from theirs.
    auto own = node->getMeasureAggregators();
    const auto& source = own ? own : aggregators;
    for (const auto& child : node->children_) {
        convertAggregatorsToValuesAccordingToTheseStatistics(child, nullptr, statistics);
    }
    auto values = std::make_shared<ValueList>();
    if (source) {
        for (std::size_t index = 0; index < source->size() && index < statistics.size(); ++index) {
            const auto& aggregator = (*source)[index];
            values->push_back(DataValue::create(aggregator ? aggregator->getNumericValue(statistics[index])
                                                           : DataTokens::SPARSE_NUMERIC));
        }
    }
    node->measureValues_ = std::move(values);
    node->measureAggregators_.reset();
    const std::lock_guard lock(node->mergedAggregatorsMutex_);
    node->mergedAggregators_.reset();
    node->mergedAggregatorsAreCurrent_ = false;
}

// --- Paths -----------------------------------------------------------------------------------------

DataTreeNode::NodeList DataTreeNode::getUniqueNodePath(std::uint32_t fromLevel) {
    NodeList path;
    for (std::shared_ptr<DataTreeNode> node = shared_from_this(); node && node->level_ >= fromLevel;
         node = node->getParent()) {
        path.push_back(node);
        if (node->level_ == fromLevel) {
            break;
        }
    }
    std::reverse(path.begin(), path.end());
    return path;
}

std::shared_ptr<DataTreeNode> DataTreeNode::getNodeFromChildNodePath(const NodeList& nodes) {
    std::shared_ptr<DataTreeNode> node = shared_from_this();
    for (const auto& step : nodes) {
        node = step ? node->getChildForFormattedValue(keyOf(step->formattedValue_)) : nullptr;
        if (!node) {
            return nullptr;
        }
    }
    return node;
}

std::shared_ptr<DataTreeNode> DataTreeNode::getNodeFromChildNodePath(const std::vector<SharedString>& formattedValues) {
    std::shared_ptr<DataTreeNode> node = shared_from_this();
    for (const auto& text : formattedValues) {
        node = node->getChildForFormattedValue(keyOf(text));
        if (!node) {
            return nullptr;
        }
    }
    return node;
}

std::vector<SharedString> DataTreeNode::getPathForNode(const std::shared_ptr<const DataTreeNode>& node) {
    std::vector<SharedString> path;
    for (auto current = node; current && !current->isRoot(); current = current->getParent()) {
        path.push_back(current->formattedValue_);
    }
    std::reverse(path.begin(), path.end());
    return path;
}

std::shared_ptr<DataTreeNode> DataTreeNode::getNodeForPath(const std::shared_ptr<DataTreeNode>& root,
                                                           const std::vector<SharedString>& formattedValues) {
    return root ? root->getNodeFromChildNodePath(formattedValues) : nullptr;
}

// --- Listings --------------------------------------------------------------------------------------

const DataTreeNode::NodeList& DataTreeNode::orderedChildren(const DataTreeSortContext* sortContext,
                                                            NodeList& sorted) const {
    return sortContext && sortContext->sortChildren(*this, sorted) ? sorted : children_;
}

void DataTreeNode::listNodes(const ListingOptions& options, bool isStart, NodeList& out) {
    using Kind = ListingOptions::Kind;
    const bool listThis = !isStart || options.includeStart;
    const bool descendIgnoringState = isStart && options.alwaysListChildrenOfStart;
    switch (options.kind) {
        case Kind::ALL_NODES: {
            if (listThis) {
                out.push_back(shared_from_this());
            }
            if (!(descendIgnoringState || options.includeCollapsedSubtrees || !collapsed_)) {
                return;
            }
            break;
        }
        case Kind::LEAVES: {
            const bool mayDescend = descendIgnoringState || !(options.collapsedNodesAreLeaves && collapsed_);
            if (children_.empty() || !mayDescend) {
                if (listThis) {
                    out.push_back(shared_from_this());
                }
                return;
            }
            break;
        }
        case Kind::AT_LEVEL:
        case Kind::ALL_AT_LEVEL: {
            const auto depth = static_cast<std::int64_t>(level_);
            const bool standsForSubtree = !isStart && (collapsed_ || children_.empty());
            if (depth >= options.level || standsForSubtree) {
                if (listThis && depth <= options.level) {
                    out.push_back(shared_from_this());
                }
                return;
            }
            if (listThis && options.kind == Kind::ALL_AT_LEVEL) {
                out.push_back(shared_from_this());
            }
            break;
        }
    }
    NodeList sorted;
    for (const auto& child : orderedChildren(options.sortContext, sorted)) {
        child->listNodes(options, false, out);
    }
}

DataTreeNode::NodeList DataTreeNode::getDepthFirstListOfAllNodesUnderThisNode(bool includeThisNode,
                                                                              bool includeCollapsedSubtrees,
                                                                              const DataTreeSortContext* sortContext) {
    return getDepthFirstListOfAllNodesUnderThisNode(includeThisNode, false, includeCollapsedSubtrees, sortContext);
}

DataTreeNode::NodeList DataTreeNode::getDepthFirstListOfAllNodesUnderThisNode(bool includeThisNode,
                                                                              bool alwaysListChildrenOfThisNode,
                                                                              bool includeCollapsedSubtrees,
                                                                              const DataTreeSortContext* sortContext) {
    ListingOptions options;
    options.kind = ListingOptions::Kind::ALL_NODES;
    options.includeStart = includeThisNode;
    options.alwaysListChildrenOfStart = alwaysListChildrenOfThisNode;
    options.includeCollapsedSubtrees = includeCollapsedSubtrees;
    options.sortContext = sortContext;
    NodeList out;
    listNodes(options, true, out);
    return out;
}

DataTreeNode::NodeList DataTreeNode::getDepthFirstListOfAllLeafNodesUnderThisNode(
    bool collapsedNodesAreLeaves, const DataTreeSortContext* sortContext) {
    return getDepthFirstListOfAllLeafNodesUnderThisNode(false, collapsedNodesAreLeaves, false, sortContext);
}

DataTreeNode::NodeList DataTreeNode::getDepthFirstListOfAllLeafNodesUnderThisNode(
    bool includeThisNodeWhenLeaf, bool collapsedNodesAreLeaves, bool alwaysListChildrenOfThisNode,
    const DataTreeSortContext* sortContext) {
    ListingOptions options;
    options.kind = ListingOptions::Kind::LEAVES;
    options.includeStart = includeThisNodeWhenLeaf;
    options.collapsedNodesAreLeaves = collapsedNodesAreLeaves;
    options.alwaysListChildrenOfStart = alwaysListChildrenOfThisNode;
    options.sortContext = sortContext;
    NodeList out;
    listNodes(options, true, out);
    return out;
}

DataTreeNode::NodeList DataTreeNode::getDepthFirstListOfNodesUnderThisNodeAtOrCollapsedAboveSpecifiedLevel(
    std::int32_t level, bool includeThisNode, const DataTreeSortContext* sortContext) {
    ListingOptions options;
    options.kind = ListingOptions::Kind::AT_LEVEL;
    options.level = level;
    options.includeStart = includeThisNode;
    options.sortContext = sortContext;
    NodeList out;
    listNodes(options, true, out);
    return out;
}

DataTreeNode::NodeList DataTreeNode::getDepthFirstListOfAllNodesUnderThisNodeAtOrCollapsedAboveSpecifiedLevel(
    std::int32_t level, bool includeThisNode, const DataTreeSortContext* sortContext) {
    ListingOptions options;
    options.kind = ListingOptions::Kind::ALL_AT_LEVEL;
    options.level = level;
    options.includeStart = includeThisNode;
    options.sortContext = sortContext;
    NodeList out;
    listNodes(options, true, out);
    return out;
}

DataTreeNode::NodeList DataTreeNode::getExpandedSubNodes() {
    NodeList out{shared_from_this()};
    for (std::size_t index = 0; index < out.size(); ++index) {
        const auto node = out[index];
        if (!node->collapsed_) {
            out.insert(out.end(), node->children_.begin(), node->children_.end());
        }
    }
    return out;
}

void DataTreeNode::collectDescendentsAtLevel(std::uint32_t level, const std::shared_ptr<DataTreeNode>& node,
                                             NodeList& out) {
    if (!node) {
        return;
    }
    for (const auto& child : node->children_) {
        if (child->level_ == level) {
            out.push_back(child);
        } else if (child->level_ < level) {
            collectDescendentsAtLevel(level, child, out);
        }
    }
}

DataTreeNode::NodeList DataTreeNode::getLeafNodes() {
    return getDepthFirstListOfAllLeafNodesUnderThisNode(false, nullptr);
}

DataTreeNode::NodeList DataTreeNode::getChildNodesAtLevel(std::uint32_t level) {
    NodeList out;
    collectDescendentsAtLevel(level, shared_from_this(), out);
    return out;
}

// --- Text ------------------------------------------------------------------------------------------

void DataTreeNode::appendDescription(std::string& text, std::size_t indent,
                                     const DataTreeSortContext* sortContext) const {
    const std::string name = formattedValue_ ? *formattedValue_ : std::string("NULL");
    text.append(indent, ' ').append("<").append(name).append(" level=\"").append(std::to_string(level_));
    text.append("\" ").append(collapsed_ ? "collapsed" : "expanded");
    std::string measures;
    if (measureValues_) {
        for (const auto& value : *measureValues_) {
            const SharedString shown = value ? value->getDisplayString() : nullptr;
            measures.append(measures.empty() ? "" : ", ").append(shown ? *shown : std::string("NULL"));
        }
    } else if (const auto aggregators = getMeasureAggregators()) {
        for (const auto& aggregator : *aggregators) {
            const double sum = aggregator ? aggregator->getSum() : DataTokens::MISSING_NUMERIC;
            measures.append(measures.empty() ? "" : ", ").append(StringUtilities::createStringFromDouble(sum));
        }
    }
    if (!measures.empty()) {
        text.append(" ").append(measures);
    }
    text.append(">\n");
    NodeList sorted;
    for (const auto& child : orderedChildren(sortContext, sorted)) {
        child->appendDescription(text, indent + 2, sortContext);
    }
    text.append(indent, ' ').append("</").append(name).append(">\n");
}

std::string DataTreeNode::getDescription(const DataTreeSortContext* sortContext) const {
    std::string text;
    appendDescription(text, 0, sortContext);
    return text;
}

void DataTreeNode::print() const {
    std::cout << getDescription();
}

// --- Stream form -----------------------------------------------------------------------------------

bool DataTreeNode::writeBody(SerialWriter& writer) const {
    const bool ok =
        writer.writeString(formattedValue_) && DataValue::serialize(writer, value_) &&
        writer.writeSharedObjectVector(std::optional<std::size_t>(children_.size()),
                                       [&](std::size_t index) { return serialize(writer, children_[index]); }) &&
        writer.writePrimitive(SerialMarks::TAG_C, level_) && writer.writePrimitive(SerialMarks::TAG_B, collapsed_) &&
        writer.writeSharedPrimitiveVector(getRowIndexVector());
    return ok &&
           writer.writeSharedObjectVector(
               measureValues_,
               [&](const std::shared_ptr<DataValue>& value) { return DataValue::serialize(writer, value); }) &&
           writer.writeSharedStringVector(measureNames_) &&
           writer.writeSharedObjectVector(measureAggregators_, [&](const std::shared_ptr<Aggregator>& aggregator) {
               return Aggregator::serialize(writer, aggregator);
           });
}

bool DataTreeNode::readBody(SerialReader& reader, std::uint32_t depth) {
    if (!reader.readString(formattedValue_)) {
        return false;
    }
    formattedValue_ = StringUtilities::internString(formattedValue_);
    if (!DataValue::unserialize(reader, value_)) {
        return false;
    }
    bool hasChildren = false;
    const bool childrenRead = reader.readSharedObjectVector(hasChildren, [&](std::size_t) {
        std::shared_ptr<DataTreeNode> child;
        if (!readNode(reader, child, depth + 1) || !child) {
            return false;
        }
        addChild(child);
        return true;
    });
    if (!childrenRead) {
        return false;
    }
    std::uint32_t level = 0;
    if (!reader.readPrimitive(SerialMarks::TAG_C, level)) {
        return false;
    }
    setLevel(level);
    if (!reader.readPrimitive(SerialMarks::TAG_B, collapsed_)) {
        return false;
    }
    if (!reader.readSharedPrimitiveVector(rowIndexVector_)) {
        return false;
    }
    if (!reader.readSharedObjectVector(
            measureValues_, [&](std::shared_ptr<DataValue>& value) { return DataValue::unserialize(reader, value); })) {
        return false;
    }
    if (!reader.readSharedStringVector(measureNames_)) {
        return false;
    }
    return reader.readSharedObjectVector(measureAggregators_, [&](std::shared_ptr<Aggregator>& aggregator) {
        return Aggregator::unserialize(reader, aggregator);
    });
}

bool DataTreeNode::readNode(SerialReader& reader, std::shared_ptr<DataTreeNode>& node, std::uint32_t depth) {
    bool isPresent = false;
    if (depth > MAXIMUM_STREAM_DEPTH || !reader.readVersionMark() || !reader.readPresence(isPresent)) {
        return false;
    }
    node = isPresent ? create() : nullptr;
    return !isPresent || node->readBody(reader, depth);
}

bool DataTreeNode::serialize(SerialWriter& writer, const std::shared_ptr<const DataTreeNode>& node) {
    return writer.writeVersionMark() && writer.writePresence(node != nullptr) && (!node || node->writeBody(writer));
}

bool DataTreeNode::unserialize(SerialReader& reader, std::shared_ptr<DataTreeNode>& node) {
    if (!readNode(reader, node, 0)) {
        return false;
    }
    if (node) {
        node->attachParents();
    }
    return true;
}

bool DataTreeNode::serialize(std::ostream& stream) const {
    SerialWriter writer(stream);
    return writeBody(writer);
}

bool DataTreeNode::unserialize(std::istream& stream) {
    SerialReader reader(stream);
    children_.clear();
    childIndexByFormattedValue_.reset();
    if (!readBody(reader, 0)) {
        return false;
    }
    attachParents();
    return true;
}

}  // namespace pellium

#include "pellium/models/data/dataset/RowStatesSynchronizer.h"

#include <cmath>
#include <cstring>
#include <string_view>
#include <unordered_set>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"

namespace pellium {

namespace {

// The row states a synchronizer is writing on this thread; their events are its own echo.
thread_local const RowStates* rowStatesBeingWritten = nullptr;

class WritingScope {
public:
    explicit WritingScope(const RowStates* rowStates) : previous_(rowStatesBeingWritten) {
        rowStatesBeingWritten = rowStates;
    }
    ~WritingScope() { rowStatesBeingWritten = previous_; }
    WritingScope(const WritingScope&) = delete;
    WritingScope& operator=(const WritingScope&) = delete;

private:
    const RowStates* previous_;
};

// A number as a key in which every NaN (missing) is one value and -0 equals 0.
std::uint64_t numberKey(double number) {
    if (std::isnan(number)) {
        return 0x7FF8000000000000ULL;
    }
    if (number == 0) {
        number = 0;
    }
    std::uint64_t bits = 0;
    std::memcpy(&bits, &number, sizeof(bits));
    return bits;
}

}  // namespace

RowStatesSynchronizer::RowStatesSynchronizer(Token, const std::shared_ptr<DataSet>& source,
                                             std::shared_ptr<DataSet> target,
                                             std::shared_ptr<const RowMapping> rowMapping, bool replaceTargetSelection,
                                             std::shared_ptr<const Column> sourceColumn,
                                             std::shared_ptr<const Column> targetColumn)
    : source_(source),
      target_(std::move(target)),
      rowMapping_(std::move(rowMapping)),
      replaceTargetSelection_(replaceTargetSelection),
      sourceColumn_(std::move(sourceColumn)),
      targetColumn_(std::move(targetColumn)) {}

RowStatesSynchronizer::~RowStatesSynchronizer() {
    unregisterListener();
}

std::shared_ptr<RowStatesSynchronizer> RowStatesSynchronizer::create(const std::shared_ptr<DataSet>& source,
                                                                     const std::shared_ptr<DataSet>& target,
                                                                     std::shared_ptr<const RowMapping> rowMapping,
                                                                     bool replaceTargetSelection,
                                                                     std::shared_ptr<const Column> sourceColumn,
                                                                     std::shared_ptr<const Column> targetColumn) {
    return std::make_shared<RowStatesSynchronizer>(Token{}, source, target, std::move(rowMapping),
                                                   replaceTargetSelection, std::move(sourceColumn),
                                                   std::move(targetColumn));
}

int RowStatesSynchronizer::getWrapperTypeId() const {
    return WrapperTypeIds::ROW_STATES_SYNCHRONIZER;
}

bool RowStatesSynchronizer::registerListener() {
    const auto source = source_.lock();
    if (!source || listenerId_ != NO_LISTENER) {
        return false;
    }
    std::weak_ptr<EventDispatcher> self = weak_from_this();
    listenerId_ = source->addListener(RowStates::SELECTED_CHANGED, [self](const std::shared_ptr<Event>& event) {
        if (const auto synchronizer = self.lock()) {
            static_cast<RowStatesSynchronizer&>(*synchronizer).selectionChanged(event);
        }
    });
    return true;
}

void RowStatesSynchronizer::unregisterListener() {
    if (const auto source = source_.lock(); source && listenerId_ != NO_LISTENER) {
        source->removeListener(listenerId_);
    }
    listenerId_ = NO_LISTENER;
}

void RowStatesSynchronizer::selectionChanged(const std::shared_ptr<Event>& event) {
    if (event && rowStatesBeingWritten && event->isOriginalSource(rowStatesBeingWritten)) {
        return;
    }
    synchronize();
}

bool RowStatesSynchronizer::synchronize() {
    const auto source = source_.lock();
    if (!source || !target_) {
        return false;
    }
    const RowIndexSet reached = mapSourceRowsToTargetRows(*source->getRowStates()->getSelectedIndices());
    const auto& targetStates = target_->getRowStates();
    const WritingScope scope(targetStates.get());
    return replaceTargetSelection_ ? targetStates->setSelectedOnlyAtSpecifiedIndices(true, reached)
                                   : targetStates->setSelectedAtSpecifiedIndices(true, reached);
}

RowIndexSet RowStatesSynchronizer::mapSourceRowsToTargetRows(const RowIndexSet& sourceRows) const {
    if (rowMapping_) {
        return mapByRowMapping(sourceRows);
    }
    if (sourceColumn_ && targetColumn_) {
        return mapByColumnValues(sourceRows);
    }
    const auto targetRows = static_cast<std::uint32_t>(target_ ? target_->getNumberOfRows() : 0);
    return RowIndexSet(sourceRows.begin(), sourceRows.lower_bound(targetRows));
}

RowIndexSet RowStatesSynchronizer::mapByRowMapping(const RowIndexSet& sourceRows) const {
    RowIndexSet reached;
    const std::int32_t targetRows = target_ ? target_->getNumberOfRows() : 0;
    for (auto row = sourceRows.begin(); row != sourceRows.end() && *row < rowMapping_->size(); ++row) {
        const std::int32_t targetRow = (*rowMapping_)[*row];
        if (targetRow >= 0 && targetRow < targetRows) {
            reached.insert(static_cast<std::uint32_t>(targetRow));
        }
    }
    return reached;
}

RowIndexSet RowStatesSynchronizer::mapByColumnValues(const RowIndexSet& sourceRows) const {
    const bool sourceHasTexts = sourceColumn_->getDataType() == DataType::STRING;
    if (sourceHasTexts != (targetColumn_->getDataType() == DataType::STRING)) {
        return {};
    }
    const auto sourceRowCount = static_cast<std::uint32_t>(sourceColumn_->getNumberOfRows());
    const auto targetRowCount = targetColumn_->getNumberOfRows();
    RowIndexSet reached;
    // Texts are gathered as views of the source's shared strings, which outlive this call.
    std::unordered_set<std::string_view> texts;
    std::unordered_set<std::uint64_t> numbers;
    for (auto row = sourceRows.begin(); row != sourceRows.end() && *row < sourceRowCount; ++row) {
        const auto sourceRow = static_cast<std::int32_t>(*row);
        if (sourceHasTexts) {
            const SharedString text = sourceColumn_->getStringAtIndex(sourceRow);
            texts.insert(text ? std::string_view(*text) : std::string_view());
        } else {
            numbers.insert(numberKey(sourceColumn_->getNumberAtIndex(sourceRow)));
        }
    }
    for (std::int32_t row = 0; row < targetRowCount; ++row) {
        bool matches = false;
        if (sourceHasTexts) {
            const SharedString text = targetColumn_->getStringAtIndex(row);
            matches = texts.contains(text ? std::string_view(*text) : std::string_view());
        } else {
            matches = numbers.contains(numberKey(targetColumn_->getNumberAtIndex(row)));
        }
        if (matches) {
            reached.emplace_hint(reached.end(), static_cast<std::uint32_t>(row));
        }
    }
    return reached;
}

}  // namespace pellium

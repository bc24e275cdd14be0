#include "pellium/models/data/dataset/RowStates.h"

#include <algorithm>
#include <utility>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/SummarizedRowStates.h"
#include "pellium/serializers/SerialMarks.h"
#include "pellium/serializers/SerialReader.h"
#include "pellium/serializers/SerialWriter.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

namespace {

std::size_t rowCount(std::int32_t numberOfRows) {
    return static_cast<std::size_t>(std::max(numberOfRows, 0));
}

// The set of the rows whose flag is true, built in one ascending pass.
RowIndexSet indicesOfTrueFlags(const RowStates::Flags& flags) {
    RowIndexSet indices;
    for (std::size_t row = 0; row < flags.size(); ++row) {
        if (flags[row]) {
            indices.emplace_hint(indices.end(), static_cast<std::uint32_t>(row));
        }
    }
    return indices;
}

// The flags of `numberOfRows` rows, true for the members of `indexSet` (all below the row count).
std::shared_ptr<RowStates::Flags> makeFlags(std::size_t numberOfRows, const RowIndexSet* indexSet) {
    auto flags = std::make_shared<RowStates::Flags>(numberOfRows, false);
    if (indexSet) {
        for (const std::uint32_t row : *indexSet) {
            (*flags)[row] = true;
        }
    }
    return flags;
}

// Flags and set read from a stream must describe the same rows, all below the row count.
bool stateIsConsistent(const RowStates::Flags* flags, const RowIndexSet* indexSet, std::size_t numberOfRows) {
    if (indexSet && !indexSet->empty() && *indexSet->rbegin() >= numberOfRows) {
        return false;
    }
    if (!flags) {
        return true;
    }
    if (flags->size() != numberOfRows) {
        return false;
    }
    const std::size_t setFlags = static_cast<std::size_t>(std::count(flags->begin(), flags->end(), true));
    if (!indexSet) {
        return true;
    }
    return setFlags == indexSet->size() &&
           std::ranges::all_of(*indexSet, [&](std::uint32_t row) { return (*flags)[row]; });
}

}  // namespace

// --- Creation --------------------------------------------------------------------------------------

RowStates::RowStates(Token, std::int32_t numberOfRows) : numberOfRows_(std::max(numberOfRows, 0)) {}

RowStates::RowStates(const RowStates& other)
    : Wrappable(other),
      EventDispatcher(other),
      selected_(other.selected_ ? std::make_shared<Flags>(*other.selected_) : nullptr),
      selectedIndices_(other.selectedIndices_ ? std::make_shared<RowIndexSet>(*other.selectedIndices_) : nullptr),
      excluded_(other.excluded_ ? std::make_shared<Flags>(*other.excluded_) : nullptr),
      excludedIndices_(other.excludedIndices_ ? std::make_shared<RowIndexSet>(*other.excludedIndices_) : nullptr),
      numberOfRows_(other.numberOfRows_),
      indexCache_(other.indexCache_) {}

RowStates::~RowStates() = default;

std::shared_ptr<RowStates> RowStates::create(std::int32_t numberOfRows) {
    return std::make_shared<RowStates>(Token{}, numberOfRows);
}

int RowStates::getWrapperTypeId() const {
    return WrapperTypeIds::ROW_STATES;
}

std::shared_ptr<RowStates> RowStates::createCopy() const {
    return std::shared_ptr<RowStates>(new RowStates(*this));
}

void RowStates::truncate(std::int32_t numberOfRows) {
    const std::size_t count = rowCount(numberOfRows);
    if (count >= rowCount(numberOfRows_)) {
        return;
    }
    numberOfRows_ = static_cast<std::int32_t>(count);
    for (const auto& flags : {selected_, excluded_}) {
        if (flags) {
            flags->resize(count);
        }
    }
    for (const auto& indexSet : {selectedIndices_, excludedIndices_, indexCache_}) {
        if (indexSet) {
            indexSet->erase(indexSet->lower_bound(static_cast<std::uint32_t>(count)), indexSet->end());
        }
    }
}

// --- Selection -------------------------------------------------------------------------------------

RowStates::Flags& RowStates::selectedFlags() {
    if (!selected_) {
        selected_ = makeFlags(rowCount(numberOfRows_), selectedIndices_.get());
    }
    return *selected_;
}

RowIndexSet& RowStates::selectedSet() {
    if (!selectedIndices_) {
        selectedIndices_ = std::make_shared<RowIndexSet>();
    }
    return *selectedIndices_;
}

const std::shared_ptr<RowStates::Flags>& RowStates::getSelected() {
    selectedFlags();
    return selected_;
}

const std::shared_ptr<RowIndexSet>& RowStates::getSelectedIndices() {
    selectedSet();
    return selectedIndices_;
}

std::size_t RowStates::getNumberOfSelectedIndices() const {
    return selectedIndices_ ? selectedIndices_->size() : 0;
}

bool RowStates::areAnySelected() const {
    return getNumberOfSelectedIndices() > 0;
}

bool RowStates::isSelectedAtIndex(std::int32_t row) const {
    return selected_ && row >= 0 && static_cast<std::size_t>(row) < selected_->size() &&
           (*selected_)[static_cast<std::size_t>(row)];
}

bool RowStates::setSelectedAtIndex(bool value, std::int32_t row) {
    return row >= 0 && setSelectedAtSpecifiedIndices(value, RowIndexSet{static_cast<std::uint32_t>(row)});
}

bool RowStates::setSelectedAtSpecifiedIndices(bool value, const RowIndexSet& rows) {
    return announceSelectionChange(assignValueToStatesAtSpecifiedIndices(value, selectedFlags(), selectedSet(), rows));
}

bool RowStates::setSelectedOnlyAtSpecifiedIndices(bool value, const RowIndexSet& rows) {
    return announceSelectionChange(
        assignValueExclusivelyAtSpecifiedIndices(value, !value, selectedFlags(), selectedSet(), rows));
}

bool RowStates::toggleSelectedAtSpecifiedIndices(const RowIndexSet& rows) {
    return announceSelectionChange(toggleStatesAtSpecifiedIndices(selectedFlags(), selectedSet(), rows));
}

bool RowStates::setSelectedAll(bool value) {
    return announceSelectionChange(assignValueToAllStates(value, selectedFlags(), selectedSet()));
}

bool RowStates::invertSelections() {
    const RowIndexSet previouslySelected = selectedSet();
    const bool selectedAll = setSelectedAll(true);
    const bool toggled = toggleSelectedAtSpecifiedIndices(previouslySelected);
    return selectedAll || toggled;
}

bool RowStates::announceSelectionChange(bool changed) {
    if (changed) {
        selectedFlagsChanged();
        dispatchEvent(SELECTED_CHANGED);
    }
    return changed;
}

// --- Exclusion -------------------------------------------------------------------------------------

RowStates::Flags& RowStates::excludedFlags() {
    if (!excluded_) {
        excluded_ = makeFlags(rowCount(numberOfRows_), excludedIndices_.get());
    }
    return *excluded_;
}

RowIndexSet& RowStates::excludedSet() {
    if (!excludedIndices_) {
        excludedIndices_ = std::make_shared<RowIndexSet>();
    }
    return *excludedIndices_;
}

const std::shared_ptr<RowStates::Flags>& RowStates::getExcluded() {
    excludedFlags();
    return excluded_;
}

const std::shared_ptr<RowIndexSet>& RowStates::getExcludedIndices() {
    excludedSet();
    return excludedIndices_;
}

std::size_t RowStates::getNumberOfExcludedIndices() const {
    return excludedIndices_ ? excludedIndices_->size() : 0;
}

bool RowStates::areAnyExcluded() const {
    return getNumberOfExcludedIndices() > 0;
}

bool RowStates::isExcludedAtIndex(std::int32_t row) const {
    return excluded_ && row >= 0 && static_cast<std::size_t>(row) < excluded_->size() &&
           (*excluded_)[static_cast<std::size_t>(row)];
}

bool RowStates::setExcludedAtIndex(bool value, std::int32_t row) {
    return row >= 0 && setExcludedAtSpecifiedIndices(value, RowIndexSet{static_cast<std::uint32_t>(row)});
}

bool RowStates::setExcludedAtSpecifiedIndices(bool value, const RowIndexSet& rows) {
    return announceExclusionChange(assignValueToStatesAtSpecifiedIndices(value, excludedFlags(), excludedSet(), rows));
}

bool RowStates::setExcludedOnlyAtSpecifiedIndices(bool value, const RowIndexSet& rows) {
    return announceExclusionChange(
        assignValueExclusivelyAtSpecifiedIndices(value, !value, excludedFlags(), excludedSet(), rows));
}

bool RowStates::setExcludedAll(bool value) {
    return announceExclusionChange(assignValueToAllStates(value, excludedFlags(), excludedSet()));
}

bool RowStates::announceExclusionChange(bool changed) {
    if (changed) {
        dispatchEvent(EXCLUDED_CHANGED);
    }
    return changed;
}

// --- Workers ---------------------------------------------------------------------------------------

bool RowStates::applyRowStates(const RowStates& other) {
    // A state that is empty on both sides is left alone, so that no flags are made for nothing.
    const RowIndexSet none;
    const bool selectionChanged =
        (other.areAnySelected() || areAnySelected()) &&
        setSelectedOnlyAtSpecifiedIndices(true, other.selectedIndices_ ? *other.selectedIndices_ : none);
    const bool exclusionChanged =
        (other.areAnyExcluded() || areAnyExcluded()) &&
        setExcludedOnlyAtSpecifiedIndices(true, other.excludedIndices_ ? *other.excludedIndices_ : none);
    return selectionChanged || exclusionChanged;
}

bool RowStates::assignValueToAllStates(bool value, Flags& flags, RowIndexSet& indexSet) {
    const std::size_t rows = rowCount(numberOfRows_);
    const bool changed = indexSet.size() != (value ? rows : 0);
    if (!changed) {
        return false;
    }
    std::fill(flags.begin(), flags.end(), value);
    indexSet = value ? takeComplementFromIndexCache(RowIndexSet{}) : RowIndexSet{};
    return true;
}

bool RowStates::assignValueToStatesAtSpecifiedIndices(bool value, Flags& flags, RowIndexSet& indexSet,
                                                      const RowIndexSet& rows) {
    bool changed = false;
    for (auto row = rows.begin(); row != rows.end() && *row < flags.size(); ++row) {
        if (flags[*row] == value) {
            continue;
        }
        flags[*row] = value;
        if (value) {
            indexSet.insert(*row);
        } else {
            indexSet.erase(*row);
        }
        changed = true;
    }
    return changed;
}

bool RowStates::assignValueExclusivelyAtSpecifiedIndices(bool inside, bool outside, Flags& flags, RowIndexSet& indexSet,
                                                         const RowIndexSet& rows) {
    // One pass over all rows beside the ascending set: row by row, is it the set's next member?
    bool changed = false;
    auto member = rows.begin();
    for (std::size_t row = 0; row < flags.size(); ++row) {
        const bool isMember = member != rows.end() && *member == row;
        if (isMember) {
            ++member;
        }
        const bool value = isMember ? inside : outside;
        if (flags[row] != value) {
            flags[row] = value;
            changed = true;
        }
    }
    if (changed) {
        indexSet = indicesOfTrueFlags(flags);
    }
    return changed;
}

bool RowStates::toggleStatesAtSpecifiedIndices(Flags& flags, RowIndexSet& indexSet, const RowIndexSet& rows) {
    bool changed = false;
    for (auto row = rows.begin(); row != rows.end() && *row < flags.size(); ++row) {
        flags[*row] = !flags[*row];
        if (flags[*row]) {
            indexSet.insert(*row);
        } else {
            indexSet.erase(*row);
        }
        changed = true;
    }
    return changed;
}

// --- Index cache -----------------------------------------------------------------------------------

bool RowStates::verifyIndexCacheIsReady() const {
    const std::size_t rows = rowCount(numberOfRows_);
    // An ascending set of `rows` distinct members below `rows` holds every index once.
    return indexCache_ && indexCache_->size() == rows && (rows == 0 || *indexCache_->rbegin() == rows - 1);
}

bool RowStates::restoreIndexCache(const std::shared_ptr<RowIndexSet>& indices) {
    const auto previous = std::exchange(indexCache_, indices);
    if (!verifyIndexCacheIsReady()) {
        indexCache_ = previous;
        return false;
    }
    return true;
}

RowIndexSet RowStates::takeComplementFromIndexCache(const RowIndexSet& indices) const {
    // The complement is counted out rather than copied from a cache: it costs the same and needs no
    // set of every row kept alive.
    RowIndexSet complement;
    auto member = indices.begin();
    for (std::uint32_t row = 0; row < rowCount(numberOfRows_); ++row) {
        if (member != indices.end() && *member == row) {
            ++member;
            continue;
        }
        complement.emplace_hint(complement.end(), row);
    }
    return complement;
}

std::shared_ptr<Column> RowStates::makeNumericSelectedColumn() {
    const Flags& flags = selectedFlags();
    auto numbers = std::make_shared<std::vector<double>>(flags.size());
    for (std::size_t row = 0; row < flags.size(); ++row) {
        (*numbers)[row] = flags[row] ? 1.0 : 0.0;
    }
    const SharedString name = StringUtilities::internString(SELECTED_COLUMN_NAME);
    auto column = Column::create(name, DataType::NUMERIC, name);
    column->setNumbers(std::move(numbers));
    return column;
}

// --- Stream form -----------------------------------------------------------------------------------

bool RowStates::serialize(std::ostream& stream, const std::shared_ptr<const RowStates>& rowStates) {
    SerialWriter writer(stream);
    return serialize(writer, rowStates);
}

bool RowStates::serialize(SerialWriter& writer, const std::shared_ptr<const RowStates>& rowStates) {
    if (!writer.writePresence(rowStates != nullptr)) {
        return false;
    }
    return !rowStates || rowStates->writeStreamForm(writer);
}

bool RowStates::serialize(std::ostream& stream) const {
    SerialWriter writer(stream);
    return writer.writePresence(true) && writeStreamForm(writer);
}

bool RowStates::writeStreamForm(SerialWriter& writer) const {
    return writer.writeMark(getClassByte()) && writer.writeSharedBoolVector(selected_) &&
           writer.writeSharedSet(selectedIndices_) && writer.writeSharedBoolVector(excluded_) &&
           writer.writeSharedSet(excludedIndices_) && writer.writePrimitive(SerialMarks::TAG_C, numberOfRows_) &&
           writeBodyExtension(writer);
}

bool RowStates::unserialize(std::istream& stream) {
    SerialReader reader(stream);
    bool isPresent = false;
    std::uint8_t classByte = 0;
    return reader.readPresence(isPresent) && isPresent && reader.readMark(classByte) && classByte == getClassByte() &&
           readBody(reader) && readBodyExtension(reader);
}

bool RowStates::unserialize(std::istream& stream, std::shared_ptr<RowStates>& rowStates) {
    SerialReader reader(stream);
    return unserialize(reader, rowStates);
}

bool RowStates::unserialize(SerialReader& reader, std::shared_ptr<RowStates>& rowStates) {
    rowStates.reset();
    bool isPresent = false;
    if (!reader.readPresence(isPresent)) {
        return false;
    }
    if (!isPresent) {
        return true;
    }
    std::uint8_t classByte = 0;
    if (!reader.readMark(classByte)) {
        return false;
    }
    if (classByte == static_cast<std::uint8_t>(SERIALIZATION_MARKER)) {
        rowStates = create(0);
    } else if (classByte == static_cast<std::uint8_t>(SUMMARIZED_SERIALIZATION_MARKER)) {
        rowStates = SummarizedRowStates::create(0);
    } else {
        return false;
    }
    return rowStates->readBody(reader) && rowStates->readBodyExtension(reader);
}

bool RowStates::readBody(SerialReader& reader) {
    indexCache_.reset();
    std::int32_t numberOfRows = 0;
    if (!reader.readSharedBoolVector(selected_)) {
        return false;
    }
    if (!reader.readSharedSet(selectedIndices_)) {
        return false;
    }
    if (!reader.readSharedBoolVector(excluded_)) {
        return false;
    }
    if (!reader.readSharedSet(excludedIndices_)) {
        return false;
    }
    if (!reader.readPrimitive(SerialMarks::TAG_C, numberOfRows) || numberOfRows < 0) {
        return false;
    }
    numberOfRows_ = numberOfRows;
    const std::size_t rows = rowCount(numberOfRows);
    if (!stateIsConsistent(selected_.get(), selectedIndices_.get(), rows) ||
        !stateIsConsistent(excluded_.get(), excludedIndices_.get(), rows)) {
        return false;
    }
    // A state sent as flags alone gets its set back now; one sent as a set alone gets its flags on
    // first use, since a short stream may claim many rows.
    for (auto [flags, indexSet] :
         {std::pair{&selected_, &selectedIndices_}, std::pair{&excluded_, &excludedIndices_}}) {
        if (*flags && !*indexSet) {
            *indexSet = std::make_shared<RowIndexSet>(indicesOfTrueFlags(**flags));
        }
    }
    return true;
}

bool RowStates::writeBodyExtension(SerialWriter&) const {
    return true;
}

bool RowStates::readBodyExtension(SerialReader&) {
    return true;
}

std::uint8_t RowStates::getClassByte() const {
    return static_cast<std::uint8_t>(SERIALIZATION_MARKER);
}

}  // namespace pellium

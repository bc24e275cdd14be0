#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string_view>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/EventDispatcher.h"
#include "pellium/models/data/dataset/RowIndexSet.h"

namespace pellium {

class Column;
class SerialReader;
class SerialWriter;

/// The per-row states of a data set: whether the user has selected a row and whether it is
/// excluded from analysis. Views and filters read them, and linked data sets follow a selection
/// through their change events.
///
/// Each state is kept twice, in step: as one flag per row (for a test of one row) and as the
/// ascending set of the rows in that state (for the filters, which need the list). Both are made
/// on first use, all false and empty. Rows at or beyond the row count are ignored by every setter.
///
/// Every setter answers whether anything changed, and raises SELECTED_CHANGED or EXCLUDED_CHANGED
/// synchronously, before it returns, only when something did. Not locked: change row states on one
/// thread.
class PELLIUM_EXPORT RowStates : public EventDispatcher {
protected:
    struct Token {};

public:
    using Flags = std::vector<bool>;

    static constexpr int SYMBOL_CHANGED = 10041;
    static constexpr int COLOR_CHANGED = 10042;
    static constexpr int EXCLUDED_CHANGED = 10043;
    static constexpr int LABELED_CHANGED = 10044;
    static constexpr int HIDDEN_CHANGED = 10045;
    static constexpr int SELECTED_CHANGED = 10046;

    /// The class byte of plain row states in the stream form (0xA0).
    static constexpr std::int8_t SERIALIZATION_MARKER = -96;
    /// The class byte of summarized row states (0xA1).
    static constexpr std::int8_t SUMMARIZED_SERIALIZATION_MARKER = -95;

    /// The name and label of the column made by makeNumericSelectedColumn.
    static constexpr std::string_view SELECTED_COLUMN_NAME = "Selected";

    /// Row states for `numberOfRows` rows (0 for a negative count), nothing selected or excluded.
    static std::shared_ptr<RowStates> create(std::int32_t numberOfRows);

    RowStates(Token, std::int32_t numberOfRows);
    ~RowStates() override;

    /// WrapperTypeIds::ROW_STATES (43).
    int getWrapperTypeId() const override;

    /// A copy of the same class with the same states and no listeners.
    virtual std::shared_ptr<RowStates> createCopy() const;

    std::int32_t getNumberOfRows() const { return numberOfRows_; }

    /// Keeps the first `numberOfRows` rows (none for a negative count): the flags are cut and the
    /// rows beyond leave the sets. Raises no event. Never grows the row states.
    virtual void truncate(std::int32_t numberOfRows);

    // --- Selection -------------------------------------------------------------------------------

    /// The selected flag of each row, made on first use.
    const std::shared_ptr<Flags>& getSelected();
    /// The selected rows in ascending order, made on first use.
    const std::shared_ptr<RowIndexSet>& getSelectedIndices();
    std::size_t getNumberOfSelectedIndices() const;
    bool areAnySelected() const;
    /// False for a row outside the row states.
    bool isSelectedAtIndex(std::int32_t row) const;

    /// Built on setSelectedAtSpecifiedIndices with the set {row}; false for a negative row.
    bool setSelectedAtIndex(bool value, std::int32_t row);
    /// The rows of `rows` get `value`; the others keep theirs.
    virtual bool setSelectedAtSpecifiedIndices(bool value, const RowIndexSet& rows);
    /// The rows of `rows` get `value`, every other row the opposite.
    virtual bool setSelectedOnlyAtSpecifiedIndices(bool value, const RowIndexSet& rows);
    /// Every row of `rows` changes its selected state.
    virtual bool toggleSelectedAtSpecifiedIndices(const RowIndexSet& rows);
    virtual bool setSelectedAll(bool value);
    /// Exactly the rows that were not selected end selected: selects every row, then toggles the
    /// rows that were selected before, through the two virtual operations.
    bool invertSelections();

    // --- Exclusion -------------------------------------------------------------------------------

    const std::shared_ptr<Flags>& getExcluded();
    const std::shared_ptr<RowIndexSet>& getExcludedIndices();
    std::size_t getNumberOfExcludedIndices() const;
    bool areAnyExcluded() const;
    bool isExcludedAtIndex(std::int32_t row) const;

    bool setExcludedAtIndex(bool value, std::int32_t row);
    bool setExcludedAtSpecifiedIndices(bool value, const RowIndexSet& rows);
    bool setExcludedOnlyAtSpecifiedIndices(bool value, const RowIndexSet& rows);
    bool setExcludedAll(bool value);

    // --- General ---------------------------------------------------------------------------------

    /// Makes this object's selection and exclusion those of `other`, for the rows both have;
    /// rows that `other` lacks end unselected and not excluded. Raises the events of what changed.
    virtual bool applyRowStates(const RowStates& other);

    /// The workers that the selection and exclusion operations call with the flags and the set of
    /// the state concerned (`flags` sized to the row count). Each answers whether anything changed
    /// and raises no event.
    bool assignValueToAllStates(bool value, Flags& flags, RowIndexSet& indexSet);
    bool assignValueToStatesAtSpecifiedIndices(bool value, Flags& flags, RowIndexSet& indexSet,
                                               const RowIndexSet& rows);
    bool assignValueExclusivelyAtSpecifiedIndices(bool inside, bool outside, Flags& flags, RowIndexSet& indexSet,
                                                  const RowIndexSet& rows);
    bool toggleStatesAtSpecifiedIndices(Flags& flags, RowIndexSet& indexSet, const RowIndexSet& rows);

    /// Whether the cache of all row indices exists and holds exactly 0 to the row count - 1.
    bool verifyIndexCacheIsReady() const;
    /// Installs `indices` as the cache of all row indices; false, installing nothing, when it is
    /// not exactly 0 to the row count - 1.
    bool restoreIndexCache(const std::shared_ptr<RowIndexSet>& indices);
    /// The rows of the row states that are not in `indices`.
    RowIndexSet takeComplementFromIndexCache(const RowIndexSet& indices) const;

    /// A numeric column named and labelled SELECTED_COLUMN_NAME with one number per row: 1 for a
    /// selected row and 0 for the others, so that its sum counts and its mean measures the
    /// selection. Summarized row states write each row's selected fraction instead.
    virtual std::shared_ptr<Column> makeNumericSelectedColumn();

    // --- Stream form -----------------------------------------------------------------------------

    /// Writes "a" for null row states, else "g", the class byte and the body: the selected flags,
    /// the selected set, the excluded flags, the excluded set and the row count. False when the
    /// stream fails.
    static bool serialize(std::ostream& stream, const std::shared_ptr<const RowStates>& rowStates);
    static bool serialize(SerialWriter& writer, const std::shared_ptr<const RowStates>& rowStates);
    /// Reads that form; the class byte decides the class made. "a" gives null and true. False for
    /// a short or damaged stream, a negative row count, flags or sets that do not fit the row
    /// count, and flags and a set that disagree; `rowStates` must then be discarded.
    static bool unserialize(std::istream& stream, std::shared_ptr<RowStates>& rowStates);
    static bool unserialize(SerialReader& reader, std::shared_ptr<RowStates>& rowStates);
    /// Writes this object's stream form ("g", class byte, body).
    bool serialize(std::ostream& stream) const override;
    /// Replaces this object's states with a stream form of its own class; false for "a", another
    /// class byte, or a short or damaged stream. Raises no event.
    bool unserialize(std::istream& stream) override;

protected:
    RowStates(const RowStates& other);

    /// Writes and reads what follows the common body; plain row states have nothing more.
    virtual bool writeBodyExtension(SerialWriter& writer) const;
    virtual bool readBodyExtension(SerialReader& reader);
    virtual std::uint8_t getClassByte() const;

    /// Called after the selected flags changed and before SELECTED_CHANGED is raised, so that a
    /// derived class can bring what it derives from them up to date.
    virtual void selectedFlagsChanged() {}

    /// Raises SELECTED_CHANGED after `changed` selected flags changed; answers `changed`.
    bool announceSelectionChange(bool changed);

    Flags& selectedFlags();
    RowIndexSet& selectedSet();

private:
    Flags& excludedFlags();
    RowIndexSet& excludedSet();
    bool announceExclusionChange(bool changed);
    bool writeStreamForm(SerialWriter& writer) const;
    bool readBody(SerialReader& reader);
    static bool readState(SerialReader& reader, std::int32_t numberOfRows, std::shared_ptr<Flags>& flags,
                          std::shared_ptr<RowIndexSet>& indexSet);

    std::shared_ptr<Flags> selected_;
    std::shared_ptr<RowIndexSet> selectedIndices_;
    std::shared_ptr<Flags> excluded_;
    std::shared_ptr<RowIndexSet> excludedIndices_;
    std::int32_t numberOfRows_;
    std::shared_ptr<RowIndexSet> indexCache_;
};

}  // namespace pellium

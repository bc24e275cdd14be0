#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/data/dataset/DataType.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/sorting/CollationKeys.h"
#include "pellium/models/data/sorting/SortComparator.h"
#include "pellium/models/data/sorting/SortContext.h"
#include "pellium/models/data/sorting/SortKeyOrder.h"

namespace pellium {

class Collator;
class DataSet;

/// The comparator of indices that stand for data values (rows of a column, members of a level):
/// it orders them in the direction of its sort context, with the placement rules of report data.
/// - All-others is last in every direction, even in data order.
/// - The other special values form bands: ascending, matches-all, sparse, missing and suppressed
///   come in that order before the ordinary values; descending, the ordinary values come first
///   and the bands follow in reverse order.
/// - Direction DATA, or value ordering switched off, leaves every other pair unordered, so a
///   stable sort keeps the data order.
/// - Without a sort context every pair is unordered.
///
/// Values are compared either through precomputed collation keys (computeCollationKeys; see
/// CollationKeys for what they hold), which is what any sort of more than a handful of indices
/// should use, or value by value through getDataValue:
/// - numbers compare as doubles;
/// - texts (modes STRING_BYTE_ORDER and STRING_COLLATED) compare by string-table index when both
///   have one, else bytewise, a proper prefix first. That is a strict order only when the data
///   set's string table is in byte order (DataSet::sortOrderedUniqueStringValues) or no text
///   lacks an index.
/// Deliberately, a comparator that holds a non-empty vector of values (DataValueSortComparator)
/// compares values as numbers whatever its mode: texts held in such a vector are ordered by their
/// collation keys, and without keys they are unordered among themselves.
///
/// The keys follow the mode: STRING_COLLATED ranks texts by the collation of the context's
/// locale, STRING_BYTE_ORDER (and NUMERIC, for a string column) by bytes. Computing keys reads the
/// data once; recompute them after the data or the mode changed. A direction change needs no new
/// keys.
class PELLIUM_EXPORT AbstractDataValueSortComparator : public SortComparator {
public:
    /// How ordinary values compare.
    class PELLIUM_EXPORT Mode {
    public:
        enum type : std::int32_t {
            NUMERIC = 0,
            STRING_BYTE_ORDER = 1,
            STRING_COLLATED = 2,
        };
        static constexpr int NUMBER_OF_VALUES = 3;
        static constexpr bool isValid(std::int32_t value) { return value >= NUMERIC && value <= STRING_COLLATED; }
        /// "NUMERIC", "STRING_BYTE_ORDER" or "STRING_COLLATED"; empty for a number that is no value.
        static std::string_view getStringFromValue(type value);
        /// The value named `name`, compared without regard to ASCII case; empty when none is.
        static std::optional<type> getValueFromString(std::string_view name);
    };

    ~AbstractDataValueSortComparator() override;

    /// True when index `i` comes before index `j`. Throws std::out_of_range for an index beyond
    /// the keys or the values.
    bool operator()(std::uint32_t i, std::uint32_t j) const final {
        if (!sortContext_) {
            return false;
        }
        const SortDirection::type direction = sortContext_->getDirection();
        if (collationKeys_) {
            const std::int32_t keyOfI = collationKeys_->at(i);
            const std::int32_t keyOfJ = collationKeys_->at(j);
            const SortKeyOrder order = getKeyOrder(direction);
            if (order.isBefore(keyOfI, keyOfJ)) {
                return true;
            }
            // Computed keys are equal only for values that compare equal, so they settle ties.
            if (keyOfI != keyOfJ || keysSettleTies_ || !order.leavesTieToValues(keyOfI)) {
                return false;
            }
        }
        return isBeforeByValues(i, j, direction);
    }

    /// Sorts stably; with computed keys by sorting the keys (the same order, without a comparator
    /// call per pair). Without a sort context nothing moves.
    void sortIndices(std::vector<std::uint32_t>& indices) const override;

    // --- Settings --------------------------------------------------------------------------------

    const std::shared_ptr<SortContext>& getSortContext() const { return sortContext_; }
    void setSortContext(std::shared_ptr<SortContext> sortContext) { sortContext_ = std::move(sortContext); }
    DataType::type getDataType() const { return dataType_; }
    const std::shared_ptr<const DataSet>& getDataSet() const { return dataSet_; }

    Mode::type getMode() const { return mode_; }
    /// A value that is no Mode is ignored.
    void setMode(Mode::type mode);
    /// The mode that value-by-value comparison uses: NUMERIC while the comparator holds values.
    Mode::type getEffectiveMode() const { return holdsDataValues() ? Mode::NUMERIC : mode_; }

    /// On by default. Off, only the all-others bucket (and the last key) still moves.
    bool isValueOrderingEnabled() const { return valueOrderingEnabled_; }
    void setValueOrderingEnabled(bool enabled) { valueOrderingEnabled_ = enabled; }

    // --- Collation keys --------------------------------------------------------------------------

    /// Computes one key per index for the comparator's data type (computeCollationKeysForNumericData
    /// or computeCollationKeysForStringData).
    void computeCollationKeys();
    void computeCollationKeysForNumericData();
    /// By the collation of the context's locale in mode STRING_COLLATED, else by bytes.
    void computeCollationKeysForStringData();
    /// Keys made elsewhere (for example from aggregated values), one per index, with the
    /// conventions of SortKeyOrder (last key -5). Equal ordinary keys leave the order to the
    /// values, so keys that disagree with the values' own order break the strict ordering.
    void setCollationKeys(std::vector<std::int32_t> keys);
    void clearCollationKeys();
    bool hasCollationKeys() const { return collationKeys_ != nullptr; }
    /// The keys; null when none are set.
    const std::shared_ptr<const std::vector<std::int32_t>>& getCollationKeys() const { return collationKeys_; }

    // --- Data ------------------------------------------------------------------------------------

    /// The value of an index; std::out_of_range beyond getDataValueCount().
    virtual std::shared_ptr<DataValue> getDataValue(std::uint32_t index) const = 0;
    virtual std::size_t getDataValueCount() const = 0;

protected:
    AbstractDataValueSortComparator(std::shared_ptr<SortContext> sortContext, DataType::type dataType,
                                    std::shared_ptr<const DataSet> dataSet);

    /// True while the comparator holds a non-empty vector of values (see the mode override).
    virtual bool holdsDataValues() const { return false; }

    /// The keys of every index; the defaults read each value through getDataValue. Subclasses
    /// that can read their data directly replace them.
    virtual std::vector<std::int32_t> buildNumericKeys() const;
    virtual std::vector<std::int32_t> buildStringKeys(const Collator* collator) const;

private:
    SortKeyOrder getKeyOrder(SortDirection::type direction) const {
        return SortKeyOrder(CollationKeys::LAST_KEY, direction != SortDirection::DATA && valueOrderingEnabled_,
                            direction == SortDirection::ASCENDING);
    }
    bool isBeforeByValues(std::uint32_t i, std::uint32_t j, SortDirection::type direction) const;
    bool isBeforeAsOrdinaryValues(const DataValue& left, const DataValue& right, bool ascending) const;
    void adoptKeys(std::vector<std::int32_t> keys, bool keysSettleTies);

    std::shared_ptr<SortContext> sortContext_;
    DataType::type dataType_;
    std::shared_ptr<const DataSet> dataSet_;
    Mode::type mode_;
    bool valueOrderingEnabled_ = true;
    std::shared_ptr<const std::vector<std::int32_t>> collationKeys_;
    bool keysSettleTies_ = false;
};

}  // namespace pellium

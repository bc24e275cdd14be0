#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/data/sorting/SortDirection.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

/// How the members of one hierarchy level are ordered among their siblings: the state a report
/// viewer keeps per level when the user clicks a header ("sort Region by label, descending", "sort
/// Product by Sales in 2024"). A DataTreeSortContext holds one state per level it sorts and applies
/// it wherever trees are listed.
///
/// A state sorts by one key:
/// - LABEL: the member's formatted text, collated for the context's locale or by bytes;
/// - RAW_VALUE: the member's raw value, or its value in the level's sort-on-raw column when the
///   level has one (numbers numerically, texts collated or by bytes as for labels);
/// - MEASURE: the value of a measure aggregated at the member, at the crossing with one member of
///   the other axis (its path of formatted texts below that axis's current drill path), or with
///   that axis's total when the path is empty.
/// In every key and direction the all-others member is last, missing and other special values
/// keep the bands of the sort comparators (before the ordinary values ascending, after them
/// descending), and members with equal keys keep their data order. Direction DATA leaves the data
/// order, moving only the all-others member to the end.
///
/// States are shared: a host that flips a state's direction re-lists with the same context.
/// Change a state only while no listing reads it.
class PELLIUM_EXPORT MemberSortState {
    struct Token {};

public:
    /// What members are compared by.
    class PELLIUM_EXPORT Key {
    public:
        enum type : std::int32_t {
            LABEL = 0,
            RAW_VALUE = 1,
            MEASURE = 2,
        };
        static constexpr int NUMBER_OF_VALUES = 3;
        static constexpr bool isValid(std::int32_t value) { return value >= LABEL && value <= MEASURE; }
        /// "LABEL", "RAW_VALUE" or "MEASURE"; empty for a number that is no value.
        static std::string_view getStringFromValue(type value);
        /// The value named `name`, compared without regard to ASCII case; empty when none is.
        static std::optional<type> getValueFromString(std::string_view name);
    };

    /// By formatted label; texts collate for the context's locale unless `collated` is false.
    static std::shared_ptr<MemberSortState> createByLabel(SortDirection::type direction, bool collated = true);
    /// By raw value (the sort-on-raw value when the member has one).
    static std::shared_ptr<MemberSortState> createByRawValue(SortDirection::type direction, bool collated = true);
    /// By the measure `measureName` at the crossing with the other axis's member along
    /// `crossingPath` (formatted texts below its drill path); an empty path is that axis's total.
    static std::shared_ptr<MemberSortState> createByMeasure(SortDirection::type direction, SharedString measureName,
                                                            std::vector<SharedString> crossingPath = {});

    MemberSortState(Token, SortDirection::type direction, Key::type key, bool collated, SharedString measureName,
                    std::vector<SharedString> crossingPath);

    SortDirection::type getDirection() const { return direction_; }
    /// A direction that is no value of SortDirection is taken as DATA.
    void setDirection(SortDirection::type direction);
    Key::type getKey() const { return key_; }
    /// Texts (labels, raw texts) collate for the locale; otherwise by their bytes.
    bool isCollated() const { return collated_; }
    void setCollated(bool collated) { collated_ = collated; }
    /// The measure of a MEASURE state; null otherwise.
    const SharedString& getMeasureName() const { return measureName_; }
    /// The other axis's member of a MEASURE state; empty for its total.
    const std::vector<SharedString>& getCrossingPath() const { return crossingPath_; }

private:
    SortDirection::type direction_;
    Key::type key_;
    bool collated_;
    SharedString measureName_;
    std::vector<SharedString> crossingPath_;
};

}  // namespace pellium

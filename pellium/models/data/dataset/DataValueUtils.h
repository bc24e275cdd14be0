#pragma once

#include <iosfwd>
#include <memory>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/data/dataset/DataType.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

class DataValue;

/// Converts values to and from the literal texts of the filter language, in which where clauses
/// and report definitions write the values they select: 12.5, '.', 'O''Brien', and lists such as
/// [1,2.5]. Also compares value lists as sets. All static; nothing throws.
///
/// A value "implies no selection" when it is null or a string value whose text is null or empty:
/// it selects nothing, and is written as '' (a string) or not at all (a number). A blank text is
/// different: it is missing, and is written ' '.
class PELLIUM_EXPORT DataValueUtils {
public:
    using ValueList = std::vector<std::shared_ptr<DataValue>>;

    DataValueUtils() = delete;

    static bool impliesNoSelection(const std::shared_ptr<const DataValue>& value);

    /// Writes `value` as a literal: nothing for a null value; '' for a string and nothing for a
    /// number that implies no selection; ' ' for a missing string and . for a missing number; a
    /// number in its shortest exact decimal text; a text between single quotes with each single
    /// quote doubled, cut at its first NUL character.
    static void printValueToStream(std::ostream& stream, const std::shared_ptr<const DataValue>& value);

    /// The literal of `value`; for a value that implies no selection, '' when `type` is STRING and
    /// null otherwise.
    static SharedString getSerializationTextForValue(const std::shared_ptr<const DataValue>& value,
                                                     DataType::type type);

    /// The literal of a list: as for a null value when the list is null or empty; the one
    /// value's literal for a list of one; otherwise "[", the literals of the non-null entries
    /// separated by ",", and "]" ([1,2.5]).
    static SharedString getSerializationTextForValues(const std::shared_ptr<const ValueList>& values,
                                                      DataType::type type);

    /// The values of a literal text as getSerializationTextForValues writes it: one literal (12.5,
    /// ., 'East', ' ', '') or a list of them in square brackets ([1,2.5], ['a','b']). Texts become
    /// interned string values with index UNRESOLVABLE_DATA_VALUE ('' gives an empty text, which
    /// implies no selection), numbers numeric values (. the missing number). Null for a null text
    /// or a text that is not such a literal.
    static std::shared_ptr<ValueList> getValuesForSerializationText(const SharedString& text);

    /// A value read from a plain text: null for a null text or an invalid type. For STRING, a
    /// string value of the interned text with index UNRESOLVABLE_DATA_VALUE, formatted by the
    /// format `formatName` when it names one. For NUMERIC, the number the text reads as (NaN when
    /// it is none), formatted as DataValue::formatNumericValue formats it.
    static std::shared_ptr<DataValue> getValueForText(const SharedString& text, DataType::type type,
                                                      const SharedString& formatName);

    /// Whether the two lists hold the same values as sets, by value equality (order and
    /// repetition ignored; a null list counts as empty; a null entry matches only a null entry).
    static bool valueSetsAreEqual(const std::shared_ptr<const ValueList>& first,
                                  const std::shared_ptr<const ValueList>& second);
};

}  // namespace pellium

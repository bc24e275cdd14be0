#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/Wrappable.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

class Formatter;
class SerialReader;
class SerialWriter;

/// One cell value, always held by shared pointer: every number or text that a data set, a
/// hierarchy, a where clause, a sort or an aggregation handles. A value is numeric (a double) or a
/// string (a shared, interned text with its index in the owning data set's string table). Special
/// states (missing, sparse, suppressed, all-others, matches-all) are encoded in those same fields
/// by the sentinels and token codes of DataTokens; there is no kind field.
///
/// A value also carries its formatted text (the value under its column's format) and may carry a
/// display text that overrides everything else. Values are not locked: a value shared between
/// threads must not be changed while it is read.
///
/// Deliberate oddities, kept because sorting and filtering code relies on them:
/// - a string value is missing by its text (null, empty or white space), not by its index;
/// - equality and ordering are independent: equality compares texts (or numbers, NaN equal to
///   NaN), while ordering compares string indices when both are 0 or more, puts missing first
///   and all-others last. Two strings with the same index and different texts are unequal yet
///   neither is less than the other.
class PELLIUM_EXPORT DataValue : public Wrappable {
public:
    using ValueList = std::vector<std::shared_ptr<DataValue>>;

    /// A string value with a null text (so missing), index UNRESOLVABLE_DATA_VALUE, number NaN.
    DataValue();
    /// A numeric value.
    explicit DataValue(double number);
    /// A string value whose formatted text is the text itself.
    DataValue(SharedString text, std::int32_t index);
    /// Copies all fields; the texts are shared, not copied.
    DataValue(const DataValue& other);
    DataValue& operator=(const DataValue& other);
    ~DataValue() override;

    static std::shared_ptr<DataValue> create();
    static std::shared_ptr<DataValue> create(double number);
    static std::shared_ptr<DataValue> create(SharedString text, std::int32_t index);
    static std::shared_ptr<DataValue> create(const DataValue& other);

    /// WrapperTypeIds::DATA_VALUE (46).
    int getWrapperTypeId() const override;

    // --- Fields ----------------------------------------------------------------------------------

    bool isString() const { return isString_; }

    /// The text of a string value (possibly null); for a numeric value, its text if one was set,
    /// else a new text holding the shortest decimal form of the number ("NaN", "Infinity", "0" and
    /// "-0" for the special doubles).
    SharedString getStringValue() const;
    /// Sets the text and its index together.
    void setStringValue(SharedString text, std::int32_t index);
    std::int32_t getStringIndex() const { return stringIndex_; }
    void setStringIndex(std::int32_t index) { stringIndex_ = index; }
    double getNumericValue() const { return numericValue_; }
    void setNumericValue(double number) { numericValue_ = number; }
    const SharedString& getFormattedValue() const { return formattedValue_; }
    void setFormattedValue(SharedString text) { formattedValue_ = std::move(text); }

    /// The text to show, the first that applies: the display text set by setDisplayString; the
    /// localized missing text for a missing or a sparse value; the localized suppressed text for a
    /// suppressed value; the formatted text; getStringValue(). All-others and matches-all show
    /// their formatted text.
    SharedString getDisplayString() const;
    void setDisplayString(SharedString text) { displayString_ = std::move(text); }

    // --- States ----------------------------------------------------------------------------------

    /// String: the text is null, empty or white space only. Number: NaN.
    bool isMissing() const;
    bool isSparse() const;
    bool isSuppressed() const;
    bool isAllOthers() const;
    bool isMatchesAll() const;
    /// Missing, sparse or suppressed: there is no value to show or compute with.
    bool hasNoValue() const;

    // --- Formatting ------------------------------------------------------------------------------

    /// The formatted text of a string cell: "MATCHES_ALL" for index -100, an empty text for -2,
    /// the localized all-others text for -99 or for the text "~O", otherwise the text itself.
    static SharedString formatStringValue(const SharedString& text, std::int32_t index);

    /// The formatted text of a numeric cell: the localized all-others text, " " for matches-all,
    /// "." for sparse and "*" for suppressed; any other number (NaN included) is formatted by the
    /// formatter that the formatter factory serves for `formatName` (its default numeric formatter
    /// when the name is null or serves none), trimmed at both ends.
    static SharedString formatNumericValue(double number, const SharedString& formatName);
    /// The same with a formatter the caller resolved once, for loops over many cells.
    static SharedString formatNumericValue(double number, const Formatter& formatter);

    /// Recomputes the formatted text with `formatter`. Nothing happens for a null formatter or a
    /// missing value, and special values keep their formatted text. A number gets the formatter's
    /// output trimmed at both ends; a text gets the formatter's output for it, untrimmed.
    void reFormat(const std::shared_ptr<Formatter>& formatter);

    // --- Comparison and accumulation -------------------------------------------------------------

    /// Numbers are equal when they compare equal or are both NaN; texts when both are null or
    /// have the same bytes. Index, formatted and display texts play no part. A number never
    /// equals a text.
    bool operator==(const DataValue& other) const;
    bool operator!=(const DataValue& other) const { return !(*this == other); }
    /// The first rule that applies decides: all-others is greater than everything (itself
    /// excepted); missing is less than everything else; suppressed comes next; numbers come
    /// before texts; texts compare by index when both indices are 0 or more, else bytewise
    /// (a proper prefix first); numbers compare as doubles. A string value that is not missing
    /// must have a text.
    bool operator<(const DataValue& other) const;
    bool operator>(const DataValue& other) const { return other < *this; }
    bool operator<=(const DataValue& other) const { return !(other < *this); }
    bool operator>=(const DataValue& other) const { return !(*this < other); }

    /// Adds `other` into this value. Nothing happens when one is a number and the other a text.
    /// Numbers add as plain doubles (a missing operand makes NaN). A text is taken, with its
    /// index, only when this value has none. Formatted and display texts are never touched.
    DataValue& operator+=(const DataValue& other);

    /// Accumulates `source[i]` into `target[i]` for every i below the shorter length, and appends
    /// copies of the source values beyond the target's length. Nothing happens when either list
    /// is null; null elements are skipped (or appended as null).
    static void aggregate(const std::shared_ptr<ValueList>& target, const std::shared_ptr<const ValueList>& source);

    // --- Stream form -----------------------------------------------------------------------------
    // A value travels as the version mark "V" 1, then "a" for a null value or "g" and the body:
    // isString ("c" + 1 byte), the text (string block), the index ("c" + 4 bytes), the number
    // ("b" + 8 bytes) and the formatted text (string block). The display text is not written.
    // Every function answers false as soon as a block fails; a partly read value is left as far
    // as it was read and must be discarded.

    /// Writes the value's static form (version mark, presence, body).
    static bool serialize(std::ostream& stream, const std::shared_ptr<const DataValue>& value);
    static bool serialize(SerialWriter& writer, const std::shared_ptr<const DataValue>& value);
    /// Reads a static form: null for "a", a new value for "g". A text read is replaced by its
    /// interned instance, so that equal texts from a stream share one string.
    static bool unserialize(std::istream& stream, std::shared_ptr<DataValue>& value);
    static bool unserialize(SerialReader& reader, std::shared_ptr<DataValue>& value);

    /// Writes the body alone.
    bool serialize(std::ostream& stream) const override;
    bool writeBody(SerialWriter& writer) const;
    /// Reads the body alone into this value.
    bool unserialize(std::istream& stream) override;
    bool readBody(SerialReader& reader);

    /// A debugging text: DataValue{ isString="true" stringValue="abc" stringIndex="3"
    /// numericValue="nan" formattedValue="abc" }, with "NULL" for a null text and the number as a
    /// standard stream prints it.
    std::string getDescription() const;

private:
    bool isString_;
    SharedString stringValue_;
    std::int32_t stringIndex_;
    double numericValue_;
    SharedString formattedValue_;
    SharedString displayString_;
};

}  // namespace pellium

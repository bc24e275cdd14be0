#pragma once

#include <iosfwd>

#include "pellium/Export.h"

namespace pellium {

/// The wrapper type numbers of the library's classes, one per class, so that the wrapping layer of
/// a host (and the model object database) can tell what a `Wrappable` is without RTTI. Numbers are
/// never reused or renumbered: hosts store them. A new class takes the next free number in its
/// block and adds it here, so that this list stays the one place where numbers are handed out.
struct PELLIUM_EXPORT WrapperTypeIds {
    /// No class answers 0; it marks "unknown" where a number is read from outside.
    static constexpr int UNKNOWN = 0;

    // Model framework.
    static constexpr int EVENT_DISPATCHER = 1;

    // Values and tabular data.
    static constexpr int DATA_SET = 40;
    static constexpr int COLUMN = 41;
    static constexpr int PARTIALLY_AGGREGATED_COLUMN = 42;
    static constexpr int ROW_STATES = 43;
    static constexpr int SUMMARIZED_ROW_STATES = 44;
    static constexpr int ROW_STATES_SYNCHRONIZER = 45;
    static constexpr int DATA_VALUE = 46;
    static constexpr int MUTABLE_DATA_SET = 47;
    static constexpr int MUTABLE_COLUMN = 48;

    // Formatting.
    static constexpr int FORMATTER = 67;
    static constexpr int FORMATTER_FACTORY = 68;

    // Time.
    static constexpr int TIME_ZONE = 69;

    // Hierarchical data and aggregation.
    static constexpr int AGGREGATOR = 80;
    static constexpr int LEVEL = 81;
    static constexpr int HIERARCHY = 82;
    static constexpr int DATA_TREE_NODE = 83;
    static constexpr int HIERARCHY_DATA_SET = 84;

    // Expressions.
    static constexpr int EXPRESSION = 100;
    static constexpr int BINARY_RELATIONAL_EXPRESSION = 101;
    static constexpr int BETWEEN_EXPRESSION = 102;
    static constexpr int IN_EXPRESSION = 103;
    static constexpr int IS_MISSING_EXPRESSION = 104;
    static constexpr int COMPOUND_BOOLEAN_EXPRESSION = 105;
    static constexpr int NEGATED_EXPRESSION = 106;
    static constexpr int SELECT_WHEN_EXPRESSION = 107;
    static constexpr int FUNCTION_EXPRESSION = 108;
    static constexpr int COMPOUND_CONSTANT_EXPRESSION = 109;
    static constexpr int CONSTANT_NUMBER_EXPRESSION = 110;
    static constexpr int CONSTANT_TEXT_EXPRESSION = 111;
    static constexpr int DATA_ITEM_EXPRESSION = 112;
    static constexpr int KEYWORD_EXPRESSION = 113;
    static constexpr int VARIABLE_LIST_EXPRESSION = 114;
    static constexpr int EXPRESSION_CONDITION_VARIABLE = 115;
};

/// Base of every class that the model framework can wrap for a host and write to its tagged byte
/// stream: data values, columns, data sets, row states, expressions, formatters. A class names
/// itself through `getWrapperTypeId()` and may write and read its own stream form.
///
/// Derive virtually (`class X : public virtual Wrappable`) where a class can reach `Wrappable`
/// through more than one base, as `EventDispatcher` and `Expression` do.
class PELLIUM_EXPORT Wrappable {
public:
    virtual ~Wrappable();

    /// The class's number from `WrapperTypeIds`.
    virtual int getWrapperTypeId() const = 0;

    /// Writes the object's stream form. Answers false when the class has no stream form (the base
    /// does not) or the stream failed; what was written before a failure stays in the stream.
    virtual bool serialize(std::ostream& stream) const;

    /// Replaces the object's state with the stream form read from `stream`. Answers false when the
    /// class has no stream form (the base does not) or the bytes are short or malformed; the
    /// object is then in a valid but unspecified state, and never reads past what the stream holds.
    virtual bool unserialize(std::istream& stream);

protected:
    Wrappable() = default;
    Wrappable(const Wrappable&) = default;
    Wrappable& operator=(const Wrappable&) = default;
};

}  // namespace pellium

#pragma once

#include <cstdint>
#include <memory>

#include "pellium/Export.h"
#include "pellium/models/Event.h"

namespace pellium {

/// The change event of a mutable data set: what kind of change, and which row and which column
/// changed (-1 where the change concerns no single row or column). Views that show a data set
/// being edited redraw the cell, row or column named.
class PELLIUM_EXPORT MutableDataSetChangeEvent : public Event {
public:
    /// One cell changed (setDataValue): its row and column.
    static constexpr int CELLCHANGE = 10031;
    /// A row was deleted: row and column -1, since every later row moved.
    static constexpr int ROWDELETION = 10032;
    /// A column was appended or replaced: its column, row -1.
    static constexpr int COLUMNCHANGE = 10033;
    /// A row was appended, inserted or replaced: its row, column -1.
    static constexpr int ROWCHANGE = 10034;

    static std::shared_ptr<MutableDataSetChangeEvent> create(int eventType, std::int32_t row, std::int32_t column,
                                                             EventDispatcher* source = nullptr);

    std::int32_t getChangedRowIndex() const { return row_; }
    std::int32_t getChangedColumnIndex() const { return column_; }

private:
    MutableDataSetChangeEvent(int eventType, std::int32_t row, std::int32_t column, EventDispatcher* source);

    std::int32_t row_;
    std::int32_t column_;
};

}  // namespace pellium

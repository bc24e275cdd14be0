#include "pellium/models/data/dataset/MutableDataSetChangeEvent.h"

namespace pellium {

MutableDataSetChangeEvent::MutableDataSetChangeEvent(int eventType, std::int32_t row, std::int32_t column,
                                                     EventDispatcher* source)
    : Event(eventType, source), row_(row), column_(column) {}

std::shared_ptr<MutableDataSetChangeEvent> MutableDataSetChangeEvent::create(int eventType, std::int32_t row,
                                                                             std::int32_t column,
                                                                             EventDispatcher* source) {
    return std::shared_ptr<MutableDataSetChangeEvent>(new MutableDataSetChangeEvent(eventType, row, column, source));
}

}  // namespace pellium

#include "pellium/models/Event.h"

#include "pellium/models/EventDispatcher.h"

namespace pellium {

Event::SourceReference::SourceReference(EventDispatcher* dispatcher) : address(dispatcher) {
    if (dispatcher != nullptr) {
        handle = dispatcher->weak_from_this();
        // A dispatcher that no shared pointer owns (yet) has an empty handle; it is then known by
        // address only.
        isOwned = !handle.expired();
    }
}

bool Event::SourceReference::refersTo(const EventDispatcher* object) const {
    // An owned source that has died no longer matches, so a new object that happens to be
    // allocated at the same address is not mistaken for it.
    return object != nullptr && object == address && (!isOwned || !handle.expired());
}

std::shared_ptr<EventDispatcher> Event::SourceReference::lock() const {
    return handle.lock();
}

Event::Event(int eventType, EventDispatcher* eventSource)
    : typeNumber(eventType), deliveringSource(eventSource), raisingSource(deliveringSource) {}

Event::~Event() = default;

std::shared_ptr<Event> Event::create(int eventType, EventDispatcher* source) {
    // One allocation for the event and its control block; the constructor is protected.
    struct Constructible : Event {
        Constructible(int constructedType, EventDispatcher* constructedSource)
            : Event(constructedType, constructedSource) {}
    };
    return std::make_shared<Constructible>(eventType, source);
}

std::shared_ptr<EventDispatcher> Event::getSource() const {
    return deliveringSource.lock();
}

std::shared_ptr<EventDispatcher> Event::getOriginalSource() const {
    return raisingSource.lock();
}

bool Event::isSource(const EventDispatcher* object) const {
    return deliveringSource.refersTo(object);
}

bool Event::isOriginalSource(const EventDispatcher* object) const {
    return raisingSource.refersTo(object);
}

bool Event::isRelayed() const {
    return !deliveringSource.hasSameAddressAs(raisingSource);
}

}  // namespace pellium

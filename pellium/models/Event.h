#pragma once

#include <memory>

#include "pellium/Export.h"

namespace pellium {

class EventDispatcher;

/// A change notification delivered by an `EventDispatcher` to its listeners: an integer event
/// type (for example `RowStates::SELECTED_CHANGED`, 10046), the dispatcher delivering it (the
/// source) and the dispatcher that first raised it (the original source). When a data set relays
/// its row states' events, listeners of the data set see the data set as source and the row states
/// as original source, so a listener can both find the object at hand and recognise its own
/// changes coming back to it.
///
/// Sources are dispatchers. The event records each one by address, for identity tests that work
/// even for a dispatcher that no shared pointer owns, and by weak reference, so that a listener
/// that keeps the event can still ask for the object safely: once the dispatcher is gone the
/// getters answer null and the identity tests answer false, never a dangling object.
///
/// Subclasses add their own fields (a changed row and column, for example); they call the
/// protected constructor from their own `create`.
class PELLIUM_EXPORT Event {
public:
    /// An event of `eventType` raised by `source`. With a null source, the first dispatcher that
    /// dispatches the event becomes both its source and its original source.
    static std::shared_ptr<Event> create(int eventType, EventDispatcher* source = nullptr);

    virtual ~Event();

    int getType() const { return typeNumber; }

    /// The dispatcher delivering the event now: the one that raised it, or the one relaying it.
    /// Null when that dispatcher no longer exists or is not owned by a shared pointer (an event
    /// raised from a constructor, or by a dispatcher that lives on the stack); use `isSource` to
    /// compare identities in those cases.
    std::shared_ptr<EventDispatcher> getSource() const;

    /// The dispatcher that first raised the event, kept unchanged while other dispatchers relay
    /// it. Null under the same conditions as `getSource()`.
    std::shared_ptr<EventDispatcher> getOriginalSource() const;

    /// Whether `object` is the dispatcher delivering the event. False for null, and false for a
    /// source that has been destroyed, even when a new object now lives at its address.
    bool isSource(const EventDispatcher* object) const;

    /// Whether `object` is the dispatcher that first raised the event; false as for `isSource`.
    bool isOriginalSource(const EventDispatcher* object) const;

    /// Whether the event reaches its listeners through another dispatcher than the one that
    /// raised it.
    bool isRelayed() const;

protected:
    Event(int eventType, EventDispatcher* source);
    Event(const Event&) = default;
    Event& operator=(const Event&) = default;

private:
    friend class EventDispatcher;

    /// One source: its address for identity, and a weak reference for the object itself when a
    /// shared pointer owns it.
    class SourceReference {
    public:
        SourceReference() = default;
        explicit SourceReference(EventDispatcher* dispatcher);

        bool isEmpty() const { return address == nullptr; }
        bool hasSameAddressAs(const SourceReference& other) const { return address == other.address; }
        bool refersTo(const EventDispatcher* object) const;
        std::shared_ptr<EventDispatcher> lock() const;

    private:
        const EventDispatcher* address = nullptr;
        std::weak_ptr<EventDispatcher> handle;
        bool isOwned = false;
    };

    // Named so that subclasses can call their constructor parameters `type` and `source`.
    int typeNumber;
    SourceReference deliveringSource;
    SourceReference raisingSource;
};

}  // namespace pellium

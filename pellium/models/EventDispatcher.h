#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/Event.h"
#include "pellium/models/Wrappable.h"

namespace pellium {

/// Delivers change events to listeners. Data sets, columns, row states and mutable data sets
/// derive from it to announce their changes; it can also be used on its own (`create()`).
///
/// Listeners register for one event type or for all events and are called synchronously, on the
/// thread that dispatches, in the order in which they were added. Dispatch tolerates listeners
/// that change the listener list: a listener removed during a dispatch (itself or another) is not
/// called again, not even later in the same dispatch; a listener added during a dispatch is first
/// called for the next event. A dispatcher can relay another dispatcher's events to its own
/// listeners (a data set passing on its row states' events); a relayed event keeps its original
/// source and takes the relaying dispatcher as its source.
///
/// Not thread-safe, by design: objects are built on one thread and raise their events on the
/// thread that changes them. Use one dispatcher from one thread at a time.
///
/// Lifetime: the dispatcher never owns the objects its listeners capture; a listener that
/// captures its owner should capture it weakly or remove itself before the owner dies. A relay
/// holds its origin weakly and removes its listener from the origin when the relaying dispatcher
/// is destroyed; when the origin dies first, the relay simply ends. A dispatcher owned by a shared
/// pointer stays alive until its dispatch returns, even when a listener drops the last owner.
///
/// Events name their source through `weak_from_this()`, so a class derived from this one must
/// not derive from `std::enable_shared_from_this` a second time (the shared pointer would then
/// enable neither); it can use `sharedFromThisAs<Derived>()` instead.
class PELLIUM_EXPORT EventDispatcher : public virtual Wrappable, public std::enable_shared_from_this<EventDispatcher> {
public:
    /// Identifies one registration on one dispatcher; ids are never reused by that dispatcher.
    using ListenerId = std::uint64_t;
    using Listener = std::function<void(const std::shared_ptr<Event>& event)>;

    /// Never issued for a registration; answered when nothing was registered.
    static constexpr ListenerId NO_LISTENER = 0;

    static std::shared_ptr<EventDispatcher> create();

    ~EventDispatcher() override;

    int getWrapperTypeId() const override;

    /// Calls `listener` for every event of `eventType`. Answers `NO_LISTENER` (and registers
    /// nothing) when the listener is empty.
    ListenerId addListener(int eventType, Listener listener);

    /// Calls `listener` for every event, whatever its type. Answers `NO_LISTENER` when the
    /// listener is empty.
    ListenerId addListenerForAllEvents(Listener listener);

    /// Removes the registration `id` of this dispatcher. Answers false when this dispatcher has no
    /// such registration (never issued, issued by another dispatcher, or already removed).
    bool removeListener(ListenerId id);

    /// Removes every registration, including those through which other dispatchers relay this
    /// one's events.
    void removeAllListeners();

    std::size_t getNumberOfListeners() const;

    /// Whether any listener would receive an event of `eventType`. Code that raises events of a
    /// derived class asks this first, so that no event is made when nobody listens.
    bool hasListenersFor(int eventType) const;

    /// Delivers `event` to the listeners of its type and to those for all events. An event with no
    /// source takes this dispatcher as source and original source. Nothing happens for a null
    /// event, and an event that this dispatcher is already delivering is not delivered again by a
    /// nested call (which ends relay cycles). Exceptions thrown by listeners propagate; the
    /// dispatcher stays consistent.
    void dispatchEvent(const std::shared_ptr<Event>& event);

    /// Raises a plain event of `eventType` with this dispatcher as source; the event is made only
    /// when some listener would receive it.
    void dispatchEvent(int eventType) {
        // Inline, so that raising an event nobody listens to costs one comparison.
        if (!registrations.empty()) {
            dispatchEventToListeners(eventType);
        }
    }

    /// Delivers another dispatcher's `event` to this dispatcher's listeners with this dispatcher as
    /// source, keeping its original source; after delivery the event names its former source
    /// again. Use it as a listener body when events need passing on by hand.
    void relayEvent(const std::shared_ptr<Event>& event);

    /// Relays every event of `origin` from now on, until `stopRelayingEventsFrom(origin)` or the
    /// end of either dispatcher. Answers false, and changes nothing, for a null origin, for this
    /// dispatcher itself, and for an origin whose events are already relayed.
    bool relayEventsFrom(const std::shared_ptr<EventDispatcher>& origin);

    /// Ends the relay from `origin`. Answers false when there was none or the origin has died.
    bool stopRelayingEventsFrom(const EventDispatcher* origin);

    /// Whether this dispatcher relays the events of the live dispatcher `origin`.
    bool isRelayingEventsFrom(const EventDispatcher* origin) const;

protected:
    EventDispatcher();

    /// A copy starts with no listeners and relays nothing: registrations belong to the object
    /// they were made on.
    EventDispatcher(const EventDispatcher& other);

    /// Keeps this dispatcher's own listeners and relays.
    EventDispatcher& operator=(const EventDispatcher& other);

    /// A shared pointer to this object as `Derived`. Throws `std::bad_weak_ptr` when no shared
    /// pointer owns the object.
    template <class Derived>
    std::shared_ptr<Derived> sharedFromThisAs() {
        return std::static_pointer_cast<Derived>(shared_from_this());
    }

private:
    struct Registration;
    struct Relay;
    struct DispatchFrame;
    class DispatchScope;

    ListenerId addRegistration(int eventType, bool forAllEvents, Listener listener);
    void dispatchEventToListeners(int eventType);
    void deliver(const std::shared_ptr<Event>& event);
    bool isDelivering(const Event* event) const;
    bool isDispatching() const { return activeDispatch != nullptr; }
    void eraseRemovedRegistrations();
    void forgetDeadRelays();

    // Held by pointer so that a registration stays put while its listener runs, even when the
    // listener adds registrations and the vector grows.
    std::vector<std::unique_ptr<Registration>> registrations;
    std::vector<Relay> relays;
    // The innermost dispatch in progress, linked to the enclosing ones; frames live on the stack.
    DispatchFrame* activeDispatch = nullptr;
    ListenerId lastListenerId = NO_LISTENER;
    bool hasRemovedRegistrations = false;
};

}  // namespace pellium

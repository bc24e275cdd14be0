#include "pellium/models/EventDispatcher.h"

#include <algorithm>
#include <utility>

namespace pellium {

struct EventDispatcher::Registration {
    ListenerId id;
    int eventType;
    bool forAllEvents;
    // Set instead of erasing while a dispatch is in progress; such entries are erased when the
    // outermost dispatch ends.
    bool isRemoved = false;
    Listener listener;

    bool receives(int type) const { return !isRemoved && (forAllEvents || eventType == type); }
};

struct EventDispatcher::Relay {
    std::weak_ptr<EventDispatcher> origin;
    const EventDispatcher* originAddress;
    ListenerId listenerIdOnOrigin;
};

struct EventDispatcher::DispatchFrame {
    const Event* event;
    DispatchFrame* enclosing;
};

/// Marks one delivery as in progress for as long as it lives, and tidies the registration list
/// when the outermost delivery ends, also when a listener throws.
class EventDispatcher::DispatchScope {
public:
    DispatchScope(EventDispatcher& dispatcher, const Event* event)
        : owner(dispatcher), frame{event, dispatcher.activeDispatch} {
        owner.activeDispatch = &frame;
    }
    ~DispatchScope() {
        owner.activeDispatch = frame.enclosing;
        if (!owner.isDispatching() && owner.hasRemovedRegistrations) {
            owner.eraseRemovedRegistrations();
        }
    }
    DispatchScope(const DispatchScope&) = delete;
    DispatchScope& operator=(const DispatchScope&) = delete;

private:
    EventDispatcher& owner;
    DispatchFrame frame;
};

EventDispatcher::EventDispatcher() = default;

EventDispatcher::EventDispatcher(const EventDispatcher& other)
    : Wrappable(other), std::enable_shared_from_this<EventDispatcher>(other) {}

EventDispatcher& EventDispatcher::operator=(const EventDispatcher& other) {
    Wrappable::operator=(other);
    return *this;
}

EventDispatcher::~EventDispatcher() {
    for (const Relay& relay : relays) {
        if (const auto origin = relay.origin.lock()) {
            origin->removeListener(relay.listenerIdOnOrigin);
        }
    }
}

std::shared_ptr<EventDispatcher> EventDispatcher::create() {
    return std::shared_ptr<EventDispatcher>(new EventDispatcher());
}

int EventDispatcher::getWrapperTypeId() const {
    return WrapperTypeIds::EVENT_DISPATCHER;
}

EventDispatcher::ListenerId EventDispatcher::addListener(int eventType, Listener listener) {
    return addRegistration(eventType, false, std::move(listener));
}

EventDispatcher::ListenerId EventDispatcher::addListenerForAllEvents(Listener listener) {
    return addRegistration(0, true, std::move(listener));
}

EventDispatcher::ListenerId EventDispatcher::addRegistration(int eventType, bool forAllEvents, Listener listener) {
    if (!listener) {
        return NO_LISTENER;
    }
    const ListenerId id = ++lastListenerId;
    registrations.push_back(std::make_unique<Registration>(
        Registration{.id = id, .eventType = eventType, .forAllEvents = forAllEvents, .listener = std::move(listener)}));
    return id;
}

bool EventDispatcher::removeListener(ListenerId id) {
    const auto found = std::find_if(registrations.begin(), registrations.end(), [id](const auto& registration) {
        return registration->id == id && !registration->isRemoved;
    });
    if (found == registrations.end()) {
        return false;
    }
    if (isDispatching()) {
        // The listener may be running right now; it is destroyed once the dispatch has ended.
        (*found)->isRemoved = true;
        hasRemovedRegistrations = true;
    } else {
        registrations.erase(found);
    }
    return true;
}

void EventDispatcher::removeAllListeners() {
    if (!isDispatching()) {
        registrations.clear();
        return;
    }
    for (const auto& registration : registrations) {
        registration->isRemoved = true;
    }
    hasRemovedRegistrations = !registrations.empty();
}

void EventDispatcher::eraseRemovedRegistrations() {
    std::erase_if(registrations, [](const auto& registration) { return registration->isRemoved; });
    hasRemovedRegistrations = false;
}

std::size_t EventDispatcher::getNumberOfListeners() const {
    return static_cast<std::size_t>(std::count_if(registrations.begin(), registrations.end(),
                                                  [](const auto& registration) { return !registration->isRemoved; }));
}

bool EventDispatcher::hasListenersFor(int eventType) const {
    return std::any_of(registrations.begin(), registrations.end(),
                       [eventType](const auto& registration) { return registration->receives(eventType); });
}

void EventDispatcher::dispatchEvent(const std::shared_ptr<Event>& event) {
    if (event == nullptr) {
        return;
    }
    if (event->deliveringSource.isEmpty()) {
        event->deliveringSource = Event::SourceReference(this);
        event->raisingSource = event->deliveringSource;
    }
    deliver(event);
}

void EventDispatcher::dispatchEventToListeners(int eventType) {
    if (hasListenersFor(eventType)) {
        deliver(Event::create(eventType, this));
    }
}

void EventDispatcher::relayEvent(const std::shared_ptr<Event>& event) {
    if (event == nullptr || registrations.empty()) {
        return;
    }
    // The event object is shared with the dispatcher it came from: name this dispatcher as source
    // for the listeners here, and restore the former source for the listeners still to come there.
    struct SourceRestorer {
        Event& event;
        Event::SourceReference formerSource;
        ~SourceRestorer() { event.deliveringSource = std::move(formerSource); }
    } restorer{*event, std::exchange(event->deliveringSource, Event::SourceReference(this))};
    deliver(event);
}

void EventDispatcher::deliver(const std::shared_ptr<Event>& event) {
    if (registrations.empty() || isDelivering(event.get())) {
        return;
    }
    // A listener may drop the last owner of this dispatcher; keep it alive until the loop ends.
    // Declared before the scope so that the scope tidies up while the object still exists.
    const std::shared_ptr<EventDispatcher> keepAlive = weak_from_this().lock();
    const DispatchScope scope(*this, event.get());
    const int type = event->getType();
    // Listeners added during this dispatch sit past the end counted here and wait for the next
    // event.
    const std::size_t numberOfRegistrations = registrations.size();
    for (std::size_t index = 0; index < numberOfRegistrations; ++index) {
        Registration& registration = *registrations[index];
        if (registration.receives(type)) {
            registration.listener(event);
        }
    }
}

bool EventDispatcher::isDelivering(const Event* event) const {
    for (const DispatchFrame* frame = activeDispatch; frame != nullptr; frame = frame->enclosing) {
        if (frame->event == event) {
            return true;
        }
    }
    return false;
}

bool EventDispatcher::relayEventsFrom(const std::shared_ptr<EventDispatcher>& origin) {
    if (origin == nullptr || origin.get() == this || isRelayingEventsFrom(origin.get())) {
        return false;
    }
    forgetDeadRelays();
    // Capturing `this` is safe: the destructor removes this listener from every live origin, and
    // a listener removed during a dispatch is not called again.
    const ListenerId id =
        origin->addListenerForAllEvents([this](const std::shared_ptr<Event>& event) { relayEvent(event); });
    relays.push_back(Relay{.origin = origin, .originAddress = origin.get(), .listenerIdOnOrigin = id});
    return true;
}

bool EventDispatcher::stopRelayingEventsFrom(const EventDispatcher* origin) {
    forgetDeadRelays();
    const auto found = std::find_if(relays.begin(), relays.end(),
                                    [origin](const Relay& relay) { return relay.originAddress == origin; });
    if (origin == nullptr || found == relays.end()) {
        return false;
    }
    const auto liveOrigin = found->origin.lock();
    const ListenerId id = found->listenerIdOnOrigin;
    relays.erase(found);
    return liveOrigin->removeListener(id);
}

bool EventDispatcher::isRelayingEventsFrom(const EventDispatcher* origin) const {
    return origin != nullptr && std::any_of(relays.begin(), relays.end(), [origin](const Relay& relay) {
               return relay.originAddress == origin && !relay.origin.expired();
           });
}

void EventDispatcher::forgetDeadRelays() {
    std::erase_if(relays, [](const Relay& relay) { return relay.origin.expired(); });
}

}  // namespace pellium

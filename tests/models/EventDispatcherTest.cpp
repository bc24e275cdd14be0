#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "pellium/models/EventDispatcher.h"

namespace pellium {
namespace {

constexpr int CHANGED = 10046;
constexpr int OTHER = 10043;

/// Records the order in which listeners run, by name.
struct CallLog {
    std::vector<std::string> calls;

    EventDispatcher::Listener record(std::string name) {
        return [this, name = std::move(name)](const std::shared_ptr<Event>&) { calls.push_back(name); };
    }
};

TEST(EventDispatcher, ListenersRunInRegistrationOrderWhateverTheirKind) {
    const auto dispatcher = EventDispatcher::create();
    CallLog log;
    dispatcher->addListener(CHANGED, log.record("changed-1"));
    dispatcher->addListenerForAllEvents(log.record("all-1"));
    dispatcher->addListener(OTHER, log.record("other"));
    dispatcher->addListener(CHANGED, log.record("changed-2"));
    dispatcher->addListenerForAllEvents(log.record("all-2"));

    dispatcher->dispatchEvent(CHANGED);
    EXPECT_EQ(log.calls, (std::vector<std::string>{"changed-1", "all-1", "changed-2", "all-2"}));

    log.calls.clear();
    dispatcher->dispatchEvent(OTHER);
    EXPECT_EQ(log.calls, (std::vector<std::string>{"all-1", "other", "all-2"}));
}

// The source of a plain dispatch is checked with the relays below.
TEST(EventDispatcher, AnEventWithoutSourceTakesTheFirstDispatcherThatDispatchesIt) {
    const auto dispatcher = EventDispatcher::create();
    std::shared_ptr<Event> received;
    dispatcher->addListener(CHANGED, [&](const std::shared_ptr<Event>& event) { received = event; });
    dispatcher->dispatchEvent(Event::create(CHANGED));
    ASSERT_NE(received, nullptr);
    EXPECT_TRUE(received->isSource(dispatcher.get()));
    EXPECT_TRUE(received->isOriginalSource(dispatcher.get()));
}

TEST(EventDispatcher, NothingIsDeliveredForNullEventsOrUnlistenedTypes) {
    const auto dispatcher = EventDispatcher::create();
    CallLog log;
    dispatcher->addListener(CHANGED, log.record("changed"));
    dispatcher->dispatchEvent(std::shared_ptr<Event>());
    dispatcher->dispatchEvent(OTHER);
    EXPECT_TRUE(log.calls.empty());
    EXPECT_TRUE(dispatcher->hasListenersFor(CHANGED));
    EXPECT_FALSE(dispatcher->hasListenersFor(OTHER));
    EXPECT_EQ(dispatcher->addListener(CHANGED, nullptr), EventDispatcher::NO_LISTENER);
    EXPECT_EQ(dispatcher->getNumberOfListeners(), 1U);
}

TEST(EventDispatcher, RemovalAnswersWhetherTheRegistrationExisted) {
    const auto dispatcher = EventDispatcher::create();
    const auto other = EventDispatcher::create();
    CallLog log;
    const auto id = dispatcher->addListener(CHANGED, log.record("a"));
    const auto otherId = other->addListener(CHANGED, log.record("b"));
    other->addListener(CHANGED, log.record("c"));

    EXPECT_FALSE(dispatcher->removeListener(EventDispatcher::NO_LISTENER));
    EXPECT_TRUE(other->removeListener(otherId));
    // Ids are never reused, so a stale id cannot remove a newer registration.
    EXPECT_FALSE(other->removeListener(otherId));
    EXPECT_TRUE(dispatcher->removeListener(id));
    EXPECT_FALSE(dispatcher->removeListener(id));
    EXPECT_NE(dispatcher->addListener(CHANGED, log.record("d")), id);
    EXPECT_EQ(dispatcher->getNumberOfListeners(), 1U);
}

// The second of four listeners removes one registration (by position) or all while it runs.
TEST(EventDispatcher, ListenersRemovedDuringADispatchAreNotCalledAgain) {
    const struct {
        const char* description;
        int removedPosition;
        bool removeAll;
        std::vector<std::string> firstDispatch;
        std::vector<std::string> secondDispatch;
    } cases[] = {{"a listener removes itself", 1, false, {"0", "1", "2", "3"}, {"0", "2", "3"}},
                 {"a listener removes an earlier one", 0, false, {"0", "1", "2", "3"}, {"1", "2", "3"}},
                 {"a listener removes the next one", 2, false, {"0", "1", "3"}, {"0", "1", "3"}},
                 {"a listener removes the last one", 3, false, {"0", "1", "2"}, {"0", "1", "2"}},
                 {"a listener removes every listener", 0, true, {"0", "1"}, {}}};
    for (const auto& removal : cases) {
        SCOPED_TRACE(removal.description);
        const auto dispatcher = EventDispatcher::create();
        CallLog log;
        std::vector<EventDispatcher::ListenerId> ids;
        ids.push_back(dispatcher->addListener(CHANGED, log.record("0")));
        bool hasRemoved = false;
        ids.push_back(dispatcher->addListener(CHANGED, [&](const std::shared_ptr<Event>&) {
            log.calls.push_back("1");
            if (std::exchange(hasRemoved, true)) {
                return;
            }
            if (removal.removeAll) {
                dispatcher->removeAllListeners();
            } else {
                EXPECT_TRUE(dispatcher->removeListener(ids[static_cast<std::size_t>(removal.removedPosition)]));
            }
        }));
        ids.push_back(dispatcher->addListenerForAllEvents(log.record("2")));
        ids.push_back(dispatcher->addListener(CHANGED, log.record("3")));

        dispatcher->dispatchEvent(CHANGED);
        EXPECT_EQ(log.calls, removal.firstDispatch);
        log.calls.clear();
        dispatcher->dispatchEvent(CHANGED);
        EXPECT_EQ(log.calls, removal.secondDispatch);
        EXPECT_EQ(dispatcher->getNumberOfListeners(), removal.secondDispatch.size());
    }
}

TEST(EventDispatcher, ListenersAddedDuringADispatchWaitForTheNextEvent) {
    const auto dispatcher = EventDispatcher::create();
    CallLog log;
    bool added = false;
    dispatcher->addListenerForAllEvents([&](const std::shared_ptr<Event>& event) {
        log.calls.push_back("adder:" + std::to_string(event->getType()));
        if (!added) {
            added = true;
            dispatcher->addListenerForAllEvents(log.record("added"));
            // An event raised from inside the dispatch comes after the addition, so the new
            // listener receives it.
            dispatcher->dispatchEvent(OTHER);
        }
    });
    dispatcher->addListener(CHANGED, log.record("existing"));

    dispatcher->dispatchEvent(CHANGED);
    EXPECT_EQ(log.calls, (std::vector<std::string>{"adder:10046", "adder:10043", "added", "existing"}));

    log.calls.clear();
    dispatcher->dispatchEvent(CHANGED);
    EXPECT_EQ(log.calls, (std::vector<std::string>{"adder:10046", "existing", "added"}));
}

TEST(EventDispatcher, ADispatcherWhoseLastOwnerIsDroppedByAListenerFinishesTheDispatch) {
    auto dispatcher = EventDispatcher::create();
    std::weak_ptr<EventDispatcher> watcher = dispatcher;
    CallLog log;
    dispatcher->addListener(CHANGED, [&](const std::shared_ptr<Event>&) {
        log.calls.push_back("dropper");
        dispatcher.reset();
    });
    dispatcher->addListener(CHANGED, log.record("after"));

    // The raw pointer outlives the owner on purpose: the dispatch must keep the object alive.
    EventDispatcher* raw = dispatcher.get();
    raw->dispatchEvent(CHANGED);
    EXPECT_EQ(log.calls, (std::vector<std::string>{"dropper", "after"}));
    EXPECT_TRUE(watcher.expired());
}

TEST(EventDispatcher, AThrowingListenerLeavesTheDispatcherConsistent) {
    const auto dispatcher = EventDispatcher::create();
    CallLog log;
    EventDispatcher::ListenerId thrower = EventDispatcher::NO_LISTENER;
    thrower = dispatcher->addListener(CHANGED, [&](const std::shared_ptr<Event>&) {
        dispatcher->removeListener(thrower);
        throw std::runtime_error("listener failed");
    });
    dispatcher->addListener(CHANGED, log.record("after"));

    EXPECT_THROW(dispatcher->dispatchEvent(CHANGED), std::runtime_error);
    EXPECT_EQ(dispatcher->getNumberOfListeners(), 1U);
    dispatcher->dispatchEvent(CHANGED);
    EXPECT_EQ(log.calls, (std::vector<std::string>{"after"}));
    // Removals now happen at once again, which is only true when no dispatch is thought running.
    dispatcher->addListener(CHANGED, log.record("late"));
    EXPECT_EQ(dispatcher->getNumberOfListeners(), 2U);
}

TEST(EventDispatcher, ACopyStartsWithoutTheOriginalsListeners) {
    struct Copyable : EventDispatcher {
        Copyable() = default;
        Copyable(const Copyable&) = default;
    };
    Copyable original;
    CallLog log;
    original.addListener(CHANGED, log.record("original"));
    Copyable copy(original);
    copy.dispatchEvent(CHANGED);
    EXPECT_TRUE(log.calls.empty());
    EXPECT_EQ(copy.getNumberOfListeners(), 0U);
    EXPECT_EQ(original.getNumberOfListeners(), 1U);
}

// Random listener lists that change themselves while they run, checked step by step against a
// model of the rules: a dispatch calls, in registration order, the registrations that existed when
// it began and have not been removed by the time their turn comes.
TEST(EventDispatcher, RandomChangesDuringDispatchFollowTheRules) {
    std::mt19937 random(20240517);
    for (int round = 0; round < 300; ++round) {
        const auto dispatcher = EventDispatcher::create();
        struct ModelEntry {
            EventDispatcher::ListenerId id;
            bool removed;
        };
        std::vector<ModelEntry> model;
        std::size_t existingAtStart = 0;
        std::size_t cursor = 0;
        auto skipRemoved = [&] {
            while (cursor < existingAtStart && model[cursor].removed) {
                ++cursor;
            }
        };

        std::function<void()> addRandomListener = [&] {
            auto id = std::make_shared<EventDispatcher::ListenerId>();
            *id = dispatcher->addListenerForAllEvents([&, id](const std::shared_ptr<Event>&) {
                skipRemoved();
                ASSERT_LT(cursor, existingAtStart) << "a listener added during the dispatch was called";
                EXPECT_EQ(model[cursor].id, *id) << "round " << round;
                ++cursor;
                const auto action = random() % 3;
                if (action == 0) {
                    ModelEntry& victim = model[random() % model.size()];
                    EXPECT_EQ(dispatcher->removeListener(victim.id), !victim.removed);
                    victim.removed = true;
                } else if (action == 1) {
                    addRandomListener();
                }
            });
            model.push_back({*id, false});
        };
        for (auto count = random() % 10; count > 0; --count) {
            addRandomListener();
        }

        for (int dispatch = 0; dispatch < 4; ++dispatch) {
            existingAtStart = model.size();
            cursor = 0;
            dispatcher->dispatchEvent(CHANGED);
            skipRemoved();
            EXPECT_EQ(cursor, existingAtStart) << "a registration was skipped in round " << round;
        }
        const auto live =
            std::count_if(model.begin(), model.end(), [](const ModelEntry& entry) { return !entry.removed; });
        EXPECT_EQ(dispatcher->getNumberOfListeners(), static_cast<std::size_t>(live)) << "round " << round;
    }
}

/// What a listener saw of an event while it ran.
struct Sighting {
    std::string listener;
    std::shared_ptr<EventDispatcher> source;
    std::shared_ptr<EventDispatcher> originalSource;
    bool relayed;

    bool operator==(const Sighting&) const = default;
};

EventDispatcher::Listener watch(std::vector<Sighting>& sightings, std::string name) {
    return [&sightings, name = std::move(name)](const std::shared_ptr<Event>& event) {
        sightings.push_back({name, event->getSource(), event->getOriginalSource(), event->isRelayed()});
    };
}

TEST(EventDispatcher, RelayedEventsKeepTheirOriginalSource) {
    const auto rowStates = EventDispatcher::create();
    const auto dataSet = EventDispatcher::create();
    const auto view = EventDispatcher::create();
    std::vector<Sighting> sightings;
    rowStates->addListenerForAllEvents(watch(sightings, "before"));
    ASSERT_TRUE(dataSet->relayEventsFrom(rowStates));
    ASSERT_TRUE(view->relayEventsFrom(dataSet));
    rowStates->addListenerForAllEvents(watch(sightings, "after"));
    dataSet->addListener(CHANGED, watch(sightings, "data set"));
    view->addListener(CHANGED, watch(sightings, "view"));

    rowStates->dispatchEvent(CHANGED);
    // Listeners of the origin registered after the relay see the origin as source again.
    // The view relays the data set's events from its own registration, which precedes the data
    // set's listener; the origin's listeners registered after the relay see the origin again.
    EXPECT_EQ(sightings, (std::vector<Sighting>{{"before", rowStates, rowStates, false},
                                                {"view", view, rowStates, true},
                                                {"data set", dataSet, rowStates, true},
                                                {"after", rowStates, rowStates, false}}));
}

TEST(EventDispatcher, RelayedEventsKeepTheirClassAndFields) {
    struct CellEvent : Event {
        CellEvent(EventDispatcher* source, int changedRow) : Event(CHANGED, source), row(changedRow) {}
        int row;
    };
    const auto origin = EventDispatcher::create();
    const auto relay = EventDispatcher::create();
    relay->relayEventsFrom(origin);
    int seenRow = -1;
    relay->addListener(CHANGED, [&](const std::shared_ptr<Event>& event) {
        const auto* cell = dynamic_cast<const CellEvent*>(event.get());
        ASSERT_NE(cell, nullptr);
        seenRow = cell->row;
    });
    origin->dispatchEvent(std::make_shared<CellEvent>(origin.get(), 7));
    EXPECT_EQ(seenRow, 7);
}

TEST(EventDispatcher, RelayingIsRefusedForNullSelfAndRepeatedOrigins) {
    const auto origin = EventDispatcher::create();
    const auto relay = EventDispatcher::create();
    EXPECT_FALSE(relay->relayEventsFrom(nullptr));
    EXPECT_FALSE(relay->relayEventsFrom(relay));
    EXPECT_TRUE(relay->relayEventsFrom(origin));
    EXPECT_FALSE(relay->relayEventsFrom(origin));
    EXPECT_EQ(origin->getNumberOfListeners(), 1U);

    CallLog log;
    relay->addListener(CHANGED, log.record("relay"));
    origin->dispatchEvent(CHANGED);
    EXPECT_EQ(log.calls.size(), 1U);

    EXPECT_TRUE(relay->stopRelayingEventsFrom(origin.get()));
    EXPECT_FALSE(relay->stopRelayingEventsFrom(origin.get()));
    EXPECT_FALSE(relay->isRelayingEventsFrom(origin.get()));
    EXPECT_EQ(origin->getNumberOfListeners(), 0U);
    origin->dispatchEvent(CHANGED);
    EXPECT_EQ(log.calls.size(), 1U);
}

TEST(EventDispatcher, ARelayEndsQuietlyWhenItsOriginDies) {
    auto origin = EventDispatcher::create();
    const EventDispatcher* originAddress = origin.get();
    const auto relay = EventDispatcher::create();
    relay->relayEventsFrom(origin);
    ASSERT_TRUE(relay->isRelayingEventsFrom(originAddress));

    origin.reset();
    EXPECT_FALSE(relay->isRelayingEventsFrom(originAddress));
    EXPECT_FALSE(relay->stopRelayingEventsFrom(originAddress));
    // The relay still works with a new origin, even one that reuses the dead origin's memory.
    const auto successor = EventDispatcher::create();
    EXPECT_TRUE(relay->relayEventsFrom(successor));
    CallLog log;
    relay->addListenerForAllEvents(log.record("relay"));
    successor->dispatchEvent(CHANGED);
    EXPECT_EQ(log.calls.size(), 1U);
}

TEST(EventDispatcher, ARelayThatDiesFirstLeavesNothingBehindInItsOrigin) {
    const auto origin = EventDispatcher::create();
    CallLog log;
    origin->addListenerForAllEvents(log.record("origin"));
    {
        const auto relay = EventDispatcher::create();
        relay->relayEventsFrom(origin);
        relay->addListenerForAllEvents(log.record("relay"));
        EXPECT_EQ(origin->getNumberOfListeners(), 2U);
    }
    EXPECT_EQ(origin->getNumberOfListeners(), 1U);
    origin->dispatchEvent(CHANGED);
    EXPECT_EQ(log.calls, (std::vector<std::string>{"origin"}));
}

TEST(EventDispatcher, ARelayDestroyedByAnEarlierListenerOfTheOriginIsNotCalled) {
    const auto origin = EventDispatcher::create();
    auto relay = EventDispatcher::create();
    CallLog log;
    origin->addListenerForAllEvents([&](const std::shared_ptr<Event>&) { relay.reset(); });
    relay->relayEventsFrom(origin);
    relay->addListenerForAllEvents(log.record("relay"));
    origin->dispatchEvent(CHANGED);
    EXPECT_TRUE(log.calls.empty());
    EXPECT_EQ(origin->getNumberOfListeners(), 1U);
}

TEST(EventDispatcher, RelayCyclesDeliverEachEventOnceToEachDispatcher) {
    const auto first = EventDispatcher::create();
    const auto second = EventDispatcher::create();
    const auto third = EventDispatcher::create();
    first->relayEventsFrom(third);
    second->relayEventsFrom(first);
    third->relayEventsFrom(second);
    std::vector<Sighting> sightings;
    first->addListenerForAllEvents(watch(sightings, "first"));
    second->addListenerForAllEvents(watch(sightings, "second"));
    third->addListenerForAllEvents(watch(sightings, "third"));

    second->dispatchEvent(CHANGED);
    // Depth first along the relays, which were registered before the watchers; the event coming
    // back to `second` through `first` is not delivered there a second time.
    EXPECT_EQ(sightings,
              (std::vector<Sighting>{
                  {"first", first, second, true}, {"third", third, second, true}, {"second", second, second, false}}));
}

}  // namespace
}  // namespace pellium

#include <gtest/gtest.h>

#include "pellium/models/Event.h"
#include "pellium/models/EventDispatcher.h"

namespace pellium {
namespace {

constexpr int CHANGED = 10046;

/// A dispatcher that no shared pointer owns, as a member object or one on the stack would be.
struct Standalone : EventDispatcher {};

TEST(Event, SourcesAreHeldWeaklyAndStopMatchingOnceDestroyed) {
    auto dispatcher = EventDispatcher::create();
    const EventDispatcher* address = dispatcher.get();
    const auto event = Event::create(CHANGED, dispatcher.get());
    ASSERT_EQ(event->getSource(), dispatcher);
    ASSERT_TRUE(event->isOriginalSource(address));

    dispatcher.reset();
    EXPECT_EQ(event->getSource(), nullptr);
    EXPECT_EQ(event->getOriginalSource(), nullptr);
    // Whatever now occupies the old address is not the source.
    EXPECT_FALSE(event->isSource(address));
    EXPECT_FALSE(event->isOriginalSource(address));
}

TEST(Event, DispatchersWithoutSharedOwnerAreKnownByIdentity) {
    Standalone dispatcher;
    Standalone other;
    const auto event = Event::create(CHANGED, &dispatcher);
    EXPECT_EQ(event->getSource(), nullptr);
    EXPECT_TRUE(event->isSource(&dispatcher));
    EXPECT_TRUE(event->isOriginalSource(&dispatcher));
    EXPECT_FALSE(event->isSource(&other));
    EXPECT_FALSE(event->isSource(nullptr));
    EXPECT_FALSE(event->isRelayed());
}

TEST(Event, RelayThroughADispatcherWithoutSharedOwnerStillTellsTheSourcesApart) {
    const auto rowStates = EventDispatcher::create();
    Standalone dataSet;
    dataSet.relayEventsFrom(rowStates);
    bool checked = false;
    dataSet.addListener(CHANGED, [&](const std::shared_ptr<Event>& event) {
        EXPECT_TRUE(event->isSource(&dataSet));
        EXPECT_TRUE(event->isOriginalSource(rowStates.get()));
        EXPECT_EQ(event->getOriginalSource(), rowStates);
        EXPECT_TRUE(event->isRelayed());
        checked = true;
    });
    rowStates->dispatchEvent(CHANGED);
    EXPECT_TRUE(checked);
}

}  // namespace
}  // namespace pellium

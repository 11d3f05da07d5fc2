#include "platform/AutoResetEvent.h"

#include <gtest/gtest.h>

#include <thread>

using platform::AutoResetEvent;
using platform::NamedEvent;

namespace {

TEST(AutoResetEvent, LetsOneWaitThroughPerSet)
{
    AutoResetEvent event;
    EXPECT_FALSE(event.Wait(0));
    event.Set();
    event.Set();
    EXPECT_TRUE(event.Wait(0));
    EXPECT_FALSE(event.Wait(5)) << "two sets before a wait count once";

    AutoResetEvent initiallySet(true);
    initiallySet.Reset();
    EXPECT_FALSE(initiallySet.Wait(0));
    AutoResetEvent set(true);
    EXPECT_TRUE(set.Wait(0));
}

TEST(AutoResetEvent, SetWakesAWaitingThread)
{
    AutoResetEvent event;
    bool woken = false;
    std::thread waiter([&] { woken = event.Wait(); });
    event.Set();
    waiter.join();
    EXPECT_TRUE(woken);
    EXPECT_FALSE(event.Wait(0));
}

// A waiter may destroy the event as soon as it is through, so Set must be done with it by then.
TEST(AutoResetEvent, AWaiterMayDestroyItOnceThrough)
{
    for (int round = 0; round < 200; ++round) {
        auto* event = new AutoResetEvent;
        std::thread waiter([event] {
            while (!event->Wait(0)) {
            }
            delete event;
        });
        event->Set();
        waiter.join();
    }
}

TEST(AutoResetEvent, NamedEventsAreSharedByName)
{
    auto first = NamedEvent("SyncEvent");
    auto again = NamedEvent("SyncEvent");
    auto other = NamedEvent("syncevent");
    EXPECT_EQ(first, again);
    EXPECT_NE(first, other) << "names are compared as given";
    first->Set();
    EXPECT_FALSE(other->Wait(0));
    EXPECT_TRUE(again->Wait(0));
    EXPECT_EQ(NamedEvent("test-only-event"), NamedEvent("test-only-event"));
}

}  // namespace

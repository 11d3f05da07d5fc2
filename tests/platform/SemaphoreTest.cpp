#include "platform/Semaphore.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <thread>
#include <vector>

using platform::Semaphore;
using platform::WaitAny;

namespace {

TEST(Semaphore, KeepsItsCountWithinTheMaximum)
{
    Semaphore semaphore(1, 3);
    EXPECT_TRUE(semaphore.Release(2));
    EXPECT_FALSE(semaphore.Release(1)) << "4 would pass the maximum";
    EXPECT_FALSE(semaphore.Release(0));
    EXPECT_FALSE(semaphore.Release(-1));
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(semaphore.Wait(0)) << i;
    EXPECT_FALSE(semaphore.Wait(0)) << "the failed releases added nothing";
    EXPECT_FALSE(semaphore.Wait(5));

    Semaphore clamped(70000, 65535);
    EXPECT_FALSE(clamped.Release(1));
}

TEST(Semaphore, WaitAnyPrefersTheFirst)
{
    Semaphore first(0, 10);
    Semaphore second(0, 10);
    EXPECT_EQ(WaitAny(first, second, 0), -1);
    EXPECT_EQ(WaitAny(first, second, 5), -1);
    second.Release(2);
    first.Release(1);
    EXPECT_EQ(WaitAny(first, second, 0), 0);
    EXPECT_EQ(WaitAny(first, second, 0), 1);
    EXPECT_EQ(WaitAny(first, second), 1);
    EXPECT_EQ(WaitAny(first, second, 0), -1);
}

TEST(Semaphore, AReleaseWakesAWaiterOnEither)
{
    for (int which : {0, 1}) {
        Semaphore first(0, 1);
        Semaphore second(0, 1);
        std::atomic<int> taken{-2};
        std::thread waiter([&] { taken = WaitAny(first, second); });
        (which == 0 ? first : second).Release();
        waiter.join();
        EXPECT_EQ(taken, which);
    }
    Semaphore single(0, 1);
    std::thread waiter([&] { EXPECT_TRUE(single.Wait()); });
    single.Release();
    waiter.join();
}

// Every release is taken exactly once, however producers and waiters interleave.
TEST(Semaphore, NoReleaseIsLostOrTakenTwice)
{
    constexpr int kPerProducer = 2000;
    Semaphore first(0, 65535);
    Semaphore second(0, 65535);
    std::array<std::atomic<int>, 2> taken{};
    std::vector<std::thread> threads;
    for (int p = 0; p < 4; ++p)
        threads.emplace_back([&, p] {
            for (int i = 0; i < kPerProducer; ++i)
                ASSERT_TRUE((p % 2 ? second : first).Release());
        });
    std::atomic<int> total{0};
    for (int c = 0; c < 3; ++c)
        threads.emplace_back([&, c] {
            // Two waiters use WaitAny, one waits on the second only; the short time-out just lets
            // each notice that the others took the rest.
            while (total < 4 * kPerProducer) {
                const int index = c < 2 ? WaitAny(first, second, 10) : (second.Wait(10) ? 1 : -1);
                if (index >= 0) {
                    ++taken[static_cast<size_t>(index)];
                    ++total;
                }
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(taken[0], 2 * kPerProducer);
    EXPECT_EQ(taken[1], 2 * kPerProducer);
    EXPECT_EQ(WaitAny(first, second, 0), -1);
}

// A waiter may destroy the semaphore as soon as it has taken a count, so Release must be done
// with it by then.
TEST(Semaphore, AWaiterMayDestroyItOnceTaken)
{
    for (const long count : {1L, 2L})
        for (const bool waitAny : {false, true})
            for (int round = 0; round < 100; ++round) {
                auto* first = new Semaphore(0, 2);
                auto* second = new Semaphore(0, 2);
                std::thread waiter([=] {
                    while (waitAny ? WaitAny(*first, *second, 0) != 0 : !first->Wait(0)) {
                    }
                    delete first;
                    delete second;
                });
                EXPECT_TRUE(first->Release(count));
                waiter.join();
            }
}

}  // namespace

// Waits, bounded, for something another thread does; the bound only keeps a broken build from
// hanging the suite, no test measures time with it.
#pragma once

#include <chrono>
#include <functional>
#include <thread>

inline bool WaitFor(const std::function<bool()>& done)
{
    for (int i = 0; i < 1000; ++i) {
        if (done()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return done();
}

#pragma once

#include <chrono>
#include <cstdint>

// The two clocks the endpoints read: Unix seconds for what is stored, a steady clock for the
// sign-in throttle, which must not jump with the wall clock.
class ServiceClock {
public:
    static std::int64_t unixSeconds() {
        return std::chrono::duration_cast<std::chrono::seconds>(
                   std::chrono::system_clock::now().time_since_epoch())
            .count();
    }
    static double steadySeconds() {
        return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    }
};

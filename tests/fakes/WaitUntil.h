#pragma once

#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>

// Until `holds` says so. What nobody tells of is looked at again and again, with pauses that leave the
// processor to those who work on it. Throws when it has not come to hold after a minute.
inline void waitUntil(const std::function<bool()>& holds, const std::string& what) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!holds()) {
        if (std::chrono::steady_clock::now() > end) {
            throw std::runtime_error("waited in vain for " + what);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

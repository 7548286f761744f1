#pragma once

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

namespace platform {

// The path with every link resolved; absent when nothing is there.
inline std::optional<std::string> resolvedPath(const std::string& path) {
    std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr), &std::free);
    return real ? std::optional<std::string>(real.get()) : std::nullopt;
}

} // namespace platform

#include "Platform.h"

#include <utility>

namespace platform {

namespace {

Platform& installed() {
    static auto* const services = new Platform; // never destroyed, see current()
    return *services;
}

} // namespace

const Platform& current() {
    return installed();
}

void install(Platform services) {
    installed() = std::move(services);
}

ScopedPlatform::ScopedPlatform(Platform services) : previous_(installed()) {
    install(std::move(services));
}

ScopedPlatform::~ScopedPlatform() {
    install(std::move(previous_));
}

} // namespace platform

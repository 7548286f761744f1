#include "ActivationToken.h"

#include "DisplayServer.h"
#include "Platform.h"

#include <QGuiApplication>
#include <QWindow>
#include <algorithm>
#include <chrono>
#include <cstring>
#include <functional>
#include <memory>
#include <poll.h>
#include <qpa/qplatformnativeinterface.h>
#include <wayland-client.h>
#include <xdg-activation-v1-client-protocol.h>

namespace platform {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kTokenPatience{500};

// A message that does not fit into the connection's buffer would end the connection, and Qt the process.
constexpr std::size_t kLongestText = 1024;

template <auto Destroy>
struct Destroyer {
    template <typename Object>
    void operator()(Object* object) const {
        Destroy(object);
    }
};

template <typename Object, auto Destroy>
using Owned = std::unique_ptr<Object, Destroyer<Destroy>>;

// A conversation with the compositor on Qt's connection. Its events have a queue of their own, so that they
// are told on the thread that waits for them, while Qt reads and dispatches its own.
class Conversation {
public:
    Conversation(wl_display* display, Clock::time_point deadline)
        : display_(display), deadline_(deadline), queue_(wl_display_create_queue(display)),
          wrapper_(static_cast<wl_display*>(wl_proxy_create_wrapper(display))) {
        wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(wrapper_.get()), queue_.get());
    }

    // What is made through it, and through what was made so, has its events in the queue of this
    // conversation.
    wl_display* display() { return wrapper_.get(); }

    // Tells events until `holds` does; false when the time is up or the connection is lost.
    bool waitUntil(const std::function<bool()>& holds) {
        for (;;) {
            if (wl_display_dispatch_queue_pending(display_, queue_.get()) < 0) {
                return false;
            }
            if (holds()) {
                return true;
            }
            if (wl_display_prepare_read_queue(display_, queue_.get()) < 0) {
                continue; // an event has come meanwhile
            }
            wl_display_flush(display_);
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now()).count();
            pollfd readable{.fd = wl_display_get_fd(display_), .events = POLLIN, .revents = 0};
            if (left > 0 && ::poll(&readable, 1, static_cast<int>(left)) > 0) {
                wl_display_read_events(display_); // together with Qt's threads, which do the same
            } else {
                wl_display_cancel_read(display_);
            }
            if (left <= 0) {
                return false;
            }
        }
    }

private:
    wl_display* display_; // Qt's
    Clock::time_point deadline_;
    Owned<wl_event_queue, wl_event_queue_destroy> queue_;
    Owned<wl_display, wl_proxy_wrapper_destroy> wrapper_;
};

using Activation = Owned<xdg_activation_v1, xdg_activation_v1_destroy>;

struct Globals {
    Activation activation;
    bool haveSeat = false;
    bool complete = false;
};

void globalAppeared(void* data, wl_registry* registry, std::uint32_t name, const char* interface,
                    std::uint32_t /*version*/) {
    auto& globals = *static_cast<Globals*>(data);
    if (std::strcmp(interface, xdg_activation_v1_interface.name) == 0) {
        globals.activation.reset(static_cast<xdg_activation_v1*>(
            wl_registry_bind(registry, name, &xdg_activation_v1_interface, 1)));
    } else if (std::strcmp(interface, wl_seat_interface.name) == 0) {
        globals.haveSeat = true;
    }
}

// Null when the compositor gives no tokens, or there is nothing to give input with.
Activation findActivation(Conversation& conversation) {
    static constexpr wl_registry_listener kRegistryListener{
        .global = globalAppeared, .global_remove = [](void*, wl_registry*, std::uint32_t) {}};
    static constexpr wl_callback_listener kAllToldListener{
        .done = [](void* data, wl_callback*, std::uint32_t) {
            static_cast<Globals*>(data)->complete = true;
        }};
    Globals globals;
    Owned<wl_registry, wl_registry_destroy> registry(wl_display_get_registry(conversation.display()));
    wl_registry_add_listener(registry.get(), &kRegistryListener, &globals);
    Owned<wl_callback, wl_callback_destroy> allTold(wl_display_sync(conversation.display()));
    wl_callback_add_listener(allTold.get(), &kAllToldListener, &globals);
    const bool found = conversation.waitUntil([&] { return globals.complete; }) && globals.haveSeat;
    return found ? std::move(globals.activation) : nullptr;
}

// What Qt knows of its connection. Main thread.
template <typename Resource>
Resource* resource(const char* name) {
    return static_cast<Resource*>(
        QGuiApplication::platformNativeInterface()->nativeResourceForIntegration(name));
}

wl_surface* surfaceOf(QWindow* window) {
    return window
               ? static_cast<wl_surface*>(
                     QGuiApplication::platformNativeInterface()->nativeResourceForWindow("surface", window))
               : nullptr;
}

wl_surface* focusedSurface() {
    return surfaceOf(QGuiApplication::focusWindow());
}

// Of the window that is to have the focus.
wl_surface* frontSurface() {
    auto* window = QGuiApplication::modalWindow();
    for (auto* other : QGuiApplication::topLevelWindows()) {
        if (!window && other->isVisible()) {
            window = other;
        }
    }
    return surfaceOf(window);
}

wl_display* displayOf(const std::function<wl_surface*()>& surface) {
    wl_display* display = nullptr; // lives as long as the application object, and that as long as its threads
    current().mainThread->perform([&] { display = surface() ? resource<wl_display>("wl_display") : nullptr; },
                                  Wait::UntilDone);
    return display;
}

} // namespace

std::optional<std::string> requestActivationToken(const std::string& appID) {
    if (!isShownThroughWayland()) {
        return std::nullopt;
    }
    auto* display = displayOf(focusedSurface);
    if (!display) {
        return std::nullopt;
    }
    Conversation conversation(display, Clock::now() + kTokenPatience);
    auto activation = findActivation(conversation);
    if (!activation) {
        return std::nullopt;
    }

    Owned<xdg_activation_token_v1, xdg_activation_token_v1_destroy> request(
        xdg_activation_v1_get_activation_token(activation.get()));
    static constexpr xdg_activation_token_v1_listener kTokenListener{
        .done = [](void* data, xdg_activation_token_v1*, const char* token) {
            *static_cast<std::optional<std::string>*>(data) = token;
        }};
    std::optional<std::string> token;
    xdg_activation_token_v1_add_listener(request.get(), &kTokenListener, &token);
    if (appID.size() <= kLongestText) {
        xdg_activation_token_v1_set_app_id(request.get(), appID.c_str());
    }
    bool isAsked = false;
    const auto fillIn = [&] { // where surface and seat come and go
        if (auto* surface = focusedSurface()) {
            // Qt hands the number over as if it were an address.
            const auto serial = reinterpret_cast<std::uintptr_t>(resource<void>("serial"));
            xdg_activation_token_v1_set_serial(request.get(), static_cast<std::uint32_t>(serial),
                                               resource<wl_seat>("wl_seat"));
            xdg_activation_token_v1_set_surface(request.get(), surface);
            xdg_activation_token_v1_commit(request.get());
            isAsked = true;
        }
    };
    current().mainThread->perform(fillIn, Wait::UntilDone);
    if (!isAsked || !conversation.waitUntil([&] { return token.has_value(); }) || token->empty()) {
        return std::nullopt;
    }
    return token;
}

void useActivationToken(const std::string& token) {
    if (!isShownThroughWayland() || token.empty() || token.size() > kLongestText) {
        return;
    }
    auto* display = displayOf(frontSurface);
    if (!display) {
        return;
    }
    Conversation conversation(display, Clock::now() + kTokenPatience);
    const auto activation = findActivation(conversation);
    if (!activation) {
        return;
    }
    current().mainThread->perform(
        [&] {
            if (auto* surface = frontSurface()) {
                xdg_activation_v1_activate(activation.get(), token.c_str(), surface);
                wl_display_flush(display);
            }
        },
        Wait::UntilDone);
}

} // namespace platform

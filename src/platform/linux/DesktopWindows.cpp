#include "DesktopWindows.h"

#include "FileDescriptor.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <optional>
#include <poll.h>
#include <sys/eventfd.h>
#include <xcb/xcb_ewmh.h>

namespace platform {

namespace {

using Clock = std::chrono::steady_clock;

// Processes come and go without the window manager's word.
constexpr std::chrono::milliseconds kLookInterval{100};

struct Freer {
    void operator()(void* memory) const { std::free(memory); } // NOLINT(cppcoreguidelines-no-malloc): xcb's
};

// A connection of our own to the X display and its window manager.
class WindowManager {
public:
    WindowManager() : connection_(::xcb_connect(nullptr, &screen_)) {
        auto* cookies = xcb_connection_has_error(connection_.get())
                            ? nullptr
                            : xcb_ewmh_init_atoms(connection_.get(), &hints_);
        hasHints_ = cookies && xcb_ewmh_init_atoms_replies(&hints_, cookies, nullptr);
    }
    ~WindowManager() {
        if (hasHints_) {
            xcb_ewmh_connection_wipe(&hints_);
        }
    }
    WindowManager(const WindowManager&) = delete;
    WindowManager& operator=(const WindowManager&) = delete;

    bool isThere() {
        xcb_window_t window = XCB_NONE;
        return hasHints_ && xcb_ewmh_get_supporting_wm_check_reply(
                                &hints_, xcb_ewmh_get_supporting_wm_check(&hints_, root()), &window, nullptr);
    }
    bool isConnected() { return xcb_connection_has_error(connection_.get()) == 0; }
    int descriptor() { return xcb_get_file_descriptor(connection_.get()); }

    // From here on events arrive when the list of windows changes.
    void watchWindows() {
        const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(connection_.get(), root(), XCB_CW_EVENT_MASK, &mask);
        xcb_flush(connection_.get());
    }
    void discardEvents() {
        while (std::unique_ptr<xcb_generic_event_t, Freer>(xcb_poll_for_event(connection_.get()))) {
        }
    }

    // All that the window manager looks after, from the bottom to the top.
    std::vector<xcb_window_t> windows() {
        std::vector<xcb_window_t> found;
        xcb_ewmh_get_windows_reply_t list;
        // Not every window manager tells the order.
        if (xcb_ewmh_get_client_list_stacking_reply(
                &hints_, xcb_ewmh_get_client_list_stacking(&hints_, screen_), &list, nullptr) ||
            xcb_ewmh_get_client_list_reply(&hints_, xcb_ewmh_get_client_list(&hints_, screen_), &list,
                                           nullptr)) {
            found.assign(list.windows, list.windows + list.windows_len);
            xcb_ewmh_get_windows_reply_wipe(&list);
        }
        return found;
    }

    // The topmost window of each process that has one.
    std::map<pid_t, xcb_window_t> windowsByProcess() {
        const auto all = windows();
        std::vector<xcb_get_property_cookie_t> asked;
        asked.reserve(all.size());
        for (auto window : all) {
            asked.push_back(xcb_ewmh_get_wm_pid(&hints_, window));
        }
        std::map<pid_t, xcb_window_t> found;
        for (std::size_t i = 0; i < all.size(); ++i) {
            std::uint32_t process = 0;
            if (xcb_ewmh_get_wm_pid_reply(&hints_, asked[i], &process, nullptr)) {
                found[static_cast<pid_t>(process)] = all[i];
            }
        }
        return found;
    }

    void activate(xcb_window_t window) {
        xcb_ewmh_request_change_active_window(&hints_, screen_, window, XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER,
                                              XCB_CURRENT_TIME, XCB_NONE);
        // The window manager has it once the server has answered.
        std::unique_ptr<xcb_get_input_focus_reply_t, Freer>(
            xcb_get_input_focus_reply(connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
    }

private:
    struct Disconnecter {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };

    xcb_window_t root() const { return hints_.screens[screen_]->root; }

    int screen_ = 0;
    std::unique_ptr<xcb_connection_t, Disconnecter> connection_;
    xcb_ewmh_connection_t hints_{};
    bool hasHints_ = false;
};

// Calls `look` now, whenever the windows have changed and every now and then, until it returns true, the time
// is up or `stop` asks to give up. Not at all without a window manager.
void watchWindows(std::chrono::milliseconds limit, const std::stop_token& stop,
                  const std::function<bool(WindowManager&)>& look) {
    const auto deadline = Clock::now() + limit;
    WindowManager manager;
    if (!manager.isThere()) {
        return;
    }
    FileDescriptor stopped(::eventfd(0, EFD_CLOEXEC));
    std::stop_callback wakeOnStop(stop, [&stopped] { ::eventfd_write(stopped.get(), 1); });
    manager.watchWindows();
    while (!stop.stop_requested() && manager.isConnected()) {
        manager.discardEvents();
        if (look(manager)) {
            return;
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) {
            return;
        }
        std::array<pollfd, 2> descriptors{{{.fd = manager.descriptor(), .events = POLLIN, .revents = 0},
                                           {.fd = stopped.get(), .events = POLLIN, .revents = 0}}};
        ::poll(descriptors.data(), descriptors.size(),
               static_cast<int>(std::min(left, kLookInterval).count()));
    }
}

} // namespace

bool activateWindow(const std::function<std::vector<pid_t>()>& processes, std::chrono::milliseconds limit,
                    const std::stop_token& stop) {
    bool activated = false;
    auto lastAlive = Clock::now();
    watchWindows(limit, stop, [&](WindowManager& manager) {
        const auto alive = processes();
        if (!alive.empty()) {
            lastAlive = Clock::now();
        }
        const auto windows = manager.windowsByProcess();
        for (auto process : alive) {
            if (auto window = windows.find(process); window != windows.end()) {
                manager.activate(window->second);
                activated = true;
                return true;
            }
        }
        // A wrapper may have ended before what it started shows whose it is.
        return Clock::now() - lastAlive >= kLookInterval;
    });
    return activated;
}

void waitUntilWithdrawn(const std::vector<std::uint32_t>& windows, std::chrono::milliseconds limit) {
    watchWindows(limit, {}, [&](WindowManager& manager) {
        const auto present = manager.windows();
        return std::ranges::none_of(
            windows, [&](auto window) { return std::ranges::find(present, window) != present.end(); });
    });
}

} // namespace platform

#include "NotificationListener.h"

#include "FileDescriptor.h"
#include "SessionBus.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <poll.h>
#include <sys/eventfd.h>
#include <thread>

namespace platform {

namespace {

constexpr std::chrono::seconds kListenPatience{2};
constexpr std::chrono::milliseconds kMoment{50}; // what a caller waits at most

} // namespace

struct NotificationListener::State {
    explicit State(Receiver toCall)
        : receiver(std::move(toCall)), wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

    const Receiver receiver;
    const FileDescriptor wake; // readable when there is something new below

    std::mutex mutex; // guards what follows
    std::condition_variable changed;
    std::set<std::string> names;
    unsigned asked = 0; // how often the names were set, and which of these the bus knows
    unsigned known = 0;
    bool stops = false;
    bool hasEnded = false;

    std::thread thread; // the owner's

    void run() {
        {
            auto connection = connectToSessionBus(kListenPatience);
            if (connection.isConnected() &&
                sd_bus_add_filter(connection.bus(), nullptr, received, this) >= 0) {
                listen(connection);
            }
        }
        std::lock_guard lock(mutex);
        hasEnded = true;
        changed.notify_all();
    }

    void listen(DBusConnection& connection) {
        std::set<std::string> installed;
        while (update(connection, installed)) {
            int progress = 0;
            while ((progress = sd_bus_process(connection.bus(), nullptr)) > 0 && !isWoken()) {
            }
            if (progress < 0) {
                return;
            }
            if (progress == 0) {
                wait(connection.bus());
            }
        }
    }

    bool isWoken() const {
        pollfd descriptor{.fd = wake.get(), .events = POLLIN, .revents = 0};
        return ::poll(&descriptor, 1, 0) > 0;
    }

    void wait(sd_bus* bus) const {
        std::array<pollfd, 2> descriptors{
            {{.fd = sd_bus_get_fd(bus), .events = static_cast<short>(sd_bus_get_events(bus)), .revents = 0},
             {.fd = wake.get(), .events = POLLIN, .revents = 0}}};
        ::poll(descriptors.data(), descriptors.size(), -1);
    }

    // Tells the bus which names are new and which have gone. False when it is time to end.
    bool update(DBusConnection& connection, std::set<std::string>& installed) {
        eventfd_t count = 0;
        ::eventfd_read(wake.get(), &count);
        std::set<std::string> wanted;
        unsigned number = 0;
        {
            std::lock_guard lock(mutex);
            if (stops) {
                return false;
            }
            if (known == asked) {
                return true;
            }
            wanted = names;
            number = asked;
        }
        for (const auto& name : wanted) {
            if (!installed.contains(name)) {
                changeRule(connection, "AddMatch", name);
            }
        }
        for (const auto& name : installed) {
            if (!wanted.contains(name)) {
                changeRule(connection, "RemoveMatch", name);
            }
        }
        installed = std::move(wanted);
        std::lock_guard lock(mutex);
        known = number;
        changed.notify_all();
        return true;
    }

    // A name that the bus refuses, which takes rules of 1,024 bytes, is not heard.
    static void changeRule(DBusConnection& connection, const char* change, const std::string& name) {
        connection.setLimit(kListenPatience);
        auto call = connection.methodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                          "org.freedesktop.DBus", change);
        const auto rule = NotificationSignal::matchRule(name);
        if (call && sd_bus_message_append(call.get(), "s", rule.c_str()) >= 0) {
            connection.send(call);
        }
    }

    static int received(sd_bus_message* message, void* state, sd_bus_error*) {
        if (auto signal = NotificationSignal::from(message)) {
            static_cast<State*>(state)->hand(std::move(*signal));
        }
        return 0; // others may look at it as well
    }

    // A signal that was sent to us alone passes the bus's rules by.
    void hand(NotificationSignal signal) {
        {
            std::lock_guard lock(mutex);
            if (stops || !names.contains(signal.name)) {
                return;
            }
        }
        receiver(std::move(signal));
    }
};

NotificationListener::NotificationListener(Receiver receiver)
    : state_(std::make_shared<State>(std::move(receiver))) {
    if (!state_->wake) {
        state_->hasEnded = true; // nobody could end the thread
        return;
    }
    try {
        state_->thread = std::thread([state = state_] { state->run(); });
    } catch (const std::exception&) {
        state_->hasEnded = true; // nobody else knows it yet
    }
}

NotificationListener::~NotificationListener() {
    std::unique_lock lock(state_->mutex);
    state_->stops = true;
    ::eventfd_write(state_->wake.get(), 1);
    const bool isOurselves = std::this_thread::get_id() == state_->thread.get_id();
    const bool hasEnded =
        !isOurselves && state_->changed.wait_for(lock, kMoment, [this] { return state_->hasEnded; });
    lock.unlock();
    if (!state_->thread.joinable()) {
        return;
    }
    if (hasEnded) {
        state_->thread.join();
    } else {
        state_->thread.detach();
    }
}

void NotificationListener::setNames(std::set<std::string> names) {
    std::unique_lock lock(state_->mutex);
    state_->names = std::move(names);
    const auto number = ++state_->asked;
    ::eventfd_write(state_->wake.get(), 1);
    state_->changed.wait_for(
        lock, kMoment, [&] { return state_->hasEnded || static_cast<int>(state_->known - number) >= 0; });
}

bool NotificationListener::isAlive() const {
    std::lock_guard lock(state_->mutex);
    return !state_->hasEnded;
}

} // namespace platform

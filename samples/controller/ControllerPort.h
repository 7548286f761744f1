#pragma once

#include <QSocketNotifier>
#include <QString>
#include <cstdint>
#include <functional>
#include <memory>
#include <systemd/sd-bus.h>

// The message port of a controlling application on the session bus. What workers send is handed on by the
// main loop.
class ControllerPort {
public:
    struct Messages {
        std::function<void()> progressed;
        std::function<void()> finished;
        std::function<void(const QString& text, const QString& sender)> failed; // an unknown sender is empty
        std::function<void()> disconnected;
    };

    explicit ControllerPort(Messages messages);

    // False when there is no session bus, or somebody else has the port.
    bool isPublished() const { return notifier_ != nullptr; }

private:
    struct Closer {
        void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
    };

    void process();
    void handle(sd_bus_message* message);
    static int received(sd_bus_message* message, void* port, sd_bus_error* error);

    const Messages messages_;
    std::unique_ptr<sd_bus, Closer> bus_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

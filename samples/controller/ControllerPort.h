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
        std::function<void()> lost; // the session bus has gone, and with it all workers
    };

    explicit ControllerPort(Messages messages);

    // False when there is no session bus, or somebody else has the port.
    bool isPublished() const { return notifier_ != nullptr; }

private:
    struct Closer {
        void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
    };

    void process();
    void incrementRemoteProgress(sd_bus_message*) { messages_.progressed(); }
    void postFinishedTask(sd_bus_message*) { messages_.finished(); }
    void postError(sd_bus_message* message);
    void postErrorString(sd_bus_message* message);
    void postErrorForApp(sd_bus_message* message);
    void postErrorStringUserInfo(sd_bus_message* message);
    void postDisconnect(sd_bus_message*) { messages_.disconnected(); }

    // Hands a message to its operation, and answers whoever waits for an answer, which no worker does.
    template <void (ControllerPort::*Operation)(sd_bus_message*)>
    static int received(sd_bus_message* message, void* port, sd_bus_error*) {
        (static_cast<ControllerPort*>(port)->*Operation)(message);
        return sd_bus_reply_method_return(message, "");
    }

    const Messages messages_;
    std::unique_ptr<sd_bus, Closer> bus_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

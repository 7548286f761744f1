#include "ControllerPort.h"

#include <string_view>

namespace {

constexpr const char* kName = "com.vantorel.VTVarnClientCallback";
constexpr const char* kPath = "/com/vantorel/VTVarnClientCallback";
constexpr const char* kInterface = "com.vantorel.VTOSTLErrorCallbackProtocol";
constexpr std::uint64_t kReplaceNobody = 0;

QString textIn(sd_bus_message* message) {
    const char* text = nullptr;
    return sd_bus_message_read(message, "s", &text) > 0 ? QString::fromUtf8(text) : QString();
}

// An error may be anything; what is text is shown as such.
QString errorIn(sd_bus_message* message) {
    const char* contents = nullptr;
    const char* text = nullptr;
    sd_bus_message_peek_type(message, nullptr, &contents);
    if (contents && std::string_view(contents) == "s") {
        sd_bus_message_read(message, "v", "s", &text);
        return QString::fromUtf8(text);
    }
    const auto kind = QString::fromUtf8(contents);
    sd_bus_message_skip(message, "v");
    return QStringLiteral("An error of the kind %1").arg(kind);
}

} // namespace

ControllerPort::ControllerPort(Messages messages) : messages_(std::move(messages)) {
    constexpr auto kFlags = SD_BUS_VTABLE_UNPRIVILEGED | SD_BUS_VTABLE_METHOD_NO_REPLY;
    static const sd_bus_vtable kMembers[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("incrementRemoteProgress", "", "", received, kFlags),
        SD_BUS_METHOD("postFinishedTask", "", "", received, kFlags),
        SD_BUS_METHOD("postError", "v", "", received, kFlags),
        SD_BUS_METHOD("postErrorString", "s", "", received, kFlags),
        SD_BUS_METHOD("postErrorForApp", "vs", "", received, kFlags),
        SD_BUS_METHOD("postErrorStringUserInfo", "sa{sv}", "", received, kFlags),
        SD_BUS_METHOD("postDisconnect", "", "", received, kFlags),
        SD_BUS_VTABLE_END};
    sd_bus* opened = nullptr;
    if (sd_bus_open_user(&opened) < 0) {
        return;
    }
    bus_.reset(opened);
    if (sd_bus_add_object_vtable(opened, nullptr, kPath, kInterface, kMembers, this) < 0 ||
        sd_bus_request_name(opened, kName, kReplaceNobody) < 0) {
        return;
    }
    notifier_ = std::make_unique<QSocketNotifier>(sd_bus_get_fd(opened), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { process(); });
    process(); // what has come with the answers so far
}

void ControllerPort::process() {
    int progress = 0;
    while ((progress = sd_bus_process(bus_.get(), nullptr)) > 0) {
    }
    if (progress < 0) {
        notifier_->setEnabled(false); // the bus has gone
    }
    sd_bus_flush(bus_.get());
}

int ControllerPort::received(sd_bus_message* message, void* port, sd_bus_error*) {
    static_cast<ControllerPort*>(port)->handle(message);
    return 1;
}

void ControllerPort::handle(sd_bus_message* message) {
    const std::string_view member = sd_bus_message_get_member(message);
    if (member == "incrementRemoteProgress") {
        messages_.progressed();
    } else if (member == "postFinishedTask") {
        messages_.finished();
    } else if (member == "postDisconnect") {
        messages_.disconnected();
    } else if (member == "postErrorString") {
        messages_.failed(textIn(message), {});
    } else if (member == "postError") {
        messages_.failed(errorIn(message), {});
    } else if (member == "postErrorForApp") {
        const auto error = errorIn(message);
        messages_.failed(error, textIn(message));
    } else { // postErrorStringUserInfo
        const auto text = textIn(message);
        const char* key = nullptr;
        const char* name = nullptr;
        sd_bus_message_read(message, "a{sv}", 1, &key, "s", &name);
        messages_.failed(text, QString::fromUtf8(name));
    }
}

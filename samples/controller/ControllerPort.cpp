#include "ControllerPort.h"

#include "linux/DBusDictionary.h"

#include <QStringList>
#include <string>

namespace {

constexpr const char* kName = "com.vantorel.VTVarnClientCallback";
constexpr const char* kPath = "/com/vantorel/VTVarnClientCallback";
constexpr const char* kInterface = "com.vantorel.VTOSTLErrorCallbackProtocol";
constexpr std::uint64_t kReplaceNobody = 0;

QString textIn(sd_bus_message* message) {
    const char* text = nullptr;
    return sd_bus_message_read(message, "s", &text) > 0 ? QString::fromUtf8(text) : QString();
}

QString textOf(const platform::PropertyList& value) {
    const auto* text = value.string();
    return text ? QString::fromStdString(*text) : QString();
}

// An error may be anything; of a dictionary the texts are shown.
QString errorIn(sd_bus_message* message) {
    const char* contents = nullptr;
    sd_bus_message_peek_type(message, nullptr, &contents);
    const std::string kind = contents ? contents : "";
    QString error;
    if (kind == "s" || kind == "a{sv}") {
        sd_bus_message_enter_container(message, 'v', contents);
        if (kind == "s") {
            error = textIn(message);
        } else if (const auto dictionary = platform::readDictionary(message)) {
            QStringList texts;
            for (const auto& [key, value] : *dictionary) {
                texts << QString::fromStdString(key) + ": " + textOf(value);
            }
            error = texts.join(", ");
        }
        sd_bus_message_exit_container(message);
    } else {
        error = QStringLiteral("An error of the kind %1").arg(QString::fromStdString(kind));
        sd_bus_message_skip(message, "v");
    }
    return error;
}

} // namespace

ControllerPort::ControllerPort(Messages messages) : messages_(std::move(messages)) {
    constexpr auto kFlags = SD_BUS_VTABLE_UNPRIVILEGED | SD_BUS_VTABLE_METHOD_NO_REPLY;
    static const sd_bus_vtable kMembers[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("incrementRemoteProgress", "", "", received<&ControllerPort::incrementRemoteProgress>,
                      kFlags),
        SD_BUS_METHOD("postFinishedTask", "", "", received<&ControllerPort::postFinishedTask>, kFlags),
        SD_BUS_METHOD("postError", "v", "", received<&ControllerPort::postError>, kFlags),
        SD_BUS_METHOD("postErrorString", "s", "", received<&ControllerPort::postErrorString>, kFlags),
        SD_BUS_METHOD("postErrorForApp", "vs", "", received<&ControllerPort::postErrorForApp>, kFlags),
        SD_BUS_METHOD("postErrorStringUserInfo", "sa{sv}", "",
                      received<&ControllerPort::postErrorStringUserInfo>, kFlags),
        SD_BUS_METHOD("postDisconnect", "", "", received<&ControllerPort::postDisconnect>, kFlags),
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
        notifier_->setEnabled(false);
        messages_.lost();
    }
    sd_bus_flush(bus_.get());
}

void ControllerPort::postError(sd_bus_message* message) {
    messages_.failed(errorIn(message), {});
}

void ControllerPort::postErrorString(sd_bus_message* message) {
    messages_.failed(textIn(message), {});
}

void ControllerPort::postErrorForApp(sd_bus_message* message) {
    const auto error = errorIn(message);
    messages_.failed(error, textIn(message));
}

void ControllerPort::postErrorStringUserInfo(sd_bus_message* message) {
    const auto text = textIn(message);
    const auto userInfo = platform::readDictionary(message).value_or(platform::PropertyList::Dictionary());
    const auto name = userInfo.find("appName");
    messages_.failed(text, name != userInfo.end() ? textOf(name->second) : QString());
}

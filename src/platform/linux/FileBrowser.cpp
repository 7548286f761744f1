#include "FileBrowser.h"

#include "DBusConnection.h"
#include "DefaultHandler.h"

namespace platform {

namespace {

constexpr std::chrono::seconds kBrowserPatience{10}; // the bus may have to start the file manager first

bool showItems(const std::string& path) {
    DBusConnection bus(DBusConnection::Bus::Session, kBrowserPatience);
    if (!bus.isConnected()) {
        return false;
    }
    auto call = bus.methodCall("org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                               "org.freedesktop.FileManager1", "ShowItems");
    return call && sd_bus_message_append(call.get(), "ass", 1, fileAddress(path).c_str(), "") >= 0 &&
           bus.send(call);
}

} // namespace

void showInFileBrowser(const std::string& path, const std::string& rootPath,
                       const std::vector<std::string>& environment) {
    if (!showItems(path)) {
        openWithDefaultHandler(fileAddress(rootPath), environment);
    }
}

} // namespace platform

#include "DisplayServer.h"

#include <QGuiApplication>
#include <xcb/xcb.h>

namespace platform {

namespace {

// Null where windows are not shown through X.
xcb_connection_t* connection() {
    auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

} // namespace

bool isShownThroughWayland() {
    return QGuiApplication::platformName().startsWith(QLatin1String("wayland")); // or "wayland-egl"
}

bool displayHasWindowOpacity() {
    return connection() != nullptr;
}

void flushDisplay() {
    if (auto* display = connection()) {
        ::xcb_flush(display);
    }
}

} // namespace platform

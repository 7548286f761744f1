#pragma once

#include "PrivateBus.h"

#include <cstdlib>
#include <string>

inline constexpr const char* kLoginManager = "org.freedesktop.login1";

// The system bus with a login manager whose seat0 the test fills.
class LoginManager {
public:
    LoginManager() {
        bus_.start(kLoginManager);
        connection_ = bus_.connect();
        setenv("DBUS_SYSTEM_BUS_ADDRESS", bus_.address().c_str(), 1);
    }

    void addSeat(const char* name) {
        call(connection_.get(), kLoginManager, "/org/freedesktop/login1", kMock, "AddSeat", "s", name);
    }
    // It becomes the active one of its seat.
    void addSession(const char* identifier, const char* seat, const char* user) {
        call(connection_.get(), kLoginManager, "/org/freedesktop/login1", kMock, "AddSession", "ssusb",
             identifier, seat, 1000U, user, 1);
    }
    void setText(const char* session, const char* property, const char* value) {
        call(connection_.get(), kLoginManager, sessionPath(session).c_str(), kProperties, "Set", "ssv",
             "org.freedesktop.login1.Session", property, "s", value);
    }
    void setActiveSession(const std::string& session) {
        call(connection_.get(), kLoginManager, kSeatPath, kProperties, "Set", "ssv",
             "org.freedesktop.login1.Seat", "ActiveSession", "(so)", session.c_str(),
             session.empty() ? "/" : sessionPath(session).c_str());
    }

    const std::string& address() const { return bus_.address(); }

private:
    static constexpr const char* kSeatPath = "/org/freedesktop/login1/seat/seat0";
    static constexpr const char* kMock = "org.freedesktop.DBus.Mock";
    static constexpr const char* kProperties = "org.freedesktop.DBus.Properties";

    static std::string sessionPath(const std::string& session) {
        return "/org/freedesktop/login1/session/" + session;
    }

    PrivateBus bus_{{{kLoginManager, "/usr/bin/python3 -m dbusmock --session --template logind"}}};
    PrivateBus::Connection connection_;
};

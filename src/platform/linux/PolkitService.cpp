#include "PolkitService.h"

#include "DBusConnection.h"

#include <fstream>
#include <sstream>
#include <string_view>
#include <sys/stat.h>

namespace platform {

namespace {

using namespace std::chrono_literals;

constexpr auto kCheckPatience = 10s;
constexpr std::uint32_t kNoQuestions = 0; // flags of a check

DBusMessage methodCall(DBusConnection& bus, const char* member) {
    return bus.methodCall("org.freedesktop.PolicyKit1", "/org/freedesktop/PolicyKit1/Authority",
                          "org.freedesktop.PolicyKit1.Authority", member);
}

} // namespace

std::optional<PolkitProcess> PolkitProcess::find(pid_t process) {
    const auto folder = "/proc/" + std::to_string(process);
    struct stat status {};
    std::ifstream file(folder + "/stat");
    std::string text;
    if (::stat(folder.c_str(), &status) != 0 || !std::getline(file, text, '\0')) {
        return std::nullopt;
    }
    // The second field, the name, is in parentheses and may hold anything; the 22nd is wanted.
    std::istringstream fields(text.substr(std::min(text.rfind(')') + 1, text.size())));
    std::string skipped;
    for (int field = 3; field < 22; ++field) {
        fields >> skipped;
    }
    PolkitProcess found{.process = process, .user = status.st_uid};
    return fields >> found.startTime ? std::optional(found) : std::nullopt;
}

std::optional<PolkitService::Answer> PolkitService::check(const PolkitProcess& subject) {
    DBusConnection bus(DBusConnection::Bus::System, kCheckPatience);
    if (!bus.isConnected()) {
        return std::nullopt;
    }
    const auto call = methodCall(bus, "CheckAuthorization");
    if (!call || sd_bus_message_append(call.get(), "(sa{sv})sa{ss}us", "unix-process", 3U, "pid", "u",
                                       static_cast<std::uint32_t>(subject.process), "start-time", "t",
                                       subject.startTime, "uid", "i", static_cast<std::int32_t>(subject.user),
                                       kAction, 0U, kNoQuestions, "") < 0) {
        return std::nullopt;
    }
    const auto reply = bus.send(call);
    int isAuthorized = 0;
    int isChallenge = 0;
    if (!reply || sd_bus_message_enter_container(reply.get(), 'r', "bba{ss}") <= 0 ||
        sd_bus_message_read(reply.get(), "bb", &isAuthorized, &isChallenge) <= 0 ||
        sd_bus_message_enter_container(reply.get(), 'a', "{ss}") <= 0) {
        return std::nullopt;
    }
    Answer answer{.isAuthorized = isAuthorized != 0, .couldBeAuthorized = isChallenge != 0};
    const char* name = nullptr;
    const char* value = nullptr;
    while (sd_bus_message_read(reply.get(), "{ss}", &name, &value) > 0) {
        if (std::string_view(name) == "polkit.temporary_authorization_id") {
            answer.keptIdentifier = value;
        }
    }
    return answer;
}

bool PolkitService::revoke(const std::string& keptIdentifier) {
    DBusConnection bus(DBusConnection::Bus::System, kCheckPatience);
    if (!bus.isConnected()) {
        return false;
    }
    const auto call = methodCall(bus, "RevokeTemporaryAuthorizationById");
    return call && sd_bus_message_append(call.get(), "s", keptIdentifier.c_str()) >= 0 && bus.send(call);
}

} // namespace platform

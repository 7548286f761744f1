#include <X11/ICE/ICElib.h>
#include <X11/ICE/ICEutil.h>
#include <X11/SM/SMlib.h>
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <poll.h>
#include <unistd.h>
#include <vector>

// A session manager of the X11 session-management protocol. It writes its address as a line, for
// SESSION_MANAGER. A line that it reads ends the session: every program is asked to save what it has, and
// told to die once it has. It writes "joined" when a program has registered and "left" when one is gone.

namespace {

std::vector<SmsConn> programs;
std::vector<IceConn> connections;
bool isEnding = false;

void say(const char* line) {
    std::puts(line);
    std::fflush(stdout);
}

void endSession() {
    isEnding = true;
    for (auto* program : programs) {
        SmsSaveYourself(program, SmSaveBoth, True, SmInteractStyleNone, False);
    }
}

Status registerClient(SmsConn program, SmPointer, char* previousID) {
    char* id = previousID ? previousID : SmsGenerateClientID(program);
    SmsRegisterClientReply(program, id);
    std::free(id); // NOLINT(cppcoreguidelines-no-malloc): the library's
    programs.push_back(program);
    say("joined");
    return True;
}

void saveYourselfDone(SmsConn program, SmPointer, Bool) {
    if (isEnding) {
        SmsDie(program);
    } else {
        SmsSaveComplete(program);
    }
}

void closeConnection(SmsConn program, SmPointer, int, char**) {
    std::erase(programs, program);
    auto* connection = SmsGetIceConnection(program);
    std::erase(connections, connection);
    SmsCleanUp(program);
    IceSetShutdownNegotiation(connection, False);
    IceCloseConnection(connection);
    say("left");
}

Status greet(SmsConn, SmPointer, unsigned long* mask, SmsCallbacks* callbacks, char**) {
    *mask = SmsRegisterClientProcMask | SmsInteractRequestProcMask | SmsInteractDoneProcMask |
            SmsSaveYourselfRequestProcMask | SmsSaveYourselfP2RequestProcMask | SmsSaveYourselfDoneProcMask |
            SmsCloseConnectionProcMask | SmsSetPropertiesProcMask | SmsDeletePropertiesProcMask |
            SmsGetPropertiesProcMask;
    callbacks->register_client.callback = registerClient;
    callbacks->interact_request.callback = [](SmsConn program, SmPointer, int) { SmsInteract(program); };
    callbacks->interact_done.callback = [](SmsConn, SmPointer, Bool) {};
    callbacks->save_yourself_request.callback = [](SmsConn, SmPointer, int, Bool, int, Bool, Bool) {};
    callbacks->save_yourself_phase2_request.callback = [](SmsConn program, SmPointer) {
        SmsSaveYourselfPhase2(program);
    };
    callbacks->save_yourself_done.callback = saveYourselfDone;
    callbacks->close_connection.callback = closeConnection;
    callbacks->set_properties.callback = [](SmsConn, SmPointer, int count, SmProp** properties) {
        std::for_each_n(properties, count, SmFreeProperty);
        std::free(properties); // NOLINT(cppcoreguidelines-no-malloc): the library's
    };
    callbacks->delete_properties.callback = [](SmsConn, SmPointer, int, char**) {};
    callbacks->get_properties.callback = [](SmsConn program, SmPointer) {
        SmsReturnProperties(program, 0, nullptr);
    };
    return True;
}

void accept(IceListenObj listener) {
    IceAcceptStatus status{};
    if (auto* connection = IceAcceptConnection(listener, &status)) {
        connections.push_back(connection);
    }
}

// A program that is gone without a word is as good as one that has said so.
void process(IceConn connection) {
    if (IceProcessMessages(connection, nullptr, nullptr) == IceProcessMessagesIOError) {
        const auto program = std::ranges::find(programs, connection, SmsGetIceConnection);
        if (program != programs.end()) {
            closeConnection(*program, nullptr, 0, nullptr);
        } else {
            std::erase(connections, connection);
        }
    }
}

} // namespace

int main() {
    std::array<char, 256> error{};
    const int room = error.size();
    int count = 0;
    IceListenObj* listeners = nullptr;
    if (!SmsInitialize(
            "Vantorel", "1", greet, nullptr, [](char*) -> Bool { return True; }, room, error.data()) ||
        !IceListenForConnections(&count, &listeners, room, error.data())) {
        std::fprintf(stderr, "session_manager_peer: %s\n", error.data());
        return 1;
    }
    IceSetIOErrorHandler([](IceConn) {});
    std::for_each_n(listeners, count, [](IceListenObj listener) {
        IceSetHostBasedAuthProc(listener, [](char*) -> Bool { return True; });
    });
    char* address = IceComposeNetworkIdList(count, listeners);
    say(address);
    std::free(address); // NOLINT(cppcoreguidelines-no-malloc): the library's
    for (;;) {
        std::vector<pollfd> descriptors{{.fd = STDIN_FILENO, .events = POLLIN, .revents = 0}};
        std::for_each_n(listeners, count, [&](IceListenObj listener) {
            descriptors.push_back({IceGetListenConnectionNumber(listener), POLLIN, 0});
        });
        const auto polled = connections;
        for (auto* connection : polled) {
            descriptors.push_back({IceConnectionNumber(connection), POLLIN, 0});
        }
        ::poll(descriptors.data(), descriptors.size(), -1);
        if (descriptors[0].revents != 0) {
            std::array<char, 16> line{};
            if (::read(STDIN_FILENO, line.data(), line.size()) <= 0) {
                IceFreeListenObjs(count, listeners);
                return 0;
            }
            endSession();
        }
        for (std::size_t i = 1; i < descriptors.size(); ++i) {
            if (descriptors[i].revents == 0) {
                continue;
            }
            const auto index = i - 1;
            if (index < static_cast<std::size_t>(count)) {
                accept(listeners[index]);
            } else {
                process(polled[index - static_cast<std::size_t>(count)]);
            }
        }
    }
}

#include "linux/Account.h"
#include "linux/LinuxUsers.h"
#include "linux/NotificationSignal.h"
#include "linux/UserBusSocket.h"

#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <unistd.h>

// vtpost NAME [OBJECT]: posts one suite-wide notification and ends. For tools that run as root: the
// notification goes to the user who started the rights dialog, else to the one at the console, over that
// user's session bus, after root has been given up for good.

namespace {

using platform::Account;

constexpr std::chrono::seconds kPatience{5};

enum Status { kPosted = 0, kNotPosted = 1, kUsage = 2 };

// Who started the rights dialog. What the dialog writes is a number; root having started it says nothing
// about whom to tell.
struct Invoker {
    bool isValid = true;
    std::optional<uid_t> userID;

    static Invoker named(const std::optional<std::string>& text) {
        if (!text) {
            return {};
        }
        uid_t user = 0;
        const auto* end = text->data() + text->size();
        const auto [last, error] = std::from_chars(text->data(), end, user);
        if (error != std::errc() || last != end) {
            return {.isValid = false, .userID = std::nullopt};
        }
        return {.isValid = true, .userID = user == 0 ? std::nullopt : std::optional(user)};
    }
};

// An ordinary user's process can serve that user alone.
std::optional<Account> receiver(const Invoker& invoker) {
    if (::getuid() != 0) {
        return platform::accountOf(::getuid());
    }
    if (invoker.userID) {
        return platform::accountOf(*invoker.userID);
    }
    const auto name = platform::LinuxUsers().consoleUser();
    return name ? platform::accountNamed(*name) : std::nullopt;
}

int fail(const std::string& reason) {
    std::fprintf(stderr, "vtpost: %s\n", reason.c_str());
    return kNotPosted;
}

} // namespace

int main(int argc, char** argv) {
    const char* variable = std::getenv("PKEXEC_UID");
    const auto invokingUser = variable ? std::optional<std::string>(variable) : std::nullopt;
    ::clearenv(); // so that no library looks at what is left
    ::close_range(STDERR_FILENO + 1, ~0U, 0);
    if (argc < 2 || argc > 3) {
        std::fputs("usage: vtpost NAME [OBJECT]\n", stderr);
        return kUsage;
    }
    const auto invoker = Invoker::named(invokingUser);
    if (!invoker.isValid) {
        return fail("PKEXEC_UID is no user's number");
    }
    const auto account = receiver(invoker);
    if (!account) {
        return fail("there is nobody to tell");
    }
    if (::geteuid() == 0 && !platform::becomeUser(*account)) {
        return fail("cannot become " + account->name);
    }
    platform::DBusConnection connection(platform::openBusOf(*account), kPatience);
    if (!connection.isConnected()) {
        return fail("no session bus of " + account->name + " to post on");
    }
    const platform::NotificationSignal signal{
        .name = argv[1], .object = argc > 2 ? argv[2] : "", .userInfo = {}};
    return signal.post(connection) ? kPosted : fail("the bus did not take it");
}

#include "PolkitAuthorization.h"

#include "Account.h"
#include "FileDescriptor.h"
#include "OnDemand.h"
#include "PasswordAgent.h"
#include "PolkitService.h"
#include "Spawn.h"

#include <array>
#include <fcntl.h>
#include <string_view>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace platform {

namespace {

using Status = Authorization::Status;

struct Reference : AuthorizationReference {
    bool hasRight = false;
    bool hasCredentials = false;
};

// A child that does nothing, in whose name polkit can be asked as if for the first time. Ends with this
// object, or with this process.
class StandIn {
public:
    StandIn() {
        std::array<int, 2> ends{-1, -1};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
            return;
        }
        const FileDescriptor input(ends[0]);
        life_ = FileDescriptor(ends[1]);
        try {
            SpawnFileActions actions;
            actions.duplicate(input.get(), STDIN_FILENO);
            actions.open(STDOUT_FILENO, "/dev/null", O_WRONLY);
            actions.open(STDERR_FILENO, "/dev/null", O_WRONLY);
            actions.closeAllButStreams();
            const SpawnAttributes attributes;
            const std::vector<std::string> words{"/bin/cat"};
            if (::posix_spawn(&process_, words.front().c_str(), actions.get(), attributes.get(),
                              spawnPointers(words).data(), ::environ) != 0) {
                process_ = 0;
            }
        } catch (const std::system_error&) {
            process_ = 0;
        }
    }
    ~StandIn() {
        life_.reset();
        if (process_ != 0) {
            retrying([&] { return ::waitpid(process_, nullptr, 0); });
        }
    }
    StandIn(const StandIn&) = delete;
    StandIn& operator=(const StandIn&) = delete;

    std::optional<PolkitProcess> find() const {
        return process_ == 0 ? std::nullopt : PolkitProcess::find(process_);
    }

private:
    pid_t process_ = 0;
    FileDescriptor life_; // while this end of its input is open
};

std::optional<PolkitProcess> thisProcess() {
    return PolkitProcess::find(::getpid());
}

std::optional<PolkitService::Answer> askPolkit() {
    const auto subject = thisProcess();
    return subject ? PolkitService::check(*subject) : std::nullopt;
}

Status statusOf(PrivilegedTools::Outcome outcome) {
    switch (outcome) {
    case PrivilegedTools::Outcome::Started:
        return 0;
    case PrivilegedTools::Outcome::NotAuthorized:
        return PolkitAuthorization::kDenied;
    case PrivilegedTools::Outcome::Dismissed:
        return PolkitAuthorization::kDismissed;
    case PrivilegedTools::Outcome::NotStarted:
        break;
    }
    return PolkitAuthorization::kNotStarted;
}

// How things are before a request.
struct Standing {
    std::optional<Status> decision = std::nullopt; // that needs neither question nor password
    bool isKept = false;                           // a right from before, which polkit does not let go
};

Standing standing() {
    const auto answer = PrivilegedTools::isInstalled() ? askPolkit() : std::nullopt;
    if (!answer) {
        return {.decision = PolkitAuthorization::kUnavailable};
    }
    if (answer->isAuthorized && !answer->keptIdentifier) {
        return {.decision = 0};
    }
    if (!answer->isAuthorized && !answer->couldBeAuthorized) {
        return {.decision = PolkitAuthorization::kDenied};
    }
    // What is kept from before says nothing about who asks now.
    return {.isKept = answer->keptIdentifier && !PolkitService::revoke(*answer->keptIdentifier)};
}

// pkexec has the session's agent ask, for only root may tell polkit what the question shows.
Status ask(const std::optional<std::string>& tool) {
    const auto before = standing();
    using Subject = PrivilegedTools::Subject;
    return before.decision ? *before.decision
                           : statusOf(PrivilegedTools::authorize(
                                 before.isKept ? Subject::Child : Subject::ThisProcess, tool));
}

// What is said to PAM's helper is one line, of which it takes so many bytes, and a zero byte ends it: the
// rest would not be looked at.
bool isTakenWhole(std::string_view text) {
    constexpr std::size_t kLongest = 511;
    using namespace std::string_view_literals;
    return text.size() <= kLongest && text.find_first_of("\0\n"sv) == text.npos;
}

Status authorize(Authorization::Credentials& administrator, const std::optional<PolkitProcess>& subject) {
    const auto account = accountNamed(administrator.user);
    if (!account || !subject) {
        return PolkitAuthorization::kDenied;
    }
    auto* authorize = reinterpret_cast<AuthorizeWithPassword*>(
        functionOnDemand("vt_password_agent.so", "vtAuthorizeWithPassword"));
    switch (authorize ? authorize(*subject, account->userID, administrator.password)
                      : PasswordVerdict::None) {
    case PasswordVerdict::Right:
        return 0;
    case PasswordVerdict::Wrong:
        return PolkitAuthorization::kDenied;
    case PasswordVerdict::None:
        break;
    }
    return PolkitAuthorization::kUnavailable;
}

Status check(Authorization::Credentials& administrator) {
    const auto before = standing();
    if (before.decision) {
        return *before.decision;
    }
    if (!isTakenWhole(administrator.user) || !isTakenWhole(administrator.password.view())) {
        return PolkitAuthorization::kDenied;
    }
    if (before.isKept) {
        const StandIn standIn;
        return authorize(administrator, standIn.find());
    }
    return authorize(administrator, thisProcess());
}

} // namespace

PolkitAuthorization::PolkitAuthorization(Waiting waiting) : waiting_(std::move(waiting)) {}

bool PolkitAuthorization::workHere(const std::function<void()>& work) {
    work();
    return true;
}

// Whatever the work uses must be its own: it may go on alone.
Status PolkitAuthorization::wait(const std::function<Status()>& work) const {
    const auto status = std::make_shared<Status>(0);
    return waiting_([status, work] { *status = work(); }) ? *status : kDismissed;
}

std::shared_ptr<AuthorizationReference> PolkitAuthorization::privilegedReference() {
    return nullptr;
}

Authorization::Result PolkitAuthorization::create() {
    const auto status = wait([] { return PrivilegedTools::isInstalled() && askPolkit() ? 0 : kUnavailable; });
    return {.status = status, .reference = status == 0 ? std::make_shared<Reference>() : nullptr};
}

Status PolkitAuthorization::askForRights(AuthorizationReference& reference,
                                         const std::optional<std::string>& tool) {
    const auto status = wait([tool] { return ask(tool); });
    static_cast<Reference&>(reference).hasRight = status == 0;
    return status;
}

Status PolkitAuthorization::copyRights(AuthorizationReference& reference, Credentials credentials) {
    const auto administrator = std::make_shared<Credentials>(std::move(credentials));
    const auto status = wait([administrator] { return check(*administrator); });
    auto& rights = static_cast<Reference&>(reference);
    rights.hasRight = status == 0;
    rights.hasCredentials = true;
    return status;
}

Status PolkitAuthorization::execute(AuthorizationReference& reference, const std::string& tool,
                                    const std::vector<std::string>& arguments, bool waitsForEnd,
                                    bool mayAsk) {
    const auto& rights = static_cast<Reference&>(reference);
    if (!rights.hasRight) {
        return kDenied;
    }
    mayAsk = mayAsk && !rights.hasCredentials;
    return wait([tools = tools_, tool, arguments, waitsForEnd, mayAsk] {
        // Before polkit is asked, for a right may lapse while a place is waited for.
        auto place = waitsForEnd ? nullptr : tools->takePlace();
        const auto answer = askPolkit();
        if (!answer || !PrivilegedTools::isInstalled()) {
            return kUnavailable;
        }
        const bool mustAsk = !answer->isAuthorized;
        if (mustAsk) {
            const auto status =
                mayAsk && answer->couldBeAuthorized
                    ? statusOf(PrivilegedTools::authorize(PrivilegedTools::Subject::ThisProcess, tool))
                    : kDenied;
            if (status != 0) {
                return status;
            }
        }
        return statusOf(PrivilegedTools::run(tool, arguments, std::move(place), mustAsk));
    });
}

void PolkitAuthorization::free(std::shared_ptr<AuthorizationReference> reference) {
    if (!reference || !std::exchange(static_cast<Reference&>(*reference).hasRight, false)) {
        return;
    }
    wait([] {
        const auto answer = askPolkit();
        if (answer && answer->keptIdentifier) {
            PolkitService::revoke(*answer->keptIdentifier);
        }
        return 0;
    });
}

} // namespace platform

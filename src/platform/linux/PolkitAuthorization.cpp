#include "PolkitAuthorization.h"

#include "FileDescriptor.h"
#include "OnDemand.h"
#include "PasswordAgent.h"
#include "PolkitService.h"
#include "Spawn.h"

#include <array>
#include <fcntl.h>
#include <pwd.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace platform {

namespace {

using Status = Authorization::Status;

struct Reference : AuthorizationReference {
    bool hasRight = false;
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

std::optional<uid_t> userNamed(const std::string& name) {
    constexpr std::size_t kLongestEntry = 65536;
    std::vector<char> texts(kLongestEntry);
    passwd entry{};
    passwd* found = nullptr;
    ::getpwnam_r(name.c_str(), &entry, texts.data(), texts.size(), &found);
    return found ? std::optional(found->pw_uid) : std::nullopt;
}

struct Administrator {
    explicit Administrator(const Authorization::Credentials& credentials)
        : name(credentials.user), password(credentials.password) {}
    std::string name;
    SecretText password;
};

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

bool authorizes(Administrator& administrator, const std::optional<PolkitProcess>& subject) {
    const auto user = userNamed(administrator.name);
    if (!user || !subject) {
        return false;
    }
    auto* authorize = reinterpret_cast<AuthorizeWithPassword*>(
        functionOnDemand("vt_password_agent.so", "vtAuthorizeWithPassword"));
    return authorize && authorize(*subject, *user, administrator.password);
}

// `administrator` null: the session's agent asks. pkexec has it do so, for only root may tell polkit the
// command line that the question shows.
Status obtainRight(Administrator* administrator) {
    const auto before = PrivilegedTools::isInstalled() ? askPolkit() : std::nullopt;
    if (!before) {
        return PolkitAuthorization::kUnavailable;
    }
    if (before->isAuthorized && !before->keptIdentifier) {
        return 0;
    }
    if (!before->isAuthorized && !before->couldBeAuthorized) {
        return PolkitAuthorization::kDenied;
    }
    // What is kept from before says nothing about who asks now.
    const bool isKept = before->keptIdentifier && !PolkitService::revoke(*before->keptIdentifier);
    using Subject = PrivilegedTools::Subject;
    if (!administrator) {
        return statusOf(PrivilegedTools::authorize(isKept ? Subject::Child : Subject::ThisProcess));
    }
    if (isKept) {
        const StandIn standIn;
        return authorizes(*administrator, standIn.find()) ? 0 : PolkitAuthorization::kDenied;
    }
    return authorizes(*administrator, thisProcess()) ? 0 : PolkitAuthorization::kDenied;
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

Status PolkitAuthorization::copyRights(AuthorizationReference& reference,
                                       const std::optional<Credentials>& credentials) {
    const auto administrator = credentials ? std::make_shared<Administrator>(*credentials) : nullptr;
    const auto status = wait([administrator] { return obtainRight(administrator.get()); });
    static_cast<Reference&>(reference).hasRight = status == 0;
    return status;
}

Status PolkitAuthorization::execute(AuthorizationReference& reference, const std::string& tool,
                                    const std::vector<std::string>& arguments, bool waitsForEnd,
                                    bool mayAsk) {
    if (!static_cast<Reference&>(reference).hasRight) {
        return kDenied;
    }
    return wait([tools = tools_, tool, arguments, waitsForEnd, mayAsk] {
        const auto answer = askPolkit();
        if (!answer || !PrivilegedTools::isInstalled()) {
            return kUnavailable;
        }
        // pkexec asks when it must, and its question names the tool.
        const bool mustAsk = !answer->isAuthorized;
        if (mustAsk && !(mayAsk && answer->couldBeAuthorized)) {
            return kDenied;
        }
        using Until = PrivilegedTools::Until;
        return statusOf(tools->run(tool, arguments, waitsForEnd ? Until::OutputEnds : Until::Start, mustAsk));
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

#include "PrivilegedTools.h"

#include "FileDescriptor.h"
#include "Spawn.h"
#include "StartHandshake.h"
#include "ToolPath.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <fcntl.h>
#include <functional>
#include <mutex>
#include <optional>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace platform {

namespace {

constexpr const char* kPkexec = "/usr/bin/pkexec";
constexpr const char* kHelper = VT_RUN_AS_ROOT; // never one that lies beside this program
constexpr int kForEver = -1;
constexpr int kStartPatience = 60'000; // milliseconds
constexpr int kDismissed = 126;        // statuses of pkexec
constexpr int kNotAuthorized = 127;
constexpr int kPlaces = 8;

// A pair of descriptors, none of them at the number of a stream, which is the child's affair.
struct Pair {
    explicit Pair(std::array<int, 2> made) {
        for (std::size_t end = 0; end < made.size(); ++end) {
            const FileDescriptor low(made[end]);
            ends[end] = FileDescriptor(::fcntl(low.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
            if (!ends[end]) {
                throw std::system_error(lastError());
            }
        }
    }
    std::array<FileDescriptor, 2> ends;
};

Pair makePipe() {
    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::system_error(lastError());
    }
    return Pair(ends);
}

Pair makeSocketPair() {
    std::array<int, 2> ends{-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        throw std::system_error(lastError());
    }
    return Pair(ends);
}

} // namespace

// pkexec on its way to becoming the tool.
struct PrivilegedTools::Child {
    pid_t process = 0;
    FileDescriptor handle; // its pidfd
    FileDescriptor output;
    FileDescriptor handshake;
};

PrivilegedTools::Child PrivilegedTools::spawn(const std::vector<std::string>& words) {
    auto handshake = makeSocketPair();
    auto output = makePipe();
    SpawnFileActions actions;
    actions.duplicate(handshake.ends[1].get(), STDIN_FILENO);
    actions.duplicate(output.ends[1].get(), STDOUT_FILENO);
    if (::fcntl(STDERR_FILENO, F_GETFD) == 0) { // what is closed on execution is not the stream
        actions.duplicate(STDERR_FILENO, STDERR_FILENO);
    } else {
        actions.open(STDERR_FILENO, "/dev/null", O_RDWR);
    }
    actions.closeAllButStreams();

    // The helper makes an environment of its own; pkexec finds nothing to complain of in this one.
    const std::vector<std::string> environment{"PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LANG=C.UTF-8"};
    const SpawnAttributes attributes;
    Child child;
    if (const int failure =
            ::posix_spawn(&child.process, words.front().c_str(), actions.get(), attributes.get(),
                          spawnPointers(words).data(), spawnPointers(environment).data())) {
        throw std::system_error(failure, std::generic_category());
    }
    child.handle = FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, child.process, 0)));
    child.output = std::move(output.ends[0]);
    child.handshake = std::move(handshake.ends[0]);
    return child;
}

namespace {

std::optional<char> hear(const FileDescriptor& handshake, int patience) {
    using std::chrono::steady_clock;
    const auto end = steady_clock::now() + std::chrono::milliseconds(patience);
    pollfd answer{.fd = handshake.get(), .events = POLLIN, .revents = 0};
    const auto ready = retrying([&] {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now()).count();
        return ::poll(&answer, 1, patience == kForEver ? kForEver : static_cast<int>(std::max(left, 0L)));
    });
    char word = 0;
    if (ready > 0 && retrying([&] { return ::recv(handshake.get(), &word, 1, 0); }) == 1) {
        return word;
    }
    return std::nullopt;
}

bool hasStarted(const FileDescriptor& handshake, int patience) {
    const char go = StartHandshake::kGo;
    return hear(handshake, patience) == StartHandshake::kReady &&
           retrying([&] { return ::send(handshake.get(), &go, 1, MSG_NOSIGNAL); }) == 1 &&
           hear(handshake, kForEver) != StartHandshake::kFailed;
}

// Throws away what is written, up to the end of it.
void readToItsEnd(const FileDescriptor& output) {
    std::array<char, 65536> bytes{};
    while (retrying([&] { return ::read(output.get(), bytes.data(), bytes.size()); }) > 0) {
    }
}

// The status it has exited with; 0 for other ends. Absent while it runs, unless it is waited for.
std::optional<int> collect(pid_t process, int options) {
    siginfo_t info{};
    if (retrying([&] { return ::waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | options); }) < 0) {
        return 0;
    }
    if (info.si_pid == 0) {
        return std::nullopt;
    }
    return info.si_code == CLD_EXITED ? info.si_status : 0;
}

void inBackground(std::function<void()> work) {
    try {
        std::thread(work).detach();
    } catch (const std::system_error&) {
        work(); // slow, but right
    }
}

} // namespace

class PrivilegedTools::Places {
public:
    void take() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return free_ > 0; });
        --free_;
    }
    void giveBack() {
        std::lock_guard lock(mutex_);
        ++free_;
        changed_.notify_one();
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int free_ = kPlaces;
};

// One of them, until this object goes.
class PrivilegedTools::Place {
public:
    explicit Place(std::shared_ptr<Places> places) : places_(std::move(places)) { places_->take(); }
    ~Place() { places_->giveBack(); }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

private:
    std::shared_ptr<Places> places_;
};

std::shared_ptr<PrivilegedTools::Places> PrivilegedTools::makePlaces() {
    return std::make_shared<Places>();
}

// Of one that nobody speaks to any more: it ends by itself, should polkit hang when it likes.
PrivilegedTools::Outcome PrivilegedTools::reasonForEnd(const std::shared_ptr<Child>& child) {
    child->output.reset();
    pollfd end{.fd = child->handle.get(), .events = POLLIN, .revents = 0};
    if (!child->handle || retrying([&] { return ::poll(&end, 1, kStartPatience); }) == 0) {
        inBackground([child] { collect(child->process, 0); });
        return Outcome::NotStarted;
    }
    const auto status = collect(child->process, 0);
    return status == kDismissed       ? Outcome::Dismissed
           : status == kNotAuthorized ? Outcome::NotAuthorized
                                      : Outcome::NotStarted;
}

PrivilegedTools::Outcome PrivilegedTools::authorize(Subject subject) {
    std::vector<std::string> words{kPkexec, "--disable-internal-agent", kHelper};
    if (subject == Subject::Child) {
        // pkexec asks for its parent, which is a shell here: what follows keeps it from becoming pkexec.
        words.insert(words.begin(), {"/bin/sh", "-c", "\"$@\"; exit $?", "sh"});
    }
    auto child = std::make_shared<Child>();
    try {
        *child = spawn(words);
    } catch (const std::system_error&) {
        return Outcome::NotStarted;
    }
    const bool isAuthorized = hear(child->handshake, kForEver) == StartHandshake::kReady;
    child->handshake.reset();
    const auto reason = reasonForEnd(child);
    return isAuthorized ? Outcome::Started : reason;
}

PrivilegedTools::Outcome PrivilegedTools::run(const std::string& tool,
                                              const std::vector<std::string>& arguments, Until until,
                                              bool mayBeAskedFor) {
    std::vector<std::string> words{kPkexec, "--disable-internal-agent", kHelper, toolPath(tool)};
    words.insert(words.end(), arguments.begin(), arguments.end());
    if (std::ranges::any_of(words, [](const auto& word) { return word.find('\0') != word.npos; })) {
        return Outcome::NotStarted;
    }
    auto place = until == Until::Start ? std::make_shared<Place>(places_) : nullptr;
    auto child = std::make_shared<Child>();
    try {
        *child = spawn(words);
    } catch (const std::system_error&) {
        return Outcome::NotStarted;
    }
    const bool isStarted =
        child->handle && hasStarted(child->handshake, mayBeAskedFor ? kForEver : kStartPatience);
    child->handshake.reset();
    if (!isStarted) {
        return reasonForEnd(child);
    }
    if (until == Until::OutputEnds) {
        readToItsEnd(child->output);
        if (!collect(child->process, WNOHANG)) {
            inBackground([child] { collect(child->process, 0); });
        }
        return Outcome::Started;
    }
    inBackground([child, place = std::move(place)]() mutable {
        // What the tool leaves running may go on writing, but takes no place any more.
        inBackground(
            [output = std::make_shared<FileDescriptor>(std::move(child->output))] { readToItsEnd(*output); });
        collect(child->process, 0);
    });
    return Outcome::Started;
}

bool PrivilegedTools::isInstalled() {
    return ::access(kPkexec, X_OK) == 0 && ::access(kHelper, X_OK) == 0;
}

} // namespace platform

#include "ChildProcess.h"

#include "Exception.h"
#include "FileDescriptor.h"
#include "Spawn.h"
#include "ToolPath.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <mutex>
#include <new>
#include <poll.h>
#include <span>
#include <string_view>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace platform {

namespace {

constexpr const char* kInvalidArgument = "NSInvalidArgumentException";
constexpr const char* kFileHandleOperation = "NSFileHandleOperationException";
constexpr int kPipeSize = 1 << 20; // bytes; what the system allows without privileges
constexpr std::size_t kGrowingFast = 4 << 20;

[[noreturn]] void fail(const char* name, int error) {
    throw Exception(name, std::error_code(error, std::generic_category()).message());
}

// The numbers of the standard streams are the child's own affair, so none of ours may lie there, as happens
// when this program has closed one of its own.
FileDescriptor aboveStreams(FileDescriptor descriptor) {
    if (descriptor.get() > STDERR_FILENO) {
        return descriptor;
    }
    if (descriptor) {
        descriptor = FileDescriptor(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    }
    if (!descriptor) {
        fail(kInvalidArgument, errno);
    }
    return descriptor;
}

struct Pipe {
    Pipe() {
        std::array<int, 2> ends{-1, -1};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
            fail(kInvalidArgument, errno);
        }
        FileDescriptor first(ends[0]);
        FileDescriptor second(ends[1]);
        readingEnd = aboveStreams(std::move(first));
        writingEnd = aboveStreams(std::move(second));
    }
    FileDescriptor readingEnd;
    FileDescriptor writingEnd;
};

// A stream that is to be inherited may be closed here, or its number be taken by a file of ours.
bool isStandardStream(int stream) {
    const int flags = ::fcntl(stream, F_GETFD);
    return flags >= 0 && (flags & FD_CLOEXEC) == 0;
}

void checkForZeros(const std::vector<std::string>& texts) {
    if (std::ranges::any_of(texts, [](const auto& text) { return text.find('\0') != text.npos; })) {
        fail(kInvalidArgument, EINVAL);
    }
}

// Room that has not been written to costs no memory, but moving what is there into larger room costs time.
void growFast(std::string& bytes) {
    constexpr std::size_t kFactor = 8;
    try {
        bytes.reserve(bytes.size() * kFactor);
    } catch (const std::bad_alloc&) {
        // The string finds less by itself.
    }
}

// Adds what the pipe holds; false at its end. Does not wait: something or the end must be there.
bool readAvailable(const FileDescriptor& pipe, std::string& bytes) {
    int available = 0;
    if (::ioctl(pipe.get(), FIONREAD, &available) != 0) {
        fail(kFileHandleOperation, errno);
    }
    const auto length = bytes.size();
    const auto wanted = length + static_cast<std::size_t>(std::max(available, 1));
    if (wanted > bytes.capacity() && length >= kGrowingFast) {
        growFast(bytes);
    }
    bytes.resize(wanted);
    const auto count =
        retrying([&] { return ::read(pipe.get(), bytes.data() + length, bytes.size() - length); });
    if (count < 0) {
        fail(kFileHandleOperation, errno);
    }
    bytes.resize(length + static_cast<std::size_t>(count));
    return count > 0;
}

constexpr int kForEver = -1; // milliseconds

void waitFor(std::span<pollfd> descriptors, int patience = kForEver) {
    if (retrying([&] { return ::poll(descriptors.data(), descriptors.size(), patience); }) < 0) {
        fail(kFileHandleOperation, errno);
    }
}

} // namespace

struct ChildProcess::State {
    const Program program;

    mutable std::mutex mutex; // guards what follows
    bool outputIsClosed = false;
    pid_t process = 0;     // 0 before the launch
    FileDescriptor handle; // its pidfd; set once, by the launch
    std::optional<int> status;
    // A reader keeps it open while it waits, so that its number is not taken by something else.
    std::shared_ptr<FileDescriptor> output;

    FileDescriptor errors;      // the reader's own once launched
    FileDescriptor outputEvent; // readable when the output has been closed
    std::atomic<bool> terminationAsked = false;

    explicit State(Program toRun) : program(std::move(toRun)) {}

    // Locked.
    bool hasEnded() {
        if (!status) {
            siginfo_t info{};
            const auto result = retrying(
                [&] { return ::waitid(P_PIDFD, static_cast<id_t>(handle.get()), &info, WEXITED | WNOHANG); });
            if (result < 0) {
                status = 0; // somebody else has collected it
            } else if (info.si_pid != 0) {
                status = info.si_status; // of an exit its status, otherwise the signal
            }
        }
        return status.has_value();
    }

    void requireLaunch() const {
        if (process == 0) {
            throw Exception(kInvalidArgument, "task not launched");
        }
    }
};

ChildProcess::ChildProcess(Program program) : state_(std::make_unique<State>(std::move(program))) {}

ChildProcess::~ChildProcess() {
    std::unique_lock lock(state_->mutex);
    if (state_->process == 0 || state_->hasEnded()) {
        return;
    }
    try {
        std::thread([handle = std::move(state_->handle)] {
            siginfo_t info{};
            retrying([&] { return ::waitid(P_PIDFD, static_cast<id_t>(handle.get()), &info, WEXITED); });
        }).detach();
    } catch (const std::exception&) {
        // Without a thread the ended child keeps its number until this program ends; nothing else is lost.
    }
}

const std::string& ChildProcess::launchPath() const {
    return state_->program.path;
}

void ChildProcess::launch() try {
    auto& state = *state_;
    const auto& program = state.program;
    std::lock_guard lock(state.mutex);
    if (state.process != 0) {
        throw Exception(kInvalidArgument, "task already launched");
    }
    if (state.outputIsClosed) {
        fail(kInvalidArgument, EBADF);
    }

    std::vector<std::string> words{program.path};
    words.insert(words.end(), program.arguments.begin(), program.arguments.end());
    checkForZeros(words);
    std::vector<std::string> environment;
    if (program.environment) {
        for (const auto& [name, value] : *program.environment) {
            environment.push_back(name + "=" + value);
        }
        checkForZeros(environment);
    }

    SpawnFileActions actions;
    std::array<FileDescriptor, 3> readingEnds;
    std::array<FileDescriptor, 3> childEnds;
    const std::array<Stream, 3> streams{program.input, program.output, program.errors};
    for (int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        const auto index = static_cast<std::size_t>(number);
        if (streams[index] == Stream::Pipe) {
            Pipe pipe;
            if (number == STDIN_FILENO) {
                childEnds[index] = std::move(pipe.readingEnd);
            } else {
                ::fcntl(pipe.readingEnd.get(), F_SETPIPE_SZ, kPipeSize); // may be refused
                readingEnds[index] = std::move(pipe.readingEnd);
                childEnds[index] = std::move(pipe.writingEnd);
            }
            actions.duplicate(childEnds[index].get(), number);
        } else if (streams[index] == Stream::Inherited && isStandardStream(number)) {
            actions.duplicate(number, number);
        } else if (number == STDERR_FILENO && program.output == Stream::Null) {
            actions.duplicate(STDOUT_FILENO, number);
        } else {
            actions.open(number, "/dev/null", O_RDWR);
        }
    }
    actions.closeAllButStreams();
    FileDescriptor outputEvent;
    std::shared_ptr<FileDescriptor> output;
    if (program.output == Stream::Pipe) {
        outputEvent = aboveStreams(FileDescriptor(::eventfd(0, EFD_CLOEXEC)));
        output = std::make_shared<FileDescriptor>(std::move(readingEnds[STDOUT_FILENO]));
    }
    const SpawnAttributes attributes;
    const auto file = toolPath(program.path);
    const auto arguments = spawnPointers(words);
    const auto variables = spawnPointers(environment);
    std::error_code error;
    auto [process, handle] = spawnWithHandle(
        [&](std::error_code& failure) {
            pid_t child = 0;
            failure = {::posix_spawn(&child, file.c_str(), actions.get(), attributes.get(), arguments.data(),
                                     program.environment ? variables.data() : ::environ),
                       std::generic_category()};
            return failure ? 0 : child;
        },
        error);
    if (!handle) {
        fail(kInvalidArgument, error.value());
    }
    state.process = process;
    state.handle = std::move(handle);
    state.outputEvent = std::move(outputEvent);
    state.output = std::move(output);
    state.errors = std::move(readingEnds[STDERR_FILENO]);
} catch (const std::system_error& error) {
    throw Exception(kInvalidArgument, error.code().message());
}

bool ChildProcess::isRunning() const {
    std::lock_guard lock(state_->mutex);
    return state_->process != 0 && !state_->hasEnded();
}

void ChildProcess::waitUntilExit() {
    {
        std::lock_guard lock(state_->mutex);
        state_->requireLaunch();
        if (state_->status) {
            return;
        }
    }
    // Without the lock, and without collecting it: others may ask meanwhile.
    pollfd end{.fd = state_->handle.get(), .events = POLLIN, .revents = 0};
    waitFor({&end, 1});
    std::lock_guard lock(state_->mutex);
    state_->hasEnded();
}

void ChildProcess::terminate() {
    std::lock_guard lock(state_->mutex);
    state_->requireLaunch();
    if (!state_->hasEnded()) {
        state_->terminationAsked = true;
        ::syscall(SYS_pidfd_send_signal, state_->handle.get(), SIGTERM, nullptr, 0);
    }
}

int ChildProcess::terminationStatus() const {
    std::lock_guard lock(state_->mutex);
    state_->requireLaunch();
    if (!state_->hasEnded()) {
        throw Exception(kInvalidArgument, "task still running");
    }
    return *state_->status;
}

ChildProcess::Collected ChildProcess::collect() {
    auto& state = *state_;
    std::shared_ptr<FileDescriptor> output;
    FileDescriptor errors; // both are closed by the end, so that nobody writes in vain for long
    {
        std::lock_guard lock(state.mutex);
        state.requireLaunch();
        output = std::move(state.output);
        errors = std::move(state.errors);
    }
    Collected collected;
    std::array<pollfd, 3> descriptors{{
        {.fd = output ? output->get() : -1, .events = POLLIN, .revents = 0},
        {.fd = errors.get(), .events = POLLIN, .revents = 0},
        {.fd = state.handle.get(), .events = POLLIN, .revents = 0},
    }};
    auto& [outputPoll, errorsPoll, endPoll] = descriptors;
    bool isOver = false;
    while (!isOver && (outputPoll.fd >= 0 || errorsPoll.fd >= 0)) {
        waitFor(descriptors);
        if (endPoll.revents != 0) {
            // Others may hold the pipes still. A child that was made to end is not outwaited by them.
            isOver = state.terminationAsked;
            endPoll.fd = -1;
            waitFor(descriptors, 0); // what it wrote at the last moment
        }
        if (outputPoll.revents != 0 && !readAvailable(*output, collected.output)) {
            outputPoll.fd = -1;
        }
        if (errorsPoll.revents != 0 && !readAvailable(errors, collected.errors)) {
            errorsPoll.fd = -1;
        }
    }
    return collected;
}

std::string ChildProcess::readOutput() {
    std::shared_ptr<FileDescriptor> output;
    {
        std::lock_guard lock(state_->mutex);
        output = state_->output;
    }
    if (!output) {
        fail(kFileHandleOperation, EBADF);
    }
    std::array<pollfd, 2> descriptors{{
        {.fd = output->get(), .events = POLLIN, .revents = 0},
        {.fd = state_->outputEvent.get(), .events = POLLIN, .revents = 0},
    }};
    waitFor(descriptors);
    if (descriptors[1].revents != 0) {
        fail(kFileHandleOperation, EBADF);
    }
    std::string chunk;
    readAvailable(*output, chunk);
    return chunk;
}

void ChildProcess::closeOutput() {
    std::lock_guard lock(state_->mutex);
    state_->outputIsClosed = true;
    state_->output.reset();
    if (state_->outputEvent) {
        const std::uint64_t one = 1;
        [[maybe_unused]] auto written = ::write(state_->outputEvent.get(), &one, sizeof one);
    }
}

} // namespace platform

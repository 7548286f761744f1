#include "PrivilegedTools.h"

#include "PkexecChild.h"
#include "ToolPath.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <functional>
#include <sysexits.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace platform {

namespace {

using Outcome = PrivilegedTools::Outcome;

constexpr const char* kPkexec = "/usr/bin/pkexec";
constexpr const char* kHelper = VT_RUN_AS_ROOT; // never one that lies beside this program
constexpr std::chrono::seconds kStartPatience(60);
constexpr int kDismissed = 126; // statuses of pkexec
constexpr int kNotAuthorized = 127;

std::vector<std::string> commandLine() {
    return {kPkexec, "--disable-internal-agent", kHelper};
}

// Null when it cannot be started.
std::shared_ptr<PkexecChild> start(const std::vector<std::string>& words) {
    try {
        return std::make_shared<PkexecChild>(words);
    } catch (const std::system_error&) {
        return nullptr;
    }
}

Outcome outcomeOf(std::optional<int> status) {
    return status == kDismissed       ? Outcome::Dismissed
           : status == kNotAuthorized ? Outcome::NotAuthorized
                                      : Outcome::NotStarted;
}

// Throws away what is written, up to the end of it.
void readToItsEnd(const FileDescriptor& output) {
    std::array<char, 65536> bytes{};
    while (retrying([&] { return ::read(output.get(), bytes.data(), bytes.size()); }) > 0) {
    }
}

void inBackground(std::function<void()> work) {
    try {
        std::thread(work).detach();
    } catch (const std::exception&) {
        work(); // slow, but right
    }
}

void collectInBackground(std::shared_ptr<PkexecChild> child) {
    inBackground([child = std::move(child)] { child->waitForEnd(std::nullopt); });
}

} // namespace

PrivilegedTools::Outcome PrivilegedTools::authorize(Subject subject, const std::optional<std::string>& tool) {
    auto words = commandLine();
    if (tool) {
        if (std::ranges::any_of(*tool,
                                [](unsigned char letter) { return letter < ' ' || letter == '\x7f'; })) {
            return Outcome::NotStarted;
        }
        words.push_back(toolPath(*tool));
    }
    if (subject == Subject::Child) {
        // pkexec asks for its parent, which is a shell here: what follows keeps it from becoming pkexec.
        words.insert(words.begin(), {"/bin/sh", "-c", "\"$@\"; exit $?", "sh"});
    }
    const auto child = start(words);
    if (!child) {
        return Outcome::NotStarted;
    }
    child->hangUp();
    const auto status = child->waitForEnd(std::nullopt);
    // The helper's own: it was root when it left, or refused, the tool alone.
    constexpr std::array kAuthorized{EX_OK, EX_TEMPFAIL, EX_NOPERM};
    const bool isAuthorized = status && std::ranges::find(kAuthorized, *status) != kAuthorized.end();
    return isAuthorized ? Outcome::Started : outcomeOf(status);
}

PrivilegedTools::Place PrivilegedTools::takePlace() {
    places_->acquire();
    return {places_.get(), [places = places_](void*) { places->release(); }};
}

PrivilegedTools::Outcome PrivilegedTools::run(const std::string& tool,
                                              const std::vector<std::string>& arguments, Place place,
                                              bool mayBeAskedFor) {
    auto words = commandLine();
    words.push_back(toolPath(tool));
    words.insert(words.end(), arguments.begin(), arguments.end());
    if (std::ranges::any_of(words, [](const auto& word) { return word.find('\0') != word.npos; })) {
        return Outcome::NotStarted;
    }
    const auto child = start(words);
    if (!child) {
        return Outcome::NotStarted;
    }
    using Clock = std::chrono::steady_clock;
    const auto deadline = mayBeAskedFor ? PkexecChild::Deadline() : Clock::now() + kStartPatience;
    const bool isStarted = child->startTool(deadline);
    child->hangUp();
    const auto output = std::make_shared<FileDescriptor>(child->takeOutput());
    if (!isStarted) {
        output->reset();
        const auto status = child->waitForEnd(deadline);
        if (!status) { // it ends by itself, should polkit hang when it likes
            collectInBackground(child);
        }
        return outcomeOf(status);
    }
    if (!place) {
        readToItsEnd(*output);
        if (!child->waitForEnd(Clock::now())) {
            collectInBackground(child);
        }
        return Outcome::Started;
    }
    inBackground([child, output, place = std::move(place)] {
        inBackground([output] { readToItsEnd(*output); }); // what the tool leaves running may go on writing
        child->waitForEnd(std::nullopt);
    });
    return Outcome::Started;
}

bool PrivilegedTools::isInstalled() {
    return ::access(kPkexec, X_OK) == 0 && ::access(kHelper, X_OK) == 0;
}

} // namespace platform

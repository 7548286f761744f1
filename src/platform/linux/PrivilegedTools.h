#pragma once

#include <memory>
#include <optional>
#include <semaphore>
#include <string>
#include <vector>

namespace platform {

// Runs tools as root: pkexec, as a direct child of this process, becomes our helper, which becomes the tool.
// What they write is thrown away, and their ends are collected, in the background if need be. At most eight
// run that nobody waits for, each in a place of its own.
class PrivilegedTools {
public:
    enum class Outcome {
        Started,       // or, when none was to be, authorized
        NotAuthorized, // so says pkexec
        Dismissed,     // so does whoever was asked
        NotStarted,    // refused by the helper, or could not be started
    };

    // Is given back when it goes.
    using Place = std::shared_ptr<void>;

    // Waits until there is one, as long as it takes.
    Place takePlace();

    // Returns when the tool has started, which keeps the place until it ends; without a place, when its
    // output ends.
    //
    // `mayBeAskedFor`: the user may be asked meanwhile, and is waited for. Otherwise what has not started
    // within a minute does not start any more.
    static Outcome run(const std::string& tool, const std::vector<std::string>& arguments, Place place,
                       bool mayBeAskedFor);

    enum class Subject { ThisProcess, Child };

    // Has pkexec obtain the right that running a tool takes, and run none: for this process, or for a child
    // that has ended when the call returns, which shows what would be answered if it were for the first time.
    // Waits for whoever is asked, and who is shown the tool that the right is wanted for, or none. A path
    // that does not fit on one line is not asked about.
    static Outcome authorize(Subject subject, const std::optional<std::string>& tool);

    // Is there what it takes: pkexec, and the helper where it is installed?
    static bool isInstalled();

private:
    using Places = std::counting_semaphore<8>;

    std::shared_ptr<Places> places_ = std::make_shared<Places>(Places::max());
};

} // namespace platform

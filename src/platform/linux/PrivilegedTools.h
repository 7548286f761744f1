#pragma once

#include <memory>
#include <string>
#include <vector>

namespace platform {

// Runs tools as root: pkexec, as a direct child of this process, becomes our helper, which becomes the tool.
// What they write is thrown away, and their ends are collected, in the background if need be. At most eight
// run that nobody waits for; whoever starts a ninth waits until one of them has ended.
class PrivilegedTools {
public:
    enum class Outcome {
        Started,       // or, without a tool, authorized
        NotAuthorized, // so says pkexec
        Dismissed,     // so does whoever was asked
        NotStarted,    // refused by the helper, or could not be started
    };

    enum class Until { Start, OutputEnds };

    // `mayBeAskedFor`: the user may be asked meanwhile, and is waited for. Otherwise what has not started
    // within a minute does not start any more.
    Outcome run(const std::string& tool, const std::vector<std::string>& arguments, Until until,
                bool mayBeAskedFor);

    enum class Subject { ThisProcess, Child };

    // Has pkexec obtain the right that running a tool takes, and run none: for this process, or for a child
    // that has ended when the call returns, which shows what would be answered if it were for the first time.
    // Waits for whoever is asked.
    static Outcome authorize(Subject subject);

    // Is there what it takes: pkexec, and the helper where it is installed?
    static bool isInstalled();

private:
    class Places;
    class Place;
    struct Child;

    static Child spawn(const std::vector<std::string>& words);
    static Outcome reasonForEnd(const std::shared_ptr<Child>& child);

    std::shared_ptr<Places> places_ = makePlaces();

    static std::shared_ptr<Places> makePlaces();
};

} // namespace platform

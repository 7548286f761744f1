#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace platform {

// One run of another program as a child of this one. The child gets its three streams and no other
// descriptor, and every signal as it is by default. It does not end with this object: when nobody waits for
// it any more, its end is collected all the same.
//
// Any thread may ask, terminate and close; one at a time reads.
class ChildProcess {
public:
    enum class Stream {
        Null,      // /dev/null
        Pipe,      // input: nothing to read; output and errors: read here
        Inherited, // this program's own; /dev/null when it has none
    };

    struct Program {
        std::string path; // see toolPath
        std::vector<std::string> arguments = {};
        std::optional<std::map<std::string, std::string>> environment = std::nullopt; // absent: as here
        Stream input = Stream::Inherited;
        Stream output = Stream::Inherited;
        Stream errors = Stream::Inherited;
    };

    struct Collected {
        std::string output;
        std::string errors;
    };

    explicit ChildProcess(Program program);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    const std::string& launchPath() const;

    // Starts the child, once. Throws "NSInvalidArgumentException" with the system's text when it cannot be
    // started; that includes a zero byte in the path, an argument or the environment. An output that was
    // closed before keeps it from starting.
    void launch();

    bool isRunning() const; // false before the launch

    // These two throw "NSInvalidArgumentException" when there was no launch.
    void waitUntilExit();
    void terminate(); // asks it to end (SIGTERM); nothing happens when it has ended

    // The exit status, or the number of the signal that ended the child; 0 when somebody else has collected
    // it. Throws "NSInvalidArgumentException" unless it has ended.
    int terminationStatus() const;

    // What the child and whoever inherited its pipes write, until all have closed them; what is not a pipe
    // counts as empty. Once only: the pipes are closed then. When the child ends after `terminate`, what has
    // come by then is all. Throws "NSFileHandleOperationException" with the system's text.
    Collected collect();

    // The output that is there, waiting for some; empty at its end. Throws "NSFileHandleOperationException"
    // when it is, or while waiting becomes, closed.
    std::string readOutput();
    void closeOutput();

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace platform

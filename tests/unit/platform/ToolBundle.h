#pragma once

#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

// Bundles of small programs for tests that start them, and how to wait for what they do.
namespace toolbundle {

// Makes NAME.app in the sandbox's Applications folder with the identifier com.vantorel.NAME and the
// executable NAME, which holds these bytes. NAME may have a folder before it. Returns the bundle's path.
std::string make(const std::string& name, std::string_view executable);

// The same with a shell script that runs until `finish`.
std::string makeWaiting(const std::string& name);
void finish(const std::string& bundle);

// Starts a program as somebody else would; it is ended and waited for with this object.
class Process {
public:
    explicit Process(std::vector<std::string> words, const std::string& folder = "/");
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t id() const { return id_; }
    bool wait(); // until it ends by itself; false when somebody else has collected it

private:
    pid_t id_ = 0;
};

} // namespace toolbundle

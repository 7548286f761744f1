#include "DetachedProgram.h"

#include "Spawn.h"

#include <fcntl.h>
#include <unistd.h>

namespace platform {

pid_t DetachedProgram::start(std::error_code& error) const try {
    SpawnFileActions actions;
    for (int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        actions.open(stream, "/dev/null", O_RDWR);
    }
    actions.closeAllButStreams();
    actions.changeFolder(workingDirectory);
    const SpawnAttributes attributes(POSIX_SPAWN_SETSID);

    std::vector<std::string> words{path};
    words.insert(words.end(), arguments.begin(), arguments.end());
    pid_t child = 0;
    int failure = ::posix_spawnp(&child, path.c_str(), actions.get(), attributes.get(),
                                 spawnPointers(words).data(), spawnPointers(environment).data());
    error.assign(failure, std::generic_category());
    return failure == 0 ? child : 0;
} catch (const std::system_error& failure) {
    error = failure.code();
    return 0;
}

} // namespace platform

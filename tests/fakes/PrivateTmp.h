#pragma once

#include <functional>

namespace sandbox {

// Runs `work` in a child process with an empty /tmp, a home in it and neither TMPDIR nor XDG_RUNTIME_DIR set,
// and passes its failures on. False when the system does not allow such a thing.
bool inPrivateTmp(const std::function<void()>& work);

} // namespace sandbox

#pragma once

namespace platform {

// Begins to read the system's font configuration, on a thread of its own. It takes about as long as the
// connection to the display, and whoever asks for a font later finds it done. Any thread, once.
void loadFontConfiguration();

} // namespace platform

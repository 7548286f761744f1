#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace platform {

// Pixels as 0xAARRGGBB, premultiplied, row by row. Empty when there is nothing to draw.
struct Bitmap {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> pixels;
};

// A file's icon. Making one costs nothing: it is found and decoded when it is rendered. Any thread.
class Icon {
public:
    virtual ~Icon() = default;

    // The icon in a square of `pixels` device pixels; empty when the file has none of its own or it
    // cannot be read, and the desktop's generic one is to be shown.
    virtual Bitmap render(int pixels) const = 0;
};

// The desktop around the program. Any thread; nothing here waits for another program.
class Workspace {
public:
    virtual ~Workspace() = default;

    // Never null.
    virtual std::shared_ptr<const Icon> iconForFile(const std::string& path) = 0;

    // Shows `path` selected in a file-browser window on `rootPath`. Failure is silent.
    virtual void selectFile(const std::string& path, const std::string& rootPath) = 0;
};

} // namespace platform

#pragma once

#include "Workspace.h"

#include <mutex>
#include <utility>

// Hands out icons that remember their path and draw nothing; remembers what was revealed.
class FakeWorkspace : public platform::Workspace {
public:
    struct FakeIcon : platform::Icon {
        explicit FakeIcon(std::string file) : path(std::move(file)) {}
        platform::Bitmap render(int pixels) const override {
            const auto count = static_cast<std::size_t>(pixels) * static_cast<std::size_t>(pixels);
            return {pixels, pixels, std::vector<std::uint32_t>(count, 0xFF336699)};
        }
        std::string path;
    };

    std::shared_ptr<const platform::Icon> iconForFile(const std::string& path) override {
        return std::make_shared<FakeIcon>(path);
    }
    void selectFile(const std::string& path, const std::string& rootPath) override {
        std::lock_guard lock(mutex_);
        revealed_.emplace_back(path, rootPath);
    }
    std::vector<std::pair<std::string, std::string>> revealed() const {
        std::lock_guard lock(mutex_);
        return revealed_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::pair<std::string, std::string>> revealed_;
};

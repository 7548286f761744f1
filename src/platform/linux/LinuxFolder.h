#pragma once

#include "FileDescriptor.h"
#include "FileManager.h"

namespace platform {

class LinuxFolder : public Folder {
public:
    // The top of a walk.
    explicit LinuxFolder(std::string path);

    const std::string& path() const override { return path_; }
    std::vector<DirectoryEntry> entries(Listing listing, std::error_code& error) override;
    bool isFolder(const DirectoryEntry& entry) override;
    std::unique_ptr<Folder> subfolder(const DirectoryEntry& entry) override;
    FileContents contents(std::string_view relativePath, std::size_t limit) override;
    void suspend() override { descriptor_.reset(); }

private:
    // A sub-folder, not opened yet.
    LinuxFolder(std::string path, bool crossesLinks) : path_(std::move(path)), crossesLinks_(crossesLinks) {}

    std::string join(std::string_view name) const;
    void open(int folder, const char* name);
    bool resume(); // false when the folder cannot be opened

    std::string path_;
    FileDescriptor descriptor_;
    bool listed_ = false;
    std::error_code openError_; // why the descriptor could not be had

    // Whether the path crosses links. Then the kernel has to see the whole path wherever another link
    // may follow, since it counts them per path.
    bool crossesLinks_ = false;
};

} // namespace platform

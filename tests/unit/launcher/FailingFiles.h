#pragma once

#include "Exception.h"
#include "linux/LinuxFileManager.h"

#include <filesystem>

// Real folders, but for these names: "unlistable" cannot be listed, "ghost" is gone when it is to be
// listed, listing "throwing" throws, and so does reading anything of a bundle named "Bad.app".
class FailingFolder : public platform::Folder {
public:
    explicit FailingFolder(std::unique_ptr<platform::Folder> real) : real_(std::move(real)) {}

    const std::string& path() const override { return real_->path(); }
    std::vector<platform::DirectoryEntry> entries(platform::Listing listing,
                                                  std::error_code& error) override {
        if (path().ends_with("unlistable")) {
            error = std::make_error_code(std::errc::permission_denied);
            return {};
        }
        if (path().ends_with("ghost")) {
            std::filesystem::remove(path());
            error = std::make_error_code(std::errc::no_such_file_or_directory);
            return {};
        }
        if (path().ends_with("throwing")) {
            throw platform::Exception("NSListException", "listing went wrong");
        }
        return real_->entries(listing, error);
    }
    bool isFolder(const platform::DirectoryEntry& entry) override { return real_->isFolder(entry); }
    std::unique_ptr<platform::Folder> subfolder(const platform::DirectoryEntry& entry) override {
        return std::make_unique<FailingFolder>(real_->subfolder(entry));
    }
    platform::FileContents contents(std::string_view relativePath, std::size_t limit) override {
        if (relativePath.starts_with("Bad.app")) {
            throw platform::Exception("NSReadException", "reading went wrong");
        }
        return real_->contents(relativePath, limit);
    }
    void suspend() override { real_->suspend(); }

private:
    std::unique_ptr<platform::Folder> real_;
};

struct FailingFiles : platform::LinuxFileManager {
    std::unique_ptr<platform::Folder> openFolder(const std::string& path) override {
        return std::make_unique<FailingFolder>(LinuxFileManager::openFolder(path));
    }
};

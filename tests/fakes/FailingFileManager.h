#pragma once

#include "FileManager.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <limits>
#include <mutex>
#include <utility>

// Passes everything on to another file manager, and fails where the test says so. Set the functions
// before other threads use it; one that is empty lets its operation through.
class FailingFileManager : public platform::FileManager {
public:
    using Failure = std::function<std::error_code(const std::string& path)>;

    explicit FailingFileManager(std::shared_ptr<platform::FileManager> next) : next_(std::move(next)) {}

    Failure listingFailure;
    Failure createDirectoryFailure; // private folders included
    Failure removeItemFailure;
    Failure moveItemFailure; // is asked with the old path
    Failure copyItemFailure; // the same
    Failure writeAtomicallyFailure;
    Failure openForWritingFailure;

    // Is told of every look whether a file may be executed.
    std::function<void(const std::string& path)> onExecutableLook;

    // Runs on the writing thread before every write through a handle; may throw in its place.
    std::function<void(std::string_view bytes)> beforeWrite;

    // How many bytes the handles may still write until the disk is full.
    void setFreeBytes(std::size_t bytes) {
        std::lock_guard lock(space_->mutex);
        space_->bytes = bytes;
    }

    bool fileExists(const std::string& path) override { return next_->fileExists(path); }
    bool isDirectory(const std::string& path) override { return next_->isDirectory(path); }
    std::optional<platform::PropertyList::Date> modificationDate(const std::string& path) override {
        return next_->modificationDate(path);
    }
    bool isExecutableFile(const std::string& path) override {
        if (onExecutableLook) {
            onExecutableLook(path);
        }
        return next_->isExecutableFile(path);
    }
    std::optional<std::string> destinationOfSymbolicLink(const std::string& path) override {
        return next_->destinationOfSymbolicLink(path);
    }
    std::unique_ptr<platform::Folder> openFolder(const std::string& path) override {
        if (auto error = failure(listingFailure, path)) {
            return std::make_unique<UnreadableFolder>(path, error);
        }
        return next_->openFolder(path);
    }
    platform::FileContents contents(const std::string& path, std::size_t limit) override {
        return next_->contents(path, limit);
    }
    std::error_code createDirectory(const std::string& path) override {
        auto error = failure(createDirectoryFailure, path);
        return error ? error : next_->createDirectory(path);
    }
    std::error_code createPrivateDirectory(const std::string& path) override {
        auto error = failure(createDirectoryFailure, path);
        return error ? error : next_->createPrivateDirectory(path);
    }
    std::error_code removeItem(const std::string& path) override {
        auto error = failure(removeItemFailure, path);
        return error ? error : next_->removeItem(path);
    }
    std::error_code moveItem(const std::string& from, const std::string& to) override {
        auto error = failure(moveItemFailure, from);
        return error ? error : next_->moveItem(from, to);
    }
    std::error_code copyItem(const std::string& from, const std::string& to) override {
        auto error = failure(copyItemFailure, from);
        return error ? error : next_->copyItem(from, to);
    }
    std::error_code writeAtomically(const std::string& path, std::string_view bytes) override {
        auto error = failure(writeAtomicallyFailure, path);
        return error ? error : next_->writeAtomically(path, bytes);
    }
    std::unique_ptr<platform::FileHandle> openForWriting(const std::string& path) override {
        auto handle = failure(openForWritingFailure, path) ? nullptr : next_->openForWriting(path);
        if (!handle) {
            return nullptr;
        }
        return std::make_unique<Handle>(std::move(handle), beforeWrite, space_);
    }

private:
    class UnreadableFolder : public platform::Folder {
    public:
        UnreadableFolder(std::string path, std::error_code error) : path_(std::move(path)), error_(error) {}

        const std::string& path() const override { return path_; }
        std::vector<platform::DirectoryEntry> entries(platform::Listing, std::error_code& error) override {
            error = error_;
            return {};
        }
        bool isFolder(const platform::DirectoryEntry&) override { return false; }
        std::unique_ptr<platform::Folder> subfolder(const platform::DirectoryEntry& entry) override {
            return std::make_unique<UnreadableFolder>(path_ + "/" + entry.name, error_);
        }
        platform::FileContents contents(std::string_view, std::size_t) override { return {}; }
        void suspend() override {}

    private:
        std::string path_;
        std::error_code error_;
    };

    struct Space {
        std::mutex mutex;
        std::size_t bytes = std::numeric_limits<std::size_t>::max();
    };

    class Handle : public platform::FileHandle {
    public:
        Handle(std::unique_ptr<platform::FileHandle> next, std::function<void(std::string_view)> beforeWrite,
               std::shared_ptr<Space> space)
            : next_(std::move(next)), beforeWrite_(std::move(beforeWrite)), space_(std::move(space)) {}

        void write(std::string_view bytes) override {
            if (beforeWrite_) {
                beforeWrite_(bytes);
            }
            std::size_t length = 0;
            {
                std::lock_guard lock(space_->mutex);
                length = std::min(bytes.size(), space_->bytes);
                space_->bytes -= length;
            }
            next_->write(bytes.substr(0, length));
            if (length < bytes.size()) {
                throw platform::FileHandleException(
                    std::error_code(ENOSPC, std::generic_category()).message(), length);
            }
        }
        void seekToEnd() override { next_->seekToEnd(); }

    private:
        std::unique_ptr<platform::FileHandle> next_;
        std::function<void(std::string_view)> beforeWrite_;
        std::shared_ptr<Space> space_;
    };

    static std::error_code failure(const Failure& function, const std::string& path) {
        return function ? function(path) : std::error_code();
    }

    std::shared_ptr<platform::FileManager> next_;
    std::shared_ptr<Space> space_ = std::make_shared<Space>();
};

#pragma once

#include "FileManager.h"

namespace platform {

// The file system through system calls: one per question where one suffices.
class LinuxFileManager : public FileManager {
public:
    bool fileExists(const std::string& path) override;
    bool isDirectory(const std::string& path) override;
    std::optional<PropertyList::Date> modificationDate(const std::string& path) override;
    bool isExecutableFile(const std::string& path) override;
    std::optional<std::string> destinationOfSymbolicLink(const std::string& path) override;
    std::unique_ptr<Folder> openFolder(const std::string& path) override;
    FileContents contents(const std::string& path, std::size_t limit) override;
    std::error_code createDirectory(const std::string& path) override;
    std::error_code createPrivateDirectory(const std::string& path) override;
    std::error_code removeItem(const std::string& path) override;
    std::error_code moveItem(const std::string& from, const std::string& to) override;
    std::error_code copyItem(const std::string& from, const std::string& to) override;
    std::error_code writeAtomically(const std::string& path, std::string_view bytes) override;
    std::unique_ptr<FileHandle> openForWriting(const std::string& path) override;
};

} // namespace platform

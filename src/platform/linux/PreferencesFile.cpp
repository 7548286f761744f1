#include "PreferencesFile.h"

#include "DamagedFile.h"
#include "Exception.h"
#include "FileDescriptor.h"
#include "FolderLock.h"
#include "Platform.h"
#include "PropertyListSerialization.h"

#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {

void throwOn(const std::error_code& error) {
    if (error) {
        throw Exception("NSFileHandleOperationException", error.message());
    }
}

} // namespace

PreferencesFile::PreferencesFile(std::string folder, const std::string& name)
    : folder_(std::move(folder)), path_(folder_ + "/" + name) {}

std::optional<PropertyList> PreferencesFile::value(const std::string& key) {
    std::lock_guard lock(mutex_);
    refresh();
    auto found = values_.find(key);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
}

void PreferencesFile::setValue(const PropertyList& value, const std::string& key) {
    auto& fileManager = *current().fileManager;
    throwOn(fileManager.createDirectory(folder_));
    FolderLock lock(folder_);
    auto contents = fileManager.contents(path_, kPropertyListMaximumBytes);
    if (contents.exists && !contents.bytes && ::access(path_.c_str(), R_OK) != 0) {
        throwOn(lastError()); // it may well be sound, only not for us to read
    }
    auto list = contents.bytes ? parsePropertyList(*contents.bytes) : std::nullopt;
    bool isSound = list && list->dictionary();
    auto values = isSound ? std::get<PropertyList::Dictionary>(std::move(*list).takeValue())
                          : PropertyList::Dictionary();
    values.insert_or_assign(key, value);
    auto bytes = serializePropertyList(PropertyList(std::move(values)), PropertyListFormat::Binary);
    if (contents.exists && !isSound) {
        replaceDamagedFile(path_, bytes);
    } else {
        throwOn(fileManager.writeAtomically(path_, bytes));
    }
}

bool PreferencesFile::Stamp::operator==(const Stamp& other) const {
    return device == other.device && inode == other.inode && size == other.size &&
           modified.tv_sec == other.modified.tv_sec && modified.tv_nsec == other.modified.tv_nsec;
}

// A file that changes twice within one tick of the file system's clock, the second time with a recycled
// inode, has one stamp for two contents. Once the coarsest clock (two seconds) has gone on, it cannot.
bool PreferencesFile::Stamp::isSettled() const {
    constexpr std::time_t kTick = 2;
    return std::time(nullptr) - modified.tv_sec > kTick;
}

std::optional<PreferencesFile::Stamp> PreferencesFile::stamp() const {
    struct stat status {};
    if (::stat(path_.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return Stamp{status.st_dev, status.st_ino, status.st_size, status.st_mtim};
}

void PreferencesFile::refresh() {
    // Taken before the file is read: if it changes in between, the next read finds another stamp.
    auto now = stamp();
    if (isTrusted_ && now == stamp_) {
        return;
    }
    values_ = now ? dictionaryWithContentsOfFile(path_).value_or(PropertyList::Dictionary())
                  : PropertyList::Dictionary();
    isTrusted_ = !now || now->isSettled();
    stamp_ = now;
}

} // namespace platform

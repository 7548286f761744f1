#include "SecretText.h"

#include <cstring>
#include <new>
#include <sys/mman.h>

namespace platform {

SecretText::SecretText(std::string& source) : length_(source.size()) {
    void* pages = ::mmap(nullptr, length_ + 1, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    // NOLINTNEXTLINE(*-pro-type-cstyle-cast, performance-no-int-to-ptr): the system's macro
    if (pages == MAP_FAILED) {
        platform::wipe(source);
        throw std::bad_alloc();
    }
    ::mlock(pages, length_ + 1);
    ::madvise(pages, length_ + 1, MADV_DONTDUMP);
    text_ = static_cast<char*>(pages);
    std::memcpy(text_, source.data(), length_);
    platform::wipe(source);
}

SecretText::~SecretText() {
    if (text_) {
        wipe();
        ::munmap(text_, length_ + 1);
    }
}

void wipe(std::string& text) {
    text.resize(text.capacity());
    ::explicit_bzero(text.data(), text.size());
    text.clear();
}

} // namespace platform

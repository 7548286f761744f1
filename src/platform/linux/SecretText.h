#pragma once

#include <cstring>
#include <memory>
#include <string_view>

namespace platform {

// A copy of a text that nobody is to find in memory later: it stays in one place, which is overwritten when
// the text has been used or this object goes.
class SecretText {
public:
    explicit SecretText(std::string_view original)
        : length_(original.size()), text_(std::make_unique<char[]>(original.size() + 1)) {
        std::memcpy(text_.get(), original.data(), length_);
    }
    ~SecretText() { wipe(); }
    SecretText(const SecretText&) = delete;
    SecretText& operator=(const SecretText&) = delete;

    // With a zero at the end.
    const char* text() const { return text_.get(); }

    void wipe() { ::explicit_bzero(text_.get(), length_); }

private:
    std::size_t length_; // without the zero at the end
    std::unique_ptr<char[]> text_;
};

} // namespace platform

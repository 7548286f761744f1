#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

namespace platform {

// A text that nobody is to find in memory, a core dump or swap space: there is one of it, on pages of its own
// that are left out of both where the system allows that, and it is overwritten when it has been used or this
// object goes. One thread at a time.
class SecretText {
public:
    // Takes the text over; nothing of it is left in `source`, in what was kept for it either.
    explicit SecretText(std::string& source);
    SecretText(SecretText&& other) noexcept
        : text_(std::exchange(other.text_, nullptr)), length_(std::exchange(other.length_, 0)) {}
    ~SecretText();
    SecretText(const SecretText&) = delete;
    SecretText& operator=(const SecretText&) = delete;
    SecretText& operator=(SecretText&&) = delete;

    // Zeros once it has been wiped; a zero follows it in any case.
    std::string_view view() const { return {text_, length_}; }

    void wipe() { ::explicit_bzero(text_, length_); }

private:
    char* text_;
    std::size_t length_; // without the zero at the end
};

// Overwrites the text, and what was kept for it.
void wipe(std::string& text);

} // namespace platform

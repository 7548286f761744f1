#pragma once

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string_view>
#include <unistd.h>

namespace platform {

// Text of limited length, put together by what a signal handler may call. What does not fit is left out.
class SignalSafeText {
public:
    SignalSafeText& operator<<(std::string_view text) {
        for (char character : text) {
            if (length_ < kMaximumLength) {
                text_[length_++] = character;
            }
        }
        return *this;
    }

    // At least `digits` of them, zeros in front.
    SignalSafeText& number(std::uint64_t value, std::size_t digits = 1, unsigned base = 10) {
        std::array<char, 20> reversed{}; // the longest number
        std::size_t count = 0;
        for (; (value > 0 || count < digits) && count < reversed.size(); value /= base) {
            reversed[count++] = "0123456789abcdef"[value % base];
        }
        while (count > 0) {
            *this << std::string_view(&reversed[--count], 1);
        }
        return *this;
    }

    SignalSafeText& address(const void* pointer) {
        *this << "0x";
        return number(reinterpret_cast<std::uintptr_t>(pointer), 16, 16);
    }

    // A moment in UTC, from 1970 on: the date as YYYY-MM-DD, then the time of the day with what is to stand
    // between.
    SignalSafeText& moment(std::time_t seconds, std::string_view dateFromTime,
                           std::string_view hourFromMinute) {
        constexpr std::time_t kDay = 86400;
        constexpr std::time_t kHour = 3600;
        constexpr std::time_t kMinute = 60;
        // Years begin in March here, so that a leap day is the last of its year.
        constexpr std::time_t kDaysFromYearZero = 719468;
        constexpr std::time_t kDaysOf400Years = 146097;
        const auto days = seconds / kDay + kDaysFromYearZero;
        const auto day = days % kDaysOf400Years;
        const auto year = (day - day / 1460 + day / 36524 - day / 146096) / 365;
        const auto dayOfYear = day - (365 * year + year / 4 - year / 100);
        const auto month = (5 * dayOfYear + 2) / 153; // 0 is March
        const auto rest = seconds % kDay;
        const auto unsignedNumber = [this](std::time_t value, std::size_t digits) {
            number(static_cast<std::uint64_t>(value), digits);
        };
        unsignedNumber(year + days / kDaysOf400Years * 400 + (month >= 10 ? 1 : 0), 4);
        *this << "-";
        unsignedNumber(month < 10 ? month + 3 : month - 9, 2);
        *this << "-";
        unsignedNumber(dayOfYear - (153 * month + 2) / 5 + 1, 2);
        *this << dateFromTime;
        unsignedNumber(rest / kHour, 2);
        *this << hourFromMinute;
        unsignedNumber(rest % kHour / kMinute, 2);
        *this << hourFromMinute;
        unsignedNumber(rest % kMinute, 2);
        return *this;
    }

    const char* zeroTerminated() const { return text_.data(); } // the last character stays zero

    void writeTo(int file) const {
        for (std::size_t written = 0; written < length_;) {
            const auto count = ::write(file, &text_[written], length_ - written);
            if (count < 0 && errno != EINTR) {
                return;
            }
            written += count > 0 ? static_cast<std::size_t>(count) : 0;
        }
    }

private:
    static constexpr std::size_t kMaximumLength = 1023;
    std::array<char, kMaximumLength + 1> text_{};
    std::size_t length_ = 0;
};

} // namespace platform

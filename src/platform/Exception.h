#pragma once

#include <exception>
#include <string>
#include <utility>

namespace platform {

// What a platform service throws when it cannot do what it was asked: a name that stays the same for
// one kind of failure, and a reason for people. It is caught by the operation that met it and never
// reaches a caller of the support library.
class Exception : public std::exception {
public:
    Exception(std::string name, std::string reason) : name_(std::move(name)), reason_(std::move(reason)) {}

    const std::string& name() const noexcept { return name_; }
    const std::string& reason() const noexcept { return reason_; }
    const char* what() const noexcept override { return reason_.c_str(); }

private:
    std::string name_;
    std::string reason_;
};

} // namespace platform

#pragma once

#include <stdexcept>

// What the helper does not do, with the reason as one sentence without its full stop.
class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

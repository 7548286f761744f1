#pragma once

#include <exception>
#include <string>
#include <typeinfo>

// What the program's catch sites do with the exception they caught. Any thread.
class VTException {
public:
    VTException() = delete;

    // Logs and prints the exception; `method` is the signature text of the operation that caught it, as
    // in "-[AppController populateData]". Returns the message. An exception that no platform service
    // threw goes by the name of its type. Without memory for the message it is empty, and nothing is logged.
    static std::string logException(const std::exception& exception, const char* method) noexcept;

    // Did a call to another process take too long?
    static bool didTimeout(const std::exception& exception);

    // The type's name as the source writes it.
    static std::string nameOfType(const std::type_info& type);
};

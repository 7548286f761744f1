#include "VTException.h"

#include "Exception.h"
#include "Format.h"
#include "VTLog.h"

#include <cstdlib>
#include <cxxabi.h>
#include <memory>
#include <new>

std::string VTException::logException(const std::exception& exception, const char* method) noexcept try {
    const auto* known = dynamic_cast<const platform::Exception*>(&exception);
    const auto name = known ? known->name() : nameOfType(typeid(exception));
    auto message = format("Exception in %s. %@ - %@.", method, name, exception.what());
    VTLog::appendLogAndPrint(message);
    return message;
} catch (const std::bad_alloc&) {
    return {};
}

bool VTException::didTimeout(const std::exception& exception) {
    const auto* known = dynamic_cast<const platform::Exception*>(&exception);
    return known && known->name() == "NSPortTimeoutException";
}

std::string VTException::nameOfType(const std::type_info& type) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
    return name ? name.get() : type.name();
}

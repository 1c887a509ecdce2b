#include "qorcpp/service_name.hpp"

#include <stdexcept>
#include <string_view>

#if __has_include(<cxxabi.h>)
#include <cstdlib>
#include <cxxabi.h>
#include <memory>
#endif

namespace qor {

namespace {

std::string readable_name(const char* type_name) {
#if __has_include(<cxxabi.h>)
    constexpr int out_of_memory = -1;
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> readable(
        abi::__cxa_demangle(type_name, nullptr, nullptr, &status), &std::free);
    if (status == out_of_memory) {
        throw std::logic_error("demangled_string - not a valid object");
    }
    return readable != nullptr ? readable.get() : type_name;
#else
    return type_name;
#endif
}

} // namespace

std::string demangle(const char* type_name) {
    if (type_name == nullptr) {
        throw std::invalid_argument("cannot demnagle null argument");
    }
    std::string name = readable_name(type_name);
    for (const std::string_view prefix : {"class ", "struct "}) {
        if (name.starts_with(prefix)) {
            name.erase(0, prefix.size());
            break;
        }
    }
    return name;
}

} // namespace qor

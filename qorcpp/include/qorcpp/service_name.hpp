// The name under which a C table is published: that of its structure.
#ifndef QORCPP_SERVICE_NAME_HPP
#define QORCPP_SERVICE_NAME_HPP

#include <string>
#include <typeinfo>

#include "qorcpp/export.hpp"

namespace qor {

// Turns the compiler's run-time type name into the C++ one, without "class " or "struct " before it.
// Throws: std::invalid_argument "cannot demnagle null argument"; std::logic_error "demangled_string - not a valid
// object" when the text cannot be copied.
QORCPP_API std::string demangle(const char* type_name);

template<typename T>
std::string demangled_string() {
    return demangle(typeid(T).name());
}

template<typename T>
std::string service_name() {
    return demangled_string<T>();
}

} // namespace qor

#endif

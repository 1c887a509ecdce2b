// The text of the exception of exactly the given type that a body throws.
#ifndef TESTS_SUPPORT_THROWN_HPP
#define TESTS_SUPPORT_THROWN_HPP

#include <exception>
#include <string>
#include <typeinfo>

namespace tavi::test {

template<typename Exception, typename Body>
std::string thrown(Body&& body) {
    try {
        body();
    } catch (const std::exception& error) {
        return typeid(error) == typeid(Exception) ? error.what() : std::string("another type: ") + error.what();
    }
    return "nothing was thrown";
}

} // namespace tavi::test

#endif

// The status of an exception at a C boundary, and the test of a required argument. C++ only.
//
// These are the rungs of the standard exceptions. A library with exception types of its own puts their rungs before
// these, see qorcpp/call_frame.hpp.
//
// Thread: no state.
#ifndef QORC_EXCEPTION_STATUS_HPP
#define QORC_EXCEPTION_STATUS_HPP

#include <exception>
#include <ios>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>

#include "qorc/error_details.h"

namespace qor {

namespace detail {

// A function of its own, so that the test itself is two instructions.
[[noreturn]] inline void throw_uninitialized(const char* name) {
    throw std::invalid_argument(std::string("argument '") + name + "' was not initialized");
}

} // namespace detail

// Throws: std::invalid_argument "argument 'NAME' was not initialized" for a null pointer.
template<typename Pointer>
inline void check_argument(const Pointer& argument, const char* name) {
    if (argument == nullptr) {
        detail::throw_uninitialized(name);
    }
}

// The family is chosen by the category's identity. An error code of value 0 gives status 0, whatever was thrown.
inline std::uint32_t status_of(const std::error_code& code) noexcept {
    const auto value = static_cast<std::uint32_t>(code.value());
    if (value == 0) {
        return QOR_STATUS_OK;
    }
    if (code.category() == std::generic_category()) {
        return QOR_STATUS_FAMILY_GENERIC | value;
    }
    if (code.category() == std::iostream_category()) {
        return QOR_STATUS_FAMILY_STREAM | value;
    }
    return QOR_STATUS_FAMILY_OTHER | value;
}

// Stores the details of the exception that is being handled and returns its status. The order of the rungs matters,
// several types derive from one another. Requires: the caller is a handler.
inline std::uint32_t translate_standard_exception(qor_error_details_t** error_details) noexcept {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return qor_error_details_create(error_details, QOR_STATUS_OUT_OF_MEMORY, "memory allocation failed");
    } catch (const std::invalid_argument& error) {
        return qor_error_details_create(error_details, QOR_STATUS_INVALID_ARGUMENT, error.what());
    } catch (const std::system_error& error) {
        return qor_error_details_create(error_details, status_of(error.code()), error.what());
    } catch (const std::exception& error) {
        return qor_error_details_create(error_details, QOR_STATUS_FAILURE, error.what());
    } catch (...) {
        return qor_error_details_create(error_details, QOR_STATUS_FAILURE, "unknown error");
    }
}

} // namespace qor

#endif

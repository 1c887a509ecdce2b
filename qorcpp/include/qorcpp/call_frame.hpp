// The hinge between exceptions inside a library and statuses at its C boundary, in both directions:
//   guarded_call      around the body of a C function: any exception becomes a status and a details record;
//   rethrow_details   after a call of a foreign C function: a details record becomes an exception;
//   check_argument    the test of a required pointer, first thing in a guarded body.
//
// Thread: none of them holds any state.
#ifndef QORCPP_CALL_FRAME_HPP
#define QORCPP_CALL_FRAME_HPP

#include <ios>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>
#include <type_traits>

#if defined(_WIN32)
#include <comdef.h>
#endif

#include "qorc/error_details.h"
#include "qorcpp/errors.hpp"

namespace qor {

namespace detail {

// Apart, so that the test itself is two instructions.
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

// The ladder: to be called while an exception is handled. The order matters, several types derive from one another.
inline std::uint32_t translate_current_exception(qor_error_details_t** error_details) noexcept {
    try {
        throw;
    }
#if defined(_WIN32)
    catch (const _com_error& error) {
        return qor_error_details_create(error_details, static_cast<std::uint32_t>(error.Error()), "HRESULT error");
    }
#endif
    catch (const std::bad_alloc&) {
        return qor_error_details_create(error_details, QOR_STATUS_OUT_OF_MEMORY, "memory allocation failed");
    } catch (const runtime::not_implemented_error& error) {
        return qor_error_details_create(error_details, QOR_STATUS_NOT_IMPLEMENTED, error.what());
    } catch (const runtime::timed_out_error& error) {
        return qor_error_details_create(error_details, QOR_STATUS_TIMED_OUT, error.what());
    } catch (const runtime::file_exists_error& error) {
        return qor_error_details_create(error_details, QOR_STATUS_FILE_EXISTS, error.what());
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

// Runs `closure` and returns 0, or the status that it returns, or the status of the exception that left it. Nothing is
// stored through `error_details`, which may be null, unless an exception was thrown.
template<typename Closure>
std::uint32_t guarded_call(Closure&& closure, qor_error_details_t** error_details) noexcept {
    try {
        if constexpr (std::is_void_v<std::invoke_result_t<Closure>>) {
            closure();
            return QOR_STATUS_OK;
        } else {
            return closure();
        }
    } catch (...) {
        return translate_current_exception(error_details);
    }
}

namespace detail {

[[noreturn]] inline void throw_details(qor_error_details_t*& details) {
    // Destroys the record also when the copy of its text runs out of memory.
    struct owner {
        qor_error_details_t*& record;
        ~owner() {
            qor_error_details_destroy(record);
            record = nullptr;
        }
    } const guard{details};
    const char* const description = qor_error_details_get_description(details);
    const std::string text = description != nullptr ? description : "unknwon error";
    switch (qor_error_details_get_code(details)) {
    case QOR_STATUS_TIMED_OUT:
        throw runtime::timed_out_error(text);
    case QOR_STATUS_NOT_IMPLEMENTED:
        throw runtime::not_implemented_error("function not implemented");
    case QOR_STATUS_FILE_EXISTS:
        throw runtime::file_exists_error(text);
    case QOR_STATUS_INVALID_ARGUMENT:
        throw std::invalid_argument(text);
    default:
        throw std::runtime_error(text);
    }
}

} // namespace detail

// Throws what `details` tells, destroys it and leaves it null, also when it throws. A null record or one with code
// QOR_STATUS_INFORMATION throws nothing; code 0 does throw. On the usual path this is one test of a pointer.
inline void rethrow_details(qor_error_details_t*& details) {
    if (details == nullptr) {
        return;
    }
    if (qor_error_details_get_code(details) == QOR_STATUS_INFORMATION) {
        qor_error_details_destroy(details);
        details = nullptr;
        return;
    }
    detail::throw_details(details);
}

} // namespace qor

#endif

// The hinge between exceptions inside a library and statuses at its C boundary, in both directions:
//   guarded_call      around the body of a C function: any exception becomes a status and a details record;
//   rethrow_details   after a call of a foreign C function: a details record becomes an exception;
//   check_call        the same after a call of the C runtime, whose status counts too;
//   check_argument    the test of a required pointer, first thing in a guarded body (qorc/exception_status.hpp).
//
// Thread: none of them holds any state.
#ifndef QORCPP_CALL_FRAME_HPP
#define QORCPP_CALL_FRAME_HPP

#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>

#if defined(_WIN32)
#include <comdef.h>
#endif

#include "qorc/error_details.h"
#include "qorc/exception_status.hpp"
#include "qorcpp/errors.hpp"

namespace qor {

// The catch ladder: stores the details of the exception that is being handled and returns its status. The rungs of our
// own types come first, those of the standard types follow in qorc. Requires: the caller is a handler.
inline std::uint32_t translate_current_exception(qor_error_details_t** error_details) noexcept {
    try {
        throw;
    } catch (const runtime::status_error& error) {
        return qor_error_details_create(error_details, error.status(), error.what());
    }
#if defined(_WIN32)
    catch (const _com_error& error) {
        return qor_error_details_create(error_details, static_cast<std::uint32_t>(error.Error()), "HRESULT error");
    }
#endif
    catch (const runtime::not_implemented_error& error) {
        return qor_error_details_create(error_details, QOR_STATUS_NOT_IMPLEMENTED, error.what());
    } catch (const runtime::timed_out_error& error) {
        return qor_error_details_create(error_details, QOR_STATUS_TIMED_OUT, error.what());
    } catch (const runtime::file_exists_error& error) {
        return qor_error_details_create(error_details, QOR_STATUS_FILE_EXISTS, error.what());
    } catch (...) {
        return translate_standard_exception(error_details);
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

// After a call of the C runtime, every failure of which has a status: throws as rethrow_details, and for a status that
// came without details std::bad_alloc or runtime::status_error.
inline void check_call(std::uint32_t status, qor_error_details_t*& details) {
    rethrow_details(details);
    if (status == QOR_STATUS_OUT_OF_MEMORY) {
        throw std::bad_alloc();
    }
    if (status != QOR_STATUS_OK && status != QOR_STATUS_INFORMATION) {
        throw runtime::status_error(status, "unknwon error");
    }
}

} // namespace qor

#endif

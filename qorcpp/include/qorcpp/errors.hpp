// The exceptions that have a status of their own at a C boundary, see call_frame.hpp.
#ifndef QORCPP_ERRORS_HPP
#define QORCPP_ERRORS_HPP

#include <stdexcept>

#include "qorcpp/export.hpp"

namespace qor::runtime {

// QOR_STATUS_NOT_IMPLEMENTED.
class QORCPP_API not_implemented_error : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

// QOR_STATUS_TIMED_OUT.
class QORCPP_API timed_out_error : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

// QOR_STATUS_FILE_EXISTS.
class QORCPP_API file_exists_error : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

} // namespace qor::runtime

#endif

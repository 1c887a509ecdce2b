// A fault in a URL expression with its place: known to its users as url_parser::syntax_error.
#ifndef QOR_TAVI_EXTRACTOR_URL_SYNTAX_ERROR_HPP
#define QOR_TAVI_EXTRACTOR_URL_SYNTAX_ERROR_HPP

#include <stdexcept>
#include <string>

#include "qor_tavi_extractor/src/url/location.hpp"

namespace qor::tavi::detail {

class url_syntax_error : public std::runtime_error {
public:
    url_syntax_error(const detail::location& location, const std::string& message)
        : std::runtime_error(message), location(location) {}

    const detail::location location;
};

} // namespace qor::tavi::detail

#endif

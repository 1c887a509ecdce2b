#include "qor_tavi_extractor/src/url/driver.hpp"

#include <stdexcept>
#include <utility>

#include "qor_tavi_extractor/src/url/url_parser.hpp"
#include "qor_tavi_extractor/src/url/url_scanner.hpp"

namespace qor::tavi::detail {

driver::~driver() = default;

// A text needs no stream around it: a stream on it would be good, also when it is empty.
std::shared_ptr<url_context> driver::parse(const std::string& text) {
    tokens_.clear();
    url_scanner scanner(text);
    return run(scanner);
}

std::shared_ptr<url_context> driver::parse(std::istream& stream) {
    tokens_.clear();
    if (!stream.good() && stream.eof()) {
        throw std::invalid_argument("invalid parsing stream");
    }
    url_scanner scanner(stream);
    return run(scanner);
}

std::shared_ptr<url_context> driver::run(url_scanner& scanner) {
    scanner.set_debug(trace_scanning_);
    url_parser parser(scanner, *this);
    parser.set_debug_level(trace_parsing_ ? 1 : 0);
    if (parser.parse() != 0) {
        throw std::invalid_argument("parsing failed");
    }
    return std::make_shared<url_context>(tokens_);
}

void driver::add_source_token(const std::string& name) {
    tokens_.push_back(std::make_shared<source_token>(name));
}

void driver::add_source_token(std::uint16_t source_id, std::uint32_t instance) {
    tokens_.push_back(std::make_shared<source_token>(source_id, instance));
}

void driver::add_token(const std::string& name) {
    tokens_.push_back(std::make_shared<token>(name));
}

void driver::add_token(const std::string& name, std::shared_ptr<filter_expression> filter) {
    tokens_.push_back(std::make_shared<token>(name, std::move(filter)));
}

} // namespace qor::tavi::detail

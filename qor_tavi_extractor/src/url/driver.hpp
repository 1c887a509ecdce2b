// Turns the text of a URL expression into a url_context.
#ifndef QOR_TAVI_EXTRACTOR_URL_DRIVER_HPP
#define QOR_TAVI_EXTRACTOR_URL_DRIVER_HPP

#include <cstdint>
#include <istream>
#include <memory>
#include <string>
#include <vector>

#include "qor_tavi_extractor/src/url/token.hpp"
#include "qor_tavi_extractor/src/url/url_context.hpp"

namespace qor::tavi::detail {

class url_scanner;

// May parse one expression after another. Thread: one at a time.
class driver {
public:
    explicit driver(bool trace_scanning = false, bool trace_parsing = false) noexcept
        : trace_scanning_(trace_scanning), trace_parsing_(trace_parsing) {}
    driver(const driver&) = delete;
    driver& operator=(const driver&) = delete;
    virtual ~driver();

    // Throws: std::invalid_argument "1.9-15: syntax error, unexpected name with space, expecting name" and its like;
    // "invalid parsing stream" for a stream that is at its end already; std::out_of_range "stoi argument out of range".
    std::shared_ptr<url_context> parse(const std::string& text);
    std::shared_ptr<url_context> parse(std::istream& stream);

    // What the parser found, in order.
    void add_source_token(const std::string& name);
    void add_source_token(std::uint16_t source_id, std::uint32_t instance);
    void add_token(const std::string& name);
    void add_token(const std::string& name, std::shared_ptr<filter_expression> filter);

private:
    std::shared_ptr<url_context> run(url_scanner& scanner);

    bool trace_scanning_;
    bool trace_parsing_;
    std::vector<std::shared_ptr<token>> tokens_;
};

} // namespace qor::tavi::detail

#endif

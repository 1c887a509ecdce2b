// What a reader has to say of a text, and where.
#ifndef PLUGINS_DBC_PARSER_DIAGNOSTICS_HPP
#define PLUGINS_DBC_PARSER_DIAGNOSTICS_HPP

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace qor::dbc_parser {

// A place in a text: both count from 1, columns in bytes.
struct place {
    std::uint32_t line = 1;
    std::uint32_t column = 1;

    bool operator==(const place&) const = default;
};

// Warnings go to a sink as "<name>:<line>:<column>: warning: <cause>".
class diagnostics {
public:
    using sink = std::function<void(const std::string&)>;

    // name      the description's name; empty stands for one that has none
    // warnings  where the texts go; without it no text is made
    explicit diagnostics(std::string_view name, sink warnings = nullptr)
        : name_(name.empty() ? "description" : name), warnings_(std::move(warnings)) {}

    // cause  called for the text, when somebody listens
    // Throws: what the sink throws.
    template<typename Cause>
    void warn(place at, Cause&& cause) const {
        if (warnings_) {
            warnings_(where(at) + "warning: " + std::string(std::forward<Cause>(cause)()));
        }
    }

    // Throws: std::runtime_error "<name>:<line>:<column>: <cause>".
    [[noreturn]] void refuse(place at, const std::string& cause) const { throw std::runtime_error(where(at) + cause); }

private:
    std::string where(place at) const {
        return name_ + ':' + std::to_string(at.line) + ':' + std::to_string(at.column) + ": ";
    }

    std::string name_;
    sink warnings_;
};

} // namespace qor::dbc_parser

#endif

// One dot-separated part of a URL expression as it was written.
#ifndef QOR_TAVI_EXTRACTOR_URL_TOKEN_HPP
#define QOR_TAVI_EXTRACTOR_URL_TOKEN_HPP

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "qor_tavi_extractor/src/url/filter_expression.hpp"

namespace qor::tavi::detail {

class token {
public:
    explicit token(std::string name) : name_(std::move(name)) {}
    token(std::string name, std::shared_ptr<filter_expression> filter)
        : name_(std::move(name)), filter_(std::move(filter)) {}
    token(const token&) = delete;
    token& operator=(const token&) = delete;
    virtual ~token() = default;

    const std::string& name() const noexcept { return name_; }
    // Null when the part has no bracket.
    const std::shared_ptr<filter_expression>& filter() const noexcept { return filter_; }

private:
    std::string name_;
    std::shared_ptr<filter_expression> filter_;
};

// The first part: names the source.
class source_token final : public token {
public:
    // By name: both numbers are 0.
    explicit source_token(std::string name) : token(std::move(name)) {}
    // By number: the name becomes "10#2".
    source_token(std::uint16_t source_id, std::uint32_t instance)
        : token(std::to_string(source_id) + "#" + std::to_string(instance)), source_id_(source_id),
          instance_(instance) {}

    std::uint16_t source_id() const noexcept { return source_id_; }
    std::uint32_t instance() const noexcept { return instance_; }

private:
    std::uint16_t source_id_ = 0;
    std::uint32_t instance_ = 0;
};

} // namespace qor::tavi::detail

#endif

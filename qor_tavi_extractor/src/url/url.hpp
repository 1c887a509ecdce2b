// A URL expression whose filters were evaluated: only names and plain indices are left.
#ifndef QOR_TAVI_EXTRACTOR_URL_URL_HPP
#define QOR_TAVI_EXTRACTOR_URL_URL_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qor::tavi::detail {

class url_token {
public:
    explicit url_token(std::string name) : name_(std::move(name)) {}
    url_token(std::string name, std::uint64_t index) : name_(std::move(name)), index_(index), has_index_(true) {}
    url_token(const url_token&) = delete;
    url_token& operator=(const url_token&) = delete;
    virtual ~url_token() = default;

    const std::string& name() const noexcept { return name_; }
    // 0 when there is none.
    std::uint64_t index() const noexcept { return index_; }
    bool has_index() const noexcept { return has_index_; }

private:
    std::string name_;
    std::uint64_t index_ = 0;
    bool has_index_ = false;
};

// The first part. A source that was named by text has the numbers 0 and 0, and so the name "0#0".
class url_source_token final : public url_token {
public:
    url_source_token(std::uint32_t source_id, std::uint32_t instance)
        : url_token(std::to_string(source_id) + "#" + std::to_string(instance)), source_id_(source_id),
          instance_(instance) {}
    // For a first part that names no source.
    explicit url_source_token(std::string name) : url_token(std::move(name)) {}

    std::uint32_t source_id() const noexcept { return source_id_; }
    std::uint32_t instance() const noexcept { return instance_; }

private:
    std::uint32_t source_id_ = 0;
    std::uint32_t instance_ = 0;
};

class url {
public:
    explicit url(std::vector<std::shared_ptr<url_token>> tokens) : tokens_(std::move(tokens)) {}

    std::size_t size() const noexcept { return tokens_.size(); }
    // Requires: `index` below size().
    const url_token& token(std::size_t index) const noexcept { return *tokens_[index]; }

private:
    std::vector<std::shared_ptr<url_token>> tokens_;
};

} // namespace qor::tavi::detail

#endif

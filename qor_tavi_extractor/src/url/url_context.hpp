// A URL expression as it was written, token by token. Token 0 is the source, token 1 the view, the rest the levels.
#ifndef QOR_TAVI_EXTRACTOR_URL_URL_CONTEXT_HPP
#define QOR_TAVI_EXTRACTOR_URL_URL_CONTEXT_HPP

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "qor_tavi_extractor/src/url/token.hpp"
#include "qor_tavi_extractor/src/url/url.hpp"
#include "qorc/type_node.h"

namespace qor::tavi::detail {

// Immutable; the tokens are shared with the driver that made them.
class url_context {
public:
    explicit url_context(std::vector<std::shared_ptr<token>> tokens) : tokens_(std::move(tokens)) {}

    std::size_t size() const noexcept { return tokens_.size(); }
    // Requires: `index` below size().
    const token& at(std::size_t index) const noexcept { return *tokens_[index]; }

    // Token 0. Throws: std::runtime_error "the first token in a type URL expression must identify a data source".
    const source_token& source() const;

    // The names of all tokens but the source, joined by '.': the path that the catalogue knows.
    std::string location_path() const;

    // Evaluates the filter of each level against its node, the view first. A token behind the last node keeps its place
    // without an index. Throws what a filter throws.
    std::shared_ptr<url> resolve(const qor_type_node_sequence_t& hierarchy) const;

private:
    std::vector<std::shared_ptr<token>> tokens_;
};

} // namespace qor::tavi::detail

#endif

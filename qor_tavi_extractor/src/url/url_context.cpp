#include "qor_tavi_extractor/src/url/url_context.hpp"

#include <stdexcept>

namespace qor::tavi::detail {

const source_token& url_context::source() const {
    const auto* const source = tokens_.empty() ? nullptr : dynamic_cast<const source_token*>(tokens_.front().get());
    if (source == nullptr) {
        throw std::runtime_error("the first token in a type URL expression must identify a data source");
    }
    return *source;
}

std::string url_context::location_path() const {
    std::string path;
    for (std::size_t index = 1; index < tokens_.size(); ++index) {
        if (index > 1) {
            path += '.';
        }
        path += tokens_[index]->name();
    }
    return path;
}

std::shared_ptr<url> url_context::resolve(const qor_type_node_sequence_t& hierarchy) const {
    std::vector<std::shared_ptr<url_token>> resolved;
    resolved.reserve(tokens_.size());
    for (std::size_t index = 0; index < tokens_.size(); ++index) {
        const token& written = *tokens_[index];
        if (index == 0) {
            const auto* const source = dynamic_cast<const source_token*>(&written);
            resolved.push_back(source != nullptr
                                   ? std::make_shared<url_source_token>(source->source_id(), source->instance())
                                   : std::make_shared<url_source_token>(written.name()));
        } else if (written.filter() && hierarchy.nodes != nullptr && index - 1 < hierarchy.count) {
            const std::uint64_t element = written.filter()->evaluate(hierarchy.nodes[index - 1]);
            resolved.push_back(std::make_shared<url_token>(written.name(), element));
        } else {
            resolved.push_back(std::make_shared<url_token>(written.name()));
        }
    }
    return std::make_shared<url>(std::move(resolved));
}

} // namespace qor::tavi::detail

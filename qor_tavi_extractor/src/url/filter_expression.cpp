#include "qor_tavi_extractor/src/url/filter_expression.hpp"

#include <optional>
#include <stdexcept>

namespace qor::tavi::detail {

namespace {

// Nothing for kinds that cannot be arrays.
std::optional<std::uint32_t> element_count_of(const qor_type_node_t& node) noexcept {
    switch (node.kind) {
    case QOR_TYPE_NODE_OBJECT:
        return node.object.element_count;
    case QOR_TYPE_NODE_GROUP:
        return node.group.element_count;
    case QOR_TYPE_NODE_SIGNAL:
        return node.signal.element_count;
    default:
        return std::nullopt;
    }
}

std::string name_of(const qor_type_node_t& node) {
    return node.name != nullptr ? node.name : "";
}

} // namespace

filter_expression::~filter_expression() = default;

void filter_expression::validate(const qor_type_node_t& node, std::uint64_t index) const {
    if (node.kind == QOR_TYPE_NODE_VIEW) {
        throw std::runtime_error("invalid filter expression, a view type '" + name_of(node) +
                                 "' cannot be used as array type");
    }
    const auto count = element_count_of(node);
    if (!count) {
        return;
    }
    if (*count < 2) {
        throw std::runtime_error("invalid filter expression, the type '" + name_of(node) +
                                 "' cannot be used as array type");
    }
    if (*count < index) {
        throw std::runtime_error("index was outside the bounds of the '" + name_of(node) +
                                 "' array, subscript must be smaller than " + std::to_string(*count));
    }
}

std::uint64_t filter_expression_constant::evaluate(const qor_type_node_t& node) const {
    const auto index = static_cast<std::uint64_t>(index_);
    validate(node, index);
    return index;
}

std::uint64_t filter_expression_function::evaluate(const qor_type_node_t& node) const {
    std::uint64_t index = 0;
    if (name_ == "last") {
        // In 32 bits: a count of 0 wraps, and validate then refuses the node.
        const auto count = element_count_of(node);
        index = count ? static_cast<std::uint32_t>(*count - 1) : 0;
    } else if (name_ != "first") {
        throw std::runtime_error("invalid filter expression, function '" + name_ + "' is not supported");
    }
    validate(node, index);
    return index;
}

} // namespace qor::tavi::detail

#include "qor_tavi_extractor/src/url/filter_expression.hpp"

#include <stdexcept>

#include "qorc/text.hpp"
#include "qorcpp/node_layout.hpp"

namespace qor::tavi::detail {

namespace {

std::string name_of(const qor_type_node_t& node) {
    return std::string(text_of(node.name));
}

} // namespace

filter_expression::~filter_expression() = default;

void filter_expression::validate(const qor_type_node_t& node, std::uint64_t index) const {
    if (kind_of(node) == node_kind::view) {
        throw std::runtime_error("invalid filter expression, a view type '" + name_of(node) +
                                 "' cannot be used as array type");
    }
    const auto layout = layout_of_node(node);
    if (!layout) {
        return;
    }
    if (layout->element_count < 2) {
        throw std::runtime_error("invalid filter expression, the type '" + name_of(node) +
                                 "' cannot be used as array type");
    }
    if (layout->element_count < index) {
        throw std::runtime_error("index was outside the bounds of the '" + name_of(node) +
                                 "' array, subscript must be smaller than " + std::to_string(layout->element_count));
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
        const auto layout = layout_of_node(node);
        index = layout ? layout->element_count - 1 : 0;
    } else if (name_ != "first") {
        throw std::runtime_error("invalid filter expression, function '" + name_ + "' is not supported");
    }
    validate(node, index);
    return index;
}

} // namespace qor::tavi::detail

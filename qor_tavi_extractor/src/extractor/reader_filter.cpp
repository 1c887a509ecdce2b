// All subscriptions as one predicate on source id, instance, cycle and address, for the host's reader.
#include <algorithm>
#include <cstdio>
#include <tuple>

#include "qor_tavi_extractor/src/extractor/extractor.hpp"
#include "qorcpp/node_layout.hpp"

namespace qor::tavi::detail {

namespace {

struct filter_term {
    uint16_t source_id;
    uint32_t instance;
    uint32_t cycle;
    uint64_t address;

    bool operator==(const filter_term&) const = default;

    bool operator<(const filter_term& other) const noexcept {
        return std::tie(source_id, instance, cycle, address) <
               std::tie(other.source_id, other.instance, other.cycle, other.address);
    }
};

// A subscription without cycle and address, and the node by which the storage knows both.
struct subscribed_node {
    filter_term term;
    uint64_t node;
};

filter_term completed(filter_term term, const qor_type_node_sequence_t& hierarchy) {
    for (uint64_t level = 0; level < hierarchy.count; ++level) {
        const qor_type_node_t& node = hierarchy.nodes[level];
        switch (kind_of(node)) {
        case node_kind::view:
            term.cycle = node.view.cycle != 0 ? node.view.cycle : term.cycle;
            break;
        case node_kind::object:
            term.address = node.object.address;
            break;
        case node_kind::group:
        case node_kind::signal:
            break;
        }
    }
    return term;
}

std::string upper_case_hexadecimal(uint64_t value) {
    char text[17];
    const int length = std::snprintf(text, sizeof(text), "%llX", static_cast<unsigned long long>(value));
    return {text, static_cast<size_t>(length)};
}

std::string text_of(const filter_term& term) {
    std::string text =
        "(SourceId = " + std::to_string(term.source_id) + " AND Instance = " + std::to_string(term.instance);
    if (term.cycle != 0) {
        text += " AND Cycle = " + std::to_string(term.cycle);
    }
    if (term.address != 0) {
        text += " AND Address = 0x" + upper_case_hexadecimal(term.address);
    }
    return text + ")";
}

} // namespace

// Terms stand in ascending order of source id, instance, cycle, address, so that equal subscriptions give equal texts.
std::string extractor::get_reader_filter_expression() const {
    std::vector<subscribed_node> nodes;
    nodes.reserve(subscriptions.size());
    for (const auto& [handle, record] : subscriptions) {
        nodes.push_back({{record.source_id, record.instance, 0, 0}, record.node});
    }
    std::vector<filter_term> terms;
    terms.reserve(nodes.size());
    for (const auto& [term, node] : nodes) {
        terms.push_back(completed(term, *signal_storage->get_node_hierarchy(node)));
    }
    std::sort(terms.begin(), terms.end());
    terms.erase(std::unique(terms.begin(), terms.end()), terms.end());
    std::string text;
    for (const filter_term& term : terms) {
        text += text.empty() ? "" : " OR ";
        text += text_of(term);
    }
    return text;
}

} // namespace qor::tavi::detail

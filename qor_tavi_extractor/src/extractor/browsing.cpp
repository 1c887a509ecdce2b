// What a source offers: its nodes, and the schema of any URL expression.
#include <stdexcept>

#include "introspection/generator/json_printer.hpp"
#include "qor_tavi_extractor/src/extractor/extractor.hpp"
#include "qor_tavi_extractor/src/type_parser/type_parser.hpp"
#include "qor_tavi_extractor/src/url/driver.hpp"
#include "qor_tavi_extractor/src/url/url.hpp"
#include "qor_tavi_extractor/src/url/url_context.hpp"
#include "qorcpp/source_key.hpp"

namespace qor::tavi::detail {

runtime::type_node_sequence_holder extractor::get_root_nodes(uint64_t source_key) const {
    const auto source = sources.find(source_key);
    if (source == sources.end()) {
        return runtime::make_sequence(0);
    }
    const std::vector<uint64_t> description_ids = source->second.description_ids;
    std::vector<runtime::type_node_holder> nodes;
    for (const uint64_t id : description_ids) {
        const auto roots = signal_storage->get_root_nodes(id);
        for (uint64_t index = 0; index < roots->count; ++index) {
            nodes.push_back(runtime::clone_node(&roots->nodes[index]));
        }
    }
    return runtime::make_sequence(nodes);
}

runtime::type_node_sequence_holder extractor::get_root_nodes(const extensibility::data_source& source) const {
    return get_root_nodes(source_key(source.source_id, source.instance));
}

runtime::type_node_sequence_holder extractor::get_root_nodes(const std::string& source_name) const {
    return get_root_nodes(resolve_source_name(source_name));
}

runtime::type_node_sequence_holder extractor::get_node_children(const qor_type_node_t* node) const {
    return signal_storage->get_node_children(node);
}

const source_record& extractor::find_source(const url_context& context) const {
    const source_token& token = context.source();
    if (token.source_id() != 0) {
        const auto found = sources.find(source_key(token.source_id(), token.instance()));
        if (found == sources.end()) {
            throw std::invalid_argument("the data source identified with source id '" +
                                        std::to_string(token.source_id()) + "' and instance number '" +
                                        std::to_string(token.instance()) + "' was not found");
        }
        return found->second;
    }
    const auto found = sources.find(resolve_source_name(token.name()));
    if (found == sources.end()) {
        throw std::invalid_argument("the data source identified with name '" + token.name() + "' was not found");
    }
    return found->second;
}

std::string extractor::schema_of_description(uint64_t description_id, const url_context& context,
                                             const std::string& path, bool lenient, bool annotate,
                                             bool print_option) const {
    const auto node = signal_storage->find_node(description_id, path);
    if (!node) {
        throw std::invalid_argument("the signal storage gave no node for path '" + path + "'");
    }
    const auto hierarchy = signal_storage->get_node_hierarchy(node->id);
    const auto url = context.resolve(*hierarchy);
    const auto subtree = signal_storage->get_node_subtree(node->id);
    const auto type = type_parser::parse_schema(logger, *url, *hierarchy, *subtree, lenient, annotate);
    return introspection::generator::json_printer::print(type, print_option);
}

std::string extractor::get_type_schema_by_url(const std::string& url_expression, bool lenient, bool annotate,
                                              bool print_option) {
    const std::lock_guard lock(mutex);
    const auto context = driver().parse(url_expression);
    const std::vector<uint64_t> description_ids = find_source(*context).description_ids;
    const std::string path = context->location_path();
    std::string last_error = "failed to access schema with URL '" + url_expression + "'";
    for (size_t place = 0; place < description_ids.size(); ++place) {
        place = signal_storage->find_candidate(description_ids, place, path);
        try {
            return schema_of_description(description_ids[place], *context, path, lenient, annotate, print_option);
        } catch (const std::invalid_argument& error) {
            if (description_ids.size() == 1) {
                throw;
            }
            last_error = error.what();
        }
    }
    throw std::invalid_argument(last_error);
}

} // namespace qor::tavi::detail

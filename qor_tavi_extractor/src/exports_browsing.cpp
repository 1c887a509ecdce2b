#include "qor_tavi_extractor/src/boundary.hpp"

using namespace qor;
using namespace qor::tavi::detail;

uint32_t qor_tavi_extractor_get_root_nodes(qor_tavi_extractor_t* handle, const qor_data_source_t* data_source,
                                           qor_type_node_sequence_t** nodes, qor_error_details_t** error_details) {
    return guarded_call(
        [&] {
            check_argument(handle, "handle");
            check_argument(data_source, "data_source");
            check_argument(nodes, "nodes");
            *nodes = handle->object->get_root_nodes(*data_source).release();
        },
        error_details);
}

uint32_t qor_tavi_extractor_get_root_nodes_by_source_name(qor_tavi_extractor_t* handle, const char* data_source_name,
                                                          qor_type_node_sequence_t** nodes,
                                                          qor_error_details_t** error_details) {
    return guarded_call(
        [&] {
            check_argument(handle, "handle");
            check_argument(data_source_name, "data_source_name");
            check_argument(nodes, "nodes");
            *nodes = handle->object->get_root_nodes(std::string(data_source_name)).release();
        },
        error_details);
}

uint32_t qor_tavi_extractor_get_node_children(qor_tavi_extractor_t* handle, const qor_type_node_t* node,
                                              qor_type_node_sequence_t** nodes, qor_error_details_t** error_details) {
    return guarded_call(
        [&] {
            check_argument(handle, "handle");
            check_argument(nodes, "nodes");
            *nodes = handle->object->get_node_children(node).release();
        },
        error_details);
}

uint32_t qor_tavi_extractor_get_type_schema_by_url(qor_tavi_extractor_t* handle, const char* url_expression,
                                                   bool lenient, bool annotate, bool print_option, char* buffer,
                                                   size_t* size, qor_error_details_t** error_details) {
    return guarded_call(
        [&] {
            check_argument(handle, "handle");
            check_argument(url_expression, "url_expression");
            check_argument(size, "size");
            return return_text(handle->object->get_type_schema_by_url(url_expression, lenient, annotate, print_option),
                               buffer, size);
        },
        error_details);
}

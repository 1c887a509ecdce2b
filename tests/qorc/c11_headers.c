/* What only a C compiler can tell of the records. */
#include "qor_tavi_extractor/qor_tavi_extractor.h"
#include "qorc/extensibility/data_description_parser.h"
#include "qorc/extensibility/data_processor.h"
#include "qorc/filesystem.h"

_Static_assert(sizeof(qor_type_node_t) == 424, "");
_Static_assert(offsetof(qor_type_node_t, signal) + offsetof(qor_signal_node_t, numerator_x2) == 320, "");
_Static_assert(offsetof(qor_type_node_t, signal) + offsetof(qor_signal_node_t, signal_suffix_length) == 408, "");
_Static_assert(sizeof(qor_data_source_t) == 589 && sizeof(qor_data_description_t) == 271, "");
_Static_assert(sizeof(qor_data_description_content_t) == 287 && sizeof(qor_data_source_provider_t) == 48, "");
_Static_assert(sizeof(qor_package_t) == 63 && offsetof(qor_package_t, payload_size) == 55, "");
_Static_assert(sizeof(qor_dynamic_data_t) == 32 && offsetof(qor_dynamic_data_t, sequence) == 16, "");
_Static_assert(sizeof(qor_data_description_file_format_t) == 32 && sizeof(qor_data_processor_format_t) == 32, "");
_Static_assert(offsetof(qor_filesystem_t, close) == 17 * sizeof(void*), "");
_Static_assert(offsetof(qor_filesystem_t, context) == 18 * sizeof(void*), "");

int c_host_reads_a_node(const qor_type_node_t* node);

/* A name that the C++ tests call: the record as C sees it holds what C++ put there. */
int c_host_reads_a_node(const qor_type_node_t* node) {
    return node->kind == QOR_TYPE_NODE_SIGNAL && node->signal.bit_length == 12 && node->signal.byte_order == 2 &&
           node->signal.denominator_x0 == 4.0;
}

/*
 * A plug-in in plain C: the parser of ../line_parser without the C++ headers of the SDK, for descriptions of type
 * "c-lines". A template for plug-ins of other kinds: what is here but for parse_line is what each has, an instance,
 * a locator, its tables, three entry symbols and the metadata block.
 *
 *     Engine 192 Speed 0 16
 *     Engine 192 Torque 2 8
 */
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "qorc/extensibility/data_description_parser.h"
#include "qorc/extensibility/plugin.h"
#include "qorc/metadata.h"
#include "qorc/status.h"

QOR_LIBRARY_METADATA("data-description-parser")

/* The entry symbols; a header is not needed, since the host looks them up by name. */
QOR_EXPORT uint32_t qor_data_description_parser_create(void** handle, qor_service_locator_t* host_locator,
                                                       qor_error_details_t** error);
QOR_EXPORT void qor_data_description_parser_destroy(void* handle);
QOR_EXPORT uint32_t qor_data_description_parser_get_service_locator(void* handle, qor_service_locator_t** locator,
                                                                    qor_error_details_t** error);

/* The value of type_kind::uint64. */
enum { kind_uint64 = 0x4089, longest_line = 256, longest_name = 64, later_slots = 8 };

/* All state is in the instance: two extractors in one process have two. */
typedef struct parser {
    qor_service_locator_t locator;
} parser;

static uint32_t fail(qor_error_details_t** error, uint32_t status, const char* format, ...) {
    char text[longest_line + longest_name];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return qor_error_details_create(error, status, text);
}

/* Adds a node and stores its id; the details of a failure are in `error`, which is for the caller's caller. */
static uint32_t add_node(qor_signal_storage_context_t* context, qor_type_node_t* node, uint8_t kind, uint64_t parent,
                         const char* name, uint64_t* id, qor_error_details_t** error) {
    node->kind = kind;
    node->parent_id = parent;
    node->name = name;
    return context->add_node(context->context, node, id, error);
}

typedef struct reading {
    qor_signal_storage_context_t* context;
    const char* description_name;
    int line_number;
    uint64_t view_id;
    uint64_t object_id;
    char object_name[longest_name];
} reading;

static uint32_t parse_line(reading* state, const char* line, qor_error_details_t** error) {
    char object[longest_name];
    char signal[longest_name];
    unsigned long long address = 0;
    unsigned offset = 0;
    unsigned bits = 0;
    const int fields = sscanf(line, "%63s %llu %63s %u %u", object, &address, signal, &offset, &bits);
    qor_type_node_t node = {0};
    if (fields != 5 || bits < 1 || bits > 64 || offset > 7) {
        return fail(error, QOR_STATUS_FAILURE, "%s:%d: expected object, address, signal, byte and bits",
                    state->description_name, state->line_number);
    }
    if (strcmp(object, state->object_name) != 0) {
        qor_type_node_t object_node = {0};
        uint32_t status;
        object_node.object.address = address;
        object_node.object.element_count = 1;
        object_node.object.element_size = 16;
        status = add_node(state->context, &object_node, QOR_TYPE_NODE_OBJECT, state->view_id, object, &state->object_id,
                          error);
        if (status != QOR_STATUS_OK) {
            return status;
        }
        strcpy(state->object_name, object);
    }
    node.signal.offset = offset;
    node.signal.bit_length = bits;
    node.signal.raw_kind = kind_uint64;
    node.signal.converted_kind = kind_uint64;
    node.signal.element_count = 1;
    node.signal.element_size = 8;
    node.signal.numerator_x1 = 1;
    node.signal.denominator_x0 = 1;
    return add_node(state->context, &node, QOR_TYPE_NODE_SIGNAL, state->object_id, signal, NULL, error);
}

static uint32_t parse_buffer(void* handle, qor_signal_storage_context_t* context, uint8_t type, const void* buffer,
                             size_t size, const char* name, qor_parse_progress_t progress, void* progress_context,
                             qor_error_details_t** error) {
    const char* at = buffer;
    const char* const end = at + size;
    qor_type_node_t view = {0};
    reading state = {0};
    uint32_t status;
    (void)handle, (void)type, (void)progress, (void)progress_context;
    state.context = context;
    state.description_name = name != NULL ? name : "description";
    status = add_node(context, &view, QOR_TYPE_NODE_VIEW, 0, "Lines", &state.view_id, error);
    while (status == QOR_STATUS_OK && at != end) {
        const char* const line_end = memchr(at, '\n', (size_t)(end - at));
        const size_t length = (size_t)((line_end != NULL ? line_end : end) - at);
        char line[longest_line];
        ++state.line_number;
        if (length >= sizeof line) {
            return fail(error, QOR_STATUS_FAILURE, "%s:%d: the line is too long", state.description_name,
                        state.line_number);
        }
        memcpy(line, at, length);
        line[length] = '\0';
        status = parse_line(&state, line, error);
        at += length + (line_end != NULL ? 1 : 0);
    }
    return status;
}

static size_t get_format_count(void* handle) {
    (void)handle;
    return 1;
}

static uint32_t get_format(void* handle, size_t index, qor_data_description_file_format_t* format,
                           qor_error_details_t** error) {
    const qor_data_description_file_format_t only = {"c-lines", "Signals line by line", "clines", 0, {0}};
    (void)handle;
    if (index != 0) {
        return fail(error, QOR_STATUS_INVALID_ARGUMENT, "there is no file format %lu", (unsigned long)index);
    }
    *format = only;
    return QOR_STATUS_OK;
}

static uint8_t get_context_type(void* handle) {
    (void)handle;
    return QOR_CONTEXT_TYPE_GENERAL;
}

/* A host that was built with later forms of the tables finds null where they have more slots. */
static struct {
    qor_data_description_parser_support_t table;
    void* unused[later_slots];
} support = {{NULL, parse_buffer}, {NULL}};

static struct {
    qor_data_description_parser_format_support_t table;
    void* unused[later_slots];
} format_support = {{get_format_count, get_format, get_context_type}, {NULL}};

static void* find_table(const char* service_type) {
    if (strcmp(service_type, "qor_data_description_parser_support_t") == 0) {
        return &support;
    }
    if (strcmp(service_type, "qor_data_description_parser_format_support_t") == 0) {
        return &format_support;
    }
    return NULL;
}

static uint32_t resolve(void* context, const char* service_type, void* target, qor_error_details_t** error) {
    void* const table = find_table(service_type);
    (void)context;
    if (table == NULL) {
        return fail(error, QOR_STATUS_FAILURE, "requested service '%.100s' not found", service_type);
    }
    *(void**)target = table;
    return QOR_STATUS_OK;
}

static uint32_t can_resolve(void* context, const char* service_type, bool* result, qor_error_details_t** error) {
    (void)context, (void)error;
    *result = find_table(service_type) != NULL;
    return QOR_STATUS_OK;
}

uint32_t qor_data_description_parser_create(void** handle, qor_service_locator_t* host_locator,
                                            qor_error_details_t** error) {
    parser* const instance = malloc(sizeof *instance);
    (void)host_locator;
    if (instance == NULL) {
        return fail(error, QOR_STATUS_OUT_OF_MEMORY, "memory allocation failed");
    }
    instance->locator.resolve = resolve;
    instance->locator.can_resolve = can_resolve;
    instance->locator.context = instance;
    *handle = instance;
    return QOR_STATUS_OK;
}

void qor_data_description_parser_destroy(void* handle) {
    free(handle);
}

uint32_t qor_data_description_parser_get_service_locator(void* handle, qor_service_locator_t** locator,
                                                         qor_error_details_t** error) {
    (void)error;
    *locator = &((parser*)handle)->locator;
    return QOR_STATUS_OK;
}

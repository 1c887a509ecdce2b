// Plug-ins as they are built with headers in which a table does not have its last slot yet. TAVI_SHORT_PARSER,
// TAVI_SHORT_MATCHER and TAVI_SHORT_PROCESSOR choose the kind. The tables are declared here, since the headers of their
// kinds have all slots.
#include <cstddef>

#include "qor_plugin_sdk/plugin.hpp"

#ifdef TAVI_SHORT_PARSER

struct qor_data_description_parser_support_t {
    void* reserved_1;
    void* parse_buffer;
};

struct qor_data_description_file_format_t {
    const char* description_type;
    const char* display_name;
    const char* file_extensions;
    std::uint16_t source_id_filter;
    std::uint8_t unused[6];
};

// Without get_context_type.
struct qor_data_description_parser_format_support_t {
    std::size_t (*get_supported_file_format_count)(void*);
    std::uint32_t (*get_supported_file_format)(void*, std::size_t, qor_data_description_file_format_t*,
                                               qor_error_details_t**);
};

class short_plugin {
public:
    explicit short_plugin(qor_service_locator_t*) {
        services_.offer(qor_data_description_parser_support_t{nullptr, this});
        services_.offer(qor_data_description_parser_format_support_t{qor::sdk::value_slot<&short_plugin::count>,
                                                                     qor::sdk::slot<&short_plugin::format>});
    }
    qor::sdk::service_table& services() { return services_; }
    std::size_t count() { return 1; }
    void format(std::size_t, qor_data_description_file_format_t* format) { *format = {"short", "", "", 0, {}}; }

private:
    qor::sdk::service_table services_;
};

QOR_DATA_DESCRIPTION_PARSER(short_plugin)

#else

struct qor_type_node_sequence_t;

#ifdef TAVI_SHORT_MATCHER
#define TAVI_SUPPORT_TABLE qor_data_matcher_support_t
#else
#define TAVI_SUPPORT_TABLE qor_data_processor_support_t
#endif

// Without match or process.
struct TAVI_SUPPORT_TABLE {
    std::uint32_t (*register_type)(void*, std::uint64_t, const char*, const qor_type_node_sequence_t*, std::uint64_t,
                                   std::uint64_t, qor_error_details_t**);
    std::uint32_t (*unregister_type)(void*, std::uint64_t, qor_error_details_t**);
};

#ifdef TAVI_SHORT_MATCHER

struct qor_data_matcher_format_support_t {
    std::size_t (*get_supported_format_count)(void*);
    std::uint32_t (*get_supported_format)(void*, std::size_t, const char**, qor_error_details_t**);
};

#else

struct qor_data_processor_format_t {
    const char* format;
    std::uint32_t source_type;
    std::uint16_t source_class;
    std::uint8_t unused[18];
};

struct qor_data_processor_format_support_t {
    std::uint32_t (*get_supported_format_count)(void*, std::size_t*, qor_error_details_t**);
    std::uint32_t (*get_supported_format)(void*, std::size_t, qor_data_processor_format_t*, qor_error_details_t**);
};

struct qor_data_processor_port_support_t {
    void* get_port_count;
};

struct qor_data_processor_data_description_support_t {
    std::uint32_t (*get_data_descriptions)(void*, void*, void**, qor_error_details_t**);
};

#endif

class short_plugin {
public:
    explicit short_plugin(qor_service_locator_t*) {
        services_.offer(TAVI_SUPPORT_TABLE{qor::sdk::slot<&short_plugin::register_type>,
                                           qor::sdk::slot<&short_plugin::unregister_type>});
#ifdef TAVI_SHORT_MATCHER
        services_.offer(qor_data_matcher_format_support_t{qor::sdk::value_slot<&short_plugin::count>,
                                                          qor::sdk::slot<&short_plugin::format>});
#else
        services_.offer(qor_data_processor_format_support_t{qor::sdk::slot<&short_plugin::count>,
                                                            qor::sdk::slot<&short_plugin::format>});
        services_.offer(qor_data_processor_port_support_t{nullptr});
        services_.offer(qor_data_processor_data_description_support_t{qor::sdk::slot<&short_plugin::descriptions>});
#endif
    }
    qor::sdk::service_table& services() {
        return services_;
    }

    void register_type(std::uint64_t, const char*, const qor_type_node_sequence_t*, std::uint64_t, std::uint64_t) {}
    void unregister_type(std::uint64_t) {}
#ifdef TAVI_SHORT_MATCHER
    std::size_t count() {
        return 1;
    }
    void format(std::size_t, const char** format) {
        *format = "matched";
    }
#else
    void count(std::size_t* count) {
        *count = 1;
    }
    void format(std::size_t, qor_data_processor_format_t* format) {
        *format = {"processed", 7, 0, {}};
    }
    void descriptions(void*, void**) {}
#endif

private:
    qor::sdk::service_table services_;
};

#ifdef TAVI_SHORT_MATCHER
QOR_DATA_MATCHER(short_plugin)
#else
QOR_DATA_PROCESSOR(short_plugin)
#endif

#endif

#include "tools/tavi/check/plugin_formats.hpp"

#include <algorithm>
#include <stdexcept>

#include "qorc/extensibility/data_description_parser.h"
#include "qorc/extensibility/data_matcher.h"
#include "qorc/extensibility/data_processor.h"
#include "qorc/extensibility/recording_reader.h"
#include "qorcpp/metadata_section.hpp"

namespace tavi::tool {

namespace {

template<typename Table>
const Table& mandatory_table(const qor::plugin_handle& plugin) {
    const Table* const table = plugin.find_table<Table>();
    if (table == nullptr) {
        throw std::runtime_error("missing mandatory " + qor::service_name<Table>() + " interface");
    }
    return *table;
}

template<typename Table, typename Slot>
void check_slot(Slot slot, const char* name) {
    if (slot == nullptr) {
        throw std::runtime_error("invalid " + qor::service_name<Table>() + " interface, missing '" + name +
                                 "' function");
    }
}

// The texts that `get(index, details)` gives.
template<typename Get>
std::vector<std::string> list_formats(std::size_t count, Get get) {
    if (count > QOR_PLUGIN_MAX_FORMATS) {
        throw std::runtime_error(std::to_string(count) + " formats, where a host takes " +
                                 std::to_string(QOR_PLUGIN_MAX_FORMATS) + " at most");
    }
    std::vector<std::string> formats;
    for (std::size_t index = 0; index < count; ++index) {
        qor_error_details_t* details = nullptr;
        const char* const text = get(index, &details);
        qor::rethrow_details(details);
        if (text == nullptr || *text == '\0') {
            throw std::runtime_error("a format without text");
        }
        formats.emplace_back(text);
    }
    return formats;
}

std::vector<std::string> matcher_formats(const qor::plugin_handle& plugin) {
    mandatory_table<qor_data_matcher_support_t>(plugin);
    using table_type = qor_data_matcher_format_support_t;
    const auto& table = mandatory_table<table_type>(plugin);
    check_slot<table_type>(table.get_supported_format, "get_supported_format");
    check_slot<table_type>(table.get_supported_format_count, "get_supported_format_count");
    return list_formats(table.get_supported_format_count(plugin.instance()), [&](std::size_t index, auto** details) {
        const char* format = nullptr;
        table.get_supported_format(plugin.instance(), index, &format, details);
        return format;
    });
}

std::vector<std::string> parser_formats(const qor::plugin_handle& plugin) {
    mandatory_table<qor_data_description_parser_support_t>(plugin);
    using table_type = qor_data_description_parser_format_support_t;
    const auto& table = mandatory_table<table_type>(plugin);
    check_slot<table_type>(table.get_supported_file_format_count, "get_supported_file_format_count");
    check_slot<table_type>(table.get_supported_file_format, "get_supported_file_format");
    return list_formats(table.get_supported_file_format_count(plugin.instance()),
                        [&](std::size_t index, auto** details) {
                            qor_data_description_file_format_t format{};
                            table.get_supported_file_format(plugin.instance(), index, &format, details);
                            return format.description_type;
                        });
}

std::vector<std::string> processor_formats(const qor::plugin_handle& plugin) {
    mandatory_table<qor_data_processor_support_t>(plugin);
    using table_type = qor_data_processor_format_support_t;
    const auto& table = mandatory_table<table_type>(plugin);
    check_slot<table_type>(table.get_supported_format, "get_supported_format");
    check_slot<table_type>(table.get_supported_format_count, "get_supported_format_count");
    std::size_t count = 0;
    qor_error_details_t* failure = nullptr;
    table.get_supported_format_count(plugin.instance(), &count, &failure);
    qor::rethrow_details(failure);
    return list_formats(count, [&](std::size_t index, auto** details) {
        qor_data_processor_format_t format{};
        table.get_supported_format(plugin.instance(), index, &format, details);
        return format.format;
    });
}

// One word in lower case.
bool is_format_name(std::string_view name) {
    return std::all_of(name.begin(), name.end(), [](char character) {
        return (character >= 'a' && character <= 'z') || (character >= '0' && character <= '9') || character == '-' ||
               character == '_';
    });
}

std::vector<std::string> recording_formats(const qor::plugin_handle& plugin) {
    const auto& table = plugin.table<qor_recording_format_support_t>();
    auto names = list_formats(table.get_format_count(plugin.instance()), [&](std::size_t index, auto** details) {
        qor_recording_format_t format{};
        table.get_format(plugin.instance(), index, &format, details);
        if (*details == nullptr && (format.description == nullptr || format.suffixes == nullptr)) {
            throw std::runtime_error("a format with a description or suffixes at a null pointer");
        }
        return format.name;
    });
    for (auto name = names.begin(); name != names.end(); ++name) {
        if (!is_format_name(*name)) {
            throw std::runtime_error("the name '" + *name + "' is not one word of a to z, 0 to 9, '-' and '_'");
        }
        if (std::find(names.begin(), name, *name) != name) {
            throw std::runtime_error("two formats have the name '" + *name + "'");
        }
    }
    return names;
}

} // namespace

std::map<std::string, std::string> metadata_of(const std::string& path) {
    std::map<std::string, std::string> values;
    if (const auto section = qor::runtime::read_metadata_section(path)) {
        for (const auto& [key, value] : qor::runtime::parse_metadata(*section)) {
            values[key] = value;
        }
    }
    return values;
}

bool is_plugin_type(const std::string& type) {
    return type == "data-matcher" || type == "data-description-parser" || type == "data-processor" ||
           type == "recording-reader" || type == "signal-storage";
}

std::vector<std::string> formats_of(const qor::plugin_handle& plugin, const std::string& type) {
    return type == "data-matcher"              ? matcher_formats(plugin)
           : type == "data-description-parser" ? parser_formats(plugin)
           : type == "data-processor"          ? processor_formats(plugin)
           : type == "recording-reader"        ? recording_formats(plugin)
                                               : std::vector<std::string>{};
}

} // namespace tavi::tool

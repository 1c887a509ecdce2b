#include "tools/tavi/plugin_check.hpp"

#include <functional>
#include <map>
#include <stdexcept>

#include "host/package_builder.hpp"
#include "qorc/extensibility/data_description_parser.h"
#include "qorc/extensibility/data_matcher.h"
#include "qorc/extensibility/data_processor.h"
#include "qorcpp/metadata_section.hpp"
#include "tools/tavi/loaded_plugin.hpp"

namespace tavi::tool {

namespace {

// A handle that no host ever gave.
constexpr uint64_t unknown_handle = ~uint64_t{0};

std::map<std::string, std::string> metadata_of(const std::string& path) {
    std::map<std::string, std::string> values;
    if (const auto section = qor::runtime::read_metadata_section(path)) {
        for (const auto& [key, value] : qor::runtime::parse_metadata(*section)) {
            values[key] = value;
        }
    }
    return values;
}

std::string text_or_throw(const char* text) {
    if (text == nullptr || *text == '\0') {
        throw std::runtime_error("a format without text");
    }
    return text;
}

// Each asks for all formats of one kind. Throws what the plug-in reports.
std::vector<std::string> matcher_formats(const loaded_plugin& plugin) {
    const auto& table = *plugin.table<qor_data_matcher_format_support_t>();
    std::vector<std::string> formats;
    qor_error_details_t* details = nullptr;
    for (size_t index = 0; index < table.get_supported_format_count(plugin.handle()); ++index) {
        const char* format = nullptr;
        table.get_supported_format(plugin.handle(), index, &format, &details);
        qor::rethrow_details(details);
        formats.push_back(text_or_throw(format));
    }
    return formats;
}

std::vector<std::string> parser_formats(const loaded_plugin& plugin) {
    const auto& table = *plugin.table<qor_data_description_parser_format_support_t>();
    std::vector<std::string> formats;
    qor_error_details_t* details = nullptr;
    for (size_t index = 0; index < table.get_supported_file_format_count(plugin.handle()); ++index) {
        qor_data_description_file_format_t format{};
        table.get_supported_file_format(plugin.handle(), index, &format, &details);
        qor::rethrow_details(details);
        formats.push_back(text_or_throw(format.description_type));
    }
    return formats;
}

std::vector<std::string> processor_formats(const loaded_plugin& plugin) {
    const auto& table = *plugin.table<qor_data_processor_format_support_t>();
    std::vector<std::string> formats;
    qor_error_details_t* details = nullptr;
    size_t count = 0;
    table.get_supported_format_count(plugin.handle(), &count, &details);
    qor::rethrow_details(details);
    for (size_t index = 0; index < count; ++index) {
        qor_data_processor_format_t format{};
        table.get_supported_format(plugin.handle(), index, &format, &details);
        qor::rethrow_details(details);
        formats.push_back(text_or_throw(format.format));
    }
    return formats;
}

std::vector<std::string> formats_of(const loaded_plugin& plugin, const std::string& type) {
    return type == "data-matcher"              ? matcher_formats(plugin)
           : type == "data-description-parser" ? parser_formats(plugin)
           : type == "data-processor"          ? processor_formats(plugin)
                                               : std::vector<std::string>{};
}

bool is_plugin_type(const std::string& type) {
    return type == "data-matcher" || type == "data-description-parser" || type == "data-processor" ||
           type == "signal-storage";
}

// Collects verdicts; each step says in a few words what it tries.
class checker {
public:
    explicit checker(const loaded_plugin& plugin, std::vector<verdict>& verdicts)
        : plugin_(plugin), verdicts_(verdicts) {}

    bool sound() const noexcept { return sound_; }

    void add(bool good, const std::string& text) {
        verdicts_.push_back({good ? verdict::kind::good : verdict::kind::bad, text});
        sound_ &= good;
    }

    void attempt(const std::string& text, const std::function<void()>& step) {
        try {
            step();
            add(true, text);
        } catch (const std::exception& error) {
            add(false, text + ": " + error.what());
        }
    }

    // The table when it is there and none of the slots is null.
    template<typename Table>
    const Table* table(bool mandatory, std::initializer_list<std::pair<const char*, bool>> (*slots)(const Table&)) {
        const std::string name = qor::service_name<Table>();
        const Table* const found = plugin_.table<Table>();
        if (found == nullptr) {
            if (mandatory) {
                add(false, "table " + name + " is missing");
            } else {
                verdicts_.push_back({verdict::kind::note, "table " + name + " is not offered"});
            }
            return nullptr;
        }
        bool complete = true;
        for (const auto& [slot, set] : slots(*found)) {
            if (!set) {
                add(false, "table " + name + " has no '" + slot + "' function");
                complete = false;
            }
        }
        if (complete) {
            add(true, "table " + name);
        }
        return complete ? found : nullptr;
    }

private:
    const loaded_plugin& plugin_;
    std::vector<verdict>& verdicts_;
    bool sound_ = true;
};

} // namespace

} // namespace tavi::tool

#include "tools/tavi/check/plugin_check.hpp"

#include <functional>
#include <map>
#include <stdexcept>

#include "qorc/extensibility/data_description_parser.h"
#include "qorc/extensibility/data_matcher.h"
#include "qorc/extensibility/data_processor.h"
#include "qorcpp/metadata_section.hpp"
#include "tavi/package_builder.hpp"
#include "tools/tavi/check/loaded_plugin.hpp"

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

// Gives the verdicts; each step says in a few words what it tries.
class checker {
public:
    explicit checker(const std::function<void(const verdict&)>& tell) : tell_(tell) {}

    bool sound() const noexcept { return sound_; }

    void add(bool good, const std::string& text) {
        tell_({good ? verdict::kind::good : verdict::kind::bad, text});
        sound_ &= good;
    }

    // `why` is told when it does not hold.
    void require(bool good, const std::string& text, const std::string& why) {
        add(good, good ? text : text + ": " + why);
    }

    void attempt(const std::string& text, const std::function<void()>& step) {
        try {
            step();
            add(true, text);
        } catch (const std::exception& error) {
            add(false, text + ": " + error.what());
        }
    }

    using slots = std::initializer_list<std::pair<const char*, bool>>;

    // Whether a table is there and none of its slots is null. `found` is null for a table that is not offered.
    bool check_table(const std::string& name, bool mandatory, bool found, slots slots_set) {
        if (!found) {
            if (mandatory) {
                add(false, "table " + name + " is missing");
            } else {
                tell_({verdict::kind::note, "table " + name + " is not offered"});
            }
            return false;
        }
        bool complete = true;
        for (const auto& [slot, set] : slots_set) {
            if (!set) {
                add(false, "table " + name + " has no '" + std::string(slot) + "' function");
                complete = false;
            }
        }
        if (complete) {
            add(true, "table " + name);
        }
        return complete;
    }

private:
    const std::function<void(const verdict&)>& tell_;
    bool sound_ = true;
};

// A package of the plug-in's first format without a byte of payload: nothing can be in it.
const qor_package_t& empty_package(host::package_builder& builder, const std::vector<std::string>& formats) {
    builder.set_format(formats.empty() ? "none" : formats.front());
    return builder.build({});
}

void check_matcher(const loaded_plugin& plugin, checker& check) {
    const auto* const support = plugin.table<qor_data_matcher_support_t>();
    const auto* const formats = plugin.table<qor_data_matcher_format_support_t>();
    const auto* const batch = plugin.table<qor_data_matcher_batch_support_t>();
    const bool supported = check.check_table("qor_data_matcher_support_t", true, support != nullptr,
                                             {{"register_type", support && support->register_type},
                                              {"unregister_type", support && support->unregister_type},
                                              {"match", support && support->match}});
    const bool usable =
        check.check_table("qor_data_matcher_format_support_t", true, formats != nullptr,
                          {{"get_supported_format_count", formats && formats->get_supported_format_count},
                           {"get_supported_format", formats && formats->get_supported_format}}) &&
        supported;
    const bool batched = check.check_table("qor_data_matcher_batch_support_t", false, batch != nullptr,
                                           {{"match_batch", batch && batch->match_batch}});
    if (!usable) {
        return;
    }
    host::package_builder builder;
    const qor_package_t& package = empty_package(builder, matcher_formats(plugin));
    qor_error_details_t* details = nullptr;
    check.attempt("an unknown subscription is withdrawn without a failure", [&] {
        support->unregister_type(plugin.handle(), unknown_handle, &details);
        qor::rethrow_details(details);
    });
    check.attempt("an unknown subscription matches no empty package", [&] {
        bool matched = false;
        uint64_t offset = 0;
        uint64_t size = 0;
        uint64_t expected = 0;
        support->match(plugin.handle(), unknown_handle, &package, true, &matched, &offset, &size, &expected, &details);
        qor::rethrow_details(details);
        if (matched) {
            throw std::runtime_error("it matched");
        }
    });
    if (batched) {
        check.attempt("nor does it when asked for in a batch", [&] {
            qor_match_outcome_t outcome{};
            size_t count = 0;
            batch->match_batch(plugin.handle(), &package, &unknown_handle, 1, true, &outcome, &count, &details);
            qor::rethrow_details(details);
            if (count != 0) {
                throw std::runtime_error("it matched");
            }
        });
    }
}

// A context that takes everything and keeps nothing.
qor_signal_storage_context_t swallowing_context() {
    qor_signal_storage_context_t context{};
    context.add_node = [](void*, const qor_type_node_t*, uint64_t* id, qor_error_details_t**) -> uint32_t {
        if (id != nullptr) {
            *id = 1;
        }
        return QOR_STATUS_OK;
    };
    context.add_nodes = [](void*, const qor_type_node_t*, uint64_t count, uint64_t* ids,
                           qor_error_details_t**) -> uint32_t {
        for (uint64_t index = 0; ids != nullptr && index < count; ++index) {
            ids[index] = index + 1;
        }
        return QOR_STATUS_OK;
    };
    const auto ignore = [](void*, uint64_t, const char*, const char*, qor_error_details_t**) -> uint32_t {
        return QOR_STATUS_OK;
    };
    context.add_text = ignore;
    context.add_value_table = [](void*, uint64_t, const char*, qor_error_details_t**) -> uint32_t {
        return QOR_STATUS_OK;
    };
    static char anything;
    context.context = &anything;
    return context;
}

void check_parser(const loaded_plugin& plugin, checker& check) {
    const auto* const support = plugin.table<qor_data_description_parser_support_t>();
    const auto* const formats = plugin.table<qor_data_description_parser_format_support_t>();
    const bool supported = check.check_table("qor_data_description_parser_support_t", true, support != nullptr,
                                             {{"parse_buffer", support && support->parse_buffer}});
    const bool usable =
        check.check_table("qor_data_description_parser_format_support_t", true, formats != nullptr,
                          {{"get_supported_file_format_count", formats && formats->get_supported_file_format_count},
                           {"get_supported_file_format", formats && formats->get_supported_file_format},
                           {"get_context_type", formats && formats->get_context_type}}) &&
        supported;
    if (!usable) {
        return;
    }
    check.attempt("a context type is given", [&] { formats->get_context_type(plugin.handle()); });
    check.attempt("an empty description is answered, if only by a refusal", [&] {
        qor_signal_storage_context_t context = swallowing_context();
        qor_error_details_t* details = nullptr;
        support->parse_buffer(plugin.handle(), &context, 0, "", 0, "check", nullptr, nullptr, &details);
        qor_error_details_destroy(details);
    });
}

void check_processor(const loaded_plugin& plugin, checker& check) {
    const auto* const support = plugin.table<qor_data_processor_support_t>();
    const auto* const formats = plugin.table<qor_data_processor_format_support_t>();
    const auto* const ports = plugin.table<qor_data_processor_port_support_t>();
    const auto* const binding = plugin.table<qor_data_processor_data_source_binding_t>();
    const auto* const descriptions = plugin.table<qor_data_processor_data_description_support_t>();
    const bool supported = check.check_table("qor_data_processor_support_t", true, support != nullptr,
                                             {{"register_type", support && support->register_type},
                                              {"unregister_type", support && support->unregister_type},
                                              {"process", support && support->process}});
    const bool usable =
        check.check_table("qor_data_processor_format_support_t", true, formats != nullptr,
                          {{"get_supported_format_count", formats && formats->get_supported_format_count},
                           {"get_supported_format", formats && formats->get_supported_format}}) &&
        supported;
    check.check_table("qor_data_processor_port_support_t", true, ports != nullptr, {});
    check.check_table("qor_data_processor_data_source_binding_t", false, binding != nullptr,
                      {{"bind", binding && binding->bind}});
    // Without it each source that the processor takes fails to register.
    check.check_table("qor_data_processor_data_description_support_t", true, descriptions != nullptr,
                      {{"get_data_descriptions", descriptions && descriptions->get_data_descriptions}});
    if (!usable) {
        return;
    }
    host::package_builder builder;
    const qor_package_t& package = empty_package(builder, processor_formats(plugin));
    qor_error_details_t* details = nullptr;
    check.attempt("an unknown subscription is withdrawn without a failure", [&] {
        support->unregister_type(plugin.handle(), unknown_handle, &details);
        qor::rethrow_details(details);
    });
    check.attempt("an unknown subscription gets no record of an empty package", [&] {
        qor_memory_allocator_t* const allocator = qor_get_default_allocator();
        qor_dynamic_data_t** records = nullptr;
        uint64_t count = 0;
        support->process(plugin.handle(), unknown_handle, &package, &records, &count, allocator, &details);
        allocator->free(records, allocator->context);
        qor::rethrow_details(details);
        if (count != 0) {
            throw std::runtime_error("it got " + std::to_string(count));
        }
    });
}

void check_storage(const loaded_plugin& plugin, checker& check) {
    const auto* const storage = plugin.table<qor_signal_storage_t>();
    const auto* const access = plugin.table<qor_signal_storage_access_t>();
    const auto* const maintenance = plugin.table<qor_signal_storage_maintenance_t>();
    check.check_table(
        "qor_signal_storage_t", true, storage != nullptr,
        {{"create_context", storage && storage->create_context}, {"checkpoint", storage && storage->checkpoint}});
    const bool readable = check.check_table("qor_signal_storage_access_t", true, access != nullptr,
                                            {{"find_node", access && access->find_node},
                                             {"get_root_nodes", access && access->get_root_nodes},
                                             {"get_node_children", access && access->get_node_children},
                                             {"get_node_hierarchy", access && access->get_node_hierarchy},
                                             {"get_node_subtree", access && access->get_node_subtree},
                                             {"get_signature", access && access->get_signature},
                                             {"get_description_id", access && access->get_description_id}});
    check.check_table("qor_signal_storage_maintenance_t", true, maintenance != nullptr, {});
    if (readable) {
        check.attempt("a path that is not there is an invalid argument", [&] {
            qor_type_node_t* node = nullptr;
            qor_error_details_t* details = nullptr;
            access->find_node(access->context, 0, "Nothing.Here", &node, &details);
            const uint32_t code = qor_error_details_get_code(details);
            const bool told = details != nullptr && code == QOR_STATUS_INVALID_ARGUMENT && node == nullptr;
            qor_error_details_destroy(details);
            if (!told) {
                throw std::runtime_error("the answer was another one");
            }
        });
    }
}

} // namespace

plugin_summary summarise_plugin(const std::string& path) {
    auto metadata = metadata_of(path);
    plugin_summary summary{metadata["qor-library-type"], metadata["qor-product-version"], {}, {}};
    // The storage's formats are all the same, and the libraries that are no plug-ins have none.
    if (is_plugin_type(summary.type) && summary.type != "signal-storage") {
        try {
            summary.formats = formats_of(loaded_plugin(path, summary.type), summary.type);
        } catch (const std::exception& error) {
            summary.failure = error.what();
        }
    }
    return summary;
}

void check_plugin(const std::string& path, const std::function<void(const verdict&)>& tell) {
    checker check(tell);
    auto metadata = metadata_of(path);
    const std::string type = metadata["qor-library-type"];
    check.require(metadata["qor-meta"] == "nddictionary", "metadata block in section .qorrt",
                  "there is none; the file is no shared library, or damaged, or built without qorc/metadata.h");
    if (check.sound()) {
        check.require(is_plugin_type(type), "type word '" + type + "' is that of a plug-in", "it is not");
    }
    if (!check.sound()) {
        return;
    }
    check.attempt("loads, has its entry symbols, makes an instance and gives a locator", [&] {
        const loaded_plugin first(path, type);
        const loaded_plugin second(path, type); // two extractors in one process
    });
    if (!check.sound()) {
        return;
    }
    const loaded_plugin plugin(path, type);
    if (type == "signal-storage") {
        check_storage(plugin, check);
        return;
    }
    try {
        type == "data-matcher"              ? check_matcher(plugin, check)
        : type == "data-description-parser" ? check_parser(plugin, check)
                                            : check_processor(plugin, check);
    } catch (const std::exception& error) {
        check.add(false, std::string("names its formats: ") + error.what());
    }
    if (check.sound()) {
        check.attempt("names its formats", [&] {
            const auto formats = formats_of(plugin, type);
            if (formats.empty()) {
                throw std::runtime_error("it has none, and so serves nothing");
            }
        });
    }
}

} // namespace tavi::tool

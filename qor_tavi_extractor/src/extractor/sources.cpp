// Registration of sources: descriptions go through a parser into the catalogue, processors are bound, the source is
// recorded.
#include <algorithm>
#include <cstring>
#include <optional>
#include <stdexcept>

#include "qor_tavi_extractor/src/extractor/extractor.hpp"
#include "qorcpp/source_key.hpp"
#include "runtime/data_source_provider.hpp"
#include "runtime/memory_data_source_provider.hpp"
#include "runtime/sanitize_source_name.hpp"

namespace qor::tavi::detail {

namespace {

using extensibility::log::statement;

constexpr const wchar_t* function_name = L"qor::tavi::detail::extractor::register_source";

// The source id whose descriptions may fail one by one without failing the registration.
constexpr uint16_t tolerant_source_id = 0xA3F;

// What a source id brings without being asked: the name of a description that a parser plug-in carries, or null.
const char* built_in_description(uint16_t source_id) {
    switch (source_id) {
    case 0x23F:
        return "gps-sdl";
    case 0x80F:
    case 0x81F:
    case 0x50F:
        return "reference-camera-sdl";
    case 0xA2F:
    case 0xA3F:
        return "rt-range-sdl";
    default:
        return nullptr;
    }
}

// The content that asks a parser for its built-in description.
constexpr unsigned char built_in_content[1] = {0};

template<size_t Size>
std::string text_of(const char (&field)[Size]) {
    return {field, strnlen(field, Size)};
}

} // namespace

std::shared_ptr<runtime::tavi::data_description_parser_proxy> extractor::find_parser(const std::string& format_type,
                                                                                     uint16_t source_id) const {
    for (const auto& [key, parser] : parsers) {
        if (key.format == format_type && (key.source_id_filter == 0 || key.source_id_filter == source_id)) {
            return parser;
        }
    }
    throw std::runtime_error("failed to find a data description parser for data description type '" + format_type +
                             "'");
}

uint64_t extractor::parse_description(const runtime::tavi::data_description_parser_proxy& parser, const void* content,
                                      size_t size, const std::string& name, uint8_t extra_context_type,
                                      const std::function<void()>& parsed) {
    const auto context_type = static_cast<uint8_t>(parser.get_context_type() | extra_context_type);
    const auto context = signal_storage->open_context(content, size, name, context_type);
    return parser.parse(context, content, size, name, 0, nullptr, parsed);
}

void extractor::register_provider_description(const extensibility::data_source& source,
                                              const extensibility::data_source_provider& provider,
                                              const extensibility::data_description& description,
                                              std::vector<uint64_t>& description_ids) {
    auto content = provider.get_data_description_content(source, description);
    const std::string name = text_of(description.name);
    const auto parser = find_parser(text_of(description.format_type), source.source_id);
    // The commit of a large description needs memory of its own.
    description_ids.push_back(parse_description(*parser, content.first.get(), content.second, name,
                                                QOR_CONTEXT_TYPE_GENERAL, [&content] { content.first.reset(); }));
    if (const statement say{logger, QOR_LOG_LEVEL_PROGRESS, function_name}) {
        say("Tavi extractor registering source '%s' with data description '%s'", text_of(source.name).c_str(),
            name.c_str());
    }
}

bool extractor::register_provider_descriptions(const extensibility::data_source& source,
                                               const extensibility::data_source_provider& provider,
                                               std::vector<uint64_t>& description_ids) {
    const auto descriptions = provider.get_data_descriptions(source);
    for (const auto& description : descriptions) {
        try {
            register_provider_description(source, provider, description, description_ids);
        } catch (const std::exception& error) {
            if (const statement say{logger, QOR_LOG_LEVEL_ERROR, function_name}) {
                say("Tavi extractor failed to register source '%s' with data description '%s': %s",
                    text_of(source.name).c_str(), text_of(description.name).c_str(), error.what());
            }
            if (source.source_id != tolerant_source_id) {
                throw;
            }
        }
    }
    return !descriptions.empty();
}

void extractor::register_built_in_description(const extensibility::data_source& source, const char* name,
                                              std::vector<uint64_t>& description_ids) {
    const auto parser = find_parser(name, source.source_id);
    description_ids.push_back(
        parse_description(*parser, built_in_content, sizeof(built_in_content), name, QOR_CONTEXT_TYPE_GENERAL));
    if (const statement say{logger, QOR_LOG_LEVEL_PROGRESS, function_name}) {
        say("Tavi extractor registering source '%s' with predefined data description '%s'",
            text_of(source.name).c_str(), name);
    }
}

void extractor::register_source(const extensibility::data_source& source, const qor_data_source_provider_t* provider,
                                bool sanitize_name, const signature_receiver& receive) {
    const std::lock_guard lock(mutex);
    // Copies, since the host's functions, which run in between, may change the host's own records.
    const extensibility::data_source local = source;
    std::optional<extensibility::data_source_provider> local_provider;
    if (provider != nullptr) {
        local_provider.emplace(*provider);
    }
    register_source_from(local, local_provider, sanitize_name, receive);
}

void extractor::register_source_from(const extensibility::data_source& local,
                                     const std::optional<extensibility::data_source_provider>& provider,
                                     bool sanitize_name, const signature_receiver& receive) {
    std::vector<uint64_t> description_ids;
    bool had_descriptions = false;
    if (provider) {
        had_descriptions = register_provider_descriptions(local, *provider, description_ids);
    }
    if (const char* const built_in = built_in_description(local.source_id)) {
        register_built_in_description(local, built_in, description_ids);
    } else if (!had_descriptions) {
        if (const statement say{logger, QOR_LOG_LEVEL_WARNING, function_name}) {
            say("Tavi extractor registering source '%s' without data description information",
                text_of(local.name).c_str());
        }
    }
    std::vector<std::string> signatures;
    signatures.reserve(description_ids.size());
    for (const uint64_t id : description_ids) {
        signatures.push_back(signal_storage->get_signature(id));
    }
    if (provider) {
        for (const uint64_t id : bind_processors(local, provider->record())) {
            signatures.push_back(signal_storage->get_signature(id));
            description_ids.push_back(id);
        }
    }
    const std::string name = sanitize_name ? extensibility::sanitize_source_name(local) : text_of(local.name);
    receive(signatures);
    store_source(local.source_id, local.instance, name, description_ids);
}

void extractor::store_source(uint16_t source_id, uint32_t instance, const std::string& name,
                             const std::vector<uint64_t>& description_ids) {
    const uint64_t key = source_key(source_id, instance);
    const auto known = sources.find(key);
    if (known != sources.end() && known->second.name != name) {
        throw std::invalid_argument("the specified data source name does not match the previously registered name");
    }
    source_record record = known != sources.end() ? known->second : source_record{key, source_id, instance, name, {}};
    for (const uint64_t id : description_ids) {
        if (std::find(record.description_ids.begin(), record.description_ids.end(), id) ==
            record.description_ids.end()) {
            record.description_ids.push_back(id);
        }
    }
    if (known != sources.end()) {
        known->second = std::move(record);
        return;
    }
    make_room(sources);
    table<uint64_t, source_record> made;
    made.try_emplace(key, std::move(record));
    source_keys_by_name.try_emplace(name, key);
    sources.insert(made.extract(key)); // has room and cannot fail
    forget_routes();
}

void extractor::register_source_from_signal_storage(uint16_t source_id, uint32_t instance, const std::string& name,
                                                    const std::vector<std::string>& signatures) {
    const std::lock_guard lock(mutex);
    std::vector<uint64_t> description_ids;
    description_ids.reserve(signatures.size());
    for (const std::string& signature : signatures) {
        description_ids.push_back(signal_storage->get_description_id(signature));
    }
    store_source(source_id, instance, name, description_ids);
}

void extractor::register_source_with_data_descriptions(
    uint16_t source_id, uint32_t instance, const std::string& name,
    const std::vector<extensibility::data_description_content>& descriptions, const signature_receiver& receive) {
    extensibility::data_source source{};
    source.source_id = source_id;
    source.instance = instance;
    source.data_description_count = descriptions.size();
    name.copy(source.name, sizeof(source.name) - 1);
    const extensibility::memory_data_source_provider provider(source, descriptions);
    const std::lock_guard lock(mutex);
    register_source_from(source, extensibility::data_source_provider(provider), false, receive);
}

// The second round ends what a plug-in subscribed to when it was told of the end, while the sources were still there.
void extractor::unregister_sources() {
    unsubscribe_all();
    reset_table(source_keys_by_name);
    reset_table(sources);
    forget_routes();
    if (!subscriptions.empty()) {
        unsubscribe_all();
    }
}

void extractor::checkpoint_signal_storage() {
    signal_storage->checkpoint();
}

} // namespace qor::tavi::detail

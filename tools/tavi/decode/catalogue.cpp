#include "tools/tavi/decode/catalogue.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <system_error>

#include "qorc/extensibility/signal_storage.h"
#include "qorc/text.hpp"
#include "qorcpp/platform/stream.hpp"
#include "tavi/stored_descriptions.hpp"
#include "tools/tavi/check/plugin_folder.hpp"
#include "tools/tavi/decode/message_names.hpp"
#include "tools/tavi/exit_code.hpp"
#include "tools/tavi/report/library_failure.hpp"
#include "tools/tavi/report/printable.hpp"

namespace tavi::tool {

namespace {

// Descriptions are parsed for a source of this id each, numbered by its instance, before any interface is known.
constexpr std::uint16_t description_source_id = 0x0020;
constexpr std::size_t largest_description = std::size_t{256} << 20;
constexpr std::size_t longest_name = 254;
constexpr std::size_t longest_type = 15;

std::string read_file(const std::string& path) {
    try {
        qor::platform::input_stream file(path);
        std::string content;
        std::array<char, 65536> block{};
        while (const std::size_t count = file.read(block.data(), block.size())) {
            content.append(block.data(), count);
            if (content.size() > largest_description) {
                throw command_error(printable(path) + ": error: larger than 256 MB, the limit for descriptions");
            }
        }
        // From an interrupt on the rest is not read.
        if (qor::platform::interrupted()) {
            throw command_error("tavi: interrupted while " + printable(path) + " was read", exit_code::interrupted);
        }
        return content;
    } catch (const std::system_error& error) {
        throw command_error(printable(path) + ": error: cannot be read: " + error.code().message());
    }
}

// The file name extension in lower case; that of a DBC for a name without one.
std::string extension_of(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    if (extension.size() < 2) {
        return "dbc";
    }
    extension.erase(0, 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
    return extension;
}

// "descriptions end in .dbc, .sdl or .json": what the parsers read.
std::string usual_extensions(const std::vector<host::description_format>& formats) {
    std::vector<std::string> extensions;
    for (const host::description_format& format : formats) {
        for (const std::string& extension : format.extensions) {
            if (std::find(extensions.begin(), extensions.end(), '.' + extension) == extensions.end()) {
                extensions.push_back('.' + extension);
            }
        }
    }
    if (extensions.empty()) {
        return "there is no parser of descriptions";
    }
    const std::string last = extensions.back();
    extensions.pop_back();
    const std::string others = qor::joined(extensions, ", ");
    return "descriptions end in " + (others.empty() ? last : others + " or " + last);
}

// What helps when a catalogue that is only read cannot be opened; empty when its file is there.
std::string missing_catalogue_hint(const std::string& uri) {
    constexpr std::string_view scheme = "file:";
    const std::string path = uri.starts_with(scheme) ? uri.substr(scheme.size(), uri.find('?') - scheme.size()) : uri;
    std::error_code ignored;
    const bool missing = std::filesystem::status(path, ignored).type() == std::filesystem::file_type::not_found;
    return missing ? "there is no file '" + path + "'; tavi register -d FILE --storage file:PATH creates a catalogue"
                   : "";
}

host::extractor start_extractor(const catalogue_options& options, const std::string& uri,
                                const host::log_function& log) {
    // A catalogue that is only read from is not made by mistake.
    const std::uint32_t flags =
        options.storage.empty() || !options.descriptions.empty() ? 0 : QOR_SIGNAL_STORAGE_MUST_EXIST;
    try {
        return host::extractor(uri, flags, log);
    } catch (const host::error& error) {
        if (options.storage.empty()) {
            throw start_error(error.what());
        }
        // With a catalogue in memory it either starts, then the URI is at fault, or tells the same of a plug-in.
        start_extractor({}, host::memory_catalogue, {});
        throw command_error("tavi: error: the catalogue '" + printable(options.storage) +
                                "' cannot be opened: " + printable(error.what()),
                            exit_code::failed, flags != 0 ? missing_catalogue_hint(options.storage) : "");
    }
}

} // namespace

catalogue::catalogue(const catalogue_options& options, message_sink& messages, bool shared)
    : catalogue(options, messages, shared, rehearse(options, messages)) {}

std::vector<std::string> catalogue::rehearse(const catalogue_options& options, message_sink& messages) {
    std::vector<std::string> contents;
    if (!options.strict || options.storage.empty() || options.descriptions.empty()) {
        return contents;
    }
    for (const std::string& description : options.descriptions) {
        contents.push_back(read_file(parse_description(description).path));
    }
    const catalogue_options in_memory{options.descriptions, {}, {}, true};
    catalogue rehearsal(in_memory, messages, false, std::move(contents));
    rehearsal.load();
    return std::move(rehearsal.contents_);
}

catalogue::catalogue(const catalogue_options& options, message_sink& messages, bool shared,
                     std::vector<std::string> contents)
    : messages_(messages), strict_(options.strict), storage_(options.storage), uri_(storage_),
      file_count_(options.descriptions.size()), contents_(std::move(contents)), log_(messages),
      extractor_(start_extractor(options, choose_uri(shared),
                                 [this](const qor_log_info_t& message) { log_.receive(message); })) {
    std::transform(options.descriptions.begin(), options.descriptions.end(), std::back_inserter(arguments_),
                   parse_description);
    std::transform(options.signatures.begin(), options.signatures.end(), std::back_inserter(arguments_),
                   parse_description);
}

catalogue::catalogue(const catalogue& original)
    : messages_(original.messages_), strict_(original.strict_), storage_(original.storage_), uri_(original.uri_),
      file_count_(original.file_count_), arguments_(original.arguments_), signatures_(original.signatures_),
      names_(original.names_), log_(messages_),
      extractor_(uri_, QOR_SIGNAL_STORAGE_READ_ONLY | QOR_SIGNAL_STORAGE_MUST_EXIST,
                 [this](const qor_log_info_t& message) { log_.receive(message); }) {}

std::unique_ptr<catalogue> catalogue::another() const {
    return std::unique_ptr<catalogue>(new catalogue(*this));
}

// One in memory that several connections of this process find by its name, or one that is private.
const std::string& catalogue::choose_uri(bool shared) {
    if (uri_.empty()) {
        uri_ = shared ? "file:/tavi_" + std::to_string(reinterpret_cast<std::uintptr_t>(this)) + "?vfs=memdb"
                      : host::memory_catalogue;
    }
    return uri_;
}

void catalogue::load() {
    if (arguments_.empty()) {
        list_stored();
    }
    if (file_count_ != 0) {
        formats_ = host::description_formats();
    }
    for (std::size_t description = 0; description < arguments_.size(); ++description) {
        description < file_count_ ? load_one(description) : load_stored(description);
        end_if_interrupted();
    }
}

void catalogue::load_source(std::uint16_t source_id, const std::string& source_name) {
    if (!arguments_.empty()) {
        throw command_error("tavi: error: this log needs no description: it has a built-in one", exit_code::usage);
    }
    try {
        for (std::string& signature :
             extractor_.register_source(source_id, 0, source_name, std::span<const host::description>())) {
            arguments_.push_back({"", std::move(signature)});
        }
    } catch (const host::error& error) {
        const auto failure = registration_error(error.what(), "tavi", "sdl");
        throw failure ? *failure : library_failure("tavi", error);
    }
    for (std::size_t description = 0; description < arguments_.size(); ++description) {
        load_stored(description);
    }
}

void catalogue::list_stored() {
    if (storage_.empty()) {
        throw command_error("tavi: error: a description is needed", exit_code::usage,
                            "use -d FILE, or --storage URI with a catalogue that tavi register created");
    }
    try {
        for (std::string& signature : host::stored_signatures(storage_)) {
            arguments_.push_back({"", std::move(signature)});
        }
    } catch (const host::error& error) {
        throw command_error("tavi: error: the catalogue '" + printable(storage_) +
                            "' cannot be read: " + printable(error.what()));
    }
    if (arguments_.empty()) {
        throw command_error("tavi: error: the catalogue '" + printable(storage_) + "' is empty", exit_code::failed,
                            "tavi register -d FILE --storage URI adds descriptions");
    }
}

void catalogue::load_stored(std::size_t description) {
    const std::string& signature = arguments_[description].path;
    try {
        extractor_.register_source_from_storage(description_source_id, static_cast<std::uint32_t>(description),
                                                "description " + std::to_string(description + 1), {&signature, 1});
    } catch (const host::error& error) {
        const bool unknown = error.status() == QOR_STATUS_INVALID_ARGUMENT;
        throw command_error("tavi: error: " + printable(error.what()), exit_code::failed,
                            unknown ? "tavi register prints the signatures of descriptions" : "");
    }
    signatures_.push_back(signature);
}

void catalogue::load_one(std::size_t description) {
    const std::string& path = arguments_[description].path;
    const std::string content = contents_.empty() ? read_file(path) : contents_[description];
    const std::string extension = extension_of(path);
    const host::description_format* const format = host::find_format(formats_, extension);
    if (format == nullptr && extension.size() > longest_type) {
        throw command_error(printable(path) + ": error: " + usual_extensions(formats_));
    }
    const std::string type = format != nullptr ? format->type : extension;
    const std::string name = std::filesystem::path(path).filename().string().substr(0, longest_name);
    const std::uint64_t before = warnings();
    log_.begin(name, path, content);
    try {
        const auto signatures =
            extractor_.register_source(description_source_id, static_cast<std::uint32_t>(description),
                                       "description " + std::to_string(description + 1), {{name, type, content}});
        signatures_.push_back(signatures.empty() ? std::string() : signatures.front());
    } catch (const host::error& error) {
        const std::string refusal = log_.refusal(error.what());
        const bool of_content = std::string_view(error.what()).starts_with(name + ':');
        const auto failure = of_content
                                 ? std::nullopt
                                 : registration_error(error.what(), printable(path), type, usual_extensions(formats_));
        throw failure ? *failure : command_error(refusal);
    }
    log_.end();
    if (warnings() != before) {
        refuse_if_strict(description);
    }
}

void catalogue::refuse_if_strict(std::size_t description) const {
    if (strict_) {
        throw command_error(printable(arguments_[description].path) +
                            ": error: refused because of its warnings (--strict)");
    }
}

void catalogue::report_left_out(std::size_t description, std::string_view cause) const {
    messages_.report({topic::left_out, arguments_[description].path, 0, 0, cause, {}, {}});
    refuse_if_strict(description);
}

host::nodes catalogue::views(std::size_t description) {
    return extractor_.roots(description_source_id, static_cast<std::uint32_t>(description));
}

std::string catalogue::expression(std::size_t description, std::string_view path) const {
    return std::to_string(description_source_id) + '#' + std::to_string(description) + '.' + std::string(path);
}

bool catalogue::serves(std::size_t description, std::string_view name) const {
    const std::string& source = arguments_[description].source;
    return source.empty() || source == name;
}

const message_names& catalogue::names() {
    if (names_ == nullptr) {
        names_ = std::make_shared<const message_names>(*this);
        names_->report(*this, messages_);
    }
    return *names_;
}

bool catalogue::register_interface(std::size_t interface, const std::string& name, const std::string& source_name) {
    bool has_descriptions = false;
    for (std::size_t layer = 0; layer < names().layer_count(); ++layer) {
        has_descriptions = register_layer(layer, instance_of(interface, layer), name, source_name) || has_descriptions;
    }
    return has_descriptions;
}

bool catalogue::register_layer(std::size_t layer, std::uint32_t instance, const std::string& name,
                               const std::string& source_name) {
    std::vector<std::string> signatures;
    for (std::size_t description = 0; description < arguments_.size(); ++description) {
        const std::string& signature = signatures_[description];
        if (names().layer_of(description) == layer && serves(description, name) &&
            std::find(signatures.begin(), signatures.end(), signature) == signatures.end()) {
            signatures.push_back(signature);
        }
    }
    if (signatures.empty()) {
        return false;
    }
    extractor_.register_source_from_storage(interface_source_id, instance, source_name, signatures);
    return true;
}

} // namespace tavi::tool

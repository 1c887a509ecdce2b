// The base of data description parsers. A parser is a class with two functions,
//
//     class my_parser : public qor::sdk::description_parser<my_parser> {
//     public:
//         explicit my_parser(qor_service_locator_t*)
//             : description_parser(QOR_CONTEXT_TYPE_GENERAL, {{"mine", "My language", "mine;txt", 0, {}}}) {}
//         void parse(const qor::sdk::description& source, qor::sdk::node_writer& catalogue);
//     };
//
// and one line at file scope:
//
//     QOR_DATA_DESCRIPTION_PARSER(my_parser)
//
// `parse` reads source.text(), adds nodes to the catalogue and throws for a text that it cannot read; then nothing of
// the description enters the catalogue. The base makes the tables of qorc/extensibility/data_description_parser.h.
#ifndef QOR_PLUGIN_SDK_DESCRIPTION_PARSER_HPP
#define QOR_PLUGIN_SDK_DESCRIPTION_PARSER_HPP

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qor_plugin_sdk/plugin.hpp"
#include "qorc/extensibility/data_description_parser.h"

namespace qor::sdk {

// What is to be parsed. Valid during the call of `parse`.
class description {
public:
    // name  may be null
    description(std::string_view text, const char* name, qor_parse_progress_t progress, void* progress_context)
        : text_(text), name_(name != nullptr ? name : "description"), progress_(progress),
          progress_context_(progress_context) {}

    std::string_view text() const noexcept { return text_; }
    // For messages; "description" when the host gives none.
    const std::string& name() const noexcept { return name_; }

    // True when the host asks for the description that the parser itself has under this name.
    bool asks_for_built_in() const noexcept { return text_ == std::string_view("\0", 1); }

    // Reports how much of the work is done, from 0 to 1. Throws: std::runtime_error "parsing was stopped" when the host
    // wants it to end.
    void report_progress(float fraction) const {
        if (progress_ != nullptr && !progress_(fraction, progress_context_)) {
            throw std::runtime_error("parsing was stopped");
        }
    }

    // "NAME:LINE:COLUMN: CAUSE", or "NAME:LINE: CAUSE" for column 0; both count from 1.
    std::string message_at(std::size_t line, std::size_t column, std::string_view cause) const {
        const std::string place = name_ + ':' + std::to_string(line) + ':';
        return (column != 0 ? place + std::to_string(column) + ": " : place + ' ').append(cause);
    }

private:
    std::string_view text_;
    std::string name_;
    qor_parse_progress_t progress_;
    void* progress_context_;
};

// Adds what a parser finds to the catalogue. All functions throw what the storage reports.
class node_writer {
public:
    explicit node_writer(qor_signal_storage_context_t& context) noexcept : context_(context) {}

    // Adds a node with its texts, which are copied, and returns its id: the `parent_id` of nodes below it.
    std::uint64_t add(const qor_type_node_t& node) { return add(std::span(&node, 1)).front(); }

    // Adds siblings, all with the same parent_id, and returns their ids.
    std::vector<std::uint64_t> add(std::span<const qor_type_node_t> siblings) {
        std::vector<std::uint64_t> ids(siblings.size());
        if (!siblings.empty()) {
            qor_error_details_t* details = nullptr;
            context_.add_nodes(context_.context, siblings.data(), siblings.size(), ids.data(), &details);
            rethrow_details(details);
        }
        return ids;
    }

    // Keeps a named text with a node, or with the description for node id 0, where the storage can.
    void add_text(std::uint64_t node_id, const std::string& key, const std::string& text) {
        if (context_.add_text != nullptr) {
            qor_error_details_t* details = nullptr;
            context_.add_text(context_.context, node_id, key.c_str(), text.c_str(), &details);
            rethrow_details(details);
        }
    }

private:
    qor_signal_storage_context_t& context_;
};

template<typename Parser>
class description_parser {
public:
    description_parser(const description_parser&) = delete;
    description_parser& operator=(const description_parser&) = delete;

    service_table& services() noexcept { return services_; }

protected:
    // context_type  a QOR_CONTEXT_TYPE_ value
    // formats       the type words that the parser reads, with texts of static lifetime
    description_parser(std::uint8_t context_type, std::vector<qor_data_description_file_format_t> formats)
        : context_type_(context_type), formats_(std::move(formats)) {
        services_.offer(qor_data_description_parser_support_t{
            .reserved_1 = nullptr,
            .parse_buffer = slot<&description_parser::parse_buffer, Parser>,
        });
        services_.offer(qor_data_description_parser_format_support_t{
            .get_supported_file_format_count = value_slot<&description_parser::format_count, Parser>,
            .get_supported_file_format = slot<&description_parser::get_format, Parser>,
            .get_context_type = value_slot<&description_parser::context_type, Parser>,
        });
    }
    ~description_parser() = default;

private:
    void parse_buffer(qor_signal_storage_context_t* context, std::uint8_t, const void* buffer, std::size_t size,
                      const char* name, qor_parse_progress_t progress, void* progress_context) {
        check_argument(context, "context");
        if (size != 0) {
            check_argument(buffer, "buffer");
        }
        const std::string_view text = size != 0 ? std::string_view(static_cast<const char*>(buffer), size) : "";
        node_writer catalogue(*context);
        static_cast<Parser*>(this)->parse(description(text, name, progress, progress_context), catalogue);
    }

    std::size_t format_count() const noexcept { return formats_.size(); }
    std::uint8_t context_type() const noexcept { return context_type_; }

    void get_format(std::size_t index, qor_data_description_file_format_t* format) const {
        check_argument(format, "format");
        if (index >= formats_.size()) {
            throw std::invalid_argument("there is no file format " + std::to_string(index));
        }
        *format = formats_[index];
    }

    std::uint8_t context_type_;
    std::vector<qor_data_description_file_format_t> formats_;
    service_table services_;
};

} // namespace qor::sdk

#endif

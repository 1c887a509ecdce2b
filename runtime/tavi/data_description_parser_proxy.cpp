#include "runtime/tavi/data_description_parser_proxy.hpp"

#include <utility>

#include "runtime/details_owner.hpp"

namespace qor::runtime::tavi {

namespace {

using format_table = qor_data_description_parser_format_support_t;

constexpr plugin_kind parser_kind{
    "qor_data_description_parser_create",
    "qor_data_description_parser_destroy",
    "qor_data_description_parser_get_service_locator",
    "invalid parser library, 'qor_data_description_parser_destroy' destructor function is missing",
    "invalid service locator interface returned from 'qor_data_description_parser_get_service_locator' function",
    true,
};

std::shared_ptr<io::filesystem> checked(std::shared_ptr<io::filesystem>&& filesystem) {
    check_argument(filesystem, "filesystem");
    return std::move(filesystem);
}

bool report_progress(float fraction, void* progress_context) {
    const auto& progress = *static_cast<const std::function<bool(float)>*>(progress_context);
    return !progress || progress(fraction);
}

} // namespace

data_description_parser_proxy::data_description_parser_proxy(
    platform::shared_library&& library, std::shared_ptr<io::filesystem>&& filesystem,
    std::shared_ptr<qor::runtime::service_locator>&& host_locator)
    : plugin_proxy(parser_kind, std::move(library), std::move(host_locator), checked(std::move(filesystem))),
      support(mandatory_table<qor_data_description_parser_support_t>()) {}

format_table data_description_parser_proxy::format_support() const {
    const auto* const table = get_service<format_table>(*service_locator);
    return table != nullptr ? *table : format_table{};
}

std::vector<qor_data_description_file_format_t> data_description_parser_proxy::get_supported_file_formats() const {
    const format_table table = format_support();
    check_slot<format_table>(table.get_supported_file_format_count, "get_supported_file_format_count");
    check_slot<format_table>(table.get_supported_file_format, "get_supported_file_format");
    std::vector<qor_data_description_file_format_t> formats;
    const size_t count = table.get_supported_file_format_count(handle);
    check_count<format_table>(count, QOR_PLUGIN_MAX_FORMATS, "get_supported_file_format_count");
    for (size_t index = 0; index < count; ++index) {
        qor_data_description_file_format_t format{};
        details_owner details;
        table.get_supported_file_format(handle, index, &format, details.place());
        details.rethrow();
        check_text<format_table>(format.description_type, "get_supported_file_format");
        formats.push_back(format);
    }
    return formats;
}

uint8_t data_description_parser_proxy::get_context_type() const {
    const format_table table = format_support();
    check_slot<format_table>(table.get_context_type, "get_context_type");
    return table.get_context_type(handle);
}

uint64_t data_description_parser_proxy::parse(const std::shared_ptr<context>& context, const void* buffer, size_t size,
                                              const std::string& name, uint8_t type,
                                              std::function<bool(float)> progress,
                                              const std::function<void()>& parsed) const {
    check_argument(context, "context");
    check_slot<qor_data_description_parser_support_t>(support.parse_buffer, "parse_buffer");
    details_owner details;
    support.parse_buffer(handle, context->table, type, buffer, size, name.empty() ? nullptr : name.c_str(),
                         progress ? report_progress : nullptr, progress ? &progress : nullptr, details.place());
    details.rethrow();
    if (parsed) {
        parsed();
    }
    check_slot<qor_signal_storage_context_t>(context->table->commit, "commit");
    uint64_t description_id = 0;
    context->table->commit(context->table->context, &description_id, details.place());
    details.rethrow();
    return description_id;
}

} // namespace qor::runtime::tavi

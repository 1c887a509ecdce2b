// Construction: the storage, the host's logger, matchers, parsers, in this order. The first failure ends it.
#include <filesystem>
#include <utility>

#include "qor_tavi_extractor/src/extractor/extractor.hpp"
#include "qorcpp/library_search.hpp"
#include "qorcpp/platform/module.hpp"
#include "qorcpp/platform/shared_library.hpp"
#include "runtime/filesystem_provider.hpp"
#include "runtime/tavi/library_use.hpp"

namespace qor::tavi::detail {

namespace {

constexpr size_t reserved_sources = 1024;

constexpr uint8_t storage_open_mode = 0;

std::string plugin_search_path() {
    return platform::get_shared_library_search_path(platform::get_current_module_directory());
}

} // namespace

extractor::extractor(const std::string& signal_storage_uri, uint32_t signal_storage_flags,
                     std::shared_ptr<runtime::service_locator> service_locator)
    : service_locator(std::move(service_locator)), matchers(initial_bucket_count), parsers(initial_bucket_count),
      subscriptions(initial_bucket_count), sources(initial_bucket_count), source_keys_by_name(initial_bucket_count) {
    load_signal_storage(signal_storage_uri, signal_storage_flags);
    take_logger();
    find_matchers();
    find_parsers();
    subscriptions_by_source.reserve(reserved_sources);
}

extractor::~extractor() = default;

void extractor::load_signal_storage(const std::string& uri, uint32_t flags) {
    const std::filesystem::path directory = plugin_search_path();
    const auto path = directory / platform::shared_library_file_name("qor_signal_storage");
    runtime::tavi::use_library(path.string(), [&](platform::shared_library&& library) {
        signal_storage = std::make_shared<runtime::tavi::signal_storage_proxy>(
            std::move(library), uri, storage_open_mode, flags, service_locator);
    });
}

void extractor::take_logger() {
    if (service_locator && runtime::has_service<qor_log_t>(*service_locator)) {
        logger = std::make_shared<extensibility::log::logger>(runtime::get_service<qor_log_t>(*service_locator));
    }
}

// Of two plug-ins that serve one format, the one that comes later in the search has it.
void extractor::find_matchers() {
    for (const std::string& path : runtime::search_local_libraries(plugin_search_path(), "data-matcher")) {
        runtime::tavi::use_library(path, [&](platform::shared_library&& library) {
            const auto proxy = std::make_shared<runtime::tavi::data_matcher_proxy>(std::move(library),
                                                                                   std::shared_ptr(service_locator));
            for (const char* format : proxy->get_supported_formats()) {
                matchers[format] = proxy;
            }
        });
    }
}

// Of two plug-ins that serve one description type, the one that comes first in the search has it.
void extractor::find_parsers() {
    for (const std::string& path : runtime::search_local_libraries(plugin_search_path(), "data-description-parser")) {
        runtime::tavi::use_library(path, [&](platform::shared_library&& library) {
            auto filesystem = runtime::io::open_default_filesystem();
            const auto proxy = std::make_shared<runtime::tavi::data_description_parser_proxy>(
                std::move(library), std::move(filesystem), std::shared_ptr(service_locator));
            for (const auto& format : proxy->get_supported_file_formats()) {
                parsers.try_emplace({format.source_id_filter, format.description_type}, proxy);
            }
        });
    }
}

} // namespace qor::tavi::detail

// Binding of data processors to a source that is being registered. The search is made anew each time.
#include <algorithm>
#include <filesystem>
#include <utility>

#include "qor_tavi_extractor/src/extractor/extractor.hpp"
#include "qorcpp/library_search.hpp"
#include "qorcpp/platform/module.hpp"
#include "qorcpp/source_key.hpp"
#include "runtime/tavi/library_use.hpp"

namespace qor::tavi::detail {

namespace {

bool fits(const qor_data_processor_format_t& format, uint16_t source_id) {
    if ((source_id & 0xFu) != format.source_type) {
        return false;
    }
    return format.source_class == 0 || (source_id >> 4) == format.source_class;
}

} // namespace

std::vector<uint64_t> extractor::bind_processors(const extensibility::data_source& source,
                                                 const qor_data_source_provider_t& provider) {
    const std::string search_path = platform::get_shared_library_search_path(platform::get_current_module_directory());
    std::vector<uint64_t> description_ids;
    for (const std::string& path : runtime::search_local_libraries(search_path, "data-processor")) {
        runtime::tavi::use_library(path, [&](platform::shared_library&& library) {
            bind_processor(std::make_unique<runtime::tavi::data_processor_proxy>(std::move(library),
                                                                                 std::shared_ptr(service_locator)),
                           source, provider, description_ids);
        });
    }
    return description_ids;
}

// A library is bound to a source once, under the first of its formats that fit. A proxy that no format took is
// destroyed at the end, and its library unloaded.
void extractor::bind_processor(std::unique_ptr<runtime::tavi::data_processor_proxy> proxy,
                               const extensibility::data_source& source, const qor_data_source_provider_t& provider,
                               std::vector<uint64_t>& description_ids) {
    const std::string library_path = proxy->get_library_path();
    const uint64_t key = source_key(source.source_id, source.instance);
    for (const auto& format : proxy->get_supported_formats()) {
        if (!fits(format, source.source_id)) {
            continue;
        }
        std::vector<bound_processor>& bound = processors[key];
        forget_routes();
        const auto is_bound = [&] {
            return std::any_of(bound.begin(), bound.end(), [&](const bound_processor& element) {
                return element.proxy->get_library_path() == library_path;
            });
        };
        if (is_bound()) {
            continue;
        }
        proxy->bind_source(source, provider);
        if (is_bound()) {
            continue; // by a call-back that registered the same source
        }
        const auto& taken = *proxy;
        bound.push_back({format.format, std::move(proxy)});
        const auto parser = find_parser("sdl", source.source_id);
        const std::string name = std::filesystem::path(library_path).stem().string();
        for (const std::string& description : taken.get_data_descriptions()) {
            description_ids.push_back(parse_description(*parser, description.data(), description.size(), name,
                                                        QOR_CONTEXT_TYPE_FROM_PROCESSOR));
        }
        return;
    }
}

} // namespace qor::tavi::detail

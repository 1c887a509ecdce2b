// One data description parser plug-in: reads descriptions of its types into a description context.
#ifndef RUNTIME_TAVI_DATA_DESCRIPTION_PARSER_PROXY_HPP
#define RUNTIME_TAVI_DATA_DESCRIPTION_PARSER_PROXY_HPP

#include <functional>
#include <vector>

#include "qorc/extensibility/data_description_parser.h"
#include "runtime/filesystem.hpp"
#include "runtime/tavi/context.hpp"
#include "runtime/tavi/plugin_proxy.hpp"

namespace qor::runtime::tavi {

// Thread: no lock of its own; one call at a time.
class data_description_parser_proxy : public plugin_proxy {
public:
    // Throws: std::invalid_argument "argument 'filesystem' was not initialized"; std::runtime_error with the texts of a
    // plug-in that cannot be used.
    data_description_parser_proxy(platform::shared_library&& library, std::shared_ptr<io::filesystem>&& filesystem,
                                  std::shared_ptr<qor::runtime::service_locator>&& host_locator);

    // The texts in the records belong to the plug-in.
    std::vector<qor_data_description_file_format_t> get_supported_file_formats() const;

    // The context type that a description for this parser is opened with.
    uint8_t get_context_type() const;

    // Parses a description into `context`, commits it and returns its id. A progress function may stop it. `parsed` is
    // called before the commit: the buffer is not read any more.
    uint64_t parse(const std::shared_ptr<context>& context, const void* buffer, size_t size, const std::string& name,
                   uint8_t type, std::function<bool(float)> progress,
                   const std::function<void()>& parsed = nullptr) const;

private:
    qor_data_description_parser_format_support_t format_support() const;

    qor_data_description_parser_support_t support;
};

} // namespace qor::runtime::tavi

#endif

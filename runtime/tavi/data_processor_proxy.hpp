// One data processor instance: takes whole packages of the source that it is bound to and makes the records itself.
#ifndef RUNTIME_TAVI_DATA_PROCESSOR_PROXY_HPP
#define RUNTIME_TAVI_DATA_PROCESSOR_PROXY_HPP

#include <vector>

#include "qorc/extensibility/data_processor.h"
#include "runtime/holders.hpp"
#include "runtime/tavi/plugin_proxy.hpp"

namespace qor::runtime::tavi {

// Thread: no lock of its own; one call at a time.
class data_processor_proxy : public plugin_proxy {
public:
    // Throws: std::runtime_error with the texts of a plug-in that cannot be used.
    data_processor_proxy(platform::shared_library&& library,
                         std::shared_ptr<qor::runtime::service_locator>&& host_locator);

    // The texts in the records belong to the plug-in.
    std::vector<qor_data_processor_format_t> get_supported_formats() const;

    // Descriptions of what the processor makes, in the language "sdl".
    // Throws: std::logic_error for a processor without them.
    std::vector<std::string> get_data_descriptions() const;

    // Tells the instance its source; does nothing for a plug-in that does not want to know.
    void bind_source(const qor_data_source_t& source, const qor_data_source_provider_t& provider) const;

    // True when the processor takes the subscription; false when it declines.
    bool register_type(uint64_t subscription_handle, const char* schema, const qor_type_node_sequence_t& hierarchy,
                       uint64_t position, uint64_t extent) const;
    void unregister_type(uint64_t subscription_handle) const;

    // The records that the package gives for one subscription; they come from `allocator`. Throws what the plug-in
    // reports; std::invalid_argument "invalid dynamic data state" for records that are announced and not there.
    std::vector<qor::runtime::dynamic_data_holder> process(uint64_t subscription_handle, const qor_package_t& package,
                                                           qor_memory_allocator_t* allocator) const;

private:
    qor_data_processor_support_t support;
    qor_data_processor_format_support_t format_support;
    qor_data_processor_port_support_t port_support;
    decltype(qor_data_processor_data_source_binding_t::bind) bind = nullptr;
};

} // namespace qor::runtime::tavi

#endif

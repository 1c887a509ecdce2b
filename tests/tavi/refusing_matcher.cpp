#include <stdexcept>

#include "qor_plugin_sdk/plugin.hpp"

namespace {

class refusing_matcher {
public:
    explicit refusing_matcher(qor_service_locator_t*) { throw std::runtime_error("no licence for this matcher"); }
    qor::sdk::service_table& services() { return services_; }

private:
    qor::sdk::service_table services_;
};

} // namespace

QOR_DATA_MATCHER(refusing_matcher)

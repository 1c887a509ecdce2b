// Questions of a host about a subscription that was never announced.
#ifndef TOOLS_TAVI_CHECK_UNKNOWN_SUBSCRIPTION_HPP
#define TOOLS_TAVI_CHECK_UNKNOWN_SUBSCRIPTION_HPP

#include <cstdint>
#include <string>
#include <vector>

#include "tavi/package_builder.hpp"
#include "tools/tavi/check/checker.hpp"

namespace tavi::tool {

// A handle that no host ever issues.
inline constexpr uint64_t unknown_handle = ~uint64_t{0};

// A package of the plug-in's first format without payload: nothing can be in it.
inline const qor_package_t& empty_package(host::package_builder& builder, const std::vector<std::string>& formats) {
    builder.set_format(formats.empty() ? "none" : formats.front());
    return builder.build({});
}

template<typename Support>
void check_withdrawal(const qor::plugin_handle& plugin, const Support& support, checker& check) {
    check.attempt("an unknown subscription is withdrawn without a failure", [&] {
        qor_error_details_t* details = nullptr;
        support.unregister_type(plugin.instance(), unknown_handle, &details);
        qor::rethrow_details(details);
    });
}

} // namespace tavi::tool

#endif

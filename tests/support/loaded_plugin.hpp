// A plug-in of the build, in use without an extractor.
#ifndef TESTS_SUPPORT_LOADED_PLUGIN_HPP
#define TESTS_SUPPORT_LOADED_PLUGIN_HPP

#include <string>

#include "qorcpp/platform/module.hpp"
#include "qorcpp/plugin_handle.hpp"
#include "tests/support/paths.hpp"

namespace tavi::test {

class loaded_plugin : public qor::plugin_handle {
public:
    // name       of the library: "qor_can_matcher"
    // type_word  "data-matcher"
    loaded_plugin(const std::string& name, const char* type_word, qor_service_locator_t* host = nullptr,
                  const std::string& folder = library_folder)
        : plugin_handle(folder + '/' + qor::platform::shared_library_file_name(name), type_word, host) {}
};

} // namespace tavi::test

#endif

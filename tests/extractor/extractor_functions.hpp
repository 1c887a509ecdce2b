// The functions of one loaded copy of the extractor's library.
#ifndef TESTS_EXTRACTOR_EXTRACTOR_FUNCTIONS_HPP
#define TESTS_EXTRACTOR_EXTRACTOR_FUNCTIONS_HPP

#include <stdexcept>
#include <string>

#include "qor_tavi_extractor/qor_tavi_extractor.h"
#include "qorcpp/platform/shared_library.hpp"

// What the library exports beside its metadata, each without the prefix.
// clang-format off
#define TAVI_TEST_EXPORTS(each)                                                                                        \
    each(create) each(destroy) each(get_service_locator)                                                               \
    each(register_source) each(register_source_from_signal_storage) each(register_source_with_data_descriptions)       \
    each(unregister_sources) each(checkpoint_signal_storage)                                                           \
    each(get_root_nodes) each(get_root_nodes_by_source_name) each(get_node_children) each(get_type_schema_by_url)      \
    each(subscribe) each(unsubscribe) each(unsubscribe_all) each(get_subscription_count) each(get_url)                 \
    each(get_type_schema_by_subscription) each(get_reader_filter_expression)                                           \
    each(match) each(process) each(has_data_processor)
// clang-format on

namespace tavi::test {

class extractor_functions {
public:
    explicit extractor_functions(const std::string& path) : library_(path) {}

private:
    template<typename Function>
    Function* find(Function*, const char* name) const {
        void* const symbol = library_.get_symbol(name);
        if (symbol == nullptr) {
            throw std::runtime_error(std::string(name) + ": " + qor::platform::get_last_error());
        }
        return reinterpret_cast<Function*>(symbol);
    }
    qor::platform::shared_library library_;

public:
// The type of each comes from the header.
#define TAVI_TEST_FUNCTION(name)                                                                                       \
    decltype(&qor_tavi_extractor_##name) name =                                                                        \
        find(decltype (&qor_tavi_extractor_##name)(), "qor_tavi_extractor_" #name);
    TAVI_TEST_EXPORTS(TAVI_TEST_FUNCTION)
#undef TAVI_TEST_FUNCTION
};

} // namespace tavi::test

#endif

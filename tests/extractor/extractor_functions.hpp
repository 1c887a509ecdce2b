// The functions of one loaded copy of the extractor's library.
#ifndef TESTS_EXTRACTOR_EXTRACTOR_FUNCTIONS_HPP
#define TESTS_EXTRACTOR_EXTRACTOR_FUNCTIONS_HPP

#include <stdexcept>
#include <string>

#include "qor_tavi_extractor/qor_tavi_extractor.h"
#include "qorcpp/platform/shared_library.hpp"

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
// The names are those of the header: the type of each comes from there.
#define TAVI_TEST_FUNCTION(verb)                                                                                       \
    decltype(&qor_tavi_extractor_##verb) verb =                                                                        \
        find(decltype (&qor_tavi_extractor_##verb)(), "qor_tavi_extractor_" #verb)
    TAVI_TEST_FUNCTION(create);
    TAVI_TEST_FUNCTION(destroy);
    TAVI_TEST_FUNCTION(get_service_locator);
    TAVI_TEST_FUNCTION(register_source);
    TAVI_TEST_FUNCTION(register_source_from_signal_storage);
    TAVI_TEST_FUNCTION(register_source_with_data_descriptions);
    TAVI_TEST_FUNCTION(unregister_sources);
    TAVI_TEST_FUNCTION(checkpoint_signal_storage);
    TAVI_TEST_FUNCTION(get_root_nodes);
    TAVI_TEST_FUNCTION(get_root_nodes_by_source_name);
    TAVI_TEST_FUNCTION(get_node_children);
    TAVI_TEST_FUNCTION(get_type_schema_by_url);
    TAVI_TEST_FUNCTION(subscribe);
    TAVI_TEST_FUNCTION(unsubscribe);
    TAVI_TEST_FUNCTION(unsubscribe_all);
    TAVI_TEST_FUNCTION(get_subscription_count);
    TAVI_TEST_FUNCTION(get_url);
    TAVI_TEST_FUNCTION(get_type_schema_by_subscription);
    TAVI_TEST_FUNCTION(get_reader_filter_expression);
    TAVI_TEST_FUNCTION(match);
    TAVI_TEST_FUNCTION(process);
    TAVI_TEST_FUNCTION(has_data_processor);
#undef TAVI_TEST_FUNCTION
};

} // namespace tavi::test

#endif

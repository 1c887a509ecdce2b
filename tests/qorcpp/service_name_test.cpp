#include <gtest/gtest.h>

#include <stdexcept>

#include "qorc/extensibility/data_processor.h"
#include "qorc/extensibility/log.h"
#include "qorcpp/service_name.hpp"

namespace {

template<typename Exception, typename Body>
std::string text_of(Body body) {
    try {
        body();
    } catch (const Exception& error) {
        return error.what();
    }
    return "nothing of the kind was thrown";
}

TEST(service_name, is_that_of_the_structure) {
    EXPECT_EQ(qor::service_name<qor_log_t>(), "qor_log_t");
    EXPECT_EQ(qor::demangled_string<qor_data_processor_data_description_support_t>(),
              "qor_data_processor_data_description_support_t");
}

TEST(service_name, only_one_leading_keyword_is_cut) {
    const struct {
        const char* given;
        const char* name;
    } cases[] = {{"class qor_log_t", "qor_log_t"},
                 {"struct qor_log_t", "qor_log_t"},
                 {"class struct x", "struct x"},
                 {"my class x", "my class x"},
                 {"9qor_log_t", "qor_log_t"}};
    for (const auto& [given, name] : cases) {
        EXPECT_EQ(qor::demangle(given), name);
    }
    EXPECT_EQ(text_of<std::invalid_argument>([] { qor::demangle(nullptr); }), "cannot demnagle null argument");
}

} // namespace

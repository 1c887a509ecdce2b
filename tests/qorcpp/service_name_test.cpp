#include <gtest/gtest.h>

#include "qorc/extensibility/log.h"
#include "qorcpp/service_name.hpp"
#include "tests/support/thrown.hpp"

namespace {

TEST(service_name, is_that_of_the_structure_without_one_leading_keyword) {
    EXPECT_EQ(qor::service_name<qor_log_t>(), "qor_log_t");
    const std::pair<const char*, const char*> cases[] = {{"class qor_log_t", "qor_log_t"},
                                                         {"struct qor_log_t", "qor_log_t"},
                                                         {"class struct x", "struct x"},
                                                         {"my class x", "my class x"},
                                                         {"9qor_log_t", "qor_log_t"}};
    for (const auto& [given, name] : cases) {
        EXPECT_EQ(qor::demangle(given), name);
    }
    EXPECT_EQ(tavi::test::thrown<std::invalid_argument>([] { qor::demangle(nullptr); }),
              "cannot demnagle null argument");
}

} // namespace

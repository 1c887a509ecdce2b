#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "qorc/error_details.h"

namespace {

TEST(error_details, keeps_a_copy_of_code_and_text) {
    const char* const texts[] = {"a failure", "", nullptr};
    for (const std::uint32_t code : {QOR_STATUS_OK, QOR_STATUS_INFORMATION, QOR_STATUS_NOT_IMPLEMENTED, 0xFFFFFFFFu}) {
        for (const char* const text : texts) {
            std::string changing = text != nullptr ? text : "";
            auto* details = reinterpret_cast<qor_error_details_t*>(1); // what stands there is not read
            EXPECT_EQ(qor_error_details_create(&details, code, text != nullptr ? changing.c_str() : nullptr), code);
            changing.assign(changing.size(), '?');
            EXPECT_EQ(qor_error_details_get_code(details), code);
            EXPECT_STREQ(qor_error_details_get_description(details), text);
            qor_error_details_destroy(details);
        }
    }
}

TEST(error_details, tolerates_null) {
    EXPECT_EQ(qor_error_details_create(nullptr, QOR_STATUS_FAILURE, "text"), QOR_STATUS_FAILURE);
    EXPECT_EQ(qor_error_details_get_code(nullptr), 0u);
    EXPECT_EQ(qor_error_details_get_description(nullptr), nullptr);
    qor_error_details_destroy(nullptr);
}

} // namespace

// Details of errors and names of sources.
#include <gtest/gtest.h>

#include <string>

#include "qorc/error_details.h"
#include "qorc/extensibility/data_source.h"
#include "tests/support/memory_shortage.hpp"
#include "tests/support/outcome.hpp"

namespace {

using namespace tavi::test;

TEST(error_details, keep_a_copy_of_code_and_text_and_tolerate_null) {
    for (const char* const text : {"a failure", "", static_cast<const char*>(nullptr)}) {
        std::string changing = text != nullptr ? text : "";
        auto* details = reinterpret_cast<qor_error_details_t*>(1); // what stands there is not read
        EXPECT_EQ(qor_error_details_create(&details, ~0u, text != nullptr ? changing.c_str() : nullptr), ~0u);
        changing.assign(changing.size(), '?');
        EXPECT_EQ(qor_error_details_get_code(details), ~0u);
        EXPECT_STREQ(qor_error_details_get_description(details), text);
        qor_error_details_destroy(details);
    }
    EXPECT_EQ(qor_error_details_create(nullptr, QOR_STATUS_FAILURE, "text"), QOR_STATUS_FAILURE);
    EXPECT_EQ(qor_error_details_get_code(nullptr), 0u);
    EXPECT_EQ(qor_error_details_get_description(nullptr), nullptr);
    qor_error_details_destroy(nullptr);
}

// A caller that looks at details alone must not take a failure for a success. What was only an information is dropped.
TEST(error_details, without_memory_are_a_record_that_the_process_shares) {
    if (!memory_shortage::is_possible()) {
        GTEST_SKIP() << "the heap of this build cannot be made to fail";
    }
    const std::tuple<std::uint32_t, std::uint32_t, const char*> cases[] = {
        {QOR_STATUS_FAILURE, QOR_STATUS_OUT_OF_MEMORY, "memory allocation failed"},
        {QOR_STATUS_OK, QOR_STATUS_OUT_OF_MEMORY, "memory allocation failed"},
        {QOR_STATUS_INFORMATION, 0, nullptr},
    };
    for (const auto& [status, code, text] : cases) {
        for (int twice = 0; twice < 2; ++twice) {
            auto* details = reinterpret_cast<qor_error_details_t*>(1);
            {
                const memory_shortage none(1);
                EXPECT_EQ(qor_error_details_create(&details, status, "a failure"), status);
            }
            EXPECT_EQ(qor_error_details_get_code(details), code);
            EXPECT_STREQ(qor_error_details_get_description(details), text);
            qor_error_details_destroy(details);
        }
    }
}

TEST(source_name, becomes_what_a_url_expression_takes_without_quotes) {
    const std::pair<const char*, std::string> cases[] = {
        {"Front Radar.2", "Front_Radar_2"},
        {"3rd", "_3rd"},
        {"-x", "_-x"},
        {"", "_"},
        {"\xE2\x82\xAC\xF0\x9F\x9A\x97", "__"},
        {"a\xE2\x82z\x80\x80", "a_z__"},
        {"a\tb\nc'd\"e#[]", "a_b_c_d_e___"},
    };
    for (const auto& [name, sanitized] : cases) {
        std::string output(64, '?');
        std::size_t size = sanitized.size();
        EXPECT_EQ(call(qor_data_source_sanitize_name, name, output.data(), &size), too_small);
        EXPECT_EQ(output[0], '?');
        EXPECT_EQ(call(qor_data_source_sanitize_name, name, output.data(), &size), succeeded);
        EXPECT_EQ(output.c_str(), sanitized) << name;
        EXPECT_EQ(size, sanitized.size() + 1) << name;
    }
    std::size_t size = 100;
    EXPECT_EQ(call(qor_data_source_sanitize_name, "can0", nullptr, &size), too_small);
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(call(qor_data_source_sanitize_name, nullptr, nullptr, &size),
              invalid("argument 'input' was not initialized"));
}

} // namespace

// The plug-in as the extractor drives it: every built-in description enters a real storage; a refused text leaves
// nothing.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qorc/extensibility/data_description_parser.h"
#include "qorcpp/call_frame.hpp"
#include "qorcpp/platform/module.hpp"
#include "qorcpp/platform/shared_library.hpp"

namespace {

using qor::rethrow_details;
using qor::platform::shared_library;
using qor::platform::shared_library_file_name;

template<typename Table>
Table table_of(qor_service_locator_t* locator, const char* name) {
    void* table = nullptr;
    qor_error_details_t* details = nullptr;
    locator->resolve(locator->context, name, &table, &details);
    rethrow_details(details);
    return *static_cast<Table*>(table);
}

class SdlPlugin : public testing::Test {
protected:
    void SetUp() override {
        qor_error_details_t* details = nullptr;
        symbol<qor_plugin_create_t>(parser_library, "qor_data_description_parser_create")(&parser, nullptr, &details);
        rethrow_details(details);
        symbol<qor_signal_storage_open_t>(storage_library, "qor_signal_storage_open")(
            "file:signal_storage?mode=memory", 0, 0, nullptr, &storage, &details);
        rethrow_details(details);
        qor_service_locator_t* locator = nullptr;
        symbol<qor_plugin_get_service_locator_t>(parser_library, "qor_data_description_parser_get_service_locator")(
            parser, &locator, &details);
        support = table_of<qor_data_description_parser_support_t>(locator, "qor_data_description_parser_support_t");
        formats = table_of<qor_data_description_parser_format_support_t>(
            locator, "qor_data_description_parser_format_support_t");
        symbol<qor_signal_storage_get_service_locator_t>(storage_library, "qor_signal_storage_get_service_locator")(
            storage, &locator, &details);
        writing = table_of<qor_signal_storage_t>(locator, "qor_signal_storage_t");
        reading = table_of<qor_signal_storage_access_t>(locator, "qor_signal_storage_access_t");
    }

    void TearDown() override {
        symbol<qor_plugin_destroy_t>(parser_library, "qor_data_description_parser_destroy")(parser);
        symbol<qor_signal_storage_destroy_t>(storage_library, "qor_signal_storage_destroy")(storage);
    }

    template<typename Function>
    static Function symbol(const shared_library& library, const char* name) {
        return reinterpret_cast<Function>(library.get_symbol(name));
    }

    // The id of the description; throws what parser or storage report.
    uint64_t parse(const std::string& text, const char* name) {
        qor_error_details_t* details = nullptr;
        qor_signal_storage_context_t* context = nullptr;
        writing.create_context(writing.context, 0, text.data(), text.size(), name, &context, &details);
        rethrow_details(details);
        uint64_t id = 0;
        support.parse_buffer(parser, context, 0, text.data(), text.size(), name, nullptr, nullptr, &details);
        if (details == nullptr) {
            context->commit(context->context, &id, &details);
        }
        qor_error_details_t* ended = nullptr;
        context->destroy(context->context, &ended);
        rethrow_details(ended);
        rethrow_details(details);
        return id;
    }

    bool has(uint64_t id, const char* path) {
        qor_type_node_t* node = nullptr;
        qor_error_details_t* details = nullptr;
        reading.find_node(reading.context, id, path, &node, &details);
        const bool found = details == nullptr && node != nullptr;
        qor_error_details_destroy(details);
        qor_type_node_destroy(qor_get_default_allocator(), node, nullptr);
        return found;
    }

    static std::string path_of(const char* base) {
        return std::string(TAVI_LIBRARY_DIR) + "/" + shared_library_file_name(base);
    }

    shared_library parser_library{path_of("qor_sdl_parser")};
    shared_library storage_library{path_of("qor_signal_storage")};
    void* parser = nullptr;
    void* storage = nullptr;
    qor_data_description_parser_support_t support{};
    qor_data_description_parser_format_support_t formats{};
    qor_signal_storage_t writing{};
    qor_signal_storage_access_t reading{};
};

TEST_F(SdlPlugin, ServesItsTypeWordsForAnySource) {
    std::vector<std::string> types;
    for (size_t index = 0; index < formats.get_supported_file_format_count(parser); ++index) {
        qor_data_description_file_format_t format{};
        formats.get_supported_file_format(parser, index, &format, nullptr);
        types.emplace_back(format.description_type);
        EXPECT_EQ(format.source_id_filter, 0);
    }
    EXPECT_EQ(types, (std::vector<std::string>{"sdl", "gps-sdl", "reference-camera-sdl", "rt-range-sdl"}));
}

TEST_F(SdlPlugin, CarriesTheBuiltInDescriptions) {
    const std::string asked(1, '\0');
    const std::pair<const char*, const char*> rows[] = {
        {"gps-sdl", "GPS.SatelliteInView.SignalStrength"},
        {"reference-camera-sdl", "ReferenceCamera.Frame.ExposureTime"},
        {"rt-range-sdl", "RtRange.Target.TimeToCollision"},
    };
    for (const auto& [name, path] : rows) {
        EXPECT_TRUE(has(parse(asked, name), path)) << name;
    }
    EXPECT_THROW(
        {
            try {
                parse(asked, "other-sdl");
            } catch (const std::runtime_error& error) {
                EXPECT_STREQ(error.what(), "there is no built-in description named 'other-sdl'");
                throw;
            }
        },
        std::runtime_error);
}

TEST_F(SdlPlugin, LeavesNothingOfATextThatItRefuses) {
    const std::string text = R"({"sdl": 1, "views": [
        {"name": "V", "objects": [{"name": "O", "address": 1, "members": [{"name": "s", "stored": "int8"}]}]},
        {"name": "W", "objects": [{"name": "O", "address": "x", "members": []}]}]})";
    try {
        parse(text, "layout.sdl");
        FAIL() << "was accepted";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "layout.sdl: /views/1/objects/0/address: expected an integer from 0 to "
                                   "18446744073709551615, found \"x\"");
    }
    EXPECT_FALSE(has(0, "V.O.s"));
    EXPECT_FALSE(has(0, "V"));
}

} // namespace

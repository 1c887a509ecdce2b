// The plug-in as the extractor drives it: by its tables, once for each handle of a package.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "plugins/nmea_processor/layout.hpp"
#include "qorc/extensibility/data_processor.h"
#include "qorcpp/call_frame.hpp"
#include "qorcpp/platform/module.hpp"
#include "qorcpp/platform/shared_library.hpp"
#include "tests/nmea_processor/sealed.hpp"
#include "tests/support/counting_allocator.hpp"

namespace nmea_processor {
namespace {

using qor::rethrow_details;
using tavi::test::counting_allocator;

const std::string position_1 = sealed("GPGLL,0100.0,N,00200.0,E,000001,A,A") + "\r\n";
const std::string position_2 = sealed("GPGLL,0130.0,N,00200.0,E,000002,A,A") + "\n";
const std::string speed_1 = sealed("GPVTG,10.0,T,,M,,N,036.0,K,A") + "\n";

class NmeaProcessor : public testing::Test {
protected:
    void SetUp() override {
        qor_error_details_t* details = nullptr;
        symbol<qor_plugin_create_t>("qor_data_processor_create")(&handle, nullptr, &details);
        rethrow_details(details);
        symbol<qor_plugin_get_service_locator_t>("qor_data_processor_get_service_locator")(handle, &locator, &details);
        rethrow_details(details);
        support = table<qor_data_processor_support_t>("qor_data_processor_support_t");
    }
    void TearDown() override {
        symbol<qor_plugin_destroy_t>("qor_data_processor_destroy")(handle);
        EXPECT_EQ(allocator.alive(), 0u);
        EXPECT_EQ(allocator.foreign, 0u);
    }

    template<typename Function>
    Function symbol(const char* name) {
        return reinterpret_cast<Function>(library.get_symbol(name));
    }
    template<typename Table>
    Table table(const char* name) {
        void* found = nullptr;
        qor_error_details_t* details = nullptr;
        locator->resolve(locator->context, name, &found, &details);
        rethrow_details(details);
        return *static_cast<Table*>(found);
    }

    uint32_t subscribe(uint64_t subscription, const object_layout& object, uint64_t position, uint64_t extent) {
        const std::string view_name(object.view);
        const std::string object_name(object.name);
        qor_type_node_t nodes[2]{};
        nodes[0].kind = QOR_TYPE_NODE_VIEW;
        nodes[0].name = view_name.c_str();
        nodes[1].kind = QOR_TYPE_NODE_OBJECT;
        nodes[1].name = object_name.c_str();
        nodes[1].object.address = object.address;
        nodes[1].object.element_count = object.element_count;
        nodes[1].object.element_size = object.element_size;
        const qor_type_node_sequence_t hierarchy{nodes, 2};
        qor_error_details_t* details = nullptr;
        const uint32_t status =
            support.register_type(handle, subscription, "{}", &hierarchy, position, extent, &details);
        rethrow_details(details);
        return status;
    }

    // The records' bytes; each record is checked and freed.
    std::vector<std::string> process(uint64_t subscription, const std::string& text, const char* format = "nmea") {
        std::vector<uint8_t> block(sizeof(qor_package_t) + text.size());
        qor_package_t package{};
        std::strcpy(package.format_type, format);
        package.payload_size = text.size();
        std::memcpy(block.data(), &package, sizeof(package));
        std::memcpy(block.data() + sizeof(package), text.data(), text.size());
        qor_dynamic_data_t** records = nullptr;
        uint64_t count = 0;
        qor_error_details_t* details = nullptr;
        support.process(handle, subscription, reinterpret_cast<const qor_package_t*>(block.data()), &records, &count,
                        &allocator, &details);
        rethrow_details(details);
        std::vector<std::string> found;
        for (uint64_t index = 0; index < count; ++index) {
            qor_dynamic_data_t& record = *records[index];
            EXPECT_EQ(record.subscription_handle, subscription);
            EXPECT_EQ(record.declared_size, 0u);
            EXPECT_EQ(record.length, record.sequence.sequence_length);
            found.emplace_back(reinterpret_cast<const char*>(record.sequence.data), record.length);
            qor_dynamic_data_destroy(&allocator, &record, nullptr);
        }
        allocator.free(records, allocator.context);
        return found;
    }

    // Records that are one double each.
    std::vector<double> numbers(uint64_t subscription, const std::string& text) {
        std::vector<double> values;
        for (const std::string& record : process(subscription, text)) {
            double value = 0;
            EXPECT_EQ(record.size(), sizeof(value));
            std::memcpy(&value, record.data(), sizeof(value));
            values.push_back(value);
        }
        return values;
    }

    void withdraw(uint64_t subscription) {
        qor_error_details_t* details = nullptr;
        support.unregister_type(handle, subscription, &details);
        rethrow_details(details);
    }

    qor::platform::shared_library library{std::string(TAVI_LIBRARY_DIR) + "/" +
                                          qor::platform::shared_library_file_name("qor_nmea_processor")};
    void* handle = nullptr;
    qor_service_locator_t* locator = nullptr;
    qor_data_processor_support_t support{};
    counting_allocator allocator;
};

using values = std::vector<double>;

TEST_F(NmeaProcessor, SaysWhatItTakesAndBrings) {
    qor_error_details_t* details = nullptr;
    size_t count = 0;
    qor_data_processor_format_t format{};
    const auto formats = table<qor_data_processor_format_support_t>("qor_data_processor_format_support_t");
    formats.get_supported_format_count(handle, &count, &details);
    ASSERT_EQ(count, 1u);
    formats.get_supported_format(handle, 0, &format, &details);
    EXPECT_STREQ(format.format, "nmea");
    EXPECT_EQ(format.source_type | format.source_class << 4, 0x23Fu);
    const auto ports = table<qor_data_processor_port_support_t>("qor_data_processor_port_support_t");
    const char* port = nullptr;
    ports.get_port_count(handle, &count, &details);
    ASSERT_EQ(count, 1u);
    ports.get_port_name(handle, 0, &port, &details);
    EXPECT_STREQ(port, "nmea");
    ASSERT_EQ(details, nullptr);
    EXPECT_NE(formats.get_supported_format(handle, 1, &format, &details), QOR_STATUS_OK);
    EXPECT_THROW(rethrow_details(details), std::invalid_argument);

    const auto descriptions =
        table<qor_data_processor_data_description_support_t>("qor_data_processor_data_description_support_t");
    qor_runtime_c_string_sequence_t* texts = nullptr;
    descriptions.get_data_descriptions(handle, &allocator, &texts, &details);
    ASSERT_EQ(details, nullptr);
    ASSERT_EQ(texts->count, 1u);
    EXPECT_NE(std::string(texts->strings[0].text).find("\"NMEA\""), std::string::npos);
    qor_runtime_c_string_sequence_destroy(&allocator, texts, nullptr);
    for (allocator.fail_at = allocator.allocations + 1; allocator.fail_at <= 6; ++allocator.fail_at) {
        descriptions.get_data_descriptions(handle, &allocator, &texts, &details);
        EXPECT_THROW(rethrow_details(details), std::runtime_error);
        allocator.allocations = 3;
    }
}

TEST_F(NmeaProcessor, DeclinesWhatItDoesNotKnow) {
    object_layout other_name = position_object;
    other_name.name = "Place";
    object_layout other_view = position_object;
    other_view.view = "NMEA";
    object_layout other_address = position_object;
    other_address.address = 0x2001;
    object_layout other_size = position_object;
    other_size.element_size = 40;
    for (const object_layout& object : {other_name, other_view, other_address, other_size}) {
        EXPECT_NE(subscribe(2, object, 0, 8), QOR_STATUS_OK) << object.name;
    }
    for (const auto& [position, extent] :
         {std::pair(uint64_t{0}, uint64_t{33}), {32, 1}, {33, 0}, {0, 0}, {UINT64_MAX, 2}, {2, UINT64_MAX}}) {
        EXPECT_NE(subscribe(2, position_object, position, extent), QOR_STATUS_OK) << position << " " << extent;
    }
    qor_type_node_t view{};
    view.kind = QOR_TYPE_NODE_VIEW;
    const qor_type_node_sequence_t alone{&view, 1};
    qor_error_details_t* details = nullptr;
    EXPECT_NE(support.register_type(handle, 2, "{}", &alone, 0, 8, &details), QOR_STATUS_OK);
    EXPECT_EQ(details, nullptr);
    EXPECT_TRUE(process(2, position_1).empty());
    EXPECT_EQ(subscribe(2, position_object, 24, 8), QOR_STATUS_OK);
}

TEST_F(NmeaProcessor, GivesARecordForEachSentenceThatUpdates) {
    subscribe(2, position_object, 0, 8);
    subscribe(5, velocity_object, 0, 8);
    subscribe(7, statistics_object, 0, 8);
    const std::string package = "# log\r\n" + position_1 + speed_1 + "$broken\n" + position_2;
    EXPECT_EQ(numbers(2, package), (values{1.0, 1.5}));
    EXPECT_TRUE(process(3, package).empty());
    EXPECT_EQ(numbers(5, package), (values{10.0}));
    EXPECT_EQ(process(7, package),
              (std::vector<std::string>{{"\1\0\0\0\0\0\0\0", 8}, {"\2\0\0\0\0\0\0\0", 8}, {"\3\0\0\0\0\0\0\0", 8}}));
    EXPECT_TRUE(process(2, position_1, "can").empty());
    EXPECT_TRUE(process(2, "").empty());
}

TEST_F(NmeaProcessor, AdvancesOnceForEachPackage) {
    const auto sentences = [](const std::string& record) { return static_cast<int>(record.at(0)); };
    const auto last = [&](uint64_t subscription, const std::string& text) {
        const auto records = process(subscription, text);
        return records.empty() ? 0 : sentences(records.back());
    };
    subscribe(2, statistics_object, 0, 8);
    subscribe(4, statistics_object, 0, 8);
    EXPECT_EQ(last(2, position_1), 1);
    EXPECT_EQ(last(3, position_1), 0);
    EXPECT_EQ(last(4, position_1), 1);
    EXPECT_EQ(last(2, position_1), 2); // an equal package: the handles begin anew
    EXPECT_EQ(last(4, position_2), 3); // another package to the second handle only
    EXPECT_EQ(last(2, position_2), 4);
    withdraw(2);
    withdraw(4);
    subscribe(8, statistics_object, 0, 8);
    EXPECT_EQ(last(8, position_2), 5); // an equal package to new handles
    EXPECT_EQ(process(4, position_2).size(), 0u);

    const auto binding = table<qor_data_processor_data_source_binding_t>("qor_data_processor_data_source_binding_t");
    qor_data_source_t source{};
    qor_error_details_t* details = nullptr;
    binding.bind(handle, &source, nullptr, &details);
    rethrow_details(details);
    EXPECT_EQ(last(8, position_1), 1);
}

TEST_F(NmeaProcessor, LosesNothingWhenMemoryRunsOut) {
    subscribe(2, satellite_object, 0, satellite_object.size());
    const std::string list = sealed("GPGSV,1,1,01,05,01,047,20") + "\n";
    for (allocator.fail_at = 1; allocator.fail_at <= 3; ++allocator.fail_at) {
        allocator.allocations = 0;
        EXPECT_THROW(process(2, list + list), std::runtime_error) << allocator.fail_at;
        EXPECT_EQ(allocator.alive(), 0u);
    }
    allocator.fail_at = 0;
    EXPECT_EQ(process(2, list + list).size(), 2u);
}

TEST_F(NmeaProcessor, GivesTheSameRecordsHoweverSentencesArePacked) {
    const std::string kinds[] = {position_1,
                                 position_2,
                                 speed_1,
                                 "$GPGLL,cut\n",
                                 sealed("GPGSV,2,1,05,05,01,047,,10,29,224,31,13,22,062,23,15,40,094,") + "\n",
                                 sealed("GPGSV,2,2,05,16,25,306,30") + "\n",
                                 sealed("GLGSV,1,1,01,66,09,027,") + "\n",
                                 sealed("GNZDA,223745.00,11,07,2020,00,00") + "\n"};
    const object_layout objects[] = {time_object, position_object, velocity_object, satellite_object,
                                     statistics_object};
    std::mt19937 random(20200711);
    std::vector<std::string> sentences(300);
    for (std::string& sentence : sentences) {
        sentence = kinds[random() % std::size(kinds)];
    }
    std::vector<std::string> packings[3];
    packings[0] = sentences;
    packings[1].emplace_back();
    for (const std::string& sentence : sentences) {
        packings[1].back() += sentence;
        if (packings[2].empty() || random() % 4 == 0) {
            packings[2].emplace_back();
        }
        packings[2].back() += sentence;
    }
    std::vector<std::vector<std::string>> found[3];
    for (size_t packing = 0; packing < std::size(packings); ++packing) {
        qor_data_source_t source{};
        table<qor_data_processor_data_source_binding_t>("qor_data_processor_data_source_binding_t")
            .bind(handle, &source, nullptr, nullptr);
        found[packing].resize(std::size(objects));
        for (size_t index = 0; index < std::size(objects); ++index) {
            subscribe(2 + index, objects[index], 0, objects[index].size());
        }
        for (const std::string& package : packings[packing]) {
            for (size_t index = 0; index < std::size(objects); ++index) {
                for (std::string& record : process(2 + index, package)) {
                    found[packing][index].push_back(std::move(record));
                }
            }
        }
    }
    EXPECT_EQ(found[0], found[1]);
    EXPECT_EQ(found[0], found[2]);
    EXPECT_EQ(found[0].back().size(), 300u);
}

} // namespace
} // namespace nmea_processor

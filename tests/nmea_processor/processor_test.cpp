// The plug-in as the extractor drives it: by its tables, once for each handle of a package.
#include <gmock/gmock.h>

#include <map>
#include <random>
#include <sstream>

#include "plugins/nmea_processor/layout.hpp"
#include "qorc/extensibility/data_processor.h"
#include "tests/nmea_processor/sealed.hpp"
#include "tests/support/counting_allocator.hpp"
#include "tests/support/decoded_text.hpp"
#include "tests/support/loaded_plugin.hpp"
#include "tests/support/nodes_of.hpp"
#include "tests/support/outcome.hpp"

namespace nmea_processor {
namespace {

using tavi::test::call;
using tavi::test::counting_allocator;
using tavi::test::succeeded;
using testing::ElementsAre;

const std::string position_1 = sealed("GPGLL,0100.0,N,00200.0,E,000001,A,A") + "\r\n";
const std::string position_2 = sealed("GPGLL,0130.0,N,00200.0,E,000002,A,A") + "\n";
const std::string speed_1 = sealed("GPVTG,10.0,T,,M,,N,036.0,K,A") + "\n";

class NmeaProcessor : public testing::Test {
protected:
    void TearDown() override { EXPECT_TRUE(allocator.alive() == 0 && allocator.foreign == 0); }

    // Whether the plug-in takes it.
    bool subscribe(uint64_t subscription, const object_layout& object, uint64_t position, uint64_t extent) {
        std::ostringstream nodes;
        nodes << "view 1 0 " << object.view << "; object 2 1 " << object.name << ' ' << object.address << ' '
              << object.element_size << ' ' << object.element_count;
        return subscribe(subscription, nodes.str().c_str(), position, extent);
    }
    bool subscribe(uint64_t subscription, const char* nodes, uint64_t position, uint64_t extent) {
        tavi::test::nodes_of list(nodes);
        const auto hierarchy = list.sequence();
        const auto result =
            call(support.register_type, plugin.instance(), subscription, "{}", &hierarchy, position, extent);
        EXPECT_FALSE(result.code) << result;
        return result.status == QOR_STATUS_OK;
    }

    // The records' bytes; each record is checked and freed. Nothing when the call fails.
    std::vector<std::string> process(uint64_t subscription, const std::string& text, const char* format = "nmea") {
        package.set_format(format);
        qor_dynamic_data_t** records = nullptr;
        uint64_t count = 0;
        last_outcome = call(support.process, plugin.instance(), subscription, &tavi::test::build_package(package, text),
                            &records, &count, &allocator);
        std::vector<std::string> found;
        for (uint64_t index = 0; last_outcome == succeeded && index < count; ++index) {
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

    void begin_anew() {
        const qor_data_source_t source{};
        EXPECT_EQ(
            call(plugin.table<qor_data_processor_data_source_binding_t>().bind, plugin.instance(), &source, nullptr),
            succeeded);
    }

    tavi::test::loaded_plugin plugin{"qor_nmea_processor", "data-processor"};
    const qor_data_processor_support_t& support = plugin.table<qor_data_processor_support_t>();
    counting_allocator allocator;
    tavi::host::package_builder package;
    tavi::test::outcome last_outcome;
};

std::string bytes_of(double value) {
    return {reinterpret_cast<const char*>(&value), sizeof(value)};
}

// Its formats and descriptions are what the road to values begins with.
TEST_F(NmeaProcessor, NamesItsPortAndFailsCleanly) {
    const auto& ports = plugin.table<qor_data_processor_port_support_t>();
    size_t count = 0;
    const char* port = nullptr;
    EXPECT_EQ(call(ports.get_port_count, plugin.instance(), &count), succeeded);
    EXPECT_EQ(call(ports.get_port_name, plugin.instance(), 0, &port), succeeded);
    EXPECT_EQ(count, 1u);
    EXPECT_STREQ(port, "nmea");
    qor_data_processor_format_t format{};
    const auto get_format = plugin.table<qor_data_processor_format_support_t>().get_supported_format;
    EXPECT_EQ(call(get_format, plugin.instance(), 1, &format).status, QOR_STATUS_INVALID_ARGUMENT);
    const auto get_descriptions = plugin.table<qor_data_processor_data_description_support_t>().get_data_descriptions;
    qor_runtime_c_string_sequence_t* texts = nullptr;
    for (allocator.fail_at = 1; allocator.fail_at <= 3; ++allocator.fail_at) {
        allocator.allocations = 0;
        EXPECT_TRUE(call(get_descriptions, plugin.instance(), &allocator, &texts).code) << allocator.fail_at;
    }
}

TEST_F(NmeaProcessor, DeclinesWhatItDoesNotKnow) {
    for (const char* const nodes :
         {"view 1 0 GPS; object 2 1 Place 0x2000 32", "view 1 0 NMEA; object 2 1 Position 0x2000 32",
          "view 1 0 GPS; object 2 1 Position 0x2001 32", "view 1 0 GPS; object 2 1 Position 0x2000 40",
          "view 1 0 GPS"}) {
        EXPECT_FALSE(subscribe(2, nodes, 0, 8)) << nodes;
    }
    for (const auto& [position, extent] :
         {std::pair(uint64_t{0}, uint64_t{33}), {32, 1}, {33, 0}, {0, 0}, {UINT64_MAX, 2}, {2, UINT64_MAX}}) {
        EXPECT_FALSE(subscribe(2, position_object, position, extent)) << position << " " << extent;
    }
    EXPECT_TRUE(process(2, position_1).empty());
    EXPECT_TRUE(subscribe(2, "view 1 0 GPS; object 2 1 Position 0x2000 32", 24, 8));
}

TEST_F(NmeaProcessor, GivesARecordForEachSentenceThatUpdates) {
    subscribe(2, position_object, 0, 8);
    subscribe(5, velocity_object, 0, 8);
    subscribe(7, statistics_object, 0, 8);
    const std::string text = "# log\r\n" + position_1 + speed_1 + "$broken\n" + position_2;
    EXPECT_THAT(process(2, text), ElementsAre(bytes_of(1.0), bytes_of(1.5)));
    EXPECT_TRUE(process(3, text).empty());
    EXPECT_THAT(process(5, text), ElementsAre(bytes_of(10.0)));
    const std::string zeros(7, '\0');
    EXPECT_THAT(process(7, text), ElementsAre('\1' + zeros, '\2' + zeros, '\3' + zeros));
    EXPECT_TRUE(process(2, position_1, "can").empty());
    EXPECT_TRUE(process(2, "").empty());
}

TEST_F(NmeaProcessor, AdvancesOnceForEachPackage) {
    // The count of sentences in the only record; a package that was not selected leaves nothing behind.
    const auto last = [&](uint64_t subscription, const std::string& text) {
        const auto records = process(subscription, text);
        EXPECT_LE(records.size(), 1u);
        return records.empty() ? 0 : static_cast<int>(records.back().at(0));
    };
    subscribe(2, statistics_object, 0, 8);
    subscribe(4, statistics_object, 0, 8);
    EXPECT_EQ(last(2, position_1), 1);
    EXPECT_EQ(last(3, position_1), 0);
    EXPECT_EQ(last(4, position_1), 1);
    EXPECT_EQ(last(2, position_1), 2); // an equal package: the handles begin anew
    EXPECT_EQ(last(4, position_2), 3); // another package to the second handle only
    EXPECT_EQ(last(2, position_2), 4);
    EXPECT_EQ(call(support.unregister_type, plugin.instance(), 2), succeeded);
    EXPECT_EQ(call(support.unregister_type, plugin.instance(), 4), succeeded);
    subscribe(8, statistics_object, 0, 8);
    EXPECT_EQ(last(8, position_2), 5); // an equal package to new handles
    EXPECT_EQ(process(4, position_2).size(), 0u);

    begin_anew();
    EXPECT_EQ(last(8, position_1), 1);
}

TEST_F(NmeaProcessor, LosesNothingWhenMemoryRunsOut) {
    subscribe(2, satellite_object, 0, satellite_object.size());
    const std::string list = sealed("GPGSV,1,1,01,05,01,047,20") + "\n";
    for (allocator.fail_at = 1; allocator.fail_at <= 3; ++allocator.fail_at) {
        allocator.allocations = 0;
        process(2, list + list);
        EXPECT_TRUE(last_outcome.code) << allocator.fail_at;
        EXPECT_EQ(allocator.alive(), 0u);
    }
    allocator.fail_at = 0;
    EXPECT_EQ(process(2, list + list).size(), 2u);
}

TEST_F(NmeaProcessor, GivesTheSameRecordsHoweverSentencesArePacked) {
    std::vector<std::string> kinds = {position_1, position_2, speed_1, "$GPGLL,cut\n"};
    for (const char* const body :
         {"GPGSV,2,1,05,05,01,047,,10,29,224,31,13,22,062,23,15,40,094,", "GPGSV,2,2,05,16,25,306,30",
          "GLGSV,1,1,01,66,09,027,", "GNZDA,223745.00,11,07,2020,00,00"}) {
        kinds.push_back(sealed(body) + '\n');
    }
    const object_layout objects[] = {time_object, position_object, velocity_object, satellite_object,
                                     statistics_object};
    // One sentence a package, all in one, and as it comes.
    std::mt19937 random(20200711);
    std::vector<std::string> packings[3] = {{}, {""}, {""}};
    for (int count = 0; count < 300; ++count) {
        const std::string& sentence = kinds[random() % kinds.size()];
        packings[0].push_back(sentence);
        packings[1].back() += sentence;
        if (random() % 4 == 0) {
            packings[2].emplace_back();
        }
        packings[2].back() += sentence;
    }
    std::map<std::string_view, std::vector<std::string>> found[3];
    for (size_t packing = 0; packing < std::size(packings); ++packing) {
        begin_anew();
        for (size_t index = 0; index < std::size(objects); ++index) {
            subscribe(2 + index, objects[index], 0, objects[index].size());
        }
        for (const std::string& package : packings[packing]) {
            for (size_t index = 0; index < std::size(objects); ++index) {
                const auto records = process(2 + index, package);
                auto& all = found[packing][objects[index].name];
                all.insert(all.end(), records.begin(), records.end());
            }
        }
    }
    EXPECT_EQ(found[0], found[1]);
    EXPECT_EQ(found[0], found[2]);
    EXPECT_EQ(found[0]["Statistics"].size(), 300u);
}

} // namespace
} // namespace nmea_processor

// A receiver's recorded minute against what another reader made of it, and a log of damaged sentences.
#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>

#include "plugins/nmea_processor/receiver.hpp"
#include "tests/nmea_processor/receiver_values.hpp"

namespace nmea_processor {
namespace {

namespace fs = std::filesystem;

class RecordedLog : public testing::Test {
protected:
    void SetUp() override {
        const char* const told = std::getenv("TAVI_SHARED_DATA");
        folder = told != nullptr ? fs::path(told) : fs::path(TAVI_SOURCE_DIR) / ".." / "shared" / "data";
        if (!fs::is_directory(folder)) {
            GTEST_SKIP() << "needs the folder of measurement data (TAVI_SHARED_DATA)";
        }
    }

    std::vector<std::string> lines(const fs::path& path) const {
        std::vector<std::string> lines;
        std::ifstream file(folder / path);
        for (std::string line; std::getline(file, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    std::string unpacked(const fs::path& path) const {
        std::string content;
        if (const gzFile file = gzopen((folder / path).c_str(), "rb")) {
            char block[65536];
            for (int count = 0; (count = gzread(file, block, sizeof(block))) > 0;) {
                content.append(block, static_cast<size_t>(count));
            }
            gzclose(file);
        }
        return content;
    }

    fs::path folder;
};

std::vector<std::string> columns_of(const std::string& row) {
    std::vector<std::string> columns;
    std::istringstream stream(row);
    for (std::string column; std::getline(stream, column, ',');) {
        columns.push_back(column);
    }
    columns.resize(9);
    return columns;
}

TEST_F(RecordedLog, GivesThePositionsOfItsSentences) {
    const auto log = lines("nmea/neo_m9n.nmea");
    std::istringstream expected(unpacked("nmea/neo_m9n.nmea.expected.csv.gz"));
    receiver receiver;
    size_t line = 0;
    size_t positions = 0;
    std::string row;
    std::getline(expected, row);
    while (std::getline(expected, row)) {
        const auto columns = columns_of(row);
        for (; line < std::stoul(columns[0]); ++line) {
            sentence_scanner scanner(log.at(line));
            for (std::string_view piece; scanner.next(piece);) {
                receiver.take(piece);
            }
        }
        ASSERT_EQ(columns[3], "1");
        ASSERT_EQ(value_of(receiver.values(), broken_count), 0) << row;
        if (!columns[7].empty()) {
            ++positions;
            EXPECT_NE(updated_values(receiver.values()).find("latitude"), std::string::npos) << row;
            EXPECT_NEAR(value_of(receiver.values(), latitude), std::stod(columns[7]), 5.1e-7) << row;
            EXPECT_NEAR(value_of(receiver.values(), longitude), std::stod(columns[8]), 5.1e-7) << row;
        }
    }
    EXPECT_EQ(positions, 183u);                                 // one in each RMC, GGA and GLL of 61 seconds
    EXPECT_EQ(value_of(receiver.values(), unknown_count), 122); // GST and GBS
    EXPECT_EQ(value_of(receiver.values(), satellites_in_view), 43);
}

TEST_F(RecordedLog, OfDamagedSentencesLeavesTheSoundOnes) {
    receiver receiver;
    std::string text;
    for (const std::string& line : lines("malformed/bad.nmea")) {
        text += line + "\n";
    }
    sentence_scanner scanner(text);
    std::vector<bool> sound;
    for (std::string_view piece; scanner.next(piece);) {
        const double before = value_of(receiver.values(), broken_count);
        receiver.take(piece);
        sound.push_back(value_of(receiver.values(), broken_count) == before);
    }
    EXPECT_EQ(sound, (std::vector<bool>{true, false, false, true, false, false}));
}

} // namespace
} // namespace nmea_processor

// Real recordings and generated payloads against the values that another decoder gave.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <set>

#include <gtest/gtest.h>

#include "tests/tavi/command.hpp"

namespace tavi::test {
namespace {

namespace fs = std::filesystem;

// "TIME INTERFACE SIGNAL" and a value. Several messages may share the first.
using values = std::vector<std::pair<std::string, double>>;

// Names that begin with a digit have a leading '_' in catalogue and sources.
std::string_view without_mark(std::string_view name) {
    return name.size() > 1 && name[0] == '_' && name[1] >= '0' && name[1] <= '9' ? name.substr(1) : name;
}

void add(values& to, std::string_view time, std::string_view channel, std::string_view signal, std::string_view value) {
    std::string key(time);
    key.append(" ").append(without_mark(channel)).append(" ").append(without_mark(signal));
    // std::stod refuses what is denormal. What is no number stands last: float signals have no infinities here.
    const double number = std::strtod(std::string(value).c_str(), nullptr);
    to.emplace_back(key, std::isfinite(number) ? number : HUGE_VAL);
}

// Rows of CSV, of which the columns of time, channel, signal and value are told.
void add_rows(values& to, const std::string& csv, const std::array<std::size_t, 4>& columns) {
    for (const std::string& line : lines_of(csv)) {
        const auto fields = split(line, ',');
        ASSERT_GE(fields.size(), 4u) << line;
        const auto channel = fields[columns[1]];
        const auto signal = fields[columns[2]];
        add(to, fields[columns[0]], channel.substr(0, channel.find('.')), signal.substr(signal.rfind('.') + 1),
            fields[columns[3]]);
    }
}

void compare(values found, values expected, const std::string& what) {
    ASSERT_FALSE(expected.empty()) << what;
    std::sort(found.begin(), found.end());
    std::sort(expected.begin(), expected.end());
    const auto same = [](const auto& left, const auto& right) {
        const bool near = std::abs(left.second - right.second) <= 1e-12 * std::abs(right.second);
        return left.first == right.first && (near || left.second == right.second);
    };
    const auto [left, right] = std::mismatch(found.begin(), found.end(), expected.begin(), expected.end(), same);
    EXPECT_EQ(left, found.end()) << what << ": " << left->first << " is " << left->second;
    EXPECT_EQ(right, expected.end()) << what << ": " << right->first << " should be " << right->second;
}

class expected_values : public ::testing::Test, public workplace {
protected:
    void SetUp() override {
        if (!shared_data()) {
            GTEST_SKIP() << "needs the folder of measurement data (TAVI_SHARED_DATA)";
        }
        fs::create_directory_symlink(*shared_data(), path() / "data");
    }

    // What a script prints; it finds the folder of measurement data in `data`.
    std::string output_of(const std::string& script) {
        const ended run = shell(script);
        EXPECT_EQ(run.err, "") << script;
        return run.out;
    }

    // Decodes x.log and compares.
    void check(const std::string& dbc, const std::string& options, values expected) {
        const ended run = tavi("decode x.log -d data/dbc/" + dbc + ".dbc -o x.csv " + options);
        ASSERT_TRUE(run.code == 0 || run.code == 3) << run.err;
        values found;
        // Interface and signal both stand in the URL.
        add_rows(found, output_of("tail -n +2 x.csv"), {0, 1, 1, 2});
        compare(found, expected, dbc);
    }

    // Values of whole rows and those of short frames, of wrong selectors and of overlapping signals.
    values of_log(const std::string& log, const std::string& dbc) {
        values expected;
        add_rows(expected,
                 output_of("for file in data/logs/" + log + '.' + dbc + ".*expected.csv.gz; do\n" +
                           "gzip -dc $file | tail -n +2\ndone"),
                 {0, 1, 3, 4});
        return expected;
    }
};

TEST_F(expected_values, of_recorded_drives) {
    const std::pair<const char*, const char*> pairs[] = {
        {"rav4_drive.log", "toyota_new_mc_pt_generated"},
        {"rav4_drive.log", "toyota_adas"},
        {"model_s.log", "tesla_powertrain"},
        {"model_s.log", "tesla_can"},
        {"synthetic_canfd.log", "ford_lincoln_base_pt"},
    };
    for (const auto& [log, dbc] : pairs) {
        // The values are those of the first frames.
        output_of(std::string("head -n 20000 data/logs/") + log + " >x.log");
        check(dbc, "", of_log(log, dbc));
    }
}

TEST_F(expected_values, of_recorded_boats_by_parameter_group) {
    for (const std::string log : {"nmea2000_boat.pcap", "nmea2000_boat.trc", "nmea2000_boat.mf4"}) {
        // The frames of these recordings are there as a table.
        output_of("gzip -dc data/logs/" + log + ".frames.csv.gz | tail -n +2 |\n" +
                  "sed 's/^\\([^,]*\\),\\([^,]*\\),\\([^,]*\\),.*,/(\\1) \\2 \\3#/' >x.log");
        check("canboat", "--j1939", of_log(log, "canboat"));
    }
}

// A frame of CAN FD has only certain lengths: the next one, filled with zeros.
std::string fd_payload(std::string_view payload) {
    constexpr std::size_t lengths[] = {12, 16, 20, 24, 32, 48, 64};
    const std::size_t bytes = *std::lower_bound(std::begin(lengths), std::end(lengths), payload.size() / 2);
    return std::string(payload) + std::string(bytes * 2 - payload.size(), '0');
}

TEST_F(expected_values, of_vectors_for_every_description) {
    for (const std::string& dbc : lines_of(output_of("cd data/dbc; ls *.dbc | sed 's/.dbc$//'"))) {
        const std::string vectors = output_of("for file in data/dbc/" + dbc + ".dbc.*vectors.csv.gz; do\n" +
                                              "gzip -dc $file | tail -n +2\ndone");
        std::string log;
        values expected;
        std::size_t frame = 0;
        std::string last;
        std::set<std::string_view> signals;
        const auto lines = lines_of(vectors);
        for (const std::string& line : lines) {
            const auto fields = split(line, ',');
            const std::string payload(fields[3]);
            // Two payloads in a row may be equal; a signal that comes again begins the second.
            const std::string message = line.substr(0, line.find(payload + ',') + payload.size());
            if (message != last || !signals.insert(fields[4]).second) {
                last = message;
                signals = {fields[4]};
                ++frame;
                log += '(' + std::to_string(frame) + ".0) can0 " + std::string(fields[1]);
                log += (payload.size() <= 16 ? '#' + payload : "##0" + fd_payload(payload)) + '\n';
            }
            add(expected, std::to_string(frame) + ".0", "can0", fields[4], fields[5]);
        }
        write("x.log", log);
        check(dbc, "", expected);
    }
}

// Latitude and longitude, which are rounded.
TEST_F(expected_values, of_a_recorded_walk) {
    const auto found = lines_of(output_of("\"$TAVI\" decode data/nmea/neo_m9n.nmea -s 'GPS.Position.L*' 2>account |"
                                          " tail -n +2 | cut -d, -f3"));
    const auto expected = lines_of(output_of("gzip -dc data/nmea/neo_m9n.nmea.expected.csv.gz | tail -n +2 |"
                                             " cut -d, -f8,9 | grep -v '^,' | tr , '\\n'"));
    ASSERT_EQ(found.size(), expected.size());
    EXPECT_GT(found.size(), 300u);
    for (std::size_t row = 0; row < found.size(); ++row) {
        EXPECT_NEAR(std::stod(found[row]), std::stod(expected[row]), 1e-8) << row;
    }
}

} // namespace
} // namespace tavi::test

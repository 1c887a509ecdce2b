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

// Rows of CSV below a header, of which the columns of time, channel, signal and value are told.
void add_rows(values& to, const std::string& csv, const std::array<std::size_t, 4>& columns) {
    const auto lines = lines_of(csv);
    for (std::size_t line = 1; line < lines.size(); ++line) {
        const auto fields = split(lines[line], ',');
        ASSERT_GE(fields.size(), 4u) << lines[line];
        const auto channel = fields[columns[1]];
        const auto signal = fields[columns[2]];
        add(to, fields[columns[0]], channel.substr(0, channel.find('.')), signal.substr(signal.rfind('.') + 1),
            fields[columns[3]]);
    }
}

// Of the rows that the command writes, both stand in the URL.
constexpr std::array<std::size_t, 4> own_columns = {0, 1, 1, 2};
constexpr std::array<std::size_t, 4> expected_columns = {0, 1, 3, 4};

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
        data = *shared_data();
    }

    // Decodes `log` with `dbc` and compares with all files of expected values of that pair.
    void check(const std::string& log_text, const std::string& log, const std::string& dbc,
               const std::string& options) {
        write("x.log", log_text);
        const ended run = tavi("decode x.log -d '" + dbc_path(dbc) + "' -o x.csv " + options);
        ASSERT_TRUE(run.code == 0 || run.code == 3) << run.err;
        values found, expected;
        add_rows(found, read("x.csv"), own_columns);
        for (const char* const side : {"", ".short", ".badmux", ".overlap"}) {
            const std::string kind = options.empty() ? "" : ".j1939";
            add_rows(expected, read_gzip(data / "logs" / (log + '.' + dbc + kind + side + ".expected.csv.gz")),
                     expected_columns);
        }
        compare(found, expected, log + ' ' + dbc);
    }

    std::string dbc_path(const std::string& dbc) const { return (data / "dbc" / (dbc + ".dbc")).string(); }

    fs::path data;
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
        constexpr std::size_t frames = 20000;
        std::string text = read_gzip(data / "logs" / log);
        std::size_t end = 0;
        for (std::size_t line = 0; line < frames && end < text.size(); ++line) {
            end = std::min(text.find('\n', end), text.size() - 1) + 1;
        }
        text.resize(end);
        check(text, log, dbc, "");
    }
}

TEST_F(expected_values, of_recorded_boats_by_parameter_group) {
    for (const char* const log : {"nmea2000_boat.pcap", "nmea2000_boat.trc", "nmea2000_boat.mf4"}) {
        // The frames of these recordings are there as a table.
        std::string text;
        const auto lines = lines_of(read_gzip(data / "logs" / (std::string(log) + ".frames.csv.gz")));
        for (std::size_t line = 1; line < lines.size(); ++line) {
            const auto fields = split(lines[line], ',');
            text += '(' + std::string(fields[0]) + ") " + std::string(fields[1]) + ' ' + std::string(fields[2]) + '#' +
                    std::string(fields[7]) + '\n';
        }
        check(text, log, "canboat", "--j1939");
    }
}

// A frame of CAN FD has only certain lengths: the next one, filled with zeros.
std::string fd_payload(std::string_view payload) {
    constexpr std::size_t lengths[] = {12, 16, 20, 24, 32, 48, 64};
    const std::size_t bytes = *std::lower_bound(std::begin(lengths), std::end(lengths), payload.size() / 2);
    return std::string(payload) + std::string(bytes * 2 - payload.size(), '0');
}

TEST_F(expected_values, of_vectors_for_every_description) {
    for (const auto& entry : fs::directory_iterator(data / "dbc")) {
        if (entry.path().extension() != ".dbc") {
            continue;
        }
        const std::string name = entry.path().filename().string();
        std::string log;
        values found, expected;
        std::size_t frame = 0;
        for (const char* const side : {"", ".badmux", ".overlap"}) {
            std::string last;
            std::set<std::string> signals;
            for (const std::string& line : lines_of(read_gzip(entry.path().string() + side + ".vectors.csv.gz"))) {
                const auto fields = split(line, ',');
                if (fields[0] == "message" || fields[3].size() > 128) {
                    continue;
                }
                const std::string id = std::string(fields[1]) + std::string(fields[2]);
                const std::string text = std::string(fields[0]) + id + std::string(fields[3]);
                // Two payloads in a row may be equal; a signal that comes again begins the second.
                if (text != last || !signals.insert(std::string(fields[4])).second) {
                    last = text;
                    signals = {std::string(fields[4])};
                    ++frame;
                    log += '(' + std::to_string(frame) + ".0) can0 " + std::string(fields[1]);
                    log += fields[3].size() <= 16 ? '#' + std::string(fields[3]) : "##0" + fd_payload(fields[3]);
                    log += '\n';
                }
                add(expected, std::to_string(frame) + ".0", "can0", fields[4], fields[5]);
            }
        }
        write("v.log", log);
        const ended run = tavi("decode v.log -d '" + entry.path().string() + "' -o v.csv");
        ASSERT_TRUE(run.code == 0 || run.code == 3) << name << ": " << run.err;
        add_rows(found, read("v.csv"), own_columns);
        compare(found, expected, name);
    }
}

// Of these, line and type of the sentence stand in front of latitude and longitude, which are rounded.
TEST_F(expected_values, of_a_recorded_walk) {
    const std::string log = (data / "nmea" / "neo_m9n.nmea").string();
    const ended run = tavi("decode '" + log + "' -s 'GPS.Position.L*'");
    ASSERT_EQ(run.code, 0) << run.err;
    std::vector<std::string_view> expected;
    const auto lines = lines_of(read_gzip(log + ".expected.csv.gz"));
    for (std::size_t line = 1; line < lines.size(); ++line) {
        const auto fields = split(lines[line], ',');
        if (!fields.back().empty()) {
            expected.insert(expected.end(), fields.end() - 2, fields.end());
        }
    }
    const auto rows = rows_of(run.out);
    ASSERT_EQ(rows.size(), expected.size());
    EXPECT_GT(rows.size(), 300u);
    for (std::size_t row = 0; row < rows.size(); ++row) {
        EXPECT_NEAR(std::stod(std::string(split(rows[row], ',')[2])), std::stod(std::string(expected[row])), 1e-8)
            << rows[row];
    }
}

} // namespace
} // namespace tavi::test

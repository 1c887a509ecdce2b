// Real recordings and generated payloads against the values that another decoder gave.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <map>
#include <set>

#include <gmock/gmock.h>

#include "tests/tavi/command.hpp"

namespace tavi::test {
namespace {

namespace fs = std::filesystem;

// Time, interface and signal, and every value that they have, sorted: several messages may share them.
using value_table = std::map<std::string, std::vector<double>, std::less<>>;

// Names that begin with a digit have a leading '_' in catalogue and sources.
std::string_view without_mark(std::string_view name) {
    return name.size() > 1 && name[0] == '_' && name[1] >= '0' && name[1] <= '9' ? name.substr(1) : name;
}

std::string key(std::string_view time, std::string_view channel, std::string_view signal) {
    std::string text(time);
    return text.append(" ").append(without_mark(channel)).append(" ").append(without_mark(signal));
}

// std::stod refuses what is denormal.
double number(std::string_view text) {
    return std::strtod(std::string(text).c_str(), nullptr);
}

// Rows of CSV below a header, of which the columns of time, channel, signal and value are told.
void add_rows(value_table& values, const std::string& csv, const std::array<std::size_t, 4>& columns) {
    const auto lines = lines_of(csv);
    for (std::size_t line = 1; line < lines.size(); ++line) {
        const auto fields = split(lines[line], ',');
        ASSERT_GE(fields.size(), 4u) << lines[line];
        const auto channel = fields[columns[1]];
        const auto signal = fields[columns[2]];
        values[key(fields[columns[0]], channel.substr(0, channel.find('.')), signal.substr(signal.rfind('.') + 1))]
            .push_back(number(fields[columns[3]]));
    }
}

// Of the rows that the command writes, both stand in the URL.
constexpr std::array<std::size_t, 4> own_columns = {0, 1, 1, 2};
constexpr std::array<std::size_t, 4> expected_columns = {0, 1, 3, 4};

bool same(double value, double expected) {
    if (std::isnan(expected) || std::isinf(expected)) {
        // Float signals have no infinities: they are no numbers.
        return std::isnan(value) || value == expected;
    }
    return std::abs(value - expected) <= 1e-12 * std::abs(expected);
}

// Compares whole tables; tells the first few differences.
void compare(value_table& values, value_table& expected, const std::string& what) {
    int told = 0;
    const auto tell = [&](const std::string& text) {
        if (++told <= 5) {
            ADD_FAILURE() << what << ": " << text;
        }
    };
    for (auto& [name, wanted] : expected) {
        const auto found = values.find(name);
        if (found == values.end() || found->second.size() != wanted.size()) {
            tell(name + ": wrong number of values");
            continue;
        }
        std::sort(wanted.begin(), wanted.end());
        std::sort(found->second.begin(), found->second.end());
        for (std::size_t at = 0; at < wanted.size(); ++at) {
            if (!same(found->second[at], wanted[at])) {
                tell(name + ": " + std::to_string(found->second[at]) + " instead of " + std::to_string(wanted[at]));
            }
        }
    }
    for (const auto& [name, value] : values) {
        if (!expected.contains(name)) {
            tell(name + ": a value that should not be there");
        }
    }
    EXPECT_EQ(told, 0) << what;
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
        value_table values;
        add_rows(values, read("x.csv"), own_columns);
        value_table expected;
        for (const char* const side : {"", ".short", ".badmux", ".overlap"}) {
            const std::string kind = options.empty() ? "" : ".j1939";
            add_rows(expected, read_gzip(data / "logs" / (log + '.' + dbc + kind + side + ".expected.csv.gz")),
                     expected_columns);
        }
        ASSERT_FALSE(expected.empty()) << log << ' ' << dbc;
        compare(values, expected, log + ' ' + dbc);
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
        value_table expected;
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
                expected[key(std::to_string(frame) + ".0", "can0", fields[4])].push_back(number(fields[5]));
            }
        }
        ASSERT_NE(frame, 0u) << name;
        write("v.log", log);
        const ended run = tavi("decode v.log -d '" + entry.path().string() + "' -o v.csv");
        ASSERT_TRUE(run.code == 0 || run.code == 3) << name << ": " << run.err;
        value_table values;
        add_rows(values, read("v.csv"), own_columns);
        compare(values, expected, name);
    }
}

} // namespace
} // namespace tavi::test

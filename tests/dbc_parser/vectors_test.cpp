// Real files against values that another decoder computed from them: for each payload exactly the signals that are
// there, each with its value.
#include <bit>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <sstream>

#include <gtest/gtest.h>
#include <zlib.h>

#include "introspection/xtypes/type_kind.hpp"
#include "qorcpp/presence.hpp"
#include "tests/dbc_parser/recorded_description.hpp"

namespace {

namespace fs = std::filesystem;
using qor::introspection::xtypes::type_kind;

std::string read_file(const fs::path& path) {
    std::string content;
    const gzFile file = gzopen(path.c_str(), "rb"); // plain files too
    char block[65536];
    for (int count = gzread(file, block, sizeof block); count > 0; count = gzread(file, block, sizeof block)) {
        content.append(block, static_cast<size_t>(count));
    }
    gzclose(file);
    return content;
}

std::vector<uint8_t> from_hex(const std::string& text) {
    std::vector<uint8_t> bytes;
    for (size_t at = 0; at + 1 < text.size(); at += 2) {
        bytes.push_back(static_cast<uint8_t>(std::stoul(text.substr(at, 2), nullptr, 16)));
    }
    return bytes;
}

// Names in the catalogue have a '_' before a leading digit.
std::string catalogue_name(const std::string& name) {
    return name.front() >= '0' && name.front() <= '9' ? '_' + name : name;
}

struct signal_value {
    double value;
    std::optional<std::string> raw; // of integers

    // Of another decoder, which gives raw values also for floats.
    bool is(const signal_value& expected) const {
        return (value == expected.value || (std::isnan(value) && std::isnan(expected.value))) &&
               (!raw || raw == expected.raw);
    }
};

// Nothing when the frame is too short for the signal, or its selectors say that it is not there.
std::optional<signal_value> decode(const recorded_node& node, const std::vector<uint8_t>& frame) {
    const qor_signal_node_t& signal = node.record.signal;
    const auto kind = static_cast<type_kind>(signal.raw_kind);
    const bool is_float = kind == type_kind::float32 || kind == type_kind::float64;
    const bool is_signed = !is_float && !has_flag(kind, qor::introspection::xtypes::unsigned_flag);
    const qor::presence_selector bits(static_cast<uint32_t>(signal.offset), signal.bit_offset, signal.bit_length,
                                      signal.byte_order, is_signed);
    const auto ordinal = bits.read(frame);
    if (!ordinal || (!node.presence.empty() && !qor::presence(node.presence).holds(frame))) {
        return std::nullopt;
    }
    const uint64_t stored = bits.ordinal(*ordinal); // the ordinal of an ordinal is the value again
    const double raw = kind == type_kind::float32   ? std::bit_cast<float>(static_cast<uint32_t>(stored))
                       : kind == type_kind::float64 ? std::bit_cast<double>(stored)
                       : is_signed                  ? static_cast<double>(static_cast<int64_t>(stored))
                                                    : static_cast<double>(stored);
    const bool is_identity = signal.raw_kind == signal.converted_kind;
    signal_value result{is_identity ? raw : raw * signal.numerator_x1 + signal.numerator_x0, {}};
    if (!is_float) {
        result.raw = is_signed ? std::to_string(static_cast<int64_t>(stored)) : std::to_string(stored);
    }
    return result;
}

// Of one file: "MESSAGE ADDRESS PAYLOAD" to the values by signal.
using vectors = std::map<std::string, std::map<std::string, signal_value>>;

vectors read_vectors(const std::string& csv) {
    vectors result;
    std::istringstream lines(csv);
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string message, id, is_extended, payload, signal, value, raw;
        for (std::string* const field : {&message, &id, &is_extended, &payload, &signal, &value, &raw}) {
            std::getline(fields, *field, ',');
        }
        raw.erase(raw.find_last_not_of('\r') + 1);
        const uint64_t address = std::stoull(id, nullptr, 16) | (is_extended == "1" ? uint64_t{1} << 31 : 0);
        const std::string place = catalogue_name(message) + ' ' + std::to_string(address) + ' ' + payload;
        result[place][catalogue_name(signal)] = {std::strtod(value.c_str(), nullptr), raw};
    }
    return result;
}

void compare(const recorded_description& description, const vectors& expectations) {
    std::map<std::string, std::vector<const recorded_node*>> messages; // "NAME ADDRESS" to the signals
    for (const recorded_node& node : description.nodes) {
        if (node.record.kind == QOR_TYPE_NODE_SIGNAL) {
            const recorded_node& message = description.nodes.at(node.record.parent_id - 1);
            const std::string address = std::to_string(message.record.object.address);
            messages[message.path.substr(4) + ' ' + address].push_back(&node);
        }
    }
    for (const auto& [place, expected] : expectations) {
        const size_t payload = place.rfind(' ');
        const auto frame = from_hex(place.substr(payload + 1));
        size_t count = 0;
        for (const recorded_node* const node : messages[place.substr(0, payload)]) {
            const auto value = decode(*node, frame);
            const auto wanted = expected.find(node->path.substr(node->path.rfind('.') + 1));
            const bool is_right =
                value ? wanted != expected.end() && value->is(wanted->second) : wanted == expected.end();
            EXPECT_TRUE(is_right) << node->path << " of " << place;
            count += value.has_value();
        }
        EXPECT_EQ(count, expected.size()) << place;
    }
}

TEST(DbcVectors, NodesSayWhereEveryValueOfTheRealFilesLies) {
    const char* const named = std::getenv("TAVI_SHARED_DATA");
    const fs::path folder = (named != nullptr ? fs::path(named) : fs::path(TAVI_SOURCE_DIR) / "../shared/data") / "dbc";
    if (!fs::exists(folder)) {
        GTEST_SKIP() << "needs the folder of measurement data (TAVI_SHARED_DATA)";
    }
    size_t files = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        if (name.ends_with(".vectors.csv.gz")) {
            SCOPED_TRACE(name);
            const vectors expectations = read_vectors(read_file(entry.path()));
            EXPECT_FALSE(expectations.empty());
            compare(read_dbc(read_file(folder / name.substr(0, name.find(".dbc") + 4))), expectations);
            ++files;
        }
    }
    EXPECT_GE(files, 13u);
}

} // namespace

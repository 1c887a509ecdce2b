// Real files against values that another decoder computed from them: for each payload exactly the signals that are
// there, each with its value.
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <tuple>

#include <gtest/gtest.h>
#include <zlib.h>

#include "tests/dbc_parser/plain_decoder.hpp"

namespace {

namespace fs = std::filesystem;

fs::path data_folder() {
    const char* const named = std::getenv("TAVI_SHARED_DATA");
    return named != nullptr ? fs::path(named) : fs::path(TAVI_SOURCE_DIR) / "../shared/data";
}

std::string read_packed(const fs::path& path) {
    std::string content;
    const gzFile file = gzopen(path.c_str(), "rb");
    char block[65536];
    for (int count = gzread(file, block, sizeof block); count > 0; count = gzread(file, block, sizeof block)) {
        content.append(block, static_cast<size_t>(count));
    }
    gzclose(file);
    return content;
}

std::string read_plain(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

frame_bytes from_hex(const std::string& text) {
    frame_bytes bytes;
    for (size_t at = 0; at + 1 < text.size(); at += 2) {
        bytes.push_back(static_cast<uint8_t>(std::stoul(text.substr(at, 2), nullptr, 16)));
    }
    return bytes;
}

// Names in the catalogue have a '_' before a leading digit.
std::string catalogue_name(const std::string& name) {
    return name.front() >= '0' && name.front() <= '9' ? '_' + name : name;
}

// Message, address and payload.
using message_payload = std::tuple<std::string, uint64_t, std::string>;

struct expected_value {
    std::string value;
    std::string raw;
};

using vectors = std::map<message_payload, std::map<std::string, expected_value>>;

vectors read_vectors(const std::string& csv) {
    vectors result;
    std::istringstream lines(csv);
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string message, id, is_extended, payload, signal;
        expected_value expected;
        for (std::string* const field :
             {&message, &id, &is_extended, &payload, &signal, &expected.value, &expected.raw}) {
            std::getline(fields, *field, ',');
        }
        while (!expected.raw.empty() && expected.raw.back() == '\r') {
            expected.raw.pop_back();
        }
        const uint64_t address = std::stoull(id, nullptr, 16) | (is_extended == "1" ? uint64_t{1} << 31 : 0);
        result[{catalogue_name(message), address, payload}][catalogue_name(signal)] = expected;
    }
    return result;
}

bool same(double value, const std::string& expected) {
    const double other = std::strtod(expected.c_str(), nullptr);
    return value == other || (std::isnan(value) && std::isnan(other));
}

struct object {
    uint64_t address = 0;
    std::vector<const recorded_node*> signals;
};

std::map<std::string, object> objects_of(const recorded_description& description) {
    std::map<std::string, object> objects;
    for (const recorded_node& node : description.nodes) {
        const size_t dot = node.path.rfind('.');
        if (node.record.kind == QOR_TYPE_NODE_OBJECT) {
            objects[node.path.substr(dot + 1)].address = node.record.object.address;
        } else if (node.record.kind == QOR_TYPE_NODE_SIGNAL) {
            objects[node.path.substr(4, dot - 4)].signals.push_back(&node);
        }
    }
    return objects;
}

// The number of values compared.
size_t compare(const recorded_description& description, const vectors& expectations) {
    const auto objects = objects_of(description);
    size_t count = 0;
    for (const auto& [place, expected] : expectations) {
        const auto& [message, address, payload] = place;
        const auto found = objects.find(message);
        if (found == objects.end() || found->second.address != address) {
            ADD_FAILURE() << "message " << message << " is not there under its id";
            continue;
        }
        const frame_bytes frame = from_hex(payload);
        std::set<std::string> seen;
        for (const recorded_node* const node : found->second.signals) {
            const auto decoded = decode_plainly(*node, frame);
            if (!decoded) {
                continue;
            }
            const std::string name = node->path.substr(node->path.rfind('.') + 1);
            seen.insert(name);
            const auto wanted = expected.find(name);
            if (wanted == expected.end()) {
                ADD_FAILURE() << node->path << " is not there in " << payload;
                continue;
            }
            EXPECT_TRUE(same(decoded->value, wanted->second.value))
                << node->path << " of " << payload << ": " << decoded->value << ", not " << wanted->second.value;
            EXPECT_TRUE(decoded->raw.empty() || decoded->raw == wanted->second.raw) << node->path << decoded->raw;
            ++count;
        }
        EXPECT_EQ(seen.size(), expected.size()) << message << " of " << payload;
    }
    return count;
}

TEST(DbcVectors, NodesSayWhereEveryValueOfTheRealFilesLies) {
    const fs::path folder = data_folder() / "dbc";
    if (!fs::exists(folder)) {
        GTEST_SKIP() << "needs the folder of measurement data (TAVI_SHARED_DATA)";
    }
    size_t files = 0;
    size_t values = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        if (!name.ends_with(".vectors.csv.gz")) {
            continue;
        }
        const std::string dbc = name.substr(0, name.find(".dbc") + 4);
        SCOPED_TRACE(name);
        const recorded_description description = read_dbc(read_plain(folder / dbc));
        EXPECT_EQ(description.refusal, "");
        const size_t compared = compare(description, read_vectors(read_packed(entry.path())));
        EXPECT_NE(compared, 0u);
        values += compared;
        ++files;
    }
    EXPECT_GE(files, 13u);
    RecordProperty("values", static_cast<int>(values));
}

} // namespace

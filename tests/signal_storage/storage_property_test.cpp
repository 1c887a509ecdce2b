// Random descriptions, compared with a model: every field of every node, in every kind of question.
#include <algorithm>
#include <cstring>
#include <deque>
#include <map>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "tests/signal_storage/catalogue_answers.hpp"
#include "tests/signal_storage/opened_storage.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tavi::test {
namespace {

using node_list = std::vector<qor_type_node_t>;
using signal = qor_signal_node_t;

constexpr const char* signal::*signal_texts[] = {&signal::presence, &signal::unit, &signal::value_table,
                                                 &signal::signal_suffix};

// Enters nodes in an order in which parents come at any time before their children.
class random_description {
public:
    random_description(opened_storage& storage, std::uint32_t seed) : random_(seed) {
        open_description target = storage.begin(std::to_string(seed));
        const std::size_t count = 1 + random_() % 300;
        while (nodes.size() < count) {
            add(target);
        }
        const std::uint64_t description_id = target.commit();
        for (qor_type_node_t& node : nodes) {
            node.description_id = description_id;
        }
    }

    // The children of a node, or all that is below it.
    node_list below(std::uint64_t parent_id, bool all = false) const {
        node_list result;
        for (const qor_type_node_t& node : nodes) {
            if (node.parent_id == parent_id) {
                result.push_back(node);
                const node_list deeper = all ? below(node.id, true) : node_list();
                result.insert(result.end(), deeper.begin(), deeper.end());
            }
        }
        return result;
    }

    node_list nodes;

private:
    void add(open_description& target) {
        const std::vector<std::uint8_t> kinds_below[] = {{1}, {2}, {2, 3, 4}, {3, 4}, {}};
        qor_type_node_t above{};
        if (!nodes.empty() && random_() % 10 != 0) {
            above = nodes[random_() % nodes.size()];
        }
        if (const auto& kinds = kinds_below[above.kind]; !kinds.empty()) {
            const char* const name = random_() % 4 == 0 ? "twice" : text(1);
            qor_type_node_t node = make_node(kinds[random_() % kinds.size()], name, above.id);
            node.comment = text_or_null(0);
            fill_node(node);
            node.id = target.add(node);
            nodes.push_back(node);
        }
    }

    template<typename... Fields>
    void fill(Fields&... fields) {
        const auto fill_one = [this](auto& field) {
            const std::uint64_t value = bits();
            std::memcpy(&field, &value, sizeof field);
        };
        (fill_one(fields), ...);
    }

    void fill_node(qor_type_node_t& node) {
        if (node.kind == QOR_TYPE_NODE_VIEW) {
            return fill(node.view.cycle);
        }
        if (node.kind == QOR_TYPE_NODE_OBJECT) {
            node.group_ids = text_or_null(1);
            return fill(node.object.address, node.object.element_count, node.object.element_size, node.object.flags);
        }
        if (node.kind == QOR_TYPE_NODE_GROUP) {
            return fill(node.group.offset, node.group.element_count, node.group.element_size);
        }
        signal& signal = node.signal;
        fill(signal.offset, signal.bit_offset, signal.bit_length, signal.element_size, signal.element_count,
             signal.raw_kind, signal.converted_kind, signal.encoding, signal.byte_order, signal.multiplexing,
             signal.numerator_x2, signal.numerator_x1, signal.numerator_x0, signal.denominator_x2,
             signal.denominator_x1, signal.denominator_x0, signal.minimum, signal.maximum);
        for (const auto place : signal_texts) {
            signal.*place = text_or_null(1);
        }
        signal.signal_suffix_length = signal.signal_suffix != nullptr ? std::strlen(signal.signal_suffix) : 0;
    }

    // Half of them are ends of ranges and, as reals, zero, one, 2^53, infinity and not-a-number with a payload.
    std::uint64_t bits() {
        static constexpr std::uint64_t ends[] = {0x0000000000000000, 0x0000000000000001, 0x00000000000000ff,
                                                 0x0000000080000000, 0x3ff0000000000000, 0x4340000000000000,
                                                 0x7ff0000000000000, 0x7ff8dead00000001, 0x7fffffffffffffff};
        const std::uint64_t choice = random_();
        return choice % 2 == 0 ? ends[choice / 4 % std::size(ends)] ^ choice / 2 % 2 << 63 : choice << 32 | random_();
    }

    // Any bytes but zero and the dot.
    const char* text(std::size_t shortest) {
        std::string value(shortest + random_() % 12, '\0');
        for (char& character : value) {
            character = static_cast<char>(1 + random_() % 255);
            character = character == '.' ? ',' : character;
        }
        return texts_.emplace_back(std::move(value)).c_str();
    }
    const char* text_or_null(std::size_t shortest) { return random_() % 4 == 0 ? nullptr : text(shortest); }

    std::mt19937 random_;
    std::deque<std::string> texts_;
};

bool equal(const owned<qor_type_node_sequence_t>& found, const node_list& expected) {
    return std::equal(found->nodes, found->nodes + found->count, expected.begin(), expected.end(),
                      [](const auto& a, const auto& b) { return bytes_of(a) == bytes_of(b); });
}

void check(opened_storage& storage, const random_description& model) {
    const std::uint64_t description_id = model.nodes[0].description_id;
    EXPECT_TRUE(equal(storage.roots(description_id), model.below(0)));
    std::map<std::uint64_t, node_list> hierarchies;
    std::map<std::uint64_t, std::string> paths;
    std::map<std::string, std::uint64_t> first_of_path;
    for (const qor_type_node_t& node : model.nodes) {
        hierarchies[node.id] = hierarchies[node.parent_id];
        hierarchies[node.id].push_back(node);
        paths[node.id] = (node.parent_id == 0 ? "" : paths[node.parent_id] + ".") + node.name;
        first_of_path.emplace(paths[node.id], node.id);
        node_list subtree = model.below(node.id, true);
        subtree.insert(subtree.begin(), node);
        ASSERT_TRUE(equal(storage.subtree(node.id), subtree));
        ASSERT_TRUE(equal(storage.ask(storage.access->get_node_children, &node), model.below(node.id)));
        ASSERT_TRUE(equal(storage.ask(storage.access->get_node_hierarchy, node.id), hierarchies[node.id]));
        ASSERT_EQ(storage.find(description_id, paths[node.id])->id, first_of_path[paths[node.id]]);
    }
}

// A search in many descriptions gives what asking one after another gives, also for paths and ids that are nowhere, and
// when descriptions came since the last one.
void check_search(opened_storage& storage, const std::deque<random_description>& models, std::mt19937& random) {
    std::vector<std::uint64_t> ids = {4711};
    for (const random_description& model : models) {
        ids.push_back(model.nodes[0].description_id);
    }
    std::shuffle(ids.begin(), ids.end(), random);
    ids.resize(1 + random() % ids.size());
    for (const random_description& model : models) {
        std::vector<std::string> paths = {"twice", "nowhere", std::string(model.nodes[0].name) + ".twice"};
        const qor_type_node_t* node = &model.nodes[random() % model.nodes.size()];
        for (std::string path = node->name;; path = node->name + ("." + path)) {
            const auto above = std::find_if(model.nodes.begin(), model.nodes.end(),
                                            [&](const qor_type_node_t& other) { return other.id == node->parent_id; });
            if (above == model.nodes.end()) {
                paths.push_back(path);
                break;
            }
            node = &*above;
        }
        for (const std::string& path : paths) {
            const auto has_it = [&](std::uint64_t id) { return storage.try_find(id, path) == succeeded; };
            const auto expected = std::find_if(ids.begin(), ids.end(), has_it) - ids.begin();
            ASSERT_EQ(storage.find_first(ids, path), static_cast<std::size_t>(expected)) << path;
        }
    }
    EXPECT_EQ(storage.find_first({}, "twice"), 0u);
}

TEST(StorageProperty, EveryFieldOfEveryNodeComesBack) {
    const temporary_directory directory;
    const std::string file = "file:" + (directory.path() / "random.db3").string();
    std::mt19937 random(1);
    for (const std::string& uri : {std::string(memory_uri), file}) {
        std::deque<random_description> models;
        opened_storage storage(uri);
        for (std::uint32_t seed = 0; seed < 12; ++seed) {
            models.emplace_back(storage, seed);
            check_search(storage, models, random);
        }
        opened_storage again(uri);
        for (const random_description& model : models) {
            check(uri == file ? again : storage, model);
        }
    }
}

} // namespace
} // namespace tavi::test

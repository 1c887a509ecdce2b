// Random descriptions, compared with a model: every field of every node, in every kind of question.
#include <array>
#include <bit>
#include <cstring>
#include <deque>
#include <limits>
#include <map>
#include <random>

#include <gtest/gtest.h>

#include "tests/signal_storage/opened_storage.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tavi::test {
namespace {

struct model_node {
    qor_type_node_t record{};
    std::vector<std::size_t> children;
    std::string path;
};

class random_description {
public:
    explicit random_description(std::uint32_t seed) : random_(seed) {
        const std::size_t count = 1 + random_() % 300;
        while (nodes_.size() < count) {
            add_random();
        }
    }

    // Adds the nodes in the order of their making, in which parents come at any time before their children.
    std::uint64_t enter(opened_storage& storage) {
        open_description target = storage.begin(std::to_string(random_()));
        for (model_node& node : nodes_) {
            if (node.record.parent_id != 0) {
                node.record.parent_id = nodes_[node.record.parent_id - 1].record.id;
            }
            node.record.id = target.add(node.record);
        }
        const std::uint64_t description_id = target.commit();
        for (model_node& node : nodes_) {
            node.record.description_id = description_id;
        }
        return description_id;
    }

    const std::deque<model_node>& nodes() const { return nodes_; }
    const std::vector<std::size_t>& roots() const { return roots_; }

    std::vector<std::size_t> subtree(std::size_t node) const {
        std::vector<std::size_t> result{node};
        for (const std::size_t child : nodes_[node].children) {
            const std::vector<std::size_t> below = subtree(child);
            result.insert(result.end(), below.begin(), below.end());
        }
        return result;
    }

private:
    template<typename T>
    T integer() {
        const std::uint64_t extremes[] = {0, 1, ~std::uint64_t{0}, std::uint64_t{1} << 63, 0x80000000u, 255};
        const auto choice = random_() % 12;
        return static_cast<T>(choice < 6 ? extremes[choice] : (std::uint64_t{random_()} << 32 | random_()));
    }

    double real() {
        const double extremes[] = {0.0,
                                   -0.0,
                                   1.0,
                                   -1.0,
                                   0.125,
                                   1e300,
                                   5e-324,
                                   9007199254740992.0,
                                   -9007199254740993.0,
                                   std::numeric_limits<double>::infinity(),
                                   -std::numeric_limits<double>::infinity(),
                                   std::numeric_limits<double>::quiet_NaN(),
                                   std::bit_cast<double>(0xfff8dead00000001u)};
        const auto choice = random_() % 20;
        return choice < std::size(extremes) ? extremes[choice] : std::bit_cast<double>(integer<std::uint64_t>());
    }

    // Any bytes but zero, no dot unless asked for.
    const char* text(std::size_t shortest, bool may_be_null) {
        if (may_be_null && random_() % 4 == 0) {
            return nullptr;
        }
        std::string value(shortest + random_() % 12, '\0');
        for (char& character : value) {
            do {
                character = static_cast<char>(1 + random_() % 255);
            } while (character == '.');
        }
        return texts_.emplace_back(std::move(value)).c_str();
    }

    void add_random() {
        model_node node;
        std::size_t parent = 0;
        node.record.kind = QOR_TYPE_NODE_VIEW;
        if (!nodes_.empty() && random_() % 10 != 0) {
            parent = 1 + random_() % nodes_.size();
            const std::uint8_t above = nodes_[parent - 1].record.kind;
            if (above == QOR_TYPE_NODE_SIGNAL) {
                return;
            }
            const std::uint8_t below_object[] = {QOR_TYPE_NODE_OBJECT, QOR_TYPE_NODE_GROUP, QOR_TYPE_NODE_SIGNAL};
            node.record.kind =
                above == QOR_TYPE_NODE_VIEW ? std::uint8_t{QOR_TYPE_NODE_OBJECT} : below_object[random_() % 3];
            if (above == QOR_TYPE_NODE_GROUP && node.record.kind == QOR_TYPE_NODE_OBJECT) {
                node.record.kind = QOR_TYPE_NODE_SIGNAL;
            }
        }
        fill(node.record);
        node.record.parent_id = parent; // place in the model, from 1; becomes the id when entered
        node.path = parent == 0 ? node.record.name : nodes_[parent - 1].path + "." + node.record.name;
        (parent == 0 ? roots_ : nodes_[parent - 1].children).push_back(nodes_.size());
        nodes_.push_back(node);
    }

    void fill(qor_type_node_t& node) {
        node.name = text(1, false);
        node.comment = text(0, true);
        switch (node.kind) {
        case QOR_TYPE_NODE_VIEW:
            node.view.cycle = integer<std::uint32_t>();
            break;
        case QOR_TYPE_NODE_OBJECT:
            node.object = {integer<std::uint64_t>(), integer<std::uint32_t>(), integer<std::uint32_t>(),
                           integer<std::uint32_t>(), 0};
            break;
        case QOR_TYPE_NODE_GROUP:
            node.group = {integer<std::uint32_t>(), integer<std::uint32_t>(), integer<std::uint32_t>()};
            break;
        default:
            fill(node.signal);
            break;
        }
    }

    void fill(qor_signal_node_t& signal) {
        for (auto field : {&qor_signal_node_t::offset, &qor_signal_node_t::bit_offset, &qor_signal_node_t::bit_length,
                           &qor_signal_node_t::element_size, &qor_signal_node_t::element_count}) {
            signal.*field = integer<std::uint32_t>();
        }
        signal.raw_kind = integer<std::uint16_t>();
        signal.converted_kind = integer<std::uint16_t>();
        signal.encoding = integer<std::uint8_t>();
        signal.byte_order = integer<std::uint8_t>();
        signal.multiplexing = integer<std::uint8_t>();
        for (auto field :
             {&qor_signal_node_t::numerator_x2, &qor_signal_node_t::numerator_x1, &qor_signal_node_t::numerator_x0,
              &qor_signal_node_t::denominator_x2, &qor_signal_node_t::denominator_x1,
              &qor_signal_node_t::denominator_x0, &qor_signal_node_t::minimum, &qor_signal_node_t::maximum}) {
            signal.*field = real();
        }
        signal.presence = text(0, true);
        signal.unit = text(0, true);
        signal.value_table = text(0, true);
        signal.signal_suffix = text(1, true);
        signal.signal_suffix_length = signal.signal_suffix != nullptr ? std::strlen(signal.signal_suffix) : 0;
    }

    std::mt19937 random_;
    std::deque<std::string> texts_;
    std::deque<model_node> nodes_;
    std::vector<std::size_t> roots_;
};

bool equal_texts(const char* a, const char* b) {
    return a == nullptr || b == nullptr ? a == b : std::strcmp(a, b) == 0;
}

// Texts by content, all other bytes of the record as they are.
bool equal(const qor_type_node_t& a, const qor_type_node_t& b) {
    const auto strip = [](qor_type_node_t node) {
        node.name = node.comment = node.signal.presence = node.signal.unit = node.signal.value_table =
            node.signal.signal_suffix = nullptr;
        node.texts = nullptr;
        return node;
    };
    const qor_type_node_t plain_a = strip(a);
    const qor_type_node_t plain_b = strip(b);
    using bytes = std::array<std::byte, sizeof(qor_type_node_t)>;
    return std::bit_cast<bytes>(plain_a) == std::bit_cast<bytes>(plain_b) && equal_texts(a.name, b.name) &&
           equal_texts(a.comment, b.comment) && equal_texts(a.signal.presence, b.signal.presence) &&
           equal_texts(a.signal.unit, b.signal.unit) && equal_texts(a.signal.value_table, b.signal.value_table) &&
           equal_texts(a.signal.signal_suffix, b.signal.signal_suffix);
}

bool equal(const owned_nodes& found, const random_description& model, const std::vector<std::size_t>& expected) {
    bool same = found->count == expected.size();
    for (std::size_t i = 0; same && i < expected.size(); ++i) {
        same = equal(found->nodes[i], model.nodes()[expected[i]].record);
    }
    return same;
}

void check(opened_storage& storage, const random_description& model, std::uint64_t description_id) {
    EXPECT_TRUE(equal(storage.roots(description_id), model, model.roots()));
    std::map<std::string, std::size_t> first_of_path;
    std::map<std::uint64_t, std::size_t> by_id;
    for (std::size_t i = 0; i < model.nodes().size(); ++i) {
        first_of_path.emplace(model.nodes()[i].path, i);
        by_id.emplace(model.nodes()[i].record.id, i);
    }
    for (std::size_t i = 0; i < model.nodes().size(); ++i) {
        const model_node& node = model.nodes()[i];
        ASSERT_TRUE(equal(storage.subtree(node.record.id), model, model.subtree(i))) << "subtree of node " << i;
        ASSERT_TRUE(equal(storage.children(node.record), model, node.children)) << "children of node " << i;
        std::vector<std::size_t> above{i};
        while (model.nodes()[above.front()].record.parent_id != 0) {
            above.insert(above.begin(), by_id.at(model.nodes()[above.front()].record.parent_id));
        }
        ASSERT_TRUE(equal(storage.hierarchy(node.record.id), model, above)) << "hierarchy of node " << i;
        ASSERT_EQ(storage.find(description_id, node.path)->id, model.nodes()[first_of_path.at(node.path)].record.id);
    }
}

TEST(StorageProperty, EveryFieldOfEveryNodeComesBack) {
    const temporary_directory directory;
    const std::string file = "file:" + (directory.path() / "random.db3").string();
    for (std::uint32_t seed = 0; seed < 8; ++seed) {
        SCOPED_TRACE(seed);
        const std::string uri = seed % 4 == 3 ? file : memory_uri;
        std::deque<random_description> models;
        std::vector<std::uint64_t> ids;
        {
            opened_storage storage(uri);
            for (std::uint32_t i = 0; i < 3; ++i) {
                ids.push_back(models.emplace_back(seed * 100 + i).enter(storage));
            }
            for (std::size_t i = 0; i < models.size(); ++i) {
                check(storage, models[i], ids[i]);
            }
        }
        if (uri == file) {
            opened_storage again(uri);
            for (std::size_t i = 0; i < models.size(); ++i) {
                check(again, models[i], ids[i]);
            }
        }
    }
}

} // namespace
} // namespace tavi::test

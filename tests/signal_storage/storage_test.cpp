// What holds for every catalogue, in memory and in a file.
#include <memory>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/signal_storage/opened_storage.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tavi::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class Storage : public ::testing::TestWithParam<bool> {
protected:
    std::string uri() const { return GetParam() ? "file:" + (directory_.path() / "a.db3").string() : memory_uri; }

    temporary_directory directory_;
    opened_storage storage_{uri()};
};

INSTANTIATE_TEST_SUITE_P(Everywhere, Storage, ::testing::Bool(),
                         [](const auto& where) { return where.param ? "file" : "memory"; });

TEST_P(Storage, AnswersWhatWasEntered) {
    const std::uint64_t id = enter_car(storage_);
    const owned_nodes roots = storage_.roots(id);
    ASSERT_THAT(names(roots), ElementsAre("CAN"));
    EXPECT_THAT(names(storage_.children(roots->nodes[0])), ElementsAre("EngineData", "Body"));
    EXPECT_THAT(names(storage_.subtree(roots->nodes[0].id)),
                ElementsAre("CAN", "EngineData", "Speed", "Torque", "Body", "Doors", "Left"));
    const owned_node left = storage_.find(id, "CAN.Body.Doors.Left");
    EXPECT_EQ(left->description_id, id);
    EXPECT_THAT(names(storage_.hierarchy(left->id)), ElementsAre("CAN", "Body", "Doors", "Left"));
    EXPECT_THAT(names(storage_.subtree(left->id)), ElementsAre("Left"));
    EXPECT_EQ(storage_.children(*left)->count, 0u);
    EXPECT_EQ(storage_.find(0, "CAN.EngineData.Torque")->parent_id, storage_.find(id, "CAN.EngineData")->id);
}

TEST_P(Storage, NodesKeepTheIdsThatTheParserWasGiven) {
    open_description car = storage_.begin("content");
    const std::uint64_t view = car.add(QOR_TYPE_NODE_VIEW, "V");
    const std::uint64_t first = car.add(QOR_TYPE_NODE_OBJECT, "A", view);
    const std::uint64_t second = car.add(QOR_TYPE_NODE_OBJECT, "B", view);
    const std::uint64_t late = car.add(QOR_TYPE_NODE_SIGNAL, "S", first); // stands before B
    car.commit();
    EXPECT_EQ(storage_.find(0, "V.A")->id, first);
    EXPECT_EQ(storage_.find(0, "V.B")->id, second);
    EXPECT_EQ(storage_.find(0, "V.A.S")->id, late);
    EXPECT_THAT(names(storage_.hierarchy(late)), ElementsAre("V", "A", "S"));
    EXPECT_THAT(names(storage_.hierarchy(second)), ElementsAre("V", "B"));
    EXPECT_THAT(names(storage_.subtree(second)), ElementsAre("B"));
    EXPECT_THAT(names(storage_.children(*storage_.find(0, "V.A"))), ElementsAre("S"));
}

TEST_P(Storage, NamesWhatIsNotThere) {
    const std::uint64_t id = enter_car(storage_);
    EXPECT_EQ(storage_.try_find(id, "CAN.Nothing"),
              invalid("path 'CAN.Nothing' was not found in description id '1' of the signal storage"));
    EXPECT_EQ(storage_.try_find(0, "Left"), invalid("path 'Left' was not found in the signal storage"));
    for (const std::uint64_t unknown : {std::uint64_t{9}, std::uint64_t{1} << 31, ~std::uint64_t{0}}) {
        const std::string text = std::to_string(unknown);
        EXPECT_EQ(storage_.try_find(unknown, "CAN"),
                  invalid("path 'CAN' was not found in the signal storage: there is no description id '" + text + "'"));
        const outcome no_description = invalid("description id '" + text + "' is not in the signal storage");
        const outcome no_node = invalid("node id '" + text + "' is not in the signal storage");
        qor_type_node_sequence_t* nodes = nullptr;
        std::size_t size = 0;
        auto* const access = storage_.access;
        EXPECT_EQ(call(access->get_root_nodes, access->context, unknown, &nodes), no_description);
        EXPECT_EQ(call(access->get_signature, access->context, unknown, nullptr, &size), no_description);
        EXPECT_EQ(call(access->get_node_hierarchy, access->context, unknown, &nodes), no_node);
        EXPECT_EQ(call(access->get_node_subtree, access->context, unknown, &nodes), no_node);
        qor_type_node_t node{};
        node.id = unknown;
        EXPECT_EQ(call(access->get_node_children, access->context, &node, &nodes), no_node);
    }
    std::uint64_t found = 0;
    EXPECT_EQ(call(storage_.access->get_description_id, storage_.access->context, "abc", &found),
              invalid("signature 'abc' is not in the signal storage"));
}

TEST_P(Storage, PathsAreWholeNamesFromTheView) {
    const std::uint64_t id = enter_car(storage_);
    for (const char* path : {"", ".", "CAN.", ".CAN", "CAN.Body.", "Body", "CA", "CAN.Body.Door", "can", "CAN..Body"}) {
        EXPECT_EQ(storage_.try_find(id, path).status, QOR_STATUS_INVALID_ARGUMENT) << path;
    }
}

TEST_P(Storage, OfEqualPathsTheFirstAddedAndTheLowestDescriptionWin) {
    open_description car = storage_.begin("twice");
    const std::uint64_t view = car.add(QOR_TYPE_NODE_VIEW, "V");
    const std::uint64_t first = car.add(QOR_TYPE_NODE_OBJECT, "M", view);
    const std::uint64_t second = car.add(QOR_TYPE_NODE_OBJECT, "M", view);
    const std::uint64_t added_first = car.add(QOR_TYPE_NODE_SIGNAL, "S", second);
    car.add(QOR_TYPE_NODE_SIGNAL, "S", first);
    const std::uint64_t id = car.commit();
    EXPECT_EQ(storage_.find(id, "V.M")->id, first);
    EXPECT_EQ(storage_.find(id, "V.M.S")->id, added_first);

    open_description other = storage_.begin("other");
    other.add(QOR_TYPE_NODE_VIEW, "V");
    const std::uint64_t other_id = other.commit();
    EXPECT_EQ(storage_.find(0, "V")->description_id, id);
    EXPECT_EQ(storage_.find(other_id, "V")->description_id, other_id);
}

TEST_P(Storage, TheSameDescriptionAgainIsTheOneThatIsThere) {
    const std::uint64_t id = enter_car(storage_);
    const std::uint64_t speed = storage_.find(id, "CAN.EngineData.Speed")->id;
    EXPECT_EQ(enter_car(storage_), id);
    EXPECT_EQ(storage_.subtree(storage_.find(id, "CAN")->id)->count, 7u);
    EXPECT_EQ(storage_.find(0, "CAN.EngineData.Speed")->id, speed);

    std::uint64_t found = 0;
    const std::string signature = storage_.signature(id);
    EXPECT_EQ(call(storage_.access->get_description_id, storage_.access->context, signature.c_str(), &found),
              succeeded);
    EXPECT_EQ(found, id);

    EXPECT_NE(enter_car(storage_, "other content"), id);
    open_description renamed = storage_.begin("content", "van.dbc");
    EXPECT_NE(renamed.commit(), id);
    open_description retyped = storage_.begin("content", "car.dbc", QOR_CONTEXT_TYPE_GENERAL);
    EXPECT_NE(retyped.commit(), id);
}

TEST_P(Storage, LeavesNothingWithoutCommit) {
    {
        open_description car = storage_.begin("content");
        car.add(QOR_TYPE_NODE_VIEW, "CAN");
    }
    EXPECT_EQ(storage_.try_find(0, "CAN").status, QOR_STATUS_INVALID_ARGUMENT);
    EXPECT_EQ(enter_car(storage_, "another"), 1u);
}

TEST_P(Storage, TwoContextsAtOnceDoNotSeeEachOther) {
    open_description a = storage_.begin("a");
    open_description b = storage_.begin("b");
    const std::uint64_t view_a = a.add(QOR_TYPE_NODE_VIEW, "A");
    const std::uint64_t view_b = b.add(QOR_TYPE_NODE_VIEW, "B");
    EXPECT_EQ(b.try_add(make_node(QOR_TYPE_NODE_OBJECT, "O", view_a)),
              invalid("node id '" + std::to_string(view_a) + "' is not one of this description context"));
    a.add(QOR_TYPE_NODE_OBJECT, "O", view_a);
    const std::uint64_t id_b = b.commit();
    EXPECT_EQ(storage_.try_find(0, "A").status, QOR_STATUS_INVALID_ARGUMENT);
    const std::uint64_t id_a = a.commit();
    EXPECT_EQ(storage_.find(id_a, "A")->id, view_a);
    EXPECT_EQ(storage_.find(id_b, "B")->id, view_b);
}

TEST_P(Storage, TwoContextsOfOneDescriptionBecomeOne) {
    open_description one = storage_.begin("content");
    open_description two = storage_.begin("content");
    const std::uint64_t id = enter_car(one);
    EXPECT_EQ(enter_car(two), id);
    EXPECT_EQ(storage_.subtree(storage_.find(id, "CAN")->id)->count, 7u);
}

TEST_P(Storage, AnEmptyDescriptionHasNoViews) {
    open_description empty = storage_.begin("");
    EXPECT_EQ(storage_.roots(empty.commit())->count, 0u);
}

TEST_P(Storage, TakesTextsAndTablesAfterTheirNodes) {
    open_description car = storage_.begin("content");
    const std::uint64_t view = car.add(QOR_TYPE_NODE_VIEW, "V");
    const std::uint64_t object = car.add(QOR_TYPE_NODE_OBJECT, "O", view);
    const std::uint64_t signal = car.add(QOR_TYPE_NODE_SIGNAL, "S", object);
    auto* const table = car.table;
    EXPECT_EQ(call(table->add_value_table, table->context, signal, "0=replaced"), succeeded);
    EXPECT_EQ(call(table->add_value_table, table->context, signal, "0=Off\n1=On"), succeeded);
    EXPECT_EQ(call(table->add_text, table->context, object, "comment", "What it is"), succeeded);
    EXPECT_EQ(call(table->add_text, table->context, object, "Sender", "ECU"), succeeded);
    EXPECT_EQ(call(table->add_text, table->context, object, "Sender", "Gateway"), succeeded);
    EXPECT_EQ(call(table->add_text, table->context, std::uint64_t{0}, "comment", "A car"), succeeded);
    EXPECT_EQ(call(table->add_value_table, table->context, object, "0=Off"),
              invalid("node id '" + std::to_string(object) + "' is not that of a signal"));
    EXPECT_EQ(call(table->add_text, table->context, signal + 1, "k", "t"),
              invalid("node id '" + std::to_string(signal + 1) + "' is not one of this description context"));
    EXPECT_EQ(call(table->add_text, table->context, object, "", "t").status, QOR_STATUS_INVALID_ARGUMENT);
    car.commit();
    EXPECT_STREQ(storage_.find(0, "V.O.S")->signal.value_table, "0=Off\n1=On");
    EXPECT_STREQ(storage_.find(0, "V.O")->comment, "What it is");
    EXPECT_EQ(storage_.find(0, "V")->comment, nullptr);
}

// Also for a description that is there already, whose nodes are not kept.
TEST_P(Storage, RefusesNodesThatCannotBe) {
    for (int round = 0; round < 2; ++round) {
        open_description car = storage_.begin("content");
        const std::uint64_t view = car.add(QOR_TYPE_NODE_VIEW, "V");
        const std::uint64_t object = car.add(QOR_TYPE_NODE_OBJECT, "O", view);
        const std::uint64_t group = car.add(QOR_TYPE_NODE_GROUP, "G", object);
        const std::uint64_t signal = car.add(QOR_TYPE_NODE_SIGNAL, "S", group);
        const std::uint64_t parents[] = {0, view, object, group, signal};
        const bool allowed[5][5] = {
            {},
            {true, false, false, false, false}, // a view, below nothing, view, object, group, signal
            {false, true, true, false, false},
            {false, false, true, true, false},
            {false, false, true, true, false},
        };
        for (std::uint8_t kind = 1; kind <= 4; ++kind) {
            for (unsigned parent = 0; parent < 5; ++parent) {
                EXPECT_EQ(car.try_add(make_node(kind, "N", parents[parent])).status,
                          allowed[kind][parent] ? QOR_STATUS_OK : QOR_STATUS_INVALID_ARGUMENT)
                    << "kind " << int{kind} << " below " << parent;
            }
        }
        EXPECT_EQ(car.try_add(make_node(QOR_TYPE_NODE_SIGNAL, "N", view)),
                  invalid("node 'N': a signal cannot stand directly below a view"));
        EXPECT_EQ(car.try_add(make_node(0, "N")), invalid("node 'N': kind 0 is not between 1 and 4"));
        EXPECT_EQ(car.try_add(make_node(5, "N")).status, QOR_STATUS_INVALID_ARGUMENT);
        EXPECT_EQ(car.try_add(make_node(1, "")), invalid("a node has no name"));
        EXPECT_EQ(car.try_add(make_node(1, nullptr)).status, QOR_STATUS_INVALID_ARGUMENT);
        EXPECT_EQ(car.try_add(make_node(2, "N", 77)).status, QOR_STATUS_INVALID_ARGUMENT);
        EXPECT_EQ(car.try_add(make_node(2, "N", signal + 1000)).status, QOR_STATUS_INVALID_ARGUMENT);
        EXPECT_EQ(car.try_add(make_node(2, "N", view - 1)).status, QOR_STATUS_INVALID_ARGUMENT); // the description
        qor_type_node_t suffix = make_node(QOR_TYPE_NODE_SIGNAL, "N", object);
        suffix.signal.signal_suffix_length = 3;
        EXPECT_EQ(car.try_add(suffix).status, QOR_STATUS_INVALID_ARGUMENT);
        car.commit();
    }
}

TEST_P(Storage, AddsAllSiblingsOrNone) {
    open_description car = storage_.begin("content");
    const std::uint64_t view = car.add(QOR_TYPE_NODE_VIEW, "V");
    const std::uint64_t object = car.add(QOR_TYPE_NODE_OBJECT, "O", view);
    const std::uint64_t other = car.add(QOR_TYPE_NODE_OBJECT, "P", view);
    auto* const table = car.table;
    std::vector<qor_type_node_t> nodes(3, make_node(QOR_TYPE_NODE_SIGNAL, "S", object));
    std::uint64_t ids[3] = {};
    nodes[2].name = "";
    EXPECT_EQ(call(table->add_nodes, table->context, nodes.data(), nodes.size(), ids).status,
              QOR_STATUS_INVALID_ARGUMENT);
    nodes[2] = make_node(QOR_TYPE_NODE_SIGNAL, "S", other);
    EXPECT_EQ(call(table->add_nodes, table->context, nodes.data(), nodes.size(), ids),
              invalid("node 'S': is not below the same parent"));
    EXPECT_EQ(call(table->add_nodes, table->context, nodes.data(), std::uint64_t{1} << 40, ids).status,
              QOR_STATUS_INVALID_ARGUMENT);
    EXPECT_EQ(call(table->add_nodes, table->context, nullptr, std::uint64_t{0}, nullptr), succeeded);
    nodes.resize(2);
    nodes[1].name = "T";
    EXPECT_EQ(call(table->add_nodes, table->context, nodes.data(), nodes.size(), ids), succeeded);
    car.commit();
    EXPECT_THAT(names(storage_.subtree(view)), ElementsAre("V", "O", "S", "T", "P"));
    EXPECT_EQ(storage_.find(0, "V.O.T")->id, ids[1]);
}

TEST_P(Storage, ContextsEndWithTheirCommit) {
    open_description car = storage_.begin("content");
    const std::uint64_t view = car.add(QOR_TYPE_NODE_VIEW, "V");
    car.commit();
    const outcome ended = invalid("description 'car.dbc' was committed already");
    std::uint64_t id = 0;
    EXPECT_EQ(car.try_add(make_node(QOR_TYPE_NODE_VIEW, "W")), ended);
    EXPECT_EQ(call(car.table->commit, car.table->context, &id), ended);
    EXPECT_EQ(call(car.table->add_text, car.table->context, view, "k", "t"), ended);
    car.destroy();
    EXPECT_EQ(storage_.roots(1)->count, 1u);
}

TEST_P(Storage, RefusesNullArguments) {
    open_description car = storage_.begin("content");
    auto* const table = car.table;
    auto* const access = storage_.access;
    auto* const storage = storage_.storage;
    const auto missing = [](const char* name) {
        return invalid(std::string("argument '") + name + "' was not initialized");
    };
    const std::uint64_t id = 1;
    qor_type_node_t* node = nullptr;
    qor_type_node_sequence_t* nodes = nullptr;
    qor_signal_storage_context_t* context = nullptr;
    const std::uint8_t type = 0;
    const void* const content = "x";
    EXPECT_EQ(call(table->add_node, table->context, nullptr, nullptr), missing("node"));
    EXPECT_EQ(call(table->add_nodes, table->context, nullptr, id, nullptr), missing("nodes"));
    EXPECT_EQ(call(table->add_node, nullptr, nullptr, nullptr), missing("handle"));
    EXPECT_EQ(call(table->commit, table->context, nullptr), missing("description_id"));
    EXPECT_EQ(call(table->add_value_table, table->context, id, nullptr), missing("value_table"));
    EXPECT_EQ(call(table->add_text, table->context, id, nullptr, "t"), missing("key"));
    EXPECT_EQ(call(table->add_text, table->context, id, "k", nullptr), missing("text"));
    EXPECT_EQ(call(storage->create_context, storage->context, type, nullptr, std::size_t{1}, "n", &context),
              missing("buffer"));
    EXPECT_EQ(call(storage->create_context, storage->context, type, content, std::size_t{1}, nullptr, &context),
              missing("name"));
    EXPECT_EQ(call(storage->create_context, storage->context, type, content, std::size_t{1}, "n", nullptr),
              missing("new_context"));
    EXPECT_EQ(call(access->find_node, access->context, id, nullptr, &node), missing("path"));
    EXPECT_EQ(call(access->find_node, access->context, id, "V", nullptr), missing("node"));
    EXPECT_EQ(call(access->get_root_nodes, access->context, id, nullptr), missing("nodes"));
    EXPECT_EQ(call(access->get_node_children, access->context, nullptr, &nodes), missing("node"));
    EXPECT_EQ(call(access->get_signature, access->context, id, nullptr, nullptr), missing("size"));
    EXPECT_EQ(call(access->get_description_id, access->context, nullptr, nullptr), missing("signature"));
    EXPECT_EQ(call(storage->checkpoint, nullptr), missing("handle"));
    EXPECT_EQ(table->add_node(table->context, nullptr, nullptr, nullptr), QOR_STATUS_INVALID_ARGUMENT);
}

TEST_P(Storage, SignaturesAskForTheRoomThatTheyNeed) {
    const std::uint64_t id = enter_car(storage_);
    auto* const access = storage_.access;
    std::string text(70, '#');
    for (const std::size_t room : {0, 1, 64, 65, 70}) {
        std::size_t size = room;
        EXPECT_EQ(call(access->get_signature, access->context, id, text.data(), &size),
                  room < 65 ? too_small : succeeded);
        EXPECT_EQ(size, 65u);
    }
    EXPECT_EQ(std::string(text.c_str()).size(), 64u);
    EXPECT_EQ(text[65], '#');
}

TEST_P(Storage, KeepsLongNamesAndDeepTrees) {
    open_description deep = storage_.begin("content");
    const std::string name(1 << 20, 'x');
    std::uint64_t id = deep.add(QOR_TYPE_NODE_VIEW, name.c_str());
    id = deep.add(QOR_TYPE_NODE_OBJECT, "o", id);
    std::string path = name + ".o";
    for (int level = 0; level < 5000; ++level) {
        id = deep.add(QOR_TYPE_NODE_GROUP, "g", id);
        path += ".g";
    }
    deep.commit();
    EXPECT_EQ(storage_.find(0, path)->id, id);
    const owned_nodes above = storage_.hierarchy(id);
    ASSERT_EQ(above->count, 5002u);
    EXPECT_EQ(above->nodes[0].name, name);
    EXPECT_EQ(above->nodes[5001].id, id);
    EXPECT_EQ(storage_.subtree(above->nodes[0].id)->count, 5002u);
}

TEST_P(Storage, ChecksAndShrinks) {
    const std::uint64_t id = enter_car(storage_);
    EXPECT_EQ(storage_.compact(), succeeded);
    EXPECT_EQ(storage_.subtree(storage_.find(id, "CAN")->id)->count, 7u);
}

TEST_P(Storage, CheckpointsBesideOtherCalls) {
    const std::jthread beside([&](const std::stop_token& end) {
        while (!end.stop_requested()) {
            EXPECT_EQ(storage_.checkpoint(), succeeded);
        }
    });
    for (int i = 0; i < 20; ++i) {
        const std::uint64_t id = enter_car(storage_, std::to_string(i));
        EXPECT_EQ(storage_.hierarchy(storage_.find(id, "CAN.EngineData.Speed")->id)->count, 3u);
    }
}

TEST_P(Storage, ContextsMayOutliveTheirStorage) {
    auto storage = std::make_unique<opened_storage>(memory_uri);
    open_description car = storage->begin("content");
    storage.reset();
    EXPECT_EQ(enter_car(car), 1u);
}

} // namespace
} // namespace tavi::test

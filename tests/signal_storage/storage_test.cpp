// What holds for every catalogue, in memory and in a file.
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qorcpp/fnv.hpp"
#include "tests/signal_storage/opened_storage.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tavi::test {
namespace {

class Storage : public ::testing::TestWithParam<const char*> {
protected:
    std::string uri() const {
        const std::string place = GetParam();
        return place == "file"     ? "file:" + (directory_.path() / "a.db3").string()
               : place == "shared" ? shared_memory_uri
                                   : memory_uri;
    }

    temporary_directory directory_;
    opened_storage storage_{uri()};
};

INSTANTIATE_TEST_SUITE_P(Everywhere, Storage, ::testing::Values("file", "shared", "memory"),
                         [](const auto& where) { return where.param; });

TEST_P(Storage, NamesWhatIsNotThere) {
    const std::uint64_t id = enter_car(storage_);
    auto* const access = storage_.access;
    EXPECT_EQ(storage_.try_find(id, "CAN.Nothing"),
              invalid("path 'CAN.Nothing' was not found in description id '1' of the signal storage"));
    for (const char* path : {"", ".", "CAN.", ".CAN", "CAN.Body.", "Body", "CA", "CAN.Body.Door", "can", "CAN..Body"}) {
        EXPECT_EQ(storage_.try_find(0, path),
                  invalid(std::string("path '") + path + "' was not found in the signal storage"));
    }
    for (const std::uint64_t unknown : {std::uint64_t{9}, std::uint64_t{1} << 31, ~std::uint64_t{0}}) {
        const std::string text = std::to_string(unknown);
        const outcome no_node = invalid("node id '" + text + "' is not in the signal storage");
        qor_type_node_t node{};
        node.id = unknown;
        EXPECT_EQ(storage_.try_find(unknown, "CAN"),
                  invalid("path 'CAN' was not found in the signal storage: there is no description id '" + text + "'"));
        EXPECT_EQ(storage_.try_ask(access->get_root_nodes, unknown),
                  invalid("description id '" + text + "' is not in the signal storage"));
        EXPECT_EQ(storage_.try_ask(access->get_node_hierarchy, unknown), no_node);
        EXPECT_EQ(storage_.try_ask(access->get_node_subtree, unknown), no_node);
        EXPECT_EQ(storage_.try_ask(access->get_node_children, &node), no_node);
    }
    EXPECT_EQ(outcome_of([&] { get<std::uint64_t>(access->get_description_id, access->context, "abc"); }),
              invalid("signature 'abc' is not in the signal storage"));
}

TEST_P(Storage, TheSameDescriptionAgainIsTheOneThatIsThere) {
    open_description at_the_same_time = storage_.begin("content");
    const std::uint64_t id = enter_car(storage_);
    EXPECT_EQ(enter_car(storage_), id);
    EXPECT_EQ(enter_car(std::move(at_the_same_time)), id);
    EXPECT_EQ(storage_.subtree(storage_.find(id, "CAN")->id)->count, 7u);

    EXPECT_NE(enter_car(storage_, "other content"), id);
    EXPECT_NE(storage_.begin("content", "van.dbc").commit(), id);
    EXPECT_NE(storage_.begin("content", "car.dbc", QOR_CONTEXT_TYPE_GENERAL).commit(), id);
    EXPECT_EQ(storage_.find(0, "CAN")->description_id, id) << "the lowest wins";
    EXPECT_EQ(storage_.roots(storage_.begin("").commit())->count, 0u);
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
    EXPECT_EQ(storage_.find(id_b, "B")->id, view_b);
    a.table.reset();
    EXPECT_EQ(storage_.try_find(0, "A").status, QOR_STATUS_INVALID_ARGUMENT);
}

TEST_P(Storage, TakesTextsAndTablesAfterTheirNodes) {
    open_description car = storage_.begin("content");
    const auto [view, object, signal] = car.add_signal();
    auto* const table = car.table.get();
    const auto add_values = [&](std::uint64_t id, const char* text) {
        return call(table->add_value_table, table->context, id, text);
    };
    EXPECT_EQ(add_values(signal, "0=replaced"), succeeded);
    EXPECT_EQ(add_values(signal, "0=Off\n1=On"), succeeded);
    EXPECT_EQ(add_values(object, "0"), invalid("node id '" + std::to_string(object) + "' is not that of a signal"));
    EXPECT_EQ(car.add_text(object, "comment", "What it is"), succeeded);
    EXPECT_EQ(car.add_text(0, "comment", "A car"), succeeded);
    EXPECT_EQ(car.add_text(signal + 1, "k", "t").status, QOR_STATUS_INVALID_ARGUMENT);
    car.commit();
    EXPECT_STREQ(storage_.find(0, "V.O.S")->signal.value_table, "0=Off\n1=On");
    EXPECT_STREQ(storage_.find(0, "V.O")->comment, "What it is");
    EXPECT_EQ(storage_.find(0, "V")->comment, nullptr);

    const outcome ended = invalid("description 'car.dbc' was committed already");
    EXPECT_EQ(car.try_add(make_node(QOR_TYPE_NODE_VIEW, "W")), ended);
    EXPECT_EQ(outcome_of([&] { car.commit(); }), ended);
    EXPECT_EQ(car.add_text(view, "k", "t"), ended);
}

// Also for a description that is there already, whose nodes are not kept.
TEST_P(Storage, RefusesNodesThatCannotBe) {
    for (int round = 0; round < 2; ++round) {
        open_description car = storage_.begin("content");
        const auto [view, object, signal] = car.add_signal();
        const std::uint64_t group = car.add(QOR_TYPE_NODE_GROUP, "G", object);
        // Below nothing, the description, view, object, group, signal, and two that are nowhere.
        const std::uint64_t parents[] = {0, view - 1, view, object, group, signal, 77, group + 1000};
        const char* const allowed[] = {"--------", "x-------", "--xx----", "---xx---", "---xx---", "--------"};
        for (std::uint8_t kind = 0; kind <= 5; ++kind) {
            for (unsigned parent = 0; parent < std::size(parents); ++parent) {
                EXPECT_EQ(car.try_add(make_node(kind, "N", parents[parent])).status,
                          allowed[kind][parent] == 'x' ? QOR_STATUS_OK : QOR_STATUS_INVALID_ARGUMENT)
                    << "kind " << int{kind} << " below " << parent;
            }
        }
        EXPECT_EQ(car.try_add(make_node(QOR_TYPE_NODE_SIGNAL, "N", view)),
                  invalid("node 'N': a signal cannot be directly below a view"));
        EXPECT_EQ(car.try_add(make_node(0, "N")), invalid("node 'N': kind 0 is not between 1 and 4"));
        EXPECT_EQ(car.try_add(make_node(1, "")), invalid("a node has no name"));
        qor_type_node_t suffix = make_node(QOR_TYPE_NODE_SIGNAL, "N", object);
        suffix.signal.signal_suffix_length = 3;
        EXPECT_EQ(car.try_add(suffix).status, QOR_STATUS_INVALID_ARGUMENT);
        car.commit();
    }
}

TEST_P(Storage, AddsAllSiblingsOrNone) {
    open_description car = storage_.begin("content");
    const auto [view, object, signal] = car.add_signal();
    std::vector<qor_type_node_t> nodes(3, make_node(QOR_TYPE_NODE_SIGNAL, "S", object));
    nodes[1].name = "T";
    std::uint64_t ids[3] = {};
    const auto add = [&](std::uint64_t count) {
        return call(car.table->add_nodes, car.table->context, nodes.data(), count, ids);
    };
    nodes[2].name = "";
    EXPECT_EQ(add(3).status, QOR_STATUS_INVALID_ARGUMENT);
    nodes[2] = make_node(QOR_TYPE_NODE_OBJECT, "P", view);
    EXPECT_EQ(add(3), invalid("node 'P': is not below the same parent"));
    EXPECT_EQ(add(std::uint64_t{1} << 40).status, QOR_STATUS_INVALID_ARGUMENT);
    EXPECT_EQ(add(0), succeeded);
    EXPECT_EQ(add(2), succeeded);
    car.commit();
    EXPECT_EQ(storage_.subtree(view)->count, 5u);
    EXPECT_EQ(storage_.find(0, "V.O.T")->id, ids[1]);
}

TEST_P(Storage, SignaturesFindTheirDescriptionsAndAskForTheRoomThatTheyNeed) {
    const std::uint64_t id = enter_car(storage_);
    auto* const access = storage_.access;
    std::string text(70, '#');
    for (const std::size_t room : {0, 64, 65, 70}) {
        std::size_t size = room;
        EXPECT_EQ(call(access->get_signature, access->context, id, text.data(), &size),
                  room < 65 ? too_small : succeeded);
        EXPECT_EQ(size, 65u);
    }
    EXPECT_EQ(text.substr(64), std::string("\0#####", 6));
    EXPECT_EQ(get<std::uint64_t>(access->get_description_id, access->context, text.c_str()), id);
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
    const auto above = storage_.ask(storage_.access->get_node_hierarchy, id);
    EXPECT_EQ(storage_.subtree(above->nodes[0].id)->count, 5002u);
}

// These two names have one hash.
TEST_P(Storage, APathIsMoreThanItsHash) {
    open_description car = storage_.begin("content");
    const char* const names[] = {"8yn0iYCKYHlIj4-BwPqk", "GReLUrM4wMqfg9yzV3KQ"};
    ASSERT_EQ(qor::fnv1a(names[0]), qor::fnv1a(names[1]));
    const std::uint64_t ids[] = {car.add(QOR_TYPE_NODE_VIEW, names[0]), car.add(QOR_TYPE_NODE_VIEW, names[1])};
    car.commit();
    EXPECT_EQ(storage_.find(0, names[0])->id, ids[0]);
    EXPECT_EQ(storage_.find(1, names[1])->id, ids[1]);
    open_description van = storage_.begin("other");
    van.add(QOR_TYPE_NODE_VIEW, names[1]);
    EXPECT_EQ(storage_.try_find(van.commit(), names[0]).status, QOR_STATUS_INVALID_ARGUMENT);
}

TEST_P(Storage, CheckpointsBesideOtherCalls) {
    const std::jthread beside([&](const std::stop_token& end) {
        while (!end.stop_requested()) {
            EXPECT_EQ(storage_.checkpoint(), succeeded);
        }
    });
    for (int i = 0; i < 20; ++i) {
        const std::uint64_t id = enter_car(storage_, std::to_string(i));
        EXPECT_EQ(storage_.subtree(storage_.find(id, "CAN.EngineData")->id)->count, 3u);
    }
}

// Those that hold it at a time: nothing of it stays after them.
TEST(MemoryStorage, IsSharedByItsName) {
    for (int round = 0; round < 2; ++round) {
        const std::uint32_t reading = QOR_SIGNAL_STORAGE_READ_ONLY;
        for (const char* uri : {shared_memory_uri, memory_uri}) {
            EXPECT_THAT(*outcome_of([&] { opened_storage(uri, 0, QOR_SIGNAL_STORAGE_MUST_EXIST); }).text,
                        ::testing::EndsWith("': there is no catalogue, and it must exist"));
        }
        EXPECT_EQ(outcome_of([&] { opened_storage(shared_memory_uri, 0, reading); }).text,
                  "signal storage '/shared': there is no catalogue, and the storage is opened for reading only");
        opened_storage first(shared_memory_uri);
        open_description late = first.begin("late");
        opened_storage second(shared_memory_uri, 0, QOR_SIGNAL_STORAGE_MUST_EXIST);
        open_description taken = second.begin("taken");
        EXPECT_EQ(enter_car(second), 2u);
        EXPECT_EQ(taken.commit(), 1u);
        EXPECT_EQ(enter_car(first), 2u);
        EXPECT_EQ(late.commit(), 3u) << "its number was taken";
        opened_storage reader(shared_memory_uri, 0, reading);
        EXPECT_EQ(reader.find(0, "CAN.Body")->description_id, 2u);
        EXPECT_EQ(
            outcome_of([&] { reader.begin("new"); }).text,
            "signal storage '/shared': description 'car.dbc' is not there, and the storage is opened for reading only");
    }
}

TEST(MemoryStorage, IsSharedByNamesThatBeginWithASlashOrBackslash) {
    const std::pair<const char*, bool> rows[] = {{shared_memory_uri, true},
                                                 {"file:%5Cshared?vfs=memdb", true},
                                                 {"file:/?vfs=memdb", false},
                                                 {"file:alone?vfs=memdb", false},
                                                 {memory_uri, false}};
    for (const auto& [uri, is_shared] : rows) {
        opened_storage first(uri);
        opened_storage second(uri);
        enter_car(first);
        EXPECT_EQ(second.try_find(0, "CAN") == succeeded, is_shared) << uri;
    }
}

TEST_P(Storage, ContextsMayOutliveTheirStorage) {
    open_description car = opened_storage(uri()).begin("content");
    EXPECT_EQ(enter_car(std::move(car)), 1u);
}

} // namespace
} // namespace tavi::test

// What holds for catalogues in files only: URIs, other programs' files, damage, locks, other processes.
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "tests/signal_storage/opened_storage.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tavi::test {
namespace {

using ::testing::HasSubstr;

namespace fs = std::filesystem;

class StorageFile : public ::testing::Test {
protected:
    std::string uri(const std::string& parameters = "") const { return "file:" + file_.string() + parameters; }

    // What any other program may do to the file.
    void alter(const char* sql) const { other_connection(file_).execute(sql); }

    void write(const std::string& bytes) const { std::ofstream(file_, std::ios::binary) << bytes; }

    std::string read() const {
        std::ifstream stream(file_, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    struct other_connection {
        explicit other_connection(const fs::path& file) { sqlite3_open(file.string().c_str(), &handle); }
        ~other_connection() { sqlite3_close(handle); }
        void execute(const char* sql) const {
            char* text = nullptr;
            EXPECT_EQ(sqlite3_exec(handle, sql, nullptr, nullptr, &text), SQLITE_OK) << (text != nullptr ? text : sql);
            sqlite3_free(text);
        }
        sqlite3* handle = nullptr;
    };

    void expect_refusal(const std::string& text) const {
        const outcome result = try_open(uri());
        EXPECT_EQ(result.status, QOR_STATUS_FAILURE);
        EXPECT_THAT(result.text.value_or(""), HasSubstr(file_.string()));
        EXPECT_THAT(result.text.value_or(""), HasSubstr(text));
    }

    temporary_directory directory_;
    fs::path file_ = directory_.path() / "catalogue.db3";
};

TEST(StorageUri, InMemoryIsPrivateToTheInstance) {
    opened_storage one(memory_uri);
    opened_storage two(memory_uri);
    enter_car(one);
    EXPECT_EQ(two.try_find(0, "CAN").status, QOR_STATUS_INVALID_ARGUMENT);
}

TEST(StorageUri, RefusesWhatItDoesNotKnow) {
    EXPECT_EQ(try_open(""), invalid("the URI of the signal storage is empty; a catalogue in memory is "
                                    "'file:signal_storage?mode=memory'"));
    EXPECT_EQ(try_open(memory_uri, 2), invalid("open mode 2 of the signal storage is unknown"));
    EXPECT_EQ(try_open(memory_uri, 0, 8), invalid("flags 8 of the signal storage hold an unknown bit"));
    EXPECT_THAT(try_open("file:/no/such/folder/a.db3").text.value_or(""), HasSubstr("/no/such/folder/a.db3"));
    EXPECT_THAT(try_open("file:a.db3?mode=strange").text.value_or(""), HasSubstr("strange"));
    EXPECT_EQ(call(qor_signal_storage_open, memory_uri, std::uint8_t{0}, std::uint32_t{0}, nullptr, nullptr),
              invalid("argument 'handle' was not initialized"));
    void* handle = nullptr;
    EXPECT_EQ(call(qor_signal_storage_open, nullptr, std::uint8_t{0}, std::uint32_t{0}, nullptr, &handle),
              invalid("argument 'uri' was not initialized"));
}

TEST_F(StorageFile, KeepsDescriptionsForTheNextRun) {
    std::string signature;
    {
        opened_storage storage(uri());
        signature = storage.signature(enter_car(storage));
    }
    opened_storage again(uri());
    EXPECT_EQ(again.signature(again.find(0, "CAN.Body.Doors.Left")->description_id), signature);
    EXPECT_EQ(enter_car(again), 1u);
    EXPECT_EQ(enter_car(again, "more"), 2u);
}

TEST_F(StorageFile, TakesPlainPathsAndPercentEscapes) {
    { opened_storage storage((directory_.path() / "plain.db3").string()); }
    { opened_storage storage("file:" + directory_.path().string() + "/with%20blank%23.db3"); }
    EXPECT_TRUE(fs::exists(directory_.path() / "plain.db3"));
    EXPECT_TRUE(fs::exists(directory_.path() / "with blank#.db3"));
}

TEST_F(StorageFile, ForReadingOnlyTakesWhatIsThereAndNothingElse) {
    {
        opened_storage storage(uri());
        enter_car(storage);
    }
    const std::string before = read();
    const struct {
        std::string uri;
        std::uint8_t mode;
        std::uint32_t flags;
    } ways[] = {{uri("?mode=ro"), 0, 0},
                {uri("?immutable=1"), 0, 0},
                {uri(), QOR_SIGNAL_STORAGE_MODE_READ_ONLY, 0},
                {uri(), 0, QOR_SIGNAL_STORAGE_READ_ONLY}};
    for (const auto& way : ways) {
        opened_storage storage(way.uri, way.mode, way.flags);
        EXPECT_EQ(enter_car(storage), 1u);
        EXPECT_EQ(storage.try_begin("new").text,
                  "signal storage '" + file_.string() +
                      "': description 'new.dbc' is not there, and the storage is opened for reading only");
        EXPECT_EQ(storage.checkpoint(), succeeded);
        EXPECT_EQ(storage.compact(), succeeded);
    }
    EXPECT_EQ(read(), before);
}

TEST_F(StorageFile, IsNotMadeWhereItMustExist) {
    EXPECT_THAT(try_open(uri(), 0, QOR_SIGNAL_STORAGE_MUST_EXIST).text.value_or(""), HasSubstr(file_.string()));
    EXPECT_THAT(try_open(uri("?mode=ro")).text.value_or(""), HasSubstr(file_.string()));
    EXPECT_FALSE(fs::exists(file_));
    write("");
    EXPECT_THAT(try_open(uri("?mode=ro")).text.value_or(""), HasSubstr("there is no catalogue"));
}

TEST_F(StorageFile, RefusesOtherFiles) {
    write("VERSION \"\"\n\nNS_ :\n" + std::string(5000, '\n'));
    expect_refusal("file is not a database");
    fs::remove(file_);
    alter("CREATE TABLE bookmarks (url TEXT)");
    expect_refusal("the file is a database of another application");
    fs::remove(file_);
    alter("PRAGMA application_id = 77");
    expect_refusal("the file is a database of another application");
    EXPECT_THAT(try_open("file:" + directory_.path().string()).text.value_or(""),
                HasSubstr(directory_.path().string()));
}

TEST_F(StorageFile, RefusesNewerAndDamagedCatalogues) {
    {
        opened_storage storage(uri());
        enter_car(storage);
    }
    const std::string whole = read();
    alter("PRAGMA user_version = 2");
    expect_refusal("the file has schema version 2, this program knows versions up to 1");
    write(whole);
    alter("DROP TABLE node_text");
    expect_refusal("the file is damaged: tables of the catalogue are missing");
    write(whole.substr(0, 60));
    expect_refusal("malformed");
    write(whole);
    fs::resize_file(file_, whole.size() / 2);
    expect_refusal("malformed");
}

TEST_F(StorageFile, RowsThatContradictEachOtherAreToldNotBelieved) {
    {
        opened_storage storage(uri());
        enter_car(storage);
    }
    const std::string whole = read();
    const char* const damages[] = {
        "UPDATE node SET last = last + 1000000000, child_count = 1000000000",
        "UPDATE node SET last = 0, child_count = -1",
        "UPDATE node SET parent = id",
        "UPDATE node SET depth = 4000000000",
        "UPDATE node SET depth = 0",
        "UPDATE node SET kind = 9",
        "UPDATE node SET minimum = NULL",
        "UPDATE node SET minimum = x'00'",
        "DELETE FROM node WHERE name IN ('CAN', 'Body')",
        "UPDATE node SET position = position + 1000",
        "UPDATE description SET view_count = 99999",
    };
    for (const char* damage : damages) {
        write(whole);
        alter(damage);
        opened_storage storage(uri());
        auto* const access = storage.access;
        unsigned failures = 0;
        const auto ask = [&](auto* question, auto argument) {
            qor_type_node_sequence_t* nodes = nullptr;
            failures += call(question, access->context, argument, &nodes) != succeeded;
            owned_nodes closing(nodes);
        };
        ask(access->get_root_nodes, std::uint64_t{1});
        for (std::uint64_t id = (std::uint64_t{1} << 32) + 1; id < (std::uint64_t{1} << 32) + 9; ++id) {
            const qor_type_node_t node = [&] {
                qor_type_node_t result{};
                result.id = id;
                return result;
            }();
            ask(access->get_node_children, &node);
            ask(access->get_node_hierarchy, id);
            ask(access->get_node_subtree, id);
        }
        EXPECT_GT(failures, 3u) << damage; // three are those of the one id that is not there
        storage.try_find(0, "CAN.Body.Doors.Left");
    }
}

// As if two paths had one hash.
TEST_F(StorageFile, APathIsMoreThanItsHash) {
    opened_storage storage(uri());
    enter_car(storage);
    for (const char* name : {"AN", "VAN", "CANS"}) {
        alter((std::string("UPDATE node SET name = '") + name + "' WHERE depth = 1").c_str());
        EXPECT_EQ(storage.try_find(0, "CAN.Body.Doors"),
                  invalid("path 'CAN.Body.Doors' was not found in the signal storage"));
    }
    alter("UPDATE node SET name = 'CAN' WHERE depth = 1");
    EXPECT_EQ(storage.try_find(0, "CAN.Body.Doors"), succeeded);
}

TEST_F(StorageFile, EveryByteMayBeWrong) {
    {
        opened_storage storage(uri());
        enter_car(storage);
    }
    const std::string whole = read();
    for (std::size_t at = 0; at < whole.size(); at += at < 100 ? 7 : 401) {
        std::string damaged = whole;
        damaged[at] = static_cast<char>(~damaged[at]);
        write(damaged);
        try {
            opened_storage storage(uri());
            storage.try_find(0, "CAN.Body.Doors.Left");
            storage.compact();
            storage.subtree(storage.roots(1)->nodes[0].id);
            enter_car(storage, "more");
        } catch (const std::runtime_error&) {
            // Any answer but a crash will do.
        }
    }
}

TEST_F(StorageFile, WhatStandsInAForeignSchemaIsNotRun) {
    { opened_storage storage(uri()); }
    alter("CREATE TRIGGER sly AFTER INSERT ON node BEGIN DELETE FROM description; END");
    opened_storage storage(uri());
    EXPECT_EQ(storage.roots(enter_car(storage))->count, 1u);
}

TEST_F(StorageFile, ALockOfAnotherProcessIsWaitedForAndTold) {
    opened_storage storage(uri("?busy_timeout=20"));
    const outcome locked =
        failed("signal storage '" + file_.string() + "': the file is locked by another process", QOR_STATUS_TIMED_OUT);
    open_description car = storage.begin("content");
    const std::uint64_t view = car.add(QOR_TYPE_NODE_VIEW, "V");
    {
        const other_connection other(file_);
        other.execute("BEGIN EXCLUSIVE");
        std::uint64_t id = 0;
        EXPECT_EQ(call(car.table->commit, car.table->context, &id), locked);
        EXPECT_EQ(storage.try_find(0, "V"), locked);
        EXPECT_EQ(try_open(uri("?busy_timeout=0")), locked);
    }
    EXPECT_EQ(car.commit(), 1u);
    EXPECT_EQ(storage.find(0, "V")->id, view);
    EXPECT_THAT(try_open(uri("?busy_timeout=-1")).text.value_or(""), HasSubstr("busy_timeout"));
}

TEST_F(StorageFile, TwoProcessesShareAFile) {
    opened_storage here(uri());
    opened_storage there(uri());
    open_description mine = here.begin("mine");
    open_description theirs = there.begin("theirs");
    open_description same_here = here.begin("same");
    open_description same_there = there.begin("same");
    const std::uint64_t id = enter_car(mine);
    const std::uint64_t their_id = enter_car(theirs);
    EXPECT_NE(their_id, id); // the one that was meant for it is taken
    EXPECT_EQ(there.subtree(there.find(their_id, "CAN")->id)->count, 7u);
    EXPECT_EQ(here.find(their_id, "CAN.Body.Doors.Left")->description_id, their_id);
    EXPECT_EQ(enter_car(same_here), enter_car(same_there));
}

TEST_F(StorageFile, ACommitThatFailsLeavesTheFileAsItWas) {
    opened_storage storage(uri("?busy_timeout=20"));
    enter_car(storage);
    const std::string before = read();
    open_description big = storage.begin("big");
    const std::string long_text(1 << 16, 'x');
    for (int i = 0; i < 100; ++i) {
        qor_type_node_t view = make_node(QOR_TYPE_NODE_VIEW, "V");
        view.comment = long_text.c_str();
        big.add(view);
    }
    {
        const other_connection reader(file_);
        reader.execute("BEGIN; SELECT count(*) FROM node");
        std::uint64_t id = 0;
        EXPECT_EQ(call(big.table->commit, big.table->context, &id).status, QOR_STATUS_TIMED_OUT);
    }
    EXPECT_EQ(read(), before);
    EXPECT_EQ(big.commit(), 2u);
    EXPECT_EQ(storage.roots(2)->count, 100u);
}

TEST_F(StorageFile, ACheckpointEmptiesAWriteAheadLog) {
    { opened_storage storage(uri()); }
    alter("PRAGMA journal_mode = WAL");
    opened_storage storage(uri());
    enter_car(storage);
    const fs::path log = file_.string() + "-wal";
    ASSERT_GT(fs::file_size(log), 0u);
    EXPECT_EQ(storage.checkpoint(), succeeded);
    EXPECT_EQ(fs::file_size(log), 0u);
}

TEST_F(StorageFile, CanBeReadWithSql) {
    opened_storage storage(uri());
    open_description car = storage.begin("content");
    const std::uint64_t view = car.add(QOR_TYPE_NODE_VIEW, "V");
    const std::uint64_t a = car.add(QOR_TYPE_NODE_OBJECT, "A", view);
    car.add(QOR_TYPE_NODE_OBJECT, "B", view);
    const std::uint64_t late = car.add(QOR_TYPE_NODE_SIGNAL, "S", a);
    expect(call(car.table->add_text, car.table->context, late, "Sender", "ECU"));
    car.commit();
    const other_connection other(file_);
    std::string answer;
    const auto append = [](void* target, int, char** columns, char**) {
        static_cast<std::string*>(target)->append(columns[0]).append("|");
        return 0;
    };
    sqlite3_exec(other.handle,
                 "SELECT p.path || '=' || coalesce(t.text, '') FROM node_path AS p "
                 "LEFT JOIN node_text AS t ON t.node = p.node ORDER BY p.path",
                 append, &answer, nullptr);
    EXPECT_EQ(answer, "V=|V.A=|V.A.S=ECU|V.B=|");
}

} // namespace
} // namespace tavi::test

// What holds for catalogues in files only: URIs, other programs' files, damage, locks, other processes.
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "tests/signal_storage/opened_storage.hpp"
#include "tests/support/temporary_directory.hpp"
#include "tests/support/thrown.hpp"

namespace tavi::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

namespace fs = std::filesystem;

// Another program that has the file open.
struct other_connection {
    explicit other_connection(const fs::path& file) { sqlite3_open(file.string().c_str(), &handle); }
    ~other_connection() { sqlite3_close(handle); }
    // Gives the first column of the last row.
    std::string execute(const std::string& sql) const {
        std::string answer;
        const auto take = [](void* target, int, char** columns, char**) {
            return *static_cast<std::string*>(target) = columns[0], 0;
        };
        EXPECT_EQ(sqlite3_exec(handle, sql.c_str(), take, &answer, nullptr), SQLITE_OK) << sqlite3_errmsg(handle);
        return answer;
    }
    sqlite3* handle = nullptr;
};

class StorageFile : public ::testing::Test {
protected:
    std::string uri(const std::string& parameters = "") const { return "file:" + file_.string() + parameters; }

    // Makes a catalogue that holds a car; gives the bytes of the file.
    std::string make_catalogue() const {
        enter_car(opened_storage(uri()).begin("content"));
        return read();
    }

    void alter(const std::string& sql) const { other_connection(file_).execute(sql); }

    void write(const std::string& bytes) const { std::ofstream(file_, std::ios::binary) << bytes; }

    std::string read() const {
        std::ifstream stream(file_, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    static outcome try_open(const std::string& uri, std::uint8_t mode = 0, std::uint32_t flags = 0) {
        return outcome_of([&] { opened_storage(uri, mode, flags); });
    }
    temporary_directory directory_;
    fs::path file_ = directory_.path() / "catalogue.db3";
};

TEST_F(StorageFile, TakesPathsAndUrisAndRefusesWhatItDoesNotKnow) {
    EXPECT_EQ(try_open(""), invalid("the URI of the signal storage is empty; a catalogue in memory is "
                                    "'file:signal_storage?mode=memory'"));
    EXPECT_EQ(try_open(memory_uri, 2), invalid("open mode 2 of the signal storage is unknown"));
    EXPECT_EQ(try_open(memory_uri, 0, 8), invalid("flags 8 of the signal storage hold an unknown bit"));
    const std::string folder = directory_.path().string();
    const std::tuple<std::string, std::uint32_t, std::string> rows[] = {
        {"file:a.db3?mode=strange", 0, "strange"},
        {"file:/no/such/folder/a.db3", 0, "/no/such/folder/a.db3"},
        {"file:" + folder, 0, folder},
        {uri(), QOR_SIGNAL_STORAGE_MUST_EXIST, file_},
        {uri("?mode=ro"), 0, file_},
    };
    for (const auto& [given, flags, told] : rows) {
        EXPECT_THAT(try_open(given, 0, flags).text.value_or("opened"), HasSubstr(told));
    }
    EXPECT_FALSE(fs::exists(file_));
    EXPECT_THAT(*try_open(uri("?busy_timeout=-1")).text, HasSubstr("busy_timeout"));
    write("");
    EXPECT_THAT(try_open(uri("?mode=ro")).text.value_or("opened"), HasSubstr("there is no catalogue"));

    opened_storage plain(folder + "/plain.db3");
    opened_storage escaped("file:" + folder + "/with%20blank%23.db3");
    EXPECT_TRUE(fs::exists(directory_.path() / "plain.db3"));
    EXPECT_TRUE(fs::exists(directory_.path() / "with blank#.db3"));
}

TEST_F(StorageFile, ForReadingOnlyTakesWhatIsThereAndNothingElse) {
    const std::string before = make_catalogue();
    const std::tuple<const char*, std::uint8_t, std::uint32_t> ways[] = {{"?mode=ro", 0, 0},
                                                                         {"?immutable=1", 0, 0},
                                                                         {"", QOR_SIGNAL_STORAGE_MODE_READ_ONLY, 0},
                                                                         {"", 0, QOR_SIGNAL_STORAGE_READ_ONLY}};
    for (const auto& [parameters, mode, flags] : ways) {
        opened_storage storage(uri(parameters), mode, flags);
        EXPECT_EQ(enter_car(storage), 1u);
        EXPECT_EQ(thrown<failure>([&] { storage.begin("new"); }),
                  "signal storage '" + file_.string() +
                      "': description 'car.dbc' is not there, and the storage is opened for reading only");
        EXPECT_EQ(storage.checkpoint(), succeeded);
        EXPECT_EQ(storage.compact(), succeeded);
    }
    EXPECT_EQ(read(), before);
}

TEST_F(StorageFile, RefusesOtherFilesAndNewerAndDamagedCatalogues) {
    const std::string whole = make_catalogue();
    const std::tuple<std::string, const char*, const char*> cases[] = {
        {"VERSION \"\"\n\nNS_ :\n" + std::string(5000, '\n'), "", "file is not a database"},
        {"", "PRAGMA application_id = 77", "the file is a database of another application"},
        {whole, "PRAGMA user_version = 2", "the file has schema version 2, this program knows versions up to 1"},
        {whole, "DROP TABLE description_text", "the file is damaged: tables of the catalogue are missing"},
        {whole.substr(0, whole.size() / 2), "", "malformed"},
    };
    for (const auto& [bytes, sql, text] : cases) {
        write(bytes);
        alter(sql);
        EXPECT_THAT(try_open(uri()).text.value_or("opened"), AllOf(HasSubstr(text), HasSubstr(file_.string())));
    }
}

TEST_F(StorageFile, RowsThatContradictEachOtherAreToldNotBelieved) {
    const std::string whole = make_catalogue();
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
        unsigned failures = storage.try_ask(access->get_root_nodes, std::uint64_t{1}) != succeeded;
        qor_type_node_t node{};
        for (const std::uint64_t index : {1, 2, 3, 4, 5, 6, 7, 8}) {
            node.id = (std::uint64_t{1} << 32) + index;
            failures += storage.try_ask(access->get_node_children, &node) != succeeded;
            failures += storage.try_ask(access->get_node_hierarchy, node.id) != succeeded;
            failures += storage.try_ask(access->get_node_subtree, node.id) != succeeded;
        }
        EXPECT_GT(failures, 3u) << damage; // three are those of the one id that is not there
        storage.try_find(0, "CAN.Body.Doors.Left");
    }
}

// As if two paths had one hash.
TEST_F(StorageFile, APathIsMoreThanItsHash) {
    make_catalogue();
    opened_storage storage(uri());
    for (const std::string name : {"AN", "VAN", "CANS", "CAN"}) {
        alter("UPDATE node SET name = '" + name + "' WHERE depth = 1");
        EXPECT_EQ(storage.try_find(0, "CAN.Body.Doors"),
                  name == "CAN" ? succeeded : invalid("path 'CAN.Body.Doors' was not found in the signal storage"));
    }
}

TEST_F(StorageFile, EveryByteMayBeWrong) {
    const std::string whole = make_catalogue();
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
    make_catalogue();
    alter("CREATE TRIGGER sly AFTER INSERT ON node BEGIN DELETE FROM description; END");
    opened_storage storage(uri());
    EXPECT_EQ(storage.roots(enter_car(storage, "more"))->count, 1u);
    EXPECT_EQ(storage.roots(1)->count, 1u);
}

TEST_F(StorageFile, ALockOfAnotherProcessIsWaitedForAndTold) {
    opened_storage storage(uri("?busy_timeout=20"));
    const outcome locked =
        failed("signal storage '" + file_.string() + "': the file is locked by another process", QOR_STATUS_TIMED_OUT);
    open_description car = storage.begin("content");
    {
        const other_connection other(file_);
        other.execute("BEGIN EXCLUSIVE");
        EXPECT_EQ(outcome_of([&] { car.commit(); }), locked);
        EXPECT_EQ(storage.try_find(0, "V"), locked);
        EXPECT_EQ(try_open(uri("?busy_timeout=0")), locked);
    }
    EXPECT_EQ(enter_car(std::move(car)), 1u);
}

TEST_F(StorageFile, TwoProcessesShareAFile) {
    opened_storage here(uri()), there(uri());
    open_description theirs = there.begin("theirs");
    open_description same = there.begin("mine");
    const std::uint64_t id = enter_car(here, "mine");
    const std::uint64_t their_id = enter_car(std::move(theirs));
    EXPECT_NE(their_id, id); // the one that was meant for it is taken
    EXPECT_EQ(there.subtree(there.find(their_id, "CAN")->id)->count, 7u);
    EXPECT_EQ(here.find(their_id, "CAN.Body.Doors.Left")->description_id, their_id);
    EXPECT_EQ(enter_car(std::move(same)), id);
}

TEST_F(StorageFile, ACommitThatFailsLeavesTheFileAsItWas) {
    const std::string before = make_catalogue();
    opened_storage storage(uri("?busy_timeout=20"));
    open_description big = storage.begin("big");
    const std::string long_text(1 << 16, 'x');
    qor_type_node_t view = make_node(QOR_TYPE_NODE_VIEW, "V");
    view.comment = long_text.c_str();
    for (int i = 0; i < 100; ++i) {
        big.add(view);
    }
    {
        const other_connection reader(file_);
        reader.execute("BEGIN; SELECT count(*) FROM node");
        EXPECT_EQ(outcome_of([&] { big.commit(); }).status, QOR_STATUS_TIMED_OUT);
    }
    EXPECT_EQ(read(), before);
    EXPECT_EQ(big.commit(), 2u);
    EXPECT_EQ(storage.roots(2)->count, 100u);
}

TEST_F(StorageFile, ACheckpointEmptiesAWriteAheadLog) {
    make_catalogue();
    alter("PRAGMA journal_mode = WAL");
    opened_storage storage(uri());
    enter_car(storage, "more");
    const fs::path log = file_.string() + "-wal";
    ASSERT_GT(fs::file_size(log), 0u);
    EXPECT_EQ(storage.checkpoint(), succeeded);
    EXPECT_EQ(fs::file_size(log), 0u);
}

TEST_F(StorageFile, CanBeReadWithSql) {
    opened_storage storage(uri());
    open_description car = storage.begin("content");
    const auto [view, object, signal] = car.add_signal();
    EXPECT_EQ(car.add_text(object, "Sender", "replaced"), succeeded);
    EXPECT_EQ(car.add_text(object, "Sender", "the \"\\\n\x01 \xC3\xBC"), succeeded);
    car.commit();
    EXPECT_EQ(other_connection(file_).execute(
                  "SELECT group_concat(p.path || '=' || coalesce(t.text, ''), '|') FROM node_path AS p "
                  "LEFT JOIN node_text AS t ON t.node = p.node"),
              "V=|V.O=the \"\\\n\x01 \xC3\xBC|V.O.S=");
}

} // namespace
} // namespace tavi::test

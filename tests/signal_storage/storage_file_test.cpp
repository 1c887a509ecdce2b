// What holds for catalogues in files only: URIs, other programs' files, damage, locks, other processes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/signal_storage/catalogue_file.hpp"
#include "tests/support/thrown.hpp"

namespace tavi::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

namespace fs = std::filesystem;

class StorageFile : public ::testing::Test, protected catalogue_file {
protected:
    // Makes a catalogue that holds a car; gives the bytes of the file.
    std::string make_catalogue() const {
        enter_car(opened_storage(uri()).begin("content"));
        return read();
    }

    static outcome try_open(const std::string& uri, std::uint8_t mode = 0, std::uint32_t flags = 0) {
        return outcome_of([&] { opened_storage(uri, mode, flags); });
    }
};

TEST_F(StorageFile, TakesPathsAndUrisAndRefusesWhatItDoesNotKnow) {
    EXPECT_EQ(try_open(""), invalid("the URI of the signal storage is empty; a catalogue in memory is "
                                    "'file:signal_storage?mode=memory'"));
    EXPECT_EQ(try_open(memory_uri, 2), invalid("open mode 2 of the signal storage is unknown"));
    EXPECT_EQ(try_open(memory_uri, 0, 8), invalid("flags 8 of the signal storage hold an unknown bit"));
    const std::string folder = directory.path().string();
    const std::tuple<std::string, std::uint32_t, std::string> rows[] = {
        {"file:a.db3?mode=strange", 0, "strange"},
        {"file:/no/such/folder/a.db3", 0, "/no/such/folder/a.db3"},
        {"file:" + folder, 0, folder},
        {uri(), QOR_SIGNAL_STORAGE_MUST_EXIST, path},
        {uri("?mode=ro"), 0, path},
        {uri("?immutable=1"), 0, path},
        {uri("?busy_timeout=-1"), 0, "busy_timeout"},
        {uri("?busy_timeout=1s"), 0, "busy_timeout"},
        {uri("?busy_timeout="), 0, "busy_timeout"},
        {uri("?busy_timeout=86400001"), 0, "busy_timeout"},
        {uri("?busy%5Ftimeout=99999999999"), 0, "busy_timeout"},
    };
    for (const auto& [given, flags, text] : rows) {
        EXPECT_THAT(try_open(given, 0, flags).text.value_or("opened"), HasSubstr(text));
    }
    EXPECT_FALSE(fs::exists(path)) << "what is refused leaves no file";
    write("");
    EXPECT_THAT(try_open(uri("?mode=ro")).text.value_or("opened"), HasSubstr("there is no catalogue"));
    EXPECT_THAT(try_open(uri(), 0, QOR_SIGNAL_STORAGE_MUST_EXIST).text.value_or("opened"),
                HasSubstr("there is no catalogue, and it must exist"));

    opened_storage plain(folder + "/plain.db3");
    opened_storage escaped("file:" + folder + "/with%20blank%23.db3");
    EXPECT_TRUE(fs::exists(directory.path() / "plain.db3"));
    EXPECT_TRUE(fs::exists(directory.path() / "with blank#.db3"));
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
                  "signal storage '" + path.string() +
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
        {whole, "PRAGMA user_version = 3", "the file has schema version 3, this program reads versions up to 2"},
        {whole, "DROP TABLE description_text", "the file is damaged: tables of the catalogue are missing"},
        {whole.substr(0, whole.size() / 2), "", "malformed"},
    };
    for (const auto& [bytes, sql, text] : cases) {
        write(bytes);
        alter(sql);
        EXPECT_THAT(try_open(uri()).text.value_or("opened"), AllOf(HasSubstr(text), HasSubstr(path.string())));
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
        failed("signal storage '" + path.string() + "': the file is locked by another process", QOR_STATUS_TIMED_OUT);
    open_description car = storage.begin("content");
    {
        const other_connection other(path);
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
        const other_connection reader(path);
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
    const fs::path log = path.string() + "-wal";
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
    EXPECT_EQ(other_connection(path).execute(
                  "SELECT group_concat(p.path || '=' || coalesce(t.text, ''), '|') FROM node_path AS p "
                  "LEFT JOIN node_text AS t ON t.node = p.node"),
              "V=|V.O=the \"\\\n\x01 \xC3\xBC|V.O.S=");
}

} // namespace
} // namespace tavi::test

// Files whose bytes changed: each answer is the one of the whole file, or an error that names the file.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "plugins/signal_storage/checked_row.hpp"
#include "plugins/signal_storage/database.hpp"
#include "plugins/signal_storage/description_row.hpp"
#include "plugins/signal_storage/description_table.hpp"
#include "plugins/signal_storage/node_row.hpp"
#include "tests/signal_storage/catalogue_answers.hpp"
#include "tests/signal_storage/catalogue_file.hpp"
#include "tests/signal_storage/sqlite_faults.hpp"

namespace tavi::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

// Two descriptions; a signal of the second has all that a signal can have.
std::string make_catalogue(const catalogue_file& file) {
    opened_storage storage(file.uri());
    enter_car(storage, "content");
    open_description van = storage.begin("other", "van.dbc");
    const auto [view, object, signal] = van.add_signal();
    qor_type_node_t full = make_node(QOR_TYPE_NODE_SIGNAL, "Full", object);
    full.comment = "What it means";
    full.signal = {0,
                   1,
                   2,
                   12,
                   2,
                   1,
                   3,
                   4,
                   3,
                   1,
                   2,
                   0,
                   "0:0:4:0:0:S=1",
                   0,
                   0.125,
                   -40,
                   0,
                   0,
                   1,
                   -40,
                   471.875,
                   "km/h",
                   "0=Off\n1=On",
                   "km/h",
                   4};
    van.add(full);
    van.add_text(object, "Sender", "ECU");
    van.commit();
    return file.read();
}

class Damage : public ::testing::Test {
protected:
    // What a damaged file answers; the walk over it ends.
    std::string difference(std::size_t* failures = nullptr) const {
        std::string result;
        try {
            opened_storage storage(file_.uri());
            result = answers_.difference(storage, file_.path.string());
            if (failures != nullptr) {
                *failures = answers_.failures();
            }
        } catch (const failure& error) {
            const std::string text = error.what();
            result = text.find(file_.path.string()) != std::string::npos ? "" : text;
            if (failures != nullptr) {
                *failures = 1;
            }
        }
        return result;
    }

    sqlite_faults quick_files_{fault_kind::none};
    catalogue_file file_;
    const std::string whole_ = make_catalogue(file_);
    const catalogue_answers answers_ = [&] {
        opened_storage storage(file_.uri());
        return catalogue_answers(storage, 2);
    }();
};

// Every eleventh byte that holds something (all with TAVI_EVERY_FAULT), and blocks of all sizes: zeros, ones, what is
// elsewhere in the file.
TEST_F(Damage, OfBitsAndBlocksIsReportedOrChangesNothing) {
    std::mt19937 random(1);
    unsigned reported = 0;
    const auto check = [&](const std::string& damaged, const std::string& what) {
        file_.write(damaged);
        std::size_t failures = 0;
        ASSERT_EQ(difference(&failures), "") << what;
        reported += failures != 0;
        // Neither does what writes to such a file.
        try {
            opened_storage storage(file_.uri());
            enter_car(storage, "more");
            storage.compact();
        } catch (const failure& error) {
            ASSERT_THAT(error.what(), HasSubstr(file_.path.string())) << what;
        }
        ASSERT_EQ(difference(), "") << what << ", after a commit";
    };
    const unsigned step = std::getenv("TAVI_EVERY_FAULT") != nullptr ? 1 : 11;
    unsigned used = 0;
    for (std::size_t at = 0; at < whole_.size(); ++at) {
        if (whole_[at] != 0 && ++used % step == 0) {
            std::string damaged = whole_;
            damaged[at] = static_cast<char>(damaged[at] ^ 1 << random() % 8);
            check(damaged, "bit of byte " + std::to_string(at));
        }
    }
    for (int block = 0; block < 1100 / static_cast<int>(step); ++block) {
        const std::size_t size = std::size_t{1} << random() % 13;
        const std::size_t at = random() % (whole_.size() - size);
        const std::size_t from = random() % (whole_.size() - size);
        const std::array<std::string, 3> contents = {std::string(size, '\0'), std::string(size, '\xff'),
                                                     whole_.substr(from, size)};
        std::string damaged = whole_;
        damaged.replace(at, size, contents[static_cast<std::size_t>(block) % contents.size()]);
        check(damaged, "block of " + std::to_string(size) + " bytes at " + std::to_string(at));
    }
    EXPECT_GT(reported, 150u);
}

TEST_F(Damage, OfARowNamesDescriptionAndFile) {
    const std::tuple<const char*, const char*> rows[] = {
        {"UPDATE node SET bit_length = 13 WHERE name = 'Full'", "description 'van.dbc' is damaged: node 4 of its tree"},
        {"UPDATE node SET numerator_x1 = 0.25 WHERE name = 'Full'", "description 'van.dbc' is damaged: node 4"},
        {"UPDATE node SET unit = NULL WHERE name = 'Full'", "description 'van.dbc' is damaged: node 4"},
        {"UPDATE node SET comment = 'No' WHERE name = 'Full'", "description 'van.dbc' is damaged: node 4"},
        {"UPDATE node SET row_digest = row_digest + 1 WHERE name = 'Full'", "description 'van.dbc' is damaged: node 4"},
        {"UPDATE node SET last = last - 1 WHERE name = 'O'", "description 'van.dbc' is damaged: node 2"},
        {"DELETE FROM node WHERE name = 'Full'", "description 'van.dbc' is damaged: node 4 of its tree is missing"},
        {"UPDATE path_bucket SET entries = x'' WHERE id >> 32 = 2", "description 'van.dbc' is damaged: its table of"},
        {"UPDATE description SET node_count = 3 WHERE id = 2", "description 'van.dbc' is damaged: its row, id '2'"},
        {"UPDATE description SET name = 'car.dbc' WHERE id = 2", "description 'car.dbc' is damaged: its row, id '2'"},
        {"DELETE FROM description WHERE id = 2", "the file is damaged: descriptions are lost"},
        {"DELETE FROM catalogue", "the file is damaged: descriptions are lost"},
        // A row of another description, whole in itself.
        {"DELETE FROM description WHERE id = 1; UPDATE description SET id = 1", "description 'van.dbc' is damaged"},
        {"CREATE TABLE other AS SELECT * FROM node WHERE name = 'CAN'; UPDATE other SET position = position + "
         "4294967296, id = id + 4294967296; DELETE FROM node WHERE name = 'V'; INSERT INTO node SELECT * FROM other",
         "description 'van.dbc' is damaged: node 1 of its tree"},
    };
    for (const auto& [sql, text] : rows) {
        file_.write(whole_);
        file_.alter(sql);
        std::size_t failures = 0;
        EXPECT_EQ(difference(&failures), "") << sql;
        EXPECT_NE(failures, 0u) << sql;
        EXPECT_THAT(*opened_storage(file_.uri()).compact().text,
                    AllOf(HasSubstr(text), HasSubstr(file_.path.string()), HasSubstr("new catalogue")))
            << sql;
    }
}

TEST_F(Damage, OfOneDescriptionLeavesTheOthers) {
    file_.alter("UPDATE node SET name = 'X' WHERE id >> 32 = 2");
    opened_storage storage(file_.uri());
    EXPECT_EQ(storage.subtree(storage.find(1, "CAN")->id)->count, 7u);
    EXPECT_EQ(storage.try_find(2, "V").text,
              "signal storage '" + file_.path.string() +
                  "': description 'van.dbc' is damaged: node 1 of its tree does not match its digest; register it "
                  "into a new catalogue");
}

// Gives all rows digests that match what they hold.
void seal(const catalogue_file& file) {
    using namespace qor::storage;
    database opened(file.uri(), {});
    const auto renew = [&]<typename Row>(Row row, const std::string& table, const std::string& key, auto seal_of_row) {
        statement all(opened, select_sql(table, columns_of<Row>(), ""));
        execution rows(all);
        while (rows.next()) {
            static_cast<void>(read_row(rows, row, 0));
            statement update(opened, "UPDATE " + table + " SET row_digest = ?1 WHERE " + key + " = ?2");
            execution change(update);
            change.bind(1, hash_row(row) ^ seal_of_row(row));
            change.bind(2, static_cast<std::uint64_t>(rows.integer(table == "node" ? 1 : 0)));
            change.run();
        }
    };
    std::map<std::uint64_t, row_digest> seals;
    renew(description_row(), "description", "id", [&](const description_row& row) {
        digest whole;
        std::copy(row.digest.begin(), row.digest.end(), whole.begin());
        return seals[row.id] = seal_of(whole), 0;
    });
    renew(node_row(), "node", "position", [&](const node_row& row) { return seals[row.place.position >> 32]; });
}

// Digests show accidents. Nodes that somebody made with all digests right still lead to no walk without end.
TEST_F(Damage, OfTheTreeThatMatchesItsDigestsEndsEveryWalk) {
    const char* const rows[] = {
        "UPDATE node SET id = (SELECT id FROM node WHERE name = 'CAN') WHERE name = 'Body'", // a cycle
        "DROP INDEX node_by_id; CREATE INDEX node_by_id ON node (id) WHERE id <> position;"
        "UPDATE node SET id = (SELECT id FROM node WHERE name = 'Body') WHERE name = 'EngineData'",
        "UPDATE node SET parent = id",
        "UPDATE node SET last = last + 1000000000, child_count = 1000000000",
        "UPDATE node SET last = 4294967295 + 4294967296, child_count = 4000000000 WHERE name = 'CAN'",
        "UPDATE node SET last = 0, child_count = -1",
        "UPDATE node SET child_count = child_count - 1 WHERE name = 'CAN'",
        "UPDATE node SET depth = 4000000000",
        "UPDATE node SET depth = 0",
        "UPDATE node SET kind = 9",
        "UPDATE node SET position = position + 1000",
        "UPDATE node SET id = id + 4294967296 WHERE name = 'Left'",
        "UPDATE description SET view_count = 99999",
        "UPDATE description SET node_count = 4294967295, view_count = 4294967295",
        "UPDATE description SET node_count = -1",
    };
    for (const char* sql : rows) {
        file_.write(whole_);
        file_.alter(sql);
        seal(file_);
        std::size_t failures = 0;
        const std::string first = difference(&failures);
        EXPECT_TRUE(failures != 0 || !first.empty()) << sql;
        EXPECT_THAT(first, Not(HasSubstr(catalogue_answers::endless_walk))) << sql;
        EXPECT_NE(opened_storage(file_.uri()).compact(), succeeded) << sql;
    }
}

// An older program's file has none of it.
TEST_F(Damage, CannotBeShownByFilesWithoutDigests) {
    file_.alter("PRAGMA user_version = 1");
    for (const char* parameters : {"", "?mode=ro"}) {
        EXPECT_EQ(outcome_of([&] { opened_storage storage(file_.uri(parameters)); }).text,
                  "signal storage '" + file_.path.string() +
                      "': the file has schema version 1, which has no digests that show damage; register its "
                      "descriptions into a new catalogue");
    }
}

} // namespace
} // namespace tavi::test

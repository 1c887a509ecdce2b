// Each allocation and each call on a file that SQLite makes fails once, or with all after it. What was in the catalogue
// stays, every failure is reported, and afterwards the same storage works as before.
#include <cstdlib>

#include <gtest/gtest.h>

#include "tests/signal_storage/catalogue_answers.hpp"
#include "tests/signal_storage/catalogue_file.hpp"
#include "tests/signal_storage/sqlite_faults.hpp"

namespace tavi::test {
namespace {

struct fault_case {
    const char* name;
    fault_kind kind;
    bool for_good;

    friend std::ostream& operator<<(std::ostream& stream, const fault_case& value) { return stream << value.name; }
};

class StorageFaults : public ::testing::TestWithParam<fault_case> {
protected:
    // Calls `body` with fault number 1, 2, 3 ... until it says that none was met; from 10 on in growing steps, unless
    // TAVI_EVERY_FAULT is set.
    template<typename Body>
    void for_each_fault(Body body) {
        constexpr unsigned more_than_enough = 20000;
        const bool every = std::getenv("TAVI_EVERY_FAULT") != nullptr;
        unsigned number = 1;
        for (; number < more_than_enough; number += every ? 1 : number / 10 + 1) {
            SCOPED_TRACE("fault " + std::to_string(number));
            file_.write(whole_);
            if (!body(number) || HasFailure()) {
                break;
            }
        }
        EXPECT_GT(number, 5u);
        EXPECT_LT(number, more_than_enough);
    }

    std::string make_catalogue() const {
        enter_car(opened_storage(file_.uri()).begin("content"));
        return file_.read();
    }

    sqlite_faults faults_{GetParam().kind};
    catalogue_file file_;
    const std::string whole_ = make_catalogue();
    const catalogue_answers answers_ = [&] {
        opened_storage storage(file_.uri());
        return catalogue_answers(storage, 1);
    }();
};

class ReadingFaults : public StorageFaults {};

constexpr fault_case reading_faults[] = {{"MemoryOnce", fault_kind::memory, false},
                                         {"MemoryForGood", fault_kind::memory, true},
                                         {"InputOnce", fault_kind::input, false},
                                         {"InputForGood", fault_kind::input, true}};
constexpr fault_case writing_faults[] = {{"OutputOnce", fault_kind::output, false},
                                         {"OutputForGood", fault_kind::output, true},
                                         {"DiskFullOnce", fault_kind::disk_full, false},
                                         {"DiskFullForGood", fault_kind::disk_full, true}};
const auto name_of = [](const auto& where) { return where.param.name; };
INSTANTIATE_TEST_SUITE_P(OfReading, ReadingFaults, ::testing::ValuesIn(reading_faults), name_of);
INSTANTIATE_TEST_SUITE_P(OfReading, StorageFaults, ::testing::ValuesIn(reading_faults), name_of);
INSTANTIATE_TEST_SUITE_P(OfWriting, StorageFaults, ::testing::ValuesIn(writing_faults), name_of);

TEST_P(StorageFaults, WhileADescriptionIsEntered) {
    for_each_fault([&](unsigned number) {
        opened_storage storage(file_.uri());
        faults_.arm(number, GetParam().for_good);
        std::uint64_t id = 0;
        const outcome entered = outcome_of([&] { id = enter_car(storage, "new"); });
        const bool met = faults_.disarm();
        EXPECT_EQ(answers_.difference(storage, "no error is expected"), "");
        if (entered == succeeded) {
            EXPECT_EQ(id, 2u);
        } else {
            EXPECT_TRUE(met) << entered;
            EXPECT_EQ(storage.try_find(2, "CAN").status, QOR_STATUS_INVALID_ARGUMENT);
        }
        EXPECT_EQ(enter_car(storage, "new"), 2u);
        EXPECT_EQ(storage.subtree(storage.find(2, "CAN")->id)->count, 7u);
        EXPECT_EQ(storage.compact(), succeeded);
        return met;
    });
}

// The commit of what a context holds can be made again.
TEST_P(StorageFaults, WhileADescriptionIsCommitted) {
    for_each_fault([&](unsigned number) {
        opened_storage storage(file_.uri());
        open_description car = storage.begin("new");
        car.add_signal();
        faults_.arm(number, GetParam().for_good);
        const outcome committed = outcome_of([&] { EXPECT_EQ(car.commit(), 2u); });
        const bool met = faults_.disarm();
        if (committed != succeeded) {
            EXPECT_TRUE(met) << committed;
            EXPECT_EQ(car.commit(), 2u);
        }
        EXPECT_EQ(storage.find(2, "V.O.S")->description_id, 2u);
        EXPECT_EQ(answers_.difference(storage, "no error is expected"), "");
        return met;
    });
}

TEST_P(StorageFaults, WhileACatalogueIsMade) {
    for_each_fault([&](unsigned number) {
        std::filesystem::remove(file_.path);
        faults_.arm(number, GetParam().for_good);
        const outcome made = outcome_of([&] { opened_storage storage(file_.uri()); });
        const bool met = faults_.disarm();
        EXPECT_TRUE(met || made == succeeded) << made;
        opened_storage storage(file_.uri());
        EXPECT_EQ(enter_car(storage, "content"), 1u);
        EXPECT_EQ(answers_.difference(storage, "no error is expected"), "");
        return met;
    });
}

TEST_P(ReadingFaults, WhileACatalogueIsOpened) {
    for_each_fault([&](unsigned number) {
        faults_.arm(number, GetParam().for_good);
        const outcome opened = outcome_of([&] { opened_storage storage(file_.uri()); });
        const bool met = faults_.disarm();
        EXPECT_TRUE(met || opened == succeeded) << opened;
        opened_storage storage(file_.uri());
        EXPECT_EQ(answers_.difference(storage, "no error is expected"), "");
        return met;
    });
}

TEST_P(ReadingFaults, WhileQuestionsAreAnswered) {
    for_each_fault([&](unsigned number) {
        opened_storage storage(file_.uri());
        faults_.arm(number, GetParam().for_good);
        const std::string difference = answers_.difference(storage, "");
        const bool met = faults_.disarm();
        EXPECT_EQ(difference, "") << "every error is accepted, another answer is not";
        EXPECT_EQ(answers_.difference(storage, "no error is expected"), "");
        return met;
    });
}

} // namespace
} // namespace tavi::test

// A catalogue in a file of its own, and what other programs do to it.
#ifndef TESTS_SIGNAL_STORAGE_CATALOGUE_FILE_HPP
#define TESTS_SIGNAL_STORAGE_CATALOGUE_FILE_HPP

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "tests/signal_storage/opened_storage.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tavi::test {

// Another program that has the file open.
struct other_connection {
    explicit other_connection(const std::filesystem::path& file) { sqlite3_open(file.string().c_str(), &handle); }
    ~other_connection() { sqlite3_close(handle); }
    // Gives the first column of the last row.
    std::string execute(const std::string& sql) const {
        std::string answer;
        const auto take = [](void* target, int, char** columns, char**) {
            return *static_cast<std::string*>(target) = columns[0] != nullptr ? columns[0] : "", 0;
        };
        EXPECT_EQ(sqlite3_exec(handle, sql.c_str(), take, &answer, nullptr), SQLITE_OK) << sqlite3_errmsg(handle);
        return answer;
    }
    sqlite3* handle = nullptr;
};

class catalogue_file {
public:
    std::string uri(const std::string& parameters = "") const { return "file:" + path.string() + parameters; }

    void alter(const std::string& sql) const { other_connection(path).execute(sql); }

    // What a journal or log of an earlier content would do to this one does not happen.
    void write(const std::string& bytes) const {
        for (const char* suffix : {"-journal", "-wal", "-shm"}) {
            std::filesystem::remove(path.string() + suffix);
        }
        std::ofstream(path, std::ios::binary) << bytes;
    }

    std::string read() const {
        std::ifstream stream(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    temporary_directory directory;
    std::filesystem::path path = directory.path() / "catalogue.db3";
};

} // namespace tavi::test

#endif

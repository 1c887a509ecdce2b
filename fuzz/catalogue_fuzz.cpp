// A catalogue file with damaged bytes: each of its answers is the one of the whole file, or an error that names the
// file. A walk over its nodes ends, and what is written to such a file does not change what it answered before.
//
// Input: edits of five bytes each. Three are a place in the file (modulo its size, low byte first), one is what happens
// there, the last is by which mask or to how many bytes:
//     0, 1  the byte XOR the mask         2  2^n bytes become 00
//     3     2^n bytes become FF           4  2^n bytes become those from the file's other half
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/signal_storage/catalogue_answers.hpp"
#include "tests/signal_storage/sqlite_faults.hpp"
#include "tests/support/temporary_directory.hpp"

namespace {

using namespace tavi::test;

constexpr std::size_t edit_size = 5;
constexpr std::size_t most_edits = 16;

// A file of two descriptions, and all that it answers.
class catalogue {
public:
    catalogue() {
        opened_storage storage(uri_);
        enter_car(storage, "content");
        open_description other = storage.begin("other", "van.dbc");
        other.add_signal();
        other.commit();
        std::ifstream stream(path_, std::ios::binary);
        whole_.assign(std::istreambuf_iterator<char>(stream), {});
        answers_ = std::make_unique<catalogue_answers>(storage, 2);
    }

    const std::string& whole() const noexcept { return whole_; }

    void check(const std::string& damaged) const {
        for (const char* suffix : {"-journal", "-wal", "-shm"}) {
            std::filesystem::remove(path_.string() + suffix);
        }
        std::ofstream(path_, std::ios::binary) << damaged;
        try {
            opened_storage storage(uri_);
            compare(storage);
            try {
                enter_car(storage, "more");
                storage.compact();
            } catch (const failure&) {
                // What it answers is what matters.
            }
            compare(storage);
        } catch (const failure& error) {
            require(error.what(), std::string(error.what()).find(path_.string()) != std::string::npos);
        }
    }

private:
    static void require(const std::string& text, bool holds) {
        if (!holds) {
            std::fprintf(stderr, "%s\n", text.c_str());
            std::abort();
        }
    }

    void compare(opened_storage& storage) const {
        const std::string difference = answers_->difference(storage, path_.string());
        require(difference, difference.empty());
    }

    sqlite_faults quick_files_{fault_kind::none};
    temporary_directory directory_;
    const std::filesystem::path path_ = directory_.path() / "catalogue.db3";
    const std::string uri_ = "file:" + path_.string();
    std::string whole_;
    std::unique_ptr<catalogue_answers> answers_;
};

void edit(std::string& file, const std::uint8_t* bytes) {
    const std::size_t place = (bytes[0] + std::size_t{256} * bytes[1] + std::size_t{65536} * bytes[2]) % file.size();
    const std::size_t size = std::min(std::size_t{1} << bytes[4] % 13, file.size() - place);
    switch (bytes[3] % 5) {
    case 2:
        file.replace(place, size, size, '\0');
        break;
    case 3:
        file.replace(place, size, size, '\xff');
        break;
    case 4:
        file.replace(place, size, file.substr((place + file.size() / 2) % file.size(), size));
        break;
    default:
        file[place] = static_cast<char>(file[place] ^ bytes[4]);
        break;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const catalogue original;
    std::string damaged = original.whole();
    for (std::size_t at = 0; at + edit_size <= std::min(size, edit_size * most_edits); at += edit_size) {
        edit(damaged, data + at);
    }
    original.check(damaged);
    return 0;
}

// Seeds of fuzz targets, which are recordings of the tests' own writers.
#ifndef TESTS_SUPPORT_SEEDS_HPP
#define TESTS_SUPPORT_SEEDS_HPP

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/paths.hpp"

namespace tavi::test {

// Writes fuzz/seeds/TARGET/NAME when TAVI_RENEW_SEEDS is set.
inline void renew_seed(const std::string& target, const std::string& name, const std::string& bytes) {
    if (std::getenv("TAVI_RENEW_SEEDS") != nullptr) {
        const std::filesystem::path folder = std::filesystem::path(source_folder) / "fuzz" / "seeds" / target;
        std::filesystem::create_directories(folder);
        std::ofstream(folder / name, std::ios::binary) << bytes;
    }
}

} // namespace tavi::test

#endif

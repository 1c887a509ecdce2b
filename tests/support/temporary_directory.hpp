// A directory of its own for a test, gone with the object.
#ifndef TESTS_SUPPORT_TEMPORARY_DIRECTORY_HPP
#define TESTS_SUPPORT_TEMPORARY_DIRECTORY_HPP

#include <filesystem>
#include <random>
#include <string>
#include <system_error>

namespace tavi::test {

class temporary_directory {
public:
    temporary_directory() {
        std::random_device random;
        do {
            path_ = std::filesystem::temp_directory_path() / ("tavi-test-" + std::to_string(random()));
        } while (!std::filesystem::create_directory(path_));
        path_ = std::filesystem::canonical(path_);
    }
    ~temporary_directory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    temporary_directory(const temporary_directory&) = delete;
    temporary_directory& operator=(const temporary_directory&) = delete;

    const std::filesystem::path& path() const noexcept { return path_; }

private:
    std::filesystem::path path_;
};

} // namespace tavi::test

#endif

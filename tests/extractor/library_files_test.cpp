// Library files beside the extractor that are cut short or cannot be read.
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "tests/extractor/extractor_fixture.hpp"
#include "tests/support/file_fault.hpp"

namespace tavi::test {
namespace {

using ::testing::ElementsAre;

class library_files : public extractor_test {
protected:
    library_files() {
        add_matcher("m", {{"can"}});
        add_parser("p", {{"dbc"}, {"sdl"}});
        add_processor("box", {{"raw", 1}});
    }
    outcome use() {
        const outcome created = create();
        const outcome result = created == succeeded ? register_descriptions(1, 1, "engine", {}) : created;
        EXPECT_EQ(created == succeeded, handle != nullptr);
        destroy();
        return result;
    }
    std::string path_of(const char* name) const {
        return (directory.path() / (std::string("lib") + name + ".so")).string();
    }
};

TEST_F(library_files, that_are_cut_short_are_passed_over_or_refused) {
    const auto cut = [&](const char* name) {
        const std::string whole = std::to_string(std::filesystem::file_size(path_of(name)));
        std::filesystem::resize_file(path_of(name), 20000);
        return whole;
    };
    cut("m");
    EXPECT_EQ(use(), succeeded);
    EXPECT_THAT(take({"create"}), ElementsAre("p.create", "box.create"));
    cut("qor_signal_storage");
    const outcome result = use();
    EXPECT_EQ(result.status, QOR_STATUS_FAILURE);
    const std::string begin = "cannot load '" + path_of("qor_signal_storage") + "': cut short: its headers describe ";
    EXPECT_EQ(result.text.value_or("").substr(0, begin.size()), begin);
}

TEST_F(library_files, that_cannot_be_read_fail_the_start_or_the_registration) {
    ASSERT_EQ(use(), succeeded);
    for (const char* const name : {"qor_signal_storage", "m", "p", "box"}) {
        for (const int number : {EMFILE, ENFILE, ENOMEM, EIO, EACCES}) {
            const file_fault fault("open", number, path_of(name));
            const std::string text = "cannot read '" + path_of(name) + "': " + std::generic_category().message(number);
            EXPECT_EQ(use(), failed(text, QOR_STATUS_FAMILY_GENERIC | static_cast<std::uint32_t>(number)));
        }
    }
    const file_fault fault("opendir", EMFILE);
    EXPECT_EQ(use(),
              failed("cannot list '" + directory.path().string() + "': " + std::generic_category().message(EMFILE),
                     QOR_STATUS_FAMILY_GENERIC | EMFILE));
}

} // namespace
} // namespace tavi::test

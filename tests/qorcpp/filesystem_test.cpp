#include <gtest/gtest.h>

#include <cerrno>

#include "qorcpp/filesystem_provider.hpp"
#include "tests/support/counting_allocator.hpp"
#include "tests/support/outcome.hpp"
#include "tests/support/temporary_directory.hpp"

namespace {

using namespace tavi::test;

class filesystem : public testing::Test {
protected:
    filesystem() { EXPECT_EQ(open(directory.path().c_str()), succeeded); }
    ~filesystem() override { EXPECT_EQ(call(files->close, files->context), succeeded); }

    // The provider ends right after opening: a filesystem outlives it.
    outcome open(const char* root) {
        void* provider = nullptr;
        EXPECT_EQ(call(qor_filesystem_provider_create_default, &provider, qor_get_default_service_locator()),
                  succeeded);
        qor_service_locator_t* locator = nullptr;
        EXPECT_EQ(call(qor_filesystem_provider_get_service_locator_default, provider, &locator), succeeded);
        qor_filesystem_provider_support_t* support = nullptr;
        locator->resolve(locator->context, "qor_filesystem_provider_support_t", &support, nullptr);
        qor_filesystem_t* opened = nullptr;
        const outcome result = call(support->open_filesystem, provider, root, &opened);
        qor_filesystem_provider_destroy_default(provider);
        files = opened != nullptr ? opened : files;
        return result;
    }

    outcome write(const char* path, const std::string& text) {
        return call(files->write, files->context, path, text.data(), text.size());
    }

    std::string read(const char* path, std::uint64_t offset, std::uint64_t size) {
        std::string buffer(size, '?');
        EXPECT_EQ(call(files->read, files->context, path, offset, static_cast<void*>(buffer.data()), &size), succeeded);
        return buffer.substr(0, size);
    }

    // Puts the names into `listed`, a blank behind each.
    outcome list(const char* path, qor_memory_allocator_t* allocator = qor_get_default_allocator()) {
        qor_runtime_c_string_sequence_t* sequence = nullptr;
        const outcome result = call(files->list, files->context, path, allocator, &sequence);
        listed.clear();
        for (std::uint64_t i = 0; sequence != nullptr && i < sequence->count; ++i) {
            listed += std::string(sequence->strings[i].text) + ' ';
        }
        qor_runtime_c_string_sequence_destroy(allocator, sequence, nullptr);
        return result;
    }

    // What failing with an errno value looks like; `what` tells the attempt.
    outcome error(int number, const std::string& what, const std::string& path) {
        const std::error_code code(number, std::generic_category());
        return failed(what + " '" + (directory.path() / path).string() + "': " + code.message(),
                      QOR_STATUS_FAMILY_GENERIC | static_cast<std::uint32_t>(number));
    }

    tavi::test::temporary_directory directory;
    qor_filesystem_t* files = nullptr;
    std::string listed;
};

TEST_F(filesystem, writes_appends_and_reads_from_any_place) {
    const std::string bytes("a\0\r\n\xFF", 5);
    EXPECT_EQ(write("f", "something longer"), succeeded);
    EXPECT_EQ(write("f", bytes), succeeded);
    EXPECT_EQ(call(files->append, files->context, "f", "xyz", 3), succeeded);
    std::uint64_t size = 0;
    EXPECT_EQ(call(files->get_size, files->context, "f", &size), succeeded);
    EXPECT_EQ(size, 8u);
    EXPECT_EQ(read("f", 0, 100), bytes + "xyz");
    EXPECT_EQ(read("f", 5, 2) + read("f", 8, 10) + read("f", UINT64_MAX, 10), "xy");
    EXPECT_EQ(read((directory.path() / "f").c_str(), 6, 10), "yz") << "absolute";
}

TEST_F(filesystem, makes_lists_renames_and_removes) {
    EXPECT_EQ(call(files->create_directory, files->context, "a/b"), succeeded);
    EXPECT_EQ(call(files->create_directory, files->context, "a/b"), succeeded) << "there already";
    for (const char* const path : {"a/z", "a/B", "a/\xC3\xA4"}) {
        EXPECT_EQ(write(path, "1"), succeeded);
    }
    EXPECT_EQ(list("a"), succeeded);
    EXPECT_EQ(listed, "B b z \xC3\xA4 ");
    EXPECT_EQ(call(files->rename, files->context, "a/z", "y"), succeeded);
    EXPECT_EQ(list(""), succeeded);
    EXPECT_EQ(listed, "a y ");
    EXPECT_EQ(call(files->remove, files->context, "a"), error(ENOTEMPTY, "cannot remove", "a"));
    EXPECT_EQ(call(files->remove, files->context, "y"), succeeded);
    const std::tuple<const char*, bool, bool> cases[] = {
        {"a/b", true, true}, {"a/B", true, false}, {"y", false, false}, {"a/B/c", false, false}};
    for (const auto& [path, exists, is_directory] : cases) {
        bool answers[] = {!exists, !is_directory};
        EXPECT_EQ(call(files->exists, files->context, path, &answers[0]), succeeded) << path;
        EXPECT_EQ(call(files->is_directory, files->context, path, &answers[1]), succeeded) << path;
        EXPECT_EQ(std::pair(answers[0], answers[1]), std::pair(exists, is_directory)) << path;
    }
}

TEST_F(filesystem, failures_carry_the_number_and_the_path) {
    std::uint64_t size = 1;
    char byte = 0;
    void* const buffer = &byte;
    std::filesystem::create_directory(directory.path() / "dir");
    const std::pair<outcome, outcome> cases[] = {
        {call(files->get_size, files->context, "none", &size), error(ENOENT, "cannot tell the size of", "none")},
        {call(files->read, files->context, "none", 0, buffer, &size), error(ENOENT, "cannot open", "none")},
        {call(files->read, files->context, "dir", 0, buffer, &size), error(EISDIR, "cannot read", "dir")},
        {write("none/file", "x"), error(ENOENT, "cannot open", "none/file")},
        {call(files->remove, files->context, "none"), error(ENOENT, "cannot remove", "none")},
        {list("none"), error(ENOENT, "cannot list", "none")},
        {call(files->remove, files->context, nullptr), invalid("argument 'path' was not initialized")},
        {call(files->remove, nullptr, "x"), invalid("argument 'handle' was not initialized")},
        {write("file", "x"), succeeded},
        {open((directory.path() / "file").c_str()), error(ENOTDIR, "cannot open", "file")},
        {open((directory.path() / "none").c_str()), error(ENOENT, "cannot open", "none")},
    };
    for (const auto& [answer, expected] : cases) {
        EXPECT_EQ(answer, expected);
    }
}

TEST_F(filesystem, a_listing_that_runs_out_of_memory_leaves_nothing_behind) {
    EXPECT_EQ(write("a", ""), succeeded);
    EXPECT_EQ(write("b", ""), succeeded);
    for (std::size_t failing = 0; failing <= 4; ++failing) {
        tavi::test::counting_allocator allocator;
        allocator.fail_at = failing;
        EXPECT_EQ(list("", &allocator),
                  failing == 0 ? succeeded : failed("memory allocation failed", QOR_STATUS_OUT_OF_MEMORY));
        EXPECT_EQ(allocator.alive(), 0u) << failing;
        EXPECT_EQ(allocator.foreign, 0u) << failing;
    }
}

} // namespace

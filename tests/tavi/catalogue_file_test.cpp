#include "tools/tavi/output/catalogue_file.hpp"

#include <gtest/gtest.h>

namespace tavi::tool {
namespace {

TEST(catalogue_file, is_the_file_that_a_uri_names) {
    const std::pair<const char*, const char*> cases[] = {
        {"", ""},
        {":memory:", ""},
        {"file::memory:", ""},
        {"file:c?mode=memory", ""},
        {"file:/c?cache=shared&vfs=memdb", ""},
        {"file:c?m%6fde=memory", ""},
        {"c%20.db3", "c%20.db3"},
        {"file:c.db3", "c.db3"},
        {"file:a/c.db3?mode=ro#part", "a/c.db3"},
        {"file:c.db3#?mode=memory", "c.db3"},
        {"file:c%3f%23.db3", "c?#.db3"},
        {"file:c%2%", "c%2%"},
        {"file:///a/c.db3", "/a/c.db3"},
        {"file://localhost/a/c.db3", "/a/c.db3"},
        {"file://localhost", ""},
    };
    for (const auto& [uri, path] : cases) {
        EXPECT_EQ(catalogue_file(uri), path) << uri;
    }
}

} // namespace
} // namespace tavi::tool

#include "plugins/signal_storage/uri_parameter.hpp"

#include <gtest/gtest.h>

namespace {

using qor::storage::uri_parameter;

// By the rules of https://www.sqlite.org/uri.html.
TEST(UriParameter, IsFoundAsSqliteFindsIt) {
    const std::tuple<const char*, const char*> rows[] = {
        {"file:a.db3?x=1", "1"},
        {"file:a.db3?y=2&x=1&x=3", "1"},
        {"file:a.db3?x=1#?x=2", "1"},
        {"file:a.db3?%78=a%20b%2", "a b%2"},
        {"file:a.db3?x", ""},
        {"file:a.db3?x=", ""},
        {"file:a.db3?x=a=b?c", "a=b?c"},
    };
    for (const auto& [uri, value] : rows) {
        EXPECT_EQ(uri_parameter(uri, "x"), value) << uri;
    }
    for (const char* uri : {"", "file:", "file:x=1", "a.db3?x=1", "file:a.db3#?x=1", "file:a.db3?X=1&xx=2&"}) {
        EXPECT_EQ(uri_parameter(uri, "x"), std::nullopt) << uri;
    }
}

TEST(UriParameter, IsTrueAsForSqlite) {
    for (const char* value : {"1", "on", "Yes", "TRUE", "2x", "-1"}) {
        EXPECT_TRUE(qor::storage::is_true(value)) << value;
    }
    for (const char* value : {"", "0", "off", "no", "false", "maybe", "x1"}) {
        EXPECT_FALSE(qor::storage::is_true(value)) << value;
    }
}

} // namespace

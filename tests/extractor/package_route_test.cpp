// Which packages go the same way, and how long that is remembered.
#include "qor_tavi_extractor/src/extractor/package_routes.hpp"

#include <gtest/gtest.h>

namespace tavi::test {
namespace {

using qor::tavi::detail::package_route;

qor_package_t package_of(const std::string& format) {
    qor_package_t package{};
    package.source_id = 0x1234;
    package.instance = 0x56789ABC;
    format.copy(package.format_type, sizeof(package.format_type));
    return package;
}

TEST(package_route, is_that_of_packages_whose_read_bytes_are_the_same) {
    for (const std::size_t length : {1u, 3u, 6u, 7u, 8u, 9u, 15u, 16u, 45u, 46u, 47u}) {
        const qor_package_t package = package_of(std::string(length, 'f'));
        const package_route route(package);
        EXPECT_FALSE(package_route().is_of(package));
        EXPECT_TRUE(route.is_of(package));
        for (std::size_t at = 0; at < sizeof(package); ++at) {
            qor_package_t other = package;
            reinterpret_cast<unsigned char*>(&other)[at] ^= 0xFFu;
            const bool is_head = at < 2 || (at >= 4 && at < 8);
            const bool is_format = at >= 8 && at < 55 && at <= 8 + length; // the zero is part of it
            EXPECT_EQ(route.is_of(other), !is_head && !is_format) << "byte " << at << " of length " << length;
        }
    }
}

TEST(package_route, is_remembered_for_all_sources_that_take_turns) {
    qor::tavi::detail::package_routes routes;
    const auto run_round = [&] {
        std::size_t unknown = 0;
        for (std::uint32_t instance = 0; instance < 64; ++instance) {
            qor_package_t package = package_of("can");
            package.instance = instance;
            if (!routes.at(package).is_of(package)) {
                ++unknown;
                EXPECT_TRUE(routes.remember(package, package_route(package)).is_of(package));
            }
        }
        return unknown;
    };
    std::size_t unknown = 0;
    for (int round = 0; round < 4; ++round) {
        unknown = run_round();
    }
    EXPECT_EQ(unknown, 0u);
    routes.forget();
    EXPECT_EQ(run_round(), 64u);
    EXPECT_EQ(run_round(), 0u);
}

} // namespace
} // namespace tavi::test

// Packages as the bytes that the library reads.
#include "tavi/package_builder.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tavi/error.hpp"

namespace tavi::test {
namespace {

using bytes = std::vector<std::uint8_t>;

bytes payload_of(const qor_package_t& package) {
    const std::uint8_t* const payload = qor_package_payload(&package);
    return {payload, payload + package.payload_size};
}

TEST(CanPackage, HoldsAFrameBehindItsHeader) {
    host::can_package package(qor::j1939_format);
    package.set_source(0x0123, 7);
    const qor_package_t& built = package.build(0x98FEF100, 4, bytes{0x11, 0x22});
    EXPECT_EQ(std::memcmp(&built, "\x23\x01", 2), 0);
    EXPECT_EQ(std::uint32_t{built.instance}, 7u);
    EXPECT_STREQ(built.format_type, "j1939");
    EXPECT_EQ(payload_of(built), (bytes{0x00, 0xF1, 0xFE, 0x98, 2, 4, 0, 0, 0x11, 0x22}));
    EXPECT_EQ(payload_of(package.build_remote(0x0C0, 8)), (bytes{0xC0, 0, 0, 0x40, 8, 0, 0, 0}));
    EXPECT_EQ(payload_of(package.build(5, 0, bytes(64, 9))).size(), 72u);
    EXPECT_THROW(package.build(5, 0, bytes(65)), host::error);
}

TEST(PackageBuilder, GrowsAndKeepsTheHeader) {
    host::package_builder builder(4);
    builder.set_source(0xFFFF, 2);
    builder.set_format(std::string(46, 'x'));
    const qor_package_t& built = builder.build(bytes(1000, 0xAB));
    EXPECT_EQ(payload_of(built), bytes(1000, 0xAB));
    EXPECT_EQ(std::uint32_t{built.instance}, 2u);
    EXPECT_EQ(built.format_type, std::string(46, 'x'));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(qor_package_payload(&built)) % 8, 0u);
    EXPECT_THROW(builder.set_format(std::string(47, 'x')), host::error);
}

} // namespace
} // namespace tavi::test

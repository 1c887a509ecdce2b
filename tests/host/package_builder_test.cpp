// Packages as the bytes that the library reads.
#include "host/package_builder.hpp"

#include <gtest/gtest.h>

#include <vector>

#include "host/error.hpp"

namespace tavi::test {
namespace {

std::vector<std::uint8_t> payload_of(const qor_package_t& package) {
    const std::uint8_t* const payload = qor_package_payload(&package);
    return {payload, payload + package.payload_size};
}

TEST(CanPackage, HoldsAFrameBehindItsHeader) {
    host::can_package package(qor::j1939_format);
    package.set_source(0x0123, 7);
    const std::vector<std::uint8_t> data = {0x11, 0x22};
    const qor_package_t& built = package.build(0x98FEF100, 4, data);
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(&built);
    EXPECT_EQ(bytes[0], 0x23);
    EXPECT_EQ(bytes[1], 0x01);
    EXPECT_EQ(std::uint32_t{built.instance}, 7u);
    EXPECT_STREQ(built.format_type, "j1939");
    EXPECT_EQ(payload_of(built), (std::vector<std::uint8_t>{0x00, 0xF1, 0xFE, 0x98, 2, 4, 0, 0, 0x11, 0x22}));
    EXPECT_EQ(payload_of(package.build_remote(0x0C0, 8)), (std::vector<std::uint8_t>{0xC0, 0, 0, 0x40, 8, 0, 0, 0}));
    EXPECT_EQ(payload_of(package.build(5, 0, std::vector<std::uint8_t>(64, 9))).size(), 72u);
    EXPECT_THROW(package.build(5, 0, std::vector<std::uint8_t>(65)), host::error);
}

TEST(PackageBuilder, GrowsAndKeepsTheHeader) {
    host::package_builder builder(4);
    builder.set_source(0xFFFF, 2);
    builder.set_format("memory");
    const std::vector<std::uint8_t> payload(1000, 0xAB);
    const qor_package_t& built = builder.build(payload);
    EXPECT_EQ(payload_of(built), payload);
    EXPECT_EQ(std::uint32_t{built.instance}, 2u);
    EXPECT_STREQ(built.format_type, "memory");
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(qor_package_payload(&built)) % 8, 0u);
    EXPECT_NO_THROW(builder.set_format(std::string(46, 'x')));
    EXPECT_THROW(builder.set_format(std::string(47, 'x')), host::error);
}

} // namespace
} // namespace tavi::test

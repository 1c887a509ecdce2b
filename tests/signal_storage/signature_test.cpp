#include "plugins/signal_storage/signature.hpp"

#include <vector>

#include <gtest/gtest.h>

#include "plugins/signal_storage/blake2b.hpp"

namespace {

using qor::storage::blake2b;
using qor::storage::make_signature;

std::string hex(const qor::storage::digest& bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", unsigned{byte});
        text += digits;
    }
    return text;
}

// From another implementation; the lengths stand around the ends of blocks.
TEST(Blake2b, GivesTheDigestsOfOtherImplementationsHoweverTheBytesArrive) {
    std::vector<std::uint8_t> bytes;
    for (unsigned i = 0; i < 1000; ++i) {
        bytes.push_back(static_cast<std::uint8_t>(i % 251));
    }
    const std::pair<std::size_t, const char*> table[] = {
        {0, "0e5751c026e543b2e8ab2eb06099daa1d1e5df47778f7787faab45cdf12fe3a8"},
        {127, "f2fe67ff342e21b8f45e8f2e0bcd1d9243245d50ee6c78042e9c491388791c72"},
        {128, "c3582f71ebb2be66fa5dd750f80baae97554f3b015663c8be377cfcb2488c1d1"},
        {129, "f7f3c46ba2564ff4c4c162da1f5b605f9f1c4aa6a20652a9f9a337c1a2f5b9c9"},
        {1000, "b372d0608f720c8c3dd41e9c8eecb10143b41abe520b616607e754bf79c08331"},
    };
    for (const auto& [size, digest] : table) {
        for (const std::size_t piece : {1, 7, 64, 128, 129, 1000}) {
            blake2b hash;
            for (std::size_t at = 0; at < size; at += piece) {
                hash.update(std::span(bytes).subspan(at, std::min(piece, size - at)));
            }
            EXPECT_EQ(hex(hash.finish()), digest) << size << " bytes in pieces of " << piece;
        }
    }
}

std::string sign(std::string_view content, std::string_view name, std::uint8_t type) {
    return make_signature({reinterpret_cast<const std::uint8_t*>(content.data()), content.size()}, name, type);
}

TEST(Signature, IsTheSameOnEveryMachineAndTellsContentNameAndTypeApart) {
    const std::string base = sign("content", "car.dbc", 1);
    EXPECT_EQ(base, "9e9fb6aec9ed9ad47067d7abccec4a7f549857ca20038ed0c53373e88669ecea");
    EXPECT_NE(sign("Content", "car.dbc", 1), base);
    EXPECT_NE(sign("content", "van.dbc", 1), base);
    EXPECT_NE(sign("content", "car.dbc", 0), base);
    EXPECT_NE(sign("ccontent", "car.db", 1), base);
}

} // namespace

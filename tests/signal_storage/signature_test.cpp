#include "plugins/signal_storage/signature.hpp"

#include <gtest/gtest.h>

namespace {

std::string sign(std::string_view content, std::string_view name = "car.dbc", std::uint8_t type = 1) {
    return qor::storage::make_signature({reinterpret_cast<const std::uint8_t*>(content.data()), content.size()}, name,
                                        type);
}

// From another implementation; with what comes before the content the lengths lie around the ends of blocks.
TEST(Signature, IsTheSameOnEveryMachine) {
    std::string bytes;
    for (unsigned i = 0; i < 1000; ++i) {
        bytes += static_cast<char>(i % 251);
    }
    const std::pair<std::size_t, const char*> table[] = {
        {111, "89dbe8c749d460dd755beba450292da86a3ffa95ccfff31dad9dd5c4b50bb6cf"},
        {112, "0cb449f29d0070206684593b8f9ff177d05304b7b44cb64dcd26eef28da4bdd7"},
        {113, "865238eebe398214f580b49821cc908ffa78546d6702eae4770984082a8b5c2c"},
        {1000, "7f3bc6af020145507cec5bc6fc8e486227dd311f4cbb94b28b9c0812fcf22c00"},
    };
    for (const auto& [size, signature] : table) {
        EXPECT_EQ(sign(bytes.substr(0, size)), signature) << size;
    }
    EXPECT_EQ(sign("content", std::string(300, 'n')),
              "6332907d06fa9d7c3a3c46713d4eee430b106833d18eb6cc0e63fbe715f61f0b");
    EXPECT_NE(sign("ccontent", "car.db"), sign("content")); // what is signed cannot move from one to the other
}

} // namespace

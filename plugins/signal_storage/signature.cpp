#include "plugins/signal_storage/signature.hpp"

#include "plugins/signal_storage/digest.hpp"
#include "plugins/signal_storage/little_endian.hpp"

namespace qor::storage {

std::string make_signature(std::span<const std::uint8_t> content, std::string_view name, std::uint8_t context_type) {
    // Type and length of the name come first, so that no other split of the same bytes gives the same message.
    std::array<std::uint8_t, 9> head{context_type};
    store_little_endian(std::uint64_t{name.size()}, head.data() + 1);
    digest_builder hash;
    hash.update(head);
    hash.update({reinterpret_cast<const std::uint8_t*>(name.data()), name.size()});
    hash.update(content);
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : hash.finish()) {
        text += digits[byte >> 4];
        text += digits[byte & 0xf];
    }
    return text;
}

} // namespace qor::storage

#include "plugins/signal_storage/signature.hpp"

#include "plugins/signal_storage/blake2b.hpp"

namespace qor::storage {

std::string make_signature(std::span<const std::uint8_t> content, std::string_view name, std::uint8_t context_type) {
    // Type and length of the name stand in front, so that no other split of the same bytes gives the same message.
    std::array<std::uint8_t, 9> head{context_type};
    for (unsigned i = 0; i < 8; ++i) {
        head[1 + i] = static_cast<std::uint8_t>(std::uint64_t{name.size()} >> (8 * i));
    }
    blake2b hash;
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

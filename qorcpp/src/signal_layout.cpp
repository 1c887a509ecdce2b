#include "qorcpp/signal_layout.hpp"

namespace qor {

std::string refusal_text(layout_refusal refusal, std::uint32_t bit_offset) {
    switch (refusal) {
    case layout_refusal::byte_order:
        return "signal reading for the current byte order is not supported";
    case layout_refusal::bit_offset:
        return "invalid bit offset " + std::to_string(bit_offset) + ", cannot read the complete signal data";
    case layout_refusal::none:
        break;
    }
    return {};
}

} // namespace qor

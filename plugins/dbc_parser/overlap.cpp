// The bits that signals take are sorted by byte and condition, so that each byte is looked at once.
#include "plugins/dbc_parser/overlap.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <tuple>

#include "plugins/dbc_parser/dbc_names.hpp"
#include "plugins/dbc_parser/dbc_sections.hpp"
#include "qorcpp/signal_layout.hpp"

namespace dbc_parser {

namespace {

constexpr uint32_t none = std::numeric_limits<uint32_t>::max();

struct taken_bits {
    uint32_t byte;
    // 0 for signals that are always there, else a number for each condition.
    uint32_t condition;
    uint32_t signal;
    uint8_t mask;
};

class overlap_check {
public:
    explicit overlap_check(const dbc_message& message) : message_(message), others_(message.signals.size(), none) {
        number_conditions();
        for (uint32_t signal = 0; signal < message.signals.size(); ++signal) {
            take(signal);
        }
        std::sort(taken_.begin(), taken_.end(), [](const taken_bits& left, const taken_bits& right) {
            return std::tie(left.byte, left.condition, left.signal) <
                   std::tie(right.byte, right.condition, right.signal);
        });
        compare();
    }

    // By signal: a signal before it that shares bits with it, or none.
    const std::vector<uint32_t>& others() const noexcept { return others_; }

private:
    using owners = std::array<uint32_t, 8>;

    void number_conditions() {
        std::unordered_map<std::string_view, uint32_t> numbers{{"", 0}};
        for (const dbc_signal& signal : message_.signals) {
            const auto next = static_cast<uint32_t>(numbers.size());
            const std::string& presence = signal.multiplexing().presence;
            conditions_.push_back(presence.empty() ? 0 : numbers.try_emplace(presence, next).first->second);
        }
    }

    void take(uint32_t signal) {
        const bit_layout& bits = message_.signals[signal].bits;
        const qor::signal_layout layout = qor::walked_layout(bits.motorola, bits.bit_offset, bits.bit_length);
        for (uint32_t byte = 0; byte < layout.byte_count; ++byte) {
            taken_.push_back({bits.byte_offset + byte, conditions_[signal], signal, layout.mask(byte)});
        }
    }

    void compare() {
        owners always{};
        owners now{};
        const taken_bits* last = nullptr;
        for (const taken_bits& bits : taken_) {
            if (last == nullptr || bits.byte != last->byte) {
                always.fill(none);
                now.fill(none);
            } else if (bits.condition != last->condition) {
                always = last->condition == 0 ? now : always;
                now = always;
            }
            claim(bits, now);
            last = &bits;
        }
    }

    void claim(const taken_bits& bits, owners& now) {
        for (size_t bit = 0; bit < now.size(); ++bit) {
            if ((bits.mask >> bit & 1) == 0) {
                continue;
            }
            if (now[bit] != none) {
                uint32_t& other = others_[std::max(now[bit], bits.signal)];
                other = std::min({other, now[bit], bits.signal});
            }
            now[bit] = bits.signal;
        }
    }

    const dbc_message& message_;
    std::vector<uint32_t> conditions_;
    std::vector<taken_bits> taken_;
    std::vector<uint32_t> others_;
};

} // namespace

void check_overlap(const dbc_message& message, const warning_sink& warn) {
    const overlap_check check(message);
    const auto is_other = [](uint32_t other) { return other != none; };
    const auto first = std::find_if(check.others().begin(), check.others().end(), is_other);
    if (first == check.others().end()) {
        return;
    }
    const dbc_signal& signal = message.signals[static_cast<size_t>(first - check.others().begin())];
    const auto more = std::count_if(first + 1, check.others().end(), is_other);
    warn(signal.offset, label_of(message, signal.name) + " overlaps signal " +
                            quoted_name(message.signals[*first].name) + "; all are kept" +
                            (more != 0 ? ", so are " + std::to_string(more) + " more that overlap others" : ""));
}

} // namespace dbc_parser

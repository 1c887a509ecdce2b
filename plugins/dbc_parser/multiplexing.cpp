#include "plugins/dbc_parser/multiplexing.hpp"

#include <algorithm>
#include <limits>
#include <unordered_map>

#include "plugins/dbc_parser/dbc_names.hpp"
#include "plugins/dbc_parser/dbc_sections.hpp"
#include "qorc/type_node.h"

namespace dbc_parser {

namespace {

constexpr size_t none = std::numeric_limits<size_t>::max();

// "0:4:4:0:0:S1=0,2-5", see qor_signal_node_t::presence. The values of a DBC are those of the selector's bits without a
// sign, whatever the sign of the selector as a signal.
std::string condition_on(const dbc_signal& selector, const std::vector<value_range>& ranges) {
    const bit_layout& bits = selector.bits;
    const int order = bits.motorola ? QOR_BYTE_ORDER_INCONSISTENT_BIG_ENDIAN : QOR_BYTE_ORDER_LITTLE_ENDIAN;
    std::string text = std::to_string(bits.byte_offset) + ":" + std::to_string(bits.bit_offset) + ":" +
                       std::to_string(bits.bit_length) + ":" + std::to_string(order) +
                       ":0:" + node_name_of(selector.name) + "=";
    const char* separator = "";
    for (const value_range& range : ranges) {
        text += separator;
        text += std::to_string(range.first);
        if (range.last != range.first) {
            text += '-';
            text += std::to_string(range.last);
        }
        separator = ",";
    }
    return text;
}

class resolver {
public:
    resolver(dbc_message& message, size_t& room, const warning_sink& warn)
        : message_(message), room_(room), warn_(warn), selectors_(message.signals.size(), none) {}

    void run() {
        for (size_t index = 0; index < message_.signals.size(); ++index) {
            by_name_.try_emplace(message_.signals[index].name, index);
        }
        find_root();
        for (size_t index = 0; index < message_.signals.size(); ++index) {
            selectors_[index] = selector_of(index);
        }
        break_rings();
        for (const size_t selector : selectors_) {
            if (selector != none) {
                message_.signals[selector].is_selector = true;
            }
        }
        states_.assign(selectors_.size(), state::open);
        for (size_t index = 0; index < selectors_.size(); ++index) {
            set_presence(index);
        }
        drop_homeless();
    }

private:
    enum class state : uint8_t { open, on_way, done, homeless };

    void warn(size_t index, const std::string& cause) const {
        warn_(message_.signals[index].offset, label_of(message_, message_.signals[index].name) + cause);
    }

    // The selector of signals that name none: the one that is itself always there.
    void find_root() {
        const bool needed = std::any_of(message_.signals.begin(), message_.signals.end(), [](const dbc_signal& signal) {
            return signal.multiplexing().value && signal.multiplexing().selector.empty();
        });
        for (size_t index = 0; needed && index < message_.signals.size(); ++index) {
            const dbc_signal& signal = message_.signals[index];
            if (!signal.is_selector || signal.multiplexing().value) {
                continue;
            }
            if (root_ == none) {
                root_ = index;
            } else {
                warn(index,
                     ": a second selector; " + quoted_name(message_.signals[root_].name) + " selects the others");
            }
        }
    }

    size_t selector_of(size_t index) {
        dbc_multiplexing* const multiplexing = message_.signals[index].own_multiplexing.get();
        if (multiplexing == nullptr) {
            return none;
        }
        if (!multiplexing->selector.empty()) {
            const auto named = by_name_.find(multiplexing->selector);
            if (named != by_name_.end()) {
                return named->second;
            }
            warn(index, ": there is no selector " + quoted_name(multiplexing->selector) + " in the message");
        }
        if (!multiplexing->value) {
            return none;
        }
        if (root_ == none || root_ == index) {
            warn(index, ": the message has no selector, the signal counts as always present");
            return none;
        }
        multiplexing->ranges = {{*multiplexing->value, *multiplexing->value}};
        return root_;
    }

    // A ring of selectors says nothing of any of its signals.
    void break_rings() {
        states_.assign(selectors_.size(), state::open);
        std::vector<size_t> way;
        for (size_t start = 0; start < selectors_.size(); ++start) {
            way.clear();
            size_t at = start;
            for (; at != none && states_[at] == state::open; at = selectors_[at]) {
                states_[at] = state::on_way;
                way.push_back(at);
            }
            if (at != none && states_[at] == state::on_way) {
                for (size_t member = at, next = none; selectors_[member] != none; member = next) {
                    next = selectors_[member];
                    selectors_[member] = none;
                    warn(member, ": its selectors select each other, the signal counts as always present");
                }
            }
            for (const size_t passed : way) {
                states_[passed] = state::done;
            }
        }
    }

    // The condition of the selector, then the signal's own on it.
    void set_presence(size_t start) {
        std::vector<size_t> way;
        for (size_t at = start; at != none && states_[at] == state::open; at = selectors_[at]) {
            way.push_back(at);
        }
        for (; !way.empty(); way.pop_back()) {
            const size_t index = way.back();
            states_[index] = state::done;
            if (selectors_[index] == none) {
                continue;
            }
            const dbc_signal& selector = message_.signals[selectors_[index]];
            dbc_multiplexing& multiplexing = *message_.signals[index].own_multiplexing;
            const std::string& of_selector = selector.multiplexing().presence;
            const std::string condition = condition_on(selector, multiplexing.ranges);
            const size_t size = of_selector.size() + condition.size() + 1;
            if (states_[selectors_[index]] == state::homeless || size > room_) {
                states_[index] = state::homeless;
                continue;
            }
            room_ -= size;
            multiplexing.presence.reserve(size);
            multiplexing.presence = of_selector;
            multiplexing.presence += of_selector.empty() ? "" : "&";
            multiplexing.presence += condition;
        }
    }

    void drop_homeless() {
        std::vector<dbc_signal> kept;
        kept.reserve(states_.size());
        for (size_t index = 0; index < states_.size(); ++index) {
            if (states_[index] == state::homeless) {
                warn(index, " is left out: the conditions of the file's signals are too long");
            } else {
                kept.push_back(std::move(message_.signals[index]));
            }
        }
        message_.signals = std::move(kept);
    }

    dbc_message& message_;
    size_t& room_;
    const warning_sink& warn_;
    std::unordered_map<std::string_view, size_t> by_name_;
    // By signal: its selector, or none.
    std::vector<size_t> selectors_;
    std::vector<state> states_;
    size_t root_ = none;
};

} // namespace

void resolve_multiplexing(dbc_message& message, size_t& room, const warning_sink& warn) {
    for (const dbc_signal& signal : message.signals) {
        if (signal.is_selector || signal.own_multiplexing != nullptr) {
            resolver(message, room, warn).run();
            return;
        }
    }
}

} // namespace dbc_parser

#include "plugins/dbc_parser/multiplexing.hpp"

#include <algorithm>
#include <limits>

#include "plugins/dbc_parser/dbc_names.hpp"
#include "plugins/dbc_parser/dbc_sections.hpp"
#include "plugins/dbc_parser/text_encoding.hpp"
#include "qorc/type_node.h"

namespace dbc_parser {

namespace {

constexpr size_t none = std::numeric_limits<size_t>::max();

// "0:4:4:0:0:S1=0,2-5", see qor_signal_node_t::presence.
std::string condition_on(const dbc_signal& selector, const std::vector<value_range>& ranges) {
    const bit_layout& bits = selector.bits;
    const int order = bits.motorola ? QOR_BYTE_ORDER_INCONSISTENT_BIG_ENDIAN : QOR_BYTE_ORDER_LITTLE_ENDIAN;
    std::string text = std::to_string(bits.byte_offset) + ":" + std::to_string(bits.bit_offset) + ":" +
                       std::to_string(bits.bit_length) + ":" + std::to_string(order) + ":" +
                       (selector.is_signed ? "1" : "0") + ":" + node_name_of(selector.name) + "=";
    const char* separator = "";
    for (const value_range& range : ranges) {
        text += separator + std::to_string(range.first);
        if (range.last != range.first) {
            text += "-" + std::to_string(range.last);
        }
        separator = ",";
    }
    return text;
}

class resolver {
public:
    resolver(dbc_message& message, const warning_sink& warn) : message_(message), warn_(warn) {}

    void run() {
        find_root();
        std::vector<size_t> selectors(message_.signals.size(), none);
        for (size_t index = 0; index < message_.signals.size(); ++index) {
            selectors[index] = selector_of(message_.signals[index]);
        }
        for (size_t index = 0; index < message_.signals.size(); ++index) {
            set_presence(index, selectors);
        }
        for (const size_t selector : selectors) {
            if (selector != none) {
                message_.signals[selector].is_selector = true;
            }
        }
    }

private:
    // The selector of signals that name none: the one that is itself always there.
    void find_root() {
        const bool needed = std::any_of(message_.signals.begin(), message_.signals.end(), [](const dbc_signal& signal) {
            return signal.multiplex_value && signal.selector.empty();
        });
        for (size_t index = 0; needed && index < message_.signals.size(); ++index) {
            const dbc_signal& signal = message_.signals[index];
            if (!signal.is_selector || signal.multiplex_value) {
                continue;
            }
            if (root_ == none) {
                root_ = index;
            } else {
                warn_(signal.offset, label_of(message_, signal.name) + ": a second selector; '" +
                                         to_utf8(message_.signals[root_].name) + "' selects the others");
            }
        }
    }

    size_t find_signal(std::string_view name) const {
        for (size_t index = 0; index < message_.signals.size(); ++index) {
            if (message_.signals[index].name == name) {
                return index;
            }
        }
        return none;
    }

    size_t selector_of(dbc_signal& signal) {
        if (!signal.selector.empty()) {
            const size_t named = find_signal(signal.selector);
            if (named != none) {
                return named;
            }
            warn_(signal.offset, label_of(message_, signal.name) + ": there is no selector '" +
                                     to_utf8(signal.selector) + "' in the message");
        }
        if (!signal.multiplex_value) {
            return none;
        }
        if (root_ == none || &message_.signals[root_] == &signal) {
            warn_(signal.offset,
                  label_of(message_, signal.name) + ": the message has no selector, the signal counts as always there");
            return none;
        }
        const auto value = static_cast<int64_t>(*signal.multiplex_value);
        signal.ranges = {{value, value}};
        return root_;
    }

    // The signal's own condition, then that of its selector, and so on up to one that is always there.
    void set_presence(size_t index, const std::vector<size_t>& selectors) {
        std::string presence;
        size_t at = index;
        for (size_t steps = 0; selectors[at] != none; ++steps) {
            if (steps == selectors.size()) {
                warn_(message_.signals[index].offset,
                      label_of(message_, message_.signals[index].name) +
                          ": its selectors select each other, the signal counts as always there");
                return;
            }
            const std::string condition = condition_on(message_.signals[selectors[at]], message_.signals[at].ranges);
            presence += (presence.empty() ? "" : "&") + condition;
            at = selectors[at];
        }
        message_.signals[index].presence = std::move(presence);
    }

    dbc_message& message_;
    const warning_sink& warn_;
    size_t root_ = none;
};

} // namespace

void resolve_multiplexing(dbc_message& message, const warning_sink& warn) {
    for (const dbc_signal& signal : message.signals) {
        if (signal.is_selector || signal.multiplex_value || !signal.selector.empty()) {
            resolver(message, warn).run();
            return;
        }
    }
}

} // namespace dbc_parser

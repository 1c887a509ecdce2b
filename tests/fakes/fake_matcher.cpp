#include "qorc/extensibility/data_matcher.h"
#include "tests/fakes/fake_plugin.hpp"

namespace tavi::fakes {

namespace {

match_answer answer_for(const fake_plugin& self, std::uint64_t subscription) {
    return self.own.match.contains(subscription) ? self.own.match.at(subscription) : match_answer{};
}

std::uint32_t match(void* handle, std::uint64_t subscription, const qor_package_t*, bool lenient, bool* matched,
                    std::uint64_t* offset, std::uint64_t* size, std::uint64_t* expected_size, details error) {
    fake_plugin& self = fake_plugin::of(handle);
    const bool preset = !*matched && *offset == 0 && *size == 0 && *expected_size == 0;
    const std::string arguments =
        std::to_string(subscription) + (lenient ? " lenient" : " strict") + (preset ? "" : " not preset");
    return self.perform("match", arguments, error, [&] {
        const match_answer given = answer_for(self, subscription);
        std::tie(*matched, *offset, *size, *expected_size) =
            std::tie(given.matched, given.offset, given.size, given.expected_size);
    });
}

std::uint32_t match_batch(void* handle, const qor_package_t*, const std::uint64_t* handles, std::size_t count,
                          bool lenient, qor_match_outcome_t* outcomes, std::size_t* outcome_count, details error) {
    fake_plugin& self = fake_plugin::of(handle);
    std::string arguments = lenient ? "lenient" : "strict";
    for (std::size_t i = 0; i < count; ++i) {
        arguments += " " + std::to_string(handles[i]);
    }
    return self.perform("match_batch", arguments, error, [&] {
        *outcome_count = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const match_answer given = answer_for(self, handles[i]);
            if (given.matched) {
                outcomes[(*outcome_count)++] = {handles[i], given.offset, given.size, given.expected_size};
            }
        }
    });
}

std::uint32_t get_supported_format(void* handle, std::size_t index, const char** result, details error) {
    fake_plugin& self = fake_plugin::of(handle);
    return self.perform("get_supported_format", std::to_string(index), error,
                        [&] { *result = self.own.formats[index].word.c_str(); });
}

} // namespace

void become_matcher(fake_plugin& self) {
    self.offer(qor_data_matcher_support_t{self.slot("register_type", register_type),
                                          self.slot("unregister_type", unregister_type), self.slot("match", match)});
    self.offer(qor_data_matcher_format_support_t{self.slot("get_supported_format_count", get_format_count),
                                                 self.slot("get_supported_format", get_supported_format)});
    if (self.own.offers_batch) {
        self.offer(qor_data_matcher_batch_support_t{match_batch});
    }
}

} // namespace tavi::fakes

// The filter that qor_tavi_extractor_get_reader_filter_expression gives, for readers of packages: what no subscription
// can match need not be read.
//
//     (SourceId = 10 AND Instance = 2 AND Cycle = 5 AND Address = 0x1F00) OR (SourceId = 11 AND Instance = 0)
#ifndef QORCPP_READER_FILTER_HPP
#define QORCPP_READER_FILTER_HPP

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "qorcpp/export.hpp"

namespace qor {

class QORCPP_API reader_filter {
public:
    // One parenthesised conjunction; what it does not name may have any value.
    struct term {
        std::optional<std::uint16_t> source_id;
        std::optional<std::uint32_t> instance;
        std::optional<std::uint32_t> cycle;
        std::optional<std::uint64_t> address;
    };

    // Numbers are decimal, or hexadecimal with 0x; blanks stand anywhere between words. An empty expression is the
    // filter of no subscription and accepts nothing.
    // Throws: std::invalid_argument "invalid reader filter: expected 'AND' or ')' at 17", columns from 1.
    explicit reader_filter(std::string_view expression);

    // Whether a term accepts a package of that source, cycle and address. Messages that are matched by parameter group
    // have an address that stands for others too: a reader does not ask the filter about 29-bit ids then.
    bool accepts(std::uint16_t source_id, std::uint32_t instance, std::uint32_t cycle,
                 std::uint64_t address) const noexcept;

    const std::vector<term>& terms() const noexcept { return terms_; }

private:
    std::vector<term> terms_;
};

} // namespace qor

#endif

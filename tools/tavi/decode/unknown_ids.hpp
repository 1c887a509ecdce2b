// What helps when no frame of a log has an id of the descriptions.
#ifndef TOOLS_TAVI_DECODE_UNKNOWN_IDS_HPP
#define TOOLS_TAVI_DECODE_UNKNOWN_IDS_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tools/tavi/decode/catalogue.hpp"
#include "tools/tavi/decode/id_table.hpp"
#include "tools/tavi/decode/selection.hpp"

namespace tavi::tool {

// How many frames have which id. Thread: one at a time.
class id_counts {
public:
    using entry = std::pair<std::uint32_t, std::uint32_t>; // id, frames

    void add(std::uint32_t id, std::uint32_t frames = 1);
    void add(const id_counts& other);

    // The most frequent first, of equally frequent ones the lower id.
    std::vector<entry> sorted() const;

    // Whether there were more ids than are counted.
    bool is_full() const noexcept { return full_; }

private:
    static constexpr std::size_t most_ids = 65536;

    id_table counts_;
    std::vector<std::uint32_t> ids_;
    bool full_ = false;
};

// Lines to print about a log that had these ids and no known one: the most frequent ids and, for the interfaces that
// came, whether messages fit them by parameter group. Empty when no description is meant for one of these interfaces.
std::string unknown_ids_note(const id_counts& ids, const std::vector<std::string>& interfaces,
                             const catalogue& catalogue, selection& selection);

} // namespace tavi::tool

#endif

// What an MDF 4 file says of its records: data groups with groups of CAN frames and others.
#ifndef MF4_READER_MF4_GROUPS_HPP
#define MF4_READER_MF4_GROUPS_HPP

#include <optional>
#include <string>
#include <vector>

#include "plugins/mf4_reader/mf4_file.hpp"

namespace tavi::mf4 {

// A number in a record: bits of it, or the same in all records.
struct field {
    enum class form { absent, constant, bits };

    form kind = form::absent;
    bool is_big = false; // high byte first
    std::uint8_t bit_offset = 0;
    std::uint8_t bit_count = 0; // 1 to 64
    std::uint32_t byte_offset = 0;
    std::uint64_t value = 0; // of a constant

    explicit operator bool() const noexcept { return kind != form::absent; }
    // Requires: a record in which fits() holds.
    std::uint64_t read(std::span<const std::uint8_t> record) const noexcept {
        if (kind != form::bits) {
            return value;
        }
        return bit_offset + bit_count <= 64 && !is_big && record.size() - byte_offset >= 8
                   ? load<std::uint64_t>(record, byte_offset) >> bit_offset & mask()
                   : read_bytes(record) & mask();
    }
    bool fits(std::size_t record_size) const noexcept;

private:
    std::uint64_t mask() const noexcept { return UINT64_MAX >> (64U - bit_count); }
    std::uint64_t read_bytes(std::span<const std::uint8_t> record) const noexcept;
};

// The time of a record.
struct clock {
    enum class form { absent, integer, signed_integer, real, index };

    form kind = form::absent;
    field raw;
    double offset = 0; // seconds
    double factor = 1;
    // Nanoseconds of a tick where these are whole and no offset comes first, else 0.
    std::int64_t whole_nanoseconds = 0;
    std::uint8_t decimals = 9;

    // Nanoseconds since the beginning of the recording; nothing for a time that is beyond 64 bits.
    // index: the number of the record in its group, from 0.
    std::optional<std::int64_t> read(std::span<const std::uint8_t> record, std::uint64_t index) const noexcept;
};

enum class frame_kind { none, data, remote, error, overload };

// A channel group.
struct group {
    std::uint64_t record_id = 0;
    std::uint64_t announced = 0; // records
    std::uint32_t data_size = 0; // of a record without its id
    std::uint32_t invalidation_size = 0;
    bool is_payload = false; // records are payloads of another group, of any length
    frame_kind kind = frame_kind::none;
    std::string name;
    std::uint64_t offset = 0; // of its block

    // Of frames.
    clock time;
    field channel, id, is_extended, code, length, is_sent, is_fd, has_rate_switch, is_passive;
    std::uint32_t bytes_at = 0; // data in the record
    std::uint32_t bytes_size = 0;
    field payload;                   // or where the data are among the payloads
    std::uint64_t payload_block = 0; // a CG or a data block
    std::size_t payload_group = 0;   // index in the data group, when it is one
    bool has_payload_group = false;
    std::uint32_t default_channel = 0;
    std::optional<std::uint32_t> invalid_at; // bit of the record that marks it as invalid

    std::size_t record_size() const noexcept { return std::size_t{data_size} + invalidation_size; }
    bool has_frames() const noexcept { return kind != frame_kind::none; }
};

struct data_group {
    std::uint8_t id_size = 0; // bytes of a record's id, 0 for records of one group
    std::uint64_t first_block = 0;
    std::vector<group> groups;
};

// Whether the file says that it was not closed, and what it says of its end then.
struct file_state {
    bool is_open = false;
    bool has_counts = true;      // groups count their records
    bool has_data_length = true; // the last data block knows its length
    std::string version;         // "4.11"
    std::string program;
    std::int64_t start = 0; // ns since 1970
};

// Throws: std::runtime_error for another format, another version, and a damaged header.
file_state read_state(file& source);

// The data groups in which there are CAN frames. `others` gets the counts of records of other data groups.
// Throws: std::runtime_error for damaged descriptions.
std::vector<data_group> read_groups(file& source, std::uint64_t& others);

} // namespace tavi::mf4

#endif

// The layout of BLF recordings; all numbers are little endian.
//
//     file    header of 144 bytes, then objects, each padded to 4 bytes (by most writers)
//     object  "LOBJ"  header size u16  header version u16  object size u32  type u32   base header, 16 bytes
//             flags u32  ...  object version u16  time u64  ...                        from header size 32 on
//             body
//
// The body of an object of type 10, a container, is a stretch of the stream of objects: compression method u16, size
// before compression u32 at 8, bytes at 16. An object may begin in one container and end in the next.
#ifndef BLF_READER_BLF_FORMAT_HPP
#define BLF_READER_BLF_FORMAT_HPP

#include <cstddef>
#include <cstdint>

namespace tavi::blf {

// The file header.
inline constexpr std::size_t file_header_size = 144;
inline constexpr std::size_t header_size_at = 4;   // u32
inline constexpr std::size_t application_at = 8;   // id, major, minor, build: u8 each
inline constexpr std::size_t version_at = 12;      // major, minor, build, patch: u8 each
inline constexpr std::size_t object_count_at = 32; // u32; 0 when the file was not closed
inline constexpr std::size_t start_at = 40;        // year, month, weekday, day, hour, minute, second, ms: u16 each

// The header of an object.
inline constexpr std::size_t base_header_size = 16;
inline constexpr std::size_t timed_header_size = 32; // of version 1; version 2 has 40
inline constexpr std::size_t object_header_size_at = 4;
inline constexpr std::size_t object_size_at = 8;
inline constexpr std::size_t object_type_at = 12;
inline constexpr std::size_t time_unit_at = 16; // u32: 1 is 10 us, 2 is 1 ns
inline constexpr std::size_t time_at = 24;      // u64

enum object_type : std::uint32_t {
    can_message = 1,
    can_error = 2,
    container = 10,
    can_error_extended = 73,
    can_message_2 = 86,
    can_fd_message = 100,
    can_fd_message_64 = 101,
    can_fd_error_64 = 104,
    restore_point = 115,
};

// A container's body.
inline constexpr std::size_t container_body_size = 16;
inline constexpr std::uint16_t stored = 0;
inline constexpr std::uint16_t deflated = 2;

} // namespace tavi::blf

#endif

// Writes BLF recordings of every dialect, for tests.
#ifndef TESTS_SUPPORT_BLF_WRITER_HPP
#define TESTS_SUPPORT_BLF_WRITER_HPP

#include "tests/support/recording_bytes.hpp"

namespace tavi::test {

// How objects are written.
struct blf_dialect {
    unsigned header_version = 1; // or 2
    bool is_coarse = false;      // times in 10 us, else ns
};

// An object with its padding; `body` follows the object's header.
inline std::string blf_object(std::uint32_t type, std::uint64_t time, const std::string& body,
                              const blf_dialect& dialect = {}) {
    const std::size_t header_size = dialect.header_version == 1 ? 32 : 40;
    const std::size_t size = header_size + body.size();
    std::string object = "LOBJ" + little(header_size, 2) + little(dialect.header_version, 2) + little(size, 4) +
                         little(type, 4) + little(dialect.is_coarse ? 1 : 2, 4) + little(0, 4) +
                         little(dialect.is_coarse ? time / 10000 : time, 8);
    object.resize(header_size);
    return object + body + std::string(size % 4, '\0');
}

inline std::uint32_t blf_id(const frame_to_write& frame) {
    return frame.id | (frame.is_extended ? 0x80000000U : 0);
}

inline std::string blf_flags(const frame_to_write& frame) {
    return little((frame.is_sent ? 1U : 0) | (frame.is_remote ? 0x80U : 0), 1);
}

// Type 1, or 86 with what that adds.
inline std::string blf_can_message(const frame_to_write& frame, const blf_dialect& dialect = {},
                                   std::uint32_t type = 1) {
    std::string data = frame.data;
    data.resize(8);
    return blf_object(type, frame.time,
                      little(frame.channel, 2) + blf_flags(frame) + little(frame.length(), 1) +
                          little(blf_id(frame), 4) + data + (type == 1 ? "" : little(0, 8)),
                      dialect);
}

// Type 100.
inline std::string blf_can_fd_message(const frame_to_write& frame, const blf_dialect& dialect = {}) {
    std::string data = frame.data;
    data.resize(64);
    return blf_object(100, frame.time,
                      little(frame.channel, 2) + blf_flags(frame) + little(frame.code(), 1) + little(blf_id(frame), 4) +
                          little(0, 5) + little(frame.is_fd ? 3 : 0, 1) + little(frame.data.size(), 1) + little(0, 5) +
                          data,
                      dialect);
}

// Type 101. `written`: bytes of the data that the object holds.
inline std::string blf_can_fd_message_64(const frame_to_write& frame, std::size_t written = 64,
                                         const blf_dialect& dialect = {}) {
    const std::uint32_t flags = (frame.is_remote ? 0x10U : 0) | (frame.is_fd ? 0x7000U : 0);
    return blf_object(101, frame.time,
                      little(frame.channel, 1) + little(frame.code(), 1) + little(frame.data.size(), 1) + little(0, 1) +
                          little(blf_id(frame), 4) + little(0, 4) + little(flags, 4) + little(0, 18) +
                          little(frame.is_sent ? 1 : 0, 1) + little(0, 5) + frame.data.substr(0, written),
                      dialect);
}

// A container of a stretch of the stream of objects, with its padding.
inline std::string blf_container(const std::string& content, bool is_deflated = true) {
    const std::string bytes = is_deflated ? deflated(content) : content;
    const std::size_t size = 32 + bytes.size();
    return "LOBJ" + little(16, 2) + little(1, 2) + little(size, 4) + little(10, 4) + little(is_deflated ? 2 : 0, 2) +
           little(0, 6) + little(content.size(), 4) + little(0, 4) + bytes + std::string(size % 4, '\0');
}

// The objects in containers of `size` bytes of content.
inline std::string blf_containers(const std::string& objects, std::size_t size, bool is_deflated = true) {
    std::string result;
    for (std::size_t at = 0; at < objects.size(); at += size) {
        result += blf_container(objects.substr(at, size), is_deflated);
    }
    return result;
}

// The header of a file and what follows it. `count`: objects, 0 when the file was not closed. The recording starts at
// 2023-11-02 14:22:13.020 UTC, or has no date.
inline std::string blf_file(const std::string& objects, std::uint32_t count, bool has_start = false) {
    std::string header = "LOGG" + little(144, 4) + std::string("\x05\x01\x02\x03\x02\x06\x08\x01", 8);
    header += little(count == 0 ? 0 : 144 + objects.size(), 8) + little(0, 8) + little(count, 4) + little(0, 4);
    for (const unsigned field : {2023U, 11U, 4U, 2U, 14U, 22U, 13U, 20U}) {
        header += little(has_start ? field : 0, 2);
    }
    header.resize(144);
    return header + objects;
}

} // namespace tavi::test

#endif

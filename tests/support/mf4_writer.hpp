// Writes bus recordings in MDF 4 of every dialect, for tests. Blocks are added before those that link to them.
#ifndef TESTS_SUPPORT_MF4_WRITER_HPP
#define TESTS_SUPPORT_MF4_WRITER_HPP

#include <bit>
#include <vector>

#include "tests/support/recording_bytes.hpp"

namespace tavi::test {

struct mf4_channel {
    std::string name;
    unsigned byte = 0;
    unsigned bit = 0;
    unsigned bits = 0;
    unsigned type = 0;      // 1 any length, 2 time, 6 the same number in all records
    unsigned data_type = 0; // 0 integer, 4 real, 10 bytes
    std::uint64_t conversion = 0;
    std::uint64_t data = 0;
    std::vector<mf4_channel> members = {};
};

struct mf4_group {
    std::string name;
    std::uint64_t record_id = 0;
    std::uint64_t records = 0;
    unsigned record_size = 0;
    std::vector<mf4_channel> channels = {};
    bool is_payload = false;
};

class mf4_writer {
public:
    // `lacks`: what a recording that was not closed lacks (1 counts of records, 4 the length of the last data block).
    explicit mf4_writer(unsigned lacks = 0, unsigned version = 410, std::uint64_t start = 1600000000000000000)
        : bytes_((lacks != 0 ? "UnFinMF " : "MDF     ") + std::to_string(version / 100) + "." +
                 std::to_string(version % 100) + "    writer  ") {
        bytes_.resize(28);
        bytes_ += little(version, 2);
        bytes_.resize(60);
        bytes_ += little(lacks, 4);
        add("HD", std::vector<std::uint64_t>(6), little(start, 8) + little(0, 24));
    }

    std::uint64_t add(const std::string& id, const std::vector<std::uint64_t>& links, const std::string& data) {
        bytes_ = padded(bytes_, 8);
        const std::uint64_t place = bytes_.size();
        bytes_ += "##" + id + little(0, 4) + little(24 + 8 * links.size() + data.size(), 8) + little(links.size(), 8);
        for (const std::uint64_t link : links) {
            bytes_ += little(link, 8);
        }
        bytes_ += data;
        return place;
    }

    std::uint64_t text(const std::string& text) { return text.empty() ? 0 : add("TX", {}, text + '\0'); }

    std::uint64_t linear(double offset, double factor) {
        return add("CC", {0, 0, 0, 0},
                   little(1, 1) + little(0, 3) + little(0, 2) + little(2, 2) + little(0, 16) +
                       little(std::bit_cast<std::uint64_t>(offset), 8) +
                       little(std::bit_cast<std::uint64_t>(factor), 8));
    }

    // The first of these channels.
    std::uint64_t channels(const std::vector<mf4_channel>& all) {
        std::uint64_t next = 0;
        for (auto channel = all.rbegin(); channel != all.rend(); ++channel) {
            const std::uint64_t members = channels(channel->members);
            const std::uint64_t name = text(channel->name);
            next =
                add("CN", {next, members, name, 0, channel->conversion, channel->data, 0, 0},
                    little(channel->type, 1) + little(channel->type == 2 ? 1 : 0, 1) + little(channel->data_type, 1) +
                        little(channel->bit, 1) + little(channel->byte, 4) + little(channel->bits, 4) + little(0, 60));
        }
        return next;
    }

    std::uint64_t group(const mf4_group& group, std::uint64_t next) {
        const std::uint64_t first = channels(group.channels);
        const std::uint64_t name = text(group.name);
        return add("CG", {next, first, name, 0, 0, 0},
                   little(group.record_id, 8) + little(group.records, 8) + little(group.is_payload ? 1 : 6, 2) +
                       little('.', 2) + little(0, 4) + little(group.record_size, 4) + little(0, 4));
    }

    // A data group whose first group is at `group`; data groups are read in the order in which they are added.
    std::uint64_t data_group(std::uint64_t group, std::uint64_t data, unsigned id_size) {
        const std::uint64_t place = add("DG", {0, group, data, 0}, little(id_size, 8));
        set_link(last_data_group_ == 0 ? header_ : last_data_group_, place);
        return last_data_group_ = place;
    }

    // A data block as it is, or deflated, with `columns` transposed.
    std::uint64_t data(const std::string& content, bool is_deflated = false, unsigned columns = 0,
                       const std::string& id = "DT") {
        if (!is_deflated) {
            return add(id, {}, content);
        }
        const std::string bytes = deflated(columns == 0 ? content : transposed(content, columns));
        return add("DZ", {},
                   id + little(columns != 0, 1) + little(0, 1) + little(columns, 4) + little(content.size(), 8) +
                       little(bytes.size(), 8) + bytes);
    }

    // The data in blocks of `size` bytes, in lists of three blocks.
    std::uint64_t list(const std::string& content, std::size_t size, bool is_deflated = false, unsigned columns = 0,
                       const std::string& id = "DT") {
        std::vector<std::uint64_t> blocks;
        for (std::size_t at = 0; at < content.size(); at += size) {
            blocks.push_back(data(content.substr(at, size), is_deflated, columns, id));
        }
        blocks.resize((blocks.size() + 2) / 3 * 3);
        std::uint64_t next = 0;
        for (std::size_t end = blocks.size(); end != 0; end -= 3) {
            next = add("DL", {next, blocks[end - 3], blocks[end - 2], blocks[end - 1]},
                       little(1, 4) + little(3, 4) + little(size, 8));
        }
        return is_deflated ? add("HL", {next}, little(0, 8)) : next;
    }

    // The data of the last data group at the end of the file; without a length, as a recording has it that was not
    // closed.
    void add_last_data(const std::string& content, bool has_length = false) {
        const std::uint64_t place = add("DT", {}, has_length ? content : "");
        set_link(last_data_group_ + 16, place);
        bytes_ += has_length ? "" : content;
    }

    const std::string& bytes() const noexcept { return bytes_; }

private:
    static std::string transposed(const std::string& content, std::size_t columns) {
        const std::size_t rows = content.size() / columns;
        std::string result;
        for (std::size_t column = 0; column < columns; ++column) {
            for (std::size_t row = 0; row < rows; ++row) {
                result += content[row * columns + column];
            }
        }
        return result + content.substr(rows * columns);
    }

    void set_link(std::uint64_t block, std::uint64_t target) {
        bytes_.replace(static_cast<std::size_t>(block) + 24, 8, little(target, 8));
    }

    static constexpr std::uint64_t header_ = 64;
    std::uint64_t last_data_group_ = 0;
    std::string bytes_;
};

// ---- Frames with payloads of any length, as loggers write them: 22 bytes with channel, id and flags as bits, and the
// offset of the payload among all payloads.

inline constexpr unsigned mf4_frame_size = 22;

inline std::string mf4_frame(const frame_to_write& frame, std::uint64_t offset) {
    return little(frame.time, 8) +
           little(std::uint64_t{frame.id} << 3 | frame.channel << 1 | (frame.is_extended ? 1U : 0), 4) +
           little((frame.is_sent ? 1U : 0) | frame.length() << 1, 1) +
           little((frame.is_fd ? 3U : 0) | frame.code() << 4, 1) + little(offset, 8);
}

// `payloads`: a group or data block of the payloads.
inline std::vector<mf4_channel> mf4_frame_channels(mf4_writer& writer, std::uint64_t payloads,
                                                   const std::string& name = "CAN_DataFrame") {
    mf4_channel time{.name = "Timestamp", .bits = 64, .type = 2, .conversion = writer.linear(0, 1e-9)};
    mf4_channel frame{.name = name, .byte = 8, .bits = 112, .data_type = 10};
    frame.members = {{name + ".BusChannel", 8, 1, 2}, {name + ".ID", 8, 3, 29},         {name + ".IDE", 8, 0, 1},
                     {name + ".DLC", 13, 4, 4},       {name + ".DataLength", 12, 1, 7}, {name + ".Dir", 12, 0, 1},
                     {name + ".EDL", 13, 0, 1},       {name + ".BRS", 13, 1, 1},        {name + ".ESI", 13, 2, 1}};
    if (payloads != 0) {
        frame.members.push_back(
            {.name = name + ".DataBytes", .byte = 14, .bits = 64, .type = 1, .data_type = 10, .data = payloads});
    }
    return {time, frame};
}

// ---- Frames with data in the record: a clock of 48 bits in us, id, DLC, data; all else is the same in the group.

inline std::string mf4_fixed_frame(const frame_to_write& frame, unsigned data_size) {
    std::string data = frame.data;
    data.resize(data_size);
    return little(frame.time / 1000, 6) + little(frame.id, 4) + little(frame.code(), 1) + data;
}

inline mf4_group mf4_fixed_group(mf4_writer& writer, const frame_to_write& sample, std::uint64_t records,
                                 unsigned data_size, const std::string& name = "CAN_DataFrame") {
    const auto constant = [&](const char* member, unsigned value) {
        return mf4_channel{.name = name + member, .type = 6, .conversion = writer.linear(value, 0)};
    };
    mf4_group group{.name = name, .records = records, .record_size = 11 + data_size};
    group.channels = {{.name = "t", .bits = 48, .type = 2, .conversion = writer.linear(0, 1e-6)},
                      {.name = name, .byte = 6, .bits = 40, .data_type = 10}};
    group.channels[1].members = {{name + ".ID", 6, 0, 32},
                                 {name + ".DLC", 10, 0, 8},
                                 constant(".BusChannel", sample.channel),
                                 constant(".IDE", sample.is_extended),
                                 constant(".EDL", sample.is_fd),
                                 constant(".Dir", sample.is_sent)};
    if (data_size != 0) {
        group.channels[1].members.push_back({name + ".DataBytes", 11, 0, 8 * data_size, 0, 10});
    }
    return group;
}

} // namespace tavi::test

#endif

// The blocks that describe records, with their links and data:
//
//     HD  first DG, ...                   start ns u64
//     DG  next, first CG, data            size of record ids u8
//     CG  next, first CN, name, source    record id u64, records u64, flags u16, -, -, data bytes u32 at 24,
//     invalidation
//                                         bytes u32
//     CN  next, composition, name, source, type u8, sync u8, data type u8, bit offset u8, byte offset u32, bits u32,
//         conversion, data                flags u32, invalidation bit u32
//     CC  -, -, -, -, ...                 type u8, -, flags u16, references u16, values u16, -, -, values f64 at 24
//     SI  name, path                      type u8, bus u8
//
// Frames are in structures of channels CAN_DataFrame, CAN_RemoteFrame and CAN_ErrorFrame, whose members are called
// CAN_DataFrame.ID and so on. A member that is the same in all records may be a virtual channel: its number is the
// offset of its conversion.
#include "plugins/mf4_reader/mf4_groups.hpp"

#include <algorithm>
#include <bit>
#include <cmath>

namespace tavi::mf4 {

namespace {

constexpr std::size_t identification_size = 64;
constexpr std::size_t header_at = 64;
constexpr int deepest_composition = 8;

constexpr std::uint16_t group_is_payload = 1;
constexpr std::uint8_t channel_of_any_length = 1;
constexpr std::uint8_t channel_master = 2;
constexpr std::uint8_t channel_virtual_master = 3;
constexpr std::uint8_t channel_virtual = 6;
constexpr std::uint8_t synchronises_time = 1;

// Calls use(block) for each block of a list, which its first link continues.
// Throws: std::runtime_error for a damaged list, or one that goes in a circle.
template<typename Use>
void for_each_block(file& source, std::uint64_t first, std::string_view id, Use use) {
    std::uint64_t passed = first; // one block of those before, moved at each power of two
    std::uint64_t count = 0;
    for (std::uint64_t next = first; next != 0; ++count) {
        if (count != 0 && next == passed) {
            throw std::runtime_error("the blocks " + std::string(id) + " are linked in a circle at byte " +
                                     std::to_string(next));
        }
        if (std::has_single_bit(count)) {
            passed = next;
        }
        const block found = source.read_block(next, id);
        next = found.links[0];
        use(found);
    }
}

struct conversion {
    bool is_linear = true;
    double offset = 0;
    double factor = 1;
};

conversion read_conversion(file& source, std::uint64_t offset) {
    constexpr std::uint8_t none = 0;
    constexpr std::uint8_t linear = 1;
    if (offset == 0) {
        return {};
    }
    const block found = source.read_block(offset, "CC");
    const auto type = found.number<std::uint8_t>(0);
    if (type == linear) {
        return {true, std::bit_cast<double>(found.number<std::uint64_t>(24)),
                std::bit_cast<double>(found.number<std::uint64_t>(32))};
    }
    return {type == none};
}

// The channel as bits of a record.
field bits_of(const block& channel) {
    const auto data_type = channel.number<std::uint8_t>(2);
    const auto bit_count = channel.number<std::uint32_t>(8);
    field result;
    result.byte_offset = channel.number<std::uint32_t>(4);
    result.bit_offset = channel.number<std::uint8_t>(3);
    if (bit_count >= 1 && bit_count <= 64 && result.bit_offset < 8) {
        result.kind = field::form::bits;
        result.bit_count = static_cast<std::uint8_t>(bit_count);
        result.is_big = data_type == 1 || data_type == 3 || data_type == 5;
    }
    return result;
}

field number_of(file& source, const block& channel) {
    if (channel.number<std::uint8_t>(0) != channel_virtual) {
        return bits_of(channel);
    }
    const conversion found = read_conversion(source, channel.links[4]);
    field result;
    if (found.is_linear && found.offset >= 0 && found.offset <= 0xFFFFFFFF) {
        result.kind = field::form::constant;
        result.value = static_cast<std::uint64_t>(found.offset);
    }
    return result;
}

// Throws: std::runtime_error for a conversion that is not linear.
clock clock_of(file& source, const block& channel) {
    clock result;
    const auto data_type = channel.number<std::uint8_t>(2);
    const conversion found = read_conversion(source, channel.links[4]);
    if (!found.is_linear || !std::isfinite(found.offset) || !std::isfinite(found.factor)) {
        throw std::runtime_error("the time channel at byte " + std::to_string(channel.offset) +
                                 " has a conversion that is not linear");
    }
    result.offset = found.offset;
    result.factor = found.factor;
    result.raw = bits_of(channel);
    if (channel.number<std::uint8_t>(0) == channel_virtual_master) {
        result.kind = clock::form::index;
    } else if (!result.raw || data_type > 5 ||
               (data_type >= 4 && result.raw.bit_count != 32 && result.raw.bit_count != 64)) {
        throw std::runtime_error("the time channel at byte " + std::to_string(channel.offset) + " is not a number");
    } else {
        result.kind = data_type < 2   ? clock::form::integer
                      : data_type < 4 ? clock::form::signed_integer
                                      : clock::form::real;
    }
    const double nanoseconds = found.factor * 1e9;
    const bool is_whole = nanoseconds >= 0.5 && nanoseconds < 1e12 &&
                          std::abs(nanoseconds - std::round(nanoseconds)) <= 1e-6 * nanoseconds;
    if (result.kind != clock::form::real && is_whole && std::abs(found.offset) < 1e9) {
        result.whole_nanoseconds = std::llround(nanoseconds);
        const auto offset = std::llround(found.offset * 1e9);
        for (std::int64_t unit = 10; result.decimals > 0 && result.whole_nanoseconds % unit == 0 && offset % unit == 0;
             unit *= 10) {
            --result.decimals;
        }
    }
    return result;
}

// Digits at the end of a text such as "CAN3".
std::optional<std::uint32_t> number_at_end(const std::string& text) {
    const std::size_t digits = text.find_last_not_of("0123456789") + 1;
    if (digits == text.size() || text.size() - digits > 5) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(std::stoul(text.substr(digits)));
}

frame_kind kind_of(std::string_view structure) noexcept {
    return structure == "CAN_DataFrame"       ? frame_kind::data
           : structure == "CAN_RemoteFrame"   ? frame_kind::remote
           : structure == "CAN_ErrorFrame"    ? frame_kind::error
           : structure == "CAN_OverloadFrame" ? frame_kind::overload
                                              : frame_kind::none;
}

// Adds the member `name` of a structure of frames.
void add_member(file& source, const block& channel, std::string_view name, group& to) {
    struct member {
        std::string_view name;
        field group::*place;
    };
    static constexpr member members[] = {
        {"BusChannel", &group::channel}, {"ID", &group::id},
        {"IDE", &group::is_extended},    {"DLC", &group::code},
        {"DataLength", &group::length},  {"Dir", &group::is_sent},
        {"EDL", &group::is_fd},          {"BRS", &group::has_rate_switch},
        {"ESI", &group::is_passive},
    };
    if (name == "DataBytes") {
        const auto bits = channel.number<std::uint32_t>(8);
        if (channel.number<std::uint8_t>(0) == channel_of_any_length) {
            to.payload = bits_of(channel);
            to.payload_block = channel.links[5];
        } else {
            to.bytes_at = channel.number<std::uint32_t>(4);
            to.bytes_size = bits / 8;
        }
        return;
    }
    for (const member& known : members) {
        if (known.name == name) {
            to.*known.place = number_of(source, channel);
        }
    }
}

// `structure`: the name of the channel that has this one as a member; empty for channels of the group.
void add_channels(file& source, std::uint64_t first, const std::string& structure, int depth, group& to) {
    for_each_block(source, first, "CN", [&](const block& channel) {
        const auto type = channel.number<std::uint8_t>(0);
        if ((type == channel_master || type == channel_virtual_master) &&
            channel.number<std::uint8_t>(1) == synchronises_time) {
            to.time = clock_of(source, channel);
            return;
        }
        const std::string name = source.read_text(channel.links[2]);
        const std::size_t point = name.rfind('.');
        const std::string owner = point == std::string::npos ? structure : name.substr(0, point);
        if (kind_of(owner) != frame_kind::none) {
            to.kind = kind_of(owner);
            add_member(source, channel, std::string_view(name).substr(point == std::string::npos ? 0 : point + 1), to);
        } else if (kind_of(name) != frame_kind::none) {
            constexpr std::uint32_t has_invalidation_bit = 2;
            to.kind = kind_of(name);
            if ((channel.number<std::uint32_t>(12) & has_invalidation_bit) != 0) {
                to.invalid_at = channel.number<std::uint32_t>(16);
            }
        }
        if (channel.links[1] != 0 && depth < deepest_composition && source.find_block(channel.links[1]).id == "CN") {
            add_channels(source, channel.links[1], name, depth + 1, to);
        }
    });
}

// Throws: std::runtime_error for a group whose members are not in its records.
void check_group(const group& checked) {
    const std::size_t size = checked.record_size();
    bool fits = checked.bytes_at <= size && checked.bytes_size <= size - checked.bytes_at &&
                checked.payload.fits(size) && checked.time.raw.fits(size) &&
                (!checked.invalid_at || *checked.invalid_at / 8 < checked.invalidation_size);
    for (const field* part : {&checked.channel, &checked.id, &checked.is_extended, &checked.code, &checked.length,
                              &checked.is_sent, &checked.is_fd, &checked.has_rate_switch, &checked.is_passive}) {
        fits = fits && part->fits(size);
    }
    if (!fits || size > 65536) {
        throw std::runtime_error("the channels of the group at byte " + std::to_string(checked.offset) +
                                 " are not in its records");
    }
    if (checked.kind == frame_kind::data && !checked.id) {
        throw std::runtime_error("the frames of the group at byte " + std::to_string(checked.offset) + " have no id");
    }
}

group read_group(file& source, const block& found) {
    group result;
    result.offset = found.offset;
    result.record_id = found.number<std::uint64_t>(0);
    result.announced = found.number<std::uint64_t>(8);
    result.is_payload = (found.number<std::uint16_t>(16) & group_is_payload) != 0;
    result.name = source.read_text(found.links[2]);
    if (result.is_payload) {
        return result;
    }
    result.data_size = found.number<std::uint32_t>(24);
    result.invalidation_size = found.number<std::uint32_t>(28);
    if (found.links[3] != 0) {
        const block bus = source.read_block(found.links[3], "SI");
        for (const std::uint64_t text : {bus.links[1], bus.links[0]}) {
            if (const auto number = number_at_end(source.read_text(text))) {
                result.default_channel = *number;
                break;
            }
        }
    }
    if (result.default_channel == 0) {
        result.default_channel = number_at_end(result.name).value_or(0);
    }
    add_channels(source, found.links[1], "", 0, result);
    if (result.has_frames()) {
        check_group(result);
    }
    return result;
}

void link_payloads(data_group& linked) {
    for (group& frames : linked.groups) {
        for (std::size_t index = 0; index < linked.groups.size(); ++index) {
            if (frames.payload && linked.groups[index].is_payload &&
                linked.groups[index].offset == frames.payload_block) {
                frames.payload_group = index;
                frames.has_payload_group = true;
            }
        }
    }
}

} // namespace

bool field::fits(std::size_t record_size) const noexcept {
    return kind != form::bits ||
           (byte_offset <= record_size && (std::size_t{bit_offset} + bit_count + 7) / 8 <= record_size - byte_offset);
}

// Byte by byte: near the end of a record, high byte first, or nine bytes.
std::uint64_t field::read_bytes(std::span<const std::uint8_t> record) const noexcept {
    const std::size_t size = (std::size_t{bit_offset} + bit_count + 7) / 8;
    const auto byte = [&](std::size_t index) {
        return std::uint64_t{record[byte_offset + (is_big ? size - 1 - index : index)]};
    };
    std::uint64_t number = 0;
    for (std::size_t index = 0; index < std::min<std::size_t>(size, 8); ++index) {
        number |= byte(index) << 8 * index;
    }
    number >>= bit_offset;
    return size == 9 ? number | byte(8) << (64 - bit_offset) : number;
}

std::optional<std::int64_t> clock::read(std::span<const std::uint8_t> record, std::uint64_t index) const noexcept {
    constexpr double most = 9.2e9; // seconds
    const std::uint64_t ticks = kind == form::index ? index : raw.read(record);
    if (whole_nanoseconds != 0 && (kind == form::integer || kind == form::index)) {
        const std::int64_t begin = std::llround(offset * 1e9);
        if (ticks > static_cast<std::uint64_t>((INT64_MAX - std::max<std::int64_t>(begin, 0)) / whole_nanoseconds)) {
            return std::nullopt;
        }
        return begin + static_cast<std::int64_t>(ticks) * whole_nanoseconds;
    }
    double number = 0;
    if (kind == form::real) {
        number = raw.bit_count == 64 ? std::bit_cast<double>(ticks)
                                     : double{std::bit_cast<float>(static_cast<std::uint32_t>(ticks))};
    } else if (kind == form::signed_integer) {
        const unsigned unused = 64U - raw.bit_count;
        number = static_cast<double>(static_cast<std::int64_t>(ticks << unused) >> unused);
    } else {
        number = static_cast<double>(ticks);
    }
    const double seconds = offset + factor * number;
    if (!(std::abs(seconds) < most)) {
        return std::nullopt;
    }
    return std::llround(seconds * 1e9);
}

file_state read_state(file& source) {
    std::array<std::uint8_t, identification_size> bytes{};
    const std::size_t size = source.read(0, bytes);
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const bool is_open = text.starts_with("UnFinMF ");
    if (!is_open && !text.starts_with("MDF     ")) {
        throw std::runtime_error("this is not an MDF file: it does not begin with MDF");
    }
    if (size < identification_size) {
        throw std::runtime_error("the recording ends within its first block");
    }
    const auto trimmed = [&](std::size_t at) {
        const std::string part(text.substr(at, 8));
        const std::size_t end = part.find_last_not_of(std::string_view(" \0", 2));
        return part.substr(0, end == std::string::npos ? 0 : end + 1);
    };
    const auto version = load<std::uint16_t>(bytes, 28);
    if (version < 400 || version >= 500) {
        throw std::runtime_error("MDF of version " + trimmed(8) +
                                 " is not read, only version 4: convert the recording");
    }
    constexpr std::uint16_t lacks_counts = 1;
    constexpr std::uint16_t lacks_data_length = 4;
    const auto lacks = is_open ? load<std::uint16_t>(bytes, 60) : std::uint16_t{0};
    file_state state{is_open, (lacks & lacks_counts) == 0, (lacks & lacks_data_length) == 0, trimmed(8), trimmed(16),
                     0};
    const block header = source.read_block(header_at, "HD");
    const auto start = header.number<std::uint64_t>(0);
    state.start = start < static_cast<std::uint64_t>(INT64_MAX) / 2 ? static_cast<std::int64_t>(start) : 0;
    return state;
}

std::vector<data_group> read_groups(file& source, std::uint64_t& others) {
    std::vector<data_group> result;
    for_each_block(source, source.read_block(header_at, "HD").links[0], "DG", [&](const block& found) {
        data_group added;
        added.id_size = found.number<std::uint8_t>(0);
        added.first_block = found.links[2];
        bool has_frames = false;
        std::uint64_t records = 0;
        for_each_block(source, found.links[1], "CG", [&](const block& part) {
            added.groups.push_back(read_group(source, part));
            has_frames = has_frames || added.groups.back().has_frames();
            records += added.groups.back().announced;
        });
        if (!has_frames) {
            others += records;
            return;
        }
        if (added.id_size != 0 && added.id_size != 1 && added.id_size != 2 && added.id_size != 4 &&
            added.id_size != 8) {
            throw std::runtime_error("the data group at byte " + std::to_string(found.offset) +
                                     " has record ids of a size that does not exist");
        }
        if (added.id_size == 0 && added.groups.size() > 1) {
            throw std::runtime_error("the data group at byte " + std::to_string(found.offset) +
                                     " has records of several groups without ids");
        }
        link_payloads(added);
        result.push_back(std::move(added));
    });
    return result;
}

} // namespace tavi::mf4

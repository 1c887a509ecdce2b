// Two levels, each read front to back: the objects of the file, most of them containers, and the objects in the content
// of containers. A container is inflated as a whole before its objects are given out, so that its checksum has proved
// them: the content of a damaged container is left out. An object that ends in the next container is carried over to
// the front of the next content:
//
//     file      [header][container [obj][obj][ob]][container [j][obj]]
//     content_               after the second:           [ob][j][obj]
//
// Where no object begins, reading goes on at the next bytes that look like the header of one. In a stored container
// that was not recognised as one, these are the objects within.
#include "plugins/blf_reader/blf_objects.hpp"

#include <cstring>
#include <string>

namespace tavi::blf {

using qor::sdk::load;

namespace {

constexpr std::size_t signature_size = 4;
constexpr std::size_t most_padding = 3;
// Limits of sizes, far above all use. A larger one is damaged.
constexpr std::uint64_t largest_frame_object = 1024;
constexpr std::uint64_t largest_object = std::uint64_t{8} << 20;
constexpr std::uint64_t largest_content = std::uint64_t{16} << 20;
constexpr std::size_t largest_object_header = 256;
constexpr std::uint32_t largest_type = 4096;
constexpr std::size_t chunk = std::size_t{64} << 10;

bool is_signature(std::span<const std::uint8_t> bytes, std::size_t at) noexcept {
    return bytes.size() >= at + signature_size && std::memcmp(bytes.data() + at, "LOBJ", signature_size) == 0;
}

// Where the next object begins after at most `most_padding` bytes; the size when it begins nowhere there.
std::size_t padding_before(std::span<const std::uint8_t> bytes) noexcept {
    for (std::size_t padding = 0; padding <= most_padding; ++padding) {
        if (is_signature(bytes, padding)) {
            return padding;
        }
    }
    return bytes.size();
}

bool is_padding(std::span<const std::uint8_t> bytes) noexcept {
    return bytes.size() <= most_padding && std::all_of(bytes.begin(), bytes.end(), [](auto byte) { return byte == 0; });
}

} // namespace

bool is_frame(std::uint32_t type) noexcept {
    switch (type) {
    case can_message:
    case can_error:
    case can_error_extended:
    case can_message_2:
    case can_fd_message:
    case can_fd_message_64:
    case can_fd_error_64:
        return true;
    default:
        return false;
    }
}

object_stream::outcome object_stream::next(object& found, qor::sdk::batch_builder& batch) {
    while (!has_ended_) {
        if (const auto held = next_held(found, batch)) {
            return *held;
        }
        if (!batch.empty() && has_to_read()) {
            return outcome::wait;
        }
        if (const auto read = next_in_file(found, batch)) {
            return *read;
        }
    }
    return outcome::end;
}

bool object_stream::read_header(std::span<const std::uint8_t> bytes, header& found) noexcept {
    if (bytes.size() < base_header_size || !is_signature(bytes, 0)) {
        return false;
    }
    found = {load<std::uint16_t>(bytes, object_header_size_at), load<std::uint32_t>(bytes, object_size_at),
             load<std::uint32_t>(bytes, object_type_at)};
    const std::uint64_t largest = found.type == container ? largest_content
                                  : is_frame(found.type)  ? largest_frame_object
                                                          : largest_object;
    return found.header_size >= base_header_size && found.header_size <= largest_object_header &&
           found.size >= found.header_size && found.size <= largest && found.type <= largest_type;
}

std::size_t object_stream::find_header(std::span<const std::uint8_t> bytes) noexcept {
    header head{};
    for (std::size_t at = 0; at + base_header_size <= bytes.size(); ++at) {
        const void* const next = std::memchr(bytes.data() + at, 'L', bytes.size() - at);
        if (next == nullptr) {
            break;
        }
        at = static_cast<std::size_t>(static_cast<const std::uint8_t*>(next) - bytes.data());
        if (read_header(bytes.subspan(at), head)) {
            return at;
        }
    }
    return bytes.size();
}

// ---- Objects in containers

void object_stream::drop_held() noexcept {
    content_.clear();
    begin_ = carried_ = 0;
    content_skip_ = 0;
}

object_stream::step object_stream::next_held(object& found, qor::sdk::batch_builder& batch) {
    const std::uint64_t skipped = std::min<std::uint64_t>(content_skip_, held().size());
    begin_ += static_cast<std::size_t>(skipped);
    content_skip_ -= skipped;
    if (is_content_lost_) {
        search_held();
    }
    if (is_content_lost_) {
        return std::nullopt;
    }
    const auto bytes = held();
    const std::size_t padding = padding_before(bytes);
    if (padding == bytes.size()) {
        if (bytes.size() < most_padding + signature_size) {
            return std::nullopt; // more may follow in the next container
        }
        is_content_lost_ = true;
        batch.add_fault(held_place(), 0, "the content of the container has no object where one was expected",
                        "reading goes on at the next object");
        return outcome::fault;
    }
    begin_ += padding;
    if (held().size() < base_header_size) {
        return std::nullopt;
    }
    header head{};
    if (!read_header(held(), head)) {
        batch.add_fault(held_place(), 0, "the header of an object in the container is damaged",
                        "reading goes on at the next object");
        begin_ += signature_size;
        is_content_lost_ = true;
        return outcome::fault;
    }
    return held_object(head, found, batch);
}

object_stream::step object_stream::held_object(const header& head, object& found, qor::sdk::batch_builder& batch) {
    const auto bytes = held();
    const auto size = static_cast<std::size_t>(head.size);
    if (is_frame(head.type) && bytes.size() < size) {
        return std::nullopt;
    }
    found = {head.type, head.header_size, bytes.first(std::min(size, bytes.size())), held_place()};
    const bool is_followed =
        bytes.size() < size + most_padding + signature_size || padding_before(bytes.subspan(size)) <= most_padding;
    if (head.type == container || (!is_frame(head.type) && !is_followed)) {
        batch.add_fault(held_place(), 0,
                        head.type == container ? "a container begins within the content of a container"
                                               : "the size of an object in the container is damaged",
                        "reading goes on at the next object");
        begin_ +=
            head.type == container ? std::min(base_header_size + container_body_size, bytes.size()) : signature_size;
        is_content_lost_ = true;
        return outcome::fault;
    }
    begin_ += found.bytes.size();
    content_skip_ = size - found.bytes.size();
    return outcome::object;
}

// Leaves nothing but the beginning of a header when there is no object.
void object_stream::search_held() {
    const auto bytes = held();
    const std::size_t at = find_header(bytes);
    is_content_lost_ = at == bytes.size();
    begin_ += is_content_lost_ ? bytes.size() - std::min(bytes.size(), base_header_size - 1) : at;
}

// ---- Objects in the file

bool object_stream::has_to_read() {
    const std::size_t most = base_header_size + most_padding;
    if (file_skip_ != 0 || is_file_lost_ || input_.has_to_read(most)) {
        return true;
    }
    const auto bytes = input_.peek(most);
    const std::size_t padding = padding_before(bytes);
    header head{};
    return padding < bytes.size() && read_header(bytes.subspan(padding), head) &&
           input_.has_to_read(padding + static_cast<std::size_t>(head.size));
}

object_stream::step object_stream::next_in_file(object& found, qor::sdk::batch_builder& batch) {
    if (input_.skip(file_skip_) < file_skip_) {
        file_skip_ = 0;
        return ends_within("an object", found.place, batch);
    }
    file_skip_ = 0;
    if (is_file_lost_) {
        search_file();
    }
    const auto bytes = input_.peek(base_header_size + most_padding);
    if (is_padding(bytes)) {
        return end(batch);
    }
    const std::size_t padding = padding_before(bytes);
    if (padding == bytes.size() && padding >= signature_size + most_padding) {
        batch.add_fault(input_.offset(), 0, "no object begins here", "reading goes on at the next object");
        is_file_lost_ = true;
        return outcome::fault;
    }
    if (bytes.size() - padding < base_header_size) {
        return ends_within("the header of an object", input_.offset(), batch);
    }
    input_.skip(padding);
    header head{};
    if (!read_header(input_.peek(base_header_size), head)) {
        batch.add_fault(input_.offset(), 0, "the header of an object is damaged", "reading goes on at the next object");
        input_.skip(signature_size);
        is_file_lost_ = true;
        return outcome::fault;
    }
    return head.type == container ? open_container(head, batch) : object_in_file(head, found, batch);
}

object_stream::step object_stream::object_in_file(const header& head, object& found, qor::sdk::batch_builder& batch) {
    const std::size_t size = is_frame(head.type) ? static_cast<std::size_t>(head.size) : base_header_size;
    found = {head.type, head.header_size, input_.peek(size), input_.offset()};
    if (found.bytes.size() < size) {
        return ends_within("an object", input_.offset(), batch);
    }
    file_skip_ = head.size;
    return outcome::object;
}

void object_stream::search_file() {
    for (auto bytes = input_.peek(chunk); !bytes.empty(); bytes = input_.peek(chunk)) {
        const std::size_t at = find_header(bytes);
        input_.skip(at < bytes.size() || bytes.size() < base_header_size ? at : bytes.size() - (base_header_size - 1));
        if (at < bytes.size()) {
            break;
        }
    }
    is_file_lost_ = false;
}

object_stream::outcome object_stream::end(qor::sdk::batch_builder& batch) {
    has_ended_ = true;
    if (is_cut_) {
        return ends_within("a container", place_, batch);
    }
    if (content_skip_ != 0 || (!is_content_lost_ && !is_padding(held()))) {
        return ends_within("an object", held_place(), batch);
    }
    return outcome::end;
}

object_stream::outcome object_stream::ends_within(std::string_view what, std::uint64_t place,
                                                  qor::sdk::batch_builder& batch) {
    has_ended_ = ends_within_ = true;
    batch.add_fault(place, 0, "the recording ends within " + std::string(what), "what was read before is whole");
    return outcome::fault;
}

// ---- Containers

object_stream::step object_stream::open_container(const header& head, qor::sdk::batch_builder& batch) {
    const std::uint64_t begin = input_.offset();
    const std::size_t front = head.header_size + container_body_size;
    const auto body = input_.peek(front);
    if (body.size() < front) {
        return ends_within("the header of a container", begin, batch);
    }
    const auto method = load<std::uint16_t>(body, head.header_size);
    const auto announced = load<std::uint32_t>(body, head.header_size + 8);
    begin_content();
    place_ = begin;
    if (head.size < front || (method != stored && method != deflated)) {
        input_.skip(signature_size);
        is_file_lost_ = true;
        return lose_content(head.size < front ? "the size of the container is damaged"
                                              : "the container is compressed by an unknown method",
                            batch);
    }
    input_.skip(front);
    return method == stored ? take_stored(head.size - front, announced, batch)
                            : take_deflated(head.size - front, announced, batch);
}

void object_stream::begin_content() {
    if (is_carry_lost_) {
        drop_held();
        is_content_lost_ = true;
        is_carry_lost_ = false;
    }
    carried_place_ = held_place();
    content_.erase(content_.begin(), content_.begin() + static_cast<std::ptrdiff_t>(begin_));
    begin_ = 0;
    carried_ = content_.size();
}

object_stream::step object_stream::take_stored(std::uint64_t size, std::uint64_t announced,
                                               qor::sdk::batch_builder& batch) {
    const bool agrees = announced == size || announced == 0;
    std::uint64_t remaining = agrees ? size : std::min(size, announced);
    while (remaining != 0) {
        const auto bytes = input_.peek(static_cast<std::size_t>(std::min<std::uint64_t>(remaining, chunk)));
        if (bytes.empty()) {
            is_cut_ = true;
            return std::nullopt; // what is there is given out before that is reported
        }
        content_.insert(content_.end(), bytes.begin(), bytes.end());
        input_.skip(bytes.size());
        remaining -= bytes.size();
    }
    if (agrees) {
        return std::nullopt;
    }
    is_carry_lost_ = true;
    is_file_lost_ = announced < size;
    batch.add_fault(place_, 0,
                    "the container holds " + std::to_string(size) + " bytes instead of " + std::to_string(announced),
                    "one of its sizes is damaged");
    return outcome::fault;
}

object_stream::step object_stream::take_deflated(std::uint64_t size, std::uint64_t announced,
                                                 qor::sdk::batch_builder& batch) {
    std::uint64_t remaining = size;
    qor::sdk::inflater::step step{};
    inflated_.resize(chunk);
    inflater_.restart();
    do {
        const auto bytes = input_.peek(static_cast<std::size_t>(std::min<std::uint64_t>(remaining, chunk)));
        step = inflater_.inflate(bytes, inflated_);
        content_.insert(content_.end(), inflated_.begin(),
                        inflated_.begin() + static_cast<std::ptrdiff_t>(step.produced));
        input_.skip(step.consumed);
        remaining -= step.consumed;
        if (bytes.empty() && remaining != 0 && step.produced == 0) {
            is_cut_ = true;
            return std::nullopt;
        }
    } while (step.state == qor::sdk::inflater::state::unfinished && step.consumed + step.produced != 0 &&
             content_.size() - carried_ <= largest_content);
    const std::size_t produced = content_.size() - carried_;
    if (step.state != qor::sdk::inflater::state::finished) {
        is_file_lost_ = true;
        return lose_content(produced > largest_content ? "the container holds more than 16 MiB"
                            : step.state == qor::sdk::inflater::state::damaged
                                ? "the compressed data of the container are damaged"
                                : "the compressed data of the container are not whole",
                            batch);
    }
    is_file_lost_ = remaining > most_padding;
    if (is_file_lost_ || (announced != 0 && announced != produced)) {
        batch.add_fault(place_, 0,
                        is_file_lost_ ? "the size of the container is damaged"
                                      : "the container holds " + std::to_string(produced) + " bytes instead of " +
                                            std::to_string(announced),
                        "its frames were read");
        return outcome::fault;
    }
    input_.skip(remaining);
    return std::nullopt;
}

object_stream::outcome object_stream::lose_content(std::string_view cause, qor::sdk::batch_builder& batch) {
    drop_held();
    is_content_lost_ = true;
    batch.add_fault(place_, 0, cause, "its frames are left out");
    return outcome::fault;
}

} // namespace tavi::blf

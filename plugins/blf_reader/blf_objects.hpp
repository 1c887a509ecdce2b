// The stream of objects of a BLF recording, in and out of containers.
#ifndef BLF_READER_BLF_OBJECTS_HPP
#define BLF_READER_BLF_OBJECTS_HPP

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "plugins/blf_reader/blf_format.hpp"
#include "qor_plugin_sdk/binary_input.hpp"
#include "qor_plugin_sdk/inflater.hpp"

namespace tavi::blf {

struct object {
    std::uint32_t type = 0;
    std::size_t header_size = 0;
    // The whole object, or only its beginning when `type` is not that of a frame.
    std::span<const std::uint8_t> bytes;
    // Offset of the object, or of the container in which it begins.
    std::uint64_t place = 0;
};

// Whether objects of that type are read whole: frames, and what interfaces report of the bus.
bool is_frame(std::uint32_t type) noexcept;

// Thread: one at a time.
class object_stream {
public:
    enum class outcome {
        object,
        fault, // was added to the batch; reading goes on
        wait,  // the batch has packages, and the stream would have to be read
        end,
    };

    explicit object_stream(qor::sdk::recording_input input) : input_(input) {}

    // The bytes before the first object. Requires: no call of next().
    qor::sdk::binary_input& input() noexcept { return input_; }

    // The next object, valid until the next call.
    outcome next(object& found, qor::sdk::batch_builder& batch);

    // Byte offset in the file.
    std::uint64_t place() const noexcept { return input_.offset(); }
    // Whether the recording ended within an object.
    bool is_cut() const noexcept { return ends_within_; }

private:
    struct header {
        std::size_t header_size;
        std::uint64_t size;
        std::uint32_t type;
    };
    // Nothing means: go on.
    using step = std::optional<outcome>;

    static bool read_header(std::span<const std::uint8_t> bytes, header& found) noexcept;
    static std::size_t find_header(std::span<const std::uint8_t> bytes) noexcept;

    std::span<const std::uint8_t> held() const noexcept { return std::span(content_).subspan(begin_); }
    std::uint64_t held_place() const noexcept { return begin_ < carried_ ? carried_place_ : place_; }
    void drop_held() noexcept;

    step next_held(object& found, qor::sdk::batch_builder& batch);
    step held_object(const header& head, object& found, qor::sdk::batch_builder& batch);
    void search_held();

    bool has_to_read();
    step next_in_file(object& found, qor::sdk::batch_builder& batch);
    step object_in_file(const header& head, object& found, qor::sdk::batch_builder& batch);
    void search_file();
    outcome end(qor::sdk::batch_builder& batch);

    step open_container(const header& head, qor::sdk::batch_builder& batch);
    void begin_content();
    step take_stored(std::uint64_t size, std::uint64_t announced, qor::sdk::batch_builder& batch);
    step take_deflated(std::uint64_t size, std::uint64_t announced, qor::sdk::batch_builder& batch);
    outcome lose_content(std::string_view cause, qor::sdk::batch_builder& batch);
    outcome ends_within(std::string_view what, std::uint64_t place, qor::sdk::batch_builder& batch);

    qor::sdk::binary_input input_;
    qor::sdk::inflater inflater_;
    std::vector<std::uint8_t> inflated_; // one chunk
    // An object that began in the container before, then the content of the container at place_.
    std::vector<std::uint8_t> content_;
    std::size_t begin_ = 0;
    std::size_t carried_ = 0; // bytes at the front of content_ from containers before
    std::uint64_t carried_place_ = 0;
    std::uint64_t place_ = 0;
    std::uint64_t file_skip_ = 0;    // bytes of the file that belong to the object found last
    std::uint64_t content_skip_ = 0; // bytes of the next containers that belong to it
    bool is_file_lost_ = false;      // search the file for an object
    bool is_content_lost_ = false;   // search the containers for an object
    bool is_carry_lost_ = false;     // what the container leaves does not go on in the next one
    bool is_cut_ = false;            // the file ended within a container
    bool ends_within_ = false;
    bool has_ended_ = false;
};

} // namespace tavi::blf

#endif

// An image of a control unit's memory: a file of nothing but its bytes, read as one package of format "memory". It
// cannot be recognised; its options say where and when it was read:
//
//     address=0x20000000,cycle=5,limit=1073741824
//
// `cycle` is 0 unless it is given, `limit` is the most bytes that are read.
#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <new>

#include "qor_plugin_sdk/recording_reader.hpp"

namespace {

constexpr std::size_t header_size = 16; // address, cycle, zero
// Before the payload, for the host's record. The payload is aligned as well.
constexpr std::size_t headroom = 64;
constexpr std::size_t block_size = 65536;
constexpr std::uint64_t default_limit = std::uint64_t{1} << 30;

// Memory that grows without being filled: an image may be large.
class image_buffer {
public:
    std::uint8_t* payload() const noexcept { return memory_.get() + headroom; }
    std::size_t size() const noexcept { return size_; }

    // The first `used` bytes stay.
    void resize(std::size_t size, std::size_t used) {
        std::unique_ptr<std::uint8_t, release> larger(
            static_cast<std::uint8_t*>(::operator new (headroom + size, std::align_val_t{headroom})));
        if (used != 0) {
            std::memcpy(larger.get() + headroom, payload(), used);
        }
        memory_ = std::move(larger);
        size_ = size;
    }

private:
    struct release {
        void operator()(std::uint8_t* memory) const noexcept { ::operator delete (memory, std::align_val_t{headroom}); }
    };

    std::unique_ptr<std::uint8_t, release> memory_;
    std::size_t size_ = 0;
};

class memory_image final : public qor::sdk::recording {
public:
    static constexpr qor_recording_format_t format{"memory", "image of a memory, with its address as an option", "bin"};

    // Any bytes can be one: it has to be chosen.
    static std::int32_t recognise(std::span<const std::uint8_t>, bool) { return QOR_RECORDING_IS_OTHER; }

    memory_image(qor::sdk::recording_input input, std::string_view options) : input_(input) {
        bool has_address = false;
        while (!options.empty()) {
            const std::string_view option = options.substr(0, options.find(','));
            options.remove_prefix(std::min(option.size() + 1, options.size()));
            read_option(option, has_address);
        }
        if (!has_address) {
            throw std::invalid_argument("a memory image needs the option address=0x20000000");
        }
        set_times(QOR_RECORDING_TIMES_NONE);
        add_source("memory", "memory", QOR_RECORDED_MEMORY);
    }

    bool read(qor::sdk::batch_builder& batch) override {
        const std::size_t size = read_image();
        for (unsigned byte = 0; byte < 8; ++byte) {
            image_.payload()[byte] = static_cast<std::uint8_t>(address_ >> 8 * byte);
            image_.payload()[8 + byte] = static_cast<std::uint8_t>(cycle_ >> 8 * byte);
        }
        std::uint8_t* none = nullptr;
        qor_recorded_package_t& package = batch.add(0, 0, 0, none);
        package.address = address_;
        package.payload = image_.payload();
        package.payload_size = header_size + size;
        package.headroom = headroom;
        return false;
    }

private:
    void read_option(std::string_view option, bool& has_address) {
        const std::string_view key = option.substr(0, option.find('='));
        std::string_view value = option.substr(std::min(key.size() + 1, option.size()));
        const bool is_hexadecimal = value.starts_with("0x");
        value.remove_prefix(is_hexadecimal ? 2 : 0);
        std::uint64_t number = 0;
        const char* const end = value.data() + value.size();
        const auto [stop, failure] = std::from_chars(value.data(), end, number, is_hexadecimal ? 16 : 10);
        std::uint64_t* const target = key == "address" ? &address_ : key == "cycle" ? &cycle_ : &limit_;
        const bool is_known = target != &limit_ || key == "limit";
        if (!is_known || failure != std::errc() || stop != end || (target == &cycle_ && number > UINT32_MAX)) {
            throw std::invalid_argument("'" + std::string(option) + "' is not an option of a memory image");
        }
        *target = number;
        has_address = has_address || target == &address_;
    }

    // Nothing is read of a file that is too large, and of a pipe no more than the limit.
    std::size_t read_image() {
        const std::uint64_t expected = input_.size().value_or(0);
        if (expected > limit_) {
            refuse_size();
        }
        const std::size_t most = header_size + static_cast<std::size_t>(limit_) + 1;
        image_.resize(header_size + static_cast<std::size_t>(expected) + 1, 0);
        for (std::size_t used = header_size;;) {
            if (used == image_.size()) {
                image_.resize(std::min(most, std::max(2 * used, used + block_size)), used);
            }
            const std::size_t count = input_.read(image_.payload() + used, image_.size() - used);
            used += count;
            if (used == most) {
                refuse_size();
            }
            if (count == 0) {
                return used - header_size;
            }
        }
    }

    [[noreturn]] void refuse_size() const {
        throw std::runtime_error("the memory image is larger than " +
                                 (limit_ == default_limit ? "1 GiB" : std::to_string(limit_) + " bytes") +
                                 "\ndecode parts of it, each with its own address");
    }

    qor::sdk::recording_input input_;
    std::uint64_t address_ = 0;
    std::uint64_t cycle_ = 0;
    std::uint64_t limit_ = default_limit;
    image_buffer image_;
};

} // namespace

QOR_RECORDING_READER(memory_image)

// A recording reader in a page, for binary records: packages of format "tagged" (examples/tagged_matcher) after a
// signature, all numbers little endian:
//
//     "TAGB"  records  end mark          signature, then:
//     u64 nanoseconds, u32 tag, u32 size, `size` bytes
//     u64 of ones, u32 records, u32 0    the end mark counts the records
#include "qor_plugin_sdk/binary_input.hpp"

namespace {

using qor::sdk::load;

constexpr std::string_view signature = "TAGB";
constexpr std::size_t header_size = 16;
constexpr std::size_t largest_package = std::size_t{1} << 20;

class tagged_blocks : public qor::sdk::recording {
public:
    static constexpr qor_recording_format_t format{"tagged-blocks", "tagged packages, binary", "tagb"};

    static std::int32_t recognise(std::span<const std::uint8_t> beginning, bool) {
        return qor::sdk::recognise_signature(beginning, signature);
    }

    explicit tagged_blocks(qor::sdk::recording_input input) : input_(input) {
        input_.skip(signature.size());
        add_source("box", "tagged", QOR_RECORDED_OTHER);
    }

    bool read(qor::sdk::batch_builder& batch) override {
        while (!batch.is_full()) {
            if (!batch.empty() && input_.has_to_read(header_size)) {
                return true; // deliver before the stream is waited for
            }
            const auto header = input_.peek(header_size);
            if (header.size() < header_size) {
                return end(batch, "the recording ends without an end mark");
            }
            const auto size = load<std::uint32_t>(header, 12);
            if (load<std::uint64_t>(header, 0) == UINT64_MAX) {
                set_announced_packages(load<std::uint32_t>(header, 8));
                return end(batch,
                           load<std::uint32_t>(header, 8) == records_ ? "" : "the end mark counts other records");
            }
            if (size > largest_package) {
                return end(batch, "a package of more than 1 MiB: the size is damaged");
            }
            const auto record = input_.peek(header_size + size);
            if (record.size() < header_size + size) {
                return end(batch, "the recording ends within a package");
            }
            std::uint8_t* payload = nullptr;
            auto& package = batch.add(0, input_.offset(), 4 + size, payload);
            std::copy_n(record.begin() + 8, 4, payload);
            std::copy_n(record.begin() + header_size, size, payload + 4);
            package.address = load<std::uint32_t>(record, 8);
            package.time = load<std::int64_t>(record, 0);
            package.time_decimals = 9;
            input_.skip(header_size + size);
            ++records_;
        }
        return true;
    }

private:
    // Always false: nothing follows. An empty cause is a proven end.
    bool end(qor::sdk::batch_builder& batch, std::string_view cause) {
        set_end(cause.empty() ? QOR_RECORDING_END_PROVEN : QOR_RECORDING_END_CONTRADICTED);
        if (!cause.empty()) {
            batch.add_fault(input_.offset(), 0, cause, "what was read before is whole");
        }
        return false;
    }

    qor::sdk::binary_input input_;
    std::uint64_t records_ = 0;
};

} // namespace

QOR_RECORDING_READER(tagged_blocks)

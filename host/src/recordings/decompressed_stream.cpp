// The content of a compressed stream. Bytes are read into a block and given to the decoder of the form, which fills the
// caller's buffer:
//
//     1F 8B 08 ... | 1F 8B 08 ... | 00 00      two members of gzip and padding: the contents of both, joined
//     28 B5 2F FD ... (end of the file)        the content of whole blocks, then a fault at the file's size
//
// A member of gzip may be followed by zeros, as tapes leave them; anything else that is not a member is a fault.
#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "host/src/recordings/decoder.hpp"
#include "qorcpp/platform/stream.hpp"
#include "tavi/byte_stream.hpp"

namespace tavi::host {

namespace {

constexpr std::size_t block_size = 65536;
constexpr std::size_t magic_size = 4;

// A stream of which the first bytes were read already.
class begun_stream final : public byte_stream {
public:
    begun_stream(std::unique_ptr<byte_stream> stream, std::string beginning)
        : stream_(std::move(stream)), beginning_(std::move(beginning)) {}

    std::size_t read(char* buffer, std::size_t room) override {
        if (used_ < beginning_.size()) {
            const std::size_t count = beginning_.copy(buffer, room, used_);
            used_ += count;
            return count;
        }
        return stream_->read(buffer, room);
    }
    std::optional<std::uint64_t> size() const noexcept override { return stream_->size(); }
    bool can_seek() const noexcept override { return stream_->can_seek(); }
    void seek(std::uint64_t offset) override {
        used_ = beginning_.size();
        stream_->seek(offset);
    }

private:
    std::unique_ptr<byte_stream> stream_;
    std::string beginning_;
    std::size_t used_ = 0;
};

class decompressed_stream final : public byte_stream {
public:
    decompressed_stream(std::unique_ptr<byte_stream> stream, std::string beginning, const compression_form& form)
        : stream_(std::move(stream)), form_(form), decoder_(form.make()), block_(beginning.begin(), beginning.end()),
          left_(block_) {}

    std::size_t read(char* buffer, std::size_t room) override {
        std::span<char> output(buffer, room);
        while (!has_ended_ && output.size() == room) {
            if (left_.empty() && !decoder_->has_output() && !refill()) {
                end();
                break;
            }
            if (!is_inside_ && !begin_member()) {
                continue;
            }
            decode(output);
        }
        return room - output.size();
    }

    const stream_fault* fault() const noexcept override { return fault_ ? &*fault_ : nullptr; }
    std::string compression() const override { return std::string(form_.name); }

private:
    std::uint64_t offset() const noexcept { return taken_ - left_.size(); }

    // Bytes that were not used stay in front.
    bool refill() {
        const std::size_t rest = left_.size();
        std::copy(left_.begin(), left_.end(), block_.begin());
        block_.resize(block_size);
        const std::size_t count = stream_->read(block_.data() + rest, block_size - rest);
        left_ = std::span<const char>(block_).first(rest + count);
        taken_ += count;
        return count != 0;
    }

    // False when what follows is not a member, or is not known yet: then the next turn looks again.
    bool begin_member() {
        const auto skipped = std::find_if(left_.begin(), left_.end(), [](char byte) { return byte != 0; });
        if (skipped != left_.begin()) {
            left_ = left_.subspan(static_cast<std::size_t>(skipped - left_.begin()));
            return false;
        }
        while (left_.size() < magic_size && refill()) {
        }
        if (!form_.begins({left_.data(), left_.size()})) {
            fail("the bytes after the compressed data are not compressed", "what comes before is whole");
            return false;
        }
        is_inside_ = true;
        member_ = offset();
        return true;
    }

    void decode(std::span<char>& output) {
        switch (decoder_->decode(left_, output)) {
        case decoder::state::inside:
            return;
        case decoder::state::between:
            is_inside_ = false;
            return;
        case decoder::state::failed:
            fail("the compressed data are damaged (" + decoder_->cause() + ")",
                 "what follows is lost; the data from byte " + std::to_string(member_) + " on may be wrong");
            return;
        }
    }

    // An interrupt ends the reading, not the data.
    void end() {
        has_ended_ = true;
        if (is_inside_ && !qor::platform::interrupted()) {
            fail("the compressed data end too early", "the file was cut, or its writer has not finished");
        }
    }

    void fail(std::string cause, std::string hint) {
        has_ended_ = true;
        fault_ = stream_fault{offset(), std::move(cause), std::move(hint)};
    }

    std::unique_ptr<byte_stream> stream_;
    const compression_form& form_;
    std::unique_ptr<decoder> decoder_;
    std::vector<char> block_;
    std::span<const char> left_;
    std::uint64_t taken_ = left_.size();
    // Where the member begins that is read.
    std::uint64_t member_ = 0;
    bool is_inside_ = false;
    bool has_ended_ = false;
    std::optional<stream_fault> fault_;
};

} // namespace

std::unique_ptr<byte_stream> decompressed(std::unique_ptr<byte_stream> stream) {
    constexpr std::array forms{&gzip_form, &zstd_form, &lz4_form};
    std::string beginning;
    while (beginning.size() < magic_size) {
        std::array<char, magic_size> bytes{};
        const std::size_t count = stream->read(bytes.data(), magic_size - beginning.size());
        beginning.append(bytes.data(), count);
        // Most streams are known by their first byte, and a live text is not waited for.
        const auto first = static_cast<unsigned char>(beginning.empty() ? 0 : beginning[0]);
        if (count == 0 || (first != 0x1F && first != 0x28 && first != 0x04 && (first & 0xF0) != 0x50)) {
            break;
        }
    }
    for (const compression_form* const form : forms) {
        if (form->begins(beginning)) {
            return std::make_unique<decompressed_stream>(std::move(stream), std::move(beginning), *form);
        }
    }
    return std::make_unique<begun_stream>(std::move(stream), std::move(beginning));
}

} // namespace tavi::host

#include <new>

#include <zstd.h>

#include "host/src/recordings/decoder.hpp"

namespace tavi::host {

namespace {

class zstd_decoder final : public decoder {
public:
    zstd_decoder() : stream_(ZSTD_createDStream()) {
        if (stream_ == nullptr) {
            throw std::bad_alloc();
        }
    }
    ~zstd_decoder() override { ZSTD_freeDStream(stream_); }
    zstd_decoder(const zstd_decoder&) = delete;
    zstd_decoder& operator=(const zstd_decoder&) = delete;

    state decode(std::span<const char>& input, std::span<char>& output) override {
        ZSTD_inBuffer from{input.data(), input.size(), 0};
        ZSTD_outBuffer to{output.data(), output.size(), 0};
        const std::size_t left = ZSTD_decompressStream(stream_, &to, &from);
        input = input.subspan(from.pos);
        output = output.subspan(to.pos);
        is_full_ = output.empty() && left != 0;
        if (ZSTD_isError(left) != 0) {
            cause_ = ZSTD_getErrorName(left);
            return state::failed;
        }
        return left == 0 ? state::between : state::inside;
    }

    bool has_output() const noexcept override { return is_full_; }

private:
    ZSTD_DStream* stream_;
    bool is_full_ = false;
};

// A frame, or one that is skipped.
bool begins_zstd(std::string_view bytes) noexcept {
    return bytes.starts_with("\x28\xB5\x2F\xFD") ||
           (bytes.size() >= 4 && (bytes[0] & 0xF0) == 0x50 && bytes.substr(1, 3) == "\x2A\x4D\x18");
}

} // namespace

const compression_form zstd_form{"zstd", begins_zstd,
                                 []() -> std::unique_ptr<decoder> { return std::make_unique<zstd_decoder>(); }};

} // namespace tavi::host

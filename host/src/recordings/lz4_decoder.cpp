#include <new>

#include <lz4frame.h>

#include "host/src/recordings/decoder.hpp"

namespace tavi::host {

namespace {

class lz4_decoder final : public decoder {
public:
    lz4_decoder() {
        if (LZ4F_isError(LZ4F_createDecompressionContext(&context_, LZ4F_VERSION)) != 0) {
            throw std::bad_alloc();
        }
    }
    ~lz4_decoder() override { LZ4F_freeDecompressionContext(context_); }
    lz4_decoder(const lz4_decoder&) = delete;
    lz4_decoder& operator=(const lz4_decoder&) = delete;

    state decode(std::span<const char>& input, std::span<char>& output) override {
        std::size_t filled = output.size();
        std::size_t taken = input.size();
        const std::size_t hint = LZ4F_decompress(context_, output.data(), &filled, input.data(), &taken, nullptr);
        if (LZ4F_isError(hint) != 0) {
            cause_ = LZ4F_getErrorName(hint);
            return state::failed;
        }
        input = input.subspan(taken);
        output = output.subspan(filled);
        is_full_ = output.empty() && hint != 0;
        return hint == 0 ? state::between : state::inside;
    }

    bool has_output() const noexcept override { return is_full_; }

private:
    LZ4F_dctx* context_ = nullptr;
    bool is_full_ = false;
};

} // namespace

// Frames that are skipped are those of zstd too, so no file is taken for lz4 that begins with one.
const compression_form lz4_form{"lz4",
                                [](std::string_view bytes) noexcept { return bytes.starts_with("\x04\x22\x4D\x18"); },
                                []() -> std::unique_ptr<decoder> { return std::make_unique<lz4_decoder>(); }};

} // namespace tavi::host

#include <algorithm>
#include <climits>
#include <new>

#include <zlib.h>

#include "host/src/recordings/decoder.hpp"

namespace tavi::host {

namespace {

constexpr int gzip_window = 15 + 16; // the largest window, with the header and trailer of gzip

class gzip_decoder final : public decoder {
public:
    gzip_decoder() {
        if (inflateInit2(&stream_, gzip_window) != Z_OK) {
            throw std::bad_alloc();
        }
    }
    ~gzip_decoder() override { inflateEnd(&stream_); }
    gzip_decoder(const gzip_decoder&) = delete;
    gzip_decoder& operator=(const gzip_decoder&) = delete;

    state decode(std::span<const char>& input, std::span<char>& output) override {
        const auto taken = static_cast<uInt>(std::min<std::size_t>(input.size(), UINT_MAX));
        const auto room = static_cast<uInt>(std::min<std::size_t>(output.size(), UINT_MAX));
        // zlib does not write to its input.
        stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(input.data()));
        stream_.avail_in = taken;
        stream_.next_out = reinterpret_cast<Bytef*>(output.data());
        stream_.avail_out = room;
        const int status = inflate(&stream_, Z_NO_FLUSH);
        input = input.subspan(taken - stream_.avail_in);
        output = output.subspan(room - stream_.avail_out);
        is_full_ = stream_.avail_out == 0;
        switch (status) {
        case Z_OK:
        case Z_BUF_ERROR: // nothing could be done with what there is
            return state::inside;
        case Z_STREAM_END:
            inflateReset(&stream_);
            is_full_ = false;
            return state::between;
        case Z_MEM_ERROR:
            throw std::bad_alloc();
        default:
            cause_ = stream_.msg != nullptr ? stream_.msg : "damaged";
            return state::failed;
        }
    }

    bool has_output() const noexcept override { return is_full_; }

private:
    z_stream stream_{};
    bool is_full_ = false;
};

} // namespace

const compression_form gzip_form{"gzip",
                                 [](std::string_view bytes) noexcept { return bytes.starts_with("\x1F\x8B\x08"); },
                                 []() -> std::unique_ptr<decoder> { return std::make_unique<gzip_decoder>(); }};

} // namespace tavi::host

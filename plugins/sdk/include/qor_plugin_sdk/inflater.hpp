// Inflates data in the zlib format, block by block. A plug-in that includes this links zlib.
#ifndef QOR_PLUGIN_SDK_INFLATER_HPP
#define QOR_PLUGIN_SDK_INFLATER_HPP

#include <algorithm>
#include <climits>
#include <cstdint>
#include <new>
#include <span>
#include <stdexcept>

#include <zlib.h>

namespace qor::sdk {

// Thread: one at a time.
class inflater {
public:
    enum class state { unfinished, finished, damaged };

    struct step {
        std::size_t consumed;
        std::size_t produced;
        // `finished`: the end was reached and the checksum agrees.
        inflater::state state;
    };

    // Throws: std::bad_alloc.
    inflater() {
        if (inflateInit(&stream_) != Z_OK) {
            throw std::bad_alloc();
        }
    }
    inflater(const inflater&) = delete;
    inflater& operator=(const inflater&) = delete;
    ~inflater() { inflateEnd(&stream_); }

    // The next bytes are the beginning of other data.
    void restart() noexcept { inflateReset(&stream_); }

    // Throws: std::bad_alloc.
    step inflate(std::span<const std::uint8_t> input, std::span<std::uint8_t> output) {
        const auto room = static_cast<uInt>(std::min<std::size_t>(output.size(), UINT_MAX));
        const auto given = static_cast<uInt>(std::min<std::size_t>(input.size(), UINT_MAX));
        stream_.next_in = const_cast<Bytef*>(input.data());
        stream_.avail_in = given;
        stream_.next_out = output.data();
        stream_.avail_out = room;
        const int result = ::inflate(&stream_, Z_NO_FLUSH);
        if (result == Z_MEM_ERROR) {
            throw std::bad_alloc();
        }
        return {given - stream_.avail_in, room - stream_.avail_out,
                result == Z_STREAM_END                    ? state::finished
                : result == Z_OK || result == Z_BUF_ERROR ? state::unfinished
                                                          : state::damaged};
    }

private:
    z_stream stream_{};
};

} // namespace qor::sdk

#endif

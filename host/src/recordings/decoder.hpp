// One compressed form as a state machine over buffers: for decompressed_stream.
#ifndef HOST_SRC_RECORDINGS_DECODER_HPP
#define HOST_SRC_RECORDINGS_DECODER_HPP

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace tavi::host {

// Thread: one at a time.
class decoder {
public:
    enum class state {
        inside,  // a member or frame goes on
        between, // one has ended, another may follow
        failed   // see cause
    };

    virtual ~decoder() = default;

    // Takes bytes off the front of `input` and fills `output` from its front, until one of them is empty, a member has
    // ended or the data are damaged. What was filled before damage counts.
    virtual state decode(std::span<const char>& input, std::span<char>& output) = 0;

    // Whether decode may fill more without more input.
    virtual bool has_output() const noexcept { return false; }

    // Why the data are damaged.
    const std::string& cause() const noexcept { return cause_; }

protected:
    std::string cause_;
};

// A compressed form: its name, its first bytes, its decoder.
struct compression_form {
    std::string_view name;
    // Whether a member or frame begins so. Requires: four bytes, or all there are.
    bool (*begins)(std::string_view bytes) noexcept;
    std::unique_ptr<decoder> (*make)();
};

extern const compression_form gzip_form;
extern const compression_form zstd_form;
extern const compression_form lz4_form;

} // namespace tavi::host

#endif

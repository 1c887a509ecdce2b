// A BLF recording.
#ifndef BLF_READER_BLF_RECORDING_HPP
#define BLF_READER_BLF_RECORDING_HPP

#include "plugins/blf_reader/blf_frames.hpp"
#include "plugins/blf_reader/blf_objects.hpp"
#include "qor_plugin_sdk/can_recording.hpp"

namespace tavi::blf {

class blf_recording : public qor::sdk::can_recording {
public:
    static constexpr qor_recording_format_t format{"blf", "BLF binary log", "blf"};
    static std::int32_t recognise(std::span<const std::uint8_t> beginning, bool is_whole);

    // Throws: std::runtime_error for what is not a BLF recording.
    explicit blf_recording(qor::sdk::recording_input input);

    bool read(qor::sdk::batch_builder& batch) override;
    std::uint64_t place() const noexcept override { return objects_.place(); }

private:
    void read_start(std::span<const std::uint8_t> header);
    void add(qor::sdk::batch_builder& batch);
    void add_object_of_frame(qor::sdk::batch_builder& batch);
    void end(qor::sdk::batch_builder& batch);

    object_stream objects_;
    object object_;
    frame_record record_;
    std::int64_t start_ = 0;
    std::uint64_t announced_ = 0; // objects; 0 when the recording was not closed
    std::uint64_t count_ = 0;     // of objects
    std::uint64_t restore_points_ = 0;
    std::uint64_t packages_ = 0;
    bool has_bad_start_ = false;
};

} // namespace tavi::blf

#endif

// A recording of CAN frames in MDF 4.
#ifndef MF4_READER_MF4_RECORDING_HPP
#define MF4_READER_MF4_RECORDING_HPP

#include <memory>
#include <vector>

#include "plugins/mf4_reader/mf4_records.hpp"

namespace tavi::mf4 {

class mf4_recording : public qor::sdk::can_recording {
public:
    static constexpr qor_recording_format_t format{"mf4", "MDF 4 bus recording", "mf4 mdf"};
    static std::int32_t recognise(std::span<const std::uint8_t> beginning, bool is_whole);

    // Throws: std::runtime_error for another format or version, and for a recording without CAN frames.
    explicit mf4_recording(qor::sdk::recording_input input);

    bool read(qor::sdk::batch_builder& batch) override;
    std::uint64_t place() const noexcept override { return file_.place(); }

private:
    // The frames of a data group, of which the next one is known.
    struct part {
        std::unique_ptr<record_reader> reader;
        bool has_frame = false;
        bool has_ended = false;
    };

    void add(part& from, qor::sdk::batch_builder& batch);
    void end();

    file file_;
    file_state state_;
    std::uint64_t signal_records_ = 0;
    std::vector<part> parts_;
};

} // namespace tavi::mf4

#endif

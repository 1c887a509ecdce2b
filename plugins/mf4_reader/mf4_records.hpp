// The frames of one data group, in the order of its records.
#ifndef MF4_READER_MF4_RECORDS_HPP
#define MF4_READER_MF4_RECORDS_HPP

#include <array>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "plugins/mf4_reader/mf4_data.hpp"
#include "plugins/mf4_reader/mf4_groups.hpp"
#include "qor_plugin_sdk/can_recording.hpp"

namespace tavi::mf4 {

struct recorded_event {
    std::uint64_t place = 0;
    qor::sdk::recorded_time time; // since the beginning of the recording
    std::uint32_t channel = 0;
    qor::sdk::recorded_frame frame; // without data
    bool has_length = true;         // else that of the payload counts
    std::array<std::uint8_t, qor::can_max_data_size> data{};
};

// Thread: one at a time.
class record_reader {
public:
    enum class outcome { frame, fault, end };

    record_reader(file& source, data_group groups, const file_state& state);

    // Reads up to the next frame, which front() then is; or adds a fault to the batch, after which reading goes on.
    outcome advance(qor::sdk::batch_builder& batch);
    const recorded_event& front() const noexcept { return waiting_[first_].event; }
    void pop() noexcept;

    // Records that are not frames, by what they are. Valid at the end.
    const std::map<std::string, std::uint64_t>& others() const noexcept { return others_; }
    // Whether all groups have as many records as they announce. Valid at the end.
    bool is_proven() const noexcept { return is_proven_; }
    bool is_contradicted() const noexcept { return is_contradicted_; }

private:
    // A frame whose payload is another record.
    struct waiting_frame {
        recorded_event event;
        bool is_whole = false;
        std::size_t payload_group = 0;
        std::uint64_t offset = 0; // of the payload
    };
    struct early_payload {
        std::size_t group;
        std::uint64_t offset;
        std::uint8_t size;
        std::array<std::uint8_t, qor::can_max_data_size> data;
    };
    struct group_state {
        std::uint64_t records = 0;
        std::uint64_t next_offset = 0; // of a payload
        bool is_offset_known = true;
        std::unique_ptr<data_stream> payloads;
    };

    bool read_record();
    bool read_main(std::size_t index, std::span<const std::uint8_t> record, std::uint64_t place);
    bool read_frame(const group& from, std::span<const std::uint8_t> record, recorded_event& event);
    bool add_payload(const group& from, std::span<const std::uint8_t> record, waiting_frame& frame);
    bool find_payload(group_state& state, std::uint64_t offset, recorded_event& event);
    bool find_early(waiting_frame& frame);
    bool read_payload(std::size_t index, std::span<const std::uint8_t> bytes, std::uint64_t place);
    bool set_payload(std::span<const std::uint8_t> bytes, recorded_event& event);
    bool miss();
    bool lose(std::string cause);
    void search();
    bool is_record_chain(std::span<const std::uint8_t> bytes) const noexcept;
    std::size_t group_of(std::uint64_t record_id) const noexcept;
    void finish();
    bool fail(std::uint64_t place, std::string cause);

    static constexpr std::size_t none = SIZE_MAX;

    data_group groups_;
    data_stream data_;
    std::vector<group_state> states_;
    std::array<std::uint16_t, 256> by_id_{}; // index + 1 of groups with small record ids
    std::vector<waiting_frame> waiting_;     // from first_ on
    std::size_t first_ = 0;
    std::deque<early_payload> early_;
    std::map<std::string, std::uint64_t> others_;
    std::int64_t last_time_ = 0;
    bool has_time_ = false;
    bool has_counts_;
    bool is_lost_ = false; // search for a record
    bool has_ended_ = false;
    bool is_proven_ = false;
    bool is_contradicted_ = false;
    std::uint64_t fault_place_ = 0;
    std::string fault_; // of the record at hand
};

} // namespace tavi::mf4

#endif

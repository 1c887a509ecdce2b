// ASC recordings: a header with date, base of numbers and kind of times, then one line a frame or event.
#ifndef PLUGINS_ASC_READER_ASC_RECORDING_HPP
#define PLUGINS_ASC_READER_ASC_RECORDING_HPP

#include "plugins/asc_reader/asc_line.hpp"
#include "qor_plugin_sdk/text_recording.hpp"

namespace qor::asc {

class asc_recording : public sdk::text_recording {
public:
    static constexpr qor_recording_format_t format{"asc", "ASC text log", "asc"};

    static std::int32_t recognise(std::span<const std::uint8_t> beginning, bool is_whole);

    explicit asc_recording(sdk::recording_input input) : text_recording(input) {}

    void set_filter(std::size_t source, std::optional<std::string_view> expression) override {
        filter_.set(source, expression);
    }
    std::span<const qor_excluded_packages_t> excluded() const override { return filter_.excluded(); }

private:
    void read_line(const sdk::text_line& line, sdk::batch_builder& batch) override;
    void finish(sdk::batch_builder& batch) override;

    void read_header(const sdk::text_line& line, std::string_view text, sdk::batch_builder& batch);
    void read_base(const sdk::text_line& line, std::string_view text, sdk::batch_builder& batch);
    void read_comment(std::string_view text);
    void begin_block(const sdk::text_line& line, std::string_view date, sdk::batch_builder& batch);
    std::optional<std::int64_t> date_of(const sdk::text_line& line, std::string_view text, sdk::batch_builder& batch);
    // Nanoseconds from the beginning of the recording.
    std::int64_t elapsed(std::int64_t time) noexcept;
    void set_beginning(std::int64_t nanoseconds);

    sdk::package_filter filter_;
    asc_line record_;
    unsigned base_ = 16;
    bool is_relative_ = false;
    std::int64_t elapsed_ = 0;
    // 0 without a date.
    std::int64_t start_ = 0;
    std::optional<std::int64_t> block_date_;
    bool has_records_ = false;
    bool has_frames_ = false;
    bool is_in_block_ = false;
    std::uint64_t block_line_ = 0;
};

} // namespace qor::asc

#endif

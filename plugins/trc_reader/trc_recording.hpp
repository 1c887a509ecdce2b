// TRC recordings: a header of lines that begin with ";", then one numbered line a record.
#ifndef PLUGINS_TRC_READER_TRC_RECORDING_HPP
#define PLUGINS_TRC_READER_TRC_RECORDING_HPP

#include "plugins/trc_reader/trc_line.hpp"
#include "qor_plugin_sdk/text_recording.hpp"

namespace qor::trc {

class trc_recording : public sdk::text_recording {
public:
    static constexpr qor_recording_format_t format{"trc", "PCAN trace", "trc"};

    static std::int32_t recognise(std::span<const std::uint8_t> beginning, bool is_whole);

    explicit trc_recording(sdk::recording_input input) : text_recording(input) {}

    void set_filter(std::size_t source, std::optional<std::string_view> expression) override {
        filter_.set(source, expression);
    }
    std::span<const qor_excluded_packages_t> excluded() const override { return filter_.excluded(); }

private:
    void read_line(const sdk::text_line& line, sdk::batch_builder& batch) override;

    void read_header(const sdk::text_line& line, std::string_view text, sdk::batch_builder& batch);
    void read_version(const sdk::text_line& line, std::string_view version, sdk::batch_builder& batch);
    void read_columns(const sdk::text_line& line, std::string_view list, sdk::batch_builder& batch);
    void check_number(const sdk::text_line& line, sdk::batch_builder& batch);
    void set_beginning(const sdk::text_line& line, std::string_view text, std::optional<std::int64_t> nanoseconds,
                       sdk::batch_builder& batch);

    sdk::package_filter filter_;
    trc_line record_;
    trc_columns columns_ = default_columns("1.0");
    std::int64_t start_ = 0; // 0 without a date
    bool has_records_ = false;
    // Of the record before; 0 for none.
    std::uint64_t last_number_ = 0;
    // A number has followed the one before it.
    bool has_followed_ = false;
    bool are_numbers_ascending_ = true;
};

} // namespace qor::trc

#endif

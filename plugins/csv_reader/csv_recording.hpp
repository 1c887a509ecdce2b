// CSV recordings: a line that names the columns, then one line a frame.
#ifndef PLUGINS_CSV_READER_CSV_RECORDING_HPP
#define PLUGINS_CSV_READER_CSV_RECORDING_HPP

#include <array>
#include <string>

#include "plugins/csv_reader/csv_columns.hpp"
#include "qor_plugin_sdk/can_recording.hpp"
#include "qor_plugin_sdk/text_fields.hpp"
#include "qor_plugin_sdk/text_recording.hpp"

namespace qor::csv {

class csv_recording : public sdk::text_recording {
public:
    void set_filter(std::size_t source, std::optional<std::string_view> expression) override {
        filter_.set(source, expression);
    }
    std::span<const qor_excluded_packages_t> excluded() const override { return filter_.excluded(); }

protected:
    csv_recording(sdk::recording_input input, dialect dialect)
        : text_recording(input), dialect_(dialect), columns_(default_columns(dialect)) {}

    static std::int32_t recognise(std::span<const std::uint8_t> beginning, bool is_whole, dialect dialect);

private:
    // A frame that is being read from its fields.
    struct record {
        sdk::recorded_time time;
        std::uint32_t id = 0;
        std::uint32_t bus = 0;
        std::optional<bool> is_extended;
        bool is_remote = false;
        bool is_error = false;
        bool is_sent = false;
        std::optional<std::uint32_t> length;
        std::size_t bytes = 0;
        const char* id_place = nullptr;
        const char* data_place = nullptr;
    };

    // What is wrong with a field; null for nothing.
    struct fault {
        const char* cause = nullptr;
        const char* hint = "";
    };

    void read_line(const sdk::text_line& line, sdk::batch_builder& batch) override;
    void read_record(const sdk::text_line& line, sdk::batch_builder& batch);
    fault read_field(column column, std::string_view field, record& record);
    fault read_byte(std::string_view field, record& record);
    fault read_base64(std::string_view field, record& record);
    bool check(const sdk::text_line& line, record& record, sdk::batch_builder& batch) const;
    void add(const sdk::text_line& line, const record& record, sdk::batch_builder& batch);

    sdk::package_filter filter_;
    dialect dialect_;
    std::vector<column> columns_;
    std::array<std::uint8_t, can_max_data_size> data_{};
    bool has_lines_ = false;
    bool has_frames_ = false;
    std::string header_;
};

class python_can_recording : public csv_recording {
public:
    static constexpr qor_recording_format_t format{"python-can-csv", "CSV log of python-can", "csv"};
    static std::int32_t recognise(std::span<const std::uint8_t> beginning, bool is_whole) {
        return csv_recording::recognise(beginning, is_whole, dialect::python_can);
    }
    explicit python_can_recording(sdk::recording_input input) : csv_recording(input, dialect::python_can) {}
};

class gvret_recording : public csv_recording {
public:
    static constexpr qor_recording_format_t format{"gvret-csv", "GVRET CSV log of SavvyCAN", "csv"};
    static std::int32_t recognise(std::span<const std::uint8_t> beginning, bool is_whole) {
        return csv_recording::recognise(beginning, is_whole, dialect::gvret);
    }
    explicit gvret_recording(sdk::recording_input input) : csv_recording(input, dialect::gvret) {}
};

} // namespace qor::csv

#endif

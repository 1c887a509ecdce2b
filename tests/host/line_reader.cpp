// A recording reader for tests: after a first line "LINES" each line "SOURCE ID" is a frame without data. Further
// formats of it are recognised by other first lines, and read nothing.
#include "qor_plugin_sdk/package_filter.hpp"
#include "qor_plugin_sdk/text_recording.hpp"

namespace {

std::string_view text_of(std::span<const std::uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

class lines : public qor::sdk::text_recording {
public:
    static constexpr qor_recording_format_t format{"lines", "frames in lines", "lines txt"};

    static std::int32_t recognise(std::span<const std::uint8_t> beginning, bool is_whole) {
        const std::string_view text = text_of(beginning);
        if (text.starts_with("LINES\n")) {
            return QOR_RECORDING_IS_CERTAIN;
        }
        if (text.find("\nLINES\n") != text.npos) {
            return 40;
        }
        return text.size() < 6 && !is_whole ? QOR_RECORDING_NEEDS_MORE : QOR_RECORDING_IS_OTHER;
    }

    lines(qor::sdk::recording_input input, std::string_view options) : text_recording(input) {
        if (!options.empty()) {
            throw std::invalid_argument("there is no option '" + std::string(options) + "'");
        }
    }
    lines() = default;

    std::unique_ptr<recording> make_part() const override { return std::make_unique<lines>(); }
    bool can_split() const override { return true; }
    void set_filter(std::size_t source, std::optional<std::string_view> expression) override {
        filter_.set(source, expression);
    }
    std::span<const qor_excluded_packages_t> excluded() const override { return filter_.excluded(); }

private:
    void read_line(const qor::sdk::text_line& line, qor::sdk::batch_builder& batch) override {
        if (line.text == "LINES") {
            return;
        }
        const char* at = line.text.data();
        const char* const end = at + line.text.size();
        const std::string_view name = qor::sdk::read_word(at, end);
        std::uint32_t id = 0;
        if (!qor::sdk::read_number(at, end, id, 16)) {
            return add_fault(batch, line, at, "the id is not a number", "write SOURCE ID");
        }
        const std::size_t source = source_of(name);
        if (!filter_.excludes(source, id)) {
            set_line(batch.add_frame(source, line.number, {}, {id, 0, 0, {}, 0}), line);
        }
    }

    std::size_t source_of(std::string_view name) {
        for (std::size_t index = 0; index < sources().size(); ++index) {
            if (sources()[index].name == name) {
                return index;
            }
        }
        return add_source(name, qor::can_format, QOR_RECORDED_CAN_CHANNEL);
    }

    qor::sdk::package_filter filter_;
};

// Two that are equally sure.
template<int Number>
class twin : public qor::sdk::recording {
public:
    static constexpr qor_recording_format_t format{Number == 1 ? "twin1" : "twin2", "", ""};
    static std::int32_t recognise(std::span<const std::uint8_t> beginning, bool) {
        return text_of(beginning).starts_with("TWIN") ? 60 : QOR_RECORDING_IS_OTHER;
    }
    twin(qor::sdk::recording_input, std::string_view) {}
    bool read(qor::sdk::batch_builder&) override { return false; }
};

} // namespace

QOR_RECORDING_READER(twin<2>, lines, twin<1>)

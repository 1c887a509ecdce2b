#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>

#include "tools/tavi/check/kind_checks.hpp"
#include "tools/tavi/check/plugin_formats.hpp"
#include "tools/tavi/check/read_through.hpp"

namespace tavi::tool {

namespace {

constexpr std::size_t random_size = 20000;

std::string random_bytes() {
    std::mt19937 random(1); // the same ones at each check
    std::string bytes(random_size, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random() & 0xFF);
    }
    return bytes;
}

// Words of letters, digits and marks, in lines.
std::string random_lines() {
    constexpr std::string_view characters = "0123456789ABCDEFabcdefxyz  ..,;:#()/[]-+\t\n";
    std::mt19937 random(2);
    std::string text(random_size, '\0');
    for (char& character : text) {
        character = characters[random() % characters.size()];
    }
    return text;
}

struct sample {
    std::string name;
    std::string bytes;
};

class recording_check {
public:
    recording_check(const qor::plugin_handle& plugin, checker& check, const qor_recording_format_support_t& formats,
                    const qor_recording_reader_support_t& reader)
        : plugin_(plugin), check_(check), formats_(formats),
          reader_(reader), samples_{{"an empty stream", ""},
                                    {"random bytes", random_bytes()},
                                    {"random lines", random_lines()}} {}

    void run(const std::string& recording) {
        check_.attempt("names its formats", [&] { names_ = formats_of(plugin_, "recording-reader"); });
        for (std::size_t format = 0; format < names_.size(); ++format) {
            check_recognition(format);
            for (const sample& sample : samples_) {
                check_reading(format, sample);
            }
            check_refusals(format);
        }
        if (!recording.empty() && !names_.empty()) {
            check_recording(recording);
        }
    }

private:
    std::int32_t certainty(std::size_t format, std::string_view beginning, bool is_whole) const {
        std::int32_t certainty = 0;
        qor_error_details_t* details = nullptr;
        formats_.recognise(plugin_.instance(), format, reinterpret_cast<const std::uint8_t*>(beginning.data()),
                           beginning.size(), is_whole, &certainty, &details);
        qor::rethrow_details(details);
        if (certainty < QOR_RECORDING_NEEDS_MORE || certainty > QOR_RECORDING_IS_CERTAIN) {
            throw std::runtime_error("the answer is " + std::to_string(certainty));
        }
        return certainty;
    }

    void check_recognition(std::size_t format) {
        check_.attempt(names_[format] + ": is not certain about nothing and random beginnings", [&] {
            for (const sample& sample : samples_) {
                for (std::size_t size = 0; size <= sample.bytes.size(); size = size * 3 + 1) {
                    for (const bool is_whole : {false, true}) {
                        const std::string_view beginning = std::string_view(sample.bytes).substr(0, size);
                        if (certainty(format, beginning, is_whole) == QOR_RECORDING_IS_CERTAIN) {
                            throw std::runtime_error("it is, by " + std::to_string(size) + " of " + sample.name);
                        }
                    }
                }
            }
        });
    }

    std::optional<recording_content> read(std::size_t format, std::string_view bytes, const reading_manner& manner,
                                          std::string& refusal, const char* options = nullptr) const {
        return read_through(reader_, plugin_.instance(), format, bytes, manner, refusal, options);
    }

    // Reads in several manners; all have to give the same. Nothing when all of them are refused.
    std::optional<recording_content> read_alike(std::size_t format, std::string_view bytes,
                                                std::string& refusal) const {
        struct named_manner {
            const char* name;
            reading_manner manner;
        };
        const named_manner manners[] = {
            {"by batches of one package", {.most = 1}},
            {"from blocks of one byte", {.most = 3, .block_size = 1}},
            {"from a pipe", {.block_size = 4093, .can_seek = false}},
        };
        const auto whole = read(format, bytes, {}, refusal);
        for (const auto& [name, manner] : manners) {
            std::string other_refusal;
            const auto other = read(format, bytes, manner, other_refusal);
            if (whole.has_value() != other.has_value()) {
                throw std::runtime_error(std::string("read ") + name + " it is " + (other ? "not refused" : "refused") +
                                         ", read at once " + (whole ? "not" : "it is"));
            }
            if (whole != other) {
                throw std::runtime_error(std::string("read ") + name + " it gives " + counts(*other) +
                                         ", read at once " + counts(*whole) +
                                         (same_counts(*whole, *other) ? ", of other content" : ""));
            }
        }
        return whole;
    }

    static std::string counts(const recording_content& content) {
        return std::to_string(content.packages) + " packages and " + std::to_string(content.faults) + " faults";
    }
    static bool same_counts(const recording_content& left, const recording_content& right) {
        return left.packages == right.packages && left.faults == right.faults;
    }

    void check_reading(std::size_t format, const sample& sample) {
        check_.attempt(names_[format] + ": reads " + sample.name + " alike in all manners, or refuses them", [&] {
            std::string refusal;
            const auto content = read_alike(format, sample.bytes, refusal);
            if (!content && refusal.empty()) {
                throw std::runtime_error("it refuses them without a text");
            }
        });
    }

    void check_refusals(std::size_t format) {
        check_.attempt(names_[format] + ": refuses options that it does not have", [&] {
            std::string refusal;
            if (read(format, samples_[2].bytes, {}, refusal, "no-such-option=1")) {
                throw std::runtime_error("it takes no-such-option=1");
            }
        });
        check_.attempt(names_[format] + ": passes on that the stream cannot be read", [&] {
            std::string refusal;
            if (read(format, samples_[2].bytes, {.fails = true}, refusal)) {
                throw std::runtime_error("it comes to an end without a failure");
            }
        });
    }

    void check_recording(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        check_.require(file.good() || file.eof(), path + " can be read", "it cannot");
        std::optional<std::size_t> format;
        check_.attempt("recognises " + path, [&] { format = recognised(bytes); });
        if (!format) {
            return;
        }
        check_.attempt(names_[*format] + ": does not give up on a short beginning of it", [&] {
            for (std::size_t size = 0; size < bytes.size() && size < QOR_RECORDING_BEGINNING; size = size * 2 + 1) {
                if (certainty(*format, std::string_view(bytes).substr(0, size), false) == QOR_RECORDING_IS_OTHER) {
                    throw std::runtime_error("it does, by its first " + std::to_string(size) + " bytes");
                }
            }
        });
        check_.attempt(names_[*format] + ": reads it alike in all manners, with packages and without faults", [&] {
            std::string refusal;
            const auto content = read_alike(*format, bytes, refusal);
            if (!content) {
                throw std::runtime_error("it refuses it: " + refusal);
            }
            if (content->packages == 0 || content->faults != 0) {
                throw std::runtime_error("it gives " + counts(*content));
            }
        });
    }

    // The surest format.
    std::size_t recognised(std::string_view bytes) const {
        const std::string_view beginning = bytes.substr(0, QOR_RECORDING_BEGINNING);
        std::size_t surest = 0;
        std::int32_t most = QOR_RECORDING_IS_OTHER;
        for (std::size_t format = 0; format < names_.size(); ++format) {
            const std::int32_t sure = certainty(format, beginning, beginning.size() == bytes.size());
            surest = sure > most ? format : surest;
            most = std::max(most, sure);
        }
        if (most == QOR_RECORDING_IS_OTHER) {
            throw std::runtime_error("no format takes it");
        }
        return surest;
    }

    const qor::plugin_handle& plugin_;
    checker& check_;
    const qor_recording_format_support_t& formats_;
    const qor_recording_reader_support_t& reader_;
    std::vector<sample> samples_;
    std::vector<std::string> names_;
};

} // namespace

void check_recording_reader(const qor::plugin_handle& plugin, checker& check, const std::string& recording) {
    const auto* const formats =
        check.find_table<qor_recording_format_support_t>(plugin, true, [](const auto& table) -> slot_list {
            return {{"get_format_count", table.get_format_count != nullptr},
                    {"get_format", table.get_format != nullptr},
                    {"recognise", table.recognise != nullptr}};
        });
    const auto* const reader =
        check.find_table<qor_recording_reader_support_t>(plugin, true, [](const auto& table) -> slot_list {
            return {{"open", table.open != nullptr},
                    {"close", table.close != nullptr},
                    {"next_batch", table.next_batch != nullptr},
                    {"get_sources", table.get_sources != nullptr},
                    {"get_properties", table.get_properties != nullptr},
                    {"get_other_records", table.get_other_records != nullptr}};
        });
    check.find_table<qor_recording_filter_support_t>(plugin, false, [](const auto& table) -> slot_list {
        return {{"set_filter", table.set_filter != nullptr}, {"get_excluded", table.get_excluded != nullptr}};
    });
    check.find_table<qor_recording_split_support_t>(plugin, false, [](const auto& table) -> slot_list {
        return {{"begin_split", table.begin_split != nullptr},
                {"find_end", table.find_end != nullptr},
                {"open_part", table.open_part != nullptr},
                {"set_chunk", table.set_chunk != nullptr},
                {"get_extent", table.get_extent != nullptr}};
    });
    if (formats != nullptr && reader != nullptr) {
        recording_check(plugin, check, *formats, *reader).run(recording);
    }
}

} // namespace tavi::tool

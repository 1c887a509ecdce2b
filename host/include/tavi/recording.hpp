// Recordings of any format, through reader plug-ins (qorc/extensibility/recording_reader.h):
//
//     const host::recording_readers readers;
//     host::recording log(readers, host::open_file("drive.blf"));
//     host::recording_batch batch;
//     while (log.next(batch)) {
//         for (const qor_recorded_package_t& package : batch.packages) {
//             ... log.sources()[package.source].name, package.time, package.payload ...
//         }
//         for (const host::recording_fault& fault : batch.faults) { ... }
//     }
//
// The format is recognised by the first bytes. A recording that is compressed by gzip, zstd or lz4 is read as if it
// were not. Every failure is a host::error, but for reading: std::system_error.
#ifndef TAVI_RECORDING_HPP
#define TAVI_RECORDING_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qorc/extensibility/recording_reader.h"
#include "tavi/byte_stream.hpp"
#include "tavi/error.hpp"
#include "tavi/recording_format.hpp"

namespace tavi::host {

class reader_plugin;

// A format that a reader plug-in reads.
struct readable_format {
    std::string name; // "asc"
    std::string description;
    std::vector<std::string> suffixes; // hints, without point
    std::string library;               // path of the plug-in
};

// A file in a folder of plug-ins that gives no reader, or a folder that cannot be read.
struct unusable_library {
    std::string path;
    std::string reason;
};

// The reader plug-ins of this process. Thread: reading any.
class recording_readers {
public:
    // Loads the readers in `folders`, then those in the folders of the environment variable TAVI_PLUGIN_PATH (separated
    // by colons, on Windows by semicolons), then those beside the library. Of two that read a format of one name the
    // first is used. What is not a reader in the first two is unusable; beside the library other libraries are normal.
    explicit recording_readers(const std::vector<std::string>& folders = {});
    ~recording_readers();
    recording_readers(recording_readers&&) noexcept;
    recording_readers& operator=(recording_readers&&) noexcept;

    // Sorted by name.
    const std::vector<readable_format>& formats() const noexcept { return formats_; }
    const std::vector<unusable_library>& unusable() const noexcept { return unusable_; }

    // Index of a format; nothing for a name that no reader has.
    std::optional<std::size_t> find(std::string_view name) const noexcept;

    struct answer {
        std::size_t format;
        std::int32_t certainty; // QOR_RECORDING_IS_POSSIBLE to QOR_RECORDING_IS_CERTAIN
    };
    struct recognition {
        // The surest first, equally sure ones by name.
        std::vector<answer> answers;
        // A format needs more bytes than these.
        bool needs_more = false;
    };
    // What the formats say of the first bytes of a recording. Throws: host::error when a reader fails.
    recognition recognise(std::string_view beginning, bool is_whole) const;

private:
    friend class recording;

    // Where a format is.
    struct place {
        std::shared_ptr<const reader_plugin> plugin;
        std::size_t index;
    };

    void add_folder(const std::string& folder, bool is_own);
    void add_library(const std::string& path);

    std::vector<readable_format> formats_;
    // Of the same.
    std::vector<place> places_;
    std::vector<unusable_library> unusable_;
};

// What `place` of a fault counts.
enum class recording_place {
    line,           // of a text, from 1
    byte,           // from the beginning of the recording
    compressed_byte // from the beginning of the compressed file
};

// A place of the recording that could not be read. Valid until the next batch.
struct recording_fault {
    // Packages of the batch that come before it.
    std::size_t package = 0;
    recording_place counts = recording_place::line;
    std::uint64_t place = 0;
    // In a line, bytes from 1; 0 for none.
    std::uint64_t column = 0;
    std::string_view text; // the line; empty for none
    std::string_view cause;
    std::string_view hint; // empty for none
    // The end of the last line of a text is missing: more may have followed.
    bool is_unended = false;
};

// The time of a package as the recording has it, in seconds, such as "1436509052.249713"; empty for none. `buffer`
// holds it where the package has no text of its own.
std::string_view time_text_of(const qor_recorded_package_t& package, std::span<char, 32> buffer) noexcept;

// Valid until the next batch of the same reader.
struct recording_batch {
    std::span<const qor_recorded_package_t> packages;
    // Ascending by `package`.
    std::span<const recording_fault> faults;
};

// Packages of a recording, or of a part of one. Thread: one at a time.
class package_reader {
public:
    package_reader(const package_reader&) = delete;
    package_reader& operator=(const package_reader&) = delete;
    virtual ~package_reader();

    static constexpr std::size_t usual_batch = 1024;

    // The next packages and faults, also none of both while more may follow; false at the end. No more than `most`
    // packages. Throws: host::error; what reading the stream throws.
    bool next(recording_batch& batch, std::size_t most = usual_batch);

    // Those seen so far, in the order of their first packages. Valid until the next call.
    std::span<const qor_recorded_source_t> sources();
    qor_recording_properties_t properties() const;
    std::span<const qor_other_records_t> other_records() const;

    // Packages of the source that the expression excludes need not be delivered from the next batch on; they are
    // counted in `excluded`. See qor_recording_filter_support_t. Does nothing for formats that have no filter.
    void set_filter(std::size_t source, const std::string& expression);
    std::span<const qor_excluded_packages_t> excluded() const;

protected:
    explicit package_reader(std::shared_ptr<const reader_plugin> plugin);

    // Throws the stream's exception when it has caused the failure, else what the details describe.
    void check(qor_error_details_t*& details) const;
    virtual void rethrow_failure_of_stream() const {}
    virtual const stream_fault* fault_of_stream() const { return nullptr; }
    void begin_chunk() noexcept { has_ended_ = false; }

    std::shared_ptr<const reader_plugin> plugin_;
    void* opened_ = nullptr;

private:
    void take_faults(const qor_recording_batch_t& batch);

    std::vector<recording_fault> faults_;
    bool has_ended_ = false;
};

// The bytes are not of a format that there is a reader for.
class unrecognised_recording : public error {
public:
    unrecognised_recording(const std::string& text, const recording_format* format)
        : error(QOR_STATUS_INVALID_ARGUMENT, text), format_(format) {}

    // What they are; null when that is not known either.
    const recording_format* format() const noexcept { return format_; }

private:
    const recording_format* format_;
};

struct recording_options {
    // Name of the format; empty: by content.
    std::string format;
    // For the reader, "key=value" separated by commas.
    std::string reader_options;
};

class recording_part;

// An open recording.
class recording : public package_reader {
public:
    // Takes the stream over, which is at its beginning, and decompresses it. To recognise the format it reads up to
    // QOR_RECORDING_BEGINNING bytes, of a pipe as many as are needed. Throws: unrecognised_recording; host::error, also
    // for a format that there is not and for two that are equally sure; what reading throws.
    recording(const recording_readers& readers, std::unique_ptr<byte_stream> stream,
              const recording_options& options = {});
    ~recording() override;

    // In the list of the readers, which has to outlive the recording.
    const readable_format& format() const noexcept { return *format_; }
    // What the file is compressed by, such as "gzip"; empty for none.
    std::string compression() const;
    // The first bytes that were read to recognise it; when the format was chosen, up to 4096 that were read since.
    std::string_view beginning() const noexcept;

    // Whether the recording can be read in parts, by several threads; to be called before the first batch. Then `rest`
    // and the bytes of `read` are to be cut into chunks of whole records by `find_end`, and `next` is not called.
    bool begin_split();
    // The first bytes of the first chunk.
    std::span<const char> rest() const noexcept { return rest_; }
    // Bytes after those, as byte_stream::read. Thread: one at a time, parts are read meanwhile.
    std::size_t read(char* buffer, std::size_t room);
    // Bytes of whole records at the beginning of `data`, see qor_recording_split_support_t.
    std::size_t find_end(std::span<const char> data) const;
    // Damage of the compressed stream that was met by `read`; null for none.
    const stream_fault* stream_damage() const { return fault_of_stream(); }

private:
    friend class recording_part;
    struct input;

    std::size_t choose(const recording_readers& readers, const recording_options& options);
    void rethrow_failure_of_stream() const override;
    const stream_fault* fault_of_stream() const override;

    std::unique_ptr<input> input_;
    const readable_format* format_ = nullptr;
    std::span<const char> rest_;
};

// Reads chunks of a recording that is split. Ends before it. Thread: one at a time, each part any.
class recording_part : public package_reader {
public:
    // Thread: any.
    explicit recording_part(const recording& split);

    // Goes on with a chunk; `data` stays until it was read. Requires: `next` gave false for the chunk before. Sources
    // are those of this part, lines count from the beginning of the chunk.
    void set_chunk(std::span<const char> data);
    // Lines, or bytes, that the chunk had. Requires: `next` gave false.
    std::uint64_t extent() const;
};

} // namespace tavi::host

#endif

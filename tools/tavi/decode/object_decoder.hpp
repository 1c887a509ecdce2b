// From packages of one source, whatever their format, to rows of values: all that was asked for is subscribed to at
// once, one record an object.
#ifndef TOOLS_TAVI_DECODE_OBJECT_DECODER_HPP
#define TOOLS_TAVI_DECODE_OBJECT_DECODER_HPP

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tavi/package_builder.hpp"
#include "tavi/record_list.hpp"
#include "tools/tavi/decode/catalogue.hpp"
#include "tools/tavi/decode/record_rows.hpp"
#include "tools/tavi/decode/selection.hpp"

namespace tavi::tool {

// What becomes of the last elements of an object that is an array, where all their bytes are zero: they are values like
// others, or say that so many are not there.
enum class zero_elements { written, left_out };

// Thread: one at a time.
class object_decoder {
public:
    // What a record that is shorter than its object is told to: the object, bytes of the record and of the object, and
    // how many values asked for are not in it.
    using short_record =
        std::function<void(const message& object, std::size_t size, std::size_t whole_size, std::size_t lost)>;

    // source_id, instance  a registered source
    // name, source_name    of it, as the recording has it and as rows have it
    // messages             told of signals that no record gives a value of, here only
    // All others must outlive the decoder. Throws: host::error, std::exception for a layout that has no reading.
    object_decoder(std::uint16_t source_id, std::uint32_t instance, const std::string& name,
                   const std::string& source_name, catalogue& catalogue, selection& selection, row_writer& rows,
                   message_sink& messages, zero_elements zeros = zero_elements::written);

    // Writes the rows of a package and returns their number; `time` as the rows have it, empty for none. The source of
    // the package is set. Throws: host::error when a plug-in fails, and what `report` throws.
    std::uint64_t decode(host::package_builder& package, std::string_view time, const short_record& report = {});

    // Rows of the last package; while it is decoded those so far.
    std::uint64_t written() const noexcept { return written_; }

    // Whether the last package gave a record to a subscription, also one that the decoder knows nothing of.
    bool served(std::uint64_t handle) const noexcept;

    // Objects that were asked for, and of how many the last package gave a record.
    std::size_t object_count() const noexcept { return objects_.size(); }
    std::size_t found_count() const noexcept { return found_count_; }

private:
    struct object {
        std::uint64_t handle;
        const message* subscribed;
        const message_plan* plan;
        row_texts rows;
    };

    const object* find(std::uint64_t handle) const;
    void write(const host::record_list& records, const short_record& report);

    const std::uint16_t source_id_;
    const std::uint32_t instance_;
    catalogue& catalogue_;
    row_writer& writer_;
    zero_elements zeros_;
    // Ascending by handle.
    std::vector<object> objects_;
    std::size_t found_count_ = 0;
    std::uint64_t written_ = 0;
    // Of the last package, by layer (see message_names).
    std::map<std::size_t, host::record_list> records_;
    std::vector<host::reading> readings_;
};

} // namespace tavi::tool

#endif

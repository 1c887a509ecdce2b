// The extractor of a run, with the descriptions of its command line read into the catalogue.
#ifndef TOOLS_TAVI_DECODE_CATALOGUE_HPP
#define TOOLS_TAVI_DECODE_CATALOGUE_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tavi/description_formats.hpp"
#include "tavi/extractor.hpp"
#include "tools/tavi/decode/log_sources.hpp"
#include "tools/tavi/options.hpp"
#include "tools/tavi/report/description_log.hpp"
#include "tools/tavi/report/diagnostics.hpp"

namespace tavi::tool {

class message_names;

// Thread: one at a time.
class catalogue {
public:
    // Starts the extractor. shared: others may be made of it. Throws: command_error, with exit_code::plugin_failed when
    // a plug-in is at fault; for a strict run on a catalogue on disk also what load throws for files, so that nothing
    // gets into that catalogue which is refused.
    catalogue(const catalogue_options& options, message_sink& messages, bool shared = false);

    // Another extractor on the same catalogue, for another thread: interfaces can be made known there. This one must
    // outlive it, be loaded and be shared. Thread: any, while this one is not loading. Throws: host::error.
    std::unique_ptr<catalogue> another() const;

    // Where messages go from now on.
    void report_to(message_sink& messages) { log_.report_to(messages); }

    // Reads all descriptions, or takes them from the storage. Throws: command_error for a file that cannot be read, one
    // that the parser refuses, a signature that the storage does not hold and, in a strict run, a description with a
    // warning; exit_code::usage when neither a description nor a storage was given.
    void load();

    // Registers a source with the descriptions that its id and data processors bring, and takes those instead of what
    // the command line gave. Throws: as load.
    void load_source(std::uint16_t source_id, const std::string& source_name);

    host::extractor& extractor() noexcept { return extractor_; }

    // In the order of the command line, those of the storage last; the path of those is their signature.
    const std::vector<description_argument>& descriptions() const noexcept { return arguments_; }

    // In a strict run: ends it for a warning about a description, which was reported. Throws: command_error.
    void refuse_if_strict(std::size_t description) const;

    // Reports a part of a description that is not used. Throws: command_error in a strict run.
    void report_left_out(std::size_t description, std::string_view cause) const;

    // Of a description that was loaded.
    const std::string& signature(std::size_t description) const { return signatures_[description]; }

    // The views of a description.
    host::nodes views(std::size_t description);

    // A URL expression for a path ("View.Object") in a description that needs no interface to be known.
    std::string expression(std::size_t description, std::string_view path) const;

    // How messages are called where interfaces may have several descriptions. The first call reads them and reports
    // those that have other names than in their description; it comes before register_interface and another. Throws:
    // host::error.
    const message_names& names();

    // Makes an interface of the log known as a source for each layer (see message_names) that it has descriptions of;
    // false when there is none. `interface` is its number, `name` as the log has it. Nothing is parsed again.
    bool register_interface(std::size_t interface, const std::string& name, const std::string& source_name);

    // Makes one layer of an interface of that name known as the source of an instance; false when it has no description
    // for the interface.
    bool register_layer(std::size_t layer, std::uint32_t instance, const std::string& name,
                        const std::string& source_name);

    // Whether a description is meant for an interface of that name.
    bool serves(std::size_t description, std::string_view name) const;

    // The source that packages of an interface are from: its id, and the instance for a layer.
    static constexpr std::uint16_t interface_source_id = 0x0010;
    static constexpr std::uint32_t instance_of(std::size_t interface, std::size_t layer) noexcept {
        return static_cast<std::uint32_t>(interface + layer * log_sources::limit);
    }
    static constexpr std::size_t interface_of(std::uint32_t instance) noexcept { return instance % log_sources::limit; }

private:
    catalogue(const catalogue& original);
    catalogue(const catalogue_options& options, message_sink& messages, bool shared, std::vector<std::string> contents);

    // Reads the files and loads them into a catalogue in memory first, where that is needed. Returns what was read.
    static std::vector<std::string> rehearse(const catalogue_options& options, message_sink& messages);
    void load_one(std::size_t description);
    void list_stored();
    void load_stored(std::size_t description);
    const std::string& choose_uri(bool shared);
    std::uint64_t warnings() const noexcept {
        return messages_.count(topic::description) + messages_.count(topic::left_out);
    }

    message_sink& messages_;
    bool strict_;
    std::string storage_;
    // The same, or which catalogue in memory.
    std::string uri_;
    // How many of the arguments are files.
    std::size_t file_count_;
    // Of those, what was read; empty when they are still to be read.
    std::vector<std::string> contents_;
    std::vector<description_argument> arguments_;
    std::vector<std::string> signatures_;
    std::shared_ptr<const message_names> names_;
    // What the parsers read; empty as long as no file was to be read.
    std::vector<host::description_format> formats_;
    description_log log_;
    host::extractor extractor_;
};

} // namespace tavi::tool

#endif

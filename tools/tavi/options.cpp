#include "tools/tavi/options.hpp"

#include <algorithm>
#include <charconv>
#include <limits>
#include <map>

#include <CLI/CLI.hpp>

#include "tools/tavi/check/check_process.hpp"
#include "tools/tavi/output/row_format.hpp"
#include "tools/tavi/report/printable.hpp"

namespace tavi::tool {

namespace {

constexpr int most_jobs = 256;
// MiB: the command itself needs the least, and the most fits into 64 bits as bytes.
constexpr int least_memory = 64;
constexpr int most_memory = 1 << 30;

// An empty text would count as an option that was not given: most often a variable of a script that was not set.
CLI::Validator not_empty() {
    return {[](const std::string& text) -> std::string {
                return text.empty() ? "expected a value, found an empty text" : "";
            },
            ""};
}

// "-" is standard output, as it is standard input for LOG: nobody wants a file of that name.
CLI::Validator written_file(bool may_be_standard) {
    return {[may_be_standard](std::string& path) -> std::string {
                if (path.empty() || (path == "-" && !may_be_standard)) {
                    return path.empty() ? "expected a value, found an empty text"
                                        : "expected a file, found standard output";
                }
                path = path == "-" ? "" : path;
                return "";
            },
            ""};
}

CLI::Option& add_storage_option(CLI::App& command, catalogue_options& options, const char* text) {
    return *command.add_option("--storage", options.storage, text)->type_name("URI")->check(not_empty());
}

void add_catalogue_options(CLI::App& command, catalogue_options& options, const char* description_name,
                           const char* signature_name) {
    command
        .add_option("-d,--description", options.descriptions,
                    "Description of the recorded data (.dbc, .sdl). May be repeated")
        ->type_name(description_name)
        ->allow_extra_args(false);
    CLI::Option& storage = add_storage_option(
        command, options,
        "Catalogue of descriptions, for example file:catalogue.db3 (default: in memory). Without -d and --signature "
        "all its descriptions are used");
    command
        .add_option("--signature", options.signatures,
                    "Description in the catalogue, by the signature that tavi register prints. May be repeated")
        ->type_name(signature_name)
        ->allow_extra_args(false)
        ->needs(&storage);
    command.add_flag("--strict", options.strict, "Stop with exit code 1 at the first damage or warning");
}

void add_pattern_option(CLI::App& command, std::vector<std::string>& patterns, const std::string& what) {
    command
        .add_option("-s,--signal", patterns,
                    what + ", as View.Message.Signal with * and ? (default: all). May be repeated")
        ->type_name("PATTERN")
        ->allow_extra_args(false);
}

// Words for the values of an enumeration, and nothing else.
template<typename Value>
CLI::Validator one_of(const std::map<std::string, Value>& values) {
    return {[values](std::string& text) -> std::string {
                const auto found = values.find(text);
                if (found != values.end()) {
                    text = std::to_string(static_cast<int>(found->second));
                    return {};
                }
                std::string words;
                for (const auto& [word, value] : values) {
                    words += words.empty() ? word : " or " + word;
                }
                return "expected " + words + ", found '" + text + '\'';
            },
            ""};
}

bool read_number(std::string_view text, std::uint64_t& number) {
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    text.remove_prefix(hexadecimal ? 2 : 0);
    const char* const end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, number, hexadecimal ? 16 : 10);
    return failure == std::errc() && stop == end;
}

} // namespace

description_argument parse_description(const std::string& text) {
    const auto equals = text.find('=');
    if (equals == std::string::npos || equals == 0 || text.find('/') < equals) {
        return {"", text};
    }
    return {text.substr(0, equals), text.substr(equals + 1)};
}

std::string log_name(const decode_options& options) {
    return options.log == "-" ? "<standard input>" : options.log;
}

memory_place parse_memory_place(const std::string& text) {
    memory_place place;
    bool has_address = false;
    bool has_cycle = false;
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view part = rest.substr(0, rest.find(','));
        rest.remove_prefix(std::min(part.size() + 1, rest.size()));
        const std::string_view key = part.substr(0, part.find('='));
        std::uint64_t number = 0;
        const bool known = key == "address" || key == "cycle";
        const bool repeated = key == "address" ? has_address : has_cycle;
        if (!known || repeated || key.size() == part.size() || !read_number(part.substr(key.size() + 1), number) ||
            (key == "cycle" && number > std::numeric_limits<std::uint32_t>::max())) {
            throw command_error("tavi: error: invalid --memory: '" + printable(part) + "'", exit_code::usage,
                                "expected address=0x20000000 or address=0x20000000,cycle=5");
        }
        (key == "address" ? has_address : has_cycle) = true;
        key == "address" ? place.address = number : place.cycle = static_cast<std::uint32_t>(number);
    }
    if (!has_address) {
        throw command_error("tavi: error: --memory needs an address", exit_code::usage,
                            "for example address=0x20000000");
    }
    return place;
}

void add_decode_options(CLI::App& app, decode_options& options) {
    CLI::App& command = *app.add_subcommand("decode", "Write the physical values of a recording");
    command.add_option("LOG", options.log, "Recording, compressed or not; - is standard input")
        ->type_name("")
        ->required();
    add_catalogue_options(command, options.catalogue, "[SOURCE=]FILE", "[SOURCE=]SIGNATURE");
    add_pattern_option(command, options.patterns, "Signals to write");
    std::map<std::string, std::size_t> formats;
    std::string format_words;
    for (const named_row_format& format : row_formats) {
        format_words += formats.empty() ? std::string(format.name) + " (default)" : std::string(" or ") + format.name;
        formats.emplace(format.name, formats.size());
    }
    command.add_option("-f,--format", options.format, "Format of the output: " + format_words)
        ->type_name("FORMAT")
        ->transform(one_of(formats));
    CLI::Option& input =
        *command.add_option("--input", options.input, "Format of LOG, such as candump (default: detected)")
             ->type_name("FORMAT")
             ->check(not_empty());
    command.add_option("--plugin-path", options.plugin_folders, "Folder of reader plug-ins. May be repeated")
        ->type_name("FOLDER")
        ->allow_extra_args(false);
    command
        .add_option("--memory", options.memory,
                    "LOG is a memory image that begins at address=0x20000000 or address=0x20000000,cycle=5")
        ->type_name("PLACE")
        ->check(not_empty())
        ->excludes(&input);
    command.add_flag("--no-formula-guard", options.no_formula_guard,
                     "Do not write ' before texts that a spreadsheet would run as a formula");
    command.add_option("-o,--output", options.output, "File to write (default: -, standard output)")
        ->type_name("FILE")
        ->transform(written_file(true));
    command.add_option("-j,--jobs", options.jobs, "Threads (default: one for each processor); the output is the same")
        ->type_name("N")
        ->check(CLI::Range(1, most_jobs).description(""));
    command.add_flag("--j1939", options.j1939, "Match 29-bit ids that no message has by their parameter group number");
    command.add_option("--report", options.report, "File for the summary of the run, as one line of JSON")
        ->type_name("FILE")
        ->transform(written_file(false));
    command.footer(
        "SOURCE= limits a description to the interface of that name.\n"
        "Exit codes: 0 all decoded, 1 failed, 2 wrong usage, 3 decoded, but something was damaged or left out,\n"
        "4 a plug-in failed or is missing.");
}

void add_tree_options(CLI::App& app, tree_options& options) {
    CLI::App& command = *app.add_subcommand("tree", "Show the contents of descriptions");
    add_catalogue_options(command, options.catalogue, "FILE", "SIGNATURE");
}

void add_schema_options(CLI::App& app, schema_options& options) {
    CLI::App& command = *app.add_subcommand("schema", "Show the layout of a message or signal as JSON");
    command.add_option("EXPRESSION", options.expression, "Message or signal, as View.Message or View.Message.Signal")
        ->type_name("")
        ->required();
    add_catalogue_options(command, options.catalogue, "FILE", "SIGNATURE");
}

void add_plugins_options(CLI::App& app, plugins_options& options) {
    CLI::App& command = *app.add_subcommand("plugins", "List the installed plug-ins, or check one");
    CLI::Option& check =
        *command
             .add_option("--check", options.check, "Plug-in to check: it is loaded and called in a separate process")
             ->type_name("FILE")
             ->check(not_empty());
    command.add_option("--time-limit", options.time_limit, "Longest time for the check (default: 10)")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.1, 3600.0).description(""))
        ->needs(&check);
    command.add_option("--memory-limit", options.memory_limit, "Most memory for the check (default: 1024)")
        ->type_name("MIB")
        ->check(CLI::Range(least_memory, most_memory).description(""))
        ->needs(&check);
    command.add_option("--recording", options.recording, "Recording that a recording reader also has to read")
        ->type_name("FILE")
        ->check(CLI::ExistingFile);
    command.add_option(check_in_child_option, options.check_in_child)->group("")->excludes(&check);
    command.parse_complete_callback([&options] {
        if (!options.recording.empty() && options.check.empty() && options.check_in_child.empty()) {
            throw CLI::RequiresError("--recording", "--check");
        }
    });
    command.footer("The list has a line for each plug-in: file, kind, version, and its formats or description types.\n"
                   "Exit codes: 0 all plug-ins are usable, 1 failed, 2 wrong usage, 4 a plug-in is not usable.");
}

void add_filter_options(CLI::App& app, filter_options& options) {
    CLI::App& command = *app.add_subcommand("filter", "Print the filter for a reader of packages");
    add_catalogue_options(command, options.catalogue, "[SOURCE=]FILE", "[SOURCE=]SIGNATURE");
    add_pattern_option(command, options.patterns, "Signals to read");
    command.add_option("--source", options.source, "Interface, for descriptions with SOURCE=")->type_name("SOURCE");
    command.footer("The filter is one line, for the first interface of a log (SourceId 16, Instance 0).");
}

void add_register_options(CLI::App& app, register_options& options) {
    CLI::App& command = *app.add_subcommand("register", "Store descriptions in a catalogue on disk");
    command.add_option("-d,--description", options.catalogue.descriptions, "Description to store. May be repeated")
        ->type_name("FILE")
        ->required()
        ->allow_extra_args(false);
    add_storage_option(command, options.catalogue,
                       "Catalogue, for example file:catalogue.db3; created if it does not exist")
        .required();
    command.add_flag("--strict", options.catalogue.strict, "Refuse descriptions with warnings");
    command.footer("Prints the signature and file of each, separated by a tab. Later commands with the same --storage\n"
                   "use them by --signature, or all without it, and parse nothing.");
}

} // namespace tavi::tool

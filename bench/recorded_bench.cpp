// What real descriptions and recordings cost. TAVI_BENCH_DBC names the description, TAVI_BENCH_LOG a candump log of
// frames that it describes; a benchmark whose file is not named is skipped. scripts/bench sets both.
//
//   register_description   file in memory to a catalogue in memory, ready for subscriptions
//   subscribe_all          subscriptions to all messages of the description (argument 0) or all signals in them (1)
//   read_log               the frames of the log, taken from memory; the counter gives frames a second
//   one_signal             the frames of the log for one subscription: argument 0 gives the library each of them,
//                          1 only those that its reader filter lets through; the counter gives frames a second
//   records_to_doubles     all signals of all frames through the host's plans, the message of each frame known; the
//                          counter gives signals a second
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "qorcpp/can_frame.hpp"
#include "tavi/extractor.hpp"
#include "tavi/package_builder.hpp"
#include "tavi/reader_filter.hpp"
#include "tavi/record_list.hpp"
#include "tavi/record_plan.hpp"
#include "tavi/recording.hpp"
#include "tavi/schema_reader.hpp"

namespace {

using tavi::host::extractor;
using tavi::host::record_plan;

std::optional<std::string> file_named_by(const char* variable, benchmark::State& state) {
    const char* const path = std::getenv(variable);
    if (path == nullptr) {
        state.SkipWithError((std::string(variable) += " names no file").c_str());
        return std::nullopt;
    }
    std::ifstream file(path, std::ios::binary);
    std::string text(std::istreambuf_iterator<char>(file), {});
    if (text.empty()) {
        state.SkipWithError((std::string(path) += " cannot be read").c_str());
        return std::nullopt;
    }
    return text;
}

void add_source(extractor& extractor, const std::string& text) {
    extractor.register_source(1, 0, "can0", {{"bench.dbc", "dbc", text}});
}

// A log in memory beside the description of its frames.
struct described_log {
    std::string log;
    tavi::host::extractor extractor;
    tavi::host::nodes messages;
};

// Null when a file is not there, which the benchmark is then told.
std::unique_ptr<described_log> open_described_log(benchmark::State& state) {
    const auto text = file_named_by("TAVI_BENCH_DBC", state);
    auto log = text ? file_named_by("TAVI_BENCH_LOG", state) : std::nullopt;
    if (!log) {
        return nullptr;
    }
    auto opened = std::make_unique<described_log>();
    opened->log = std::move(*log);
    add_source(opened->extractor, *text);
    const auto views = opened->extractor.roots("can0");
    opened->messages = opened->extractor.children(views[0]);
    return opened;
}

std::string path_of(const qor_type_node_t& message) {
    return std::string("can0.CAN.") += message.name;
}

void register_description(benchmark::State& state) {
    const auto text = file_named_by("TAVI_BENCH_DBC", state);
    if (!text) {
        return;
    }
    for (auto _ : state) {
        extractor extractor;
        add_source(extractor, *text);
    }
}
BENCHMARK(register_description)->Unit(benchmark::kMillisecond);

void append_signals(const std::string& path, const tavi::host::node_tree& tree, std::vector<std::string>& paths) {
    for (const tavi::host::node_tree& below : tree.trees) {
        const std::string inner = (path + '.') += below.node->name;
        if (below.node->kind == QOR_TYPE_NODE_SIGNAL) {
            paths.push_back(inner);
        }
        append_signals(inner, below, paths);
    }
}

void subscribe_all(benchmark::State& state) {
    const auto text = file_named_by("TAVI_BENCH_DBC", state);
    if (!text) {
        return;
    }
    extractor extractor;
    add_source(extractor, *text);
    const auto views = extractor.roots("can0");
    const auto messages = extractor.children(views[0]);
    std::vector<std::string> paths;
    for (const qor_type_node_t& message : messages) {
        if (state.range(0) == 0) {
            paths.push_back(path_of(message));
        } else {
            append_signals(path_of(message), extractor.tree(message), paths);
        }
    }
    for (auto _ : state) {
        for (const std::string& path : paths) {
            extractor.subscribe(path, tavi::host::lenient);
        }
        state.PauseTiming();
        extractor.unsubscribe_all();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(paths.size()));
}
BENCHMARK(subscribe_all)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// A message with the tree that its plan refers to.
struct message_plan {
    tavi::host::node_tree tree;
    record_plan plan;
};

struct recorded_frame {
    const record_plan* plan;
    std::size_t begin;
    std::size_t size;
};

struct recording {
    std::vector<std::uint8_t> bytes;
    std::vector<recorded_frame> frames;
    std::size_t most_rows = 0;
};

using plans_by_id = std::unordered_map<std::uint64_t, message_plan>;

plans_by_id plans_of(extractor& extractor, const tavi::host::nodes& messages) {
    plans_by_id plans;
    for (const qor_type_node_t& message : messages) {
        const auto type = tavi::host::read_schema(extractor.schema(path_of(message), {.layout = tavi::host::lenient}));
        auto tree = extractor.tree(message);
        record_plan plan(*type, &tree);
        plans.try_emplace(message.object.address, message_plan{std::move(tree), std::move(plan)});
    }
    return plans;
}

tavi::host::recording open_recording(const std::string& log) {
    static const tavi::host::recording_readers readers;
    return {readers, tavi::host::open_source([&log, taken = std::size_t{0}](char* buffer, std::size_t room) mutable {
                const std::size_t size = log.copy(buffer, room, taken);
                taken += size;
                return size;
            })};
}

void read_log(benchmark::State& state) {
    const auto log = file_named_by("TAVI_BENCH_LOG", state);
    if (!log) {
        return;
    }
    std::int64_t frames = 0;
    for (auto _ : state) {
        tavi::host::recording recorded = open_recording(*log);
        tavi::host::recording_batch batch;
        while (recorded.next(batch)) {
            frames += static_cast<std::int64_t>(batch.packages.size());
        }
    }
    state.SetItemsProcessed(frames);
}
BENCHMARK(read_log)->Unit(benchmark::kMillisecond);

void one_signal(benchmark::State& state) {
    const auto opened = open_described_log(state);
    if (!opened) {
        return;
    }
    extractor& extractor = opened->extractor;
    const auto signals = extractor.children(opened->messages[0]);
    extractor.subscribe(path_of(opened->messages[0]) + '.' + signals[0].name, tavi::host::lenient);
    const bool filtered = state.range(0) != 0;
    const tavi::host::reader_filter filter(extractor.reader_filter());
    tavi::host::package_builder package;
    package.set_source(1, 0);
    package.set_format(qor::can_format);
    tavi::host::record_list records;
    std::int64_t frames = 0;
    std::int64_t found = 0;
    for (auto _ : state) {
        tavi::host::recording recorded = open_recording(opened->log);
        tavi::host::recording_batch batch;
        while (recorded.next(batch)) {
            for (const qor_recorded_package_t& frame : batch.packages) {
                ++frames;
                if (!filtered || filter.accepts(1, 0, 0, frame.address)) {
                    extractor.process(package.build({frame.payload, frame.payload_size}), tavi::host::lenient, records);
                    found += static_cast<std::int64_t>(records.size());
                }
            }
        }
    }
    state.SetItemsProcessed(frames);
    state.counters["records"] = static_cast<double>(found) / static_cast<double>(state.iterations());
}
BENCHMARK(one_signal)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

recording read_frames(const std::string& log, const plans_by_id& plans) {
    tavi::host::recording recorded = open_recording(log);
    recording result;
    tavi::host::recording_batch batch;
    while (recorded.next(batch)) {
        for (const qor_recorded_package_t& frame : batch.packages) {
            const auto found = plans.find(static_cast<std::uint32_t>(frame.address));
            qor::can_frame_view view{};
            if (found != plans.end() && qor::read_can_frame({frame.payload, frame.payload_size}, view)) {
                const record_plan& plan = found->second.plan;
                result.frames.push_back({&plan, result.bytes.size(), view.length});
                result.bytes.insert(result.bytes.end(), view.data.begin(), view.data.end());
                result.most_rows = std::max(result.most_rows, plan.rows().size());
            }
        }
    }
    return result;
}

void records_to_doubles(benchmark::State& state) {
    const auto opened = open_described_log(state);
    if (!opened) {
        return;
    }
    const plans_by_id plans = plans_of(opened->extractor, opened->messages);
    const recording recorded = read_frames(opened->log, plans);
    std::vector<double> values(recorded.most_rows);
    std::vector<std::uint32_t> rows(recorded.most_rows);
    std::int64_t signals = 0;
    for (auto _ : state) {
        for (const recorded_frame& frame : recorded.frames) {
            signals += static_cast<std::int64_t>(
                frame.plan->read_doubles({recorded.bytes.data() + frame.begin, frame.size}, values, rows));
            benchmark::ClobberMemory();
        }
    }
    state.SetItemsProcessed(signals);
}
BENCHMARK(records_to_doubles)->Unit(benchmark::kMillisecond);

} // namespace

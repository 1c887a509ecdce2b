// What grows with sources, descriptions and subscriptions, and what must not.
//
//   process_beside_sources/N    packages of one source that serve one message, beside N sources with the same message
//   process_round_of_sources/N  packages of N sources in turn, each of which serves one message
//   subscribe_among/N           a message of the last of a source's N descriptions, and its end
//   schema_among/N              the schema of such a message
//   further_description/N       a small description for a source that has N already
//   further_provider            a small description that a provider of the host brings
//   further_source              a source on a description that is there, by its signature
//   unsubscribe/N               one subscription among N, to the messages of 16 like sources
//   unsubscribe_alike/N         one among N to the same message
//   unsubscribe_all/N           all of N, a subscription
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "tavi/extractor.hpp"
#include "tavi/package_builder.hpp"
#include "tavi/record_list.hpp"

namespace {

using tavi::host::extractor;

constexpr std::uint16_t source_id = 0x20;

std::string name_of(std::int64_t instance) {
    return "can" + std::to_string(instance);
}

// Messages NAME0, NAME1 and so on with ids from 1 on, of one signal.
std::string description_of(const std::string& name, int messages = 1) {
    std::string text = "VERSION \"\"\n";
    for (int message = 0; message < messages; ++message) {
        text += "BO_ " + std::to_string(message + 1) + " " + name + std::to_string(message) +
                ": 8 X\n SG_ S : 0|8@1+ (0.5,-10) [0|0] \"km/h\" X\n";
    }
    return text;
}

// Instances from 0 on of one description, registered by its signature but for the first.
extractor with_sources(std::int64_t count, int messages = 1) {
    extractor result;
    const auto signatures =
        result.register_source(source_id, 0, name_of(0), {{"bench.dbc", "dbc", description_of("M", messages)}});
    for (std::int64_t instance = 1; instance < count; ++instance) {
        result.register_source_from_storage(source_id, static_cast<std::uint32_t>(instance), name_of(instance),
                                            signatures);
    }
    return result;
}

extractor with_descriptions(std::int64_t count) {
    extractor result;
    for (std::int64_t number = 0; number < count; ++number) {
        const std::string name = "D" + std::to_string(number) + "M";
        result.register_source(source_id, 0, name_of(0), {{name, "dbc", description_of(name)}});
    }
    return result;
}

void process_round(benchmark::State& state, std::int64_t sources, std::int64_t sending) {
    extractor extractor = with_sources(sources);
    constexpr std::uint8_t data[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    std::vector<tavi::host::can_package> packages(static_cast<std::size_t>(sending));
    std::vector<const qor_package_t*> built;
    for (std::int64_t instance = 0; instance < sources; ++instance) {
        extractor.subscribe(name_of(instance) + ".CAN.M0", tavi::host::lenient);
    }
    for (auto& package : packages) {
        package.set_source(source_id, static_cast<std::uint32_t>(built.size()));
        built.push_back(&package.build(1, 0, data));
    }
    tavi::host::record_list records;
    std::size_t next = 0;
    for (auto _ : state) {
        extractor.process(*built[next], tavi::host::lenient, records);
        benchmark::DoNotOptimize(records.size());
        next = next + 1 == built.size() ? 0 : next + 1;
    }
    state.counters["records"] = static_cast<double>(records.size());
}

void process_beside_sources(benchmark::State& state) {
    process_round(state, state.range(0) + 1, 1);
}
BENCHMARK(process_beside_sources)->Arg(0)->Arg(1)->Arg(64)->Arg(1000);

void process_round_of_sources(benchmark::State& state) {
    process_round(state, state.range(0), state.range(0));
}
BENCHMARK(process_round_of_sources)->Arg(1)->Arg(8)->Arg(64)->Arg(1000);

std::string last_message(std::int64_t descriptions) {
    return name_of(0) + ".CAN.D" + std::to_string(descriptions - 1) + "M0";
}

void subscribe_among(benchmark::State& state) {
    extractor extractor = with_descriptions(state.range(0));
    const std::string url = last_message(state.range(0));
    for (auto _ : state) {
        extractor.unsubscribe(extractor.subscribe(url, tavi::host::lenient));
    }
}
BENCHMARK(subscribe_among)->Arg(1)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);

void schema_among(benchmark::State& state) {
    extractor extractor = with_descriptions(state.range(0));
    const std::string url = last_message(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(extractor.schema(url));
    }
}
BENCHMARK(schema_among)->Arg(1)->Arg(1000)->Unit(benchmark::kMicrosecond);

void further_description(benchmark::State& state) {
    extractor extractor = with_descriptions(state.range(0));
    int number = 0;
    for (auto _ : state) {
        const std::string name = "F" + std::to_string(number++) + "M";
        extractor.register_source(source_id, 0, name_of(0), {{name, "dbc", description_of(name)}});
    }
}
BENCHMARK(further_description)->Arg(1)->Arg(1000)->Iterations(500)->Unit(benchmark::kMicrosecond);

// A provider of one source with one description.
struct one_description {
    qor_data_source_t source{};
    qor_data_description_t description{};
    std::string content;

    qor_data_source_provider_t provider() {
        return {[](void*, std::size_t* count, qor_error_details_t**) -> std::uint32_t { return *count = 1, 0; },
                [](void* self, std::size_t, qor_data_source_t* source, qor_error_details_t**) -> std::uint32_t {
                    return *source = static_cast<one_description*>(self)->source, 0;
                },
                nullptr,
                [](void* self, std::size_t, std::size_t, qor_data_description_t* description, qor_error_details_t**)
                    -> std::uint32_t { return *description = static_cast<one_description*>(self)->description, 0; },
                [](void* self, std::size_t, std::size_t, void* buffer, std::uint64_t* size,
                   qor_error_details_t**) -> std::uint32_t {
                    const std::string& content = static_cast<one_description*>(self)->content;
                    if (buffer == nullptr) {
                        return *size = content.size(), QOR_STATUS_BUFFER_TOO_SMALL;
                    }
                    return std::memcpy(buffer, content.data(), content.size()), 0;
                },
                this};
    }
};

void further_provider(benchmark::State& state) {
    extractor extractor;
    one_description brought;
    brought.source.source_id = source_id;
    brought.source.data_description_count = 1;
    name_of(0).copy(brought.source.name, sizeof brought.source.name - 1);
    std::strcpy(brought.description.format_type, "dbc");
    const qor_data_source_provider_t provider = brought.provider();
    int number = 0;
    for (auto _ : state) {
        const std::string name = "F" + std::to_string(number++) + "M";
        name.copy(brought.description.name, sizeof brought.description.name - 1);
        brought.content = description_of(name);
        extractor.register_source(brought.source, &provider);
    }
}
BENCHMARK(further_provider)->Iterations(500)->Unit(benchmark::kMicrosecond);

void further_source(benchmark::State& state) {
    extractor extractor;
    const auto signatures =
        extractor.register_source(source_id, 0, name_of(0), {{"bench.dbc", "dbc", description_of("M", 300)}});
    std::uint32_t instance = 0;
    for (auto _ : state) {
        ++instance;
        extractor.register_source_from_storage(source_id, instance, name_of(instance), signatures);
    }
}
BENCHMARK(further_source)->Unit(benchmark::kMicrosecond);

std::vector<std::uint64_t> subscribe_round(extractor& extractor, std::int64_t count, std::int64_t sources,
                                           int messages) {
    std::vector<std::uint64_t> handles;
    for (std::int64_t number = 0; number < count; ++number) {
        handles.push_back(extractor.subscribe(
            name_of(number % sources) + ".CAN.M" + std::to_string(number / sources % messages), tavi::host::lenient));
    }
    return handles;
}

// Ends every tenth of `count`, oldest first, without the time of subscribing.
void run_unsubscribe(benchmark::State& state, std::int64_t sources, int messages) {
    extractor extractor = with_sources(sources, messages);
    for (auto _ : state) {
        const auto handles = subscribe_round(extractor, state.range(0), sources, messages);
        const auto begin = std::chrono::steady_clock::now();
        for (std::size_t number = 0; number < handles.size(); number += 10) {
            extractor.unsubscribe(handles[number]);
        }
        const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - begin;
        state.SetIterationTime(spent.count() / (static_cast<double>(state.range(0)) / 10));
        extractor.unsubscribe_all();
    }
}

void unsubscribe(benchmark::State& state) {
    run_unsubscribe(state, 16, 300);
}
BENCHMARK(unsubscribe)->Arg(1000)->Arg(20000)->UseManualTime()->Iterations(3);

void unsubscribe_alike(benchmark::State& state) {
    run_unsubscribe(state, 1, 1);
}
BENCHMARK(unsubscribe_alike)->Arg(1000)->Arg(20000)->UseManualTime()->Iterations(3);

void unsubscribe_all(benchmark::State& state) {
    extractor extractor = with_sources(16, 300);
    for (auto _ : state) {
        subscribe_round(extractor, state.range(0), 16, 300);
        const auto begin = std::chrono::steady_clock::now();
        extractor.unsubscribe_all();
        const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - begin;
        state.SetIterationTime(spent.count() / static_cast<double>(state.range(0)));
    }
}
BENCHMARK(unsubscribe_all)->Arg(1000)->Arg(20000)->UseManualTime()->Iterations(3);

} // namespace

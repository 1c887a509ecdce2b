// Damaged copies of a recording: none may crash a reader, hang it, take memory of a damaged size, or be read in silence
// as something that the format proves it is not.
#ifndef TESTS_SUPPORT_MUTANTS_HPP
#define TESTS_SUPPORT_MUTANTS_HPP

#include <map>
#include <random>
#include <string>

#include <sys/resource.h>

#include <gtest/gtest.h>

#include "tests/support/recorded.hpp"
#include "tests/support/split.hpp"

// AddressSanitizer keeps up to 256 MiB of freed memory.
#if defined(__SANITIZE_ADDRESS__)
#define TAVI_TEST_KEPT_MEMORY 512
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TAVI_TEST_KEPT_MEMORY 512
#endif
#endif
#ifndef TAVI_TEST_KEPT_MEMORY
#define TAVI_TEST_KEPT_MEMORY 0
#endif

namespace tavi::test {

struct mutant {
    std::string name;
    std::string bytes;
    // Offset of the first byte that differs.
    std::size_t at;
    // Cut at its end, or overwritten with zeros or ones.
    bool is_overwritten;
};

inline mutant make_mutant(const std::string& original, unsigned seed) {
    constexpr const char* kinds[] = {"cut", "shortened", "flipped", "doubled", "zeroed", "set"};
    std::mt19937 random(seed);
    std::string bytes = original;
    const std::size_t at = random() % bytes.size();
    const std::size_t most = seed % 2 == 0 ? 8 : 300;
    const std::size_t size = std::min<std::size_t>(1 + random() % most, bytes.size() - at);
    const unsigned kind = seed % 6;
    switch (kind) {
    case 0:
        bytes.resize(at);
        break;
    case 1:
        bytes.erase(at, size);
        break;
    case 2:
        bytes[at] = static_cast<char>(bytes[at] ^ 1 << random() % 8);
        break;
    case 3:
        bytes.insert(at, original.substr(at, size));
        break;
    default:
        std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), size, kind == 4 ? '\0' : '\xFF');
    }
    return {std::string(kinds[kind]) + " at " + std::to_string(at) + ", seed " + std::to_string(seed), bytes, at,
            kind == 0 || kind > 3};
}

// What of a recording the format proves.
struct proofs {
    // Packages that were not in the original show as faults when the damage is at or after this offset.
    std::size_t packages_from = SIZE_MAX;
    // Packages of lines that were cut or overwritten show as faults, or as unended at the end of a text. A text cannot
    // prove more: a digit that is another one, missing or doubled gives another number.
    bool overwritten_lines = false;
};

// A reading as text, taken apart.
struct reading {
    explicit reading(const std::string& text) {
        for (const std::string& line : lines_of(text)) {
            if (line.starts_with("! ")) {
                ++faults;
            } else if (line.starts_with("end: ")) {
                is_proven = line.starts_with("end: proven");
            } else if (line.starts_with("other: ")) {
                for (const std::string_view count : split(std::string_view(line).substr(7), ',')) {
                    records += static_cast<int>(std::min(std::strtoull(count.data(), nullptr, 10), 1000000ULL));
                }
            } else {
                ++packages[line];
                ++records;
            }
        }
    }
    // Whether it has packages that `other` has not.
    bool exceeds(const reading& other) const {
        return std::any_of(packages.begin(), packages.end(), [&](const auto& package) {
            const auto found = other.packages.find(package.first);
            return !package.first.ends_with(" unended") &&
                   (found == other.packages.end() || found->second < package.second);
        });
    }

    std::map<std::string, int> packages;
    int faults = 0;
    int records = 0; // packages and others
    bool is_proven = false;
};

inline void check_mutants(const reader_plugin& plugin, const std::string& format, const std::string& original,
                          unsigned count, const proofs& proofs) {
    const reading whole(plugin.read(format, original));
    ASSERT_EQ(whole.faults, 0);
    rusage before{};
    getrusage(RUSAGE_SELF, &before);
    for (unsigned seed = 0; seed < count; ++seed) {
        const mutant damaged = make_mutant(original, seed);
        std::string text;
        try {
            text = read_in_all_manners(plugin, format, damaged.bytes);
        } catch (const std::exception& failure) {
            // Refused as a whole; but not because two readings differ.
            ASSERT_FALSE(std::string_view(failure.what()).starts_with("read otherwise"))
                << damaged.name << ": " << failure.what();
            continue;
        }
        const reading found(text);
        const bool is_foreign = found.exceeds(whole);
        if (found.faults == 0) {
            ASSERT_FALSE(is_foreign && damaged.at >= proofs.packages_from) << damaged.name << '\n' << text;
            ASSERT_FALSE(is_foreign && proofs.overwritten_lines && damaged.is_overwritten) << damaged.name << '\n'
                                                                                           << text;
            ASSERT_FALSE(found.is_proven && found.records < whole.records) << damaged.name << '\n' << text;
        }
    }
    rusage after{};
    getrusage(RUSAGE_SELF, &after);
    constexpr long most_kilobytes = (TAVI_TEST_KEPT_MEMORY + 40) << 10;
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, most_kilobytes);
}

} // namespace tavi::test

#endif

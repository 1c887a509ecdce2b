// Recordings through a reader that lies in a folder of its own: found, chosen, read whole, filtered and in parts.
#include "tavi/recording.hpp"

#include <array>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "qorcpp/platform/module.hpp"
#include "tests/support/paths.hpp"
#include "tests/support/temporary_directory.hpp"
#include "tests/support/thrown.hpp"

namespace tavi::host {
namespace {

namespace fs = std::filesystem;

std::unique_ptr<byte_stream> bytes_of(std::string_view bytes, std::size_t piece = SIZE_MAX) {
    return open_source([bytes, piece](char* buffer, std::size_t room) mutable {
        const std::size_t count = std::min({room, piece, bytes.size()});
        std::memcpy(buffer, bytes.data(), count);
        bytes.remove_prefix(count);
        return count;
    });
}

class recordings : public ::testing::Test {
protected:
    recordings() {
        fs::copy(TAVI_LINE_READER, folder.path() / library);
        readers = recording_readers({folder.path().string()});
    }

    // A line for each package and fault: "PLACE SOURCE ID", "! PLACE:COLUMN CAUSE".
    static std::string read(package_reader& reader, std::size_t most = 1024) {
        std::string text;
        recording_batch batch;
        while (reader.next(batch, most)) {
            std::size_t fault = 0;
            for (std::size_t index = 0; index <= batch.packages.size(); ++index) {
                for (; fault < batch.faults.size() && batch.faults[fault].package == index; ++fault) {
                    const recording_fault& told = batch.faults[fault];
                    text += std::string(told.counts == recording_place::compressed_byte ? "@ " : "! ") +
                            std::to_string(told.place) + ":" + std::to_string(told.column) + " " +
                            std::string(told.cause) + "\n";
                }
                if (index < batch.packages.size()) {
                    const qor_recorded_package_t& package = batch.packages[index];
                    text += std::to_string(package.place) + " " + reader.sources()[package.source].name + " " +
                            std::to_string(package.address) + "\n";
                }
            }
        }
        EXPECT_FALSE(reader.next(batch));
        return text;
    }

    std::string opened(std::string_view bytes, const recording_options& options = {},
                       std::size_t piece = SIZE_MAX) const {
        try {
            return recording(readers, bytes_of(bytes, piece), options).format().name;
        } catch (const error& failure) {
            return failure.what();
        }
    }

    const std::string library = qor::platform::shared_library_file_name("a_reader");
    test::temporary_directory folder;
    recording_readers readers;
};

TEST_F(recordings, come_from_readers_in_folders_of_which_all_files_are_accounted_for) {
    ASSERT_TRUE(readers.find("lines"));
    const readable_format& format = readers.formats()[*readers.find("lines")];
    EXPECT_EQ(format.description, "frames in lines");
    EXPECT_EQ(format.suffixes, (std::vector<std::string>{"lines", "txt"}));
    EXPECT_EQ(format.library, (folder.path() / library).string());
    EXPECT_TRUE(readers.unusable().empty());

    const auto name = [](const char* base) { return qor::platform::shared_library_file_name(base); };
    fs::copy(folder.path() / library, folder.path() / name("b_reader"));
    std::ofstream(folder.path() / name("c_reader")) << "not a library";
    std::ofstream(folder.path() / "README") << "passed over";
    fs::copy(fs::path(test::library_folder) / name("qor_can_matcher"), folder.path() / name("d_matcher"));
    const std::string path = folder.path().string() + ":/no/such/folder";
    ::setenv("TAVI_PLUGIN_PATH", path.c_str(), 1);
    const recording_readers found;
    ::unsetenv("TAVI_PLUGIN_PATH");
    EXPECT_TRUE(found.find("lines"));
    std::string reasons;
    for (const unusable_library& library : found.unusable()) {
        reasons += fs::path(library.path).filename().string() + ": " + library.reason + "\n";
    }
    const std::string twice = name("b_reader") + ": format '";
    const std::string already = "' is read by " + (folder.path() / library).string() + " already\n";
    EXPECT_EQ(reasons.substr(0, reasons.find(name("d_matcher"))),
              twice + "twin2" + already + twice + "lines" + already + twice + "twin1" + already)
        << reasons;
    EXPECT_NE(reasons.find("d_matcher.so: a library of type data-matcher, not a recording reader\n"), reasons.npos);
    EXPECT_NE(reasons.find("c_reader.so: "), reasons.npos);
    EXPECT_NE(reasons.find("folder: cannot be read: No such file or directory\n"), reasons.npos);
}

TEST_F(recordings, are_opened_by_content_or_by_name) {
    for (const std::size_t piece : {std::size_t{1}, SIZE_MAX}) {
        EXPECT_EQ(opened("LINES\n", {}, piece), "lines");
        EXPECT_EQ(opened("x\nLINES\n", {}, piece), "lines");
        EXPECT_EQ(opened("TWINS", {}, piece),
                  "it may be twin1 or twin2: both readers are equally sure; choose one by its name");
        EXPECT_EQ(opened("VERSION \"\"\nLINES\n", {}, piece),
                  "this is a description (DBC), which no reader plug-in reads");
        EXPECT_EQ(opened("\x7F"
                         "ELF\x02",
                         {}, piece),
                  "this is a program or library (ELF), which no reader plug-in reads");
    }
    EXPECT_EQ(opened("TWINS", {"twin2", ""}), "twin2");
    EXPECT_EQ(opened("anything", {"lines", ""}), "lines");
    EXPECT_EQ(opened("LINES\n", {"", "a=b"}), "there is no option 'a=b'");
    EXPECT_EQ(opened("LINES\n", {"none", ""}).find("there is no format 'none' (formats: "), 0u);
    EXPECT_EQ(test::thrown<std::system_error>([&] {
                  recording(readers, open_source([](char*, std::size_t) -> std::size_t {
                                throw std::system_error(EIO, std::generic_category());
                            }));
              }),
              "Input/output error");
}

TEST(recorded_times, have_the_decimals_of_the_recording) {
    const auto text = [](std::int64_t time, std::uint8_t decimals) {
        qor_recorded_package_t package{};
        package.time = time;
        package.time_decimals = decimals;
        std::array<char, 32> buffer{};
        return std::string(time_text_of(package, buffer));
    };
    EXPECT_EQ(text(12'050'000'000, 3), "12.050");
    EXPECT_EQ(text(12'999'999'999, 0), "12");
    EXPECT_EQ(text(-1'000'001, 6), "-0.001000");
    EXPECT_EQ(text(INT64_MIN, 9), "-9223372036.854775808");
    EXPECT_EQ(text(1, QOR_RECORDED_WITHOUT_TIME), "");
}

constexpr const char* text = "LINES\na 1\nb 2\nnoise\n\na 3\r\nc 4\rb 1";
constexpr const char* result = "2 a 1\n3 b 2\n! 4:6 the id is not a number\n6 a 3\n7 c 4\n8 b 1\n";

TEST_F(recordings, give_packages_faults_and_what_was_filtered) {
    for (const std::size_t most : {1, 2, 1000}) {
        recording log(readers, bytes_of(text, 3));
        EXPECT_EQ(read(log, most), result);
    }
    recording log(readers, bytes_of(text, 4));
    recording_batch batch;
    while (log.next(batch) && batch.packages.empty()) {
    }
    log.set_filter(0, "(SourceId = 16 AND Address = 0x7)");
    EXPECT_EQ(read(log), "3 b 2\n! 4:6 the id is not a number\n7 c 4\n8 b 1\n");
    ASSERT_EQ(log.excluded().size(), 1u);
    EXPECT_EQ(log.excluded()[0].address, 3u);
    EXPECT_EQ(log.excluded()[0].count, 1u);
}

TEST_F(recordings, keep_what_comes_before_a_failure_of_the_stream) {
    std::string_view rest = text;
    recording log(readers, open_source([&](char* buffer, std::size_t) -> std::size_t {
                      if (rest.empty()) {
                          throw std::system_error(EIO, std::generic_category());
                      }
                      *buffer = rest[0];
                      rest.remove_prefix(1);
                      return 1;
                  }));
    std::string packages;
    recording_batch batch;
    EXPECT_THROW(
        while (log.next(batch)) {
            for (const qor_recorded_package_t& package : batch.packages) {
                packages += std::to_string(package.place) + " ";
            }
        },
        std::system_error);
    EXPECT_EQ(packages, "2 3 6 7 ");
    EXPECT_EQ(log.properties().place, 7u);
}

TEST_F(recordings, are_read_in_parts_as_in_one) {
    for (const std::size_t size : {8, 11, 1000}) {
        recording log(readers, bytes_of(text, 3));
        ASSERT_TRUE(log.begin_split());
        recording_part part(log);
        std::string held(log.rest().begin(), log.rest().end());
        std::string all;
        std::uint64_t lines = 0;
        for (std::size_t count = 1; !held.empty() || count != 0;) {
            std::string more(size, '\0');
            more.resize(count = count == 0 ? 0 : log.read(more.data(), size));
            held += more;
            const std::size_t whole = count == 0 ? held.size() : log.find_end(held);
            part.set_chunk({held.data(), whole});
            recording_batch batch;
            while (part.next(batch, 2)) {
                for (const qor_recorded_package_t& package : batch.packages) {
                    all += std::to_string(lines + package.place) + part.sources()[package.source].name + " ";
                }
                for (const recording_fault& fault : batch.faults) {
                    all += "!" + std::to_string(lines + fault.place) + " ";
                }
            }
            lines += part.extent();
            held.erase(0, whole);
        }
        EXPECT_EQ(all, "2a 3b !4 6a 7c 8b ") << size;
    }
}

} // namespace
} // namespace tavi::host

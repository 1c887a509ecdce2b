// Compressed streams: whole, joined, in pieces, cut at every byte and damaged.
#include "tavi/byte_stream.hpp"

#include <cstring>
#include <fstream>

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>
#include <lz4frame.h>
#include <zlib.h>
#include <zstd.h>

#include "tests/support/temporary_directory.hpp"

namespace tavi::host {
namespace {

std::string gzipped(const std::string& text) {
    z_stream stream{};
    deflateInit2(&stream, 6, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
    std::string result(deflateBound(&stream, text.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(result.data());
    stream.avail_out = static_cast<uInt>(result.size());
    deflate(&stream, Z_FINISH);
    result.resize(stream.total_out);
    deflateEnd(&stream);
    return result;
}

std::string zstd_compressed(const std::string& text) {
    std::string result(ZSTD_compressBound(text.size()), '\0');
    ZSTD_CCtx* const context = ZSTD_createCCtx();
    ZSTD_CCtx_setParameter(context, ZSTD_c_checksumFlag, 1);
    result.resize(ZSTD_compress2(context, result.data(), result.size(), text.data(), text.size()));
    ZSTD_freeCCtx(context);
    return result;
}

std::string lz4_compressed(const std::string& text) {
    LZ4F_preferences_t preferences{};
    preferences.frameInfo.contentChecksumFlag = LZ4F_contentChecksumEnabled;
    preferences.frameInfo.blockSizeID = LZ4F_max64KB;
    std::string result(LZ4F_compressFrameBound(text.size(), &preferences), '\0');
    result.resize(LZ4F_compressFrame(result.data(), result.size(), text.data(), text.size(), &preferences));
    return result;
}

byte_source in_pieces(std::string_view bytes, std::size_t piece) {
    return [bytes, piece](char* buffer, std::size_t room) mutable {
        const std::size_t count = std::min({room, piece, bytes.size()});
        std::memcpy(buffer, bytes.data(), count);
        bytes.remove_prefix(count);
        return count;
    };
}

struct content {
    std::string text;
    std::string fault; // "OFFSET CAUSE"
};

content read(std::string_view bytes, std::size_t piece = SIZE_MAX, std::size_t room = 4096) {
    const auto stream = decompressed(open_source(in_pieces(bytes, piece)));
    content result;
    std::string buffer(room, '\0');
    while (const std::size_t count = stream->read(buffer.data(), room)) {
        result.text.append(buffer, 0, count);
    }
    if (const stream_fault* const fault = stream->fault()) {
        result.fault = std::to_string(fault->offset) + " " + fault->cause;
    }
    return result;
}

struct form {
    const char* name;
    std::string (*compress)(const std::string&);
};

class compressed_stream : public ::testing::TestWithParam<form> {
protected:
    static std::string text_of(std::size_t size) {
        std::string text;
        for (unsigned number = 0; text.size() < size; ++number) {
            text += std::to_string(number * number) + '\n';
        }
        return text;
    }
};

TEST_P(compressed_stream, gives_its_content_whatever_comes_at_once) {
    const std::string first = text_of(300000);
    const std::string second = text_of(10);
    const std::string empty = GetParam().compress("");
    const std::string bytes = GetParam().compress(first) + empty + GetParam().compress(second);
    EXPECT_EQ(decompressed(open_source(in_pieces(bytes, SIZE_MAX)))->compression(), GetParam().name);
    for (const std::size_t piece : {std::size_t{1}, std::size_t{5000}, SIZE_MAX}) {
        for (const std::size_t room : {std::size_t{7}, std::size_t{300000}}) {
            const content read_back = read(bytes, piece, room);
            EXPECT_TRUE(read_back.text == first + second) << piece << ' ' << room;
            EXPECT_EQ(read_back.fault, "");
        }
    }
    EXPECT_EQ(read(bytes + std::string(1000, '\0')).fault, "");
    EXPECT_EQ(read(bytes + "more").fault,
              std::to_string(bytes.size()) + " the bytes after the compressed data are not compressed");
    // A bomb takes no memory: it is read through a small buffer.
    std::string bomb = GetParam().compress(std::string(std::size_t{64} << 20, 'x'));
    EXPECT_EQ(read(bomb).text.size(), std::size_t{64} << 20);
}

TEST_P(compressed_stream, ends_in_a_fault_where_it_was_cut) {
    const std::string text = text_of(3000);
    const std::string bytes = GetParam().compress(text);
    for (std::size_t size = 4; size < bytes.size(); ++size) {
        const content cut = read({bytes.data(), size});
        ASSERT_TRUE(text.starts_with(cut.text)) << size;
        ASSERT_EQ(cut.fault, std::to_string(size) + " the compressed data end too early");
    }
    const std::string long_text = text_of(1000000);
    const std::string long_bytes = GetParam().compress(long_text);
    EXPECT_GT(read({long_bytes.data(), long_bytes.size() / 2}).text.size(), long_text.size() / 4);
}

TEST_P(compressed_stream, reports_each_changed_byte_of_the_data) {
    const std::string text = text_of(2000);
    const std::string bytes = GetParam().compress(text);
    // The first ten bytes hold names and times that nothing checks.
    for (std::size_t at = 12; at < bytes.size(); ++at) {
        std::string damaged = bytes;
        damaged[at] = static_cast<char>(damaged[at] ^ 0x10);
        const content found = read(damaged);
        ASSERT_TRUE(found.text == text || found.fault != "") << at;
    }
}

INSTANTIATE_TEST_SUITE_P(forms, compressed_stream,
                         ::testing::Values(form{"gzip", gzipped}, form{"zstd", zstd_compressed},
                                           form{"lz4", lz4_compressed}),
                         [](const auto& each) { return each.param.name; });

TEST(byte_stream, reads_files_and_descriptors_and_seeks_in_them) {
    const test::temporary_directory directory;
    const std::string path = (directory.path() / "x").string();
    std::ofstream(path) << "0123456789";
    const int descriptor = ::open(path.c_str(), O_RDONLY);
    for (const auto& open : {+[](const std::string&name, int) { return open_file(name); },
                             +[](const std::string&, int number) { return open_descriptor(number); }}) {
        const auto stream = decompressed(open(path, descriptor));
        std::string bytes(4, '\0');
        EXPECT_EQ(stream->size(), 10u);
        ASSERT_TRUE(stream->can_seek());
        EXPECT_GT(stream->read(bytes.data(), 4), 0u);
        stream->seek(6);
        EXPECT_EQ(stream->read(bytes.data(), 4), 4u);
        EXPECT_EQ(bytes, "6789");
        EXPECT_EQ(stream->read(bytes.data(), 4), 0u);
    }
    EXPECT_EQ(::close(descriptor), 0);
    EXPECT_THROW(open_file(directory.path().string()), std::system_error);
}

} // namespace
} // namespace tavi::host

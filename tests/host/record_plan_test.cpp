// Reading records by the plan gives what the types give.
#include "tavi/record_plan.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <optional>

#include "tests/host/random_types.hpp"
#include "tests/introspection/decode_comparison.hpp"

namespace tavi::test {
namespace {

using host::node_tree;
using host::reading;
using host::record_plan;
using host::value_kind;

// One signal of a type, as a plain walk finds it.
struct leaf {
    const signal_type_base& type;
    std::uint64_t offset;
    std::uint64_t end; // one behind the last byte of the record that its bits touch
    bool readable;

    template<typename Value>
    Value decode(const std::uint8_t* record, type_kind kind) const {
        Value value{};
        type.decode(kind, reinterpret_cast<std::uint8_t*>(&value), record + offset);
        return value;
    }
};

leaf make_leaf(const signal_type_base& type, std::uint64_t offset) {
    const signal_parameters signal{
        type.raw_kind(), type.byte_order(), type.bit_offset(), type.bit_length(), {}, {}, "", {}};
    const std::vector<std::uint8_t> touched(touched_size(signal));
    const outcome read([&](std::uint8_t* bits) { type.read_bits(bits, touched.data()); });
    return {type, offset, signal.bit_length != 0 ? offset + touched.size() : 0, read.failure.empty()};
}

void collect(const dynamic_type& type, std::uint64_t offset, std::vector<leaf>& leaves) {
    if (has_flag(type.kind(), signal_flag)) {
        leaves.push_back(make_leaf(static_cast<const signal_type_base&>(type), offset));
    } else if (type.kind() == type_kind::structure) {
        for (const member_record& member : static_cast<const struct_type&>(type).members()) {
            collect(*member.type, offset + member.offset, leaves);
        }
    } else {
        const auto& array = static_cast<const array_type&>(type);
        for (std::uint64_t i = 0; i < array.dimension(); ++i) {
            collect(array.content_type(), offset + i * array.content_type().instance_size(), leaves);
        }
    }
}

reading expected_reading(const leaf& from, const std::uint8_t* record) {
    reading result{};
    const type_kind kind = without_signal(from.type.kind());
    if (kind == type_kind::float32 || kind == type_kind::float64) {
        result.kind = value_kind::floating;
        result.floating_value =
            kind == type_kind::float32 ? from.decode<float>(record, kind) : from.decode<double>(record, kind);
    } else {
        // Low byte first: what is narrower fills the low part.
        result.kind = has_flag(kind, unsigned_flag) ? value_kind::unsigned_integer : value_kind::signed_integer;
        result.unsigned_value = from.decode<std::uint64_t>(record, kind);
        if (result.kind == value_kind::signed_integer) {
            const auto unused = static_cast<int>(64 - 8 * primitive_size(kind));
            result.signed_value = static_cast<std::int64_t>(result.unsigned_value << unused) >> unused;
        }
    }
    return result;
}

bool same(const reading& left, const reading& right) {
    return left.kind == right.kind && left.unsigned_value == right.unsigned_value;
}

void compare(const dynamic_type& type, random_types& chance) {
    std::vector<leaf> leaves;
    collect(type, 0, leaves);
    record_plan plan(type);
    ASSERT_EQ(plan.rows().size(), leaves.size());
    const std::uint32_t left_out = chance.below(3); // each third or second row is not selected, or none
    std::vector<std::uint32_t> kept;
    for (std::uint32_t row = 0; row < leaves.size(); ++row) {
        if (left_out == 0 || row % (left_out + 1) != 0) {
            kept.push_back(row);
        }
    }
    plan.keep_rows(kept);
    std::vector<reading> readings(leaves.size());
    std::vector<double> doubles(leaves.size());
    std::vector<std::uint32_t> rows(leaves.size());
    for (int round = 0; round < 6; ++round) {
        const std::size_t size = round == 0 ? 600 : chance.below(60);
        // Exactly the record's bytes, so that the sanitizer sees any read beyond; a longer copy for the reference.
        std::vector<std::uint8_t> record(size);
        for (auto& byte : record) {
            byte = static_cast<std::uint8_t>(chance.one_in(3) ? 0xFF * chance.below(2) : chance.below(256));
        }
        record.shrink_to_fit();
        std::vector<std::uint8_t> padded = record;
        padded.resize(size + 1000);
        const auto found = plan.read(record, readings);
        ASSERT_EQ(plan.read_doubles(record, doubles, rows), found.size());
        std::size_t at = 0;
        for (std::uint32_t row = 0; row < leaves.size(); ++row) {
            SCOPED_TRACE(plan.rows()[row].name + " " + leaves[row].type.name());
            const auto alone = plan.read_row(record, row);
            ASSERT_EQ(plan.rows()[row].unreadable.empty(), leaves[row].readable);
            ASSERT_EQ(alone.has_value(), leaves[row].readable && leaves[row].end <= size &&
                                             std::binary_search(kept.begin(), kept.end(), row));
            if (alone) {
                const reading expected = expected_reading(leaves[row], padded.data());
                const auto as_double = leaves[row].decode<double>(padded.data(), type_kind::float64);
                ASSERT_LT(at, found.size());
                ASSERT_TRUE(found[at].row == row && rows[at] == row);
                ASSERT_TRUE(same(found[at], expected) && same(*alone, expected)) << expected.unsigned_value;
                ASSERT_EQ(std::memcmp(&doubles[at], &as_double, sizeof as_double), 0);
                ++at;
            }
        }
        ASSERT_EQ(at, found.size());
    }
}

TEST(RecordPlan, ReadsWhatTheTypesDecode) {
    random_types types(21, true);
    for (int round = 0; round < 16'000 && !HasFatalFailure(); ++round) {
        SCOPED_TRACE(round);
        compare(round % 4 == 0 ? *types.structure(2) : *types.signal(), types);
    }
}

void add(struct_type& target, const char* name, std::uint64_t offset, const dynamic_type& type) {
    target.add_member_at({name, &type}, offset, 0, false);
}

void add(struct_type& target, const char* name, std::uint64_t offset, type_kind raw, std::uint32_t bits,
         double factor = 1, double constant = 0, signal_encoding encoding = signal_encoding::unspecified) {
    std::shared_ptr<dynamic_type> type;
    make_signal_type(factor == 1 ? raw : type_kind::float64, raw, type, signal_byte_order::little_endian, 0, bits, 0,
                     factor, constant, 0, 0, 1, "", encoding);
    add(target, name, offset, *type);
}

struct node_row {
    const char* name;
    const char* presence = nullptr;
    const char* unit = nullptr;
    const char* values = nullptr;
    std::uint32_t offset = 0;
};

// An object with signals below it, whose records live as long as it does.
struct test_tree : node_tree {
    test_tree(const std::vector<node_row>& rows) : records(rows.size() + 1) {
        records[0].kind = QOR_TYPE_NODE_OBJECT;
        records[0].object.element_count = 1;
        records[0].name = "M";
        node = records.data();
        for (std::size_t i = 0; i < rows.size(); ++i) {
            qor_type_node_t& record = records[i + 1];
            record.kind = QOR_TYPE_NODE_SIGNAL;
            record.name = rows[i].name;
            record.signal.offset = rows[i].offset;
            record.signal.element_count = 1;
            record.signal.presence = rows[i].presence;
            record.signal.unit = rows[i].unit;
            record.signal.value_table = rows[i].values;
            trees.emplace_back().node = &record;
        }
    }

    std::vector<qor_type_node_t> records;
};

std::vector<std::string> texts_of(const record_plan& plan, const std::vector<std::uint8_t>& record) {
    std::vector<reading> readings(plan.rows().size());
    std::vector<std::string> texts;
    for (const reading& value : plan.read(record, readings)) {
        texts.push_back(plan.rows()[value.row].name + "=" + plan.text(value));
    }
    return texts;
}

using texts = std::vector<std::string>;

TEST(RecordPlan, PassesOverRowsThatAreNotThere) {
    struct_type type("M");
    for (const char* const name : {"Mux", "A", "B", "C", "D"}) {
        add(type, name, *name == 'M' ? 0 : 1, type_kind::uint8, 8);
    }
    type.set_memory_size(3);
    const test_tree message({{"Mux"},
                             {"A", "0:0:8:0:0:Mux=1"},
                             {"B", "0:0:8:0:0:Mux=2-3"},
                             {"C", "0:0:8:0:0:Mux=2&2:0:8:0:0:Other=7"},
                             {"D", "3:0:8:0:0:Far=1"}}); // a selector outside cannot be asked
    const record_plan plan(type, &message);
    EXPECT_EQ(texts_of(plan, {1, 5, 0}), (texts{"Mux=1", "A=5", "D=5"}));
    EXPECT_EQ(texts_of(plan, {2, 5, 7}), (texts{"Mux=2", "B=5", "C=5", "D=5"}));
    EXPECT_EQ(texts_of(plan, {3, 5, 7}), (texts{"Mux=3", "B=5", "D=5"}));
    EXPECT_EQ(texts_of(plan, {2, 5}), (texts{"Mux=2", "B=5", "D=5"})) << "a selector that is cut off does not hold";
    EXPECT_EQ(texts_of(plan, {4, 5, 7}), (texts{"Mux=4", "D=5"}));
    EXPECT_FALSE(plan.read_row(std::vector<std::uint8_t>{2, 5, 7}, 1));
    EXPECT_TRUE(plan.read_row(std::vector<std::uint8_t>{2, 5, 7}, 3));
    record_plan few(type, &message);
    few.keep_rows(std::vector<std::uint32_t>{2, 4});
    EXPECT_EQ(texts_of(few, {2, 5, 7}), (texts{"B=5", "D=5"}));
    EXPECT_EQ(texts_of(few, {1, 5, 7}), (texts{"D=5"}));
    EXPECT_FALSE(few.read_row(std::vector<std::uint8_t>{2, 5, 7}, 3));
    // A record that begins behind the start of its object.
    const test_tree group({{"A", "5:0:8:0:0:Mux=1"}, {"B", "4:0:8:0:0:Mux=1"}});
    EXPECT_EQ(texts_of(record_plan(type, &group, 5), {2, 5, 0}), (texts{"Mux=2", "B=5", "C=5", "D=5"}));
    const test_tree wrong({node_row{"C", "no condition"}});
    EXPECT_THROW(record_plan(type, &wrong), std::invalid_argument);
}

TEST(RecordPlan, KnowsStoredValuesAndTheirTexts) {
    struct_type type("M");
    add(type, "Gear", 0, type_kind::int8, 4);
    add(type, "Level", 1, type_kind::uint8, 8, 0.5, -1);
    add(type, "Magnitude", 2, type_kind::int8, 8, 2, 0, signal_encoding::sign_magnitude);
    add(type, "Real", 3, type_kind::float32, 32);
    const test_tree tree({{"Gear", nullptr, nullptr, "3=third\n-1=back \\\\ \\n off\nbad line\n=x\n0=neutral"},
                          {"Level", nullptr, "%", "255=invalid"},
                          {"Magnitude", nullptr, nullptr, "-3=low"}});
    const record_plan plan(type, &tree);
    const std::vector<std::uint8_t> record = {0x0F, 0xFF, 0x83, 0, 0, 0, 0};
    const std::pair<std::optional<int>, const char*> expected[] = {
        {-1, "back \\ \n off"}, {255, "invalid"}, {-3, "low"}, {std::nullopt, nullptr}};
    for (std::size_t row = 0; row < 4; ++row) {
        EXPECT_EQ(plan.stored_value(record, row), expected[row].first) << row;
        const std::string* const label = plan.label(record, row);
        EXPECT_STREQ(label != nullptr ? label->c_str() : nullptr, expected[row].second) << row;
    }
    EXPECT_EQ(plan.rows()[0].value_table.size(), 3u);
    EXPECT_EQ(plan.label(std::vector<std::uint8_t>{0x02}, 0), nullptr) << "a value without text";
    EXPECT_EQ(plan.stored_value(std::vector<std::uint8_t>{0x02}, 1), std::nullopt) << "cut off";
    EXPECT_EQ(texts_of(plan, record), (texts{"Gear=-1", "Level=126.5", "Magnitude=-6", "Real=0"}));
}

TEST(RecordPlan, FindsNodesOfRenamedMembers) {
    struct_type type("M");
    add(type, "x", 0, type_kind::uint8, 8);
    add(type, "x_1", 1, type_kind::uint8, 8);
    const test_tree tree({{"x", nullptr, "first"}, {"x", nullptr, "second", nullptr, 1}});
    EXPECT_EQ(record_plan(type, &tree).rows()[1].unit, "second");
}

TEST(RecordPlan, RefusesWhatHoldsNoValuesOrTooMany) {
    struct_type with_text("M");
    add(with_text, "t", 0, string_type(0));
    EXPECT_THROW(record_plan{with_text}, std::invalid_argument);
    EXPECT_THROW(record_plan(array_type(struct_type("E"), UINT64_MAX)), std::invalid_argument);
    // Offsets at the end of what 64 bits hold.
    struct_type far("F");
    add(far, "x", UINT64_MAX - 1, type_kind::uint32, 32);
    EXPECT_TRUE(texts_of(record_plan(far), std::vector<std::uint8_t>(64)).empty());
}

} // namespace
} // namespace tavi::test

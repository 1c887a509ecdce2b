// Reading records by the plan gives what the types give.
#include "host/record_plan.hpp"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <optional>

#include "tests/host/random_types.hpp"

namespace tavi::test {
namespace {

using host::node_tree;
using host::reading;
using host::record_plan;
using host::value_kind;

// One signal of a type, as a plain walk finds it.
struct leaf {
    const signal_type_base* type;
    std::uint64_t offset;
    // One behind the last byte of the record that its bits touch.
    std::uint64_t end;
    bool readable;
};

constexpr std::size_t spare = 160;

// Asks the type itself: flips each byte and looks whether the bits change.
leaf make_leaf(const signal_type_base& type, std::uint64_t offset) {
    leaf result{&type, offset, 0, true};
    std::vector<std::uint8_t> instance(spare);
    std::uint8_t before[64] = {};
    try {
        type.read_bits(before, instance.data());
        for (std::size_t i = 0; i < instance.size(); ++i) {
            std::uint8_t after[64] = {};
            instance[i] = 0xFF;
            type.read_bits(after, instance.data());
            instance[i] = 0;
            result.end = std::memcmp(before, after, sizeof before) != 0 ? offset + i + 1 : result.end;
        }
    } catch (const std::runtime_error&) {
        result.readable = false;
    }
    return result;
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

template<typename Value>
Value decode(const leaf& from, const std::uint8_t* record, type_kind kind) {
    Value value{};
    from.type->decode(kind, reinterpret_cast<std::uint8_t*>(&value), record + from.offset);
    return value;
}

reading expected_reading(const leaf& from, const std::uint8_t* record) {
    reading result{};
    switch (const type_kind kind = without_signal(from.type->kind())) {
    case type_kind::float32:
        result.kind = value_kind::floating;
        result.floating_value = decode<float>(from, record, kind);
        break;
    case type_kind::float64:
        result.kind = value_kind::floating;
        result.floating_value = decode<double>(from, record, kind);
        break;
    default:
        // Low byte first: what is narrower fills the low part.
        result.kind = has_flag(kind, unsigned_flag) ? value_kind::unsigned_integer : value_kind::signed_integer;
        result.unsigned_value = decode<std::uint64_t>(from, record, kind);
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
    const record_plan plan(type);
    ASSERT_EQ(plan.rows().size(), leaves.size());
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
        const std::size_t count = plan.read_doubles(record, doubles, rows);
        ASSERT_EQ(count, found.size());
        std::size_t at = 0;
        for (std::uint32_t row = 0; row < leaves.size(); ++row) {
            SCOPED_TRACE(plan.rows()[row].name + " " + leaves[row].type->name());
            const bool there = leaves[row].readable && leaves[row].end <= size;
            ASSERT_EQ(plan.rows()[row].unreadable.empty(), leaves[row].readable);
            ASSERT_EQ(plan.read_row(record, row).has_value(), there);
            if (!there) {
                continue;
            }
            const reading expected = expected_reading(leaves[row], padded.data());
            ASSERT_LT(at, found.size());
            ASSERT_EQ(found[at].row, row);
            ASSERT_TRUE(same(found[at], expected)) << found[at].unsigned_value << " for " << expected.unsigned_value;
            ASSERT_TRUE(same(*plan.read_row(record, row), expected));
            ASSERT_EQ(rows[at], row);
            ASSERT_EQ(std::bit_cast<std::uint64_t>(doubles[at]),
                      std::bit_cast<std::uint64_t>(decode<double>(leaves[row], padded.data(), type_kind::float64)));
            ++at;
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

// A signal for the tables below.
std::shared_ptr<dynamic_type> signal(type_kind raw, std::uint32_t offset, std::uint32_t length, double factor = 1,
                                     double constant = 0, const char* suffix = "") {
    std::shared_ptr<dynamic_type> result;
    make_signal_type(factor == 1 && constant == 0 ? raw : type_kind::float64, raw, result,
                     signal_byte_order::little_endian, offset, length, 0, factor, constant, 0, 0, 1, suffix,
                     signal_encoding::unspecified);
    return result;
}

void add(struct_type& target, const char* name, std::uint64_t offset, const dynamic_type& type) {
    target.add_member_at({name, &type}, offset, 0, false);
}

struct node_row {
    const char* name;
    const char* presence = nullptr;
    const char* unit = nullptr;
    const char* values = nullptr;
    std::uint32_t offset = 0;
};

// A node with signals below it, whose records live as long as it does.
struct test_tree : node_tree {
    test_tree(std::uint8_t kind, const char* name, std::uint32_t count, const std::vector<node_row>& rows)
        : records(rows.size() + 1) {
        records[0].kind = kind;
        (kind == QOR_TYPE_NODE_OBJECT ? records[0].object.element_count : records[0].signal.element_count) = count;
        records[0].name = name;
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

TEST(RecordPlan, NamesRowsByTheirPath) {
    struct_type inner("Outer.Group");
    add(inner, "a", 0, *signal(type_kind::uint8, 0, 8));
    add(inner, "b", 1, array_type(*signal(type_kind::uint8, 0, 8), 2));
    inner.set_memory_size(4);
    struct_type outer("Outer");
    add(outer, "Group", 0, array_type(inner, 2));
    add(outer, "x", 8, *signal(type_kind::int16, 0, 16, 0.5, 0, "km/h"));
    const record_plan plan(outer);
    EXPECT_FALSE(plan.names_subscribed_level());
    EXPECT_EQ(plan.record_size(), 10u);
    EXPECT_EQ(plan.rows()[6].unit, "km/h");
    EXPECT_EQ(texts_of(plan, {1, 2, 3, 0, 4, 5, 6, 0, 0xFF, 0xFF}),
              (texts{"Group[0].a=1", "Group[0].b[0]=2", "Group[0].b[1]=3", "Group[1].a=4", "Group[1].b[0]=5",
                     "Group[1].b[1]=6", "x=-0.5"}));
    EXPECT_EQ(texts_of(plan, {1, 2, 3, 0, 4}),
              (texts{"Group[0].a=1", "Group[0].b[0]=2", "Group[0].b[1]=3", "Group[1].a=4"}));
}

TEST(RecordPlan, TellsWhetherTheSubscribedLevelIsInTheNames) {
    struct_type single("Speed");
    add(single, "Speed", 0, *signal(type_kind::uint8, 0, 8));
    EXPECT_TRUE(record_plan(single).names_subscribed_level());
    const test_tree signal_node(QOR_TYPE_NODE_SIGNAL, "Speed", 1, {});
    EXPECT_TRUE(record_plan(single, &signal_node).names_subscribed_level());
    const test_tree object(QOR_TYPE_NODE_OBJECT, "Speed", 1, {{"Speed"}});
    EXPECT_FALSE(record_plan(single, &object).names_subscribed_level());

    struct_type element("Object.Object");
    add(element, "a", 0, *signal(type_kind::uint8, 0, 8));
    struct_type array("Object");
    add(array, "Object", 0, array_type(element, 3));
    const test_tree objects(QOR_TYPE_NODE_OBJECT, "Object", 3, {{"a", nullptr, "V"}});
    const record_plan elements(array, &objects);
    EXPECT_TRUE(elements.names_subscribed_level());
    EXPECT_EQ(texts_of(elements, {1, 2, 3}), (texts{"Object[0].a=1", "Object[1].a=2", "Object[2].a=3"}));
    EXPECT_EQ(elements.rows()[2].unit, "V");
}

TEST(RecordPlan, PassesOverRowsThatAreNotThere) {
    struct_type type("M");
    for (const char* const name : {"Mux", "A", "B", "C", "D"}) {
        add(type, name, *name == 'M' ? 0 : 1, *signal(type_kind::uint8, 0, 8));
    }
    type.set_memory_size(3);
    const test_tree message(QOR_TYPE_NODE_OBJECT, "M", 1,
                            {{"Mux"},
                             {"A", "0:0:8:0:0:Mux=1"},
                             {"B", "0:0:8:0:0:Mux=2-3"},
                             {"C", "0:0:8:0:0:Mux=2&2:0:8:0:0:Other=7"},
                             {"D", "9:0:8:0:0:Far=1"}}); // a selector outside cannot be asked
    const record_plan plan(type, &message);
    EXPECT_EQ(texts_of(plan, {1, 5, 0}), (texts{"Mux=1", "A=5", "D=5"}));
    EXPECT_EQ(texts_of(plan, {2, 5, 7}), (texts{"Mux=2", "B=5", "C=5", "D=5"}));
    EXPECT_EQ(texts_of(plan, {3, 5, 7}), (texts{"Mux=3", "B=5", "D=5"}));
    EXPECT_EQ(texts_of(plan, {2, 5}), (texts{"Mux=2", "B=5", "D=5"})) << "a selector that is cut off does not hold";
    EXPECT_EQ(texts_of(plan, {4, 5, 7}), (texts{"Mux=4", "D=5"}));
    EXPECT_FALSE(plan.read_row(std::vector<std::uint8_t>{2, 5, 7}, 1));
    EXPECT_TRUE(plan.read_row(std::vector<std::uint8_t>{2, 5, 7}, 3));
    // A record that begins behind the start of its object.
    const test_tree group(QOR_TYPE_NODE_GROUP, "M", 1, {{"A", "5:0:8:0:0:Mux=1"}, {"B", "4:0:8:0:0:Mux=1"}});
    EXPECT_EQ(texts_of(record_plan(type, &group, 5), {2, 5, 0}), (texts{"Mux=2", "B=5", "C=5", "D=5"}));
    const test_tree wrong(QOR_TYPE_NODE_GROUP, "M", 1, {{"C", "no condition"}});
    EXPECT_THROW(record_plan(type, &wrong), std::invalid_argument);
}

TEST(RecordPlan, KnowsStoredValuesAndTheirTexts) {
    struct_type type("M");
    add(type, "Gear", 0, *signal(type_kind::int8, 0, 4));
    add(type, "Level", 1, *signal(type_kind::uint8, 0, 8, 0.5, -1));
    std::shared_ptr<dynamic_type> magnitude;
    make_signal_type(type_kind::float64, type_kind::int8, magnitude, signal_byte_order::little_endian, 0, 8, 0, 2, 0, 0,
                     0, 1, "", signal_encoding::sign_magnitude);
    add(type, "Magnitude", 2, *magnitude);
    add(type, "Real", 3, *signal(type_kind::float32, 0, 32));
    const test_tree tree(QOR_TYPE_NODE_OBJECT, "M", 1,
                         {{"Gear", nullptr, nullptr, "3=third\n-1=back \\\\ \\n off\nbad line\n=x\n0=neutral"},
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
    add(type, "x", 0, *signal(type_kind::uint8, 0, 8));
    add(type, "x_1", 1, *signal(type_kind::uint8, 0, 8));
    const test_tree tree(QOR_TYPE_NODE_OBJECT, "M", 1, {{"x", nullptr, "first"}, {"x", nullptr, "second", nullptr, 1}});
    const record_plan plan(type, &tree);
    EXPECT_EQ(plan.rows()[0].unit, "first");
    EXPECT_EQ(plan.rows()[1].unit, "second");
}

TEST(RecordPlan, RefusesWhatHoldsNoValuesOrTooMany) {
    struct_type with_text("M");
    add(with_text, "t", 0, string_type(0));
    EXPECT_THROW(record_plan{with_text}, std::invalid_argument);
    EXPECT_THROW(record_plan(array_type(struct_type("E"), UINT64_MAX)), std::invalid_argument);
    // Offsets at the end of what 64 bits hold.
    struct_type far("F");
    add(far, "x", UINT64_MAX - 1, *signal(type_kind::uint32, 7, 32));
    EXPECT_TRUE(texts_of(record_plan(far), std::vector<std::uint8_t>(64)).empty());
}

} // namespace
} // namespace tavi::test

// What `tavi decode`, `tree` and `schema` write.
#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "tests/tavi/command.hpp"

namespace tavi::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

const std::string sample_dbc = source_path("examples/sample_drive/sample.dbc");
const std::string sample_log = source_path("examples/sample_drive/sample.log");

constexpr const char* vehicle_dbc = R"(BO_ 192 EngineData: 4 X
 SG_ EngineSpeed : 0|16@1+ (0.25,0) [0|8000] "rpm" X
 SG_ EngineTorque : 23|16@0- (0.5,0) [-500|500] "Nm, max" X
BO_ 2566844672 Wheel: 2 X
 SG_ WheelSpeed : 7|16@0+ (1,0) [0|0] "" X
BO_ 300 Modes: 3 X
 SG_ Mode M : 0|8@1+ (1,0) [0|0] "" X
 SG_ Low m1 : 8|8@1+ (1,0) [0|0] "" X
 SG_ High m2 : 8|16@1- (1,0) [0|0] "" X
BO_ 301 Exact: 8 X
 SG_ Real : 0|32@1- (1,0) [0|0] "" X
 SG_ Whole : 32|32@1+ (1,0) [0|0] "" X
BO_ 302 Huge: 1 X
 SG_ Beyond : 0|8@1+ (1e308,0) [0|0] "" X
SIG_VALTYPE_ 301 Real : 1;
)";

class decode : public ::testing::Test, public workplace {
protected:
    decode() { write("e.dbc", vehicle_dbc); }

    // Rows without the header.
    std::vector<std::string> rows(const std::string& log, const std::string& arguments = "") {
        write("x.log", log);
        const ended run = tavi("decode x.log -d e.dbc " + arguments);
        EXPECT_TRUE(run.code == 0 || run.code == 3) << run.err;
        return rows_of(run.out);
    }
};

TEST_F(decode, writes_a_row_for_each_value_in_the_order_of_log_and_description) {
    EXPECT_THAT(rows("(0012.500000) can0 12C#021122\n(0.25) vcan1 0C0#E80DFFFE\n(7.0) can0 18FEF100#0102\n"
                     "(8.0) can0 12C#0133\n(9.0) can0 12C#0711\n"),
                ElementsAre("12.500000,can0.CAN.Modes.Mode,2,", "12.500000,can0.CAN.Modes.High,8721,",
                            "0.25,vcan1.CAN.EngineData.EngineSpeed,890,rpm",
                            R"(0.25,vcan1.CAN.EngineData.EngineTorque,-1,"Nm, max")",
                            "7.0,can0.CAN.Wheel.WheelSpeed,258,", "8.0,can0.CAN.Modes.Mode,1,",
                            "8.0,can0.CAN.Modes.Low,51,", "9.0,can0.CAN.Modes.Mode,7,"));
}

TEST_F(decode, writes_json_lines_with_numbers_that_are_none_as_texts) {
    EXPECT_THAT(rows("(01.5) can0 12D#0000C07FFFFFFFFF\n(2.5) can0 12D#000080FF00000000\n"
                     "(3.5) can0 0C0#01000000\n(4.5) can0 12E#02\n",
                     "-f jsonl -s '*.Real' -s '*.Whole' -s '*.EngineTorque' -s '*.Beyond'"),
                ElementsAre(R"({"timestamp":1.5,"signal":"can0.CAN.Exact.Real","value":"NaN","unit":""})",
                            R"({"timestamp":1.5,"signal":"can0.CAN.Exact.Whole","value":4294967295,"unit":""})",
                            testing::AnyOf(HasSubstr("\"value\":\"NaN\""), HasSubstr("\"value\":\"-Infinity\"")),
                            R"({"timestamp":2.5,"signal":"can0.CAN.Exact.Whole","value":0,"unit":""})",
                            R"({"timestamp":3.5,"signal":"can0.CAN.EngineData.EngineTorque","value":0,)"
                            R"("unit":"Nm, max"})",
                            R"({"timestamp":4.5,"signal":"can0.CAN.Huge.Beyond","value":"Infinity","unit":""})"));
}

TEST_F(decode, selects_by_patterns) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "EngineSpeed EngineTorque Mode Low WheelSpeed "},
        {"-s CAN", "EngineSpeed EngineTorque Mode Low WheelSpeed "},
        {"-s CAN.EngineData", "EngineSpeed EngineTorque "},
        {"-s CAN.Modes.High", ""},
        {"-s '*.Mode' -s '*.*Speed'", "EngineSpeed Mode WheelSpeed "},
        {"-s 'CAN.Engine*.Engine?orque'", "EngineTorque "},
    };
    for (const auto& [arguments, expected] : cases) {
        std::string names;
        for (const auto& row :
             rows("(1.0) can0 0C0#04000800\n(2.0) can0 12C#0133\n(3.0) can0 18FEF100#0102\n", arguments)) {
            const auto url = split(row, ',')[1];
            names += std::string(url.substr(url.rfind('.') + 1)) + ' ';
        }
        EXPECT_EQ(names, expected) << arguments;
    }
}

TEST_F(decode, gives_a_description_to_the_interface_it_names) {
    write("other.dbc", "BO_ 192 Other: 1 X\n SG_ O : 0|8@1+ (1,0) [0|0] \"\" X\n");
    write("x.log", "(1.0) can0 0C0#04000000\n(2.0) can1 0C0#04000000\n(3.0) can2 0C0#04000000\n");
    const ended run = tavi("decode x.log -d can0=e.dbc -d can1=other.dbc -d can7=other.dbc");
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.out, "timestamp,signal,value,unit\n1.0,can0.CAN.EngineData.EngineSpeed,1,rpm\n"
                       "1.0,can0.CAN.EngineData.EngineTorque,0,\"Nm, max\"\n2.0,can1.CAN.Other.O,4,\n");
    EXPECT_THAT(run.err, HasSubstr("tavi: note: can7=other.dbc was not used: the log has no interface can7\n"));
    EXPECT_THAT(run.err, HasSubstr("tavi: 3 frames read: 2 matched, 1 of unknown ids\n"));
}

TEST_F(decode, matches_parameter_groups_when_asked_and_names_each_interface_alone) {
    const std::string log = "(1.0) a.b 18FEF100#0001\n(2.0) a+b 0CFEF1AB#0203\n";
    EXPECT_THAT(rows(log), ElementsAre("1.0,a_b.CAN.Wheel.WheelSpeed,1,"));
    EXPECT_THAT(rows(log, "--j1939"),
                ElementsAre("1.0,a_b.CAN.Wheel.WheelSpeed,1,", "2.0,a_b_2.CAN.Wheel.WheelSpeed,515,"));
}

TEST_F(decode, decodes_the_sample_drive) {
    const ended run = tavi("decode " + sample_log + " -d " + sample_dbc + " -o drive.csv");
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, StartsWith("tavi: 15246 frames read: 15240 matched, 6 of unknown ids\ntavi: lost: nothing\n"));
    const std::string csv = read("drive.csv");
    std::ostringstream golden;
    golden << std::ifstream(source_path("tests/tavi/golden/drive_head.csv")).rdbuf();
    EXPECT_THAT(csv, StartsWith(golden.str()));
    // How the drive went, by the values themselves.
    std::map<std::string, std::vector<double>, std::less<>> values;
    for (const std::string& line : lines_of(csv.substr(csv.find('\n') + 1))) {
        const auto fields = split(line, ',');
        ASSERT_EQ(fields.size(), 4u) << line;
        values[std::string(fields[1])].push_back(std::stod(std::string(fields[2])));
    }
    EXPECT_EQ(values.size(), 38u);
    EXPECT_EQ(values["can0.CAN.EngineData.EngineSpeed"].size(), 6000u);
    EXPECT_EQ(values["can0.CAN.EngineDiagnosis.Odometer"].size(), 100u);
    const auto limits = [&](const char* signal) {
        const auto [low, high] = std::minmax_element(values[signal].begin(), values[signal].end());
        return std::pair(*low, *high);
    };
    EXPECT_EQ(limits("can0.CAN.Transmission.CurrentGear"), std::pair(0.0, 7.0));
    EXPECT_EQ(limits("can0.CAN.EngineDiagnosis.Odometer"), std::pair(48123.0, 48123.9));
    EXPECT_EQ(limits("can0.CAN.EngineTemperatures.CoolantTemperature"), std::pair(62.0, 81.0));
    EXPECT_EQ(limits("can1.CAN.Lights.Headlights"), std::pair(1.0, 2.0));
    EXPECT_NEAR(limits("can1.CAN.Navigation.Latitude").first, 48.1374, 1e-5);
}

TEST_F(decode, tells_the_same_account_as_a_line_of_json) {
    write("x.log",
          "(1.0) can0 0C0#04000000\n(1.0) can0 0C1#00\n(1.0) can0 12C#01\n(1.0) can0 0C0#R\n(1.0) can0 0C0#R\nnoise\n"
          "(1.0) can0 20000001#00\n(2.0) can0 0C0#0400\n(3.0) can0 0C0#\n");
    const ended run = tavi("decode x.log -d e.dbc -s CAN.EngineData -o out.csv --report report.json");
    EXPECT_EQ(run.code, 3);
    const std::string text = read("report.json");
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1);
    auto report = nlohmann::json::parse(text);
    EXPECT_GE(report["seconds"].get<double>(), 0.0);
    report.erase("seconds");
    EXPECT_EQ(report, nlohmann::json::parse(R"({"log":"x.log","frames":8,"matched":2,"unknown_ids":1,"not_selected":1,
        "without_values":1,"remote":2,"error_frames":1,"short_frames":2,"first_short":"x.log:8","damaged_lines":1,
        "first_damaged":"x.log:6","left_out":0,"first_left_out":null,"description_warnings":0,"values":3,"interrupted":false,"exit_code":3})"))
        << run.err;
    EXPECT_EQ(lines_of(read("out.csv")).size(), 4u);
}

TEST_F(decode, shows_tree_and_schema) {
    const ended tree = tavi("tree -d " + sample_dbc);
    EXPECT_EQ(tree.code, 0) << tree.err;
    std::ifstream golden(source_path("tests/tavi/golden/sample_tree.txt"));
    const std::string expected(std::istreambuf_iterator<char>(golden), {});
    EXPECT_EQ(tree.out, sample_dbc + '\n' + expected);

    const ended schema = tavi("schema CAN.EngineData.EngineSpeed -d e.dbc");
    EXPECT_EQ(nlohmann::json::parse(schema.out)["members"][0]["name"], "EngineSpeed") << schema.err;
}

} // namespace
} // namespace tavi::test

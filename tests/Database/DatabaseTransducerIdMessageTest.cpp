// The identification record and its impedance graphs; expected values are
// worked out by hand beside the cases.
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Database/DatabaseTransducerIdMessage.h"
#include "tests/support/Sandbox.h"
#include "tests/support/UnitDouble.h"
#include "tools/TransducerFiles.h"

namespace {

using ::testing::HasSubstr;
using TransducerFiles::Curve_T;
using TransducerFiles::Transducer_T;

FpgaRegisterValues_T Bytes(const std::string& Image)
{
    return FpgaRegisterValues_T(Image.begin(), Image.end());
}

// Element A only, every temperature the same curve: frequency bytes
// 10..15 (100..150 in 100 Hz at 1 kHz per byte), impedance bytes
// 50,52,56,60,62,70 (500..700 ohms). So Z(F) = 500 + 2(F - 100) on 100..110
// and 520 + 4(F - 110) on 110..120, 560 + 4(F - 120) on 120..130.
const Curve_T cRisingCurve = {{10, 11, 12, 13, 14, 15}, {50, 52, 56, 60, 62, 70}};

Transducer_T WithElementA(const TransducerFiles::Element_T& A)
{
    Transducer_T transducer{"TEST"};
    transducer.Elements[0] = A;
    return transducer;
}

// Four curves that differ: columns 0 to 3 are 0, 20, 40 and 60 degrees.
// Column 2 has two nodes at 125; column 3 starts lower and ends higher.
void FillHandGraph(ImpedanceGraph_T& graph)
{
    const Frequency_100Hz_T f[4][6] = {{100, 110, 120, 130, 140, 150},
                                       {100, 110, 120, 130, 140, 150},
                                       {100, 110, 125, 125, 140, 150},
                                       {90, 110, 120, 130, 140, 160}};
    const Impedance_Ohms_T z[4][6] = {{500, 520, 560, 600, 620, 700},
                                      {400, 420, 460, 500, 520, 600},
                                      {300, 330, 360, 390, 420, 450},
                                      {200, 220, 240, 260, 280, 300}};
    for (size_t t = 0; t < 4; ++t) {
        for (size_t row = 0; row < 6; ++row) {
            graph[row][t] = {f[t][row], z[t][row]};
        }
    }
}

} // namespace

class TransducerIdTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_Sandbox.SetUnitEnvironment();
        m_Supported = m_Sandbox.MakeDir("supported");
        m_Sandbox.SetEnv("SUPPORTED_TRANSDUCER_DIR", m_Supported.c_str());
        m_Sandbox.SetEnv("TRANSDUCER_ID_FILE_PREFIX", "DepthXdcr");
        m_Sandbox.SetEnv("SPEED_TRANSDUCER_ID_FILE_PREFIX", "SpeedXdcr");
    }

    void WriteLegacy(const std::string& Name, const std::string& Image) { m_Sandbox.WriteFile("supported/" + Name, Image); }
    std::vector<std::string> Whys(int Level)
    {
        std::vector<std::string> whys;
        for (const auto& event : m_Factory.m_Events) {
            if (event.Level == Level) {
                whys.push_back(event.Why);
            }
        }
        m_Factory.m_Events.clear();
        return whys;
    }

    CSandbox m_Sandbox;
    CUnitDouble m_Factory;
    std::string m_Supported;
};

using TransducerIdDeathTest = TransducerIdTest;

TEST_F(TransducerIdTest, ImpedanceFollowsBothInterpolationsAndRoundsHalfUp)
{
    ImpedanceGraph_T graph;
    FillHandGraph(graph);
    const std::tuple<Frequency_100Hz_T, Temperature_DegCx100_T, Impedance_Ohms_T> cases[] = {
        // On a node of the 20 degree curve: columns 1 and 2, T at the lower end.
        {120, 2000, 460},
        // Between rows: 420 + (420 - 460) / (110 - 120) * (115 - 110) = 440.
        {115, 2000, 440},
        // Between brackets: column 2 at 115 is 330 + 2 * 5 = 340;
        // 440 + (440 - 340) / (2000 - 4000) * (3000 - 2000) = 390.
        {115, 3000, 390},
        // Column 1 at 113: 432; column 2: 336; T 2100: 432 - 96 * 100 / 2000 = 427.2 -> 427.
        {113, 2100, 427},
        // T 2300: 432 - 14.4 = 417.6 -> 418.
        {113, 2300, 418},
        // Clamps: below 0 is the 0 degree curve (520 + 4 * 5 = 540) ...
        {115, -500, 540},
        // ... 6000 and above the 60 degree one (220 + 2 * 5 = 230) ...
        {115, 6000, 230},
        {115, 7000, 230},
        // ... and 4000 opens the upper bracket: column 2 alone.
        {115, 4000, 340},
        // Column 2's two nodes at 125: 125 reads row 2 (330 + 2 * 15 = 360);
        // 130 lies beyond row 3: 390 + (390 - 420) / (125 - 140) * 5 = 400.
        {125, 4000, 360},
        {130, 4000, 400},
        // Lowest and highest frequencies both used columns cover. Column 3
        // at 100: 200 + (200 - 220) / (90 - 110) * 10 = 210; at 150:
        // 280 + 1 * 10 = 290. 300 + (300 - 210) / -2000 * 1000 = 255 and
        // 450 + (450 - 290) / -2000 * 1000 = 370.
        {100, 5000, 255},
        {150, 5000, 370},
    };
    for (const auto& [f, t, z] : cases) {
        EXPECT_EQ(CalculateImpedance(graph, f, t), z) << "F " << f << " T " << t;
    }
    // Two nodes at the lowest frequency: F on them takes the first node's impedance.
    graph[1][0].m_Frequency = 100;
    graph[1][1].m_Frequency = 100;
    EXPECT_EQ(CalculateImpedance(graph, 100, 0), 500);
}

TEST_F(TransducerIdDeathTest, FrequencyOutsideEitherUsedCurveIsFatal)
{
    ImpedanceGraph_T graph;
    FillHandGraph(graph);
    // 95 is on the 60 degree curve but below the 40 degree one.
    EXPECT_DEATH(CalculateImpedance(graph, 95, 5000), HasSubstr("Frequency is below minimum allowed by Transducer"));
    // 155 is below the 60 degree curve's top but above the 40 degree one's.
    EXPECT_DEATH(CalculateImpedance(graph, 155, 6000), HasSubstr("Frequency below minimum allowed by Transducer"));
}

TEST_F(TransducerIdTest, FrequencyLimitsAreTheBandEveryCurveCovers)
{
    ImpedanceGraph_T graph;
    FillHandGraph(graph);
    Frequency_100Hz_T start = 0;
    Frequency_100Hz_T end = 0;
    // Highest row 0 (100, 100, 105, 90) and lowest row 5 (150, 150, 150, 160);
    // "no value" entries never count, also in the first column.
    graph[0][0].m_Frequency = cNoFrequency;
    graph[0][2].m_Frequency = 105;
    graph[5][0].m_Frequency = cNoFrequency;
    GetFrequencyLimits(graph, &start, &end);
    EXPECT_EQ(std::make_pair(start, end), std::make_pair(Frequency_100Hz_T{105}, Frequency_100Hz_T{150}));
    for (size_t t = 0; t < 4; ++t) {
        graph[0][t].m_Frequency = cNoFrequency;
    }
    GetFrequencyLimits(graph, &start, &end);
    EXPECT_EQ(start, cNoFrequency);
}

TEST_F(TransducerIdTest, AverageSumsUpToThirteenSamplesButDividesByAtMostTwelve)
{
    CDatabaseTransducerIdMessage record(&m_Factory);
    const auto curve = Bytes(TransducerFiles::Image(WithElementA(TransducerFiles::FlatElement(12, cRisingCurve))));
    record.SetTransducerId(&curve);
    const std::tuple<Frequency_100Hz_T, Frequency_100Hz_T, Impedance_Ohms_T> cases[] = {
        // Step 12 / 10 = 1: 100..110 give 500, 502, ..., 520 (sum 5610), then
        // 111 -> 524 and 112 -> 528: 6662, divided by 12 -> 555.
        {100, 112, 555},
        // Step 9 / 10 = 0, taken as 1: ten samples 500..518, sum 5090 / 10 -> 509.
        {100, 109, 509},
        // Step 3: 100, 103, ..., 130 -> 500 506 512 518 528 540 552 564 576 588 600,
        // sum 5984 / 11 -> 544.
        {100, 130, 544},
        // A single point.
        {110, 110, 520},
    };
    for (const auto& [start, end, z] : cases) {
        EXPECT_EQ(record.CalculateAverageImpedance(0, start, end), z) << start << ".." << end;
    }
    EXPECT_EQ(record.CalculateAverageImpedance(2, 100, 112), 0);
    // The temperature is the element's own: element A at 60 degrees reads the same flat curve.
    record.SetElementTemperature(0, 6000);
    EXPECT_EQ(record.CalculateAverageImpedance(0, 100, 109), 509);
}

TEST_F(TransducerIdTest, GraphsAreFilledFromTheRecordAndMissingInnerPointsTakeTheUpperOne)
{
    // Family 9: 1 kHz per frequency byte.
    CDatabaseTransducerIdMessage record(&m_Factory);
    EXPECT_EQ(record.GetFrequencyScale(), 10u);
    Transducer_T transducer = WithElementA(TransducerFiles::FlatElement(20, cRisingCurve));
    transducer.Elements[0].Curves[1] = {{10, 0, 0, 0, 0, 30}, {40, 0, 0, 0, 0, 60}};
    const auto bytes = Bytes(TransducerFiles::Image(transducer));
    record.SetTransducerId(&bytes);

    ImpedanceNode_T(*graph)[4] = CDatabaseTransducerIdMessage::GraphOf(0);
    const Frequency_100Hz_T repaired[6] = {100, 300, 300, 300, 300, 300};
    const Impedance_Ohms_T impedances[6] = {400, 600, 600, 600, 600, 600};
    for (size_t row = 0; row < 6; ++row) {
        EXPECT_EQ(graph[row][1].m_Frequency, repaired[row]);
        EXPECT_EQ(graph[row][1].m_Impedance, impedances[row]);
        // The other curves are whole and untouched: bytes times 10.
        EXPECT_EQ(graph[row][3].m_Frequency, cRisingCurve.Frequency[row] * 10);
    }
    ASSERT_EQ(m_Factory.m_Events.size(), 4u);
    for (const auto& event : m_Factory.m_Events) {
        EXPECT_EQ(event.Level, cInfoLevel);
        EXPECT_EQ(event.Code, 0);
        EXPECT_EQ(event.Where, "CDatabaseTransducerIdMessage::BuildGraphs()");
    }
    EXPECT_EQ(m_Factory.m_Events[2].Why, "s_ImpedanceGraphA frequency of 0 found at freq[3] temp[1]setting to upper 3db point");

    // An absent element B, and a record of no transducer, repair nothing.
    m_Factory.m_Events.clear();
    EXPECT_EQ(record.SelectDepthTransducerId(255), SUCCESS);
    EXPECT_TRUE(m_Factory.m_Events.empty());
    EXPECT_EQ(graph[3][1].m_Frequency, 0);

    // Families 1 to 6 have 2 kHz per byte.
    m_Sandbox.SetEnv("PRODUCT_ID", getenv("PRODUCT_ID_BELTA2"));
    CDatabaseTransducerIdMessage older(&m_Factory);
    EXPECT_EQ(older.GetFrequencyScale(), 20u);
    older.SetTransducerId(&bytes);
    EXPECT_EQ(graph[0][0].m_Frequency, 200);
}

TEST_F(TransducerIdTest, BroadbandIsAQualityFactorOfFourOrLess)
{
    CDatabaseTransducerIdMessage record(&m_Factory);
    // The enumeration test sees quality factors 0 and 5; here the boundary
    // (1600..2000: 1800 / 400 = 4.5 -> 4), then a narrow band (1900..2100: 10).
    const std::tuple<uint8_t, uint8_t, bool> cases[] = {{160, 200, true}, {190, 210, false}};
    for (const auto& [lower, upper, broadband] : cases) {
        const auto bytes = Bytes(TransducerFiles::Image(WithElementA(TransducerFiles::SimpleElement(lower, lower, upper, 40))));
        record.SetTransducerId(&bytes);
        EXPECT_EQ(record.IsBroadband(), broadband) << int(lower) << ".." << int(upper);
    }
    Frequency_100Hz_T start = 0;
    Frequency_100Hz_T end = 0;
    record.GetFrequencyLimits(2, &start, &end);
    EXPECT_EQ(std::make_pair(start, end), std::make_pair(cNoFrequency, cNoFrequency));
}

TEST_F(TransducerIdDeathTest, ReversedLimitsAndMissingOutputsAreFatal)
{
    CDatabaseTransducerIdMessage record(&m_Factory);
    // The 0 degree curve ends (200) below where the 20 degree curve starts (300).
    Transducer_T transducer = WithElementA(TransducerFiles::SimpleElement(30, 35, 40, 40));
    transducer.Elements[0].Curves[0] = {{10, 12, 14, 16, 18, 20}, {40, 40, 40, 40, 40, 40}};
    const auto bytes = Bytes(TransducerFiles::Image(transducer));
    record.SetTransducerId(&bytes);
    Frequency_100Hz_T f = 0;
    Frequency_100Hz_T g = 0;
    EXPECT_DEATH(record.GetFrequencyLimits(0, &f, &g),
                 HasSubstr("The Start and End Frequencies are reversed in the TransducerId"));
    EXPECT_DEATH(record.GetFrequencyLimits(0, nullptr, &f), HasSubstr("FreqStart should not be NULL"));
}

TEST_F(TransducerIdTest, MergedRecordTakesElementBFromTheSecondMemory)
{
    CDatabaseTransducerIdMessage record(&m_Factory);
    std::string first(234, '\0');
    std::string second(234, '\0');
    for (size_t i = 0; i < 234; ++i) {
        first[i] = static_cast<char>(i);
        second[i] = static_cast<char>(0x80 | (i & 0x7F));
    }
    const auto one = Bytes(first);
    const auto two = Bytes(second);
    record.SetTransducerId(&one, &two);
    const FpgaRegisterValues_T merged = record.GetTransducerId();
    EXPECT_EQ(record.GetSelectedTransducer(), -2);

    FpgaRegisterValues_T expected = one;
    std::copy(two.begin() + 45, two.begin() + 68, expected.begin() + 68);
    std::copy(two.begin() + 123, two.begin() + 159, expected.begin() + 159);
    const uint8_t channels[] = {'A', 1, 0, 'B', 1, 0, 'W', 1, 0};
    std::copy(std::begin(channels), std::end(channels), expected.begin() + 114);
    expected[38] = 0x00;    // flags 0x2000, little-endian
    expected[39] = 0x20;
    EXPECT_EQ(merged, expected);
    EXPECT_EQ(record.TemperatureChannel(1), 1u);

    // A second memory that did not read back whole is ignored.
    const FpgaRegisterValues_T shortSecond(two.begin(), two.end() - 1);
    record.SetTransducerId(&one, &shortSecond);
    EXPECT_EQ(record.GetTransducerId(), one);
}

TEST_F(TransducerIdDeathTest, WrongSizesNullsAndReservedSelectionsAreFatal)
{
    CDatabaseTransducerIdMessage record(&m_Factory);
    const FpgaRegisterValues_T shorter(233, 0);
    EXPECT_DEATH(record.SetTransducerId(&shorter), HasSubstr("wrong size"));
    EXPECT_DEATH(record.SetTransducerId(nullptr), HasSubstr("XIDBytes cant be Null"));

    EXPECT_DEATH(record.SelectDepthTransducerId(254),
                 HasSubstr("Can't select Auto, should call SetTransducerId() with the XID bytes"));
    EXPECT_DEATH(record.SelectSpeedTransducerId(255),
                 HasSubstr("Can't select none, should call SetTransducerId() with the XID bytes"));
    EXPECT_DEATH(record.SelectSpeedTransducerId(253),
                 HasSubstr("Can't select Default, should call SetTransducerId() with the XID bytes"));

    char text[4];
    EXPECT_DEATH(CDatabaseTransducerIdMessage::StringCopy(text, nullptr, 4), HasSubstr("No Source specified"));
    EXPECT_STREQ(CDatabaseTransducerIdMessage::StringCopy(text, "abcdef", sizeof(text)), "abc");

    m_Sandbox.SetEnv("TRANSDUCER_ID_FILE_PREFIX", "");
    EXPECT_DEATH(CDatabaseTransducerIdMessage{&m_Factory}, HasSubstr("!m_SupportedTransducerFileName.empty()"));
    m_Sandbox.SetEnv("SUPPORTED_TRANSDUCER_DIR", std::string(256, 'd').c_str());
    EXPECT_DEATH(record.SelectDepthTransducerId(0), HasSubstr("fromDir.str().length() <= MAX_DATABASE_PATH_LENGTH"));
}

// The legacy file's full path may have 256 characters, not one more.
TEST_F(TransducerIdDeathTest, LegacyFilePathsUpTo256CharactersAreCopied)
{
    CDatabaseTransducerIdMessage record(&m_Factory);
    const std::string legacy = TransducerFiles::Image(TransducerFiles::StandardDepthTransducers()[0]);
    const std::string file = "DepthXdcr1.bin";
    // A directory whose path, a slash and the file name make 256 characters.
    const size_t padding = 256 - (m_Supported.size() + 1) - (file.size() + 1);
    ASSERT_LT(padding, 256u);
    const std::string directory = m_Sandbox.MakeDir("supported/" + std::string(padding, 'p'));
    m_Sandbox.SetEnv("SUPPORTED_TRANSDUCER_DIR", directory.c_str());
    m_Sandbox.WriteFile("supported/" + std::string(padding, 'p') + "/" + file, legacy);
    m_Sandbox.WriteFile("supported/" + std::string(padding, 'p') + "/DepthXdcr10.bin", legacy);
    ASSERT_EQ((directory + "/" + file).size(), 256u);

    EXPECT_EQ(record.SelectDepthTransducerId(1), SUCCESS);
    EXPECT_EQ(CSandbox::ReadFile(record.GetDBFilePath()), legacy);
    EXPECT_DEATH(record.SelectDepthTransducerId(10),
                 HasSubstr("Assertion `from.str().length() <= MAX_DATABASE_PATH_LENGTH' failed"));
}

TEST_F(TransducerIdTest, LegacySelectionReplacesTheRecordFileOrChangesNothing)
{
    CDatabaseTransducerIdMessage record(&m_Factory);
    const std::string recordPath = record.GetDBFilePath();
    EXPECT_EQ(CSandbox::ReadFile(recordPath), std::string(234, '\0'));
    const std::string legacy = TransducerFiles::Image(TransducerFiles::StandardDepthTransducers()[0]);
    WriteLegacy("DepthXdcr1.bin", legacy);

    EXPECT_EQ(record.SelectDepthTransducerId(1), SUCCESS);
    EXPECT_EQ(record.GetSelectedTransducer(), 1);
    EXPECT_EQ(record.GetTransducerId(), Bytes(legacy));
    EXPECT_EQ(CSandbox::ReadFile(recordPath), legacy);
    // Graphs follow: element A's 20 degree curve starts at byte 180, 180 kHz.
    EXPECT_EQ(CDatabaseTransducerIdMessage::GraphOf(0)[0][1].m_Frequency, 1800);

    // No file 7: nothing changes but the selection.
    EXPECT_EQ(record.SelectDepthTransducerId(7), OSS_FILE_FAILURE);
    EXPECT_EQ(record.GetSelectedTransducer(), -1);
    EXPECT_EQ(record.GetTransducerId(), Bytes(legacy));
    EXPECT_EQ(record.SelectSpeedTransducerId(0), OSS_FILE_FAILURE);
    EXPECT_TRUE(m_Factory.m_Events.empty());

    // A short legacy file: the copy replaced the record file, the load fails
    // and removes it, the record in memory stays.
    WriteLegacy("DepthXdcr2.bin", legacy.substr(0, 233));
    EXPECT_EQ(record.SelectDepthTransducerId(2), FAILED_TO_READ_FILE_CONTENTS);
    EXPECT_EQ(Whys(3), (std::vector<std::string>{"Failed to read contents", "Removing File Possible Old Version Of Sonar 4 "}));
    EXPECT_EQ(record.GetTransducerId(), Bytes(legacy));
    EXPECT_FALSE(CSandbox::Exists(recordPath));

    // Speed selections leave the selection as it was.
    WriteLegacy("SpeedXdcr3.bin", legacy);
    EXPECT_EQ(record.SelectSpeedTransducerId(3), SUCCESS);
    EXPECT_EQ(record.GetSelectedTransducer(), -1);
    // None: an all-zero record.
    EXPECT_EQ(record.SelectDepthTransducerId(255), SUCCESS);
    EXPECT_EQ(record.GetSelectedTransducer(), -1);
    EXPECT_EQ(record.GetTransducerId(), FpgaRegisterValues_T(234, 0));
}

TEST_F(TransducerIdTest, EveryFailedCheckIsReportedAndNoTransducerPasses)
{
    CDatabaseTransducerIdMessage record(&m_Factory);
    EXPECT_TRUE(record.IsValid(true));
    EXPECT_TRUE(m_Factory.m_Events.empty());

    const auto good = Bytes(TransducerFiles::Image(TransducerFiles::StandardDepthTransducers()[0]));
    record.SetTransducerId(&good);
    EXPECT_TRUE(record.IsValid(true));

    Transducer_T bad = TransducerFiles::StandardDepthTransducers()[0];
    bad.Elements[0].Nominal = 179;    // below the lower -3 dB point (180)
    bad.Elements[0].Power = 0;
    bad.Elements[0].Curves[2].Frequency[5] = 0;
    bad.Elements[0].Curves[0].Frequency[3] = 255;
    bad.Elements[1].BeamAngle2 = 0;
    bad.Elements[1].Power = 0;
    bad.Channels[1] = 'W';
    const auto bytes = Bytes(TransducerFiles::Image(bad));
    record.SetTransducerId(&bytes);
    m_Factory.m_Events.clear();
    EXPECT_FALSE(record.IsValid(true));
    for (const auto& event : m_Factory.m_Events) {
        EXPECT_EQ(event.Code, NO_TRANSDUCER_ID_DATA);
        EXPECT_EQ(event.Where, "CDatabaseTransducerIdMessage::IsValid()");
    }
    // Column 2's row 5 became 0: the zero -3 dB point, and row 4 above it.
    EXPECT_EQ(Whys(3), (std::vector<std::string>{
                           "Frequency A data invalid in TransducerId data",
                           "Power A invalid in TransducerId data",
                           "Element A Impedance Graph invalid frequency at freq[3] temp[0]",
                           "Element A Impedance Graph zero -3dB frequency at freq[5] temp[2]",
                           "Element A Impedance Graph invalid frequency at freq[4] temp[2]",
                           "Power B data invalid in TransducerId data",
                           "Beam angle B data invalid in TransducerId data",
                           "TemperatureChannel(1) = 3",
                       }));
    EXPECT_FALSE(record.IsValid(false));
    EXPECT_EQ(Whys(3).size(), 7u);
}

// The list of legacy transducers: what an enumeration finds, stores,
// prints and counts, and how it ends when the list cannot be stored.
#include <cstdlib>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Database/DatabaseSupportedTransducersMessage.h"
#include "Database/DatabaseSystemSettingsMessage.h"
#include "Database/DatabaseTransducersFittedMessage.h"
#include "tests/support/FileHolder.h"
#include "tests/support/Sandbox.h"
#include "tests/support/TargetCommand.h"
#include "tests/support/TestBytes.h"
#include "tests/support/UnitDouble.h"
#include "tools/TransducerFiles.h"

namespace {

std::vector<std::string> Images(const std::vector<TransducerFiles::Transducer_T>& Transducers)
{
    std::vector<std::string> images;
    for (const auto& transducer : Transducers) {
        images.push_back(TransducerFiles::Image(transducer));
    }
    return images;
}

} // namespace

class SupportedTransducersTest : public ::testing::Test {
protected:
    // The environment comes before the records that read it.
    std::string PrepareUnit()
    {
        m_Sandbox.SetUnitEnvironment();
        const std::string dir = m_Sandbox.MakeDir("supported");
        m_Sandbox.SetEnv("SUPPORTED_TRANSDUCER_DIR", dir.c_str());
        m_Sandbox.SetEnv("TRANSDUCER_ID_FILE_PREFIX", "DepthXdcr");
        m_Sandbox.SetEnv("SPEED_TRANSDUCER_ID_FILE_PREFIX", "SpeedXdcr");
        return dir;
    }

    // Enumerates and returns what it printed.
    std::string Enumerate()
    {
        return CaptureStdout([this] { EXPECT_EQ(m_List.EnumerateTransducers(&m_TransducerId), SUCCESS); });
    }
    // Removes the supported files matching Pattern.
    void Remove(const std::string& Pattern) { ASSERT_EQ(std::system(("rm -f '" + m_Dir + "'/" + Pattern).c_str()), 0); }
    std::string StoredList() const { return CSandbox::ReadFile(m_List.GetDBFilePath()); }

    CSandbox m_Sandbox;
    CUnitDouble m_Factory;
    const std::string m_Dir = PrepareUnit();
    CDatabaseTransducerIdMessage m_TransducerId{&m_Factory};
    CDatabaseSupportedTransducersMessage m_List{&m_Factory};
};

using SupportedTransducersDeathTest = SupportedTransducersTest;

TEST(SupportedTransducersStartTest, DepthTypeCountClaimsAFullListUntilTheFirstEnumeration)
{
    // A fresh process, as the count is the process's own. Under the
    // emulator the binary cannot execute itself again; a fork then does, as
    // ctest runs every test in a process of its own.
    const std::string style = GTEST_FLAG_GET(death_test_style);
    GTEST_FLAG_SET(death_test_style, Emulator() ? "fast" : "threadsafe");
    EXPECT_EXIT(std::exit(CDatabaseSystemSettingsMessage::GetNumDepthTypeTransducers()), ::testing::ExitedWithCode(35),
                "");
    GTEST_FLAG_SET(death_test_style, style);
}

TEST_F(SupportedTransducersTest, EnumerationListsDepthThenSpeedThenTestTransducersAndRestoresTheRecord)
{
    ASSERT_TRUE(TransducerFiles::WriteStandardDirectory(m_Dir, "DepthXdcr", "SpeedXdcr"));
    const FpgaRegisterValues_T identified(234, 7);
    m_TransducerId.SetTransducerId(&identified);

    EXPECT_EQ(Enumerate(), "Xdcr 0 : DT50/200:power = 1000\n"
                           "Xdcr 1 : DT83:power = 1000\n"
                           "SpeedXdcr 0 : SL2:TicksPerNM = 18500\n"
                           "Xdcr 0 : BENCH:power = 1000\n");
    EXPECT_EQ(m_TransducerId.GetTransducerId(), identified);
    EXPECT_EQ(m_TransducerId.GetSelectedTransducer(), -2);

    const std::string stored = StoredList();
    ASSERT_EQ(stored.size(), 1383u);
    EXPECT_EQ(Hex(stored.substr(16, 2)), "04 00");
    const auto entry = [&stored](size_t i) { return Hex(stored.substr(18 + 39 * i, 39)); };
    // "DT50/200 dual frequency" cut at the blank; no log; A 200 x 1 kHz = 2000,
    // B 500; beams 24 and 12 doubled, second first; power 50 x 20 = 1000;
    // band 1800..2200: 2000 / 400 = 5, not wide.
    EXPECT_EQ(entry(0), Hex(std::string("DT50/200") + std::string(17, '\0')) +
                            " 00 D0 07 F4 01 30 18 30 18 E8 03 E8 03 00");
    // The log: 185 hundred ticks; no elements, whose empty band counts as wide.
    EXPECT_EQ(entry(2).substr(0, 11), "53 4C 32 00");
    EXPECT_EQ(entry(2).substr(25 * 3), "01 00 00 00 00 00 00 00 00 00 00 00 00 01");
    // 200..2500: 1350 / 2300 = 0, wide.
    EXPECT_EQ(entry(3).substr(38 * 3), "01");
    EXPECT_EQ(entry(4), Hex(std::string(39, '\0')));

    using List = CDatabaseSupportedTransducersMessage;
    EXPECT_EQ(List::GetNumDepthTransducers(), 2);
    EXPECT_EQ(List::GetNumSpeedTransducers(), 1);
    EXPECT_EQ(CDatabaseSystemSettingsMessage::GetNumDepthTypeTransducers(), 3);
    EXPECT_EQ(List::GetTicksPerNauticalMile(0), 18500u);
    EXPECT_EQ(List::GetTicksPerNauticalMile(1), 0u);
    EXPECT_EQ(List::GetTicksPerNauticalMile(253), 20000u);
    EXPECT_EQ(List::GetTicksPerNauticalMile(255), 0u);

    // Test transducers are selected after the depth ones.
    EXPECT_EQ(m_TransducerId.SelectTestTransducerId(0), SUCCESS);
    EXPECT_EQ(m_TransducerId.GetSelectedTransducer(), 2);
    // None as it stands: 255 + 2 wraps to 1.
    EXPECT_EQ(m_TransducerId.SelectTestTransducerId(255), SUCCESS);
    EXPECT_EQ(m_TransducerId.GetSelectedTransducer(), 1);
    EXPECT_EQ(m_TransducerId.SelectTestTransducerId(1), OSS_FILE_FAILURE);
    EXPECT_EQ(m_TransducerId.GetSelectedTransducer(), -1);
    // The next enumeration forgets what is gone.
    Remove("SpeedXdcr*");
    Enumerate();
    EXPECT_EQ(List::GetTicksPerNauticalMile(0), 0u);
}

TEST_F(SupportedTransducersTest, ScanOfAKindEndsAtTheFirstMissingNumber)
{
    const auto images = Images(TransducerFiles::StandardDepthTransducers());
    ASSERT_TRUE(TransducerFiles::WriteFiles(m_Dir, "DepthXdcr", images));
    // File 3 would be fatal to describe (its band is reversed): it must never be read.
    TransducerFiles::Transducer_T reversed("REVERSED");
    reversed.Elements[0] = TransducerFiles::SimpleElement(30, 35, 40, 40);
    reversed.Elements[0].Curves[0] = {{10, 12, 14, 16, 18, 20}, {40, 40, 40, 40, 40, 40}};
    ASSERT_TRUE(TransducerFiles::WriteFiles(m_Dir, "DepthXdcr", {TransducerFiles::Image(reversed)}, 3));
    // Speed file 1 without a 0 is not found either.
    ASSERT_TRUE(TransducerFiles::WriteFiles(m_Dir, "SpeedXdcr", images, 1));

    Enumerate();
    EXPECT_EQ(Hex(StoredList().substr(16, 2)), "02 00");
    EXPECT_EQ(CDatabaseSupportedTransducersMessage::GetNumDepthTransducers(), 2);
    EXPECT_EQ(CDatabaseSupportedTransducersMessage::GetNumSpeedTransducers(), 0);

    // An empty directory stores an empty list.
    Remove("*");
    Enumerate();
    EXPECT_EQ(StoredList().substr(16), std::string(1367, '\0'));
    EXPECT_EQ(CDatabaseSystemSettingsMessage::GetNumDepthTypeTransducers(), 0);
}

TEST_F(SupportedTransducersDeathTest, OverfullListUnwrittenListAndAutoTicksAreFatal)
{
    const std::vector<std::string> many(36, TransducerFiles::Image(TransducerFiles::StandardDepthTransducers()[1]));
    ASSERT_TRUE(TransducerFiles::WriteFiles(m_Dir, "DepthXdcr", {many.begin(), many.end() - 1}));
    Enumerate();
    EXPECT_EQ(Hex(StoredList().substr(16, 2)), "23 00");
    ASSERT_TRUE(TransducerFiles::WriteFiles(m_Dir, "TestTransducerId", {many.back()}));
    EXPECT_DEATH(Enumerate(), ::testing::HasSubstr("Too many Legacy Transducers for size of Sonar4 message!"));

    // A list held by another task is written on a fifth attempt, never a sixth.
    Remove("*");
    m_Factory.m_FailOpenWith = FILE_ACCESS_DENIED;
    m_Factory.m_FailOpenCount = 4;
    Enumerate();
    EXPECT_EQ(m_Factory.m_FailOpenCount, 0);
    EXPECT_EQ(StoredList().size(), 1383u);
    m_Factory.m_FailOpenCount = 5;
    EXPECT_DEATH(Enumerate(), ::testing::HasSubstr("SupportedTransducers list has not been written, probably empty on UI"));

    EXPECT_DEATH(CDatabaseSupportedTransducersMessage::GetTicksPerNauticalMile(254),
                 ::testing::HasSubstr("You cant ask for the tpmn for the Auto Speed Xdcr"));
    EXPECT_DEATH(m_List.EnumerateTransducers(nullptr), ::testing::HasSubstr("TransducerId not specified"));
}

TEST_F(SupportedTransducersDeathTest, FittedRecordWordsItsBufferAssertionsItsOwnWay)
{
    CDatabaseTransducersFittedMessage fitted(&m_Factory);
    std::string bytes(57, '\0');
    Buffer_Bytes_T empty(bytes.data(), 0);
    Buffer_Bytes_T small(bytes.data(), 56);
    EXPECT_DEATH(fitted.CreateMessage(nullptr), ::testing::HasSubstr("Buffer should not be NULL"));
    EXPECT_DEATH(fitted.CreateMessage(&empty), ::testing::HasSubstr("Buffer should not be empty"));
    EXPECT_DEATH(fitted.CreateMessage(&small), ::testing::HasSubstr("Buffer is too small"));
}

#include "Utilities/CommandPipeDecoder.h"

#include <gtest/gtest.h>

#include <string>

// The wire contract shared with every other task, written out independently
// of the product's table: each word decodes alone and followed by an
// argument, but not when cut short by one character, in another case or
// anywhere but at the start.
TEST(CommandPipeDecoderTest, EveryContractWordDecodesAsACaseSensitivePrefix)
{
    const std::pair<std::string, PipeCommand_T> contract[] = {
        {"UpdatePingParameters", 1}, {"Shutdown", 2}, {"UpdateSystemSettings", 4}, {"TransmitSounderCommand", 5},
        {"SyncDatabase", 7}, {"Are You Alive?", 9}, {"ACK_", 10}, {"LedSetPattern:", 11}, {"LedClrPattern:", 12},
        {"DisablePinging", 13}, {"EnablePinging", 14}, {"ExtendWatchdogTimeout", 15}, {"FactoryDefaults", 16},
        {"ZeroTripCounter", 17}, {"PingDefaults", 18}, {"Discharge", 19}, {"StartPeriodicMessages", 20},
        {"StartConverterMessages", 21}, {"PlaybackData_Start", 22}, {"PlaybackData_Stop", 23},
        {"AmbientTooHot", 24}, {"AmbientOK", 25}, {"BatteryBad", 26}, {"BatteryOK", 27}, {"PATempTooHot", 28},
        {"PATempOK", 29}, {"SecondaryPingEnable", 30}, {"SyncAndShutdown", 31}, {"DeleteAllRecordings", 32},
        {"AutoFreqToken", 33},
    };
    ASSERT_EQ(cPipeCommandTable.size(), std::size(contract));
    const CommandPipeDecoder decoder;
    for (const auto& [word, code] : contract) {
        EXPECT_EQ(decoder.DecodeCommand(word.c_str()), code) << word;
        EXPECT_EQ(decoder.DecodeCommand((word + "12 more").c_str()), code) << word;
        EXPECT_EQ(decoder.DecodeCommand(word.substr(0, word.size() - 1).c_str()), PIPE_COMMAND_NONE) << word;
    }
    for (const char* message : {"shutdown", "are you alive?", " Shutdown", "", "Task:ACK_Task"}) {
        EXPECT_EQ(decoder.DecodeCommand(message), PIPE_COMMAND_NONE) << '"' << message << '"';
    }
    EXPECT_DEATH(decoder.DecodeCommand(nullptr), "Assertion `m_Command' failed");
    EXPECT_DEATH(PipeCommand_Compare("Shutdown")(PipeCommandEntry_T(nullptr, 2)), "Assertion `Value.first' failed");
}

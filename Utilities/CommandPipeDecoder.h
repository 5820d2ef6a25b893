#ifndef UTILITIES_COMMANDPIPEDECODER_H
#define UTILITIES_COMMANDPIPEDECODER_H

#include <array>
#include <utility>

// Code of a command received on a task's command pipe; -1 when the message
// begins with no known command word.
using PipeCommand_T = int;

// The codes are compared by every task of the module, so they never change.
// 3, 6 and 8 are retired and must not be reused.
enum PipeCommandCode_T : PipeCommand_T {
    PIPE_COMMAND_NONE = -1,
    PIPE_COMMAND_UPDATE_PING_PARAMETERS = 1,
    PIPE_COMMAND_SHUTDOWN = 2,
    PIPE_COMMAND_UPDATE_SYSTEM_SETTINGS = 4,
    PIPE_COMMAND_TRANSMIT_SOUNDER_COMMAND = 5,
    PIPE_COMMAND_SYNC_DATABASE = 7,
    PIPE_COMMAND_ARE_YOU_ALIVE = 9,
    PIPE_COMMAND_ACK = 10,
    PIPE_COMMAND_LED_SET_PATTERN = 11,
    PIPE_COMMAND_LED_CLR_PATTERN = 12,
    PIPE_COMMAND_DISABLE_PINGING = 13,
    PIPE_COMMAND_ENABLE_PINGING = 14,
    PIPE_COMMAND_EXTEND_WATCHDOG_TIMEOUT = 15,
    PIPE_COMMAND_FACTORY_DEFAULTS = 16,
    PIPE_COMMAND_ZERO_TRIP_COUNTER = 17,
    PIPE_COMMAND_PING_DEFAULTS = 18,
    PIPE_COMMAND_DISCHARGE = 19,
    PIPE_COMMAND_START_PERIODIC_MESSAGES = 20,
    PIPE_COMMAND_START_CONVERTER_MESSAGES = 21,
    PIPE_COMMAND_PLAYBACK_DATA_START = 22,
    PIPE_COMMAND_PLAYBACK_DATA_STOP = 23,
    PIPE_COMMAND_AMBIENT_TOO_HOT = 24,
    PIPE_COMMAND_AMBIENT_OK = 25,
    PIPE_COMMAND_BATTERY_BAD = 26,
    PIPE_COMMAND_BATTERY_OK = 27,
    PIPE_COMMAND_PA_TEMP_TOO_HOT = 28,
    PIPE_COMMAND_PA_TEMP_OK = 29,
    PIPE_COMMAND_SECONDARY_PING_ENABLE = 30,
    PIPE_COMMAND_SYNC_AND_SHUTDOWN = 31,
    PIPE_COMMAND_DELETE_ALL_RECORDINGS = 32,
    PIPE_COMMAND_AUTO_FREQ_TOKEN = 33,
};

// One row of the command table: the word a message begins with, and its code.
using PipeCommandEntry_T = std::pair<const char*, PipeCommand_T>;

// Every task's command words, in the order they are tried: "ACK_" first
// (acknowledgements are by far the most frequent message on the error
// handler's pipe), then by code. Constant-initialised, so it is complete
// before any code runs. No word may be a prefix of another (checked at
// compile time), so the order never changes a result.
inline constexpr std::array<PipeCommandEntry_T, 30> cPipeCommandTable = {{
    {"ACK_", PIPE_COMMAND_ACK},
    {"UpdatePingParameters", PIPE_COMMAND_UPDATE_PING_PARAMETERS},
    {"Shutdown", PIPE_COMMAND_SHUTDOWN},
    {"UpdateSystemSettings", PIPE_COMMAND_UPDATE_SYSTEM_SETTINGS},
    {"TransmitSounderCommand", PIPE_COMMAND_TRANSMIT_SOUNDER_COMMAND},
    {"SyncDatabase", PIPE_COMMAND_SYNC_DATABASE},
    {"Are You Alive?", PIPE_COMMAND_ARE_YOU_ALIVE},
    {"LedSetPattern:", PIPE_COMMAND_LED_SET_PATTERN},
    {"LedClrPattern:", PIPE_COMMAND_LED_CLR_PATTERN},
    {"DisablePinging", PIPE_COMMAND_DISABLE_PINGING},
    {"EnablePinging", PIPE_COMMAND_ENABLE_PINGING},
    {"ExtendWatchdogTimeout", PIPE_COMMAND_EXTEND_WATCHDOG_TIMEOUT},
    {"FactoryDefaults", PIPE_COMMAND_FACTORY_DEFAULTS},
    {"ZeroTripCounter", PIPE_COMMAND_ZERO_TRIP_COUNTER},
    {"PingDefaults", PIPE_COMMAND_PING_DEFAULTS},
    {"Discharge", PIPE_COMMAND_DISCHARGE},
    {"StartPeriodicMessages", PIPE_COMMAND_START_PERIODIC_MESSAGES},
    {"StartConverterMessages", PIPE_COMMAND_START_CONVERTER_MESSAGES},
    {"PlaybackData_Start", PIPE_COMMAND_PLAYBACK_DATA_START},
    {"PlaybackData_Stop", PIPE_COMMAND_PLAYBACK_DATA_STOP},
    {"AmbientTooHot", PIPE_COMMAND_AMBIENT_TOO_HOT},
    {"AmbientOK", PIPE_COMMAND_AMBIENT_OK},
    {"BatteryBad", PIPE_COMMAND_BATTERY_BAD},
    {"BatteryOK", PIPE_COMMAND_BATTERY_OK},
    {"PATempTooHot", PIPE_COMMAND_PA_TEMP_TOO_HOT},
    {"PATempOK", PIPE_COMMAND_PA_TEMP_OK},
    {"SecondaryPingEnable", PIPE_COMMAND_SECONDARY_PING_ENABLE},
    {"SyncAndShutdown", PIPE_COMMAND_SYNC_AND_SHUTDOWN},
    {"DeleteAllRecordings", PIPE_COMMAND_DELETE_ALL_RECORDINGS},
    {"AutoFreqToken", PIPE_COMMAND_AUTO_FREQ_TOKEN},
}};

// Answers whether a table row's word begins the received message. The
// comparison is case-sensitive and covers exactly the word's length, so
// anything after the word (a pattern number, a task name) is the command's
// argument. The message must not be null.
class PipeCommand_Compare {
public:
    explicit PipeCommand_Compare(const char* Command);
    bool operator()(const PipeCommandEntry_T& Value) const;

private:
    const char* m_Command;
};

// Maps a received command-pipe message to its command code. Stateless: all
// decoders share the one table.
class CommandPipeDecoder {
public:
    // The code of the first row (in scan order) whose word is a prefix of
    // Message, or PIPE_COMMAND_NONE. Message must not be null and must be
    // NUL-terminated.
    PipeCommand_T DecodeCommand(const char* Message) const;
};

#endif

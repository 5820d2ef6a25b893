#ifndef SONAR4_SONAR4TYPES_H
#define SONAR4_SONAR4TYPES_H

#include <cstddef>
#include <cstdint>

using LNET_MESSAGE_ID_T = std::uint32_t;
using MessageSize_Bytes_T = std::uint32_t;
using PingConfigIndex_T = std::uint8_t;
// Kind of sampled data in a ping data run; the codec only copies it.
using PingDataType_T = std::uint8_t;
// Number of one segment of a ping data run, and the run's segment count.
using PacketSegmentNumber_T = std::uint8_t;

constexpr std::uint32_t SONAR4_VERSION = 116;
constexpr PingConfigIndex_T PingConfigIndex_end = 32;

// A depth that is no bottom: the most negative 32-bit value, in every record,
// file and packet that carries a bottom depth.
constexpr std::int32_t cNoBottom = INT32_MIN;

// Message ids. The module's own messages form the block 0x270100..0x27010E;
// service info and unit info keep the small ids of the discovery protocol.
enum : LNET_MESSAGE_ID_T {
    Sonar4_Service_Info_Message = 0,
    Sonar4_Unit_Info_Message = 1,
    Message_Id_Sonar4_Heartbeat = 0x270100,
    Message_Id_Sonar4_Ping_Data = 0x270101,
    Message_Id_Sonar4_Ping_Parameters = 0x270102,
    Message_Id_Sonar4_System_Status_Data = 0x270103,
    Message_Id_Sonar4_Environment_Data = 0x270104,
    Message_Id_Sonar4_Environment_Limits = 0x270105,
    Message_Id_Sonar4_System_Settings = 0x270106,
    Message_Id_Sonar4_System_Settings_Limits = 0x270107,
    Message_Id_Sonar4_Master_Bottom_Record = 0x270108,
    Message_Id_Sonar4_Supported_Transducers = 0x270109,
    Message_Id_Sonar4_Transducers_Fitted = 0x27010A,
    Message_Id_Sonar4_Ping_Results = 0x27010B,
    Message_Id_Sonar4_Command = 0x27010C,
    Message_Id_Sonar4_Error_Status = 0x27010D,
    Message_Id_Sonar4_Recording_Status = 0x27010E,
};

#endif

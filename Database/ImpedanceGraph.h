#ifndef DATABASE_IMPEDANCEGRAPH_H
#define DATABASE_IMPEDANCEGRAPH_H

#include <cstddef>
#include <cstdint>

using Frequency_100Hz_T = uint16_t;        // 100 Hz units; 0xFFFF: no value
using Temperature_DegCx100_T = int16_t;    // hundredths of a degree Celsius
using Impedance_Ohms_T = uint16_t;

constexpr Frequency_100Hz_T cNoFrequency = 0xFFFF;

struct ImpedanceNode_T {
    Frequency_100Hz_T m_Frequency;
    Impedance_Ohms_T m_Impedance;
};

// Rows: 0 the lower -3 dB point .. 5 the upper one, ascending in frequency.
// Columns: 0, 20, 40 and 60 degrees. Each node has its own frequency: the
// curves of the four temperatures need not share them.
constexpr size_t cNumGraphFrequencies = 6;
constexpr size_t cNumGraphTemperatures = 4;
using ImpedanceGraph_T = ImpedanceNode_T[cNumGraphFrequencies][cNumGraphTemperatures];

// The impedance at Frequency and Temperature, interpolated in frequency
// within the two temperature curves that bracket Temperature, then between
// them, rounded half up. A frequency outside either curve is fatal.
Impedance_Ohms_T CalculateImpedance(ImpedanceNode_T (*Graph)[4], Frequency_100Hz_T Frequency,
                                    Temperature_DegCx100_T Temperature);
// The band in which every temperature curve has data: the highest lower
// -3 dB point and the lowest upper one, 0xFFFF entries ignored.
void GetFrequencyLimits(ImpedanceNode_T (*Graph)[4], Frequency_100Hz_T* FreqStart, Frequency_100Hz_T* FreqEnd);

#endif

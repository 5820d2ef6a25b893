#include "Database/ImpedanceGraph.h"

#include "Utilities/VeskAssert.h"

namespace {

constexpr Temperature_DegCx100_T cGraphTemperature[cNumGraphTemperatures] = {0, 2000, 4000, 6000};

// The impedance at F on the straight line through two nodes of a column.
double Interpolate(const ImpedanceNode_T& Below, const ImpedanceNode_T& Above, Frequency_100Hz_T F)
{
    const int f1 = Below.m_Frequency;
    const int f2 = Above.m_Frequency;
    const int z1 = Below.m_Impedance;
    const int z2 = Above.m_Impedance;
    if (f1 == f2) {
        return z1;
    }
    return z1 + static_cast<double>(z1 - z2) / static_cast<double>(f1 - f2) * static_cast<double>(F - f1);
}

// Rounded half up; what lies below zero counts as zero, and the result
// keeps its low 16 bits.
Impedance_Ohms_T RoundImpedance(double Z)
{
    const double rounded = Z + 0.5;
    if (!(rounded >= 0.0)) {
        return 0;
    }
    if (rounded >= 4294967296.0) {
        return 0xFFFF;
    }
    return static_cast<Impedance_Ohms_T>(static_cast<uint32_t>(rounded));
}

// Running extreme over the four columns of one row, 0xFFFF entries ignored.
template <typename Better>
Frequency_100Hz_T RowExtreme(ImpedanceNode_T (*Graph)[4], size_t Row, Better IsBetter)
{
    Frequency_100Hz_T value = Graph[Row][0].m_Frequency;
    for (size_t t = 1; t < cNumGraphTemperatures; ++t) {
        const Frequency_100Hz_T next = Graph[Row][t].m_Frequency;
        if (next != cNoFrequency && (value == cNoFrequency || IsBetter(next, value))) {
            value = next;
        }
    }
    return value;
}

} // namespace

Impedance_Ohms_T CalculateImpedance(ImpedanceNode_T (*Graph)[4], Frequency_100Hz_T Frequency,
                                    Temperature_DegCx100_T Temperature)
{
    VESK_ASSERT(Graph);
    const int t = Temperature < 0 ? 0 : (Temperature > 6000 ? 6000 : Temperature);
    // A temperature on a grid point belongs to the bracket above it, except
    // the top one.
    const size_t lower = t < 2000 ? 0 : (t < 4000 ? 1 : 2);
    double z[2];
    for (size_t i = 0; i < 2; ++i) {
        const size_t c = lower + i;
        VESK_ASSERT(Frequency >= Graph[0][c].m_Frequency && "Frequency is below minimum allowed by Transducer");
        size_t k = 1;
        while (k < cNumGraphFrequencies && Frequency > Graph[k][c].m_Frequency) {
            ++k;
        }
        // The text says "below" for a frequency above the graph; tools match it as it is.
        VESK_ASSERT(k < cNumGraphFrequencies && "Frequency below minimum allowed by Transducer");
        VESK_ASSERT(Frequency >= Graph[k - 1][c].m_Frequency && "Frequency is above minimum allowed by TransducerId");
        z[i] = Interpolate(Graph[k - 1][c], Graph[k][c], Frequency);
    }
    const double zLow = z[0];
    const double zHigh = z[1];
    const int tLow = cGraphTemperature[lower];
    const int tHigh = cGraphTemperature[lower + 1];
    if (tLow == tHigh) {
        return RoundImpedance(zLow);
    }
    return RoundImpedance(zLow + (zLow - zHigh) / static_cast<double>(tLow - tHigh) * static_cast<double>(t - tLow));
}

void GetFrequencyLimits(ImpedanceNode_T (*Graph)[4], Frequency_100Hz_T* FreqStart, Frequency_100Hz_T* FreqEnd)
{
    VESK_ASSERT(FreqStart && "FreqStart should not be NULL");
    VESK_ASSERT(FreqEnd && "FreqEnd should not be NULL");
    *FreqStart = RowExtreme(Graph, 0, [](Frequency_100Hz_T a, Frequency_100Hz_T b) { return a > b; });
    *FreqEnd = RowExtreme(Graph, cNumGraphFrequencies - 1,
                          [](Frequency_100Hz_T a, Frequency_100Hz_T b) { return a < b; });
}

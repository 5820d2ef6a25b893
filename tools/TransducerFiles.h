#ifndef TOOLS_TRANSDUCERFILES_H
#define TOOLS_TRANSDUCERFILES_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// Legacy transducer files (the 234 identification bytes of a transducer
// without identification memory) made to order, for the tests, the fuzzer's
// seeds and the simulated unit.
namespace TransducerFiles {

// Six nodes of one temperature: frequency bytes (scale units) and
// impedance bytes (10 ohm units), lower -3 dB point first.
struct Curve_T {
    uint8_t Frequency[6];
    uint8_t Impedance[6];
};

// All zero: an absent element.
struct Element_T {
    uint8_t Nominal = 0;
    // 0, 20, 40 and 60 degrees.
    Curve_T Curves[4] = {};
    uint8_t Power = 0;
    uint8_t BeamAngle1 = 0;
    uint8_t BeamAngle2 = 0;
};

struct Transducer_T {
    explicit Transducer_T(std::string TextName = "") : Name(std::move(TextName)) {}

    std::string Name;
    // Speed log ticks per nautical mile, in hundreds; 0 for none.
    uint16_t TicksHundreds = 0;
    Element_T Elements[2];
    // Channel letters of the three temperature table entries.
    char Channels[3] = {'A', 'B', 'W'};
};

// A plausible element: nodes evenly spread from Lower to Upper, impedance
// rising from Impedance by 2 per node and falling by 5 per temperature.
Element_T SimpleElement(uint8_t Lower, uint8_t Nominal, uint8_t Upper, uint8_t Impedance);
// An element whose four curves are all Curve.
Element_T FlatElement(uint8_t Nominal, const Curve_T& Curve);

// The 234 bytes of Transducer.
std::string Image(const Transducer_T& Transducer);

// Writes <Prefix><i>.bin for each image, i counting from First; returns false
// when a file could not be written.
bool WriteFiles(const std::string& Directory, const std::string& Prefix, const std::vector<std::string>& Images,
                int First = 0);

// The set a simulated unit offers: two depth transducers, one speed
// transducer and one test transducer.
std::vector<Transducer_T> StandardDepthTransducers();
std::vector<Transducer_T> StandardSpeedTransducers();
std::vector<Transducer_T> StandardTestTransducers();
// Writes the standard set under the given prefixes (test transducers use
// the fixed "TestTransducerId").
bool WriteStandardDirectory(const std::string& Directory, const std::string& DepthPrefix,
                            const std::string& SpeedPrefix);

} // namespace TransducerFiles

#endif

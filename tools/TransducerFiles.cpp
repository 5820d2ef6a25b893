#include "tools/TransducerFiles.h"

#include <algorithm>
#include <cstring>
#include <fstream>

namespace TransducerFiles {

namespace {

// Where the identification record keeps what these files set.
constexpr size_t cSize = 234;
constexpr size_t cNameSize = 25;
constexpr size_t cTicksOffset = 43;
constexpr size_t cBlockOffset[2] = {45, 68};
constexpr size_t cChannelOffset = 114;
constexpr size_t cOtherCurvesOffset[2] = {123, 159};

void PutCurve(std::string& Bytes, size_t Offset, const Curve_T& Curve)
{
    for (size_t node = 0; node < 6; ++node) {
        Bytes[Offset + 2 * node] = static_cast<char>(Curve.Frequency[node]);
        Bytes[Offset + 2 * node + 1] = static_cast<char>(Curve.Impedance[node]);
    }
}

std::vector<std::string> Images(const std::vector<Transducer_T>& Transducers)
{
    std::vector<std::string> images;
    for (const Transducer_T& transducer : Transducers) {
        images.push_back(Image(transducer));
    }
    return images;
}

} // namespace

Element_T SimpleElement(uint8_t Lower, uint8_t Nominal, uint8_t Upper, uint8_t Impedance)
{
    Element_T element;
    element.Nominal = Nominal;
    for (int t = 0; t < 4; ++t) {
        for (int node = 0; node < 6; ++node) {
            element.Curves[t].Frequency[node] = static_cast<uint8_t>(Lower + (Upper - Lower) * node / 5);
            element.Curves[t].Impedance[node] = static_cast<uint8_t>(Impedance + 2 * node - 5 * t);
        }
    }
    element.Power = 50;
    element.BeamAngle1 = 12;
    element.BeamAngle2 = 24;
    return element;
}

Element_T FlatElement(uint8_t Nominal, const Curve_T& Curve)
{
    Element_T element = SimpleElement(0, Nominal, 0, 0);
    for (Curve_T& curve : element.Curves) {
        curve = Curve;
    }
    return element;
}

std::string Image(const Transducer_T& Transducer)
{
    std::string bytes(cSize, '\0');
    std::memcpy(&bytes[0], Transducer.Name.data(), std::min(Transducer.Name.size(), cNameSize));
    // The memory keeps this one most significant byte first.
    bytes[cTicksOffset] = static_cast<char>(Transducer.TicksHundreds >> 8);
    bytes[cTicksOffset + 1] = static_cast<char>(Transducer.TicksHundreds & 0xFF);
    for (size_t e = 0; e < 2; ++e) {
        const Element_T& element = Transducer.Elements[e];
        const size_t block = cBlockOffset[e];
        bytes[block] = static_cast<char>(element.Nominal);
        PutCurve(bytes, block + 1, element.Curves[1]);
        bytes[block + 16] = static_cast<char>(element.Power);
        bytes[block + 17] = static_cast<char>(element.BeamAngle1);
        bytes[block + 18] = static_cast<char>(element.BeamAngle2);
        PutCurve(bytes, cOtherCurvesOffset[e], element.Curves[0]);
        PutCurve(bytes, cOtherCurvesOffset[e] + 12, element.Curves[2]);
        PutCurve(bytes, cOtherCurvesOffset[e] + 24, element.Curves[3]);
    }
    for (size_t channel = 0; channel < 3; ++channel) {
        bytes[cChannelOffset + 3 * channel] = Transducer.Channels[channel];
        bytes[cChannelOffset + 3 * channel + 1] = 1;
    }
    return bytes;
}

bool WriteFiles(const std::string& Directory, const std::string& Prefix, const std::vector<std::string>& Images,
                int First)
{
    int index = First;
    for (const std::string& image : Images) {
        std::ofstream out(Directory + "/" + Prefix + std::to_string(index++) + ".bin",
                          std::ios::binary | std::ios::trunc);
        out << image;
        if (!out.flush()) {
            return false;
        }
    }
    return true;
}

std::vector<Transducer_T> StandardDepthTransducers()
{
    Transducer_T dual{"DT50/200 dual frequency"};
    dual.Elements[0] = SimpleElement(180, 200, 220, 30);
    dual.Elements[1] = SimpleElement(40, 50, 60, 60);
    Transducer_T single{"DT83 single"};
    single.Elements[0] = SimpleElement(70, 83, 95, 40);
    single.Channels[0] = 'A';
    single.Channels[1] = 'W';
    single.Channels[2] = 'W';
    return {dual, single};
}

std::vector<Transducer_T> StandardSpeedTransducers()
{
    Transducer_T speed{"SL2 paddle wheel"};
    speed.TicksHundreds = 185;
    return {speed};
}

std::vector<Transducer_T> StandardTestTransducers()
{
    Transducer_T bench{"BENCH load"};
    bench.Elements[0] = SimpleElement(20, 100, 250, 25);
    return {bench};
}

bool WriteStandardDirectory(const std::string& Directory, const std::string& DepthPrefix,
                            const std::string& SpeedPrefix)
{
    return WriteFiles(Directory, DepthPrefix, Images(StandardDepthTransducers())) &&
           WriteFiles(Directory, SpeedPrefix, Images(StandardSpeedTransducers())) &&
           WriteFiles(Directory, "TestTransducerId", Images(StandardTestTransducers()));
}

} // namespace TransducerFiles

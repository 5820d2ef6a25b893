#include "Database/DatabaseTransducerIdMessage.h"

#include <cstring>
#include <memory>

#include "Database/RecordDescription.h"
#include "Database/TransducerCounts.h"
#include "Utilities/VeskAssert.h"

namespace {

const char* const cFileName = "TransducerId.bin";
const char* const cTestTransducerPrefix = "TestTransducerId";

// Both graphs live for the process: every object rebuilds them from its
// record, and the last one to change its record wins.
ImpedanceGraph_T s_ImpedanceGraphA = {};
ImpedanceGraph_T s_ImpedanceGraphB = {};

constexpr Impedance_Ohms_T cImpedanceUnit = 10;

// One frequency byte in 100 Hz units: 2 kHz on the families of the older
// boards, 1 kHz on every other.
uint32_t FrequencyScaleOf(ProductFamily_T Family)
{
    return Family >= 1 && Family <= 6 ? 20 : 10;
}

std::string EnvOrEmpty(IOSSFactory* pFactory, const char* Name)
{
    const char* value = pFactory->GetEnv(Name);
    return value ? value : "";
}

char ElementLetter(XdcrElementIndex_T Element)
{
    return static_cast<char>('A' + Element);
}

std::string At(size_t F, size_t T)
{
    return "freq[" + std::to_string(F) + "] temp[" + std::to_string(T) + "]";
}

} // namespace

VESK_FILE_DESCRIPTION(CDatabaseTransducerIdMessage).Directory("NONPERSISTED_DATABASE_ROOT");

const uint8_t* CDatabaseTransducerIdMessage::TransducerId_T::Curve(XdcrElementIndex_T Element,
                                                                   size_t Temperature) const
{
    if (Temperature == 1) {
        return m_Bytes + cElementBlockOffset[Element] + cCurve20;
    }
    const size_t other = Temperature == 0 ? 0 : Temperature - 1;
    return m_Bytes + cOtherCurvesOffset[Element] + other * cCurveSize;
}

CDatabaseTransducerIdMessage::CDatabaseTransducerIdMessage(IOSSFactory* pFactory)
    : CDatabaseFile(pFactory, cFileDescription, cFileName),
      m_ProductFamily(GetProductFamily(pFactory)),
      m_FrequencyScale(FrequencyScaleOf(m_ProductFamily))
{
    LoadOrCreate();
    m_SupportedTransducerFileName = EnvOrEmpty(m_pFactory, "TRANSDUCER_ID_FILE_PREFIX");
    VESK_ASSERT(!m_SupportedTransducerFileName.empty());
    m_SpeedTransducerFileName = EnvOrEmpty(m_pFactory, "SPEED_TRANSDUCER_ID_FILE_PREFIX");
    RebuildGraphs();
}

void CDatabaseTransducerIdMessage::SetDefaults()
{
    // No transducer.
    m_TransducerId = TransducerId_T{};
    RebuildGraphs();
}

VeskEventCode_T CDatabaseTransducerIdMessage::writeDB()
{
    return Store([this](IOSSFile& File) {
        return StoreBytes(File, m_TransducerId.data(), cTransducerIdSize, "Failed to write contents");
    });
}

VeskEventCode_T CDatabaseTransducerIdMessage::readDB()
{
    // Loaded aside: a short file leaves the record as it was.
    TransducerId_T loaded{};
    VeskEventCode_T result;
    Buffer_Bytes_T first(loaded.data(), cTransducerIdSize);
    int firstError;
    const std::unique_ptr<IOSSFile> file = OpenForLoad(result, first, firstError);
    if (!file) {
        return result;
    }
    if (const VeskEventCode_T failed =
            LoadBytes(*file, loaded.data(), cTransducerIdSize, "Failed to read contents", first, firstError)) {
        return failed;
    }
    m_TransducerId = loaded;
    return SUCCESS;
}

void CDatabaseTransducerIdMessage::CopyRecord(const FpgaRegisterValues_T& Bytes)
{
    std::memcpy(m_TransducerId.data(), Bytes.data(), cTransducerIdSize);
}

void CDatabaseTransducerIdMessage::SetTransducerId(const FpgaRegisterValues_T* XIDBytes)
{
    VESK_ASSERT(XIDBytes && "XIDBytes cant be Null");
    VESK_ASSERT(XIDBytes->size() == cTransducerIdSize && "wrong size");
    CopyRecord(*XIDBytes);
    RebuildGraphs();
    m_SelectedTransducer = -2;
}

void CDatabaseTransducerIdMessage::SetTransducerId(const FpgaRegisterValues_T* XIDBytes1,
                                                   const FpgaRegisterValues_T* XIDBytes2)
{
    VESK_ASSERT(XIDBytes1 && "XIDBytes1 cant be Null");
    VESK_ASSERT(XIDBytes2 && "XIDBytes2 cant be Null");
    VESK_ASSERT(XIDBytes1->size() == cTransducerIdSize && "wrong size");
    // A second memory that did not read back whole is ignored rather than
    // allowed to spoil element A.
    if (XIDBytes2->size() == cTransducerIdSize) {
        MergeXids(XIDBytes1, XIDBytes2);
    } else {
        CopyRecord(*XIDBytes1);
    }
    RebuildGraphs();
    m_SelectedTransducer = -2;
}

void CDatabaseTransducerIdMessage::MergeXids(const FpgaRegisterValues_T* XIDBytes1,
                                             const FpgaRegisterValues_T* XIDBytes2)
{
    VESK_ASSERT(XIDBytes1 && XIDBytes2 && "XIDBytes cant be Null");
    VESK_ASSERT(XIDBytes1->size() == cTransducerIdSize && XIDBytes2->size() == cTransducerIdSize && "wrong size");
    using Id = TransducerId_T;
    CopyRecord(*XIDBytes1);
    uint8_t* const record = m_TransducerId.data();
    const uint8_t* const second = XIDBytes2->data();
    std::memcpy(record + Id::cElementBlockOffset[1], second + Id::cElementBlockOffset[0], Id::cElementBlockSize);
    std::memcpy(record + Id::cOtherCurvesOffset[1], second + Id::cOtherCurvesOffset[0], 3 * Id::cCurveSize);
    // Each memory's own sensor is its element A sensor; name them apart.
    const uint8_t channels[Id::cTemperatureTableSize] = {'A', 1, 0, 'B', 1, 0, 'W', 1, 0};
    std::memcpy(record + Id::cTemperatureTableOffset, channels, sizeof(channels));
    m_TransducerId.Set<uint16_t, Id::cFlagsOffset>(0x2000);
}

FpgaRegisterValues_T CDatabaseTransducerIdMessage::GetTransducerId() const
{
    return FpgaRegisterValues_T(m_TransducerId.data(), m_TransducerId.data() + cTransducerIdSize);
}

VeskEventCode_T CDatabaseTransducerIdMessage::SelectDepthTransducerId(DepthTransducerSelection_T Selection)
{
    VESK_ASSERT(Selection != cTransducerSelectionAuto &&
                "Can't select Auto, should call SetTransducerId() with the XID bytes");
    if (Selection == cTransducerSelectionNone) {
        SetDefaults();
        m_SelectedTransducer = static_cast<int8_t>(Selection);
        return SUCCESS;
    }
    const VeskEventCode_T result = SelectTransducerFile(m_SupportedTransducerFileName, Selection);
    m_SelectedTransducer = static_cast<int8_t>(result == SUCCESS ? Selection : cTransducerSelectionNone);
    return result;
}

VeskEventCode_T CDatabaseTransducerIdMessage::SelectTestTransducerId(DepthTransducerSelection_T Selection)
{
    VESK_ASSERT(Selection != cTransducerSelectionAuto &&
                "Can't select Auto, should call SetTransducerId() with the XID bytes");
    if (Selection == cTransducerSelectionNone) {
        SetDefaults();
    } else if (const VeskEventCode_T result = SelectTransducerFile(cTestTransducerPrefix, Selection)) {
        m_SelectedTransducer = -1;
        return result;
    }
    // Test transducers are listed after the depth ones, so their selection
    // counts on from there; the sum wraps as it stands, also for none.
    m_SelectedTransducer =
        static_cast<int8_t>(Selection + CTransducerCounts::Depth());
    return SUCCESS;
}

VeskEventCode_T CDatabaseTransducerIdMessage::SelectSpeedTransducerId(SpeedTransducerSelection_T Selection)
{
    VESK_ASSERT(Selection != cTransducerSelectionAuto &&
                "Can't select Auto, should call SetTransducerId() with the XID bytes");
    VESK_ASSERT(Selection <= cTransducerSelectionAuto &&
                "Can't select none, should call SetTransducerId() with the XID bytes");
    VESK_ASSERT(Selection != cTransducerSelectionDefault &&
                "Can't select Default, should call SetTransducerId() with the XID bytes");
    return SelectTransducerFile(m_SpeedTransducerFileName, Selection);
}

VeskEventCode_T CDatabaseTransducerIdMessage::SelectTransducerFile(const std::string& Prefix, size_t Index)
{
    const std::string fromDir = EnvOrEmpty(m_pFactory, "SUPPORTED_TRANSDUCER_DIR") + "/";
    VESK_ASSERT_TEXT(fromDir.length() <= MAX_DATABASE_PATH_LENGTH, "fromDir.str().length() <= MAX_DATABASE_PATH_LENGTH");
    const std::string fromFile = Prefix + std::to_string(Index) + ".bin";
    VESK_ASSERT_TEXT(fromFile.length() <= MAX_DATABASE_PATH_LENGTH,
                     "fromFile.str().length() <= MAX_DATABASE_PATH_LENGTH");
    if (!m_pFactory->CheckForFile(fromDir.c_str(), fromFile.c_str())) {
        return OSS_FILE_FAILURE;
    }

    const std::string where = Where("::", "SelectTransducerFile");
    if (const VeskEventCode_T removed = RemoveFile()) {
        m_pFactory->SendEvent(cInfoLevel, removed, where.c_str(), "ignoring failure to remove old TransduerID file");
    }
    const std::string from = fromDir + fromFile;
    VESK_ASSERT_TEXT(from.length() <= MAX_DATABASE_PATH_LENGTH, "from.str().length() <= MAX_DATABASE_PATH_LENGTH");
    if (const VeskEventCode_T copied = m_pFactory->CopyFile(from.c_str(), GetDBFilePath(), COPY_AND_WAIT)) {
        m_pFactory->SendEvent(cInfoLevel, copied, (where + " Copying Legacy TransducerID (Users selection)").c_str(),
                              from.c_str());
        return copied;
    }
    if (const VeskEventCode_T read = readDB()) {
        m_pFactory->SendEvent(cInfoLevel, read, where.c_str(), "Reading Legacy TransducerID (Users selection");
        return read;
    }
    RebuildGraphs();
    return SUCCESS;
}

size_t CDatabaseTransducerIdMessage::TemperatureChannel(XdcrElementIndex_T Element) const
{
    using Id = TransducerId_T;
    size_t channel = 0;
    while (channel < 3 && m_TransducerId.m_Bytes[Id::cTemperatureTableOffset + 3 * channel] != ElementLetter(Element)) {
        ++channel;
    }
    return channel;
}

void CDatabaseTransducerIdMessage::Invalid(const std::string& Why)
{
    m_pFactory->SendEvent(cErrorLevel, NO_TRANSDUCER_ID_DATA, "CDatabaseTransducerIdMessage::IsValid()", Why.c_str());
}

bool CDatabaseTransducerIdMessage::IsElementValid(XdcrElementIndex_T Element, bool checkTemperatureChannels)
{
    using Id = TransducerId_T;
    const std::string letter(1, ElementLetter(Element));
    const uint8_t lower = m_TransducerId.LowerFrequency(Element);
    const uint8_t nominal = m_TransducerId.NominalFrequency(Element);
    const uint8_t upper = m_TransducerId.UpperFrequency(Element);
    bool valid = true;
    if (lower == 0 || nominal == 0 || upper == 0 || lower > nominal || nominal > upper) {
        Invalid("Frequency " + letter + " data invalid in TransducerId data");
        valid = false;
    }
    if (m_TransducerId.ElementByte(Element, Id::cPower) == 0) {
        // The two texts have always differed; tools match them as they are.
        Invalid(Element == 0 ? "Power A invalid in TransducerId data" : "Power B data invalid in TransducerId data");
        valid = false;
    }
    if (m_TransducerId.ElementByte(Element, Id::cBeamAngle1) == 0 ||
        m_TransducerId.ElementByte(Element, Id::cBeamAngle2) == 0) {
        Invalid("Beam angle " + letter + " data invalid in TransducerId data");
        valid = false;
    }
    if (checkTemperatureChannels && TemperatureChannel(Element) >= 3) {
        Invalid("TemperatureChannel(" + std::to_string(Element) + ") = " + std::to_string(TemperatureChannel(Element)));
        valid = false;
    }
    ImpedanceNode_T(*graph)[4] = GraphOf(Element);
    const std::string name = "Element " + letter + " Impedance Graph ";
    for (size_t t = 0; t < cNumGraphTemperatures; ++t) {
        for (size_t f : {size_t{0}, cNumGraphFrequencies - 1}) {
            if (graph[f][t].m_Frequency == 0) {
                Invalid(name + "zero -3dB frequency at " + At(f, t));
                valid = false;
            }
        }
        for (size_t f = 0; f + 1 < cNumGraphFrequencies; ++f) {
            if (graph[f][t].m_Frequency > graph[f + 1][t].m_Frequency) {
                Invalid(name + "invalid frequency at " + At(f, t));
                valid = false;
            }
        }
    }
    return valid;
}

bool CDatabaseTransducerIdMessage::IsValid(bool checkTemperatureChannels)
{
    bool valid = true;
    for (XdcrElementIndex_T element = 0; element < 2; ++element) {
        // An absent element has nothing to check: no transducer at all is valid.
        if (m_TransducerId.IsPresent(element) && !IsElementValid(element, checkTemperatureChannels)) {
            valid = false;
        }
    }
    return valid;
}

char* CDatabaseTransducerIdMessage::StringCopy(char* Dest, const char* Source, size_t Size)
{
    VESK_ASSERT(Source && "No Source specified");
    VESK_ASSERT(Dest && "No Destination specified");
    if (Size == 0) {
        return Dest;
    }
    size_t n = 0;
    while (n + 1 < Size && Source[n] != '\0') {
        Dest[n] = Source[n];
        ++n;
    }
    Dest[n] = '\0';
    return Dest;
}

ImpedanceNode_T (*CDatabaseTransducerIdMessage::GraphOf(XdcrElementIndex_T Element))[4]
{
    return Element == 0 ? s_ImpedanceGraphA : s_ImpedanceGraphB;
}

void CDatabaseTransducerIdMessage::SetElementTemperature(XdcrElementIndex_T Element,
                                                         Temperature_DegCx100_T Temperature)
{
    VESK_ASSERT(Element < 2);
    m_ElementTemperature[Element] = Temperature;
}

void CDatabaseTransducerIdMessage::RebuildGraphs()
{
    FillGraph(0);
    FillGraph(1);
    BuildGraphs();
}

void CDatabaseTransducerIdMessage::FillGraph(XdcrElementIndex_T Element)
{
    ImpedanceNode_T(*graph)[4] = GraphOf(Element);
    for (size_t t = 0; t < cNumGraphTemperatures; ++t) {
        const uint8_t* node = m_TransducerId.Curve(Element, t);
        for (size_t f = 0; f < cNumGraphFrequencies; ++f, node += 2) {
            graph[f][t].m_Frequency = static_cast<Frequency_100Hz_T>(node[0] * m_FrequencyScale);
            graph[f][t].m_Impedance = static_cast<Impedance_Ohms_T>(node[1] * cImpedanceUnit);
        }
    }
}

void CDatabaseTransducerIdMessage::BuildGraphs()
{
    // A curve measured at fewer than six points leaves its missing inner
    // points at zero; they take the upper -3 dB point, so the curve runs
    // flat at its top and stays ascending.
    for (size_t t = 0; t < cNumGraphTemperatures; ++t) {
        for (size_t f = 1; f + 1 < cNumGraphFrequencies; ++f) {
            for (XdcrElementIndex_T element = 0; element < 2; ++element) {
                ImpedanceNode_T(*graph)[4] = GraphOf(element);
                if (graph[f][t].m_Frequency != 0 || m_TransducerId.LowerFrequency(element) == 0) {
                    continue;
                }
                graph[f][t] = graph[cNumGraphFrequencies - 1][t];
                const std::string why = std::string("s_ImpedanceGraph") + ElementLetter(element) +
                                        " frequency of 0 found at " + At(f, t) + "setting to upper 3db point";
                m_pFactory->SendEvent(cInfoLevel, SUCCESS, "CDatabaseTransducerIdMessage::BuildGraphs()", why.c_str());
            }
        }
    }
}

void CDatabaseTransducerIdMessage::GetFrequencyLimits(XdcrElementIndex_T Element, Frequency_100Hz_T* FreqStart,
                                                      Frequency_100Hz_T* FreqEnd) const
{
    VESK_ASSERT(FreqStart && "FreqStart should not be NULL");
    VESK_ASSERT(FreqEnd && "FreqEnd should not be NULL");
    if (Element > 1) {
        *FreqStart = cNoFrequency;
        *FreqEnd = cNoFrequency;
        return;
    }
    ::GetFrequencyLimits(GraphOf(Element), FreqStart, FreqEnd);
    VESK_ASSERT(!(*FreqEnd < *FreqStart) && "The Start and End Frequencies are reversed in the TransducerId");
}

bool CDatabaseTransducerIdMessage::IsBroadband() const
{
    Frequency_100Hz_T start = cNoFrequency;
    Frequency_100Hz_T end = cNoFrequency;
    GetFrequencyLimits(0, &start, &end);
    const uint16_t width = static_cast<uint16_t>(end - start);
    const uint16_t centre = static_cast<uint16_t>(start + width / 2);
    const uint16_t quality = static_cast<uint16_t>(centre / (width == 0 ? 1 : width));
    return quality <= 4;
}

Impedance_Ohms_T CDatabaseTransducerIdMessage::CalculateAverageImpedance(XdcrElementIndex_T Element,
                                                                         Frequency_100Hz_T Start,
                                                                         Frequency_100Hz_T End) const
{
    constexpr uint16_t cMaxCounted = 12;
    int16_t step = static_cast<int16_t>((End - Start) / 10);
    if (step == 0) {
        step = 1;
    }
    uint16_t sum = 0;
    uint16_t count = 0;
    if (Element <= 1) {
        ImpedanceNode_T(*graph)[4] = GraphOf(Element);
        // Up to thirteen samples are summed but at most twelve counted: a
        // band of just over twelve steps reads a little high, and other
        // tasks compare against exactly that figure.
        Frequency_100Hz_T f = Start;
        for (uint16_t sample = 0; sample <= cMaxCounted && f <= End; ++sample) {
            sum = static_cast<uint16_t>(sum + CalculateImpedance(graph, f, m_ElementTemperature[Element]));
            count = sample < cMaxCounted ? static_cast<uint16_t>(sample + 1) : count;
            f = static_cast<Frequency_100Hz_T>(f + step);
        }
    }
    // No sample (another element, or a reversed band) averages to nothing.
    return count == 0 ? 0 : static_cast<Impedance_Ohms_T>(sum / count);
}

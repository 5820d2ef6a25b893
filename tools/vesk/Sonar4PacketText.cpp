#include "tools/vesk/Sonar4PacketText.h"

#include <cstdio>
#include <cstring>

#include "Sonar4/Sonar4MessageTable.h"
#include "Utilities/DottedQuad.h"
#include "Utilities/LittleEndian.h"

namespace {

// Bytes fields longer than this are shortened in the one-line text.
constexpr size_t cShownBytes = 16;

std::string Hex(uint32_t Value)
{
    char text[16];
    std::snprintf(text, sizeof(text), "0x%X", Value);
    return text;
}

std::string JsonString(const std::string& Text)
{
    std::string out = "\"";
    for (const unsigned char c : Text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20 || c >= 0x7F) {
            char escaped[8];
            std::snprintf(escaped, sizeof(escaped), "\\u%04x", c);
            out += escaped;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

std::string Number(const uint8_t* p, PacketFieldType_T Type)
{
    switch (Type) {
    case FIELD_U8:
        return std::to_string(p[0]);
    case FIELD_S8:
        return std::to_string(static_cast<int8_t>(p[0]));
    case FIELD_U16:
        return std::to_string(LittleEndian::Read<uint16_t>(p));
    case FIELD_S16:
        return std::to_string(LittleEndian::Read<int16_t>(p));
    case FIELD_U32:
        return std::to_string(LittleEndian::Read<uint32_t>(p));
    case FIELD_S32:
        return std::to_string(LittleEndian::Read<int32_t>(p));
    case FIELD_U64:
        return std::to_string(LittleEndian::Read<uint64_t>(p));
    default: {
        return DottedQuad(BigEndian::Read<uint32_t>(p));
    }
    }
}

Sonar4DecodedField_T DecodeField(const PacketField_T& Field, const uint8_t* p, size_t Available)
{
    Sonar4DecodedField_T decoded{Field.Name, Field.Unit, "", ""};
    if (Field.Type == FIELD_CHARS) {
        const size_t length = strnlen(reinterpret_cast<const char*>(p), Available);
        const std::string text(reinterpret_cast<const char*>(p), length);
        decoded.Json = JsonString(text);
        decoded.Text = decoded.Json;
        return decoded;
    }
    if (Field.Type == FIELD_BYTES) {
        std::string hex;
        bool zero = true;
        for (size_t i = 0; i < Available; ++i) {
            char two[3];
            std::snprintf(two, sizeof(two), "%02x", p[i]);
            hex += two;
            zero = zero && p[i] == 0;
        }
        decoded.Json = "\"" + hex + "\"";
        if (zero) {
            decoded.Text = std::to_string(Available) + " zero bytes";
        } else {
            decoded.Text = Available > cShownBytes
                               ? hex.substr(0, 2 * cShownBytes) + "... (" + std::to_string(Available) + " bytes)"
                               : hex;
        }
        return decoded;
    }
    const size_t width = PacketFieldTypeWidth(Field.Type);
    const bool quoted = Field.Type == FIELD_IPV4;
    std::string text;
    std::string json;
    for (size_t i = 0; i < Field.Count; ++i) {
        const std::string value = Number(p + i * width, Field.Type);
        text += (i ? ", " : "") + value;
        json += (i ? "," : "") + (quoted ? "\"" + value + "\"" : value);
    }
    if (std::strcmp(Field.Name, "message id") == 0) {
        text = Hex(LittleEndian::Read<uint32_t>(p));
    }
    decoded.Text = Field.Count > 1 ? "[" + text + "]" : text;
    decoded.Json = Field.Count > 1 ? "[" + json + "]" : json;
    return decoded;
}

const PacketField_T* FieldNamed(const Sonar4RecordFacts_T& Record, const char* Name)
{
    for (size_t i = 0; i < Record.FieldCount; ++i) {
        if (std::strcmp(Record.Fields[i].Name, Name) == 0) {
            return &Record.Fields[i];
        }
    }
    return nullptr;
}

void CheckHeader(const Sonar4RecordFacts_T& Record, const uint8_t* Bytes, size_t Size, Sonar4PacketReport_T& Report)
{
    if (const PacketField_T* size = FieldNamed(Record, "message size")) {
        if (Size >= size->Offset + 4 && LittleEndian::Read<uint32_t>(Bytes + size->Offset) != Size) {
            Report.Flags.push_back("size field says " +
                                   std::to_string(LittleEndian::Read<uint32_t>(Bytes + size->Offset)) +
                                   ", the packet has " + std::to_string(Size) + " bytes");
        }
    }
    if (const PacketField_T* version = FieldNamed(Record, "Sonar4 version")) {
        if (Size >= version->Offset + 4 && LittleEndian::Read<uint32_t>(Bytes + version->Offset) != SONAR4_VERSION) {
            Report.Flags.push_back("protocol version " +
                                   std::to_string(LittleEndian::Read<uint32_t>(Bytes + version->Offset)) +
                                   ", expected " + std::to_string(SONAR4_VERSION));
        }
    }
    // Fixed-size records are whole or not at all.
    if (Record.Kind == RECORD_SHARED && Size < Record.PacketSize) {
        Report.Flags.push_back("short: " + std::to_string(Size) + " of " + std::to_string(Record.PacketSize) +
                               " bytes");
    }
}

} // namespace

std::string CSonar4PacketText::MessageName(const Sonar4MessageRow_T& Row)
{
    std::string name = Row.IdName;
    for (const char* prefix : {"Message_Id_Sonar4_", "Sonar4_"}) {
        if (name.compare(0, std::strlen(prefix), prefix) == 0) {
            name.erase(0, std::strlen(prefix));
            break;
        }
    }
    const std::string suffix = "_Message";
    if (name.size() > suffix.size() && name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0) {
        name.erase(name.size() - suffix.size());
    }
    std::string camel;
    for (const char c : name) {
        if (c != '_') {
            camel += c;
        }
    }
    return camel;
}

std::string CSonar4PacketText::FileStem(const Sonar4MessageRow_T& Row)
{
    if (Row.Record.FileName == nullptr) {
        return "";
    }
    std::string stem = Row.Record.FileName;
    const size_t dot = stem.rfind('.');
    return dot == std::string::npos ? stem : stem.substr(0, dot);
}

Sonar4PacketReport_T CSonar4PacketText::Decode(const uint8_t* Bytes, size_t Size)
{
    Sonar4PacketReport_T report;
    report.Size = Size;
    if (Size < 4) {
        report.Name = "unknown";
        report.Flags.push_back("short: " + std::to_string(Size) + " bytes, not even a message id");
        return report;
    }
    report.Id = LittleEndian::Read<uint32_t>(Bytes);
    report.pRow = FindSonar4MessageRow(report.Id);
    if (report.pRow == nullptr) {
        report.Name = "unknown";
        report.Flags.push_back("unknown message id " + Hex(report.Id));
        // The usual header still tells where it came from.
        for (const PacketField_T& field : cSonar4HeaderFields) {
            if (field.Offset + field.Size() <= Size) {
                report.Fields.push_back(DecodeField(field, Bytes + field.Offset, field.Size()));
            }
        }
        return report;
    }
    report.Name = MessageName(*report.pRow);
    const Sonar4RecordFacts_T& record = report.pRow->Record;
    CheckHeader(record, Bytes, Size, report);
    for (size_t i = 0; i < record.FieldCount; ++i) {
        const PacketField_T& field = record.Fields[i];
        if (field.Offset >= Size) {
            if (record.Kind != RECORD_SHARED) {
                // Packets of their own rules may end early (a path sent only
                // as long as it is); what is not there is not shown.
                break;
            }
            continue;
        }
        const size_t available = Size - field.Offset;
        if (available < field.Size() && field.Type != FIELD_CHARS && field.Type != FIELD_BYTES) {
            continue;
        }
        report.Fields.push_back(
            DecodeField(field, Bytes + field.Offset, available < field.Size() ? available : field.Size()));
    }
    return report;
}

std::string CSonar4PacketText::Text(const Sonar4PacketReport_T& Report)
{
    std::string line = Report.Name + " (" + Hex(Report.Id) + ", " + std::to_string(Report.Size) + " bytes)";
    for (const std::string& flag : Report.Flags) {
        line += " FLAGGED " + flag + ";";
    }
    for (const Sonar4DecodedField_T& field : Report.Fields) {
        line += " " + field.Name + "=" + field.Text + (field.Unit.empty() ? "" : " " + field.Unit);
        line += ",";
    }
    if (!line.empty() && line.back() == ',') {
        line.pop_back();
    }
    return line;
}

std::string CSonar4PacketText::Json(const Sonar4PacketReport_T& Report)
{
    std::string json = "{\"message\":" + JsonString(Report.Name) + ",\"id\":" + std::to_string(Report.Id) +
                       ",\"bytes\":" + std::to_string(Report.Size) + ",\"flags\":[";
    for (size_t i = 0; i < Report.Flags.size(); ++i) {
        json += (i ? "," : "") + JsonString(Report.Flags[i]);
    }
    json += "],\"fields\":[";
    for (size_t i = 0; i < Report.Fields.size(); ++i) {
        const Sonar4DecodedField_T& field = Report.Fields[i];
        json += std::string(i ? "," : "") + "{\"name\":" + JsonString(field.Name) + ",\"value\":" + field.Json +
                (field.Unit.empty() ? "" : ",\"unit\":" + JsonString(field.Unit)) + "}";
    }
    return json + "]}";
}

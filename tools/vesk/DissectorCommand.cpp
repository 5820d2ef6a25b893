// vesk dissector: writes the capture dissector of the wire protocol (a Lua
// plugin for the common capture tools) from the message table, so that the
// layouts are kept in one place and the dissector knows every message.
#include <cctype>
#include <cstdio>
#include <string>

#include "Sonar4/Sonar4MessageTable.h"
#include "Sonar4/Sonar4Types.h"
#include "tools/vesk/Sonar4PacketText.h"
#include "tools/vesk/ToolCommand.h"

namespace {

// "master depth" -> "master_depth": the field's filter name.
std::string FilterName(const std::string& Text)
{
    std::string name;
    for (const unsigned char c : Text) {
        if (std::isalnum(c)) {
            name += static_cast<char>(std::tolower(c));
        } else if (!name.empty() && name.back() != '_') {
            name += '_';
        }
    }
    while (!name.empty() && name.back() == '_') {
        name.pop_back();
    }
    return name;
}

std::string LuaString(const std::string& Text)
{
    std::string quoted = "\"";
    for (const char c : Text) {
        if (c == '"' || c == '\\') {
            quoted += '\\';
        }
        quoted += c;
    }
    return quoted + "\"";
}

// The ProtoField constructor and display base of a field type.
const char* ProtoFieldOf(PacketFieldType_T Type, const char*& Base)
{
    Base = "base.DEC";
    switch (Type) {
    case FIELD_U8:
        return "uint8";
    case FIELD_S8:
        return "int8";
    case FIELD_U16:
        return "uint16";
    case FIELD_S16:
        return "int16";
    case FIELD_U32:
        return "uint32";
    case FIELD_S32:
        return "int32";
    case FIELD_U64:
        return "uint64";
    case FIELD_IPV4:
        Base = nullptr;
        return "ipv4";
    case FIELD_CHARS:
        Base = nullptr;
        return "stringz";
    default:
        Base = nullptr;
        return "bytes";
    }
}

void WriteField(FILE* Out, const std::string& Message, const PacketField_T& Field)
{
    const std::string filter = "sonar4." + Message + "." + FilterName(Field.Name);
    std::string label = Field.Name;
    if (Field.Unit[0] != '\0') {
        label += std::string(" (") + Field.Unit + ")";
    }
    const char* base = nullptr;
    const char* type = ProtoFieldOf(Field.Type, base);
    if (std::string(Field.Name) == "message id") {
        base = "base.HEX";
    }
    // Arrays of numbers are shown element by element under one field.
    const bool perElement = Field.Count > 1 && Field.Type != FIELD_BYTES && Field.Type != FIELD_CHARS;
    const size_t width = perElement ? PacketFieldTypeWidth(Field.Type) : Field.Size();
    std::fprintf(Out, "    {pf = ProtoField.%s(%s, %s%s%s), offset = %zu, width = %zu, count = %zu, le = %s},\n", type,
                 LuaString(filter).c_str(), LuaString(label).c_str(), base ? ", " : "", base ? base : "",
                 Field.Offset, width, perElement ? Field.Count : 1,
                 Field.Type == FIELD_IPV4 || Field.Type == FIELD_CHARS || Field.Type == FIELD_BYTES ? "false"
                                                                                                     : "true");
}

const char cPrologue[] = R"(-- Capture dissector of the Sonar4 wire protocol of the echo-sounder module.
-- Written by "vesk dissector" from the codec's message table: do not edit,
-- change the table and generate it again.
local sonar4 = Proto("sonar4", "Sonar4")
local header_id = ProtoField.uint32("sonar4.id", "message id", base.HEX)
local header_name = ProtoField.string("sonar4.message", "message")
-- The warnings say what "vesk dump" flags, in the same words.
local expert_short = ProtoExpert.new("sonar4.short", "short packet",
                                     expert.group.MALFORMED, expert.severity.WARN)
local expert_size = ProtoExpert.new("sonar4.size_mismatch", "size field differs from the packet's size",
                                    expert.group.MALFORMED, expert.severity.WARN)
local expert_version = ProtoExpert.new("sonar4.version", "another protocol version",
                                       expert.group.PROTOCOL, expert.severity.WARN)
local expert_unknown = ProtoExpert.new("sonar4.unknown", "unknown message id",
                                       expert.group.UNDECODED, expert.severity.WARN)
sonar4.experts = {expert_short, expert_size, expert_version, expert_unknown}

local messages = {}
)";

const char cEpilogue[] = R"(
local fields = {header_id, header_name}
for _, message in pairs(messages) do
    for _, field in ipairs(message.fields) do
        table.insert(fields, field.pf)
    end
end
sonar4.fields = fields

local function add_field(tree, tvb, field)
    for i = 0, field.count - 1 do
        local offset = field.offset + i * field.width
        local range = tvb(offset, field.width)
        if field.le then
            tree:add_le(field.pf, range)
        else
            tree:add(field.pf, range)
        end
    end
end

function sonar4.dissector(tvb, pinfo, tree)
    local length = tvb:len()
    pinfo.cols.protocol = "Sonar4"
    local root = tree:add(sonar4, tvb(), "Sonar4")
    if length < 4 then
        -- Sent to a sounder port, so it is ours, however little of it came.
        root:add_proto_expert_info(expert_short, string.format("short: %d bytes, not even a message id", length))
        pinfo.cols.info = string.format("short packet, %d bytes", length)
        return length
    end
    -- Every packet has its id here, so that one filter finds any message.
    root:add_le(header_id, tvb(0, 4))
    local id = tvb(0, 4):le_uint()
    local message = messages[id]
    if message == nil then
        root:add_proto_expert_info(expert_unknown, string.format("unknown message id 0x%X", id))
        pinfo.cols.info = string.format("unknown message 0x%X", id)
        return length
    end
    root:add(header_name, message.name):set_generated()
    root:append_text(", " .. message.name)
    pinfo.cols.info = message.name
    if message.sized and length >= 8 and tvb(4, 4):le_uint() ~= length then
        root:add_proto_expert_info(expert_size, string.format("size field says %d, the packet has %d bytes",
                                                              tvb(4, 4):le_uint(), length))
    end
    if message.versioned and length >= 12 and tvb(8, 4):le_uint() ~= sonar4_version then
        root:add_proto_expert_info(expert_version, string.format("protocol version %d, expected %d",
                                                                 tvb(8, 4):le_uint(), sonar4_version))
    end
    -- Fixed-size records are whole or not at all.
    if message.fixed and length < message.size then
        root:add_proto_expert_info(expert_short, string.format("short: %d of %d bytes", length, message.size))
    end
    for _, field in ipairs(message.fields) do
        if field.offset + field.width * field.count <= length then
            add_field(root, tvb, field)
        elseif field.offset < length and not field.le then
            -- Text and bytes sent only as long as they are.
            root:add(field.pf, tvb(field.offset, length - field.offset))
        end
    end
    return length
end

-- Control and data ports of the sounders: 3200 up to 3219.
local udp_port = DissectorTable.get("udp.port")
for port = 3200, 3219 do
    udp_port:add(port, sonar4)
end
)";

int Run(IOSSFactory*, CToolArgs& Args)
{
    std::string output;
    if (Args.TakeOption("output", &output, true) && output.empty()) {
        return Args.UsageError("--output takes a file name");
    }
    if (!Args.Empty()) {
        return Args.UsageError("unexpected argument " + Args.Peek());
    }
    FILE* out = output.empty() ? stdout : std::fopen(output.c_str(), "w");
    if (out == nullptr) {
        return Args.Error(TOOL_UNAVAILABLE, output + " cannot be written");
    }
    std::fputs(cPrologue, out);
    std::fprintf(out, "local sonar4_version = %u\n\n", static_cast<unsigned>(SONAR4_VERSION));
    for (const Sonar4MessageRow_T& row : GetSonar4MessageTable()) {
        const Sonar4RecordFacts_T& record = row.Record;
        const std::string name = CSonar4PacketText::MessageName(row);
        bool sized = false;
        bool versioned = false;
        for (size_t i = 0; i < record.FieldCount; ++i) {
            sized = sized || std::string(record.Fields[i].Name) == "message size";
            versioned = versioned || std::string(record.Fields[i].Name) == "Sonar4 version";
        }
        auto lua = [](bool Value) { return Value ? "true" : "false"; };
        std::fprintf(out,
                     "messages[0x%X] = {name = %s, size = %zu, fixed = %s, sized = %s, versioned = %s, fields = {\n",
                     row.Id, LuaString(name).c_str(), record.PacketSize, lua(record.Kind == RECORD_SHARED), lua(sized),
                     lua(versioned));
        for (size_t i = 0; i < record.FieldCount; ++i) {
            WriteField(out, FilterName(name), record.Fields[i]);
        }
        std::fputs("}}\n", out);
    }
    std::fputs(cEpilogue, out);
    const bool written = std::ferror(out) == 0;
    if (out != stdout && std::fclose(out) != 0) {
        return Args.Error(TOOL_FAILED, output + " cannot be written");
    }
    return written ? TOOL_OK : Args.Error(TOOL_FAILED, "writing the dissector failed");
}

} // namespace

const ToolCommand_T cDissectorCommand = {
    "dissector", "write the capture dissector (Lua) of every message in the table",
    "usage: vesk dissector [--output FILE.lua]\n"
    "\n"
    "Writes the Lua dissector of the Sonar4 wire protocol, made from the codec's\n"
    "message table: the header and every message's fields with their units, and\n"
    "warnings for short packets, wrong size fields, other versions and unknown\n"
    "ids, in the words of vesk dump; sonar4.id holds every packet's id. It\n"
    "decodes UDP ports 3200 to 3219. The package installs it among the capture\n"
    "tools' global Lua plugins; by hand, where the package is not installed\n"
    "(a second copy cannot register):\n"
    "  tshark -X lua_script:FILE.lua -r capture.pcap -V\n"
    "\n"
    "exit: 0 written; 1 the write failed; 2 wrong command line;\n"
    "      3 the file cannot be created\n",
    &Run};

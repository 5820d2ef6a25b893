#ifndef DATABASE_SERIALNUMBERINFO_H
#define DATABASE_SERIALNUMBERINFO_H

#include <cstdint>
#include <string>

// The device's own serial number, as the factory wrote it to the unit's
// configuration: the first line of the serial number file.
//
// The text is kept as found ("Unknown" when the file cannot be read). The
// number is the line's leading decimal digits, after any leading blanks;
// a line that does not start with a digit, or whose digits exceed 32 bits,
// gives 0, which every user treats as "not known".
class CSerialNumberInfo {
public:
    static constexpr const char* cSerialNumberFile = "/tollbrine/Config/SerialNumber";

    explicit CSerialNumberInfo(const char* FileName = cSerialNumberFile);

    const std::string& GetSerialNumberText() const { return m_Text; }
    uint32_t GetSerialNumber() const { return m_SerialNumber; }

    // Readable form of a serial number in log texts: plain decimal, as
    // printed on the unit's label.
    static std::string DisplayForm(uint32_t SerialNumber);
    // The leading decimal number of Text, or 0 (see the class comment).
    static uint32_t Parse(const std::string& Text);

private:
    std::string m_Text;
    uint32_t m_SerialNumber;
};

#endif

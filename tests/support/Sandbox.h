#ifndef TESTS_SUPPORT_SANDBOX_H
#define TESTS_SUPPORT_SANDBOX_H

#include <map>
#include <optional>
#include <string>
#include <vector>

// A fresh temporary directory for one test, removed with everything in it
// when the sandbox goes; environment variables set through it are restored.
class CSandbox {
public:
    CSandbox();
    ~CSandbox();
    CSandbox(const CSandbox&) = delete;
    CSandbox& operator=(const CSandbox&) = delete;

    const std::string& Path() const { return m_Path; }
    // Path of Name inside the sandbox.
    std::string operator/(const std::string& Name) const { return m_Path + "/" + Name; }

    // Sets (or, with a null value, unsets) a variable until the sandbox goes.
    void SetEnv(const std::string& Name, const char* Value);

    // Creates a sub-directory / a FIFO / a file with the given bytes; returns its path.
    std::string MakeDir(const std::string& Name);
    std::string MakeFifo(const std::string& Name);
    std::string WriteFile(const std::string& Name, const std::string& Content);
    // Whole content of a file ("" when missing), and whether it exists.
    static std::string ReadFile(const std::string& FullPath);
    static bool Exists(const std::string& FullPath);

    // The environment every record and task needs, all pointing into the
    // sandbox: database directories, pipes (FIFOs created), PID location,
    // serial number override, ping task extensions, product ids of family 9.
    void SetUnitEnvironment();

private:
    std::string m_Path;
    std::map<std::string, std::optional<std::string>> m_SavedEnv;
};

#endif

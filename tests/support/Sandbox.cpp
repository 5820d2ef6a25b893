#include "tests/support/Sandbox.h"

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

CSandbox::CSandbox()
{
    // TMPDIR may name a faster place than /tmp (a tmpfs for the fuzzers).
    const char* directory = getenv("TMPDIR");
    std::string templ = std::string(directory && *directory ? directory : "/tmp") + "/vesk-test-XXXXXX";
    if (mkdtemp(&templ[0]) == nullptr) {
        throw std::runtime_error("mkdtemp failed");
    }
    m_Path = templ;
}

CSandbox::~CSandbox()
{
    for (const auto& [name, value] : m_SavedEnv) {
        if (value) {
            setenv(name.c_str(), value->c_str(), 1);
        } else {
            unsetenv(name.c_str());
        }
    }
    const std::string command = "rm -rf '" + m_Path + "'";
    if (std::system(command.c_str()) != 0) {
        std::fprintf(stderr, "could not remove %s\n", m_Path.c_str());
    }
}

void CSandbox::SetEnv(const std::string& Name, const char* Value)
{
    if (m_SavedEnv.find(Name) == m_SavedEnv.end()) {
        const char* old = getenv(Name.c_str());
        m_SavedEnv[Name] = old ? std::optional<std::string>(old) : std::nullopt;
    }
    if (Value) {
        setenv(Name.c_str(), Value, 1);
    } else {
        unsetenv(Name.c_str());
    }
}

std::string CSandbox::MakeDir(const std::string& Name)
{
    const std::string path = *this / Name;
    const std::string command = "mkdir -p '" + path + "'";
    if (std::system(command.c_str()) != 0) {
        throw std::runtime_error("mkdir failed: " + path);
    }
    return path;
}

std::string CSandbox::MakeFifo(const std::string& Name)
{
    const std::string path = *this / Name;
    if (mkfifo(path.c_str(), 0660) != 0) {
        throw std::runtime_error("mkfifo failed: " + path);
    }
    return path;
}

std::string CSandbox::WriteFile(const std::string& Name, const std::string& Content)
{
    const std::string path = *this / Name;
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << Content;
    return path;
}

std::string CSandbox::ReadFile(const std::string& FullPath)
{
    std::ifstream in(FullPath, std::ios::binary);
    std::stringstream content;
    content << in.rdbuf();
    return content.str();
}

bool CSandbox::Exists(const std::string& FullPath)
{
    struct stat st;
    return stat(FullPath.c_str(), &st) == 0;
}

void CSandbox::SetUnitEnvironment()
{
    SetEnv("NONPERSISTED_DATABASE_ROOT", MakeDir("nonpersisted").c_str());
    SetEnv("DATABASE_DIR_SYSTEM_DATA", MakeDir("systemdata").c_str());
    SetEnv("DATABASE_DIR_PING_PARAMETERS", MakeDir("pingparameters").c_str());
    SetEnv("ROOT_DIR", MakeDir("root").c_str());
    SetEnv("PID_LOCATION", MakeDir("pid").c_str());
    SetEnv("IPC_MASTER_BOTTOM_TASK", MakeFifo("MasterBottomTask.fifo").c_str());
    SetEnv("IPC_ERROR_HANDLER_TASK", MakeFifo("ErrorHandlerTask.fifo").c_str());
    SetEnv("IPC_LED_TASK", MakeFifo("LedTask.fifo").c_str());
    SetEnv("EMBEDDED_SERIAL_NUMBER_OVERRIDE", "1234");
    SetEnv("PRIMARY_PING_TASK_FILE_EXTENSTION", "PPT");
    SetEnv("SECONDARY_PING_TASK_FILE_EXTENSTION", "SPT");
    SetEnv("MAX_ALLOWED_DEPTH_IN_CM", nullptr);
    SetEnv("CONTROL_PORT_OVERRIDE", nullptr);
    SetEnv("DATA_PORT_OVERRIDE", nullptr);
    static const char* const cModels[] = {
        "ORVA1", "ORVA2", "ORVA3", "ORVA4", "ORVA5", "ORVA6", "ORVA7", "ORVA8", "ORVA9", "ORVA10", "ORVA11",
        "BELTA", "BELTA2", "CIRNA1", "CIRNA2", "CIRNA3", "CIRNA4",
        "DUSKO1", "DUSKO2", "DUSKO3", "DUSKO4", "DUSKO5"};
    int number = 100;
    for (const char* model : cModels) {
        // Distinct six-character ids so that only the intended row matches.
        const std::string value = "P" + std::to_string(number++) + "XX";
        SetEnv(std::string("PRODUCT_ID_") + model, value.c_str());
    }
    SetEnv("PRODUCT_ID", getenv("PRODUCT_ID_DUSKO5"));
}

#ifndef TESTS_SUPPORT_TARGETCOMMAND_H
#define TESTS_SUPPORT_TARGETCOMMAND_H

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

// Name of the user-mode emulator running this test binary ("qemu-arm" ...),
// as the cross toolchains set it; null when the binary runs natively. The
// few tests that need a system feature the emulator does not implement
// skip under it, naming the feature, and fail as before anywhere else.
inline const char* Emulator()
{
    return std::getenv("VESK_EMULATOR");
}

// Runs one of this build's executables in place of the calling process. In
// a cross build the emulator's words come first, since the system cannot
// run the target's binaries by itself. Made before fork, so that the child
// only calls Exec.
class CTargetCommand {
public:
    explicit CTargetCommand(const std::string& Binary, const std::vector<std::string>& Args = {})
    {
        std::istringstream emulator(VESK_TARGET_EMULATOR);
        for (std::string word; emulator >> word;) {
            m_Words.push_back(word);
        }
        m_Words.push_back(Binary);
        m_Words.insert(m_Words.end(), Args.begin(), Args.end());
        for (std::string& word : m_Words) {
            m_Argv.push_back(word.data());
        }
        m_Argv.push_back(nullptr);
    }
    CTargetCommand(const CTargetCommand&) = delete;
    CTargetCommand& operator=(const CTargetCommand&) = delete;

    // Returns only when the exec failed.
    void Exec() const { execv(m_Argv[0], m_Argv.data()); }

    // Runs it as a child whose output and errors are appended to
    // OutputPath; its exit status, or -1 when it did not exit.
    int Run(const std::string& OutputPath) const
    {
        const pid_t child = fork();
        if (child == 0) {
            const int fd = open(OutputPath.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0640);
            dup2(fd, STDOUT_FILENO);
            dup2(fd, STDERR_FILENO);
            Exec();
            _exit(127);
        }
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    std::vector<std::string> m_Words;
    std::vector<char*> m_Argv;
};

#endif

// Runs the benchmarks with the task's event lines going to /dev/null, as
// they would drown the results, while the results still reach the
// terminal (or wherever standard output went).
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <streambuf>

#include <benchmark/benchmark.h>

#include "bench/BenchUnit.h"

namespace {

// An unbuffered output stream on a file descriptor.
class CDescriptorBuffer : public std::streambuf {
public:
    explicit CDescriptorBuffer(int Descriptor) : m_Descriptor(Descriptor) {}

protected:
    int_type overflow(int_type Character) override
    {
        if (traits_type::eq_int_type(Character, traits_type::eof())) {
            return traits_type::not_eof(Character);
        }
        const char byte = traits_type::to_char_type(Character);
        return xsputn(&byte, 1) == 1 ? Character : traits_type::eof();
    }

    std::streamsize xsputn(const char* Text, std::streamsize Count) override
    {
        std::streamsize written = 0;
        while (written < Count) {
            const ssize_t result = write(m_Descriptor, Text + written, static_cast<size_t>(Count - written));
            if (result <= 0) {
                break;
            }
            written += result;
        }
        return written;
    }

private:
    int m_Descriptor;
};

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }

    std::fflush(stdout);
    const int results = dup(STDOUT_FILENO);
    const int devNull = open("/dev/null", O_WRONLY);
    if (results < 0 || devNull < 0 || dup2(devNull, STDOUT_FILENO) < 0) {
        std::perror("redirecting standard output");
        return 1;
    }
    close(devNull);

    CDescriptorBuffer resultBuffer(results);
    std::ostream resultStream(&resultBuffer);
    const auto options = isatty(results) ? benchmark::ConsoleReporter::OO_ColorTabular
                                         : benchmark::ConsoleReporter::OO_Tabular;
    benchmark::ConsoleReporter reporter(options);
    reporter.SetOutputStream(&resultStream);
    reporter.SetErrorStream(&std::cerr);

    BenchUnit::Prepare();
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}

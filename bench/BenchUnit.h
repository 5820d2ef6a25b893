#ifndef BENCH_BENCHUNIT_H
#define BENCH_BENCHUNIT_H

#include <string>

class IOSSFactory;

// The unit the benchmarks run in: a temporary directory holding the
// database directories and the task pipes, with the environment a unit has
// pointing into it, so that records and pipes do real file I/O. Removed
// when the process exits.
namespace BenchUnit {

// Creates the directory and sets the environment; safe to call again.
void Prepare();

// Path of Name inside the unit directory.
std::string PathOf(const std::string& Name);

// Creates a FIFO in the unit directory and returns its path.
std::string MakeFifo(const std::string& Name);

// The real Linux factory of the task, events included.
IOSSFactory* Factory();

} // namespace BenchUnit

#endif

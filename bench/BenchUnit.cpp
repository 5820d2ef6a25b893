#include "bench/BenchUnit.h"

#include "Utilities/OSSLinuxFactory.h"
#include "tests/support/Sandbox.h"

namespace {

// Destroyed at exit, which removes the directory.
CSandbox& Unit()
{
    static CSandbox unit;
    return unit;
}

} // namespace

namespace BenchUnit {

void Prepare()
{
    static const bool prepared = (Unit().SetUnitEnvironment(), true);
    (void)prepared;
}

std::string PathOf(const std::string& Name)
{
    return Unit() / Name;
}

std::string MakeFifo(const std::string& Name)
{
    return Unit().MakeFifo(Name);
}

IOSSFactory* Factory()
{
    static COSSLinuxFactory factory;
    return &factory;
}

} // namespace BenchUnit

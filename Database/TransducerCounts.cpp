#include "Database/TransducerCounts.h"

namespace {

uint16_t s_NumDepthTransducers = 0;
uint16_t s_NumSpeedTransducers = 0;
uint16_t s_NumDepthTypeTransducers = CTransducerCounts::cMaxListed;

} // namespace

void CTransducerCounts::Restart()
{
    s_NumDepthTransducers = 0;
    s_NumSpeedTransducers = 0;
    s_NumDepthTypeTransducers = 0;
}

void CTransducerCounts::AddDepth()
{
    ++s_NumDepthTransducers;
    ++s_NumDepthTypeTransducers;
}

void CTransducerCounts::AddSpeed()
{
    ++s_NumSpeedTransducers;
}

void CTransducerCounts::AddTest()
{
    ++s_NumDepthTypeTransducers;
}

uint16_t CTransducerCounts::Depth()
{
    return s_NumDepthTransducers;
}

uint16_t CTransducerCounts::Speed()
{
    return s_NumSpeedTransducers;
}

uint16_t CTransducerCounts::DepthType()
{
    return s_NumDepthTypeTransducers;
}

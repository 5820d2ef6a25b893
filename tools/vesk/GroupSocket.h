#ifndef TOOLS_VESK_GROUPSOCKET_H
#define TOOLS_VESK_GROUPSOCKET_H

#include <cstdint>
#include <memory>
#include <string>

#include "Utilities/IOSSNetwork.h"

class IOSSFactory;

// Where a unit publishes: its multicast group and data port.
struct UnitGroup_T {
    std::string Group;
    uint16_t Port = 0;
};

// The group and data port held in a service info file, read as bytes
// (opening the record would rewrite the file for this machine's address).
// "" in Error when it worked.
UnitGroup_T ReadUnitGroup(const std::string& ServiceInfoPath, std::string& Error);

// A socket bound to the port that has joined the group (when the address
// is a multicast one) on the interface the task sends from. Null with
// Error set when that fails.
std::unique_ptr<IOSSNetwork> JoinUnitGroup(IOSSFactory* pFactory, const UnitGroup_T& Where, std::string& Error);

#endif

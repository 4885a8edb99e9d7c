// The maps of the store as a packet: a record for each variable, map by map.
//
// Portable, no locks: the maps' owner serialises.
#pragma once

#include "variables/VariableMaps.h"
#include "variables/VariablePacket.h"

namespace zq {

// Bools, integers, doubles, strings and binaries, in this order. Raises std::bad_alloc.
PacketWriter PackMaps(const VariableMaps& maps);

} // namespace zq

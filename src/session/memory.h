// The `memory` command: how the data area and the other stores use memory.
#pragma once
#include <cstdint>

namespace session {

// The ado cache limit in units of 1000 bytes; the settings supply it by defining this.
int32_t memory_adosize();

// memory
int cmd_memory(int);

} // namespace session

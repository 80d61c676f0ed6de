// The one allocation of work memory and the data area at start (and again by `set memory`).
#pragma once
#include <cstdint>

namespace session {

// 0 when the memory was granted; 909 when the system refused it (nothing is written).
int work_memory_init(int64_t memory_bytes, int32_t maxvar, int32_t matsize);

}  // namespace session

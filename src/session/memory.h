// The `memory` command: how the data area and the other stores use memory.
#pragma once
#include <cstdint>

namespace session {

// The figures of the data area, in bytes and counts. The dataset supplies them by defining
// memory_figures(); until it does, the default gives the size of the area and zero for the rest.
struct MemFigures {
    int64_t M_total = 0;   // bytes of the data area
    int64_t M_data = 0;    // bytes of the rows in use
    int64_t M_oh = 0;      // bytes of the observation index for the rows in use
    int64_t M_dyn = 0;     // bytes of the dynamic part behind the rows
    int64_t N_cur = 0;     // rows that fit (maxobs)
    int64_t N_curmax = 0;  // length of the index (tmaxobs)
    int64_t k_cur = 0;     // variables that fit in the current partition
    int64_t w_cur = 0;     // used width of a row
    int64_t width = 0;     // row stride
    int64_t size_ptr = 0;  // index bytes per observation
    int64_t n_repart = 0;  // repartitions so far
    int64_t n_shift = 0;   // row moves made by them
};
MemFigures memory_figures();

// The ado cache limit in units of 1000 bytes; the settings supply it by defining this.
int32_t memory_adosize();

// memory
int cmd_memory(int);

}  // namespace session

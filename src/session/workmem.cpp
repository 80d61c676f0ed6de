// The data area: one block of memory_bytes, taken at start.
#include "session/workmem.h"

#include <cstdlib>
#include <memory>

namespace session {

namespace {
struct FreeDeleter {
    void operator()(void *p) const { std::free(p); }
};
std::unique_ptr<char, FreeDeleter> g_area;
}  // namespace

int work_memory_init(int64_t memory_bytes, int32_t, int32_t) {
    if (memory_bytes <= 0) return 909;
    void *p = std::malloc((size_t)memory_bytes);
    if (!p) return 909;
    g_area.reset(static_cast<char *>(p));
    return 0;
}

}  // namespace session

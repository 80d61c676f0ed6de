// The facts of the command table and the look-up by first character and abbreviation.
#include "session/commands.h"

#include <vector>

#include "session/state.h"
#include "session/tok.h"

namespace session {

const CmdRow cmd_rows[] = {
#define X(name, minlen, handler, arg, vtest, flags) {#name, minlen, vtest, flags},
#include "session/cmdtab.h"
#undef X
};
const int cmd_row_count = (int)(sizeof cmd_rows / sizeof cmd_rows[0]);

namespace {

// Row indices by first character, in table order.
struct Index {
    std::vector<int> by_first[256];
    Index() {
        for (int i = 0; i < cmd_row_count; ++i)
            by_first[(unsigned char)cmd_rows[i].name[0]].push_back(i);
    }
};
const Index &index() {
    static const Index idx;
    return idx;
}

bool version_ok(VersionTest t) {
    switch (t) {
    case V_ANY:
        return true;
    case V_GE600:
        return lp.version >= 600;
    case V_GE800:
        return lp.version >= 800;
    case V_LT600:
        return lp.version < 600;
    case V_LT800:
        return lp.version < 800;
    }
    return false;
}

} // namespace

const CmdRow *find_command(const char *word) {
    for (int i : index().by_first[(unsigned char)word[0]]) {
        const CmdRow &r = cmd_rows[i];
        if (version_ok(r.vtest) && cmdmatch(word, r.name, r.minlen)) return &r;
    }
    return nullptr;
}

const CmdRow *find_skipped(const char *word) {
    for (int i : index().by_first[(unsigned char)word[0]]) {
        const CmdRow &r = cmd_rows[i];
        if (!(r.flags & CF_SKIP)) continue;
        const int minlen = (r.flags & CF_SHORT) && lp.version >= 800 ? 1 : r.minlen;
        if (cmdmatch(word, r.name, minlen)) return &r;
    }
    return nullptr;
}

bool command_has(const char *word, uint8_t flags) {
    for (int i : index().by_first[(unsigned char)word[0]]) {
        const CmdRow &r = cmd_rows[i];
        if ((r.flags & flags) != flags) continue;
        if (cmdmatch(word, r.name, (r.flags & CF_SHORT) ? 1 : r.minlen)) return true;
    }
    return false;
}

} // namespace session

// The dispatcher: command word to handler by first character and the ordered table of rows.
#include "session/dispatch.h"

#include <cstdio>
#include <cstring>
#include <vector>

#include "data/assert.h"
#include "data/dataset.h"
#include "data/formatcmd.h"
#include "data/fvcmd.h"
#include "data/list.h"
#include "data/varlist.h"
#include "lang/flow.h"
#include "lang/macro.h"
#include "lang/prog.h"
#include "matrix/results.h"
#include "output/channel.h"
#include "output/display.h"
#include "session/errors.h"
#include "session/loop.h"
#include "session/memory.h"
#include "session/tok.h"

namespace session {

using lang::cmd_do;
using out::cmd_display;

const char *current_command = "";

namespace {

const CmdRow rows[] = {
#define X(name, minlen, handler, arg, vtest) {#name, minlen, handler, arg, vtest},
#include "session/cmdtab.h"
#undef X
};

// Row indices by first character, in table order.
struct Index {
    std::vector<int> by_first[256];
    Index() {
        for (int i = 0; i < (int)(sizeof rows / sizeof rows[0]); ++i)
            by_first[(unsigned char)rows[i].name[0]].push_back(i);
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

// While a branch is skipped only these words are looked at; each keeps block structure right.
struct SkipRow {
    const char *name;
    int minlen;
    Handler handler;
    int arg;
};
int skip_nothing(int) { return 0; }
const SkipRow skip_rows[] = {
    {"_byobs", 6, skip_nothing, 0},       {"_cls", 4, skip_nothing, 0},
    {"break", 5, cmd_break, 0},           {"capture", 3, cmd_capture, 0},
    {"class", 5, skip_nothing, 0},        {"else", 4, lang::cmd_else, 0},
    {"foreach", 7, lang::cmd_foreach, 0}, {"forvalues", 4, lang::cmd_forvalues, 0},
    {"if", 2, lang::cmd_if, 0},           {"m", 1, skip_nothing, 0},
    {"kiln", 4, skip_nothing, 0},         {"noisily", 1, cmd_noisily, 0},
    {"nobreak", 7, cmd_nobreak, 0},       {"quietly", 3, cmd_quietly, 0},
    {"version", 4, cmd_version, 0},       {"while", 2, lang::cmd_if, 1},
};

bool valid_name(const char *w) {
    if (!((w[0] >= 'a' && w[0] <= 'z') || (w[0] >= 'A' && w[0] <= 'Z') || w[0] == '_')) return false;
    for (const char *p = w; *p; ++p)
        if (!((*p >= 'a' && *p <= 'z') || (*p >= 'A' && *p <= 'Z') || (*p >= '0' && *p <= '9') || *p == '_'))
            return false;
    return true;
}

} // namespace

const CmdRow *find_command(const char *word) {
    for (int i : index().by_first[(unsigned char)word[0]]) {
        const CmdRow &r = rows[i];
        if (version_ok(r.vtest) && cmdmatch(word, r.name, r.minlen)) return &r;
    }
    return nullptr;
}

int cmd_na(int) {
    out::ClassScope cs(out::CLS_ERROR);
    out::out_error("command ");
    out::out_error(current_command);
    out::out_error(" is not available in this build\n");
    return 199;
}

int dispatch() {
    data::command_start();
    data::parser_reset();
    out::ch.OutputClass = out::CLS_RESULT;
    lp.cmdserial = lp.cmdserial >= 2147483646 ? 1 : lp.cmdserial + 1;
    const char *w = lp.cmdword;
    if (w[0] == '\0' || w[0] == '*') return 0;
    if (!lp.execflag) {
        if (w[0] == '{') return lang::cmd_block(0);
        for (const SkipRow &r : skip_rows) {
            int minlen = r.minlen;
            if (r.handler == cmd_quietly && lp.version >= 800) minlen = 1;
            if (cmdmatch(w, r.name, minlen)) return r.handler(r.arg);
        }
        return 0;
    }
    if (w[0] == '{') return lang::cmd_block(0);
    if (w[0] == '!') {
        current_command = "!";
        return cmd_na(0);
    }
    if (const CmdRow *r = find_command(w)) {
        const char *saved = current_command;
        current_command = r->name;
        int rc = r->handler(r->arg);
        current_command = saved;
        return rc;
    }
    if (w[0] == '.') {
        current_command = ".";
        return cmd_na(0);
    }
    std::string word = w;
    out::ClassScope cs(out::CLS_ERROR);
    if (!valid_name(word.c_str())) {
        out::out_error("unrecognized command:  ");
        out::out_error(word);
        out::out_error(" invalid command name\n");
        return 199;
    }
    bool found = false;
    int rc = lang::run_stored_program(word.c_str(), &found);
    if (found) return rc;
    rc = lang::run_ado(word.c_str(), &found);
    if (found) return rc;
    out::out_error("unrecognized command:  ");
    out::out_error(word);
    out::out_error("\n");
    return 199;
}

int dispatch_rest() {
    const char *t = gettok(SEP_STD);
    if (t[0] == ':' && t[1] == '\0') t = gettok(SEP_STD);
    std::snprintf(lp.cmdword, sizeof lp.cmdword, "%s", t);
    return dispatch();
}

} // namespace session

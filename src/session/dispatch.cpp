// The dispatcher: command word to handler through the rows of the command table.
#include "session/dispatch.h"

#include <cstdio>
#include <cstring>
#include <vector>

#include "data/assert.h"
#include "data/collapse.h"
#include "data/correlate.h"
#include "data/count.h"
#include "data/datacmd.h"
#include "data/dataset.h"
#include "data/egen.h"
#include "data/encode.h"
#include "data/expand.h"
#include "data/filecmd.h"
#include "data/formatcmd.h"
#include "data/fvcmd.h"
#include "data/gen.h"
#include "data/infile.h"
#include "data/insheet.h"
#include "data/labelcmd.h"
#include "data/list.h"
#include "data/markcmd.h"
#include "data/merge.h"
#include "data/oneway.h"
#include "data/postfile.h"
#include "data/preserve.h"
#include "data/scalar.h"
#include "data/sort.h"
#include "data/summarize.h"
#include "data/tabulate.h"
#include "data/tsset.h"
#include "data/usecmd.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "estimate/family.h"
#include "estimate/logit.h"
#include "estimate/mleval.h"
#include "estimate/mlopt.h"
#include "estimate/regcmd.h"
#include "estimate/robust.h"
#include "lang/cls.h"
#include "lang/flow.h"
#include "lang/macro.h"
#include "lang/prog.h"
#include "lang/syntax.h"
#include "matrix/constraint.h"
#include "matrix/matcmd.h"
#include "matrix/return.h"
#include "matrix/wald.h"
#include "output/channel.h"
#include "output/display.h"
#include "output/help.h"
#include "output/log.h"
#include "output/translate.h"
#include "output/type.h"
#include "session/by.h"
#include "session/commands.h"
#include "session/errorcmd.h"
#include "session/errors.h"
#include "session/filefilter.h"
#include "session/input.h"
#include "session/loop.h"
#include "session/memory.h"
#include "session/tok.h"
#include "session/zipfile.h"

namespace session {

using lang::cmd_do;
using out::cmd_display;

const char *current_command = "";

namespace {

// The handler of each row of the command table, by the row's index.
struct HandlerRow {
    Handler handler;
    int arg;
};
const HandlerRow handlers[] = {
#define X(name, minlen, handler, arg, vtest, flags) {handler, arg},
#include "session/cmdtab.h"
#undef X
};

int run_row(const CmdRow *r) {
    const HandlerRow &h = handlers[r - cmd_rows];
    return h.handler(h.arg);
}

} // namespace

int cmd_na(int) { return not_built(std::string("command ") + current_command); }

int dispatch() {
    data::command_begin();
    out::ch.OutputClass = out::CLS_RESULT;
    lp.cmdserial = lp.cmdserial >= 2147483646 ? 1 : lp.cmdserial + 1;
    const char *w = lp.cmdword;
    if (w[0] == '\0' || w[0] == '*') return 0;
    if (!lp.execflag) {
        // Only the words that keep block structure are looked at; one not built yet has none to keep.
        if (w[0] == '{') return lang::cmd_block(0);
        const CmdRow *r = find_skipped(w);
        if (!r || handlers[r - cmd_rows].handler == cmd_na) return 0;
        return run_row(r);
    }
    if (w[0] == '{') return lang::cmd_block(0);
    if (w[0] == '!') {
        current_command = "!";
        return cmd_na(0);
    }
    if (const CmdRow *r = find_command(w)) {
        const char *saved = current_command;
        current_command = r->name;
        int rc = run_row(r);
        current_command = saved;
        return rc;
    }
    if (w[0] == '.') {
        current_command = ".";
        return lang::cmd_dotref(0);
    }
    std::string word = w;
    if (!name_ok(word)) return fail(199, "unrecognized command:  " + word + " invalid command name\n");
    bool found = false;
    int rc = lang::run_stored_program(word.c_str(), &found);
    if (found) return rc;
    rc = lang::run_ado(word.c_str(), &found);
    if (found) return rc;
    return fail(199, "unrecognized command:  " + word + "\n");
}

int dispatch_rest() {
    const char *t = gettok(SEP_STD);
    if (t[0] == ':' && t[1] == '\0') t = gettok(SEP_STD);
    std::snprintf(lp.cmdword, sizeof lp.cmdword, "%s", t);
    return dispatch();
}

} // namespace session

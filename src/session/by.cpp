// The `by` prefix: groups of observations with equal by-variables, the command run again for each,
// and the byable programs that run once (onecall) or once a group (recall).
#include "session/by.h"

#include <cstring>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/expr.h"
#include "data/fmt.h"
#include "data/gen.h"
#include "data/sort.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "lang/prog.h"
#include "output/channel.h"
#include "session/commands.h"
#include "session/dispatch.h"
#include "session/errors.h"
#include "session/loop.h"
#include "session/macstore.h"
#include "session/options.h"
#include "session/state.h"
#include "session/tok.h"

namespace data {

using session::gettok;
using session::SEP_STD;
using session::tk;

namespace {

constexpr int max_depth = 100; // nested by's

int depth = 0;

// The groups of the dataset by the by-variables: the first observation of each, and N+1 behind the last.
struct Groups {
    std::vector<int> vars;
    std::vector<int32_t> start;
    int count() const { return (int)start.size() - 1; }
};

bool same(const std::vector<int> &vars, int32_t a, int32_t b) {
    char sa[EXPR_STRBUF], sb[EXPR_STRBUF];
    for (int v : vars) {
        if (is_string_type(ds.vartype[v - 1])) {
            get_str(v, a, sa);
            get_str(v, b, sb);
            if (std::strcmp(sa, sb) != 0) return false;
        } else if (get_num(v, a) != get_num(v, b)) {
            return false; // the missing values are ordinary numbers: .a equals only .a
        }
    }
    return true;
}

int find_groups(Groups &g) {
    g.start.clear();
    if (ds.nobs > 0) g.start.push_back(1);
    for (int32_t i = 2; i <= ds.nobs; ++i) {
        if ((i & 65535) == 0 && session::poll_break()) return 1;
        if (!same(g.vars, i - 1, i)) g.start.push_back(i);
    }
    g.start.push_back(ds.nobs + 1);
    return 0;
}

// The sort list begins with these variables, in this order.
bool sorted_by(const std::vector<int> &vars) {
    for (size_t k = 0; k < vars.size(); ++k)
        if (ds.sortlist[k] != vars[k]) return false;
    return true;
}

// "-> x = 1, s = ab": the values of the by-variables in the first observation of a group.
std::string separator(const std::vector<int> &vars, int32_t i) {
    std::string s = "-> ";
    char buf[FMT_BUFSIZE];
    for (size_t k = 0; k < vars.size(); ++k) {
        const int v = vars[k];
        if (k) s += ", ";
        s += std::string(ds.varname[v - 1]) + " = ";
        if (is_string_type(ds.vartype[v - 1])) {
            get_str(v, i, buf);
            s += buf;
            continue;
        }
        Fmt f;
        if (fmt_parse(ds.fmt[v - 1], f, true) != 0) fmt_parse("%9.0g", f, true);
        const int n = fmt_number(get_num(v, i), f, buf, sizeof buf);
        std::string t(buf, (size_t)n);
        t.erase(0, t.find_first_not_of(' '));
        t.erase(t.find_last_not_of(' ') + 1);
        s += t;
    }
    return s;
}

// The command behind the colon, past the prefixes that only pass it on: its word.
std::string command_word(const std::string &cmd) {
    session::TokState at;
    session::savetok(at);
    const std::string saved_token = tk.token;
    session::settok(cmd.c_str());
    std::string w;
    for (;;) {
        w = gettok(SEP_STD);
        if (w == ":") continue;
        if (!w.empty() && session::command_has(w.c_str(), session::CF_PREFIX)) continue;
        break;
    }
    session::restoretok(at);
    std::snprintf(tk.token, sizeof tk.token, "%s", saved_token.c_str());
    return w;
}

// How the command takes `by`.
enum ByKind { BK_LOOP, BK_LOOP_NOHEADER, BK_ONECALL };

// Commands whose groups are not announced: they change the data and say so at the end.
bool quiet_command(const char *name) {
    for (const char *q : {"generate", "replace", "drop", "keep", "assert"})
        if (std::strcmp(name, q) == 0) return true;
    return false;
}

int command_kind(const std::string &word, ByKind *kind, bool *announce) {
    if (word.empty()) return session::error(198);
    if (const session::CmdRow *r = session::find_command(word.c_str())) {
        if (std::strcmp(r->name, "by") == 0 || std::strcmp(r->name, "bysort") == 0)
            return session::error(7198);
        if (r->flags & session::CF_BYONE) {
            *kind = BK_ONECALL;
            *announce = false;
            return 0;
        }
        if (!(r->flags & session::CF_BY))
            return session::fail(190, std::string(r->name) + " may not be combined with by\n");
        *kind = BK_LOOP;
        *announce = !quiet_command(r->name);
        return 0;
    }
    lang::ProgHeader *p = nullptr;
    if (int rc = lang::find_program(word.c_str(), &p)) return rc;
    if (!p) return session::fail(199, "unrecognized command:  " + word + "\n");
    if (!p->byable) return session::fail(190, word + " may not be combined with by\n");
    *kind = p->byable == 1 ? BK_ONECALL : p->byable == 3 ? BK_LOOP_NOHEADER : BK_LOOP;
    *announce = p->byable == 2;
    return 0;
}

// Runs the text as a command line through the dispatcher, as typed.
int run_line(const std::string &cmd) {
    std::memcpy(tk.cmdbuf, cmd.c_str(), cmd.size() + 1);
    session::settok(tk.cmdbuf);
    std::snprintf(session::lp.cmdword, sizeof session::lp.cmdword, "%s", gettok(SEP_STD));
    session::lp.byprefix = 1;
    return session::dispatch();
}

// Scratch variables (`_delete`) that a group's command left behind go before the next group runs.
void drop_scratch_from(int first) {
    if (ds.nvar < first) return;
    std::vector<uint8_t> flags((size_t)ds.nvar, 0);
    bool any = false;
    for (int v = first; v <= ds.nvar; ++v)
        if (std::strcmp(ds.varname[v - 1], "_delete") == 0 && v != bys.keep_var)
            flags[(size_t)v - 1] = any = 1;
    if (any) drop_vars(flags.data());
}

// A failure under by: the variables made since the first group go.
void put_back_variables(int nvar_at) {
    if (ds.nvar > nvar_at) cut_vars(nvar_at);
}

// Everything by changes, put back on every path.
struct ByScope {
    ByState saved_by = bys;
    ExprBy saved_ex = exby;
    uint8_t saved_prefix = session::lp.byprefix;
    std::string line = tk.cmdbuf;
    ByScope() {
        ++depth;
        bys.running = saved_by.running + 1;
    }
    ~ByScope() {
        --depth;
        bys = saved_by;
        exby = saved_ex;
        session::lp.byprefix = saved_prefix;
        std::memcpy(tk.cmdbuf, line.c_str(), line.size() + 1);
        session::settok(tk.cmdbuf);
        tk.tokpos = tk.cmdbuf + line.size();
    }
};

// The macro by gives a byable program: "!BY" and the nesting level; the rc0 digit and the names.
std::string by_macro_name() { return "!BY" + std::to_string(depth); }

int run_groups(const Groups &g, const std::string &cmd, ByKind kind, bool announce, bool rc0) {
    bys.state = 1;
    bys.nvar_at = ds.nvar;
    bys.keep_var = 0;
    const int n = g.count();
    for (int k = 0; k < n; ++k) {
        if (session::poll_break()) return 1;
        bys.lo = g.start[(size_t)k];
        bys.hi = g.start[(size_t)k + 1] - 1;
        bys.last = k == n - 1;
        exby.index = k + 1;
        exby.lastcall = bys.last;
        if (announce && kind != BK_LOOP_NOHEADER && out::ch.OutputLevel < out::LVL_QUIET) {
            out::ClassScope cs(out::CLS_TEXT);
            out::out_text(separator(g.vars, bys.lo) + "\n");
        }
        const int nvar_before = ds.nvar;
        int rc = run_line(cmd);
        drop_scratch_from(nvar_before + 1);
        if (rc == 1) return 1;
        if (rc) {
            if (!rc0) {
                put_back_variables(bys.nvar_at);
                return rc;
            }
            out::ClassScope cs(out::CLS_TEXT);
            out::out_textf("(return code was %d)\n", rc);
        }
        bys.state = 2;
    }
    return 0;
}

// generate and replace over more than 128 observations: one pass over all groups (byxeq_bi_gen,
// byxeq_bi_rep) when their expressions are pure; *taken tells whether it ran.
int one_pass(const Groups &g, const std::string &cmd, bool *taken) {
    *taken = false;
    if (ds.nobs <= 128) return 0;
    std::memcpy(tk.cmdbuf, cmd.c_str(), cmd.size() + 1);
    session::settok(tk.cmdbuf);
    const std::string word = gettok(SEP_STD);
    const session::CmdRow *r = session::find_command(word.c_str());
    const bool gen = r && std::strcmp(r->name, "generate") == 0,
               rep = r && std::strcmp(r->name, "replace") == 0;
    if (!gen && !rep) return 0;
    std::vector<ObsGroup> groups((size_t)g.count());
    for (int k = 0; k < g.count(); ++k)
        groups[(size_t)k] = ObsGroup{g.start[(size_t)k], g.start[(size_t)k + 1] - 1};
    session::lp.byprefix = 1;
    command_begin();
    return gen ? gen_by_groups(groups, taken) : rep_by_groups(groups, taken);
}

// A onecall program runs once; __byindex holds the group of each observation while it runs.
int run_onecall(const Groups &g, const std::string &cmd, bool rc0) {
    int bv = 0;
    if (int rc = add_var("__byindex", T_LONG, &bv)) return rc;
    for (int k = 0; k < g.count(); ++k)
        for (int32_t i = g.start[(size_t)k]; i < g.start[(size_t)k + 1]; ++i)
            put_num(bv, i, k + 1);
    std::string names;
    for (int v : g.vars)
        names += std::string(names.empty() ? "" : " ") + ds.varname[v - 1];
    const std::string mac = by_macro_name();
    session::macro_set(mac.c_str(), std::string(rc0 ? "1" : "0") + " " + names);
    bys.state = 0;
    exby.index = 0;
    exby.lastcall = 1;
    const int rc = run_line(cmd);
    session::macro_drop(mac.c_str());
    const int at = find_var("__byindex");
    if (at > 0) {
        std::vector<uint8_t> flags((size_t)ds.nvar, 0);
        flags[(size_t)at - 1] = 1;
        drop_vars(flags.data());
    }
    return rc;
}

// The prefix: varlist [(varlist)] [, sort rc0] :
int read_prefix(std::vector<int> &byvars, std::vector<int> &tail, bool *sort, bool *rc0) {
    if (int rc = parse_varlist(VL_NOALL)) return rc;
    for (int k = 0; k < ps.count; ++k)
        byvars.push_back(ps.var[k]);
    std::string t = gettok(SEP_STD);
    if (t == "(") {
        parser_reset();
        if (int rc = parse_varlist(VL_NOALL)) return rc;
        for (int k = 0; k < ps.count; ++k)
            tail.push_back(ps.var[k]);
        if (std::string(gettok(SEP_STD)) != ")") return session::error(198);
        t = gettok(SEP_STD);
    }
    if (t == ",") {
        std::vector<session::Option> opts;
        if (int rc = session::read_options(opts, ':')) return rc;
        const session::OptSpec specs[] = {session::opt_flag("sort", 1, *sort),
                                          session::opt_flag("rc0", 3, *rc0)};
        if (int rc = session::match_options(opts, specs)) return rc;
        t = gettok(SEP_STD);
    }
    if (t != ":") return session::error(198);
    if (byvars.empty()) return session::required("varlist");
    if ((int)(byvars.size() + tail.size()) > ds.maxvar) return session::error(1002);
    return 0;
}

} // namespace

int cmd_by(int bysort) {
    if (depth >= max_depth) return session::fail(920, "too many nested by's\n");
    std::vector<int> byvars, tail;
    bool sort = bysort != 0, rc0 = false;
    if (int rc = read_prefix(byvars, tail, &sort, &rc0)) return rc;
    std::string cmd = session::tokrest();
    ByKind kind;
    bool announce;
    if (int rc = command_kind(command_word(cmd), &kind, &announce)) return rc;

    std::vector<int> keys = byvars;
    keys.insert(keys.end(), tail.begin(), tail.end());
    if (sort && !sorted_by(keys))
        if (int rc = sort_keys(keys.data(), (int)keys.size(), 1, ds.nobs, false, true)) return rc;
    if (!sorted_by(keys)) return session::error(5);

    ByScope scope;
    Groups g;
    g.vars = byvars;
    if (int rc = find_groups(g)) return rc;
    if (kind == BK_ONECALL) return run_onecall(g, cmd, rc0);
    bool taken = false;
    const int nvar_at = ds.nvar;
    if (int rc = one_pass(g, cmd, &taken); taken || rc) {
        if (rc) put_back_variables(nvar_at);
        return rc;
    }
    return run_groups(g, cmd, kind, announce, rc0);
}

} // namespace data

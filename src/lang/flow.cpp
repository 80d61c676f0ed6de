// Flow control: blocks in braces, if/else, while, forvalues, foreach and continue, all run on the
// stream of lines; loops met outside a stored program are first copied into a temporary program.
#include "lang/flow.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/expr.h"
#include "data/fmt.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "lang/macro.h"
#include "lang/prog.h"
#include "output/channel.h"
#include "session/dispatch.h"
#include "session/errors.h"
#include "session/loop.h"
#include "session/options.h"
#include "session/sedit2.h"
#include "session/tok.h"

namespace lang {

using session::gettok;
using session::lp;
using session::SEP_NUM;
using session::SEP_STD;
using session::tk;

namespace {

constexpr int max_whilecount = 999; // temporary loop programs running at once
constexpr int max_fecount = 9999;   // foreach lists in use

bool blank(const char *p) {
    while (*p == ' ')
        ++p;
    return *p == '\0';
}

// The old forms (version below 800) let code follow an open brace and skip the after-brace checks.
bool modern() { return lp.version >= 800; }

} // namespace

const char *find_open_brace(const char *text) {
    session::QuoteState qs;
    int depth = 0;
    for (const char *p = text; *p; ++p) {
        if (int k = qs.feed(p[0], p[1])) {
            p += k - 1;
            continue;
        }
        switch (*p) {
        case '(':
        case '[':
            ++depth;
            break;
        case ')':
        case ']':
            --depth;
            break;
        case '{':
            if (depth == 0) return p;
            break;
        }
    }
    return nullptr;
}

bool ends_in_brace(const char *text) {
    size_t n = std::strlen(text);
    while (n > 1 && text[n - 1] == ' ')
        --n;
    return n > 1 && text[n - 1] == '{';
}

// ---- blocks ----

namespace {

// Runs a line whose macros were already expanded (the text behind an old-form open brace, which
// was part of the line just expanded). Returns what execline returns.
int run_expanded(const std::string &text) {
    std::snprintf(tk.cmdbuf, session::maxcmdlen + 1, " %s", text.c_str());
    session::settok(tk.cmdbuf);
    std::string w = gettok(SEP_STD);
    std::snprintf(lp.cmdword, sizeof lp.cmdword, "%s", w.c_str());
    lp.linerc = session::dispatch();
    if (!lp.exitlevel) return 1;
    if (lp.exitsession) session::exit_path(0);
    lp.exitlevel = 0;
    return 0;
}

// Runs the lines up to the matching close brace through the one-line executor. With execflag off
// they are only read, so nested blocks stay balanced. first, under the old forms, is the text that
// followed the open brace: it runs as the block's first line, its macros expanded again when
// expand is set (a loop head read anew) and as it stands otherwise.
int run_block(const std::string &first = "", bool expand = false) {
    const uint8_t saved_exec = lp.execflag, saved_if = fl.if_taken, saved_cont = fl.contflag;
    int result = 0;
    bool pending_first = !first.empty();
    for (;;) {
        if (session::poll_break()) {
            lp.execflag = 0;
            result = 1;
        }
        int more;
        if (pending_first) {
            pending_first = false;
            if (expand) {
                std::snprintf(tk.cmdbuf, session::maxcmdlen + 1, " %s", first.c_str());
                session::settok(tk.cmdbuf);
                more = session::execline();
            } else {
                more = run_expanded(first);
            }
        } else {
            if (session::getline(1, 0)) {
                if (result == 0) result = session::brace_not_found();
                break;
            }
            const char *p = tk.cmdbuf;
            while (*p == ' ')
                ++p;
            if (*p == '}') {
                if (!blank(p + 1) && modern()) result = session::code_after_brace('}');
                break;
            }
            if (*p == '\0') continue;
            more = session::execline();
        }
        if (!more) {
            // exit was met: the level ends, and the code it carries goes up with it
            fl.if_taken = saved_if;
            lp.exitlevel = 1;
            lp.execflag = saved_exec;
            return lp.linerc;
        }
        if (lp.linerc) {
            lp.execflag = 0;
            result = lp.linerc;
        }
    }
    fl.if_taken = saved_if;
    // A continue inside leaves the skip on, out to the end of the loop's own block.
    if (!(saved_cont == 0 && fl.contflag)) lp.execflag = saved_exec;
    return result;
}

// Reads a block to its end without running it.
int skip_block() {
    const uint8_t saved = lp.execflag;
    lp.execflag = 0;
    int rc = run_block();
    lp.execflag = saved;
    return rc;
}

// A failing loop or if head whose line opens a block: the block is read past, so that its lines
// do not run as commands of the enclosing level; the head's code stands.
int fail_with_block(int rc) {
    if (ends_in_brace(tk.cmdbuf) && !lp.exitlevel) skip_block();
    return rc;
}

// ---- capture and run ----

// A loop at the prompt or in a do-file: its lines up to the matching brace are copied into a
// temporary program, which then runs, the head being executed again where lines are stored.
int capture_and_run(const char *head) {
    if (lp.loopliteral)
        return session::fail(
            198, std::string(lp.cmdword) +
                     " command may not result from a macro expansion interactively or in do files\n");
    if (fl.whilecount > max_whilecount) return session::error(198);
    std::string name = std::to_string(fl.whilecount) + "while";
    const char *brace = find_open_brace(head);
    if (!brace) return session::required("{");
    if (modern() && !blank(brace + 1)) return session::code_after_brace('{');
    std::string first = head;
    ProgHeader *p = nullptr;
    if (int rc = program_read(name.c_str(), first.c_str(), true, &p)) return rc;

    const uint8_t in_prog = lp.in_prog;
    void *curprog = lp.curprog;
    const int curline = lp.curline;
    char progname[sizeof lp.progname];
    std::memcpy(progname, lp.progname, sizeof progname);
    const bool from_file = lp.curfile != nullptr;

    lp.in_prog = 1;
    std::snprintf(lp.progname, sizeof lp.progname, "%s", name.c_str());
    p->inuse = 1;
    lp.curprog = p;
    lp.curline = 0;
    ++fl.whilecount;
    int rc = 0;
    bool exited = false;
    for (;;) {
        if (session::getline(1, 0)) {
            rc = 0;
            break;
        }
        int more = session::execline();
        rc = lp.linerc;
        if (!more) {
            exited = true;
            break;
        }
        if (session::poll_break()) {
            rc = 1;
            break;
        }
        if (rc) break;
    }
    --fl.whilecount;
    lp.in_prog = in_prog;
    lp.curprog = curprog;
    lp.curline = curline;
    std::memcpy(lp.progname, progname, sizeof progname);
    p->inuse = 0;
    program_delete(p);
    // exit inside a loop of a do-file ends the file; typed at the prompt it ends the loop.
    if (exited && from_file) lp.exitlevel = 1;
    return rc;
}

// Reads a number of a loop head with the separators of numbers.
bool read_number(double &v) {
    std::string t = gettok(SEP_NUM);
    return !t.empty() && data::text_to_number(t, v, false);
}

// Checks what stands after the open brace of a loop head.
int after_open_brace() {
    if (modern() && !blank(tk.tokpos)) return session::code_after_brace('{');
    return 0;
}

// The loop macro name (without its local prefix) read and checked; 0 or the code.
int loop_name(std::string &name) {
    name = gettok(SEP_STD);
    if (name.empty() || !session::name_ok("_" + name)) return session::invalid_name(name);
    return 0;
}

// What every loop saves while it runs and puts back at its end.
struct LoopSave {
    uint8_t in_loop = fl.in_loop, contflag = fl.contflag;
    ~LoopSave() {
        fl.in_loop = in_loop;
        fl.contflag = contflag;
    }
};

// The old forms keep the loop head's line and read it anew at each pass: the text behind its open
// brace runs as the block's first line, with its macros expanded then.
std::string reread_head(int head) {
    lp.curline = head;
    if (session::getline(1, 0)) return "";
    const char *b = find_open_brace(tk.cmdbuf);
    return b ? std::string(b + 1) : "";
}

// One pass of a loop's block from its first line body; under the old form the text behind the head's
// brace runs first.
int loop_pass(int body, bool old_form) {
    const std::string first_text = old_form ? reread_head(body - 1) : "";
    lp.curline = body;
    fl.in_loop = 1;
    lp.execflag = 1;
    fl.contflag = 0;
    return run_block(first_text, true);
}

} // namespace

// { : a block of lines up to the matching }
int cmd_block(int) {
    if (!lp.execflag) return skip_block();
    std::string first;
    if (!blank(tk.tokpos)) {
        if (modern()) return session::code_after_brace('{');
        first = session::tokrest();
    }
    return run_block(first);
}

// if exp { | if exp command | while exp {     (is_while 0 for if, 1 for while)
int cmd_if(int is_while) {
    if (!lp.execflag) return ends_in_brace(tk.cmdbuf) ? skip_block() : 0;
    if (is_while && !lp.in_prog) return capture_and_run(tk.tokstart);
    const int head_line = lp.curline - 1;
    data::ExprValue v;
    const char *end = nullptr;
    if (int rc = data::expr_eval_scalar(tk.tokpos, v, &end, data::XW_NUM)) return fail_with_block(rc);
    const char *p = end;
    while (*p == ' ')
        ++p;
    if (*p == '\0') {
        if (!std::strchr(tk.cmdbuf, '{')) return session::required("{");
        return session::code_after_brace('{');
    }
    const uint8_t truth = v.num != 0;
    if (*p == '{') {
        session::settok(p + 1);
        std::string first;
        if (!blank(p + 1)) {
            if (modern()) return fail_with_block(session::code_after_brace('{'));
            first = session::tokrest();
        }
        const uint8_t in_loop = fl.in_loop, contflag = fl.contflag;
        if (is_while) {
            fl.in_loop = 1;
            fl.contflag = 0;
        }
        const uint8_t cont_before = fl.contflag;
        lp.execflag = truth;
        fl.if_taken = truth;
        int rc = run_block(first);
        if (!is_while) {
            // a continue inside an if goes on skipping, out to the end of the loop's block
            if (!lp.exitlevel && !(cont_before == 0 && fl.contflag)) lp.execflag = 1;
            return rc;
        }
        if (truth && fl.contflag != 2 && rc == 0 && !lp.exitlevel && head_line >= 0) lp.curline = head_line;
        fl.in_loop = in_loop;
        fl.contflag = contflag;
        if (!lp.exitlevel) lp.execflag = 1;
        return rc;
    }
    // The one-line form: if exp command
    if (is_while) return session::required("{");
    session::settok(p);
    if (modern()) {
        std::string w = gettok(SEP_STD);
        if (session::cmdmatch(w.c_str(), "else", 4))
            return session::fail(198, "if may not be immedately followed by else\n");
    }
    if (truth) {
        lp.execflag = 1;
        fl.if_taken = 1;
    } else {
        fl.if_taken = 0;
        if (!ends_in_brace(tk.cmdbuf)) return 0;
        lp.execflag = 0; // the block opened on this line is read past
    }
    const uint8_t if_taken = fl.if_taken, cont_before = fl.contflag;
    session::settok(p);
    std::string w = gettok(SEP_STD);
    std::snprintf(lp.cmdword, sizeof lp.cmdword, "%s", w.c_str());
    int rc = session::dispatch();
    if (!(cont_before == 0 && fl.contflag)) lp.execflag = 1;
    fl.if_taken = if_taken;
    return rc;
}

// else { | else command | else if ...
int cmd_else(int) {
    const uint8_t entry = lp.execflag, cont_before = fl.contflag;
    if (fl.if_taken) lp.execflag = 0;
    int rc = session::dispatch_rest();
    if (!(cont_before == 0 && fl.contflag)) lp.execflag = entry;
    return rc;
}

// continue [, break]
int cmd_continue(int) {
    if (!fl.in_loop) return session::error(119);
    bool brk = false;
    const session::OptSpec specs[] = {session::opt_flag("break", 2, brk)};
    if (int rc = session::parse_options(specs)) return rc;
    lp.execflag = 0;
    fl.contflag = brk ? 2 : 1;
    return 0;
}

// forvalues lname = #1(#d)#2 {  |  #1/#2 {  |  #1 #t to #2 {  |  #1 #t : #2 {
int cmd_forvalues(int) {
    if (!lp.execflag) return ends_in_brace(tk.cmdbuf) ? skip_block() : session::required("{");
    if (!lp.in_prog) return capture_and_run(tk.tokstart);
    std::string name;
    if (int rc = loop_name(name)) return fail_with_block(rc);
    if (std::string(gettok(SEP_STD)) != "=") return fail_with_block(session::error(198));
    double first, step, last;
    if (!read_number(first)) return fail_with_block(session::error(198));
    std::string t = gettok(SEP_NUM);
    if (t == "(") {
        if (!read_number(step) || std::string(gettok(SEP_NUM)) != ")" || !read_number(last))
            return fail_with_block(session::error(198));
    } else if (t == "/") {
        step = 1;
        if (!read_number(last)) return fail_with_block(session::error(198));
    } else {
        double second;
        if (t.empty() || !data::text_to_number(t, second, false)) return fail_with_block(session::error(198));
        std::string w = gettok(SEP_NUM);
        if ((w != "to" && w != ":") || !read_number(last)) return fail_with_block(session::error(198));
        step = second - first;
    }
    if (std::string(gettok(SEP_STD)) != "{") return fail_with_block(session::error(198));
    if (int rc = after_open_brace()) return fail_with_block(rc);
    if (step == 0) return fail_with_block(session::fail(198, "forvalues:  increment may not be zero\n"));
    const bool old_form = !modern() && !blank(tk.tokpos);

    const std::string mname = "_" + name;
    const int body = lp.curline;
    LoopSave saved;
    fl.contflag = 0;
    double value = first;
    int rc = 0;
    bool ran = false;
    for (;;) {
        session::macro_drop(mname.c_str());
        if (rc || fl.contflag == 2 || lp.exitlevel) break;
        if (step > 0 ? value > last : value < last) break;
        if (session::poll_break()) {
            rc = 1;
            break;
        }
        if (int mrc = session::macro_set(mname.c_str(), data::number_text(value))) {
            rc = session::error(mrc);
            break;
        }
        rc = loop_pass(body, old_form);
        ran = true;
        // The step accumulates in extended precision, stored back as a double.
        value = (double)((long double)value + (long double)step);
    }
    if (lp.exitlevel) return rc;
    if (!ran) skip_block();
    lp.execflag = 1;
    return rc;
}

// _byobs {    : the block runs once for each by-group of the onecall program that is running, the
// group's observations being the sample of its commands; with no groups (no __byindex) it runs once.
int cmd_byobs(int) {
    if (!lp.execflag) return ends_in_brace(tk.cmdbuf) ? skip_block() : session::required("{");
    if (!lp.in_prog) return capture_and_run(tk.tokstart);
    if (std::string(gettok(SEP_STD)) != "{") return fail_with_block(session::error(198));
    if (int rc = after_open_brace()) return fail_with_block(rc);
    // The groups: runs of equal __byindex, which by made over data sorted by its variables.
    std::vector<std::pair<int32_t, int32_t>> groups;
    const int bv = data::find_var("__byindex");
    if (bv > 0) {
        for (int32_t i = 1; i <= data::ds.nobs; ++i)
            if (i == 1 || data::get_num(bv, i) != data::get_num(bv, i - 1))
                groups.push_back({i, i});
            else
                groups.back().second = i;
    } else {
        groups.push_back({1, data::ds.nobs});
    }
    const int body = lp.curline;
    LoopSave saved;
    const data::ByState saved_by = data::bys;
    const data::ExprBy saved_ex = data::exby;
    fl.contflag = 0;
    int rc = 0;
    for (size_t k = 0; k < groups.size(); ++k) {
        if (rc || fl.contflag == 2 || lp.exitlevel) break;
        if (session::poll_break()) {
            rc = 1;
            break;
        }
        if (bv > 0) {
            data::bys.state = k == 0 ? 1 : 2;
            data::bys.lo = groups[k].first;
            data::bys.hi = groups[k].second;
            data::bys.last = k + 1 == groups.size();
            data::exby.index = (int32_t)k + 1;
            data::exby.lastcall = data::bys.last;
        }
        rc = loop_pass(body, false);
    }
    data::bys = saved_by;
    data::exby = saved_ex;
    if (lp.exitlevel) return rc;
    if (groups.empty()) skip_block();
    lp.execflag = 1;
    return rc;
}

namespace {

// The text of a list, from after its form word up to the opening brace, trailing blanks cut; the
// tokenizer is left behind the brace.
int list_text(std::string &text) {
    const char *from = tk.tokpos;
    const char *brace = find_open_brace(from);
    if (!brace) return session::required("{");
    text.assign(from, brace - from);
    size_t b = text.find_first_not_of(' ');
    text = b == std::string::npos ? "" : text.substr(b);
    while (!text.empty() && text.back() == ' ')
        text.pop_back();
    session::settok(brace + 1);
    return 0;
}

// One element of a foreach list at text[pos]: a word, a "quoted" text, or a `"compound"' text,
// without its quotes. pos goes past the element and the blanks behind it.
std::string cut_element(const char *text, size_t len, size_t &pos) {
    std::string el;
    session::Quoted q;
    if (session::quoted_at(std::string_view(text, len), pos, q)) {
        el.assign(text + q.begin, q.end - q.begin);
        pos = q.next;
    } else {
        size_t i = pos;
        while (i < len && text[i] != ' ')
            ++i;
        el.assign(text + pos, i - pos);
        pos = i;
    }
    while (pos < len && text[pos] == ' ')
        ++pos;
    return el;
}

// The names of the variable list in text (new names for a new list), blank-separated.
int varlist_names(const std::string &text, bool newlist, std::string &names) {
    session::settok(text.c_str());
    data::parser_reset();
    if (int rc = data::parse_varlist(newlist ? data::VL_NEW : data::VL_ANY)) return rc;
    if (*session::tokrest()) return session::error(198);
    names.clear();
    if (newlist) {
        for (const data::NewVar &nv : data::ps.newvars)
            names += (names.empty() ? "" : " ") + nv.name;
    } else {
        for (int k = 0; k < data::ps.count; ++k)
            names += (names.empty() ? "" : " ") + data::list_entry_text(k);
    }
    return 0;
}

} // namespace

// foreach lname in text {  |  foreach lname of {local|global} name {  |
// foreach lname of {numlist|varlist|newlist|any} text {
int cmd_foreach(int) {
    if (!lp.execflag) return ends_in_brace(tk.cmdbuf) ? skip_block() : session::required("{");
    if (!find_open_brace(tk.tokpos)) return session::required("{");
    if (!lp.in_prog) return capture_and_run(tk.tokstart);
    std::string name;
    if (int rc = loop_name(name)) return fail_with_block(rc);
    if (fl.fecount + 1 >= max_fecount) return fail_with_block(session::error(198));
    // The list is kept in a local whose name holds '!', which no user macro can have.
    const std::string made = "_!" + std::to_string(fl.fecount + 1) + "fe";
    std::string listname = made;
    bool make = true;
    std::string text;
    std::string form = gettok(SEP_STD);
    if (form == "in") {
        if (int rc = list_text(text)) return fail_with_block(rc);
    } else if (form == "of") {
        std::string kind = gettok(SEP_STD);
        if (session::cmdmatch(kind.c_str(), "local", 3) || session::cmdmatch(kind.c_str(), "global", 3)) {
            std::string mname = gettok(SEP_STD);
            bool local = kind[0] == 'l';
            if (mname.empty() || mname == "{" || std::string(gettok(SEP_STD)) != "{")
                return fail_with_block(session::error(198));
            listname = local ? "_" + mname : mname;
            make = false;
        } else if (session::cmdmatch(kind.c_str(), "numlist", 3)) {
            if (int rc = list_text(text)) return fail_with_block(rc);
            std::vector<double> v;
            if (int rc = data::numlist_parse(text, data::NumlistOpts{}, v, false)) return fail_with_block(rc);
            text = data::numlist_text(v);
        } else if (session::cmdmatch(kind.c_str(), "varlist", 3) ||
                   session::cmdmatch(kind.c_str(), "newlist", 3)) {
            if (int rc = list_text(text)) return fail_with_block(rc);
            session::TokState ts;
            session::savetok(ts);
            std::string names;
            int rc = varlist_names(text, kind[0] == 'n', names);
            session::restoretok(ts);
            if (rc) return fail_with_block(rc);
            text = names;
        } else if (kind == "any") {
            if (int rc = list_text(text)) return fail_with_block(rc);
        } else {
            return fail_with_block(session::error(198));
        }
    } else {
        return fail_with_block(session::error(198));
    }
    if (int rc = after_open_brace()) return fail_with_block(rc);
    if (make && text.size() > (size_t)session::maxcmdlen - 5) return fail_with_block(session::error(103));
    const bool old_form = !modern() && !blank(tk.tokpos);

    ++fl.fecount;
    if (make) {
        if (int mrc = session::macro_set(listname.c_str(), text)) {
            --fl.fecount;
            return fail_with_block(session::error(mrc));
        }
    }
    const std::string felist = fl.felist;
    const int felistpos = fl.felistpos;
    fl.felist = listname;
    fl.felistpos = 0;
    const std::string mname = "_" + name;
    const int body = lp.curline;
    LoopSave saved;
    fl.contflag = 0;
    size_t offset = 0;
    int rc = 0;
    bool ran = false;
    for (;;) {
        session::macro_drop(mname.c_str());
        int32_t len = 0;
        const char *list = session::macro_get(listname.c_str(), &len);
        if (!list || offset >= (size_t)len) len = 0;
        while (offset < (size_t)len && list[offset] == ' ')
            ++offset;
        if (rc || fl.contflag == 2 || lp.exitlevel || offset >= (size_t)len) break;
        if (session::poll_break()) {
            rc = 1;
            break;
        }
        std::string el = cut_element(list, (size_t)len, offset);
        fl.felistpos = (int)offset;
        if (int mrc = session::macro_set(mname.c_str(), el)) {
            rc = session::error(mrc);
            break;
        }
        rc = loop_pass(body, old_form);
        ran = true;
    }
    fl.felist = felist;
    fl.felistpos = felistpos;
    if (make) session::macro_drop(listname.c_str());
    --fl.fecount;
    if (lp.exitlevel) return rc;
    if (!ran) skip_block();
    lp.execflag = 1;
    return rc;
}

} // namespace lang

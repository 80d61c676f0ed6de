// The program store: program define/list/dir/drop, the line feed of a running program, the ado path
// and automatic loading, the ado cache, discard and which.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "lang/cls.h"
#include "lang/exprhook.h"
#include "lang/macro.h"
#include "lang/prog_int.h"
#include "output/channel.h"
#include "session/commands.h"
#include "session/errors.h"
#include "session/findfile.h"
#include "session/loop.h"
#include "session/options.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tok.h"

namespace lang {

using session::gettok;
using session::lp;
using session::SEP_STD;
using session::tk;

AdoLoad ado;

bool ado_loading() { return ado.depth > 0 || ado.active; }

namespace {

int32_t nlines(const ProgHeader *p) { return session::store_header(const_cast<ProgHeader *>(p))->length; }
const int32_t *offsets(const ProgHeader *p) { return reinterpret_cast<const int32_t *>(p + 1); }
const char *line_at(const ProgHeader *p, int i) {
    return reinterpret_cast<const char *>(offsets(p) + nlines(p) + 1) + offsets(p)[i];
}
int64_t payload_size(const ProgHeader *p) {
    return session::store_header(const_cast<ProgHeader *>(p))->allocated;
}
const char *prog_name(const ProgHeader *p) {
    return session::store_header(const_cast<ProgHeader *>(p))->name;
}

std::vector<ProgHeader *> all_programs() {
    std::vector<ProgHeader *> v;
    for (void *p = session::store_walk(nullptr, nullptr, session::ST_PROGRAM, nullptr); p;
         p = session::store_walk(p, nullptr, session::ST_PROGRAM, nullptr))
        v.push_back(static_cast<ProgHeader *>(p));
    std::reverse(v.begin(), v.end()); // oldest first
    return v;
}

// The records of a name, any owner.
std::vector<ProgHeader *> records_named(const char *name) {
    std::vector<ProgHeader *> v;
    for (void *p = session::store_find(name, session::ST_PROGRAM, nullptr); p;
         p = session::store_next(p, session::ST_PROGRAM))
        v.push_back(static_cast<ProgHeader *>(p));
    return v;
}

// The owner a program defined now gets: the ado-file's main program for the others of its file.
std::string owner_for(const std::string &name) {
    if (ado.active && name != ado.word) return ado.word;
    return "";
}

std::string version_text(int v) {
    char buf[16];
    if (v % 100 == 0)
        std::snprintf(buf, sizeof buf, "%d", v / 100);
    else if (v % 10 == 0)
        std::snprintf(buf, sizeof buf, "%d.%d", v / 100, (v % 100) / 10);
    else
        std::snprintf(buf, sizeof buf, "%d.%02d", v / 100, v % 100);
    return buf;
}

bool line_ends_in_brace(const char *s) {
    size_t n = std::strlen(s);
    while (n > 1 && s[n - 1] == ' ')
        --n;
    return n > 1 && s[n - 1] == '{';
}

bool line_starts_with_close(const char *s) {
    while (*s == ' ')
        ++s;
    return *s == '}';
}

} // namespace

ProgHeader *findprog(const char *name) {
    ProgHeader *plain = nullptr;
    for (void *r = session::store_find(name, session::ST_PROGRAM, nullptr); r;
         r = session::store_next(r, session::ST_PROGRAM)) {
        auto *p = static_cast<ProgHeader *>(r);
        if (p->dropped) continue;
        if (lp.ownername[0] && std::strcmp(p->owner, lp.ownername) == 0) return p;
        if (!p->owner[0] && !plain) plain = p;
    }
    return plain;
}

void program_delete(ProgHeader *p) {
    if (p->inuse) {
        p->dropped = 1;
        return;
    }
    session::store_delete(p);
}

int program_next_line(char *buf, int cap) {
    auto *p = static_cast<ProgHeader *>(lp.curprog);
    if (!p) return 1;
    int n = nlines(p);
    while (lp.curline < n) {
        const char *l = line_at(p, lp.curline++);
        size_t len = std::strlen(l + 1);
        if ((int)len + 2 > cap) len = (size_t)cap - 2;
        buf[0] = ' ';
        std::memcpy(buf + 1, l + 1, len);
        buf[len + 1] = '\0';
        const char *q = buf;
        while (*q == ' ')
            ++q;
        if (*q == '\0' || *q == '*') continue;
        trace_line(buf);
        return 0;
    }
    return 1;
}

// ---- definition ----

namespace {

// Builds the record: head, offsets, lines (reserved byte + text + NUL).
ProgHeader *store_program(const std::string &name, const std::vector<std::string> &lines,
                          const ProgHeader &head) {
    int64_t bytes = 0;
    for (const std::string &l : lines)
        bytes += (int64_t)l.size() + 1;
    int64_t size = (int64_t)sizeof(ProgHeader) + 4 * ((int64_t)lines.size() + 1) + bytes;
    void *mem = session::store_add(name.c_str(), session::ST_PROGRAM, (int32_t)lines.size(), size);
    if (!mem) return nullptr;
    auto *p = static_cast<ProgHeader *>(mem);
    *p = head;
    auto *off = reinterpret_cast<int32_t *>(p + 1);
    char *text = reinterpret_cast<char *>(off + lines.size() + 1);
    int32_t at = 0;
    for (size_t i = 0; i < lines.size(); ++i) {
        off[i] = at;
        std::memcpy(text + at, lines[i].c_str(), lines[i].size() + 1);
        at += (int32_t)lines[i].size() + 1;
    }
    off[lines.size()] = at;
    return p;
}

// A line as stored: the reserved byte holds its indent, trailing blanks are cut.
std::string stored_line(const char *s) {
    size_t ind = 0;
    while (s[ind] == ' ')
        ++ind;
    std::string t(s + ind);
    while (!t.empty() && t.back() == ' ')
        t.pop_back();
    return std::string(1, (char)std::min<size_t>(ind, 255)) + t;
}

} // namespace

int program_read(const char *name, const char *first_line, bool brace_mode, ProgHeader **out) {
    *out = nullptr;
    std::vector<std::string> lines;
    int64_t bytes = 0;
    bool over = false;
    auto add = [&](const char *s) {
        std::string l = stored_line(s);
        bytes += (int64_t)l.size() + 1;
        if (bytes > max_prog_bytes || (int)lines.size() + 1 > max_prog_lines) over = true;
        if (!over) lines.push_back(std::move(l));
    };
    if (ado.active) add(("version " + version_text(ado.version)).c_str());
    int depth = 0;
    if (first_line) {
        add(first_line);
        depth = brace_mode ? 1 : 0; // the head opens the block, with or without code behind its brace
    }
    // Lines read now are echoed with their number in a do-file, and prompted so at the terminal.
    static char numbered[16];
    const char *saved_prompt = session::line_prompt;
    int rc = 0;
    for (int k = first_line ? 2 : 1;; ++k) { // a stored head line is line one
        std::snprintf(numbered, sizeof numbered, "%3d. ", k);
        if (lp.curfile && file_echo) session::set_prompt(lp.curfile, numbered);
        session::line_prompt = numbered;
        int end = session::getline(1, 0);
        if (session::poll_break()) {
            rc = 1;
            break;
        }
        if (end) {
            rc = session::error(612);
            break;
        }
        if (brace_mode) {
            if (line_starts_with_close(tk.cmdbuf)) --depth;
            if (line_ends_in_brace(tk.cmdbuf)) ++depth;
            add(tk.cmdbuf);
            if (depth <= 0) break;
            continue;
        }
        session::TokState ts;
        session::savetok(ts);
        session::settok(tk.cmdbuf);
        std::string w = gettok(SEP_STD);
        session::restoretok(ts);
        if (w == "end") break;
        add(tk.cmdbuf);
    }
    session::line_prompt = saved_prompt;
    if (lp.curfile && file_echo) session::set_prompt(lp.curfile, ". ");
    if (rc) return rc;
    if (over) return session::error(1000);
    ProgHeader head{};
    head.loadstamp = ado.active ? ado.stamp : 0;
    head.usestamp = (uint32_t)lp.cmdserial;
    head.fromado = ado.active;
    head.version = lp.version;
    std::snprintf(head.owner, sizeof head.owner, "%s", owner_for(name).c_str());
    ProgHeader *p = store_program(name, lines, head);
    if (!p) return 950;
    *out = p;
    return 0;
}

namespace {

bool valid_prog_name(const std::string &name) {
    if (session::name_ok(name)) return true;
    if (!ado.active || name.find('.') == std::string::npos || name.size() > 32) return false;
    // While an ado-file loads, names with dots are allowed: each part is a name.
    size_t start = 0;
    for (;;) {
        size_t dot = name.find('.', start);
        std::string part = name.substr(start, dot == std::string::npos ? std::string::npos : dot - start);
        if (!session::name_ok(part)) return false;
        if (dot == std::string::npos) return true;
        start = dot + 1;
    }
}

std::string trimmed(const std::string &s) {
    size_t b = s.find_first_not_of(' ');
    if (b == std::string::npos) return "";
    return s.substr(b, s.find_last_not_of(' ') - b + 1);
}

// program [define] [.]name [, rclass eclass sclass nclass byable(...) sortpreserve properties(...)
//                              plugin using(file)]
// Every check of the head comes before the body is read: after a failure the lines that follow run
// as commands.
int program_define() {
    std::string name = gettok(session::SEP_DOT);
    if (name == ".") return cls_program_define();
    if (name.empty() || name == ",") return session::error(198); // a name is required
    if (!valid_prog_name(name)) return session::invalid_name(name);
    ProgHeader opts{};
    bool plugin = false, sortpreserve = false;
    std::string using_file, byable, properties;
    std::string t = gettok(SEP_STD);
    if (!t.empty()) {
        if (t != ",") return session::invalid_rest(session::tk.tokstart);
        std::vector<session::Option> written, rest;
        if (int rc = session::read_options(written)) return rc;
        if (*session::tokrest()) return session::invalid_rest(session::tokrest());
        // The class words: the last one written holds.
        for (const session::Option &o : written) {
            const char *w = o.name.c_str();
            const int cls = o.paren                                                   ? -1
                            : session::cmdmatch(w, "rclass", 1) || o.name == "return" ? 1
                            : session::cmdmatch(w, "sclass", 1)                       ? 2
                            : session::cmdmatch(w, "eclass", 1)                       ? 3
                            : session::cmdmatch(w, "nclass", 1)                       ? 0
                                                                                      : -1;
            if (cls >= 0)
                opts.cls = (uint8_t)cls;
            else
                rest.push_back(o);
        }
        const session::OptSpec specs[] = {
            session::opt_flag("sortpreserve", 4, sortpreserve), session::opt_flag("plugin", 6, plugin),
            session::opt_text("using", 5, using_file),          session::opt_text("byable", 6, byable),
            session::opt_text("properties", 4, properties),
        };
        if (int rc = session::match_options(rest, specs)) return rc;
    }
    opts.sortpreserve = sortpreserve;
    if (!using_file.empty() && using_file[0] == '"') {
        using_file.erase(0, 1);
        if (!using_file.empty() && using_file.back() == '"') using_file.pop_back();
    }
    if (!byable.empty()) {
        // onecall | recall [, header | noheader]
        const size_t c = byable.find(',');
        const std::string w1 = trimmed(byable.substr(0, c));
        const std::string w2 = c == std::string::npos ? "" : trimmed(byable.substr(c + 1));
        if (!w1.empty() && session::cmdmatch(w1.c_str(), "onecall", 1) && c == std::string::npos)
            opts.byable = 1;
        else if (w1 == "recall" && (c == std::string::npos || w2 == "header"))
            opts.byable = 2;
        else if (w1 == "recall" && w2 == "noheader")
            opts.byable = 3;
        else
            return session::fail(198, "option byable() incorrectly specified\n");
    }
    if (properties.size() > 80) return session::option_invalid("properties");
    for (size_t at = 0; at < properties.size();) {
        size_t e = properties.find(' ', at);
        if (e == std::string::npos) e = properties.size();
        const std::string w = properties.substr(at, e - at);
        if (!w.empty() && !session::name_ok(w)) return session::invalid_name(w);
        at = e + 1;
    }
    std::snprintf(opts.properties, sizeof opts.properties, "%s", properties.c_str());
    if (plugin) return plugin_define(name, using_file.empty() ? name + ".plugin" : using_file, opts.cls);
    if (!using_file.empty()) return session::error(198);

    // A program of that name for the same owner: an error, except that an ado-file being loaded
    // keeps one that came from an ado-file, reading the new definition and throwing it away.
    std::string owner = owner_for(name);
    bool keep_old = false;
    for (ProgHeader *p : records_named(name.c_str())) {
        if (p->dropped || owner != p->owner) continue;
        if (ado.active && p->loadstamp)
            keep_old = true;
        else
            return session::already_defined("program " + name);
    }
    ProgHeader *p;
    if (int rc = program_read(name.c_str(), nullptr, false, &p)) return rc;
    if (keep_old) {
        session::store_delete(p);
        return 0;
    }
    p->cls = opts.cls;
    p->byable = opts.byable;
    p->sortpreserve = opts.sortpreserve;
    std::memcpy(p->properties, opts.properties, sizeof p->properties);
    if (ado.active) ++ado.defined;
    return 0;
}

const char *class_suffix(int cls) {
    switch (cls) {
    case 1:
        return ", rclass";
    case 2:
        return ", sclass";
    case 3:
        return ", eclass";
    }
    return "";
}

std::string full_name(const ProgHeader *p) {
    return p->owner[0] ? std::string(p->owner) + "." + prog_name(p) : std::string(prog_name(p));
}

int list_program(const ProgHeader *p) {
    out::ClassScope cs(out::CLS_RESULT);
    std::string head = "\n";
    head += full_name(p);
    head += class_suffix(p->cls);
    head += ":\n";
    out::out_text(head);
    int n = nlines(p);
    for (int i = 0; i < n; ++i) {
        const char *l = line_at(p, i);
        char num[16];
        std::snprintf(num, sizeof num, "%3d. ", i + 1);
        out::out_text(std::string(num) + std::string((unsigned char)l[0], ' ') + (l + 1) + "\n");
        if (session::poll_break()) return 1;
    }
    return 0;
}

// program list [name ... | _all]
int program_list() {
    std::vector<std::string> names;
    for (;;) {
        std::string w = gettok(SEP_STD);
        if (w.empty()) break;
        names.push_back(w);
    }
    bool all = names.empty() || std::find(names.begin(), names.end(), "_all") != names.end();
    if (all) {
        for (ProgHeader *p : all_programs())
            if (int rc = list_program(p)) return rc;
        return 0;
    }
    for (const std::string &n : names) {
        ProgHeader *p = findprog(n.c_str());
        if (!p) return session::not_found("program " + n);
        if (int rc = list_program(p)) return rc;
    }
    return 0;
}

// program dir
int program_dir() {
    out::ClassScope cs(out::CLS_RESULT);
    out::out_text("\n");
    int64_t total = 0;
    bool any = false;
    for (ProgHeader *p : all_programs()) {
        const char *kind = p->isclass ? "class" : p->loadstamp ? "ado" : "";
        out::out_textf("%5s %8lld  %s\n", kind, (long long)payload_size(p), full_name(p).c_str());
        total += payload_size(p);
        any = true;
    }
    if (any) {
        out::out_rimu("      {hline 8}\n");
        out::out_textf("      %8lld\n", (long long)total);
    }
    plugin_dir();
    return 0;
}

// The main program a subprogram belongs to, if it is still there.
ProgHeader *findprog_owned_main(const ProgHeader *sub) {
    for (ProgHeader *p : records_named(sub->owner))
        if (!p->owner[0] && !p->dropped) return p;
    return nullptr;
}

// Drops a main program with its subprograms; a running one goes at the end of its call.
void drop_with_subprograms(ProgHeader *p) {
    std::string main = prog_name(p);
    for (ProgHeader *q : all_programs())
        if (q != p && main == q->owner) program_delete(q);
    program_delete(p);
}

// program drop {name ... | _all | _allado}
int program_drop() {
    std::vector<std::string> names;
    for (;;) {
        std::string w = gettok(session::SEP_DOT);
        if (w.empty()) break;
        names.push_back(w);
    }
    if (names.empty()) return session::error(198);
    for (const std::string &n : names) {
        if (n == "_all" || n == "_allado") {
            for (ProgHeader *p : all_programs())
                if (n == "_all" || p->loadstamp) program_delete(p);
            if (n == "_all") {
                for (;;) {
                    const char *pn;
                    void *pl = session::store_walk(nullptr, &pn, session::ST_PLUGIN, nullptr);
                    if (!pl) break;
                    plugin_delete(pl);
                }
            }
            continue;
        }
        if (ProgHeader *p = findprog(n.c_str())) {
            if (p->owner[0]) {
                return session::fail(198, "subprograms not allowed:  " + n + "\n");
            }
            drop_with_subprograms(p);
            continue;
        }
        if (void *pl = findplugin(n.c_str())) {
            plugin_delete(pl);
            continue;
        }
        for (ProgHeader *p : records_named(n.c_str()))
            if (!p->dropped && p->owner[0]) {
                return session::fail(198, "subprograms not allowed:  " + n + "\n");
            }
        return session::not_found("program " + n);
    }
    return 0;
}

} // namespace

// program {dir | list | drop | define} ... ; program name is program define name
int cmd_program(int) {
    session::TokState ts;
    session::savetok(ts);
    std::string w = gettok(session::SEP_DOT);
    if (w.empty()) return session::required("program name");
    if (session::cmdmatch(w.c_str(), "dir", 2)) return program_dir();
    if (session::cmdmatch(w.c_str(), "list", 1)) return program_list();
    if (session::cmdmatch(w.c_str(), "drop", 4)) return program_drop();
    if (session::cmdmatch(w.c_str(), "define", 2)) return program_define();
    session::restoretok(ts);
    return program_define();
}

int call_program(ProgHeader *p, const char *name) {
    std::string n = name; // cmdword is rewritten by the program's lines
    return runfile(MODE_PROG, p, n.c_str(), false);
}

int run_stored_program(const char *name, bool *found) {
    if (ProgHeader *p = findprog(name)) {
        *found = true;
        return call_program(p, name);
    }
    if (void *pl = findplugin(name)) {
        *found = true;
        return plugin_run(pl, tk.tokpos ? tk.tokpos : "");
    }
    *found = false;
    return 0;
}

// ---- automatic loading ----

namespace {
std::vector<uint32_t> loads_in_progress;
}

void ado_trim(uint32_t guard) {
    int64_t limit = (int64_t)session::se.adosize * 1000;
    std::vector<ProgHeader *> skipped; // candidates with a subprogram running
    for (;;) {
        int64_t sum = 0;
        ProgHeader *oldest = nullptr;
        for (ProgHeader *p : all_programs()) {
            if (!p->loadstamp || p->dropped) continue;
            sum += payload_size(p);
            if (p->inuse || p->owner[0] || p->isclass || p->loadstamp == guard) continue;
            if (std::find(loads_in_progress.begin(), loads_in_progress.end(), p->loadstamp) !=
                loads_in_progress.end())
                continue;
            if (std::find(skipped.begin(), skipped.end(), p) != skipped.end()) continue;
            if (!oldest || p->usestamp < oldest->usestamp) oldest = p;
        }
        if (sum < limit || !oldest) return;
        std::string main = prog_name(oldest);
        bool busy = false;
        for (ProgHeader *q : all_programs())
            if (main == q->owner && q->inuse) busy = true;
        if (busy)
            skipped.push_back(oldest);
        else
            drop_with_subprograms(oldest);
    }
}

int run_file_aside(const std::string &path, bool adoload) {
    const std::string line = tk.cmdbuf;
    ptrdiff_t pos = tk.tokpos ? tk.tokpos - tk.cmdbuf : (ptrdiff_t)line.size();
    if (pos < 0 || pos > (ptrdiff_t)line.size()) pos = (ptrdiff_t)line.size();
    const std::string owner = lp.ownername, cmdword = lp.cmdword;

    const std::string cmd = "\"" + path + "\"";
    std::memcpy(tk.cmdbuf, cmd.c_str(), cmd.size() + 1);
    session::settok(tk.cmdbuf);
    const int rc = runfile(MODE_RUN, nullptr, nullptr, adoload);

    std::memcpy(tk.cmdbuf, line.c_str(), line.size() + 1);
    session::settok(tk.cmdbuf);
    tk.tokpos = tk.cmdbuf + pos;
    std::snprintf(lp.ownername, sizeof lp.ownername, "%s", owner.c_str());
    std::snprintf(lp.cmdword, sizeof lp.cmdword, "%s", cmdword.c_str());
    return rc;
}

int load_ado(const char *name, bool *found, ProgHeader **prog) {
    *prog = nullptr;
    std::string word = name;
    std::string path;
    if (!session::findfile(word, "ado", path)) {
        *found = false;
        return 0;
    }
    *found = true;
    AdoLoad saved = ado;
    ado.active = true;
    ado.word = word;
    ado.stamp = (uint32_t)lp.cmdserial;
    ado.version = lp.version;
    ado.defined = 0;
    ++ado.depth;
    loads_in_progress.push_back(ado.stamp);
    const std::string owner = lp.ownername;
    std::snprintf(lp.ownername, sizeof lp.ownername, "%s", word.c_str());
    int rc = run_file_aside(path, true);
    std::snprintf(lp.ownername, sizeof lp.ownername, "%s", owner.c_str());
    loads_in_progress.pop_back();
    uint32_t stamp = ado.stamp;
    int defined = ado.defined;
    ado = saved;

    if (rc) {
        {
            out::ClassScope cs(out::CLS_INPUT);
            out::out_text("(error occurred while loading " + word + ".ado)\n");
        }
        for (ProgHeader *p : all_programs())
            if (p->loadstamp == stamp) program_delete(p);
        ado_trim(0);
        return rc;
    }
    ProgHeader *p = findprog(word.c_str());
    if (!p) {
        // What the file defined instead can never be reached: it goes.
        for (ProgHeader *q : all_programs())
            if (q->loadstamp == stamp) program_delete(q);
        if (!defined) return session::error(162);
        return session::fail(199, "unrecognized command:  " + word + " not defined by " + word + ".ado\n");
    }
    // The trim spares what this load defined and the load in progress around it.
    ado_trim(stamp);
    *prog = p;
    return 0;
}

int run_ado(const char *name, bool *found) {
    ProgHeader *p = nullptr;
    if (int rc = load_ado(name, found, &p)) return rc;
    return *found ? call_program(p, name) : 0;
}

int find_program(const char *name, ProgHeader **prog) {
    *prog = findprog(name);
    if (*prog) return 0;
    bool found = false;
    if (int rc = load_ado(name, &found, prog)) return rc;
    return 0;
}

// discard
int cmd_discard(int) {
    if (*session::tokrest()) return session::error(198);
    cls_reset();
    for (int type : {(int)session::ST_VARLIST, (int)session::ST_LASTCMD, (int)session::ST_POSTFILE})
        session::store_drop_type(type);
    // Main programs go with their subprograms; a family with a running member stays.
    std::vector<ProgHeader *> mains;
    for (ProgHeader *p : all_programs())
        if (p->loadstamp && !p->owner[0]) mains.push_back(p);
    for (ProgHeader *m : mains) {
        bool busy = m->inuse;
        for (ProgHeader *q : all_programs())
            if (std::strcmp(q->owner, prog_name(m)) == 0 && q->inuse) busy = true;
        if (!busy) drop_with_subprograms(m);
    }
    for (ProgHeader *p : all_programs())
        if (p->loadstamp && !p->inuse && p->owner[0] && !findprog_owned_main(p)) program_delete(p);
    return 0;
}

// which name
int cmd_which(int) {
    std::string name = gettok(SEP_STD);
    if (name.empty()) return session::error(198);
    if (*session::tokrest()) return session::error(198);
    if (session::find_command(name.c_str())) {
        out::ClassScope cs(out::CLS_TEXT);
        out::out_text("built-in command:  " + name + "\n");
        return 0;
    }
    std::string path;
    std::string file = name;
    std::string suffix = "ado";
    size_t dot = name.rfind('.');
    if (dot != std::string::npos) {
        suffix = name.substr(dot + 1);
        file = name.substr(0, dot);
    }
    if (!session::findfile(file, suffix, path)) {
        return session::fail(111, "command " + name + " not found as either built-in or ado-file\n");
    }
    out::ClassScope cs(out::CLS_RESULT);
    out::out_text(path + "\n");
    // The file's own "*!" lines say what version it is.
    if (FILE *f = std::fopen(path.c_str(), "r")) {
        char buf[512];
        while (std::fgets(buf, sizeof buf, f)) {
            if (buf[0] == '*' && buf[1] == '!') {
                size_t n = std::strlen(buf);
                while (n && (buf[n - 1] == '\n' || buf[n - 1] == '\r'))
                    buf[--n] = '\0';
                out::out_text(std::string(buf) + "\n");
            }
        }
        std::fclose(f);
    }
    return 0;
}

} // namespace lang

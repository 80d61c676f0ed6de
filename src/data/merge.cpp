// merge and append: the using file's header and descriptors first, every check before the dataset
// changes, then promotions and new variables, then one pass over the file's rows beside the rows in
// memory. A failure after the dataset began to change puts it back as it was.
#include "data/merge.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/dtafile.h"
#include "data/labels.h"
#include "data/types.h"
#include "data/usecmd.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "session/errors.h"
#include "session/options.h"
#include "session/state.h"
#include "session/tok.h"

namespace data {

int common_type(int a, int b) {
    a = dta_modern_type(a);
    b = dta_modern_type(b);
    if (is_string_type(a)) return std::max(a, b);
    if ((a == T_LONG && b == T_FLOAT) || (a == T_FLOAT && b == T_LONG)) return T_DOUBLE;
    return std::max(a, b);
}

namespace {

constexpr int32_t ROWBLOCK = 24000; // bytes of using rows read at a time

// One cell of a using row and where it goes in a row of the dataset.
struct CellMove {
    int32_t src, dst; // offsets in the using row and in the dataset's row
    uint8_t stype, dtype;
    int var; // the dataset's variable
    bool same;
};

CellMove cell_move(const DtaVar &u, int v) {
    const int dt = ds.vartype[v - 1];
    return {u.offset, ds.offset[v - 1], u.type, (uint8_t)dt, v, u.type == dt};
}

void move_cell(const CellMove &c, const char *urow, char *row) {
    if (c.same) {
        std::memcpy(row + c.dst, urow + c.src, (size_t)type_width(c.stype));
    } else if (is_string_type(c.dtype)) {
        char buf[maxstrvarlen + 1] = {};
        cell_get_str(urow + c.src, c.stype, buf);
        cell_put_str(row + c.dst, c.dtype, buf);
    } else {
        cell_put(row + c.dst, c.dtype, cell_get(urow + c.src, c.stype));
    }
}

// A key variable: where it stands in a row and its type.
struct KeyCell {
    int32_t off;
    uint8_t type;
};

int compare_keys(const char *a, const std::vector<KeyCell> &ka, const char *b,
                 const std::vector<KeyCell> &kb) {
    for (size_t k = 0; k < ka.size(); ++k) {
        if (is_string_type(ka[k].type)) {
            char x[maxstrvarlen + 1], y[maxstrvarlen + 1];
            cell_get_str(a + ka[k].off, ka[k].type, x);
            cell_get_str(b + kb[k].off, kb[k].type, y);
            const int c = std::strcmp(x, y);
            if (c) return c < 0 ? -1 : 1;
        } else {
            const double x = cell_get(a + ka[k].off, ka[k].type);
            const double y = cell_get(b + kb[k].off, kb[k].type);
            if (x < y) return -1;
            if (x > y) return 1;
        }
    }
    return 0;
}

// ---- keep(): names of the using file by the rules of variable lists --------------------------------

std::vector<std::string> keep_words(const std::string &text) {
    std::vector<std::string> w;
    std::string cur;
    auto flush = [&] {
        if (!cur.empty()) w.push_back(cur);
        cur.clear();
    };
    for (char c : text) {
        if (c == ' ' || c == '\t') {
            flush();
        } else if (c == '-') {
            flush();
            w.push_back("-");
        } else {
            cur.push_back(c);
        }
    }
    flush();
    return w;
}

// The one using variable a plain name means (exact, else a single abbreviation): its index, or -1
// with the message written.
int keep_lookup(const DtaFile &f, const std::string &name, int *rc) {
    for (size_t v = 0; v < f.vars.size(); ++v)
        if (name == f.vars[v].name) return (int)v;
    int hit = -1, hits = 0;
    if (varabbrev)
        for (size_t v = 0; v < f.vars.size(); ++v)
            if (std::strncmp(f.vars[v].name, name.c_str(), name.size()) == 0) {
                hit = (int)v;
                ++hits;
            }
    if (hits == 1) return hit;
    *rc = hits > 1 ? session::fail(111, name + " matches more than one using variable\n")
                   : session::fail(111, "variable " + name + " not found in using dataset\n");
    return -1;
}

// Sets take[v] for each using variable the list names. 0 or 111 with the message written.
int keep_resolve(const DtaFile &f, const std::string &text, std::vector<uint8_t> &take) {
    const std::vector<std::string> w = keep_words(text);
    for (size_t k = 0; k < w.size(); ++k) {
        const std::string &t = w[k];
        if (t == "-") return session::error(198);
        if (t.find_first_of("*?~") != std::string::npos) {
            const bool tilde = t.find('~') != std::string::npos;
            if (tilde && t.find_first_of("*?") != std::string::npos)
                return session::fail(198, t + ":  may not combine ~ and *-or-? notation\n");
            std::vector<size_t> hits;
            for (size_t v = 0; v < f.vars.size(); ++v)
                if (std::strcmp(f.vars[v].name, "(e)") != 0 && wildmatch(t, f.vars[v].name))
                    hits.push_back(v);
            if (hits.empty()) return session::fail(111, "no using variables found matching " + t + "\n");
            if (tilde && hits.size() > 1)
                return session::fail(111, t + " matches more than one using variable\n");
            for (size_t v : hits)
                take[v] = 1;
            continue;
        }
        int rc = 0;
        const int a = keep_lookup(f, t, &rc);
        if (a < 0) return rc;
        if (k + 2 < w.size() && w[k + 1] == "-") {
            const int b = keep_lookup(f, w[k + 2], &rc);
            if (b < 0) return rc;
            if (b < a) return session::fail(111, "Variables out of order\n");
            for (int v = a; v <= b; ++v)
                take[(size_t)v] = 1;
            k += 2;
        } else {
            take[(size_t)a] = 1;
        }
    }
    return 0;
}

// ---- The shared preparation --------------------------------------------------------------------------

struct Options {
    bool nolabel = false, nonotes = false, update = false, replace = false, nokeep = false;
    bool uniqmaster = false, uniqusing = false;
    bool has_keep = false;
    std::string keep;
    std::string outcome = "_merge";
};

// What a failure must undo.
struct Undo {
    int32_t nobs0 = 0;
    int nvar0 = 0;
    int32_t changed0 = 0;
    std::vector<int16_t> sortlist0;
    struct Promotion {
        int var, type;
        char fmt[FMTLEN + 1];
    };
    std::vector<Promotion> promoted;
    // Master cells that update overwrote: observation, variable and the old value.
    struct Cell {
        int32_t obs;
        int var;
        double num;
        std::string str;
    };
    std::vector<Cell> cells;

    void begin() {
        nobs0 = ds.nobs;
        nvar0 = ds.nvar;
        changed0 = ds.changed;
        int k = 0;
        while (ds.sortlist[k])
            ++k;
        sortlist0.assign(ds.sortlist.get(), ds.sortlist.get() + k + 1);
    }
    // Puts the dataset back; rc is passed through.
    int undo(int rc) {
        ds.nobs = nobs0;
        for (auto c = cells.rbegin(); c != cells.rend(); ++c) {
            if (is_string_type(ds.vartype[c->var - 1]))
                put_str(c->var, c->obs, c->str.c_str());
            else
                put_num(c->var, c->obs, c->num);
        }
        cut_vars(nvar0);
        for (auto p = promoted.rbegin(); p != promoted.rend(); ++p) {
            promote(p->var, p->type, nobs0);
            std::memcpy(ds.fmt[p->var - 1], p->fmt, sizeof p->fmt);
        }
        std::memcpy(ds.sortlist.get(), sortlist0.data(), sortlist0.size() * sizeof(int16_t));
        ds.changed = changed0;
        ++ds.structure;
        return rc;
    }
};

// A using variable and the dataset's variable it goes to.
struct Pair {
    int fv;      // in the file, from 0
    int var = 0; // in the dataset
    bool common = false;
};

// The checks that need the file: keep(), the kinds of common variables. keys (file indices) are
// always brought. pairs gets the variables brought in.
int match_vars(const DtaFile &f, const Options &o, const std::vector<int> &keys, std::vector<Pair> &pairs) {
    std::vector<uint8_t> take(f.vars.size(), o.has_keep ? 0 : 1);
    if (o.has_keep)
        if (int rc = keep_resolve(f, o.keep, take)) return rc;
    for (int k : keys)
        take[(size_t)k] = 1;
    for (size_t v = 0; v < f.vars.size(); ++v) {
        if (!take[v] || std::strcmp(f.vars[v].name, "(e)") == 0) continue;
        Pair p{(int)v};
        p.var = find_var(f.vars[v].name);
        p.common = p.var > 0;
        if (p.common && is_string_type(ds.vartype[p.var - 1]) != is_string_type(f.vars[v].type))
            return session::fail(106, std::string(f.vars[v].name) + " is " +
                                          (is_string_type(f.vars[v].type) ? "string" : "numeric") +
                                          " in using data\n");
        pairs.push_back(p);
    }
    return 0;
}

// Promotes common variables that the using type does not fit in (when promote_common), and adds the
// using-only variables with their attributes, `.` or "" in every observation. Undo-able.
int make_vars(const DtaFile &f, std::vector<Pair> &pairs, bool promote_common, Undo &u) {
    for (Pair &p : pairs) {
        if (!p.common || !promote_common) continue;
        const int t = ds.vartype[p.var - 1];
        const int want = common_type(t, f.vars[(size_t)p.fv].type);
        if (want == t) continue;
        Undo::Promotion pr{p.var, t, {}};
        std::memcpy(pr.fmt, ds.fmt[p.var - 1], sizeof pr.fmt);
        if (int rc = promote(p.var, want, ds.nobs)) return rc;
        u.promoted.push_back(pr);
    }
    for (Pair &p : pairs) {
        if (p.common) continue;
        const DtaVar &x = f.vars[(size_t)p.fv];
        const int r = add_var_raw(x.name, dta_modern_type(x.type));
        if (r < 0) return session::error(-r);
        p.var = r;
        std::memcpy(ds.fmt[r - 1], x.fmt, sizeof x.fmt);
        std::memcpy(ds.vallab[r - 1], x.vallab, sizeof x.vallab);
        fill_missing(r, 1);
    }
    return 0;
}

// The text of the using variables new to the dataset (labels, characteristics but notes), value
// labels unless nolabel, notes of the dataset and the variables unless nonotes.
int bring_text(DtaFile &f, const Options &o, const std::vector<Pair> &pairs) {
    for (const Pair &p : pairs) {
        if (p.common) continue;
        const DtaVar &x = f.vars[(size_t)p.fv];
        if (!x.label.empty())
            if (int rc = varlabel_set(x.name, x.label)) return session::error(rc);
        for (const DtaChar &c : f.chars)
            if (c.owner == x.name && c.name.compare(0, 4, "note") != 0)
                if (char_set(x.name, c.name.c_str(), c.text) == 950) return session::error(950);
    }
    if (!o.nolabel) {
        std::vector<DtaLabelNote> notes;
        if (o.has_keep) {
            auto used = [](const char *name) {
                for (int v = 1; v <= ds.nvar; ++v)
                    if (std::strcmp(ds.vallab[v - 1], name) == 0) return true;
                return false;
            };
            dta_read_labels(f, used, notes);
        } else {
            dta_read_labels(f, nullptr, notes);
        }
        dta_label_notes(f, notes);
    }
    if (o.nonotes) return 0;
    // Notes of an owner in the file join those in memory, behind them; a text already there is not
    // repeated.
    auto bring_notes = [&](const std::string &owner) -> int {
        const DtaChar *count = nullptr;
        for (const DtaChar &c : f.chars)
            if (c.owner == owner && c.name == "note0") count = &c;
        if (!count) return 0;
        const int nu = std::atoi(count->text.c_str());
        const char *n0 = char_get(owner.c_str(), "note0");
        int n = n0 ? std::atoi(n0) : 0;
        std::vector<std::string> have;
        for (int k = 1; k <= n; ++k)
            if (const char *t = char_get(owner.c_str(), ("note" + std::to_string(k)).c_str()))
                have.push_back(t);
        const int before = n;
        for (int k = 1; k <= nu; ++k) {
            const std::string name = "note" + std::to_string(k);
            for (const DtaChar &c : f.chars) {
                if (c.owner != owner || c.name != name || c.text.empty()) continue;
                if (std::find(have.begin(), have.end(), c.text) != have.end()) continue;
                if (char_set(owner.c_str(), ("note" + std::to_string(++n)).c_str(), c.text) == 950)
                    return session::error(950);
                have.push_back(c.text);
            }
        }
        if (n != before && char_set(owner.c_str(), "note0", std::to_string(n)) == 950)
            return session::error(950);
        return 0;
    };
    if (int rc = bring_notes(DTA_OWNER)) return rc;
    for (const Pair &p : pairs)
        if (int rc = bring_notes(f.vars[(size_t)p.fv].name)) return rc;
    return 0;
}

// The end of a merge or append: the sort order is gone, the data changed.
void finish() {
    ds.sortlist[0] = 0;
    bump_changed();
    ++ds.structure;
}

// Room for one more observation and the spare row behind it.
int room_for_one() {
    const int64_t n = (int64_t)ds.nobs + 2;
    if (n <= ds.maxobs) return 0;
    if (n > INT32_MAX) return session::error(901);
    const int rc = add_obs_room(n - ds.maxobs);
    return rc ? session::error(rc == 9996 ? 901 : rc) : 0;
}

// A row of the dataset with `.` or "" everywhere (0 in `(e)`): the start of a new observation.
std::vector<char> blank_row() {
    std::vector<char> row((size_t)std::max(ds.w_cur, 1), 0);
    for (int v = 1; v <= ds.nvar; ++v) {
        char *c = row.data() + ds.offset[v - 1];
        const int t = ds.vartype[v - 1];
        if (is_string_type(t))
            c[0] = 0;
        else
            cell_put(c, t, std::strcmp(ds.varname[v - 1], "(e)") == 0 ? 0.0 : session::lim.dot);
    }
    return row;
}

// Reads the using rows a block at a time.
struct RowReader {
    DtaFile &f;
    int32_t per, got = 0, at = 0;
    std::vector<char> buf;
    explicit RowReader(DtaFile &file)
        : f(file), per((int32_t)std::max<int64_t>(2, ROWBLOCK / std::max(file.width, 1))),
          buf((size_t)per * (size_t)std::max(file.width, 1)) {}
    // The next row, or null at the end; *rc gets a failure.
    const char *next(int *rc) {
        if (at >= got) {
            at = 0;
            if (int r = dta_read_rows(f, buf.data(), per, &got)) {
                *rc = r;
                return nullptr;
            }
            if (got == 0) return nullptr;
        }
        return buf.data() + (int64_t)(at++) * f.width;
    }
};

std::string names_of(const std::vector<int> &vars) {
    std::string s;
    for (int v : vars)
        s += std::string(" ") + ds.varname[v - 1];
    return s;
}

Options merge_options(int &rc) {
    Options o;
    bool unique = false;
    std::string keep;
    const session::OptSpec specs[] = {
        session::opt_flag("nolabel", 7, o.nolabel),        session::opt_flag("update", 6, o.update),
        session::opt_flag("replace", 7, o.replace),        session::opt_flag("nokeep", 6, o.nokeep),
        session::opt_name("_merge", 6, o.outcome),         session::opt_text("keep", 4, o.keep),
        session::opt_flag("nonotes", 7, o.nonotes),        session::opt_flag("unique", 6, unique),
        session::opt_flag("uniqmaster", 10, o.uniqmaster), session::opt_flag("uniqusing", 9, o.uniqusing)};
    rc = std_options(specs);
    for (const session::Option &x : sm.options)
        if (session::cmdmatch(x.name.c_str(), "keep", 4)) o.has_keep = true;
    if (unique) o.uniqmaster = o.uniqusing = true;
    return o;
}

// ---- The walk of merge ----------------------------------------------------------------------------

struct Walk {
    DtaFile &f;
    const Options &o;
    Undo &u;
    std::vector<CellMove> fresh;  // using-only variables: copied into a matched row
    std::vector<CellMove> all;    // every variable brought: copied into a new observation
    std::vector<CellMove> shared; // common variables but keys: the work of update
    int outcome = 0;              // the outcome variable
    std::vector<char> blank;

    Walk(DtaFile &file, const Options &opts, Undo &undo) : f(file), o(opts), u(undo) {}

    // The using row joins observation i (row at m, holding the master's values); the outcome is 3,
    // or under update 4 when a missing value was filled, 5 at a conflict.
    void join(int32_t i, char *m, const char *ur) {
        for (const CellMove &c : fresh)
            move_cell(c, ur, m);
        int result = 3;
        if (o.update) {
            bool filled = false, conflict = false;
            for (const CellMove &c : shared) {
                if (is_string_type(c.dtype)) {
                    char mv[maxstrvarlen + 1], uv[maxstrvarlen + 1];
                    cell_get_str(m + c.dst, c.dtype, mv);
                    cell_get_str(ur + c.src, c.stype, uv);
                    if (!uv[0] || std::strcmp(mv, uv) == 0) continue;
                    const bool fill = !mv[0];
                    if (fill)
                        filled = true;
                    else
                        conflict = true;
                    if (fill || o.replace) {
                        if (i <= u.nobs0) u.cells.push_back({i, c.var, 0, mv});
                        cell_put_str(m + c.dst, c.dtype, uv);
                    }
                } else {
                    const double mv = cell_get(m + c.dst, c.dtype);
                    const double uv = cell_get(ur + c.src, c.stype);
                    if (is_missing(uv) || mv == uv) continue;
                    const bool fill = is_missing(mv);
                    if (fill)
                        filled = true;
                    else
                        conflict = true;
                    if (fill || o.replace) {
                        if (i <= u.nobs0) u.cells.push_back({i, c.var, mv, {}});
                        cell_put(m + c.dst, c.dtype, uv);
                    }
                }
            }
            result = conflict ? 5 : filled ? 4 : 3;
        }
        cell_put(m + ds.offset[outcome - 1], T_BYTE, result);
    }

    // A new observation at the end: from the bytes of row (a master row or the blank one).
    int add_row(const std::vector<char> &row, int32_t *obs) {
        if (int rc = room_for_one()) return rc;
        *obs = ++ds.nobs;
        std::memcpy(row_addr(*obs), row.data(), (size_t)ds.w_cur);
        return 0;
    }

    // A using row with no partner: a new observation with its values, outcome 2 (none with nokeep).
    int lone_using(const char *ur) {
        if (o.nokeep) return 0;
        int32_t i;
        if (int rc = add_row(blank, &i)) return rc;
        char *m = row_addr(i);
        for (const CellMove &c : all)
            move_cell(c, ur, m);
        cell_put(m + ds.offset[outcome - 1], T_BYTE, 2);
        return 0;
    }

    void lone_master(int32_t i) {
        char *c = cell_addr(outcome, i);
        if (cell_get(c, T_BYTE) == 0) cell_put(c, T_BYTE, 1);
    }
};

int uniq_using_failure(const std::vector<int> &keys) {
    return session::fail(459, "variable" + names_of(keys) +
                                  " does not uniquely identify observations in the\nusing data\n");
}

// Both sides in key order.
int walk_keys(Walk &w, RowReader &rd, const std::vector<int> &keys, const std::vector<int> &ukeys) {
    std::vector<KeyCell> mk, uk;
    for (size_t k = 0; k < keys.size(); ++k) {
        mk.push_back({ds.offset[keys[k] - 1], ds.vartype[keys[k] - 1]});
        const DtaVar &x = w.f.vars[(size_t)ukeys[k]];
        uk.push_back({x.offset, x.type});
    }
    const int32_t n0 = w.u.nobs0;
    const size_t uw = (size_t)std::max(w.f.width, 1);
    std::vector<char> grp_m, grp_u(uw), prev_u(uw);
    bool grp = false, have_prev = false;
    int rc = 0;
    const char *ur = rd.next(&rc);
    if (rc) return rc;
    int32_t i = 1;
    for (int64_t step = 1; i <= n0 || ur; ++step) {
        if ((step & 4095) == 0 && session::poll_break()) return 1;
        int c;
        if (i > n0)
            c = 1;
        else if (!ur)
            c = -1;
        else
            c = compare_keys(row_addr(i), mk, ur, uk);
        if (c < 0) {
            char *m = row_addr(i);
            if (grp && compare_keys(m, mk, grp_u.data(), uk) == 0)
                w.join(i, m, grp_u.data());
            else
                w.lone_master(i);
            ++i;
            continue;
        }
        if (c == 0) {
            char *m = row_addr(i);
            grp_m.assign(m, m + ds.w_cur);
            std::memcpy(grp_u.data(), ur, (size_t)w.f.width);
            grp = true;
            w.join(i, m, ur);
            ++i;
        } else if (grp && compare_keys(grp_m.data(), mk, ur, uk) == 0) {
            // A later using row of a key that matched: a new observation from the last master row.
            int32_t j;
            if ((rc = w.add_row(grp_m, &j))) return rc;
            w.join(j, row_addr(j), ur);
        } else if ((rc = w.lone_using(ur))) {
            return rc;
        }
        // The next using row.
        std::memcpy(prev_u.data(), ur, (size_t)w.f.width);
        have_prev = true;
        ur = rd.next(&rc);
        if (rc) return rc;
        if (ur && have_prev && w.o.uniqusing && compare_keys(prev_u.data(), uk, ur, uk) == 0)
            return uniq_using_failure(keys);
    }
    return 0;
}

// Without keys: row i of the file joins observation i.
int walk_rows(Walk &w, RowReader &rd) {
    int rc = 0;
    int32_t i = 1;
    for (const char *ur = rd.next(&rc); ur; ur = rd.next(&rc), ++i) {
        if ((i & 4095) == 0 && session::poll_break()) return 1;
        if (i <= w.u.nobs0)
            w.join(i, row_addr(i), ur);
        else if ((rc = w.lone_using(ur)))
            return rc;
    }
    if (rc) return rc;
    for (; i <= w.u.nobs0; ++i)
        w.lone_master(i);
    return 0;
}

} // namespace

// _merge [varlist] using filename [, nolabel update replace nokeep _merge(name) keep(varlist) nonotes
//        unique uniqmaster uniqusing]
int cmd_merge(int) {
    if (ds.nvar == 0) return session::error(3);
    ParseSpec spec;
    spec.varlist = PO_OPTIONAL;
    spec.vlflags = VL_NOALL;
    spec.ifq = PO_NONE;
    spec.in = PO_NONE;
    spec.usingf = PO_REQUIRED;
    if (int rc = std_parse(spec)) return rc;
    int rc = 0;
    const Options o = merge_options(rc);
    if (rc) return rc;
    std::vector<int> keys(ps.var.begin(), ps.var.begin() + ps.count);

    // The master's order: its sort list begins with the keys.
    for (size_t k = 0; k < keys.size(); ++k)
        if (ds.sortlist[k] != keys[k]) return session::fail(5, "master data not sorted\n");
    if (find_var(o.outcome.c_str())) return session::already_defined(o.outcome);
    if (int rc2 = check_newname(o.outcome.c_str())) return rc2;
    if (o.uniqmaster && !keys.empty()) {
        std::vector<KeyCell> mk;
        for (int v : keys)
            mk.push_back({ds.offset[v - 1], ds.vartype[v - 1]});
        for (int32_t i = 2; i <= ds.nobs; ++i)
            if (compare_keys(row_addr(i - 1), mk, row_addr(i), mk) == 0)
                return session::fail(459,
                                     "variable" + names_of(keys) +
                                         " does not uniquely identify observations in\nthe master data\n");
    }

    DtaFile f;
    if ((rc = dta_open(dta_filename(sm.usingfile), f))) return rc;
    std::vector<int> ukeys;
    for (int v : keys) {
        int found = -1;
        for (size_t x = 0; x < f.vars.size(); ++x)
            if (std::strcmp(f.vars[x].name, ds.varname[v - 1]) == 0) found = (int)x;
        if (found < 0)
            return session::fail(111, std::string("variable ") + ds.varname[v - 1] +
                                          " not found in using dataset\n");
        ukeys.push_back(found);
    }
    for (size_t k = 0; k < ukeys.size(); ++k)
        if (k >= f.sortlist.size() || f.sortlist[k] != ukeys[k] + 1)
            return session::fail(5, "using data not sorted\n");
    std::vector<Pair> pairs;
    if ((rc = match_vars(f, o, ukeys, pairs))) return rc;

    // The dataset changes from here on.
    Undo u;
    u.begin();
    if ((rc = make_vars(f, pairs, o.update || !o.nokeep, u))) return u.undo(rc);
    int outcome = 0;
    if ((rc = add_var(o.outcome.c_str(), T_BYTE, &outcome))) return u.undo(rc);
    for (int32_t i = 1; i <= ds.nobs; ++i)
        put_num(outcome, i, 0);

    Walk w{f, o, u};
    w.outcome = outcome;
    for (const Pair &p : pairs) {
        const CellMove c = cell_move(f.vars[(size_t)p.fv], p.var);
        w.all.push_back(c);
        if (!p.common)
            w.fresh.push_back(c);
        else if (std::find(ukeys.begin(), ukeys.end(), p.fv) == ukeys.end())
            w.shared.push_back(c);
    }
    w.blank = blank_row();
    RowReader rd(f);
    rc = keys.empty() ? walk_rows(w, rd) : walk_keys(w, rd, keys, ukeys);
    if (rc) return u.undo(rc);

    finish();
    return bring_text(f, o, pairs);
}

// append using filename [, nolabel nonotes keep(varlist)]
int cmd_append(int) {
    if (ds.nvar == 0) return session::error(3);
    ParseSpec spec;
    spec.ifq = PO_NONE;
    spec.in = PO_NONE;
    spec.usingf = PO_REQUIRED;
    if (int rc = std_parse(spec)) return rc;
    Options o;
    const session::OptSpec specs[] = {session::opt_flag("nolabel", 7, o.nolabel),
                                      session::opt_flag("nonotes", 7, o.nonotes),
                                      session::opt_text("keep", 4, o.keep)};
    if (int rc = std_options(specs)) return rc;
    for (const session::Option &x : sm.options)
        if (session::cmdmatch(x.name.c_str(), "keep", 4)) o.has_keep = true;

    DtaFile f;
    if (int rc = dta_open(dta_filename(sm.usingfile), f)) return rc;
    std::vector<Pair> pairs;
    if (int rc = match_vars(f, o, {}, pairs)) return rc;

    Undo u;
    u.begin();
    if (int rc = make_vars(f, pairs, true, u)) return u.undo(rc);
    std::vector<CellMove> moves;
    for (const Pair &p : pairs)
        moves.push_back(cell_move(f.vars[(size_t)p.fv], p.var));
    const std::vector<char> blank = blank_row();
    const int64_t total = (int64_t)ds.nobs + f.nrows;
    if (total + 1 > INT32_MAX) return u.undo(session::error(901));
    if (total + 1 > ds.maxobs)
        if (int rc = add_obs_room(total + 1 - ds.maxobs))
            return u.undo(session::error(rc == 9996 ? 901 : rc));
    RowReader rd(f);
    int rc = 0;
    for (const char *ur = rd.next(&rc); ur; ur = rd.next(&rc)) {
        if ((ds.nobs & 4095) == 0 && session::poll_break()) return u.undo(1);
        if (ds.nobs + 2 > ds.maxobs)
            if ((rc = room_for_one())) break;
        char *m = row_addr(++ds.nobs);
        std::memcpy(m, blank.data(), (size_t)ds.w_cur);
        for (const CellMove &c : moves)
            move_cell(c, ur, m);
    }
    if (rc) return u.undo(rc);
    finish();
    return bring_text(f, o, pairs);
}

} // namespace data

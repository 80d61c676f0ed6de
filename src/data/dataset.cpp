// The dataset store: the data area and its partition, variables, observations, and the operations
// that change the shape of the rectangle.
#include "data/dataset.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <new>
#include <string>
#include <vector>

#include "output/channel.h"
#include "session/errors.h"
#include "session/macstore.h"
#include "session/state.h"
#include "session/tok.h"

namespace data {

Dataset ds;

void (*hook_rename_var)(const char *oldname, const char *newname) = nullptr;
void (*hook_drop_var)(const char *name) = nullptr;
void (*hook_clear)() = nullptr;

namespace {

constexpr int MIN_MAXVAR = 2048, MAX_MAXVAR = 32767;
constexpr int MIN_MATSIZE = 10, MAX_MATSIZE = 11000;
constexpr int32_t MAXOBS_LIMIT = INT32_MAX;

// Names a new variable may not take, besides those the character rules exclude.
constexpr const char *reserved_words[] = {"with", "using", "if", "in", "%", "=", ","};
constexpr const char *reserved_names[] = {"_pred", "_b",       "_n",    "_N",  "float", "double", "int",
                                          "long",  "_uniform", "_coef", "_rc", "_pi",   "byte"};

// Bytes of the variable tables for one variable: name, type, offset, format, value-label name, sort slot.
constexpr int64_t VAR_TABLE_BYTES = (VNAMELEN + 1) + 1 + 4 + (FMTLEN + 1) + (VNAMELEN + 1) + 2;

char *align16(char *p) { return (char *)(((uintptr_t)p + 15) & ~(uintptr_t)15); }

int vwidth(int v) { return type_width(ds.vartype[v - 1]); }

// ---- The partition --------------------------------------------------------------------------

struct Layout {
    int32_t tmaxobs, maxobs, k_cur;
    int32_t *index2;
    char *database;
};

// The candidate partition of width w; 0 or the code that refuses it.
int layout_for(int64_t w, Layout &L) {
    if (w > ds.maxwidth) return 1010;
    int64_t t = (ds.dsize - 16) / (w + 8);
    if (t > MAXOBS_LIMIT) t = MAXOBS_LIMIT;
    if (t < 0) t = 0;
    L.tmaxobs = (int32_t)t;
    L.index2 = reinterpret_cast<int32_t *>(ds.base + 4 * t);
    L.database = align16(ds.base + 8 * t);
    int64_t rows = (ds.base + ds.dsize - L.database) / w;
    L.maxobs = (int32_t)std::min<int64_t>(t, rows < 0 ? 0 : rows);
    L.k_cur = (int32_t)std::min<int64_t>(w, ds.maxvar);
    if (L.maxobs < 1) return 902;
    if (w < ds.w_cur) return 901;
    if (L.maxobs < ds.nobs) return 902;
    return 0;
}

void take_layout(const Layout &L, int32_t w) {
    ds.tmaxobs = L.tmaxobs;
    ds.maxobs = L.maxobs;
    ds.k_cur = L.k_cur;
    ds.index = reinterpret_cast<int32_t *>(ds.base);
    ds.index2 = L.index2;
    ds.database = L.database;
    ds.width = w;
}

void identity_index(int32_t from) {
    for (int32_t p = from; p < ds.tmaxobs; ++p)
        ds.index[p] = p;
}

// Moves the rows in use from the current partition to L with stride w.
int move_rows(const Layout &L, int32_t w) {
    const int32_t n = ds.nobs;
    int32_t *ix = ds.index;
    char *const olddb = ds.database;
    const int64_t oldw = ds.width;

    // Bring the rows in use to physical rows 0..n-1: a row at or beyond n still in use is copied into
    // a free row below n, and their index entries are exchanged.
    int32_t q = 0;
    for (int32_t p = n; p < ds.tmaxobs; ++p) {
        if (ix[p] >= n) continue;
        while (q < n && ix[q] < n)
            ++q;
        if (q >= n) {
            session::fail(0, "System failure\n");
            return 9999;
        }
        std::memcpy(olddb + ix[p] * oldw, olddb + ix[q] * oldw, ds.w_cur);
        std::swap(ix[p], ix[q]);
    }

    // Each row moves by (newdb - olddb) + r * (w - oldw), a linear function of r: the rows moving up
    // are taken from the top down, then the rows moving down from the bottom up, so that no row is
    // overwritten before it has moved.
    char *const newdb = L.database;
    const int64_t cnt = std::min<int64_t>({(int64_t)ds.w_cur + 32, oldw, (int64_t)w});
    if (n > 0 && (newdb != olddb || w != oldw)) {
        for (int64_t r = n - 1; r >= 0; --r) {
            char *src = olddb + r * oldw, *dst = newdb + r * w;
            if (dst > src) std::memmove(dst, src, cnt);
        }
        for (int64_t r = 0; r < n; ++r) {
            char *src = olddb + r * oldw, *dst = newdb + r * w;
            if (dst < src) std::memmove(dst, src, cnt);
        }
        ++ds.n_shift;
    }
    take_layout(L, w);
    identity_index(n);
    ++ds.n_repart;
    return 0;
}

// ---- Variables ----------------------------------------------------------------------------------

void set_defaults(int v, const char *name, int type) {
    std::snprintf(ds.varname[v - 1], VNAMELEN + 1, "%s", name);
    ds.vartype[v - 1] = (uint8_t)type;
    default_format(type, ds.fmt[v - 1]);
    ds.vallab[v - 1][0] = 0;
    if (name[0] == '_' && name[1] == '_') ds.tempvars = 1;
}

// Appends a variable; normal requests leave one byte of row and one variable slot for commands, the
// scratch form may use them. The number, or a negated code; nothing written.
int append_var(const char *name, int type, bool scratch) {
    if (!is_valid_type(type)) return -198;
    const int tw = type_width(type);
    if (ds.nvar >= (scratch ? ds.maxvar : ds.maxvar - 1)) return -900;
    int64_t need = (int64_t)ds.w_cur + tw - ds.width + (scratch ? 0 : 1);
    if (need > 0) {
        int rc = add_width((int32_t)std::min<int64_t>(need, INT32_MAX));
        if (rc) return -rc;
    }
    if (ds.nvar >= (scratch ? ds.k_cur : ds.k_cur - 1)) return -900;
    int v = ++ds.nvar;
    ds.offset[v - 1] = ds.w_cur;
    ds.w_cur += tw;
    set_defaults(v, name, type);
    ++ds.structure;
    return v;
}

// Gives up the last variable: a scratch variable, or the slot a rename borrowed.
void remove_last_var() {
    int v = ds.nvar;
    for (int k = 0; ds.sortlist[k]; ++k)
        if (ds.sortlist[k] == v) {
            ds.sortlist[k] = 0;
            break;
        }
    ds.w_cur = ds.offset[v - 1];
    --ds.nvar;
    if (ds.nvar_visible > ds.nvar) ds.nvar_visible = ds.nvar;
    ++ds.structure;
}

bool is_reserved(const char *name) {
    for (const char *w : reserved_words)
        if (std::strcmp(name, w) == 0) return true;
    for (const char *w : reserved_names)
        if (std::strcmp(name, w) == 0) return true;
    return false;
}

// "str" and a digit 1 to 9 with only digits behind it: a type word.
bool is_str_word(const char *name) {
    if (std::strncmp(name, "str", 3) != 0 || name[3] < '1' || name[3] > '9') return false;
    for (const char *p = name + 4; *p; ++p)
        if (*p < '0' || *p > '9') return false;
    return true;
}

void copy_attrs(int to, int from) {
    std::memcpy(ds.varname[to - 1], ds.varname[from - 1], VNAMELEN + 1);
    ds.vartype[to - 1] = ds.vartype[from - 1];
    std::memcpy(ds.fmt[to - 1], ds.fmt[from - 1], FMTLEN + 1);
    std::memcpy(ds.vallab[to - 1], ds.vallab[from - 1], VNAMELEN + 1);
}

void recompute_offsets(int from) {
    int32_t off = from > 1 ? ds.offset[from - 2] + vwidth(from - 1) : 0;
    for (int v = from; v <= ds.nvar; ++v) {
        ds.offset[v - 1] = off;
        off += vwidth(v);
    }
}

// One spare row behind the observations, for work rows and for moves.
int ensure_spare_row() {
    if (ds.nobs < ds.maxobs) return 0;
    return add_obs_room(1);
}

// The flag of variable v in the work row: 1 to drop.
bool work_flag(int v, int workobs) {
    if (is_string_type(ds.vartype[v - 1])) return *cell_addr(v, workobs) == '1';
    return get_num(v, workobs) == 1.0;
}

// Drops the flagged variables through a work row of flags. hooks: the stores keyed by name are told
// (not when a promotion hands the name on). Quiet: 0 or the code.
int drop_core(const uint8_t *flags_in, bool hooks) {
    const int n = ds.nvar;
    std::vector<uint8_t> flags(flags_in, flags_in + n);
    int ndrop = 0, evar = 0;
    for (int v = 1; v <= n; ++v) {
        if (std::strcmp(ds.varname[v - 1], "(e)") == 0) evar = v;
        ndrop += flags[v - 1] ? 1 : 0;
    }
    if (ndrop == 0) return 0;
    // The sample of the estimates never stays alone.
    if (evar && !flags[evar - 1] && ndrop == n - 1) {
        flags[evar - 1] = 1;
        ++ndrop;
    }
    if (ndrop == n) {
        clear_dataset();
        return 0;
    }
    if (int rc = ensure_spare_row()) return rc;

    std::vector<std::string> dropped;
    for (int v = 1; v <= n; ++v)
        if (flags[v - 1]) dropped.emplace_back(ds.varname[v - 1]);

    const int32_t saved_changed = ds.changed;
    const int workobs = ds.nobs + 1;
    ++ds.nobs;
    for (int v = 1; v <= n; ++v) {
        if (is_string_type(ds.vartype[v - 1]))
            put_str(v, workobs, flags[v - 1] ? "1" : "0");
        else
            put_num(v, workobs, flags[v - 1] ? 1.0 : 0.0);
    }
    // Renumber the sort list for the kept variables; it ends at its first dropped entry.
    std::vector<int> before(n + 1, 0);
    for (int v = 1; v <= n; ++v)
        before[v] = before[v - 1] + (flags[v - 1] ? 1 : 0);
    for (int k = 0; ds.sortlist[k]; ++k) {
        int s = ds.sortlist[k];
        if (flags[s - 1]) {
            ds.sortlist[k] = 0;
            break;
        }
        ds.sortlist[k] = (int16_t)(s - before[s - 1]);
    }
    --ds.nobs; // the work row stays reachable through index[nobs]

    // Marked variables at the end are cut off.
    int b = ds.nvar;
    while (b > 0 && work_flag(b, workobs))
        --b;
    ds.nvar = b;
    ds.w_cur = b ? ds.offset[b - 1] + vwidth(b) : 0;
    // Then the last run of marked variables, lo..hi, is closed by moving the cells behind it down.
    for (;;) {
        int hi = ds.nvar;
        while (hi > 0 && !work_flag(hi, workobs))
            --hi;
        if (hi == 0) break;
        int lo = hi;
        while (lo > 1 && work_flag(lo - 1, workobs))
            --lo;
        const int32_t runoff = ds.offset[lo - 1];
        const int32_t tailoff = ds.offset[hi - 1] + vwidth(hi);
        const int32_t runw = tailoff - runoff;
        const int32_t tail = ds.w_cur - tailoff;
        for (int i = 1; i <= workobs; ++i) {
            char *r = row_addr(i);
            if (tail <= runw)
                std::memcpy(r + runoff, r + tailoff, tail);
            else
                std::memmove(r + runoff, r + tailoff, tail);
        }
        const int runlen = hi - lo + 1;
        for (int v = hi + 1; v <= ds.nvar; ++v) {
            copy_attrs(v - runlen, v);
            ds.offset[v - runlen - 1] = ds.offset[v - 1] - runw;
        }
        ds.nvar -= runlen;
        ds.w_cur -= runw;
    }
    if (ds.nvar_visible > ds.nvar) ds.nvar_visible = ds.nvar;
    ++ds.structure;

    ds.changed = saved_changed;
    for (const std::string &name : dropped) {
        mark_changed(name.c_str());
        if (hooks && hook_drop_var) hook_drop_var(name.c_str());
    }
    return 0;
}

// Renumbers the sort list after the variable at position from went to position to.
void sortlist_after_move(int from, int to) {
    for (int k = 0; ds.sortlist[k]; ++k) {
        int s = ds.sortlist[k];
        if (s == from)
            s = to;
        else if (from > to && s >= to && s < from)
            ++s;
        else if (from < to && s > from && s <= to)
            --s;
        ds.sortlist[k] = (int16_t)s;
    }
}

// Parses "%[-]#s"; the width, or 0 when fmt is not of that form.
int string_format_width(const char *fmt, bool *left) {
    if (fmt[0] != '%') return 0;
    const char *p = fmt + 1;
    *left = *p == '-';
    if (*left) ++p;
    int w = 0;
    if (*p < '0' || *p > '9') return 0;
    while (*p >= '0' && *p <= '9')
        w = w * 10 + (*p++ - '0');
    return (p[0] == 's' && p[1] == 0) ? w : 0;
}

// The smallest type for variable v that loses nothing, or 0 for no change.
int compress_target(int v) {
    const int t = ds.vartype[v - 1];
    if (is_string_type(t)) {
        char buf[maxstrvarlen + 1];
        int longest = 0;
        for (int i = 1; i <= ds.nobs; ++i) {
            get_str(v, i, buf);
            int len = (int)std::strlen(buf);
            if (len >= t) return 0;
            longest = std::max(longest, len);
        }
        int target = std::max(longest, 1);
        return target < t ? target : 0;
    }
    if (t != T_INT && t != T_LONG && t != T_FLOAT && t != T_DOUBLE) return 0;
    int cand = T_BYTE;
    for (int i = 1; i <= ds.nobs; ++i) {
        double x = get_num(v, i);
        if (is_missing(x)) continue;
        if (dexponent(x) >= 31) return 0;
        int32_t k = (int32_t)x;
        if ((double)k != x) return 0;
        if (cand == T_BYTE && (k < type_row(T_BYTE).lo || k > type_row(T_BYTE).hi)) cand = T_INT;
        if (cand == T_INT && (k < type_row(T_INT).lo || k > type_row(T_INT).hi)) cand = T_LONG;
        if (cand == T_LONG && (k < type_row(T_LONG).lo || k > type_row(T_LONG).hi)) return 0;
        if (cand >= t || (cand == T_LONG && t == T_FLOAT)) return 0;
    }
    return cand;
}

// Builds a new data area (or keeps the block when its size stays) and the variable tables, and takes
// them on success; on failure the old ones stay. A block of 64 bytes or more always holds the empty
// partition of width 4.
int build_area(int64_t bytes, int maxvar) {
    if (bytes < 64 || maxvar < 2) return 909;
    std::unique_ptr<char, FreeDeleter> area;
    if (!ds.area || bytes != ds.M_total) {
        area.reset(static_cast<char *>(std::malloc((size_t)bytes)));
        if (!area) return 909;
    }
    std::unique_ptr<char[][VNAMELEN + 1]> names(new (std::nothrow) char[maxvar][VNAMELEN + 1]);
    std::unique_ptr<uint8_t[]> types(new (std::nothrow) uint8_t[maxvar]);
    std::unique_ptr<int32_t[]> offsets(new (std::nothrow) int32_t[maxvar]);
    std::unique_ptr<char[][FMTLEN + 1]> fmts(new (std::nothrow) char[maxvar][FMTLEN + 1]);
    std::unique_ptr<char[][VNAMELEN + 1]> vallabs(new (std::nothrow) char[maxvar][VNAMELEN + 1]);
    std::unique_ptr<int16_t[]> sortlist(new (std::nothrow) int16_t[maxvar + 1]);
    if (!names || !types || !offsets || !fmts || !vallabs || !sortlist) return 909;

    if (area) ds.area = std::move(area);
    ds.base = ds.area.get();
    ds.M_total = bytes;
    ds.dsize = bytes;
    ds.ysize = 0;
    ds.maxvar = maxvar;
    ds.maxwidth = 12 * maxvar;
    ds.varname = std::move(names);
    ds.vartype = std::move(types);
    ds.offset = std::move(offsets);
    ds.fmt = std::move(fmts);
    ds.vallab = std::move(vallabs);
    ds.sortlist = std::move(sortlist);
    ds.sortlist[0] = 0;
    ds.nvar = 0;
    ds.nobs = 0;
    ds.w_cur = 0;
    Layout L;
    layout_for(4, L);
    take_layout(L, 4);
    identity_index(0);
    ds.nvar_visible = 0;
    ds.datalabel[0] = 0;
    ds.changed = 0;
    ds.tempvars = 0;
    ds.scratch_rc = 0;
    ++ds.structure;
    return 0;
}

bool data_in_memory() { return ds.nvar > 0 || ds.nobs > 0; }

int range_error(int lo, int hi) {
    char buf[80];
    std::snprintf(buf, sizeof buf, "# must be between %d and %d\n", lo, hi);
    session::fail(0, buf);
    return 198;
}

} // namespace

// ---- Start-up and settings ----------------------------------------------------------------------

int data_init(int64_t memory_bytes, int maxvar, int matsize) {
    if (int rc = build_area(memory_bytes, maxvar)) return rc;
    ds.matsize = matsize;
    return 0;
}

int set_memory(int64_t bytes) {
    if (bytes < 102400) return session::error(910);
    if (data_in_memory()) return session::error(4);
    if (build_area(bytes, ds.maxvar)) return session::error(909);
    session::st.memory_bytes = bytes;
    return 0;
}

int set_maxvar(int n) {
    if (n < MIN_MAXVAR || n > MAX_MAXVAR) return range_error(MIN_MAXVAR, MAX_MAXVAR);
    if (data_in_memory()) return session::error(4);
    if (build_area(ds.M_total, n)) return session::error(909);
    session::st.maxvar = n;
    return 0;
}

int set_matsize(int n) {
    if (n < MIN_MATSIZE || n > MAX_MATSIZE) return range_error(MIN_MATSIZE, MAX_MATSIZE);
    if (data_in_memory()) return session::error(4);
    ds.matsize = n;
    session::st.matsize = n;
    return 0;
}

MemInfo data_memory_info() {
    MemInfo m;
    m.M_total = ds.dsize;
    m.size_ptr = 8;
    m.M_data = (int64_t)ds.nobs * ds.width;
    m.M_oh = (int64_t)ds.nobs * m.size_ptr;
    m.M_dyn = ds.ysize;
    m.N_cur = ds.maxobs;
    m.N_curmax = ds.tmaxobs;
    m.k_cur = ds.k_cur;
    m.w_cur = ds.w_cur;
    m.width = ds.width;
    m.n_repart = ds.n_repart;
    m.n_shift = ds.n_shift;
    m.maxvar_bytes = (int64_t)ds.maxvar * VAR_TABLE_BYTES;
    return m;
}

// ---- The partition ------------------------------------------------------------------------------

int repartition(int64_t dwidth, int64_t dobs) {
    Layout L;
    int64_t w;
    if (dwidth) {
        w = ds.width + dwidth;
        if (w & 1) ++w;
        if (w < 4) return 901;
        if (int rc = layout_for(w, L)) return rc;
    } else {
        const int64_t want = (int64_t)ds.maxobs + dobs;
        if (want > MAXOBS_LIMIT) return 901;
        if (want < 1) return 901;
        w = ds.dsize / want - 8;
        if (w & 1) --w;
        if (w > ds.maxwidth) w = ds.maxwidth & ~1;
        for (;; w -= 2) {
            if (w < ds.w_cur || w < 4) return 901;
            if (layout_for(w, L) == 0 && L.maxobs >= want) break;
        }
    }
    if (w == ds.width && L.tmaxobs == ds.tmaxobs && L.maxobs == ds.maxobs) return 0;
    return move_rows(L, (int32_t)w);
}

int32_t wmax() {
    const double n = std::max(ds.nobs, 1);
    const double c = 2;
    const double D = (double)ds.dsize, Y = (double)ds.ysize;
    const double a = 4 * c * (n + 1) - (D - 16);
    const double disc = a * a - 4 * n * 4 * c * Y;
    if (disc < 0) return ds.width;
    const double cand = (std::sqrt(disc) - a) / (c * n);
    int64_t w;
    if (cand > ds.maxwidth) {
        w = ds.maxwidth;
        if (w & 1) --w;
    } else {
        w = (int64_t)cand & ~(int64_t)1;
    }
    return (int32_t)std::max<int64_t>(w, ds.width);
}

int64_t obs_limit() {
    int64_t w = std::max(ds.w_cur, 1) + 4;
    if (w & 1) ++w;
    double q = ((double)ds.dsize - 4.0 * (double)ds.ysize / (double)(w - 4)) / (double)(w + 4);
    if (q > MAXOBS_LIMIT) q = MAXOBS_LIMIT;
    return std::max<int64_t>(ds.maxobs, (int64_t)q);
}

int add_width(int32_t n) {
    if (n == 1) n = 2;
    const int32_t old = ds.width;
    const int64_t grow = std::max<int64_t>(((int64_t)wmax() - ds.width) / 2, n);
    int rc = repartition(grow, 0);
    if (rc && rc < 9000 && grow > n) rc = repartition(n, 0);
    if (rc) return rc;
    if (ds.width - old < n) return 9997;
    return 0;
}

int add_obs_room(int64_t n) {
    const int32_t old = ds.maxobs;
    const int64_t grow = std::max<int64_t>((obs_limit() - ds.maxobs) / 2, n);
    int rc = repartition(0, grow);
    if (rc && rc < 9000 && grow > n) rc = repartition(0, n);
    if (rc) return rc;
    if (ds.maxobs - old < n) return 9996;
    return 0;
}

// ---- Variables ----------------------------------------------------------------------------------

void fill_missing(int v, int from) {
    const int t = ds.vartype[v - 1];
    for (int i = std::max(from, 1); i <= ds.nobs; ++i) {
        if (is_string_type(t))
            put_str(v, i, "");
        else
            put_num(v, i, session::lim.dot);
    }
}

int check_newname(const char *name) {
    if (!session::name_ok(name)) return session::invalid_name(name);
    if (find_var(name)) return session::already_defined(name);
    if (is_reserved(name)) return session::invalid_name(name);
    if (is_str_word(name)) return session::fail(198, std::string(name) + " invalid variable name\n");
    if (std::strcmp(name, "_cons") == 0) return session::invalid_name(name);
    return 0;
}

bool newname_ok(const char *name) {
    return session::name_ok(name) && !is_reserved(name) && !is_str_word(name) &&
           std::strcmp(name, "_cons") != 0;
}

int add_var(const char *name, int type, int *vnum) {
    if (int rc = check_newname(name)) return rc;
    int v = append_var(name, type, false);
    if (v < 0) return session::error(-v);
    mark_changed(name);
    if (vnum) *vnum = v;
    return 0;
}

int add_var_raw(const char *name, int type) {
    if (std::strlen(name) > VNAMELEN) return -198;
    return append_var(name, type, false);
}

int add_scratch(int type) {
    if (ds.scratch_rc) return -ds.scratch_rc;
    int v = append_var("_delete", type, true);
    if (v < 0) ds.scratch_rc = -v;
    return v;
}

void scratch_reset() { ds.scratch_rc = 0; }

int find_var(const char *name) {
    for (int v = 1; v <= ds.nvar; ++v)
        if (std::strcmp(ds.varname[v - 1], name) == 0) return v;
    return 0;
}

void cut_vars(int n) {
    if (n < 0 || n >= ds.nvar) return;
    for (int k = 0; ds.sortlist[k]; ++k)
        if (ds.sortlist[k] > n) {
            ds.sortlist[k] = 0;
            break;
        }
    for (int v = ds.nvar; v > n; --v)
        if (hook_drop_var) hook_drop_var(ds.varname[v - 1]);
    ds.w_cur = ds.offset[n];
    ds.nvar = n;
    if (ds.nvar_visible > n) ds.nvar_visible = n;
    ++ds.structure;
}

void command_start() {
    ds.nvar_visible = ds.nvar;
    ds.scratch_rc = 0;
}

void bump_changed() { ds.changed = ds.changed + 1 >= MAXCHANGED ? 1 : ds.changed + 1; }

void mark_changed(const char *varname) {
    if (varname[0] == '_' || varname[0] == '(') return;
    bump_changed();
}

int drop_vars(const uint8_t *flags) {
    int rc = drop_core(flags, true);
    return rc ? session::error(rc) : 0;
}

int keep_vars(const uint8_t *flags) {
    std::vector<uint8_t> drop(ds.nvar);
    for (int v = 1; v <= ds.nvar; ++v)
        drop[v - 1] = (!flags[v - 1] && std::strcmp(ds.varname[v - 1], "(e)") != 0) ? 1 : 0;
    int rc = drop_core(drop.data(), true);
    return rc ? session::error(rc) : 0;
}

void clear_dataset() {
    ds.nvar = 0;
    ds.nobs = 0;
    ds.nvar_visible = 0;
    ds.w_cur = 0;
    ds.datalabel[0] = 0;
    ds.sortlist[0] = 0;
    ds.changed = 0;
    ds.tempvars = 0;
    ++ds.structure;
    identity_index(0);
    session::macro_drop("S_FN");
    session::macro_drop("S_FNDATE");
    if (hook_clear) hook_clear();
}

int move_var(int v, int target) {
    if (v == target) return 0;
    if (ensure_spare_row()) return session::error(901);
    char *spare = ds.database + (int64_t)ds.index[ds.nobs] * ds.width;
    const int tw = vwidth(v);
    if (v > target) {
        // The cells of target..v-1 shift up by the width of v, which goes in front of them.
        const int32_t at = ds.offset[target - 1];
        const int32_t len = ds.offset[v - 1] - at;
        for (int i = 1; i <= ds.nobs; ++i) {
            char *r = row_addr(i);
            std::memcpy(spare, r + ds.offset[v - 1], tw);
            std::memmove(r + at + tw, r + at, len);
            std::memcpy(r + at, spare, tw);
        }
        char name[VNAMELEN + 1], f[FMTLEN + 1], vl[VNAMELEN + 1];
        const uint8_t t = ds.vartype[v - 1];
        std::memcpy(name, ds.varname[v - 1], sizeof name);
        std::memcpy(f, ds.fmt[v - 1], sizeof f);
        std::memcpy(vl, ds.vallab[v - 1], sizeof vl);
        for (int j = v; j > target; --j)
            copy_attrs(j, j - 1);
        std::memcpy(ds.varname[target - 1], name, sizeof name);
        std::memcpy(ds.fmt[target - 1], f, sizeof f);
        std::memcpy(ds.vallab[target - 1], vl, sizeof vl);
        ds.vartype[target - 1] = t;
        recompute_offsets(target);
    } else {
        // The cells of v+1..target shift down by the width of v, which goes behind them.
        const int32_t at = ds.offset[v - 1];
        const int32_t len = ds.offset[target - 1] + vwidth(target) - ds.offset[v];
        for (int i = 1; i <= ds.nobs; ++i) {
            char *r = row_addr(i);
            std::memcpy(spare, r + at, tw);
            std::memmove(r + at, r + at + tw, len);
            std::memcpy(r + at + len, spare, tw);
        }
        char name[VNAMELEN + 1], f[FMTLEN + 1], vl[VNAMELEN + 1];
        const uint8_t t = ds.vartype[v - 1];
        std::memcpy(name, ds.varname[v - 1], sizeof name);
        std::memcpy(f, ds.fmt[v - 1], sizeof f);
        std::memcpy(vl, ds.vallab[v - 1], sizeof vl);
        for (int j = v; j < target; ++j)
            copy_attrs(j, j + 1);
        std::memcpy(ds.varname[target - 1], name, sizeof name);
        std::memcpy(ds.fmt[target - 1], f, sizeof f);
        std::memcpy(ds.vallab[target - 1], vl, sizeof vl);
        ds.vartype[target - 1] = t;
        recompute_offsets(v);
    }
    sortlist_after_move(v, target);
    ++ds.structure;
    mark_changed(ds.varname[target - 1]);
    return 0;
}

int order_vars(const int *list, int n) {
    std::vector<int> items;
    std::vector<uint8_t> seen(ds.nvar + 1, 0);
    for (int k = 0; k < n; ++k)
        if (list[k] >= 1 && list[k] <= ds.nvar && !seen[list[k]]) {
            seen[list[k]] = 1;
            items.push_back(list[k]);
        }
    for (size_t k = 0; k < items.size(); ++k) {
        const int pos = (int)k + 1;
        const int v = items[k];
        if (v == pos) continue;
        if (int rc = move_var(v, pos)) return rc;
        // v was behind pos, so the variables from pos up to v moved one place back.
        for (size_t j = k + 1; j < items.size(); ++j)
            if (items[j] >= pos && items[j] < v) ++items[j];
    }
    return 0;
}

int rename_var(int v, const char *newname) {
    if (int rc = check_newname(newname)) return rc;
    // The check of a free slot and of the row is that of adding a byte variable.
    int slot = append_var(newname, T_BYTE, false);
    if (slot < 0) return session::error(-slot);
    char oldname[VNAMELEN + 1];
    std::memcpy(oldname, ds.varname[v - 1], sizeof oldname);
    if (hook_rename_var) hook_rename_var(oldname, newname);
    remove_last_var();
    std::snprintf(ds.varname[v - 1], VNAMELEN + 1, "%s", newname);
    ++ds.structure;
    if (oldname[0] == '_' || oldname[0] == '(')
        mark_changed(newname);
    else
        mark_changed(oldname);
    return 0;
}

int promote(int v, int newtype, int ncopy) {
    const int oldtype = ds.vartype[v - 1];
    if (newtype == oldtype) return 0;
    if (!is_valid_type(newtype)) return session::error(198);
    if (is_string_type(newtype) != is_string_type(oldtype)) return session::error(109);

    int s = append_var("_delete", newtype, true);
    if (s < 0) return session::error(-s == 900 ? 900 : 903);
    if (ensure_spare_row()) {
        remove_last_var();
        return session::error(901);
    }
    // Attributes go over to the new column; a string format keeps its proportion to the width.
    std::memcpy(ds.vallab[s - 1], ds.vallab[v - 1], VNAMELEN + 1);
    std::memcpy(ds.fmt[s - 1], ds.fmt[v - 1], FMTLEN + 1);
    if (is_string_type(oldtype)) {
        bool left = false;
        int fw = string_format_width(ds.fmt[v - 1], &left);
        if (fw > 0)
            std::snprintf(ds.fmt[s - 1], FMTLEN + 1, "%%%s%ds", left ? "-" : "", newtype * fw / oldtype);
    }
    ncopy = std::min(ncopy, ds.nobs);
    char buf[maxstrvarlen + 1];
    for (int i = 1; i <= ncopy; ++i) {
        if (session::poll_break()) {
            remove_last_var();
            return 1;
        }
        if (is_string_type(newtype)) {
            get_str(v, i, buf);
            put_str(s, i, buf);
        } else {
            put_num(s, i, get_num(v, i));
        }
    }
    // The new column takes the old one's place in the sort list, then the old column goes.
    for (int k = 0; ds.sortlist[k]; ++k)
        if (ds.sortlist[k] == v) ds.sortlist[k] = (int16_t)s;
    char name[VNAMELEN + 1];
    std::memcpy(name, ds.varname[v - 1], sizeof name);
    std::vector<uint8_t> flags(ds.nvar, 0);
    flags[v - 1] = 1;
    const int32_t saved_changed = ds.changed;
    if (int rc = drop_core(flags.data(), false)) return session::error(rc);
    ds.changed = saved_changed;
    const int last = ds.nvar;
    std::memcpy(ds.varname[last - 1], name, sizeof name);
    if (int rc = move_var(last, v)) return rc;
    ds.changed = saved_changed;
    mark_changed(name);
    return 0;
}

int compress(const int *list, int n, std::vector<TypeChange> *changes) {
    if (ds.nvar == 0) return session::error(3);
    if (ds.nobs == 0) return 0;
    auto pass_of = [](int t) { return is_string_type(t) ? 3 : t == T_DOUBLE ? 2 : 1; };
    for (int pass = 1; pass <= 3; ++pass) {
        for (int k = 0; k < n; ++k) {
            const int v = list[k];
            if (v < 1 || v > ds.nvar) continue;
            const int t = ds.vartype[v - 1];
            if (pass_of(t) != pass) continue;
            const int target = compress_target(v);
            if (!target) continue;
            if (int rc = promote(v, target, ds.nobs)) return rc;
            if (changes) changes->push_back({v, t, target});
        }
    }
    return 0;
}

// ---- Observations -------------------------------------------------------------------------------

int set_obs(int64_t n) {
    if (n == ds.nobs) return 0;
    const int64_t limit = obs_limit();
    if (n < ds.nobs) return session::numlist_error(125, true);
    if (n > limit - 1) return session::error(901);
    if (n + 1 > ds.maxobs) {
        if (int rc = add_obs_room(n + 1 - ds.maxobs)) return session::error(rc);
    }
    const int32_t old = ds.nobs;
    ds.nobs = (int32_t)n;
    for (int v = 1; v <= ds.nvar; ++v) {
        if (std::strcmp(ds.varname[v - 1], "(e)") == 0) {
            for (int i = old + 1; i <= ds.nobs; ++i)
                put_num(v, i, 0.0);
        } else {
            fill_missing(v, old + 1);
        }
    }
    bump_changed();
    return 0;
}

int obs_drop_begin(int *svar) {
    int s = add_scratch(T_LONG);
    if (s < 0) return session::error(-s);
    for (int i = 1; i <= ds.nobs; ++i)
        put_long(s, i, 0);
    *svar = s;
    return 0;
}

int obs_drop_finish(int svar, int32_t *removed_out) {
    // src[k] (in index2) is the physical row that becomes physical row k; need[p] (in index) is the
    // row k that still wants physical row p, or -1 once p is free.
    int32_t *src = ds.index2;
    int32_t *need = ds.index;
    int32_t m = 0;
    for (int32_t j = 0; j < ds.nobs; ++j)
        if (get_long(svar, j + 1) != 1) src[m++] = ds.index[j];
    const int32_t removed = ds.nobs - m;
    for (int32_t p = 0; p < ds.maxobs; ++p)
        need[p] = -1;
    for (int32_t k = 0; k < m; ++k)
        need[src[k]] = k;
    for (int32_t k = 0; k < m; ++k)
        if (src[k] == k) src[k] = need[k] = -1;

    const int64_t w = ds.width;
    auto prow = [&](int32_t p) { return ds.database + p * w; };
    // Chains that start at a free row: fill it, which frees the source row, and go on from there.
    for (int32_t s = 0; s < m; ++s) {
        if (src[s] < 0 || need[s] >= 0) continue;
        for (int32_t k = s;;) {
            const int32_t p = src[k];
            std::memcpy(prow(k), prow(p), ds.w_cur);
            src[k] = -1;
            need[p] = -1;
            if (p < m && src[p] >= 0)
                k = p;
            else
                break;
        }
    }
    // What is left are cycles, closed through a row buffer.
    std::vector<char> buf(ds.w_cur > 0 ? ds.w_cur : 1);
    for (int32_t s = 0; s < m; ++s) {
        if (src[s] < 0) continue;
        std::memcpy(buf.data(), prow(s), ds.w_cur);
        for (int32_t k = s;;) {
            const int32_t p = src[k];
            src[k] = -1;
            if (p == s) {
                std::memcpy(prow(k), buf.data(), ds.w_cur);
                break;
            }
            std::memcpy(prow(k), prow(p), ds.w_cur);
            k = p;
        }
    }
    identity_index(0);
    ds.nobs = m;
    bump_changed();

    if (svar == ds.nvar) {
        remove_last_var();
    } else {
        std::vector<uint8_t> flags(ds.nvar, 0);
        flags[svar - 1] = 1;
        if (int rc = drop_core(flags.data(), false)) return session::error(rc);
    }
    if (removed_out) *removed_out = removed;
    return 0;
}

void obs_reset(int32_t n) {
    identity_index(0);
    if (n < ds.nobs) ds.nobs = n;
    ds.sortlist[0] = 0;
    bump_changed();
}

int drop_obs_mask(const uint8_t *remove, int32_t *removed) {
    int s;
    if (int rc = obs_drop_begin(&s)) return rc;
    for (int i = 1; i <= ds.nobs; ++i)
        if (remove[i - 1]) put_long(s, i, 1);
    return obs_drop_finish(s, removed);
}

} // namespace data

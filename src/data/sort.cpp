// sort: the main flow (the presortedness test, the shuffle by the sort generator, the choice of
// engine and team, the sort list), the serial engines, the order of a permutation variable, and the
// command.
#include "data/sort.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/sort_int.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "estimate/frame.h"
#include "session/errors.h"
#include "session/options.h"
#include "session/state.h"

namespace data {

SortEngine sort_engine = SE_AUTO;

namespace {

// Below this many observations the comparison sort costs no more than the radix passes; beyond this
// many pieces of 8 bytes of string keys, the comparison, which mostly decides on the first bytes,
// costs less than a pass for every piece.
constexpr int64_t RADIX_MIN = 256;
constexpr int RADIX_MAX_PIECES = 8;

// Work arrays are left unset: the threads that fill them touch their pages first.
template <class T> std::unique_ptr<T[]> work_array(int64_t n) {
    return std::unique_ptr<T[]>(new (std::nothrow) T[n > 0 ? n : 1]);
}

// The generator lives in the setting: each sort goes on from where the last one left it, and
// `set sortseed` starts it again.
uint32_t gen_state() { return (uint32_t)(session::se.sortseed & SORTGEN_MASK); }
void gen_save(uint32_t x) { session::se.sortseed = x; }

void clear_sortlist() { ds.sortlist[0] = 0; }

void set_sortlist(const int *vars, int n) {
    int m = 0;
    for (int k = 0; k < n; ++k) {
        bool seen = false;
        for (int q = 0; q < m && !seen; ++q)
            seen = ds.sortlist[q] == vars[k];
        if (!seen) ds.sortlist[m++] = (int16_t)vars[k];
    }
    ds.sortlist[m] = 0;
}

// The adjacent observations compared from the first: 0 when they are in order (or all equal), 1 when
// in reverse order, 2 otherwise; -1 at a Break. Under `stable` the observation number is the last
// key, so equal neighbours are in order.
int presorted(const ObsCmp &cmp, int64_t n, bool stable) {
    int c = 0;
    for (int64_t i = 0; i + 1 < n; ++i) {
        if ((i & 65535) == 65535 && est::break_pending()) return -1;
        int d = cmp.keys_only((int32_t)i, (int32_t)(i + 1));
        if (d == 0 && stable) d = -1;
        if (d == 0) continue;
        if (c == 0)
            c = d;
        else if (d != c)
            return 2;
    }
    return c > 0 ? 1 : 0;
}

// The exchanges of positions k_from to k_to of the shuffle, applied to idx (and orig when given)
// from the generator state x, which is left behind the last draw applied. The draws run some steps
// ahead of the exchanges so that the entries are fetched before they are needed. 1 at a Break.
int exchange(int32_t *idx, int32_t *orig, int32_t lo, int32_t hi, int64_t k_from, int64_t k_to, uint32_t *x) {
    constexpr int AHEAD = 16; // a power of two
    struct Pair {
        int64_t i, j;
        uint32_t x; // the state behind the pair's draws
    } ring[AHEAD];
    uint32_t drawn = *x;
    auto draw_pair = [&](Pair &pr) {
        pr.i = sortgen_draw(&drawn, lo, hi) - lo;
        pr.j = sortgen_draw(&drawn, lo, hi) - lo;
        pr.x = drawn;
        __builtin_prefetch(idx + pr.i, 1);
        __builtin_prefetch(idx + pr.j, 1);
    };
    const int64_t m = k_to - k_from;
    for (int64_t k = 0; k < m && k < AHEAD; ++k)
        draw_pair(ring[k]);
    for (int64_t k = 0; k < m; ++k) {
        Pair &pr = ring[k & (AHEAD - 1)];
        const int64_t i = pr.i, j = pr.j;
        *x = pr.x;
        if (k + AHEAD < m) draw_pair(pr);
        std::swap(idx[i], idx[j]);
        if (orig) std::swap(orig[i], orig[j]);
        if ((k & 65535) == 65535 && est::break_pending()) return 1;
    }
    return 0;
}

// For each position of the range, two draws over the range and the index entries at those two
// positions exchanged; orig, when given, is exchanged alongside. With a team, and the second index
// table free, the exchanges of the second half are made at the same time on a table of positions
// of their own, from the state the first half leaves (the generator jumps there), and the two are
// put together behind: the index is then what the exchanges one after the other make of it. 1 at a
// Break.
int shuffle(int32_t lo, int32_t hi, int32_t *orig, bool table_free, const est::Team &tm) {
    int32_t *idx = ds.index + (lo - 1);
    const int64_t n = (int64_t)hi - lo + 1;
    uint32_t x = gen_state();
    if (orig || !table_free || !tm.parallel) {
        const int rc = exchange(idx, orig, lo, hi, 0, n, &x);
        gen_save(x);
        return rc;
    }
    int32_t *pos = ds.index2 + (lo - 1);
    const int64_t half = n / 2;
    uint32_t xs[2] = {x, sortgen_jump(x, 2 * half)};
    uint8_t stopped[2] = {0, 0};
    const est::Team two{2, 2, 1, true};
    est::run_region(two, [&](int t, int64_t, int64_t) {
        if (t == 0) {
            stopped[0] = (uint8_t)exchange(idx, nullptr, lo, hi, 0, half, &xs[0]);
        } else {
            for (int64_t i = 0; i < n; ++i)
                pos[i] = (int32_t)i;
            stopped[1] = (uint8_t)exchange(pos, nullptr, lo, hi, half, n, &xs[1]);
        }
    });
    if (stopped[0] || stopped[1] || est::break_pending()) {
        gen_save(xs[0]);
        return 1;
    }
    gen_save(xs[1]);
    est::run_region(tm, [&](int, int64_t b, int64_t e) {
        constexpr int AHEAD = 16;
        for (int64_t p = b; p < e; ++p) {
            if (p + AHEAD < e) __builtin_prefetch(idx + pos[p + AHEAD]);
            pos[p] = idx[pos[p]];
        }
    });
    est::run_region(tm, [&](int, int64_t b, int64_t e) {
        std::memcpy(idx + b, pos + b, (size_t)(e - b) * sizeof(int32_t));
    });
    return 0;
}

// The order of the range by the comparison of observations: the quicksort, or with a team the sort
// by regular sampling, on the positions of the range; then the index entries follow through a table.
int compare_engine(int32_t lo, int32_t hi, const ObsCmp &cmp, const est::Team &tm) {
    const int64_t n = (int64_t)hi - lo + 1;
    auto a = work_array<int32_t>(n);
    if (!a) return session::error(909);
    for (int64_t i = 0; i < n; ++i)
        a[i] = (int32_t)i;
    if (tm.parallel) {
        auto b = work_array<int32_t>(n);
        if (!b) return session::error(909);
        if (int rc = smpsort(a.get(), b.get(), cmp, tm)) return rc;
        a.swap(b);
    } else {
        BreakPoll bp;
        if (quicksort(a.get(), 0, n - 1, cmp, bp)) return 1;
    }
    int32_t *rows = ds.index + (lo - 1), *tmp = ds.index2 + (lo - 1);
    for (int64_t i = 0; i < n; ++i)
        tmp[i] = rows[a[i]];
    std::memcpy(rows, tmp, (size_t)n * sizeof(int32_t));
    return 0;
}

// What a block of gathered keys holds: the least and greatest key, and whether every value is a
// whole number (then the least and greatest of those).
struct KeyStats {
    bool any = false;
    uint64_t kmin = ~0ull, kmax = 0;
    bool whole = true;
    double dmin = 0, dmax = 0;
};

// Whole numbers up to 2^53 in magnitude sort as integers, with the least at 0: a column of codes
// then needs one or two passes where its doubles would need three or more.
inline bool is_whole(double d) {
    return d >= -9007199254740992.0 && d <= 9007199254740992.0 && d == (int64_t)d;
}

// The cells of variable v for each row of P, in that order, as the bits of their doubles into K; the
// type is tested once for the column, and the rows are fetched some places ahead of their use.
template <class Read>
void gather_rows(uint64_t *K, const int32_t *P, int64_t lo, int64_t hi, int off, Read read, KeyStats &st) {
    constexpr int AHEAD = 16;
    const char *base = ds.database + off;
    const int64_t w = ds.width;
    KeyStats s;
    s.any = hi > lo;
    for (int64_t i = lo; i < hi; ++i) {
        if (i + AHEAD < hi) __builtin_prefetch(base + (int64_t)P[i + AHEAD] * w);
        const double d = read(base + (int64_t)P[i] * w);
        K[i] = dbits(d);
        const uint64_t k = num_key(d);
        s.kmin = std::min(s.kmin, k);
        s.kmax = std::max(s.kmax, k);
        if (s.whole) {
            if (!is_whole(d)) {
                s.whole = false;
            } else if (i == lo) {
                s.dmin = s.dmax = d;
            } else {
                s.dmin = std::min(s.dmin, d);
                s.dmax = std::max(s.dmax, d);
            }
        }
    }
    st = s;
}

// Bytes 8c to 8c+7 of a string cell of width w, as a big-endian number, with the bytes from its NUL
// on as 0: compared as numbers, such pieces compare as the bytes of the strings do.
inline uint64_t str_piece(const char *p, int w, int c) {
    const int from = 8 * c, lim = std::min(w, from + 8);
    const void *z = std::memchr(p, 0, (size_t)lim);
    const int end = z ? (int)(static_cast<const char *>(z) - p) : lim;
    uint64_t u = 0;
    for (int i = from; i < from + 8; ++i)
        u = (u << 8) | (i < end ? (unsigned char)p[i] : 0u);
    return u;
}

void str_rows(uint64_t *K, const int32_t *P, int64_t lo, int64_t hi, int off, int w, int c, KeyStats &st) {
    constexpr int AHEAD = 16;
    const char *base = ds.database + off;
    const int64_t rw = ds.width;
    KeyStats s;
    s.any = hi > lo;
    s.whole = false;
    for (int64_t i = lo; i < hi; ++i) {
        if (i + AHEAD < hi) __builtin_prefetch(base + (int64_t)P[i + AHEAD] * rw);
        const uint64_t k = str_piece(base + (int64_t)P[i] * rw, w, c);
        K[i] = k;
        s.kmin = std::min(s.kmin, k);
        s.kmax = std::max(s.kmax, k);
    }
    st = s;
}

// The longest value of string variable v among the rows of P.
int longest(const int32_t *P, int64_t n, int v) {
    const int w = ds.vartype[v - 1];
    const char *base = ds.database + ds.offset[v - 1];
    int m = 0;
    for (int64_t i = 0; i < n && m < w; ++i)
        m = std::max(m, (int)strnlen(base + (int64_t)P[i] * ds.width, (size_t)w));
    return m;
}

// The key of variable v (of a string, its piece c) for each row of P, as an unsigned number from 0
// in the order of the cells: how far a whole number stands above the least, or how far the key of a
// double or of a piece stands above the least. Returns the bits the greatest needs (0: the key is
// the same everywhere).
int gather(uint64_t *K, const int32_t *P, int64_t n, int v, int c, const est::Team &tm) {
    const int off = ds.offset[v - 1], type = ds.vartype[v - 1];
    std::vector<KeyStats> stats(tm.parallel ? tm.size : 1);
    auto body = [&](int t, int64_t lo, int64_t hi) {
        KeyStats &st = stats[t];
        if (is_string_type(type)) {
            str_rows(K, P, lo, hi, off, type, c, st);
            return;
        }
        switch (type) {
        case T_DOUBLE:
            gather_rows(
                K, P, lo, hi, off,
                [](const char *p) {
                    double d;
                    std::memcpy(&d, p, 8);
                    return d;
                },
                st);
            break;
        case T_FLOAT:
            gather_rows(
                K, P, lo, hi, off, [](const char *p) { return cell_get(p, T_FLOAT); }, st);
            break;
        case T_LONG:
            gather_rows(
                K, P, lo, hi, off, [](const char *p) { return cell_get(p, T_LONG); }, st);
            break;
        case T_INT:
            gather_rows(
                K, P, lo, hi, off, [](const char *p) { return cell_get(p, T_INT); }, st);
            break;
        case T_BYTE:
            gather_rows(
                K, P, lo, hi, off, [](const char *p) { return cell_get(p, T_BYTE); }, st);
            break;
        default:
            gather_rows(
                K, P, lo, hi, off, [type](const char *p) { return cell_get(p, type); }, st);
            break;
        }
    };
    if (tm.parallel)
        est::run_region(tm, body);
    else
        body(0, 0, n);
    KeyStats all;
    bool first = true;
    for (const KeyStats &st : stats) {
        if (!st.any) continue;
        all.kmin = std::min(all.kmin, st.kmin);
        all.kmax = std::max(all.kmax, st.kmax);
        if (!st.whole) all.whole = false;
        if (all.whole) {
            all.dmin = first ? st.dmin : std::min(all.dmin, st.dmin);
            all.dmax = first ? st.dmax : std::max(all.dmax, st.dmax);
        }
        first = false;
    }
    const uint64_t range =
        all.whole ? (uint64_t)((int64_t)all.dmax - (int64_t)all.dmin) : all.kmax - all.kmin;
    if (range == 0) return 0;
    auto finish = [&](int, int64_t lo, int64_t hi) {
        if (is_string_type(type)) {
            for (int64_t i = lo; i < hi; ++i)
                K[i] -= all.kmin;
        } else if (all.whole) {
            const int64_t base = (int64_t)all.dmin;
            for (int64_t i = lo; i < hi; ++i)
                K[i] = (uint64_t)((int64_t)dfrom(K[i]) - base);
        } else {
            for (int64_t i = lo; i < hi; ++i)
                K[i] = num_key(dfrom(K[i])) - all.kmin;
        }
    };
    if (tm.parallel)
        est::run_region(tm, finish);
    else
        finish(0, 0, n);
    return 64 - __builtin_clzll(range);
}

// The keys one at a time from the last, and a string key in its pieces from the last: each
// pass orders the range by one key and keeps the order of equal keys from the pass before, so the
// passes together give the order of all keys with ties in the order they started in. The rows
// travel as the payload of a 64-bit key array and its buffer; the two index tables of the range
// hold the rows, and at every point where a Break is answered the index holds a permutation of them.
int radix_engine(int32_t lo, int32_t hi, const int *vars, const int *pieces, int nvars, bool stable,
                 const est::Team &tm) {
    const int64_t n = (int64_t)hi - lo + 1;
    auto k1 = work_array<uint64_t>(n), k2 = work_array<uint64_t>(n);
    if (!k1 || !k2) return session::error(909);
    uint64_t *K = k1.get(), *KB = k2.get();
    // Under `stable` the order to start from is the one before the shuffle, kept in the second table.
    int32_t *P = (stable ? ds.index2 : ds.index) + (lo - 1);
    int32_t *PB = (stable ? ds.index : ds.index2) + (lo - 1);
    for (int q = nvars - 1; q >= 0; --q) {
        for (int c = pieces[q] - 1; c >= 0; --c) {
            const int bits = gather(K, P, n, vars[q], c, tm);
            if (est::break_pending()) return 1;
            if (bits == 0) continue;
            int rc;
            bool in_buffer = false;
            if (tm.parallel) {
                rc = smpsort1(K, P, KB, PB, bits, tm, &in_buffer);
            } else {
                BreakPoll bp;
                rc = radix_sort1(K, P, KB, PB, n, bits, &in_buffer, bp);
            }
            if (rc) return rc;
            if (in_buffer) {
                std::swap(K, KB);
                std::swap(P, PB);
            }
        }
    }
    int32_t *rows = ds.index + (lo - 1);
    if (P != rows) std::memcpy(rows, P, (size_t)n * sizeof(int32_t));
    return 0;
}

// A range of more than one observation: the presortedness test, then the shuffle and an engine.
int sort_range(const int *vars, int nvars, int32_t lo, int32_t hi, bool stable, bool parallel) {
    const int64_t n = (int64_t)hi - lo + 1;
    std::vector<SortKey> keys(nvars);
    for (int q = 0; q < nvars; ++q)
        keys[q] = {ds.offset[vars[q] - 1], ds.vartype[vars[q] - 1]};
    const ObsCmp in_place{ds.database, ds.width, ds.index + (lo - 1), keys.data(), nvars, nullptr};
    const int pre = presorted(in_place, n, stable);
    if (pre < 0) return 1;
    if (pre == 0) return 0;
    if (pre == 1) {
        std::reverse(ds.index + (lo - 1), ds.index + hi);
        bump_changed();
        return 0;
    }

    clear_sortlist();
    bump_changed();
    // A string key goes through the radix passes in pieces of 8 bytes, as many as its longest value
    // needs; long strings are left to the comparison, which mostly decides on their first bytes.
    std::vector<int> pieces(nvars, 1);
    int total = 0;
    for (int q = 0; q < nvars; ++q) {
        const int type = keys[q].type;
        if (is_string_type(type)) {
            const int len = type > 16 ? longest(ds.index + (lo - 1), n, vars[q]) : type;
            pieces[q] = std::max(1, (len + 7) / 8);
        }
        total += pieces[q];
    }
    SortEngine engine = sort_engine;
    if (engine == SE_AUTO) engine = n >= RADIX_MIN && total <= RADIX_MAX_PIECES ? SE_RADIX : SE_COMPARE;
    int32_t *orig = nullptr;
    if (stable && engine == SE_RADIX) {
        std::memcpy(ds.index2 + (lo - 1), ds.index + (lo - 1), (size_t)n * sizeof(int32_t));
    } else if (stable) {
        orig = ds.index2 + (lo - 1);
        for (int64_t i = 0; i < n; ++i)
            orig[i] = (int32_t)i;
    }
    const int D = est::granularity("smpsort");
    const est::Team tm = parallel ? est::choose_team(n, D) : est::team_rule(n, D, 1, false);
    est::fr.teamSize = tm.size;
    if (shuffle(lo, hi, orig, !stable, tm)) return 1;

    if (engine == SE_RADIX) return radix_engine(lo, hi, vars, pieces.data(), nvars, stable, tm);
    const ObsCmp cmp{ds.database, ds.width, ds.index + (lo - 1), keys.data(), nvars, orig};
    return compare_engine(lo, hi, cmp, tm);
}

} // namespace

int radix_sort1(uint64_t *k, int32_t *p, uint64_t *kb, int32_t *pb, int64_t n, int bits, bool *in_buffer,
                BreakPoll &bp) {
    *in_buffer = false;
    if (n < 2 || bits <= 0) return 0;
    // A short key in one counting pass, when its table is small beside the data.
    if (bits <= 11 || (bits <= 16 && n >= 65536)) {
        const int64_t nb = (int64_t)1 << bits;
        std::unique_ptr<uint32_t[]> c(new (std::nothrow) uint32_t[nb]());
        if (c) {
            for (int64_t i = 0; i < n; ++i)
                ++c[k[i]];
            uint32_t sum = 0;
            for (int64_t b = 0; b < nb; ++b) {
                const uint32_t x = c[b];
                c[b] = sum;
                sum += x;
            }
            for (int64_t i = 0; i < n; ++i) {
                const uint32_t j = c[k[i]]++;
                kb[j] = k[i];
                pb[j] = p[i];
            }
            *in_buffer = true;
            return bp.tick(n) ? 1 : 0;
        }
    }
    // Bytes from the lowest; the highest digit takes up to 11 bits, which saves a pass when the keys
    // need a few bits more than whole bytes.
    const int npass = bits <= 11 ? 1 : (bits - 11 + 7) / 8 + 1;
    int shift[8], width[8];
    for (int d = 0; d < npass; ++d) {
        shift[d] = d * 8;
        width[d] = d + 1 < npass ? 8 : bits - d * 8;
    }
    uint32_t count[8][2048] = {};
    for (int64_t i = 0; i < n; ++i) {
        const uint64_t u = k[i];
        for (int d = 0; d < npass; ++d)
            ++count[d][(u >> shift[d]) & ((1u << width[d]) - 1)];
    }
    const uint64_t first = k[0];
    for (int d = 0; d < npass; ++d) {
        const int sh = shift[d];
        const uint64_t mask = (1u << width[d]) - 1;
        uint32_t *c = count[d];
        if (c[(first >> sh) & mask] == (uint64_t)n) continue;
        uint32_t sum = 0;
        for (int b = 0; b < (1 << width[d]); ++b) {
            const uint32_t x = c[b];
            c[b] = sum;
            sum += x;
        }
        for (int64_t i = 0; i < n; ++i) {
            const uint64_t u = k[i];
            const uint32_t j = c[(u >> sh) & mask]++;
            kb[j] = u;
            pb[j] = p[i];
        }
        std::swap(k, kb);
        std::swap(p, pb);
        *in_buffer = !*in_buffer;
        if (bp.tick(n)) return 1;
    }
    return 0;
}

int sort_keys(const int *vars, int nvars, int32_t lo, int32_t hi, bool stable, bool parallel) {
    if (lo < 1) lo = 1;
    if (hi > ds.nobs) hi = ds.nobs;
    if (stable && hi > lo && nvars + 1 > ds.maxvar) return session::error(103);
    if (lo < hi)
        if (int rc = sort_range(vars, nvars, lo, hi, stable, parallel)) return rc;
    if (lo == 1 && hi == ds.nobs)
        set_sortlist(vars, nvars);
    else
        clear_sortlist();
    return 0;
}

int sort_by_index(const int *vars, int nvars, int ivar) {
    const char *name = ds.varname[ivar - 1];
    if (ds.vartype[ivar - 1] != T_LONG) return session::fail(109, std::string(name) + " not long\n");
    const int32_t n = ds.nobs;
    std::vector<uint8_t> seen(n > 0 ? n : 1, 0);
    bool in_order = true;
    for (int32_t i = 1; i <= n; ++i) {
        const double v = get_num(ivar, i);
        if (!(v >= 1 && v <= n) || seen[(int64_t)v - 1])
            return session::fail(1, "variable " + std::string(name) +
                                        " does not hold a permutation of 1 to " + std::to_string(n) + "\n");
        seen[(int64_t)v - 1] = 1;
        in_order = in_order && v == i;
    }
    if (!in_order) {
        clear_sortlist();
        bump_changed();
        int64_t moves = 0;
        for (int32_t i = 1; i <= n; ++i)
            for (int32_t j; (j = get_long(ivar, i)) != i;) {
                swap_obs(i, j);
                if ((++moves & 65535) == 0 && est::break_pending()) return 1;
            }
    }
    set_sortlist(vars, nvars);
    return 0;
}

// sort varlist [in] [, stable noparallel index(varname)]
int cmd_sort(int) {
    ParseSpec spec;
    spec.varlist = PO_REQUIRED;
    spec.ifq = PO_NONE;
    if (int rc = std_parse(spec)) return rc;
    bool stable = false, noparallel = false;
    std::string index;
    const session::OptSpec opts[] = {
        session::opt_flag("stable", 6, stable),
        session::opt_flag("noparallel", 10, noparallel),
        session::opt_name("index", 5, index),
    };
    if (int rc = std_options(opts)) return rc;
    const std::vector<int> keys(ps.var.begin(), ps.var.begin() + ps.count);
    if (!index.empty()) {
        if (ps.inrange) return session::fail(198, "index() may not be combined with in\n");
        if (stable) return session::fail(198, "index() may not be combined with stable\n");
        const int iv = varlookup(index, true, varabbrev);
        if (iv < 0) return -iv;
        return sort_by_index(keys.data(), (int)keys.size(), iv);
    }
    const bool parallel = !noparallel && session::lp.version >= 700;
    const int32_t lo = ps.inrange ? ps.in_lo : 1, hi = ps.inrange ? ps.in_hi : ds.nobs;
    return sort_keys(keys.data(), (int)keys.size(), lo, hi, stable, parallel);
}

} // namespace data

// The grouping of observations by key variables and the statistics of a variable within groups.
#include "data/group_smp.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <numeric>
#include <string>
#include <string_view>

#include "data/dataset.h"
#include "data/summarize_smp.h"
#include "data/types.h"
#include "session/errors.h"
#include "session/state.h"

namespace data {

namespace {

constexpr int64_t POLL = 1 << 16; // entries between two polls of Break

bool break_at(int64_t k) { return (k & (POLL - 1)) == 0 && k > 0 && session::poll_break(); }

// A code space this small (against the entries) is ranked through a table indexed by the code.
bool direct_ok(uint64_t bound, int64_t n) { return bound <= (uint64_t)(4 * n + 4096) && bound <= (1u << 28); }

// A double as an unsigned number of the same order; -0 is 0.
uint64_t ordered_bits(double x) {
    if (x == 0) x = 0;
    const uint64_t u = dbits(x);
    return (u >> 63) ? ~u : u | (1ull << 63);
}

uint64_t mix(uint64_t h) {
    h ^= h >> 33;
    h *= 0xff51afd7ed558ccdull;
    h ^= h >> 33;
    h *= 0xc4ceb9fe1a85ec53ull;
    h ^= h >> 33;
    return h;
}

// Codes below bound to their ranks among the codes present, in place; *k the count of ranks.
int rank_direct(std::vector<uint64_t> &c, uint64_t bound, int32_t *k) {
    std::vector<int32_t> at;
    try {
        at.assign((size_t)bound, -1);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    for (uint64_t v : c)
        at[(size_t)v] = 0;
    int32_t r = 0;
    for (int32_t &a : at)
        if (a == 0) a = r++;
    for (size_t j = 0; j < c.size(); ++j) {
        if (break_at((int64_t)j)) return 1;
        c[j] = (uint64_t)at[(size_t)c[j]];
    }
    *k = r;
    return 0;
}

// Any codes to their ranks among the codes present, in place, by a hash table of the distinct codes
// and a sort of them.
int rank_hashed(std::vector<uint64_t> &c, int32_t *k) {
    std::vector<uint64_t> keys;
    std::vector<int32_t> slot_id, prov;
    size_t mask = 1023;
    try {
        slot_id.assign(mask + 1, -1);
        prov.resize(c.size());
        for (size_t j = 0; j < c.size(); ++j) {
            if (break_at((int64_t)j)) return 1;
            if (keys.size() * 2 >= mask) {
                mask = mask * 2 + 1;
                slot_id.assign(mask + 1, -1);
                for (size_t q = 0; q < keys.size(); ++q) {
                    size_t s = mix(keys[q]) & mask;
                    while (slot_id[s] >= 0)
                        s = (s + 1) & mask;
                    slot_id[s] = (int32_t)q;
                }
            }
            size_t s = mix(c[j]) & mask;
            while (slot_id[s] >= 0 && keys[(size_t)slot_id[s]] != c[j])
                s = (s + 1) & mask;
            if (slot_id[s] < 0) {
                slot_id[s] = (int32_t)keys.size();
                keys.push_back(c[j]);
            }
            prov[j] = slot_id[s];
        }
        std::vector<int32_t> byval(keys.size()), rank(keys.size());
        std::iota(byval.begin(), byval.end(), 0);
        std::sort(byval.begin(), byval.end(),
                  [&](int32_t a, int32_t b) { return keys[(size_t)a] < keys[(size_t)b]; });
        for (size_t r = 0; r < byval.size(); ++r)
            rank[(size_t)byval[r]] = (int32_t)r;
        for (size_t j = 0; j < c.size(); ++j)
            c[j] = (uint64_t)rank[(size_t)prov[j]];
        *k = (int32_t)keys.size();
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    return 0;
}

// The ranks of the values of numeric variable v over the entries.
int numeric_ranks(int v, const int32_t *obs, int64_t n, std::vector<uint64_t> &c, int32_t *k) {
    double lo = 0, hi = 0;
    bool whole = true, any = false;
    for (int64_t j = 0; j < n; ++j) {
        const double x = get_num(v, obs[j]);
        c[(size_t)j] = dbits(x);
        if (is_missing(x)) continue;
        if (x != std::floor(x) || std::fabs(x) > 1e15) whole = false;
        if (!any || x < lo) lo = x;
        if (!any || x > hi) hi = x;
        any = true;
    }
    const uint64_t range = any ? (uint64_t)(hi - lo) + 1 : 0;
    if (whole && direct_ok(range + NMISSING, n)) {
        for (uint64_t &u : c) {
            const double x = dfrom(u);
            u = is_missing(x) ? range + (uint64_t)missing_index(x) : (uint64_t)(x - lo);
        }
        return rank_direct(c, range + NMISSING, k);
    }
    for (uint64_t &u : c)
        u = ordered_bits(dfrom(u));
    return rank_hashed(c, k);
}

// The ranks of the values of string variable v over the entries: distinct strings by a hash table,
// then sorted by their bytes.
int string_ranks(int v, const int32_t *obs, int64_t n, std::vector<uint64_t> &c, int32_t *k) {
    const int w = ds.vartype[(size_t)v - 1];
    std::vector<std::string> keys;
    std::vector<int32_t> slot_id;
    size_t mask = 1023;
    try {
        slot_id.assign(mask + 1, -1);
        for (int64_t j = 0; j < n; ++j) {
            if (break_at(j)) return 1;
            const char *p = cell_addr(v, obs[j]);
            const std::string_view s(p, strnlen(p, (size_t)w));
            if (keys.size() * 2 >= mask) {
                mask = mask * 2 + 1;
                slot_id.assign(mask + 1, -1);
                for (size_t q = 0; q < keys.size(); ++q) {
                    size_t t = std::hash<std::string_view>{}(keys[q]) & mask;
                    while (slot_id[t] >= 0)
                        t = (t + 1) & mask;
                    slot_id[t] = (int32_t)q;
                }
            }
            size_t t = std::hash<std::string_view>{}(s)&mask;
            while (slot_id[t] >= 0 && keys[(size_t)slot_id[t]] != s)
                t = (t + 1) & mask;
            if (slot_id[t] < 0) {
                slot_id[t] = (int32_t)keys.size();
                keys.emplace_back(s);
            }
            c[(size_t)j] = (uint64_t)slot_id[t];
        }
        std::vector<int32_t> byval(keys.size()), rank(keys.size());
        std::iota(byval.begin(), byval.end(), 0);
        std::sort(byval.begin(), byval.end(),
                  [&](int32_t a, int32_t b) { return keys[(size_t)a] < keys[(size_t)b]; });
        for (size_t r = 0; r < byval.size(); ++r)
            rank[(size_t)byval[r]] = (int32_t)r;
        for (uint64_t &u : c)
            u = (uint64_t)rank[(size_t)u];
        *k = (int32_t)keys.size();
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    return 0;
}

} // namespace

int group_obs(const std::vector<int> &keys, const int32_t *obs, int64_t n, Grouping &g) {
    g = Grouping{};
    std::vector<uint64_t> acc, c;
    int32_t kacc = n > 0 ? 1 : 0;
    try {
        if (keys.empty())
            acc.assign((size_t)n, 0);
        else
            c.resize((size_t)n);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    for (size_t q = 0; q < keys.size() && n > 0; ++q) {
        const int v = keys[q];
        int32_t k = 0;
        const int rc = is_string_type(ds.vartype[(size_t)v - 1]) ? string_ranks(v, obs, n, c, &k)
                                                                 : numeric_ranks(v, obs, n, c, &k);
        if (rc) return rc;
        if (q == 0) {
            acc.swap(c);
            kacc = k;
            if (keys.size() > 1) c.resize((size_t)n);
            continue;
        }
        for (int64_t j = 0; j < n; ++j)
            acc[(size_t)j] = acc[(size_t)j] * (uint64_t)k + c[(size_t)j];
        const uint64_t bound = (uint64_t)kacc * (uint64_t)k;
        if (int rc2 = direct_ok(bound, n) ? rank_direct(acc, bound, &kacc) : rank_hashed(acc, &kacc))
            return rc2;
    }
    try {
        g.ngroups = kacc;
        g.gid.resize((size_t)n);
        g.first.assign((size_t)kacc, -1);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    for (int64_t j = 0; j < n; ++j) {
        const int32_t id = (int32_t)acc[(size_t)j];
        g.gid[(size_t)j] = id;
        if (g.first[(size_t)id] < 0) g.first[(size_t)id] = (int32_t)j;
    }
    return 0;
}

int group_order(const int32_t *gid, int64_t n, int32_t ngroups, std::vector<int32_t> &order,
                std::vector<int64_t> &start) {
    try {
        start.assign((size_t)ngroups + 1, 0);
        order.resize((size_t)n);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    for (int64_t j = 0; j < n; ++j)
        ++start[(size_t)gid[j] + 1];
    for (int32_t q = 0; q < ngroups; ++q)
        start[(size_t)q + 1] += start[(size_t)q];
    std::vector<int64_t> at(start.begin(), start.end() - 1);
    for (int64_t j = 0; j < n; ++j)
        order[(size_t)at[(size_t)gid[j]]++] = (int32_t)j;
    return 0;
}

int group_stat(GroupStat stat, double p, GroupWeight wk, const double *x, const double *w, const int32_t *gid,
               int64_t n, int32_t ngroups, std::vector<double> &out) {
    const double dot = session::lim.dot;
    std::vector<double> sw, sx, cnt;
    try {
        out.assign((size_t)ngroups, stat == GS_SUM || stat == GS_COUNT ? 0.0 : dot);
        if (stat == GS_MEAN || stat == GS_SD) sw.assign((size_t)ngroups, 0), sx.assign((size_t)ngroups, 0);
        if (stat == GS_SD) cnt.assign((size_t)ngroups, 0);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    auto wt = [&](int64_t j) { return w ? w[j] : 1.0; };
    switch (stat) {
    case GS_SUM:
        for (int64_t j = 0; j < n; ++j)
            if (!is_missing(x[j])) out[(size_t)gid[j]] += wt(j) * x[j];
        break;
    case GS_COUNT:
        for (int64_t j = 0; j < n; ++j)
            if (!is_missing(x[j])) out[(size_t)gid[j]] += wk == GW_F || wk == GW_I ? wt(j) : 1.0;
        break;
    case GS_MEAN:
    case GS_SD:
        for (int64_t j = 0; j < n; ++j)
            if (!is_missing(x[j])) {
                const size_t q = (size_t)gid[j];
                sw[q] += wt(j);
                sx[q] += wt(j) * x[j];
            }
        for (int32_t q = 0; q < ngroups; ++q)
            if (sw[(size_t)q] != 0) out[(size_t)q] = sx[(size_t)q] / sw[(size_t)q];
        if (stat == GS_MEAN) break;
        // the squares about each group's mean, in a second pass, which loses no digits to the mean
        std::fill(sx.begin(), sx.end(), 0.0);
        for (int64_t j = 0; j < n; ++j)
            if (!is_missing(x[j])) {
                const size_t q = (size_t)gid[j];
                const double d = x[j] - out[q];
                sx[q] += wt(j) * d * d;
                cnt[q] += 1;
            }
        for (size_t q = 0; q < (size_t)ngroups; ++q) {
            double var = dot;
            if (wk == GW_A)
                var = cnt[q] > 1 && sw[q] > 0 ? sx[q] / sw[q] * cnt[q] / (cnt[q] - 1) : dot;
            else
                var = sw[q] > 1 ? sx[q] / (sw[q] - 1) : dot;
            out[q] = is_missing(var) ? dot : std::sqrt(std::max(var, 0.0));
        }
        break;
    case GS_MIN:
    case GS_MAX:
        for (int64_t j = 0; j < n; ++j) {
            if (is_missing(x[j])) continue;
            double &o = out[(size_t)gid[j]];
            if (is_missing(o) || (stat == GS_MIN ? x[j] < o : x[j] > o)) o = x[j];
        }
        break;
    case GS_FIRST:
    case GS_LAST:
    case GS_FIRSTNM:
    case GS_LASTNM: {
        std::vector<uint8_t> seen((size_t)ngroups, 0);
        const bool nm = stat == GS_FIRSTNM || stat == GS_LASTNM, last = stat == GS_LAST || stat == GS_LASTNM;
        for (int64_t j = 0; j < n; ++j) {
            if (nm && is_missing(x[j])) continue;
            const size_t q = (size_t)gid[j];
            if (last || !seen[q]) out[q] = x[j];
            seen[q] = 1;
        }
        break;
    }
    case GS_PCTILE: {
        std::vector<int32_t> order;
        std::vector<int64_t> start;
        if (int rc = group_order(gid, n, ngroups, order, start)) return rc;
        std::vector<double> gx, gw, res;
        const std::vector<double> ps{p};
        for (int32_t q = 0; q < ngroups; ++q) {
            if ((q & 1023) == 0 && q > 0 && session::poll_break()) return 1;
            gx.clear();
            gw.clear();
            for (int64_t a = start[(size_t)q]; a < start[(size_t)q + 1]; ++a) {
                const int32_t j = order[(size_t)a];
                if (is_missing(x[j])) continue;
                gx.push_back(x[j]);
                if (w) gw.push_back(w[j]);
            }
            if (gx.empty()) continue;
            percentiles(gx, gw, ps, false, res);
            out[(size_t)q] = res[0];
        }
        break;
    }
    }
    return session::poll_break() ? 1 : 0;
}

} // namespace data

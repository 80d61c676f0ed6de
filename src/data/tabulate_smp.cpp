// The counting kernels of tabulate: values to level codes, codes to cells.
#include "data/tabulate_smp.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <unordered_map>

#include "data/dataset.h"
#include "data/expr.h"
#include "data/types.h"
#include "estimate/frame.h"
#include "session/errors.h"

namespace data::tab {

namespace {

constexpr int NMISS = 27; // `.` and `.a` to `.z`
constexpr int64_t DIRECT_RANGE =
    1 << 20; // integer values spread over no more than this are counted in a table

// What one block of observations found of the values: their bounds, whether all are whole, and which
// missing values occur.
struct Scan {
    double lo = 0, hi = 0;
    bool any = false, whole = true;
    int64_t miss[NMISS] = {}; // observations at each missing value
};

// Reads variable v (of storage type T) at obs[a..z) into x and notes what the values are. The type
// is a constant so that the cell reader folds to one load.
template <int T>
void gather_scan(int v, const std::vector<int32_t> &obs, double *x, int64_t a, int64_t z, Scan &s) {
    const int32_t off = ds.offset[v - 1];
    for (int64_t i = a; i < z; ++i) {
        if ((i & 0xFFFF) == 0 && est::break_pending()) return;
        const double y = cell_get(row_addr(obs[(size_t)i]) + off, T);
        x[i] = y;
        if (is_missing(y)) {
            ++s.miss[missing_index(y) % NMISS];
            continue;
        }
        if (!s.any) s.lo = s.hi = y, s.any = true;
        s.lo = std::min(s.lo, y);
        s.hi = std::max(s.hi, y);
        if (T != T_BYTE && T != T_INT && T != T_LONG && y != std::floor(y)) s.whole = false;
    }
}

void gather_scan_any(int v, const std::vector<int32_t> &obs, double *x, int64_t a, int64_t z, Scan &s) {
    switch (ds.vartype[v - 1]) {
    case T_BYTE:
        return gather_scan<T_BYTE>(v, obs, x, a, z, s);
    case T_INT:
        return gather_scan<T_INT>(v, obs, x, a, z, s);
    case T_LONG:
        return gather_scan<T_LONG>(v, obs, x, a, z, s);
    case T_FLOAT:
        return gather_scan<T_FLOAT>(v, obs, x, a, z, s);
    default:
        return gather_scan<T_DOUBLE>(v, obs, x, a, z, s);
    }
}

int code_string(int v, const std::vector<int32_t> &obs, bool missing, int maxlev, Coded &out) {
    out.is_str = true;
    std::unordered_map<std::string, int32_t> seen;
    std::vector<std::string> first;
    std::vector<int32_t> tmp(obs.size());
    char buf[EXPR_STRBUF];
    for (size_t k = 0; k < obs.size(); ++k) {
        if ((k & 65535) == 65535 && est::break_pending()) return session::error(1);
        get_str(v, obs[k], buf);
        if (!missing && buf[0] == 0) {
            tmp[k] = -1;
            continue;
        }
        auto [it, fresh] = seen.try_emplace(buf, (int32_t)first.size());
        if (fresh) {
            if ((int)first.size() >= maxlev) return 134;
            first.emplace_back(buf);
        }
        tmp[k] = it->second;
    }
    std::vector<int32_t> order(first.size()), rank(first.size());
    for (size_t j = 0; j < order.size(); ++j)
        order[j] = (int32_t)j;
    std::sort(order.begin(), order.end(),
              [&](int32_t a, int32_t b) { return first[(size_t)a] < first[(size_t)b]; });
    for (size_t j = 0; j < order.size(); ++j) {
        rank[(size_t)order[j]] = (int32_t)j;
        out.str.push_back(first[(size_t)order[j]]);
    }
    out.code.resize(obs.size());
    for (size_t k = 0; k < obs.size(); ++k)
        out.code[k] = tmp[k] < 0 ? -1 : rank[(size_t)tmp[k]];
    return 0;
}

} // namespace

int code_var(int v, const std::vector<int32_t> &obs, bool missing, int maxlev, Coded &out, bool codes) {
    out = Coded{};
    if (is_string_type(ds.vartype[v - 1])) return code_string(v, obs, missing, maxlev, out);
    const int64_t n = (int64_t)obs.size();
    std::vector<double> x;
    try {
        x.resize((size_t)n);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    const est::Team tm = est::choose_team(n, est::granularity("tabulate_smp"));
    est::ThreadStore ts;
    if (int rc = ts.alloc(tm.size, sizeof(Scan))) return rc;
    for (int t = 0; t < tm.size; ++t)
        new (ts.at<Scan>(t)) Scan();
    if (est::run_region(tm, [&](int t, int64_t a, int64_t z) {
            gather_scan_any(v, obs, x.data(), a, z, *ts.at<Scan>(t));
        }))
        return session::error(1);
    Scan s;
    for (int t = 0; t < tm.size; ++t) {
        const Scan &b = *ts.at<Scan>(t);
        for (int k = 0; k < NMISS; ++k)
            s.miss[k] += b.miss[k];
        if (!b.any) continue;
        s.whole &= b.whole;
        if (!s.any) s.lo = b.lo, s.hi = b.hi, s.any = true;
        s.lo = std::min(s.lo, b.lo);
        s.hi = std::max(s.hi, b.hi);
    }
    // the missing values, when they count, take the codes behind the numbers
    int32_t misscode[NMISS];
    std::vector<double> missing_levels;
    for (int k = 0; k < NMISS; ++k) {
        misscode[k] = -1;
        if (missing && s.miss[k] > 0) {
            misscode[k] = (int32_t)missing_levels.size();
            missing_levels.push_back(missing_value(k));
        }
    }
    auto miss_code = [&](double y, int32_t base) {
        const int32_t c = misscode[missing_index(y) % NMISS];
        return c < 0 ? -1 : base + c;
    };
    if (s.any && s.whole && s.hi - s.lo < (double)DIRECT_RANGE) {
        // whole numbers over a short range: a count of each value, then, when asked, the code of
        // each observation by lookup
        const int64_t range = (int64_t)(s.hi - s.lo) + 1;
        std::vector<int32_t> at;
        std::vector<int64_t> seen;
        try {
            at.assign((size_t)range, -1);
            seen.assign((size_t)range * (size_t)tm.size, 0);
        } catch (const std::bad_alloc &) {
            return session::error(909);
        }
        const double lo = s.lo;
        if (est::run_region(tm, [&](int t, int64_t a, int64_t z) {
                int64_t *mine = &seen[(size_t)t * (size_t)range];
                for (int64_t i = a; i < z; ++i) {
                    if ((i & 0xFFFF) == 0 && est::break_pending()) return;
                    if (!is_missing(x[(size_t)i])) ++mine[(size_t)(x[(size_t)i] - lo)];
                }
            }))
            return session::error(1);
        for (int64_t j = 0; j < range; ++j) {
            int64_t k = 0;
            for (int t = 0; t < tm.size; ++t)
                k += seen[(size_t)t * (size_t)range + (size_t)j];
            if (k == 0) continue;
            if ((int)out.num.size() >= maxlev) return 134;
            at[(size_t)j] = (int32_t)out.num.size();
            out.num.push_back(lo + (double)j);
            out.count.push_back((double)k);
        }
        if (!codes) {
            if ((int)(out.num.size() + missing_levels.size()) > maxlev) return 134;
            for (double y : missing_levels)
                out.count.push_back((double)s.miss[missing_index(y) % NMISS]);
            out.num.insert(out.num.end(), missing_levels.begin(), missing_levels.end());
            return 0;
        }
        out.count.clear();
        const int32_t base = (int32_t)out.num.size();
        try {
            out.code.resize((size_t)n);
        } catch (const std::bad_alloc &) {
            return session::error(909);
        }
        if (est::run_region(tm, [&](int, int64_t a, int64_t z) {
                for (int64_t i = a; i < z; ++i) {
                    const double y = x[(size_t)i];
                    out.code[(size_t)i] = is_missing(y) ? miss_code(y, base) : at[(size_t)(y - lo)];
                }
            }))
            return session::error(1);
    } else {
        // any other numbers: the distinct values by sorting, the code of each by binary search
        std::vector<double> u;
        u.reserve((size_t)n);
        for (double y : x)
            if (!is_missing(y)) u.push_back(y);
        std::sort(u.begin(), u.end());
        u.erase(std::unique(u.begin(), u.end()), u.end());
        if ((int64_t)u.size() > maxlev) return 134;
        out.num = std::move(u);
        const int32_t base = (int32_t)out.num.size();
        const std::vector<double> &lv = out.num;
        try {
            out.code.resize((size_t)n);
        } catch (const std::bad_alloc &) {
            return session::error(909);
        }
        if (est::run_region(tm, [&](int, int64_t a, int64_t z) {
                for (int64_t i = a; i < z; ++i) {
                    const double y = x[(size_t)i];
                    out.code[(size_t)i] =
                        is_missing(y) ? miss_code(y, base)
                                      : (int32_t)(std::lower_bound(lv.begin(), lv.end(), y) - lv.begin());
                }
            }))
            return session::error(1);
    }
    if ((int)(out.num.size() + missing_levels.size()) > maxlev) return 134;
    out.num.insert(out.num.end(), missing_levels.begin(), missing_levels.end());
    return 0;
}

int count_cells(const std::vector<int32_t> &rc, const int32_t *cc, int ncol, const double *w, bool integer,
                std::vector<double> &cells) {
    const int64_t n = (int64_t)rc.size();
    const size_t ncell = cells.size();
    auto add = [&](int64_t a, int64_t z, double *to) {
        for (int64_t i = a; i < z; ++i) {
            if ((i & 0xFFFF) == 0 && est::break_pending()) return;
            const int32_t r = rc[(size_t)i];
            const int32_t c = cc ? cc[i] : 0;
            if (r < 0 || c < 0) continue;
            to[(size_t)r * (size_t)ncol + (size_t)c] += w ? w[i] : 1.0;
        }
    };
    // whole counts add exactly in any order; other weights keep the one serial order
    const est::Team tm =
        integer ? est::choose_team(n, est::granularity("tabulate_smp")) : est::Team{1, n, n, false};
    if (!tm.parallel) {
        add(0, n, cells.data());
        return est::break_pending() ? session::error(1) : 0;
    }
    est::ThreadStore ts;
    if (int rc2 = ts.alloc(tm.size, ncell * sizeof(double))) return rc2;
    for (int t = 0; t < tm.size; ++t)
        std::fill_n(ts.at<double>(t), ncell, 0.0);
    if (est::run_region(tm, [&](int t, int64_t a, int64_t z) { add(a, z, ts.at<double>(t)); }))
        return session::error(1);
    for (int t = 0; t < tm.size; ++t) {
        const double *p = ts.at<double>(t);
        for (size_t j = 0; j < ncell; ++j)
            cells[j] += p[j];
    }
    return 0;
}

} // namespace data::tab

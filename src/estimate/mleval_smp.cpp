// The kernels of the likelihood evaluator aids. The observations are cut into chunks whose bounds
// depend on the range and the size of a chunk's sums alone, never on the team; each chunk sums into a
// slot of its own and the slots are added in chunk order on the main thread, so that a result has
// the same bits for any number of threads. The serial twin runs the same chunks one after the other.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <new>
#include <vector>

#include "data/dataset.h"
#include "data/expr.h"
#include "data/types.h"
#include "data/xeq.h"
#include "estimate/frame.h"
#include "estimate/mleval.h"
#include "session/errors.h"
#include "session/state.h"

namespace est::ml {

namespace {

constexpr int SUB = 256;                          // observations selected and evaluated together
constexpr int64_t CHUNK_MIN = 2048;               // observations of a chunk, at least
constexpr int64_t SLOT_BUDGET = int64_t(1) << 22; // doubles for the slots of all chunks together

int gran() { return granularity("mlsum_smp"); }

// Neumaier's step: s + x into *s, its rounding error added to *c.
inline void neumaier(double *s, double *c, double x) {
    const double u = *s + x;
    *c += std::abs(x) > std::abs(*s) ? (x - u) + *s : (*s - u) + x;
    *s = u;
}

// The chunks of a run: chunk c holds observations start[c] .. start[c+1]-1.
struct Plan {
    std::vector<int32_t> start;
    size_t slot = 0; // doubles of a chunk's slot
    int threads = 1;
    int64_t chunks() const { return (int64_t)start.size() - 1; }
};

// Cuts lo..hi into chunks of a fixed length; with group_start, each cut moves forward to the first
// observation of a group, so that no group lies across two chunks.
template <class GroupStart>
int plan_chunks(int32_t lo, int32_t hi, size_t slot, bool safe, GroupStart group_start, Plan &p) {
    const int64_t n = hi >= lo ? (int64_t)hi - lo + 1 : 0;
    const int64_t max_chunks = std::max<int64_t>(1, SLOT_BUDGET / (int64_t)std::max<size_t>(slot, 1));
    const int64_t len = std::max(CHUNK_MIN, (n + max_chunks - 1) / max_chunks);
    p.slot = slot;
    try {
        p.start.clear();
        p.start.push_back(lo);
        for (int64_t c = (int64_t)lo + len; c <= hi; c += len) {
            int32_t b = (int32_t)c;
            while (b <= hi && !group_start(b))
                ++b;
            if (b > hi) break;
            if (b > p.start.back()) p.start.push_back(b);
        }
        p.start.push_back(n > 0 ? hi + 1 : lo);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    const Team tm = choose_team(n, gran(), safe);
    p.threads = tm.parallel ? (int)std::min<int64_t>(tm.size, p.chunks()) : 1;
    return 0;
}

int plan_chunks(int32_t lo, int32_t hi, size_t slot, bool safe, Plan &p) {
    return plan_chunks(
        lo, hi, slot, safe, [](int32_t) { return true; }, p);
}

// Runs body(t, first, last, slot) for every chunk, t the thread (0 .. threads-1), then
// combine(slot) chunk by chunk in order. 0, 909, or 1 at a Break (nothing combined).
template <class Body, class Combine> int run_chunks(const Plan &p, Body &&body, Combine &&combine) {
    const int64_t nc = p.chunks();
    if (nc <= 0) return 0;
    std::vector<double> slots;
    try {
        slots.assign((p.threads == 1 ? 1 : (size_t)nc) * p.slot, 0.0);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    if (p.threads == 1) {
        // the serial twin: one slot, combined as soon as its chunk is done
        for (int64_t c = 0; c < nc; ++c) {
            std::fill(slots.begin(), slots.end(), 0.0);
            body(0, p.start[(size_t)c], p.start[(size_t)c + 1] - 1, slots.data());
            if (break_pending()) return 1;
            combine(slots.data());
        }
        return 0;
    }
    const Team over{p.threads, nc, (nc + p.threads - 1) / p.threads, true};
    run_region(over, [&](int t, int64_t a, int64_t z) {
        for (int64_t c = a; c < z; ++c)
            body(t, p.start[(size_t)c], p.start[(size_t)c + 1] - 1, &slots[(size_t)c * p.slot]);
    });
    if (break_pending()) return 1;
    for (int64_t c = 0; c < nc; ++c)
        combine(&slots[(size_t)c * p.slot]);
    return 0;
}

// What a thread needs to select and read a sub-block of observations.
struct Scratch {
    std::vector<double> tv, ev, w;
    std::vector<const char *> row;
    std::vector<int32_t> obs;
    Scratch() : tv(SUB), ev(SUB), w(SUB), row(SUB), obs(SUB) {}
};

int make_scratch(int threads, std::vector<Scratch> &sc) {
    try {
        sc.resize((size_t)threads);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    return 0;
}

// The flags a chunk raises: missing met, a marked observation the `if` left out.
struct Flags {
    std::atomic<bool> poison{false};
    std::atomic<bool> excluded{false};
};

// The observations of b..e in the sample into sc (rows, weights, and the values of e when given);
// returns their count. A missing weight or value raises poison. check_if: a marked observation left
// out by the `if` raises excluded.
int select(const Sample &s, data::ExprRecord *e, int32_t b, int32_t last, Scratch &sc, bool check_if,
           Flags &f) {
    const int n = (int)(last - b + 1);
    const Cell mk = cell_of(s.samp);
    const Cell wc = s.wvar ? cell_of(s.wvar) : Cell{};
    const double dot = session::lim.dot;
    int m = 0;
    if (s.safe) {
        if (s.useif && data::expr_xeq_block(data::ifexp, b, n, sc.tv.data())) return 0;
        if (e && data::expr_xeq_block(*e, b, n, sc.ev.data())) return 0;
    }
    for (int t = 0; t < n; ++t) {
        const int32_t i = b + t;
        const char *row = data::row_addr(i);
        const double mv = read(row, mk);
        if (mv == 0 || !(mv < dot)) continue;
        if (s.useif && (s.safe ? sc.tv[(size_t)t] == 0 : !data::if_true(i))) {
            if (check_if) f.excluded.store(true, std::memory_order_relaxed);
            continue;
        }
        const double ev = !e ? 0 : s.safe ? sc.ev[(size_t)t] : data::expr_xeqforby(*e, i);
        const double w = s.wvar ? read(row, wc) : 1;
        if (!(ev < dot) || !(w < dot)) {
            f.poison.store(true, std::memory_order_relaxed);
            continue;
        }
        sc.row[(size_t)m] = row;
        sc.obs[(size_t)m] = i;
        sc.w[(size_t)m] = w;
        sc.ev[(size_t)m] = ev;
        ++m;
    }
    return m;
}

// The values of an equation's columns in one row into x (the constant last, 1); false when one is
// missing.
inline bool row_values(const char *row, const std::vector<Cell> &cells, bool cons, double *x) {
    const double dot = session::lim.dot;
    const size_t nv = cells.size();
    for (size_t j = 0; j < nv; ++j) {
        const double v = read(row, cells[j]);
        if (!(v < dot)) return false;
        x[j] = v;
    }
    if (cons) x[nv] = 1;
    return true;
}

std::vector<Cell> cells_of(const Equation &eq) {
    std::vector<Cell> c;
    c.reserve(eq.var.size());
    for (int v : eq.var)
        c.push_back(cell_of(v));
    return c;
}

bool all_finite(const std::vector<double> &v) {
    for (double x : v)
        if (!std::isfinite(x) || data::is_missing(x)) return false;
    return true;
}

} // namespace

int mleval_u_smp(const Sample &s, const Equation &eq, const double *b, int target) {
    const std::vector<Cell> xc = cells_of(eq);
    const Cell mk = cell_of(s.samp), oc = eq.offset ? cell_of(eq.offset) : Cell{}, tc = cell_of(target);
    const int nv = (int)xc.size();
    const double bcons = eq.cons ? b[nv] : 0, dot = session::lim.dot;
    const int64_t n = s.hi >= s.lo ? (int64_t)s.hi - s.lo + 1 : 0;
    const Team tm = choose_team(n, gran(), true);
    const Team run = tm.parallel ? tm : Team{1, n, n, false};
    return run_region(run, [&](int, int64_t a, int64_t z) {
        for (int64_t j = a; j < z; ++j) {
            if (((j - a) & (SUB - 1)) == 0 && break_pending()) return;
            const int32_t i = s.lo + (int32_t)j;
            char *row = data::row_addr(i);
            double xb = dot;
            const double mv = read(row, mk);
            if (mv != 0 && mv < dot) {
                double sum = 0;
                int c = 0;
                for (; c < nv; ++c) {
                    const double v = read(row, xc[(size_t)c]);
                    if (!(v < dot)) break;
                    sum += b[c] * v;
                }
                if (c == nv) {
                    if (eq.cons) sum += bcons;
                    if (eq.offset) {
                        const double o = read(row, oc);
                        sum = !(o < dot) ? dot : eq.exposure ? (o > 0 ? sum + std::log(o) : dot) : sum + o;
                    }
                    if (std::isfinite(sum) && sum < dot) xb = sum;
                }
            }
            data::cell_put(row + tc.off, tc.type, xb);
        }
    });
}

int mlsum_smp(const Sample &s, data::ExprRecord &e, bool check_if, double *sum, SumResult &r) {
    // slot: the sum and its rounding errors
    Plan p;
    if (int rc = plan_chunks(s.lo, s.hi, 2, s.safe, p)) return rc;
    std::vector<Scratch> sc;
    if (int rc = make_scratch(p.threads, sc)) return rc;
    Flags f;
    auto body = [&](int t, int32_t first, int32_t last, double *slot) {
        for (int32_t b = first; b <= last; b += SUB) {
            if (break_pending()) return;
            // a missing term ends the sum; mlsum's check goes on to see every observation
            if (!check_if && f.poison.load(std::memory_order_relaxed)) return;
            const int32_t z = std::min<int32_t>(last, b + SUB - 1);
            Scratch &x = sc[(size_t)t];
            const int m = select(s, &e, b, z, x, check_if, f);
            for (int q = 0; q < m; ++q)
                neumaier(&slot[0], &slot[1], x.w[(size_t)q] * x.ev[(size_t)q]);
        }
    };
    double total = 0, tc = 0, err = 0;
    auto combine = [&](const double *slot) {
        neumaier(&total, &tc, slot[0]);
        err += slot[1];
    };
    if (int rc = run_chunks(p, body, combine)) return rc;
    const double v = (total + tc) + err;
    r.poisoned = f.poison.load() || !std::isfinite(v) || data::is_missing(v);
    r.excluded = f.excluded.load();
    *sum = r.poisoned ? session::lim.dot : v;
    return 0;
}

int mlvecsum_u_smp(const Sample &s, data::ExprRecord &e, const Equation &eq, std::vector<double> &g,
                   SumResult &r) {
    const int k = eq.k();
    const std::vector<Cell> xc = cells_of(eq);
    // slot: k sums, then their k rounding errors
    Plan p;
    if (int rc = plan_chunks(s.lo, s.hi, 2 * (size_t)k, s.safe, p)) return rc;
    std::vector<Scratch> sc;
    std::vector<std::vector<double>> xrow;
    if (int rc = make_scratch(p.threads, sc)) return rc;
    try {
        xrow.assign((size_t)p.threads, std::vector<double>((size_t)k));
        g.assign((size_t)k, 0.0);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    Flags f;
    auto body = [&](int t, int32_t first, int32_t last, double *slot) {
        Scratch &x = sc[(size_t)t];
        double *xv = xrow[(size_t)t].data();
        for (int32_t b = first; b <= last; b += SUB) {
            if (break_pending() || f.poison.load(std::memory_order_relaxed)) return;
            const int32_t z = std::min<int32_t>(last, b + SUB - 1);
            const int m = select(s, &e, b, z, x, false, f);
            for (int q = 0; q < m; ++q) {
                if (!row_values(x.row[(size_t)q], xc, eq.cons, xv)) {
                    f.poison.store(true, std::memory_order_relaxed);
                    return;
                }
                const long double we = (long double)x.w[(size_t)q] * x.ev[(size_t)q];
                for (int j = 0; j < k; ++j)
                    neumaier(&slot[j], &slot[k + j], (double)(we * xv[j]));
            }
        }
    };
    std::vector<double> total((size_t)k, 0.0), tc((size_t)k, 0.0), err((size_t)k, 0.0);
    auto combine = [&](const double *slot) {
        for (int j = 0; j < k; ++j) {
            neumaier(&total[(size_t)j], &tc[(size_t)j], slot[j]);
            err[(size_t)j] += slot[k + j];
        }
    };
    if (int rc = run_chunks(p, body, combine)) return rc;
    for (int j = 0; j < k; ++j)
        g[(size_t)j] = (total[(size_t)j] + tc[(size_t)j]) + err[(size_t)j];
    r.poisoned = f.poison.load() || !all_finite(g);
    return 0;
}

int mlmatsum_uxx_smp(const Sample &s, data::ExprRecord &e, const Equation &a, const Equation &b, bool same,
                     std::vector<double> &H, SumResult &r) {
    const int ka = a.k(), kb = b.k();
    const std::vector<Cell> ac = cells_of(a), bc = cells_of(b);
    const size_t kk = (size_t)ka * (size_t)kb;
    Plan p;
    if (int rc = plan_chunks(s.lo, s.hi, kk, s.safe, p)) return rc;
    std::vector<Scratch> sc;
    std::vector<std::vector<double>> xrow;
    if (int rc = make_scratch(p.threads, sc)) return rc;
    try {
        xrow.assign((size_t)p.threads, std::vector<double>((size_t)(2 * ka + kb)));
        H.assign(kk, 0.0);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    Flags f;
    auto body = [&](int t, int32_t first, int32_t last, double *acc) {
        Scratch &x = sc[(size_t)t];
        double *xa = xrow[(size_t)t].data(), *wa = xa + ka, *xb = wa + ka;
        for (int32_t lo = first; lo <= last; lo += SUB) {
            if (break_pending() || f.poison.load(std::memory_order_relaxed)) return;
            const int32_t z = std::min<int32_t>(last, lo + SUB - 1);
            const int m = select(s, &e, lo, z, x, false, f);
            for (int q = 0; q < m; ++q) {
                const char *row = x.row[(size_t)q];
                if (!row_values(row, ac, a.cons, xa) || (!same && !row_values(row, bc, b.cons, xb))) {
                    f.poison.store(true, std::memory_order_relaxed);
                    return;
                }
                const long double we = (long double)x.w[(size_t)q] * x.ev[(size_t)q];
                for (int i = 0; i < ka; ++i)
                    wa[i] = (double)(we * xa[i]);
                const double *y = same ? xa : xb;
                for (int i = 0; i < ka; ++i) {
                    const double u = wa[i];
                    if (u == 0) continue;
                    double *h = acc + (size_t)i * (size_t)kb;
                    const int top = same ? i + 1 : kb;
                    for (int j = 0; j < top; ++j)
                        h[j] += u * y[j];
                }
            }
        }
    };
    auto combine = [&](const double *acc) {
        for (size_t j = 0; j < kk; ++j)
            H[j] += acc[j];
    };
    if (int rc = run_chunks(p, body, combine)) return rc;
    if (same)
        for (int i = 0; i < ka; ++i)
            for (int j = 0; j < i; ++j)
                H[(size_t)j * (size_t)kb + (size_t)i] = H[(size_t)i * (size_t)kb + (size_t)j];
    r.poisoned = f.poison.load() || !all_finite(H);
    return 0;
}

namespace {

// The panel sums of both forms: y, C and their equation are those of x when same.
int bysum(const Sample &s, const std::vector<int> &by, int A, int B, int C, const Equation &a,
          const Equation &b, bool same, std::vector<double> &H, SumResult &r) {
    const int ka = a.k(), kb = b.k();
    const std::vector<Cell> ac = cells_of(a), bc = cells_of(b), byc = [&] {
        std::vector<Cell> c;
        for (int v : by)
            c.push_back(cell_of(v));
        return c;
    }();
    const Cell Ac = cell_of(A), Bc = cell_of(B), Cc = cell_of(C);
    const size_t kk = (size_t)ka * (size_t)kb;
    // observation i begins a group when a by variable differs from observation i-1
    auto group_start = [&](int32_t i) {
        if (i <= s.lo) return true;
        const char *p = data::row_addr(i - 1), *q = data::row_addr(i);
        for (const Cell &c : byc)
            if (read(p, c) != read(q, c)) return true;
        return false;
    };
    Plan p;
    if (int rc = plan_chunks(s.lo, s.hi, kk, s.safe, group_start, p)) return rc;
    std::vector<Scratch> sc;
    std::vector<std::vector<double>> buf;
    if (int rc = make_scratch(p.threads, sc)) return rc;
    try {
        // per thread: x, y, Rx, Ry and the group's S
        buf.assign((size_t)p.threads, std::vector<double>((size_t)(2 * ka + 2 * kb + 1)));
        H.assign(kk, 0.0);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    Flags f;
    const double dot = session::lim.dot;
    auto body = [&](int t, int32_t first, int32_t last, double *acc) {
        Scratch &x = sc[(size_t)t];
        double *xa = buf[(size_t)t].data(), *xb = xa + ka, *rx = xb + kb, *ry = rx + ka, *S = ry + kb;
        const double *yv = same ? xa : xb;
        double *rys = same ? rx : ry;
        auto flush = [&]() {
            if (*S != 0)
                for (int i = 0; i < ka; ++i) {
                    const double u = *S * rx[i];
                    if (u == 0) continue;
                    double *h = acc + (size_t)i * (size_t)kb;
                    const int top = same ? i + 1 : kb;
                    for (int j = 0; j < top; ++j)
                        h[j] += u * rys[j];
                }
            *S = 0;
            std::fill_n(rx, ka, 0.0);
            std::fill_n(ry, kb, 0.0);
        };
        std::fill_n(rx, ka, 0.0);
        std::fill_n(ry, kb, 0.0);
        *S = 0;
        int32_t next = first; // the next observation whose group test is due
        for (int32_t lo = first; lo <= last; lo += SUB) {
            if (break_pending() || f.poison.load(std::memory_order_relaxed)) return;
            const int32_t z = std::min<int32_t>(last, lo + SUB - 1);
            const int m = select(s, nullptr, lo, z, x, false, f);
            for (int q = 0; q < m; ++q) {
                const int32_t i = x.obs[(size_t)q];
                // the groups begun between the last observation used and this one close the open one
                for (; next <= i; ++next)
                    if (next > first && group_start(next)) {
                        flush();
                        break;
                    }
                next = i + 1;
                const char *row = x.row[(size_t)q];
                const double av = read(row, Ac), bv = read(row, Bc), cv = same ? bv : read(row, Cc);
                if (!(av < dot) || !(bv < dot) || !(cv < dot) || !row_values(row, ac, a.cons, xa) ||
                    (!same && !row_values(row, bc, b.cons, xb))) {
                    f.poison.store(true, std::memory_order_relaxed);
                    return;
                }
                *S += x.w[(size_t)q] * av;
                for (int j = 0; j < ka; ++j)
                    rx[j] += bv * xa[j];
                if (!same)
                    for (int j = 0; j < kb; ++j)
                        ry[j] += cv * yv[j];
            }
        }
        flush();
    };
    auto combine = [&](const double *acc) {
        for (size_t j = 0; j < kk; ++j)
            H[j] += acc[j];
    };
    if (int rc = run_chunks(p, body, combine)) return rc;
    if (same)
        for (int i = 0; i < ka; ++i)
            for (int j = 0; j < i; ++j)
                H[(size_t)j * (size_t)kb + (size_t)i] = H[(size_t)i * (size_t)kb + (size_t)j];
    r.poisoned = f.poison.load() || !all_finite(H);
    return 0;
}

} // namespace

int mlmatbysum_uxx_smp(const Sample &s, const std::vector<int> &by, int A, int B, const Equation &a,
                       std::vector<double> &H, SumResult &r) {
    return bysum(s, by, A, B, B, a, a, true, H, r);
}

int mlmatbysum_uxy_smp(const Sample &s, const std::vector<int> &by, int A, int B, int C, const Equation &a,
                       const Equation &b, std::vector<double> &H, SumResult &r) {
    return bysum(s, by, A, B, C, a, b, false, H, r);
}

} // namespace est::ml

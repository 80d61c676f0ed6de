// The serial pieces of buildraw: reading an observation, the weight scale, the mean pass, the
// serial cross-product twin and the product with a matrix.
#include "estimate/buildraw.h"

#include <cfloat>
#include <cstdio>
#include <cstring>

#include "data/dataset.h"
#include "data/types.h"
#include "estimate/buildraw_core.h"
#include "session/hexfloat.h"

namespace est {

std::string sumwgt_note(double w) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "(sum of wgt is %12.4e)", w);
    return buf;
}

int get_obs_values(const RawSpec &s, int32_t obs, double *row, int weightType) {
    // the row's address once; each cell by its offset and type
    const char *r = data::row_addr(obs);
    auto cell = [r](int v) {
        return data::cell_get(r + data::ds.offset[(size_t)v - 1], data::ds.vartype[(size_t)v - 1]);
    };
    const double m = cell(s.marker);
    if (m == 0 || data::is_missing(m)) return 0;
    row[0] = weightType == RW_NONE ? 1.0 : cell(s.weightVar);
    int off = 1;
    if (weightType == RW_F) row[off++] = m - 1;
    for (size_t j = 0; j < s.vars.size(); ++j)
        row[off + (int)j] = cell(s.vars[j]);
    return 1;
}

namespace {
struct ListCtx {
    const RawSpec *s;
};
bool marker_test(const void *ctx, int32_t obs) {
    const RawSpec *s = static_cast<const ListCtx *>(ctx)->s;
    const double m = data::get_num(s->marker, obs);
    return m != 0 && !data::is_missing(m);
}
double weight_of(const void *ctx, int32_t obs) {
    const RawSpec *s = static_cast<const ListCtx *>(ctx)->s;
    return s->weightType == RW_NONE ? 1.0 : data::get_num(s->weightVar, obs);
}
} // namespace

int raw_obslist(const RawSpec &s, int32_t lo, int32_t hi, ObsList &list, double *sumw) {
    ListCtx c{&s};
    return buildobslistwithwgt_smp(lo, hi, marker_test, weight_of, &c, list, sumw);
}

namespace rawcore {

int weight_scale(const RawSpec &s, const ObsList &obs, double *row, double *scale, double *sumw,
                 bool *empty) {
    *scale = 1;
    *empty = false;
    CompSum w;
    if (s.weightType == RW_NONE) {
        // every observation of the list counts 1: no pass is needed
        *sumw = (double)obs.size();
        return 0;
    }
    for (int32_t i : obs) {
        if (session::poll_break()) return 1;
        if (get_obs_values(s, i, row, s.weightType)) w.add(row[0]);
    }
    *sumw = w.value();
    if (s.weightType == RW_A) {
        if (*sumw == 0) {
            *empty = true;
            return 0;
        }
        *scale = (double)obs.size() / *sumw;
    }
    return 0;
}

void add_obs(const Pass &p, double *row, double *acc, int ld, double *mn, double *mx, double *zr) {
    const int k = p.k;
    const double w = p.weighted ? row[0] * p.scale : 1.0;
    double *x = row + p.off - 1; // x[1..k]
    for (int j = 1; j <= k; ++j) {
        const double v = x[j];
        if (mn) {
            if (v < mn[j]) mn[j] = v;
            if (v > mx[j]) mx[j] = v;
        }
        if (zr && v == 0) zr[j] += 1;
        if (p.mean) x[j] = v - p.mean[j];
    }
    if (!p.mean) acc[0] += w;
    for (int j = 1; j <= k; ++j) {
        const double xj = x[j];
        if (xj == 0) continue; // a zero value adds nothing to its row: sparse dummies gain here
        const double wx = w * xj;
        double *r = acc + (size_t)j * (size_t)ld;
        if (!p.mean) r[0] += wx;
        for (int i = 1; i <= j; ++i)
            r[i] += wx * x[i];
    }
}

void finish(const Pass &p, double *xx, int ld, double sumw) {
    const int k = p.k;
    xx[0] = sumw;
    if (p.mean)
        for (int j = 1; j <= k; ++j)
            xx[(size_t)j * (size_t)ld] = p.mean[j];
    for (int j = 0; j <= k; ++j)
        for (int i = 0; i < j; ++i)
            xx[(size_t)i * (size_t)ld + (size_t)j] = xx[(size_t)j * (size_t)ld + (size_t)i];
}

int start(const RawSpec &s, const ObsList &obs, bool dev, double *xx, int ld, double *minima, double *maxima,
          double *zeros, RawCounts *cnt, double *row, Pass *p, std::vector<double> &mean) {
    const int k = s.k();
    for (int j = 0; j <= k; ++j) {
        if (session::poll_break()) return 1;
        std::memset(xx + (size_t)j * (size_t)ld, 0, sizeof(double) * (size_t)(j + 1));
    }
    if (minima)
        for (int j = 0; j <= k; ++j) {
            minima[j] = DBL_MAX;
            maxima[j] = -DBL_MAX;
        }
    if (zeros)
        for (int j = 0; j <= k; ++j)
            zeros[j] = 0;
    *cnt = RawCounts{};
    cnt->awnote = s.weightType == RW_A;
    p->k = k;
    p->weighted = s.weightType != RW_NONE;
    p->off = s.weightType == RW_F ? 2 : 1;
    p->mean = nullptr;
    bool empty = false;
    double sumw = 0;
    if (int rc = weight_scale(s, obs, row, &p->scale, &sumw, &empty)) return rc;
    cnt->sumw = sumw;
    if (empty || obs.empty()) return 0;
    cnt->nobs = (double)obs.size();
    if (dev) {
        mean.assign((size_t)k + 1, 0.0);
        double w = 0;
        if (int rc = bwrkmean_u(s, obs, mean.data() + 1, &w)) return rc;
        p->mean = mean.data();
    }
    return 0;
}

} // namespace rawcore

int bwrkmean_u(const RawSpec &s, const ObsList &obs, double *means, double *sumw) {
    const int k = s.k();
    std::vector<double> row((size_t)k + 2);
    double scale = 1;
    bool empty = false;
    if (int rc = rawcore::weight_scale(s, obs, row.data(), &scale, sumw, &empty)) return rc;
    std::vector<CompSum> sum((size_t)k);
    CompSum w;
    const int off = s.weightType == RW_F ? 2 : 1;
    for (int32_t i : obs) {
        if (session::poll_break()) return 1;
        if (!get_obs_values(s, i, row.data(), s.weightType)) continue;
        const double wi = s.weightType == RW_NONE ? 1.0 : row[0] * scale;
        w.add(wi);
        for (int j = 0; j < k; ++j)
            sum[(size_t)j].add(wi * row[(size_t)(off + j)]);
    }
    const double W = w.value();
    *sumw = W;
    for (int j = 0; j < k; ++j)
        means[j] = W > 0 ? sum[(size_t)j].value() / W : 0;
    return 0;
}

int brwrk(const RawSpec &s, const ObsList &obs, bool dev, double *xx, int ld, double *minima, double *maxima,
          double *zeros, RawCounts *cnt, double *buf) {
    rawcore::Pass p;
    std::vector<double> mean;
    if (int rc = rawcore::start(s, obs, dev, xx, ld, minima, maxima, zeros, cnt, buf, &p, mean)) return rc;
    if (cnt->nobs == 0) return 0;
    for (int32_t i : obs) {
        if (session::poll_break()) return 1;
        if (get_obs_values(s, i, buf, s.weightType)) rawcore::add_obs(p, buf, xx, ld, minima, maxima, zeros);
    }
    rawcore::finish(p, xx, ld, rawcore::total(s, *cnt));
    return 0;
}

int bwrkmp_u(const RawSpec &s, const ObsList &obs, const double *b, int m, double *out) {
    const int k = s.k();
    std::vector<double> row((size_t)k + 2);
    const int off = s.weightType == RW_F ? 2 : 1;
    size_t r = 0;
    for (int32_t i : obs) {
        if (session::poll_break()) return 1;
        double *o = out + r * (size_t)m;
        ++r;
        if (!get_obs_values(s, i, row.data(), s.weightType)) {
            for (int c = 0; c < m; ++c)
                o[c] = session::lim.dot;
            continue;
        }
        for (int c = 0; c < m; ++c) {
            double v = b[c];
            for (int j = 0; j < k; ++j)
                v += row[(size_t)(off + j)] * b[(size_t)(j + 1) * (size_t)m + (size_t)c];
            o[c] = v;
        }
    }
    return 0;
}

} // namespace est

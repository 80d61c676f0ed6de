// The robust variance D M D and the command `_robust` that puts it into e(V).
#include "estimate/robust.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "data/dataset.h"
#include "data/types.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "estimate/robust_smp.h"
#include "matrix/matstore.h"
#include "matrix/results.h"
#include "session/errors.h"
#include "session/macstore.h"
#include "session/options.h"
#include "session/store.h"
#include "session/tok.h"

namespace est {

double robust_factor(RobustSpec &s, bool clustered) {
    double f;
    if (s.noScale) {
        f = 0; // M stays the plain sum: the caller scales
    } else if (s.unitScale) {
        f = 1;
    } else if (clustered) {
        f = s.N > 1 ? s.N / (s.N - 1) : 0;
        // the regression form
        if (s.minusFactor >= 0) f *= s.n > s.minusFactor ? (s.n - 1) / (s.n - s.minusFactor) : 0;
    } else {
        const double d = s.minusFactor >= 0 ? s.minusFactor : (double)s.k;
        f = s.N > d ? s.N / (s.N - d) : 0;
    }
    s.factor = f;
    return f;
}

int robust_variance(RobustSpec &spec, const RobustInput &in, const std::vector<double> &D,
                    std::vector<double> &V) {
    const int k = spec.k;
    const size_t kk = (size_t)k * (size_t)k;
    if (k <= 0 || D.size() != kk || in.x.size() != (size_t)k || in.eq.size() != (size_t)k || in.score.empty())
        return session::error(503);
    for (int p = 0; p < k; ++p)
        if (in.eq[(size_t)p] < 0 || (in.score.size() > 1 && (size_t)in.eq[(size_t)p] >= in.score.size()))
            return session::error(503);
    std::vector<double> M, T, R;
    double nobs = 0, nclust = 0;
    if (int rc = robust_meat_smp(k, in, M, &nobs, &nclust)) return rc;
    const bool clustered = !in.cluster_start.empty();
    spec.n = nobs;
    spec.N = clustered ? nclust : nobs;
    const double f = robust_factor(spec, clustered);
    if (!spec.noScale)
        for (int p = 0; p < k; ++p)
            for (int q = 0; q <= p; ++q)
                M[(size_t)q * (size_t)k + (size_t)p] = M[(size_t)p * (size_t)k + (size_t)q] *= f;
    try {
        T.assign(kk, 0.0);
        R.assign(kk, 0.0);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    // T = D M, then R = T D, the lower triangle mirrored so that R is exactly symmetric
    for (int i = 0; i < k; ++i)
        for (int l = 0; l < k; ++l) {
            const double d = D[(size_t)i * (size_t)k + (size_t)l];
            if (d == 0) continue;
            for (int j = 0; j < k; ++j)
                T[(size_t)i * (size_t)k + (size_t)j] += d * M[(size_t)l * (size_t)k + (size_t)j];
        }
    for (int i = 0; i < k; ++i)
        for (int j = 0; j <= i; ++j) {
            double s = 0;
            for (int l = 0; l < k; ++l)
                s += T[(size_t)i * (size_t)k + (size_t)l] * D[(size_t)l * (size_t)k + (size_t)j];
            R[(size_t)i * (size_t)k + (size_t)j] = R[(size_t)j * (size_t)k + (size_t)i] = s;
        }
    V.swap(R);
    return 0;
}

namespace {

using namespace session;

// A list of variables written in an option, read with the standard list parser behind the list of
// the line, which is left as it was.
int option_varlist(const std::string &text, std::vector<int> &out) {
    const int32_t before = data::ps.count;
    settok(text.c_str());
    const int rc = data::parse_varlist(data::VL_NOALL);
    if (!rc) out.assign(data::ps.var.begin() + before, data::ps.var.begin() + data::ps.count);
    data::ps.count = before;
    return rc;
}

int robust_run(bool &fatal) {
    data::ParseSpec spec;
    spec.varlist = data::PO_OPTIONAL;
    spec.weight = data::PO_OPTIONAL;
    spec.wmask = data::WT_F | data::WT_A | data::WT_P | data::WT_I;
    if (int rc = data::std_parse(spec)) return rc;
    std::string cname, sname, vname, strata, psu, fpc, subpop, vsrs;
    double minus = -1;
    bool zeroweight = false, srssubpop = false;
    const OptSpec specs[] = {
        opt_name("cluster", 2, cname), opt_text("score", 2, sname), opt_name("variance", 1, vname),
        opt_real("minus", 1, minus),   opt_flag("fatal", 3, fatal), opt_flag("zeroweight", 4, zeroweight),
        opt_text("strata", 3, strata), opt_text("psu", 3, psu),     opt_text("fpc", 3, fpc),
        opt_text("subpop", 3, subpop), opt_text("vsrs", 4, vsrs),   opt_flag("srssubpop", 4, srssubpop),
    };
    if (int rc = data::std_options(specs)) return rc;
    if (!strata.empty() || !psu.empty() || !fpc.empty() || !subpop.empty() || !vsrs.empty() || srssubpop)
        return not_built("the survey design (strata(), psu(), fpc(), subpop(), vsrs(), srssubpop)");
    std::vector<int> scores(data::ps.var.begin(), data::ps.var.begin() + data::ps.count);
    if (!sname.empty()) {
        std::vector<int> more;
        if (int rc = option_varlist(sname, more)) return rc;
        scores.insert(scores.end(), more.begin(), more.end());
    }
    for (int v : scores)
        if (data::is_string_type(data::ds.vartype[(size_t)v - 1])) return error(109);

    // the estimates: e(b) gives the parameters, D the variance to be made robust
    mat::Matrix b, D;
    if (!mat::mat_read("b", ST_E_MATRIX, b)) return error(301);
    if (!vname.empty()) {
        if (int rc = mat::mat_load(vname.c_str(), ST_MATRIX, D)) return rc;
    } else if (!mat::mat_read("V", ST_E_MATRIX, D)) {
        return matrix_not_found("e(V)");
    }
    const int k = b.cols;
    if (D.rows != k || D.cols != k) return error(503);
    const std::vector<mat::StripeName> cs = mat::full_stripe(b, false);
    RobustSpec rs;
    rs.k = k;
    rs.minusFactor = minus;
    std::vector<int> xvar((size_t)k, 0), eq((size_t)k, 0);
    int ne = 0;
    for (int p = 0; p < k; ++p) {
        if (p == 0 || std::strcmp(cs[(size_t)p].equation, cs[(size_t)p - 1].equation) != 0) ++ne;
        eq[(size_t)p] = ne - 1;
        if (!cs[(size_t)p].tsop[0] && std::strcmp(cs[(size_t)p].name, "_cons") == 0) {
            rs.addConstant = true;
            continue;
        }
        const int v = cs[(size_t)p].tsop[0] ? -111 : data::varlookup(cs[(size_t)p].name, false, false);
        if (v < 0) return variable_not_found(mat::stripe_text(cs[(size_t)p]));
        if (data::is_string_type(data::ds.vartype[(size_t)v - 1])) return error(109);
        xvar[(size_t)p] = v;
    }
    rs.ne = ne;
    if ((int)scores.size() < ne) return fail(102, "score(): too few variables specified\n");
    if ((int)scores.size() > ne) return fail(103, "score(): too many variables specified\n");

    int cvar = 0;
    if (!cname.empty()) {
        cvar = data::varlookup(cname, true, data::varabbrev);
        if (cvar < 0) return -cvar;
    }
    rs.clusterVar = cvar;
    const bool cstr = cvar && data::is_string_type(data::ds.vartype[(size_t)cvar - 1]);

    // the observations of the sample with no missing value in a score, an x, the weight or the cluster
    std::vector<int32_t> obs;
    if (int rc = data::sample_obs(obs)) return rc;
    const bool weighted = data::sm.wtype != data::WT_NONE;
    if (weighted) data::sample_ranges(data::wtexp);
    std::vector<int> cols; // the variables gathered, each once
    auto col_of = [&](int v) {
        auto it = std::find(cols.begin(), cols.end(), v);
        if (it != cols.end()) return (int)(it - cols.begin());
        cols.push_back(v);
        return (int)cols.size() - 1;
    };
    std::vector<int> xcol((size_t)k, -1), scol;
    for (int p = 0; p < k; ++p)
        if (xvar[(size_t)p]) xcol[(size_t)p] = col_of(xvar[(size_t)p]);
    for (int v : scores)
        scol.push_back(col_of(v));
    // the cells of the observations kept, read in the data's order, with their weights and
    // cluster keys; then, with clustering, the columns put in cluster order, so that the kernel
    // reads each cluster as one run of rows
    std::vector<std::vector<double>> data_cols(cols.size());
    std::vector<double> wts, nkey, row(cols.size());
    std::vector<std::string> skey;
    char sbuf[data::T_STRMAX + 1];
    int64_t kept = 0;
    try {
        for (auto &col : data_cols)
            col.resize(obs.size());
        for (int32_t i : obs) {
            if (poll_break()) return error(1);
            bool miss = false;
            for (size_t c = 0; c < cols.size() && !miss; ++c) {
                row[c] = data::get_num(cols[c], i);
                miss = data::is_missing(row[c]);
            }
            if (miss) continue;
            double w = 1;
            if (weighted) {
                w = data::expr_xeqforby(data::wtexp, i);
                if (data::is_missing(w) || (w == 0 && !zeroweight)) continue;
            }
            if (cvar && cstr) {
                data::get_str(cvar, i, sbuf);
                if (!sbuf[0]) continue;
                skey.emplace_back(sbuf);
            } else if (cvar) {
                const double g = data::get_num(cvar, i);
                if (data::is_missing(g)) continue;
                nkey.push_back(g);
            }
            for (size_t c = 0; c < cols.size(); ++c)
                data_cols[c][(size_t)kept] = row[c];
            if (weighted) wts.push_back(w);
            ++kept;
        }
        for (auto &col : data_cols)
            col.resize((size_t)kept);
    } catch (const std::bad_alloc &) {
        return error(909);
    }
    RobustInput in;
    in.rows = (int64_t)data_cols[0].size();
    if (in.rows == 0) return error(2000);
    if (cvar) {
        try {
            std::vector<int32_t> order((size_t)in.rows);
            for (int32_t r = 0; r < (int32_t)in.rows; ++r)
                order[(size_t)r] = r;
            if (cstr) {
                // the data's order kept within a cluster
                std::stable_sort(order.begin(), order.end(),
                                 [&](int32_t a, int32_t c) { return skey[(size_t)a] < skey[(size_t)c]; });
            } else {
                std::vector<std::pair<double, int32_t>> kp((size_t)in.rows);
                for (int32_t r = 0; r < (int32_t)in.rows; ++r)
                    kp[(size_t)r] = {nkey[(size_t)r], r};
                std::sort(kp.begin(), kp.end());
                for (int32_t r = 0; r < (int32_t)in.rows; ++r)
                    order[(size_t)r] = kp[(size_t)r].second;
            }
            for (int64_t pos = 0; pos < in.rows; ++pos) {
                const size_t a = (size_t)order[(size_t)(pos ? pos - 1 : 0)], c = (size_t)order[(size_t)pos];
                if (pos == 0 || (cstr ? skey[a] != skey[c] : nkey[a] != nkey[c]))
                    in.cluster_start.push_back(pos);
            }
            in.cluster_start.push_back(in.rows);
            std::vector<double> moved((size_t)in.rows);
            auto permute = [&](std::vector<double> &col) {
                for (int64_t r = 0; r < in.rows; ++r)
                    moved[(size_t)r] = col[(size_t)order[(size_t)r]];
                col.swap(moved);
            };
            for (auto &col : data_cols)
                permute(col);
            if (weighted) permute(wts);
        } catch (const std::bad_alloc &) {
            return error(909);
        }
    }
    for (int p = 0; p < k; ++p)
        in.x.push_back(xcol[(size_t)p] < 0 ? nullptr : data_cols[(size_t)xcol[(size_t)p]].data());
    in.eq = eq;
    for (int c : scol)
        in.score.push_back(data_cols[(size_t)c].data());
    if (weighted) {
        in.w = wts.data();
        in.wtype = data::sm.wtype == data::WT_F   ? RW_F
                   : data::sm.wtype == data::WT_A ? RW_A
                   : data::sm.wtype == data::WT_P ? RW_P
                                                  : RW_I;
    }

    // the former variance saved, and the new one put in its place only once all is done
    mat::Matrix Vm = D;
    Vm.sym = true;
    if (int rc = mat::mat_save("VCE", ST_MATRIX, D)) return rc;
    std::vector<double> V;
    if (int rc = robust_variance(rs, in, D.v, V)) return rc;
    Vm.v = V;
    if (!vname.empty()) return mat::mat_assign(vname.c_str(), ST_MATRIX, Vm);
    if (int rc = mat::mat_assign("V", ST_E_MATRIX, Vm)) return rc;
    if (int rc = mat::e_set_macro("vcetype", "Robust")) return rc;
    if (int rc = macro_set("S_E_vce", "Robust")) return rc;
    if (cvar) {
        if (int rc = mat::e_set_macro("clustvar", data::ds.varname[(size_t)cvar - 1])) return rc;
        if (int rc = macro_set("S_E_cvn", data::ds.varname[(size_t)cvar - 1])) return rc;
        if (int rc = mat::e_set_scalar("N_clust", rs.N)) return rc;
        char nb[32];
        std::snprintf(nb, sizeof nb, "%.0f", rs.N);
        if (int rc = macro_set("S_E_cn", nb)) return rc;
    }
    return 0;
}

} // namespace

int cmd_robust(int) {
    bool fatal = false;
    const int rc = robust_run(fatal);
    mat::mat_drop_temps();
    if (rc && fatal) mat::e_clear();
    return rc;
}

} // namespace est

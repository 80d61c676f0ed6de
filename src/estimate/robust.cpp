// The robust variance D M D and the command `_robust` that puts it into e(V).
#include "estimate/robust.h"

#include <algorithm>
#include <cmath>
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

// A variable of the design named by an option (none when the name is empty); numeric when asked.
int design_var(const std::string &name, bool numeric, int &v) {
    v = 0;
    if (name.empty()) return 0;
    v = data::varlookup(name, true, data::varabbrev);
    if (v < 0) return -v;
    if (numeric && data::is_string_type(data::ds.vartype[(size_t)v - 1])) return error(109);
    return 0;
}

// The keys of the observations kept for a variable of the design (none when v is 0): numbers, or
// text compared as text.
struct Keys {
    int v;
    bool str;
    std::vector<double> num;
    std::vector<std::string> txt;
    explicit Keys(int var) : v(var), str(var && data::is_string_type(data::ds.vartype[(size_t)var - 1])) {}
    // false when observation i has a missing key
    bool read(int32_t i) {
        if (!v) return true;
        if (str) {
            char buf[data::T_STRMAX + 1];
            data::get_str(v, i, buf);
            if (!buf[0]) return false;
            txt.emplace_back(buf);
            return true;
        }
        const double g = data::get_num(v, i);
        if (data::is_missing(g)) return false;
        num.push_back(g);
        return true;
    }
    void unread() {
        if (!v) return;
        if (str)
            txt.pop_back();
        else
            num.pop_back();
    }
    bool less(int32_t a, int32_t b) const {
        if (!v) return false;
        return str ? txt[(size_t)a] < txt[(size_t)b] : num[(size_t)a] < num[(size_t)b];
    }
    bool differ(int32_t a, int32_t b) const {
        if (!v) return false;
        return str ? txt[(size_t)a] != txt[(size_t)b] : num[(size_t)a] != num[(size_t)b];
    }
};

int robust_run(bool &fatal) {
    data::ParseSpec spec;
    spec.varlist = data::PO_OPTIONAL;
    spec.weight = data::PO_OPTIONAL;
    spec.wmask = data::WT_F | data::WT_A | data::WT_P | data::WT_I;
    if (int rc = data::std_parse(spec)) return rc;
    std::string cname, sname, vname, hname, pname, fname, subname, vsrs;
    double minus = -1;
    bool zeroweight = false, srssubpop = false;
    const OptSpec specs[] = {
        opt_name("cluster", 2, cname),  opt_text("score", 2, sname), opt_name("variance", 1, vname),
        opt_real("minus", 1, minus),    opt_flag("fatal", 3, fatal), opt_flag("zeroweight", 4, zeroweight),
        opt_name("strata", 3, hname),   opt_name("psu", 3, pname),   opt_name("fpc", 3, fname),
        opt_name("subpop", 3, subname), opt_text("vsrs", 4, vsrs),   opt_flag("srssubpop", 4, srssubpop),
    };
    if (int rc = data::std_options(specs)) return rc;
    if (!vsrs.empty()) return not_built("vsrs()");
    if (srssubpop) return not_built("srssubpop");
    // psu() names the clusters as cluster() does
    if (!pname.empty() && !cname.empty()) return fail(198, "cluster() and psu() may not be combined\n");
    if (cname.empty()) cname = pname;
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

    int cvar = 0, hvar = 0, fvar = 0, subvar = 0;
    if (int rc = design_var(cname, false, cvar)) return rc;
    if (int rc = design_var(hname, false, hvar)) return rc;
    if (int rc = design_var(fname, true, fvar)) return rc;
    if (int rc = design_var(subname, true, subvar)) return rc;
    rs.clusterVar = cvar;
    // the survey form: PSU totals centred within strata
    const bool survey = hvar || fvar;

    // the observations of the sample with no missing value in a score, an x, the weight or a variable
    // of the design
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
    // the numeric variables of the design ride along as columns of their own
    const int fcol = fvar ? (cols.push_back(fvar), (int)cols.size() - 1) : -1;
    const int subcol = subvar ? (cols.push_back(subvar), (int)cols.size() - 1) : -1;

    // the cells of the observations kept, read in the data's order, with their weights and keys;
    // then, with clusters or strata, the columns put in that order, so that the kernel reads each
    // cluster as one run of rows
    std::vector<std::vector<double>> data_cols(cols.size());
    std::vector<double> wts, row(cols.size());
    Keys ckey(cvar), hkey(hvar);
    int64_t kept = 0;
    try {
        for (auto &col : data_cols)
            col.resize(obs.size());
        for (int32_t i : obs) {
            if (poll_break()) return error(1);
            bool miss = false;
            for (size_t c = 0; c < cols.size() && !miss; ++c) {
                row[c] = data::get_num(cols[c], i);
                miss = data::is_missing(row[c]) && (int)c != subcol;
            }
            if (miss) continue;
            double w = 1;
            if (weighted) {
                w = data::expr_xeqforby(data::wtexp, i);
                if (data::is_missing(w) || (w == 0 && !zeroweight)) continue;
                if (w < 0 && data::sm.wtype != data::WT_I) return error(402);
                if (data::sm.wtype == data::WT_F && w != std::floor(w)) return error(401);
            }
            if (!ckey.read(i)) continue;
            if (!hkey.read(i)) {
                ckey.unread();
                continue;
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
    in.rows = kept;
    if (in.rows == 0) return error(2000);
    if (cvar || survey) {
        try {
            std::vector<int32_t> order((size_t)in.rows);
            for (int32_t r = 0; r < (int32_t)in.rows; ++r)
                order[(size_t)r] = r;
            if (cvar && !hvar && !ckey.str) {
                std::vector<std::pair<double, int32_t>> kp((size_t)in.rows);
                for (int32_t r = 0; r < (int32_t)in.rows; ++r)
                    kp[(size_t)r] = {ckey.num[(size_t)r], r};
                std::sort(kp.begin(), kp.end());
                for (int32_t r = 0; r < (int32_t)in.rows; ++r)
                    order[(size_t)r] = kp[(size_t)r].second;
            } else {
                // by stratum, then cluster, the data's order kept within a cluster
                std::stable_sort(order.begin(), order.end(), [&](int32_t a, int32_t c) {
                    if (hkey.differ(a, c)) return hkey.less(a, c);
                    return ckey.less(a, c);
                });
            }
            // without cluster() every observation is a PSU of its own
            for (int64_t pos = 0; pos < in.rows; ++pos) {
                const int32_t a = order[(size_t)(pos ? pos - 1 : 0)], c = order[(size_t)pos];
                const bool newh = pos == 0 || hkey.differ(a, c);
                if (newh || !cvar || ckey.differ(a, c)) in.cluster_start.push_back(pos);
                if (survey && newh) in.stratum_start.push_back((int64_t)in.cluster_start.size() - 1);
            }
            in.cluster_start.push_back(in.rows);
            if (survey) in.stratum_start.push_back((int64_t)in.cluster_start.size() - 1);
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
    // the sampling rate of each stratum, from the fpc of its first observation
    if (fvar) {
        const std::vector<double> &f = data_cols[(size_t)fcol];
        for (size_t h = 0; h + 1 < in.stratum_start.size(); ++h) {
            const double nh = (double)(in.stratum_start[h + 1] - in.stratum_start[h]);
            const double v = f[(size_t)in.cluster_start[(size_t)in.stratum_start[h]]];
            if (v < 0 || (v > 1 && v < nh))
                return fail(198,
                            "fpc must be <= 1 if a rate, or >= no. sampled PSUs per stratum if PSU totals\n");
            in.fpc.push_back(v <= 1 ? v : nh / v);
        }
    }
    // outside the subpopulation the scores are 0, the observations staying in the design
    std::vector<std::vector<double>> subscores;
    if (subvar) {
        const std::vector<double> &sub = data_cols[(size_t)subcol];
        for (int c : scol) {
            subscores.push_back(data_cols[(size_t)c]);
            for (int64_t r = 0; r < in.rows; ++r)
                if (sub[(size_t)r] == 0 || data::is_missing(sub[(size_t)r])) subscores.back()[(size_t)r] = 0;
        }
    }
    if (survey) rs.unitScale = true; // the stratified sum carries its own n_h/(n_h - 1)
    for (int p = 0; p < k; ++p)
        in.x.push_back(xcol[(size_t)p] < 0 ? nullptr : data_cols[(size_t)xcol[(size_t)p]].data());
    in.eq = eq;
    for (size_t j = 0; j < scol.size(); ++j)
        in.score.push_back(subvar ? subscores[j].data() : data_cols[(size_t)scol[j]].data());
    if (weighted) {
        in.w = wts.data();
        in.wtype = data::sm.wtype == data::WT_F   ? RBW_F
                   : data::sm.wtype == data::WT_A ? RBW_A
                   : data::sm.wtype == data::WT_P ? RBW_P
                                                  : RBW_I;
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
    // what an earlier call left of the clusters and the design goes
    if (void *o = store_find("clustvar", ST_E_MACRO, nullptr)) store_delete(o);
    for (const char *name : {"N_clust", "N_strata", "N_psu"})
        mat::drop_scalar('e', name);
    macro_drop("S_E_cvn");
    macro_drop("S_E_cn");
    if (cvar) {
        if (int rc = mat::e_set_macro("clustvar", data::ds.varname[(size_t)cvar - 1])) return rc;
        if (int rc = macro_set("S_E_cvn", data::ds.varname[(size_t)cvar - 1])) return rc;
        if (int rc = mat::e_set_scalar("N_clust", rs.N)) return rc;
        char nb[32];
        std::snprintf(nb, sizeof nb, "%.0f", rs.N);
        if (int rc = macro_set("S_E_cn", nb)) return rc;
    }
    if (survey) {
        if (int rc = mat::e_set_scalar("N_strata", (double)in.stratum_start.size() - 1)) return rc;
        if (int rc = mat::e_set_scalar("N_psu", (double)in.cluster_start.size() - 1)) return rc;
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

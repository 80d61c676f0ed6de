// The pieces shared by the likelihood commands: options, the sample and its columns, collinearity,
// the optimiser's settings, the sandwich, posting and the header.
#include "estimate/likfit.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>

#include "data/dataset.h"
#include "data/exprmath.h"
#include "data/fmt.h"
#include "data/types.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "matrix/estpost.h"
#include "matrix/results.h"
#include "matrix/sweep.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/state.h"
#include "session/store.h"

namespace est {

using namespace session;

std::vector<OptSpec> fit_option_specs(FitOpts &o) {
    return {opt_flag("noconstant", 3, o.nocons),
            opt_text("level", 1, o.level),
            opt_flag("robust", 1, o.robust),
            opt_name("cluster", 2, o.cluster),
            opt_name("offset", 3, o.offset),
            opt_int("iterate", 4, o.iterate, 0, 16000),
            opt_flag("nolog", 5, o.nolog),
            opt_flag("log", 3, o.log),
            opt_real("ltolerance", 4, o.ltol),
            opt_real("tolerance", 3, o.tol),
            opt_real("nrtolerance", 5, o.nrtol),
            opt_flag("noheader", 5, o.noheader),
            opt_text("vce", 3, o.vce)};
}

int fit_check_options(FitOpts &o) {
    if (!o.vce.empty()) {
        std::string kind, rest;
        const size_t a = o.vce.find_first_not_of(' ');
        const size_t e = o.vce.find(' ', a);
        kind = o.vce.substr(a, e == std::string::npos ? std::string::npos : e - a);
        if (e != std::string::npos) {
            rest = o.vce.substr(e);
            rest.erase(0, rest.find_first_not_of(' '));
            rest.erase(rest.find_last_not_of(' ') + 1);
        }
        auto abbrev = [&](const char *word, size_t min) {
            return kind.size() >= min && kind.size() <= std::strlen(word) &&
                   std::strncmp(kind.c_str(), word, kind.size()) == 0;
        };
        if (abbrev("robust", 1) && rest.empty()) {
            o.robust = true;
        } else if (abbrev("cluster", 2) && !rest.empty() && rest.find(' ') == std::string::npos) {
            o.cluster = rest;
        } else if (!(kind == "oim" && rest.empty())) {
            return fail(198, "vce(" + o.vce + ") invalid\n");
        }
    }
    if (!o.level.empty()) {
        double lv = 0;
        if (!data::text_to_number(o.level, lv, false) || lv < 10 || lv > 99.99)
            return fail(198, "level() must be between 10 and 99.99 inclusive\n");
    }
    return 0;
}

int fit_read_model(const FitOpts &o, FitData &d) {
    d.vars.clear();
    for (int32_t j = 0; j < data::ps.count; ++j) {
        const int v = data::ps.var[(size_t)j];
        if (data::ps.info[(size_t)j].op || data::ps.info[(size_t)j].fvterm)
            return fail(101, "factor variables and time-series operators not allowed\n");
        if (data::is_string_type(data::ds.vartype[(size_t)v - 1])) return error(109);
        d.vars.push_back(v);
    }
    if ((int)d.vars.size() > st.matsize) return error(908);
    if (!o.offset.empty()) {
        d.ovar = data::varlookup(o.offset, true, data::varabbrev);
        if (d.ovar < 0) return -d.ovar;
        if (data::is_string_type(data::ds.vartype[(size_t)d.ovar - 1])) return error(109);
    }
    if (!o.cluster.empty()) {
        d.cvar = data::varlookup(o.cluster, true, data::varabbrev);
        if (d.cvar < 0) return -d.cvar;
    }
    d.weighted = data::sm.wtype != data::WT_NONE;
    d.pw = data::sm.wtype == data::WT_P;
    d.robust = o.robust || d.cvar || d.pw;
    d.cstr = d.cvar && data::is_string_type(data::ds.vartype[(size_t)d.cvar - 1]);
    return 0;
}

int fit_gather(FitData &d) {
    // the sample: the range, the if, a usable weight and no missing value among the model's variables
    d.lo = data::sample_lo();
    d.hi = data::sample_hi();
    if (data::sm.ifpresent) data::sample_ranges(data::ifexp);
    if (d.weighted) data::sample_ranges(data::wtexp);
    std::vector<int> passvars = d.vars;
    if (d.ovar) passvars.push_back(d.ovar);
    for (int v : d.extra)
        passvars.push_back(v);
    d.marks.assign((size_t)data::ds.nobs, 0);
    // the same pass sums the weighted cross-products of the regressors and the constant, by which
    // collinear regressors are found
    {
        xprod::Pass p;
        p.var = &passvars;
        p.cons = true;
        p.weighted = d.weighted;
        p.check = true;
        p.integer = data::sm.wtype == data::WT_F;
        p.marks = d.marks.data();
        p.lo = d.lo;
        p.hi = d.hi;
        const bool safe = (!data::sm.ifpresent || data::ifexp.expressionSafe) &&
                          (!d.weighted || data::wtexp.expressionSafe);
        int32_t bad = 0;
        if (int rc = xprod::run(p, safe, d.sums, &bad)) return rc == 401 || rc == 402 ? error(rc) : rc;
    }

    // the columns of the rows kept, in the data's order, with the cluster keys
    const int nx_all = d.nx_all();
    try {
        int64_t n = 0;
        for (int32_t i = d.lo; i <= d.hi; ++i)
            n += d.marks[(size_t)i - 1];
        d.x.assign((size_t)nx_all, std::vector<double>());
        // the outcome and the regressors are written in place: a row dropped for its cluster key
        // leaves the columns one shorter
        for (auto &c : d.x)
            c.resize((size_t)n);
        d.xtra.assign(d.extra.size(), std::vector<double>());
        for (auto &c : d.xtra)
            c.reserve((size_t)n);
        d.y.resize((size_t)n);
        if (d.weighted) d.w.reserve((size_t)n);
        if (d.ovar) d.offset.reserve((size_t)n);
        char buf[data::T_STRMAX + 1];
        // each row is found once and its cells read by offset and type
        std::vector<std::pair<int64_t, int>> cells;
        for (int v : d.vars)
            cells.emplace_back(data::ds.offset[(size_t)v - 1], data::ds.vartype[(size_t)v - 1]);
        auto cell = [&cells](const char *row, size_t j) {
            if (cells[j].second == data::T_DOUBLE) {
                double v;
                std::memcpy(&v, row + cells[j].first, 8);
                return v;
            }
            return data::cell_get(row + cells[j].first, cells[j].second);
        };
        std::vector<double *> px((size_t)nx_all);
        for (int j = 0; j < nx_all; ++j)
            px[(size_t)j] = d.x[(size_t)j].data();
        size_t r = 0;
        for (int32_t i = d.lo; i <= d.hi; ++i) {
            if (!d.marks[(size_t)i - 1]) continue;
            if (poll_break()) return error(1);
            if (d.cvar) {
                if (d.cstr) {
                    data::get_str(d.cvar, i, buf);
                    if (!buf[0]) {
                        d.marks[(size_t)i - 1] = 0;
                        continue;
                    }
                    d.ckey_str.emplace_back(buf);
                } else {
                    const double g = data::get_num(d.cvar, i);
                    if (data::is_missing(g)) {
                        d.marks[(size_t)i - 1] = 0;
                        continue;
                    }
                    d.ckey_num.push_back(g);
                }
            }
            const char *row = data::row_addr(i);
            d.y[r] = cell(row, 0);
            for (int j = 0; j < nx_all; ++j)
                px[(size_t)j][r] = cell(row, (size_t)j + 1);
            ++r;
            for (size_t j = 0; j < d.extra.size(); ++j)
                d.xtra[j].push_back(data::get_num(d.extra[j], i));
            if (d.weighted) d.w.push_back(data::expr_xeqforby(data::wtexp, i));
            if (d.ovar) d.offset.push_back(data::get_num(d.ovar, i));
        }
        d.y.resize(r);
        for (auto &c : d.x)
            c.resize(r);
        d.rows = (int64_t)r;
    } catch (const std::bad_alloc &) {
        return error(909);
    }
    if (d.rows == 0) return error(2000);
    d.sumw = 0;
    for (int64_t r = 0; r < d.rows; ++r)
        d.sumw += d.weighted ? d.w[(size_t)r] : 1;
    // analytic weights sum to the count of rows
    if (data::sm.wtype == data::WT_A) {
        const double f = (double)d.rows / d.sumw;
        for (double &w : d.w)
            w *= f;
        d.sumw = (double)d.rows;
    }
    d.N = data::sm.wtype == data::WT_F ? d.sumw : (double)d.rows;
    return 0;
}

int fit_drop_collinear(FitData &d, bool cons) {
    // the weighted cross-products swept, the constant first; the pass's columns: the outcome, the
    // regressors, the offset if any, the extras, the constant
    const int nx_all = d.nx_all();
    const int kk = nx_all + (cons ? 1 : 0),
              kp = (int)d.vars.size() + (d.ovar ? 1 : 0) + (int)d.extra.size() + 1;
    auto col = [&](int j) { return j == nx_all ? kp - 1 : j + 1; };
    std::vector<double> xx((size_t)kk * (size_t)kk, 0.0);
    for (int a = 0; a < kk; ++a)
        for (int c = 0; c <= a; ++c) {
            const int ra = std::max(col(a), col(c)), rc = std::min(col(a), col(c));
            xx[(size_t)a * kk + c] = xx[(size_t)c * kk + a] = d.sums.acc[(size_t)ra * kp + rc];
        }
    mat::InvsymOpts io;
    const int first[] = {nx_all};
    if (cons) io.forced = first;
    mat::InvsymOut out;
    if (int rc = mat::invsym(xx.data(), kk, kk, io, &out)) return rc;
    std::vector<std::vector<double>> cols;
    d.kept.clear();
    for (int j = 0; j < nx_all; ++j) {
        if (!out.missing && out.state[(size_t)j] == mat::COL_DROPPED) {
            out::ClassScope cs(out::CLS_TEXT);
            if (int rc = out::out_rimu(std::string("{txt}note: ") +
                                       data::ds.varname[(size_t)d.vars[(size_t)j + 1] - 1] +
                                       " dropped because of collinearity\n"))
                return rc;
            continue;
        }
        d.kept.push_back(j);
        cols.push_back(std::move(d.x[(size_t)j]));
    }
    d.x.swap(cols);
    return 0;
}

void fit_setup(const FitOpts &o, const FitData &d, Optimizer &op) {
    op.maxIterations = o.iterate;
    op.logTolerance = o.ltol;
    op.coefTolerance = o.tol;
    op.gradientTolerance = o.nrtol;
    op.word = fit_crittype(d);
    op.showLog = !o.nolog;
}

const char *fit_crittype(const FitData &d) { return d.pw ? "log pseudolikelihood" : "log likelihood"; }

int fit_robust(const FitData &d, RobustInput &in, int k, int ne, bool cons, std::vector<double> &V,
               double *nclust) {
    in.rows = d.rows;
    if (d.weighted) {
        in.w = d.w.data();
        in.wtype = data::sm.wtype == data::WT_F   ? RBW_F
                   : data::sm.wtype == data::WT_A ? RBW_A
                   : data::sm.wtype == data::WT_P ? RBW_P
                                                  : RBW_I;
    }
    std::vector<int32_t> order;
    if (d.cvar) {
        try {
            order.resize((size_t)d.rows);
        } catch (const std::bad_alloc &) {
            return error(909);
        }
        for (int32_t r = 0; r < (int32_t)d.rows; ++r)
            order[(size_t)r] = r;
        auto differ = [&](int32_t a, int32_t c) {
            return d.cstr ? d.ckey_str[(size_t)a] != d.ckey_str[(size_t)c]
                          : d.ckey_num[(size_t)a] != d.ckey_num[(size_t)c];
        };
        std::stable_sort(order.begin(), order.end(), [&](int32_t a, int32_t c) {
            return d.cstr ? d.ckey_str[(size_t)a] < d.ckey_str[(size_t)c]
                          : d.ckey_num[(size_t)a] < d.ckey_num[(size_t)c];
        });
        for (int64_t pos = 0; pos < d.rows; ++pos)
            if (pos == 0 || differ(order[(size_t)pos - 1], order[(size_t)pos]))
                in.cluster_start.push_back(pos);
        in.cluster_start.push_back(d.rows);
        in.order = order.data();
    }
    RobustSpec rs;
    rs.k = k;
    rs.ne = ne;
    rs.addConstant = cons;
    rs.clusterVar = d.cvar;
    rs.weightVar = 0;
    rs.minusFactor = 1; // N/(N-1) by row; by cluster G/(G-1), the rows' factor being 1
    std::vector<double> Vr;
    if (int rc = robust_variance(rs, in, V, Vr)) return rc;
    V.swap(Vr);
    *nclust = rs.N;
    return 0;
}

double fit_wald(const std::vector<double> &b, const std::vector<double> &V, const std::vector<int> &which,
                int k, double *df) {
    const int m = (int)which.size();
    *df = 0;
    if (m == 0) return lim.dot;
    std::vector<double> a((size_t)m * (size_t)m);
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < m; ++j)
            a[(size_t)i * m + j] = V[(size_t)which[(size_t)i] * (size_t)k + (size_t)which[(size_t)j]];
    mat::InvsymOpts io;
    io.parallel = false;
    mat::InvsymOut out;
    if (mat::invsym(a.data(), m, m, io, &out) || out.missing) return lim.dot;
    double w = 0;
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < m; ++j)
            w += b[(size_t)which[(size_t)i]] * a[(size_t)i * m + j] * b[(size_t)which[(size_t)j]];
    *df = m - out.dropped;
    return w;
}

mat::StripeName fit_stripe(const char *eq, const char *name) {
    mat::StripeName s;
    std::snprintf(s.equation, sizeof s.equation, "%s", eq);
    std::snprintf(s.name, sizeof s.name, "%s", name);
    return s;
}

int fit_post(const FitData &d, mat::Matrix &b, mat::Matrix &V, double nclust,
             const std::vector<std::pair<const char *, double>> &scalars,
             const std::vector<std::pair<const char *, std::string>> &macros) {
    const char *bname = "__fit_b", *vname = "__fit_V";
    if (int r = mat::mat_assign(bname, ST_MATRIX, b)) return r;
    if (int r = mat::mat_assign(vname, ST_MATRIX, V)) return r;
    mat::PostExtras x;
    x.depname = data::ds.varname[(size_t)d.vars[0] - 1];
    x.obs = d.N;
    if (d.weighted) {
        x.wtype = data::sm.wname;
        x.wexp = "= " + std::string(data::wtexp.text_begin, data::wtexp.text_end);
    }
    x.has_props = true;
    x.properties = "b V";
    x.marks = &d.marks;
    // posting drops the old sample marker, which can renumber the variables: keep the names first
    const std::string oname = d.ovar ? data::ds.varname[(size_t)d.ovar - 1] : "";
    const std::string cname = d.cvar ? data::ds.varname[(size_t)d.cvar - 1] : "";
    if (int r = mat::post_estimates(bname, vname, x)) return r;
    for (const auto &[name, v] : scalars)
        if (int r = mat::e_set_scalar(name, v)) return r;
    for (const auto &[name, v] : macros)
        if (int r = mat::e_set_macro(name, v)) return r;
    if (d.ovar)
        if (int r = mat::e_set_macro("offset", oname.c_str())) return r;
    if (d.robust) {
        if (int r = mat::e_set_macro("vcetype", "Robust")) return r;
        if (d.cvar) {
            if (int r = mat::e_set_macro("clustvar", cname.c_str())) return r;
            if (int r = mat::e_set_scalar("N_clust", nclust)) return r;
        }
    }
    return 0;
}

double fit_escalar(const char *name) {
    double v = lim.dot;
    mat::result_lookup('e', name, &v, nullptr);
    return v;
}

std::string fit_emacro(const char *name) {
    std::string s;
    mat::result_lookup('e', name, nullptr, &s);
    return s;
}

int fit_header() {
    auto fmt = [](double v, const char *f) { return data::fmt_text(v, f); };
    const std::string title = fit_emacro("title"), crit = fit_emacro("crittype");
    auto right = [](const std::string &label, const std::string &value) {
        std::string l = label;
        l.resize(16, ' ');
        return "{txt}" + l + "= {res}" + value + "\n";
    };
    auto left = [](const std::string &s, size_t visible) {
        return s + std::string(visible < 50 ? 50 - visible : 1, ' ');
    };
    const double df = fit_escalar("df_m");
    char chi[32];
    std::snprintf(chi, sizeof chi, "%s chi2(%.0f)", fit_emacro("chi2type").c_str(), df);
    std::string s = "\n";
    s += left("{txt}" + title, title.size()) + right("Number of obs", fmt(fit_escalar("N"), "%10.0f"));
    s += left("", 0) + right(chi, fmt(fit_escalar("chi2"), "%10.2f"));
    s += left("", 0) + right("Prob > chi2", fmt(fit_escalar("p"), "%10.4f"));
    const std::string llword =
        crit == "log pseudolikelihood" ? "Log pseudolikelihood = " : "Log likelihood = ";
    const std::string llv = fmt(fit_escalar("ll"), "%10.0g");
    s += left("{txt}" + llword + "{res}" + llv, llword.size() + llv.size()) +
         right("Pseudo R2", fmt(fit_escalar("r2_p"), "%10.4f"));
    s += "\n";
    return out::out_rimu(s);
}

} // namespace est

// _regress: reads the model and the sample, runs the regression kernel, posts e() and shows the
// analysis-of-variance header and the coefficient table; without variables it replays.
#include "estimate/regcmd.h"

#include <cmath>
#include <cstring>
#include <deque>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/exprmath.h"
#include "data/fmt.h"
#include "data/tsindex.h"
#include "data/types.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "estimate/buildraw.h"
#include "estimate/reg2.h"
#include "estimate/reg2score.h"
#include "matrix/estpost.h"
#include "matrix/matstore.h"
#include "matrix/results.h"
#include "matrix/sweep.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/hexfloat.h"
#include "session/macstore.h"
#include "session/options.h"
#include "session/state.h"
#include "session/store.h"

namespace est {

using namespace session;

namespace {

struct RegOpts {
    bool beta = false, noheader = false, plus = false, hascons = false, mse1 = false, checkorder = false;
    bool tsscons = false, hc2 = false, hc3 = false, nocons = false, robust = false;
    std::string eform, rssmat, bmat, depname, properties = "\x01", level, cluster;
    double dof = -1;
};

std::vector<OptSpec> option_specs(RegOpts &o) {
    return {opt_flag("beta", 4, o.beta),
            opt_flag("noheader", 5, o.noheader),
            opt_flag("plus", 4, o.plus),
            opt_text("eform", 5, o.eform),
            opt_real("dof", 3, o.dof),
            opt_name("rssmat", 6, o.rssmat),
            opt_name("bmat", 4, o.bmat),
            opt_flag("hascons", 7, o.hascons),
            opt_flag("mse1", 4, o.mse1),
            opt_flag("checkorder", 10, o.checkorder),
            opt_flag("tsscons", 7, o.tsscons),
            opt_text("depname", 3, o.depname),
            opt_flag("hc2", 3, o.hc2),
            opt_flag("hc3", 3, o.hc3),
            opt_text("properties", 5, o.properties),
            opt_flag("noconstant", 3, o.nocons),
            opt_text("level", 1, o.level),
            opt_flag("robust", 1, o.robust),
            opt_text("cluster", 2, o.cluster)};
}

double escalar(const char *name) {
    double v = lim.dot;
    mat::result_lookup('e', name, &v, nullptr);
    return v;
}

std::string fmt(double v, const char *f) { return data::fmt_text(v, f); }

// The analysis-of-variance table beside the model's figures, from e().
// Under a robust variance the sums of squares no longer make the test: the header gives the model's
// figures beside the Wald F of the slopes.
int show_robust_header() {
    char fline[64];
    std::snprintf(fline, sizeof fline, "F(%3.0f,%6.0f) =", escalar("df_m"), escalar("df_r"));
    const double F = escalar("F");
    const std::string pad(55, ' ');
    std::string s = "{txt}Linear regression" + std::string(38, ' ') + "Number of obs ={res}" +
                    fmt(escalar("N"), "%8.0f") + "\n";
    // a missing F under a robust variance: the variance of the slopes is singular
    const std::string ftext =
        data::is_missing(F) && escalar("df_m") > 0 ? "       {help j_robustsingular:.}" : fmt(F, "%8.2f");
    s += "{txt}" + pad + fline + "{res}" + ftext + "\n";
    s += "{txt}" + pad + "Prob > F      ={res}" + fmt(data::is_missing(F) ? lim.dot : escalar("p"), "%8.4f") +
         "\n";
    s += "{txt}" + pad + "R-squared     ={res}" + fmt(escalar("r2"), "%8.4f") + "\n";
    s += "{txt}" + pad + "Root MSE      ={res}" + fmt(escalar("rmse"), " %7.0g") + "\n\n";
    return out::out_rimu(s);
}

int show_header() {
    std::string vcetype;
    if (mat::result_lookup('e', "vcetype", nullptr, &vcetype) == mat::RES_MACRO && !vcetype.empty())
        return show_robust_header();
    const double N = escalar("N"), df_m = escalar("df_m"), df_r = escalar("df_r"), mss = escalar("mss"),
                 rss = escalar("rss");
    const double df_t = df_m + df_r;
    auto ms = [](double ss, double df) { return df > 0 ? ss / df : lim.dot; };
    char fline[64];
    std::snprintf(fline, sizeof fline, "F(%3.0f,%6.0f) =", df_m, df_r);
    std::string s;
    s += "{txt}      Source {c |}       SS       df       MS              Number of obs ={res}" +
         fmt(N, "%8.0f") + "\n";
    s += "{txt}{hline 13}{c +}{hline 30}           " + std::string(fline) + "{res}" +
         fmt(escalar("F"), "%8.2f") + "\n";
    auto row = [&](const char *name, double ss, double df, const char *label, double v, const char *vf) {
        s += std::string("{txt}") + name + " {c |} {res}" + fmt(ss, "%11.0g") + " " + fmt(df, "%5.0f") + " " +
             fmt(ms(ss, df), "%11.0g") + "           {txt}" + label + "={res}" + fmt(v, vf) + "\n";
    };
    const double F = escalar("F");
    const double p = data::is_missing(F) ? lim.dot : escalar("p");
    row("       Model", mss, df_m, "Prob > F      ", p, "%8.4f");
    row("    Residual", rss, df_r, "R-squared     ", escalar("r2"), "%8.4f");
    s += "{txt}{hline 13}{c +}{hline 30}           Adj R-squared ={res}" + fmt(escalar("r2_a"), "%8.4f") +
         "\n";
    row("       Total", mss + rss, df_t, "Root MSE      ", escalar("rmse"), " %7.0g");
    s += "\n";
    return out::out_rimu(s);
}

int show(const RegOpts &o) {
    if (!o.noheader)
        if (int rc = show_header()) return rc;
    mat::CoefTableOpts t;
    t.level = o.level;
    t.eform = o.eform;
    t.plus = o.plus;
    mat::Matrix bm;
    std::vector<double> beta;
    if (o.beta && mat::mat_read("beta", ST_E_MATRIX, bm)) {
        beta = bm.v;
        t.beta = &beta;
    } else if (o.beta) {
        beta.clear();
        t.beta = &beta;
    }
    return mat::coef_table_with(t);
}

int replay(const RegOpts &o) {
    std::string cmd;
    if (mat::result_lookup('e', "cmd", nullptr, &cmd) != mat::RES_MACRO || cmd != "regress")
        return error(301);
    return show(o);
}

// A hidden variable of the command's own, dropped on every path.
struct HiddenVar {
    int v = 0;
    int make(const char *name, int type) {
        if (const int old = data::find_var(name)) drop(old);
        v = data::add_var_raw(name, type);
        if (v < 0) {
            const int rc = -v;
            v = 0;
            return error(rc);
        }
        return 0;
    }
    static void drop(int var) {
        std::vector<uint8_t> flags((size_t)data::ds.nvar, 0);
        flags[(size_t)var - 1] = 1;
        data::drop_vars(flags.data());
    }
    ~HiddenVar() {
        if (v) drop(data::find_var(name_of()));
    }
    std::string saved;
    const char *name_of() { return saved.c_str(); }
};

// One regressor of the model: a variable of the data, or a product built for a factor-variable term.
// A base column is named in e(b) but takes no part in the fit.
struct Column {
    int var = 0;
    bool base = false;
    std::string name;
    std::string tsop; // the operator's text at the head of name ("L.", "LD."), empty for none
};

std::string level_text(double x, bool base) { return data::number_text(x) + (base ? "b." : "."); }

// The columns of term t over the observations lo..hi: one per combination of its factors' levels, the
// first factor's levels varying slowest, each the product of the level indicators and the continuous
// variables. A combination holding a factor's base level is a base column and is not built.
int term_columns(int t, int32_t lo, int32_t hi, std::deque<HiddenVar> &hidden, std::vector<Column> &cols) {
    const data::FvState &fv = data::ps.fv;
    const data::FvTerm &tm = fv.terms[(size_t)t];
    std::vector<const data::FvVarInfo *> parts;
    std::vector<const data::FvFactorInfo *> factors;
    for (int k = tm.first; k < tm.first + tm.nvars; ++k) {
        parts.push_back(&fv.varinfo[(size_t)k]);
        if (fv.varinfo[(size_t)k].factor >= 0)
            factors.push_back(&fv.factors[(size_t)fv.varinfo[(size_t)k].factor]);
    }
    if (factors.empty() && parts.size() == 1) {
        cols.push_back({parts[0]->var, false, data::ds.varname[(size_t)parts[0]->var - 1], ""});
        return 0;
    }
    for (const data::FvFactorInfo *f : factors)
        if (f->nlevels == 0) return 0;
    std::vector<int> at(factors.size(), 0);
    for (;;) {
        Column c;
        size_t fi = 0;
        for (const data::FvVarInfo *vi : parts) {
            if (!c.name.empty()) c.name += "#";
            const char *vname = data::ds.varname[(size_t)vi->var - 1];
            if (vi->factor < 0) {
                c.name += std::string("c.") + vname;
                continue;
            }
            const data::FvFactorInfo *f = factors[fi];
            const bool base = at[fi] == f->baselevel;
            c.base = c.base || base;
            c.name += level_text(fv.levels[(size_t)(f->levoff + at[fi])], base) + vname;
            ++fi;
        }
        if (!c.base) {
            HiddenVar &h = hidden.emplace_back();
            h.saved = "(regf" + std::to_string(hidden.size()) + ")";
            if (int rc = h.make(h.saved.c_str(), data::T_DOUBLE)) return rc;
            c.var = h.v;
            for (int32_t i = lo; i <= hi; ++i) {
                if (poll_break()) return error(1);
                double x = 1;
                fi = 0;
                for (const data::FvVarInfo *vi : parts) {
                    const double v = data::get_num(vi->var, i);
                    if (data::is_missing(v)) {
                        x = lim.dot;
                        break;
                    }
                    if (vi->factor < 0) {
                        x *= v;
                        continue;
                    }
                    const data::FvFactorInfo *f = factors[fi];
                    if (v != fv.levels[(size_t)(f->levoff + at[fi])]) x = 0;
                    ++fi;
                }
                data::put_num(c.var, i, x);
            }
        }
        cols.push_back(c);
        // the next combination, the last factor varying fastest
        size_t k = factors.size();
        while (k > 0 && ++at[k - 1] == factors[k - 1]->nlevels)
            at[--k] = 0;
        if (k == 0) break;
    }
    return 0;
}

mat::StripeName stripe(const char *name) {
    mat::StripeName s;
    std::snprintf(s.name, sizeof s.name, "%s", name);
    return s;
}

// With clusters, an observation whose cluster is missing leaves the sample: the fit reads y from a
// hidden copy that is missing there (only when some cluster is missing in lo..hi).
int drop_missing_clusters(int cvar, int32_t lo, int32_t hi, std::deque<HiddenVar> &hidden, int &y) {
    const bool str = data::is_string_type(data::ds.vartype[(size_t)cvar - 1]);
    char buf[data::T_STRMAX + 1];
    auto missing = [&](int32_t i) {
        if (!str) return data::is_missing(data::get_num(cvar, i));
        data::get_str(cvar, i, buf);
        return buf[0] == 0;
    };
    int32_t first = lo;
    while (first <= hi && !missing(first))
        ++first;
    if (first > hi) return 0;
    HiddenVar &h = hidden.emplace_back();
    h.saved = "(regy)";
    if (int rc = h.make(h.saved.c_str(), data::T_DOUBLE)) return rc;
    for (int32_t i = lo; i <= hi; ++i) {
        if (poll_break()) return error(1);
        data::put_num(h.v, i, i >= first && missing(i) ? lim.dot : data::get_num(y, i));
    }
    y = h.v;
    return 0;
}

// What the robust variance of a fit needs beside the fit.
struct RobustAsk {
    const std::vector<int> &vars; // the dependent variable, then the fitted columns
    const RegSpec &s;
    const std::vector<uint8_t> &marks;
    int32_t lo, hi;
    bool safe;
    int cvar;
    int form;
};

// The robust variance in place of f.V, over the columns kept by the fit (a dropped column keeps its
// zeros); with clusters df_r becomes the clusters less one; F, p's figures and df_m from the Wald
// test that the slopes are 0 under the new variance, F missing when their variance is singular.
// The columns the fit kept (the slopes, then the constant's position) and what the residual kernels
// need to read the fit back from the data.
RegScoreSpec score_spec(const RobustAsk &a, const RegFit &f, std::vector<int> &kept, int *nslopes) {
    const int nc = f.ncoef;
    kept.clear();
    for (int j = 0; j < f.p; ++j)
        if (!f.dropped[(size_t)j]) kept.push_back(j);
    *nslopes = (int)kept.size();
    if (a.s.cons) kept.push_back(f.p);
    const int kk = (int)kept.size();
    RegScoreSpec rs;
    rs.y = a.vars[0];
    for (int q = 0; q < *nslopes; ++q)
        rs.x.push_back(a.vars[(size_t)kept[(size_t)q] + 1]);
    for (int j : kept)
        rs.b.push_back(f.b[(size_t)j]);
    rs.cons = a.s.cons;
    rs.D.resize((size_t)kk * (size_t)kk);
    for (int q = 0; q < kk; ++q)
        for (int r = 0; r < kk; ++r)
            rs.D[(size_t)q * (size_t)kk + (size_t)r] =
                f.inv[(size_t)kept[(size_t)q] * (size_t)nc + (size_t)kept[(size_t)r]];
    rs.marks = a.marks.data();
    rs.lo = a.lo;
    rs.hi = a.hi;
    rs.weightType = a.s.raw.weightType;
    rs.safe = a.safe;
    rs.clusterVar = a.cvar;
    rs.form = a.form;
    rs.params = kk;
    return rs;
}

// The residual sum of squares taken from the cross-products loses about as many digits as the
// model explains: when it falls below this share of the total, it is summed again from the
// residuals themselves, and the figures that follow from it are made anew.
constexpr double RSS_RESUM = 1e-4;

int resum_rss(const RobustAsk &a, RegFit &f) {
    if (!(f.rss > 0 && f.rss < RSS_RESUM * f.tss)) return 0;
    std::vector<int> kept;
    int nslopes = 0;
    const RegScoreSpec rs = score_spec(a, f, kept, &nslopes);
    double ess = 0;
    if (int rc = reg2ess_smp(rs, &ess)) return rc;
    f.rss = ess;
    reg2_stats(a.s, &f);
    return 0;
}

int robust_fit(const RobustAsk &a, RegFit &f, int64_t *lev1, double *nclust) {
    const int nc = f.ncoef;
    std::vector<int> kept;
    int nslopes = 0;
    const RegScoreSpec rs = score_spec(a, f, kept, &nslopes);
    const int kk = (int)kept.size();
    RegScoreOut ro;
    if (int rc = reg2_robust(rs, &ro)) return rc;
    std::fill(f.V.begin(), f.V.end(), 0.0);
    for (int q = 0; q < kk; ++q)
        for (int r = 0; r < kk; ++r)
            f.V[(size_t)kept[(size_t)q] * (size_t)nc + (size_t)kept[(size_t)r]] =
                ro.V[(size_t)q * (size_t)kk + (size_t)r];
    *lev1 = ro.lev1;
    *nclust = ro.nclust;
    if (a.cvar) f.df_r = ro.nclust - 1;

    // W = b' inv(V) b over the slopes, F = W / q on q and df_r degrees of freedom
    f.F = lim.dot;
    if (nslopes == 0) return 0;
    std::vector<double> vs((size_t)nslopes * (size_t)nslopes);
    for (int q = 0; q < nslopes; ++q)
        for (int r = 0; r < nslopes; ++r)
            vs[(size_t)q * (size_t)nslopes + (size_t)r] = ro.V[(size_t)q * (size_t)kk + (size_t)r];
    mat::InvsymOpts opts;
    mat::InvsymOut io;
    if (int rc = mat::invsym(vs.data(), nslopes, nslopes, opts, &io)) return rc;
    if (io.missing || io.dropped > 0 || f.df_r <= 0) return 0;
    double W = 0;
    for (int q = 0; q < nslopes; ++q)
        for (int r = 0; r < nslopes; ++r)
            W += f.b[(size_t)kept[(size_t)q]] * vs[(size_t)q * (size_t)nslopes + (size_t)r] *
                 f.b[(size_t)kept[(size_t)r]];
    f.df_m = nslopes;
    f.F = W / nslopes;
    return 0;
}

// The results that tell the variance is robust; what an earlier fit left of clusters goes.
int post_robust(const RegOpts &o, const std::string &cname, double nclust) {
    const char *vcetype = o.hc2 ? "Robust HC2" : o.hc3 ? "Robust HC3" : "Robust";
    if (int rc = mat::e_set_macro("vce", cname.empty() ? "robust" : "cluster")) return rc;
    if (int rc = mat::e_set_macro("vcetype", vcetype)) return rc;
    if (int rc = macro_set("S_E_vce", vcetype)) return rc;
    macro_drop("S_E_cvn");
    macro_drop("S_E_cn");
    if (cname.empty()) return 0;
    if (int rc = mat::e_set_macro("clustvar", cname)) return rc;
    if (int rc = mat::e_set_scalar("N_clust", nclust)) return rc;
    if (int rc = macro_set("S_E_cvn", cname)) return rc;
    return macro_set("S_E_cn", data::number_text(nclust));
}

} // namespace

int cmd__regress(int) {
    data::ParseSpec spec;
    spec.varlist = data::PO_OPTIONAL;
    spec.weight = data::PO_OPTIONAL;
    spec.wmask = data::WT_A | data::WT_F | data::WT_I | data::WT_P;
    spec.vlflags = data::VL_FV | data::VL_TS;
    if (int rc = data::std_parse(spec)) return rc;
    RegOpts o;
    const std::vector<OptSpec> specs = option_specs(o);
    if (int rc = data::std_options(specs)) return rc;
    if (!o.level.empty()) {
        double lv = 0;
        if (!data::text_to_number(o.level, lv, false) || lv < 10 || lv > 99.99)
            return fail(198, "level() must be between 10 and 99.99 inclusive\n");
    }
    if (o.beta && !o.cluster.empty()) return fail(198, "beta may not be combined with cluster()\n");
    if (data::ps.count == 0) {
        if (data::sm.ifpresent || data::ps.inrange || data::sm.wtype != data::WT_NONE) return error(198);
        return replay(o);
    }
    if (o.hc2 && o.hc3) return fail(198, "options hc2 and hc3 may not be combined\n");
    if ((o.hc2 || o.hc3) && !o.cluster.empty())
        return fail(198, "hc2 and hc3 may not be combined with cluster()\n");
    const bool robust = o.robust || o.hc2 || o.hc3 || !o.cluster.empty();
    if (robust && data::sm.wtype == data::WT_I) return error(5101);
    int cvar = 0;
    std::string cname; // kept by name: posting renumbers the variables after e(sample)'s
    if (!o.cluster.empty()) {
        cvar = data::varlookup(o.cluster, true, data::varabbrev);
        if (cvar < 0) return -cvar;
        cname = data::ds.varname[(size_t)cvar - 1];
    }
    if (o.hascons) o.nocons = true;

    // the dependent variable, then the regressors: a factor-variable term gives its columns
    const int32_t lo = data::sample_lo(), hi = data::sample_hi();
    std::vector<int> vars;
    std::vector<Column> cols;
    std::deque<HiddenVar> hidden;
    for (int32_t j = 0; j < data::ps.count; ++j) {
        const int v = data::ps.var[(size_t)j];
        const data::ListInfo &li = data::ps.info[(size_t)j];
        if (li.fvterm && j == 0) return fail(101, "factor variables and time-series operators not allowed\n");
        if (data::is_string_type(data::ds.vartype[(size_t)v - 1])) return error(109);
        if (li.op) {
            // an operated variable is a hidden column of its values, named by the operator's text
            const std::string op = data::tsop_text(li.op), name = op + data::ds.varname[(size_t)v - 1];
            const data::TsIndex *ix = nullptr;
            if (int rc = data::ts_index_now(&ix)) return rc;
            HiddenVar &h = hidden.emplace_back();
            h.saved = "(regt" + std::to_string(hidden.size()) + ")";
            if (int rc = h.make(h.saved.c_str(), data::T_DOUBLE)) return rc;
            for (int32_t i = lo; i <= hi; ++i)
                data::put_num(h.v, i, data::ts_value(v, *li.op, i));
            if (j > 0) {
                cols.push_back({h.v, false, name, op});
            } else {
                vars.push_back(h.v);
                if (o.depname.empty()) o.depname = name;
            }
        } else if (li.fvterm) {
            if (int rc = term_columns(li.fvterm - 1, lo, hi, hidden, cols)) return rc;
        } else if (j > 0) {
            cols.push_back({v, false, data::ds.varname[(size_t)v - 1], ""});
        } else {
            vars.push_back(v);
        }
        if ((int)cols.size() > st.matsize - 2) return error(908);
    }
    for (const Column &c : cols)
        if (!c.base) vars.push_back(c.var);
    if ((int)vars.size() > st.matsize - 2) return error(908);
    const int yvar = vars[0];
    if (cvar)
        if (int rc = drop_missing_clusters(cvar, lo, hi, hidden, vars[0])) return rc;

    // the sample: the range, the if, a usable weight, and no missing value in the model's variables
    const bool weighted = data::sm.wtype != data::WT_NONE;
    if (data::sm.ifpresent) data::sample_ranges(data::ifexp);
    if (weighted) data::sample_ranges(data::wtexp);
    // the marks of e(sample), made by the pass that sums the cross-products
    std::vector<uint8_t> marks((size_t)data::ds.nobs, 0);
    RegSpec s;
    s.raw.vars = vars;
    s.raw.weightType = !weighted                      ? RW_NONE
                       : data::sm.wtype == data::WT_A ? RW_A
                       : data::sm.wtype == data::WT_F ? RW_F
                       : data::sm.wtype == data::WT_I ? RW_I
                                                      : RW_P;
    s.cons = !o.nocons;
    s.hascons = o.hascons;
    s.tsscons = o.tsscons;
    s.mse1 = o.mse1;
    s.dof = o.dof;
    const bool safe =
        (!data::sm.ifpresent || data::ifexp.expressionSafe) && (!weighted || data::wtexp.expressionSafe);
    const int ld = s.raw.k() + 1;
    std::vector<double> xx;
    try {
        xx.assign((size_t)ld * (size_t)ld, 0.0);
    } catch (const std::bad_alloc &) {
        return error(909);
    }
    RegFit f;
    if (int rc = brwrk_line(s.raw, lo, hi, safe, reg2_dev(s), xx.data(), ld, marks.data(), &f.cnt)) return rc;
    if (s.raw.weightType == RW_A) {
        out::ClassScope cs(out::CLS_TEXT);
        out::out_text(sumwgt_note(f.cnt.sumw) + "\n");
    }
    if (int rc = reg2_fit(s, xx, &f)) return rc;
    int64_t lev1 = 0;
    double nclust = 0;
    const RobustAsk ask{vars, s,    marks, lo,
                        hi,   safe, cvar,  o.hc2 ? SCORE_HC2 : o.hc3 ? SCORE_HC3 : SCORE_PLAIN};
    if (int rc = resum_rss(ask, f)) return rc;
    if (robust)
        if (int rc = robust_fit(ask, f, &lev1, &nclust)) return rc;

    // e(b), e(V): the regressors, then _cons; a base column stands with coefficient and variance 0
    std::vector<int> fitpos;
    for (size_t j = 0, k = 0; j < cols.size(); ++j)
        fitpos.push_back(cols[j].base ? -1 : (int)k++);
    if (s.cons) fitpos.push_back(f.ncoef - 1);
    const int ncol = (int)fitpos.size();
    mat::Matrix b, V;
    b.resize(1, ncol);
    V.resize(ncol, ncol);
    for (int j = 0; j < ncol; ++j) {
        const int fj = fitpos[(size_t)j];
        b.at(0, j) = fj < 0 ? 0 : f.b[(size_t)fj];
        for (int i = 0; i < ncol; ++i) {
            const int fi = fitpos[(size_t)i];
            V.at(i, j) = fi < 0 || fj < 0 ? 0 : f.V[(size_t)fi * (size_t)f.ncoef + (size_t)fj];
        }
    }
    for (const Column &c : cols) {
        mat::StripeName sn = stripe(c.name.c_str() + c.tsop.size());
        std::snprintf(sn.tsop, sizeof sn.tsop, "%s", c.tsop.c_str());
        b.cn.push_back(sn);
    }
    if (s.cons) b.cn.push_back(stripe("_cons"));
    b.rn.push_back(stripe("y1"));
    V.rn = V.cn = b.cn;
    V.sym = true;
    const char *bname = "__reg2_b", *vname = "__reg2_V";
    if (int r = mat::mat_assign(bname, ST_MATRIX, b)) return r;
    if (int r = mat::mat_assign(vname, ST_MATRIX, V)) return r;
    mat::PostExtras x;
    x.depname = o.depname.empty() ? data::ds.varname[(size_t)yvar - 1] : o.depname;
    x.obs = f.N;
    x.dof = f.df_r;
    if (weighted) {
        x.wtype = data::sm.wname;
        x.wexp = "= " + std::string(data::wtexp.text_begin, data::wtexp.text_end);
    }
    if (o.properties != "\x01") {
        x.has_props = true;
        x.properties = o.properties;
    }
    x.marks = &marks;
    if (int r = mat::post_estimates(bname, vname, x)) return r;
    const double p = data::is_missing(f.F) ? lim.dot : data::xm::Ftail(f.df_m, f.df_r, f.F);
    const std::pair<const char *, double> sc[] = {
        {"N", f.N},     {"df_m", f.df_m}, {"df_r", f.df_r}, {"F", f.F},   {"r2", f.r2},     {"rmse", f.rmse},
        {"mss", f.mss}, {"rss", f.rss},   {"r2_a", f.r2_a}, {"ll", f.ll}, {"ll_0", f.ll_0}, {"p", p}};
    for (const auto &[name, v] : sc)
        if (int r = mat::e_set_scalar(name, v)) return r;
    const std::pair<const char *, const char *> mc[] = {{"model", "ols"},
                                                        {"predict", "regres_p"},
                                                        {"estat_cmd", "regress_estat"},
                                                        {"title", "Linear regression"},
                                                        {"cmd", "regress"}};
    for (const auto &[name, v] : mc)
        if (int r = mat::e_set_macro(name, v)) return r;
    if (robust)
        if (int r = post_robust(o, cname, nclust)) return r;
    if (o.beta) {
        mat::Matrix bm;
        bm.resize(1, ncol);
        for (int j = 0; j < ncol; ++j)
            bm.at(0, j) = fitpos[(size_t)j] < 0 ? lim.dot : f.beta[(size_t)fitpos[(size_t)j]];
        bm.cn = b.cn;
        bm.rn = b.rn;
        if (int r = mat::mat_save("beta", ST_E_MATRIX, bm)) return r;
    }
    if (!o.bmat.empty())
        if (int r = mat::mat_assign(o.bmat.c_str(), ST_MATRIX, b)) return r;
    if (!o.rssmat.empty()) {
        mat::Matrix r1;
        r1.resize(1, 1);
        r1.at(0, 0) = f.rss;
        if (int r = mat::mat_assign(o.rssmat.c_str(), ST_MATRIX, r1)) return r;
    }
    if (lev1) {
        out::ClassScope cs(out::CLS_TEXT);
        const std::string form = o.hc2 ? "HC2" : "HC3";
        const std::string note = lev1 == 1
                                     ? "note: 1 observation has leverage 1 and is fitted exactly; its " +
                                           form + " score is missing and it does not enter the variance\n"
                                     : "note: " + std::to_string(lev1) +
                                           " observations have leverage 1 and are fitted exactly; their " +
                                           form + " scores are missing and they do not enter the variance\n";
        if (int r = out::out_text(note)) return r;
    }
    return show(o);
}

} // namespace est

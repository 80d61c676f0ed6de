// _logit and _probit: read the model and the sample, gather the columns once, fit by the Newton
// optimiser over the likelihood kernels, make the variance robust when asked, post e() and show
// the header and the coefficient table; without variables they replay.
#include "estimate/logit.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "data/dataset.h"
#include "data/exprmath.h"
#include "data/fmt.h"
#include "data/types.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "estimate/optimize.h"
#include "estimate/robust.h"
#include "estimate/xprod.h"
#include "matrix/estpost.h"
#include "matrix/matstore.h"
#include "matrix/results.h"
#include "matrix/sweep.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/hexfloat.h"
#include "session/options.h"
#include "session/state.h"
#include "session/store.h"

namespace est {

using namespace session;

namespace {

struct BinOpts {
    bool nocons = false, eform = false, robust = false, nolog = false, log = false, asis = false;
    bool noheader = false;
    bool logistic = false; // the fit of the command logistic: e(cmd) says so
    std::string level, cluster, offset, vce;
    int iterate = 16000;
    double ltol = 1e-7, tol = 1e-6, nrtol = 1e-5;
};

std::vector<OptSpec> option_specs(BinOpts &o) {
    return {opt_flag("noconstant", 3, o.nocons),
            opt_flag("or", 2, o.eform),
            opt_text("level", 1, o.level),
            opt_flag("robust", 1, o.robust),
            opt_name("cluster", 2, o.cluster),
            opt_name("offset", 3, o.offset),
            opt_int("iterate", 4, o.iterate, 0, 16000),
            opt_flag("nolog", 5, o.nolog),
            opt_flag("log", 3, o.log),
            opt_flag("asis", 4, o.asis),
            opt_real("ltolerance", 4, o.ltol),
            opt_real("tolerance", 3, o.tol),
            opt_real("nrtolerance", 5, o.nrtol),
            opt_flag("noheader", 5, o.noheader),
            opt_text("vce", 3, o.vce),
            opt_flag("logistic", 8, o.logistic)};
}

// vce(oim | robust | cluster var): into the robust and cluster options.
int read_vce(BinOpts &o) {
    if (o.vce.empty()) return 0;
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
    return 0;
}

double escalar(const char *name) {
    double v = lim.dot;
    mat::result_lookup('e', name, &v, nullptr);
    return v;
}

std::string emacro(const char *name) {
    std::string s;
    mat::result_lookup('e', name, nullptr, &s);
    return s;
}

std::string fmt(double v, const char *f) { return data::fmt_text(v, f); }

// The header from e(): the title and the log likelihood on the left, the counts and the test of the
// slopes on the right.
int show_header() {
    const std::string title = emacro("title"), crit = emacro("crittype");
    auto right = [](const std::string &label, const std::string &value) {
        std::string l = label;
        l.resize(16, ' ');
        return "{txt}" + l + "= {res}" + value + "\n";
    };
    auto left = [](const std::string &s, size_t visible) {
        return s + std::string(visible < 50 ? 50 - visible : 1, ' ');
    };
    const double df = escalar("df_m");
    char chi[32];
    std::snprintf(chi, sizeof chi, "%s chi2(%.0f)", emacro("chi2type").c_str(), df);
    std::string s = "\n";
    s += left("{txt}" + title, title.size()) + right("Number of obs", fmt(escalar("N"), "%10.0f"));
    s += left("", 0) + right(chi, fmt(escalar("chi2"), "%10.2f"));
    s += left("", 0) + right("Prob > chi2", fmt(escalar("p"), "%10.4f"));
    const std::string llword =
        crit == "log pseudolikelihood" ? "Log pseudolikelihood = " : "Log likelihood = ";
    const std::string llv = fmt(escalar("ll"), "%10.0g");
    s += left("{txt}" + llword + "{res}" + llv, llword.size() + llv.size()) +
         right("Pseudo R2", fmt(escalar("r2_p"), "%10.4f"));
    s += "\n";
    return out::out_rimu(s);
}

int show(const BinOpts &o, bool probit) {
    if (!o.noheader)
        if (int rc = show_header()) return rc;
    mat::CoefTableOpts t;
    t.level = o.level;
    if (o.eform && !probit) t.eform = "Odds Ratio";
    if (int rc = mat::coef_table_with(t)) return rc;
    const double ncd = escalar("N_cd");
    if (ncd > 0 && !data::is_missing(ncd)) {
        out::ClassScope cs(out::CLS_TEXT);
        return out::out_rimu("{txt}Note: " + data::number_text(ncd) + " observation" + (ncd != 1 ? "s" : "") +
                             " completely determined.  Standard errors questionable.\n");
    }
    return 0;
}

int replay(const BinOpts &o, bool probit) {
    const std::string cmd = emacro("cmd");
    if (probit ? cmd != "probit" : cmd != (o.logistic ? "logistic" : "logit")) return error(301);
    return show(o, probit);
}

mat::StripeName stripe(const char *name) {
    mat::StripeName s;
    std::snprintf(s.name, sizeof s.name, "%s", name);
    return s;
}

// The Wald statistic of the slopes under V: b' inv(V) b over the regressors kept, and its rank.
double wald_slopes(const std::vector<double> &b, const std::vector<double> &V, const std::vector<int> &slopes,
                   int k, double *df) {
    const int m = (int)slopes.size();
    *df = 0;
    if (m == 0) return lim.dot;
    std::vector<double> a((size_t)m * (size_t)m);
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < m; ++j)
            a[(size_t)i * m + j] = V[(size_t)slopes[(size_t)i] * (size_t)k + (size_t)slopes[(size_t)j]];
    mat::InvsymOpts io;
    io.parallel = false;
    mat::InvsymOut out;
    if (mat::invsym(a.data(), m, m, io, &out) || out.missing) return lim.dot;
    double w = 0;
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < m; ++j)
            w += b[(size_t)slopes[(size_t)i]] * a[(size_t)i * m + j] * b[(size_t)slopes[(size_t)j]];
    *df = m - out.dropped;
    return w;
}

int run(bool probit) {
    data::ParseSpec spec;
    spec.varlist = data::PO_OPTIONAL;
    spec.weight = data::PO_OPTIONAL;
    spec.wmask = data::WT_A | data::WT_F | data::WT_I | data::WT_P;
    if (int rc = data::std_parse(spec)) return rc;
    BinOpts o;
    const std::vector<OptSpec> specs = option_specs(o);
    if (int rc = data::std_options(specs)) return rc;
    if (int rc = read_vce(o)) return rc;
    if (!o.level.empty()) {
        double lv = 0;
        if (!data::text_to_number(o.level, lv, false) || lv < 10 || lv > 99.99)
            return fail(198, "level() must be between 10 and 99.99 inclusive\n");
    }
    if (data::ps.count == 0) {
        if (data::sm.ifpresent || data::ps.inrange || data::sm.wtype != data::WT_NONE) return error(198);
        return replay(o, probit);
    }

    // the outcome, the regressors and the offset: numeric, plain variables
    std::vector<int> vars;
    for (int32_t j = 0; j < data::ps.count; ++j) {
        const int v = data::ps.var[(size_t)j];
        if (data::ps.info[(size_t)j].op || data::ps.info[(size_t)j].fvterm)
            return fail(101, "factor variables and time-series operators not allowed\n");
        if (data::is_string_type(data::ds.vartype[(size_t)v - 1])) return error(109);
        vars.push_back(v);
    }
    const int nx_all = (int)vars.size() - 1;
    if (nx_all + 1 > st.matsize) return error(908);
    int ovar = 0, cvar = 0;
    if (!o.offset.empty()) {
        ovar = data::varlookup(o.offset, true, data::varabbrev);
        if (ovar < 0) return -ovar;
        if (data::is_string_type(data::ds.vartype[(size_t)ovar - 1])) return error(109);
    }
    if (!o.cluster.empty()) {
        cvar = data::varlookup(o.cluster, true, data::varabbrev);
        if (cvar < 0) return -cvar;
    }
    const bool weighted = data::sm.wtype != data::WT_NONE;
    const bool pw = data::sm.wtype == data::WT_P;
    const bool robust = o.robust || cvar || pw;

    // the sample: the range, the if, a usable weight and no missing value among the model's variables
    const int32_t lo = data::sample_lo(), hi = data::sample_hi();
    if (data::sm.ifpresent) data::sample_ranges(data::ifexp);
    if (weighted) data::sample_ranges(data::wtexp);
    std::vector<int> passvars = vars;
    if (ovar) passvars.push_back(ovar);
    std::vector<uint8_t> marks((size_t)data::ds.nobs, 0);
    // the same pass sums the weighted cross-products of the regressors and the constant, by which
    // collinear regressors are found
    xprod::Sums sums;
    {
        xprod::Pass p;
        p.var = &passvars;
        p.cons = true;
        p.weighted = weighted;
        p.check = true;
        p.integer = data::sm.wtype == data::WT_F;
        p.marks = marks.data();
        p.lo = lo;
        p.hi = hi;
        const bool safe =
            (!data::sm.ifpresent || data::ifexp.expressionSafe) && (!weighted || data::wtexp.expressionSafe);
        int32_t bad = 0;
        if (int rc = xprod::run(p, safe, sums, &bad)) return rc == 401 || rc == 402 ? error(rc) : rc;
    }

    // the columns of the rows kept, in the data's order, with the cluster keys
    BinModel m;
    m.probit = probit;
    m.cons = !o.nocons;
    std::vector<double> ckey_num;
    std::vector<std::string> ckey_str;
    const bool cstr = cvar && data::is_string_type(data::ds.vartype[(size_t)cvar - 1]);
    try {
        int64_t n = 0;
        for (int32_t i = lo; i <= hi; ++i)
            n += marks[(size_t)i - 1];
        m.x.assign((size_t)nx_all, std::vector<double>());
        for (auto &c : m.x)
            c.reserve((size_t)n);
        m.y.reserve((size_t)n);
        if (weighted) m.w.reserve((size_t)n);
        if (ovar) m.offset.reserve((size_t)n);
        char buf[data::T_STRMAX + 1];
        for (int32_t i = lo; i <= hi; ++i) {
            if (!marks[(size_t)i - 1]) continue;
            if (poll_break()) return error(1);
            if (cvar) {
                if (cstr) {
                    data::get_str(cvar, i, buf);
                    if (!buf[0]) {
                        marks[(size_t)i - 1] = 0;
                        continue;
                    }
                    ckey_str.emplace_back(buf);
                } else {
                    const double g = data::get_num(cvar, i);
                    if (data::is_missing(g)) {
                        marks[(size_t)i - 1] = 0;
                        continue;
                    }
                    ckey_num.push_back(g);
                }
            }
            m.y.push_back(data::get_num(vars[0], i) != 0 ? 1 : 0);
            for (int j = 0; j < nx_all; ++j)
                m.x[(size_t)j].push_back(data::get_num(vars[(size_t)j + 1], i));
            if (weighted) m.w.push_back(data::expr_xeqforby(data::wtexp, i));
            if (ovar) m.offset.push_back(data::get_num(ovar, i));
        }
        m.rows = (int64_t)m.y.size();
    } catch (const std::bad_alloc &) {
        return error(909);
    }
    if (m.rows == 0) return error(2000);
    double sumw = 0, sumwy = 0;
    for (int64_t r = 0; r < m.rows; ++r) {
        const double w = weighted ? m.w[(size_t)r] : 1;
        sumw += w;
        sumwy += w * m.y[(size_t)r];
    }
    if (sumwy == 0 || sumwy == sumw)
        return fail(2000, "outcome does not vary; remember:\n"
                          "                                  0 = negative outcome,\n"
                          "        all other nonmissing values = positive outcome\n");
    // analytic weights sum to the count of rows
    if (data::sm.wtype == data::WT_A) {
        const double f = (double)m.rows / sumw;
        for (double &w : m.w)
            w *= f;
        sumwy *= f;
        sumw = (double)m.rows;
    }
    const double N = data::sm.wtype == data::WT_F ? sumw : (double)m.rows;

    // collinear regressors leave the fit: the weighted cross-products swept, the constant first
    std::vector<int> kept; // indexes into the regressors of the line
    {
        // the pass's columns: the outcome, the regressors, the offset if any, the constant
        const int kk = nx_all + (m.cons ? 1 : 0), kp = (int)passvars.size() + 1;
        auto col = [&](int j) { return j == nx_all ? kp - 1 : j + 1; };
        std::vector<double> xx((size_t)kk * (size_t)kk, 0.0);
        for (int a = 0; a < kk; ++a)
            for (int c = 0; c <= a; ++c) {
                const int ra = std::max(col(a), col(c)), rc = std::min(col(a), col(c));
                xx[(size_t)a * kk + c] = xx[(size_t)c * kk + a] = sums.acc[(size_t)ra * kp + rc];
            }
        mat::InvsymOpts io;
        const int first[] = {nx_all};
        if (m.cons) io.forced = first;
        mat::InvsymOut out;
        if (int rc = mat::invsym(xx.data(), kk, kk, io, &out)) return rc;
        std::vector<std::vector<double>> cols;
        for (int j = 0; j < nx_all; ++j) {
            if (!out.missing && out.state[(size_t)j] == mat::COL_DROPPED) {
                out::ClassScope cs(out::CLS_TEXT);
                if (int rc = out::out_rimu(std::string("{txt}note: ") +
                                           data::ds.varname[(size_t)vars[(size_t)j + 1] - 1] +
                                           " dropped because of collinearity\n"))
                    return rc;
                continue;
            }
            kept.push_back(j);
            cols.push_back(std::move(m.x[(size_t)j]));
        }
        m.x.swap(cols);
    }
    const int k = m.k(), nx = (int)m.x.size();

    // the evaluator: the objective is the negative log likelihood
    BinSums last;
    auto lf = [&](const BinModel &mm, const std::vector<double> &b, bool derivs, BinSums &s) {
        return probit ? problf_smp(mm, b, derivs, s) : loglf_smp(mm, b, derivs, s);
    };
    auto evaluator_of = [&](const BinModel &mm) {
        return [&lf, &last, &mm](const std::vector<double> &b, int want, double *f, std::vector<double> &g,
                                 std::vector<double> &H) {
            BinSums s;
            if (int rc = lf(mm, b, want == EVAL_DERIVS, s)) return rc;
            *f = data::is_missing(s.ll) ? lim.dot : -s.ll;
            if (want == EVAL_DERIVS) {
                g.resize(s.g.size());
                for (size_t j = 0; j < s.g.size(); ++j)
                    g[j] = -s.g[j];
                H = s.H;
                last = s;
            }
            return 0;
        };
    };
    const std::string word = pw ? "log pseudolikelihood" : "log likelihood";
    const bool showlog = !o.nolog;
    auto setup = [&](Optimizer &op) {
        op.maxIterations = o.iterate;
        op.logTolerance = o.ltol;
        op.coefTolerance = o.tol;
        op.gradientTolerance = o.nrtol;
        op.word = word;
    };

    // the start: the constant that fits the share of positive outcomes, the slopes 0; with an
    // offset, the constant-only model is fitted first (quietly) for that and for ll_0
    const double pbar = sumwy / sumw;
    const double c0 = probit ? data::xm::invnormal(pbar) : std::log(pbar / (1 - pbar));
    std::vector<double> b((size_t)k, 0.0);
    double ll_0;
    if (m.cons && ovar) {
        BinModel m0;
        m0.rows = m.rows;
        m0.cons = true;
        m0.probit = probit;
        m0.y = m.y;
        m0.w = m.w;
        m0.offset = m.offset;
        Optimizer op;
        setup(op);
        op.showLog = false;
        op.evaluator = evaluator_of(m0);
        std::vector<double> b0{c0};
        if (int rc = optimize(op, b0)) return rc;
        ll_0 = -op.objective;
        b[(size_t)nx] = b0[0];
    } else {
        if (m.cons) b[(size_t)nx] = c0;
        BinSums s;
        if (int rc = lf(m, b, false, s)) return rc;
        ll_0 = s.ll;
    }
    Optimizer op;
    setup(op);
    op.showLog = showlog;
    op.evaluator = evaluator_of(m);
    if (int rc = optimize(op, b)) return rc;
    const double ll = -op.objective;
    std::vector<double> V = op.V;

    // the sandwich: the scores times x, by row or by cluster
    double nclust = 0;
    if (robust) {
        std::vector<double> score;
        if (int rc = plscore_smp(m, b, score)) return rc;
        RobustInput in;
        in.rows = m.rows;
        for (int j = 0; j < k; ++j)
            in.x.push_back(j < nx ? m.x[(size_t)j].data() : nullptr);
        in.eq.assign((size_t)k, 0);
        in.score.push_back(score.data());
        if (weighted) {
            in.w = m.w.data();
            in.wtype = data::sm.wtype == data::WT_F   ? RW_F
                       : data::sm.wtype == data::WT_A ? RW_A
                       : data::sm.wtype == data::WT_P ? RW_P
                                                      : RW_I;
        }
        std::vector<int32_t> order;
        if (cvar) {
            order.resize((size_t)m.rows);
            for (int32_t r = 0; r < (int32_t)m.rows; ++r)
                order[(size_t)r] = r;
            auto differ = [&](int32_t a, int32_t c) {
                return cstr ? ckey_str[(size_t)a] != ckey_str[(size_t)c]
                            : ckey_num[(size_t)a] != ckey_num[(size_t)c];
            };
            std::stable_sort(order.begin(), order.end(), [&](int32_t a, int32_t c) {
                return cstr ? ckey_str[(size_t)a] < ckey_str[(size_t)c]
                            : ckey_num[(size_t)a] < ckey_num[(size_t)c];
            });
            for (int64_t pos = 0; pos < m.rows; ++pos)
                if (pos == 0 || differ(order[(size_t)pos - 1], order[(size_t)pos]))
                    in.cluster_start.push_back(pos);
            in.cluster_start.push_back(m.rows);
            in.order = order.data();
        }
        RobustSpec rs;
        rs.k = k;
        rs.addConstant = m.cons;
        rs.clusterVar = cvar;
        rs.weightVar = 0;
        rs.minusFactor = 1; // N/(N-1) by row; by cluster G/(G-1), the rows' factor being 1
        std::vector<double> Vr;
        if (int rc = robust_variance(rs, in, V, Vr)) return rc;
        V.swap(Vr);
        nclust = rs.N;
    }

    // e(b) and e(V): every regressor of the line, a dropped one with 0, then _cons
    std::vector<int> pos((size_t)nx_all, -1);
    for (size_t j = 0; j < kept.size(); ++j)
        pos[(size_t)kept[j]] = (int)j;
    std::vector<int> fitpos = pos;
    if (m.cons) fitpos.push_back(nx);
    const int ncol = (int)fitpos.size();
    mat::Matrix bm, Vm;
    bm.resize(1, ncol);
    Vm.resize(ncol, ncol);
    for (int j = 0; j < ncol; ++j) {
        const int fj = fitpos[(size_t)j];
        bm.at(0, j) = fj < 0 ? 0 : b[(size_t)fj];
        for (int i = 0; i < ncol; ++i) {
            const int fi = fitpos[(size_t)i];
            Vm.at(i, j) = fi < 0 || fj < 0 ? 0 : V[(size_t)fi * (size_t)k + (size_t)fj];
        }
    }
    for (int j = 0; j < nx_all; ++j)
        bm.cn.push_back(stripe(data::ds.varname[(size_t)vars[(size_t)j + 1] - 1]));
    if (m.cons) bm.cn.push_back(stripe("_cons"));
    bm.rn.push_back(stripe("y1"));
    Vm.rn = Vm.cn = bm.cn;
    Vm.sym = true;

    // the test of the slopes: the likelihood ratio, or Wald's under a robust variance
    std::vector<int> slopes;
    for (int j = 0; j < nx; ++j)
        if (!op.dropped.empty() && !op.dropped[(size_t)j]) slopes.push_back(j);
    double chi2, df;
    if (robust) {
        chi2 = wald_slopes(b, V, slopes, k, &df);
    } else {
        df = (double)slopes.size();
        chi2 = 2 * (ll - ll_0);
    }
    const double p = df > 0 && !data::is_missing(chi2) ? data::xm::chi2tail(df, chi2) : lim.dot;

    const char *bname = "__logit_b", *vname = "__logit_V";
    if (int r = mat::mat_assign(bname, ST_MATRIX, bm)) return r;
    if (int r = mat::mat_assign(vname, ST_MATRIX, Vm)) return r;
    mat::PostExtras x;
    x.depname = data::ds.varname[(size_t)vars[0] - 1];
    x.obs = N;
    if (weighted) {
        x.wtype = data::sm.wname;
        x.wexp = "= " + std::string(data::wtexp.text_begin, data::wtexp.text_end);
    }
    x.has_props = true;
    x.properties = "b V";
    x.marks = &marks;
    // posting drops the old sample marker, which can renumber the variables: keep the names first
    const std::string oname = ovar ? data::ds.varname[(size_t)ovar - 1] : "";
    const std::string cname = cvar ? data::ds.varname[(size_t)cvar - 1] : "";
    if (int r = mat::post_estimates(bname, vname, x)) return r;
    const double ncd = data::sm.wtype == data::WT_F ? last.determined_w : last.determined;
    const std::pair<const char *, double> sc[] = {{"N", N},
                                                  {"ll", ll},
                                                  {"ll_0", ll_0},
                                                  {"chi2", chi2},
                                                  {"df_m", df},
                                                  {"p", p},
                                                  {"r2_p", 1 - ll / ll_0},
                                                  {"k", (double)ncol},
                                                  {"ic", (double)op.iterations},
                                                  {"converged", op.status == OPT_ITER ? 0.0 : 1.0},
                                                  {"rc", op.status == OPT_ITER ? 430.0 : 0.0},
                                                  {"N_cd", ncd}};
    for (const auto &[name, v] : sc)
        if (int r = mat::e_set_scalar(name, v)) return r;
    const std::string title = probit ? "Probit regression" : "Logistic regression";
    const std::pair<const char *, std::string> mc[] = {{"title", title},
                                                       {"crittype", word},
                                                       {"chi2type", robust ? "Wald" : "LR"},
                                                       {"predict", probit ? "probit_p" : "logit_p"},
                                                       {"cmd", probit       ? "probit"
                                                               : o.logistic ? "logistic"
                                                                            : "logit"}};
    for (const auto &[name, v] : mc)
        if (int r = mat::e_set_macro(name, v)) return r;
    if (ovar)
        if (int r = mat::e_set_macro("offset", oname.c_str())) return r;
    if (robust) {
        if (int r = mat::e_set_macro("vcetype", "Robust")) return r;
        if (cvar) {
            if (int r = mat::e_set_macro("clustvar", cname.c_str())) return r;
            if (int r = mat::e_set_scalar("N_clust", nclust)) return r;
        }
    }
    if (int rc = show(o, probit)) return rc;
    if (op.status == OPT_ITER) return error(430);
    return 0;
}

} // namespace

int cmd__logit(int) { return run(false); }

int cmd__probit(int) { return run(true); }

} // namespace est

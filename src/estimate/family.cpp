// _ologit, _oprobit, _tobit, _cnreg, _mlogit and _clogit: the model read and gathered as for logit,
// the null model fitted quietly for ll_0 and the start, the fit by the Newton optimiser over the
// kernels, the sandwich when asked, e() posted, the header and the table; without variables they
// replay.
#include "estimate/family.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "data/dataset.h"
#include "data/exprmath.h"
#include "data/fmt.h"
#include "data/labels.h"
#include "data/types.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "estimate/likfit.h"
#include "estimate/optimize.h"
#include "estimate/robust.h"
#include "matrix/estpost.h"
#include "matrix/matstore.h"
#include "matrix/results.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/hexfloat.h"
#include "session/options.h"
#include "session/state.h"
#include "session/store.h"

namespace est {

using namespace session;

namespace {

using EvalFn = decltype(Optimizer::evaluator);

enum Member : int { M_OLOGIT, M_OPROBIT, M_TOBIT, M_CNREG, M_MLOGIT, M_CLOGIT };

const char *const member_cmd[] = {"ologit", "oprobit", "tobit", "cnreg", "mlogit", "clogit"};

struct FamOpts {
    FitOpts f;
    bool eform = false;   // or, rrr
    std::string ll, ul;   // tobit's limits
    std::string censored; // cnreg's flag
    std::string base;     // mlogit's base outcome
    std::string group;    // clogit's matched sets
};

std::vector<OptSpec> option_specs(Member mb, FamOpts &o) {
    std::vector<OptSpec> s = fit_option_specs(o.f);
    switch (mb) {
    case M_OLOGIT:
    case M_CLOGIT:
        s.push_back(opt_flag("or", 2, o.eform));
        break;
    case M_MLOGIT:
        s.push_back(opt_flag("rrr", 3, o.eform));
        s.push_back(opt_text("baseoutcome", 5, o.base));
        s.push_back(opt_text("basecategory", 5, o.base));
        break;
    case M_TOBIT:
        s.push_back(opt_text("ll", 2, o.ll));
        s.push_back(opt_text("ul", 2, o.ul));
        break;
    case M_CNREG:
        s.push_back(opt_name("censored", 3, o.censored));
        break;
    default:
        break;
    }
    if (mb == M_CLOGIT) {
        s.push_back(opt_name("group", 2, o.group));
        s.push_back(opt_name("strata", 2, o.group));
    }
    return s;
}

// The table, with the rows past the coefficients of the regressors shown as they are under eform,
// and what follows it.
int show(Member mb, const FamOpts &o) {
    if (!o.f.noheader)
        if (int rc = fit_header()) return rc;
    mat::CoefTableOpts t;
    t.level = o.f.level;
    if (o.eform) t.eform = mb == M_MLOGIT ? "RRR" : "Odds Ratio";
    if (mb == M_OLOGIT) t.eform_plain = (int)fit_escalar("k_cat") - 1;
    if (int rc = mat::coef_table_with(t)) return rc;
    if (mb == M_TOBIT || mb == M_CNREG) {
        auto num = [](double v) { return data::fmt_text(v, "%8.0g"); };
        std::string s =
            "{txt}  Obs. summary: {res}" + num(fit_escalar("N_lc")) + "{txt}  left-censored observations";
        if (mb == M_TOBIT && !fit_emacro("llopt").empty())
            s += " at " + fit_emacro("depvar") + "<=" + fit_emacro("llopt");
        s += "\n                {res}" + num(fit_escalar("N_unc")) + "{txt}     uncensored observations\n";
        s += "                {res}" + num(fit_escalar("N_rc")) + "{txt} right-censored observations";
        if (mb == M_TOBIT && !fit_emacro("ulopt").empty())
            s += " at " + fit_emacro("depvar") + ">=" + fit_emacro("ulopt");
        s += "\n";
        return out::out_rimu(s);
    }
    return 0;
}

// The columns posted: each a stripe and its place among the fitted parameters (-1: dropped, 0).
struct PostCol {
    mat::StripeName name;
    int fit;
};

void build_bv(const std::vector<PostCol> &cols, const std::vector<double> &b, const std::vector<double> &V,
              int k, mat::Matrix &bm, mat::Matrix &Vm) {
    const int n = (int)cols.size();
    bm.resize(1, n);
    Vm.resize(n, n);
    for (int j = 0; j < n; ++j) {
        const int fj = cols[(size_t)j].fit;
        bm.at(0, j) = fj < 0 ? 0 : b[(size_t)fj];
        for (int i = 0; i < n; ++i) {
            const int fi = cols[(size_t)i].fit;
            Vm.at(i, j) = fi < 0 || fj < 0 ? 0 : V[(size_t)fi * (size_t)k + (size_t)fj];
        }
        bm.cn.push_back(cols[(size_t)j].name);
    }
    bm.rn.push_back(fit_stripe("", "y1"));
    Vm.rn = Vm.cn = bm.cn;
    Vm.sym = true;
}

// The evaluator over a kernel that sums the log likelihood and its derivatives: the objective is the
// negative log likelihood, and so are the gradient and the matrix the kernel gives.
template <class Model, class Kernel> EvalFn sums_evaluator(const Model &m, Kernel kernel) {
    return [&m, kernel](const std::vector<double> &b, int want, double *f, std::vector<double> &g,
                        std::vector<double> &H) {
        IndexSums s;
        if (int rc = kernel(m, b, want == EVAL_DERIVS, s)) return rc;
        *f = data::is_missing(s.ll) ? lim.dot : -s.ll;
        if (want == EVAL_DERIVS) {
            g.resize(s.g.size());
            for (size_t j = 0; j < s.g.size(); ++j)
                g[j] = -s.g[j];
            H.swap(s.H);
        }
        return 0;
    };
}

EvalFn index_evaluator(const IndexModel &m) {
    return sums_evaluator(m, [](const IndexModel &mm, const std::vector<double> &b, bool d, IndexSums &s) {
        return indexlf_smp(mm, b, d, s);
    });
}

// The sandwich of an index model: each parameter's column and equation, the scores by equation.
int index_robust(const FitData &d, const IndexModel &m, const std::vector<double> &b, std::vector<double> &V,
                 double *nclust) {
    std::vector<std::vector<double>> score;
    if (int rc = indexscore_smp(m, b, score)) return rc;
    RobustInput in;
    for (size_t e = 0; e < m.eqs.size(); ++e) {
        for (int c : m.eqs[e].cols) {
            in.x.push_back(m.x[(size_t)c].data());
            in.eq.push_back((int)e);
        }
        if (m.eqs[e].cons) {
            in.x.push_back(nullptr);
            in.eq.push_back((int)e);
        }
        in.score.push_back(score[e].data());
    }
    return fit_robust(d, in, m.k(), (int)m.eqs.size(), true, V, nclust);
}

// The outcome's distinct values, in order, and each row's place among them.
std::vector<double> categories(FitData &d) {
    std::vector<double> cat(d.y);
    std::sort(cat.begin(), cat.end());
    cat.erase(std::unique(cat.begin(), cat.end()), cat.end());
    for (double &y : d.y)
        y = (double)(std::lower_bound(cat.begin(), cat.end(), y) - cat.begin());
    return cat;
}

int post_cat(const std::vector<double> &cat) {
    mat::Matrix c;
    c.resize(1, (int)cat.size());
    for (size_t j = 0; j < cat.size(); ++j) {
        c.at(0, (int)j) = cat[j];
        c.cn.push_back(fit_stripe("", ("c" + std::to_string(j + 1)).c_str()));
    }
    c.rn.push_back(fit_stripe("", "r1"));
    if (int r = mat::mat_assign("cat", ST_E_MATRIX, c)) return r;
    return mat::mat_assign("ecat", ST_E_MATRIX, c);
}

// An outcome's name: its value label when that makes a name, else the value.
std::string outcome_name(int var, double v) {
    const char *lab = data::ds.vallab[(size_t)var - 1];
    if (lab[0]) {
        const char *t = data::vl_text(lab, v);
        if (t && t[0] && std::strlen(t) <= 32 && std::string(t).find_first_of(" :.\"") == std::string::npos)
            return t;
    }
    return data::number_text(v);
}

int outcome_does_not_vary() { return fail(2000, "outcome does not vary\n"); }

// The test of the slopes: the likelihood ratio, or Wald's under a robust variance.
void slope_test(const FitData &d, const Optimizer &op, const std::vector<int> &slopes_all,
                const std::vector<double> &b, const std::vector<double> &V, int k, double ll, double ll_0,
                double *chi2, double *df, double *p) {
    std::vector<int> slopes;
    for (int j : slopes_all)
        if (op.dropped.empty() || !op.dropped[(size_t)j]) slopes.push_back(j);
    if (d.robust) {
        *chi2 = fit_wald(b, V, slopes, k, df);
    } else {
        *df = (double)slopes.size();
        *chi2 = 2 * (ll - ll_0);
    }
    *p = *df > 0 && !data::is_missing(*chi2) ? data::xm::chi2tail(*df, *chi2) : lim.dot;
}

int read_line(Member mb, FamOpts &o, bool *replayed) {
    *replayed = false;
    data::ParseSpec spec;
    spec.varlist = data::PO_OPTIONAL;
    spec.weight = data::PO_OPTIONAL;
    spec.wmask = mb == M_CLOGIT ? data::WT_F | data::WT_I : data::WT_A | data::WT_F | data::WT_I | data::WT_P;
    if (int rc = data::std_parse(spec)) return rc;
    const std::vector<OptSpec> specs = option_specs(mb, o);
    if (int rc = data::std_options(specs)) return rc;
    if (int rc = fit_check_options(o.f)) return rc;
    if (data::ps.count == 0) {
        if (data::sm.ifpresent || data::ps.inrange || data::sm.wtype != data::WT_NONE) return error(198);
        *replayed = true;
        if (fit_emacro("cmd") != member_cmd[mb]) return error(301);
        return show(mb, o);
    }
    return 0;
}

// The fit of an index model m from b, after the null model m0 from b0 (quietly) for ll_0; the
// null estimates fill the places of null_at in b. The log shows with the options.
int fit_index(const FamOpts &o, const FitData &d, const IndexModel &m, std::vector<double> &b,
              const IndexModel &m0, std::vector<double> &b0, const std::vector<int> &null_at, Optimizer &op,
              double *ll_0) {
    {
        Optimizer op0;
        fit_setup(o.f, d, op0);
        op0.showLog = false;
        op0.evaluator = index_evaluator(m0);
        if (int rc = optimize(op0, b0)) return rc;
        *ll_0 = -op0.objective;
    }
    for (size_t j = 0; j < null_at.size(); ++j)
        b[(size_t)null_at[j]] = b0[j];
    fit_setup(o.f, d, op);
    op.evaluator = index_evaluator(m);
    return optimize(op, b);
}

int run_ordered(Member mb) {
    FamOpts o;
    bool replayed;
    if (int rc = read_line(mb, o, &replayed); rc || replayed) return rc;
    FitData d;
    if (int rc = fit_read_model(o.f, d)) return rc;
    if (int rc = fit_gather(d)) return rc;
    const std::vector<double> cat = categories(d);
    const int K = (int)cat.size();
    if (K < 2) return outcome_does_not_vary();
    if (K > 50) return fail(149, std::to_string(K) + " outcomes detected; 50 is the most allowed\n");
    if (int rc = fit_drop_collinear(d, true)) return rc;
    const int nx = (int)d.x.size(), nx_all = d.nx_all();

    IndexModel m;
    m.kind = mb == M_OLOGIT ? IK_OLOGIT : IK_OPROBIT;
    m.rows = d.rows;
    m.ncat = K;
    m.x = std::move(d.x);
    m.y = std::move(d.y);
    m.w = d.w;
    m.offset = d.offset;
    m.eqs.resize((size_t)K);
    for (int j = 0; j < nx; ++j)
        m.eqs[0].cols.push_back(j);
    m.eqs[0].cons = false;
    IndexModel m0 = m;
    m0.eqs[0].cols.clear();
    m0.x.clear();
    // the cut points of the shares below each outcome: the null model's estimates without an offset
    std::vector<double> share((size_t)K, 0.0);
    for (int64_t r = 0; r < m.rows; ++r)
        share[(size_t)m.y[(size_t)r]] += m.w.empty() ? 1 : m.w[(size_t)r];
    std::vector<double> b0((size_t)K - 1);
    double cum = 0;
    for (int j = 0; j + 1 < K; ++j) {
        cum += share[(size_t)j] / d.sumw;
        b0[(size_t)j] = mb == M_OLOGIT ? std::log(cum / (1 - cum)) : data::xm::invnormal(cum);
    }
    std::vector<double> b((size_t)m.k(), 0.0);
    std::vector<int> null_at;
    for (int j = 0; j + 1 < K; ++j)
        null_at.push_back(nx + j);
    Optimizer op;
    double ll_0;
    if (int rc = fit_index(o, d, m, b, m0, b0, null_at, op, &ll_0)) return rc;
    const double ll = -op.objective;
    const int k = m.k();
    std::vector<double> V = op.V;
    double nclust = 0;
    if (d.robust)
        if (int rc = index_robust(d, m, b, V, &nclust)) return rc;

    std::vector<PostCol> cols;
    std::vector<int> pos((size_t)nx_all, -1);
    for (size_t j = 0; j < d.kept.size(); ++j)
        pos[(size_t)d.kept[j]] = (int)j;
    for (int j = 0; j < nx_all; ++j)
        cols.push_back({fit_stripe("", data::ds.varname[(size_t)d.vars[(size_t)j + 1] - 1]), pos[(size_t)j]});
    for (int j = 1; j < K; ++j)
        cols.push_back({fit_stripe("", ("_cut" + std::to_string(j)).c_str()), nx + j - 1});
    mat::Matrix bm, Vm;
    build_bv(cols, b, V, k, bm, Vm);
    std::vector<int> slopes;
    for (int j = 0; j < nx; ++j)
        slopes.push_back(j);
    double chi2, df, p;
    slope_test(d, op, slopes, b, V, k, ll, ll_0, &chi2, &df, &p);
    if (int r = fit_post(d, bm, Vm, nclust,
                         {{"N", d.N},
                          {"ll", ll},
                          {"ll_0", ll_0},
                          {"chi2", chi2},
                          {"df_m", df},
                          {"p", p},
                          {"r2_p", 1 - ll / ll_0},
                          {"k_cat", (double)K},
                          {"k", (double)cols.size()},
                          {"ic", (double)op.iterations},
                          {"converged", op.status == OPT_ITER ? 0.0 : 1.0},
                          {"rc", op.status == OPT_ITER ? 430.0 : 0.0}},
                         {{"title", mb == M_OLOGIT ? "Ordered logit estimates" : "Ordered probit estimates"},
                          {"crittype", fit_crittype(d)},
                          {"chi2type", d.robust ? "Wald" : "LR"},
                          {"predict", mb == M_OLOGIT ? "ologit_p" : "oprobi_p"},
                          {"cmd", member_cmd[mb]}}))
        return r;
    if (int r = post_cat(cat)) return r;
    if (int rc = show(mb, o)) return rc;
    return op.status == OPT_ITER ? error(430) : 0;
}

// A limit of ll() or ul(): a number. 0, or 198.
int read_limit(const std::string &text, const char *which, double *v) {
    if (text.empty()) return 0;
    if (!data::text_to_number(text, *v, false) || data::is_missing(*v))
        return fail(198, std::string(which) + "() must be a number\n");
    return 0;
}

int run_censored(Member mb) {
    FamOpts o;
    bool replayed;
    if (int rc = read_line(mb, o, &replayed); rc || replayed) return rc;
    double L = lim.dot, U = lim.dot;
    if (int rc = read_limit(o.ll, "ll", &L)) return rc;
    if (int rc = read_limit(o.ul, "ul", &U)) return rc;
    if (!o.ll.empty() && !o.ul.empty() && L >= U) return fail(198, "ll() must be less than ul()\n");
    FitData d;
    if (mb == M_CNREG) {
        if (o.censored.empty()) return fail(198, "option censored() required\n");
        const int cv = data::varlookup(o.censored, true, data::varabbrev);
        if (cv < 0) return -cv;
        if (data::is_string_type(data::ds.vartype[(size_t)cv - 1])) return error(109);
        d.extra.push_back(cv);
    }
    if (int rc = fit_read_model(o.f, d)) return rc;
    if (int rc = fit_gather(d)) return rc;
    if (int rc = fit_drop_collinear(d, !o.f.nocons)) return rc;
    const int nx = (int)d.x.size(), nx_all = d.nx_all();

    IndexModel m;
    m.kind = IK_TOBIT;
    m.rows = d.rows;
    m.c.assign((size_t)d.rows, 0);
    double nc[3] = {0, 0, 0}; // left, none, right: by weight with frequency weights
    for (int64_t r = 0; r < d.rows; ++r) {
        double &y = d.y[(size_t)r];
        int c = 0;
        if (mb == M_CNREG) {
            const double f = d.xtra[0][(size_t)r];
            if (f != 0 && f != 1 && f != -1) return fail(198, "censored() variable must be -1, 0 or 1\n");
            c = (int)f;
        } else if (!o.ll.empty() && y <= L) {
            c = -1;
            y = L;
        } else if (!o.ul.empty() && y >= U) {
            c = 1;
            y = U;
        }
        m.c[(size_t)r] = (signed char)c;
        nc[c + 1] += data::sm.wtype == data::WT_F ? d.w[(size_t)r] : 1;
    }
    if (nc[1] == 0) return fail(2000, "no uncensored observations\n");
    m.x = std::move(d.x);
    m.y = d.y;
    m.w = d.w;
    m.offset = d.offset;
    m.eqs.resize(2);
    for (int j = 0; j < nx; ++j)
        m.eqs[0].cols.push_back(j);
    m.eqs[0].cons = !o.f.nocons;
    IndexModel m0 = m;
    m0.eqs[0].cols.clear();
    m0.x.clear();
    // the null start: the mean and the spread of the outcome
    double sw = 0, sy = 0, syy = 0;
    for (int64_t r = 0; r < m.rows; ++r) {
        const double w = m.w.empty() ? 1 : m.w[(size_t)r], y = m.y[(size_t)r];
        const double off = m.offset.empty() ? 0 : m.offset[(size_t)r];
        sw += w;
        sy += w * (y - off);
        syy += w * (y - off) * (y - off);
    }
    const double mean = sy / sw, var = std::max(syy / sw - (m0.eqs[0].cons ? mean * mean : 0), 1e-300);
    std::vector<double> b0;
    std::vector<int> null_at;
    const int k = m.k();
    if (m0.eqs[0].cons) {
        b0.push_back(mean);
        null_at.push_back(nx);
    }
    b0.push_back(0.5 * std::log(var));
    null_at.push_back(k - 1);
    std::vector<double> b((size_t)k, 0.0);
    Optimizer op;
    double ll_0;
    if (int rc = fit_index(o, d, m, b, m0, b0, null_at, op, &ll_0)) return rc;
    const double ll = -op.objective;
    std::vector<double> V = op.V;
    double nclust = 0;
    if (d.robust)
        if (int rc = index_robust(d, m, b, V, &nclust)) return rc;
    std::vector<int> slopes;
    for (int j = 0; j < nx; ++j)
        slopes.push_back(j);
    double chi2, df, p;
    slope_test(d, op, slopes, b, V, k, ll, ll_0, &chi2, &df, &p);
    // sigma in place of its log: the estimate and the variance by the delta rule
    const double sigma = std::exp(b[(size_t)k - 1]);
    b[(size_t)k - 1] = sigma;
    for (int j = 0; j < k; ++j) {
        V[(size_t)(k - 1) * k + j] *= sigma;
        V[(size_t)j * k + (k - 1)] *= sigma;
    }

    std::vector<PostCol> cols;
    std::vector<int> pos((size_t)nx_all, -1);
    for (size_t j = 0; j < d.kept.size(); ++j)
        pos[(size_t)d.kept[j]] = (int)j;
    for (int j = 0; j < nx_all; ++j)
        cols.push_back({fit_stripe("", data::ds.varname[(size_t)d.vars[(size_t)j + 1] - 1]), pos[(size_t)j]});
    if (!o.f.nocons) cols.push_back({fit_stripe("", "_cons"), nx});
    cols.push_back({fit_stripe("", "_se"), k - 1});
    mat::Matrix bm, Vm;
    build_bv(cols, b, V, k, bm, Vm);
    if (int r = fit_post(d, bm, Vm, nclust,
                         {{"N", d.N},
                          {"ll", ll},
                          {"ll_0", ll_0},
                          {"chi2", chi2},
                          {"df_m", df},
                          {"p", p},
                          {"r2_p", 1 - ll / ll_0},
                          {"sigma", sigma},
                          {"N_lc", nc[0]},
                          {"N_unc", nc[1]},
                          {"N_rc", nc[2]},
                          {"k", (double)cols.size()},
                          {"ic", (double)op.iterations},
                          {"converged", op.status == OPT_ITER ? 0.0 : 1.0},
                          {"rc", op.status == OPT_ITER ? 430.0 : 0.0}},
                         {{"title", mb == M_TOBIT ? "Tobit estimates" : "Censored normal regression"},
                          {"crittype", fit_crittype(d)},
                          {"chi2type", d.robust ? "Wald" : "LR"},
                          {"predict", "tobit_p"},
                          {"cmd", member_cmd[mb]}}))
        return r;
    if (mb == M_TOBIT) {
        if (!o.ll.empty())
            if (int r = mat::e_set_macro("llopt", data::number_text(L))) return r;
        if (!o.ul.empty())
            if (int r = mat::e_set_macro("ulopt", data::number_text(U))) return r;
    } else if (int r = mat::e_set_macro("censored", o.censored)) {
        return r;
    }
    if (int rc = show(mb, o)) return rc;
    return op.status == OPT_ITER ? error(430) : 0;
}

int run_mlogit() {
    const Member mb = M_MLOGIT;
    FamOpts o;
    bool replayed;
    if (int rc = read_line(mb, o, &replayed); rc || replayed) return rc;
    if (!o.f.offset.empty()) return fail(198, "option offset() not allowed\n");
    FitData d;
    if (int rc = fit_read_model(o.f, d)) return rc;
    if (int rc = fit_gather(d)) return rc;
    const std::vector<double> cat = categories(d);
    const int K = (int)cat.size();
    if (K < 2) return outcome_does_not_vary();
    if (K > 50) return fail(149, std::to_string(K) + " outcomes detected; 50 is the most allowed\n");
    std::vector<double> share((size_t)K, 0.0);
    for (int64_t r = 0; r < d.rows; ++r)
        share[(size_t)d.y[(size_t)r]] += d.w.empty() ? 1 : d.w[(size_t)r];
    int base = (int)(std::max_element(share.begin(), share.end()) - share.begin());
    if (!o.base.empty()) {
        double bv = 0;
        if (!data::text_to_number(o.base, bv, false)) return fail(198, "baseoutcome() must be a number\n");
        const auto it = std::find(cat.begin(), cat.end(), bv);
        if (it == cat.end()) return fail(111, "outcome " + data::number_text(bv) + " not found\n");
        base = (int)(it - cat.begin());
    }
    if (int rc = fit_drop_collinear(d, !o.f.nocons)) return rc;
    const int nx = (int)d.x.size(), nx_all = d.nx_all();
    if (o.f.nocons && nx == 0) return error(102);

    IndexModel m;
    m.kind = IK_MLOGIT;
    m.rows = d.rows;
    m.ncat = K;
    m.base = base;
    m.x = std::move(d.x);
    m.y = d.y;
    m.w = d.w;
    m.offset = d.offset;
    m.eqs.resize((size_t)K - 1);
    for (IndexEq &e : m.eqs) {
        for (int j = 0; j < nx; ++j)
            e.cols.push_back(j);
        e.cons = !o.f.nocons;
    }
    const int k = m.k(), per = nx + (o.f.nocons ? 0 : 1);
    IndexModel m0 = m;
    m0.x.clear();
    std::vector<double> b0;
    std::vector<int> null_at;
    for (int e = 0; e < K - 1; ++e) {
        m0.eqs[(size_t)e].cols.clear();
        if (!o.f.nocons) {
            const int c = e < base ? e : e + 1;
            b0.push_back(std::log(share[(size_t)c] / share[(size_t)base]));
            null_at.push_back(e * per + nx);
        }
    }
    std::vector<double> b((size_t)k, 0.0);
    Optimizer op;
    double ll_0;
    if (int rc = fit_index(o, d, m, b, m0, b0, null_at, op, &ll_0)) return rc;
    const double ll = -op.objective;
    std::vector<double> V = op.V;
    double nclust = 0;
    if (d.robust)
        if (int rc = index_robust(d, m, b, V, &nclust)) return rc;
    std::vector<int> slopes;
    for (int e = 0; e < K - 1; ++e)
        for (int j = 0; j < nx; ++j)
            slopes.push_back(e * per + j);
    double chi2, df, p;
    slope_test(d, op, slopes, b, V, k, ll, ll_0, &chi2, &df, &p);

    std::vector<PostCol> cols;
    std::vector<int> pos((size_t)nx_all, -1);
    for (size_t j = 0; j < d.kept.size(); ++j)
        pos[(size_t)d.kept[j]] = (int)j;
    const int yvar = d.vars[0];
    for (int e = 0; e < K - 1; ++e) {
        const int c = e < base ? e : e + 1;
        const std::string eq = outcome_name(yvar, cat[(size_t)c]);
        for (int j = 0; j < nx_all; ++j)
            cols.push_back({fit_stripe(eq.c_str(), data::ds.varname[(size_t)d.vars[(size_t)j + 1] - 1]),
                            pos[(size_t)j] < 0 ? -1 : e * per + pos[(size_t)j]});
        if (!o.f.nocons) cols.push_back({fit_stripe(eq.c_str(), "_cons"), e * per + nx});
    }
    mat::Matrix bm, Vm;
    build_bv(cols, b, V, k, bm, Vm);
    // posting can renumber the variables: the comparison line takes its words first
    const std::string cmpline = "{txt}(Outcome " + std::string(data::ds.varname[(size_t)yvar - 1]) +
                                "==" + outcome_name(yvar, cat[(size_t)base]) + " is the comparison group)\n";
    if (int r = fit_post(d, bm, Vm, nclust,
                         {{"N", d.N},
                          {"ll", ll},
                          {"ll_0", ll_0},
                          {"chi2", chi2},
                          {"df_m", df},
                          {"p", p},
                          {"r2_p", 1 - ll / ll_0},
                          {"k_cat", (double)K},
                          {"k_eq", (double)(K - 1)},
                          {"baseout", cat[(size_t)base]},
                          {"ibaseout", (double)base + 1},
                          {"k", (double)cols.size()},
                          {"ic", (double)op.iterations},
                          {"converged", op.status == OPT_ITER ? 0.0 : 1.0},
                          {"rc", op.status == OPT_ITER ? 430.0 : 0.0}},
                         {{"title", "Multinomial logistic regression"},
                          {"crittype", fit_crittype(d)},
                          {"chi2type", d.robust ? "Wald" : "LR"},
                          {"predict", "mlogit_p"},
                          {"cmd", "mlogit"}}))
        return r;
    if (int r = post_cat(cat)) return r;
    if (int rc = show(mb, o)) return rc;
    if (!o.f.noheader) {
        out::ClassScope cs(out::CLS_TEXT);
        if (int rc = out::out_rimu(cmpline)) return rc;
    }
    return op.status == OPT_ITER ? error(430) : 0;
}

EvalFn group_evaluator(const GroupModel &m) {
    return sums_evaluator(m, [](const GroupModel &mm, const std::vector<double> &b, bool d, IndexSums &s) {
        return clogitlf_smp(mm, b, d, s);
    });
}

int run_clogit() {
    const Member mb = M_CLOGIT;
    FamOpts o;
    bool replayed;
    if (int rc = read_line(mb, o, &replayed); rc || replayed) return rc;
    if (o.group.empty()) return fail(198, "option group() required\n");
    FitData d;
    const int gv = data::varlookup(o.group, true, data::varabbrev);
    if (gv < 0) return -gv;
    if (data::is_string_type(data::ds.vartype[(size_t)gv - 1])) return error(109);
    d.extra.push_back(gv);
    if (int rc = fit_read_model(o.f, d)) return rc;
    if (int rc = fit_gather(d)) return rc;
    // the rows by group, in the data's order within a group; groups whose outcome does not vary
    // say nothing and leave the sample
    const std::vector<double> &gkey = d.xtra[0];
    std::vector<int64_t> order((size_t)d.rows);
    for (int64_t r = 0; r < d.rows; ++r)
        order[(size_t)r] = r;
    std::stable_sort(order.begin(), order.end(),
                     [&](int64_t a, int64_t c) { return gkey[(size_t)a] < gkey[(size_t)c]; });
    std::vector<uint8_t> keep((size_t)d.rows, 1);
    int64_t ndropg = 0, ndropo = 0, ngroups = 0;
    for (int64_t s = 0; s < d.rows;) {
        int64_t z = s, pos = 0;
        while (z < d.rows && gkey[(size_t)order[(size_t)z]] == gkey[(size_t)order[(size_t)s]]) {
            pos += d.y[(size_t)order[(size_t)z]] != 0;
            ++z;
        }
        if (pos == 0 || pos == z - s) {
            ++ndropg;
            ndropo += z - s;
            for (int64_t t = s; t < z; ++t)
                keep[(size_t)order[(size_t)t]] = 0;
        } else {
            ++ngroups;
            for (int64_t t = s + 1; t < z; ++t)
                if (!d.w.empty() && d.w[(size_t)order[(size_t)t]] != d.w[(size_t)order[(size_t)s]])
                    return fail(407, "weights must be the same for all observations in a group\n");
        }
        s = z;
    }
    if (ndropg) {
        out::ClassScope cs(out::CLS_TEXT);
        if (int rc =
                out::out_rimu("{txt}note: " + std::to_string(ndropg) + " group" + (ndropg != 1 ? "s" : "") +
                              " (" + std::to_string(ndropo) +
                              " obs) dropped because of all positive or\n      all negative outcomes.\n"))
            return rc;
    }
    if (ngroups == 0) return outcome_does_not_vary();
    // the sample marker loses the rows dropped
    {
        int64_t r = 0;
        for (int32_t i = d.lo; i <= d.hi; ++i) {
            if (!d.marks[(size_t)i - 1]) continue;
            if (!keep[(size_t)r]) d.marks[(size_t)i - 1] = 0;
            ++r;
        }
    }
    if (int rc = fit_drop_collinear(d, true)) return rc;
    const int nx = (int)d.x.size(), nx_all = d.nx_all();
    if (nx == 0) return error(102);

    GroupModel m;
    std::vector<int64_t> rows_in; // the kept rows in group order
    for (int64_t t = 0; t < d.rows; ++t)
        if (keep[(size_t)order[(size_t)t]]) rows_in.push_back(order[(size_t)t]);
    m.rows = (int64_t)rows_in.size();
    m.x.assign((size_t)nx, std::vector<double>());
    for (int j = 0; j < nx; ++j)
        for (int64_t r : rows_in)
            m.x[(size_t)j].push_back(d.x[(size_t)j][(size_t)r]);
    FitData dr; // the weights and the clusters in the model's order, for the sandwich
    dr.rows = m.rows;
    dr.weighted = d.weighted;
    dr.robust = d.robust;
    dr.cvar = d.cvar ? d.cvar : gv;
    dr.cstr = d.cvar ? d.cstr : false;
    for (int64_t r : rows_in) {
        m.y.push_back(d.y[(size_t)r] != 0 ? 1 : 0);
        if (!d.w.empty()) m.w.push_back(d.w[(size_t)r]);
        if (!d.offset.empty()) m.offset.push_back(d.offset[(size_t)r]);
        if (d.cvar && d.cstr)
            dr.ckey_str.push_back(d.ckey_str[(size_t)r]);
        else
            dr.ckey_num.push_back(d.cvar ? d.ckey_num[(size_t)r] : gkey[(size_t)r]);
    }
    dr.w = m.w;
    for (int64_t t = 0; t < m.rows; ++t)
        if (t == 0 || gkey[(size_t)rows_in[(size_t)t]] != gkey[(size_t)rows_in[(size_t)t - 1]])
            m.group_start.push_back(t);
    m.group_start.push_back(m.rows);
    d.N = 0;
    for (int64_t t = 0; t < m.rows; ++t)
        d.N += data::sm.wtype == data::WT_F ? m.w[(size_t)t] : 1;
    const int k = nx;

    std::vector<double> b((size_t)k, 0.0);
    double ll_0;
    {
        IndexSums s;
        if (int rc = clogitlf_smp(m, b, false, s)) return rc;
        ll_0 = s.ll;
    }
    Optimizer op;
    fit_setup(o.f, d, op);
    op.evaluator = group_evaluator(m);
    if (int rc = optimize(op, b)) return rc;
    const double ll = -op.objective;
    std::vector<double> V = op.V;
    double nclust = 0;
    if (d.robust) {
        std::vector<double> score;
        IndexSums s;
        if (int rc = clogitlf_smp(m, b, false, s, &score)) return rc;
        RobustInput in;
        for (int j = 0; j < k; ++j) {
            in.x.push_back(m.x[(size_t)j].data());
            in.eq.push_back(0);
        }
        in.score.push_back(score.data());
        if (int rc = fit_robust(dr, in, k, 1, false, V, &nclust)) return rc;
    }
    std::vector<int> slopes;
    for (int j = 0; j < nx; ++j)
        slopes.push_back(j);
    double chi2, df, p;
    slope_test(d, op, slopes, b, V, k, ll, ll_0, &chi2, &df, &p);

    std::vector<PostCol> cols;
    std::vector<int> pos((size_t)nx_all, -1);
    for (size_t j = 0; j < d.kept.size(); ++j)
        pos[(size_t)d.kept[j]] = (int)j;
    for (int j = 0; j < nx_all; ++j)
        cols.push_back({fit_stripe("", data::ds.varname[(size_t)d.vars[(size_t)j + 1] - 1]), pos[(size_t)j]});
    mat::Matrix bm, Vm;
    build_bv(cols, b, V, k, bm, Vm);
    d.cvar = dr.cvar;
    if (int r = fit_post(d, bm, Vm, nclust,
                         {{"N", d.N},
                          {"ll", ll},
                          {"ll_0", ll_0},
                          {"chi2", chi2},
                          {"df_m", df},
                          {"p", p},
                          {"r2_p", 1 - ll / ll_0},
                          {"N_group", (double)ngroups},
                          {"k", (double)cols.size()},
                          {"ic", (double)op.iterations},
                          {"converged", op.status == OPT_ITER ? 0.0 : 1.0},
                          {"rc", op.status == OPT_ITER ? 430.0 : 0.0}},
                         {{"title", "Conditional (fixed-effects) logistic regression"},
                          {"crittype", fit_crittype(d)},
                          {"chi2type", d.robust ? "Wald" : "LR"},
                          {"predict", "clogit_p"},
                          {"group", data::ds.varname[(size_t)gv - 1]},
                          {"cmd", "clogit"}}))
        return r;
    if (int rc = show(mb, o)) return rc;
    return op.status == OPT_ITER ? error(430) : 0;
}

} // namespace

int cmd__ologit(int) { return run_ordered(M_OLOGIT); }
int cmd__oprobit(int) { return run_ordered(M_OPROBIT); }
int cmd__tobit(int) { return run_censored(M_TOBIT); }
int cmd__cnreg(int) { return run_censored(M_CNREG); }
int cmd__mlogit(int) { return run_mlogit(); }
int cmd__clogit(int) { return run_clogit(); }

} // namespace est

// _logit and _probit: read the model and the sample, gather the columns once, fit by the Newton
// optimiser over the likelihood kernels, make the variance robust when asked, post e() and show
// the header and the coefficient table; without variables they replay.
#include "estimate/logit.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "data/dataset.h"
#include "data/exprmath.h"
#include "data/fmt.h"
#include "data/types.h"
#include "data/xeq.h"
#include "estimate/likfit.h"
#include "estimate/optimize.h"
#include "estimate/robust.h"
#include "matrix/estpost.h"
#include "matrix/matstore.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/options.h"
#include "session/state.h"

namespace est {

using namespace session;

namespace {

struct BinOpts {
    FitOpts f;
    bool eform = false, asis = false;
    bool table = false;    // the outcome table after the coefficients
    bool logistic = false; // the fit of the command logistic: e(cmd) says so
};

std::vector<OptSpec> option_specs(BinOpts &o) {
    std::vector<OptSpec> s = fit_option_specs(o.f);
    s.push_back(opt_flag("or", 2, o.eform));
    s.push_back(opt_flag("asis", 4, o.asis));
    s.push_back(opt_flag("logistic", 8, o.logistic));
    s.push_back(opt_flag("table", 5, o.table));
    return s;
}

// The outcome table: for each outcome, how many observations have it, how many the fit puts there by
// the sign of xb, and its observed share. n is the kernel's count by sign of xb and outcome.
int outcome_table(const double (&n)[2][2]) {
    const double observed[2] = {n[0][0] + n[1][0], n[0][1] + n[1][1]};
    const double predicted[2] = {n[0][0] + n[0][1], n[1][0] + n[1][1]};
    const double total = observed[0] + observed[1];
    auto col = [](double v) { return data::fmt_text(v, "%12.0g"); };
    std::string s = "\n{txt}     Outcome {c |}     Observed   Predicted Probability\n"
                    "{hline 13}{c +}{hline 37}\n";
    for (int y = 0; y < 2; ++y)
        s += "{txt}           " + std::to_string(y) + " {c |} {res}" + col(observed[y]) + col(predicted[y]) +
             col(observed[y] / total) + "\n";
    s += "{txt}{hline 13}{c +}{hline 37}\n";
    s += "{txt}       Total {c |} {res}" + col(total) + col(total) + col(1.0) + "\n";
    out::ClassScope cs(out::CLS_RESULT);
    return out::out_rimu(s);
}

int show(const BinOpts &o, bool probit) {
    if (!o.f.noheader)
        if (int rc = fit_header()) return rc;
    mat::CoefTableOpts t;
    t.level = o.f.level;
    if (o.eform && !probit) t.eform = "Odds Ratio";
    if (int rc = mat::coef_table_with(t)) return rc;
    const double ncd = fit_escalar("N_cd");
    if (ncd > 0 && !data::is_missing(ncd)) {
        out::ClassScope cs(out::CLS_TEXT);
        return out::out_rimu("{txt}Note: " + data::number_text(ncd) + " observation" + (ncd != 1 ? "s" : "") +
                             " completely determined.  Standard errors questionable.\n");
    }
    return 0;
}

int replay(const BinOpts &o, bool probit) {
    const std::string cmd = fit_emacro("cmd");
    if (probit ? cmd != "probit" : cmd != (o.logistic ? "logistic" : "logit")) return error(301);
    // the counts live only as long as the fit
    if (o.table) return fail(198, "option table not allowed when replaying\n");
    return show(o, probit);
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
    if (int rc = fit_check_options(o.f)) return rc;
    if (data::ps.count == 0) {
        if (data::sm.ifpresent || data::ps.inrange || data::sm.wtype != data::WT_NONE) return error(198);
        return replay(o, probit);
    }

    FitData d;
    if (int rc = fit_read_model(o.f, d)) return rc;
    if (int rc = fit_gather(d)) return rc;
    const bool weighted = d.weighted, robust = d.robust;
    const int nx_all = d.nx_all();
    BinModel m;
    m.probit = probit;
    m.cons = !o.f.nocons;
    m.rows = d.rows;
    double sumwy = 0;
    for (int64_t r = 0; r < d.rows; ++r) {
        d.y[(size_t)r] = d.y[(size_t)r] != 0 ? 1 : 0;
        sumwy += (weighted ? d.w[(size_t)r] : 1) * d.y[(size_t)r];
    }
    const double sumw = d.sumw;
    if (sumwy == 0 || sumwy == sumw)
        return fail(2000, "outcome does not vary; remember:\n"
                          "                                  0 = negative outcome,\n"
                          "        all other nonmissing values = positive outcome\n");
    if (int rc = fit_drop_collinear(d, m.cons)) return rc;
    m.x = std::move(d.x);
    m.y = std::move(d.y);
    m.w = d.w;
    m.offset = std::move(d.offset);
    const int k = m.k(), nx = (int)m.x.size();

    // the evaluator: the objective is the negative log likelihood. Every pass takes the derivatives
    // too, and the last one is kept: the optimiser asks for the objective at a new point and then
    // for the derivatives at the same point, and xb with the tail functions of every row cost more
    // than the sums of the derivatives, so one pass serves both (a step that is backed up pays for
    // sums it drops). The log likelihood does not depend on whether the derivatives were taken.
    BinSums last;
    struct Pass {
        std::vector<double> b;
        BinSums s;
    };
    auto lf = [&](const BinModel &mm, const std::vector<double> &b, Pass &p) -> int {
        if (!p.b.empty() && p.b == b) return 0;
        p.b.clear();
        if (int rc = probit ? problf_smp(mm, b, true, p.s) : loglf_smp(mm, b, true, p.s)) return rc;
        p.b = b;
        return 0;
    };
    auto evaluator_of = [&](const BinModel &mm, Pass &p) {
        return [&lf, &last, &mm, &p](const std::vector<double> &b, int want, double *f,
                                     std::vector<double> &g, std::vector<double> &H) {
            if (int rc = lf(mm, b, p)) return rc;
            const BinSums &s = p.s;
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

    // the start: the constant that fits the share of positive outcomes, the slopes 0; with an
    // offset, the constant-only model is fitted first (quietly) for that and for ll_0
    const double pbar = sumwy / sumw;
    const double c0 = probit ? data::xm::invnormal(pbar) : std::log(pbar / (1 - pbar));
    std::vector<double> b((size_t)k, 0.0);
    double ll_0 = 0;
    if (m.cons && d.ovar) {
        BinModel m0;
        m0.rows = m.rows;
        m0.cons = true;
        m0.probit = probit;
        m0.y = m.y;
        m0.w = m.w;
        m0.offset = m.offset;
        Optimizer op;
        fit_setup(o.f, d, op);
        op.showLog = false;
        Pass p0;
        op.evaluator = evaluator_of(m0, p0);
        std::vector<double> b0{c0};
        if (int rc = optimize(op, b0)) return rc;
        ll_0 = -op.objective;
        b[(size_t)nx] = b0[0];
    }
    // the fit's first pass is at the start, where the constant-only model's log likelihood is read
    Pass pm;
    if (!(m.cons && d.ovar)) {
        if (m.cons) b[(size_t)nx] = c0;
        if (int rc = lf(m, b, pm)) return rc;
        ll_0 = pm.s.ll;
    }
    Optimizer op;
    fit_setup(o.f, d, op);
    op.evaluator = evaluator_of(m, pm);
    if (int rc = optimize(op, b)) return rc;
    const double ll = -op.objective;
    std::vector<double> V = op.V;

    // the sandwich: the scores times x, by row or by cluster
    double nclust = 0;
    if (robust) {
        std::vector<double> score;
        if (int rc = plscore_smp(m, b, score)) return rc;
        RobustInput in;
        for (int j = 0; j < k; ++j)
            in.x.push_back(j < nx ? m.x[(size_t)j].data() : nullptr);
        in.eq.assign((size_t)k, 0);
        in.score.push_back(score.data());
        if (int rc = fit_robust(d, in, k, 1, m.cons, V, &nclust)) return rc;
    }

    // e(b) and e(V): every regressor of the line, a dropped one with 0, then _cons
    std::vector<int> pos((size_t)nx_all, -1);
    for (size_t j = 0; j < d.kept.size(); ++j)
        pos[(size_t)d.kept[j]] = (int)j;
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
        bm.cn.push_back(fit_stripe("", data::ds.varname[(size_t)d.vars[(size_t)j + 1] - 1]));
    if (m.cons) bm.cn.push_back(fit_stripe("", "_cons"));
    bm.rn.push_back(fit_stripe("", "y1"));
    Vm.rn = Vm.cn = bm.cn;
    Vm.sym = true;

    // the test of the slopes: the likelihood ratio, or Wald's under a robust variance
    std::vector<int> slopes;
    for (int j = 0; j < nx; ++j)
        if (!op.dropped.empty() && !op.dropped[(size_t)j]) slopes.push_back(j);
    double chi2, df;
    if (robust) {
        chi2 = fit_wald(b, V, slopes, k, &df);
    } else {
        df = (double)slopes.size();
        chi2 = 2 * (ll - ll_0);
    }
    const double p = df > 0 && !data::is_missing(chi2) ? data::xm::chi2tail(df, chi2) : lim.dot;

    const double ncd = data::sm.wtype == data::WT_F ? last.determined_w : last.determined;
    const std::string title = probit ? "Probit regression" : "Logistic regression";
    if (int r = fit_post(d, bm, Vm, nclust,
                         {{"N", d.N},
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
                          {"N_cd", ncd}},
                         {{"title", title},
                          {"crittype", fit_crittype(d)},
                          {"chi2type", robust ? "Wald" : "LR"},
                          {"predict", probit ? "probit_p" : "logit_p"},
                          {"cmd", probit       ? "probit"
                                  : o.logistic ? "logistic"
                                               : "logit"}}))
        return r;
    if (int rc = show(o, probit)) return rc;
    if (o.table) {
        const bool fw = data::sm.wtype == data::WT_F;
        if (int rc = outcome_table(fw ? last.nw : last.n)) return rc;
    }
    if (op.status == OPT_ITER) return error(430);
    return 0;
}

} // namespace

int cmd__logit(int) { return run(false); }

int cmd__probit(int) { return run(true); }

} // namespace est

// correlate and pwcorr: correlations (or covariances) of variables over the observations where all
// are present, and the pairwise ones with their significance.
#include "data/correlate.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/exprmath.h"
#include "data/fmt.h"
#include "data/list.h"
#include "data/types.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "estimate/xprod.h"
#include "matrix/matstore.h"
#include "matrix/results.h"
#include "output/channel.h"
#include "output/rimu.h"
#include "session/errors.h"
#include "session/options.h"
#include "session/state.h"
#include "session/store.h"

namespace data {

using session::lim;
using session::se;

namespace {

constexpr int LW = 12; // the row-name column
constexpr int CW = 9;  // each column of figures

std::string blanks(int n) { return n > 0 ? std::string((size_t)n, ' ') : std::string(); }
std::string rj(const std::string &s, int w) { return blanks(w - (int)s.size()) + out::brace_escaped(s); }
// x under format f, behind the blanks that f opens with
std::string num(double x, const char *f) {
    int k = 0;
    while (f[k] == ' ')
        ++k;
    return blanks(k) + fmt_text(x, f + k);
}

// The variables of the line: the list given, or every numeric variable. Strings are refused.
int numeric_list(std::vector<int> &vars) {
    vars.clear();
    if (ps.count == 0) {
        for (int v = 1; v <= ds.nvar_visible; ++v)
            if (!is_string_type(ds.vartype[v - 1])) vars.push_back(v);
    } else
        for (int32_t k = 0; k < ps.count; ++k) {
            const int v = ps.var[(size_t)k];
            if (is_string_type(ds.vartype[v - 1])) return session::error(109);
            vars.push_back(v);
        }
    return 0;
}

// The moments of the variables over the observations where all are present: N (the weight sum under
// frequency and importance weights), the means and the covariances (k by k); marks, when given, get
// the observations used. 0; 2000 without a message when no observation is left; or the code of the
// pass with its message.
struct Moments {
    double N = 0, nobs = 0, sumw = 0;
    std::vector<double> mean, cov;
};

int moments(const std::vector<int> &vars, Moments &m, uint8_t *marks = nullptr) {
    const int k = (int)vars.size();
    const bool weighted = sm.wtype != WT_NONE;
    if (sm.ifpresent) sample_ranges(ifexp);
    if (weighted) sample_ranges(wtexp);
    const bool safe = (!sm.ifpresent || ifexp.expressionSafe) && (!weighted || wtexp.expressionSafe);
    est::xprod::Pass pass;
    pass.var = &vars;
    pass.cons = false;
    pass.weighted = weighted;
    pass.check = weighted;
    pass.integer = sm.wtype == WT_F;
    pass.lo = sample_lo();
    pass.hi = sample_hi();
    m.mean.assign((size_t)k, 0.0);
    // deviations from the means keep the products small: one pass for the sums, one for the products
    for (int step = 0; step < 2; ++step) {
        pass.sums = step == 0;
        pass.centre = step == 1 ? m.mean.data() : nullptr;
        pass.marks = step == 1 ? marks : nullptr;
        est::xprod::Sums s;
        int32_t bad = 0;
        if (int rc = est::xprod::run(pass, safe, s, &bad))
            return rc == 401 || rc == 402 ? session::error(rc) : rc;
        m.nobs = s.nobs;
        m.sumw = s.sumw;
        if (step == 0) {
            if (s.sumw <= 0) return 2000; // the caller says so, or not
            for (int j = 0; j < k; ++j)
                m.mean[(size_t)j] = s.sum[(size_t)j] / s.sumw;
        } else
            m.cov = std::move(s.acc);
    }
    // analytic weights are scaled to sum to the number of observations
    const double scale = sm.wtype == WT_A ? m.nobs / m.sumw : 1;
    m.N = sm.wtype == WT_F || sm.wtype == WT_I ? m.sumw : m.nobs;
    for (int a = 0; a < k; ++a)
        for (int b = 0; b <= a; ++b) {
            const double c = m.cov[(size_t)a * (size_t)k + (size_t)b] * scale / (m.N - 1);
            m.cov[(size_t)a * (size_t)k + (size_t)b] = m.cov[(size_t)b * (size_t)k + (size_t)a] = c;
        }
    return 0;
}

mat::StripeName stripe(int v) {
    mat::StripeName s;
    std::snprintf(s.name, sizeof s.name, "%s", ds.varname[v - 1]);
    return s;
}

// A lower-triangular table of the variables, in panels that fit the line unless wrap; cell(a, b)
// gives the lines of one entry (one or more), blank lines between rows when an entry has several.
template <class Cell> std::string triangle(const std::vector<int> &vars, bool wrap, int lines, Cell cell) {
    const int k = (int)vars.size();
    const int per = wrap ? k : std::max(1, (se.linesize - LW - 2) / CW);
    std::string s;
    for (int c0 = 0; c0 < k; c0 += per) {
        const int c1 = std::min(k, c0 + per);
        s += "\n{txt}" + blanks(LW) + " {c |}";
        for (int c = c0; c < c1; ++c)
            s += rj(abbreviate_name(ds.varname[vars[(size_t)c] - 1], 8), CW);
        s += "\n{hline " + std::to_string(LW + 1) + "}{c +}{hline " + std::to_string((c1 - c0) * CW) + "}\n";
        for (int r = c0; r < k; ++r) {
            for (int l = 0; l < lines; ++l) {
                s += "{txt}" +
                     (l == 0 ? rj(abbreviate_name(ds.varname[vars[(size_t)r] - 1], LW), LW) : blanks(LW)) +
                     " {c |}{res}";
                for (int c = c0; c < std::min(c1, r + 1); ++c)
                    s += cell(r, c, l);
                s += "\n";
            }
            if (lines > 1 && r + 1 < k) s += "{txt}" + blanks(LW) + " {c |}\n";
        }
    }
    return s;
}

} // namespace

// correlate [varlist] [if] [in] [weight] [, means noformat covariance wrap]
int cmd_correlate(int) {
    ParseSpec spec;
    spec.varlist = PO_OPTIONAL;
    spec.weight = PO_OPTIONAL;
    spec.wmask = WT_A | WT_F;
    if (int rc = std_parse(spec)) return rc;
    bool means = false, noformat = false, covariance = false, wrap = false;
    const session::OptSpec specs[] = {
        session::opt_flag("means", 1, means), session::opt_flag("noformat", 3, noformat),
        session::opt_flag("covariance", 3, covariance), session::opt_flag("wrap", 4, wrap)};
    if (int rc = std_options(specs)) return rc;
    std::vector<int> vars;
    if (int rc = numeric_list(vars)) return rc;
    if (vars.empty()) return session::error(102);
    const int k = (int)vars.size();
    if (int rc = mat::check_matsize(k, k)) return rc;
    Moments m;
    std::vector<uint8_t> marks;
    if (means) marks.assign((size_t)ds.nobs, 0);
    if (int rc = moments(vars, m, means ? marks.data() : nullptr))
        return rc == 2000 ? session::error(rc) : rc;
    std::vector<double> C((size_t)k * (size_t)k);
    for (int a = 0; a < k; ++a)
        for (int b = 0; b < k; ++b) {
            const double c = m.cov[(size_t)a * (size_t)k + (size_t)b];
            C[(size_t)a * (size_t)k + (size_t)b] =
                covariance ? c
                           : c / std::sqrt(m.cov[(size_t)a * (size_t)k + (size_t)a] *
                                           m.cov[(size_t)b * (size_t)k + (size_t)b]);
        }
    if (!covariance)
        for (int a = 0; a < k; ++a)
            if (!std::isnan(C[(size_t)a * (size_t)k + (size_t)a])) C[(size_t)a * (size_t)k + (size_t)a] = 1;
    for (double &x : C)
        if (!std::isfinite(x)) x = lim.dot;
    std::string s = "{txt}(obs=" + number_text(m.N) + ")\n";
    if (means) {
        s += "\n{txt}    Variable {c |}        Mean    Std. Dev.          Min          Max\n";
        s += "{hline 13}{c +}{hline 52}\n";
        for (int j = 0; j < k; ++j) {
            const int v = vars[(size_t)j];
            double lo = lim.dot, hi = lim.dot;
            for (int32_t i = 1; i <= ds.nobs; ++i)
                if (marks[(size_t)i - 1]) {
                    const double x = get_num(v, i);
                    if (is_missing(lo) || x < lo) lo = x;
                    if (is_missing(hi) || x > hi) hi = x;
                }
            s += "{txt}" + rj(abbreviate_name(ds.varname[v - 1], 12), 12) + " {c |}{res}" +
                 num(m.mean[(size_t)j], " %11.0g") +
                 num(std::sqrt(m.cov[(size_t)j * (size_t)k + (size_t)j]), "  %11.0g") + num(lo, "  %11.0g") +
                 num(hi, "  %11.0g") + "\n";
        }
    }
    const char *f = covariance || noformat ? " %8.0g" : " %8.4f";
    s += triangle(vars, wrap, 1,
                  [&](int r, int c, int) { return num(C[(size_t)r * (size_t)k + (size_t)c], f); });
    if (int rc = out::out_rimu(s)) return rc;
    mat::r_clear();
    if (int rc = mat::r_set_scalar("N", m.N)) return rc;
    if (sm.wtype != WT_NONE && sm.wtype != WT_F)
        if (int rc = mat::r_set_scalar("sum_w", m.sumw)) return rc;
    if (k >= 2) {
        const double rho = m.cov[1] / std::sqrt(m.cov[0] * m.cov[(size_t)k + 1]);
        if (int rc = mat::r_set_scalar("rho", std::isfinite(rho) ? rho : lim.dot)) return rc;
        if (covariance) {
            if (int rc = mat::r_set_scalar("cov_12", m.cov[1])) return rc;
            if (int rc = mat::r_set_scalar("Var_2", m.cov[(size_t)k + 1])) return rc;
        }
    }
    if (covariance)
        if (int rc = mat::r_set_scalar("Var_1", m.cov[0])) return rc;
    mat::Matrix cm;
    cm.resize(k, k);
    cm.v = C;
    cm.sym = true;
    for (int v : vars)
        cm.rn.push_back(stripe(v));
    cm.cn = cm.rn;
    return mat::mat_save("C", session::ST_R_MATRIX, cm);
}

// pwcorr [varlist] [if] [in] [weight] [, obs sig star(#) bonferroni sidak print(#)]
int cmd_pwcorr(int) {
    ParseSpec spec;
    spec.varlist = PO_OPTIONAL;
    spec.weight = PO_OPTIONAL;
    spec.wmask = WT_A | WT_F;
    if (int rc = std_parse(spec)) return rc;
    bool obs = false, sig = false, bonf = false, sidak = false;
    double star = -1, print = -1;
    const session::OptSpec specs[] = {
        session::opt_flag("obs", 1, obs),     session::opt_flag("sig", 1, sig),
        session::opt_real("star", 2, star),   session::opt_flag("bonferroni", 1, bonf),
        session::opt_flag("sidak", 3, sidak), session::opt_real("print", 1, print)};
    if (int rc = std_options(specs)) return rc;
    if (bonf && sidak) return session::fail(198, "bonferroni and sidak may not be combined\n");
    std::vector<int> vars;
    if (int rc = numeric_list(vars)) return rc;
    if (vars.empty()) return session::error(102);
    const int k = (int)vars.size();
    if (int rc = mat::check_matsize(k, k)) return rc;
    const double tests = k * (k - 1) / 2.0;
    std::vector<double> R((size_t)k * (size_t)k, lim.dot), P = R, Nn = R;
    for (int a = 0; a < k; ++a)
        for (int b = 0; b <= a; ++b) {
            std::vector<int> pair = {vars[(size_t)a], vars[(size_t)b]};
            if (a == b) pair.pop_back();
            Moments m;
            const int rc = moments(pair, m);
            if (rc == 2000) continue; // a pair with no observations in common shows nothing
            if (rc) return rc;
            const size_t ab = (size_t)a * (size_t)k + (size_t)b, ba = (size_t)b * (size_t)k + (size_t)a;
            Nn[ab] = Nn[ba] = m.N;
            double r = a == b ? 1 : m.cov[1] / std::sqrt(m.cov[0] * m.cov[3]);
            if (!std::isfinite(r)) continue;
            R[ab] = R[ba] = r;
            if (a == b) continue;
            double p =
                m.N > 2 ? 2 * xm::ttail(m.N - 2, std::fabs(r) * std::sqrt((m.N - 2) / (1 - r * r))) : lim.dot;
            if (std::fabs(r) >= 1 && m.N > 2) p = 0;
            if (!is_missing(p) && bonf) p = std::min(1.0, p * tests);
            if (!is_missing(p) && sidak) p = std::min(1.0, 1 - std::pow(1 - p, tests));
            P[ab] = P[ba] = p;
        }
    // an entry under the print() level shows blank
    auto shown = [&](int r, int c) {
        const double p = P[(size_t)r * (size_t)k + (size_t)c];
        return print < 0 || r == c || (!is_missing(p) && p <= print);
    };
    const int lines = 1 + (sig ? 1 : 0) + (obs ? 1 : 0);
    std::string s = triangle(vars, false, lines, [&](int r, int c, int l) {
        const size_t rc = (size_t)r * (size_t)k + (size_t)c;
        if (!shown(r, c) || is_missing(R[rc])) return blanks(CW);
        if (l == 0) {
            const bool st = star >= 0 && r != c && !is_missing(P[rc]) && P[rc] <= star;
            return num(R[rc], st ? " %7.4f" : " %8.4f") + (st ? "*" : "");
        }
        if (l == 1 && sig) return r == c ? std::string() : num(P[rc], " %8.4f");
        return num(Nn[rc], " %8.0f");
    });
    if (int rc = out::out_rimu(s)) return rc;
    mat::r_clear();
    if (k >= 2) {
        if (int rc = mat::r_set_scalar("N", Nn[(size_t)k])) return rc;
        if (int rc = mat::r_set_scalar("rho", R[(size_t)k])) return rc;
    } else if (int rc = mat::r_set_scalar("N", Nn[0]))
        return rc;
    const char *names[] = {"C", "sig", "Nobs"};
    const std::vector<double> *what[] = {&R, &P, &Nn};
    for (int j = 0; j < 3; ++j) {
        mat::Matrix cm;
        cm.resize(k, k);
        cm.v = *what[j];
        for (int v : vars)
            cm.rn.push_back(stripe(v));
        cm.cn = cm.rn;
        if (int rc = mat::mat_save(names[j], session::ST_R_MATRIX, cm)) return rc;
    }
    return 0;
}

} // namespace data

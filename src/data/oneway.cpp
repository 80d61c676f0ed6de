// oneway: the one-way analysis of variance of a response over the groups of a factor, with the test
// of equal variances across the groups and, on request, the groups' means.
#include "data/oneway.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/exprmath.h"
#include "data/fmt.h"
#include "data/labels.h"
#include "data/tabulate_smp.h"
#include "data/types.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "matrix/results.h"
#include "output/channel.h"
#include "output/rimu.h"
#include "session/errors.h"
#include "session/options.h"
#include "session/state.h"

namespace data {

using session::lim;

namespace {

constexpr int MAX_GROUPS = 12000;

std::string blanks(int n) { return n > 0 ? std::string((size_t)n, ' ') : std::string(); }
std::string rj(const std::string &s, int w) { return blanks(w - (int)s.size()) + out::brace_escaped(s); }
// x under format fm, behind the blanks that fm opens with
std::string f(double x, const char *fm) {
    int k = 0;
    while (fm[k] == ' ')
        ++k;
    return blanks(k) + fmt_text(x, fm + k);
}
std::string trim_fmt(double x, const char *fm) {
    std::string t = fmt_text(x, fm);
    t.erase(0, t.find_first_not_of(' '));
    return t;
}

} // namespace

// oneway response factor [if] [in] [weight] [, tabulate noanova nolabel missing]
int cmd_oneway(int) {
    ParseSpec spec;
    spec.varlist = PO_REQUIRED;
    spec.weight = PO_OPTIONAL;
    spec.wmask = WT_A | WT_F;
    if (int rc = std_parse(spec)) return rc;
    bool tabulate = false, noanova = false, nolabel = false, missing = false;
    const session::OptSpec specs[] = {
        session::opt_flag("tabulate", 1, tabulate), session::opt_flag("noanova", 5, noanova),
        session::opt_flag("nolabel", 5, nolabel), session::opt_flag("missing", 1, missing)};
    if (int rc = std_options(specs)) return rc;
    if (ps.count < 2) return session::error(102);
    if (ps.count > 2) return session::error(103);
    const int y = ps.var[0], g = ps.var[1];
    if (is_string_type(ds.vartype[y - 1])) return session::error(109);
    std::vector<int32_t> all;
    if (int rc = sample_obs(all)) return rc;
    // the response present and a usable weight
    std::vector<int32_t> obs;
    std::vector<double> yv, w;
    if (sm.wtype != WT_NONE) sample_ranges(wtexp);
    for (int32_t i : all) {
        const double x = get_num(y, i);
        if (is_missing(x)) continue;
        double wt = 1;
        if (sm.wtype != WT_NONE) {
            wt = expr_xeqforby(wtexp, i);
            if (is_missing(wt) || wt == 0) continue;
            if (wt < 0) return session::error(402);
            if (sm.wtype == WT_F && wt != std::floor(wt)) return session::error(401);
        }
        obs.push_back(i);
        yv.push_back(x);
        w.push_back(wt);
    }
    if (int rc = expr_lastrc) return rc;
    tab::Coded c;
    if (int rc = tab::code_var(g, obs, missing, MAX_GROUPS, c)) return rc == 134 ? session::error(134) : rc;
    const int G0 = c.nlev();
    std::vector<double> n((size_t)G0, 0.0), sw((size_t)G0, 0.0), sy((size_t)G0, 0.0), ss((size_t)G0, 0.0);
    double nobs = 0, W = 0;
    for (size_t k = 0; k < obs.size(); ++k) {
        const int32_t j = c.code[k];
        if (j < 0) continue;
        n[(size_t)j] += 1;
        sw[(size_t)j] += w[k];
        sy[(size_t)j] += w[k] * yv[k];
        nobs += 1;
        W += w[k];
    }
    if (nobs == 0) return session::error(2000);
    std::vector<double> mean((size_t)G0, 0.0);
    for (int j = 0; j < G0; ++j)
        if (sw[(size_t)j] > 0) mean[(size_t)j] = sy[(size_t)j] / sw[(size_t)j];
    for (size_t k = 0; k < obs.size(); ++k) {
        const int32_t j = c.code[k];
        if (j < 0) continue;
        const double d = yv[k] - mean[(size_t)j];
        ss[(size_t)j] += w[k] * d * d;
    }
    // analytic weights count as many observations as there are; frequency weights as their sum
    const double scale = sm.wtype == WT_A ? nobs / W : 1;
    const double N = sm.wtype == WT_A || sm.wtype == WT_NONE ? nobs : W;
    double grand = 0;
    for (int j = 0; j < G0; ++j)
        grand += sy[(size_t)j];
    grand /= W;
    int G = 0;
    double rss = 0, mss = 0;
    for (int j = 0; j < G0; ++j) {
        if (n[(size_t)j] == 0) continue;
        ++G;
        rss += ss[(size_t)j] * scale;
        mss += sw[(size_t)j] * scale * (mean[(size_t)j] - grand) * (mean[(size_t)j] - grand);
    }
    const double df_m = G - 1, df_r = N - G;
    const double F = df_m > 0 && df_r > 0 && rss > 0 ? (mss / df_m) / (rss / df_r) : lim.dot;
    const double p = is_missing(F) ? lim.dot : xm::Ftail(df_m, df_r, F);

    // Bartlett's test over the groups with more than one observation
    double chi2 = lim.dot, df_b = lim.dot;
    {
        double sum_l = 0, sum_inv = 0, dfw = 0, pooled = 0;
        int used = 0;
        bool zero = false;
        for (int j = 0; j < G0; ++j) {
            const double nj = sw[(size_t)j] * scale;
            if (nj < 2) continue;
            const double s2 = ss[(size_t)j] * scale / (nj - 1);
            if (s2 <= 0) zero = true;
            ++used;
            sum_l += (nj - 1) * std::log(s2);
            sum_inv += 1 / (nj - 1);
            dfw += nj - 1;
            pooled += ss[(size_t)j] * scale;
        }
        if (used >= 2 && !zero && pooled > 0) {
            pooled /= dfw;
            df_b = used - 1;
            chi2 = (dfw * std::log(pooled) - sum_l) / (1 + (sum_inv - 1 / dfw) / (3 * (used - 1)));
        }
    }

    std::string s;
    if (tabulate) {
        std::string name = ds.varname[g - 1];
        std::vector<std::string> text((size_t)G0);
        int w0 = std::max<int>(12, (int)name.size());
        for (int j = 0; j < G0; ++j) {
            if (c.is_str)
                text[(size_t)j] = c.str[(size_t)j];
            else {
                const char *l = nolabel ? nullptr : vl_text(ds.vallab[g - 1], c.num[(size_t)j]);
                text[(size_t)j] = l ? l : fmt_text(c.num[(size_t)j], ds.fmt[g - 1]);
                text[(size_t)j].erase(0, text[(size_t)j].find_first_not_of(' '));
            }
            if (text[(size_t)j].size() > 32) text[(size_t)j].resize(32);
            w0 = std::max(w0, (int)text[(size_t)j].size());
        }
        const std::string yname = ds.varname[y - 1];
        s += "\n{txt}" + blanks(w0) + " {c |}" + blanks(std::max(0, (37 - 11 - (int)yname.size()) / 2)) +
             "Summary of " + out::brace_escaped(yname) + "\n";
        s += rj(name, w0) + " {c |}        Mean   Std. Dev.       Freq.\n";
        s += "{hline " + std::to_string(w0 + 1) + "}{c +}{hline 36}\n";
        auto row = [&](const std::string &label, double m, double sd, double fr) {
            s += "{txt}" + rj(label, w0) + " {c |}{res}" + f(m, " %11.0g") + f(sd, " %11.0g") +
                 f(fr, " %11.0g") + "\n";
        };
        double tss = 0;
        for (size_t k = 0; k < obs.size(); ++k)
            if (c.code[k] >= 0) tss += w[k] * (yv[k] - grand) * (yv[k] - grand);
        for (int j = 0; j < G0; ++j) {
            const double nj = sw[(size_t)j] * scale;
            row(text[(size_t)j], mean[(size_t)j],
                nj > 1 ? std::sqrt(ss[(size_t)j] * scale / (nj - 1)) : lim.dot,
                sm.wtype == WT_A ? n[(size_t)j] : sw[(size_t)j]);
        }
        s += "{hline " + std::to_string(w0 + 1) + "}{c +}{hline 36}\n";
        row("Total", grand, N > 1 ? std::sqrt(tss * scale / (N - 1)) : lim.dot, N);
    }
    if (!noanova) {
        s += "\n{txt}" + blanks(24) + "Analysis of Variance\n";
        s += "    Source" + blanks(6) + rj("SS", 12) + rj("df", 9) + rj("MS", 12) + rj("F", 11) +
             rj("Prob > F", 11) + "\n";
        s += "{hline 71}\n";
        auto line = [&](const char *label, double sq, double df, double Fv, double pv, bool stats) {
            s += std::string("{txt}") + label + "{res}" + f(sq, " %11.0g") + f(df, " %8.0f") +
                 f(df > 0 ? sq / df : lim.dot, " %11.0g");
            if (stats) s += f(Fv, " %10.2f") + f(pv, " %10.4f");
            s += "\n";
        };
        line("Between groups  ", mss, df_m, F, p, true);
        line(" Within groups  ", rss, df_r, 0, 0, false);
        s += "{hline 71}\n";
        line("    Total       ", mss + rss, N - 1, 0, 0, false);
        if (!is_missing(chi2))
            s += "\n{txt}Bartlett's test for equal variances:  chi2(" + number_text(df_b) + ") = {res}" +
                 trim_fmt(chi2, "%8.4f") + "  {txt}Prob>chi2 = {res}" +
                 trim_fmt(xm::chi2tail(df_b, chi2), "%5.3f") + "\n";
    }
    if (int rc = out::out_rimu(s)) return rc;
    mat::r_clear();
    const std::pair<const char *, double> res[] = {{"N", N},       {"df_r", df_r}, {"F", F},
                                                   {"df_m", df_m}, {"mss", mss},   {"rss", rss}};
    for (const auto &[nm, v] : res)
        if (int rc = mat::r_set_scalar(nm, v)) return rc;
    if (!is_missing(chi2)) {
        if (int rc = mat::r_set_scalar("chi2bart", chi2)) return rc;
        if (int rc = mat::r_set_scalar("df_bart", df_b)) return rc;
    }
    return 0;
}

} // namespace data

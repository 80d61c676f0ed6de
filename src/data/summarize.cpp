// summarize and _pctile: the sample and its weights, the kernels of summarize_smp, the tables and r().
#include "data/summarize.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <new>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/expr.h"
#include "data/fmt.h"
#include "data/labels.h"
#include "data/list.h"
#include "data/summarize_smp.h"
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

constexpr int BLK = 256; // observations of an `if` or a weight run in one call of the block machine

// The values of rec for observations lo..hi into out[0..].
int run_record(ExprRecord &rec, int32_t lo, int32_t hi, double *out) {
    expr_lastrc = 0;
    for (int32_t b = lo; b <= hi; b += BLK) {
        if (((b - lo) & 65535) == 0 && b > lo && session::poll_break()) return 1;
        const int m = std::min<int32_t>(BLK, hi - b + 1);
        if (int rc = expr_xeq_block(rec, b, m, out + (b - lo))) return rc;
    }
    return expr_lastrc;
}

} // namespace

int sample_weights(int32_t lo, int32_t hi, std::vector<double> &wt) {
    wt.clear();
    if (hi < lo || (!sm.ifpresent && sm.wtype == WT_NONE)) return 0;
    std::vector<double> tv;
    try {
        wt.assign((size_t)(hi - lo + 1), 1.0);
        if (sm.ifpresent) tv.resize(wt.size());
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    if (sm.wtype != WT_NONE) {
        sample_ranges(wtexp);
        if (int rc = run_record(wtexp, lo, hi, wt.data())) return rc;
    }
    if (sm.ifpresent) {
        sample_ranges(ifexp);
        if (int rc = run_record(ifexp, lo, hi, tv.data())) return rc;
    }
    for (size_t j = 0; j < wt.size(); ++j) {
        if (sm.ifpresent && tv[j] == 0) {
            wt[j] = 0;
            continue;
        }
        double &w = wt[j];
        if (is_missing(w)) {
            w = 0;
            continue;
        }
        if (sm.wtype == WT_NONE || sm.wtype == WT_I) continue;
        if (w < 0) return session::error(402);
        if (sm.wtype == WT_F && w != std::floor(w)) return session::error(401);
    }
    return 0;
}

namespace {

// The figures of one variable as summarize reports them.
struct Summary {
    Moments m;
    double N = 0;   // observations, or the sum of frequency weights
    double var = 0; // `.` below two observations
    bool detail = false;
    double p[9] = {};
    double smallest[4] = {}, largest[4] = {}; // `.` where there are fewer values
    double skewness = 0, kurtosis = 0;
};

constexpr double PCTS[9] = {1, 5, 10, 25, 50, 75, 90, 95, 99};

// The variance of the moments under the line's weight: frequency and importance weights count as
// observations; analytic and sampling weights are scaled to sum to the number of observations.
double variance_of(const Moments &m) {
    if (sm.wtype == WT_A || sm.wtype == WT_P)
        return m.n > 1 && m.w > 0 ? m.m2 / m.w * m.n / (m.n - 1) : lim.dot;
    return m.w > 1 ? m.m2 / (m.w - 1) : lim.dot;
}

int summarize_var(int v, const SumSample &s, bool detail, Summary *out) {
    *out = Summary{};
    out->detail = detail;
    if (!is_string_type(ds.vartype[(size_t)v - 1]))
        if (int rc = sum_moments(v, s, &out->m)) return rc;
    const Moments &m = out->m;
    out->N = sm.wtype == WT_F ? m.w : m.n;
    out->var = variance_of(m);
    if (!detail || m.n == 0) return 0;
    std::vector<double> x, w;
    if (int rc = sum_values(v, s, x, w)) return rc;
    double m3 = 0, m4 = 0;
    sum_higher(x, w, m.mean, &m3, &m4);
    const double m2w = m.m2 / m.w;
    out->skewness = m2w > 0 ? m3 / m.w / std::pow(m2w, 1.5) : lim.dot;
    out->kurtosis = m2w > 0 ? m4 / m.w / (m2w * m2w) : lim.dot;
    for (int k = 0; k < 4; ++k)
        out->smallest[k] = out->largest[k] = lim.dot;
    extremes4(x, out->smallest, out->largest);
    std::vector<double> pv;
    percentiles(x, w, std::vector<double>(PCTS, PCTS + 9), false, pv);
    std::copy(pv.begin(), pv.end(), out->p);
    return 0;
}

int post_results(const Summary &s, bool meanonly) {
    mat::r_clear();
    const Moments &m = s.m;
    std::vector<std::pair<std::string, double>> r = {{"N", s.N}, {"sum_w", m.w}};
    if (m.n > 0) {
        r.emplace_back("mean", m.mean);
        if (!meanonly) {
            r.emplace_back("Var", s.var);
            r.emplace_back("sd", is_missing(s.var) ? lim.dot : std::sqrt(s.var));
        }
        if (s.detail) {
            r.emplace_back("skewness", s.skewness);
            r.emplace_back("kurtosis", s.kurtosis);
        }
        r.emplace_back("min", m.min);
        r.emplace_back("max", m.max);
    }
    r.emplace_back("sum", m.sum);
    if (s.detail && m.n > 0)
        for (int k = 0; k < 9; ++k)
            r.emplace_back("p" + std::to_string((int)PCTS[k]), s.p[k]);
    for (const auto &[name, v] : r)
        if (int rc = mat::r_set_scalar(name.c_str(), v)) return rc;
    return 0;
}

std::string rjust(const std::string &s, size_t w) {
    return s.size() >= w ? s : std::string(w - s.size(), ' ') + s;
}
std::string ljust(const std::string &s, size_t w) {
    return s.size() >= w ? s : s + std::string(w - s.size(), ' ');
}

struct Table {
    bool weighted = false;
    bool format = false;
    int separator = 5;
    int rows = 0;
    // with the weight column the counts and the extremes give up a place each, to stay in 79
    int hline() const { return weighted ? 65 : 57; }
    size_t wn() const { return weighted ? 9 : 10; }
};

int table_header(const Table &t) {
    std::string s =
        t.weighted
            ? "{txt}    Variable {c |}       Obs     Weight        Mean   Std. Dev.       Min       Max\n"
            : "{txt}    Variable {c |}        Obs        Mean   Std. Dev.        Min        Max\n";
    s += "{hline 13}{c +}{hline " + std::to_string(t.hline()) + "}\n";
    return out::out_rimu(s);
}

int table_row(Table &t, int v, const Summary &s) {
    std::string line;
    if (t.separator > 0 && t.rows > 0 && t.rows % t.separator == 0)
        line += "{txt}{hline 13}{c +}{hline " + std::to_string(t.hline()) + "}\n";
    ++t.rows;
    const char *vfmt = t.format ? ds.fmt[(size_t)v - 1] : "%9.0g";
    auto num = [&](double x, size_t w, const char *f) {
        return " " + rjust(is_missing(x) ? std::string() : fmt_text(x, f), w);
    };
    line += "{txt}" + rjust(abbreviate_name(ds.varname[(size_t)v - 1], 12), 12) + " {c |}{res}";
    line += num(s.N, t.wn(), t.weighted ? "%9.0f" : "%10.0f");
    if (t.weighted) line += num(s.m.w, 10, "%9.0g");
    if (s.m.n > 0) {
        line += num(s.m.mean, 11, vfmt);
        const double sd = is_missing(s.var) ? lim.dot : std::sqrt(s.var);
        line += is_missing(sd) ? " " + rjust(".", 11) : num(sd, 11, t.format ? vfmt : "%9.0g");
        line += num(s.m.min, t.wn(), vfmt) + num(s.m.max, t.wn(), vfmt);
    }
    return out::out_rimu(line + "\n");
}

// The detail block: the percentiles beside the smallest and largest values, then the moments.
int show_detail(int v, const Summary &s, bool format) {
    const char *vfmt = format ? ds.fmt[(size_t)v - 1] : "%9.0g";
    const char *name = ds.varname[(size_t)v - 1];
    const char *lab = varlabel_get(name);
    const std::string title = lab && *lab ? lab : name;
    const size_t pad = title.size() < 61 ? (61 - title.size()) / 2 : 0;
    std::string o = "\n{txt}" + std::string(pad, ' ') + out::brace_escaped(title) + "\n{hline 61}\n";
    o += "      Percentiles      Smallest\n";
    const bool any = s.m.n > 0;
    auto val = [&](double x, const char *f) {
        return any && !is_missing(x) ? fmt_text(x, f) : std::string();
    };
    auto left = [&](int k, double ext) {
        char pc[8];
        std::snprintf(pc, sizeof pc, "%2d%%", (int)PCTS[k]);
        return "{txt}" + std::string(pc) + "{res}" + rjust(val(s.p[k], vfmt), 12) + rjust(val(ext, vfmt), 15);
    };
    auto right = [&](const char *label, double x, const char *f) {
        return "{txt}       " + ljust(label, 12) + "{res}" + rjust(any || x == 0 ? fmt_text(x, f) : "", 12);
    };
    const double sd = is_missing(s.var) ? lim.dot : std::sqrt(s.var);
    o += left(0, s.smallest[0]) + "\n";
    o += left(1, s.smallest[1]) + "\n";
    o += left(2, s.smallest[2]) + right("Obs", s.N, "%9.0f") + "\n";
    o += left(3, s.smallest[3]) + right("Sum of Wgt.", s.m.w, "%9.0g") + "\n\n";
    o += "{txt}50%{res}" + rjust(val(s.p[4], vfmt), 12) + std::string(15, ' ') +
         right("Mean", any ? s.m.mean : lim.dot, vfmt) + "\n";
    o += "{txt}                        Largest" + right("Std. Dev.", any ? sd : lim.dot, "%9.0g") + "\n";
    o += left(5, s.largest[3]) + "\n";
    o += left(6, s.largest[2]) + right("Variance", any ? s.var : lim.dot, "%9.0g") + "\n";
    o += left(7, s.largest[1]) + right("Skewness", any ? s.skewness : lim.dot, "%9.0g") + "\n";
    o += left(8, s.largest[0]) + right("Kurtosis", any ? s.kurtosis : lim.dot, "%9.0g") + "\n";
    // blank figures leave no blanks at the ends of lines
    std::string t;
    for (char c : o) {
        if (c == '\n')
            while (!t.empty() && t.back() == ' ')
                t.pop_back();
        t += c;
    }
    return out::out_rimu(t);
}

struct SumOpts {
    bool detail = false, meanonly = false, format = false;
    int separator = 5;
};

} // namespace

int cmd_summarize(int) {
    ParseSpec spec;
    spec.varlist = PO_OPTIONAL;
    spec.weight = PO_OPTIONAL;
    spec.wmask = WT_A | WT_F | WT_I | WT_P;
    spec.wdefault = WT_A;
    if (int rc = std_parse(spec)) return rc;
    SumOpts o;
    const session::OptSpec specs[] = {
        session::opt_flag("detail", 1, o.detail),
        session::opt_flag("meanonly", 4, o.meanonly),
        session::opt_flag("format", 3, o.format),
        session::opt_int("separator", 3, o.separator, 0, 1000000),
    };
    if (int rc = std_options(specs)) return rc;
    if (o.detail && o.meanonly)
        return session::fail(198, "options detail and meanonly may not be combined\n");
    if (sm.wtype == WT_P && !o.detail && !o.meanonly)
        return session::fail(101, "pweights may not be used without the detail or meanonly option\n");

    std::vector<int> vars;
    if (ps.count == 0)
        for (int v = 1; v <= ds.nvar; ++v)
            vars.push_back(v);
    for (int k = 0; k < ps.count; ++k)
        if (ps.var[(size_t)k] >= 1) vars.push_back(ps.var[(size_t)k]);

    const int32_t lo = sample_lo(), hi = sample_hi();
    std::vector<double> wt;
    if (int rc = sample_weights(lo, hi, wt)) return rc;
    SumSample s;
    s.lo = lo;
    s.hi = hi;
    s.wt = wt.empty() ? nullptr : wt.data();

    // meanonly gives the results of the last variable and nothing else: only that one is summarized
    if (o.meanonly) {
        Summary r;
        if (!vars.empty())
            if (int rc = summarize_var(vars.back(), s, false, &r)) return rc;
        return post_results(r, true);
    }
    Table t;
    t.weighted = sm.wtype != WT_NONE;
    t.format = o.format;
    t.separator = o.separator;
    out::ClassScope cs(out::CLS_RESULT);
    if (!o.detail)
        if (int rc = table_header(t)) return rc;
    Summary r;
    for (int v : vars) {
        if (int rc = summarize_var(v, s, o.detail, &r)) return rc;
        if (o.detail) {
            if (is_string_type(ds.vartype[(size_t)v - 1])) continue;
            if (int rc = show_detail(v, r, o.format)) return rc;
        } else if (int rc = table_row(t, v, r)) {
            return rc;
        }
        if (session::poll_break()) return session::error(1);
    }
    return post_results(r, false);
}

namespace {

// The numbers of a list written with blanks or commas between them.
int read_numbers(const std::string &text, std::vector<double> &out) {
    std::string word;
    auto flush = [&]() {
        if (word.empty()) return 0;
        double v = 0;
        if (!text_to_number(word, v, false)) return session::invalid_text("percentiles(" + text + ")");
        out.push_back(v);
        word.clear();
        return 0;
    };
    for (char c : text) {
        if (c == ' ' || c == ',' || c == '\t') {
            if (int rc = flush()) return rc;
        } else {
            word += c;
        }
    }
    return flush();
}

} // namespace

int cmd__pctile(int) {
    ParseSpec spec;
    spec.varlist = PO_REQUIRED;
    spec.weight = PO_OPTIONAL;
    spec.wmask = WT_A | WT_F | WT_P;
    spec.wdefault = WT_A;
    if (int rc = std_parse(spec)) return rc;
    int nq = 0;
    std::string pctext;
    bool altdef = false;
    const session::OptSpec specs[] = {
        session::opt_int("nquantiles", 1, nq, 2, 1001),
        session::opt_text("percentiles", 1, pctext),
        session::opt_flag("altdef", 6, altdef),
    };
    if (int rc = std_options(specs)) return rc;
    if (ps.count != 1) return session::fail(103, "too many variables specified\n");
    const int v = ps.var[0];
    if (is_string_type(ds.vartype[(size_t)v - 1])) return session::error(109);
    if (nq && !pctext.empty())
        return session::fail(198, "nquantiles() and percentiles() may not be combined\n");
    if (altdef && sm.wtype != WT_NONE) return session::fail(198, "altdef may not be combined with weights\n");
    std::vector<double> ps_;
    if (!pctext.empty()) {
        if (int rc = read_numbers(pctext, ps_)) return rc;
        for (double p : ps_)
            if (!(p >= 0 && p <= 100)) return session::fail(198, "percentiles must be between 0 and 100\n");
        if (ps_.size() > 1000) return session::fail(198, "too many percentiles requested\n");
    } else {
        if (nq == 0) nq = 2;
        for (int k = 1; k < nq; ++k)
            ps_.push_back(100.0 * k / nq);
    }
    const int32_t lo = sample_lo(), hi = sample_hi();
    std::vector<double> wt;
    if (int rc = sample_weights(lo, hi, wt)) return rc;
    SumSample s;
    s.lo = lo;
    s.hi = hi;
    s.wt = wt.empty() ? nullptr : wt.data();
    std::vector<double> x, w, pv;
    if (int rc = sum_values(v, s, x, w)) return rc;
    mat::r_clear();
    if (x.empty()) return session::error(2000);
    percentiles(x, w, ps_, altdef, pv);
    for (size_t k = 0; k < pv.size(); ++k)
        if (int rc = mat::r_set_scalar(("r" + std::to_string(k + 1)).c_str(), pv[k])) return rc;
    return 0;
}

} // namespace data

// tabulate: the frequencies of one variable, or the cross-tabulation of two with the tests of
// independence; r() and the matrices the options ask for.
#include "data/tabulate.h"

#include <algorithm>
#include <cmath>
#include <numeric>
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

constexpr int MAX_ONEWAY = 12000; // values of a one-way table
constexpr int MAX_ROWS = 1200;    // rows of a two-way table
constexpr int MAX_COLS = 80;      // columns of a two-way table
constexpr int LABEL_MAX = 32;     // the widest text of the first column

struct TabOpts {
    bool missing = false, nolabel = false, sort = false, plot = false;
    bool row = false, column = false, cell = false, nofreq = false, expected = false;
    bool chi2 = false, lrchi2 = false, V = false, exact = false;
    std::string gen, subpop, matcell, matrow, matcol;
};

std::vector<session::OptSpec> option_specs(TabOpts &o) {
    using namespace session;
    return {opt_flag("missing", 1, o.missing),   opt_flag("nolabel", 5, o.nolabel),
            opt_flag("sort", 4, o.sort),         opt_flag("plot", 4, o.plot),
            opt_flag("row", 3, o.row),           opt_flag("column", 3, o.column),
            opt_flag("cell", 4, o.cell),         opt_flag("nofreq", 3, o.nofreq),
            opt_flag("expected", 1, o.expected), opt_flag("chi2", 3, o.chi2),
            opt_flag("lrchi2", 2, o.lrchi2),     opt_flag("V", 1, o.V),
            opt_flag("exact", 4, o.exact),       opt_name("generate", 3, o.gen),
            opt_name("subpop", 6, o.subpop),     opt_name("matcell", 7, o.matcell),
            opt_name("matrow", 6, o.matrow),     opt_name("matcol", 6, o.matcol)};
}

std::string blanks(int n) { return n > 0 ? std::string((size_t)n, ' ') : std::string(); }
std::string rj(const std::string &s, int w) { return blanks(w - (int)s.size()) + out::brace_escaped(s); }
std::string trim(std::string s) {
    const size_t b = s.find_first_not_of(' ');
    if (b == std::string::npos) return "";
    return s.substr(b, s.find_last_not_of(' ') - b + 1);
}
std::string cut(std::string s, int w) {
    if ((int)s.size() > w) s.resize((size_t)w);
    return s;
}
std::string fixed(double x, int dec) {
    char b[64];
    std::snprintf(b, sizeof b, "%.*f", dec, x);
    return b;
}

// A level as the table shows it: its value label unless nolabel, else the value under the variable's
// format, or the string.
std::string level_text(int v, const tab::Coded &c, int j, bool nolabel) {
    if (c.is_str) return c.str[(size_t)j];
    const double x = c.num[(size_t)j];
    if (!nolabel)
        if (const char *l = vl_text(ds.vallab[v - 1], x)) return l;
    return trim(fmt_text(x, ds.fmt[v - 1]));
}

// A frequency: whole counts as integers, weighted sums in general format.
std::string freq_text(double x, bool whole) { return whole ? fixed(x, 0) : trim(fmt_text(x, "%9.0g")); }

// The sample: the observations of if/in (and subpop) with a usable weight. integer: every weight is a
// whole number (no weight, or frequency weights).
int gather(const TabOpts &o, std::vector<int32_t> &obs, std::vector<double> &w, bool &integer) {
    obs.reserve((size_t)std::max(0, sample_hi() - sample_lo() + 1));
    if (int rc = sample_obs(obs)) return rc;
    if (!o.subpop.empty()) {
        const int sv = find_var(o.subpop.c_str());
        size_t k = 0;
        for (int32_t i : obs) {
            const double x = get_num(sv, i);
            if (x != 0 && !is_missing(x)) obs[k++] = i;
        }
        obs.resize(k);
    }
    integer = sm.wtype == WT_NONE || sm.wtype == WT_F;
    if (sm.wtype == WT_NONE) return 0;
    sample_ranges(wtexp);
    size_t k = 0;
    w.clear();
    for (int32_t i : obs) {
        const double x = expr_xeqforby(wtexp, i);
        if (is_missing(x) || x == 0) continue;
        if (x < 0 && sm.wtype != WT_I) return session::error(402);
        if (sm.wtype == WT_F && x != std::floor(x)) return session::error(401);
        obs[k++] = i;
        w.push_back(x);
    }
    obs.resize(k);
    return expr_lastrc;
}

std::string name_of(int v) { return ds.varname[v - 1]; }

// The matrix of a level list: a column of the values (numeric variables only).
int save_levels(const std::string &name, const tab::Coded &c, const std::vector<int> &keep, bool as_row) {
    mat::Matrix m;
    const int n = (int)keep.size();
    if (as_row)
        m.resize(1, n);
    else
        m.resize(n, 1);
    for (int j = 0; j < n; ++j)
        m.v[(size_t)j] = c.num[(size_t)keep[(size_t)j]];
    return mat::mat_save(name.c_str(), session::ST_MATRIX, m);
}

// ---- One-way --------------------------------------------------------------------------------------

int make_indicators(const TabOpts &o, int v, const tab::Coded &c, const std::vector<int32_t> &obs) {
    const int k = c.nlev();
    for (int j = 1; j <= k; ++j)
        if (int rc = check_newname((o.gen + std::to_string(j)).c_str())) return rc;
    const int32_t before = ds.nvar;
    std::vector<int> nv((size_t)k);
    for (int j = 1; j <= k; ++j) {
        if (int rc = add_var((o.gen + std::to_string(j)).c_str(), T_BYTE, &nv[(size_t)j - 1])) {
            cut_vars(before);
            return rc;
        }
        fill_missing(nv[(size_t)j - 1], 1);
    }
    for (size_t i = 0; i < obs.size(); ++i) {
        const int32_t code = c.code[i];
        if (code < 0) continue;
        for (int j = 0; j < k; ++j)
            put_num(nv[(size_t)j], obs[i], code == j ? 1 : 0);
    }
    for (int j = 0; j < k; ++j) {
        const std::string text = name_of(v) + "==" + level_text(v, c, j, o.nolabel);
        if (int rc = varlabel_set(ds.varname[nv[(size_t)j] - 1], text)) {
            cut_vars(before);
            return session::error(rc);
        }
    }
    bump_changed();
    return 0;
}

int oneway(const TabOpts &o, int v, const std::vector<int32_t> &obs, const std::vector<double> &w,
           bool integer) {
    tab::Coded c;
    // unweighted and without indicators, a count of each value is all the table needs
    const bool codes = !w.empty() || !o.gen.empty();
    if (int rc = tab::code_var(v, obs, o.missing, MAX_ONEWAY, c, codes))
        return rc == 134 ? session::error(134) : rc;
    const int k = c.nlev();
    std::vector<double> cells((size_t)k, 0.0);
    int64_t nobs = 0;
    if (!c.code.empty() || c.count.empty()) {
        if (int rc = tab::count_cells(c.code, nullptr, 1, w.empty() ? nullptr : w.data(), integer, cells))
            return rc;
        for (int32_t code : c.code)
            nobs += code >= 0;
    } else {
        cells = c.count;
        for (double x : cells)
            nobs += (int64_t)x;
    }
    double N = 0, sumw = 0;
    for (double x : cells)
        sumw += x;
    if (sm.wtype == WT_A && sumw > 0)
        for (double &x : cells)
            x *= (double)nobs / sumw;
    for (double x : cells)
        N += x;
    if (nobs == 0) return session::error(2000);
    if (!o.matrow.empty() && c.is_str)
        return session::fail(109, "matrow() not possible with string variable\n");
    if (!o.gen.empty())
        if (int rc = make_indicators(o, v, c, obs)) return rc;
    std::vector<int> rows((size_t)k);
    std::iota(rows.begin(), rows.end(), 0);
    if (o.sort)
        std::stable_sort(rows.begin(), rows.end(),
                         [&](int a, int b) { return cells[(size_t)a] > cells[(size_t)b]; });
    std::vector<std::string> text((size_t)k);
    int w0 = std::max<int>(10, (int)name_of(v).size());
    for (int j = 0; j < k; ++j) {
        text[(size_t)j] = cut(level_text(v, c, j, o.nolabel), LABEL_MAX);
        w0 = std::max(w0, (int)text[(size_t)j].size());
    }
    std::string s = "\n{txt}" + rj(name_of(v), w0) + " {c |}      Freq.";
    const int bar_room = std::max(10, se.linesize - w0 - 2 - 11 - 2);
    double maxf = 0;
    for (double x : cells)
        maxf = std::max(maxf, x);
    s += o.plot ? "\n" : "     Percent        Cum.\n";
    const std::string rule = "{hline " + std::to_string(w0 + 1) + "}{c +}{hline " +
                             std::to_string(o.plot ? bar_room + 13 : 35) + "}\n";
    s += rule;
    double cum = 0;
    for (int j : rows) {
        const double f = cells[(size_t)j];
        s += "{txt}" + rj(text[(size_t)j], w0) + " {c |}{res}" + rj(freq_text(f, integer), 11);
        if (o.plot) {
            const int n = maxf > 0 ? (int)std::lround(f / maxf * bar_room) : 0;
            s += "  " + std::string((size_t)std::max(n, f > 0 ? 1 : 0), '*') + "\n";
            continue;
        }
        cum += f;
        s += rj(fixed(100 * f / N, 2), 12) + rj(fixed(100 * cum / N, 2), 12) + "\n";
    }
    s += rule;
    s += "{txt}" + rj("Total", w0) + " {c |}{res}" + rj(freq_text(N, integer), 11);
    s += o.plot ? "\n" : rj("100.00", 12) + "\n";
    if (int rc = out::out_rimu(s)) return rc;
    mat::r_clear();
    if (int rc = mat::r_set_scalar("N", N)) return rc;
    if (int rc = mat::r_set_scalar("r", k)) return rc;
    if (!o.matcell.empty()) {
        mat::Matrix m;
        m.resize(k, 1);
        m.v = cells;
        if (int rc = mat::mat_save(o.matcell.c_str(), session::ST_MATRIX, m)) return rc;
    }
    if (!o.matrow.empty()) {
        std::vector<int> all((size_t)k);
        std::iota(all.begin(), all.end(), 0);
        if (int rc = save_levels(o.matrow, c, all, false)) return rc;
    }
    return 0;
}

// ---- Two-way --------------------------------------------------------------------------------------

struct Table {
    int R = 0, C = 0;
    std::vector<double> f; // R by C
    std::vector<double> rt, ct;
    double N = 0;
    double at(int r, int c) const { return f[(size_t)r * (size_t)C + (size_t)c]; }
};

// Fisher's exact test of a 2 by 2 table: the two-sided probability of tables no more likely than the
// one observed, and the one-sided probability in the direction of the observed departure.
void fisher2x2(const Table &t, double *p2, double *p1) {
    const double N = t.N, r1 = t.rt[0], c1 = t.ct[0], a = t.at(0, 0);
    const double lo = std::max(0.0, r1 + c1 - N), hi = std::min(r1, c1);
    auto lp = [&](double x) {
        return xm::lngamma(r1 + 1) - xm::lngamma(x + 1) - xm::lngamma(r1 - x + 1) + xm::lngamma(N - r1 + 1) -
               xm::lngamma(c1 - x + 1) - xm::lngamma(N - r1 - c1 + x + 1) - xm::lngamma(N + 1) +
               xm::lngamma(c1 + 1) + xm::lngamma(N - c1 + 1);
    };
    const double pobs = lp(a);
    double two = 0, upper = 0, lower = 0;
    for (double x = lo; x <= hi; ++x) {
        const double l = lp(x), p = std::exp(l);
        if (l <= pobs + 1e-7) two += p;
        if (x >= a) upper += p;
        if (x <= a) lower += p;
    }
    *p2 = std::min(1.0, two);
    *p1 = std::min(1.0, a >= r1 * c1 / N ? upper : lower);
}

// Fisher's exact test of a larger table: every table with the observed margins, enumerated cell by
// cell down the columns, the last column following from the rows. False when the tables exceed the
// budget of steps.
class FisherRxC {
  public:
    explicit FisherRxC(const Table &t) : R(t.R), C(t.C) {
        lf.assign((size_t)t.N + 2, 0.0);
        for (size_t k = 1; k < lf.size(); ++k)
            lf[k] = lf[k - 1] + std::log((double)k);
        for (int r = 0; r < R; ++r)
            rrem.push_back((int64_t)t.rt[(size_t)r]);
        for (int c = 0; c < C; ++c)
            col.push_back((int64_t)t.ct[(size_t)c]);
        base = -lf[(size_t)t.N];
        for (int64_t x : rrem)
            base += lf[(size_t)x];
        for (int64_t x : col)
            base += lf[(size_t)x];
        lpobs = base;
        for (double x : t.f)
            lpobs -= lf[(size_t)x];
    }
    bool run(double *p) {
        cell(0, 0, col[0], 0);
        *p = std::min(1.0, sum);
        return !over;
    }

  private:
    static constexpr int64_t BUDGET = 10000000;
    int R, C;
    std::vector<double> lf;
    std::vector<int64_t> rrem, col;
    double base = 0, lpobs = 0, sum = 0;
    int64_t steps = 0;
    bool over = false;

    void cell(int j, int i, int64_t crem, double acc) {
        if (over) return;
        if (j == C - 1) {
            for (int r = 0; r < R; ++r)
                acc -= lf[(size_t)rrem[(size_t)r]];
            const double lp = base + acc;
            if (lp <= lpobs + 1e-7) sum += std::exp(lp);
            over = ++steps > BUDGET;
            return;
        }
        if (i == R - 1) {
            if (crem > rrem[(size_t)i]) return;
            rrem[(size_t)i] -= crem;
            cell(j + 1, 0, col[(size_t)j + 1], acc - lf[(size_t)crem]);
            rrem[(size_t)i] += crem;
            return;
        }
        int64_t later = 0;
        for (int r = i + 1; r < R; ++r)
            later += rrem[(size_t)r];
        const int64_t lo = std::max<int64_t>(0, crem - later), hi = std::min(rrem[(size_t)i], crem);
        for (int64_t x = lo; x <= hi && !over; ++x) {
            rrem[(size_t)i] -= x;
            cell(j, i + 1, crem - x, acc - lf[(size_t)x]);
            rrem[(size_t)i] += x;
        }
    }
};

struct Stats {
    double chi2 = lim.dot, p = lim.dot, chi2_lr = lim.dot, p_lr = lim.dot, V = lim.dot;
    double p_exact = lim.dot, p1_exact = lim.dot;
    int df = 0;
};

Stats tests(const Table &t) {
    Stats s;
    s.df = (t.R - 1) * (t.C - 1);
    double x2 = 0, g2 = 0;
    for (int r = 0; r < t.R; ++r)
        for (int c = 0; c < t.C; ++c) {
            const double e = t.rt[(size_t)r] * t.ct[(size_t)c] / t.N, o = t.at(r, c);
            x2 += (o - e) * (o - e) / e;
            if (o > 0) g2 += o * std::log(o / e);
        }
    if (s.df > 0) {
        s.chi2 = x2;
        s.p = xm::chi2tail(s.df, x2);
        s.chi2_lr = 2 * g2;
        s.p_lr = xm::chi2tail(s.df, 2 * g2);
        const int m = std::min(t.R, t.C) - 1;
        s.V = std::sqrt(x2 / (t.N * m));
        // a 2 by 2 table's V carries the sign of the association
        if (t.R == 2 && t.C == 2)
            s.V = (t.at(0, 0) * t.at(1, 1) - t.at(0, 1) * t.at(1, 0)) /
                  std::sqrt(t.rt[0] * t.rt[1] * t.ct[0] * t.ct[1]);
    }
    if (t.R == 2 && t.C == 2) fisher2x2(t, &s.p_exact, &s.p1_exact);
    return s;
}

// The lines of one cell block: what each line of a row shows.
enum Line { L_FREQ, L_ROW, L_COL, L_CELL, L_EXP };

std::string cell_text(Line l, const Table &t, int r, int c, bool whole) {
    // r or c of -1: the total row or column
    const double f = r < 0 ? (c < 0 ? t.N : t.ct[(size_t)c]) : (c < 0 ? t.rt[(size_t)r] : t.at(r, c));
    const double rt = r < 0 ? t.N : t.rt[(size_t)r], ct = c < 0 ? t.N : t.ct[(size_t)c];
    switch (l) {
    case L_FREQ:
        return freq_text(f, whole);
    case L_ROW:
        return fixed(100 * f / rt, 2);
    case L_COL:
        return fixed(100 * f / ct, 2);
    case L_CELL:
        return fixed(100 * f / t.N, 2);
    case L_EXP:
        return fixed(rt * ct / t.N, 1);
    }
    return "";
}

int twoway(const TabOpts &o, int v1, int v2, const std::vector<int32_t> &obs, const std::vector<double> &w,
           bool integer) {
    tab::Coded a, b;
    if (int rc = tab::code_var(v1, obs, o.missing, MAX_ROWS * 4, a))
        return rc == 134 ? session::error(134) : rc;
    if (int rc = tab::code_var(v2, obs, o.missing, MAX_COLS * 4, b))
        return rc == 134 ? session::error(134) : rc;
    // levels seen only beside a missing value of the other variable drop out below
    const int R0 = a.nlev(), C0 = b.nlev();
    std::vector<double> n((size_t)R0 * (size_t)C0, 0.0), f;
    if (int rc = tab::count_cells(a.code, b.code.data(), C0, nullptr, true, n)) return rc;
    if (w.empty())
        f = n;
    else {
        f.assign(n.size(), 0.0);
        if (int rc = tab::count_cells(a.code, b.code.data(), C0, w.data(), integer, f)) return rc;
    }
    std::vector<int> rows, cols;
    double nobs = 0;
    for (int r = 0; r < R0; ++r) {
        double m = 0;
        for (int c = 0; c < C0; ++c)
            m += n[(size_t)r * (size_t)C0 + (size_t)c];
        if (m > 0) rows.push_back(r);
        nobs += m;
    }
    for (int c = 0; c < C0; ++c) {
        double m = 0;
        for (int r = 0; r < R0; ++r)
            m += n[(size_t)r * (size_t)C0 + (size_t)c];
        if (m > 0) cols.push_back(c);
    }
    if (nobs == 0) return session::error(2000);
    if ((int)rows.size() > MAX_ROWS || (int)cols.size() > MAX_COLS) return session::error(134);
    const bool want_tests = o.chi2 || o.lrchi2 || o.V || o.exact || o.expected;
    if (want_tests && !integer) return session::error(135);
    if ((!o.matrow.empty() && a.is_str) || (!o.matcol.empty() && b.is_str))
        return session::fail(109, "matrow() and matcol() not possible with string variables\n");
    Table t;
    t.R = (int)rows.size();
    t.C = (int)cols.size();
    t.f.resize((size_t)t.R * (size_t)t.C);
    double sumw = 0;
    for (int r = 0; r < t.R; ++r)
        for (int c = 0; c < t.C; ++c) {
            t.f[(size_t)r * (size_t)t.C + (size_t)c] =
                f[(size_t)rows[(size_t)r] * (size_t)C0 + (size_t)cols[(size_t)c]];
            sumw += t.f[(size_t)r * (size_t)t.C + (size_t)c];
        }
    if (sm.wtype == WT_A && sumw > 0)
        for (double &x : t.f)
            x *= nobs / sumw;
    t.rt.assign((size_t)t.R, 0.0);
    t.ct.assign((size_t)t.C, 0.0);
    for (int r = 0; r < t.R; ++r)
        for (int c = 0; c < t.C; ++c) {
            t.rt[(size_t)r] += t.at(r, c);
            t.ct[(size_t)c] += t.at(r, c);
            t.N += t.at(r, c);
        }
    double p_exact = lim.dot;
    if (o.exact && (t.R < 2 || t.C < 2))
        return session::fail(198, "exact needs two rows and two columns at least\n");
    if (o.exact && (t.R != 2 || t.C != 2) && !FisherRxC(t).run(&p_exact))
        return session::fail(198, "exact: too many tables with these margins to enumerate\n");

    std::vector<Line> lines;
    if (!o.nofreq) lines.push_back(L_FREQ);
    if (o.expected) lines.push_back(L_EXP);
    if (o.row) lines.push_back(L_ROW);
    if (o.column) lines.push_back(L_COL);
    if (o.cell) lines.push_back(L_CELL);
    std::vector<std::string> rtext((size_t)t.R), ctext((size_t)t.C);
    int w0 = std::max<int>(10, (int)name_of(v1).size());
    for (int r = 0; r < t.R; ++r) {
        rtext[(size_t)r] = cut(level_text(v1, a, rows[(size_t)r], o.nolabel), LABEL_MAX);
        w0 = std::max(w0, (int)rtext[(size_t)r].size());
    }
    int cw = 10;
    for (int c = 0; c < t.C; ++c) {
        ctext[(size_t)c] = cut(level_text(v2, b, cols[(size_t)c], o.nolabel), LABEL_MAX);
        cw = std::max(cw, (int)ctext[(size_t)c].size() + 2);
    }
    cw = std::max(cw, (int)freq_text(t.N, integer).size() + 2);

    std::string s;
    if (lines.size() > 1) {
        static const char *key_text[] = {"frequency", "row percentage", "column percentage",
                                         "cell percentage", "expected frequency"};
        int kw = 3;
        for (Line l : lines)
            kw = std::max(kw, (int)std::string(key_text[l]).size());
        kw += 2;
        s += "\n{txt}+" + std::string("{hline ") + std::to_string(kw) + "}+\n";
        s += "| Key" + blanks(kw - 4) + "|\n";
        s += "|{hline " + std::to_string(kw) + "}|\n";
        for (Line l : lines)
            s += "| " + std::string(key_text[l]) + blanks(kw - 1 - (int)std::string(key_text[l]).size()) +
                 "|\n";
        s += "+{hline " + std::to_string(kw) + "}+\n";
    }
    // the columns in panels that fit the line; the totals close the last
    const int room = std::max(cw, se.linesize - (w0 + 2));
    int c0 = 0;
    while (c0 < t.C) {
        const int rest = t.C - c0;
        int take = rest;
        bool last = rest * cw + 2 + cw <= room;
        if (!last) {
            // a panel that would hold the remaining columns but not the totals leaves one behind for them
            take = std::min((room - 1) / cw, rest - 1);
            if (take <= 0) take = rest, last = true;
        }
        const int width = take * cw;
        const std::string cname = cut(name_of(v2), width);
        const int left = (width - (int)cname.size()) / 2;
        s += "\n{txt}" + blanks(w0) + " {c |}" + blanks(left) + out::brace_escaped(cname) +
             (last ? blanks(width - left - (int)cname.size()) + " {c |}" : "") + "\n";
        s += rj(name_of(v1), w0) + " {c |}";
        for (int c = c0; c < c0 + take; ++c)
            s += rj(ctext[(size_t)c], cw);
        s += last ? " {c |}" + rj("Total", cw) + "\n" : "\n";
        const std::string rule = "{hline " + std::to_string(w0 + 1) + "}{c +}{hline " +
                                 std::to_string(width + (last ? 1 : 0)) + "}" +
                                 (last ? "{c +}{hline " + std::to_string(cw) + "}" : "") + "\n";
        s += rule;
        auto block = [&](int r, const std::string &label) {
            for (size_t li = 0; li < lines.size(); ++li) {
                s += "{txt}" + (li == 0 ? rj(label, w0) : blanks(w0)) + " {c |}{res}";
                for (int c = c0; c < c0 + take; ++c)
                    s += rj(cell_text(lines[li], t, r, c, integer), cw);
                if (last) s += "{txt} {c |}{res}" + rj(cell_text(lines[li], t, r, -1, integer), cw);
                s += "\n";
            }
            if (lines.empty())
                s += "{txt}" + rj(label, w0) + " {c |}" + (last ? blanks(width) + " {c |}\n" : "\n");
        };
        for (int r = 0; r < t.R; ++r) {
            block(r, rtext[(size_t)r]);
            if (lines.size() > 1 && r + 1 < t.R)
                s += "{txt}" + blanks(w0) + " {c |}" + (last ? blanks(width) + " {c |}\n" : "\n");
        }
        s += rule;
        block(-1, "Total");
        c0 += take;
    }
    Stats st = tests(t);
    if (t.R != 2 || t.C != 2) st.p_exact = p_exact;
    std::string tl;
    auto stat_line = [&](const std::string &label, double v, double p) {
        tl += "{txt}" + rj(label, 26) + " = {res}" + trim(fmt_text(v, "%9.4f"));
        if (!is_missing(p)) tl += "   {txt}Pr = {res}" + fixed(p, 3);
        tl += "\n";
    };
    const std::string df = "(" + std::to_string(st.df) + ")";
    if (o.chi2) stat_line("Pearson chi2" + df, st.chi2, st.p);
    if (o.lrchi2) stat_line("likelihood-ratio chi2" + df, st.chi2_lr, st.p_lr);
    if (o.V) stat_line("Cramer's V", st.V, lim.dot);
    if (o.exact) {
        tl += std::string(tl.empty() ? "" : "\n") + "{txt}" + rj("Fisher's exact", 26) + " = " + blanks(14) +
              "{res}" + fixed(st.p_exact, 3) + "\n";
        if (!is_missing(st.p1_exact))
            tl += "{txt}" + rj("1-sided Fisher's exact", 26) + " = " + blanks(14) + "{res}" +
                  fixed(st.p1_exact, 3) + "\n";
    }
    if (!tl.empty()) s += "\n" + tl;
    if (int rc = out::out_rimu(s)) return rc;

    mat::r_clear();
    std::vector<std::pair<const char *, double>> res = {{"N", t.N}, {"r", t.R}, {"c", t.C}};
    if (o.chi2) res.insert(res.end(), {{"chi2", st.chi2}, {"p", st.p}});
    if (o.lrchi2) res.insert(res.end(), {{"chi2_lr", st.chi2_lr}, {"p_lr", st.p_lr}});
    if (o.V) res.push_back({"CramersV", st.V});
    if (o.exact) res.push_back({"p_exact", st.p_exact});
    if (o.exact && !is_missing(st.p1_exact)) res.push_back({"p1_exact", st.p1_exact});
    for (const auto &[name, v] : res)
        if (int rc = mat::r_set_scalar(name, v)) return rc;
    if (!o.matcell.empty()) {
        mat::Matrix m;
        m.resize(t.R, t.C);
        m.v = t.f;
        if (int rc = mat::mat_save(o.matcell.c_str(), session::ST_MATRIX, m)) return rc;
    }
    if (!o.matrow.empty())
        if (int rc = save_levels(o.matrow, a, rows, false)) return rc;
    if (!o.matcol.empty())
        if (int rc = save_levels(o.matcol, b, cols, true)) return rc;
    return 0;
}

} // namespace

// tabulate varname [varname] [if] [in] [weight] [, options]
int cmd_tabulate(int) {
    ParseSpec spec;
    spec.varlist = PO_REQUIRED;
    spec.weight = PO_OPTIONAL;
    spec.wmask = WT_F | WT_A | WT_I;
    if (int rc = std_parse(spec)) return rc;
    TabOpts o;
    const auto specs = option_specs(o);
    if (int rc = std_options(specs)) return rc;
    if (ps.count > 2) return session::error(103);
    const int v1 = ps.var[0], v2 = ps.count == 2 ? ps.var[1] : 0;
    const bool two = v2 != 0;
    if (two && (o.sort || o.plot || !o.gen.empty() || !o.subpop.empty()))
        return session::fail(198, "sort, plot, generate() and subpop() are for one-way tables\n");
    if (!two && (o.row || o.column || o.cell || o.nofreq || o.chi2 || o.lrchi2 || o.V || o.exact ||
                 o.expected || !o.matcol.empty()))
        return session::fail(198,
                             "row, column, cell, nofreq, chi2, lrchi2, V, exact, expected and matcol() are "
                             "for two-way tables\n");
    if (!o.gen.empty() && bys.state != 0) return session::error(190);
    if (!o.subpop.empty()) {
        const int sv = find_var(o.subpop.c_str());
        if (!sv) return session::variable_not_found(o.subpop);
        if (is_string_type(ds.vartype[sv - 1])) return session::error(109);
    }
    std::vector<int32_t> obs;
    std::vector<double> w;
    bool integer = true;
    if (int rc = gather(o, obs, w, integer)) return rc;
    if (obs.empty()) return session::error(2000);
    return two ? twoway(o, v1, v2, obs, w, integer) : oneway(o, v1, obs, w, integer);
}

} // namespace data

// Wald tests of linear hypotheses: W = (Rb-r)'(RVR')^-1(Rb-r), and single linear combinations.
#include "matrix/wald.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "data/exprmath.h"
#include "data/fmt.h"
#include "data/types.h"
#include "matrix/linexp.h"
#include "matrix/results.h"
#include "matrix/sweep.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/options.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tok.h"

namespace mat {

using namespace session;

namespace {

// The rows of the last test, for accumulate.
struct LastTest {
    bool set = false;
    std::vector<LinRow> rows;
};
LastTest last_test;

std::string trim(std::string_view v) {
    std::string s(v);
    s.erase(0, s.find_first_not_of(' '));
    while (!s.empty() && s.back() == ' ')
        s.pop_back();
    return s;
}

std::string right(const std::string &s, size_t n) {
    return s.size() >= n ? s : std::string(n - s.size(), ' ') + s;
}

// Splits "(a) (b=c)" into its parenthesised parts; false when the text is not of that form.
bool split_parens(const std::string &t, std::vector<std::string> &parts) {
    size_t i = 0;
    while (i < t.size()) {
        if (t[i] == ' ') {
            ++i;
            continue;
        }
        if (t[i] != '(') return false;
        int depth = 0;
        size_t j = i;
        for (; j < t.size(); ++j) {
            if (t[j] == '(') ++depth;
            if (t[j] == ')' && --depth == 0) break;
        }
        if (j == t.size()) return false;
        parts.push_back(t.substr(i + 1, j - i - 1));
        i = j + 1;
    }
    return !parts.empty();
}

// A list of coefficients: each becomes a row with weight 1 on it. "[eq]" alone stands for every
// coefficient of eq; "[eq]name" sets eq for the names after it.
int coef_list(const std::string &t, const std::vector<StripeName> &stripe, std::vector<LinRow> &rows) {
    std::string eq;
    bool has_eq = false;
    size_t i = 0;
    while (i < t.size()) {
        if (t[i] == ' ') {
            ++i;
            continue;
        }
        size_t j = i;
        if (t[j] == '[') {
            const size_t close = t.find(']', j);
            if (close == std::string::npos) return error(198);
            eq = t.substr(j + 1, close - j - 1);
            has_eq = true;
            j = close + 1;
            if (j >= t.size() || t[j] == ' ') {
                // the whole equation
                bool any = false;
                for (size_t c = 0; c < stripe.size(); ++c)
                    if (eq == stripe[c].equation) {
                        LinRow r;
                        r.R.assign(stripe.size(), 0);
                        r.R[c] = 1;
                        rows.push_back(r);
                        any = true;
                    }
                if (!any) return equation_missing(eq);
                i = j;
                continue;
            }
        }
        size_t k = j;
        while (k < t.size() && t[k] != ' ')
            ++k;
        const std::string name = t.substr(j, k - j);
        LinRow r;
        if (int rc = parse_linexp(has_eq ? "[" + eq + "]" + name : name, stripe, r)) return rc;
        int nonzero = 0;
        for (double w : r.R)
            nonzero += w != 0;
        if (nonzero != 1 || r.r != 0) return invalid_text(name);
        rows.push_back(r);
        i = k;
    }
    if (rows.empty()) return error(198);
    return 0;
}

// x1 = 0, x2 = 0, ... becomes x1 - x2 = 0, x1 - x3 = 0, ...
int make_equal(std::vector<LinRow> &rows) {
    if (rows.size() < 2) return fail(198, "equal requires at least two coefficients\n");
    std::vector<LinRow> out;
    for (size_t i = 1; i < rows.size(); ++i) {
        LinRow r = rows[0];
        for (size_t j = 0; j < r.R.size(); ++j)
            r.R[j] -= rows[i].R[j];
        r.r -= rows[i].r;
        out.push_back(r);
    }
    rows = out;
    return 0;
}

int show_rows(const std::vector<LinRow> &rows, const std::vector<StripeName> &stripe) {
    if (int rc = out::out_newline()) return rc;
    for (size_t i = 0; i < rows.size(); ++i) {
        char head[24];
        std::snprintf(head, sizeof head, " (%2d)  ", (int)i + 1);
        {
            out::ClassScope cs(out::CLS_TEXT);
            if (int rc = out::out_text(head)) return rc;
        }
        if (int rc = out::out_text(linrow_text(rows[i], stripe))) return rc;
        if (int rc = out::out_newline()) return rc;
    }
    return 0;
}

double df_r_posted() {
    double df = 0;
    if (result_lookup('e', "df_r", &df, nullptr) == RES_NONE || data::is_missing(df) || df <= 0) return -1;
    return df;
}

int wald(const std::vector<LinRow> &rows, const std::vector<StripeName> &stripe, const Matrix &b,
         const Matrix &V) {
    const size_t q = rows.size(), k = stripe.size();
    std::vector<double> d(q), M(q * q);
    for (size_t i = 0; i < q; ++i) {
        double s = 0;
        for (size_t j = 0; j < k; ++j)
            s += rows[i].R[j] * b.at(0, (int)j);
        d[i] = s - rows[i].r;
    }
    for (size_t i = 0; i < q; ++i)
        for (size_t l = 0; l <= i; ++l) {
            double s = 0;
            for (size_t j = 0; j < k; ++j) {
                if (rows[i].R[j] == 0) continue;
                for (size_t m = 0; m < k; ++m)
                    s += rows[i].R[j] * V.at((int)j, (int)m) * rows[l].R[m];
            }
            M[i * q + l] = M[l * q + i] = s;
        }
    InvsymOpts opts;
    InvsymOut res_inv;
    if (int rc = invsym(M.data(), (int)q, (int)q, opts, &res_inv)) return rc;
    double W = 0;
    for (size_t i = 0; i < q; ++i)
        for (size_t l = 0; l < q; ++l)
            W += d[i] * M[i * q + l] * d[l];
    if (int rc = show_rows(rows, stripe)) return rc;
    int dropped = 0;
    for (size_t i = 0; i < q; ++i)
        if (res_inv.state.size() > i && res_inv.state[i] == COL_DROPPED) {
            ++dropped;
            if (int rc = out::out_textf("       Constraint %d dropped\n", (int)i + 1)) return rc;
        }
    const double df = (double)q - dropped;
    const double df_r = df_r_posted();
    r_clear();
    if (int rc = out::out_newline()) return rc;
    if (df == 0) {
        {
            out::ClassScope cs(out::CLS_TEXT);
            if (int rc = out::out_text("       all constraints dropped: nothing to test\n")) return rc;
        }
        return r_set_scalar("drop", 1);
    }
    const bool f = df_r > 0;
    const double stat = f ? W / df : W;
    const double p = f ? data::xm::Ftail(df, df_r, stat) : data::xm::chi2tail(df, stat);
    char head[64];
    if (f)
        std::snprintf(head, sizeof head, "       F(%3.0f,%6.0f) =", df, df_r);
    else
        std::snprintf(head, sizeof head, "           chi2(%3.0f) =", df);
    if (int rc = out::out_textf("%s%s\n", head, right(data::fmt_text(stat, "%8.2f"), 8).c_str())) return rc;
    if (int rc = out::out_textf("%sProb > %s =%s\n", f ? "            " : "         ", f ? "F" : "chi2",
                                right(data::fmt_text(p, "%10.4f"), 10).c_str()))
        return rc;
    if (int rc = r_set_scalar(f ? "F" : "chi2", stat)) return rc;
    if (f)
        if (int rc = r_set_scalar("df_r", df_r)) return rc;
    if (int rc = r_set_scalar("df", df)) return rc;
    if (int rc = r_set_scalar("p", p)) return rc;
    return r_set_scalar("drop", dropped ? 1 : 0);
}

int lincom(const std::string &text, const std::vector<StripeName> &stripe, const Matrix &b, const Matrix &V,
           const std::string &level_text, bool eform) {
    if (text.find('=') != std::string::npos) return fail(198, "equal signs not allowed\n");
    LinRow row;
    if (int rc = parse_linexp(text, stripe, row)) return rc;
    const size_t k = stripe.size();
    double est = -row.r, var = 0;
    for (size_t j = 0; j < k; ++j) {
        est += row.R[j] * b.at(0, (int)j);
        for (size_t m = 0; m < k; ++m)
            var += row.R[j] * V.at((int)j, (int)m) * row.R[m];
    }
    double level = std::strtod(se.level.c_str(), nullptr);
    if (!level_text.empty()) {
        char *end = nullptr;
        level = std::strtod(level_text.c_str(), &end);
        if (*end || level < 10 || level > 99.99)
            return fail(198, "level() must be between 10 and 99.99 inclusive\n");
    }
    const double df_r = df_r_posted();
    const bool t = df_r > 0;
    const double alpha = (1 - level / 100) / 2;
    const double crit = t ? data::xm::invttail(df_r, alpha) : data::xm::invnormal(1 - alpha);
    const double sd = var >= 0 ? std::sqrt(var) : data::xm::dot();
    const bool ok = !data::is_missing(sd) && sd > 0;
    const double stat = ok ? est / sd : data::xm::dot();
    const double p = !ok ? data::xm::dot()
                     : t ? 2 * data::xm::ttail(df_r, std::fabs(stat))
                         : 2 * data::xm::normal(-std::fabs(stat));
    double lo = ok ? est - crit * sd : data::xm::dot(), hi = ok ? est + crit * sd : data::xm::dot();
    double shown = est, shown_se = sd;
    if (eform) {
        shown = std::exp(est);
        shown_se = ok ? shown * sd : data::xm::dot();
        if (ok) {
            lo = std::exp(lo);
            hi = std::exp(hi);
        }
    }
    // the combination as typed: the constant stays on the left, estimated together with the rest
    LinRow shown_row = row;
    shown_row.r = 0;
    std::string text_shown = linrow_text(shown_row, stripe);
    text_shown.resize(text_shown.size() - 4);
    if (row.r != 0) text_shown += (row.r < 0 ? " + " : " - ") + data::number_text(std::fabs(row.r));
    if (int rc = out::out_newline()) return rc;
    {
        out::ClassScope cs(out::CLS_TEXT);
        if (int rc = out::out_text(" ( 1)  ")) return rc;
    }
    if (int rc = out::out_text(text_shown + " = 0\n")) return rc;
    std::string depvar;
    {
        std::string dv;
        if (result_lookup('e', "depvar", nullptr, &dv) == RES_MACRO && dv.find(' ') == std::string::npos)
            depvar = dv.size() <= 12 ? dv : dv.substr(0, 10) + "~" + dv.back();
    }
    const std::string st = t ? "t" : "z";
    const std::string lv = data::number_text(level);
    const std::string ci = "[" + lv + "% Conf. Interval]";
    std::string head = "{txt}{hline 78}\n" + right(depvar, 12) + " {c |}" +
                       (eform ? "     exp(b)" : "      Coef.") + "   Std. Err.      " + st + "    P>|" + st +
                       "|" + right(ci, 25) + "\n{hline 13}{c +}{hline 64}\n";
    if (int rc = out::out_rimu("\n" + head)) return rc;
    std::string line = "{txt}" + right("(1)", 12) + " {c |}{res}  " + data::fmt_text(shown, "%9.0g") + "   " +
                       data::fmt_text(shown_se, "%9.0g") + " " + data::fmt_text(stat, "%6.2f") + "   " +
                       data::fmt_text(p, "%6.3f") + "    " + data::fmt_text(lo, "%9.0g") + "   " +
                       data::fmt_text(hi, "%9.0g") + "\n{txt}{hline 78}\n";
    if (int rc = out::out_rimu(line)) return rc;
    r_clear();
    if (int rc = r_set_scalar("estimate", est)) return rc;
    if (int rc = r_set_scalar("se", sd)) return rc;
    if (t)
        if (int rc = r_set_scalar("df", df_r)) return rc;
    return 0;
}

} // namespace

void wald_reset() { last_test = LastTest(); }

int cmd__test(int) {
    std::string line = tokrest();
    // the options follow the last comma outside brackets and parentheses
    int depth = 0;
    size_t comma = std::string::npos;
    for (size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (c == '(' || c == '[') ++depth;
        if (c == ')' || c == ']') --depth;
        if (c == ',' && depth == 0) {
            comma = i;
            break;
        }
    }
    const std::string spec = trim(comma == std::string::npos ? line : line.substr(0, comma));
    bool acc = false, notest = false, equal = false, lc = false, eform = false;
    std::string level;
    if (comma != std::string::npos) {
        settok(line.c_str() + comma);
        const OptSpec specs[] = {opt_flag("accumulate", 1, acc), opt_flag("notest", 3, notest),
                                 opt_flag("equal", 2, equal),    opt_flag("lincom", 6, lc),
                                 opt_flag("eform", 5, eform),    opt_text("level", 1, level)};
        if (int rc = parse_options(specs)) return rc;
    }
    Matrix b, V;
    if (!mat_read("b", ST_E_MATRIX, b)) return error(301);
    if (!mat_read("V", ST_E_MATRIX, V)) return matrix_not_found("e(V)");
    const std::vector<StripeName> stripe = full_stripe(b, false);
    if (spec.empty()) return error(198);
    if (lc) return lincom(spec, stripe, b, V, level, eform);
    std::vector<LinRow> rows;
    std::vector<std::string> parts;
    if (spec[0] == '(') {
        if (!split_parens(spec, parts)) return error(198);
        for (const std::string &p : parts) {
            LinRow r;
            if (int rc = parse_linexp(p, stripe, r)) return rc;
            rows.push_back(r);
        }
    } else if (spec.find_first_of("=+-*/") != std::string::npos) {
        LinRow r;
        if (int rc = parse_linexp(spec, stripe, r)) return rc;
        rows.push_back(r);
    } else {
        if (int rc = coef_list(spec, stripe, rows)) return rc;
    }
    if (equal)
        if (int rc = make_equal(rows)) return rc;
    if (acc) {
        if (!last_test.set) return error(302);
        rows.insert(rows.begin(), last_test.rows.begin(), last_test.rows.end());
    }
    last_test.set = true;
    last_test.rows = rows;
    if (notest) return 0;
    return wald(rows, stripe, b, V);
}

} // namespace mat

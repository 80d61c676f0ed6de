// _ml_opt: ml's model from the ML_ globals, the user's evaluator run through the dispatcher, its
// derivatives by differences where the method gives none, the Newton optimiser, the robust
// variance, e() and the replay.
#include "estimate/mlopt.h"

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
#include "data/scalar.h"
#include "data/types.h"
#include "data/varlist.h"
#include "estimate/mleval.h"
#include "estimate/optimize.h"
#include "estimate/robust.h"
#include "matrix/estpost.h"
#include "matrix/matstore.h"
#include "matrix/results.h"
#include "matrix/sweep.h"
#include "output/channel.h"
#include "session/dispatch.h"
#include "session/errors.h"
#include "session/macstore.h"
#include "session/options.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tempnames.h"
#include "session/tok.h"

namespace est::ml {

using namespace session;

namespace {

enum Method { M_LF, M_D0, M_D1, M_D2 };

std::string trimmed(const char *s) {
    std::string t = s ? s : "";
    const size_t a = t.find_first_not_of(' ');
    if (a == std::string::npos) return "";
    return t.substr(a, t.find_last_not_of(' ') - a + 1);
}

std::string global(const std::string &stem) { return trimmed(macro_get(("ML_" + stem).c_str())); }

// The model as the globals describe it, with the sample's rows gathered once.
struct Fit {
    Method meth = M_LF;
    std::string prog;
    int neq = 0, k = 0;
    std::vector<Equation> eqs;
    std::vector<int> fp; // by equation: its first position in b, from 0
    Sample s;
    std::vector<int32_t> rows; // the observations of the sample
    std::vector<double> w;     // their weights (1 without)
    char wtype = 0;            // 'f', 'a', 'i', 'p' or 0
    bool difficult = false;
    // the work objects: for lf the variables of lnf and of each equation's prediction; for the d
    // methods the names of b, lnf, g and H
    std::string lnf, bname, gname, hname;
    std::vector<std::string> xb;
};

int read_model(Fit &m) {
    const std::string meth = global("meth");
    if (meth == "lf")
        m.meth = M_LF;
    else if (meth == "d0")
        m.meth = M_D0;
    else if (meth == "d1")
        m.meth = M_D1;
    else if (meth == "d2")
        m.meth = M_D2;
    else
        return fail(198, "ml model not set; use ml model\n");
    m.prog = global("user");
    if (m.prog.empty()) return fail(198, "ml model not set; use ml model\n");
    if (int rc = model_equations(&m.neq)) return rc;
    if (int rc = model_sample(m.s)) return rc;
    m.eqs.clear();
    m.fp.clear();
    int at = 0;
    for (int j = 1; j <= m.neq; ++j) {
        const Equation *e = nullptr;
        if (int rc = model_equation(j, e)) return rc;
        m.eqs.push_back(*e);
        m.fp.push_back(at);
        at += e->k();
    }
    m.k = at;
    if (m.k > st.matsize) return error(908);
    const std::string wt = global("wtyp");
    m.wtype = m.s.wvar && !wt.empty() ? wt[0] : 0;
    m.rows.clear();
    m.w.clear();
    for (int32_t i = 1; i <= data::ds.nobs; ++i) {
        if (data::get_num(m.s.samp, i) == 0) continue;
        const double w = m.s.wvar ? data::get_num(m.s.wvar, i) : 1;
        if (data::is_missing(w)) continue;
        m.rows.push_back(i);
        m.w.push_back(w);
    }
    if (m.rows.empty()) return error(2000);
    return 0;
}

// The starting values: the matrix ML_b, 1 by k.
int start_values(const Fit &m, std::vector<double> &b) {
    mat::Matrix b0;
    if (!mat::mat_read("ML_b", ST_MATRIX, b0) || b0.rows != 1 || b0.cols != m.k)
        return fail(503, "ml: initial vector ML_b not 1 x " + std::to_string(m.k) + "\n");
    b = b0.v;
    return 0;
}

// Runs one command line through the dispatcher, as a program line would; the word of the command
// that called it is kept.
int run_line(const std::string &line) {
    char word[sizeof lp.cmdword];
    std::memcpy(word, lp.cmdword, sizeof word);
    settok(line.c_str());
    const int rc = dispatch_rest();
    std::memcpy(lp.cmdword, word, sizeof word);
    return rc;
}

// The work objects live while the command runs and go on every path.
struct Work {
    Fit &m;
    explicit Work(Fit &fit) : m(fit) {}
    int make() {
        if (m.meth == M_LF) {
            m.lnf = next_tempname();
            if (int rc = make_var(m.lnf)) return rc;
            for (int j = 0; j < m.neq; ++j) {
                m.xb.push_back(next_tempname());
                if (int rc = make_var(m.xb.back())) return rc;
            }
        } else {
            m.bname = next_tempname();
            m.lnf = next_tempname();
            m.gname = next_tempname();
            m.hname = next_tempname();
        }
        return 0;
    }
    static int make_var(const std::string &name) {
        int v = 0;
        if (int rc = data::add_var(name.c_str(), data::T_DOUBLE, &v)) return rc;
        for (int32_t i = 1; i <= data::ds.nobs; ++i)
            data::put_num(v, i, session::lim.dot);
        return 0;
    }
    ~Work() {
        std::vector<uint8_t> flags((size_t)data::ds.nvar, 0);
        bool any = false;
        auto mark = [&](const std::string &n) {
            const int v = n.empty() ? 0 : data::find_var(n.c_str());
            if (v > 0) flags[(size_t)v - 1] = any = true;
        };
        if (m.meth == M_LF) {
            mark(m.lnf);
            for (const auto &x : m.xb)
                mark(x);
            if (any) data::drop_vars(flags.data());
        } else {
            mat::mat_drop(m.bname.c_str(), ST_MATRIX);
            mat::mat_drop(m.gname.c_str(), ST_MATRIX);
            mat::mat_drop(m.hname.c_str(), ST_MATRIX);
            data::scalar_drop(m.lnf.c_str());
        }
        m.xb.clear();
    }
};

double xval(int v, int32_t i) { return v ? data::get_num(v, i) : 1.0; }

// The linear prediction of every equation at b, by row.
void predictions(const Fit &m, const std::vector<double> &b, std::vector<std::vector<double>> &theta) {
    theta.assign((size_t)m.neq, std::vector<double>(m.rows.size()));
    for (int j = 0; j < m.neq; ++j) {
        const Equation &e = m.eqs[(size_t)j];
        const double *bj = b.data() + m.fp[(size_t)j];
        for (size_t r = 0; r < m.rows.size(); ++r) {
            const int32_t i = m.rows[r];
            long double s = 0;
            bool miss = false;
            for (size_t c = 0; c < e.var.size(); ++c) {
                const double x = data::get_num(e.var[c], i);
                if (data::is_missing(x)) miss = true;
                s += (long double)bj[c] * x;
            }
            if (e.cons) s += bj[e.var.size()];
            if (e.offset) {
                const double o = data::get_num(e.offset, i);
                if (data::is_missing(o) || (e.exposure && !(o > 0)))
                    miss = true;
                else
                    s += e.exposure ? std::log(o) : o;
            }
            theta[(size_t)j][r] = miss ? session::lim.dot : (double)s;
        }
    }
}

// lf: the evaluator fills lnf from the predictions; l gets each row's contribution.
int lf_call(Fit &m, const std::vector<std::vector<double>> &theta, std::vector<double> &l) {
    if (poll_break()) return error(1);
    const int lv = data::find_var(m.lnf.c_str());
    if (lv < 1) return error(111);
    std::string line = m.prog + " " + m.lnf;
    for (int j = 0; j < m.neq; ++j) {
        const int xv = data::find_var(m.xb[(size_t)j].c_str());
        if (xv < 1) return error(111);
        for (size_t r = 0; r < m.rows.size(); ++r)
            data::put_num(xv, m.rows[r], theta[(size_t)j][r]);
        line += " " + m.xb[(size_t)j];
    }
    for (int32_t i : m.rows)
        data::put_num(lv, i, session::lim.dot);
    if (int rc = run_line(line)) return rc;
    const int lv2 = data::find_var(m.lnf.c_str());
    if (lv2 < 1) return error(111);
    l.resize(m.rows.size());
    for (size_t r = 0; r < m.rows.size(); ++r)
        l[r] = data::get_num(lv2, m.rows[r]);
    return 0;
}

double weighted_sum(const Fit &m, const std::vector<double> &l) {
    long double s = 0;
    for (size_t r = 0; r < l.size(); ++r) {
        if (data::is_missing(l[r])) return session::lim.dot;
        s += (long double)m.w[r] * l[r];
    }
    const double v = (double)s;
    return std::isfinite(v) ? v : session::lim.dot;
}

// The step of a numerical derivative at value x: scaled to its size.
double step_at(double x) { return 1e-4 * (std::abs(x) + 1); }

// lf's derivatives with respect to each equation's prediction, by row: d1[j] and the second
// derivatives d2[j][k] (k <= j), by central differences on steps scaled to each prediction.
// False in *ok when some row could not be evaluated at a neighbouring point.
int lf_row_derivs(Fit &m, std::vector<std::vector<double>> &theta, const std::vector<double> &l0,
                  std::vector<std::vector<double>> &d1, std::vector<std::vector<std::vector<double>>> *d2,
                  bool *ok) {
    const size_t n = m.rows.size();
    *ok = true;
    std::vector<std::vector<double>> h((size_t)m.neq, std::vector<double>(n));
    for (int j = 0; j < m.neq; ++j)
        for (size_t r = 0; r < n; ++r)
            h[(size_t)j][r] = step_at(theta[(size_t)j][r]);
    d1.assign((size_t)m.neq, std::vector<double>(n));
    if (d2) {
        d2->assign((size_t)m.neq, {});
        for (int j = 0; j < m.neq; ++j)
            (*d2)[(size_t)j].assign((size_t)j + 1, std::vector<double>(n));
    }
    std::vector<double> lp, lm;
    auto shift = [&](int j, double sgn) {
        for (size_t r = 0; r < n; ++r)
            theta[(size_t)j][r] += sgn * h[(size_t)j][r];
    };
    auto bad = [](double a) { return data::is_missing(a); };
    for (int j = 0; j < m.neq; ++j) {
        std::vector<double> keep = theta[(size_t)j];
        shift(j, 1);
        int rc = lf_call(m, theta, lp);
        theta[(size_t)j] = keep;
        if (rc) return rc;
        shift(j, -1);
        rc = lf_call(m, theta, lm);
        theta[(size_t)j] = keep;
        if (rc) return rc;
        for (size_t r = 0; r < n; ++r) {
            const double hr = h[(size_t)j][r];
            if (bad(lp[r]) || bad(lm[r]) || bad(l0[r])) {
                *ok = false;
                return 0;
            }
            d1[(size_t)j][r] = (lp[r] - lm[r]) / (2 * hr);
            if (d2) (*d2)[(size_t)j][(size_t)j][r] = (lp[r] - 2 * l0[r] + lm[r]) / (hr * hr);
        }
    }
    if (!d2) return 0;
    // the cross derivatives from the four corners
    for (int j = 1; j < m.neq; ++j)
        for (int c = 0; c < j; ++c) {
            std::vector<double> kj = theta[(size_t)j], kc = theta[(size_t)c];
            std::vector<double> acc(n, 0.0);
            const double sg[4][2] = {{1, 1}, {1, -1}, {-1, 1}, {-1, -1}};
            for (const auto &s : sg) {
                shift(j, s[0]);
                shift(c, s[1]);
                const int rc = lf_call(m, theta, lp);
                theta[(size_t)j] = kj;
                theta[(size_t)c] = kc;
                if (rc) return rc;
                for (size_t r = 0; r < n; ++r) {
                    if (bad(lp[r])) {
                        *ok = false;
                        return 0;
                    }
                    acc[r] += s[0] * s[1] * lp[r];
                }
            }
            for (size_t r = 0; r < n; ++r)
                (*d2)[(size_t)j][(size_t)c][r] = acc[r] / (4 * h[(size_t)j][r] * h[(size_t)c][r]);
        }
    return 0;
}

// The equation and the variable (0 for the constant) of each coefficient.
void coef_map(const Fit &m, std::vector<int> &eq, std::vector<int> &var) {
    eq.clear();
    var.clear();
    for (int j = 0; j < m.neq; ++j) {
        const Equation &e = m.eqs[(size_t)j];
        for (int v : e.var) {
            eq.push_back(j);
            var.push_back(v);
        }
        if (e.cons) {
            eq.push_back(j);
            var.push_back(0);
        }
    }
}

// lf at b: the log likelihood and, with derivs, its gradient and Hessian.
int lf_eval(Fit &m, const std::vector<double> &b, bool derivs, double *ll, std::vector<double> &g,
            std::vector<double> &H) {
    std::vector<std::vector<double>> theta;
    predictions(m, b, theta);
    std::vector<double> l0;
    if (int rc = lf_call(m, theta, l0)) return rc;
    *ll = weighted_sum(m, l0);
    if (!derivs || data::is_missing(*ll)) return 0;
    std::vector<std::vector<double>> d1;
    std::vector<std::vector<std::vector<double>>> d2;
    bool ok = true;
    if (int rc = lf_row_derivs(m, theta, l0, d1, &d2, &ok)) return rc;
    if (!ok) {
        *ll = session::lim.dot;
        return 0;
    }
    std::vector<int> ceq, cvar;
    coef_map(m, ceq, cvar);
    const int k = m.k;
    g.assign((size_t)k, 0.0);
    H.assign((size_t)k * (size_t)k, 0.0);
    std::vector<long double> gs((size_t)k, 0), hs((size_t)k * (size_t)k, 0);
    std::vector<double> x((size_t)k);
    for (size_t r = 0; r < m.rows.size(); ++r) {
        const int32_t i = m.rows[r];
        for (int a = 0; a < k; ++a)
            x[(size_t)a] = xval(cvar[(size_t)a], i);
        const double w = m.w[r];
        for (int a = 0; a < k; ++a) {
            const int ea = ceq[(size_t)a];
            gs[(size_t)a] += (long double)w * d1[(size_t)ea][r] * x[(size_t)a];
            for (int c = 0; c <= a; ++c) {
                const int ec = ceq[(size_t)c];
                const double dd = ea >= ec ? d2[(size_t)ea][(size_t)ec][r] : d2[(size_t)ec][(size_t)ea][r];
                hs[(size_t)a * k + c] += (long double)w * dd * x[(size_t)a] * x[(size_t)c];
            }
        }
    }
    for (int a = 0; a < k; ++a) {
        g[(size_t)a] = (double)gs[(size_t)a];
        for (int c = 0; c <= a; ++c)
            H[(size_t)a * k + c] = H[(size_t)c * k + a] = (double)hs[(size_t)a * k + c];
    }
    return 0;
}

// The d methods: "prog todo b lnf [g [H]]"; lnf missing when the evaluator left none.
int d_call(Fit &m, const std::vector<double> &b, int todo, double *ll, std::vector<double> *g,
           std::vector<double> *H, bool *b_changed = nullptr) {
    if (poll_break()) return error(1);
    mat::Matrix bm;
    bm.resize(1, m.k);
    bm.v = b;
    if (int rc = mat::mat_save(m.bname.c_str(), ST_MATRIX, bm)) return rc;
    data::scalar_drop(m.lnf.c_str());
    mat::mat_drop(m.gname.c_str(), ST_MATRIX);
    mat::mat_drop(m.hname.c_str(), ST_MATRIX);
    std::string line = m.prog + " " + std::to_string(todo) + " " + m.bname + " " + m.lnf;
    if (m.meth >= M_D1) line += " " + m.gname;
    if (m.meth == M_D2) line += " " + m.hname;
    if (int rc = run_line(line)) return rc;
    if (b_changed) {
        mat::Matrix after;
        *b_changed = !mat::mat_read(m.bname.c_str(), ST_MATRIX, after) || after.v != b;
    }
    double v = session::lim.dot;
    char buf[512];
    if (data::scalar_get(m.lnf.c_str(), &v, buf) != 1) v = session::lim.dot;
    *ll = std::isfinite(v) ? v : session::lim.dot;
    if (data::is_missing(*ll)) return 0;
    if (todo >= 1 && g) {
        mat::Matrix gm;
        if (!mat::mat_read(m.gname.c_str(), ST_MATRIX, gm) || gm.rows != 1 || gm.cols != m.k)
            return fail(503,
                        "ml: the evaluator's gradient is not a 1 x " + std::to_string(m.k) + " vector\n");
        *g = gm.v;
    }
    if (todo >= 2 && H) {
        mat::Matrix hm;
        if (!mat::mat_read(m.hname.c_str(), ST_MATRIX, hm) || hm.rows != m.k || hm.cols != m.k)
            return fail(503, "ml: the evaluator's Hessian is not a " + std::to_string(m.k) + " x " +
                                 std::to_string(m.k) + " matrix\n");
        *H = hm.v;
    }
    for (double x : (g ? *g : std::vector<double>()))
        if (data::is_missing(x)) *ll = session::lim.dot;
    return 0;
}

// d1: the Hessian from central differences of the evaluator's gradient, made symmetric.
int d1_hessian(Fit &m, const std::vector<double> &b, std::vector<double> &H, bool *ok) {
    const int k = m.k;
    H.assign((size_t)k * (size_t)k, 0.0);
    *ok = true;
    std::vector<double> x = b, gp, gm;
    for (int j = 0; j < k; ++j) {
        const double h = step_at(b[(size_t)j]);
        double fp = 0, fm = 0;
        x[(size_t)j] = b[(size_t)j] + h;
        if (int rc = d_call(m, x, 1, &fp, &gp, nullptr)) return rc;
        x[(size_t)j] = b[(size_t)j] - h;
        if (int rc = d_call(m, x, 1, &fm, &gm, nullptr)) return rc;
        x[(size_t)j] = b[(size_t)j];
        if (data::is_missing(fp) || data::is_missing(fm)) {
            *ok = false;
            return 0;
        }
        for (int i = 0; i < k; ++i)
            H[(size_t)i * k + j] = (gp[(size_t)i] - gm[(size_t)i]) / (2 * h);
    }
    for (int i = 0; i < k; ++i)
        for (int j = 0; j < i; ++j)
            H[(size_t)i * k + j] = H[(size_t)j * k + i] = (H[(size_t)i * k + j] + H[(size_t)j * k + i]) / 2;
    return 0;
}

int d0_derivs(Fit &m, const std::vector<double> &b, double f0, std::vector<double> &g, std::vector<double> &H,
              bool *ok);

// The log likelihood at b and, with derivs, its gradient and Hessian, by the model's method.
int evaluate(Fit &m, const std::vector<double> &b, bool derivs, double *ll, std::vector<double> &g,
             std::vector<double> &H) {
    if (m.meth == M_LF) return lf_eval(m, b, derivs, ll, g, H);
    const int todo = !derivs ? 0 : m.meth == M_D1 ? 1 : m.meth == M_D2 ? 2 : 0;
    if (int rc = d_call(m, b, todo, ll, &g, &H)) return rc;
    if (!derivs || data::is_missing(*ll)) return 0;
    bool ok = true;
    if (m.meth == M_D0) {
        if (int rc = d0_derivs(m, b, *ll, g, H, &ok)) return rc;
    } else if (m.meth == M_D1) {
        if (int rc = d1_hessian(m, b, H, &ok)) return rc;
    }
    if (!ok) *ll = session::lim.dot;
    return 0;
}

// The gradient and Hessian of the log likelihood from its values alone: central differences on
// steps scaled to each coefficient, the cross terms from the four corners.
int d0_derivs(Fit &m, const std::vector<double> &b, double f0, std::vector<double> &g, std::vector<double> &H,
              bool *ok) {
    const int k = m.k;
    std::vector<double> h((size_t)k), fp((size_t)k), fm((size_t)k), gw, hw;
    g.assign((size_t)k, 0.0);
    H.assign((size_t)k * (size_t)k, 0.0);
    *ok = true;
    std::vector<double> x = b;
    auto value = [&](double *f) { return evaluate(m, x, false, f, gw, hw); };
    for (int j = 0; j < k; ++j) {
        h[(size_t)j] = step_at(b[(size_t)j]);
        x[(size_t)j] = b[(size_t)j] + h[(size_t)j];
        if (int rc = value(&fp[(size_t)j])) return rc;
        x[(size_t)j] = b[(size_t)j] - h[(size_t)j];
        if (int rc = value(&fm[(size_t)j])) return rc;
        x[(size_t)j] = b[(size_t)j];
        if (data::is_missing(fp[(size_t)j]) || data::is_missing(fm[(size_t)j])) {
            *ok = false;
            return 0;
        }
        g[(size_t)j] = (fp[(size_t)j] - fm[(size_t)j]) / (2 * h[(size_t)j]);
        H[(size_t)j * k + j] = (fp[(size_t)j] - 2 * f0 + fm[(size_t)j]) / (h[(size_t)j] * h[(size_t)j]);
    }
    for (int j = 1; j < k; ++j)
        for (int c = 0; c < j; ++c) {
            const double sg[4][2] = {{1, 1}, {1, -1}, {-1, 1}, {-1, -1}};
            double acc = 0;
            for (const auto &sv : sg) {
                x[(size_t)j] = b[(size_t)j] + sv[0] * h[(size_t)j];
                x[(size_t)c] = b[(size_t)c] + sv[1] * h[(size_t)c];
                double f = 0;
                const int rc = value(&f);
                x[(size_t)j] = b[(size_t)j];
                x[(size_t)c] = b[(size_t)c];
                if (rc) return rc;
                if (data::is_missing(f)) {
                    *ok = false;
                    return 0;
                }
                acc += sv[0] * sv[1] * f;
            }
            H[(size_t)j * k + c] = H[(size_t)c * k + j] = acc / (4 * h[(size_t)j] * h[(size_t)c]);
        }
    return 0;
}

// True when a (k by k, symmetric) is positive definite: a Cholesky factorisation runs through.
bool positive_definite(const std::vector<double> &a, int k) {
    std::vector<double> l = a;
    for (int j = 0; j < k; ++j) {
        double d = l[(size_t)j * k + j];
        for (int p = 0; p < j; ++p)
            d -= l[(size_t)j * k + p] * l[(size_t)j * k + p];
        if (!(d > 0)) return false;
        d = std::sqrt(d);
        l[(size_t)j * k + j] = d;
        for (int i = j + 1; i < k; ++i) {
            double s = l[(size_t)i * k + j];
            for (int p = 0; p < j; ++p)
                s -= l[(size_t)i * k + p] * l[(size_t)j * k + p];
            l[(size_t)i * k + j] = s / d;
        }
    }
    return true;
}

// Where the objective's Hessian is not positive definite (a region where the likelihood is not
// concave), a ridge on its diagonal, grown until it is, so that the step still goes downhill;
// difficult starts the ridge larger, which leans the step further towards steepest descent.
void ridge(std::vector<double> &A, int k, bool difficult) {
    if (positive_definite(A, k)) return;
    double scale = 0;
    for (int j = 0; j < k; ++j)
        scale = std::max(scale, std::abs(A[(size_t)j * k + j]));
    double lambda = std::max(scale, 1.0) * (difficult ? 1e-2 : 1e-6);
    std::vector<double> B;
    for (int t = 0; t < 60; ++t, lambda *= 4) {
        B = A;
        for (int j = 0; j < k; ++j)
            B[(size_t)j * k + j] += lambda;
        if (positive_definite(B, k)) {
            A.swap(B);
            return;
        }
    }
}

mat::StripeName stripe(const std::string &eq, const std::string &name) {
    mat::StripeName s;
    std::snprintf(s.equation, sizeof s.equation, "%s", eq.c_str());
    std::snprintf(s.name, sizeof s.name, "%s", name.c_str());
    return s;
}

std::vector<mat::StripeName> coef_names(const Fit &m) {
    std::vector<mat::StripeName> cn;
    for (int j = 0; j < m.neq; ++j) {
        const Equation &e = m.eqs[(size_t)j];
        const std::string eq = e.name.empty() ? "eq" + std::to_string(j + 1) : e.name;
        for (size_t i = 0; i < e.var.size(); ++i)
            cn.push_back(stripe(eq, e.label.empty() ? data::ds.varname[(size_t)e.var[i] - 1] : e.label[i]));
        if (e.cons) cn.push_back(stripe(eq, "_cons"));
    }
    return cn;
}

double escalar(const char *name) {
    double v = session::lim.dot;
    mat::result_lookup('e', name, &v, nullptr);
    return v;
}

std::string emacro(const char *name) {
    std::string s;
    mat::result_lookup('e', name, nullptr, &s);
    return s;
}

std::string fmt(double v, const char *f) { return data::fmt_text(v, f); }

// The header from e() and the coefficient table.
int show(const std::string &level) {
    const std::string title = emacro("title"), crit = emacro("crittype");
    auto right = [](const std::string &label, const std::string &value) {
        std::string l = label;
        if (l.size() < 16)
            l.resize(16, ' ');
        else
            l += ' ';
        return "{txt}" + l + "= {res}" + value + "\n";
    };
    auto left = [](const std::string &s, size_t visible) {
        return s + std::string(visible < 50 ? 50 - visible : 1, ' ');
    };
    std::string s = "\n";
    s += left("{txt}" + title, title.size()) + right("Number of obs", fmt(escalar("N"), "%10.0f"));
    const std::string cv = emacro("clustvar");
    if (!cv.empty()) {
        // a long name takes room from the count's field, so that the line stays within 78 columns
        const std::string lab = "Number of clusters (" + cv + ")";
        std::string n = fmt(escalar("N_clust"), "%10.0f");
        const size_t used = 50 + std::max<size_t>(lab.size() + 1, 16) + 2;
        while (n.size() > 1 && n[0] == ' ' && used + n.size() > 78)
            n.erase(0, 1);
        s += left("", 0) + right(lab, n);
    }
    char chi[32];
    std::snprintf(chi, sizeof chi, "Wald chi2(%.0f)", escalar("df_m"));
    s += left("", 0) + right(chi, fmt(escalar("chi2"), "%10.2f"));
    const std::string llword =
        crit == "log pseudolikelihood" ? "Log pseudolikelihood = " : "Log likelihood = ";
    const std::string llv = fmt(escalar("ll"), "%10.0g");
    s += left("{txt}" + llword + "{res}" + llv, llword.size() + llv.size()) +
         right("Prob > chi2", fmt(escalar("p"), "%10.4f"));
    s += "\n";
    if (int rc = out::out_rimu(s)) return rc;
    mat::CoefTableOpts t;
    t.level = level;
    return mat::coef_table_with(t);
}

// The Wald test that the first equation's slopes are 0: b' inv(V) b over them.
double wald_first(const Fit &m, const std::vector<double> &b, const std::vector<double> &V, double *df) {
    std::vector<int> slopes;
    for (size_t c = 0; c < m.eqs[0].var.size(); ++c)
        slopes.push_back((int)c);
    const int q = (int)slopes.size(), k = m.k;
    *df = 0;
    if (q == 0) return session::lim.dot;
    std::vector<double> a((size_t)q * q);
    for (int i = 0; i < q; ++i)
        for (int j = 0; j < q; ++j)
            a[(size_t)i * q + j] = V[(size_t)slopes[(size_t)i] * k + slopes[(size_t)j]];
    mat::InvsymOpts io;
    io.parallel = false;
    mat::InvsymOut out;
    if (mat::invsym(a.data(), q, q, io, &out) || out.missing) return session::lim.dot;
    double s = 0;
    for (int i = 0; i < q; ++i)
        for (int j = 0; j < q; ++j)
            s += b[(size_t)slopes[(size_t)i]] * a[(size_t)i * q + j] * b[(size_t)slopes[(size_t)j]];
    *df = q - out.dropped;
    return s;
}

struct MaxOpts {
    int iterate = 16000;
    double tol = 1e-6, ltol = 1e-7, nrtol = 1e-5;
    bool difficult = false, nolog = false, nooutput = false;
    std::string level;
    int repeat = 10;
};

// The sandwich for lf: each row's score with respect to each equation's prediction at b.
int robust_lf(Fit &m, const std::vector<double> &b, std::vector<double> &V, int cvar, double *nclust) {
    std::vector<std::vector<double>> theta;
    predictions(m, b, theta);
    std::vector<double> l0;
    if (int rc = lf_call(m, theta, l0)) return rc;
    std::vector<std::vector<double>> d1;
    bool ok = true;
    if (int rc = lf_row_derivs(m, theta, l0, d1, nullptr, &ok)) return rc;
    if (!ok) return fail(430, "could not calculate numerical derivatives of the scores\n");
    std::vector<int> ceq, cv;
    coef_map(m, ceq, cv);
    const size_t n = m.rows.size();
    std::vector<std::vector<double>> xcols;
    RobustInput in;
    in.rows = (int64_t)n;
    for (int a = 0; a < m.k; ++a)
        if (cv[(size_t)a]) {
            std::vector<double> col(n);
            for (size_t r = 0; r < n; ++r)
                col[r] = data::get_num(cv[(size_t)a], m.rows[r]);
            xcols.push_back(std::move(col));
        }
    size_t xc = 0;
    for (int a = 0; a < m.k; ++a)
        in.x.push_back(cv[(size_t)a] ? xcols[xc++].data() : nullptr);
    in.eq = ceq;
    for (int j = 0; j < m.neq; ++j)
        in.score.push_back(d1[(size_t)j].data());
    if (m.wtype) {
        in.w = m.w.data();
        in.wtype = m.wtype == 'f' ? RBW_F : m.wtype == 'a' ? RBW_A : m.wtype == 'p' ? RBW_P : RBW_I;
    }
    std::vector<int32_t> order;
    std::vector<double> knum;
    std::vector<std::string> kstr;
    const bool cstr = cvar && data::is_string_type(data::ds.vartype[(size_t)cvar - 1]);
    if (cvar) {
        char buf[data::T_STRMAX + 1];
        for (size_t r = 0; r < n; ++r) {
            if (cstr) {
                data::get_str(cvar, m.rows[r], buf);
                kstr.emplace_back(buf);
            } else {
                knum.push_back(data::get_num(cvar, m.rows[r]));
            }
        }
        order.resize(n);
        for (size_t r = 0; r < n; ++r)
            order[r] = (int32_t)r;
        auto less = [&](int32_t a, int32_t c) {
            return cstr ? kstr[(size_t)a] < kstr[(size_t)c] : knum[(size_t)a] < knum[(size_t)c];
        };
        auto differ = [&](int32_t a, int32_t c) { return less(a, c) || less(c, a); };
        std::stable_sort(order.begin(), order.end(), less);
        for (size_t p = 0; p < n; ++p)
            if (p == 0 || differ(order[p - 1], order[p])) in.cluster_start.push_back((int64_t)p);
        in.cluster_start.push_back((int64_t)n);
        in.order = order.data();
    }
    RobustSpec rs;
    rs.k = m.k;
    rs.ne = m.neq;
    rs.clusterVar = cvar;
    rs.minusFactor = 1;
    std::vector<double> Vr;
    if (int rc = robust_variance(rs, in, V, Vr)) return rc;
    V.swap(Vr);
    *nclust = rs.N;
    return 0;
}

int maximize(Fit &m, const MaxOpts &o) {
    std::vector<double> b;
    if (int rc = start_values(m, b)) return rc;
    const std::string vce = global("vce"), clust = global("clust");
    int cvar = 0;
    if (!clust.empty()) {
        cvar = data::varlookup(clust, true, false);
        if (cvar < 0) return -cvar;
    }
    const bool robust = vce == "robust" || cvar || m.wtype == 'p';
    if (robust && m.meth != M_LF) return fail(198, "robust and cluster() require method lf\n");
    Work work(m);
    if (int rc = work.make()) return rc;
    const std::string word = m.wtype == 'p' ? "log pseudolikelihood" : "log likelihood";
    Optimizer op;
    op.maxIterations = o.iterate;
    op.coefTolerance = o.tol;
    op.logTolerance = o.ltol;
    op.gradientTolerance = o.nrtol;
    op.invert = false;
    op.flagSingular = true;
    op.showLog = !o.nolog;
    op.word = word;
    // the objective's Hessian of the last call with derivatives, before any ridge
    std::vector<double> raw;
    op.evaluator = [&m, &o, &raw](const std::vector<double> &bb, int want, double *f, std::vector<double> &g,
                                  std::vector<double> &H) {
        double ll = 0;
        std::vector<double> gl, hl;
        if (int rc = evaluate(m, bb, want == EVAL_DERIVS, &ll, gl, hl)) return rc;
        *f = data::is_missing(ll) ? session::lim.dot : -ll;
        if (want == EVAL_DERIVS && !data::is_missing(ll)) {
            g.resize(gl.size());
            for (size_t j = 0; j < gl.size(); ++j)
                g[j] = -gl[j];
            H.resize(hl.size());
            for (size_t j = 0; j < hl.size(); ++j)
                H[j] = -hl[j];
            raw = H;
            ridge(H, m.k, o.difficult);
        }
        return 0;
    };
    if (int rc = optimize(op, b)) return rc;
    // the last call with derivatives was at the final values: a maximum has a negative definite Hessian
    if (op.status == OPT_SINGULAR || (op.iterations > 0 && !positive_definite(raw, m.k)))
        return fail(430, "Hessian is not negative definite at the final values\n");
    const double ll = data::is_missing(op.objective) ? session::lim.dot : -op.objective;
    // the dense inverse leaves the two triangles a rounding apart
    std::vector<double> V = op.V;
    for (int i = 0; i < m.k; ++i)
        for (int j = 0; j < i; ++j)
            V[(size_t)i * m.k + j] = V[(size_t)j * m.k + i] =
                (V[(size_t)i * m.k + j] + V[(size_t)j * m.k + i]) / 2;
    double nclust = 0;
    if (robust)
        if (int rc = robust_lf(m, b, V, cvar, &nclust)) return rc;

    // e(): b and V with the equations' stripes, then the rest
    mat::Matrix bm, Vm;
    bm.resize(1, m.k);
    bm.v = b;
    bm.cn = coef_names(m);
    bm.rn.push_back(stripe("", "y1"));
    Vm.resize(m.k, m.k);
    Vm.v = V;
    Vm.rn = Vm.cn = bm.cn;
    Vm.sym = true;
    double df = 0;
    const double chi2 = wald_first(m, b, V, &df);
    const double p = df > 0 && !data::is_missing(chi2) ? data::xm::chi2tail(df, chi2) : session::lim.dot;
    double N = 0;
    for (double w : m.w)
        N += m.wtype == 'f' ? w : 1;
    const std::string bn = next_tempname(), vn = next_tempname();
    if (int r = mat::mat_assign(bn.c_str(), ST_MATRIX, bm)) return r;
    if (int r = mat::mat_assign(vn.c_str(), ST_MATRIX, Vm)) {
        mat::mat_drop(bn.c_str(), ST_MATRIX);
        return r;
    }
    std::vector<uint8_t> marks((size_t)data::ds.nobs, 0);
    for (int32_t i : m.rows)
        marks[(size_t)i - 1] = 1;
    mat::PostExtras x;
    std::string depvar;
    const int ny = std::atoi(global("ny").c_str());
    for (int j = 1; j <= ny; ++j)
        depvar += (j > 1 ? " " : "") + global("y" + std::to_string(j));
    if (ny == 1) x.depname = depvar;
    x.obs = N;
    if (m.wtype) {
        x.wtype = global("wtyp");
        x.wexp = global("wexp");
    }
    x.has_props = true;
    x.properties = "b V";
    x.marks = &marks;
    const std::string cname = cvar ? data::ds.varname[(size_t)cvar - 1] : "";
    if (int r = mat::post_estimates(bn, vn, x)) return r;
    const std::pair<const char *, double> sc[] = {{"N", N},
                                                  {"ll", ll},
                                                  {"k", (double)m.k},
                                                  {"k_eq", (double)m.neq},
                                                  {"k_dv", (double)ny},
                                                  {"chi2", chi2},
                                                  {"df_m", df},
                                                  {"p", p},
                                                  {"ic", (double)op.iterations},
                                                  {"converged", op.status == OPT_ITER ? 0.0 : 1.0},
                                                  {"rc", op.status == OPT_ITER ? 430.0 : 0.0}};
    for (const auto &[name, v] : sc)
        if (int r = mat::e_set_scalar(name, v)) return r;
    const std::string meth = global("meth");
    const std::pair<const char *, std::string> mc[] = {{"title", global("title")},
                                                       {"crittype", word},
                                                       {"chi2type", "Wald"},
                                                       {"user", m.prog},
                                                       {"ml_method", meth},
                                                       {"technique", "nr"},
                                                       {"depvar", depvar},
                                                       {"vce", cvar     ? "cluster"
                                                               : robust ? "robust"
                                                                        : "oim"},
                                                       {"cmd", "ml"}};
    for (const auto &[name, v] : mc)
        if (!v.empty())
            if (int r = mat::e_set_macro(name, v)) return r;
    if (robust) {
        if (int r = mat::e_set_macro("vcetype", "Robust")) return r;
        if (cvar) {
            if (int r = mat::e_set_macro("clustvar", cname)) return r;
            if (int r = mat::e_set_scalar("N_clust", nclust)) return r;
        }
    }
    if (!o.nooutput)
        if (int rc = show(o.level)) return rc;
    if (op.status == OPT_ITER) return error(430);
    return 0;
}

double mreldif(const std::vector<double> &a, const std::vector<double> &b) {
    double d = 0;
    for (size_t j = 0; j < a.size() && j < b.size(); ++j)
        d = std::max(d, std::abs(a[j] - b[j]) / (std::abs(b[j]) + 1));
    return d;
}

// ml check: the evaluator at the starting values, its log likelihood, whether it leaves b alone,
// and for d1 and d2 its derivatives beside numerical ones.
int check(Fit &m) {
    std::vector<double> b;
    if (int rc = start_values(m, b)) return rc;
    Work work(m);
    if (int rc = work.make()) return rc;
    const char *names[] = {"lf", "d0", "d1", "d2"};
    if (int rc = out::out_rimu("{txt}ml check: evaluator {res}" + m.prog + "{txt} (method " + names[m.meth] +
                               ") at the initial values\n"))
        return rc;
    double ll = 0;
    std::vector<double> g, H;
    bool changed = false;
    int rc = m.meth == M_LF ? evaluate(m, b, false, &ll, g, H)
                            : d_call(m, b,
                                     m.meth == M_D0   ? 0
                                     : m.meth == M_D1 ? 1
                                                      : 2,
                                     &ll, &g, &H, &changed);
    if (rc) {
        out::out_rimu("{txt}  the evaluator failed with return code " + std::to_string(rc) + "\n");
        return rc;
    }
    if (int r = out::out_rimu("{txt}  log likelihood = {res}" + fmt(ll, "%10.0g") + "\n")) return r;
    if (data::is_missing(ll))
        return fail(430, "the log likelihood is missing at the initial values; try ml search or ml init\n");
    bool passed = true;
    if (m.meth != M_LF) {
        if (int r = out::out_rimu(std::string("{txt}  the coefficient vector comes back unchanged: ") +
                                  (changed ? "{err}FAILED" : "{res}passed") + "\n"))
            return r;
        passed = !changed;
    }
    if (m.meth == M_LF)
        if (int r = evaluate(m, b, true, &ll, g, H)) return r;
    if (m.meth != M_D0) {
        std::vector<double> gn, Hn;
        bool ok = true;
        if (int r = d0_derivs(m, b, ll, gn, Hn, &ok)) return r;
        if (!ok) return fail(430, "could not calculate numerical derivatives at the initial values\n");
        const double dg = mreldif(g, gn);
        const bool gok = dg <= 1e-5;
        std::string s = "{txt}  the gradient beside numerical derivatives: mreldif = {res}" +
                        fmt(dg, "%9.0g") + (gok ? "{txt}: {res}passed" : "{txt}: {err}FAILED") + "\n";
        passed = passed && gok;
        if (m.meth != M_D1) {
            const double dh = mreldif(H, Hn);
            const bool hok = dh <= 1e-4;
            s += "{txt}  the Hessian beside numerical derivatives: mreldif = {res}" + fmt(dh, "%9.0g") +
                 (hok ? "{txt}: {res}passed" : "{txt}: {err}FAILED") + "\n";
            passed = passed && hok;
        }
        if (int r = out::out_rimu(s)) return r;
    }
    if (!passed) return fail(498, "ml check: the evaluator failed a test\n");
    return out::out_rimu("{txt}  the evaluator passed every test\n");
}

// A line of the search's log, laid out as the iteration log's.
std::string search_line(const std::string &label, double v) {
    return "{txt}" + label + std::string(15 - label.size(), ' ') + "log likelihood = {res}" +
           fmt(v, "%10.0g") + "\n";
}

// ml search: better starting values by moving each equation's constant, halving the move while it
// pays; a missing start is first sought along the constants.
int search(Fit &m, int repeat) {
    std::vector<double> b;
    if (int rc = start_values(m, b)) return rc;
    Work work(m);
    if (int rc = work.make()) return rc;
    std::vector<double> g, H;
    double best = 0;
    if (int rc = evaluate(m, b, false, &best, g, H)) return rc;
    if (int rc = out::out_rimu(search_line("initial:", best))) return rc;
    std::vector<int> cons;
    for (int j = 0; j < m.neq; ++j)
        if (m.eqs[(size_t)j].cons) cons.push_back(m.fp[(size_t)j] + m.eqs[(size_t)j].k() - 1);
    if (data::is_missing(best)) {
        const double tries[] = {0, 1, -1, 2, -2, 4, -4, 8, -8, 0.5, -0.5};
        for (int t = 0; t < repeat * 10 && data::is_missing(best); ++t)
            for (int c : cons) {
                std::vector<double> x = b;
                x[(size_t)c] = tries[(size_t)t % 11] * (1 + t / 11);
                double f = 0;
                if (int rc = evaluate(m, x, false, &f, g, H)) return rc;
                if (!data::is_missing(f)) {
                    b = x;
                    best = f;
                    break;
                }
            }
        if (data::is_missing(best)) return fail(491, "could not find feasible values\n");
    }
    for (int round = 0; round < repeat; ++round) {
        bool moved = false;
        for (int c : cons)
            for (double d = 2; d >= 1.0 / 64; d /= 2)
                for (double sg : {1.0, -1.0}) {
                    std::vector<double> x = b;
                    x[(size_t)c] += sg * d;
                    double f = 0;
                    if (int rc = evaluate(m, x, false, &f, g, H)) return rc;
                    if (!data::is_missing(f) && f > best) {
                        b = x;
                        best = f;
                        moved = true;
                    }
                }
        if (!moved) break;
    }
    if (int rc = out::out_rimu(search_line("improve:", best))) return rc;
    mat::Matrix bm;
    if (!mat::mat_read("ML_b", ST_MATRIX, bm)) return error(111);
    bm.v = b;
    return mat::mat_save("ML_b", ST_MATRIX, bm);
}

} // namespace

int cmd__ml_opt(int) {
    const std::string sub = gettok(SEP_STD);
    MaxOpts o;
    const std::vector<OptSpec> specs = {
        opt_int("iterate", 4, o.iterate, 0, 16000), opt_real("tolerance", 3, o.tol),
        opt_real("ltolerance", 4, o.ltol),          opt_real("nrtolerance", 5, o.nrtol),
        opt_flag("difficult", 3, o.difficult),      opt_flag("nolog", 5, o.nolog),
        opt_flag("nooutput", 5, o.nooutput),        opt_text("level", 1, o.level),
        opt_int("repeat", 3, o.repeat, 0, 1000)};
    if (int rc = parse_options(specs)) return rc;
    if (sub == "display") {
        if (emacro("user").empty() || emacro("ml_method").empty()) return error(301);
        return show(o.level);
    }
    Fit m;
    if (int rc = read_model(m)) return rc;
    m.difficult = o.difficult;
    if (sub == "maximize") return maximize(m, o);
    if (sub == "check") return check(m);
    if (sub == "search") return search(m, o.repeat);
    return fail(198, "_ml_opt: " + sub + " invalid\n");
}

} // namespace est::ml

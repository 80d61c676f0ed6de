// Posting estimates into e(), the coefficient table, the coefficient look-up of expressions, and the
// estimation subcommands of matrix.
#include "matrix/estpost.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/exprmath.h"
#include "data/fmt.h"
#include "data/labels.h"
#include "data/types.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "matrix/matstore.h"
#include "matrix/results.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/macstore.h"
#include "session/options.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tok.h"

namespace mat {

using namespace session;

namespace {

// A factor's base level in a column name: a part "#b." with # its level, as in "1b.c3" or "2.a#1b.c".
bool is_base_name(const char *name) {
    for (const char *p = name; *p;) {
        const char *q = p;
        while (*q >= '0' && *q <= '9')
            ++q;
        if (q > p && q[0] == 'b' && q[1] == '.') return true;
        p = std::strchr(p, '#');
        if (!p) break;
        ++p;
    }
    return false;
}

// The default of obs(), which means that it was not given.
constexpr double OBS_NOT_GIVEN = 1000000;

// A variance matrix computed in floating point may differ from its transpose in the last bits; a
// difference beyond that is an error of the caller.
bool nearly_symmetric(const Matrix &m) {
    if (m.rows != m.cols) return false;
    for (int i = 0; i < m.rows; ++i)
        for (int j = 0; j < i; ++j) {
            const double a = m.at(i, j), b = m.at(j, i);
            if (a == b) continue;
            if (!(std::fabs(a - b) <= 1e-12 * std::max(std::fabs(a), std::fabs(b)))) return false;
        }
    return true;
}

bool same_stripe(const std::vector<StripeName> &a, const std::vector<StripeName> &b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (std::strcmp(a[i].equation, b[i].equation) || std::strcmp(a[i].tsop, b[i].tsop) ||
            std::strcmp(a[i].name, b[i].name))
            return false;
    return true;
}

// The sample marker named by esample(): a numeric variable of 0s and 1s, read into marks.
int read_marker(const std::string &var, std::string &name, std::vector<uint8_t> &marks) {
    const int v = data::varlookup(var, true, data::varabbrev);
    if (v < 0) return -v;
    if (data::is_string_type(data::ds.vartype[v - 1])) return fail(198, "esample() invalid\n");
    marks.assign((size_t)data::ds.nobs, 0);
    for (int i = 1; i <= data::ds.nobs; ++i) {
        const double x = data::get_num(v, i);
        if (x != 0 && x != 1) return fail(198, "esample() invalid\n");
        marks[(size_t)i - 1] = x == 1;
    }
    name = data::ds.varname[v - 1];
    return 0;
}

// The marker becomes the hidden variable (e) and the variable it came from leaves the dataset.
int install_marker(const std::string &name, const std::vector<uint8_t> &marks) {
    if (const int old = data::find_var("(e)")) {
        std::vector<uint8_t> flags((size_t)data::ds.nvar, 0);
        flags[(size_t)old - 1] = 1;
        if (int rc = data::drop_vars(flags.data())) return rc;
    }
    const int e = data::add_var_raw("(e)", data::T_BYTE);
    if (e < 0) return error(-e);
    for (int i = 1; i <= data::ds.nobs; ++i)
        data::put_num(e, i, marks[(size_t)i - 1]);
    if (const int v = data::find_var(name.c_str())) {
        std::vector<uint8_t> flags((size_t)data::ds.nvar, 0);
        flags[(size_t)v - 1] = 1;
        return data::drop_vars(flags.data());
    }
    return 0;
}

const char *weight_word(const std::string &w) {
    static const struct {
        const char *name;
        int min;
    } words[] = {{"fweight", 2}, {"frequency", 2}, {"aweight", 2}, {"pweight", 2}, {"iweight", 2}};
    for (const auto &x : words)
        if (cmdmatch(w.c_str(), x.name, x.min))
            return x.name[0] == 'f'   ? "fweight"
                   : x.name[0] == 'a' ? "aweight"
                   : x.name[0] == 'p' ? "pweight"
                                      : "iweight";
    return nullptr;
}

// The weight behind a post's matrix names: `[type = exp]`, kept as e(wtype) and e(wexp).
int read_weight(std::string &wtype, std::string &wexp) {
    const char *r = tokrest();
    const char *close = std::strchr(r, ']');
    if (!close) return error(198);
    const std::string inside(r + 1, (size_t)(close - r - 1));
    const size_t eq = inside.find('=');
    if (eq == std::string::npos) return error(198);
    std::string w = inside.substr(0, eq);
    w.erase(std::remove(w.begin(), w.end(), ' '), w.end());
    const char *word = weight_word(w);
    if (!word) return invalid_text("weight type");
    std::string x = inside.substr(eq + 1);
    while (!x.empty() && x.front() == ' ')
        x.erase(0, 1);
    while (!x.empty() && x.back() == ' ')
        x.pop_back();
    if (x.empty()) return error(198);
    wtype = word;
    wexp = "= " + x;
    settok(close + 1);
    return 0;
}

struct PostLine {
    std::vector<std::string> names; // b, V, Cns for post; for repost the pairs below
    std::string rb, rv;             // repost: b=name, V=name
    std::string wtype, wexp;
    std::string depname, esample, properties;
    bool has_props = false;
    double obs = OBS_NOT_GIVEN, dof = -1;
    bool fatal = false, clear = false, rename = false;
    std::string level;
};

int read_post_line(int which, PostLine &pl, bool with_level) {
    for (;;) {
        const char *r = tokrest();
        if (!*r || *r == ',') break;
        if (*r == '[' && which == 0) {
            if (int rc = read_weight(pl.wtype, pl.wexp)) return rc;
            continue;
        }
        std::string w = gettok(SEP_STD);
        if (which == 1) {
            // b=name or V=name
            if (w != "b" && w != "V") return invalid_rest(w);
            if (*tokrest() != '=') return error(198);
            gettok(SEP_STD);
            std::string n = gettok(SEP_STD);
            if (n.empty()) return error(198);
            (w == "b" ? pl.rb : pl.rv) = n;
            continue;
        }
        if (pl.names.size() == 3 || !pl.wtype.empty()) return invalid_rest(w + " " + tokrest());
        if (int rc = check_name(w)) return rc;
        pl.names.push_back(w);
    }
    std::string obs_text;
    std::vector<OptSpec> specs = {opt_text("esample", 3, pl.esample),
                                  opt_text("properties", 5, pl.properties), opt_flag("fatal", 5, pl.fatal)};
    if (which == 0) {
        specs.push_back(opt_text("depname", 3, pl.depname));
        specs.push_back(opt_text("obs", 3, obs_text));
        specs.push_back(opt_real("dof", 3, pl.dof));
        specs.push_back(opt_flag("clear", 5, pl.clear));
        specs.push_back(opt_skip("gamma", 5));
    } else {
        specs.push_back(opt_flag("rename", 6, pl.rename));
    }
    if (with_level) specs.push_back(opt_text("level", 1, pl.level));
    const std::string before_props = "\x01";
    pl.properties = before_props;
    if (int rc = parse_options(specs)) return rc;
    // obs(): a missing value is accepted, and ignored like a non-integer
    if (!obs_text.empty() && !data::text_to_number(obs_text, pl.obs, true)) return option_invalid("obs");
    pl.has_props = pl.properties != before_props;
    if (!pl.has_props) pl.properties.clear();
    return 0;
}

int do_post(const PostLine &pl) {
    if (res.ProgramClass != 3 && !pl.clear) return error(152);
    Matrix b, V, C;
    const bool hb = pl.names.size() > 0, hV = pl.names.size() > 1, hC = pl.names.size() > 2;
    if (hb)
        if (int rc = mat_load(pl.names[0].c_str(), ST_MATRIX, b)) return rc;
    if (hV)
        if (int rc = mat_load(pl.names[1].c_str(), ST_MATRIX, V)) return rc;
    if (hC)
        if (int rc = mat_load(pl.names[2].c_str(), ST_MATRIX, C)) return rc;
    if (hb && b.rows != 1) return error(503);
    if (hV && (V.rows != V.cols || V.rows != b.cols)) return error(503);
    if (hC && C.cols != b.cols + 1) return error(503);
    bool warn = false;
    if (hV) {
        // V's names, where it has them, are b's column names; e(V) carries b's names
        const std::vector<StripeName> bn = full_stripe(b, false);
        if ((!V.rn.empty() && !same_stripe(V.rn, bn)) || (!V.cn.empty() && !same_stripe(V.cn, bn)))
            return error(507);
        V.rn = b.cn;
        V.cn = b.cn;
        if (!nearly_symmetric(V)) {
            if (pl.fatal) return error(506);
            warn = true;
        }
        V.sym = !warn && is_symmetric(V);
    }
    if (hC) {
        std::vector<StripeName> cn = full_stripe(b, false);
        StripeName r;
        std::snprintf(r.name, sizeof r.name, "_r");
        cn.push_back(r);
        if (!b.cn.empty()) C.cn = cn;
    }
    std::string mname;
    std::vector<uint8_t> marks;
    if (!pl.esample.empty())
        if (int rc = read_marker(pl.esample, mname, marks)) return rc;

    // everything is checked: e() is replaced
    e_clear();
    int rc = 0;
    if (hb && !rc) rc = mat_save("b", ST_E_MATRIX, b);
    if (hV && !rc) rc = mat_save("V", ST_E_MATRIX, V);
    if (hC && !rc) rc = mat_save("Cns", ST_E_MATRIX, C);
    for (size_t i = 0; i < pl.names.size() && !rc; ++i)
        mat_drop(pl.names[i].c_str(), ST_MATRIX);
    if (!rc && !pl.depname.empty()) rc = e_set_macro("depvar", pl.depname);
    if (!rc && pl.obs != OBS_NOT_GIVEN && !data::is_missing(pl.obs) && pl.obs == std::floor(pl.obs))
        rc = e_set_scalar("N", pl.obs);
    if (!rc && pl.dof != -1 && !data::is_missing(pl.dof)) rc = e_set_scalar("df_r", pl.dof);
    if (!rc && !pl.wtype.empty()) rc = e_set_macro("wtype", pl.wtype);
    if (!rc && !pl.wexp.empty()) rc = e_set_macro("wexp", pl.wexp);
    const std::string props = pl.has_props ? pl.properties : hV ? "b V" : hb ? "b" : "";
    if (!rc && !props.empty()) rc = e_set_macro("properties", props);
    if (!rc && !marks.empty()) rc = install_marker(mname, marks);
    if (rc) {
        // only a refusal of memory reaches here; nothing half-posted stays
        e_clear();
        return rc;
    }
    if (warn) {
        out::ClassScope cs(out::CLS_TEXT);
        out::out_text("Warning:  variance matrix is nonsymmetric or highly singular\n");
    }
    return 0;
}

int do_repost(const PostLine &pl) {
    if (res.ProgramClass != 3) return error(152);
    Matrix ob, oV, b, V;
    const bool had_b = mat_read("b", ST_E_MATRIX, ob), had_V = mat_read("V", ST_E_MATRIX, oV);
    const bool nb = !pl.rb.empty(), nV = !pl.rv.empty();
    if ((nb && !had_b) || (nV && !had_V) || (!had_b && !had_V)) return error(301);
    if (nb)
        if (int rc = mat_load(pl.rb.c_str(), ST_MATRIX, b)) return rc;
    if (nV)
        if (int rc = mat_load(pl.rv.c_str(), ST_MATRIX, V)) return rc;
    if (nb && (b.rows != ob.rows || b.cols != ob.cols)) return error(503);
    if (nV && (V.rows != oV.rows || V.cols != oV.cols)) return error(503);
    if (nb && !pl.rename) {
        b.rn = ob.rn;
        b.cn = ob.cn;
    }
    bool warn = false;
    if (nV) {
        if (!pl.rename) {
            V.rn = oV.rn;
            V.cn = oV.cn;
        }
        if (!nearly_symmetric(V)) {
            if (pl.fatal) return error(506);
            warn = true;
        }
        V.sym = !warn && is_symmetric(V);
    }
    std::string mname;
    std::vector<uint8_t> marks;
    if (!pl.esample.empty())
        if (int rc = read_marker(pl.esample, mname, marks)) return rc;
    int rc = 0;
    if (nb) rc = mat_save("b", ST_E_MATRIX, b);
    if (nV && !rc) rc = mat_save("V", ST_E_MATRIX, V);
    if (rc) return rc;
    if (nb) mat_drop(pl.rb.c_str(), ST_MATRIX);
    if (nV && pl.rv != pl.rb) mat_drop(pl.rv.c_str(), ST_MATRIX);
    if (pl.has_props) {
        if (pl.properties.empty()) {
            if (void *p = store_find("properties", ST_E_MACRO, nullptr)) store_delete(p);
        } else if ((rc = e_set_macro("properties", pl.properties))) {
            return rc;
        }
    }
    if (!marks.empty())
        if ((rc = install_marker(mname, marks))) return rc;
    if (warn) {
        out::ClassScope cs(out::CLS_TEXT);
        out::out_text("Warning:  variance matrix is nonsymmetric or highly singular\n");
    }
    return 0;
}

// ---- The coefficient table ----------------------------------------------------------------------

std::string right(const std::string &s, size_t n) {
    return s.size() >= n ? s : std::string(n - s.size(), ' ') + s;
}

// A name in the 12 columns left of the bar: a longer one keeps its head and its last character.
std::string cell_name(const std::string &s) { return s.size() <= 12 ? s : s.substr(0, 10) + "~" + s.back(); }

// level(#) or c(level): a number from 10 to 99.99, as written.
int read_level(const std::string &text, std::string &out) {
    if (text.empty()) {
        out = se.level;
        return 0;
    }
    double v;
    if (!data::text_to_number(text, v, false) || v < 10 || v > 99.99)
        return fail(198, "level() must be between 10 and 99.99 inclusive\n");
    out = data::number_text(v);
    return 0;
}

int coef_table(const std::string &level_text, const CoefTableOpts &o = CoefTableOpts{}) {
    Matrix b, V;
    if (!mat_read("b", ST_E_MATRIX, b)) return error(301);
    const bool hV = mat_read("V", ST_E_MATRIX, V);
    double df = 0;
    const bool t = result_lookup('e', "df_r", &df, nullptr) != RES_NONE && !data::is_missing(df) && df > 0;
    const double level = std::strtod(level_text.c_str(), nullptr);
    const double alpha = (1 - level / 100) / 2;
    const double crit = t ? data::xm::invttail(df, alpha) : data::xm::invnormal(1 - alpha);
    const std::vector<StripeName> cn = full_stripe(b, false);
    const bool eqs = has_equations(cn);
    std::string depvar;
    {
        std::string d;
        if (result_lookup('e', "depvar", nullptr, &d) == RES_MACRO && d.find(' ') == std::string::npos)
            depvar = d;
    }
    const std::string stat = t ? "t" : "z";
    std::string ci = "[" + level_text + "% Conf. Interval]";
    const std::string coef_word = o.eform.empty() ? "Coef." : o.eform;
    // a variance other than the classical one names itself above the column of its errors, and a
    // clustered one says over how many clusters
    std::string vcetype, clustvar, head;
    result_lookup('e', "vcetype", nullptr, &vcetype);
    result_lookup('e', "clustvar", nullptr, &clustvar);
    double nclust = 0;
    if (!clustvar.empty() && result_lookup('e', "N_clust", &nclust, nullptr) != RES_NONE &&
        !data::is_missing(nclust))
        head +=
            "{txt}(Std. Err. adjusted for " + data::number_text(nclust) + " clusters in " + clustvar + ")\n";
    head += "{txt}{hline 78}\n";
    if (!vcetype.empty()) head += std::string(13, ' ') + "{c |}" + right(vcetype, 23) + "\n";
    head += right(eqs ? "" : cell_name(depvar), 12) + " {c |}" + right(coef_word, 11) + "   Std. Err.      " +
            stat + "    P>|" + stat + "|" + right(o.beta ? "Beta" : ci, 25) + "\n{hline 13}{c +}{hline 64}\n";
    if (int rc = out::out_rimu(head)) return rc;
    std::string cur_eq = "\x01";
    for (int j = 0; j < b.cols; ++j) {
        const StripeName &s = cn[(size_t)j];
        if (eqs && cur_eq != s.equation) {
            std::string line;
            if (cur_eq != "\x01") line += "{txt}{hline 13}{c +}{hline 64}\n";
            cur_eq = s.equation;
            line += "{res}" + std::string(cell_name(cur_eq)) +
                    std::string(12 - cell_name(cur_eq).size(), ' ') + " {txt}{c |}\n";
            if (int rc = out::out_rimu(line)) return rc;
        }
        double coef = b.at(0, j);
        double var = hV ? V.at(j, j) : data::xm::dot();
        std::string line = "{txt}" + right(cell_name(std::string(s.tsop) + s.name), 12) + " {c |}{res}";
        if (coef == 0 && var == 0 && is_base_name(s.name)) {
            line += "  (base)\n";
        } else if (coef == 0 && var == 0) {
            line += "  (dropped)\n";
        } else {
            const double se = var >= 0 && !data::is_missing(var) ? std::sqrt(var) : data::xm::dot();
            const bool ok = !data::is_missing(se) && se > 0 && !data::is_missing(coef);
            const double stat_v = ok ? coef / se : data::xm::dot();
            const double p = !ok ? data::xm::dot()
                             : t ? 2 * data::xm::ttail(df, std::fabs(stat_v))
                                 : 2 * data::xm::normal(-std::fabs(stat_v));
            double lo = ok ? coef - crit * se : data::xm::dot(), hi = ok ? coef + crit * se : data::xm::dot();
            double shown = coef, shown_se = se;
            if (!o.eform.empty() && j < b.cols - o.eform_plain) {
                // the exponentiated coefficient, its delta-method error and the interval's ends
                shown = std::exp(coef);
                shown_se = data::is_missing(se) ? se : shown * se;
                lo = data::is_missing(lo) ? lo : std::exp(lo);
                hi = data::is_missing(hi) ? hi : std::exp(hi);
            }
            line += "  " + data::fmt_text(shown, "%9.0g") + "   " + data::fmt_text(shown_se, "%9.0g") + " " +
                    data::fmt_text(stat_v, "%6.2f") + "   " + data::fmt_text(p, "%6.3f");
            if (o.beta) {
                const double bv = (size_t)j < o.beta->size() ? (*o.beta)[(size_t)j] : data::xm::dot();
                if (!data::is_missing(bv)) line += "                " + data::fmt_text(bv, "%9.0g");
                line += "\n";
            } else {
                line += "    " + data::fmt_text(lo, "%9.0g") + "   " + data::fmt_text(hi, "%9.0g") + "\n";
            }
        }
        if (int rc = out::out_rimu(line)) return rc;
    }
    return out::out_rimu(o.plus ? "{txt}{hline 13}{c +}{hline 64}\n" : "{txt}{hline 78}\n");
}

// The variables of the columns of b, for score: the coefficient and the variable (0 for _cons).
struct ScoreTerm {
    double coef;
    int var;
};

} // namespace

int coef_table_with(const CoefTableOpts &o) {
    std::string lv;
    if (int rc = read_level(o.level, lv)) return rc;
    return coef_table(lv, o);
}

int post_estimates(const std::string &bname, const std::string &vname, const PostExtras &x) {
    PostLine pl;
    pl.names = {bname, vname};
    pl.clear = true;
    pl.depname = x.depname;
    pl.obs = x.obs;
    pl.dof = x.dof;
    pl.wtype = x.wtype;
    pl.wexp = x.wexp;
    pl.has_props = x.has_props;
    pl.properties = x.properties;
    if (int rc = do_post(pl)) return rc;
    if (x.marks) return install_marker("", *x.marks);
    return 0;
}

int cmd_estpost(int which) {
    PostLine pl;
    if (int rc = read_post_line(which, pl, false)) return rc;
    return which ? do_repost(pl) : do_post(pl);
}

int cmd_estdisplay(int) {
    std::string level, lv;
    const OptSpec specs[] = {opt_text("level", 1, level)};
    if (int rc = parse_options(specs)) return rc;
    if (int rc = read_level(level, lv)) return rc;
    return coef_table(lv);
}

// matrix mlout [b [V]] [, level(#) post options]: posts when matrices are named, then shows the table
int cmd_mlout(int) {
    PostLine pl;
    if (int rc = read_post_line(0, pl, true)) return rc;
    std::string lv;
    if (int rc = read_level(pl.level, lv)) return rc;
    if (!pl.names.empty())
        if (int rc = do_post(pl)) return rc;
    return coef_table(lv);
}

// matrix score [type] newvar = b [if] [in] [, equation(eq) replace missval(#)]
int cmd_score(int) {
    std::string first = gettok(SEP_STD);
    int type = data::T_FLOAT;
    if (int t = data::type_from_name(first.c_str()); t > 0 && *tokrest() != '=') {
        if (data::is_string_type(t)) return error(109);
        type = t;
        first = gettok(SEP_STD);
    }
    const std::string newvar = first;
    if (newvar.empty() || *tokrest() != '=') return error(198);
    gettok(SEP_STD);
    const std::string bname = gettok(SEP_STD);
    if (bname.empty()) return error(198);
    data::ParseSpec spec;
    spec.varlist = data::PO_NONE;
    if (int rc = data::std_parse(spec)) return rc;
    std::string eq;
    bool replace = false;
    double missval = data::xm::dot();
    const OptSpec specs[] = {opt_text("equation", 2, eq), opt_flag("replace", 7, replace),
                             opt_real("missval", 4, missval)};
    if (int rc = data::std_options(specs)) return rc;
    Matrix b;
    if (int rc = mat_load(bname.c_str(), ST_MATRIX, b)) return rc;
    if (b.rows != 1) return error(503);
    const std::vector<StripeName> cn = full_stripe(b, false);
    // the equation: the one named, "#k" by number, or the first
    std::vector<std::string> order;
    for (const StripeName &s : cn)
        if (std::find(order.begin(), order.end(), s.equation) == order.end()) order.push_back(s.equation);
    std::string want = order.empty() ? "" : order[0];
    if (!eq.empty()) {
        if (eq[0] == '#') {
            const int k = std::atoi(eq.c_str() + 1);
            if (k < 1 || k > (int)order.size()) return equation_missing(eq);
            want = order[(size_t)k - 1];
        } else if (std::find(order.begin(), order.end(), eq) != order.end()) {
            want = eq;
        } else {
            return equation_missing(eq);
        }
    }
    std::vector<ScoreTerm> terms;
    for (int j = 0; j < b.cols; ++j) {
        const StripeName &s = cn[(size_t)j];
        if (want != s.equation) continue;
        if (std::strcmp(s.name, "_cons") == 0 && !s.tsop[0]) {
            terms.push_back({b.at(0, j), 0});
            continue;
        }
        if (s.tsop[0]) return not_built("time-series operators in matrix score");
        const int v = data::varlookup(s.name, true, false);
        if (v < 0) return -v;
        if (data::is_string_type(data::ds.vartype[v - 1])) return error(109);
        terms.push_back({b.at(0, j), v});
    }
    int target = data::find_var(newvar.c_str());
    if (target && !replace) return already_defined(newvar);
    if (!target && replace) return variable_not_found(newvar);
    if (target && data::is_string_type(data::ds.vartype[target - 1])) return error(109);
    std::vector<int32_t> obs;
    if (int rc = data::sample_obs(obs)) return rc;
    std::vector<double> vals(obs.size());
    for (size_t k = 0; k < obs.size(); ++k) {
        double s = 0;
        for (const ScoreTerm &t : terms) {
            double x = t.var ? data::get_num(t.var, obs[k]) : 1.0;
            if (data::is_missing(x)) {
                s = missval;
                break;
            }
            s += t.coef * x;
        }
        vals[k] = s;
    }
    if (!target) {
        if (int rc = data::add_var(newvar.c_str(), type, &target)) return rc;
        data::fill_missing(target, 1);
    }
    for (size_t k = 0; k < obs.size(); ++k)
        data::put_num(target, obs[k], vals[k]);
    data::mark_changed(newvar.c_str());
    return 0;
}

int coef_value(int which, const char *eq, const char *name, double *v) {
    Matrix b;
    if (!mat_read("b", ST_E_MATRIX, b)) return error(301);
    const std::vector<StripeName> cn = full_stripe(b, false);
    std::vector<std::string> order;
    for (const StripeName &s : cn)
        if (std::find(order.begin(), order.end(), s.equation) == order.end()) order.push_back(s.equation);
    std::string want = order.empty() ? "" : order[0];
    if (eq[0] == '#') {
        const int k = std::atoi(eq + 1);
        if (k < 1 || k > (int)order.size()) return equation_missing(eq);
        want = order[(size_t)k - 1];
    } else if (eq[0]) {
        if (std::find(order.begin(), order.end(), eq) == order.end()) return equation_missing(eq);
        want = eq;
    }
    for (int j = 0; j < b.cols; ++j) {
        const StripeName &s = cn[(size_t)j];
        if (want != s.equation || std::string(s.tsop) + s.name != name) continue;
        if (which == 0) {
            *v = b.at(0, j);
            return 0;
        }
        Matrix V;
        if (!mat_read("V", ST_E_MATRIX, V)) return matrix_not_found("e(V)");
        const double d = V.at(j, j);
        *v = data::is_missing(d) || d < 0 ? data::xm::dot() : std::sqrt(d);
        return 0;
    }
    return not_found(std::string("[") + name + "]");
}

} // namespace mat

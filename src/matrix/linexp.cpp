// Linear expressions in the coefficients of the posted estimates.
#include "matrix/linexp.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "data/exprmath.h"
#include "data/fmt.h"
#include "session/errors.h"
#include "session/store.h"

namespace mat {

using namespace session;

namespace {

// A partial result: weights on the coefficients and a constant.
struct Lin {
    std::vector<double> c;
    double k = 0;
    bool constant() const {
        return std::all_of(c.begin(), c.end(), [](double x) { return x == 0; });
    }
};

bool name_char(char ch) {
    return std::isalnum((unsigned char)ch) || ch == '_' || ch == '.' || ch == '#' || ch == '~';
}

class Reader {
  public:
    Reader(std::string_view t, const std::vector<StripeName> &s) : text(t), stripe(s) {
        for (const StripeName &n : stripe)
            if (std::find(eqs.begin(), eqs.end(), n.equation) == eqs.end()) eqs.push_back(n.equation);
    }

    int run(LinRow &out) {
        Lin left, right;
        right.c.assign(stripe.size(), 0);
        if (int rc = side(left)) return rc;
        skip();
        if (peek() == '=') {
            ++pos;
            if (int rc = side(right)) return rc;
        }
        skip();
        if (pos < text.size()) return invalid_rest(text.substr(pos));
        out.R.resize(stripe.size());
        for (size_t j = 0; j < stripe.size(); ++j)
            out.R[j] = left.c[j] - right.c[j];
        out.r = right.k - left.k;
        return 0;
    }

  private:
    std::string_view text;
    const std::vector<StripeName> &stripe;
    std::vector<std::string> eqs;
    size_t pos = 0;

    void skip() {
        while (pos < text.size() && text[pos] == ' ')
            ++pos;
    }
    char peek() const { return pos < text.size() ? text[pos] : '\0'; }

    int side(Lin &out) {
        out.c.assign(stripe.size(), 0);
        out.k = 0;
        skip();
        double sign = 1;
        if (peek() == '+' || peek() == '-') {
            sign = peek() == '-' ? -1 : 1;
            ++pos;
        }
        for (;;) {
            Lin t;
            if (int rc = term(t)) return rc;
            for (size_t j = 0; j < out.c.size(); ++j)
                out.c[j] += sign * t.c[j];
            out.k += sign * t.k;
            skip();
            if (peek() != '+' && peek() != '-') return 0;
            sign = peek() == '-' ? -1 : 1;
            ++pos;
        }
    }

    int term(Lin &out) {
        if (int rc = factor(out)) return rc;
        for (;;) {
            skip();
            const char op = peek();
            if (op != '*' && op != '/') return 0;
            ++pos;
            Lin f;
            if (int rc = factor(f)) return rc;
            if (op == '/') {
                if (!f.constant()) return error(131);
                if (f.k == 0) return fail(198, "division by zero\n");
                for (double &x : out.c)
                    x /= f.k;
                out.k /= f.k;
                continue;
            }
            if (!out.constant() && !f.constant()) return error(131);
            if (out.constant()) std::swap(out, f);
            // out now carries the coefficients, if any; f is a constant
            for (double &x : out.c)
                x *= f.k;
            out.k *= f.k;
        }
    }

    int factor(Lin &out) {
        out.c.assign(stripe.size(), 0);
        out.k = 0;
        skip();
        const char ch = peek();
        if (ch == '(') {
            ++pos;
            if (int rc = side(out)) return rc;
            skip();
            if (peek() != ')') return error(198);
            ++pos;
            return 0;
        }
        if (ch == '+' || ch == '-') {
            // a signed factor after * or /, as in 2*-x1
            ++pos;
            if (int rc = factor(out)) return rc;
            if (ch == '-') {
                for (double &x : out.c)
                    x = -x;
                out.k = -out.k;
            }
            return 0;
        }
        if (std::isdigit((unsigned char)ch) || ch == '.') {
            const std::string rest(text.substr(pos));
            char *end = nullptr;
            const double v = std::strtod(rest.c_str(), &end);
            const size_t used = (size_t)(end - rest.c_str());
            // "1.c3" starts like a number but is the name of a factor level
            if (used > 0 && !name_char(rest[used])) {
                pos += used;
                out.k = v;
                return 0;
            }
        }
        std::string eq;
        bool has_eq = false;
        if (ch == '[') {
            if (int rc = bracket(eq)) return rc;
            has_eq = true;
            skip();
        }
        std::string name = word();
        if (name == "_b" && peek() == '[') {
            std::string inner;
            if (int rc = bracket(inner)) return rc;
            const size_t colon = inner.find(':');
            if (!has_eq && inner.size() && inner[0] == '[') {
                const size_t close = inner.find(']');
                if (close == std::string::npos) return error(198);
                eq = inner.substr(1, close - 1);
                has_eq = true;
                inner = inner.substr(close + 1);
            } else if (!has_eq && colon != std::string::npos) {
                eq = inner.substr(0, colon);
                has_eq = true;
                inner = inner.substr(colon + 1);
            }
            name = trim(inner);
        }
        if (name.empty()) return error(198);
        int col = -1;
        if (int rc = find(has_eq, eq, name, col)) return rc;
        out.c[(size_t)col] = 1;
        return 0;
    }

    static std::string trim(std::string s) {
        while (!s.empty() && s.front() == ' ')
            s.erase(0, 1);
        while (!s.empty() && s.back() == ' ')
            s.pop_back();
        return s;
    }

    std::string word() {
        const size_t start = pos;
        while (pos < text.size() && name_char(text[pos]))
            ++pos;
        return std::string(text.substr(start, pos - start));
    }

    // [text], with nesting for _b[[eq]x]; pos stands on the opening bracket
    int bracket(std::string &inside) {
        int depth = 0;
        const size_t start = pos;
        for (; pos < text.size(); ++pos) {
            if (text[pos] == '[') ++depth;
            if (text[pos] == ']' && --depth == 0) {
                inside = trim(std::string(text.substr(start + 1, pos - start - 1)));
                ++pos;
                return 0;
            }
        }
        return error(198);
    }

    int find(bool has_eq, const std::string &eq, const std::string &name, int &col) {
        std::string want = eqs.empty() ? "" : eqs[0];
        if (has_eq) {
            if (!eq.empty() && eq[0] == '#') {
                const int k = std::atoi(eq.c_str() + 1);
                if (k < 1 || k > (int)eqs.size()) return equation_missing(eq);
                want = eqs[(size_t)k - 1];
            } else if (std::find(eqs.begin(), eqs.end(), eq) != eqs.end()) {
                want = eq;
            } else if (!(eq.empty() && eqs.size() == 1 && eqs[0].empty())) {
                return equation_missing(eq);
            }
        }
        for (size_t j = 0; j < stripe.size(); ++j) {
            const StripeName &s = stripe[j];
            if (want == s.equation && std::string(s.tsop) + s.name == name) {
                col = (int)j;
                return 0;
            }
        }
        return not_found(has_eq && !eq.empty() ? "[" + eq + "]" + name : name);
    }
};

std::string number(double v) {
    std::string s = data::fmt_text(v, "%10.0g");
    s.erase(0, s.find_first_not_of(' '));
    return s;
}

} // namespace

int parse_linexp(std::string_view text, const std::vector<StripeName> &stripe, LinRow &out) {
    Reader rd(text, stripe);
    return rd.run(out);
}

std::string linrow_text(const LinRow &row, const std::vector<StripeName> &stripe) {
    const bool eqs = has_equations(stripe);
    std::string s;
    for (size_t j = 0; j < row.R.size() && j < stripe.size(); ++j) {
        const double w = row.R[j];
        if (w == 0) continue;
        const std::string name = (eqs ? std::string("[") + stripe[j].equation + "]" : std::string()) +
                                 stripe[j].tsop + stripe[j].name;
        const double a = std::fabs(w);
        if (s.empty())
            s += w < 0 ? "- " : "";
        else
            s += w < 0 ? " - " : " + ";
        s += a == 1 ? name : number(a) + "*" + name;
    }
    if (s.empty()) s = "0";
    return s + " = " + number(row.r);
}

int posted_stripe(std::vector<StripeName> &stripe) {
    Matrix b;
    if (!mat_read("b", ST_E_MATRIX, b)) return error(301);
    stripe = full_stripe(b, false);
    return 0;
}

} // namespace mat

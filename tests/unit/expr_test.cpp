// Expressions: taking the text, precedence, missing values, strings, subscripts, sums, the limits of
// the record and the pools, the functions and their failures, scalars, and the flags of a record.
#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/expr.h"
#include "data/exprint.h"
#include "data/scalar.h"
#include "data/varlist.h"
#include "msg_capture.h"
#include "session/hexfloat.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tok.h"

using namespace data;

namespace {

double dot() { return session::lim.dot; }
int letter(double v) { return missing_index(v); }

class Expr : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(session::compute_limits());
        ASSERT_EQ(data_init(1 << 20, 5000, 400), 0);
        session::lp.version = 1010;
        session::lp.modernmissing = 1;
        session::lp.capture_rc = 0;
        varabbrev = true;
        parser_reset();
        expr_pool_reset();
        expr_hook_result = nullptr;
        expr_hook_coef = nullptr;
        expr_hook_creturn = nullptr;
        // x = 1..5 (double), f = x/2 (float), b = 10*x (byte), s = "a".."e", lng = 100+x (long)
        x = addv("x", T_DOUBLE);
        f = addv("f", T_FLOAT);
        b = addv("bb", T_BYTE);
        s = addv("s", 5);
        l = addv("lng", T_LONG);
        {
            MsgCapture c;
            ASSERT_EQ(set_obs(5), 0);
        }
        const char *strs[] = {"a", "b", "c", "d", "e"};
        for (int i = 1; i <= 5; ++i) {
            put_num(x, i, i);
            put_num(f, i, i / 2.0);
            put_num(b, i, 10 * i);
            put_str(s, i, strs[i - 1]);
            put_num(l, i, 100 + i);
        }
        command_start();
    }
    void TearDown() override {
        session::lp.version = 1010;
        session::lp.modernmissing = 1;
        expr_hook_result = nullptr;
        expr_hook_coef = nullptr;
        expr_hook_creturn = nullptr;
        const char *name = nullptr;
        while (void *p = session::store_walk(nullptr, &name, session::ST_SCALAR, nullptr))
            session::store_delete(p);
    }

    int addv(const char *name, int type) {
        int v = 0;
        MsgCapture c;
        EXPECT_EQ(add_var(name, type, &v), 0) << name;
        return v;
    }

    // The value of a numeric expression at observation obs.
    double num(const char *e, int obs = 1) {
        ExprRecord r;
        MsgCapture c;
        int rc = expr_compile(e, r, XW_NUM);
        EXPECT_EQ(rc, 0) << e << ": " << c.text();
        if (rc) return -12345;
        return expr_xeq(r, obs);
    }
    std::string str(const char *e, int obs = 1) {
        ExprRecord r;
        MsgCapture c;
        int rc = expr_compile(e, r, XW_STR);
        EXPECT_EQ(rc, 0) << e << ": " << c.text();
        if (rc) return "<fail>";
        char buf[EXPR_STRBUF];
        EXPECT_EQ(expr_xeq_str(r, obs, buf), 0);
        return buf;
    }
    // The code of a compile that must fail, and its message in msg.
    int fails(const char *e, int wanted = XW_ANY) {
        ExprRecord r;
        MsgCapture c;
        int rc = expr_compile(e, r, wanted);
        msg = c.text();
        return rc;
    }
    std::string dump(const char *e) {
        ExprRecord r;
        MsgCapture c;
        EXPECT_EQ(expr_compile(e, r, XW_ANY), 0) << e << ": " << c.text();
        return expr_dump(r);
    }

    int x = 0, f = 0, b = 0, s = 0, l = 0;
    std::string msg;
};

// ---- Taking the text ------------------------------------------------------------------------------

TEST_F(Expr, TextEndsAtBlankNotNextToOperatorCommaBraceOrSingleEquals) {
    struct Case {
        const char *text;
        const char *rest;
    } cases[] = {
        {"x + 1 if x>2", " if x>2"},
        {"  x+1", ""},
        {"x, opt", ", opt"},
        {"x{", "{"},
        {"x=1", "=1"},
        {"x==1 y", " y"},
        {"x >= 1", ""},
        {"2 - -3 z", " z"},
        {"(x + 1) * 2", ""},
        {"word(\"a b\", 1) q", " q"},
        {"`\"a \"b\" c\"' q", " q"},
    };
    for (const Case &k : cases) {
        ExprRecord r;
        const char *end = nullptr;
        MsgCapture c;
        ASSERT_EQ(expr_compile(k.text, r, XW_ANY, &end), 0) << k.text << ": " << c.text();
        EXPECT_STREQ(end, k.rest) << k.text;
        EXPECT_EQ(r.text_end, end);
    }
}

TEST_F(Expr, UnbalancedBracketsAndQuotesAre132) {
    EXPECT_EQ(fails("(x+1"), 132);
    EXPECT_EQ(msg, "too few ')' or ']'\n");
    EXPECT_EQ(fails("x+1)"), 132);
    EXPECT_EQ(msg, "too many ')' or ']'\n");
    EXPECT_EQ(fails("\"abc"), 132);
    EXPECT_EQ(msg, "too few quotes\n");
    EXPECT_EQ(fails("`\"abc\""), 132);
    EXPECT_EQ(msg, "too few quotes\n");
}

TEST_F(Expr, PrescanRecordsOnlyTheBounds) {
    ExprRecord r;
    const char *text = "  nosuch + 1, opt";
    const char *end = nullptr;
    EXPECT_EQ(expr_compile(text, r, XW_ANY, &end, XC_PRESCAN), 0);
    EXPECT_EQ(r.text_begin, text + 2);
    EXPECT_EQ(r.text_end, text + 12);
    EXPECT_EQ(r.last, -1);
}

TEST_F(Expr, CompileFromTheTokenizerMovesItOn) {
    session::settok("x*2 if x>1");
    ExprRecord r;
    ASSERT_EQ(expr_compile_tok(r, XW_NUM), 0);
    EXPECT_STREQ(session::gettok(session::SEP_STD), "if");
    EXPECT_EQ(expr_xeq(r, 3), 6);
}

// ---- Precedence and code ----------------------------------------------------------------------------

TEST_F(Expr, SplitsAtTheLoosestOperatorFromTheRight) {
    EXPECT_EQ(dump("8/4*2"), "LIT 1 (8)\nLIT 2 (4)\nDIV\nLIT 3 (2)\nMUL\n");
    expr_pool_reset();
    EXPECT_EQ(dump("8*4/2"), "LIT 1 (8)\nLIT 2 (4)\nLIT 3 (2)\nDIV\nMUL\n");
    expr_pool_reset();
    EXPECT_EQ(dump("x>1"), "VAR 1 (x)\nLIT 1 (1)\nGT\n");
    // a-b+c splits at the +, a+b-c too: the right part of a + is computed first
    EXPECT_EQ(num("9007199254740992+1-1"), 9007199254740992.0);
    EXPECT_EQ(num("9007199254740992-1+1"), 9007199254740992.0);
    EXPECT_EQ(num("10-3-2"), 5);
    EXPECT_EQ(num("2^3^2"), 64);
    EXPECT_EQ(num("-2^2"), -4);
    EXPECT_EQ(num("1e-5+1"), 1.00001);
    EXPECT_EQ(num("1E+2-1"), 99);
    EXPECT_EQ(num("1.8x+1+1"), 4); // hexadecimal float 1.5 * 2^1 = 3
    EXPECT_EQ(num("2*-3"), -6);
    EXPECT_EQ(num("2- -3"), 5);
    EXPECT_EQ(num("1|0&0"), 1);
    EXPECT_EQ(num("(1|0)&0"), 0);
    EXPECT_EQ(num("3>2>1"), 0);
    EXPECT_EQ(num("1<2==1"), 1);
    EXPECT_EQ(num("!0+1"), 2);
    EXPECT_EQ(num("~1"), 0);
    EXPECT_EQ(num("2+3*4"), 14);
    EXPECT_EQ(num("((2+3))*4"), 20);
    EXPECT_EQ(num("[2+3]*4"), 20);
}

TEST_F(Expr, OldVersionsTestUnaryBehindPower) {
    session::lp.version = 400;
    EXPECT_EQ(num("-2^2"), 4);
    session::lp.version = 500;
    EXPECT_EQ(num("-2^2"), -4);
}

TEST_F(Expr, ExponentSignOnlyInANumber) {
    // x1e is a name: its + is an operator
    int v = addv("x1e", T_DOUBLE);
    command_start();
    for (int i = 1; i <= 5; ++i)
        put_num(v, i, 7);
    EXPECT_EQ(num("x1e+1"), 8);
    EXPECT_EQ(num("1d-1+1"), 1.1);
}

// ---- Missing values -----------------------------------------------------------------------------------

TEST_F(Expr, ArithmeticWithMissingGivesDot) {
    for (const char *e : {".+1", "1-.a", ".b*0", ".c/2", "2^.", ".a^0", "-.a", "1/0", "0/0", "sqrt(-1)",
                          "exp(1000)", "(-8)^(1/3)", "abs(.b)", "8e307*1.5", "log(0)", "ln(-1)"}) {
        double v = num(e);
        EXPECT_EQ(dbits(v), dbits(dot())) << e;
    }
    EXPECT_EQ(letter(num(".a")), 1);
    EXPECT_EQ(letter(num(".z")), 26);
    EXPECT_EQ(letter(num("float(.c)")), 3);
    EXPECT_EQ(num("float(0.1)"), (double)0.1f);
}

TEST_F(Expr, ComparisonsTreatMissingAsLarge) {
    EXPECT_EQ(num(". > 5"), 1);
    EXPECT_EQ(num(".a < .b"), 1);
    EXPECT_EQ(num(".a == .b"), 0);
    EXPECT_EQ(num(". == ."), 1);
    EXPECT_EQ(num("sqrt(-1) == ."), 1);
    EXPECT_EQ(num("exp(1000) > 1e300"), 1);
    EXPECT_EQ(num(".a >= .a"), 1);
    EXPECT_EQ(num(". <= 1e300"), 0);
    EXPECT_EQ(num(".b != .b"), 0);
    EXPECT_EQ(num(".b ~= .c"), 1);
    EXPECT_EQ(num("-1e300 < ."), 1);
    session::lp.modernmissing = 0;
    EXPECT_EQ(num(".a == .b"), 1);
    EXPECT_EQ(num(".a < .b"), 0);
    session::lp.modernmissing = 1;
}

TEST_F(Expr, LogicTestsAgainstZero) {
    EXPECT_EQ(num(". & 1"), 1);
    EXPECT_EQ(num(". & 0"), 0);
    EXPECT_EQ(num(". | 0"), 1);
    EXPECT_EQ(num("0 | 0"), 0);
    EXPECT_EQ(num("!."), 0);
    EXPECT_EQ(num("!0"), 1);
    EXPECT_EQ(num("!5"), 0);
    EXPECT_EQ(num("2 & 3"), 1);
}

// ---- Strings ------------------------------------------------------------------------------------------

TEST_F(Expr, StringOperators) {
    EXPECT_EQ(str("\"a\"+\"b\""), "ab");
    EXPECT_EQ(str("s+\"!\"", 2), "b!");
    EXPECT_EQ(num("\"a\"<\"b\""), 1);
    EXPECT_EQ(num("\"B\"<\"a\""), 1);
    EXPECT_EQ(num("\"\\xe9\"==\"\\xe9\""), 1);
    EXPECT_EQ(num("\"ab\"!=\"ab\""), 0);
    EXPECT_EQ(num("\"ab\"~=\"ac\""), 1);
    EXPECT_EQ(num("\"b\">=\"b\""), 1);
    EXPECT_EQ(num("\"a\"<=\"b\""), 1);
    EXPECT_EQ(num("\"a\">\"b\""), 0);
    EXPECT_EQ(num("\"ab\">\"a\""), 1);
    EXPECT_EQ(num("s==\"c\"", 3), 1);
    EXPECT_EQ(num("\"\"==\"\""), 1);
    EXPECT_EQ(str("`\"say \"hi\"\"'"), "say \"hi\"");
    EXPECT_EQ(fails("\"a\"*2"), 109);
    EXPECT_EQ(msg, "type mismatch\n");
    EXPECT_EQ(fails("\"a\"-\"b\""), 109);
    EXPECT_EQ(fails("\"a\"|\"b\""), 109);
    EXPECT_EQ(fails("\"a\"+1"), 109);
    EXPECT_EQ(fails("-\"a\""), 109);
    EXPECT_EQ(fails("!\"a\""), 109);
    EXPECT_EQ(fails("\"a\"^2"), 109);
}

TEST_F(Expr, UnsignedByteComparison) {
    char e[64];
    std::snprintf(e, sizeof e, "\"%c\" > \"z\"", (char)0xE9);
    EXPECT_EQ(num(e), 1);
}

TEST_F(Expr, StringsAreCutTo245) {
    std::string lit300 = "\"" + std::string(300, 'q') + "\"";
    EXPECT_EQ(str(lit300.c_str()).size(), 245u);
    expr_pool_reset();
    std::string sum = "\"" + std::string(200, 'a') + "\"+\"" + std::string(100, 'b') + "\"";
    std::string v = str(sum.c_str());
    EXPECT_EQ(v.size(), 245u);
    EXPECT_EQ(v.substr(195, 10), "aaaaabbbbb");
}

TEST_F(Expr, WantedTypeIsChecked) {
    EXPECT_EQ(fails("\"a\"", XW_NUM), 109);
    EXPECT_EQ(fails("1", XW_STR), 109);
    EXPECT_EQ(fails("s", XW_NUM), 109);
    ExprRecord r;
    EXPECT_EQ(expr_compile("s", r, XW_ANY), 0);
    EXPECT_EQ(r.restype, XT_STR);
}

// ---- Variables, subscripts, _n and _N --------------------------------------------------------------------

TEST_F(Expr, VariablesOfEveryType) {
    EXPECT_EQ(num("x", 4), 4);
    EXPECT_EQ(num("f", 3), 1.5);
    EXPECT_EQ(num("bb", 2), 20);
    EXPECT_EQ(num("lng", 5), 105);
    EXPECT_EQ(str("s", 5), "e");
    EXPECT_EQ(num("x", 6), dot()); // beyond the data
    EXPECT_EQ(str("s", 0), "");
    put_num(b, 2, missing_value(4));
    EXPECT_EQ(letter(num("bb", 2)), 4);
}

TEST_F(Expr, SubscriptsStayInTheGroup) {
    EXPECT_EQ(num("x[_n-1]", 1), dot());
    EXPECT_EQ(num("x[_n-1]", 3), 2);
    EXPECT_EQ(num("x[_N]", 1), 5);
    EXPECT_EQ(num("x[0]"), dot());
    EXPECT_EQ(num("x[6]"), dot());
    EXPECT_EQ(num("x[-1]"), dot());
    EXPECT_EQ(num("x[.]"), dot());
    EXPECT_EQ(num("x[3e9]"), dot());
    EXPECT_EQ(num("x[-3e9]"), dot());
    EXPECT_EQ(num("x[2.9]"), 2);
    EXPECT_EQ(str("s[_n+1]", 4), "e");
    EXPECT_EQ(str("s[_n+1]", 5), "");
    // a by-group of observations 3 to 5
    ExprRecord r;
    ASSERT_EQ(expr_compile("x[_n-1]", r, XW_NUM), 0);
    expr_set_ranges(r, 1, 5, 3, 5);
    EXPECT_EQ(expr_xeqforby(r, 3), dot());
    EXPECT_EQ(expr_xeqforby(r, 4), 3);
    ExprRecord n;
    ASSERT_EQ(expr_compile("_n*10+_N", n, XW_NUM), 0);
    expr_set_ranges(n, 1, 5, 3, 5);
    EXPECT_EQ(expr_xeqforby(n, 4), 23);
    EXPECT_EQ(expr_xeq(n, 4), 45); // the refresh makes the whole dataset the group
    ExprRecord one;
    ASSERT_EQ(expr_compile("x[1]", one, XW_NUM), 0);
    expr_set_ranges(one, 1, 5, 3, 5);
    EXPECT_EQ(expr_xeqforby(one, 5), 3);
}

TEST_F(Expr, AbbreviationsAndNameFailures) {
    addv("ab", T_DOUBLE);
    addv("ac", T_DOUBLE);
    command_start();
    EXPECT_EQ(num("ln", 2), 102); // lng, by abbreviation
    EXPECT_EQ(fails("a+1"), 111);
    EXPECT_EQ(msg, "a ambiguous abbreviation\n");
    EXPECT_EQ(fails("nosuch"), 111);
    EXPECT_EQ(msg, "nosuch not found\n");
    EXPECT_EQ(fails("3x"), 198);
    EXPECT_EQ(msg, "3x invalid name\n");
    varabbrev = false;
    EXPECT_EQ(fails("ln"), 111);
    EXPECT_EQ(msg, "ln not found\n");
    varabbrev = true;
    // a scratch variable of the parser is not visible
    int v = addv("hidden", T_DOUBLE);
    ds.nvar_visible = v - 1;
    EXPECT_EQ(fails("hidden"), 111);
}

TEST_F(Expr, ReservedNames) {
    EXPECT_EQ(num("_n", 4), 4);
    EXPECT_EQ(num("_N"), 5);
    EXPECT_EQ(num("_cons"), 1);
    EXPECT_EQ(num("_pi"), M_PI);
    session::lp.capture_rc = 111;
    EXPECT_EQ(num("_rc"), 111);
    EXPECT_EQ(fails("_n[1]"), 198);
    EXPECT_EQ(fails("_pi[1]"), 198);
}

// ---- sum(), group() and the running state ----------------------------------------------------------------

TEST_F(Expr, RunningSums) {
    ExprRecord r;
    ASSERT_EQ(expr_compile("sum(x)", r, XW_NUM), 0);
    std::vector<double> got;
    for (int i = 1; i <= 5; ++i)
        got.push_back(expr_xeq(r, i));
    EXPECT_EQ(got, (std::vector<double>{1, 3, 6, 10, 15}));
    EXPECT_EQ(expr_xeq(r, 1), 1); // restarts at the first observation of the range
    ExprRecord c;
    ASSERT_EQ(expr_compile("sum(1)", c, XW_NUM), 0);
    expr_set_ranges(c, 2, 5, 1, 5);
    EXPECT_EQ(expr_xeqforby(c, 2), 1);
    EXPECT_EQ(expr_xeqforby(c, 3), 2);
    ExprRecord m;
    ASSERT_EQ(expr_compile("sum(.)", m, XW_NUM), 0);
    for (int i = 1; i <= 5; ++i)
        EXPECT_EQ(expr_xeq(m, i), 0);
    EXPECT_EQ(fails("sum(1)+sum(2)+sum(3)+sum(4)+sum(5)"), 0);
    EXPECT_EQ(fails("sum(1)+sum(2)+sum(3)+sum(4)+sum(5)+sum(6)"), 130);
    EXPECT_EQ(msg, "Too many SUMs\n");
}

TEST_F(Expr, GroupCutsTheRange) {
    {
        MsgCapture c;
        ASSERT_EQ(set_obs(10), 0);
    }
    ExprRecord r;
    ASSERT_EQ(expr_compile("group(3)", r, XW_NUM), 0);
    std::vector<double> got;
    for (int i = 1; i <= 10; ++i)
        got.push_back(expr_xeq(r, i));
    EXPECT_EQ(got, (std::vector<double>{1, 1, 1, 1, 2, 2, 2, 3, 3, 3}));
    EXPECT_EQ(num("group(-2)", 4), -2);
    EXPECT_EQ(letter(num("group(.a)", 4)), 1);
    EXPECT_EQ(r.parallel, 0);
}

// ---- Limits of the record and the pools ------------------------------------------------------------------

TEST_F(Expr, CodeArrayHolds2400Words) {
    std::string e = "1";
    for (int k = 0; k < 1199; ++k)
        e += "+_n";
    ExprRecord r;
    {
        MsgCapture c;
        ASSERT_EQ(expr_compile(e.c_str(), r, XW_NUM), 0) << c.text();
    }
    EXPECT_EQ(r.last, 2399);
    EXPECT_EQ(expr_xeq(r, 2), 1 + 1199 * 2);
    std::string more = "-(" + e + ")";
    EXPECT_EQ(fails(more.c_str()), 130);
    EXPECT_EQ(msg, "expression too long\n");
}

TEST_F(Expr, TypeStackLimits) {
    auto nest = [](int n, const char *leaf) {
        std::string e;
        for (int k = 0; k < n; ++k)
            e += std::string(leaf) + "+(";
        e += leaf;
        e += std::string((size_t)n, ')');
        return e;
    };
    EXPECT_EQ(fails(nest(248, "_n").c_str()), 0);
    EXPECT_EQ(fails(nest(250, "_n").c_str()), 130);
    EXPECT_EQ(fails(nest(9, "\"a\"").c_str()), 0);
    EXPECT_EQ(fails(nest(10, "\"a\"").c_str()), 130);
}

TEST_F(Expr, LiteralPools) {
    std::string a = "max(1";
    for (int k = 2; k <= 200; ++k)
        a += "," + std::to_string(k);
    a += ")";
    std::string b = "max(201";
    for (int k = 202; k <= 300; ++k)
        b += "," + std::to_string(k);
    b += ")";
    EXPECT_EQ(fails(a.c_str()), 0);
    EXPECT_EQ(fails(b.c_str()), 0); // 300 literals
    EXPECT_EQ(fails("1+2+3"), 0);   // already there
    EXPECT_EQ(fails("301"), 130);
    EXPECT_EQ(msg, "too many literals\n");
    expr_pool_reset();
    const std::string lit = "\"" + std::string(200, 'z') + "\"";
    EXPECT_EQ(fails((lit + "+" + lit).c_str()), 0); // the same text is stored once
    const std::string l2 = "\"" + std::string(200, 'y') + "\"";
    EXPECT_EQ(fails(l2.c_str()), 0);
    const std::string l3 = "\"" + std::string(200, 'x') + "\"";
    EXPECT_EQ(fails(l3.c_str()), 130);
    EXPECT_EQ(msg, "too many literals\n");
}

TEST_F(Expr, MalformedExpressions) {
    for (const char *e : {"1+", "*2", "()", "x[]", "abs()", "abs(1,2)", "abs(1,)", "max(1)", "round(1,2,3)",
                          "cond(1,2)", "substr(\"a\",1)", "(1)(2)", "abs(1)x"}) {
        EXPECT_EQ(fails(e), 198) << e;
        EXPECT_EQ(msg, "invalid syntax\n") << e;
    }
    EXPECT_EQ(fails(""), 198);
    EXPECT_EQ(fails("abs(\"a\")"), 109);
    EXPECT_EQ(fails("substr(1,2,3)"), 109);
    EXPECT_EQ(fails("length(5)"), 109);
    EXPECT_EQ(fails("cond(1,2,\"a\")"), 109);
    EXPECT_EQ(fails("inlist(1,\"a\")"), 109);
    EXPECT_EQ(fails("nosuchfn(1)"), 133);
    EXPECT_EQ(msg, "unknown function nosuchfn()\n");
    EXPECT_EQ(fails("norm(1)"), 133);
    EXPECT_EQ(msg, "norm() has been replaced by normal()\n");
    EXPECT_EQ(fails("Binomial(10,2,.5)"), 133);
    EXPECT_EQ(msg, "Binomial() has been replaced by binomialtail()\n");
    EXPECT_EQ(fails("lnfact(3)"), 133);
    EXPECT_EQ(fails("missing(missing(1))"), 198);
    EXPECT_EQ(msg, "missing() may not be nested within missing()\n");
}

TEST_F(Expr, DeepNestingFailsCleanly) {
    std::string e;
    for (int k = 0; k < 3000; ++k)
        e += "abs(";
    e += "1";
    e += std::string(3000, ')');
    EXPECT_EQ(fails(e.c_str()), 130);
}

// ---- Functions -------------------------------------------------------------------------------------------

struct NumCase {
    const char *e;
    double want;
    double tol;
};

TEST_F(Expr, MathFunctions) {
    const NumCase cases[] = {
        {"abs(-2.5)", 2.5, 0},
        {"int(-2.7)", -2, 0},
        {"trunc(2.7)", 2, 0},
        {"floor(-2.5)", -3, 0},
        {"ceil(-2.5)", -2, 0},
        {"round(2.5)", 3, 0},
        {"round(-2.5)", -2, 0},
        {"round(1234,100)", 1200, 0},
        {"round(.125,.05)", .15, 1e-15},
        {"mod(7,3)", 1, 0},
        {"mod(-7,3)", 2, 0},
        {"sign(-3)", -1, 0},
        {"sign(0)", 0, 0},
        {"exp(1)", M_E, 1e-15},
        {"ln(exp(2))", 2, 1e-15},
        {"log10(1000)", 3, 1e-15},
        {"sqrt(16)", 4, 0},
        {"atan2(1,1)", M_PI / 4, 1e-15},
        {"logit(.5)", 0, 0},
        {"invlogit(0)", .5, 0},
        {"invlogit(800)", 1, 0},
        {"cloglog(1-exp(-1))", 0, 1e-15},
        {"invcloglog(0)", 1 - std::exp(-1), 1e-15},
        {"comb(5,2)", 10, 0},
        {"comb(52,5)", 2598960, 0},
        {"lnfactorial(5)", std::log(120.0), 1e-13},
        {"lngamma(.5)", std::log(std::sqrt(M_PI)), 1e-13},
        {"digamma(1)", -0.5772156649015329, 1e-13},
        {"trigamma(1)", M_PI * M_PI / 6, 1e-12},
        {"max(1,.,3,-2)", 3, 0},
        {"min(4,.,3,7)", 3, 0},
        {"reldif(3,1)", 1, 0},
        {"reldif(.a,.a)", 0, 0},
        {"chop(2.0000001,1e-6)", 2, 0},
        {"chop(2.1,1e-6)", 2.1, 0},
        {"clip(5,1,3)", 3, 0},
        {"clip(-5,.,3)", -5, 0},
        {"recode(2,1,3,5)", 3, 0},
        {"recode(9,1,3,5)", 5, 0},
        {"irecode(2,1,3,5)", 1, 0},
        {"irecode(9,1,3,5)", 3, 0},
        {"autocode(2.5,4,0,10)", 2.5, 0},
        {"autocode(2.6,4,0,10)", 5, 0},
        {"cond(1,10,20)", 10, 0},
        {"cond(0,10,20)", 20, 0},
        {"cond(.,10,20)", 10, 0},
        {"cond(.,10,20,30)", 30, 0},
        {"inrange(2,1,3)", 1, 0},
        {"inrange(4,1,3)", 0, 0},
        {"inrange(4,1,.)", 1, 0},
        {"inlist(3,1,2,3)", 1, 0},
        {"inlist(4,1,2,3)", 0, 0},
        {"missing(1,.,2)", 1, 0},
        {"missing(1,\"\",2)", 1, 0},
        {"missing(1,\"a\")", 0, 0},
        {"mi(.z)", 1, 0},
        {"byteorder()", 2, 0},
        {"maxbyte()", 100, 0},
        {"minbyte()", -127, 0},
        {"maxint()", 32740, 0},
        {"minint()", -32767, 0},
        {"maxlong()", 2147483620, 0},
        {"minlong()", -2147483647, 0},
        {"epsdouble()", std::ldexp(1.0, -52), 0},
        {"epsfloat()", std::ldexp(1.0, -23), 0},
        {"smallestdouble()", std::ldexp(1.0, -1022), 0},
        {"maxdouble()", std::ldexp(0x1.fffffffffffffp0, 1022), 0},
        {"mindouble()", -std::ldexp(0x1.fffffffffffffp0, 1022), 0},
        {"_caller()", 10.1, 1e-15},
        {"float(1/3)", (double)(1.0f / 3.0f), 0},
    };
    for (const NumCase &c : cases) {
        expr_pool_reset();
        EXPECT_NEAR(num(c.e), c.want, c.tol) << c.e;
    }
}

TEST_F(Expr, DistributionFunctions) {
    const NumCase cases[] = {
        {"normal(1.96)", 0.9750021048517795, 1e-13},
        {"normal(-40)", 0, 1e-300},
        {"invnormal(.975)", 1.959963984540054, 1e-12},
        {"invnormal(1e-10)", -6.361340902404056, 1e-9},
        {"invnormal(normal(-7))", -7, 1e-9},
        {"lnnormal(-40)", -804.6084420137538, 1e-8},
        {"lnnormal(0)", std::log(.5), 1e-15},
        {"normalden(0)", 0.3989422804014327, 1e-15},
        {"normalden(1,2)", 0.3989422804014327 * std::exp(-1.0 / 8) / 2, 1e-15},
        {"normalden(3,1,2)", 0.3989422804014327 * std::exp(-.5) / 2, 1e-15},
        {"lnnormalden(0)", -0.9189385332046727, 1e-15},
        {"chi2(2,2)", 1 - std::exp(-1.0), 1e-14},
        {"chi2tail(2,2)", std::exp(-1.0), 1e-14},
        {"invchi2tail(1,.05)", 3.841458820694124, 1e-9},
        {"invchi2(2,.5)", 2 * std::log(2.0), 1e-10},
        {"chiprob(2,2)", std::exp(-1.0), 1e-14},
        {"gammap(1,1)", 1 - std::exp(-1.0), 1e-14},
        {"gammaptail(3,10)", std::exp(-10.0) * (1 + 10 + 50), 1e-14},
        {"invgammap(1,.5)", std::log(2.0), 1e-10},
        {"dgammapdx(1,1)", std::exp(-1.0), 1e-14},
        {"dgammapdxdx(2,1)", 0, 1e-15},
        {"dgammapda(1,1)", -0.4317297106348987, 1e-9},
        {"ibeta(2,3,.4)", 0.5248, 1e-12},
        {"ibetatail(2,3,.4)", 0.4752, 1e-12},
        {"invibeta(2,3,.5248)", .4, 1e-10},
        {"betaden(2,2,.5)", 1.5, 1e-13},
        {"ttail(10,2.228138851986274)", .025, 1e-10},
        {"ttail(10,-2.228138851986274)", .975, 1e-10},
        {"invttail(10,.025)", 2.228138851986274, 1e-9},
        {"invttail(10,.975)", -2.228138851986274, 1e-9},
        {"tprob(10,2.228138851986274)", .05, 1e-10},
        {"tden(1,0)", 1 / M_PI, 1e-14},
        {"Ftail(2,10,4.102821015130399)", .05, 1e-10},
        {"F(2,10,4.102821015130399)", .95, 1e-10},
        {"invFtail(2,10,.05)", 4.102821015130399, 1e-8},
        {"invF(2,10,.95)", 4.102821015130399, 1e-8},
        {"fprob(2,10,4.102821015130399)", .05, 1e-10},
        {"Fden(2,10,0)", 1, 1e-14},
        {"binomial(10,3,.5)", 176.0 / 1024, 1e-13},
        {"binomialtail(10,3,.5)", 1 - 56.0 / 1024, 1e-13},
        {"binomialp(10,3,.5)", 120.0 / 1024, 1e-13},
        {"invbinomial(10,3,176/1024)", .5, 1e-9},
        {"invbinomialtail(10,3,968/1024)", .5, 1e-9},
        {"poisson(2,1)", 3 * std::exp(-2.0), 1e-14},
        {"poissontail(2,1)", 1 - std::exp(-2.0), 1e-14},
        {"poissonp(2,2)", 2 * std::exp(-2.0), 1e-14},
        {"invpoisson(1,3*exp(-2))", 2, 1e-9},
        {"invpoissontail(1,1-exp(-2))", 2, 1e-9},
        {"nbinomialp(2,1,.5)", .25, 1e-14},
        {"nbinomial(2,1,.5)", .5, 1e-14},
        {"nbinomialtail(2,1,.5)", .75, 1e-14},
        {"invnbinomial(2,1,.5)", .5, 1e-9},
        {"hypergeometricp(10,5,3,2)", 100.0 / 240, 1e-14},
        {"hypergeometric(10,5,3,1)", .5, 1e-14},
        {"binormal(0,0,0)", .25, 1e-15},
        {"binormal(0,0,.5)", 1.0 / 3, 1e-14},
        {"binormal(0,0,-.5)", 1.0 / 6, 1e-14},
        {"binormal(1,2,.95)", 0.8413361470328711, 1e-12},
        {"binormal(.5,.5,1)", 0.6914624612740131, 1e-14},
        {"nchi2(2,0,2)", 1 - std::exp(-1.0), 1e-13},
        {"nchi2(4,2,3)", 0.2462727014619814, 1e-12},
        {"invnchi2(4,2,0.2462727014619814)", 3, 1e-9},
        {"npnchi2(4,3,0.2462727014619814)", 2, 1e-9},
        {"nibeta(2,3,0,.4)", 0.5248, 1e-12},
        {"nFtail(2,10,0,4.102821015130399)", .05, 1e-10},
        {"gammaden(1,1,0,1)", std::exp(-1.0), 1e-15},
        {"gammaden(2,2,1,3)", std::exp(-1.0) / 2, 1e-15},
    };
    for (const NumCase &c : cases) {
        expr_pool_reset();
        EXPECT_NEAR(num(c.e), c.want, c.tol) << c.e;
    }
}

TEST_F(Expr, FunctionsGiveDotOutsideTheirDomain) {
    for (const char *e : {"invnormal(0)",
                          "invnormal(1)",
                          "invnormal(1.5)",
                          "chi2(0,1)",
                          "chi2(-1,1)",
                          "ibeta(0,1,.5)",
                          "ttail(0,1)",
                          "invttail(5,0)",
                          "comb(3,5)",
                          "comb(2.5,1)",
                          "binomial(10.5,2,.5)",
                          "binomial(10,2,1.5)",
                          "poisson(-1,2)",
                          "lngamma(0)",
                          "lngamma(-2)",
                          "digamma(-1)",
                          "invchi2tail(2,0)",
                          "binormal(0,0,2)",
                          "hypergeometricp(10,11,3,1)",
                          "logit(1)",
                          "npnchi2(4,3,.99)",
                          "gammap(-1,1)",
                          "mod(5,0)",
                          "normalden(1,0)",
                          "Fden(1,1,.)",
                          "max(.,.)",
                          "tden(.,1)",
                          "autocode(1,0,0,1)"}) {
        expr_pool_reset();
        EXPECT_EQ(dbits(num(e)), dbits(dot())) << e;
    }
}

TEST_F(Expr, StringFunctions) {
    struct SCase {
        const char *e;
        const char *want;
    } cases[] = {
        {"substr(\"abcdef\",2,3)", "bcd"},
        {"substr(\"abcdef\",-2,.)", "ef"},
        {"substr(\"abcdef\",4,.)", "def"},
        {"substr(\"abcdef\",7,1)", ""},
        {"substr(\"abcdef\",0,1)", ""},
        {"substr(\"abcdef\",2,0)", ""},
        {"word(\"one two  three\",2)", "two"},
        {"word(\"one two  three\",-1)", "three"},
        {"word(\"one two\",3)", ""},
        {"lower(\"AbC1\")", "abc1"},
        {"upper(\"AbC1\")", "ABC1"},
        {"proper(\"mR. o'neil jR\")", "Mr. O'Neil Jr"},
        {"ltrim(\"  a  \")", "a  "},
        {"rtrim(\"  a  \")", "  a"},
        {"trim(\"  a b  \")", "a b"},
        {"itrim(\" a   b  c\")", " a b c"},
        {"reverse(\"abc\")", "cba"},
        {"strreverse(\"\")", ""},
        {"string(3.25)", "3.25"},
        {"string(1/3)", ".3333333"},
        {"string(1234567890)", "1.23e+09"},
        {"string(.b)", ".b"},
        {"string(3.14159,\"%9.2f\")", "3.14"},
        {"string(0,\"%td\")", "01jan1960"},
        {"string(2,\"%bad\")", "2"},
        {"strofreal(12)", "12"},
        {"char(65)", "A"},
        {"char(0)", ""},
        {"char(256)", ""},
        {"abbrev(\"displacement\",8)", "displa~t"},
        {"abbrev(\"short\",8)", "short"},
        {"abbrev(\"displacement\",2)", "dis~t"},
        {"subinstr(\"a-b-c\",\"-\",\"+\",.)", "a+b+c"},
        {"subinstr(\"a-b-c\",\"-\",\"\",1)", "ab-c"},
        {"subinword(\"a ab a\",\"a\",\"x\",.)", "x ab x"},
        {"plural(1,\"cat\")", "cat"},
        {"plural(2,\"cat\")", "cats"},
        {"plural(2,\"box\",\"+es\")", "boxes"},
        {"plural(2,\"glasses\",\"-es\")", "glass"},
        {"plural(2,\"man\",\"men\")", "men"},
        {"cond(0,\"y\",\"n\")", "n"},
        {"cond(.,\"y\",\"n\",\"m\")", "m"},
        {"strsubdp(\"1.5\")", "1.5"},
    };
    for (const SCase &c : cases) {
        expr_pool_reset();
        EXPECT_EQ(str(c.e), c.want) << c.e;
    }
}

TEST_F(Expr, StringToNumberFunctions) {
    const NumCase cases[] = {
        {"length(\"abc\")", 3, 0},
        {"strlen(\"\")", 0, 0},
        {"real(\" 12.5 \")", 12.5, 0},
        {"real(\"1e3\")", 1000, 0},
        {"wordcount(\" a bb  c \")", 3, 0},
        {"wordcount(\"\")", 0, 0},
        {"strpos(\"abcabc\",\"ca\")", 3, 0},
        {"index(\"abc\",\"z\")", 0, 0},
        {"indexnot(\"aab\",\"a\")", 3, 0},
        {"indexnot(\"aa\",\"a\")", 0, 0},
        {"strmatch(\"abcde\",\"a*e\")", 1, 0},
        {"match(\"abcde\",\"a?c*\")", 1, 0},
        {"strmatch(\"abcde\",\"b*\")", 0, 0},
        {"fmtwidth(\"%9.2f\")", 9, 0},
        {"inrange(\"b\",\"a\",\"c\")", 1, 0},
        {"inlist(\"b\",\"a\",\"c\")", 0, 0},
    };
    for (const NumCase &c : cases) {
        expr_pool_reset();
        EXPECT_NEAR(num(c.e), c.want, c.tol) << c.e;
    }
    EXPECT_EQ(letter(num("real(\".c\")")), 3);
    EXPECT_EQ(dbits(num("real(\"abc\")")), dbits(dot()));
    EXPECT_EQ(dbits(num("fmtwidth(\"%q\")")), dbits(dot()));
}

TEST_F(Expr, DateFunctions) {
    const NumCase cases[] = {
        {"mdy(1,1,1960)", 0, 0},
        {"mdy(3,1,2000)", 14670, 0},
        {"td(01jan1960)", 0, 0},
        {"td(2jan1960)", 1, 0},
        {"d(1jan1961)", 366, 0},
        {"tm(1960m2)", 1, 0},
        {"tq(1961q1)", 4, 0},
        {"tc(01jan1960 00:00:01)", 1000, 0},
        {"year(366)", 1961, 0},
        {"month(31)", 2, 0},
        {"day(31)", 1, 0},
        {"dow(0)", 5, 0},
        {"doy(366)", 1, 0},
        {"date(\"01jan1960\",\"DMY\")", 0, 0},
        {"date(\"1/2/60\",\"MDY\",2000)", 1, 0},
        {"ym(1960,2)", 1, 0},
        {"dofm(1)", 31, 0},
        {"hms(1,0,0)", 3600000, 0},
        {"mdyhms(1,1,1960,0,0,2)", 2000, 0},
    };
    for (const NumCase &c : cases) {
        expr_pool_reset();
        EXPECT_NEAR(num(c.e), c.want, c.tol) << c.e;
    }
    EXPECT_EQ(dbits(num("mdy(2,30,2000)")), dbits(dot()));
}

TEST_F(Expr, RegularExpressions) {
    ExprValue v;
    MsgCapture c;
    // a pattern that does not compile leaves no match behind
    ASSERT_EQ(expr_eval_scalar("regexm(\"a\",\"(\")", v), 0);
    EXPECT_EQ(v.num, 0);
    EXPECT_EQ(c.text(), "unmatched ()\n");
    c.reset();
    EXPECT_EQ(expr_eval_scalar("regexs(0)", v), 198);
    EXPECT_EQ(c.text(),
              "a regular expression match function must be executed prior to retrieving a subexpression\n");
    c.reset();
    ASSERT_EQ(expr_eval_scalar("regexm(\"abc123\",\"([a-z]+)([0-9]+)\")", v), 0);
    EXPECT_EQ(v.num, 1);
    EXPECT_EQ(str("regexs(0)"), "abc123");
    EXPECT_EQ(str("regexs(2)"), "123");
    c.reset();
    EXPECT_EQ(expr_eval_scalar("regexs(10)", v), 125);
    EXPECT_EQ(expr_eval_scalar("regexs(3)", v), 125);
    EXPECT_EQ(expr_eval_scalar("regexs(-1)", v), 125);
    ASSERT_EQ(expr_eval_scalar("regexm(\"xyz\",\"[0-9]\")", v), 0);
    EXPECT_EQ(v.num, 0);
    EXPECT_EQ(expr_eval_scalar("regexs(0)", v), 125); // the last match failed
    EXPECT_EQ(str("regexr(\"a1b2\",\"[0-9]\",\"#\")"), "a#b2");
    EXPECT_EQ(str("regexr(\"ab\",\"[0-9]\",\"#\")"), "ab");
    EXPECT_EQ(num("regexm(\"a{2}\",\"a{2}\")"), 1); // braces are ordinary characters
    struct Bad {
        const char *e, *message;
    } bad[] = {
        {"regexm(\"a\",\"*a\")", "?+* follows nothing\n"},
        {"regexm(\"a\",\"a**\")", "nested *?+\n"},
        {"regexm(\"a\",\"a\\\")", "trailing \\\n"},
        {"regexm(\"a\",\"(a)(a)(a)(a)(a)(a)(a)(a)(a)(a)\")", "too many ()\n"},
        {"regexm(\"a\",\"a)\")", "unmatched ()\n"},
    };
    for (const Bad &k : bad) {
        c.reset();
        ASSERT_EQ(expr_eval_scalar(k.e, v), 0) << k.e;
        EXPECT_EQ(v.num, 0) << k.e;
        EXPECT_EQ(c.text(), k.message) << k.e;
    }
}

TEST_F(Expr, RandomNumbersFollowTheSeed) {
    ASSERT_EQ(rng_set_seed("12345"), 0);
    const double u1 = num("uniform()");
    const double u2 = num("runiform()");
    ASSERT_EQ(rng_set_seed("12345"), 0);
    EXPECT_EQ(num("uniform()"), u1);
    const std::string state = rng_state_text();
    EXPECT_EQ(num("uniform()"), u2);
    ASSERT_EQ(rng_set_seed(state.c_str()), 0);
    EXPECT_EQ(num("uniform()"), u2);
    EXPECT_EQ(rng_set_seed("-1"), 198);
    EXPECT_EQ(rng_set_seed("2147483648"), 198);
    EXPECT_EQ(rng_set_seed("abc"), 198);
    EXPECT_GT(u1, 0);
    EXPECT_LT(u1, 1);
    // means and ranges over many draws from a fixed seed
    ASSERT_EQ(rng_set_seed("1"), 0);
    struct Draw {
        const char *e;
        double mean, tol, lo, hi;
    } draws[] = {
        {"uniform()", .5, .01, 0, 1},
        {"rnormal(10,2)", 10, .05, -1e9, 1e9},
        {"rpoisson(3)", 3, .05, 0, 1e9},
        {"rpoisson(500)", 500, .5, 0, 1e9},
        {"rbinomial(10,.3)", 3, .05, 0, 10},
        {"rbinomial(100000,.5)", 50000, 5, 0, 100000},
        {"rgamma(2,3)", 6, .1, 0, 1e9},
        {"rgamma(.5,1)", .5, .02, 0, 1e9},
        {"rbeta(2,2)", .5, .01, 0, 1},
        {"rchi2(4)", 4, .1, 0, 1e9},
        {"rt(10)", 0, .05, -1e9, 1e9},
        {"rnbinomial(2,.5)", 2, .1, 0, 1e9},
        {"rhypergeometric(20,8,5)", 2, .05, 0, 5},
    };
    for (const Draw &d : draws) {
        expr_pool_reset();
        ExprRecord r;
        ASSERT_EQ(expr_compile(d.e, r, XW_NUM), 0) << d.e;
        EXPECT_EQ(r.pure, 0) << d.e;
        EXPECT_EQ(r.parallel, 0) << d.e;
        double s = 0;
        const int n = 20000;
        for (int k = 0; k < n; ++k) {
            double v = expr_xeq(r, 1);
            ASSERT_GE(v, d.lo) << d.e;
            ASSERT_LE(v, d.hi) << d.e;
            s += v;
        }
        EXPECT_NEAR(s / n, d.mean, d.tol) << d.e;
    }
    EXPECT_EQ(dbits(num("rpoisson(-1)")), dbits(dot()));
    EXPECT_EQ(dbits(num("rbinomial(10,2)")), dbits(dot()));
}

// ---- Flags --------------------------------------------------------------------------------------------

TEST_F(Expr, ParallelAndPureFlags) {
    struct FCase {
        const char *e;
        int parallel, pure;
    } cases[] = {
        {"x*2+1", 1, 1},     {"x[_n-1]", 0, 1},         {"sum(x)", 0, 1},    {"uniform()", 0, 0},
        {"rnormal()", 0, 0}, {"regexm(s,\"a\")", 0, 0}, {"string(x)", 0, 0}, {"abs(x)+normal(x)", 1, 1},
        {"_byn1()", 0, 0},   {"s+\"a\"", 1, 1},
    };
    for (const FCase &c : cases) {
        expr_pool_reset();
        ExprRecord r;
        ASSERT_EQ(expr_compile(c.e, r, XW_ANY), 0) << c.e;
        EXPECT_EQ(r.parallel, c.parallel) << c.e;
        EXPECT_EQ(r.pure, c.pure) << c.e;
        EXPECT_EQ(r.expressionSafe, c.parallel && c.pure) << c.e;
    }
}

// ---- Scalars, stored results, coefficients --------------------------------------------------------------

TEST_F(Expr, NamedScalars) {
    ASSERT_EQ(scalar_set("k", 2.5), 0);
    ASSERT_EQ(scalar_set_str("name", "joe"), 0);
    EXPECT_EQ(num("k*2"), 5);
    EXPECT_EQ(str("name+\"!\""), "joe!");
    EXPECT_EQ(dump("k"), "LIT 1 (2.5)\n"); // made a literal at compile time
    // a variable wins over a scalar of the same name, scalar() forces the scalar
    ASSERT_EQ(scalar_set("x", 100), 0);
    EXPECT_EQ(num("x", 2), 2);
    EXPECT_EQ(num("scalar(x)", 2), 100);
    EXPECT_EQ(num("variable(x)", 2), 2);
    EXPECT_EQ(fails("variable(k)"), 111);
    EXPECT_EQ(fails("scalar(nosuch)"), 111);
    EXPECT_EQ(fails("k[1]"), 198);
    // an ambiguous abbreviation that is also a scalar: the scalar
    addv("zz1", T_DOUBLE);
    addv("zz2", T_DOUBLE);
    command_start();
    ASSERT_EQ(scalar_set("zz", 7), 0);
    EXPECT_EQ(num("zz"), 7);
    EXPECT_TRUE(scalar_drop("zz"));
    EXPECT_FALSE(scalar_drop("zz"));
}

TEST_F(Expr, StoredResultsThroughTheirHooks) {
    EXPECT_EQ(fails("r(N)"), 199);
    EXPECT_EQ(msg, "r() is not available in this build\n");
    EXPECT_EQ(fails("_b[x]"), 199);
    EXPECT_EQ(msg, "_b[] is not available in this build\n");
    EXPECT_EQ(fails("_se[x]"), 199);
    EXPECT_EQ(num("e(sample)"), 0);
    ExprRecord z;
    ASSERT_EQ(expr_compile("_b[x]*2+[eq2]x+_coef[eq:y]", z, XW_NUM, nullptr, XC_ZEROB), 0);
    EXPECT_EQ(expr_xeq(z, 1), 0);
    expr_hook_result = [](char kind, const char *name, double *v, char *buf) -> int {
        if (kind == 'r' && std::strcmp(name, "N") == 0) {
            *v = 74;
            return 1;
        }
        if (kind == 'e' && std::strcmp(name, "cmd") == 0) {
            std::strcpy(buf, "regress");
            return 2;
        }
        if (kind == 'e' && std::strcmp(name, "properties") == 0) {
            std::strcpy(buf, "b V");
            return 2;
        }
        if (kind == 'e' && std::strcmp(name, "V") == 0) return 3;
        return 0;
    };
    EXPECT_EQ(num("r(N)+1"), 75);
    EXPECT_EQ(str("e(cmd)"), "regress");
    EXPECT_EQ(str("e(V)"), "matrix");
    EXPECT_EQ(dbits(num("r(nothing)")), dbits(dot()));
    EXPECT_EQ(str("s(nothing)"), "");
    EXPECT_EQ(num("has_eprop(V)"), 1);
    EXPECT_EQ(num("has_eprop(W)"), 0);
    expr_hook_coef = [](int which, const char *eq, const char *name, double *v) -> int {
        if (std::strcmp(name, "x") != 0) {
            MsgCapture c;
            return 111;
        }
        *v = which ? 0.5 : (*eq ? 3.0 : 2.0);
        return 0;
    };
    EXPECT_EQ(num("_b[x]"), 2);
    EXPECT_EQ(num("_se[x]"), .5);
    EXPECT_EQ(num("[eq2]x"), 3);
    EXPECT_EQ(num("_b[eq2:x]"), 3);
    EXPECT_EQ(fails("_b[nope]"), 111);
}

TEST_F(Expr, CreturnConstantsWithoutTheSettingsHook) {
    EXPECT_EQ(num("c(maxbyte)"), 100);
    EXPECT_EQ(num("c(pi)"), M_PI);
    EXPECT_EQ(num("c(version)"), 10.1);
    EXPECT_EQ(fails("c(current_date)"), 199);
    EXPECT_EQ(msg, "c(current_date) is not available in this build\n");
}

TEST_F(Expr, SubsystemsNotBuiltSaySo) {
    // an operated variable needs the time-series settings
    EXPECT_EQ(fails("L.x"), 111);
    EXPECT_EQ(msg, "time variable not set; use tsset\n");
    // a function of a matrix name compiles to the name and the call; the matrix store runs it
    EXPECT_EQ(dump("trace(A)"), "MNAME 0 \"A\"\nMCALL trace -1\n");
    EXPECT_EQ(fails("tin(1jan1960,2jan1960)"), 199);
}

TEST_F(Expr, OldTableOnlyInOldVersions) {
    EXPECT_EQ(fails("invt(10,.95)"), 133);
    session::lp.version = 600;
    EXPECT_NEAR(num("invt(10,.95)"), 2.228138851986274, 1e-9);
    EXPECT_NEAR(num("invchi(1,.05)"), 3.841458820694124, 1e-9);
    EXPECT_NEAR(num("norm(0)"), .5, 0);
    EXPECT_NEAR(num("lnfact(3)"), std::log(6.0), 1e-14);
}

// ---- Matrix expressions ---------------------------------------------------------------------------------

TEST_F(Expr, MatrixOperatorsNeedMatrixMode) {
    expr_hook_matrix = [](const char *name) { return std::strcmp(name, "A") == 0; };
    EXPECT_EQ(fails("A"), 111); // outside matrix mode a matrix name is not seen
    ExprRecord r;
    MsgCapture c;
    ASSERT_EQ(expr_compile("(A,1\\2,3)*2+A'", r, XW_MAT), 0) << c.text();
    EXPECT_EQ(r.restype, XT_MAT);
    EXPECT_EQ(r.matflag, 1);
    EXPECT_EQ(
        expr_dump(r),
        "MNAME 0 \"A\"\nLIT 1 (1)\nMFROMN\nMJOINC\nLIT 2 (2)\nMFROMN\nLIT 3 (3)\nMFROMN\nMJOINC\nMJOINR\n"
        "LIT 2 (2)\nMSCALE\nMNAME 0 \"A\"\nMTRANS\nMADD\n");
    EXPECT_EQ(expr_compile("A#A", r, XW_MAT), 0);
    EXPECT_EQ(expr_compile("5", r, XW_MAT), 0);
    EXPECT_EQ(r.restype, XT_MAT);
    EXPECT_EQ(expr_compile("A<A", r, XW_MAT), 509);
    EXPECT_EQ(expr_compile("1/A", r, XW_MAT), 509);
    EXPECT_EQ(expr_compile("A", r, XW_NUM), 111);
    expr_hook_matrix = nullptr;
}

TEST_F(Expr, BlockFormMatchesOneByOne) {
    put_num(x, 2, missing_value(0));
    put_num(f, 4, missing_value(2));
    for (const char *e :
         {"x*2 + f/3 - (bb>20)", "x[_n-1]+x[_n+1]", "cond(x>2,x,-x,99)", "missing(x,f)", "_n*_N",
          "normal(x)+max(x,f,1)", "-x^2", "!(x<3)|f==.", "x/0", "s==\"c\"", "sum(x)", "_rc+lng"}) {
        expr_pool_reset();
        ExprRecord r;
        ASSERT_EQ(expr_compile(e, r, XW_NUM), 0) << e;
        expr_set_ranges(r, 1, 5, 2, 5);
        double out[7];
        ASSERT_EQ(expr_xeq_block(r, 0, 7, out), 0) << e;
        for (int i = 0; i <= 6; ++i) {
            double one = expr_xeqforby(r, i);
            if (std::strcmp(e, "sum(x)") == 0) continue; // a running sum is sequential: checked below
            EXPECT_EQ(dbits(out[i]), dbits(one)) << e << " at " << i;
        }
    }
    ExprRecord r;
    ASSERT_EQ(expr_compile("sum(x)", r, XW_NUM), 0);
    expr_set_ranges(r, 1, 5, 1, 5);
    double out[5];
    ASSERT_EQ(expr_xeq_block(r, 1, 5, out), 0);
    EXPECT_EQ(out[4], 1 + 3 + 4 + 5); // observation 2 is missing
}

// Every operator of the table that takes one or two numbers and gives one, run on a grid of operands
// by both machines: one observation at a time and by blocks. A rule written twice that drifts in one
// machine shows here.
TEST_F(Expr, EveryOperatorGivesTheSameBitsInBothMachines) {
    const double grid[] = {
        dot(), missing_value(1), missing_value(26),      0.0,   -0.0, 1, -1, 2.5, -3.75, 0.1, 7, -2,
        1e300, -1e300,           session::lim.maxdouble, 1e-310};
    constexpr int G = (int)(sizeof grid / sizeof grid[0]);
    const int ga = addv("ga", T_DOUBLE), gb = addv("gb", T_DOUBLE);
    {
        MsgCapture c;
        ASSERT_EQ(set_obs(G * G), 0);
    }
    for (int i = 0; i < G; ++i)
        for (int j = 0; j < G; ++j) {
            put_num(ga, i * G + j + 1, grid[i]);
            put_num(gb, i * G + j + 1, grid[j]);
        }
    // observations 0 and G*G+1 lie outside the data, where both operands are `.`; more than one
    // block of the block machine
    const int nrun = G * G + 2;
    int nbinary = 0, nunary = 0;
    for (const xp::OpRow &row : xp::op_rows) {
        const bool numbers_only = row.nopd == 0 && row.spop == 0 && row.spush == 0 && row.mpop == 0 &&
                                  row.mpush == 0 && row.npush == 1;
        if (!numbers_only || (row.npop != 1 && row.npop != 2)) continue;
        ExprRecord r;
        int pc = 0;
        r.code[pc++] = xp::OP_VAR;
        r.code[pc++] = (int16_t)ga;
        if (row.npop == 2) {
            r.code[pc++] = xp::OP_VAR;
            r.code[pc++] = (int16_t)gb;
        }
        r.code[pc] = row.word;
        r.last = pc;
        r.restype = XT_NUM;
        (row.npop == 2 ? nbinary : nunary)++;
        ASSERT_TRUE(xp::has_block_form(r)) << row.name;
        expr_set_ranges(r, 1, G * G, 1, G * G);
        for (int modern = 0; modern <= 1; ++modern) {
            session::lp.modernmissing = modern;
            std::vector<double> block(nrun);
            ASSERT_EQ(expr_xeq_block(r, 0, nrun, block.data()), 0) << row.name;
            for (int i = 0; i < nrun; ++i) {
                const double one = expr_xeqforby(r, i);
                const double a = i >= 1 && i <= G * G ? grid[(i - 1) / G] : dot();
                const double b = i >= 1 && i <= G * G ? grid[(i - 1) % G] : dot();
                EXPECT_EQ(dbits(block[i]), dbits(one))
                    << row.name << " of " << a << " and " << b << " (modern " << modern << "): " << block[i]
                    << " by blocks, " << one << " one at a time";
            }
        }
    }
    session::lp.modernmissing = 1;
    EXPECT_EQ(nbinary, 13); // | & == != >= <= < > + - * ^ /
    EXPECT_EQ(nunary, 3);   // - ! missing()
}

// The stack effect of each word, as the table gives it, against the stacks of the machines: for every
// prefix of a compiled record, what the table says is left on the stacks is what each machine
// leaves; and the depths the walk over the table finds are the ones the machines reach.
TEST_F(Expr, StackEffectsAreWhatTheMachinesDo) {
    // "1+(2+(...+(m)))": m numbers on the stack before the first addition
    auto nested = [](int m) {
        std::string t = "1";
        for (int k = 2; k <= m; ++k)
            t += "+(" + std::to_string(k);
        return t + std::string(m - 1, ')');
    };
    const std::string deep24 = nested(24), deep25 = nested(25);
    struct Case {
        const char *text;
        bool block; // every word has a block form
    } cases[] = {
        {"x*2 + f/3 - (bb>20)", true},
        {"cond(x>2,x,-x,99) + cond(x,1,2)", true},
        {"missing(x,f) + !missing(s,lng)", false},
        {"max(x,f,1)+normal(x)", true},
        {"x[_n-1]+_N*_rc", true},
        {"sum(x)+x", false},
        {"cond(x>1,s,\"q\")+\"z\"+s[2]", false},
        {"substr(s+\"xy\",2,1)==\"a\" | strlen(s)>0", false},
        {"inlist(x,1,3,5)+inrange(s,\"a\",\"c\")", false},
        {deep24.c_str(), true},
        {deep25.c_str(), false}, // one number more than the block machine holds
    };
    for (const Case &k : cases) {
        ExprRecord r;
        {
            MsgCapture c;
            ASSERT_EQ(expr_compile(k.text, r, XW_ANY), 0) << k.text << ": " << c.text();
        }
        expr_set_ranges(r, 1, 5, 1, 5);
        xp::StackUse use;
        ASSERT_TRUE(xp::stack_use(r, use)) << k.text;
        EXPECT_EQ(xp::has_block_form(r), k.block) << k.text;
        int n = 0, s = 0, nmax = 0, smax = 0;
        for (int pc = 0; pc <= r.last; ++pc) {
            xp::OpEffect e;
            ASSERT_TRUE(xp::op_effect(r.code, pc, r.last, e)) << k.text << " at " << pc;
            n += e.npush - e.npop;
            s += e.spush - e.spop;
            pc += e.nopd;
            ExprRecord part = r;
            part.last = pc;
            int nleft = -1, sleft = -1;
            ASSERT_EQ(xp::run_left(part, 2, &nleft, &sleft), 0) << k.text;
            EXPECT_EQ(nleft, n) << k.text << ": numbers after " << e.name << " at " << pc;
            EXPECT_EQ(sleft, s) << k.text << ": strings after " << e.name << " at " << pc;
            if (k.block) {
                ASSERT_TRUE(xp::has_block_form(part)) << k.text << " up to " << pc;
                double out[5];
                EXPECT_EQ(xp::run_block_left(part, 1, 5, out), n)
                    << k.text << ": after " << e.name << " at " << pc;
            }
            nmax = std::max(nmax, nleft);
            smax = std::max(smax, sleft);
        }
        EXPECT_EQ(use.nmax, nmax) << k.text;
        EXPECT_EQ(use.smax, smax) << k.text;
        EXPECT_EQ(use.nend, r.restype == XT_NUM ? 1 : 0) << k.text;
        EXPECT_EQ(use.send, r.restype == XT_STR ? 1 : 0) << k.text;
    }
}

TEST_F(Expr, ParallelBlocksAgreeWithOneThread) {
    {
        MsgCapture c;
        ASSERT_EQ(set_obs(10000), 0);
    }
    for (int i = 1; i <= 10000; ++i)
        put_num(x, i, i * 0.37);
    ExprRecord r;
    ASSERT_EQ(expr_compile("x*2 + ln(x)/3 - (x>100)", r, XW_NUM), 0);
    ASSERT_EQ(r.parallel, 1);
    expr_set_ranges(r, 1, 10000, 1, 10000);
    std::vector<double> serial(10000), par(10000);
    ASSERT_EQ(expr_xeq_block(r, 1, 10000, serial.data()), 0);
    int rcs[2] = {0, 0};
#pragma omp parallel num_threads(2)
    {
        const int t = omp_get_thread_num(), nt = omp_get_num_threads();
        const int blk = (10000 + nt - 1) / nt;
        const int lo = t * blk, hi = std::min(10000, lo + blk);
        if (lo < hi) rcs[t] = expr_xeq_block(r, lo + 1, hi - lo, par.data() + lo);
    }
    EXPECT_EQ(rcs[0] + rcs[1], 0);
    EXPECT_EQ(serial, par);
    for (int i = 1; i <= 10000; i += 997)
        EXPECT_EQ(serial[i - 1], expr_xeqforby(r, i));
}

// ---- The scalar entry ---------------------------------------------------------------------------------

TEST_F(Expr, EvalScalar) {
    ExprValue v;
    ASSERT_EQ(expr_eval_scalar("x*10", v), 0); // the first observation
    EXPECT_EQ(v.type, XT_NUM);
    EXPECT_EQ(v.num, 10);
    ASSERT_EQ(expr_eval_scalar("s+s", v), 0);
    EXPECT_EQ(v.type, XT_STR);
    EXPECT_STREQ(v.str, "aa");
    MsgCapture c;
    EXPECT_EQ(expr_eval_scalar("1 2", v), 198);
    const char *end = nullptr;
    ASSERT_EQ(expr_eval_scalar("1 2", v, &end), 0);
    EXPECT_STREQ(end, " 2");
    EXPECT_EQ(expr_eval_scalar("1", v, nullptr, XW_STR), 109);
}

TEST_F(Expr, EveryRowHasAWordOrAForm) {
    int n = 0;
    const xp::FnRow *rows = xp::fn_rows(&n);
    ASSERT_GT(n, 300);
    for (int k = 0; k < n; ++k) {
        const xp::FnRow &r = rows[k];
        if (r.kind == xp::FK_NUM || r.kind == xp::FK_STR) {
            int w = xp::fn_word(&r);
            EXPECT_GE(w, xp::FN_BASE) << r.name;
            EXPECT_LE(w, xp::OP_MAX) << r.name;
            EXPECT_EQ(xp::fn_of_word(w)->num, r.num) << r.name;
            EXPECT_EQ(xp::fn_of_word(w)->str, r.str) << r.name;
        }
    }
    // names that stand twice share their word
    EXPECT_EQ(xp::fn_word(xp::fn_find("normprob", false, 1010)),
              xp::fn_word(xp::fn_find("normal", false, 1010)));
    EXPECT_EQ(xp::fn_word(xp::fn_find("index", false, 1010)),
              xp::fn_word(xp::fn_find("strpos", false, 1010)));
    EXPECT_NE(xp::fn_word(xp::fn_find("normal", false, 1010)),
              xp::fn_word(xp::fn_find("lnnormal", false, 1010)));
}

} // namespace

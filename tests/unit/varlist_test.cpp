// Variable lists: look-up and abbreviation, wildcards, ranges, _all, time-series operators, new
// lists, factor-variable groups, the list array's limit, and number lists.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/labels.h"
#include "data/varlist.h"
#include "data_fixture.h"
#include "msg_capture.h"
#include "session/hexfloat.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tok.h"

using namespace data;

namespace {

class Varlist : public DataFixture {
  protected:
    void SetUp() override {
        DataFixture::SetUp();
        session::se.type = T_FLOAT;
    }
    void TearDown() override {
        DataFixture::TearDown();
        varabbrev = true;
        vl_drop("glab");
    }

    int add(const char *name, int type = T_FLOAT) {
        int v = 0;
        EXPECT_EQ(add_var(name, type, &v), 0) << name;
        command_start();
        return v;
    }
    void obs(int n) {
        ASSERT_EQ(set_obs(n), 0);
        cap->reset();
    }
    // Parses text as a list from a fresh command state.
    int parse(const std::string &text, unsigned flags = VL_TS) {
        parser_reset();
        cap->reset();
        line = text;
        session::settok(line.c_str());
        return parse_varlist(flags);
    }
    std::vector<int> vars() { return std::vector<int>(ps.var.begin(), ps.var.begin() + ps.count); }
    std::string msg() { return cap->text(); }
};

// ---- Look-up -------------------------------------------------------------------------------------

TEST_F(Varlist, ExactNameBeatsAbbreviationAndShortPrefixIsAmbiguous) {
    add("ab");
    add("abc");
    EXPECT_EQ(parse("ab"), 0);
    EXPECT_EQ(vars(), std::vector<int>({1}));
    EXPECT_EQ(parse("abc"), 0);
    EXPECT_EQ(vars(), std::vector<int>({2}));
    EXPECT_EQ(parse("a"), 111);
    EXPECT_EQ(msg(), "a ambiguous abbreviation\n");
}

TEST_F(Varlist, UniqueAbbreviationAndTheSwitch) {
    add("price");
    add("weight");
    EXPECT_EQ(parse("pri"), 0);
    EXPECT_EQ(vars(), std::vector<int>({1}));
    set_varabbrev(false);
    EXPECT_EQ(parse("pri"), 111);
    EXPECT_EQ(msg(), "variable pri not found\n");
    EXPECT_EQ(parse("price"), 0);
    EXPECT_EQ(varlookup("wei", false, true), 2);
    EXPECT_EQ(varlookup("wei", false, false), -111);
}

TEST_F(Varlist, NotFoundAndInvalidNames) {
    add("x");
    EXPECT_EQ(parse("y"), 111);
    EXPECT_EQ(msg(), "variable y not found\n");
    EXPECT_EQ(parse("1x"), 198);
    EXPECT_EQ(msg(), "1x invalid name\n");
    std::string longname(33, 'a');
    EXPECT_EQ(parse(longname), 198);
    EXPECT_EQ(msg(), longname + " invalid name\n");
    // The quiet mode of the expression compiler writes nothing.
    cap->reset();
    EXPECT_EQ(varlookup("nosuch", false, true), -111);
    EXPECT_EQ(varlookup("a|b", false, true), -198);
    EXPECT_EQ(msg(), "");
}

TEST_F(Varlist, ScratchVariablesBeyondTheVisibleCountAreNotSeen) {
    add("x");
    int s = add_scratch(T_LONG);
    ASSERT_GT(s, 0);
    ds.nvar_visible = 1;
    EXPECT_EQ(varlookup("_delete", false, true), -111);
    EXPECT_EQ(parse("*"), 0);
    EXPECT_EQ(vars(), std::vector<int>({1}));
}

TEST_F(Varlist, NamesOfferedToTabCompletion) {
    add("price");
    add("make");
    add("prices_2");
    int s = add_scratch(T_LONG);
    ASSERT_GT(s, 0);
    ds.nvar_visible = 3;
    EXPECT_EQ(varnames_beginning("pr"), std::vector<std::string>({"price", "prices_2"}));
    EXPECT_EQ(varnames_beginning("make"), std::vector<std::string>({"make"}));
    EXPECT_TRUE(varnames_beginning("_").empty()); // the scratch variable is not offered
    EXPECT_TRUE(varnames_beginning("z").empty());
}

// ---- Wildcards, ranges, _all ------------------------------------------------------------------------

TEST_F(Varlist, Wildcards) {
    add("x1");
    add("x2");
    add("y1");
    add("z");
    EXPECT_EQ(parse("x*"), 0);
    EXPECT_EQ(vars(), std::vector<int>({1, 2}));
    EXPECT_EQ(parse("*1"), 0);
    EXPECT_EQ(vars(), std::vector<int>({1, 3}));
    EXPECT_EQ(parse("?1 z"), 0);
    EXPECT_EQ(vars(), std::vector<int>({1, 3, 4}));
    EXPECT_EQ(parse("z~"), 0);
    EXPECT_EQ(vars(), std::vector<int>({4}));
    EXPECT_EQ(parse("q*"), 111);
    EXPECT_EQ(msg(), "variable q* not found\n");
    EXPECT_EQ(parse("x~"), 111);
    EXPECT_EQ(msg(), "x~ ambiguous abbreviation\n");
    EXPECT_EQ(parse("x~?"), 198);
    EXPECT_EQ(msg(), "x~?:  may not combine ~ and *-or-? notation\n");
    EXPECT_TRUE(wildmatch("a*b?c", "aXXbYc"));
    EXPECT_FALSE(wildmatch("a*b?c", "abc"));
    EXPECT_TRUE(wildmatch("*", ""));
}

TEST_F(Varlist, RangesInDatasetOrder) {
    add("a");
    add("b");
    add("c");
    add("d");
    EXPECT_EQ(parse("b-d"), 0);
    EXPECT_EQ(vars(), std::vector<int>({2, 3, 4}));
    EXPECT_EQ(parse("a - b d"), 0);
    EXPECT_EQ(vars(), std::vector<int>({1, 2, 4}));
    EXPECT_EQ(parse("c-c"), 0);
    EXPECT_EQ(vars(), std::vector<int>({3}));
    EXPECT_EQ(parse("d-b"), 111);
    EXPECT_EQ(msg(), "Variables out of order\n");
    EXPECT_EQ(parse("a-"), 198);
}

TEST_F(Varlist, AllSkipsTheSampleVariableAndAnEmptyDatasetGivesNothing) {
    EXPECT_EQ(parse("_all"), 0);
    EXPECT_EQ(ps.count, 0);
    add("a");
    ASSERT_GT(add_var_raw("(e)", T_BYTE), 0);
    add("b");
    EXPECT_EQ(parse("_all"), 0);
    EXPECT_EQ(vars(), std::vector<int>({1, 3}));
    EXPECT_EQ(parse("*"), 0);
    EXPECT_EQ(vars(), std::vector<int>({1, 3}));
    EXPECT_EQ(parse("a-b"), 0);
    EXPECT_EQ(vars(), std::vector<int>({1, 3}));
    EXPECT_EQ(parse("_all", VL_NOALL), 111);
    EXPECT_EQ(msg(), "variable _all not found\n");
}

TEST_F(Varlist, DuplicatesAreKeptUntilRemoved) {
    add("a");
    add("b");
    EXPECT_EQ(parse("a b a"), 0);
    EXPECT_EQ(vars(), std::vector<int>({1, 2, 1}));
    list_unique();
    EXPECT_EQ(vars(), std::vector<int>({1, 2}));
}

TEST_F(Varlist, TheListStopsAtTheStandardWords) {
    add("a");
    add("b");
    EXPECT_EQ(parse("a b if a>1"), 0);
    EXPECT_EQ(vars(), std::vector<int>({1, 2}));
    EXPECT_STREQ(session::gettok(session::SEP_STD), "if");
    EXPECT_EQ(parse("a, detail"), 0);
    EXPECT_STREQ(session::gettok(session::SEP_STD), ",");
    EXPECT_EQ(parse("b in 1/2"), 0);
    EXPECT_STREQ(session::gettok(session::SEP_STD), "in");
    EXPECT_EQ(parse("a = 2"), 0);
    EXPECT_STREQ(session::gettok(session::SEP_STD), "=");
}

TEST_F(Varlist, NotAllowedMakesAListAnError) {
    add("a");
    EXPECT_EQ(parse("a", VL_NOTALLOWED), 101);
    EXPECT_EQ(msg(), "varlist not allowed\n");
    EXPECT_EQ(parse("if a", VL_NOTALLOWED), 0);
    EXPECT_EQ(parse("", VL_NOTALLOWED), 0);
}

TEST_F(Varlist, TheListArrayHasMaxvarPlusAMargin) {
    parser_reset();
    ASSERT_EQ(ps.cap, ds.maxvar + LIST_MARGIN);
    for (int k = 0; k < ps.cap; ++k)
        ASSERT_EQ(list_add(1), 0);
    cap->reset();
    EXPECT_EQ(list_add(1), 103);
    EXPECT_EQ(msg(), "too many variables specified\n");
    EXPECT_EQ(ps.count, ps.cap);
    EXPECT_EQ(ps.var[ps.count], 0); // the slot behind the count
}

TEST_F(Varlist, SkipHoldsPlaces) {
    add("a");
    EXPECT_EQ(parse("a _skip(2) a _skip", VL_SKIP), 0);
    EXPECT_EQ(vars(), std::vector<int>({1, -1, -1, 1, -1}));
    EXPECT_EQ(parse("_skip(0)", VL_SKIP), 125);
    EXPECT_EQ(msg(), "invalid number, outside of allowed range\n");
    EXPECT_EQ(parse("_skip"), 111); // without the flag it is a name
}

// ---- Time-series operators -------------------------------------------------------------------------

TEST_F(Varlist, OperatorsCombineIntoOneRecord) {
    add("x");
    EXPECT_EQ(parse("L.x"), 0);
    ASSERT_EQ(ps.count, 1);
    ASSERT_NE(ps.info[0].op, nullptr);
    EXPECT_EQ(ps.info[0].op->lag, 1);
    EXPECT_EQ(list_entry_text(0), "L.x");

    EXPECT_EQ(parse("L2D.x DL2.x"), 0);
    ASSERT_EQ(ps.count, 2);
    EXPECT_EQ(ps.info[0].op, ps.info[1].op); // interned: the same record
    EXPECT_EQ(ps.info[0].op->lag, 2);
    EXPECT_EQ(ps.info[0].op->diff, 1);
    EXPECT_EQ(ps.nops, 1);
    EXPECT_EQ(list_entry_text(0), "L2D.x");

    EXPECT_EQ(parse("l.d.x"), 0);
    EXPECT_EQ(list_entry_text(0), "LD.x");
    EXPECT_EQ(parse("F2.x"), 0);
    EXPECT_EQ(ps.info[0].op->lag, -2);
    EXPECT_EQ(list_entry_text(0), "F2.x");
}

TEST_F(Varlist, ZeroOperatorsAreThePlainVariable) {
    add("x");
    EXPECT_EQ(parse("L0.x"), 0);
    EXPECT_EQ(ps.info[0].op, nullptr);
    EXPECT_EQ(parse("L.F.x"), 0);
    EXPECT_EQ(ps.info[0].op, nullptr);
    EXPECT_EQ(ps.nops, 0);
    EXPECT_EQ(list_entry_text(0), "x");
}

TEST_F(Varlist, OperatorLimits) {
    add("x");
    EXPECT_EQ(parse("D20.x"), 0);
    EXPECT_EQ(parse("D21.x"), 198);
    EXPECT_EQ(msg(), "D21.x:  operator invalid:  D20 is maximum allowed difference\n");
    EXPECT_EQ(parse("D10D11.x"), 198);
    EXPECT_EQ(parse("S1.S2.S3.S4.S5.S6.S7.S8.x"), 0);
    EXPECT_EQ(ps.info[0].op->nseas, 8);
    EXPECT_EQ(parse("S1.S2.S3.S4.S5.S6.S7.S8.S9.x"), 198);
    EXPECT_EQ(parse("Q.x"), 198);
    EXPECT_EQ(msg(), "Q.x invalid name\n");
    std::string longop(240, 'L');
    EXPECT_EQ(parse(longop + ".x"), 1000);
    EXPECT_EQ(msg(), longop + ".x\noperator too long\n");
}

TEST_F(Varlist, SeasonalLagsStaySorted) {
    add("x");
    EXPECT_EQ(parse("S12S4.x"), 0);
    const TsOp *op = ps.info[0].op;
    ASSERT_NE(op, nullptr);
    EXPECT_EQ(op->nseas, 2);
    EXPECT_EQ(op->seas[0], 4);
    EXPECT_EQ(op->seas[1], 12);
    EXPECT_EQ(op->seas[2], 0);
    EXPECT_EQ(list_entry_text(0), "S4S12.x");
}

TEST_F(Varlist, OperatorListFormsExpand) {
    add("x");
    add("y");
    EXPECT_EQ(parse("L(1/3).x"), 0);
    ASSERT_EQ(ps.count, 3);
    EXPECT_EQ(ps.info[0].op->lag, 1);
    EXPECT_EQ(ps.info[1].op->lag, 2);
    EXPECT_EQ(ps.info[2].op->lag, 3);
    EXPECT_EQ(parse("L(0/1)D(1 2).x"), 0);
    ASSERT_EQ(ps.count, 4);
    EXPECT_EQ(list_entry_text(0), "D.x");
    EXPECT_EQ(list_entry_text(1), "D2.x");
    EXPECT_EQ(list_entry_text(2), "LD.x");
    EXPECT_EQ(list_entry_text(3), "LD2.x");
    EXPECT_EQ(parse("L(1/x).x"), 198);
    EXPECT_EQ(msg(), "numlist in operator invalid\n");
    // An operator applies to every variable a pattern matches.
    EXPECT_EQ(parse("D.*"), 0);
    EXPECT_EQ(vars(), std::vector<int>({1, 2}));
}

TEST_F(Varlist, OperatorsOnStringsAndWhereNotAllowed) {
    add("x");
    add("s", 5);
    EXPECT_EQ(parse("L.s"), 109);
    EXPECT_EQ(msg(), "s:  may not use time-series operators on string variables\n");
    EXPECT_EQ(parse("L.x", VL_ANY), 101);
    EXPECT_EQ(msg(), "time-series operators not allowed\n");
}

TEST_F(Varlist, TheHundredAndFirstOperatorIsRefused) {
    add("x");
    std::string text;
    for (int k = 1; k <= 100; ++k)
        text += "L" + std::to_string(k) + ".x ";
    EXPECT_EQ(parse(text), 0);
    EXPECT_EQ(ps.nops, 100);
    EXPECT_EQ(parse(text + "L1.x"), 0); // a repeat shares its record
    EXPECT_EQ(parse(text + "L101.x"), 1000);
    EXPECT_EQ(msg(), "too many time-series operators\n");
}

// ---- New variable lists --------------------------------------------------------------------------

TEST_F(Varlist, NewListsWithTypes) {
    add("old");
    EXPECT_EQ(parse("a double b str4 c", VL_NEW), 0);
    ASSERT_EQ(ps.newvars.size(), 3u);
    EXPECT_EQ(ps.newvars[0].name, "a");
    EXPECT_EQ(ps.newvars[0].type, 0);
    EXPECT_EQ(ps.newvars[1].type, T_DOUBLE);
    EXPECT_EQ(ps.newvars[2].type, 4);
    EXPECT_EQ(ds.nvar, 1); // nothing added yet

    EXPECT_EQ(parse("(int) a b (str2) c", VL_NEW | VL_TYPEPAREN), 0);
    EXPECT_EQ(ps.newvars[0].type, T_INT);
    EXPECT_EQ(ps.newvars[1].type, T_INT);
    EXPECT_EQ(ps.newvars[2].type, 2);
    EXPECT_EQ(parse("(int) a", VL_NEW), 198);

    EXPECT_EQ(parse("a a", VL_NEW), 110);
    EXPECT_EQ(msg(), "a already defined\n");
    EXPECT_EQ(parse("old", VL_NEW), 110);
    EXPECT_EQ(msg(), "old already defined\n");
    EXPECT_EQ(parse("_n", VL_NEW), 198);
    EXPECT_EQ(msg(), "_n invalid name\n");
}

TEST_F(Varlist, NewRangesAndCreation) {
    obs(2);
    EXPECT_EQ(parse("v8-v10 str3 s", VL_NEW | VL_CREATE), 0);
    ASSERT_EQ(ds.nvar, 4);
    EXPECT_STREQ(ds.varname[0], "v8");
    EXPECT_STREQ(ds.varname[2], "v10");
    EXPECT_EQ(ds.vartype[0], T_FLOAT);
    EXPECT_EQ(ds.vartype[3], 3);
    EXPECT_EQ(vars(), std::vector<int>({1, 2, 3, 4}));
    EXPECT_EQ(data::dbits(get_num(1, 2)), data::dbits(session::lim.dot));
    char buf[256];
    get_str(4, 1, buf);
    EXPECT_STREQ(buf, "");
    session::se.type = T_DOUBLE;
    EXPECT_EQ(parse("w float u", VL_NEW | VL_CREATE), 0);
    EXPECT_EQ(ds.vartype[4], T_DOUBLE); // the default type
    EXPECT_EQ(ds.vartype[5], T_DOUBLE); // `float` stands for the default
    EXPECT_EQ(parse("y3-y1", VL_NEW), 198);
}

TEST_F(Varlist, NewListLabelsAndSkips) {
    EXPECT_EQ(parse("a:lab _skip(2) b", VL_NEW | VL_LABEL | VL_SKIP | VL_CREATE), 0);
    EXPECT_EQ(vars(), std::vector<int>({1, -1, -1, 2}));
    EXPECT_STREQ(ds.vallab[0], "lab");
    EXPECT_EQ(parse("str5 s:lab", VL_NEW | VL_LABEL), 181);
    EXPECT_EQ(msg(), "may not label strings\n");
}

// ---- Factor variables --------------------------------------------------------------------------------

class FactorVars : public Varlist {
  protected:
    void SetUp() override {
        Varlist::SetUp();
        add("g", T_BYTE);
        add("h", T_BYTE);
        add("x", T_DOUBLE);
        obs(5);
        const double g[] = {0, 1, 2, 2, 2}, h[] = {3, 3, 1, 1, 5}, x[] = {0.5, 1, 2, 3, 4};
        for (int i = 1; i <= 5; ++i) {
            put_num(1, i, g[i - 1]);
            put_num(2, i, h[i - 1]);
            put_num(3, i, x[i - 1]);
        }
    }
};

TEST_F(FactorVars, AFactorWithItsLevelsAndDefaultBase) {
    EXPECT_EQ(parse("x i(g)", VL_FV), 0);
    EXPECT_EQ(vars(), std::vector<int>({3, 1}));
    EXPECT_EQ(ps.info[1].fvterm, 1);
    ASSERT_EQ(ps.fv.factors.size(), 1u);
    const FvFactorInfo &f = ps.fv.factors[0];
    EXPECT_EQ(f.nlevels, 3);
    EXPECT_EQ(ps.fv.levels, std::vector<double>({0, 1, 2}));
    EXPECT_EQ(f.basepref, FVB_DEFAULT);
    EXPECT_EQ(f.baselevel, 0);
    EXPECT_EQ(ps.fv.terms[0].listpos, 1);
    // The blocks stand in the named store.
    int32_t len = 0;
    const int32_t *toc = static_cast<const int32_t *>(session::store_find("fv_toc", ST_FVBLOCK, &len));
    ASSERT_NE(toc, nullptr);
    EXPECT_EQ(toc[0], 1); // terms
    EXPECT_EQ(toc[2], 1); // factors
    EXPECT_EQ(toc[3], 3); // levels
    const FvFactorInfo *fi =
        static_cast<const FvFactorInfo *>(session::store_find("fv_factorinfo", ST_FVBLOCK, &len));
    ASSERT_NE(fi, nullptr);
    EXPECT_EQ(len, 1);
    EXPECT_EQ(fi->var, 1);
}

TEST_F(FactorVars, Bases) {
    EXPECT_EQ(parse("i(g(freq) h(none) g(1))", VL_FV), 0);
    ASSERT_EQ(ps.fv.factors.size(), 3u);
    EXPECT_EQ(ps.fv.factors[0].basepref, FVB_FREQ);
    EXPECT_EQ(ps.fv.factors[0].baseidx, 2);
    EXPECT_EQ(ps.fv.factors[0].baselevel, 2);
    EXPECT_EQ(ps.fv.factors[1].basepref, FVB_NONE);
    EXPECT_EQ(ps.fv.factors[1].baselevel, -1);
    EXPECT_EQ(ps.fv.factors[2].basepref, FVB_VALUE);
    EXPECT_EQ(ps.fv.factors[2].baseidx, 1);
    EXPECT_EQ(ps.fv.factors[2].baselevel, 1);
    EXPECT_EQ(ps.count, 3);
    EXPECT_EQ(parse("i(g(#1))", VL_FV), 198);
}

TEST_F(FactorVars, BasesByValueLabel) {
    EXPECT_EQ(parse("i(g(low))", VL_FV), 111);
    EXPECT_EQ(msg(), "variable g does not have a value label\n");
    std::snprintf(ds.vallab[0], VNAMELEN + 1, "glab");
    ASSERT_EQ(vl_store("glab", {{0, "none"}, {1, "mid"}, {5, "high"}}), 0);
    EXPECT_EQ(parse("i(g(mid))", VL_FV), 0);
    EXPECT_EQ(ps.fv.factors[0].baselevel, 1);
    EXPECT_EQ(parse("i(g(\"low\"))", VL_FV), 111);
    EXPECT_EQ(msg(), "\"low\" not found in value label glab\n");
}

TEST_F(FactorVars, InteractionsAndContinuousTerms) {
    EXPECT_EQ(parse("i(g*h c(x) g*c(x))", VL_FV), 0);
    ASSERT_EQ(ps.fv.terms.size(), 3u);
    EXPECT_EQ(ps.fv.terms[0].nfactors, 2);
    EXPECT_EQ(ps.fv.terms[0].ncells, 9); // 3 levels of g times 3 of h
    EXPECT_EQ(ps.fv.terms[1].ncont, 1);
    EXPECT_EQ(ps.fv.terms[2].nfactors, 1);
    EXPECT_EQ(ps.fv.terms[2].ncont, 1);
    EXPECT_EQ(ps.fv.varinfo.size(), 5u);
    EXPECT_EQ(ps.fv.varinfo[2].kind, 2);
    EXPECT_EQ(vars(), std::vector<int>({1, 3, 1}));
}

TEST_F(FactorVars, NonintegerLevelsAndTooManyTerms) {
    EXPECT_EQ(parse("i(x)", VL_FV), 459);
    EXPECT_EQ(msg(), "factor x contains noninteger values\n");
    std::string t = "i(g";
    for (int k = 0; k < 20; ++k)
        t += "*h";
    EXPECT_EQ(parse(t + ")", VL_FV), 103);
    EXPECT_EQ(msg(), "too many terms in interaction\n");
    EXPECT_EQ(parse("i(g)", VL_ANY), 198); // not a name where groups are not allowed
}

// ---- Number lists ---------------------------------------------------------------------------------

std::vector<double> nl(const std::string &text, NumlistOpts o = {}) {
    std::vector<double> v;
    EXPECT_EQ(numlist_parse(text, o, v, true), 0) << text;
    return v;
}

int nl_rc(const std::string &text, NumlistOpts o = {}) {
    std::vector<double> v;
    return numlist_parse(text, o, v, true);
}

TEST(Numlist, Forms) {
    EXPECT_EQ(nl("1/5"), std::vector<double>({1, 2, 3, 4, 5}));
    EXPECT_EQ(nl("5/3"), std::vector<double>({5, 4, 3}));
    EXPECT_EQ(nl("1(2)9"), std::vector<double>({1, 3, 5, 7, 9}));
    EXPECT_EQ(nl("10[-5]0"), std::vector<double>({10, 5, 0}));
    EXPECT_EQ(nl("10 20 to 50"), std::vector<double>({10, 20, 30, 40, 50}));
    EXPECT_EQ(nl("1 3:7 8"), std::vector<double>({1, 3, 5, 7, 8}));
    EXPECT_EQ(nl("4 2 2.5"), std::vector<double>({4, 2, 2.5}));
    EXPECT_EQ(nl("0(.1).3").size(), 4u);
    EXPECT_EQ(nl(""), std::vector<double>());
    EXPECT_EQ(numlist_text(nl("1/3 2.5")), "1 2 3 2.5");
}

TEST(Numlist, Failures) {
    EXPECT_EQ(nl_rc("abc"), 121);
    EXPECT_EQ(nl_rc("1(0)5"), 121);
    EXPECT_EQ(nl_rc("1(1)0"), 121);
    EXPECT_EQ(nl_rc("1/"), 121);
    EXPECT_EQ(nl_rc(". 1"), 127);
    NumlistOpts o;
    o.missingok = true;
    EXPECT_EQ(nl_rc(". .a 1", o), 0);
    o = {};
    o.integer = true;
    EXPECT_EQ(nl_rc("1 1.5", o), 126);
    o = {};
    o.min = 0;
    o.max = 10;
    EXPECT_EQ(nl_rc("0 10", o), 0);
    EXPECT_EQ(nl_rc("-1", o), 125);
    o.maxopen = true;
    EXPECT_EQ(nl_rc("10", o), 125);
    o = {};
    o.mincount = 2;
    o.maxcount = 3;
    EXPECT_EQ(nl_rc("1", o), 122);
    EXPECT_EQ(nl_rc("1/4", o), 123);
    o = {};
    o.ascending = true;
    EXPECT_EQ(nl_rc("1 3 2", o), 124);
    o = {};
    o.descending = true;
    EXPECT_EQ(nl_rc("3 3 1", o), 0);
    o = {};
    o.sort = true;
    EXPECT_EQ(nl("3 1 2", o), std::vector<double>({1, 2, 3}));
}

TEST(Numlist, MessagesOfBothForms) {
    MsgCapture c;
    std::vector<double> v;
    NumlistOpts o;
    o.integer = true;
    EXPECT_EQ(numlist_parse("1.5", o, v, false), 126);
    EXPECT_EQ(c.text(), "invalid numlist has noninteger elements\n");
    c.reset();
    o.single = true;
    EXPECT_EQ(numlist_parse("1.5", o, v, false), 126);
    EXPECT_EQ(c.text(), "invalid number, noninteger value\n");
}

} // namespace

// The reader of syntax patterns: what each element and option becomes in the table, and which
// patterns are faults (197).
#include <gtest/gtest.h>

#include <string>

#include "data/xeq.h"
#include "lang/synpat.h"
#include "msg_capture.h"

using namespace lang;

namespace {

SynPattern read_ok(const std::string &text) {
    SynPattern p;
    MsgCapture c;
    EXPECT_EQ(synpat_parse(text, p), 0) << text << ": " << c.text();
    return p;
}

int read_rc(const std::string &text, std::string *msg = nullptr) {
    SynPattern p;
    MsgCapture c;
    const int rc = synpat_parse(text, p);
    if (msg) *msg = c.text();
    return rc;
}

} // namespace

TEST(SynPat, TheUsualPattern) {
    SynPattern p = read_ok("varlist [if] [in] [, Detail BY(varlist)]");
    EXPECT_EQ(p.lead.kind, SL_VARLIST);
    EXPECT_FALSE(p.lead.optional);
    EXPECT_EQ(p.lead.mac, "varlist");
    EXPECT_TRUE(p.ifq && !p.if_req && !p.if_strip);
    EXPECT_TRUE(p.in && !p.in_req);
    EXPECT_FALSE(p.exp || p.weight || p.usingf || p.star);
    ASSERT_EQ(p.opts.size(), 2u);
    EXPECT_EQ(p.opts[0].name, "detail");
    EXPECT_EQ(p.opts[0].minlen, 1);
    EXPECT_EQ(p.opts[0].kind, SO_FLAG);
    EXPECT_FALSE(p.opts[0].required);
    EXPECT_EQ(p.opts[1].name, "by");
    EXPECT_EQ(p.opts[1].minlen, 2);
    EXPECT_EQ(p.opts[1].kind, SO_VARLIST);
}

TEST(SynPat, LeadSpecifiers) {
    SynPattern p = read_ok("[varlist(min=2 max=4 numeric default=all ts)]");
    EXPECT_TRUE(p.lead.optional);
    EXPECT_EQ(p.lead.mincount, 2);
    EXPECT_EQ(p.lead.maxcount, 4);
    EXPECT_TRUE(p.lead.numeric && p.lead.all && p.lead.ts);
    p = read_ok("varname");
    EXPECT_EQ(p.lead.maxcount, 1);
    EXPECT_EQ(p.lead.mac, "varlist");
    p = read_ok("newvarlist(generate max=3)");
    EXPECT_EQ(p.lead.kind, SL_NEWVARLIST);
    EXPECT_TRUE(p.lead.generate);
    p = read_ok("anything(name=eq equalok everything)");
    EXPECT_EQ(p.lead.mac, "eq");
    EXPECT_TRUE(p.lead.equalok && p.lead.everything);
    p = read_ok("namelist(local min=1)");
    EXPECT_EQ(p.lead.mac, "namelist");
    EXPECT_TRUE(p.lead.local);
}

TEST(SynPat, ElementsInAnyOrder) {
    SynPattern p = read_ok("[using/] if/ =exp [in]");
    EXPECT_EQ(p.lead.kind, SL_NONE);
    EXPECT_TRUE(p.usingf && p.using_strip && !p.using_req);
    EXPECT_TRUE(p.ifq && p.if_strip && p.if_req);
    EXPECT_TRUE(p.exp && p.exp_req);
    EXPECT_TRUE(p.in && !p.in_req);
}

TEST(SynPat, WeightKindsAndTheirDefault) {
    SynPattern p = read_ok("[aw fweight]");
    EXPECT_EQ(p.wmask, data::WT_A | data::WT_F);
    EXPECT_EQ(p.wdefault, data::WT_A); // the first listed
    p = read_ok("[pweight iweight]");
    EXPECT_EQ(p.wmask, data::WT_P | data::WT_I);
    EXPECT_EQ(p.wdefault, data::WT_P);
}

TEST(SynPat, CapitalsGiveTheShortestForm) {
    SynPattern p = read_ok(", Name(string) [noCONStant nolog LEVel(cilevel) r(real 1.5) ITer(integer -2) *]");
    ASSERT_EQ(p.opts.size(), 6u);
    EXPECT_EQ(p.opts[0].name, "name");
    EXPECT_EQ(p.opts[0].minlen, 1);
    EXPECT_TRUE(p.opts[0].required);
    EXPECT_EQ(p.opts[1].kind, SO_NEG);
    EXPECT_EQ(p.opts[1].name, "noconstant");
    EXPECT_EQ(p.opts[1].mac, "constant");
    EXPECT_EQ(p.opts[1].minlen, 6);
    EXPECT_EQ(p.opts[2].name, "nolog"); // no capitals: the whole word
    EXPECT_EQ(p.opts[2].minlen, 5);
    EXPECT_EQ(p.opts[3].kind, SO_CILEVEL);
    EXPECT_EQ(p.opts[3].minlen, 3);
    EXPECT_EQ(p.opts[4].kind, SO_REAL);
    EXPECT_TRUE(p.opts[4].hasdefault);
    EXPECT_DOUBLE_EQ(p.opts[4].defval, 1.5);
    EXPECT_EQ(p.opts[4].minlen, 1); // "r" written in lower case alone is its own full name
    EXPECT_EQ(p.opts[5].kind, SO_INTEGER);
    EXPECT_DOUBLE_EQ(p.opts[5].defval, -2);
    EXPECT_TRUE(p.star);
}

TEST(SynPat, KindWordsAndTheirMinimums) {
    SynPattern p =
        read_ok("[, A(str) B(rea) C(int 4) D(pass) E(numlist ascending integer min=1 max=3 missingokay) "
                "F(varname numeric) G(namelist max=2) H(name local) I(string asis)]");
    ASSERT_EQ(p.opts.size(), 9u);
    EXPECT_EQ(p.opts[0].kind, SO_STRING);
    EXPECT_EQ(p.opts[1].kind, SO_REAL);
    EXPECT_EQ(p.opts[2].kind, SO_INTEGER);
    EXPECT_EQ(p.opts[3].kind, SO_PASSTHRU);
    EXPECT_EQ(p.opts[4].kind, SO_NUMLIST);
    EXPECT_TRUE(p.opts[4].ascending && p.opts[4].integer && p.opts[4].missingok);
    EXPECT_EQ(p.opts[4].maxcount, 3);
    EXPECT_EQ(p.opts[5].kind, SO_VARNAME);
    EXPECT_EQ(p.opts[5].maxcount, 1);
    EXPECT_EQ(p.opts[6].kind, SO_NAMELIST);
    EXPECT_EQ(p.opts[7].kind, SO_NAME);
    EXPECT_TRUE(p.opts[7].local);
    EXPECT_TRUE(p.opts[8].asis);
    for (const SynOpt &o : p.opts)
        EXPECT_FALSE(o.required);
}

TEST(SynPat, FaultsAre197) {
    const char *bad[] = {
        "foo",                  // no such element
        "varlist varlist",      // a second list
        "[if] varlist",         // the list comes first
        "[if] [if]",            // a repeat
        "[using] using",        //
        "[fweight] [aweight]",  // weights once
        "[bweight]",            // no such kind
        "varlist(min=3 max=2)", // limits that cannot hold
        "varlist(numeric string)",
        "varlist(nosuch)",
        "varlist(min=2",
        "[varlist",
        "varlist]",
        ", Detail Detail",
        ", Detail(nosuch)",
        ", Detail(real x)",
        ", Detail(integer 1.5)",
        ", Detail(string other)",
        ", Detail [Other",
        ", * Detail",
        "[, Detail] [if]", // the options end the pattern
        ", Required",      // a flag that must be given says nothing
        "[fweight] =exp",  // both would be told in `exp'
        ", N(numlist ascending descending)",
        "anything(ts)",
        "=ex",
    };
    for (const char *t : bad) {
        std::string msg;
        EXPECT_EQ(read_rc(t, &msg), 197) << t;
        EXPECT_EQ(msg, "invalid syntax\n") << t;
    }
}

TEST(SynPat, EmptyPatternTakesNothing) {
    SynPattern p = read_ok("");
    EXPECT_EQ(p.lead.kind, SL_NONE);
    EXPECT_FALSE(p.ifq || p.in || p.exp || p.weight || p.usingf || p.options);
}

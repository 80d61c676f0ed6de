// Return codes: the message table, the long notes, the named-failure helpers and the `error` command.
#include <gtest/gtest.h>

#include <string>

#include "msg_capture.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/loop.h"
#include "session/sedit2.h"
#include "session/store.h"
#include "session/tok.h"

using namespace session;

namespace {

struct Shown {
    int rc;
    std::string text;
};

// The code returned and what the user saw.
template <class F> Shown run(F f) {
    MsgCapture c;
    int rc = f();
    return {rc, c.text()};
}

template <class F> Shown run_raw(F f) {
    MsgCapture c;
    int rc = f();
    return {rc, c.raw()};
}

Shown err(int code) {
    return run([code] { return error(code); });
}

// Runs the `error` command on the text of its argument.
Shown errcmd(const char *args) {
    return run([args] {
        settok(args);
        return cmd_error(0);
    });
}

// True when the message of f is shown at level 3, i.e. it went out in error class.
template <class F> bool shown_when_quiet(F f) {
    MsgCapture c;
    out::ch.OutputLevel = out::LVL_QUIET;
    f();
    return !c.text().empty();
}

struct Session {
    Startup saved_st = st;
    Loop saved_lp = lp;
    bool saved_egn = empty_groups_normal;
    ~Session() {
        st = saved_st;
        lp = saved_lp;
        empty_groups_normal = saved_egn;
    }
};

} // namespace

TEST(ErrorTable, SampleOfTheTableIsWrittenExactly) {
    const struct {
        int code;
        const char *text;
    } rows[] = {
        {3, "no dataset in use\n"},
        {4, "no; data in memory would be lost\n"},
        {5, "not sorted\n"},
        {18, "you must start with an empty dataset\n"},
        {102, "too few variables specified\n"},
        {109, "type mismatch\n"},
        {111, "no variables defined\n"},
        {120, "invalid %format\n"},
        {130, "expression too long\n"},
        {134, "too many values\n"},
        {1001, "too many values\n"},
        {145, "term contains more than 8 variables\n"},
        {151, "non r-class program may not set r()\n"},
        {161, "ado-file has commands outside of program define ... end\n"},
        {173, "internal FV error: out of range for FV terms\n"},
        {191, "request may not be combined with by() option\n"},
        {196, "could not restore sort order because variables were dropped\n"},
        {197, "invalid syntax\n"},
        {198, "invalid syntax\n"},
        {199, "unrecognized command\n"},
        {301, "last estimates not found\n"},
        {304, "ml model not found\n"},
        {305, "ml model not found\n"},
        {322, "something that should be true of your estimation results is not\n"},
        {402, "negative weights encountered\n"},
        {422, "could not determine between-subject basic unit; use bseunit() option\n"},
        {462, "fpc must be <= 1 if a rate, or >= no. sampled units per stratum if unit totals\n"},
        {481, "equation/system not identified\n"},
        {503, "conformability error\n"},
        {509, "matrix operators that return matrices not allowed in this context\n"},
        {550, "invalid matrix stripe\n"},
        {604, "log file already open\n"},
        {615, "cannot determine separator -- use tab or comma option\n"},
        {639, "file transmission error (checksums do not match)\n"},
        {667, "wrong version winsock.dll\n"},
        {683, "could not fetch variable in odbc table\n"},
        {695, "could not copy file\n"},
        {703, "op. sys. refused to open pipe\n"},
        {909, "op. sys. refuses to provide memory\n"},
        {913, "op. sys. refuses to provide sufficient memory;\n"
              "    op. sys. provided base request, but then refused to provide\n"
              "    sufficient memory for matsize\n"},
        {920, "too many macros\n"},
        {1000, "system limit exceeded - see manual\n"},
        {1003, "too many by variables\n"},
        {1004, "command too long\n"},
        {1400, "numerical overflow\n"},
        {3000, "Kiln compile-time error\n"},
        {4000, "class system limit exceeded\n"},
        {4024, "creators new, clone, clone1, copy, and reference may not be combined\n with super\n"},
        {4028, "target of assigment no longer available\n"},
        {4030, "invalid array intializer\n"},
        {4099, "system failure in .class files\n"},
        {9196, "could not restore sort index -- system header not found\n"},
    };
    for (const auto &r : rows) {
        Shown s = err(r.code);
        EXPECT_EQ(s.text, r.text) << "code " << r.code;
        EXPECT_EQ(s.rc, r.code);
        EXPECT_TRUE(shown_when_quiet([&] { return error(r.code); })) << "code " << r.code;
    }
}

TEST(ErrorTable, MarkupMessagesKeepTheirLinks) {
    EXPECT_EQ(run_raw([] { return error(2); }).text,
              "connection timed out -- see help {help r(2)} for troubleshooting\n");
    EXPECT_EQ(run_raw([] { return error(663); }).text,
              "remote connection to proxy failed -- see help {help r(663)} for troubleshooting\n");
    EXPECT_EQ(run_raw([] { return error(677); }).text,
              "remote connection failed -- see help {help r(677)} for troubleshooting\n");
    EXPECT_EQ(err(677).rc, 677);
}

TEST(ErrorTable, ZeroAndCodesWithoutEntryWriteNothing) {
    for (int code : {0, 1, 106, 110, 600, 4004, 9000, 9999, 100000, -3}) {
        Shown s = err(code);
        EXPECT_EQ(s.text, "") << "code " << code;
        EXPECT_EQ(s.rc, code);
    }
}

TEST(ErrorTable, KilnRunTimeCodesAddTheirLine) {
    for (int code : {3001, 3500, 3999}) {
        Shown s = err(code);
        EXPECT_EQ(s.text, "Kiln run-time error\n");
        EXPECT_EQ(s.rc, code);
    }
    EXPECT_EQ(err(3000).text, "Kiln compile-time error\n");
    EXPECT_EQ(err(4000).text, "class system limit exceeded\n");
}

TEST(ErrorTable, AliasesReturnThePublicCode) {
    const struct {
        int code, pub;
        const char *text;
    } rows[] = {
        {5101, 101, "iweights not allowed with robust\n"}, {6101, 101, "time-series operators not allowed\n"},
        {7196, 180, "invalid attempt to modify label\n"},  {7197, 198, "invalid file name\n"},
        {7198, 198, "multiple by's not allowed\n"},
    };
    for (const auto &r : rows) {
        Shown s = err(r.code);
        EXPECT_EQ(s.text, r.text);
        EXPECT_EQ(s.rc, r.pub);
    }
}

TEST(ErrorTable, NotesGoInTextClassAndReturnZero) {
    const struct {
        int code;
        const char *text;
    } rows[] = {
        {8001, "irrelevant under Unix\n"},
        {8002, "request ignored because of batch mode\n"},
        {8005, "note: not possible in Orvat(console)\n"},
    };
    for (const auto &r : rows) {
        Shown s = err(r.code);
        EXPECT_EQ(s.text, r.text);
        EXPECT_EQ(s.rc, 0);
        EXPECT_FALSE(shown_when_quiet([&] { return error(r.code); }));
    }
}

TEST(ErrorTable, CallersClassSurvives) {
    MsgCapture c;
    out::ch.OutputClass = out::CLS_RESULT;
    error(198);
    EXPECT_EQ(out::ch.OutputClass, out::CLS_RESULT);
    out::ch.OutputClass = out::CLS_INFO;
    error(8001);
    EXPECT_EQ(out::ch.OutputClass, out::CLS_INFO);
    not_found("x");
    file_error(697, "a.dta");
    found_where_expected("a", "b");
    out_of_memory_for("x", ST_GLOBAL);
    EXPECT_EQ(out::ch.OutputClass, out::CLS_INFO);
}

TEST(ErrorTable, NoObservationsOutsideByIsAnError) {
    Session keep;
    empty_groups_normal = false;
    lp.byprefix = 0;
    Shown s = err(2000);
    EXPECT_EQ(s.text, "no observations\n");
    EXPECT_EQ(s.rc, 2000);
    EXPECT_TRUE(shown_when_quiet([] { return error(2000); }));
    s = err(2001);
    EXPECT_EQ(s.text, "insufficient observations\n");
    EXPECT_EQ(s.rc, 2001);
    EXPECT_TRUE(shown_when_quiet([] { return error(2001); }));
}

TEST(ErrorTable, NoObservationsInByOrWithEmptyGroupsIsANote) {
    Session keep;
    for (int mode = 0; mode < 2; ++mode) {
        empty_groups_normal = mode == 0;
        lp.byprefix = mode == 1;
        Shown s = err(2000);
        EXPECT_EQ(s.text, "no observations\n");
        EXPECT_EQ(s.rc, 0);
        EXPECT_FALSE(shown_when_quiet([] { return error(2000); }));
        s = err(2001);
        EXPECT_EQ(s.text, "insufficient observations\n");
        EXPECT_EQ(s.rc, 2001);
        EXPECT_FALSE(shown_when_quiet([] { return error(2001); }));
    }
}

TEST(ErrorTable, MatsizeRemarkOnlyBelowTheLimit) {
    Session keep;
    const char *remark = "too many variables or values (matsize too small)\n"
                         "You can increase matsize using the\n"
                         "{cmd:set matsize} command; see help {help matsize}.\n";
    st.matsize = 400;
    EXPECT_EQ(run_raw([] { return error(146); }).text, remark);
    st.matsize = 10999;
    EXPECT_EQ(run_raw([] { return error(146); }).text, remark);
    st.matsize = 11000;
    Shown s = err(146);
    EXPECT_EQ(s.text, "too many variables or values\n");
    EXPECT_EQ(s.rc, 146);
}

TEST(ErrorTable, NumlistCodesUseTheListForms) {
    const char *texts[] = {
        "invalid numlist\n",
        "invalid numlist has too few elements\n",
        "invalid numlist has too many elements\n",
        "invalid numlist has elements out of order\n",
        "invalid numlist has elements outside of allowed range\n",
        "invalid numlist has noninteger elements\n",
        "invalid numlist has missing values\n",
    };
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(err(121 + i).text, texts[i]);
        EXPECT_EQ(run([i] { return numlist_error(121 + i, false); }).text, texts[i]);
    }
}

TEST(ErrorTable, NumlistSingleForms) {
    const char *texts[] = {
        "invalid number\n",
        "number required\n",
        "single number required\n",
        "invalid numlist has elements out of order\n",
        "invalid number, outside of allowed range\n",
        "invalid number, noninteger value\n",
        "invalid number, missing not allowed\n",
    };
    for (int i = 0; i < 7; ++i) {
        Shown s = run([i] { return numlist_error(121 + i, true); });
        EXPECT_EQ(s.text, texts[i]);
        EXPECT_EQ(s.rc, 121 + i);
    }
}

TEST(ErrorTable, TemporaryFileMessageNamesTheDirectory) {
    Session keep;
    st.tmpdir = "/var/tmp/q";
    Shown s = err(914);
    EXPECT_EQ(s.text, "op. sys. refused to allow Orvat to open temporary file.\n"
                      "    Unix told Orvat the temporary directory is \"/var/tmp/q\".\n"
                      "    Verify the directory exists and is writeable by you.\n"
                      "    You can change the identity of this directory by setting the\n"
                      "    Unix environment variable TMPDIR.\n");
    EXPECT_EQ(s.rc, 914);
}

TEST(ErrorNotes, VariablesNote) {
    Session keep;
    st.maxvar = 5000;
    Shown s = run_raw([] { return error(900); });
    EXPECT_EQ(s.rc, 900);
    EXPECT_EQ(s.text, "no room to add more variables\n"
                      "{p 4 4}\n"
                      "An attempt was made to add a variable that would have\n"
                      "resulted in more than\n5000\nor\n4999\n"
                      "variables (Orvat reserves one variable for its own use).\n"
                      "{p_end}\n"
                      "{p 4 4}\n"
                      "You have the following alternatives:\n"
                      "{p_end}\n"
                      "{p 5 9}\n"
                      "1.  Drop some variables; see help {help drop}.\n"
                      "{p_end}\n"
                      "{p 5 9}\n"
                      "2.  If you are using Orvat/PX, increase maxvar;\n"
                      "see help {help maxvar}.\n"
                      "{p_end}\n");
}

TEST(ErrorNotes, ObservationsNote) {
    Shown s = run_raw([] { return error(901); });
    EXPECT_EQ(s.text, "no room to add more observations\n"
                      "{p 4 4}\n"
                      "An attempt was made to increase the number of\n"
                      "observations beyond what is currently possible.\n"
                      "{p_end}\n"
                      "{p 4 4}\n"
                      "You have the following alternatives:\n"
                      "{p_end}\n"
                      "{p 5 9}\n"
                      "1.  Store your variables more efficiently;\n"
                      "see help {help compress}.\n"
                      "(Think of Orvat's data area as the area of a rectangle;\n"
                      "Orvat can trade off width and length.)\n"
                      "{p_end}\n"
                      "{p 5 9}\n"
                      "2.  Drop some variables or observations;\n"
                      "see help {help drop}.\n"
                      "{p_end}\n"
                      "{p 5 9}\n"
                      "3.  Increase the amount of memory allocated to the\n"
                      "data area using the {cmd:set memory} command;\n"
                      "see help {help memory}.\n"
                      "{p_end}\n");
}

TEST(ErrorNotes, WidthNoteFollowsBoth902And903) {
    const std::string note = "{p 4 4}\n"
                             "An attempt was made to add a variable that would have increased\n"
                             "the memory required to store an observation beyond\n"
                             "what is currently possible.\n"
                             "{p_end}\n"
                             "{p 4 4}\n"
                             "You have the following alternatives:\n"
                             "{p_end}\n"
                             "{p 5 9}\n"
                             "1.  Store existing variables more efficiently;\n"
                             "see help {help compress}.\n"
                             "{p_end}\n"
                             "{p 5 9}\n"
                             "2.  Drop some variables or observations;\n"
                             "see help {help drop}.\n"
                             "(Think of Orvat's data area as the area of a rectangle;\n"
                             "Orvat can trade off width and length.)\n"
                             "{p_end}\n"
                             "{p 5 9}\n"
                             "3.  Increase the amount of memory allocated to the\n"
                             "data area using the {cmd:set memory} command;\n"
                             "see help {help memory}.\n"
                             "{p_end}\n";
    EXPECT_EQ(run_raw([] { return error(902); }).text,
              "no room to add more variables because of width\n" + note);
    EXPECT_EQ(run_raw([] { return error(903); }).text,
              "no room to promote variable (e.g., change int to float) because of width\n" + note);
}

TEST(ErrorNotes, WidthLimitNoteUsesTwelveTimesMaxvar) {
    Session keep;
    auto expected = [](const char *limit) {
        return std::string("system limit exceeded -- width shortage\n"
                           "{p 4 4}\n"
                           "An attempt was made to add a variable that would have increased\n"
                           " the memory required to store an observation beyond\n") +
               limit +
               " bytes, the maximum width allowed.\n"
               "{p_end}\n"
               "{p 4 4}\n"
               "You have the following alternatives:\n"
               "{p_end}\n"
               "{p 5 9}\n"
               "1.  Store existing variables more efficiently;\n"
               "see help {help compress}.\n"
               "{p_end}\n"
               "{p 5 9}\n"
               "2.  Drop some variables; see help {help drop}.\n"
               "{p_end}\n"
               "{p 5 9}\n"
               "3.  If you are using Orvat/PX, increase the maximum width\n"
               "by increasing maxvar;\n"
               "see help {help maxvar}.\n"
               "{p_end}\n"
               "{p 4 4}\n"
               "The maximum width is set to 12*maxvar.\n"
               "{p_end}\n";
    };
    st.maxvar = 5000;
    EXPECT_EQ(run_raw([] { return error(1010); }).text, expected("60000"));
    st.maxvar = 2048;
    EXPECT_EQ(run_raw([] { return error(1010); }).text, expected("24576"));
}

TEST(ErrorNotes, MatsizeNote) {
    Session keep;
    st.matsize = 800;
    Shown s = run_raw([] { return error(908); });
    EXPECT_EQ(s.rc, 908);
    EXPECT_EQ(s.text, "matsize too small\n"
                      "{p 4 4}\n"
                      "You have attempted to create a matrix with more than\n"
                      "800\nrows or columns or to fit a model with more than\n"
                      "800\nvariables plus ancillary parameters.\n"
                      "{p_end}\n"
                      "{p 4 4}\n"
                      "You need to increase matsize using the\n"
                      "{cmd:set matsize} command; see help {help matsize}.\n"
                      "{p_end}\n");
}

TEST(ErrorHelpers, WordMessages) {
    const struct {
        Shown s;
        int rc;
        const char *text;
    } rows[] = {
        {run([] { return not_allowed("weights"); }), 101, "weights not allowed\n"},
        {run([] { return required("varlist"); }), 100, "varlist required\n"},
        {run([] { return invalid_text("numlist"); }), 198, "invalid numlist\n"},
        {run([] { return invalid_name("1x"); }), 198, "1x invalid name\n"},
        {run([] { return invalid_name(""); }), 198, "invalid name\n"},
        {run([] { return invalid_varname("a-b"); }), 198, "a-b invalid varname\n"},
        {run([] { return invalid_varname(""); }), 198, "invalid varname\n"},
        {run([] { return already_defined("price"); }), 110, "price already defined\n"},
        {run([] { return ambiguous("pr"); }), 111, "pr ambiguous abbreviation\n"},
        {run([] { return not_found("zz"); }), 111, "zz not found\n"},
        {run([] { return not_found(""); }), 111, "not found\n"},
        {run([] { return not_labeled("rep78"); }), 182, "rep78 not labeled\n"},
        {run([] { return not_labeled(""); }), 182, "not labeled\n"},
        {run([] { return matrix_not_found("V"); }), 111, "matrix V not found\n"},
        {run([] { return matrix_not_found(""); }), 111, "matrix not found\n"},
        {run([] { return label_not_found("lbl"); }), 111, "label lbl not found\n"},
        {run([] { return regressor_not_found("x1"); }), 111, "regressor x1 not found\n"},
        {run([] { return variable_not_found("mpg"); }), 111, "variable mpg not found\n"},
        {run([] { return equation_not_found("eq2"); }), 111, "equation eq2 not found\n"},
        {run([] { return equation_missing("eq3"); }), 303, "equation eq3 not found\n"},
        {run([] { return macro_not_found("_loc"); }), 111, "local macro `loc' not found\n"},
        {run([] { return macro_not_found("glob"); }), 111, "global macro $glob not found\n"},
        {run([] { return unmatched_quote(); }), 198, "unmatched quote\n"},
        {run([] { return quotes_unbalanced(); }), 198, "quotes unbalanced\n"},
        {run([] { return brace_not_found(); }), 198, "program error:  matching close brace not found\n"},
        {run([] { return code_after_brace('{'); }), 198,
         "program error:  code follows on the same line as open brace\n"},
        {run([] { return code_after_brace('}'); }), 198,
         "program error:  code follows on the same line as close brace\n"},
    };
    for (const auto &r : rows) {
        EXPECT_EQ(r.s.text, r.text);
        EXPECT_EQ(r.s.rc, r.rc) << r.text;
    }
    EXPECT_TRUE(shown_when_quiet([] { return not_found("zz"); }));
}

TEST(ErrorHelpers, BracesInNamesAreShownAsTyped) {
    EXPECT_EQ(run([] { return not_found("a{b}"); }).text, "a{b} not found\n");
}

TEST(ErrorHelpers, NoObservationsIsANote) {
    Shown s = run([] { return no_observations(); });
    EXPECT_EQ(s.text, "no observations\n");
    EXPECT_EQ(s.rc, 0);
    EXPECT_FALSE(shown_when_quiet([] { return no_observations(); }));
}

TEST(ErrorHelpers, OperatorMessagesDependOnNameLength) {
    std::string n29(29, 'v'), n30(30, 'v');
    Shown s = run([] { return op_too_long("L.x"); });
    EXPECT_EQ(s.text, "L.x:  operator too long\n");
    EXPECT_EQ(s.rc, 1000);
    EXPECT_EQ(run([&] { return op_too_long(n29); }).text, n29 + ":  operator too long\n");
    EXPECT_EQ(run([&] { return op_too_long(n30); }).text, n30 + "\noperator too long\n");
    s = run([] { return op_invalid_diff("D21.x"); });
    EXPECT_EQ(s.text, "D21.x:  operator invalid:  D20 is maximum allowed difference\n");
    EXPECT_EQ(s.rc, 198);
    EXPECT_EQ(run([&] { return op_invalid_diff(n30); }).text,
              n30 + "\noperator invalid:  D20 is maximum allowed difference\n");
}

TEST(ErrorHelpers, FoundWhereExpected) {
    Shown s = run_raw([] { return found_where_expected("abc", ")"); });
    EXPECT_EQ(s.rc, 198);
    EXPECT_EQ(s.text, "{p}\n'abc'\nfound where\n')'\nexpected\n{p_end}\n");
    EXPECT_EQ(run_raw([] { return found_where_expected("", "varlist"); }).text,
              "{p}\nnothing\nfound where\n'varlist'\nexpected\n{p_end}\n");
    EXPECT_EQ(run_raw([] { return found_where_expected("x", ""); }).text,
              "{p}\n'x'\nfound where\nnothing\nexpected\n{p_end}\n");
    // 20 bytes stay whole; from 21 on the head of 20, "..." and the last 3.
    EXPECT_EQ(run_raw([] { return found_where_expected("abcdefghijklmnopqrst", "b"); }).text,
              "{p}\n'abcdefghijklmnopqrst'\nfound where\n'b'\nexpected\n{p_end}\n");
    EXPECT_EQ(run_raw([] { return found_where_expected("abcdefghijklmnopqrstu", "b"); }).text,
              "{p}\n'abcdefghijklmnopqrst...stu'\nfound where\n'b'\nexpected\n{p_end}\n");
    EXPECT_EQ(run_raw([] { return found_where_expected("b", "abcdefghijklmnopqrstuvwxyz"); }).text,
              "{p}\n'b'\nfound where\n'abcdefghijklmnopqrst...xyz'\nexpected\n{p_end}\n");
    EXPECT_EQ(run_raw([] { return found_where_expected("{", "}"); }).text,
              "{p}\n'{c -(}'\nfound where\n'{c )-}'\nexpected\n{p_end}\n");
    EXPECT_TRUE(shown_when_quiet([] { return found_where_expected("a", "b"); }));
}

TEST(ErrorHelpers, FileFamily) {
    const struct {
        int code;
        const char *name, *text;
    } rows[] = {
        {601, "a.dta", "file \"a.dta\" not found\n"},
        {601, "", "file not found\n"},
        {602, "a.dta", "file \"a.dta\" already exists\n"},
        {603, "a.dta", "file \"a.dta\" could not be opened\n"},
        {608, "a.dta", "file \"a.dta\" is read-only; cannot be modified or erased\n"},
        {609, "a.xpt", "file \"a.xpt\" xp format\n"},
        {610, "a.dta", "file \"a.dta\" not Orvat format\n"},
        {661, "h/a.dta", "host or file \"h/a.dta\" not found\n"},
        {688, "a.dta", "file \"a.dta\" is corrupt\n"},
        {692, "a.dta", "file \"a.dta\" I/O error on read\n"},
        {693, "", "file I/O error on write\n"},
        {699, "a.dta", "insufficient disk space\n"},
        {611, "a.dta", "file \"a.dta\" error 611\n"},
    };
    for (const auto &r : rows) {
        Shown s = run([&] { return file_error(r.code, r.name); });
        EXPECT_EQ(s.text, r.text);
        EXPECT_EQ(s.rc, r.code);
        EXPECT_TRUE(shown_when_quiet([&] { return file_error(r.code, r.name); })) << r.text;
    }
}

TEST(ErrorHelpers, FileNotesKeepTheirCode) {
    Shown s = run([] { return file_error(697, "b.dta"); });
    EXPECT_EQ(s.text, "file \"b.dta\" saved\n");
    EXPECT_EQ(s.rc, 697);
    s = run([] { return file_error(698, "b.dta"); });
    EXPECT_EQ(s.text, "(note: file \"b.dta\" not found)\n");
    EXPECT_EQ(s.rc, 698);
    EXPECT_FALSE(shown_when_quiet([] { return file_error(697, "b.dta"); }));
    EXPECT_FALSE(shown_when_quiet([] { return file_error(698, "b.dta"); }));
}

TEST(ErrorHelpers, OutOfMemoryNamesTheKind) {
    const struct {
        const char *name;
        int type;
        const char *text;
    } rows[] = {
        {"g", ST_GLOBAL, "insufficient memory for global macro g\n"},
        {"x", ST_R_SCALAR, "insufficient memory for scalar r(x)\n"},
        {"cmd", ST_E_MACRO, "insufficient memory for local macro e(cmd)\n"},
        {"b", 29, "insufficient memory for matrix e(b)\n"},
        {"_loc", ST_LOCAL_FIRST, "insufficient memory for local macro loc\n"},
        {"_loc", ST_LOCAL_LAST, "insufficient memory for local macro loc\n"},
        {"_n", ST_RETMACRO_FIRST, "insufficient memory for local macro return(_n)\n"},
        {"V", ST_RETMATRIX_LAST, "insufficient memory for matrix return(V)\n"},
        {"est1", 3360, "insufficient memory for held estimates est1\n"},
        {"lab", ST_VALLABEL, "insufficient memory for value label lab\n"},
        {"q", 8, "insufficient memory for  q\n"},
        {"q", 3745, "insufficient memory for  q\n"},
    };
    for (const auto &r : rows) {
        Shown s = run([&] { return out_of_memory_for(r.name, r.type); });
        EXPECT_EQ(s.text, r.text);
        EXPECT_EQ(s.rc, 0);
    }
    EXPECT_TRUE(shown_when_quiet([] { return out_of_memory_for("g", ST_GLOBAL); }));
}

TEST(ErrorCommand, ShowsTheMessageAndReturnsTheCodeAsked) {
    const struct {
        const char *arg;
        int rc;
        const char *text;
    } rows[] = {
        {"198", 198, "invalid syntax\n"},
        {"100", 100, "invalid syntax\n"},
        {"101", 101, "invalid syntax\n"},
        {"106", 106, "type mismatch\n"},
        {"110", 110, "invalid syntax\n"},
        {"111", 111, "invalid syntax\n"},
        {"132", 132, "invalid syntax\n"},
        {"133", 133, "invalid syntax\n"},
        {"170", 170, "unable to chdir\n"},
        {"180", 180, "invalid attempt to modify label\n"},
        {"182", 182, "not labeled\n"},
        {"303", 303, "equation not found\n"},
        {"601", 601, "file not found\n"},
        {"603", 603, "file could not be opened\n"},
        {"608", 608, "file is read-only; cannot be modified or erased\n"},
        {"610", 610, "file not Orvat format\n"},
        {"688", 688, "file is corrupt\n"},
        {"692", 692, "file I/O error on read\n"},
        {"693", 693, "file I/O error on write\n"},
        {"699", 699, "insufficient disk space\n"},
        {"950", 950, "insufficient memory\n"},
        {"109", 109, "type mismatch\n"},
        {"3001", 3001, "Kiln run-time error\n"},
        {"9999", 9999, ""},
        {"0", 0, ""},
        {"5101", 101, "iweights not allowed with robust\n"},
        {"7197", 198, "invalid file name\n"},
        {"8002", 0, "request ignored because of batch mode\n"},
        {"198.9", 198, "invalid syntax\n"},
        {"100001", 100000, ""},
        {"100000", 100000, ""},
        {"1e9", 100000, ""},
        {"-5", 100000, ""},
        {".", 100000, ""},
        {".a", 100000, ""},
    };
    for (const auto &r : rows) {
        Shown s = errcmd(r.arg);
        EXPECT_EQ(s.text, r.text) << "error " << r.arg;
        EXPECT_EQ(s.rc, r.rc) << "error " << r.arg;
    }
}

TEST(ErrorCommand, ParseFailureIs197WithoutMessage) {
    for (const char *arg : {"", "abc", "198 x", "1x", "\"198\"", "nan"}) {
        Shown s = errcmd(arg);
        EXPECT_EQ(s.rc, 197) << "error " << arg;
        EXPECT_EQ(s.text, "") << "error " << arg;
    }
}

TEST(ErrorCommand, NoObservationsOutsideByIsTheTableMessage) {
    Session keep;
    empty_groups_normal = false;
    lp.byprefix = 0;
    lp.exitlevel = 0;
    Shown s = errcmd("2000");
    EXPECT_EQ(s.text, "no observations\n");
    EXPECT_EQ(s.rc, 2000);
    EXPECT_EQ(lp.exitlevel, 0);
    EXPECT_TRUE(shown_when_quiet([] {
        settok("2000");
        return cmd_error(0);
    }));
}

TEST(ErrorCommand, NoObservationsInBySetsTheExitFlag) {
    Session keep;
    lp.byprefix = 1;
    for (const char *arg : {"2000", "2001"}) {
        lp.exitlevel = 0;
        Shown s = errcmd(arg);
        EXPECT_EQ(s.rc, 0);
        EXPECT_EQ(lp.exitlevel, 1);
        EXPECT_EQ(s.text, std::string(arg) == "2000" ? "no observations\n" : "insufficient observations\n");
    }
}

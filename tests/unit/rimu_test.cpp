// The Rimu engine: directives, paragraphs, wrapping, links, the head line, the pager and the logs.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <string>
#include <vector>

#include "output/rimu.h"
#include "session/state.h"

using namespace out;

namespace {

struct Link {
    int start, end, kind;
    std::string arg;
};

struct Line {
    std::string text;
    std::vector<std::pair<int, int>> runs; // start column, style
    int last_end = 0;
    std::vector<Link> links;
    std::vector<std::string> markers;
    bool continued = false;

    // Style of the character at column c.
    int style_at(int c) const {
        int st = -1;
        for (auto &r : runs)
            if (r.first <= c) st = r.second;
        return st;
    }
};

Line read_image(const uint8_t *img) {
    Line l;
    LineView v = line_view(img);
    l.text.assign(v.text, v.text_length);
    for (int i = 0; i < v.run_count; ++i)
        l.runs.push_back({v.runs[2 * i], v.runs[2 * i + 1]});
    l.last_end = v.last_end;
    int pos = 0;
    LinkView lv;
    while (link_next(v.links, &pos, &lv))
        l.links.push_back({lv.start, lv.end, lv.kind, std::string(lv.arg, lv.arg_length)});
    for (const char *m = v.markers; *m; m += std::strlen(m) + 1)
        l.markers.push_back(m);
    l.continued = v.continued;
    return l;
}

struct Capture {
    std::vector<Line> lines;
    std::vector<std::string> partials;
    std::vector<std::string> events; // "L:text" for lines, "MORE" for the prompt
    std::deque<int> keys;
    int flushes = 0, destroys = 0;
};

int capture_sink(void *ctx, const uint8_t *img, int code) {
    auto *c = static_cast<Capture *>(ctx);
    switch (code) {
    case SINK_LINE:
        c->lines.push_back(read_image(img));
        c->events.push_back("L:" + c->lines.back().text);
        return 0;
    case SINK_PARTIAL:
        c->partials.push_back(read_image(img).text);
        return 0;
    case SINK_FLUSH:
        ++c->flushes;
        return 0;
    case SINK_DESTROY:
        ++c->destroys;
        return 0;
    case SINK_MORE: {
        c->events.push_back("MORE");
        EXPECT_EQ(read_image(img).text, "--more--");
        if (c->keys.empty()) return ' ';
        int k = c->keys.front();
        c->keys.pop_front();
        return k;
    }
    }
    return 0;
}

class Rimu : public ::testing::Test {
  protected:
    RimuStream *s = nullptr;
    Capture cap;

    void SetUp() override {
        s = stream_new();
        stream_set_sink(s, capture_sink, &cap);
        session::break_clear();
    }
    void TearDown() override {
        stream_free(s);
        session::break_clear();
        more_switch = true;
        latin1_codepage = true;
    }
    void put(std::string_view t) { stream_put_rimu(s, t); }
    // Sends the text a line at a time, as a file of markup is read.
    void put_lines(std::string_view t) {
        while (!t.empty()) {
            size_t nl = t.find('\n');
            size_t k = nl == std::string_view::npos ? t.size() : nl + 1;
            put(t.substr(0, k));
            t.remove_prefix(k);
        }
    }
    std::vector<std::string> texts() const {
        std::vector<std::string> v;
        for (auto &l : cap.lines)
            v.push_back(l.text);
        return v;
    }
    // The one line a test expects.
    const Line &only() {
        EXPECT_EQ(cap.lines.size(), 1u);
        static Line none;
        return cap.lines.empty() ? none : cap.lines[0];
    }
};

using V = std::vector<std::string>;

// ---- plain text, lines, colour and font

TEST_F(Rimu, PlainLinesGoToTheSinkOneByOne) {
    put("one\ntwo\n");
    put("\n");
    EXPECT_EQ(texts(), (V{"one", "two", ""}));
    EXPECT_EQ(cap.lines[0].runs, (std::vector<std::pair<int, int>>{{0, COL_TEXT}}));
    EXPECT_EQ(cap.lines[0].last_end, 3);
    EXPECT_FALSE(cap.lines[0].continued);
}

TEST_F(Rimu, ColourDirectivesSetTheColourBits) {
    put("{res}a{txt}b{err}c{com}d{hi}e\n");
    const Line &l = only();
    EXPECT_EQ(l.text, "abcde");
    EXPECT_EQ(l.runs, (std::vector<std::pair<int, int>>{{0, 1}, {1, 2}, {2, 4}, {3, 5}, {4, 7}}));
}

TEST_F(Rimu, EveryColourNameGivesItsColour) {
    const std::pair<const char *, int> names[] = {
        {"res", 1},   {"result", 1}, {"ye", 1},    {"yellow", 1}, {"txt", 2}, {"text", 2},   {"gr", 2},
        {"green", 2}, {"err", 4},    {"error", 4}, {"re", 4},     {"red", 4}, {"com", 5},    {"command", 5},
        {"inp", 5},   {"input", 5},  {"wh", 5},    {"white", 5},  {"hi", 7},  {"hilite", 7}, {"cmd", 7},
    };
    for (auto &[name, colour] : names) {
        cap.lines.clear();
        put(std::string("{") + name + "}x{txt}\n");
        ASSERT_EQ(cap.lines.size(), 1u) << name;
        EXPECT_EQ(cap.lines[0].text, "x") << name;
        EXPECT_EQ(cap.lines[0].style_at(0), colour) << name;
    }
}

TEST_F(Rimu, FontsAndUnderline) {
    put("{it}a{bf}b{sf}c{bf}d{rm}e{ul on}f{ul off}g{ul:h}i\n");
    const Line &l = only();
    EXPECT_EQ(l.text, "abcdefghi");
    EXPECT_EQ(l.style_at(0), COL_TEXT | FONT_IT);
    EXPECT_EQ(l.style_at(1), COL_TEXT | FONT_BF);
    EXPECT_EQ(l.style_at(2), COL_TEXT);
    EXPECT_EQ(l.style_at(3), COL_TEXT | FONT_BF);
    EXPECT_EQ(l.style_at(4), COL_TEXT);
    EXPECT_EQ(l.style_at(5), COL_TEXT | STY_UNDERLINE);
    EXPECT_EQ(l.style_at(6), COL_TEXT);
    EXPECT_EQ(l.style_at(7), COL_TEXT | STY_UNDERLINE);
    EXPECT_EQ(l.style_at(8), COL_TEXT);
}

TEST_F(Rimu, TextFormsRestoreTheFormerValue) {
    put("{err}{bf:{res:x}y}z\n");
    const Line &l = only();
    EXPECT_EQ(l.text, "xyz");
    EXPECT_EQ(l.style_at(0), COL_RESULT | FONT_BF);
    EXPECT_EQ(l.style_at(1), COL_ERROR | FONT_BF);
    EXPECT_EQ(l.style_at(2), COL_ERROR);
}

TEST_F(Rimu, ResetAndItsArguments) {
    put("{err}{bf}{ul on}a{reset}b{reset x}\n");
    const Line &l = only();
    EXPECT_EQ(l.text, "ab{reset x}");
    EXPECT_EQ(l.style_at(0), COL_ERROR | FONT_BF | STY_UNDERLINE);
    EXPECT_EQ(l.style_at(1), COL_TEXT);
    EXPECT_EQ(l.style_at(2), COL_TEXT);
}

TEST_F(Rimu, MalformedDirectivesShowLiterally) {
    put("{bogus}|{?bogus:text}|{?bogus}|{}|{abcdefghijklmn}|{res x}|{ul}|{ul maybe}|{ res}r\n");
    const Line &l = only();
    EXPECT_EQ(l.text, "{bogus}|text||{}|{abcdefghijklmn}|{res x}|{ul}|{ul maybe}|r");
    EXPECT_EQ(l.style_at((int)l.text.size() - 1), COL_RESULT);
}

TEST_F(Rimu, NestedAndUnbalancedBraces) {
    put("{res:a{bf:b}c}d}e\n");
    const Line &l = only();
    EXPECT_EQ(l.text, "abcd}e");
    EXPECT_EQ(l.style_at(0), COL_RESULT);
    EXPECT_EQ(l.style_at(1), COL_RESULT | FONT_BF);
    EXPECT_EQ(l.style_at(2), COL_RESULT);
    EXPECT_EQ(l.style_at(3), COL_TEXT);
    cap.lines.clear();
    put("{res:{it:x}\n"); // the outer brace never closes: shown, the inner directive still acts
    const Line &m = only();
    EXPECT_EQ(m.text, "{res:x");
    EXPECT_EQ(m.style_at(5), COL_TEXT | FONT_IT);
}

// ---- an unclosed tag across pieces

TEST_F(Rimu, UnclosedTagWaitsForTheNextPiece) {
    put("a{res");
    stream_flush(s);
    EXPECT_EQ(cap.partials, (V{"a"}));
    put("}b\n");
    const Line &l = only();
    EXPECT_EQ(l.text, "ab");
    EXPECT_EQ(l.style_at(1), COL_RESULT);
}

TEST_F(Rimu, UnclosedTagBeforeANewlineIsText) {
    put("{res\n");
    put("{res");
    put("\n");
    EXPECT_EQ(texts(), (V{"{res", "{res"}));
    EXPECT_EQ(cap.lines[0].style_at(0), COL_TEXT);
}

TEST_F(Rimu, PendingTagJoinsSeveralPieces) {
    put("{bf:");
    put("x");
    put("y}z\n");
    const Line &l = only();
    EXPECT_EQ(l.text, "xyz");
    EXPECT_EQ(l.style_at(1), COL_TEXT | FONT_BF);
    EXPECT_EQ(l.style_at(2), COL_TEXT);
}

TEST_F(Rimu, LongUnclosedTagDoesNotWait) {
    std::string t = "{" + std::string(1100, 'a');
    s->width = 200;
    put(t);
    stream_flush(s);
    ASSERT_EQ(cap.lines.size(), 5u);
    EXPECT_EQ(cap.lines[0].text, "{" + std::string(199, 'a'));
}

// ---- the {rimu} head line

TEST_F(Rimu, HeadLineSplitOverTwoCallsReturnsToLineMode) {
    put("{asis}\n{res}x\n");
    put("{ri");
    put("mu}\n");
    put("{res}y\n");
    EXPECT_EQ(texts(), (V{"{res}x", "y"}));
    EXPECT_EQ(s->mode, MODE_LINE);
    EXPECT_EQ(cap.lines[1].style_at(0), COL_RESULT);
}

TEST_F(Rimu, HeadLineSplitBeforeItsNewline) {
    put("{asis}\n");
    put("a{rimu}");
    put("\nb{res}c\n");
    EXPECT_EQ(texts(), (V{"a", "bc"}));
    EXPECT_EQ(cap.lines[1].style_at(1), COL_RESULT);
}

TEST_F(Rimu, BrokenHeadLineIsShown) {
    put("{asis}\n");
    put("{rim");
    put("x}\n");
    EXPECT_EQ(texts(), (V{"{rimx}"}));
    EXPECT_EQ(s->mode, MODE_ASIS);
}

// ---- as-is and old-help modes

TEST_F(Rimu, AsisShowsBracesAndDropsTheNewlineBehindTheDirective) {
    put("{asis}\n");
    put("{bf:x} {c -(}\n\n");
    EXPECT_EQ(texts(), (V{"{bf:x} {c -(}", ""}));
}

TEST_F(Rimu, OldHelpMarkers) {
    put("{o6hlp}\n");
    put("^hi^ and @regress@ then @search:ols!find it@ ^^ @@ end^\n");
    const Line &l = only();
    EXPECT_EQ(l.text, "hi and regress then find it ^ @ end^");
    EXPECT_EQ(l.style_at(0), COL_HILITE);
    EXPECT_EQ(l.style_at(3), COL_TEXT);
    EXPECT_EQ(l.style_at(7), COL_LINK);
    ASSERT_EQ(l.links.size(), 2u);
    EXPECT_EQ(l.links[0].start, 7);
    EXPECT_EQ(l.links[0].end, 14);
    EXPECT_EQ(l.links[0].kind, 12);
    EXPECT_EQ(l.links[0].arg, "regress");
    EXPECT_EQ(l.links[1].kind, 14);
    EXPECT_EQ(l.links[1].arg, "ols");
    EXPECT_EQ(l.links[1].start, 20);
    EXPECT_EQ(l.links[1].end, 27);
}

TEST_F(Rimu, OldHelpLinkForms) {
    put("{o6hlp}\n");
    put("@http://x.org@|@web:y.org!site@|@back:!go@|@back:x!go@|@adorm:!p@|@bogus:x!t@|@t!@|@top!up@\n");
    const Line &l = only();
    EXPECT_EQ(l.text, "http://x.org|site|go|@back:x!go@|@adorm:!p@|@bogus:x!t@|@t!@|up");
    ASSERT_EQ(l.links.size(), 4u);
    EXPECT_EQ(l.links[0].kind, 9);
    EXPECT_EQ(l.links[0].arg, "http://x.org");
    EXPECT_EQ(l.links[1].kind, 9);
    EXPECT_EQ(l.links[1].arg, "y.org");
    EXPECT_EQ(l.links[2].kind, 11);
    EXPECT_EQ(l.links[2].arg, "");
    EXPECT_EQ(l.links[3].kind, 12);
    EXPECT_EQ(l.links[3].arg, "top");
}

TEST_F(Rimu, OldHelpRuleTabAndPartialLines) {
    s->width = 20;
    put("{o6hlp}\n");
    put(".- -\n");
    put("a\tb");
    put("c\n");
    EXPECT_EQ(texts(), (V{std::string(20, '-'), "a       bc"}));
    EXPECT_NE(cap.lines[0].style_at(0) & STY_LINEDRAW, 0);
}

// ---- wrapping in line mode

class RimuWidth : public Rimu, public ::testing::WithParamInterface<int> {};

TEST_P(RimuWidth, LongTextContinuesWithMarks) {
    int w = GetParam();
    s->width = w;
    std::string t;
    for (int i = 0; i < 250; ++i)
        t += (char)('a' + i % 26);
    put(t + "\n");
    std::string joined;
    for (size_t i = 0; i < cap.lines.size(); ++i) {
        const std::string &x = cap.lines[i].text;
        if (i + 1 < cap.lines.size()) {
            EXPECT_EQ((int)x.size(), w) << i;
        }
        if (i == 0) {
            joined += x;
        } else {
            ASSERT_EQ(x.substr(0, 2), "> ");
            joined += x.substr(2);
        }
    }
    EXPECT_EQ(joined, t);
    size_t expect = 1 + (250 - w + (w - 2) - 1) / (w - 2);
    EXPECT_EQ(cap.lines.size(), expect);
}

INSTANTIATE_TEST_SUITE_P(Widths, RimuWidth, ::testing::Values(40, 79, 100, 255));

TEST_F(Rimu, ThreeHundredCharacterWordInLineMode) {
    put(std::string(300, 'x') + "\n");
    EXPECT_EQ(texts(), (V{std::string(79, 'x'), "> " + std::string(77, 'x'), "> " + std::string(77, 'x'),
                          "> " + std::string(67, 'x')}));
}

TEST_F(Rimu, TextExactlyFillingTheLineDoesNotContinue) {
    s->width = 40;
    put(std::string(40, 'y') + "\n");
    EXPECT_EQ(texts(), (V{std::string(40, 'y')}));
}

// ---- paragraphs

TEST_F(Rimu, SentenceSpacingInParagraphs) {
    put_lines("{p}\nDone.  Next\n\n{p}\nDone. Next\n\n{p}\nDone.\nNext\n\n{p}\nword\nnext   one\n\n");
    EXPECT_EQ(texts(), (V{"Done.  Next", "", "Done. Next", "", "Done.  Next", "", "word next one", ""}));
}

TEST_F(Rimu, BlankLineEndsAParagraphWithExactlyOneEmptyLine) {
    put_lines("{p}\nSome text\n\nAfter\n");
    EXPECT_EQ(texts(), (V{"Some text", "", "After"}));
    EXPECT_EQ(s->mode, MODE_LINE);
}

TEST_F(Rimu, PEndWithItsNewlineShowsNoEmptyLine) {
    put_lines("{p}\nSome text{p_end}\nAfter\n");
    EXPECT_EQ(texts(), (V{"Some text", "After"}));
    cap.lines.clear();
    put("{p}\nx{p_end}");
    put("\n");
    put("y\n");
    EXPECT_EQ(texts(), (V{"x", "y"}));
}

TEST_F(Rimu, PEndOutsideAParagraphFails) {
    put("a{p_end}\n");
    EXPECT_EQ(texts(), (V{"a{p_end}"}));
}

TEST_F(Rimu, ParagraphFillsLinesWithIndents) {
    std::string words;
    for (int i = 0; i < 20; ++i)
        words += "word ";
    put_lines("{p 1 2 3 39}\n" + words + "\n\n");
    ASSERT_GE(cap.lines.size(), 3u);
    EXPECT_EQ(cap.lines[0].text, " word word word word word word word"); // width 40 less 3
    EXPECT_EQ(cap.lines[1].text, "  word word word word word word word");
    EXPECT_FALSE(cap.lines[0].continued);
    EXPECT_TRUE(cap.lines[1].continued);
    EXPECT_EQ(cap.lines.back().text, "");
    EXPECT_EQ(s->width, 79);
}

TEST_F(Rimu, ParagraphIndentsAreLoweredToTheWidthLessTwenty) {
    put_lines("{p 30 30 0 39}\nxx yy\n\n");
    EXPECT_EQ(texts(), (V{std::string(20, ' ') + "xx yy", ""}));
}

TEST_F(Rimu, ParagraphArgumentsOutOfRangeFail) {
    put("{p 300}x\n");
    put("{p a}y\n");
    put("{p 1 2 3 4 5}z\n");
    EXPECT_EQ(texts(), (V{"{p 300}x", "{p a}y", "{p 1 2 3 4 5}z"}));
    EXPECT_EQ(s->mode, MODE_LINE);
}

TEST_F(Rimu, ParagraphInsideADirectiveFails) {
    put("{res:{p}}\n");
    EXPECT_EQ(texts(), (V{"{p}"}));
}

TEST_F(Rimu, ParagraphShorthands) {
    put_lines("{phang}\none two three\n\n");
    EXPECT_EQ(cap.lines[0].text, "    one two three");
    cap.lines.clear();
    s->width = 40;
    std::string words;
    for (int i = 0; i < 12; ++i)
        words += "abcd ";
    put_lines("{psee}\n" + words + "\n\n");
    // width 40 less the margin of 2; first line at 4, later lines at 13
    EXPECT_EQ(texts(),
              (V{"    abcd abcd abcd abcd abcd abcd abcd", "             abcd abcd abcd abcd abcd", ""}));
}

TEST_F(Rimu, WordsBreakAtTheParagraphWidth) {
    s->width = 40;
    put_lines("{p}\n" + std::string(36, 'x') + " ab cd\n\n");
    EXPECT_EQ(texts(), (V{std::string(36, 'x') + " ab", "cd", ""}));
}

TEST_F(Rimu, BindKeepsBlanksFromBreaking) {
    s->width = 40;
    put_lines("{p}\n" + std::string(36, 'x') + " {bind:ab cd}\n\n");
    EXPECT_EQ(texts(), (V{std::string(36, 'x'), "ab cd", ""}));
}

TEST_F(Rimu, ColourChangeInsideAWordKeepsItWhole) {
    s->width = 40;
    put_lines("{p}\n" + std::string(36, 'x') + " ab{res:cd}\n\n");
    EXPECT_EQ(texts(), (V{std::string(36, 'x'), "abcd", ""}));
    EXPECT_EQ(cap.lines[1].style_at(2), COL_RESULT);
}

TEST_F(Rimu, BreakEndsTheLineButNotTheParagraph) {
    put_lines("{pmore}\none{break}two\n\n");
    EXPECT_EQ(texts(), (V{"        one", "        two", ""}));
    cap.lines.clear();
    put("a{break}b\n");
    EXPECT_EQ(texts(), (V{"a", "b"}));
    cap.lines.clear();
    put("{res:{break}}\n");
    EXPECT_EQ(texts(), (V{"{break}"}));
}

TEST_F(Rimu, SpaceIsNonBreakingInParagraphs) {
    put("a{space 3}b\n");
    EXPECT_EQ(texts(), (V{"a   b"}));
    cap.lines.clear();
    s->width = 40;
    put_lines("{p}\n" + std::string(36, 'x') + " ab{space 1}cd\n\n");
    EXPECT_EQ(texts(), (V{std::string(36, 'x'), "ab cd", ""}));
    cap.lines.clear();
    put("{space 256}{space}\n");
    EXPECT_EQ(texts(), (V{"{space 256}{space}"}));
}

TEST_F(Rimu, JoinDirective) {
    put("a{...}\nb\nc\n");
    EXPECT_EQ(texts(), (V{"ab", "c"}));
    cap.lines.clear();
    put_lines("{p}\nx{...}\n\n");
    EXPECT_EQ(texts(), (V{"x{...}", ""}));
}

TEST_F(Rimu, TabsInLineAndParagraphMode) {
    put("ab{tab}c\td\n");
    EXPECT_EQ(texts(), (V{"ab      c       d"}));
    cap.lines.clear();
    put_lines("{p}\na\tb\n\n");
    EXPECT_EQ(texts(), (V{"a b", ""}));
}

// ---- rules and columns

TEST_F(Rimu, HlineForms) {
    put("{hline -5}\n");
    put("ab{hline 3}\n");
    put("{hline 0}x\n");
    s->width = 10;
    put("abc{hline}\n");
    EXPECT_EQ(texts(), (V{std::string(74, '-'), "ab---", "x", "abc-------"}));
    EXPECT_EQ(cap.lines[0].style_at(0), COL_TEXT | STY_LINEDRAW);
}

TEST_F(Rimu, HlineFailures) {
    put("{hline 1 2}{hline x}{hline 256}{hline -300}\n");
    EXPECT_EQ(texts(), (V{"{hline 1 2}{hline x}{hline 256}{hline -300}"}));
    cap.lines.clear();
    put_lines("{p}\na {hline 3}\n\n");
    EXPECT_EQ(texts(), (V{"a {hline 3}", ""}));
}

TEST_F(Rimu, RuleOfTheWholeWidthOnItsOwnLine) {
    s->width = 12;
    put("ab{.-}\ncd\n");
    EXPECT_EQ(texts(), (V{"ab", std::string(12, '-'), "cd"}));
}

TEST_F(Rimu, ColumnDirective) {
    put("0123456789{col 5}x\n");
    put("ab{col 5}x\n");
    put("{col 0}a{col 1}b\n");
    put("a{col -3}b\n");
    put("ab{col 8:.}x\n");
    put("{col 255}\n");
    EXPECT_EQ(texts(), (V{"0123456789x", "ab  x", "ab", "ab", "ab.....x", "{col 255}"}));
}

TEST_F(Rimu, ColumnIsIgnoredInParagraphs) {
    put_lines("{p}\na{col 20}b\n\n");
    EXPECT_EQ(texts(), (V{"ab", ""}));
}

// ---- alignment, centring, repetition

TEST_F(Rimu, RightAlignment) {
    s->width = 20;
    put("ab{right:xyz}\n");
    put(std::string(19, 'q') + "{right:xyz}\n");
    EXPECT_EQ(texts(),
              (V{"ab" + std::string(15, ' ') + "xyz", std::string(19, 'q'), std::string(17, ' ') + "xyz"}));
}

TEST_F(Rimu, FieldAlignment) {
    put("{lalign 6:ab}|{ralign 6:ab}|{lalign 2:abc}|{ralign 4:{bf:ab}}|\n");
    EXPECT_EQ(texts(), (V{"ab    |    ab|abc|  ab|"}));
    cap.lines.clear();
    put("{lalign:x}{lalign 255:x}{ralign 3}\n");
    EXPECT_EQ(texts(), (V{"{lalign:x}{lalign 255:x}{ralign 3}"}));
}

TEST_F(Rimu, Centring) {
    s->width = 20;
    put("{center:ab}\n{rcenter:abc}\n{center:abc}\n{centre 7:ab}|\n{rcentre 7:ab}|\n");
    EXPECT_EQ(texts(), (V{std::string(9, ' ') + "ab", std::string(9, ' ') + "abc",
                          std::string(8, ' ') + "abc", "  ab   |", "   ab  |"}));
}

TEST_F(Rimu, AlignmentOutsideLineModeJustSendsTheText) {
    put_lines("{p}\n{right:ab} {center 9:cd}\n\n");
    EXPECT_EQ(texts(), (V{"ab cd", ""}));
}

TEST_F(Rimu, Dup) {
    put("{dup 3:ab}|{dup 0:x}|{dup 2:{c -(}}\n");
    put("{dup x:y}{dup 3}\n");
    EXPECT_EQ(texts(), (V{"ababab||{{", "{dup x:y}{dup 3}"}));
}

TEST_F(Rimu, MeasureCountsRenderedText) {
    EXPECT_EQ(measure("abc"), 3);
    EXPECT_EQ(measure("{bf:abc}{c -(}"), 4);
    EXPECT_EQ(measure("{help regress:the regress command}"), 19);
    EXPECT_EQ(measure("{space 7}"), 7);
}

// ---- characters

TEST_F(Rimu, CharEscapesAndCodes) {
    put("{c -(}{c )-}{c 'g}{c S|}{c $|}{c 0x41}{char 66}{c 0x6a}\n");
    EXPECT_EQ(texts(), (V{"{}`$$ABj"}));
    cap.lines.clear();
    put("{c 0x4}{c 0x411}{c 256}{c zz}{c}{c a b}\n");
    EXPECT_EQ(texts(), (V{"{c 0x4}{c 0x411}{c 256}{c zz}{c}{c a b}"}));
}

TEST_F(Rimu, LineDrawingCharacters) {
    put("a{c |}{c -}{c +}{c TT}{c BT}{c LT}{c RT}{c BRC}{c BLC}{c TRC}{c TLC}\n");
    const Line &l = only();
    EXPECT_EQ(l.text, std::string("a|-+\x01\x02\x03\x04\x05\x06\x07\x08"));
    EXPECT_EQ(l.style_at(0), COL_TEXT);
    EXPECT_EQ(l.style_at(1), COL_TEXT | STY_LINEDRAW);
    EXPECT_EQ(l.style_at(11), COL_TEXT | STY_LINEDRAW);
}

TEST_F(Rimu, LatinLettersByCodePage) {
    put("{c e'}{c a'g}{c o^}{c N~}{c u:}{c ss}{c C,}{c O/}{c r?}{c L-}{c Y=}{c C=}\n");
    latin1_codepage = false;
    put("{c e'}{c a'g}{c o^}{c N~}{c u:}{c ss}{c C,}{c O/}{c r?}{c L-}{c Y=}{c C=}{c y'}\n");
    ASSERT_EQ(cap.lines.size(), 2u);
    auto codes = [](const std::string &t) {
        std::vector<int> v;
        for (unsigned char c : t)
            v.push_back(c);
        return v;
    };
    EXPECT_EQ(codes(cap.lines[0].text),
              (std::vector<int>{233, 224, 244, 209, 252, 223, 199, 216, 191, 163, 165, 128}));
    EXPECT_EQ(codes(cap.lines[1].text),
              (std::vector<int>{142, 136, 153, 132, 159, 167, 130, 175, 192, 163, 180, 219, 'y'}));
}

// ---- titles, values, marks

TEST_F(Rimu, TitleUnderlinedByARule) {
    put("  {title:Remarks}\nnext\n");
    EXPECT_EQ(texts(), (V{"  Remarks", "  -------", "next"}));
    EXPECT_EQ(cap.lines[0].style_at(2), COL_TEXT | FONT_BF);
    EXPECT_EQ(cap.lines[1].style_at(2), COL_TEXT | STY_LINEDRAW);
}

TEST_F(Rimu, TitleWithUnderlineSupport) {
    s->underlineResets = 1;
    put("{title:Remarks}\n{title:}x\n{title}\n");
    EXPECT_EQ(texts(), (V{"Remarks", "x", "{title}"}));
    EXPECT_EQ(cap.lines[0].style_at(0), COL_TEXT | FONT_BF | STY_UNDERLINE);
}

// Knows three names: a number, a text with braces (shown as they are) and a long text.
bool test_ccl(std::string_view name, std::string &text) {
    if (name == "n")
        text = "42";
    else if (name == "s")
        text = "a {b}";
    else if (name == "long")
        text = std::string(600, 'x');
    else
        return false;
    return true;
}

TEST_F(Rimu, CclAsksTheLookup) {
    put("[{ccl n}]\n"); // no lookup installed: the directive fails
    auto saved = ccl_lookup;
    ccl_lookup = test_ccl;
    put("[{ccl n}][{ccl s}]{ccl}{ccl n s}[{ccl bogus}]\n");
    put("{ccl long}\n");
    ccl_lookup = saved;
    ASSERT_GE(cap.lines.size(), 3u);
    EXPECT_EQ(cap.lines[0].text, "[{ccl n}]");
    EXPECT_EQ(cap.lines[1].text, "[42][a {b}]{ccl}{ccl n s}[{ccl bogus}]");
    // at most 499 characters of a value, shown on lines of the stream's width
    size_t shown = 0;
    for (size_t i = 2; i < cap.lines.size(); ++i)
        shown += std::count(cap.lines[i].text.begin(), cap.lines[i].text.end(), 'x');
    EXPECT_EQ(shown, 499u);
}

TEST_F(Rimu, MarkersGoToTheLine) {
    put("{marker top}a{newpage}{marker here}\n");
    const Line &l = only();
    EXPECT_EQ(l.text, "a");
    EXPECT_EQ(l.markers, (V{"top", "\f", "here"}));
    cap.lines.clear();
    put("{marker " + std::string(33, 'm') + "}\n");
    EXPECT_EQ(texts(), (V{"{marker " + std::string(33, 'm') + "}"}));
    cap.lines.clear();
    for (int i = 0; i < 4; ++i)
        put("{marker " + std::string(30, (char)('a' + i)) + "}");
    put("\n");
    EXPECT_EQ(only().markers.size(), 3u); // the fourth would pass 99 bytes
}

TEST_F(Rimu, MarkerBeforeAParagraphStaysWithItsFirstLine) {
    put_lines("{marker m1}{p}\ntext\n\n");
    ASSERT_EQ(cap.lines.size(), 2u);
    EXPECT_EQ(cap.lines[0].text, "text");
    EXPECT_EQ(cap.lines[0].markers, (V{"m1"}));
}

// ---- links

TEST_F(Rimu, LinkShowsItsTextInLinkColour) {
    put("see {help regress:the command} or {helpb logit} or {search ols regression:search}.\n");
    const Line &l = only();
    EXPECT_EQ(l.text, "see the command or logit or search.");
    ASSERT_EQ(l.links.size(), 3u);
    EXPECT_EQ(l.links[0].start, 4);
    EXPECT_EQ(l.links[0].end, 15);
    EXPECT_EQ(l.links[0].kind, 12);
    EXPECT_EQ(l.links[0].arg, "regress");
    EXPECT_EQ(l.style_at(4), COL_LINK);
    EXPECT_EQ(l.style_at(15), COL_TEXT);
    EXPECT_EQ(l.links[1].arg, "logit");
    EXPECT_EQ(l.style_at(19), COL_LINK | FONT_BF);
    EXPECT_EQ(l.style_at(24), COL_TEXT);
    EXPECT_EQ(l.links[2].kind, 14);
    EXPECT_EQ(l.links[2].arg, "ols regression");
}

TEST_F(Rimu, LinkKindsAndArgumentRules) {
    s->commandLinkKind = 30;
    put("{orvat \"display 1\":run}{kilncmd x=1:k}{browse u}{net from:n}{ado d}{update:u}{rnethelp t}"
        "{view f}{news:n}{adorm p}{back:b}{clearmore:m}{dialog reg}{ado_d:a}{cdialog:c}{net_d:e}"
        "{nfdialog:f}{sdialog:g}{update_d:h}{view_d:i}\n");
    const Line &l = only();
    std::vector<int> kinds;
    for (auto &k : l.links)
        kinds.push_back(k.kind);
    EXPECT_EQ(kinds,
              (std::vector<int>{30, 23, 9, 15, 16, 17, 18, 19, 20, 10, 11, 8, 25, 1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(l.links[0].arg, "display 1");
    EXPECT_EQ(l.links[3].arg, "from");
    cap.lines.clear();
    put("{news x:n}{back}{help}{clearmore x}\n");
    EXPECT_EQ(texts(), (V{"{news x:n}{back}{help}{clearmore x}"}));
}

TEST_F(Rimu, LinkInALinkFails) {
    put("{help a:x{help b:y}}\n");
    const Line &l = only();
    EXPECT_EQ(l.text, "x{help b:y}");
    ASSERT_EQ(l.links.size(), 1u);
    EXPECT_EQ(l.links[0].end, 11);
}

TEST_F(Rimu, LinkWithNothingShownHasNoEntry) {
    put("a{help x:{res}}b\n");
    const Line &l = only();
    EXPECT_EQ(l.text, "ab");
    EXPECT_TRUE(l.links.empty());
}

TEST_F(Rimu, LinkCutAtTheLineEndHasEntriesOnBothLines) {
    s->width = 40;
    put("{help regress:" + std::string(50, 'x') + "}y\n");
    ASSERT_EQ(cap.lines.size(), 2u);
    ASSERT_EQ(cap.lines[0].links.size(), 1u);
    ASSERT_EQ(cap.lines[1].links.size(), 1u);
    EXPECT_EQ(cap.lines[0].links[0].start, 0);
    EXPECT_EQ(cap.lines[0].links[0].end, 40);
    EXPECT_EQ(cap.lines[1].links[0].start, 2);
    EXPECT_EQ(cap.lines[1].links[0].end, 12);
    EXPECT_EQ(cap.lines[1].links[0].arg, "regress");
    EXPECT_EQ(cap.lines[1].text, "> " + std::string(10, 'x') + "y");
}

TEST_F(Rimu, LinkInAParagraphFollowsItsWords) {
    s->width = 40;
    put_lines("{p}\n" + std::string(30, 'a') + " see {help regress:the regress} now\n\n");
    ASSERT_EQ(cap.lines.size(), 3u);
    EXPECT_EQ(cap.lines[0].text, std::string(30, 'a') + " see the");
    EXPECT_EQ(cap.lines[1].text, "regress now");
    ASSERT_EQ(cap.lines[0].links.size(), 1u);
    EXPECT_EQ(cap.lines[0].links[0].start, 35);
    EXPECT_EQ(cap.lines[0].links[0].end, 38);
    ASSERT_EQ(cap.lines[1].links.size(), 1u);
    EXPECT_EQ(cap.lines[1].links[0].start, 0);
    EXPECT_EQ(cap.lines[1].links[0].end, 7);
    EXPECT_EQ(cap.lines[1].links[0].arg, "regress");
}

TEST_F(Rimu, LinkJoinedToAPendingWordMovesWithIt) {
    s->width = 40;
    put_lines("{p}\n" + std::string(34, 'a') + " ({help regress})\n\n");
    ASSERT_EQ(cap.lines.size(), 3u);
    EXPECT_EQ(cap.lines[0].text, std::string(34, 'a'));
    EXPECT_EQ(cap.lines[1].text, "(regress)");
    ASSERT_EQ(cap.lines[1].links.size(), 1u);
    EXPECT_EQ(cap.lines[1].links[0].start, 1);
    EXPECT_EQ(cap.lines[1].links[0].end, 8);
}

TEST_F(Rimu, MoreImageIsTheClearmoreLink) {
    Line l = read_image(more_image());
    EXPECT_EQ(l.text, "--more--");
    ASSERT_EQ(l.links.size(), 1u);
    EXPECT_EQ(l.links[0].kind, 8);
    EXPECT_EQ(l.links[0].start, 0);
    EXPECT_EQ(l.links[0].end, 8);
    EXPECT_EQ(l.style_at(0), COL_LINK | STY_LINEDRAW);
    EXPECT_EQ(l.style_at(2), COL_LINK);
}

// ---- help-writing shorthands

TEST_F(Rimu, OptionShorthands) {
    put("{opt level(#)} {opt no:constant} {opth vce(vcetype)} {opt x}\n");
    const Line &l = only();
    EXPECT_EQ(l.text, "level(#) noconstant vce(vcetype) x");
    EXPECT_EQ(l.style_at(0), COL_HILITE);
    EXPECT_EQ(l.style_at(5), COL_HILITE);
    EXPECT_EQ(l.style_at(6), COL_TEXT | FONT_IT);
    EXPECT_EQ(l.style_at(7), COL_HILITE);
    EXPECT_EQ(l.style_at(9), COL_HILITE);
    EXPECT_EQ(l.style_at(11), COL_TEXT); // no underline: the rest keeps the colour
    EXPECT_EQ(l.style_at(24), COL_LINK | FONT_IT);
    ASSERT_EQ(l.links.size(), 1u);
    EXPECT_EQ(l.links[0].arg, "vcetype");
}

TEST_F(Rimu, CmdabWithUnderlineSupport) {
    s->underlineResets = 1;
    put("{cmdab:no:constant}\n");
    const Line &l = only();
    EXPECT_EQ(l.text, "noconstant");
    EXPECT_EQ(l.style_at(0), COL_HILITE | STY_UNDERLINE);
    EXPECT_EQ(l.style_at(2), COL_HILITE);
}

TEST_F(Rimu, VariableAndSyntaxShorthands) {
    put("{var} {varlist:1} {newvar} {depvar} {depvarlist} {indepvars} {weight} {ifin} {dtype}\n");
    const Line &l = only();
    EXPECT_EQ(l.text, "varname varlist1 newvar depvar depvarlist indepvars [weight] [if] [in] [type]");
    EXPECT_EQ(l.style_at(0), COL_LINK | FONT_IT);
    ASSERT_EQ(l.links.size(), 10u);
    EXPECT_EQ(l.links[1].arg, "varlist");
    EXPECT_EQ(l.links[9].arg, "datatypes");
    cap.lines.clear();
    put("{var x}\n");
    EXPECT_EQ(texts(), (V{"{var x}"}));
}

TEST_F(Rimu, ManualReferences) {
    put("{manhelp regress R} {manhelpi x R}\n");
    const Line &l = only();
    EXPECT_EQ(l.text, "[R] regress [R] x");
    EXPECT_EQ(l.style_at(0), COL_LINK | FONT_BF);
    EXPECT_EQ(l.style_at(16), COL_LINK | FONT_IT);
    ASSERT_EQ(l.links.size(), 2u);
    EXPECT_EQ(l.links[0].arg, "regress");
}

TEST_F(Rimu, TwoColumnRows) {
    put_lines("{p2colset 2 12 14 2}{...}\n{p2col:{opt abc}}the description{p_end}\n"
              "{p2col:{opt abcdefghijk}}desc{p_end}\n");
    EXPECT_EQ(texts(), (V{"  abc       the description", "  abcdefghijk", std::string(14, ' ') + "desc"}));
}

TEST_F(Rimu, TwoColumnFirstTextIsOneUnitAndMayHoldARule) {
    put_lines("{p2colset 5 18 20 2}{...}\n{p2col :{hi:regress} {hline 2}}Linear regression{p_end}\n");
    const Line &l = only();
    EXPECT_EQ(l.text, "     regress --   Linear regression");
    EXPECT_EQ(l.style_at(5), COL_HILITE);
    EXPECT_EQ(l.style_at(13), COL_TEXT | STY_LINEDRAW);
    EXPECT_EQ(l.style_at(18), COL_TEXT);
    cap.lines.clear();
    s->width = 40;
    put_lines("{p2col 2 10 12 0:a b}" + std::string(28, 'x') + " yyyy zzzz{p_end}\n");
    EXPECT_EQ(texts(), (V{"  a b     " + std::string(28, 'x'), "            yyyy zzzz"}));
    cap.lines.clear();
    s->width = 30; // the continuation indent is lowered to the width less 20
    put_lines("{p2col 2 10 12 0:a b}" + std::string(20, 'x') + " yyyy zzzz{p_end}\n");
    EXPECT_EQ(texts(), (V{"  a b     " + std::string(20, 'x'), "          yyyy zzzz"}));
}

TEST_F(Rimu, TwoColumnDefaultsAndRules) {
    put("{p2colreset}{p2line}\n");
    EXPECT_EQ(texts(), (V{" " + std::string(28, '-') + "  " + std::string(46, '-')}));
    cap.lines.clear();
    put("{p2colset 1 2 3 -4}{p2colset 300}{p2colset 1 2 3 4 5}\n");
    EXPECT_EQ(texts(), (V{"{p2colset 300}{p2colset 1 2 3 4 5}"}));
}

TEST_F(Rimu, OptionTable) {
    put_lines("{synoptset 10}{...}\n{synopthdr}\n{synoptline}\n{synopt:{opt ab}}does x{p_end}\n");
    EXPECT_EQ(texts(),
              (V{"   options     description", "  " + std::string(75, '-'), "   ab          does x"}));
    cap.lines.clear();
    put("{synoptset 10 bogus}\n");
    EXPECT_EQ(texts(), (V{"{synoptset 10 bogus}"}));
}

TEST_F(Rimu, DialogTab) {
    s->width = 20;
    put("{dlgtab:Main}\n");
    EXPECT_EQ(texts(), (V{"    \x08------\x07", "----\x05 Main \x06--------"}));
}

// ---- the pager

TEST_F(Rimu, PagerKeys) {
    s->pageLength = 3;
    cap.keys = {'l', ' ', 'q'};
    for (int i = 1; i <= 10; ++i)
        put(std::to_string(i) + "\n");
    EXPECT_EQ(cap.events, (V{"L:1", "L:2", "L:3", "MORE", "L:4", "MORE", "L:5", "L:6", "L:7", "MORE", "L:8",
                             "L:9", "L:10", "MORE"}));
    EXPECT_EQ(session::poll_break(), 1);
}

TEST_F(Rimu, PagerBreakKeyAndReturn) {
    s->pageLength = 2;
    cap.keys = {'\r', 3};
    for (int i = 1; i <= 4; ++i)
        put(std::to_string(i) + "\n");
    EXPECT_EQ(cap.events, (V{"L:1", "L:2", "MORE", "L:3", "MORE", "L:4"}));
    EXPECT_EQ(session::poll_break(), 1);
    EXPECT_EQ(s->linesShown, 1);
}

TEST_F(Rimu, PagerCountsContinuationLines) {
    s->pageLength = 2;
    s->width = 40;
    put(std::string(100, 'x') + "\n");
    EXPECT_EQ(cap.events, (V{"L:" + std::string(40, 'x'), "L:> " + std::string(38, 'x'), "MORE",
                             "L:> " + std::string(22, 'x')}));
}

TEST_F(Rimu, PagerOffWhenSwitchedOff) {
    s->pageLength = 2;
    more_switch = false;
    for (int i = 1; i <= 5; ++i)
        put("x\n");
    s->moreEnabled = 0;
    more_switch = true;
    for (int i = 1; i <= 5; ++i)
        put("y\n");
    EXPECT_EQ(std::count(cap.events.begin(), cap.events.end(), "MORE"), 0);
    EXPECT_EQ(cap.lines.size(), 10u);
}

// ---- colour tags from the channel, literal text

TEST_F(Rimu, ColourTagOnlyWhenNeeded) {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    ASSERT_EQ(stream_add_log(s, fds[1], true), 0);
    stream_set_colour(s, COL_TEXT);
    stream_set_colour(s, COL_RESULT);
    stream_put_literal(s, "a{b}\n");
    stream_set_colour(s, COL_RESULT);
    stream_set_colour(s, COL_ERROR);
    stream_put_literal(s, "c\n");
    stream_flush_logs(s);
    close(fds[1]);
    char buf[256];
    ssize_t n = read(fds[0], buf, sizeof buf);
    close(fds[0]);
    ASSERT_GT(n, 0);
    EXPECT_EQ(std::string(buf, n), "{res}a{c -(}b{c )-}\n{err}c\n");
    EXPECT_EQ(texts(), (V{"a{b}", "c"}));
    EXPECT_EQ(cap.lines[1].style_at(0), COL_ERROR);
    stream_remove_log(s, fds[1]);
}

TEST_F(Rimu, NoColourTagInAsisMode) {
    put("{asis}\n");
    stream_set_colour(s, COL_ERROR);
    stream_put_literal(s, "{x}\n");
    EXPECT_EQ(texts(), (V{"{x}"}));
    EXPECT_EQ(cap.lines[0].style_at(0), COL_TEXT);
}

TEST_F(Rimu, DiscardingDropsEverything) {
    s->discarding = 1;
    put("a\n");
    stream_put_literal(s, "b\n");
    s->discarding = 0;
    put("c\n");
    EXPECT_EQ(texts(), (V{"c"}));
}

// ---- logs

std::string read_file(int fd) {
    std::string r;
    char buf[4096];
    lseek(fd, 0, SEEK_SET);
    ssize_t n;
    while ((n = read(fd, buf, sizeof buf)) > 0)
        r.append(buf, n);
    return r;
}

int temp_fd() {
    char name[] = "/tmp/rimu_testXXXXXX";
    int fd = mkstemp(name);
    unlink(name);
    return fd;
}

TEST_F(Rimu, TextLogGetsFinishedLinesWithLineDrawingReplaced) {
    int fd = temp_fd();
    ASSERT_GE(fd, 0);
    ASSERT_EQ(stream_add_log(s, fd, false), 0);
    put("{c TLC}{hline 2}{c TT}{c TRC}\n{c LT}{c |}{c RT} x\n{c BLC}{c BT}{c +}{c BRC}\n");
    s->width = 40;
    put_lines("{p}\n" + std::string(36, 'x') + " {bind:ab cd}\n\n");
    put(std::string(45, 'y') + "\n");
    put("partial");
    stream_flush(s);
    EXPECT_EQ(read_file(fd), "+---+\n||| x\n+-++\n" + std::string(36, 'x') + "\nab cd\n\n" +
                                 std::string(40, 'y') + "\n> yyyyy\n");
    stream_remove_log(s, fd);
    close(fd);
}

TEST_F(Rimu, RimuLogGetsTheRawMarkup) {
    int fd = temp_fd();
    ASSERT_GE(fd, 0);
    ASSERT_EQ(stream_add_log(s, fd, true), 0);
    put("{hline}\n");
    put("{res}x");
    stream_put_literal(s, "}");
    stream_flush_logs(s);
    EXPECT_EQ(read_file(fd), "{hline}\n{res}x{c )-}");
    EXPECT_EQ(texts(), (V{std::string(79, '-')}));
    stream_remove_log(s, fd);
    close(fd);
}

TEST_F(Rimu, LogBufferHoldsTextUntilFull) {
    int fd = temp_fd();
    ASSERT_EQ(stream_add_log(s, fd, true), 0);
    put("abc");
    EXPECT_EQ(read_file(fd), "");
    std::string big(600, 'z');
    put(big);
    EXPECT_EQ(read_file(fd), "abc" + big);
    stream_remove_log(s, fd);
    close(fd);
}

TEST_F(Rimu, LogSetsHoldFiveAndRefuseWhenLocked) {
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(stream_add_log(s, 100 + i, false), 0);
    EXPECT_NE(stream_add_log(s, 105, false), 0);
    for (int i = 0; i < 5; ++i)
        stream_remove_log(s, 100 + i);
    EXPECT_EQ(s->textLogs.count, 0);
    s->locked = 1;
    EXPECT_NE(stream_add_log(s, 3, true), 0);
    s->locked = 0;
}

TEST_F(Rimu, FailedWriteMarksTheLogBadSilently) {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    int good = temp_fd();
    close(fds[0]);
    close(fds[1]); // writes to this descriptor fail
    ASSERT_EQ(stream_add_log(s, fds[1], false), 0);
    ASSERT_EQ(stream_add_log(s, good, false), 0);
    put("one\n");
    stream_flush_logs(s);
    EXPECT_EQ(s->textLogs.ok[0], 0);
    EXPECT_EQ(s->textLogs.ok[1], 1);
    put("two\n");
    stream_flush_logs(s);
    EXPECT_EQ(read_file(good), "one\ntwo\n");
    stream_remove_log(s, fds[1]);
    stream_remove_log(s, good);
    close(good);
}

// ---- flush and free

TEST_F(Rimu, FlushShowsThePartialLine) {
    put("abc");
    stream_flush(s);
    put("def\n");
    EXPECT_EQ(cap.partials, (V{"abc"}));
    EXPECT_EQ(texts(), (V{"abcdef"}));
    EXPECT_EQ(cap.flushes, 1);
}

TEST(RimuStream, FreeCallsFlushAndDestroy) {
    Capture c;
    RimuStream *s = stream_new();
    stream_set_sink(s, capture_sink, &c);
    stream_free(s);
    EXPECT_EQ(c.flushes, 1);
    EXPECT_EQ(c.destroys, 1);
}

} // namespace

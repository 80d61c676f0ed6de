// `set conren`: the sequences the console sends for each colour, font and underline.
#include "output/conren.h"

#include <string>

#include "output/channel.h"
#include "output/term.h"
#include "session/errors.h"
#include "session/tok.h"

namespace out {

int conren_parse_bytes(std::string_view words, ConSeq &seq) {
    seq = ConSeq{};
    size_t i = 0;
    auto put = [&seq](unsigned v) {
        if (seq.len >= CONREN_MAX) return false;
        seq.b[seq.len++] = (char)v;
        return true;
    };
    while (i < words.size()) {
        if (words[i] == ' ') {
            ++i;
            continue;
        }
        size_t j = i;
        while (j < words.size() && words[j] != ' ')
            ++j;
        std::string_view w = words.substr(i, j - i);
        i = j;
        if (w.size() > 1 && w[0] == '<') {
            // <number>: digits, a closing '>', and nothing after it.
            if (w.back() != '>' || w.size() < 3) return 198;
            unsigned v = 0;
            for (size_t k = 1; k + 1 < w.size(); ++k) {
                if (w[k] < '0' || w[k] > '9') return 198;
                v = v * 10 + (unsigned)(w[k] - '0');
                if (v > 255) return 198;
            }
            if (!put(v)) return 198;
            continue;
        }
        for (char c : w)
            if (!put((unsigned char)c)) return 198;
    }
    return 0;
}

namespace {

struct ColourWord {
    const char *name;
    int minlen; // 0: the word in full only
    int colour;
};

// Colour words and their shortest forms, in the order the listing shows them.
constexpr ColourWord colour_words[] = {
    {"text", 4, COL_TEXT},   {"result", 3, COL_RESULT}, {"link", 2, COL_LINK}, {"hilite", 2, COL_HILITE},
    {"input", 3, COL_INPUT}, {"error", 3, COL_ERROR},   {"blue", 2, COL_BLUE},
};
// Other names of colours.
constexpr ColourWord colour_aliases[] = {
    {"txt", 0, COL_TEXT},
    {"rt", 0, COL_RESULT},
    {"et", 0, COL_ERROR},
    {"ct", 0, COL_INPUT},
};
constexpr const char *font_words[3] = {"sf", "it", "bf"};

int find_colour(const std::string &w) {
    for (const ColourWord &c : colour_words)
        if (session::cmdmatch(w.c_str(), c.name, c.minlen)) return c.colour;
    for (const ColourWord &c : colour_aliases)
        if (w == c.name) return c.colour;
    return 0;
}

int find_font(const std::string &w) {
    for (int f = 0; f < 3; ++f)
        if (w == font_words[f]) return f;
    return -1;
}

std::string shown_bytes(const ConSeq &s) {
    std::string r;
    for (int i = 0; i < s.len; ++i) {
        unsigned char c = (unsigned char)s.b[i];
        if (c >= 32 && c < 127) {
            r += (char)c;
            r += ' ';
        } else {
            r += '<' + std::to_string(c) + '>';
        }
    }
    return r;
}

void list_row(const std::string &name, const ConSeq &s) {
    out_rimu("{txt}{col 5}");
    out_text(name);
    out_rimu("{col 24}");
    out_text(shown_bytes(s));
    out_newline();
}

int conren_list() {
    ClassScope cs(CLS_TEXT);
    for (int f = 0; f < 3; ++f)
        for (const ColourWord &c : colour_words)
            list_row(std::string(font_words[f]) + " " + c.name, conren.tab[f * 7 + c.colour - 1]);
    list_row("uloff", conren.uloff);
    list_row("ulon", conren.ulon);
    list_row("reset", conren.reset);
    out_rimu("{txt}{p}\n");
    out_rimu("See help {help conren} for information ");
    return out_rimu("on the -{cmd:set conren}- command.\n");
}

} // namespace

int set_conren(int) {
    std::string w = session::gettok(session::SEP_STD);
    if (w.empty()) return conren_list();
    if (session::cmdmatch(w.c_str(), "clear", 5)) {
        if (*session::gettok(session::SEP_STD)) return session::error(198);
        conren_defaults(false);
        return 0;
    }
    int font = find_font(w);
    if (font >= 0) w = session::gettok(session::SEP_STD);
    if (w == "off") return 0;
    ConSeq *single = w == "uloff"   ? &conren.uloff
                     : w == "ulon"  ? &conren.ulon
                     : w == "reset" ? &conren.reset
                                    : nullptr;
    int colour = single ? 0 : find_colour(w);
    if (!single && !colour) return session::error(198);
    ConSeq seq;
    if (conren_parse_bytes(session::tokrest(), seq)) return session::error(198);
    if (single) {
        *single = seq;
        update_underline_resets();
    } else if (font >= 0) {
        conren.tab[font * 7 + colour - 1] = seq;
    } else {
        for (int f = 0; f < 3; ++f)
            conren.tab[f * 7 + colour - 1] = seq;
    }
    // The next style change sends the new sequences.
    con.last_style = -1;
    return 0;
}

} // namespace out

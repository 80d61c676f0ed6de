// The readers behind infile and infix. Everything here works on text in memory and writes its own
// failures; nothing reads or changes the dataset.
#include "data/infile_read.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>

#include "data/fmt.h"
#include "data/types.h"
#include "session/errors.h"
#include "session/state.h"

namespace data {

namespace {

constexpr int MAX_COLUMN = 1000000; // columns and widths a layout may name
constexpr int MAX_LINES = 100000;   // lines of one observation
constexpr size_t MAX_NOTES = 10;

bool blank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

// A cursor over one line of a dictionary.
struct Cursor {
    std::string_view s;
    size_t i = 0;
    void skip_blanks() {
        while (i < s.size() && blank(s[i]))
            ++i;
    }
    bool done() {
        skip_blanks();
        return i >= s.size();
    }
    // A word: up to a blank, a parenthesis, a quote or a colon.
    std::string_view word() {
        skip_blanks();
        const size_t b = i;
        while (i < s.size() && !blank(s[i]) && s[i] != '(' && s[i] != '"' && s[i] != ':' && s[i] != '{')
            ++i;
        return s.substr(b, i - b);
    }
};

bool small_int(std::string_view t, int lo, int hi, int *out) {
    if (t.empty() || t.size() > 9) return false;
    int v = 0;
    for (char c : t) {
        if (c < '0' || c > '9') return false;
        v = v * 10 + (c - '0');
    }
    if (v < lo || v > hi) return false;
    *out = v;
    return true;
}

int dict_fail(int line, std::string_view what) {
    return session::fail(614, "line " + std::to_string(line) + " of dictionary: " + std::string(what) +
                                  "\ndictionary invalid\n");
}

// `(#)` behind a directive; optional ones may be left out (then *out is untouched).
bool paren_int(Cursor &c, int lo, int hi, int *out, bool optional) {
    c.skip_blanks();
    if (c.i >= c.s.size() || c.s[c.i] != '(') return optional;
    const size_t close = c.s.find(')', c.i);
    if (close == std::string_view::npos) return false;
    std::string_view t = c.s.substr(c.i + 1, close - c.i - 1);
    while (!t.empty() && blank(t.front()))
        t.remove_prefix(1);
    while (!t.empty() && blank(t.back()))
        t.remove_suffix(1);
    c.i = close + 1;
    return small_int(t, lo, hi, out);
}

// An input format: %#[.#]f (numbers; also g and e) or %#s. False when t is not one.
bool input_format(std::string_view t, bool is_string, InField &f) {
    if (t.size() < 3 || t[0] != '%') return false;
    const char kind = t.back();
    t = t.substr(1, t.size() - 2);
    const size_t dot = t.find('.');
    int w = 0, d = -1;
    if (!small_int(t.substr(0, dot), 1, MAX_COLUMN, &w)) return false;
    if (dot != std::string_view::npos && !small_int(t.substr(dot + 1), 0, 30, &d)) return false;
    if (kind == 's') {
        if (!is_string || d >= 0) return false;
    } else if (kind == 'f' || kind == 'g' || kind == 'e') {
        if (is_string) return false;
    } else {
        return false;
    }
    f.width = w;
    f.decimals = d;
    return true;
}

// A string type word or a numeric one; 0 when the word is none.
int type_word(std::string_view w) {
    if (w == "byte") return T_BYTE;
    if (w == "int") return T_INT;
    if (w == "long") return T_LONG;
    if (w == "float") return T_FLOAT;
    if (w == "double") return T_DOUBLE;
    int n;
    if (w.size() > 3 && w.substr(0, 3) == "str" && small_int(w.substr(3), 1, maxstrvarlen, &n)) return n;
    return 0;
}

bool valid_name(std::string_view w) {
    if (w.empty() || w.size() > 32) return false;
    if (!(std::isalpha((unsigned char)w[0]) || w[0] == '_')) return false;
    for (char c : w)
        if (!(std::isalnum((unsigned char)c) || c == '_')) return false;
    return true;
}

// `[#:] [type] name col[-col]` and `# lines`, from c until it is used up. Line numbers of the
// observation go to lay; err gets what went wrong.
bool infix_items(Cursor &c, InLayout &lay, int &line, std::string &err) {
    int type = 0;
    while (!c.done()) {
        const size_t at = c.i;
        std::string_view w = c.word();
        if (w.empty()) {
            err = "'" + std::string(c.s.substr(c.i, 1)) + "' invalid";
            return false;
        }
        int n;
        if (small_int(w, 1, MAX_LINES, &n)) {
            c.skip_blanks();
            if (c.i < c.s.size() && c.s[c.i] == ':') {
                ++c.i;
                line = n;
                if (line > lay.lines) lay.lines = line;
                continue;
            }
            const size_t save = c.i;
            if (c.word() == "lines") {
                lay.lines = std::max(lay.lines, n);
                continue;
            }
            c.i = save;
            err = "'" + std::string(w) + "' invalid";
            return false;
        }
        // `str` alone: a string as wide as its columns.
        if (const int t = w == "str" ? -1 : type_word(w); t && !type) {
            type = t;
            continue;
        }
        if (!valid_name(w)) {
            err = std::string(w) + " invalid name";
            return false;
        }
        InField f;
        f.name = w;
        f.type = type;
        f.line = line;
        type = 0;
        c.skip_blanks();
        const size_t b = c.i;
        while (c.i < c.s.size() && !blank(c.s[c.i]))
            ++c.i;
        const std::string_view range = c.s.substr(b, c.i - b);
        const size_t dash = range.find('-');
        int from, to;
        if (dash == std::string_view::npos) {
            if (!small_int(range, 1, MAX_COLUMN, &from)) {
                err = "column range of " + f.name + " invalid";
                return false;
            }
            to = from;
        } else if (!small_int(range.substr(0, dash), 1, MAX_COLUMN, &from) ||
                   !small_int(range.substr(dash + 1), 1, MAX_COLUMN, &to) || to < from) {
            err = "column range of " + f.name + " invalid";
            return false;
        }
        f.col = from;
        f.width = to - from + 1;
        if (f.type < 0) f.type = std::min(f.width, maxstrvarlen);
        lay.fields.push_back(f);
        (void)at;
    }
    if (type) {
        err = "type not followed by a variable name";
        return false;
    }
    return true;
}

// One line of an infile dictionary's body.
bool dict_item(Cursor &c, InLayout &lay, int &line, int &col, int &pending, std::string &err) {
    int type = 0;
    while (!c.done()) {
        std::string_view w = c.word();
        if (w.empty()) {
            err = "'" + std::string(c.s.substr(c.i)) + "' invalid";
            return false;
        }
        if (w[0] == '_') {
            int n = 1;
            bool ok;
            if (w == "_column" || w == "_col") {
                ok = paren_int(c, 1, MAX_COLUMN, &n, false);
                col = n;
                pending = 0;
            } else if (w == "_skip") {
                ok = paren_int(c, 0, MAX_COLUMN, &n, true);
                // Behind a free field the column is known only when reading: the skip is left to it.
                if (col > 0)
                    col = std::min(col + n, 2 * MAX_COLUMN);
                else
                    pending = std::min(pending + n, 2 * MAX_COLUMN);
            } else if (w == "_line") {
                ok = paren_int(c, 1, MAX_LINES, &n, false);
                line = n;
                col = 1;
                pending = 0;
            } else if (w == "_newline") {
                ok = paren_int(c, 0, MAX_LINES, &n, true);
                line += n;
                col = 1;
                pending = 0;
            } else if (w == "_lines") {
                ok = paren_int(c, 1, MAX_LINES, &n, false);
                lay.lines = std::max(lay.lines, n);
            } else if (w == "_firstlineoffile" || w == "_first") {
                ok = paren_int(c, 1, 1000000000, &n, false);
                lay.first_line = n;
            } else {
                err = "unknown directive " + std::string(w);
                return false;
            }
            if (!ok) {
                err = std::string(w) + "() invalid";
                return false;
            }
            if (line > MAX_LINES) {
                err = "too many lines";
                return false;
            }
            lay.lines = std::max(lay.lines, line);
            continue;
        }
        if (const int t = type_word(w); t && !type) {
            type = t;
            continue;
        }
        if (!valid_name(w)) {
            err = std::string(w) + " invalid name";
            return false;
        }
        InField f;
        f.name = w;
        f.type = type;
        f.line = line;
        f.col = col;
        f.pre = col > 0 ? 0 : pending;
        pending = 0;
        // [:lblname] [%infmt] ["label"]
        c.skip_blanks();
        if (c.i < c.s.size() && c.s[c.i] == ':') {
            ++c.i;
            f.vallab = c.word();
            if (!valid_name(f.vallab) || is_string_type(type)) {
                err = "value label name of " + f.name + " invalid";
                return false;
            }
        }
        c.skip_blanks();
        if (c.i < c.s.size() && c.s[c.i] == '%') {
            const std::string_view fw = c.word();
            if (!input_format(fw, type >= 1 && type <= maxstrvarlen, f)) {
                err = std::string(fw) + " invalid input format for " + f.name;
                return false;
            }
        }
        c.skip_blanks();
        if (c.i < c.s.size() && c.s[c.i] == '"') {
            const size_t close = c.s.find('"', c.i + 1);
            if (close == std::string_view::npos) {
                err = "unmatched quote";
                return false;
            }
            f.label = c.s.substr(c.i + 1, close - c.i - 1);
            if (f.label.size() > 80) f.label.resize(80);
            c.i = close + 1;
        }
        if (!c.done()) {
            err = "'" + std::string(c.s.substr(c.i)) + "' invalid";
            return false;
        }
        // A fixed field moves the column past itself; a free one leaves the column to the reader.
        col = f.width && col > 0 ? std::min(col + f.width, 2 * MAX_COLUMN) : 0;
        lay.fields.push_back(f);
        return true;
    }
    if (type) {
        err = "type not followed by a variable name";
        return false;
    }
    return true;
}

// Lines of text, carriage returns before the line feed dropped.
struct Lines {
    std::string_view s;
    size_t pos = 0;
    bool next(std::string_view &line) {
        if (pos >= s.size()) return false;
        const size_t nl = s.find('\n', pos);
        const size_t end = nl == std::string_view::npos ? s.size() : nl;
        line = s.substr(pos, end - pos);
        pos = nl == std::string_view::npos ? s.size() : nl + 1;
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        return true;
    }
};

std::string_view trim(std::string_view t) {
    while (!t.empty() && (blank(t.front()) || t.front() == '\n'))
        t.remove_prefix(1);
    while (!t.empty() && (blank(t.back()) || t.back() == '\n'))
        t.remove_suffix(1);
    return t;
}

// The next value of a free list at s[i]: blanks and line ends separate values, and one comma ends a
// value, so that two commas in a row hold an empty value. False at the end of the text.
bool free_value(std::string_view s, size_t &i, std::string &out, bool &quoted) {
    out.clear();
    quoted = false;
    while (i < s.size() && (blank(s[i]) || s[i] == '\n'))
        ++i;
    if (i >= s.size()) return false;
    if (s[i] == ',') {
        ++i;
        return true;
    }
    if (s[i] == '"' || s[i] == '\'') {
        const char q = s[i];
        const size_t close = s.find(q, i + 1);
        const size_t end = close == std::string_view::npos ? s.size() : close;
        out.assign(s.substr(i + 1, end - i - 1));
        i = close == std::string_view::npos ? s.size() : close + 1;
        quoted = true;
    } else {
        const size_t b = i;
        while (i < s.size() && !blank(s[i]) && s[i] != '\n' && s[i] != ',')
            ++i;
        out.assign(s.substr(b, i - b));
    }
    // Blanks, then one comma, belong to this value.
    size_t j = i;
    while (j < s.size() && blank(s[j]))
        ++j;
    if (j < s.size() && s[j] == ',') i = j + 1;
    return true;
}

// A free value inside one line from column col (from 1); col goes behind it.
std::string_view line_value(std::string_view line, int &col, bool &quoted) {
    quoted = false;
    size_t i = col > 0 ? (size_t)col - 1 : 0;
    while (i < line.size() && blank(line[i]))
        ++i;
    if (i >= line.size()) {
        col = (int)std::min<size_t>(line.size() + 1, MAX_COLUMN);
        return {};
    }
    size_t b = i, e;
    if (line[i] == '"') {
        const size_t close = line.find('"', i + 1);
        quoted = true;
        b = i + 1;
        e = close == std::string_view::npos ? line.size() : close;
        i = close == std::string_view::npos ? line.size() : close + 1;
    } else {
        while (i < line.size() && !blank(line[i]))
            ++i;
        e = i;
    }
    col = (int)std::min<size_t>(i + 1, MAX_COLUMN);
    return line.substr(b, e - b);
}

struct Store {
    const InLayout &lay;
    InResult &res;
    int64_t line_no = 0; // line of the data the observation began on, for messages
};

int put_value(Store &st, size_t k, const InField &f, std::string_view text, bool quoted) {
    InColumn &col = st.res.cols[k];
    const int t = in_type(f);
    if (is_string_type(t)) {
        std::string s(text);
        if (s.size() > (size_t)t) {
            s.resize((size_t)t);
            ++st.res.truncated;
        }
        col.str.push_back(std::move(s));
        return 0;
    }
    const std::string_view tx = quoted ? text : trim(text);
    double v = missing_value(0);
    if (!tx.empty()) {
        std::string num(tx);
        if (num[0] == '+') num.erase(0, 1);
        if (!text_to_number(num, v, true) || num.empty()) {
            v = missing_value(0);
            ++st.res.bad_numbers;
            if (st.res.notes.size() < MAX_NOTES)
                st.res.notes.push_back("'" + std::string(tx) + "' cannot be read as a number for " + f.name +
                                       "[" + std::to_string(st.res.nobs + 1) + "]");
        } else if (f.decimals > 0 && num.find_first_of(".eEdD") == std::string::npos && !is_missing(v)) {
            v /= std::pow(10.0, f.decimals);
        }
    }
    if (!is_missing(v)) {
        bool fits = true;
        if (t == T_FLOAT)
            fits = std::fabs(v) <= 1.7014117331926443e38;
        else if (t != T_DOUBLE)
            fits = v >= type_row(t).lo && v < type_row(t).hi + 1.0;
        if (!fits) {
            char tn[16];
            return session::fail(198, "value " + std::string(tx) + " in line " + std::to_string(st.line_no) +
                                          " does not fit " + type_name(t, tn) + " variable " + f.name + "\n");
        }
    }
    col.num.push_back(v);
    return 0;
}

void put_missing(Store &st, size_t k, const InField &f) {
    if (is_string_type(in_type(f)))
        st.res.cols[k].str.emplace_back();
    else
        st.res.cols[k].num.push_back(missing_value(0));
}

int read_free(std::string_view data, Store &st) {
    size_t i = 0;
    std::string v;
    bool quoted = false;
    const auto &fields = st.lay.fields;
    size_t counted = 0;
    st.line_no = 1;
    for (;;) {
        if ((st.res.nobs & 4095) == 0 && session::poll_break()) return 1;
        size_t k = 0, named = 0;
        bool any = false;
        // The line of an observation is that of its first value.
        while (i < data.size() && (blank(data[i]) || data[i] == '\n'))
            ++i;
        st.line_no += (int64_t)std::count(data.begin() + (long)counted, data.begin() + (long)i, '\n');
        counted = i;
        for (; k < fields.size(); ++k) {
            const InField &f = fields[k];
            if (f.name.empty()) {
                for (int s = 0; s < f.skip; ++s)
                    if (free_value(data, i, v, quoted)) any = true;
                continue;
            }
            if (!free_value(data, i, v, quoted)) break;
            any = true;
            if (int rc = put_value(st, named, f, v, quoted)) return rc;
            ++named;
        }
        if (!any) break;
        // A last observation cut short is kept, its missing values filled in.
        for (; k < fields.size(); ++k)
            if (!fields[k].name.empty()) put_missing(st, named++, fields[k]);
        ++st.res.nobs;
        if (k < fields.size() || i >= data.size()) break;
    }
    return 0;
}

int read_fixed(std::string_view data, Store &st) {
    Lines ls{data};
    std::string_view line;
    for (int64_t n = 1; n < st.lay.first_line; ++n)
        if (!ls.next(line)) return 0;
    std::vector<std::string_view> obs((size_t)st.lay.lines);
    int64_t line_no = st.lay.first_line;
    for (;;) {
        if ((st.res.nobs & 4095) == 0 && session::poll_break()) return 1;
        int got = 0;
        for (auto &l : obs) {
            l = {};
            if (ls.next(l)) ++got;
        }
        if (got == 0) break;
        st.line_no = line_no;
        line_no += got;
        size_t named = 0;
        int col = 1, cur_line = 1;
        for (const InField &f : st.lay.fields) {
            if (f.line != cur_line) {
                cur_line = f.line;
                col = 1;
            }
            if (f.col > 0)
                col = f.col;
            else
                col = std::min(col + f.pre, 2 * MAX_COLUMN);
            const std::string_view l = obs[(size_t)f.line - 1];
            std::string_view text;
            bool quoted = false;
            if (f.width > 0) {
                const size_t b = std::min<size_t>((size_t)col - 1, l.size());
                text = l.substr(b, std::min<size_t>((size_t)f.width, l.size() - b));
                if (is_string_type(in_type(f))) text = trim(text);
                col = std::min(col + f.width, 2 * MAX_COLUMN);
            } else {
                text = line_value(l, col, quoted);
            }
            if (f.name.empty()) continue;
            if (int rc = put_value(st, named, f, text, quoted)) return rc;
            ++named;
        }
        ++st.res.nobs;
        if (got < st.lay.lines) break;
    }
    return 0;
}

} // namespace

int in_type(const InField &f) { return f.type ? f.type : T_FLOAT; }

int parse_dictionary(std::string_view text, bool infix, InLayout &lay) {
    lay = InLayout{};
    lay.fixed = true;
    Lines ls{text};
    std::string_view line;
    int line_no = 0;
    // The head: [infile|infix] dictionary [using filename] {
    bool open = false;
    while (!open) {
        if (!ls.next(line)) return session::error(613);
        ++line_no;
        Cursor c{line};
        if (c.done() || c.s[c.i] == '*') continue;
        std::string_view w = c.word();
        if (w == "infile" || w == "infix") {
            if ((w == "infix") != infix) return session::error(613);
            w = c.word();
        }
        if (w != "dictionary") return session::error(613);
        c.skip_blanks();
        if (c.i < c.s.size() && c.s.substr(c.i, 5) == "using") {
            c.i += 5;
            c.skip_blanks();
            size_t b = c.i, e;
            if (c.i < c.s.size() && c.s[c.i] == '"') {
                const size_t close = c.s.find('"', c.i + 1);
                if (close == std::string_view::npos) return dict_fail(line_no, "unmatched quote");
                b = c.i + 1;
                e = close;
                c.i = close + 1;
            } else {
                while (c.i < c.s.size() && !blank(c.s[c.i]) && c.s[c.i] != '{')
                    ++c.i;
                e = c.i;
            }
            if (e == b) return dict_fail(line_no, "using requires a file name");
            lay.has_using = true;
            lay.datafile = c.s.substr(b, e - b);
        }
        c.skip_blanks();
        if (c.i < c.s.size() && c.s[c.i] == '{') {
            ++c.i;
            open = true;
            if (!c.done()) return dict_fail(line_no, "text follows the open brace");
            break;
        }
        if (!c.done()) return dict_fail(line_no, "'" + std::string(c.s.substr(c.i)) + "' invalid");
        // The brace may stand on a line of its own.
        while (ls.next(line)) {
            ++line_no;
            Cursor d{line};
            if (d.done()) continue;
            if (d.s[d.i] != '{') return dict_fail(line_no, "open brace expected");
            ++d.i;
            if (!d.done()) return dict_fail(line_no, "text follows the open brace");
            open = true;
            break;
        }
        if (!open) return dict_fail(line_no, "open brace expected");
    }
    int cur_line = 1, col = 1, pending = 0;
    for (;;) {
        if (!ls.next(line)) return dict_fail(line_no, "close brace not found");
        ++line_no;
        Cursor c{line};
        if (c.done() || c.s[c.i] == '*') continue;
        if (c.s[c.i] == '}') {
            ++c.i;
            if (!c.done()) return dict_fail(line_no, "text follows the close brace");
            break;
        }
        std::string err;
        const bool ok =
            infix ? infix_items(c, lay, cur_line, err) : dict_item(c, lay, cur_line, col, pending, err);
        if (!ok) return dict_fail(line_no, err);
    }
    if (lay.fields.empty()) return dict_fail(line_no, "no variables defined");
    for (size_t a = 0; a < lay.fields.size(); ++a)
        for (size_t b = 0; b < a; ++b)
            if (lay.fields[a].name == lay.fields[b].name)
                return dict_fail(line_no, lay.fields[a].name + " defined twice");
    lay.data_at = ls.pos;
    return 0;
}

int parse_infix_list(std::string_view text, InLayout &lay) {
    lay = InLayout{};
    lay.fixed = true;
    Cursor c{text};
    int line = 1;
    std::string err;
    if (!infix_items(c, lay, line, err)) return session::fail(198, err + "\n");
    if (lay.fields.empty()) return session::fail(102, "too few variables specified\n");
    for (size_t a = 0; a < lay.fields.size(); ++a)
        for (size_t b = 0; b < a; ++b)
            if (lay.fields[a].name == lay.fields[b].name)
                return session::fail(110, lay.fields[a].name + " already defined\n");
    return 0;
}

int read_records(std::string_view data, const InLayout &lay, InResult &res) {
    res = InResult{};
    size_t named = 0;
    for (const InField &f : lay.fields)
        if (!f.name.empty()) ++named;
    res.cols.resize(named);
    Store st{lay, res};
    return lay.fixed ? read_fixed(data, st) : read_free(data, st);
}

} // namespace data

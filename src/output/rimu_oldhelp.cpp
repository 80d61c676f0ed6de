// Old-help mode: lines with ^hilite^ and @link@ markers, read a line at a time.
#include <cstring>

#include "output/rimu.h"
#include "output/rimu_int.h"

namespace out {

namespace {

constexpr int OLDHELP_LINE_MAX = 1023;

// A link prefix word: its kind, and whether the target must be empty (1) or must not be (2).
struct OldLinkRow {
    const char *word;
    uint8_t kind;
    uint8_t target_rule;
};

const OldLinkRow oldlink_table[] = {
    {"http", 9, 0},      {"browser", 9, 0},   {"web", 9, 0},      {"search", 14, 0}, {"back", 11, 1},
    {"net", 15, 0},      {"netfrom", 4, 1},   {"nsdialog", 3, 1}, {"sdialog", 5, 1}, {"ado", 16, 0},
    {"adosearch", 1, 1}, {"cdialog", 2, 1},   {"vdialog", 7, 1},  {"update", 17, 0}, {"adorm", 10, 2},
    {"rnethelp", 18, 2}, {"updatebox", 6, 1},
};

// A line of only "." and "-", with blanks between and behind, is a rule.
bool rule_line(const char *p, int n) {
    if (n == 0 || (p[0] != '.' && p[0] != '-')) return false;
    for (int i = 0; i < n; ++i)
        if (p[i] != '.' && p[i] != '-' && p[i] != ' ') return false;
    return true;
}

// The content of @...@: target and shown text, kind; false leaves the stretch literal.
bool show_link(RimuStream *s, const char *c, int n) {
    const char *bang = (const char *)std::memchr(c, '!', n);
    const char *target = c, *text = c;
    int target_len = n, text_len = n, kind = 12;
    if (!bang) {
        if (n >= 5 && std::memcmp(c, "http:", 5) == 0) kind = 9;
    } else {
        text = bang + 1;
        text_len = (int)(c + n - text);
        int part_len = (int)(bang - c);
        target_len = part_len;
        const char *colon = (const char *)std::memchr(c, ':', part_len);
        if (colon) {
            int wl = (int)(colon - c);
            if (wl < 1 || wl > 13) return false;
            for (int i = 0; i < wl; ++i)
                if (!((c[i] >= 'a' && c[i] <= 'z') || (c[i] >= 'A' && c[i] <= 'Z'))) return false;
            const OldLinkRow *row = nullptr;
            for (const OldLinkRow &r : oldlink_table)
                if ((int)std::strlen(r.word) == wl && std::memcmp(r.word, c, wl) == 0) row = &r;
            if (!row) return false;
            kind = row->kind;
            if (std::strcmp(row->word, "http") != 0) {
                target = colon + 1;
                target_len = (int)(bang - target);
            }
            if (row->target_rule == 1 && target_len != 0) return false;
            if (row->target_rule == 2 && target_len == 0) return false;
        }
    }
    if (text_len == 0 || target_len >= 255) return false;
    uint8_t old = s->style;
    link_begin(s, kind, target, target_len);
    line_write(s, text, text_len, (uint8_t)((s->style & ~STY_COLOUR_BITS) | COL_LINK));
    link_close(s);
    s->style = old;
    return true;
}

void plain(RimuStream *s, const char *p, int n) {
    if (n > 0) line_write(s, p, n, s->style);
}

void oldhelp_line(RimuStream *s, const char *L, int len) {
    if (rule_line(L, len)) {
        if (!s->lineEmpty) finish_line(s);
        static const char d[] = "----------------------------------------------------------------";
        for (int n = s->width; n > 0; n -= 64)
            line_write(s, d, n < 64 ? n : 64, (uint8_t)(s->style | STY_LINEDRAW));
        finish_line(s);
        return;
    }
    int i = 0;
    while (i < len) {
        char c = L[i];
        if (c == '^' || c == '@') {
            if (i + 1 < len && L[i + 1] == c) { // doubled: the marker itself
                plain(s, L + i, 1);
                i += 2;
                continue;
            }
            if (i == len - 1) {
                plain(s, L + i, 1);
                ++i;
                continue;
            }
            char content[OLDHELP_LINE_MAX + 1];
            int cl = 0, j = i + 1;
            bool closed = false;
            while (j < len) {
                if (L[j] == c) {
                    if (j + 1 < len && L[j + 1] == c) {
                        content[cl++] = c;
                        j += 2;
                        continue;
                    }
                    closed = true;
                    break;
                }
                content[cl++] = L[j++];
            }
            if (!closed) {
                plain(s, L + i, 1);
                ++i;
                continue;
            }
            if (c == '^')
                line_write(s, content, cl, (uint8_t)((s->style & ~STY_COLOUR_BITS) | COL_HILITE));
            else if (!show_link(s, content, cl))
                plain(s, L + i, j + 1 - i);
            i = j + 1;
            continue;
        }
        if (c == '\t') {
            line_blanks(s, 8 - s->lineLength % 8);
            ++i;
            continue;
        }
        int k = i;
        while (k < len && L[k] != '^' && L[k] != '@' && L[k] != '\t')
            ++k;
        plain(s, L + i, k - i);
        i = k;
    }
    finish_line(s);
}

} // namespace

// A partial line waits in pendingTag; a line longer than OLDHELP_LINE_MAX is cut by a forced newline.
void oldhelp_feed(RimuStream *s, const char *p, size_t n) {
    if (n && s->skipNewline) {
        s->skipNewline = 0;
        if (*p == '\n') {
            ++p;
            --n;
        }
    }
    while (n > 0) {
        const char *nl = (const char *)std::memchr(p, '\n', n);
        size_t k = nl ? (size_t)(nl - p) : n;
        while (k > 0) {
            size_t room = OLDHELP_LINE_MAX - s->pending_len;
            size_t c = k < room ? k : room;
            std::memcpy(s->pendingTag + s->pending_len, p, c);
            s->pending_len += (int)c;
            p += c;
            n -= c;
            k -= c;
            if (s->pending_len == OLDHELP_LINE_MAX) {
                int len = s->pending_len;
                s->pending_len = 0;
                oldhelp_line(s, s->pendingTag, len);
            }
        }
        if (!nl) break;
        int len = s->pending_len;
        s->pending_len = 0;
        oldhelp_line(s, s->pendingTag, len);
        ++p;
        --n;
    }
}

void oldhelp_flush(RimuStream *s) {
    if (s->pending_len == 0) return;
    int len = s->pending_len;
    s->pending_len = 0;
    oldhelp_line(s, s->pendingTag, len);
}

} // namespace out

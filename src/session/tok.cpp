// The tokenizer: one token at a time from the text given to settok, with one-token push-back.
#include "session/tok.h"

#include <cstring>

namespace session {

const char SEP_STD[] = " \"'`~:;,<>/?!@|#$%^&*()-+=[]{}";
const char SEP_NUM[] = " \"'`~:;,<>/?!@|#$%^&*()=[]{}";
const char SEP_DOT[] = " \"'`~:;,<>/?!@|#$%^&*()-+=[]{}.";
const char SEP_FILE[] = " \"'`;,<>()=[]{}|";

Tok tk;

void settok(const char *text) {
    tk.tokpos = text;
    tk.tokstart = nullptr;
    tk.tokpushed = false;
    tk.tokagain = false;
}

void ungettok() { tk.tokpushed = true; }

void savetok(TokState &st) {
    st.tokpos = tk.tokpos;
    st.tokstart = tk.tokstart;
}

void restoretok(const TokState &st) {
    tk.tokpos = st.tokpos;
    tk.tokstart = st.tokstart;
    tk.tokpushed = false;
    tk.tokagain = false;
}

const char *tokrest() {
    if (!tk.tokpos) return "";
    const char *p = tk.tokpos;
    while (*p == ' ')
        ++p;
    return p;
}

// token := "`\"" text-with-nested-pairs "\"'" | '"' text '"' | separator | sep '=' | word
const char *gettok(const char *seps) {
    if (tk.tokpushed) {
        tk.tokpushed = false;
        tk.tokagain = true;
        return tk.token;
    }
    tk.tokagain = false;
    char *out = tk.token;
    int n = 0;
    const char *p = tk.tokpos ? tk.tokpos : "";
    while (*p == ' ')
        ++p;
    tk.tokstart = p;
    auto put = [&](char c) {
        if (n < tokenlen) {
            out[n++] = c;
            return true;
        }
        return false;
    };
    if (*p == '\0') {
        // empty token at the end of the text
    } else if (p[0] == '`' && p[1] == '"') {
        put('"');
        std::string_view s(p);
        size_t close = cq_close_overlapping(s, 0);
        size_t inside = (close == std::string_view::npos ? s.size() : close - 2) - 2;
        if (inside > (size_t)tokenlen - 1) { // the token is full: the rest stays unread
            std::memcpy(out + n, p + 2, (size_t)tokenlen - 1);
            n = tokenlen;
            p += 2 + (tokenlen - 1);
        } else {
            std::memcpy(out + n, p + 2, inside);
            n += (int)inside;
            p += close == std::string_view::npos ? s.size() : close;
        }
    } else if (*p == '"') {
        put('"');
        ++p;
        while (*p && *p != '"') {
            if (!put(*p)) break;
            ++p;
        }
        if (*p == '"' && n < tokenlen) ++p;
    } else if (std::strchr(seps, *p)) {
        put(*p);
        char c = *p++;
        if ((c == '<' || c == '>' || c == '=' || c == '!' || c == '~') && *p == '=') put(*p++);
    } else {
        while (*p && !std::strchr(seps, *p)) {
            if (!put(*p)) break;
            ++p;
        }
    }
    out[n] = '\0';
    tk.tokpos = p;
    return out;
}

bool cmdmatch(const char *word, const char *name, int minlen) {
    size_t wl = std::strlen(word);
    if (wl < (size_t)minlen || wl > std::strlen(name)) return false;
    return std::strncmp(word, name, wl) == 0;
}

bool name_ok(std::string_view name) {
    static constexpr char bad[] = "\\!@#$%^&*()-+=[]{}:;,'\"~<>?/|.`";
    if (name.empty() || name.size() > 32) return false;
    const unsigned char c0 = (unsigned char)name[0];
    if (!((c0 >= 'a' && c0 <= 'z') || (c0 >= 'A' && c0 <= 'Z') || c0 == '_')) return false;
    for (char c : name)
        if ((unsigned char)c <= ' ' || c == 127 || std::strchr(bad, c)) return false;
    return true;
}

namespace {

bool opens_cq(std::string_view s, size_t i) { return i + 1 < s.size() && s[i] == '`' && s[i + 1] == '"'; }
bool closes_cq(std::string_view s, size_t i) { return i + 1 < s.size() && s[i] == '"' && s[i + 1] == '\''; }

} // namespace

size_t cq_close(std::string_view s, size_t open) {
    int depth = 1;
    for (size_t i = open + 2; i < s.size();) {
        if (opens_cq(s, i)) {
            ++depth;
            i += 2;
        } else if (closes_cq(s, i)) {
            if (--depth == 0) return i + 2;
            i += 2;
        } else {
            ++i;
        }
    }
    return std::string_view::npos;
}

size_t cq_close_overlapping(std::string_view s, size_t open) {
    int depth = 1;
    for (size_t i = open + 2; i < s.size(); ++i) {
        if (opens_cq(s, i))
            ++depth;
        else if (closes_cq(s, i) && --depth == 0)
            return i + 2;
    }
    return std::string_view::npos;
}

bool quoted_at(std::string_view s, size_t i, Quoted &q) {
    if (opens_cq(s, i)) {
        size_t close = cq_close(s, i);
        q.closed = close != std::string_view::npos;
        q.begin = i + 2;
        q.end = q.closed ? close - 2 : s.size();
        q.next = q.closed ? close : s.size();
        return true;
    }
    if (i < s.size() && s[i] == '"') {
        size_t close = s.find('"', i + 1);
        q.closed = close != std::string_view::npos;
        q.begin = i + 1;
        q.end = q.closed ? close : s.size();
        q.next = q.closed ? close + 1 : s.size();
        return true;
    }
    return false;
}

int QuoteState::feed(char c, char next) {
    if (dq) {
        if (c == '"') dq = false;
        return 1;
    }
    if (int k = feed_pair(c, next)) return k;
    if (cq > 0) return 1;
    if (c == '"') {
        dq = true;
        return 1;
    }
    return 0;
}

int QuoteState::feed_pair(char c, char next) {
    if (c == '`' && next == '"') {
        ++cq;
        return 2;
    }
    if (cq > 0 && c == '"' && next == '\'') {
        --cq;
        return 2;
    }
    return 0;
}

} // namespace session

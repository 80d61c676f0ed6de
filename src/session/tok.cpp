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
        p += 2;
        int depth = 1;
        while (*p) {
            if (p[0] == '`' && p[1] == '"') {
                ++depth;
            } else if (p[0] == '"' && p[1] == '\'') {
                if (--depth == 0) {
                    p += 2;
                    break;
                }
            }
            if (!put(*p)) break;
            ++p;
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

} // namespace session

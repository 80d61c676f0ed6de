// The print primitives: the gate, the colour of the class, and the hand-over to the current stream.
#include "output/channel.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "session/loop.h"

namespace out {

Chan ch;
bool more_switch = true;

namespace {

// Colour style of each output class.
constexpr uint8_t class_colour[5] = {COL_RESULT, COL_TEXT, COL_TEXT, COL_ERROR, COL_INPUT};

int pending() { return session::lp.PendingBreak; }

void set_class_colour() {
    if (ch.current && ch.OutputClass < 5) stream_set_colour(ch.current, class_colour[ch.OutputClass]);
}

} // namespace

int out_text(std::string_view s) {
    if (!gate_open() || !ch.current) return pending();
    set_class_colour();
    if (!s.empty()) stream_put_literal(ch.current, s);
    return pending();
}

int out_rimu(std::string_view s) {
    if (!gate_open() || !ch.current) return pending();
    if (!s.empty()) stream_put_rimu(ch.current, s);
    return pending();
}

int out_text_nostyle(std::string_view s) {
    if (!gate_open() || !ch.current) return pending();
    if (!s.empty()) stream_put_literal(ch.current, s);
    return pending();
}

int out_int(long long i) {
    char buf[32];
    int n = std::snprintf(buf, sizeof buf, "%lld", i);
    return out_text(std::string_view(buf, n));
}

int out_char(char c) {
    std::string_view s(&c, 1);
    return (c == '\n' || c == ' ') ? out_rimu(s) : out_text(s);
}

int out_vbar() {
    if (!gate_open()) return pending();
    set_class_colour();
    return out_rimu("{c |}");
}

int out_rule(int flag) {
    if (!gate_open()) return pending();
    set_class_colour();
    return out_rimu(flag == 1 ? ".-\n" : "{.-}\n");
}

int out_hilite(int level, std::string_view s) {
    if (level > 1) {
        out_rimu("{hilite:");
        out_rimu(s);
        return out_rimu("}");
    }
    out_text("^");
    out_text(s);
    return out_text("^");
}

int out_space() { return out_text(" "); }

int out_blanks(int n) { return out_rep(' ', n); }

int out_text_blanks(std::string_view s, int n) {
    out_text(s);
    return out_blanks(n);
}

// Below 510 copies the string is built once; from 510 on they go one at a time.
int out_rep(char c, int n) {
    if (n < 1) return pending();
    auto send = [c](std::string_view s) { return c == ' ' ? out_rimu(s) : out_text(s); };
    if (n >= 510) {
        for (int i = 0; i < n; ++i)
            send(std::string_view(&c, 1));
        return pending();
    }
    char buf[512];
    std::memset(buf, c, n);
    return send(std::string_view(buf, n));
}

int out_newline() { return out_rimu("\n"); }

int out_flush() {
    if (ch.current) stream_flush(ch.current);
    return pending();
}

int out_at_prompt(std::string_view s) {
    if (ch.current) ch.current->linesShown = 0;
    int r = out_text(s);
    if (ch.current) ch.current->linesShown = 0;
    return r;
}

int out_echo(std::string_view s) {
    ClassScope cs(CLS_INPUT);
    return out_at_prompt(s);
}

int out_error(std::string_view s) {
    ch.OutputClass = CLS_ERROR;
    if (!gate_open() || !ch.current) return pending();
    if (ch.current->mode != MODE_LINE && ch.current->mode != MODE_PARA)
        stream_set_mode(ch.current, MODE_LINE);
    return out_text(s);
}

int out_note(std::string_view s) {
    if (ch.OutputLevel >= 3 || !(ch.noteflag1 || ch.noteflag2)) return pending();
    ClassScope cs(CLS_TEXT);
    out_text(s);
    return out_flush();
}

int out_note_nl(std::string_view s) {
    if (ch.OutputLevel >= 3 || !(ch.noteflag1 || ch.noteflag2)) return pending();
    ClassScope cs(CLS_TEXT);
    out_text(s);
    out_newline();
    return out_flush();
}

int out_note_flush() {
    if (ch.OutputLevel >= 3 || !(ch.noteflag1 || ch.noteflag2)) return pending();
    return out_flush();
}

static int vformat_to(int (*fn)(std::string_view), const char *fmt, va_list ap) {
    char small[1024];
    va_list ap2;
    va_copy(ap2, ap);
    int n = std::vsnprintf(small, sizeof small, fmt, ap);
    if (n < (int)sizeof small) {
        va_end(ap2);
        return fn(std::string_view(small, n > 0 ? n : 0));
    }
    std::string big(n, '\0');
    std::vsnprintf(big.data(), n + 1, fmt, ap2);
    va_end(ap2);
    return fn(big);
}

int out_textf(const char *fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    int r = vformat_to(out_text, fmt, ap);
    va_end(ap);
    return r;
}

int out_rimuf(const char *fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    int r = vformat_to(out_rimu, fmt, ap);
    va_end(ap);
    return r;
}

} // namespace out

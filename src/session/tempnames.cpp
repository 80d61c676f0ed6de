#include "session/tempnames.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "session/state.h"

namespace session {

int64_t tempname_counter = 0;
int64_t tempfile_counter = 1;
namespace {
int64_t tempfile_high = 0; // the highest file number ever given, for the clean-up at exit

std::string digits(int64_t n, int base, bool upper) {
    const char *set = upper ? "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ" : "0123456789abcdefghijklmnopqrstuvwxyz";
    char buf[7];
    for (int i = 5; i >= 0; --i) {
        buf[i] = set[n % base];
        n /= base;
    }
    buf[6] = '\0';
    return buf;
}
} // namespace

std::string next_tempname() {
    std::string s = "__" + digits(tempname_counter, 36, true);
    tempname_counter = tempname_counter >= 2146483647 ? 0 : tempname_counter + 1;
    return s;
}

std::string tempfile_name(char letter, int64_t n) {
    char pid[16];
    std::snprintf(pid, sizeof pid, "%05d", session::st.pid % 100000);
    return session::st.tmpdir + "/S" + letter + pid + "." + digits(n, 34, false);
}

int64_t next_tempfile_number() {
    int64_t n = tempfile_counter;
    tempfile_counter = tempfile_counter >= 1544000000 ? 1 : tempfile_counter + 1;
    if (n > tempfile_high) tempfile_high = n;
    return n;
}

std::string next_tempfile() { return tempfile_name('t', next_tempfile_number()); }

void remove_tempfiles(int64_t from, int64_t to) {
    if (to < from) { // the counter wrapped
        remove_tempfiles(from, 1544000001);
        remove_tempfiles(1, to);
        return;
    }
    for (int64_t n = from; n < to; ++n)
        ::unlink(tempfile_name('t', n).c_str());
}

void remove_temporary_files() {
    for (int64_t n = 0; n <= tempfile_high; ++n)
        for (char letter : {'t', 'J', 'Q'})
            ::unlink(tempfile_name(letter, n).c_str());
}

int64_t tempname_number(const char *name) {
    if (std::strlen(name) != 8 || name[0] != '_' || name[1] != '_') return -1;
    int64_t v = 0;
    for (int i = 2; i < 8; ++i) {
        char c = name[i];
        int d = c >= '0' && c <= '9' ? c - '0' : c >= 'A' && c <= 'Z' ? c - 'A' + 10 : -1;
        if (d < 0) return -1;
        v = v * 36 + d;
    }
    return v;
}

} // namespace session

// Small file routines that every layer shares.
#include "session/fileio.h"

#include <unistd.h>

#include <cerrno>

namespace session {

bool write_all(int fd, const char *p, size_t n) {
    while (n > 0) {
        ssize_t w = ::write(fd, p, n);
        if (w < 0 && errno == EINTR) continue;
        if (w <= 0) return false;
        p += w;
        n -= (size_t)w;
    }
    return true;
}

std::string path_extension(std::string_view path) {
    size_t slash = path.rfind('/');
    size_t base = slash == std::string_view::npos ? 0 : slash + 1;
    size_t dot = path.rfind('.');
    if (dot == std::string_view::npos || dot < base) return "";
    return std::string(path.substr(dot));
}

bool looks_binary(const char *p, size_t n) {
    size_t control = 0;
    for (size_t i = 0; i < n; ++i) {
        unsigned char c = (unsigned char)p[i];
        if (c == 0) return true;
        if (c < 32 && c != '\t' && c != '\n' && c != '\r' && c != '\f' && c != 27) ++control;
    }
    return n > 0 && control * 8 > n;
}

} // namespace session

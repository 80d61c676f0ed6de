// The handle table: each handle owns a descriptor and two small buffers, one for reading ahead and
// one for writes, which never hold bytes at the same time.
#include "session/filehandles.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

#include "session/errors.h"
#include "session/fileio.h"
#include "session/tempnames.h"

namespace session {

namespace {

constexpr size_t READ_CHUNK = 65536;
constexpr size_t WRITE_CHUNK = 65536;

std::vector<FileHandle *> handles;

int not_open_for(const FileHandle &h, const char *what) {
    return fail(198, "file handle " + h.name + " not open for " + what + "\n");
}

int write_failed(FileHandle &h, int err) {
    h.wbuf.clear();
    return file_error(err == ENOSPC || err == EDQUOT ? 699 : 693, err == ENOSPC ? "" : h.path);
}

// Bytes read ahead and not used go back to the file, so that the descriptor stands where the user is.
void drop_readahead(FileHandle &h) {
    const size_t left = h.rbuf.size() - h.rpos;
    if (left) (void)::lseek(h.fd, -(off_t)left, SEEK_CUR);
    h.rbuf.clear();
    h.rpos = 0;
}

void forget(FileHandle *h) {
    for (size_t i = 0; i < handles.size(); ++i)
        if (handles[i] == h) {
            handles.erase(handles.begin() + (long)i);
            break;
        }
    delete h;
}

// Fills the read-ahead buffer: the bytes it holds, 0 at the end, -1 on an error.
ssize_t fill(FileHandle &h) {
    if (h.rpos < h.rbuf.size()) return (ssize_t)(h.rbuf.size() - h.rpos);
    h.rbuf.resize(READ_CHUNK);
    h.rpos = 0;
    ssize_t got;
    do
        got = ::read(h.fd, h.rbuf.data(), READ_CHUNK);
    while (got < 0 && errno == EINTR);
    h.rbuf.resize(got > 0 ? (size_t)got : 0);
    return got;
}

int before_read(FileHandle &h) {
    if (!h.can_read) return not_open_for(h, "reading");
    if (!h.wbuf.empty()) return fh_flush(h);
    return 0;
}

} // namespace

const std::vector<FileHandle *> &fh_list() { return handles; }

FileHandle *fh_find(std::string_view name) {
    for (FileHandle *h : handles)
        if (h->name == name) return h;
    return nullptr;
}

int fh_get(std::string_view name, FileHandle *&h) {
    h = fh_find(name);
    if (!h) return fail(601, "file handle " + std::string(name) + " not found\n");
    return 0;
}

int fh_open(std::string_view name, const std::string &path, const FileOpen &how) {
    if (fh_find(name)) return fail(110, "file handle " + std::string(name) + " already exists\n");
    if ((int)handles.size() >= FH_MAX) return error(681);
    struct stat sb;
    const bool exists = ::stat(path.c_str(), &sb) == 0;
    const bool regular = exists && S_ISREG(sb.st_mode);
    if (exists && S_ISDIR(sb.st_mode)) return file_error(603, path);
    auto h = std::make_unique<FileHandle>();
    h->name = name;
    h->path = path;
    h->binary = how.binary;
    h->can_read = how.read;
    h->can_write = how.write || how.append;
    int flags = O_CLOEXEC;
    if (how.read && !h->can_write) {
        if (!exists) return file_error(601, path);
        flags |= O_RDONLY;
    } else if (how.append || how.read) {
        // Appending, and reading and writing, change the file where it stands.
        if (how.append && how.read) return fail(198, "options read and append may not be combined\n");
        flags |= (how.read ? O_RDWR : O_WRONLY | O_APPEND) | O_CREAT;
    } else {
        if (exists && !how.replace) return file_error(602, path);
        flags |= O_WRONLY | O_CREAT | O_TRUNC;
    }
    if (exists && h->can_write && ::access(path.c_str(), W_OK) != 0 && errno == EACCES)
        return file_error(608, path);
    const bool fresh = how.write && !how.read && !how.append;
    if (fresh && (regular || !exists)) {
        // A new file is written beside the old one and takes its place when it is whole.
        const size_t slash = path.rfind('/');
        const std::string dir = slash == std::string::npos ? "." : path.substr(0, slash == 0 ? 1 : slash);
        const std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
        std::string tmp = dir + "/." + base + ".XXXXXX";
        const int fd = ::mkostemp(tmp.data(), O_CLOEXEC);
        if (fd < 0) return file_error(603, path);
        mode_t mode;
        if (exists) {
            mode = sb.st_mode & 07777;
        } else {
            const mode_t mask = ::umask(0);
            ::umask(mask);
            mode = 0666 & ~mask;
        }
        (void)::fchmod(fd, mode);
        h->fd = fd;
        h->tmp = tmp;
    } else {
        h->fd = ::open(path.c_str(), flags, 0666);
        if (h->fd < 0) {
            if (errno == EMFILE || errno == ENFILE) return error(681);
            return file_error(errno == ENOENT ? 601 : 603, path);
        }
    }
    handles.push_back(h.release());
    return 0;
}

int fh_flush(FileHandle &h) {
    if (h.wbuf.empty()) return 0;
    if (!write_all(h.fd, h.wbuf.data(), h.wbuf.size())) return write_failed(h, errno);
    h.wbuf.clear();
    return 0;
}

int fh_write(FileHandle &h, std::string_view bytes) {
    if (!h.can_write) return not_open_for(h, "writing");
    if (h.rpos < h.rbuf.size() || !h.rbuf.empty()) drop_readahead(h);
    h.wbuf.append(bytes);
    if (h.wbuf.size() >= WRITE_CHUNK) return fh_flush(h);
    return 0;
}

int fh_close(FileHandle *h) {
    int rc = 0;
    if (h->can_write) {
        if (!h->wbuf.empty() && !write_all(h->fd, h->wbuf.data(), h->wbuf.size()))
            rc = write_failed(*h, errno);
    }
    const int err = ::close(h->fd) == 0 ? 0 : errno;
    if (!rc && err && h->can_write) rc = write_failed(*h, err);
    if (!h->tmp.empty()) {
        if (rc) {
            ::unlink(h->tmp.c_str());
        } else if (::rename(h->tmp.c_str(), h->path.c_str()) != 0) {
            ::unlink(h->tmp.c_str());
            rc = error(694);
        }
    }
    forget(h);
    return rc;
}

int fh_close_all() {
    int first = 0;
    while (!handles.empty()) {
        const int rc = fh_close(handles.back());
        if (rc && !first) first = rc;
    }
    return first;
}

void fh_close_temp(int64_t from, int64_t to) {
    auto in_range = [&](int64_t n) {
        return n >= 0 && (to >= from ? n >= from && n < to : n >= from || n < to);
    };
    for (size_t i = handles.size(); i-- > 0;) {
        FileHandle *h = handles[i];
        if (!in_range(tempname_number(h->name.c_str()))) continue;
        // A program that ends without closing loses what it wrote to a new file.
        if (!h->tmp.empty()) {
            ::unlink(h->tmp.c_str());
            h->tmp.clear();
            h->wbuf.clear();
        } else {
            (void)write_all(h->fd, h->wbuf.data(), h->wbuf.size());
            h->wbuf.clear();
        }
        ::close(h->fd);
        forget(h);
    }
}

int fh_read_line(FileHandle &h, std::string &line, bool *eof) {
    line.clear();
    *eof = false;
    if (int rc = before_read(h)) return rc;
    bool any = false;
    for (;;) {
        const ssize_t n = fill(h);
        if (n < 0) return file_error(692, h.path);
        if (n == 0) break;
        const char *p = h.rbuf.data() + h.rpos;
        const char *nl = static_cast<const char *>(std::memchr(p, '\n', (size_t)n));
        any = true;
        if (nl) {
            line.append(p, (size_t)(nl - p));
            h.rpos += (size_t)(nl - p) + 1;
            if (!line.empty() && line.back() == '\r') line.pop_back();
            return 0;
        }
        line.append(p, (size_t)n);
        h.rpos += (size_t)n;
    }
    if (!line.empty() && line.back() == '\r') line.pop_back();
    *eof = !any;
    h.at_eof = !any;
    return 0;
}

int fh_read_bytes(FileHandle &h, size_t n, std::string &out, size_t *got) {
    out.clear();
    *got = 0;
    if (int rc = before_read(h)) return rc;
    while (out.size() < n) {
        const ssize_t k = fill(h);
        if (k < 0) return file_error(692, h.path);
        if (k == 0) break;
        const size_t take = std::min(n - out.size(), (size_t)k);
        out.append(h.rbuf.data() + h.rpos, take);
        h.rpos += take;
    }
    *got = out.size();
    h.at_eof = out.size() < n;
    return 0;
}

int fh_tell(FileHandle &h, int64_t *pos) {
    const off_t at = ::lseek(h.fd, 0, SEEK_CUR);
    if (at < 0) return file_error(692, h.path);
    *pos = (int64_t)at - (int64_t)(h.rbuf.size() - h.rpos) + (int64_t)h.wbuf.size();
    return 0;
}

int fh_seek(FileHandle &h, int64_t pos) {
    if (int rc = fh_flush(h)) return rc;
    h.rbuf.clear();
    h.rpos = 0;
    if (!h.can_write) {
        struct stat sb;
        if (::fstat(h.fd, &sb) == 0 && S_ISREG(sb.st_mode) && pos > (int64_t)sb.st_size) return error(651);
    }
    if (pos < 0 || ::lseek(h.fd, (off_t)pos, SEEK_SET) < 0) return error(651);
    h.at_eof = false;
    return 0;
}

int fh_seek_end(FileHandle &h) {
    if (int rc = fh_flush(h)) return rc;
    h.rbuf.clear();
    h.rpos = 0;
    if (::lseek(h.fd, 0, SEEK_END) < 0) return file_error(692, h.path);
    return 0;
}

} // namespace session

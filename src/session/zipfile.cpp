// zipfile and unzipfile: archives written and read through minizip, each file put in place whole.
#include "session/zipfile.h"

#include <fcntl.h>
#include <glob.h>
#include <minizip/unzip.h>
#include <minizip/zip.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <string>
#include <vector>

#include "output/channel.h"
#include "session/errors.h"
#include "session/fileio.h"
#include "session/options.h"
#include "session/state.h"
#include "session/tok.h"

namespace session {

namespace {

// A file name at the tokenizer: quoted or bare; "" at the end of the line or at the comma.
std::string next_name() {
    std::string fn = gettok(SEP_FILE);
    if (fn == ",") {
        ungettok();
        return "";
    }
    if (!fn.empty() && fn[0] == '"') fn.erase(0, 1);
    return fn;
}

// The hidden temporary beside target that becomes target when it is whole.
struct Staged {
    std::string target, tmp;
    int fd = -1;
    int open(const std::string &t) {
        target = t;
        const size_t slash = t.rfind('/');
        const std::string dir = slash == std::string::npos ? "." : t.substr(0, slash == 0 ? 1 : slash);
        const std::string base = slash == std::string::npos ? t : t.substr(slash + 1);
        tmp = dir + "/." + base + ".XXXXXX";
        fd = ::mkostemp(tmp.data(), O_CLOEXEC);
        if (fd < 0) return file_error(603, t);
        const mode_t mask = ::umask(0);
        ::umask(mask);
        (void)::fchmod(fd, 0666 & ~mask);
        return 0;
    }
    void discard() {
        if (fd >= 0) ::close(fd);
        fd = -1;
        if (!tmp.empty()) ::unlink(tmp.c_str());
        tmp.clear();
    }
    int commit() {
        if (fd >= 0 && ::close(fd) != 0) {
            fd = -1;
            discard();
            return file_error(693, target);
        }
        fd = -1;
        if (::rename(tmp.c_str(), target.c_str()) != 0) {
            discard();
            return error(694);
        }
        tmp.clear();
        return 0;
    }
};

bool is_dir(const std::string &p) {
    struct stat sb;
    return ::stat(p.c_str(), &sb) == 0 && S_ISDIR(sb.st_mode);
}

// The files below a directory, in name order.
void walk(const std::string &dir, std::vector<std::string> &out) {
    std::vector<std::string> names;
    if (DIR *d = ::opendir(dir.c_str())) {
        while (dirent *e = ::readdir(d))
            if (std::strcmp(e->d_name, ".") && std::strcmp(e->d_name, "..")) names.emplace_back(e->d_name);
        ::closedir(d);
    }
    std::sort(names.begin(), names.end());
    for (const std::string &n : names) {
        const std::string p = dir + "/" + n;
        if (is_dir(p))
            walk(p, out);
        else
            out.push_back(p);
    }
}

// The name a file has inside the archive: relative, without leading "./" or "/".
std::string member_name(std::string p) {
    while (p.rfind("./", 0) == 0)
        p.erase(0, 2);
    while (!p.empty() && p[0] == '/')
        p.erase(0, 1);
    return p;
}

// A member name that stays below the current directory.
bool safe_member(const std::string &n) {
    if (n.empty() || n[0] == '/' || n.find('\\') != std::string::npos) return false;
    size_t s = 0;
    while (s <= n.size()) {
        size_t e = n.find('/', s);
        if (e == std::string::npos) e = n.size();
        if (n.compare(s, e - s, "..") == 0 && e - s == 2) return false;
        s = e + 1;
    }
    return true;
}

void make_parents(const std::string &path) {
    for (size_t s = path.find('/'); s != std::string::npos; s = path.find('/', s + 1))
        ::mkdir(path.substr(0, s).c_str(), 0777);
}

} // namespace

// zipfile filelist, saving(zipname [, replace])
int cmd_zipfile(int) {
    std::vector<std::string> given;
    for (std::string fn = next_name(); !fn.empty(); fn = next_name())
        given.push_back(fn);
    std::string saving;
    const OptSpec specs[] = {opt_text("saving", 3, saving)};
    if (int rc = parse_options(specs)) return rc;
    if (given.empty()) return required("filelist");
    if (saving.empty()) return fail(198, "option saving() required\n");

    // saving(name [, replace])
    bool replace = false;
    std::string zipname = saving;
    if (const size_t c = options_comma(saving); c != std::string::npos) {
        zipname = saving.substr(0, c);
        const OptSpec sub[] = {opt_flag("replace", 7, replace)};
        if (int rc = options_of(std::string_view(saving).substr(c + 1), sub)) return rc;
    }
    while (!zipname.empty() && zipname.back() == ' ')
        zipname.pop_back();
    if (zipname.size() >= 2 && zipname.front() == '"' && zipname.back() == '"')
        zipname = zipname.substr(1, zipname.size() - 2);
    if (zipname.empty()) return option_invalid("saving");
    if (path_extension(zipname).empty()) zipname += ".zip";

    // The members: each name, a pattern's matches, a directory's files.
    std::vector<std::string> files;
    for (const std::string &g : given) {
        if (g.find_first_of("*?[") != std::string::npos) {
            glob_t gl{};
            if (::glob(g.c_str(), 0, nullptr, &gl) == 0)
                for (size_t k = 0; k < gl.gl_pathc; ++k) {
                    if (is_dir(gl.gl_pathv[k]))
                        walk(gl.gl_pathv[k], files);
                    else
                        files.emplace_back(gl.gl_pathv[k]);
                }
            ::globfree(&gl);
            continue;
        }
        struct stat sb;
        if (::stat(g.c_str(), &sb) != 0) return file_error(601, g);
        if (S_ISDIR(sb.st_mode))
            walk(g, files);
        else
            files.push_back(g);
    }
    if (files.empty()) return fail(601, "no files found\n");
    struct stat zb;
    if (!replace && ::stat(zipname.c_str(), &zb) == 0) return file_error(602, zipname);

    Staged st;
    if (int rc = st.open(zipname)) return rc;
    ::close(st.fd);
    st.fd = -1;
    zipFile zf = zipOpen64(st.tmp.c_str(), APPEND_STATUS_CREATE);
    if (!zf) {
        st.discard();
        return file_error(603, zipname);
    }
    std::vector<char> buf(1 << 16);
    int rc = 0;
    for (const std::string &f : files) {
        std::FILE *in = std::fopen(f.c_str(), "rb");
        if (!in) {
            rc = file_error(603, f);
            break;
        }
        zip_fileinfo zi{};
        struct stat sb;
        if (::stat(f.c_str(), &sb) == 0) {
            std::tm tmv{};
            ::localtime_r(&sb.st_mtime, &tmv);
            zi.tmz_date = {(uInt)tmv.tm_sec,  (uInt)tmv.tm_min, (uInt)tmv.tm_hour,
                           (uInt)tmv.tm_mday, (uInt)tmv.tm_mon, (uInt)tmv.tm_year + 1900};
        }
        const std::string m = member_name(f);
        if (zipOpenNewFileInZip64(zf, m.c_str(), &zi, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED,
                                  Z_DEFAULT_COMPRESSION, 1) != ZIP_OK) {
            std::fclose(in);
            rc = file_error(693, zipname);
            break;
        }
        size_t n;
        while ((n = std::fread(buf.data(), 1, buf.size(), in)) > 0)
            if (zipWriteInFileInZip(zf, buf.data(), (unsigned)n) != ZIP_OK) {
                rc = file_error(693, zipname);
                break;
            }
        if (!rc && std::ferror(in)) rc = file_error(692, f);
        std::fclose(in);
        zipCloseFileInZip(zf);
        if (rc) break;
        if (poll_break()) {
            rc = 1;
            break;
        }
        out::ClassScope cs(out::CLS_TEXT);
        out::out_textf("  adding: %s\n", m.c_str());
    }
    if (zipClose(zf, nullptr) != ZIP_OK && !rc) rc = file_error(693, zipname);
    if (rc) {
        st.discard();
        return rc;
    }
    if (int r2 = st.commit()) return r2;
    file_error(697, zipname);
    return 0;
}

// unzipfile zipname [, replace]
// Every member is checked and inflated into a hidden file first; only when the whole archive has read
// well do they take their names, so a damaged archive leaves the directory as it was.
int cmd_unzipfile(int) {
    std::string zipname = next_name();
    bool replace = false;
    const OptSpec specs[] = {opt_flag("replace", 7, replace)};
    if (int rc = parse_options(specs)) return rc;
    if (zipname.empty()) return required("zipname");
    struct stat sb;
    if (::stat(zipname.c_str(), &sb) != 0 && path_extension(zipname).empty()) zipname += ".zip";
    if (::stat(zipname.c_str(), &sb) != 0) return file_error(601, zipname);
    if (S_ISDIR(sb.st_mode)) return file_error(603, zipname);

    unzFile uf = unzOpen64(zipname.c_str());
    if (!uf) return file_error(688, zipname);
    struct Member {
        std::string name;
        bool dir;
    };
    std::vector<Member> members;
    int rc = 0;
    for (int r = unzGoToFirstFile(uf); r == UNZ_OK; r = unzGoToNextFile(uf)) {
        unz_file_info64 info;
        char name[4097];
        if (unzGetCurrentFileInfo64(uf, &info, name, sizeof name, nullptr, 0, nullptr, 0) != UNZ_OK) {
            rc = file_error(688, zipname);
            break;
        }
        const std::string n = name;
        const bool dir = !n.empty() && n.back() == '/';
        const std::string path = dir ? n.substr(0, n.size() - 1) : n;
        if (!safe_member(path)) {
            rc =
                fail(198, "unzipfile: member \"" + n + "\" would be written outside the current directory\n");
            break;
        }
        if (!dir && !replace && ::access(path.c_str(), F_OK) == 0) {
            rc = file_error(602, path);
            break;
        }
        members.push_back({path, dir});
    }
    if (!rc && members.empty()) rc = file_error(688, zipname);

    std::vector<Staged> staged;
    std::vector<char> buf(1 << 16);
    if (!rc) {
        size_t k = 0;
        for (int r = unzGoToFirstFile(uf); r == UNZ_OK && k < members.size(); r = unzGoToNextFile(uf), ++k) {
            const Member &m = members[k];
            if (m.dir) continue;
            make_parents(m.name);
            Staged st;
            if ((rc = st.open(m.name))) break;
            staged.push_back(st);
            if (unzOpenCurrentFile(uf) != UNZ_OK) {
                rc = file_error(688, zipname);
                break;
            }
            int n;
            while ((n = unzReadCurrentFile(uf, buf.data(), (unsigned)buf.size())) > 0)
                if (!write_all(staged.back().fd, buf.data(), (size_t)n)) {
                    n = -1000;
                    break;
                }
            const int closed = unzCloseCurrentFile(uf);
            if (n == -1000) {
                rc = file_error(693, m.name);
                break;
            }
            if (n < 0 || closed != UNZ_OK) {
                rc = file_error(688, zipname);
                break;
            }
            if (poll_break()) {
                rc = 1;
                break;
            }
        }
        if (!rc && k < members.size()) rc = file_error(688, zipname);
    }
    unzClose(uf);
    if (rc) {
        for (Staged &s : staged)
            s.discard();
        return rc;
    }
    for (const Member &m : members)
        if (m.dir) {
            make_parents(m.name + "/");
        }
    size_t s = 0;
    for (const Member &m : members) {
        if (m.dir) continue;
        if ((rc = staged[s++].commit())) {
            while (s < staged.size())
                staged[s++].discard();
            return rc;
        }
        out::ClassScope cs(out::CLS_TEXT);
        out::out_textf("    inflating: %s\n", m.name.c_str());
    }
    out::ClassScope cs(out::CLS_TEXT);
    out::out_textf("successfully unzipped %s to current directory\n", zipname.c_str());
    return 0;
}

} // namespace session

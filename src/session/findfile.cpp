// The ado path search.
#include "session/findfile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

#include "session/macstore.h"
#include "session/state.h"

namespace session {

std::string adopath_dir(const std::string &e) {
    const Sysdirs &d = st.sysdirs;
    if (e == "UPDATES") return d.UPDATES;
    if (e == "BASE") return d.BASE;
    if (e == "SITE") return d.SITE;
    if (e == "PLUS") return d.PLUS;
    if (e == "PERSONAL") return d.PERSONAL;
    if (e == "OLDPLACE") return d.OLDPLACE;
    std::string s = e;
    if (s.size() >= 1 && s[0] == '~' && (s.size() == 1 || s[1] == '/')) {
        const char *h = std::getenv("HOME");
        if (h) s = std::string(h) + s.substr(1);
    }
    if (!s.empty() && s.back() != '/') s.push_back('/');
    return s;
}

std::string adosubdir(const std::string &name, const std::string &suffix) {
    if (suffix == "style") return "style";
    size_t slash = name.rfind('/');
    std::string base = slash == std::string::npos ? name : name.substr(slash + 1);
    return base.empty() ? "" : base.substr(0, 1);
}

bool findfile(const std::string &name, const std::string &suffix, std::string &path) {
    const char *a = macro_get("S_ADO");
    std::string adopath = a ? std::string(a).substr(0, 5400) : "";
    std::string file = suffix.empty() ? name : name + "." + suffix;
    std::string letter = adosubdir(name, suffix);
    size_t start = 0;
    while (start <= adopath.size()) {
        size_t semi = adopath.find(';', start);
        if (semi == std::string::npos) semi = adopath.size();
        std::string e = adopath.substr(start, semi - start);
        e.erase(0, e.find_first_not_of(' '));
        e.erase(e.find_last_not_of(' ') + 1);
        start = semi + 1;
        if (e.empty()) continue;
        std::string dir = adopath_dir(e);
        for (const std::string &cand : {dir + file, dir + letter + "/" + file}) {
            if (cand.size() > 500) continue;
            int fd = ::open(cand.c_str(), O_RDONLY | O_CLOEXEC);
            if (fd < 0) continue;
            ::close(fd);
            path = cand;
            return true;
        }
    }
    return false;
}

bool find_on_adopath(const char *name, std::string *found_path) { return findfile(name, "", *found_path); }

} // namespace session

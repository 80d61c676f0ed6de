// postfile: each open postfile is a stream into a new data file; post builds one whole row before it
// writes any of it, so that a failing expression leaves the file as it was.
#include "data/postfile.h"

#include <memory>
#include <string>
#include <vector>

#include "data/dtafile.h"
#include "data/expr.h"
#include "data/types.h"
#include "data/usecmd.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/options.h"
#include "session/tempnames.h"
#include "session/tok.h"

namespace data {

namespace {

using session::SEP_FILE;
using session::SEP_STD;

struct Post {
    std::string name;
    std::vector<DtaStreamVar> vars;
    std::vector<int32_t> offsets;
    DtaStream stream;
};

std::vector<std::unique_ptr<Post>> posts;

Post *find_post(std::string_view name) {
    for (auto &p : posts)
        if (p->name == name) return p.get();
    return nullptr;
}

int get_post(std::string_view name, Post *&p) {
    if (name.empty()) return session::required("postname");
    p = find_post(name);
    if (!p) return session::fail(111, "postfile " + std::string(name) + " not found\n");
    return 0;
}

void forget(Post *p) {
    for (size_t i = 0; i < posts.size(); ++i)
        if (posts[i].get() == p) {
            posts.erase(posts.begin() + (long)i);
            return;
        }
}

std::string unquoted(std::string s) {
    if (!s.empty() && s[0] == '"') s.erase(0, 1);
    return s;
}

} // namespace

// postfile postname newvarlist using filename [, replace every(#) double]
int cmd_postfile(int) {
    const std::string name = session::gettok(SEP_STD);
    if (name.empty()) return session::required("postname");
    if (!session::name_ok(name)) return session::invalid_name(name);
    if (find_post(name)) return session::fail(110, "postfile " + name + " already in use\n");
    struct Wanted {
        std::string name;
        int type; // 0: the default numeric type
    };
    std::vector<Wanted> wanted;
    int type = 0;
    for (;;) {
        const std::string w = session::gettok(SEP_STD);
        if (w.empty()) return session::required("using");
        if (w == "using") break;
        if (const int t = type_from_name(w.c_str()); t && !type) {
            type = t;
            continue;
        }
        if (!session::name_ok(w)) return session::invalid_name(w);
        for (const Wanted &o : wanted)
            if (o.name == w) return session::fail(110, w + " already defined\n");
        wanted.push_back({w, type});
        type = 0;
    }
    if (type) return session::fail(198, "type not followed by a variable name\n");
    if (wanted.empty()) return session::fail(102, "too few variables specified\n");
    if ((int)wanted.size() > ds.maxvar) return session::error(900);
    const std::string file = unquoted(session::gettok(SEP_FILE));
    if (file.empty() || file == ",") return session::error(7197);
    bool replace = false, dbl = false;
    int every = 0;
    const session::OptSpec specs[] = {session::opt_flag("replace", 7, replace),
                                      session::opt_int("every", 5, every, 1, 2147483647),
                                      session::opt_flag("double", 6, dbl)};
    if (int rc = session::parse_options(specs)) return rc;

    auto p = std::make_unique<Post>();
    p->name = name;
    int32_t at = 0;
    for (const Wanted &w : wanted) {
        const int t = w.type ? w.type : dbl ? T_DOUBLE : T_FLOAT;
        p->vars.push_back({w.name, t});
        p->offsets.push_back(at);
        at += type_width(t);
    }
    p->stream.every = every;
    if (int rc = dta_stream_open(dta_filename(file), replace, p->vars, p->stream)) return rc;
    posts.push_back(std::move(p));
    return 0;
}

// post postname (exp) (exp) ...
int cmd_post(int) {
    Post *p;
    if (int rc = get_post(session::gettok(SEP_STD), p)) return rc;
    std::vector<char> row((size_t)p->stream.width, 0);
    const char *at = session::tokrest();
    size_t k = 0;
    while (*at) {
        if (*at == ' ' || *at == '\t') {
            ++at;
            continue;
        }
        if (*at != '(') return session::fail(198, "post: expressions must be enclosed in parentheses\n");
        if (k == p->vars.size())
            return session::fail(103, "post " + p->name + ": more than " + std::to_string(p->vars.size()) +
                                          " expressions found\n");
        ExprValue v;
        const char *end = nullptr;
        if (int rc = expr_eval_scalar(at, v, &end, XW_ANY)) return rc;
        at = end;
        const int t = p->vars[k].type;
        if ((v.type == XT_STR) != is_string_type(t)) return session::error(109);
        char *cell = row.data() + p->offsets[k];
        if (is_string_type(t))
            cell_put_str(cell, t, v.str);
        else
            cell_put(cell, t, v.num);
        ++k;
    }
    if (k < p->vars.size())
        return session::fail(102, "post " + p->name + ": " + std::to_string(k) + " of " +
                                      std::to_string(p->vars.size()) + " expressions found\n");
    return dta_stream_row(p->stream, row.data());
}

// postclose postname
int cmd_postclose(int) {
    Post *p;
    if (int rc = get_post(session::gettok(SEP_STD), p)) return rc;
    if (*session::tokrest()) return session::invalid_rest(session::tokrest());
    const int rc = dta_stream_finish(p->stream);
    forget(p);
    return rc;
}

// postutil dir | postutil clear
int cmd_postutil(int) {
    const std::string w = session::gettok(SEP_STD);
    if (*session::tokrest()) return session::invalid_rest(session::tokrest());
    if (session::cmdmatch(w.c_str(), "dir", 3)) {
        out::ClassScope cs(out::CLS_TEXT);
        if (posts.empty()) {
            out::out_text("  (no postfiles open)\n");
            return 0;
        }
        for (const auto &p : posts)
            out::out_textf("  postname %s:  %s, %d observations\n", p->name.c_str(), p->stream.path.c_str(),
                           (int)p->stream.nobs);
        return 0;
    }
    if (session::cmdmatch(w.c_str(), "clear", 5)) {
        post_close_all();
        return 0;
    }
    return session::fail(
        198, "postutil: " + (w.empty() ? std::string("subcommand required") : w + " invalid") + "\n");
}

void post_drop_temp(int64_t from, int64_t to) {
    auto in_range = [&](int64_t n) {
        return n >= 0 && (to >= from ? n >= from && n < to : n >= from || n < to);
    };
    for (size_t i = posts.size(); i-- > 0;)
        if (in_range(session::tempname_number(posts[i]->name.c_str()))) posts.erase(posts.begin() + (long)i);
}

void post_close_all() {
    // A file that cannot be finished is removed with its message written; the others go on.
    while (!posts.empty()) {
        (void)dta_stream_finish(posts.back()->stream);
        posts.pop_back();
    }
}

} // namespace data

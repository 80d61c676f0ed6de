// _label: the data label, variable labels, value-label tables and the label languages; the ado-file
// `label` passes its line here.
#include "data/labelcmd.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/fmt.h"
#include "data/labels.h"
#include "data/types.h"
#include "data/varlist.h"
#include "matrix/results.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/fileio.h"
#include "session/options.h"
#include "session/state.h"
#include "session/tok.h"

namespace data {

namespace {

using session::cmdmatch;
using session::gettok;
using session::SEP_STD;

// Label languages: more than this many is refused.
constexpr int LANG_MAX = 100;
// A language's name stands in characteristic names behind "_lang_v_", so it is shorter than names.
constexpr int LANGNAME_MAX = CHARNAME_LEN - 1 - 8;
constexpr const char *LANG_CUR = "_lang_c";
constexpr const char *LANG_LIST = "_lang_list";
constexpr const char *LANG_DEFAULT = "default";

std::string trimmed(std::string_view s) {
    const size_t b = s.find_first_not_of(' ');
    if (b == std::string_view::npos) return "";
    return std::string(s.substr(b, s.find_last_not_of(' ') - b + 1));
}

std::vector<std::string> words(std::string_view s) {
    std::vector<std::string> w;
    size_t i = 0;
    while (i < s.size()) {
        while (i < s.size() && s[i] == ' ')
            ++i;
        const size_t b = i;
        while (i < s.size() && s[i] != ' ')
            ++i;
        if (i > b) w.emplace_back(s.substr(b, i - b));
    }
    return w;
}

// The words before the options comma go to *before; the options are matched against specs.
int split_options(std::string_view rest, std::string *before, std::span<const session::OptSpec> specs) {
    const size_t comma = session::options_comma(rest);
    if (comma == std::string_view::npos) {
        *before = std::string(rest);
        return session::options_of("", specs);
    }
    *before = std::string(rest.substr(0, comma));
    return session::options_of(rest.substr(comma + 1), specs);
}

// A value as messages show it: "%12.0g" without its padding.
std::string value_text(double x) {
    Fmt f;
    fmt_parse("%12.0g", f, true);
    char buf[FMT_BUFSIZE];
    return trimmed(std::string_view(buf, (size_t)fmt_number(x, f, buf, sizeof buf)));
}

// Cuts a label to VARLABEL_MAX bytes with the note that says so.
void cut_label(std::string &text) {
    if (text.size() <= (size_t)VARLABEL_MAX) return;
    text.resize(VARLABEL_MAX);
    out::ClassScope cs(out::CLS_TEXT);
    out::out_textf("note: label truncated to %d characters\n", VARLABEL_MAX);
}

int check_label_name(const std::string &name) {
    if (name.empty()) return session::error(198);
    return session::check_name(name);
}

// The table changes count as changes of the data, as the links to them do; a temporary name does not.
void table_changed(const std::string &name) { mark_changed(name.c_str()); }

bool is_e(int v) { return std::strcmp(ds.varname[v - 1], "(e)") == 0; }

// ---- label data, label variable -------------------------------------------------------------------

// label data ["text"]
int label_data() {
    std::string text;
    if (int rc = text_argument(session::tokrest(), text)) return rc;
    cut_label(text);
    std::snprintf(ds.datalabel, sizeof ds.datalabel, "%s", text.c_str());
    bump_changed();
    return 0;
}

// label variable varname ["text"]
int label_variable() {
    const std::string name = gettok(SEP_STD);
    if (name.empty()) return session::required("varname");
    const int v = varlookup(name, true, varabbrev);
    if (v < 0) return -v;
    std::string text;
    if (int rc = text_argument(session::tokrest(), text)) return rc;
    cut_label(text);
    if (int rc = varlabel_set(ds.varname[v - 1], text)) return session::error(rc);
    mark_changed(ds.varname[v - 1]);
    return 0;
}

// ---- label define -----------------------------------------------------------------------------

// pairs := { # text }   text := word | "text" | `"text"'
int read_pairs(std::string_view s, std::vector<std::pair<double, std::string>> &pairs) {
    size_t i = 0;
    for (;;) {
        while (i < s.size() && s[i] == ' ')
            ++i;
        if (i >= s.size()) break;
        size_t b = i;
        while (i < s.size() && s[i] != ' ')
            ++i;
        const std::string num(s.substr(b, i - b));
        double x;
        if (!text_to_number(num, x, true)) return session::error(198);
        while (i < s.size() && s[i] == ' ')
            ++i;
        if (i >= s.size()) return session::error(198);
        session::Quoted q;
        std::string text;
        if (session::quoted_at(s, i, q)) {
            if (!q.closed) return session::unmatched_quote();
            text = std::string(s.substr(q.begin, q.end - q.begin));
            i = q.next;
            if (i < s.size() && s[i] != ' ') return session::error(198);
        } else {
            b = i;
            while (i < s.size() && s[i] != ' ')
                ++i;
            text = std::string(s.substr(b, i - b));
        }
        pairs.emplace_back(x, std::move(text));
    }
    return 0;
}

// label define lblname # "text" [# "text" ...] [, add modify nofix]
int label_define() {
    const std::string name = gettok(SEP_STD);
    if (int rc = check_label_name(name)) return rc;
    bool add = false, modify = false, nofix = false;
    const session::OptSpec specs[] = {session::opt_flag("add", 3, add),
                                      session::opt_flag("modify", 3, modify),
                                      session::opt_flag("nofix", 5, nofix)};
    std::string body;
    if (int rc = split_options(session::tokrest(), &body, specs)) return rc;
    std::vector<std::pair<double, std::string>> pairs;
    if (int rc = read_pairs(body, pairs)) return rc;
    if (pairs.empty()) return session::error(198);
    for (const auto &[x, text] : pairs) {
        int32_t key;
        if (!vl_key(x, &key)) return session::fail(198, "may not label " + value_text(x) + "\n");
    }
    const bool exists = vl_exists(name.c_str());
    if (exists && !add && !modify) return session::already_defined("label " + name);

    std::map<int32_t, std::string> table;
    if (exists) {
        std::vector<ValueLabel> old;
        vl_entries(name.c_str(), old);
        for (ValueLabel &e : old)
            table[e.key] = std::move(e.text);
    }
    std::map<int32_t, std::string> before = table;
    for (auto &[x, text] : pairs) {
        int32_t key;
        vl_key(x, &key);
        auto old = before.find(key);
        if (!modify && old != before.end() && old->second != text) return session::error(7196);
        if (modify && text.empty())
            table.erase(key);
        else
            table[key] = text;
    }
    std::vector<ValueLabel> entries;
    for (auto &[key, text] : table)
        entries.push_back({key, std::move(text)});
    if (int rc = vl_store(name.c_str(), std::move(entries))) return session::error(rc);
    table_changed(name);
    if (!nofix) widen_label_formats(name.c_str());
    return 0;
}

// ---- label values -----------------------------------------------------------------------------

// label values varlist [lblname | .] [, nofix]: with one word only, the link is cleared.
int label_values() {
    bool nofix = false;
    const session::OptSpec specs[] = {session::opt_flag("nofix", 5, nofix)};
    std::string body;
    if (int rc = split_options(session::tokrest(), &body, specs)) return rc;
    body = trimmed(body);
    if (body.empty()) return session::required("varlist");
    std::string lbl, list = body;
    const size_t last = body.find_last_of(' ');
    if (last != std::string::npos) {
        lbl = body.substr(last + 1);
        list = trimmed(body.substr(0, last));
        if (lbl == ".")
            lbl.clear();
        else if (int rc = check_label_name(lbl))
            return rc;
    }
    session::settok(list.c_str());
    if (int rc = parse_varlist(VL_ANY)) return rc;
    if (*session::tokrest()) return session::invalid_rest(session::tokrest());
    std::vector<int> vars;
    for (int k = 0; k < ps.count; ++k)
        if (ps.var[k] >= 1 && !is_e(ps.var[k])) vars.push_back(ps.var[k]);
    if (!lbl.empty())
        for (int v : vars)
            if (is_string_type(ds.vartype[v - 1])) return session::error(181);
    for (int v : vars) {
        if (is_string_type(ds.vartype[v - 1])) continue;
        std::snprintf(ds.vallab[v - 1], VNAMELEN + 1, "%s", lbl.c_str());
        mark_changed(ds.varname[v - 1]);
    }
    if (!lbl.empty() && !nofix) widen_label_formats(lbl.c_str());
    return 0;
}

// ---- label dir, label list ----------------------------------------------------------------------

// label dir
int label_dir() {
    if (*session::tokrest()) return session::invalid_rest(session::tokrest());
    mat::r_clear();
    std::string all;
    for (const std::string &n : vl_names()) {
        {
            out::ClassScope cs(out::CLS_RESULT);
            out::out_text(n);
            out::out_text("\n");
        }
        if (!all.empty()) all += ' ';
        all += n;
        if (session::poll_break()) return 1;
    }
    return all.empty() ? 0 : mat::r_set_macro("names", all);
}

// The names a subcommand works on, each of which must be a table: all of them when none is given.
int table_names(const std::vector<std::string> &given, std::vector<std::string> &names) {
    if (given.empty()) {
        names = vl_names();
        return 0;
    }
    for (const std::string &n : given) {
        if (int rc = check_label_name(n)) return rc;
        if (!vl_exists(n.c_str())) return session::label_not_found(n);
    }
    names = given;
    return 0;
}

// label list [lblname ...]: r(k), r(min), r(max) and r(hasemiss) describe the last table listed.
int label_list() {
    std::vector<std::string> names;
    if (int rc = table_names(words(session::tokrest()), names)) return rc;
    mat::r_clear();
    Fmt f;
    fmt_parse("%12.0g", f, true);
    for (const std::string &n : names) {
        std::vector<ValueLabel> e;
        vl_entries(n.c_str(), e);
        {
            out::ClassScope cs(out::CLS_TEXT);
            out::out_text(n + ":\n");
        }
        bool any = false, emiss = false;
        double lo = 0, hi = 0;
        for (const ValueLabel &l : e) {
            const double x = vl_value(l.key);
            char buf[FMT_BUFSIZE];
            const int len = fmt_number(x, f, buf, sizeof buf);
            write_wrapped(std::string(buf, (size_t)len), l.text, len + 1);
            if (is_missing(x)) {
                emiss = true;
            } else {
                lo = any ? std::min(lo, x) : x;
                hi = any ? std::max(hi, x) : x;
                any = true;
            }
            if (session::poll_break()) return 1;
        }
        mat::r_clear();
        int rc = mat::r_set_scalar("k", (double)e.size());
        if (!rc && any) rc = mat::r_set_scalar("min", lo);
        if (!rc && any) rc = mat::r_set_scalar("max", hi);
        if (!rc) rc = mat::r_set_scalar("hasemiss", emiss ? 1 : 0);
        if (rc) return session::error(rc);
    }
    return 0;
}

// ---- label copy, label drop ---------------------------------------------------------------------

// label copy lblname newlblname [, replace]
int label_copy() {
    bool replace = false;
    const session::OptSpec specs[] = {session::opt_flag("replace", 7, replace)};
    std::string body;
    if (int rc = split_options(session::tokrest(), &body, specs)) return rc;
    const std::vector<std::string> w = words(body);
    if (w.size() < 2) return session::error(198);
    if (w.size() > 2) return session::invalid_rest(trimmed(body.substr(body.find(w[2]))));
    if (int rc = check_label_name(w[0])) return rc;
    if (int rc = check_label_name(w[1])) return rc;
    if (!vl_exists(w[0].c_str())) return session::label_not_found(w[0]);
    if (w[0] == w[1]) return 0;
    if (vl_exists(w[1].c_str()) && !replace) return session::already_defined("label " + w[1]);
    std::vector<ValueLabel> e;
    vl_entries(w[0].c_str(), e);
    if (int rc = vl_store(w[1].c_str(), std::move(e))) return session::error(rc);
    table_changed(w[1]);
    widen_label_formats(w[1].c_str());
    return 0;
}

// label drop {lblname ... | _all}
int label_drop() {
    const std::vector<std::string> w = words(session::tokrest());
    if (w.empty()) return session::error(198);
    std::vector<std::string> names;
    if (w.size() == 1 && w[0] == "_all") {
        names = vl_names();
    } else if (int rc = table_names(w, names)) {
        return rc;
    }
    for (const std::string &n : names) {
        vl_drop(n.c_str());
        table_changed(n);
    }
    return 0;
}

// ---- label save -------------------------------------------------------------------------------

// A label text as a do-file holds it: in compound quotes, with `$` and the left quote kept from
// expansion when the file runs.
std::string saved_text(const std::string &t) {
    std::string s = "`\"";
    for (char c : t) {
        if (c == '$' || c == '`') s += '\\';
        s += c;
    }
    return s + "\"'";
}

std::string saved_value(int32_t key) {
    const double x = vl_value(key);
    if (is_missing(x)) return std::string(".") + (char)('a' + missing_index(x) - 1);
    return std::to_string(key);
}

// Writes text to a new file beside path and renames it into place, so that a failure part way
// leaves an old file whole. 0, or the code of the file family with its message.
int write_beside(const std::string &path, const std::string &text) {
    const std::string tmp = path + "." + std::to_string((long)::getpid()) + ".new";
    const int fd = ::open(tmp.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (fd < 0) return session::file_error(603, path);
    const bool ok = session::write_all(fd, text.data(), text.size());
    const int err = errno;
    if (::close(fd) != 0 || !ok) {
        ::unlink(tmp.c_str());
        return session::file_error(!ok && err == ENOSPC ? 699 : 693, path);
    }
    if (std::rename(tmp.c_str(), path.c_str()) != 0) {
        ::unlink(tmp.c_str());
        return session::error(694);
    }
    return 0;
}

// label save [lblname ...] using filename [, replace]
int label_save() {
    bool replace = false;
    const session::OptSpec specs[] = {session::opt_flag("replace", 7, replace)};
    std::string body;
    if (int rc = split_options(session::tokrest(), &body, specs)) return rc;
    // The names stand before the word `using`, the file behind it.
    std::vector<std::string> given;
    std::string file;
    {
        std::string_view s = body;
        size_t i = 0;
        bool seen = false;
        while (i < s.size()) {
            while (i < s.size() && s[i] == ' ')
                ++i;
            if (i >= s.size()) break;
            if (seen) {
                session::Quoted q;
                if (!file.empty()) return session::invalid_rest(trimmed(s.substr(i)));
                if (session::quoted_at(s, i, q)) {
                    if (!q.closed) return session::unmatched_quote();
                    file = std::string(s.substr(q.begin, q.end - q.begin));
                    i = q.next;
                    if (file.empty()) return session::error(198);
                    continue;
                }
            }
            const size_t b = i;
            while (i < s.size() && s[i] != ' ')
                ++i;
            const std::string w(s.substr(b, i - b));
            if (seen)
                file = w;
            else if (w == "using")
                seen = true;
            else
                given.push_back(w);
        }
        if (!seen) return session::required("using");
        if (file.empty()) return session::error(7197);
    }
    if (session::path_extension(file).empty()) file += ".do";
    std::vector<std::string> names;
    if (int rc = table_names(given, names)) return rc;
    if (!replace && ::access(file.c_str(), F_OK) == 0) return session::file_error(602, file);
    std::string text;
    for (const std::string &n : names) {
        std::vector<ValueLabel> e;
        vl_entries(n.c_str(), e);
        for (const ValueLabel &l : e)
            text += "label define " + n + " " + saved_value(l.key) + " " + saved_text(l.text) + ", modify\n";
    }
    if (int rc = write_beside(file, text)) return rc;
    session::file_error(697, file);
    return 0;
}

// ---- label language ---------------------------------------------------------------------------

struct Languages {
    std::string cur;
    std::vector<std::string> all;
};

Languages languages() {
    Languages L;
    const char *c = char_get(DTA_OWNER, LANG_CUR);
    L.cur = c && *c ? c : LANG_DEFAULT;
    if (const char *l = char_get(DTA_OWNER, LANG_LIST)) L.all = words(l);
    if (std::find(L.all.begin(), L.all.end(), L.cur) == L.all.end()) L.all.insert(L.all.begin(), L.cur);
    return L;
}

int store_languages(const Languages &L) {
    std::string list;
    for (const std::string &n : L.all)
        list += (list.empty() ? "" : " ") + n;
    int rc = char_set(DTA_OWNER, LANG_CUR, L.cur);
    if (!rc) rc = char_set(DTA_OWNER, LANG_LIST, list);
    bump_changed();
    return rc ? session::error(rc) : 0;
}

bool has_language(const Languages &L, const std::string &name) {
    return std::find(L.all.begin(), L.all.end(), name) != L.all.end();
}

// The owners whose labels belong to a language: the dataset (its data label) and each variable.
std::vector<std::string> language_owners() {
    std::vector<std::string> o{DTA_OWNER};
    for (int v = 1; v <= ds.nvar; ++v)
        if (!is_e(v)) o.emplace_back(ds.varname[v - 1]);
    return o;
}

std::string owner_label(const std::string &owner) {
    if (owner == DTA_OWNER) return ds.datalabel;
    const char *l = varlabel_get(owner.c_str());
    return l ? l : "";
}

// The labels in their normal places go into the characteristics of language lang.
int save_language(const std::string &lang) {
    const std::string vname = "_lang_v_" + lang, lname = "_lang_l_" + lang;
    for (const std::string &o : language_owners()) {
        int rc = char_set(o.c_str(), vname.c_str(), owner_label(o));
        if (!rc && o != DTA_OWNER) {
            const int v = find_var(o.c_str());
            rc = char_set(o.c_str(), lname.c_str(), ds.vallab[v - 1]);
        }
        if (rc) return session::error(rc);
    }
    return 0;
}

// The labels of language lang come from its characteristics into the normal places, and the
// characteristics go: the current language's labels live only there.
int load_language(const std::string &lang) {
    const std::string vname = "_lang_v_" + lang, lname = "_lang_l_" + lang;
    std::vector<std::string> linked;
    for (const std::string &o : language_owners()) {
        const char *t = char_get(o.c_str(), vname.c_str());
        const std::string label = t ? t : "";
        if (o == DTA_OWNER) {
            std::snprintf(ds.datalabel, sizeof ds.datalabel, "%s", label.c_str());
        } else {
            if (int rc = varlabel_set(o.c_str(), label)) return session::error(rc);
            const int v = find_var(o.c_str());
            const char *l = char_get(o.c_str(), lname.c_str());
            std::snprintf(ds.vallab[v - 1], VNAMELEN + 1, "%s",
                          l && !is_string_type(ds.vartype[v - 1]) ? l : "");
            if (ds.vallab[v - 1][0]) linked.emplace_back(ds.vallab[v - 1]);
            char_set(o.c_str(), lname.c_str(), "");
        }
        char_set(o.c_str(), vname.c_str(), "");
    }
    std::sort(linked.begin(), linked.end());
    linked.erase(std::unique(linked.begin(), linked.end()), linked.end());
    for (const std::string &l : linked)
        widen_label_formats(l.c_str());
    return 0;
}

// The labels in the normal places go, as in a new language made without copy.
void clear_labels() {
    ds.datalabel[0] = '\0';
    for (int v = 1; v <= ds.nvar; ++v) {
        varlabel_set(ds.varname[v - 1], "");
        ds.vallab[v - 1][0] = '\0';
    }
}

void drop_language_chars(const std::string &lang) {
    const std::string vname = "_lang_v_" + lang, lname = "_lang_l_" + lang;
    for (const std::string &o : language_owners()) {
        char_set(o.c_str(), vname.c_str(), "");
        char_set(o.c_str(), lname.c_str(), "");
    }
}

void lang_note(const std::string &text) {
    out::ClassScope cs(out::CLS_TEXT);
    out::out_text(text);
}

void language_listing(const Languages &L) {
    out::ClassScope cs(out::CLS_TEXT);
    std::string s = "\n{title:Language for variable and value labels}\n\n";
    if (L.all.size() > 1) {
        s += "    Available languages:\n";
        for (const std::string &n : L.all)
            s += "            {res:" + n + "}\n";
        s += "\n{col 5}Currently set is:{col 37}{cmd:label language " + L.cur + "}\n\n";
        s += "{col 5}To select different language:{col 37}{cmd:label language} {it:name}\n\n";
    } else {
        s += "    In this dataset, value and variable labels\n";
        s += "    have been defined in only one\n";
        s += "    language:  {res:" + L.cur + "}\n\n";
    }
    s += "{col 5}To create new language:{col 37}{cmd:label language} {it:name}{cmd:, new}\n";
    s += "{col 5}To rename current language:{col 37}{cmd:label language} {it:name}{cmd:, rename}\n";
    out::out_rimu(s);
}

// label language [name] [, new copy rename delete]
int label_language() {
    bool isnew = false, copy = false, rename = false, del = false;
    const session::OptSpec specs[] = {session::opt_flag("new", 3, isnew), session::opt_flag("copy", 4, copy),
                                      session::opt_flag("rename", 6, rename),
                                      session::opt_flag("delete", 6, del)};
    std::string body;
    if (int rc = split_options(session::tokrest(), &body, specs)) return rc;
    const std::vector<std::string> w = words(body);
    if (w.size() > 1) return session::invalid_rest(trimmed(body.substr(body.find(w[1]))));
    if ((int)isnew + (int)rename + (int)del > 1)
        return session::fail(198, "options -delete-, -new-, and -rename- may be not be combined\n");
    if (copy && !isnew) return session::fail(198, "option -copy- may only be specified with option -new-\n");
    Languages L = languages();
    if (w.empty()) {
        if (isnew || rename || del) return session::required("language name");
        language_listing(L);
        return 0;
    }
    const std::string &name = w[0];
    if (!session::name_ok(name) || (int)name.size() > LANGNAME_MAX) return session::invalid_name(name);

    if (isnew || rename) {
        if (has_language(L, name)) return session::fail(110, "language " + name + " already exists\n");
        if (rename) {
            std::replace(L.all.begin(), L.all.end(), L.cur, name);
            const std::string old = L.cur;
            L.cur = name;
            if (int rc = store_languages(L)) return rc;
            lang_note("language " + old + " renamed " + name + "\n");
            return 0;
        }
        if ((int)L.all.size() >= LANG_MAX)
            return session::fail(1000, "cannot create new language; too many languages\n");
        if (int rc = save_language(L.cur)) return rc;
        if (!copy) clear_labels();
        L.all.push_back(name);
        L.cur = name;
        if (int rc = store_languages(L)) return rc;
        lang_note("(language " + name + " now current language)\n");
        return 0;
    }
    if (!has_language(L, name)) return session::fail(111, "language " + name + " not defined\n");
    if (del) {
        if (L.all.size() == 1)
            return session::fail(198, "language " + name + " is the only language defined;" +
                                          " it may not be deleted\n");
        L.all.erase(std::find(L.all.begin(), L.all.end(), name));
        if (name != L.cur) {
            drop_language_chars(name);
            return store_languages(L);
        }
        // The current language goes: the first of the others takes its place.
        L.cur = L.all.front();
        if (int rc = load_language(L.cur)) return rc;
        if (int rc = store_languages(L)) return rc;
        lang_note("(language " + L.cur + " now current language)\n");
        return 0;
    }
    if (name == L.cur) {
        lang_note("(" + name + " already current language)\n");
        return 0;
    }
    if (int rc = save_language(L.cur)) return rc;
    if (int rc = load_language(name)) return rc;
    L.cur = name;
    if (int rc = store_languages(L)) return rc;
    lang_note("(language " + name + " now current language)\n");
    return 0;
}

// The subcommands, tried in this order: `val` is values, `va` and `v` variable.
struct Sub {
    const char *name;
    int minlen;
    int (*run)();
};
const Sub subs[] = {
    {"data", 2, label_data},         {"define", 2, label_define}, {"dir", 3, label_dir},
    {"drop", 4, label_drop},         {"values", 3, label_values}, {"variable", 1, label_variable},
    {"list", 1, label_list},         {"copy", 4, label_copy},     {"save", 4, label_save},
    {"language", 4, label_language},
};

} // namespace

int text_argument(std::string_view rest, std::string &text) {
    const std::string s = trimmed(rest);
    session::Quoted q;
    if (!s.empty() && session::quoted_at(s, 0, q)) {
        if (!q.closed) return session::unmatched_quote();
        if (q.next != s.size()) return session::invalid_rest(trimmed(std::string_view(s).substr(q.next)));
        text = s.substr(q.begin, q.end - q.begin);
        return 0;
    }
    text = s;
    return 0;
}

void write_wrapped(std::string_view head, std::string_view text, int indent) {
    const int linesize = std::max(session::se.linesize, 40);
    {
        out::ClassScope cs(out::CLS_TEXT);
        out::out_text(head);
    }
    int col = (int)head.size();
    out::ClassScope cs(out::CLS_RESULT);
    bool first = true;
    while (!text.empty()) {
        if (!first) {
            out::out_text("\n");
            out::out_blanks(indent);
            col = indent;
        }
        if (col < indent) {
            out::out_blanks(indent - col);
            col = indent;
        } else if (first && col >= indent) {
            out::out_text(" ");
            ++col;
        }
        const size_t room = (size_t)std::max(linesize - col, 10);
        size_t take = text.size();
        if (take > room) {
            take = text.substr(0, room + 1).rfind(' ');
            if (take == std::string_view::npos || take == 0) take = room;
        }
        out::out_text(text.substr(0, take));
        text.remove_prefix(take);
        while (!text.empty() && text.front() == ' ')
            text.remove_prefix(1);
        first = false;
    }
    out::out_text("\n");
}

void widen_label_formats(const char *lblname) {
    const int widest = std::min(vl_widest(lblname), FMT_MAXWIDTH);
    if (widest == 0) return;
    for (int v = 1; v <= ds.nvar; ++v) {
        if (std::strcmp(ds.vallab[v - 1], lblname) != 0 || is_string_type(ds.vartype[v - 1])) continue;
        Fmt f;
        if (fmt_parse(ds.fmt[v - 1], f, true) || f.kind != 'n') continue;
        if (f.style != 'g' && f.style != 'f' && f.style != 'e') continue;
        if (f.width >= widest) continue;
        char buf[FMT_MAXLEN + 1];
        std::snprintf(buf, sizeof buf, "%%%s%s%d%c%d%c%s", f.just < 0 ? "-" : "", f.zero ? "0" : "", widest,
                      f.comma ? ',' : '.', f.digits, f.style, f.group ? "c" : "");
        std::snprintf(ds.fmt[v - 1], FMTLEN + 1, "%s", buf);
    }
}

// _label subcommand ...
int cmd_label(int) {
    const std::string word = gettok(SEP_STD);
    if (word.empty()) return session::error(198);
    for (const Sub &s : subs)
        if (cmdmatch(word.c_str(), s.name, s.minlen)) return s.run();
    return session::error(198);
}

} // namespace data

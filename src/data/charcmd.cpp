// char: characteristics of the dataset (`_dta`) and of its variables, defined, listed and renamed.
#include <cctype>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "data/dataset.h"
#include "data/labelcmd.h"
#include "data/labels.h"
#include "data/varlist.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/options.h"
#include "session/state.h"
#include "session/tok.h"

namespace data {

namespace {

using session::cmdmatch;

constexpr int CHARLIST_COL = 30; // where the texts of `char list` begin

// A reference evarname[charname], as the user wrote it and as it resolves.
struct CharRef {
    std::string owner; // `_dta` or the variable's full name
    std::string name;  // empty for evarname[] or a bare evarname
};

bool name_char(char c) { return std::isalnum((unsigned char)c) || c == '_'; }

// evarname[charname] at the start of s (or, with bare, evarname alone); *used gets its length.
// 0, or the code with the message written.
int read_ref(std::string_view s, bool bare, CharRef &r, size_t *used) {
    size_t i = 0;
    while (i < s.size() && s[i] != '[' && s[i] != ' ')
        ++i;
    const std::string owner(s.substr(0, i));
    if (owner.empty()) return session::error(198);
    if (i < s.size() && s[i] == '[') {
        const size_t close = s.find(']', i);
        if (close == std::string_view::npos) return session::error(198);
        r.name = std::string(s.substr(i + 1, close - i - 1));
        i = close + 1;
        if (!r.name.empty() && (!session::name_ok(r.name) || r.name.size() >= (size_t)CHARNAME_LEN))
            return session::invalid_name(r.name);
    } else if (!bare) {
        return session::error(198);
    }
    if (owner == DTA_OWNER) {
        r.owner = owner;
    } else {
        const int v = varlookup(owner, true, varabbrev);
        if (v < 0) return -v;
        r.owner = ds.varname[v - 1];
    }
    *used = i;
    return 0;
}

// A characteristic of the dataset is a change of it; one of a temporary variable is not.
void char_changed(const std::string &owner) {
    if (owner == DTA_OWNER)
        bump_changed();
    else
        mark_changed(owner.c_str());
}

// [define] evarname[charname] ["text"]
int char_define(std::string_view s) {
    CharRef r;
    size_t used = 0;
    if (int rc = read_ref(s, false, r, &used)) return rc;
    if (r.name.empty()) return session::error(198);
    std::string text;
    if (int rc = text_argument(s.substr(used), text)) return rc;
    if (int rc = char_set(r.owner.c_str(), r.name.c_str(), text)) return session::error(rc);
    char_changed(r.owner);
    return 0;
}

void list_owner(const std::string &owner, const std::string &only) {
    for (const auto &[name, text] : char_list(owner.c_str())) {
        if (!only.empty() && name != only) continue;
        write_wrapped("  " + owner + "[" + name + "]:", text, CHARLIST_COL);
        if (session::poll_break()) return;
    }
}

// list [evarname[charname] | evarname[] | evarname]
int char_list_cmd(std::string_view s) {
    while (!s.empty() && s.front() == ' ')
        s.remove_prefix(1);
    if (s.empty()) {
        for (const std::string &o : char_owners()) {
            list_owner(o, "");
            if (session::poll_break()) return 1;
        }
        return 0;
    }
    CharRef r;
    size_t used = 0;
    if (int rc = read_ref(s, true, r, &used)) return rc;
    const std::string_view rest = s.substr(used);
    if (rest.find_first_not_of(' ') != std::string_view::npos)
        return session::invalid_rest(rest.substr(rest.find_first_not_of(' ')));
    list_owner(r.owner, r.name);
    return session::poll_break() ? 1 : 0;
}

// rename oldvar newvar [, replace]
int char_rename(std::string_view s) {
    bool replace = false;
    const session::OptSpec specs[] = {session::opt_flag("replace", 7, replace)};
    const size_t comma = session::options_comma(s);
    if (comma != std::string_view::npos) {
        if (int rc = session::options_of(s.substr(comma + 1), specs)) return rc;
        s = s.substr(0, comma);
    }
    std::vector<std::string> w;
    for (size_t i = 0; i < s.size();) {
        while (i < s.size() && s[i] == ' ')
            ++i;
        const size_t b = i;
        while (i < s.size() && s[i] != ' ')
            ++i;
        if (i > b) w.emplace_back(s.substr(b, i - b));
    }
    if (w.size() < 2) return session::error(102);
    if (w.size() > 2) return session::error(103);
    const int from = varlookup(w[0], true, varabbrev);
    if (from < 0) return -from;
    const int to = varlookup(w[1], true, varabbrev);
    if (to < 0) return -to;
    if (from == to) return 0;
    const std::string oldname = ds.varname[from - 1], newname = ds.varname[to - 1];
    const auto moving = char_list(oldname.c_str());
    for (const auto &[name, text] : moving)
        if (char_get(newname.c_str(), name.c_str()) && !replace)
            return session::fail(110, "characteristic " + newname + "[" + name + "] already exists\n");
    for (const auto &[name, text] : moving)
        char_set(newname.c_str(), name.c_str(), "");
    char_rekey(oldname.c_str(), newname.c_str());
    mark_changed(oldname.c_str());
    mark_changed(newname.c_str());
    return 0;
}

// A subcommand word stands alone; glued to `[` it is the name of a variable.
bool is_sub(std::string_view s, const char *name, int minlen, size_t *after) {
    size_t i = 0;
    while (i < s.size() && name_char(s[i]))
        ++i;
    if (i == 0 || (i < s.size() && s[i] != ' ')) return false;
    const std::string w(s.substr(0, i));
    if (!cmdmatch(w.c_str(), name, minlen)) return false;
    *after = i;
    return true;
}

} // namespace

int cmd_char(int) {
    const std::string line = session::tokrest();
    std::string_view s = line;
    while (!s.empty() && s.back() == ' ')
        s.remove_suffix(1);
    if (s.empty()) return session::error(198);
    size_t after = 0;
    if (is_sub(s, "define", 2, &after)) {
        std::string_view r = s.substr(after);
        while (!r.empty() && r.front() == ' ')
            r.remove_prefix(1);
        return char_define(r);
    }
    if (is_sub(s, "list", 1, &after)) return char_list_cmd(s.substr(after));
    if (is_sub(s, "rename", 3, &after)) return char_rename(s.substr(after));
    return char_define(s);
}

} // namespace data

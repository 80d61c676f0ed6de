// Settings: `set`, `query`, `c()` and `creturn list`, all driven by one table of settings.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace session {

int cmd_set(int);
int cmd_query(int);
int cmd_creturn(int);

// The session's settings that no other subsystem holds. Values of choice settings are 1-based
// positions in their word lists.
struct Settings {
    int linesize = 79;
    int pagesize = 23;
    int adosize = 1000;  // units of 1000 bytes
    int kilncache = 400; // kilobytes
    int kilnfavor = 1;   // speed, space
    bool kilnstrict = false;
    bool kilnkofirst = false;
    bool kilnlnum = false;
    bool kilnoptimize = true;
    int kilndebug = 0;
    std::string kilnlibs; // empty: the built-in list
    int charset = 1;      // latin1, mac
    bool checksum = false;
    int logtype = 2; // text, rimu
    int maxiter = 16000;
    bool netdebug = false;
    int printcolor = 1;    // automatic, asis, gs1, gs2, gs3
    int searchdefault = 1; // local, net, all
    int timeout1 = 120;
    int timeout2 = 300;
    bool trace = false;
    int tracedepth = 32000;
    bool traceindent = true;
    bool traceexpand = true;
    bool tracesep = true;
    bool tracenumber = false;
    std::string tracehilite;
    bool tracehilite_word = false;
    bool tracecode = false;
    bool tracetime = false;
    int type = 254;  // default storage type: 254 float, 255 double
    int odbcmgr = 1; // iodbc, unixodbc
    std::string scheme = "s2color";
    std::string level = "95";
    bool beep = true;
    bool virtual_ = false;
    bool graphics = true;
    int textsize = 100;
    bool httpproxy = false;
    std::string httpproxyhost;
    int httpproxyport = 80;
    bool httpproxyauth = false;
    std::string httpproxyuser;
    std::string httpproxypw;
    long long seed0 = 0;
    long long sortseed = 1001;
    bool profiling = false;
    double tol = 1e-13;
    bool update_query = false;
    int update_interval = 7;
    bool update_prompt = true;
    int update_oride = 0;
    std::string term;
    bool cmdtitle = false;
};
extern Settings se;

// c(name) as text: numbers by %18.0g, strings as they are. False for a name not in the list.
bool creturn_text(std::string_view name, std::string &text);
// c(name) typed: true with *is_string telling which of num and str holds the value.
bool creturn_value(std::string_view name, double *num, std::string *str, bool *is_string);

// c(name) for the expression evaluator: 0 unknown, 1 a number in *v, 2 text in buf.
int creturn_for_expressions(const char *name, double *v, char *buf);

// Start-up: the settings stored in the preference store (group set_c), and the level (cilevel).
void load_stored_settings();
void load_stored_level();

} // namespace session

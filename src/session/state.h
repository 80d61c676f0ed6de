// The process-wide state of the session: the limits, the flags of the running line, the start-up
// figures, the settings, and Break. The lowest header of the program: it includes nothing of it.
#pragma once
#include <cstdint>
#include <string>

namespace session {

inline constexpr int maxcmdlen = 165200;  // a command line
inline constexpr int maxmaclen = 165216;  // a line after macro expansion
inline constexpr int max_callframes = 64; // nested do-files, programs and includes

struct FileSource; // a do-file being read (session/reader.cpp)

struct Loop {
    uint8_t execflag = 1;          // commands are carried out (0 while a branch is skipped)
    uint8_t in_prog = 0;           // lines come from a stored program or file rather than the terminal
    FileSource *curfile = nullptr; // the do-file being read; none means the terminal
    void *curprog = nullptr;       // the stored program being run
    int curline = 0;               // index of its next line
    char progname[33] = {};
    char ownername[33] = {};
    char cmdword[33] = {};
    int linerc = 0;
    uint8_t delimiter_semi = 0; // #delimit ; in force for the current file
    // Break: written only by the routines at the end of this header, read through poll_break().
    int PendingBreak = 0;
    int breakheld = 0;
    int breakenabled = 1;
    int execdepth = 0; // execline calls in progress; a Break is forgotten only at depth 0
    uint8_t exitlevel = 0;
    uint8_t exitsession = 0;
    int capture_rc = 0; // _rc
    int32_t cmdserial = 0;
    int16_t version = 1010;
    uint8_t modernmissing = 1;
    uint8_t rmsg = 0;
    uint8_t loopliteral = 0;
    uint8_t at_prompt = 0;
    uint8_t byprefix = 0; // a by-prefix is running this line
    int callframes = 0;   // nested do-files, programs and includes running
    double rmsg_time = 0; // c(rmsg_time)
};
extern Loop lp;

// The directories of the ado path by their sysdir names, each with a trailing '/'.
struct Sysdirs {
    std::string UPDATES, BASE, SITE, PLUS, PERSONAL, OLDPLACE;
};

struct Startup {
    int initstage = 0;
    int batchmode = 0; // 0 interactive; 1 batch; 2 batch with -q (no echo of the command)
    uint8_t noninteractive = 0;
    uint8_t saveprefs = 0;
    std::string tmpdir;
    int pid = 0;
    int umask0 = 0;
    std::string sysdir_orvat; // with a trailing '/'
    int64_t memory_bytes = 10485760;
    int32_t maxvar = 5000;
    int32_t matsize = 400;
    uint8_t quiet = 0;        // -q
    uint8_t logtype_rimu = 0; // -s
    uint8_t fell_back = 0;    // the memory request fell back to the defaults
    int64_t asked_memory = 0;
    int32_t asked_maxvar = 0, asked_matsize = 0;
    std::string path;    // PATH, kept for file searches
    std::string term;    // ORVATTERM over TERM, up to 512 bytes
    uint8_t editing = 0; // command line editing possible
    volatile int fpe_seen = 0;
    int batchfd = -1;
    Sysdirs sysdirs;
    uint8_t dp_comma = 0; // -c: comma as the decimal point
    int processors = 0;   // -p#: 0 means the default
};
extern Startup st;

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

// Break. A press (the SIGINT handler, the pager's q) raises it: pending at once, or held while
// nobreak is in force. Loops poll it between passes and return 1.
void break_signal();
// Forgets a pending or held Break: a new command at the top, capture.
void break_clear();
// Enter (0) or leave (1) nobreak: moves a pending Break into breakheld and back.
void break_enable(int enabled);
// Worker threads poll it too, so the read is atomic.
inline int poll_break() { return __atomic_load_n(&lp.PendingBreak, __ATOMIC_RELAXED) ? 1 : 0; }

} // namespace session

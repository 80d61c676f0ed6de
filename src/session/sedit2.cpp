// Start-up: options, environment, system directory, memory, notes, profiles; and the one exit path.
#include "session/sedit2.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/dates.h"
#include "data/expr.h"
#include "data/labels.h"
#include "data/postfile.h"
#include "data/varlist.h"
#include "estimate/frame.h"
#include "lang/prog.h"
#include "matrix/matexpr.h"
#include "matrix/results.h"
#include "output/channel.h"
#include "output/log.h"
#include "output/rimu.h"
#include "output/term.h"
#include "session/filehandles.h"
#include "session/findfile.h"
#include "session/hexfloat.h"
#include "session/lineedit.h"
#include "session/loop.h"
#include "session/prefs.h"
#include "session/settings.h"
#include "session/store.h"
#include "session/tempnames.h"
#include "session/tok.h"

namespace session {

namespace {

const char usage_text[] = "\norvat-px:  usage:  orvat-px [-h -k# -m# -q -s -b] [\"orvat command\"]\n"
                          "        where:\n"
                          "             -h      show this display\n"
                          "             -k#     set data memory to #k, default is 1024\n"
                          "             -m#     set data memory to #m, -m1 same as -k1024\n"
                          "             -q      suppress logo, initialization messages\n"
                          "             -s      \"batch\" mode creating .rimu log\n"
                          "             -b      \"batch\" mode creating .log file\n"
                          "\n"
                          "        Notes:\n"
                          "             xorvat-px is the command to launch the GUI version of Orvat/PX\n"
                          "             orvat-px  is the command to launch the console version of Orvat/PX\n"
                          "\n"
                          "             -b is better than \"orvat-px < filename > filename\".\n";

constexpr int64_t default_memory = 10485760;
constexpr int32_t default_maxvar = 5000;
constexpr int32_t default_matsize = 400;

void to_stderr(const char *s) {
    size_t n = std::strlen(s);
    while (n > 0) {
        ssize_t w = ::write(2, s, n);
        if (w <= 0) return;
        s += w;
        n -= (size_t)w;
    }
}

[[noreturn]] void usage() {
    to_stderr(usage_text);
    exit_path(0);
}

// The number of a numeric option: digits only, directly after the letter.
bool option_number(const char *p, long long *out) {
    if (!*p) return false;
    long long v = 0;
    for (; *p; ++p) {
        if (*p < '0' || *p > '9') return false;
        if (v > (LLONG_MAX - 9) / 10) return false;
        v = v * 10 + (*p - '0');
    }
    *out = v;
    return true;
}

int processors_available() {
    long n = sysconf(_SC_NPROCESSORS_ONLN);
    return n < 1 ? 1 : (int)n;
}

std::string with_slash(std::string d) {
    if (d.empty() || d.back() != '/') d.push_back('/');
    return d;
}

bool has_marker(const std::string &dir) {
    struct stat sb;
    return ::stat((dir + "isorvat.100").c_str(), &sb) == 0;
}

bool find_sysdir() {
    std::vector<std::string> cand;
    if (const char *e = std::getenv("SYSDIR_ORVAT")) cand.push_back(with_slash(e));
    cand.push_back("/usr/local/orvat10.1/");
    cand.push_back("/usr/local/orvat10.0/");
    cand.push_back("/usr/local/orvat10/");
    cand.push_back("/usr/local/orvat/");
    size_t start = 0;
    const std::string &path = st.path;
    while (start <= path.size()) {
        size_t end = path.find(':', start);
        if (end == std::string::npos) end = path.size();
        std::string e = path.substr(start, end - start);
        size_t b = e.find_first_not_of(' ');
        e = b == std::string::npos ? "" : e.substr(b);
        if (!e.empty() && e.size() <= 499) cand.push_back(with_slash(e));
        start = end + 1;
    }
    char cwd[4096];
    if (getcwd(cwd, sizeof cwd)) cand.push_back(with_slash(cwd));
    for (const std::string &c : cand) {
        if (c.size() > 499) continue;
        if (has_marker(c)) {
            st.sysdir_orvat = c;
            return true;
        }
    }
    return false;
}

std::string home_expand(const std::string &name) {
    if (name.size() >= 1 && name[0] == '~' && (name.size() == 1 || name[1] == '/')) {
        const char *h = std::getenv("HOME");
        if (h) return std::string(h) + name.substr(1);
    }
    return name;
}

bool readable(const std::string &p) {
    struct stat sb;
    return ::stat(p.c_str(), &sb) == 0 && S_ISREG(sb.st_mode) && ::access(p.c_str(), R_OK) == 0;
}

// Where a profile is looked for: the system directory, the name as it stands, PATH, the system
// directory again, then the ado path.
std::string find_profile(const std::string &name) {
    if (name.find('/') == std::string::npos && readable(st.sysdir_orvat + name))
        return st.sysdir_orvat + name;
    std::string as_is = home_expand(name);
    if (readable(as_is)) return as_is;
    size_t start = 0;
    while (start <= st.path.size()) {
        size_t end = st.path.find(':', start);
        if (end == std::string::npos) end = st.path.size();
        std::string e = st.path.substr(start, end - start);
        if (!e.empty() && e.size() <= 499 && readable(with_slash(e) + name)) return with_slash(e) + name;
        start = end + 1;
    }
    if (readable(st.sysdir_orvat + name)) return st.sysdir_orvat + name;
    std::string found;
    if (session::find_on_adopath(name.c_str(), &found)) return found;
    return "";
}

// The log of batch mode, named after the command: `do dir/x.y.do` -> x.log, else orvat.log.
int open_batch_log(const std::string &cmd) {
    size_t i = cmd.find_first_not_of(' ');
    if (i == std::string::npos) {
        to_stderr("-b specified with no command\n");
        return 1;
    }
    size_t e = cmd.find(' ', i);
    std::string first = cmd.substr(i, e == std::string::npos ? std::string::npos : e - i);
    const char *ext = st.logtype_rimu ? ".rimu" : ".log";
    std::string name = std::string("orvat") + ext;
    if (first.size() < 7 && (first == "do" || first == "run") && e != std::string::npos) {
        size_t j = cmd.find_first_not_of(' ', e);
        if (j != std::string::npos) {
            size_t k = cmd.find(' ', j);
            std::string second = cmd.substr(j, k == std::string::npos ? std::string::npos : k - j);
            if (!second.empty() && second[0] == '"') second.erase(0, 1);
            if (!second.empty() && second.back() == '"') second.pop_back();
            if (second.size() <= 498) {
                size_t slash = second.rfind('/');
                std::string base = slash == std::string::npos ? second : second.substr(slash + 1);
                size_t dot = base.find('.');
                if (dot != std::string::npos) base = base.substr(0, dot);
                name = base + ext;
            }
        }
    }
    int fd =
        ::open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, (mode_t)((st.umask0 ^ 0777) & 0666));
    if (fd < 0) {
        std::string m = "unable to open `" + name + "'\n";
        to_stderr(m.c_str());
        return 1;
    }
    st.batchfd = fd;
    return 0;
}

// The initial command from the arguments after the options; an ending of the first one puts a
// command word before it.
std::string initial_command(int argc, char **argv, int first) {
    std::string cmd;
    for (int i = first; i < argc; ++i) {
        std::string a = argv[i];
        if (i == first && !a.empty()) {
            std::string low;
            for (char c : a)
                low.push_back((char)std::tolower((unsigned char)c));
            if (!low.empty() && low.back() == '"') low.pop_back();
            auto ends = [&](const char *sfx) {
                size_t n = std::strlen(sfx);
                return low.size() >= n && low.compare(low.size() - n, n, sfx) == 0;
            };
            if (ends(".dta"))
                cmd += "use ";
            else if (ends(".do"))
                cmd += "do ";
            else if (ends(".rimu"))
                cmd += "view ";
            else if (ends(".gph"))
                cmd += "graph use ";
        }
        cmd += a;
        cmd += ' ';
    }
    return cmd;
}

void on_sigfpe(int) {
    st.fpe_seen = 1;
    signal(SIGFPE, on_sigfpe);
}

void on_sigint(int) { break_signal(); }

void install_signals() {
    struct sigaction sa {};
    sa.sa_handler = on_sigfpe;
    sigaction(SIGFPE, &sa, nullptr);
    signal(SIGPIPE, SIG_IGN); // a closed standard output must not end the session
    if (!st.noninteractive) {
        struct sigaction si {};
        si.sa_handler = on_sigint; // no SA_RESTART: a blocked read returns so Break is seen
        sigaction(SIGINT, &si, nullptr);
        struct sigaction sw {};
        sw.sa_handler = out::on_winch;
        sigaction(SIGWINCH, &sw, nullptr);
    }
}

const char logo[] =
    "\n"
    "{txt}  {c TLC}{hline 9}{c TRC}\n"
    "{txt}  {c |} {res}orvat{txt}   {c |}   Orvat/PX 10.1\n"
    "{txt}  {c |}    {res}px{txt}   {c |}   statistics and data analysis, multiprocessor edition\n"
    "{txt}  {c BLC}{hline 9}{c BRC}   born 10 Jun 2010\n";

void notes() {
    out::ClassScope cs(out::CLS_TEXT);
    out::out_text("\nNotes:\n");
    int k = 0;
    auto note = [&](const std::string &s) { out::out_textf("     %2d.  %s\n", ++k, s.c_str()); };
    char buf[200];
    std::snprintf(buf, sizeof buf, "(-m# option or -set memory-) %.2f MB allocated to data",
                  st.memory_bytes / 1048576.0);
    note(buf);
    std::snprintf(buf, sizeof buf, "(-v# option or -set maxvar-) %d maximum variables", st.maxvar);
    note(buf);
    struct stat sb;
    if (::stat((st.sysdir_orvat + "orvat-px.bin").c_str(), &sb) == 0)
        note("New executable previously downloaded; type -{orvat update swap}- to install");
    std::snprintf(buf, sizeof buf, "Command line editing %sabled", st.editing ? "en" : "dis");
    note(buf);
    if (st.noninteractive) note("Orvat running in batch mode");
    FILE *m = std::fopen((st.sysdir_orvat + "orvat.msg").c_str(), "r");
    if (m) {
        char line[512];
        while (std::fgets(line, sizeof line, m))
            out::out_rimu(line);
        std::fclose(m);
    }
}

void fallback_note() {
    out::ClassScope cs(out::CLS_TEXT);
    out::out_rimu("Note: Orvat has been initialized with{col 45}instead of\n");
    out::out_rimuf("      set memory  %6.0fk{col 45}set memory  %.0fk\n", st.memory_bytes / 1024.0,
                   st.asked_memory / 1024.0);
    out::out_rimuf("      set matsize %6d{col 45}set matsize %d\n", st.matsize, st.asked_matsize);
    out::out_rimuf("      set maxvar  %6d{col 45}set maxvar  %d\n", st.maxvar, st.asked_maxvar);
    out::out_rimu("{p 6 6 2}\nThe operating system refused to provide the memory asked for, so the "
                  "defaults are in use. Lower the request, or free memory elsewhere, and start again. "
                  "Your current preferences are\n{p_end}\n");
    out::out_rimuf("      . set memory  %.0fk, permanent\n", st.asked_memory / 1024.0);
    out::out_rimuf("      . set matsize %d, permanent\n", st.asked_matsize);
    out::out_rimuf("      . set maxvar  %d, permanent\n", st.asked_maxvar);
}

// Allocates the data area, falling back once to the defaults.
bool allocate_memory() {
    if (st.memory_bytes <= 0 || st.memory_bytes < 102400) st.memory_bytes = default_memory;
    if (data::data_init(st.memory_bytes, st.maxvar, st.matsize) == 0) return true;
    bool defaults =
        st.memory_bytes == default_memory && st.maxvar == default_maxvar && st.matsize == default_matsize;
    if (!defaults) {
        to_stderr("Could not initialize using set memory, set maxvar,\n");
        to_stderr("and set matsize preferences and/or start-up options.\n");
        to_stderr("Operating System refused to provide the memory.\n");
        to_stderr("Trying again using defaults.\n");
        st.asked_memory = st.memory_bytes;
        st.asked_maxvar = st.maxvar;
        st.asked_matsize = st.matsize;
        st.memory_bytes = default_memory;
        st.maxvar = default_maxvar;
        st.matsize = default_matsize;
        if (data::data_init(st.memory_bytes, st.maxvar, st.matsize) == 0) {
            st.fell_back = 1;
            return true;
        }
    }
    to_stderr("\r\nAllocation failure.\r\n");
    return false;
}

// The `-u` path of `update swap`: put the downloaded executable in place and start it.
[[noreturn]] void swap_executable(const char *dir) {
    std::string d = dir ? with_slash(dir) : st.sysdir_orvat;
    std::string from = d + "orvat-px.bin", to = d + "orvat-px";
    if (std::rename(from.c_str(), to.c_str()) != 0) {
        std::string m = "Unable to rename " + from + " to " + to + "\n";
        to_stderr(m.c_str());
        exit_path(0);
    }
    if (::chmod(to.c_str(), 0755) != 0) {
        std::string m = "Unable to chmod 755 on " + to + "\n";
        to_stderr(m.c_str());
        exit_path(0);
    }
    execl(to.c_str(), to.c_str(), (char *)nullptr);
    exit_path(0);
}

// leapseconds.maint is found on the ado path, like any other system file.
bool locate_leapseconds(char *path, int cap) {
    std::string p;
    if (!session::find_on_adopath("leapseconds.maint", &p) || (int)p.size() >= cap) return false;
    std::memcpy(path, p.c_str(), p.size() + 1);
    return true;
}

std::unique_ptr<char[]> g_cmdbuf;

} // namespace

// The default directories of the ado path, by their sysdir names.
int set_sysdirs() {
    const std::string &sd = st.sysdir_orvat;
    std::string parent = sd.substr(0, sd.size() - 1);
    size_t slash = parent.rfind('/');
    parent = slash == std::string::npos ? "" : parent.substr(0, slash + 1);
    const char *home = std::getenv("HOME");
    std::string h = home ? with_slash(home) : "~/";
    struct stat sb;
    bool old_plus =
        ::stat((h + "ado/ojbplus/").c_str(), &sb) == 0 && ::stat((h + "ado/plus/").c_str(), &sb) != 0;
    st.sysdirs.UPDATES = sd + "ado/updates/";
    st.sysdirs.BASE = sd + "ado/base/";
    st.sysdirs.SITE = parent + "ado/";
    st.sysdirs.PLUS = h + (old_plus ? "ado/ojbplus/" : "ado/plus/");
    st.sysdirs.PERSONAL = h + "ado/personal/";
    st.sysdirs.OLDPLACE = h + "ado/";
    for (const std::string *d : {&st.sysdirs.UPDATES, &st.sysdirs.BASE, &st.sysdirs.SITE, &st.sysdirs.PLUS,
                                 &st.sysdirs.PERSONAL, &st.sysdirs.OLDPLACE})
        if (d->size() > 499) return 1;
    return 0;
}

void set_system_macros() {
    auto global = [](const char *name, const std::string &v) {
        store_add_copy(name, ST_GLOBAL, (int32_t)v.size(), v.c_str(), (int64_t)v.size() + 1);
    };
    if (st.noninteractive) global("S_MODE", "batch");
    global("S_level", "95");
    global("S_MACH", "PC (64-bit x86-64)");
    global("S_OS", "Unix");
    global("S_FLAVOR", "Broadline");
    global("S_CONSOLE", "console");
    global("S_OrvatWX", "WX");
    global("S_OrvatPX", "PX");
    const char *ado = std::getenv("S_ADO");
    global("S_ADO", ado ? ado : "UPDATES;BASE;SITE;.;PERSONAL;PLUS;OLDPLACE");
    global("F8", "use ");
    global("F7", "save ");
    global("F3", "describe;");
    global("F2", "#review;");
    global("F1", "help ");
}

int session_main(int argc, char **argv) {
    // Step 1: temporary directory and process id.
    const char *t = std::getenv("ORVATTMP");
    if (!t || !*t) t = std::getenv("TMPDIR");
    st.tmpdir = (t && *t) ? t : "/tmp";
    st.pid = (int)getpid();
    if (const char *p = std::getenv("PATH")) st.path = p;
    st.initstage = 1;

    // Step 2: the preference store. Step 3 starts from the stored memory preferences, so that an
    // option beats a preference and a preference beats the default.
    prefs_start();
    st.memory_bytes = pref_int("mem_se_c", "memory", st.memory_bytes);
    st.maxvar = (int32_t)pref_int("mem_se_c", "maxvar", st.maxvar);
    st.matsize = (int32_t)pref_int("mem_se_c", "matsize", st.matsize);

    // Step 3: options, up to the first argument that does not start with '-'.
    int i = 1;
    bool swap = false;
    for (; i < argc && argv[i][0] == '-'; ++i) {
        const char *a = argv[i];
        char letter = (char)std::toupper((unsigned char)a[1]);
        long long n = 0;
        switch (letter) {
        case 'B':
            st.batchmode = 1;
            st.logtype_rimu = 0;
            break;
        case 'S':
            st.batchmode = 1;
            st.logtype_rimu = 1;
            break;
        case 'C':
            st.dp_comma = 1;
            break;
        case 'Q':
            st.quiet = 1;
            break;
        case 'L':
            break;
        case 'U':
            swap = true;
            break;
        case 'K':
            if (!option_number(a + 2, &n) || n < 10 || n > LLONG_MAX / 1024) usage();
            st.memory_bytes = n * 1024;
            break;
        case 'M':
            if (!option_number(a + 2, &n) || n < 1 || n > LLONG_MAX / 1048576) usage();
            st.memory_bytes = n * 1048576;
            break;
        case 'P':
            if (!option_number(a + 2, &n) || n < 1 || n > processors_available()) usage();
            st.processors = (int)n;
            break;
        case 'V':
            if (!option_number(a + 2, &n) || n < 2048 || n > 32767) usage();
            st.maxvar = (int32_t)n;
            break;
        case 'O':
            if (!option_number(a + 2, &n)) usage();
            break;
        default:
            usage();
        }
        if (swap) break;
    }
    // Step 4: the swap path of `update swap`.
    if (swap) {
        st.initstage = 2;
        st.noninteractive = 1;
        swap_executable(i + 1 < argc ? argv[i + 1] : nullptr);
    }

    // Step 5: the output context, then the initial command.
    st.initstage = 3;
    load_stored_settings();
    out::ch.console = out::stream_new();
    out::ch.current = out::ch.console;
    out::ch.console->width = se.linesize;
    st.initstage = 4;
    std::string command = initial_command(argc, argv, i);

    // Step 6: umask, interactivity, the batch log.
    mode_t um = umask(0);
    umask(um);
    st.umask0 = (int)um;
    struct stat sb;
    st.noninteractive = !(fstat(0, &sb) == 0 && S_ISCHR(sb.st_mode));
    if (st.batchmode) {
        if (open_batch_log(command)) exit_path(0);
        st.noninteractive = 1;
        if (st.quiet) st.batchmode = 2;
        if (st.logtype_rimu) {
            // A Rimu log announces itself, so that viewers and translators know its form.
            static const char head[] = "{rimu}\n";
            if (::write(st.batchfd, head, sizeof head - 1) < 0) exit_path(0);
        }
        out::stream_add_log(out::ch.console, st.batchfd, st.logtype_rimu);
    }

    // Step 7: terminal type and the system directory.
    if (!st.noninteractive) {
        const char *tn = std::getenv("ORVATTERM");
        if (!tn) tn = std::getenv("TERM");
        if (tn) st.term.assign(tn, std::min<size_t>(std::strlen(tn), 512));
    }
    if (!find_sysdir()) {
        to_stderr("cannot find Orvat directory\n");
        exit_path(0);
    }

    // Step 8: the console sink, logo, self test, limits.
    st.initstage = 5;
    if (!st.batchmode) out::stream_set_sink(out::ch.console, out::console_sink, nullptr);
    st.initstage = 7;
    if (!st.quiet) out::out_rimu(logo);
    {
        volatile double a = 0.01, b = 0.02;
        bool ok = a != 0 && b != 0;
        a = 0;
        b = 0;
        if (!ok || !compute_limits()) {
            to_stderr("\r\nInitialization failure.\r\n");
            exit_path(0);
        }
    }

    // Step 9: signals, terminal modes and description.
    st.initstage = 8;
    install_signals();
    if (!st.noninteractive) {
        out::term_setup(st.batchmode != 0, st.term.empty() ? nullptr : st.term.c_str());
        out::term_modes_set();
        st.editing = out::term.editing;
        if (out::term.lines > 4) {
            out::ch.console->pageLength = out::term.lines - 2;
            se.pagesize = out::term.lines - 2;
        }
        int w = out::term.cols - 1;
        se.linesize = w < 40 ? 40 : w > 255 ? 255 : w;
        out::ch.console->width = se.linesize;
    }
    st.initstage = 9;

    // Step 10: the command buffer, work memory and the data area.
    g_cmdbuf.reset(new char[maxmaclen + 1]);
    tk.cmdbuf = g_cmdbuf.get();
    tk.cmdbuf[0] = '\0';
    st.initstage = 12;
    if (!allocate_memory()) exit_path(0);
    est::processors_init(st.processors);
    data::expr_hook_creturn = creturn_for_expressions;
    out::ccl_lookup = creturn_text;
    mat::results_init();
    mat::matexpr_init();
    data::labels_init();
    data::leap_locate = locate_leapseconds;
    complete_names = data::varnames_beginning;

    // Step 11: the notes.
    st.initstage = 13;
    if (!st.quiet) notes();

    // Step 12: system macros and directories.
    st.initstage = 14;
    if (set_sysdirs()) {
        to_stderr("\r\nInitialization failure.\r\n");
        exit_path(0);
    }
    set_system_macros();
    st.initstage = 15;
    st.initstage = 17;
    st.initstage = 18;
    if (st.fell_back) fallback_note();

    // Step 13: the waiting command.
    st.saveprefs = 1;
    bool waiting = command.find_first_not_of(' ') != std::string::npos;
    if (!waiting) {
        st.initstage = 19;
        load_stored_level();
    } else if (!st.quiet)
        out::out_text("\n");

    // Step 14: the profiles, each run as one command.
    for (const char *prof : {"sysprofile.do", "profile.do"}) {
        std::string f = find_profile(prof);
        if (f.empty()) continue;
        out::ClassScope cs(out::CLS_TEXT);
        out::out_text("\n");
        out::out_text("running " + f + " ...\n");
        std::string line = "run \"" + f + "\"";
        execute_text(line.c_str());
    }
    if (st.initstage < 19) st.initstage = 19;

    // Step 15: the command from the command line.
    if (waiting) {
        while (!command.empty() && command.back() == ' ')
            command.pop_back();
        if (st.batchmode != 2) out::out_echo(". " + command + "\n");
        execute_text(command.c_str());
    }

    // Step 16: the prompt loop.
    if (st.batchmode == 0) prompt_loop();
    exit_path(0);
}

void exit_path(int status) {
    if (st.initstage >= 19) {
        data::post_close_all();
        (void)session::fh_close_all();
    }
    if (st.initstage >= 4 && out::ch.console) {
        out::logs_close_at_exit();
        out::stream_flush(out::ch.console);
        out::stream_free(out::ch.console);
        out::ch.console = out::ch.current = nullptr;
    }
    if (st.batchfd >= 0) {
        ::close(st.batchfd);
        st.batchfd = -1;
    }
    if (st.initstage >= 9) {
        out::term_modes_restore();
        signal(SIGINT, SIG_DFL);
        signal(SIGFPE, SIG_DFL);
    }
    if (st.initstage > 0) {
        prefs_exit(st.saveprefs);
        session::remove_temporary_files();
    }
    std::exit(status);
}

} // namespace session

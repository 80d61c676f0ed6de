// Start-up and the one exit path of the process.
#pragma once
#include <cstdint>
#include <string>

namespace session {

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

int session_main(int argc, char **argv);
// The default global macros of stage 14 (S_ADO, the function-key texts and the rest).
void set_system_macros();
int set_sysdirs();
// The one exit path; never returns.
[[noreturn]] void exit_path(int status);

} // namespace session

// What the program store, the file runner and the plugin caller share inside the language.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "lang/prog.h"

namespace lang {

// An ado-file being loaded: the command word it is to define, the serial stamp of the load, and
// the version in force when the load began.
struct AdoLoad {
    bool active = false; // programs defined now are `fromado`
    std::string word;
    uint32_t stamp = 0;
    int16_t version = 1010;
    int depth = 0;   // nested loads
    int defined = 0; // programs defined by the load in progress
};
extern AdoLoad ado;

// The file being read echoes its lines (do, not run); program definitions number their lines then.
extern bool file_echo;

// The general runner: files (do, run, include) read their name from the tokenizer; a program call
// takes the record and its name. adoload marks the run of an ado-file being loaded.
int runfile(int mode, ProgHeader *p, const char *name, bool adoload);

// Runs the file at path in run mode from inside a command (an ado-file or a class file loaded on
// first use): the line in progress, its read position, the owner and the command word are put
// aside while the file uses the same buffer, and are back when this returns.
int run_file_aside(const std::string &path, bool adoload);

// Plugins: the record of name for the running owner, a load from `program name, plugin`, a call.
void *findplugin(const char *name);
int plugin_define(const std::string &name, const std::string &using_file, int cls);
int plugin_run(void *rec, const char *args);
void plugin_delete(void *rec);
// Lines of `program dir` for plugins; the sum of their payloads.
int64_t plugin_dir();
// Splits an argument text into words as programs receive them: blanks separate words; a word in
// double or compound quotes loses them (an empty one stays, empty); a plain `"` ends a word.
std::vector<std::string> split_args(const std::string &text);

} // namespace lang

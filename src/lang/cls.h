// The class system: class types from .class files and class bodies, objects made from their
// prototype, references (.a.b[2].c) read, assigned and run, member programs with the object as the
// active context, logging for undo, and the reset of discard and clear.
#pragma once
#include <string>

namespace lang {

// A line that begins with a dot: a reference command (assignment, creator, built-in, member program).
int cmd_dotref(int);
// class name [, inherit(list)] { ... } in a class file; class <subcommand> as _cls.
int cmd_class(int);
// _cls subcommand ..., or _cls name [, inherit(list)] { ... } anywhere.
int cmd_cls(int);

// `.ref' in a macro: s is the text between the quotes, starting with the dot. A name that is not
// there gives nothing; other failures write their message and return the code.
int cls_macro_value(const std::string &s, std::string &v);

// program [define] .name or .class.member: the tokenizer stands behind the dot.
int cls_program_define();

// Drops every object, class type and member program (discard, clear).
void cls_reset();
// A program level ends: its .Local object and any context set at it go.
void cls_level_end(int level);

} // namespace lang

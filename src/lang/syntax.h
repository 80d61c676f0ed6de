// The commands that parse a program's arguments: syntax, args, tokenize, gettoken, and confirm,
// which tests a text for what it should be.
#pragma once

namespace lang {

// syntax pattern: matches local 0 against the pattern and leaves its parts in locals.
int cmd_syntax(int);
// args name [name ...]: the positional arguments under names.
int cmd_args(int);
// tokenize [text] [, parse("chars")]: the text into 1, 2, ...
int cmd_tokenize(int);
// gettoken emac [emac2] : source [, parse("chars") match(lmac) quotes qed(lmac) bind]
int cmd_gettoken(int);
// confirm existence|[new] file|[integer] number|name|names|format|[type] variable ...
int cmd_confirm(int);

// The number of distinct patterns syntax holds read (for tests of the cache).
int syntax_patterns_held();

} // namespace lang

// The state of flow control (if, else, while, forvalues, foreach, continue) that call frames save
// and macro expansion reads.
#pragma once
#include <cstdint>
#include <string>

namespace lang {

struct Flow {
    uint8_t if_taken = 0; // the last `if` was true; read by `else`
    uint8_t in_loop = 0;  // inside the block of a loop; tested by `continue`
    uint8_t contflag = 0; // 1 after `continue`, 2 after `continue, break`
    int whilecount = 0;   // temporary loop programs running
    int fecount = 0;      // foreach lists in use
    std::string felist;   // macro holding the innermost foreach list
    int felistpos = 0;    // byte offset of its next element; read by ferest()
};
extern Flow fl;

// Handlers (flow.cpp): `{` a block; if (0) and while (1); else; forvalues; foreach; continue.
int cmd_block(int);
int cmd_if(int is_while);
int cmd_else(int);
int cmd_forvalues(int);
int cmd_foreach(int);
int cmd_continue(int);
int cmd_byobs(int);
// The opening brace of text: the first `{` outside quotes and brackets, or null.
const char *find_open_brace(const char *text);
// The last non-blank byte of text is `{`; the first byte does not count.
bool ends_in_brace(const char *text);

} // namespace lang

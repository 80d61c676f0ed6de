// Settings: `set` and its table of words.
#pragma once

namespace session {

int cmd_set(int);

// Session-only settings that are not in another subsystem's struct.
struct Settings {
    int linesize = 79;
    int pagesize = 23;
};
extern Settings se;

}  // namespace session

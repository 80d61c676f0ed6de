// The orvat-px executable: everything is in the engine library.
#include "session/sedit2.h"

int main(int argc, char **argv) { return session::session_main(argc, argv); }

// The message table of error(): one row per return code, in code order, as an X-macro list.
//
// A consumer defines
//   X(code, kind, text)            a message; kind says how it is written (below)
//   XA(code, public_code, text)    an alias: written in error class, the public code is returned
//   XN(code, text)                 a note: written in text class, 0 is returned
// and includes ERR_TABLE.  Adjacent literals of one row are one message.
#pragma once

// How a row is written.
//   EK_TEXT     literal text in error class
//   EK_RIMU     markup in error class
//   EK_NUMLIST  the list form of the numlist family (NUMLIST_TABLE)
//   EK_MATSIZE  the text, then the matsize remark when matsize is below MATSIZE_REMARK_BELOW
//   EK_SOFT     no-observation conditions: a note in a by-group or when empty groups are normal
//   EK_TMPDIR   the text, the temporary directory, then TMPDIR_TAIL
#define ERR_TABLE                                                                                            \
    X(2, EK_RIMU, "connection timed out -- see help {help r(2)} for troubleshooting\n")                      \
    X(3, EK_TEXT, "no dataset in use\n")                                                                     \
    X(4, EK_TEXT, "no; data in memory would be lost\n")                                                      \
    X(5, EK_TEXT, "not sorted\n")                                                                            \
    X(18, EK_TEXT, "you must start with an empty dataset\n")                                                 \
    X(102, EK_TEXT, "too few variables specified\n")                                                         \
    X(103, EK_TEXT, "too many variables specified\n")                                                        \
    X(104, EK_TEXT, "nothing to input\n")                                                                    \
    X(107, EK_TEXT, "not possible with numeric variable\n")                                                  \
    X(108, EK_TEXT, "not possible with string variable\n")                                                   \
    X(109, EK_TEXT, "type mismatch\n")                                                                       \
    X(111, EK_TEXT, "no variables defined\n")                                                                \
    X(119, EK_TEXT, "statement out of context\n")                                                            \
    X(120, EK_TEXT, "invalid %format\n")                                                                     \
    X(121, EK_NUMLIST, nullptr)                                                                              \
    X(122, EK_NUMLIST, nullptr)                                                                              \
    X(123, EK_NUMLIST, nullptr)                                                                              \
    X(124, EK_NUMLIST, nullptr)                                                                              \
    X(125, EK_NUMLIST, nullptr)                                                                              \
    X(126, EK_NUMLIST, nullptr)                                                                              \
    X(127, EK_NUMLIST, nullptr)                                                                              \
    X(130, EK_TEXT, "expression too long\n")                                                                 \
    X(131, EK_TEXT, "not possible with test\n")                                                              \
    X(134, EK_TEXT, "too many values\n")                                                                     \
    X(135, EK_TEXT, "not possible with weighted data\n")                                                     \
    X(140, EK_TEXT, "repeated categorical variable in term\n")                                               \
    X(141, EK_TEXT, "repeated term\n")                                                                       \
    X(142, EK_TEXT, "attempt to classify extraneous variable\n")                                             \
    X(143, EK_TEXT, "variable left unclassified\n")                                                          \
    X(144, EK_TEXT, "variable classified inconsistently\n")                                                  \
    X(145, EK_TEXT, "term contains more than 8 variables\n")                                                 \
    X(146, EK_MATSIZE, "too many variables or values")                                                       \
    X(147, EK_TEXT, "term not in model\n")                                                                   \
    X(148, EK_TEXT, "too few categories\n")                                                                  \
    X(149, EK_TEXT, "too many categories\n")                                                                 \
    X(151, EK_TEXT, "non r-class program may not set r()\n")                                                 \
    X(152, EK_TEXT, "non e-class program may not set e()\n")                                                 \
    X(153, EK_TEXT, "non s-class program may not set s()\n")                                                 \
    X(161, EK_TEXT, "ado-file has commands outside of program define ... end\n")                             \
    X(162, EK_TEXT, "ado-file does not define command\n")                                                    \
    X(171, EK_TEXT, "internal FV error: FV information not complete\n")                                      \
    X(172, EK_TEXT, "internal FV error: FV terms not parsed\n")                                              \
    X(173, EK_TEXT, "internal FV error: out of range for FV terms\n")                                        \
    X(175, EK_TEXT, "time-series operators not allowed on factor variables\n")                               \
    X(176, EK_TEXT, "time-series operators not allowed in interactions\n")                                   \
    X(181, EK_TEXT, "may not label strings\n")                                                               \
    X(184, EK_TEXT, "may not be combined\n")                                                                 \
    X(190, EK_TEXT, "request may not be combined with by\n")                                                 \
    X(191, EK_TEXT, "request may not be combined with by() option\n")                                        \
    X(196, EK_TEXT, "could not restore sort order because variables were dropped\n")                         \
    X(197, EK_TEXT, "invalid syntax\n")                                                                      \
    X(198, EK_TEXT, "invalid syntax\n")                                                                      \
    X(199, EK_TEXT, "unrecognized command\n")                                                                \
    X(301, EK_TEXT, "last estimates not found\n")                                                            \
    X(302, EK_TEXT, "last test not found\n")                                                                 \
    X(304, EK_TEXT, "ml model not found\n")                                                                  \
    X(305, EK_TEXT, "ml model not found\n")                                                                  \
    X(310, EK_TEXT, "not possible because object(s) in use\n")                                               \
    X(321, EK_TEXT, "requested action not valid after most recent estimation command\n")                     \
    X(322, EK_TEXT, "something that should be true of your estimation results is not\n")                     \
    X(401, EK_TEXT, "may not use noninteger frequency weights\n")                                            \
    X(402, EK_TEXT, "negative weights encountered\n")                                                        \
    X(403, EK_TEXT, "may not specify norobust with pweights\n")                                              \
    X(404, EK_TEXT, "not possible with pweighted data\n")                                                    \
    X(406, EK_TEXT, "not possible with analytic weights\n")                                                  \
    X(407, EK_TEXT, "weights must be the same for all observations in a group\n")                            \
    X(411, EK_TEXT, "nonpositive values encountered\n")                                                      \
    X(412, EK_TEXT, "redundant or inconsistent constraints\n")                                               \
    X(421, EK_TEXT, "could not determine between-subject error term; use bse() option\n")                    \
    X(422, EK_TEXT, "could not determine between-subject basic unit; use bseunit() option\n")                \
    X(430, EK_TEXT, "convergence not achieved\n")                                                            \
    X(450, EK_TEXT, "0/1 variable required\n")                                                               \
    X(451, EK_TEXT, "invalid values for time variable\n")                                                    \
    X(459, EK_TEXT, "something that should be true of your data is not\n")                                   \
    X(460, EK_TEXT, "fpc must be >= 0\n")                                                                    \
    X(461, EK_TEXT, "fpc for all observations within a stratum must be the same\n")                          \
    X(462, EK_TEXT, "fpc must be <= 1 if a rate, or >= no. sampled units per stratum if unit totals\n")      \
    X(463, EK_TEXT, "sum of weights equals zero\n")                                                          \
    X(464, EK_TEXT, "poststratum weights must be constant within poststrata\n")                              \
    X(465, EK_TEXT, "poststratum weights must be >= 0\n")                                                    \
    X(466, EK_TEXT, "standardization weights must be constant within standard strata\n")                     \
    X(467, EK_TEXT, "standardization weights must be >= 0\n")                                                \
    X(471, EK_TEXT, "esample() invalid\n")                                                                   \
    X(481, EK_TEXT, "equation/system not identified\n")                                                      \
    X(501, EK_TEXT, "matrix operation not found\n")                                                          \
    X(503, EK_TEXT, "conformability error\n")                                                                \
    X(504, EK_TEXT, "matrix has missing values\n")                                                           \
    X(505, EK_TEXT, "matrix not symmetric\n")                                                                \
    X(506, EK_TEXT, "matrix not positive definite\n")                                                        \
    X(507, EK_TEXT, "name conflict\n")                                                                       \
    X(508, EK_TEXT, "matrix has zero values on diagonal\n")                                                  \
    X(509, EK_TEXT, "matrix operators that return matrices not allowed in this context\n")                   \
    X(550, EK_TEXT, "invalid matrix stripe\n")                                                               \
    X(604, EK_TEXT, "log file already open\n")                                                               \
    X(606, EK_TEXT, "no log file open\n")                                                                    \
    X(607, EK_TEXT, "no cmdlog file open\n")                                                                 \
    X(611, EK_TEXT, "record too long\n")                                                                     \
    X(612, EK_TEXT, "unexpected end of file\n")                                                              \
    X(613, EK_TEXT, "file does not contain dictionary\n")                                                    \
    X(614, EK_TEXT, "dictionary invalid\n")                                                                  \
    X(615, EK_TEXT, "cannot determine separator -- use tab or comma option\n")                               \
    X(616, EK_TEXT, "wrong number of values in checksum file\n")                                             \
    X(621, EK_TEXT, "already preserved\n")                                                                   \
    X(622, EK_TEXT, "nothing to restore\n")                                                                  \
    X(631, EK_TEXT, "host not found\n")                                                                      \
    X(632, EK_TEXT, "web filename not supported in this context\n")                                          \
    X(633, EK_TEXT, "may not write files over Internet\n")                                                   \
    X(639, EK_TEXT, "file transmission error (checksums do not match)\n")                                    \
    X(640, EK_TEXT, "package file too long\n")                                                               \
    X(641, EK_TEXT, "package file invalid\n")                                                                \
    X(651, EK_TEXT, "may not seek past end of file\n")                                                       \
    X(660, EK_TEXT, "proxy host not found\n")                                                                \
    X(662, EK_TEXT, "proxy server refused request to send\n")                                                \
    X(663, EK_RIMU, "remote connection to proxy failed -- see help {help r(663)} for troubleshooting\n")     \
    X(665, EK_TEXT, "could not set socket nonblocking\n")                                                    \
    X(667, EK_TEXT, "wrong version winsock.dll\n")                                                           \
    X(668, EK_TEXT, "could not find a valid winsock.dll\n")                                                  \
    X(669, EK_TEXT, "invalid URL\n")                                                                         \
    X(670, EK_TEXT, "invalid network port number\n")                                                         \
    X(671, EK_TEXT, "unknown network protocol\n")                                                            \
    X(672, EK_TEXT, "server refused to send file\n")                                                         \
    X(673, EK_TEXT, "authorization required by server\n")                                                    \
    X(674, EK_TEXT, "unexpected response from server\n")                                                     \
    X(675, EK_TEXT, "server reported server error\n")                                                        \
    X(676, EK_TEXT, "server refused request to send\n")                                                      \
    X(677, EK_RIMU, "remote connection failed -- see help {help r(677)} for troubleshooting\n")              \
    X(678, EK_TEXT, "could not open local network socket\n")                                                 \
    X(681, EK_TEXT, "too many open files\n")                                                                 \
    X(682, EK_TEXT, "could not connect to odbc dsn\n")                                                       \
    X(683, EK_TEXT, "could not fetch variable in odbc table\n")                                              \
    X(691, EK_TEXT, "I/O error\n")                                                                           \
    X(694, EK_TEXT, "could not rename file\n")                                                               \
    X(695, EK_TEXT, "could not copy file\n")                                                                 \
    X(702, EK_TEXT, "op. sys. refused to start new process\n")                                               \
    X(703, EK_TEXT, "op. sys. refused to open pipe\n")                                                       \
    X(900, EK_TEXT, "no room to add more variables\n")                                                       \
    X(901, EK_TEXT, "no room to add more observations\n")                                                    \
    X(902, EK_TEXT, "no room to add more variables because of width\n")                                      \
    X(903, EK_TEXT, "no room to promote variable (e.g., change int to float) because of width\n")            \
    X(908, EK_TEXT, "matsize too small\n")                                                                   \
    X(909, EK_TEXT, "op. sys. refuses to provide memory\n")                                                  \
    X(910, EK_TEXT, "value too small\n")                                                                     \
    X(912, EK_TEXT, "value too large\n")                                                                     \
    X(913, EK_TEXT,                                                                                          \
      "op. sys. refuses to provide sufficient memory;\n"                                                     \
      "    op. sys. provided base request, but then refused to provide\n"                                    \
      "    sufficient memory for matsize\n")                                                                 \
    X(914, EK_TMPDIR,                                                                                        \
      "op. sys. refused to allow Orvat to open temporary file.\n"                                            \
      "    Unix told Orvat the temporary directory is \"")                                                   \
    X(920, EK_TEXT, "too many macros\n")                                                                     \
    X(1000, EK_TEXT, "system limit exceeded - see manual\n")                                                 \
    X(1001, EK_TEXT, "too many values\n")                                                                    \
    X(1002, EK_TEXT, "too many by variables\n")                                                              \
    X(1003, EK_TEXT, "too many by variables\n")                                                              \
    X(1004, EK_TEXT, "command too long\n")                                                                   \
    X(1010, EK_TEXT, "system limit exceeded -- width shortage\n")                                            \
    X(1400, EK_TEXT, "numerical overflow\n")                                                                 \
    X(2000, EK_SOFT, "no observations\n")                                                                    \
    X(2001, EK_SOFT, "insufficient observations\n")                                                          \
    X(3000, EK_TEXT, "Kiln compile-time error\n")                                                            \
    X(4000, EK_TEXT, "class system limit exceeded\n")                                                        \
    X(4001, EK_TEXT, "class-system reference out of range\n")                                                \
    X(4002, EK_TEXT, "class-system reference not defined\n")                                                 \
    X(4003, EK_TEXT, "invalid class-system reference\n")                                                     \
    X(4005, EK_TEXT, "invalid type usage\n")                                                                 \
    X(4006, EK_TEXT, "invalid attribute type\n")                                                             \
    X(4007, EK_TEXT, "no current class context\n")                                                           \
    X(4008, EK_TEXT, "too many class keys\n")                                                                \
    X(4009, EK_TEXT, "invalid class reference or reference found where not expected\n")                      \
    X(4010, EK_TEXT, "class key not found\n")                                                                \
    X(4011, EK_TEXT, "name too long\n")                                                                      \
    X(4012, EK_TEXT, "name not found\n")                                                                     \
    X(4013, EK_TEXT, "not a class type\n")                                                                   \
    X(4014, EK_TEXT, "not a class\n")                                                                        \
    X(4015, EK_TEXT, "class types are not the same\n")                                                       \
    X(4017, EK_TEXT, "name already declared in current class\n")                                             \
    X(4018, EK_TEXT, "class type not found\n")                                                               \
    X(4019, EK_TEXT, "source and target types are not compatible\n")                                         \
    X(4020, EK_TEXT, "not an array\n")                                                                       \
    X(4022, EK_TEXT, "no active class\n")                                                                    \
    X(4023, EK_TEXT, "class member function not found\n")                                                    \
    X(4024, EK_TEXT,                                                                                         \
      "creators new, clone, clone1, copy, and reference may not be combined\n"                               \
      " with super\n")                                                                                       \
    X(4025, EK_TEXT, "clone creator may only be used with classes\n")                                        \
    X(4026, EK_TEXT, "rvalue invalid\n")                                                                     \
    X(4027, EK_TEXT, "incompatible types\n")                                                                 \
    X(4028, EK_TEXT, "target of assigment no longer available\n")                                            \
    X(4029, EK_TEXT, "invalid array reference\n")                                                            \
    X(4030, EK_TEXT, "invalid array intializer\n")                                                           \
    X(4031, EK_TEXT, "already exists\n")                                                                     \
    X(4050, EK_TEXT, "class system failure\n")                                                               \
    X(4051, EK_TEXT, "class context out of range\n")                                                         \
    X(4052, EK_TEXT, "class element too large to store\n")                                                   \
    X(4099, EK_TEXT, "system failure in .class files\n")                                                     \
    XA(5101, 101, "iweights not allowed with robust\n")                                                      \
    XA(6101, 101, "time-series operators not allowed\n")                                                     \
    XA(7196, 180, "invalid attempt to modify label\n")                                                       \
    XA(7197, 198, "invalid file specification\n")                                                            \
    XA(7198, 198, "multiple by's not allowed\n")                                                             \
    XN(8001, "irrelevant under Unix\n")                                                                      \
    XN(8002, "request ignored because of batch mode\n")                                                      \
    XN(8005, "note: not possible in Orvat(console)\n")                                                       \
    X(9196, EK_TEXT, "could not restore sort index -- system header not found\n")

// After 914's directory.
#define TMPDIR_TAIL                                                                                          \
    "\".\n"                                                                                                  \
    "    Verify the directory exists and is writeable by you.\n"                                             \
    "    You can change the identity of this directory by setting the\n"                                     \
    "    Unix environment variable TMPDIR.\n"

// 146 adds its remark when matsize is below this.
#define MATSIZE_REMARK_BELOW 11000
#define MATSIZE_REMARK                                                                                       \
    " (matsize too small)\n"                                                                                 \
    "You can increase matsize using the\n"                                                                   \
    "{cmd:set matsize} command; see help {help matsize}.\n"

// Codes 3001 to 3999 add this after their table text (they have none).
#define KILN_RUNTIME_TEXT "Kiln run-time error\n"

// The numlist family: NL(code, list form, single-number form).
#define NUMLIST_TABLE                                                                                        \
    NL(121, "invalid numlist\n", "invalid number\n")                                                         \
    NL(122, "invalid numlist has too few elements\n", "number required\n")                                   \
    NL(123, "invalid numlist has too many elements\n", "single number required\n")                           \
    NL(124, "invalid numlist has elements out of order\n", "invalid numlist has elements out of order\n")    \
    NL(125, "invalid numlist has elements outside of allowed range\n",                                       \
       "invalid number, outside of allowed range\n")                                                         \
    NL(126, "invalid numlist has noninteger elements\n", "invalid number, noninteger value\n")               \
    NL(127, "invalid numlist has missing values\n", "invalid number, missing not allowed\n")

// Long notes written in markup after the message of their code. In the text, \001 stands for
// maxvar, \002 for maxvar less the slot the system keeps for itself, \003 for matsize and \004 for
// the width limit (12 times maxvar).
#define PARA "{p 4 4}\n"
#define ITEM "{p 5 9}\n"
#define PEND "{p_end}\n"

#define NOTE_900                                                                                             \
    PARA "An attempt was made to add a variable that would have\n"                                           \
         "resulted in more than\n"                                                                           \
         "\001\n"                                                                                            \
         "or\n"                                                                                              \
         "\002\n"                                                                                            \
         "variables (Orvat reserves one variable for its own use).\n" PEND PARA                              \
         "You have the following alternatives:\n" PEND ITEM                                                  \
         "1.  Drop some variables; see help {help drop}.\n" PEND ITEM                                        \
         "2.  If you are using Orvat/PX, increase maxvar;\n"                                                 \
         "see help {help maxvar}.\n" PEND

#define NOTE_901                                                                                             \
    PARA "An attempt was made to increase the number of\n"                                                   \
         "observations beyond what is currently possible.\n" PEND PARA                                       \
         "You have the following alternatives:\n" PEND ITEM "1.  Store your variables more efficiently;\n"   \
         "see help {help compress}.\n"                                                                       \
         "(Think of Orvat's data area as the area of a rectangle;\n"                                         \
         "Orvat can trade off width and length.)\n" PEND ITEM "2.  Drop some variables or observations;\n"   \
         "see help {help drop}.\n" PEND ITEM "3.  Increase the amount of memory allocated to the\n"          \
         "data area using the {cmd:set memory} command;\n"                                                   \
         "see help {help memory}.\n" PEND

#define NOTE_WIDTH                                                                                           \
    PARA "An attempt was made to add a variable that would have increased\n"                                 \
         "the memory required to store an observation beyond\n"                                              \
         "what is currently possible.\n" PEND PARA "You have the following alternatives:\n" PEND ITEM        \
         "1.  Store existing variables more efficiently;\n"                                                  \
         "see help {help compress}.\n" PEND ITEM "2.  Drop some variables or observations;\n"                \
         "see help {help drop}.\n"                                                                           \
         "(Think of Orvat's data area as the area of a rectangle;\n"                                         \
         "Orvat can trade off width and length.)\n" PEND ITEM                                                \
         "3.  Increase the amount of memory allocated to the\n"                                              \
         "data area using the {cmd:set memory} command;\n"                                                   \
         "see help {help memory}.\n" PEND

#define NOTE_1010                                                                                            \
    PARA "An attempt was made to add a variable that would have increased\n"                                 \
         " the memory required to store an observation beyond\n"                                             \
         "\004"                                                                                              \
         " bytes, the maximum width allowed.\n" PEND PARA "You have the following alternatives:\n" PEND ITEM \
         "1.  Store existing variables more efficiently;\n"                                                  \
         "see help {help compress}.\n" PEND ITEM                                                             \
         "2.  Drop some variables; see help {help drop}.\n" PEND ITEM                                        \
         "3.  If you are using Orvat/PX, increase the maximum width\n"                                       \
         "by increasing maxvar;\n"                                                                           \
         "see help {help maxvar}.\n" PEND PARA "The maximum width is set to 12*maxvar.\n" PEND

#define NOTE_908                                                                                             \
    PARA "You have attempted to create a matrix with more than\n"                                            \
         "\003\n"                                                                                            \
         "rows or columns or to fit a model with more than\n"                                                \
         "\003\n"                                                                                            \
         "variables plus ancillary parameters.\n" PEND PARA "You need to increase matsize using the\n"       \
         "{cmd:set matsize} command; see help {help matsize}.\n" PEND

// LN(code, note).
#define LONGNOTE_TABLE                                                                                       \
    LN(900, NOTE_900)                                                                                        \
    LN(901, NOTE_901)                                                                                        \
    LN(902, NOTE_WIDTH)                                                                                      \
    LN(903, NOTE_WIDTH)                                                                                      \
    LN(908, NOTE_908)                                                                                        \
    LN(1010, NOTE_1010)

// The file family: FF(code, note, named, lead, text, tail). The message is the lead, the name in
// double quotes and a blank (when named and a name is given), the text and the tail. Rows with
// note set are written in text class; all keep their code.
#define FILE_TABLE                                                                                           \
    FF(601, 0, 1, "file ", "not found", "\n")                                                                \
    FF(602, 0, 1, "file ", "already exists", "\n")                                                           \
    FF(603, 0, 1, "file ", "could not be opened", "\n")                                                      \
    FF(608, 0, 1, "file ", "is read-only; cannot be modified or erased", "\n")                               \
    FF(609, 0, 1, "file ", "xp format", "\n")                                                                \
    FF(610, 0, 1, "file ", "not Orvat format", "\n")                                                         \
    FF(661, 0, 1, "host or file ", "not found", "\n")                                                        \
    FF(688, 0, 1, "file ", "is corrupt", "\n")                                                               \
    FF(692, 0, 1, "file ", "I/O error on read", "\n")                                                        \
    FF(693, 0, 1, "file ", "I/O error on write", "\n")                                                       \
    FF(697, 1, 1, "file ", "saved", "\n")                                                                    \
    FF(698, 1, 1, "(note: file ", "not found", ")\n")                                                        \
    FF(699, 0, 0, "", "insufficient disk space", "\n")
// Any other code in the family: the lead, the name, then this with the code.
#define FILE_OTHER_FORMAT "error %d\n"

// What the `error` command shows instead of error(code): SH(first, last, how, code, text).
//   SH_CODE  the message of another code       SH_TEXT  a text of its own
//   SH_FILE  the file family with no name      SH_SOFT  the no-observation conditions
#define SHOW_TABLE                                                                                           \
    SH(100, 101, SH_CODE, 198, nullptr)                                                                      \
    SH(106, 106, SH_CODE, 109, nullptr)                                                                      \
    SH(110, 111, SH_CODE, 198, nullptr)                                                                      \
    SH(132, 133, SH_CODE, 198, nullptr)                                                                      \
    SH(170, 170, SH_TEXT, 0, "unable to chdir\n")                                                            \
    SH(180, 180, SH_CODE, 7196, nullptr)                                                                     \
    SH(182, 182, SH_TEXT, 0, "not labeled\n")                                                                \
    SH(303, 303, SH_TEXT, 0, "equation not found\n")                                                         \
    SH(601, 603, SH_FILE, 0, nullptr)                                                                        \
    SH(608, 610, SH_FILE, 0, nullptr)                                                                        \
    SH(688, 688, SH_FILE, 0, nullptr)                                                                        \
    SH(692, 693, SH_FILE, 0, nullptr)                                                                        \
    SH(699, 699, SH_FILE, 0, nullptr)                                                                        \
    SH(950, 950, SH_TEXT, 0, "insufficient memory\n")                                                        \
    SH(2000, 2001, SH_SOFT, 0, nullptr)

#!/usr/bin/env bash
# Drives the executable at a real terminal (a tmux pane) and checks the line editor, recall, the pager and Break.
# Usage: bash tests/interactive/run.sh <exe> <sysdir>
set -u

exe=${1:?usage: run.sh <exe> <sysdir>}
sysdir=${2:?usage: run.sh <exe> <sysdir>}
exe=$(cd "$(dirname "$exe")" && pwd)/$(basename "$exe")
sysdir=$(cd "$sysdir" && pwd)

command -v tmux >/dev/null || { echo "interactive: tmux not found"; echo "interactive: 0 passed, 1 failed"; exit 1; }

sock="orvat-it-$$"
sess=it
home=$(mktemp -d)
passed=0
failed=0

tm() { tmux -L "$sock" -f /dev/null "$@"; }
cleanup() {
    tm kill-server >/dev/null 2>&1
    rm -rf "$home"
}
trap cleanup EXIT

screen() { tm capture-pane -p -t "$sess" 2>/dev/null; }
# The screen without its trailing empty rows.
trimmed() { screen | sed -e ':a' -e '/^\n*$/{$d;N;ba' -e '}'; }
last_line() { trimmed | tail -n 1; }

# wait_for REGEX [seconds]: true as soon as a row of the screen matches.
wait_for() {
    local re=$1 limit=${2:-5} t=0
    while (( t < limit * 10 )); do
        screen | grep -Eq -- "$re" && return 0
        sleep 0.1
        t=$((t + 1))
    done
    return 1
}

# wait_count REGEX N [seconds]: true when at least N rows match.
wait_count() {
    local re=$1 n=$2 limit=${3:-5} t=0
    while (( t < limit * 10 )); do
        (( $(screen | grep -Ec -- "$re") >= n )) && return 0
        sleep 0.1
        t=$((t + 1))
    done
    return 1
}

# wait_prompt: the last row is the empty prompt ". ".
wait_prompt() {
    local limit=${1:-5} t=0
    while (( t < limit * 10 )); do
        [[ "$(last_line)" == "." || "$(last_line)" == ". " ]] && return 0
        sleep 0.1
        t=$((t + 1))
    done
    return 1
}

text() { tm send-keys -t "$sess" -l -- "$1"; }
keys() { tm send-keys -t "$sess" "$@"; }
run() { text "$1"; keys Enter; }

ok() { passed=$((passed + 1)); echo "ok - $1"; }
bad() {
    failed=$((failed + 1))
    echo "FAIL - $1"
    screen | sed -e '/^$/d' -e 's/^/    | /' | tail -n 15
}
check() { local name=$1; shift; if "$@"; then ok "$name"; else bad "$name"; fi; }

# ---- start
tm new-session -d -s "$sess" -x 100 -y 30 "SYSDIR_ORVAT='$sysdir' HOME='$home' '$exe' -q"
check "prompt" wait_prompt 10

run 'display "hello"'
check "display of a string" wait_for '^hello$'

# ---- editing keys
text 'display "abc"'; keys C-h C-h C-t; text 'x'; keys Enter
check "Ctrl-H moves left, Ctrl-T deletes left" wait_for '^axc$'

text 'isplay "mid"'; keys C-k; text 'd'; keys C-p Enter
check "Ctrl-K goes home, Ctrl-P to the end" wait_for '^mid$'

text 'display "rgt"'; keys C-k C-l C-l C-l C-l C-l C-l C-l C-l C-l; text 'R'; keys Enter
check "Ctrl-L moves right" wait_for '^Rrgt$'

text 'garbage'; keys C-u; text 'display "erased"'; keys Enter
check "Ctrl-U erases the line" wait_for '^erased$'
check "the erased text was not run" bash -c "! tmux -L '$sock' capture-pane -p -t '$sess' | grep -q 'garbage'"

text 'display "cut" junk'; keys C-h C-h C-h C-h C-h C-x Enter
check "Ctrl-X cuts at the cursor" wait_for '^cut$'

text 'display "dxel"'; keys C-k C-l C-l C-l C-l C-l C-l C-l C-l C-l C-l C-d Enter
check "Ctrl-D deletes under the cursor" wait_for '^del$'

text 'display "aaa"'; keys C-h C-h C-h C-e; text 'bb'; keys Enter
check "Ctrl-E toggles overwrite" wait_for '^abb$'

text 'display "12345678"'; keys C-k Tab Tab; text 'X'; keys C-g; text 'Y'; keys Enter
check "Tab eight right, Ctrl-G eight left" wait_for '^Y1234567X8$'

text 'display "arrow"'; keys Left Left; text 'X'; keys Enter
check "the terminal's arrow keys" wait_for '^arroXw$'

keys C-d; run 'display "alive"'
check "Ctrl-D on an empty line does not end the session" wait_for '^alive$'

# A line longer than the screen row: Ctrl-O goes up a row within it.
long=$(printf 'a%.0s' $(seq 1 120))
text "display \"$long\""; keys C-o; text 'Y'; keys Enter
check "Ctrl-O moves up within a line of two rows" wait_for '^a{21}Ya{77}$'

# ---- recall
run 'display "recall-me"'
wait_for '^recall-me$'
keys C-r Enter
check "Ctrl-R recalls the previous command" wait_count '^recall-me$' 2

run 'display "r1"'; run 'display "r2"'
wait_for '^r2$'
keys C-r C-r C-b Enter
check "Ctrl-R twice then Ctrl-B gives the newer one" wait_count '^r2$' 2

run 'display "w1"'; run 'display "w2"'
wait_for '^w2$'
text '2'; keys C-w Enter
check "Ctrl-W recalls by number" wait_count '^w1$' 2

keys Up Enter
check "the up arrow on a one-row line recalls" wait_count '^w1$' 3

keys C-f 2
check "Ctrl-F 2 runs #review" wait_for '^1 #review$'

# ---- break
text 'display "never"'; keys C-c
wait_prompt
check "Ctrl-C at the prompt drops the line" bash -c "! tmux -L '$sock' capture-pane -p -t '$sess' | grep -q '^never$'"

# The Break is sent once the command is seen running: the program says so before it sleeps. Sent
# earlier, while the line is still being read, it would only drop the line.
run 'program napper'
run 'display "napping"'
run 'sleep 10000'
run 'end'
run 'napper'
wait_for '^napping$' 10
sleep 0.2
keys C-c
check "Ctrl-C breaks sleep" wait_for '^--Break--$' 3
check "Break gives r(1);" wait_for '^r\(1\);$' 2
check "prompt after Break" wait_prompt 2

# A loop typed at the prompt is broken the same way: a second --Break-- line appears.
count_breaks() { screen | grep -c '^--Break--$'; }
wait_second_break() {
    local t=0
    while (( t < 50 )); do (( $(count_breaks) >= 2 )) && return 0; sleep 0.1; t=$((t + 1)); done
    return 1
}
run 'local i 0'
run 'while 1 {'
run 'local ++i'
run "if \`i' == 1 display \"spinning\""
run '}'
wait_for '^spinning$' 10
sleep 0.2
keys C-c
check "Ctrl-C breaks a while loop" wait_second_break
check "prompt after the broken loop" wait_prompt 3

# ---- pager
run 'set more on'
for i in $(seq 1 40); do run "display \"p$i\""; done
wait_for '^p40$' 10
run '#review 100'
check "the pager stops at --more--" wait_for '^--more--$'
above=$(trimmed | tail -n 2 | head -n 1 | awk '{print $1}')
keys l
# One line more, then --more-- again: the row above the prompt is the next number down.
one_more() {
    local t=0
    while (( t < 30 )); do
        local tail2
        tail2=$(trimmed | tail -n 2)
        if [[ "$(tail -n 1 <<<"$tail2")" == "--more--" && "$(head -n 1 <<<"$tail2")" == "$((above - 1)) "* ]]; then
            return 0
        fi
        sleep 0.1
        t=$((t + 1))
    done
    return 1
}
check "l gives one more line and --more-- again" one_more
# Space gives a whole page: the listing (about 70 lines) ends after one or two more.
through_pages() {
    local n=0
    while (( n < 6 )); do
        keys Space
        sleep 0.3
        wait_for '^1 #review 100$' 1 && [[ "$(last_line)" != "--more--" ]] && return 0
        n=$((n + 1))
    done
    return 1
}
check "Space shows the next page, to the end" through_pages
check "prompt after the listing" wait_prompt

run '#review 100'
wait_for '^--more--$'
keys q
check "q stops the listing" wait_prompt 3
check "nothing more after q" bash -c "! tmux -L '$sock' capture-pane -p -t '$sess' | tail -n 5 | grep -q -- '--more--'"

# ---- help in the console, through the pager (more is on since the pager cases)
run 'help log'
check "help stops at --more--" wait_for '^--more--$'
check "help shows the head of its file" wait_for '^help for log$'
keys Space
check "Space shows the next page of help" wait_for '^Description$'
keys q
check "q leaves the help" wait_prompt 3
run 'display "after help"'
check "the session goes on after help" wait_for '^after help$'

# ---- input at the prompt: each observation asked for by its number, a bad line asked for again
# (the screen drops trailing blanks: the prompt "  1. " shows as "  1.")
run 'clear'
run 'input id str8 name'
check "input asks for observation 1" wait_for '^  1\.$'
run '1 "ann lee"'
check "input asks for observation 2" wait_for '^  2\.$'
run '2 bob extra'
check "a line with too many values is refused" wait_for '^too many values \(2 expected, 3 given\)$'
check "and observation 2 is asked for again" wait_count '^  2\.' 2
run 'two bob'
check "a value that is no number is refused" wait_for "^'two' cannot be read as a number for id$"
check "and observation 2 is asked for a third time" wait_count '^  2\.' 3
run '2 bob'
check "then observation 3 is asked for" wait_for '^  3\.$'
run 'end'
check "end gives the prompt back" wait_prompt 3
run 'list, clean'
check "the first line was kept" wait_for '^  1\. +1 +ann lee$'
check "the good second line was kept" wait_for '^  2\. +2 +bob$'
# Break while values are typed ends input with r(1), keeping what was entered.
run 'input id name'
check "input of existing variables asks for observation 3" wait_for '^  3\.$'
run '3 cy'
wait_for '^  4\.$'
text '4 d'; keys C-c
after_break() { screen | grep -A3 -- '^  4\. 4 d$' | tr '\n' '|' | grep -q -- '--Break--|r(1);|'; }
wait_after_break() { local t=0; while (( t < 30 )); do after_break && return 0; sleep 0.1; t=$((t + 1)); done; return 1; }
check "Break ends input with --Break-- and r(1)" wait_after_break
check "prompt after the broken input" wait_prompt 3
run 'display "obs " _N'
check "the observation entered before the Break was kept" wait_for '^obs 3$'
run 'clear'

# ---- the end
run 'exit'
t=0
while tm has-session -t "$sess" 2>/dev/null && (( t < 50 )); do sleep 0.1; t=$((t + 1)); done
check "exit ends the session" bash -c "! tmux -L '$sock' has-session -t '$sess' 2>/dev/null"

echo "interactive: $passed passed, $failed failed"
(( failed == 0 ))

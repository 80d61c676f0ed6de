* In a skipped branch only the words that keep block structure are looked at.
* Under version 8 and later one letter is quietly there, so its block is skipped whole.
if 0 {
    q {
        display "never"
    }
    display "still skipped"
}
display "after the first if"
* Under version 7 q needs three letters: its brace is not a block, and the first
* closing brace ends the skipped branch.
version 7
if 0 {
    q {
        display "never"
    }
    display "runs: the branch ended at the brace above"
}
version 10.1
* A word that is no command, or no flow word, is not looked at in a skipped branch.
if 0 {
    nosuchcommand at all
    display 1/
    capture {
        display "skipped with its block"
    }
}
* While running, q is query and qui is quietly.
qui display "hidden"
display "done"

global x hello
global y x
local l loc
* $name, ${name}, $`l', $$name
display "$x|${x}|${x}y|$xy|$$y|${$y}"
global loc gl
display "$`l'"
* a macro holding a command
global cmd display
$cmd "ran from a macro"
* names stop at the first character that cannot be in a name
display "$x.suffix $x-dash"
* undefined macros vanish, quote pairs too
display "[$nosuch][`nosuch']"
* $ that starts no name stays
display "cost: $ 5, $"
display "a$"
* backslash escapes
display "\$x \`l'"
display "\\$x"
version 8
display "\\ and \\$x under 8"
version 10
display "\\ stays under 10"
* nested references are expanded first
local inner x
local x found
display "`l' ``inner''"
global pre "`l'"
display "$pre"
* an unclosed reference stays as it is
display "`l"
* braces do not balance: left alone
display "${x"
* the compound quote is no reference
display `"`l'"'
* long names: 32 bytes are read after $
global abcdefghijklmnopqrstuvwxyz123456 long
display "$abcdefghijklmnopqrstuvwxyz1234567"

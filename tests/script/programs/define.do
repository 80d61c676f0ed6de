* no programs yet: an empty line
program dir
program define hello
    display "hello, `1'"
      display "indented more"
end
hello world
* program name is program define name
program greet, rclass
  display `"0 is [`0']"'
  display `"1 [`1'] 2 [`2'] 3 [`3'] 4 [`4']"'
end
greet a "b c" `"d "e""' ""
greet
program list hello greet
program dir
* a second definition is refused before its body: its lines run as commands
program hello
  display "ran at top"
end
capture program drop hello
program hello
  display "second hello"
end
hello
* dropping: a name that is not there, and an invalid name
program drop nosuch
program drop hello 9x
program drop greet
greet
* options
program p1, byable(recall, noheader) sortpreserve properties(swap ok)
end
program p2, byable(sometimes)
end
program p3, properties(a b-c)
end
program p4, frobnicate
end
program p5, eclass
end
program p6, sclass
end
program list p1 p5 p6
program define
program define 1abc
program list nosuch
* a definition runs until its end; without one the file ends in it
program unfinished
  display "x"

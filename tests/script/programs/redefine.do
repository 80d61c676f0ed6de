* a definition refused in its head is not read: its lines run as commands
program define twice
  display "first"
end
program define twice
  display "ran at top"
end
twice
program define bad, byable(foo)
  display "ran at top"
end
capture program list bad
display _rc
program define bad, byable(recall, sometimes)
end
program define bad, frobnicate
end
program define bad, properties(9x)
end
* the same options, well formed, define it
program define bad, byable(recall) properties(ok)
  display "bad runs"
end
bad
* an ado-file keeps its first definition; a second one is read and dropped
adotwice
program list adotwice

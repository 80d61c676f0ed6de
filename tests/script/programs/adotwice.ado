program adotwice
  display "first definition"
end
program adotwice
  display "second definition"
end

*! adomain 1.0: a main program with a subprogram of its own
program adomain
    display "adomain runs with [`0']"
    adohelper
end
program adohelper
    display "the subprogram of adomain"
end

program adosomethingelse
    display "defined by adoother.ado"
end

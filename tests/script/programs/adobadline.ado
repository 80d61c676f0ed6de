program adobadline
    display "never"
end
display "a command outside of a definition"

program adofailing
    display "x"
end
program adofailing2, frobnicate
end

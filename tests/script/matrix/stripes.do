* row and column names, equations and operators
matrix A = (1,2,3\4,5,6)
matrix list A
matrix rownames A = alpha beta
matrix colnames A = x L.y "with blank"
matrix list A
matrix coleq A = eq1 eq1 eq2
matrix list A
matrix roweq A = first
matrix list A
matrix coleq A = _
matrix list A
matrix colnames A = one:a two:b two:c
matrix list A
matrix rown A = a b c
matrix list A
matrix coln A = a:b:c d e
matrix rown A = L2D.x D.x
matrix list A
matrix E = A["L2D.x","one:a"]
matrix list E
matrix E = A["D.x", "two:"]
matrix list E
local r : rownames A
local c : colnames A
local e : coleq A
local f : colfullnames A
display "`r' | `c' | `e' | `f'"
matrix rename A B
matrix list B
matrix C = B
matrix rename B C
matrix rename B C, replace
matrix list C
matrix rename nosuch D
matrix list C, noheader
matrix list C, nonames format(%6.2f)
matrix list C, title(The title)
matrix list C, format(%junk)
matrix S = (1,2\2,3)
matrix list S
matrix list S, nohalf
matrix drop S
matrix drop nosuch
matrix dir
matrix drop _all
matrix dir
matrix abcdefghijklmnopqrstuvwxyzabcdefg = 1
matrix input M = (1, 2 \ 3, 4)
matrix list M
matrix in M = (1, 2 \ 3)
matrix in M = (1, x)

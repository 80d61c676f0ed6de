* the scalar functions of matrices take result matrices e() and r() as well as names; rownumb
* and colnumb of a name that is not there are missing, quietly
program poste, eclass
  matrix b = (1,2)
  matrix V = (1,0\0,4)
  matrix colnames b = x y
  matrix colnames V = x y
  matrix rownames V = x y
  ereturn post b V
end
program getr, rclass
  matrix R = (1,2,3\4,5,6)
  return matrix R = R
end
poste
display colsof(e(b)) " " rowsof(e(V)) " " el(e(V),2,2) " " trace(e(V)) " " issym(e(V))
display colnumb(e(b), "y") " " rownumb(e(V), "x") " " colnumb(e(b), "absent") " " rownumb(nosuch, "x")
display _b[x] + _se[y]
getr
display rowsof(r(R)) " " colsof(r(R)) " " el(r(R),2,3) " " el(r(R),3,1)
matrix m = (1,2\3,4)
matrix colnames m = a b
display colnumb(m, "b") " " colnumb(m, "absent") " " colnumb(m, "") " " rownumb(m, "r2")
display colsof(e(nosuch))
display colsof(nosuch)
display colsof(e(b)

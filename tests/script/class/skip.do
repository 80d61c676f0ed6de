* a class body in a branch not taken is read past, not defined
if 0 {
    _cls never {
        double x
    }
    .y = .never.new
}
_cls toplevel, classtype
display "[`r(list)']"
_cls new never
* the help of the commands
chelp _cls

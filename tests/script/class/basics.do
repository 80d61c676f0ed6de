* a class defined in a do-file: members of every type, defaults, look-up
_cls pair {
    instancespecific:
        double a = 2
        number b
        string s = "text"
        array list = {1, "two", 3}
        class child
        code run
    classwide:
        double shared = 7
}
.x = .pair.new
display "[`.x.a'] [`.x.b'] [`.x.s'] [`.x.list.arrnels'] [`.x.shared']"
.x.a = 2 + 3*4
.x.s = "some" + "thing"
display "`.x.a' `.x.s'"
* dynamic members
.x.Declare double extra = 1/3
.x.Declare string note
.x.Declare class pair inner
display "`.x.extra' [`.x.note'] `.x.inner.a'"
.x.Declare double extra
* the built-ins, read as values
display "`.x.classname' `.x.isofclass pair' `.x.uname' `.x.ref_n' `.x.objkey' `.x.key'"
display "`.x.a.objtype' `.x.extra.objtype' `.x.shared.objtype' `.x.list[2].objtype'"
display "`.x.a.isa' `.x.s.isa' `.x.list.isa' `.x.isa' `.x.a._typecode' `.x.list._typecode'"
display "`.x._loglevel' `.x.a._lref'"
.x.a.classname
.x.list.isofclass pair
.x.a.arrnels
* a code member without its program
.x.run
* the session's own objects
.Global.g = 5
.Local.l = "here"
display "`.g' `.Global.g' `.l' `.Local.l'"
_cls toplevel, dots list
display "`r(list)'"
* numbers keep 18 digits in a reference
.Global.big = 123456789012345678
.Global.third = 1/3
.Global.miss = .b
display "`.big' `.third' `.miss'"
* names and keys
_cls nameof nm .x.inner
display "`nm'"
_cls nameof nm .x.list
display "`nm'"

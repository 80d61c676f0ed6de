* messages and codes of the class system
_cls frobnicate
_cls
class
class whatever
class whatever {
_cls apple {
    double weight = 1
}
_cls pear {
    double weight = 1
}
.a = .apple.new
.p = .pear.new
.a = .p
.a.Declare class apple twin
.a.twin = .pear.new
.a.twin = .p.ref
.a.weight = "heavy"
.a.weight = .a
.a.weight = .p.copy
* a reference to a member that does not exist
.a.colour = "red"
.a.colour.shade = 1
display "[`.a.colour']"
.nosuchthing
.nosuch.new
* a declaration twice, a long name, an unknown type, no name
_cls dup {
    double x
    string x
}
.a.Declare double abcdefghijklmnopqrstuvwxyz1234567
.a.Declare matrix m
.a.Declare double
.a.Declare string s = 3
* _cls forms
_cls exit 1
_cls apple {
}
_cls new nothere
_cls undo .a.weight
_cls inspect classtype nothere
* class files that fail to load
.q = .badtype.new
.q = .badsyn.new
.q = .badprog.new
* program .name needs a class
_cls free _all
program .orphan
* an end of file inside a body
do eofbody

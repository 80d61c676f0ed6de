* discard and clear drop every object, class type and member program
.a = .node.new
.a.tag = "kept until the reset"
_cls pgmdir node
discard
_cls _dmm
display "[`.a.tag']"
_cls pgmdir
* the class comes back from its file on the next use
.b = .node.new
display "`.b.tag' `.b.classname'"
clear
_cls _dmm
display "[`.b.tag']"
_cls toplevel
display "[`r(list)']"

* two references to one object: a change through one shows through the other
_cls new node
.w = .node.new
_cls free .w
_cls _dmm
.b = .node.new
.b.tag = "b"
.a = .b.ref
display "`.a.ref_n' `.b.ref_n' `.a.objkey' `.b.objkey'"
.a.v = 42
display "`.b.v'"
.b.tag = "shared"
display "`.a.tag'"
* one reference goes, then the last: the object goes with it
.a = .node.new
display "`.b.ref_n' `.a.tag'"
.a.tag = "second"
_cls free .b
_cls free .a
_cls _dmm
* copies: .copy runs .oncopy; ._clone does not; ._clone1 shares the members' values
.c = .node.new
.c.tag = "c"
.d = .c.copy
display "`.d.tag' `.c.tag'"
.e = .c._clone
display "`.e.tag'"
.c.next = .node.new
.c.next.tag = "inner"
.f = .c._clone1
.f.next.v = 7
display "`.c.next.v' `.c.next.ref_n'"
.g = .c.copy
.g.next.v = 8
display "`.c.next.v' `.g.next.tag'"
* a plain assignment copies
.c.v = 1
.h = .c
.h.v = 2
display "`.c.v' `.h.v' `.h.tag'"
* a reference rebound: the member takes the other object
.h.ref = .c.ref
display "`.h.v' `.c.ref_n'"
.h.ref = 5
* creators may not go with .Super; a clone needs an object
.Global.num = 3
.k = .num._clone
.k = .num.copy
display "`.k'"
.k = 4
display "`.num'"
* .x.new on a member makes it a new object of its class
.c.v = 99
.c.new
display "`.c.v' `.c.tag'"
_cls free _all
_cls _dmm

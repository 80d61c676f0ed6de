* a cycle of references stays until nothing else reaches it, then _cls free takes it
_cls link {
    string tag
    class next
}
program .link.destructor
    display "link `.tag' goes"
end
* the first object makes the session's own; the figures count from here
.w = .link.new
_cls free .w
_cls _dmm
.a = .link.new
.a.tag = "a"
.b = .link.new
.b.tag = "b"
.a.next = .b.ref
.b.next = .a.ref
display "`.a.ref_n' `.b.ref_n' `.a.next.next.tag' `.a.next.next.next.tag'"
* a copy of a cycle is a cycle of new objects
.c = .a.copy
.c.tag = "c"
display "`.c.next.next.tag' `.a.tag'"
_cls free .c
* the names go; the two objects hold each other
_cls free .a .b
_cls _dmm
_cls free
_cls _dmm
* an object that refers to itself
.s = .link.new
.s.tag = "self"
.s.next = .s.ref
display "`.s.ref_n'"
_cls free .s
_cls free
_cls _dmm

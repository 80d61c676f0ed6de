* member programs: the active context, .Local, class exit, try, orvat, a place that dies
_cls counter {
    double n = 0
    string name = "c"
}
program .counter.bump
    .n = `.n' + `1'
    .Local.seen = `.n'
    class exit `.Local.seen'
end
program .counter.label
    class exit "`.name':`.n'"
end
.c = .counter.new
.c.bump 2
display "`.c.bump 3' `.c.label' `.c.n'"
.Global.total = .c.bump 1
display "`.total'"
* try: a member program that is not there is no failure
_cls try .c.nosuch
_cls try .c.bump 4
display "`.c.n'"
* orvat: a command run with an object as the active context
_cls orvat .c : .n = 100
display "`.c.n'"
* (the line was expanded before: a reference in it names the context's members itself)
_cls orvat .c : .Global.nm = .name
display "`.nm'"
* an object set as the context of the running level
.c._set_to_active_context
.n = 1
display "`.c.n'"
.c._clear_active_context
.c._clear_active_context
* a creator that takes away the object whose member is being assigned
_cls holder {
    class slot
}
_cls spoiler {
    double x
}
program .spoiler.new
    .Global.h = .holder.new
end
.h = .holder.new
.h.slot = .spoiler.new
display "`.h.slot'"
* a typed member takes only its class
_cls box {
    class counter inner
}
.bx = .box.new
display "`.bx.inner.classname' `.bx.inner.name'"
.bx.inner = .counter.new
.bx.inner = .holder.new

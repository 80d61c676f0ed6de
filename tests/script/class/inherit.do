* three classes deep, each loaded on first use from its file on the ado path
.s = .square.new
.s.name = "box"
.s.side = 3
.s.describe
display "area `.s.area' from square, `.s.sides' sides (square's own member)"
display "classes: `.s.classname' `.s.isofclass square' `.s.isofclass poly' `.s.isofclass shape'"
* the shape part has its own sides; .Super reaches it from square's programs only
.p = .poly.new
.p.describe
display "poly area `.p.area' (shape's program)"
display "`.p.isofclass square' `.shape.made'"
* a class-wide member is one value for every instance
.s.made = 10
display "`.p.made' `.shape.made'"
_cls toplevel, classtype list
display "`r(list)'"
_cls inspect classtype square
* .Super outside a member program has no context
.Super.describe

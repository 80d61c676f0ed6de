* every missing value, . and .a to .z, in every numeric type, keeps its letter
input byte b int i long l float f double d
. . . . .
.a .a .a .a .a
.b .b .b .b .b
.c .c .c .c .c
.d .d .d .d .d
.e .e .e .e .e
.f .f .f .f .f
.g .g .g .g .g
.h .h .h .h .h
.i .i .i .i .i
.j .j .j .j .j
.k .k .k .k .k
.l .l .l .l .l
.m .m .m .m .m
.n .n .n .n .n
.o .o .o .o .o
.p .p .p .p .p
.q .q .q .q .q
.r .r .r .r .r
.s .s .s .s .s
.t .t .t .t .t
.u .u .u .u .u
.v .v .v .v .v
.w .w .w .w .w
.x .x .x .x .x
.y .y .y .y .y
.z .z .z .z .z
end
list, separator(0)
assert b == i & i == l & l == f & f == d
assert d[1] == . & d[2] == .a & d[27] == .z
* missing values compare above every number, in the letter order
assert d[27] > d[26] & d[2] > d[1] & d[1] > 1e300

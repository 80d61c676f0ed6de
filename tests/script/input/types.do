* new variables of every type, each value stored by the rules of its type
input byte b int i long l float f double d
1 2 3 4.5 6.25
100 32740 2147483620 1.5e38 1e300
-127 -32767 -2147483647 -1.5e38 -1e300
100.9 -1.9 2.5 0.1 0.1
101 32741 2147483621 1e39 1e309
-128 -32768 -2147483648 1e-39 1e-320
end
list
describe
format f d %20.0g
list f d
* numbers as the number reader takes them: signs, a lone point, d exponents, hexadecimal floats,
* and a number in quotes
input double n
+5
-.5
5.
1D3
1.8x+1
-1.0x-1
"7"
end
list n
* the default type is that of set type, and the word float stands for it; a (type) group sets the type of what follows
clear
input a float b (int) c d str3 e (double) g byte h k
1 2 3 4 x 5 6 7
end
describe
set type double
input p (float) q
1 2
end
describe p q
set type float
* a range of new names
input x1-x3
1 2 3
end
list x1-x3

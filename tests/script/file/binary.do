* file write then read, binary, in both byte orders
foreach order in lohi hilo {
    file open b using data.bin, write binary replace
    file set b byteorder `order'
    file write b %1b (-5) %1bu (200) %2b (-300) %2bu (65000) %4b (-70000) %4bu (4000000000)
    file write b %4z (1.5) %8z (1/3) %8z (.) %1b (.) %6s "abc"
    file close b
    file open b using data.bin, read binary
    file set b byteorder `order'
    file read b %1b s1 %1bu s2 %2b s3 %2bu s4 %4b s5 %4bu s6
    file read b %4z s7 %8z s8 %8z s9 %1b s10 %6s txt
    display s1 " " s2 " " s3 " " s4 " " s5 " " %12.0f s6 " " s7 " " %20.18f s8 " " s9 " " s10 " [`txt']"
    display r(eof)
    file seek b query
    display r(loc)
    * at the end: r(eof) is 1 and the scalar missing
    file read b %4b s11
    display r(eof) " " s11
    file close b
}
* the same bytes read in the other order give other numbers
file open b using data.bin, write binary replace
file set b byteorder hilo
file write b %2bu (258)
file close b
file open b using data.bin, read binary
file set b byteorder 2
file read b %2bu v
display v
file set b byteorder 1
file seek b 0
file read b %2bu v
display v
* a short record: one byte where two are asked for
file seek b 1
capture noisily file read b %2bu v
display _rc
file close b
* byte values beyond a signed form are stored as missing; an unsigned form refuses them
file open b using data.bin, write binary replace
file write b %1b (300)
file write b %1bu (300)
file write b %2bu (-1)
file close b
file open b using data.bin, read binary
file read b %1b v
display v
file close b
* read and write on one binary file
file open b using data.bin, read write binary
file seek b eof
file write b %1bu (7)
file seek b 0
file read b %1b v %1bu w
display v " " w
file close b

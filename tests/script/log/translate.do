* a Rimu file to translate: the output of a few commands
quietly log using src.rimu
display "one {c -(}brace{c )-}" _n "{hline 10}"
display as result "a result"
display "{p 4 8 2}" "a paragraph of words long enough to go over more than one line when the width is forty{p_end}"
quietly log close
translate src.rimu out.txt
view out.txt
translate src.rimu out.txt
translate src.rimu out.txt, replace linesize(40) lmargin(2)
view out.txt
translate src.rimu out.log
translate src.rimu out.log, replace translator(rimu2txt) cmdnumber(on)
view out.log
translate src.rimu numbered.txt, header(on) headertext(Page heading) user(someone) pagelines(3) linesize(40)
view numbered.txt
* what can't be done
translate src.rimu out.ps
translate src.rimu out.eps, translator(gph2eps)
translate src.rimu out.pdf
quietly log using plain.dat, text
quietly log close
translate plain.dat out.txt
translate src.rimu out.txt, translator(nosuch)
translate out.txt out2.log
translate nosuch.rimu out.txt
translate src.rimu @printer
translate src.rimu @printer, translator(rimu2txt)
translate src.rimu @printer, translator(rimu2prn)
translate src.rimu src.rimu, replace translator(rimu2txt)
translate src.rimu out3.txt, linesize(wide)
translate src.rimu out3.txt, bogus(1)
translate src.rimu
* the option sets
translator query
translator query rimu2log
translator set rimu2txt lmargin 4
translator set rimu2txt header maybe
translator set rimu2txt lmargin four
translator set rimu2txt nosuch 1
translator set rimu2ps scheme color
translator set gph2ps scheme purple
translator set gph2ps pen2_color 255 0 0
translator set gph2ps pen2_color 256 0 0
translator set gph2ps preview on
translator set nosuch cmdnumber on
translator query nosuch
translate src.rimu out4.txt
view out4.txt
translator reset rimu2txt
translator query rimu2txt
translator reset
translator query gph2ps

* batch mode's log is one text log; four more fit, and the next is refused
quietly log using t1.log, name(t1)
quietly log using t2.log, name(t2)
quietly log using t3.log, name(t3)
quietly log using t4.log, name(t4)
log using t5.log, name(t5)
view t5.log
* five Rimu logs fit, and a sixth is refused
quietly log using r1.rimu, name(r1)
quietly log using r2.rimu, name(r2)
quietly log using r3.rimu, name(r3)
quietly log using r4.rimu, name(r4)
quietly log using r5.rimu, name(r5)
log using r6.rimu, name(r6)
log using r6.rimu
view r6.rimu
* a paused log gives up its place, and may not take it back while another holds it
quietly log off r5
quietly log using r6.rimu, name(r6)
log on r5
quietly log close r6
quietly log on r5
log query
quietly log close _all
log query

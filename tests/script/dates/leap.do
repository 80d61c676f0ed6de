* leap seconds come from leapseconds.maint on the ado path
display %tC Cofc(tc(31dec2016 23:59:59)) + 1000
display %tC Cofc(tc(01jan2017 00:00:00))
display Cofc(tc(01jan2017 00:00:00)) - tc(01jan2017 00:00:00)
display Cofc(tc(01jan1972 00:00:00)) - tc(01jan1972 00:00:00)
display %tc tc(31dec2016 23:59:59) + 1000
* dates, their formats and their parts
display %td mdy(2, 29, 2000)
display mdy(2, 29, 1900)
display %td 0
display %tdDD/NN/CCYY mdy(7, 4, 1976)
display year(mdy(12, 31, 9999)), month(mdy(1,1,100)), dow(mdy(11,21,2026))
display %tm ym(2010, 6)
display %tq yq(1999, 4)
display %9.2f 1234.5678, %-9.2f 3, %9.0gc 1234567
display %td mdy(13, 1, 2000)
display %0.0g 1

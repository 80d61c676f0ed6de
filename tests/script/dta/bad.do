* A failure found before the dataset is cleared leaves it as it was: a file that is not there, not a
* file, not a data file, cut short in its header or its descriptors, or with descriptors that lie.
use v114_lohi
program show
    display _N " " c(width) " " c(changed) " [$S_FN]"
end
foreach f in nosuch adir fifo nodir/x bad_empty bad_text bad_head bad_format109 bad_format120 ///
    bad_format115 bad_format116 bad_order bad_filetype bad_nvar_maxvar bad_nvar_big bad_nobs_negative ///
    bad_width0 bad_width245 bad_width246 bad_width250 bad_expansion_len bad_expansion_negative ///
    bad_cut_types bad_cut_names bad_cut_sort bad_cut_fmts bad_cut_vallabs bad_cut_varlabels ///
    bad_cut_expansion {
    display "--- `f'"
    capture noisily use `f', clear
    display "r(" _rc ")"
    show
}
describe using bad_width245
use b using bad_width0, clear
show
* use over changed data needs clear
replace b = 2 in 1
use v114_lohi
show
use b using v114_lohi
show
* a failure found once the dataset is cleared leaves it empty: rows beyond the data area
clear
set memory 200k
use v114_lohi
use big, clear
show
use v114_lohi
use in 1/2000 using big, clear
show
use in 1/5000 if b == 1 | b == 100 using big, clear
show
use big in 1/5000, clear
show
* the list, the `if` and the `in` of a part are read against the file, and their failures leave the
* dataset as it was
use nosuch using big, clear
use b if nosuch == 1 using big, clear
use in 20001 using big, clear
use b s in -4/l if i < 0 using big, clear
list
show
* rows: a file cut inside its rows keeps the whole rows, and loses its value labels; a count of
* observations that lies upward takes what is there, one that lies downward reads fewer rows
use bad_cut_rows, clear
show
describe
use bad_nobs_huge, clear
show
use bad_nobs_small, clear
show
list b i s, noobs
use bad_cut_labels, clear
show
* value-label tables: a damaged table is not loaded and the use goes on
use bad_label_offset, clear
show
use bad_label_count, clear
show
use bad_label_length, clear
show
use bad_label_twice, clear
use bad_label_toolong, clear
use bad_oldlabel, clear
show
* descriptors mended: a sort list that names no variable ends there, an invalid format is the
* type's default, names that cannot be names are mended
use bad_sortlist, clear
quietly describe
display "[`r(sortlist)']"
use bad_formats, clear
display "`: format b' `: format s'"
use bad_names, clear
describe

* label languages: one set of variable labels, value-label links and data label per language
clear
set obs 2
generate sex = _n
generate age = 30
label data "Survey"
label variable sex "sex"
label variable age "age in years"
label define sexen 1 male 2 female
label define sexfr 1 homme 2 femme
label values sex sexen
label language
* a new language starts empty, and becomes current
label language fr, new
describe
label data "Enquete"
label variable sex "sexe"
label values sex sexfr
list
label language
* switching puts the other language's labels in place
label language default
describe
list
label language fr
describe
label language fr
* copy starts a language as a copy of the current one
label language de, new copy
describe
label variable sex "Geschlecht"
* rename gives the current language another name
label language deutsch, rename
label language
* the labels of the other languages are characteristics
char list
* delete: another language, then the current one (the first of the others takes its place)
label language fr, delete
label language deutsch, delete
label language
char list
describe
* messages
label language default, delete
label language nosuch
label language nosuch, delete
label language default, new
label language default, rename
label language x, copy
label language x, new rename
label language x, new delete
label language x, rename delete
label language, new
label language 1x, new
label language abcdefghijklmnopqrstuvwxy, new
label language a b
label language abcdefghijklmnopqrstuvwx, new
label language default
* no more than 100 languages
forvalues i = 3/100 {
	quietly label language l`i', new
}
label language one_too_many, new
label language default
describe

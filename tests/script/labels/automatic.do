* input, automatic: texts for numeric variables are coded through a value label
clear
input str8 name sex age, automatic
"ann lee" female 31
bob male 28
cy female .
dee "" 40
end
list
list, nolabel
label list sex
describe
* existing variables: new texts extend the label, known texts take their codes
input name sex age, automatic
eve male 22
fay other 50
end
list, nolabel
label list sex
* a variable linked to a label of another name extends that one
clear
label define yn 1 yes 0 no
input v, automatic
1
end
label values v yn
input v, automatic
no
maybe
end
label list yn
list

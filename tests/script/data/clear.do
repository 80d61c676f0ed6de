* clear is an ado-file: it empties the dataset
set obs 5
describe, short
clear
describe, short
* and reaches its help
help clear

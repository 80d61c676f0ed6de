* describe of an empty dataset, through the ado-file and directly
describe
_describe, short
* observations without variables
set obs 3
describe
describe, short
* options and lists that fail
_describe, nosuch
_describe x
_describe using nofile
_describe 1x

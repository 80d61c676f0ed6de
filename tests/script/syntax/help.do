* the help files of syntax, args, tokenize, gettoken and confirm render
help syntax
help args
help tokenize
help gettoken
help confirm

* cat finds the help file of type
help cat

* the help of label, and of input with its automatic option, and of list with nolabel
help label
help input
help list

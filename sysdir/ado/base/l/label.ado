*! label: the data label, variable labels, value labels and label languages
program label
	version 10.1
	_label `macval(0)'
end
